#include "jobs/Tasks.h"

#include <cmath>

#include "engine/FFmpegX.h"
#include "jobs/DiagnosticsLog.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/JobHost.h"
#include "jobs/ListboxModel.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

constexpr size_t kInfoLineLimit = 1000;

constexpr std::string_view kMobileSizes[] = {"128x96", "176x144", "352x288", "704x576"};
constexpr double kAmrRates[] = {4.75, 5.15, 5.9, 6.7, 7.4, 7.95, 10.2, 12.2};

bool IsOneOf(double value, std::initializer_list<double> allowed) {
  for (double a : allowed) {
    if (std::fabs(value - a) < 1e-6) return true;
  }
  return false;
}

bool IsAmrRate(double value) {
  for (double rate : kAmrRates) {
    if (std::fabs(value - rate) < 1e-6) return true;
  }
  return false;
}

// The rules of one output format: a condition on the settings and what it says.
struct FormatRule {
  std::string_view formats;  // "|"-separated lower-case names
  bool (*broken)(const SettingReader& read);
  std::string_view category;
  std::string_view message;
};

double Number(const SettingReader& read, std::string_view key) { return Val(read(key)); }

constexpr FormatRule kFormatRules[] = {
    {"3gp|h263",
     [](const SettingReader& read) {
       const std::string size = Trim(read("VideoSize"));
       for (std::string_view allowed : kMobileSizes) {
         if (size == allowed) return false;
       }
       return true;
     },
     StrInfoNotice, StrOnlyMobileSizes},
    {"3gp|h263", [](const SettingReader& read) { return Number(read, "AudioSample") != 8000; }, StrInfoProblem,
     StrOnly8000Sampling},
    {"3gp|h263", [](const SettingReader& read) { return Number(read, "AudioChannels") != 1; }, StrInfoProblem,
     StrOnlyMono},
    {"3gp|h263", [](const SettingReader& read) { return !IsAmrRate(Number(read, "AudioBitrate")); }, StrInfoProblem,
     StrOnlyAmrRates},
    {"flv",
     [](const SettingReader& read) { return !IsOneOf(Number(read, "AudioSample"), {44100, 22050, 11025}); },
     StrInfoProblem, StrOnlyFlvSampling},
    {"ogg", [](const SettingReader& read) { return Trim(read("AudioChannels")) == "1"; }, StrInfoProblem, StrNoMono},
    {"amr", [](const SettingReader& read) { return Trim(read("AudioChannels")) != "1"; }, StrInfoProblem, StrOnlyMono},
    {"amr", [](const SettingReader& read) { return Number(read, "AudioSample") != 8000; }, StrInfoProblem,
     StrOnly8000Sampling},
    {"amr", [](const SettingReader& read) { return !IsAmrRate(Number(read, "AudioBitrate")); }, StrInfoProblem,
     StrOnlyAmrRates},
};

bool NamesFormat(std::string_view list, std::string_view format) {
  for (const std::string& name : Split(list, "|")) {
    if (name == format) return true;
  }
  return false;
}

constexpr std::string_view kCutKeys[] = {"SplitTimeStart", "SplitTimeEnd", "SplitPart"};

// Keys only tell rows apart; a counter from the clock keeps them unique in a
// list that also holds rows loaded from a file.
std::string NewTaskKey() {
  static unsigned long long next = static_cast<unsigned long long>(TickCount()) * 1000;
  return "task" + std::to_string(++next);
}

}  // namespace

SourceKind SourceKindOf(std::string_view path) {
  if (EndsWith(path, ":")) return SourceKind::Disc;
  if (InFilter(path, kImageFilter)) return SourceKind::Image;
  if (InFilter(path, kSubtitleFilter)) return SourceKind::Subtitle;
  if (InFilter(path, kVideoFilter)) return SourceKind::Video;
  if (InFilter(path, kAudioFilter)) return SourceKind::Audio;
  return SourceKind::Other;
}

CutRecord ParseCutRecord(std::string_view record) {
  const std::vector<std::string> fields = Split(record.empty() ? kEmptyCutRecord : record, "|");
  CutRecord cut;
  if (fields.size() > 0) cut.start = fields[0];
  if (fields.size() > 1) cut.end = fields[1];
  if (fields.size() > 2) cut.parts = fields[2];
  return cut;
}

std::string CutRecordText(std::string_view start, std::string_view end, std::string_view parts) {
  return std::string(start) + "|" + std::string(end) + "|" + FormatNumber(Val(parts)) + "|";
}

std::string CutComment(std::string_view start, std::string_view end, std::string_view parts) {
  return "[ " + std::string(StrStartPoint) + " " + std::string(start) + " ] - [ " + std::string(StrEndPoint) + " " +
         std::string(end) + " ] / [ " + std::string(StrPartsCount) + " " + std::string(parts) + " ]";
}

bool WriteCutToSelectedTask(ListboxModel& tasks, std::string_view playerFile, std::string_view start,
                            std::string_view end, std::string_view parts) {
  const int index = tasks.ListIndex();
  if (index < 0 || playerFile.empty() || tasks.PathFromIndex(index) != playerFile) return false;
  tasks.SetListComment(index, CutComment(start, end, parts));
  tasks.SetListOther(index, CutRecordText(start, end, parts));
  return true;
}

std::string TaskComment(const std::string& path, FFmpegX* probe) {
  if (SourceKindOf(path) == SourceKind::Disc) return path.substr(0, path.size() - 1);
  std::string comment = UpperAscii(ExtensionOf(path));
  if (probe != nullptr) {
    probe->SetFilename(path);
    comment += ", " + probe->FileInfo();
  } else {
    comment += ", " + SizeText(FileSize(path));
  }
  return comment;
}

std::string MediaInfoText(const std::string& path, std::string_view toolText, std::string_view comment) {
  std::string text = path;
  bool inBlock = false, found = false;
  for (std::string_view line : SplitLines(toolText, LastLine::Keep)) {
    // The block is its head line and the indented lines under it; the
    // tool's complaint about a missing output follows unindented.
    if (line.starts_with("Input #")) {
      inBlock = found = true;
    } else if (line.empty() || line.front() != ' ') {
      inBlock = false;
    }
    if (inBlock) text.append("\n").append(line);
  }
  if (!found && !comment.empty()) text.append("\n").append(comment);
  return text;
}

void AddToTaskList(ListboxModel& tasks, const std::string& path, FFmpegX* probe) {
  const bool disc = SourceKindOf(path) == SourceKind::Disc;
  ListItem item;
  item.Key = NewTaskKey();
  item.Text = disc ? FileNameOf(path.substr(0, path.size() - 1)) : BaseNameOf(path);
  item.Comment = TaskComment(path, probe);
  item.Other = std::string(kEmptyCutRecord);
  item.Path = path;
  item.ShowComment = true;
  item.TitleText = disc ? "DVD" : "";
  if (SourceKindOf(path) == SourceKind::Video) item.Tag1Text = StrAutoAudioTag;
  tasks.AddItem(item);
}

void InfoList::Add(std::string_view category, std::string_view message, bool toStatus) {
  std::string line(category);
  if (!message.empty()) line.append(" | ").append(message);
  if (lines_.size() > kInfoLineLimit) lines_.clear();
  lines_.push_back(line);
  host_.AddInfo(category, message);
  if (toStatus && StatusCaption) StatusCaption(line + "  ");
}

void InfoList::ReplaceLast(std::string text) {
  if (lines_.empty()) {
    lines_.push_back(std::move(text));
  } else {
    lines_.back() = std::move(text);
  }
  if (LineReplaced) LineReplaced(lines_.back());
}

const std::string& InfoList::Last() const {
  static const std::string kNone;
  return lines_.empty() ? kNone : lines_.back();
}

bool CheckTasks(const ListboxModel& tasks, const SettingReader& read, InfoList& info, JobHost& host,
                const CheckContext& context) {
  DiagnosticsLog log(Shared().ProgramPath);
  log.Write(StrLogCheckTasks);
  log.Restart();

  if (tasks.ListCount() == 0) {
    info.Add(StrInfoProblem, context.showingTaskList ? StrAddTasksFirst : StrAddFilesFirst);
    return false;
  }
  const std::string format = LowerAscii(Trim(read("OutputMode")));
  if (format == StrMoveTo) {
    const std::string folder = read("OutputFolder");
    if (folder.empty()) {
      info.Add(StrInfoProblem, StrMoveNeedsFolder);
      return false;
    }
    if (DirectoryExists(folder) && !host.Ask(StrMoveQuestion, false)) {
      info.Add(StrInfoProblem, StrTaskCancelled);
      return false;
    }
  }
  if (Val(read("SplitPart")) < 1) {
    info.Add(StrInfoProblem, StrPartsInvalid);
    return false;
  }

  int problems = 0;
  auto say = [&](std::string_view category, std::string_view message) {
    info.Add(category, message);
    if (category == StrInfoProblem) ++problems;
  };
  if (format != StrDirectCut && format != StrDirectJoin) {
    if (read("Twopass") == StrYes && Contains(LowerAscii(read("VideoBitrate")), "vbr")) {
      say(StrInfoProblem, StrTwoPassNeedsConstantRate);
    }
    for (const FormatRule& rule : kFormatRules) {
      if (NamesFormat(rule.formats, format) && rule.broken(read)) say(rule.category, rule.message);
    }
    if (context.karaokeJob) {
      if (!FileExists(read("KTVMusicFileName"))) say(StrInfoProblem, StrNeedMusicFile);
    }
  }

  auto noteSet = [&info](std::string_view label) {
    info.Add(StrInfoNotice, std::string(label) + " | " + std::string(StrIsSet));
  };
  bool picture = false;
  for (std::string_view key : kPictureSettingKeys) picture = picture || Val(read(key)) != 0;
  if (picture) noteSet(StrLabelPicture);
  if (!read("VideoPadBorder").empty()) noteSet(StrLabelBorder);
  const std::string volume = read("AudioVolume");
  if (!volume.empty() && volume != "100%") noteSet(StrLabelVolume);
  bool cutSet = false;
  for (std::string_view key : kCutKeys) cutSet = cutSet || read(key) != SettingDefault(key);
  if (format == "rmvb" && cutSet) info.Add(StrInfoNotice, StrRmvbIgnoresCut);
  if (cutSet) noteSet(StrLabelCut);
  if (!read("FileSuffix").empty()) noteSet(StrLabelContainer);

  return !(read("DoNotIgnoreError") == StrYes && problems > 0);
}

}  // namespace zel
