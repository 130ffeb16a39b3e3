#include "jobs/TaskLoop.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <random>
#include <utility>

#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"
#include "engine/ProbeService.h"
#include "engine/ProgressText.h"
#include "jobs/DiagnosticsLog.h"
#include "jobs/FileIntake.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/KaraokeGraph.h"
#include "jobs/KaraokeJob.h"
#include "jobs/DirectJobs.h"
#include "jobs/ListboxModel.h"
#include "jobs/MainState.h"
#include "jobs/RealMediaJob.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {

namespace {

// The progress field's scale while a file is copied.
constexpr int kTransferScale = 1000;

constexpr std::string_view kImageFormats[] = {"jpg", "jpeg", "png", "bmp", "gif", "gif_t", "tif", "tiff"};

bool IsImageFormat(std::string_view format) {
  return std::find(std::begin(kImageFormats), std::end(kImageFormats), format) != std::end(kImageFormats);
}

bool IsSubtitleFormat(std::string_view format) {
  for (const std::string& name : Split(LowerAscii(SubtitleFormatList), "|")) {
    if (name == format) return true;
  }
  return false;
}

// Seconds of a point in the notations of the time fields; 0 for no point.
double PointSeconds(std::string_view text) {
  const std::string trimmed = Trim(text);
  return trimmed.empty() ? 0.0 : ParseSecs(trimmed, true, ",");
}

std::string Extension(std::string_view path) { return LowerAscii(ExtensionOf(path)); }

// The tool a task of this source is set up with.
const std::string& CoreFor(std::string_view source, std::string_view formatName, const ToolSet& tools) {
  return IsMEncoderJob(source, formatName, tools.mencoder) ? tools.mencoder : tools.ffmpeg;
}

// The core that setting up a task of this source probes it with ("" for the
// libraries alone); nothing when the source is not probed: only video and sound are.
std::optional<std::string> ProbeCore(const std::string& source, std::string_view formatName, const ToolSet& tools) {
  const SourceKind kind = SourceKindOf(source);
  if ((kind != SourceKind::Video && kind != SourceKind::Audio) || !FileExists(source)) return std::nullopt;
  const std::string& core = CoreFor(source, formatName, tools);
  return FileExists(core) ? core : std::string();
}

// Begins that probe on a worker, so that it is ready when the task's turn comes.
void ProbeAhead(const std::string& source, std::string_view formatName, const ToolSet& tools) {
  if (const auto core = ProbeCore(source, formatName, tools)) ProbeService::Instance().Prefetch(source, *core);
}

}  // namespace

bool IsMEncoderJob(std::string_view source, std::string_view formatName, const std::string& mencoderPath) {
  return (EndsWith(source, ":") || Contains(LowerAscii(formatName), "/me")) && FileExists(mencoderPath);
}

TaskLoop::TaskLoop(FFmpegX& engine, ListboxModel& tasks, RunHost& host, SettingReader read)
    : tools(SharedTools()), engine_(engine), tasks_(tasks), host_(host), read_(std::move(read)), info_(host) {
  AttachEvents();
}

TaskLoop::~TaskLoop() {
  if (!karaokeScratch_.empty()) {
    for (const char* suffix : {"", ".avs", ".lst", ".ssa"}) DeleteFile(karaokeScratch_ + suffix);
  }
  engine_.StatusChange = nullptr;
  engine_.ProgressChange = nullptr;
  engine_.PipeChange = nullptr;
  engine_.PriorityChanged = nullptr;
  engine_.FileInfoChange = nullptr;
  engine_.PumpEvents = nullptr;
}

void TaskLoop::Log(std::string_view text) const { DiagnosticsLog(Shared().ProgramPath).Write(text); }

bool TaskLoop::CheckTasks(const CheckContext& context) {
  info_.Clear();
  CheckContext filled = context;
  filled.karaokeJob = karaokeProduct;
  filled.aviSynthUsable = aviSynthUsable;
  return zel::CheckTasks(tasks_, read_, info_, host_, filled);
}

void TaskLoop::Cancel() {
  stopRequested_ = true;
  engine_.CancelProcess();
}

void TaskLoop::RunTasks(std::string_view forcedFormat) {
  Log(StrLogStartTasks);
  running_ = true;
  host_.SetRunningLook(true);
  if (read_("ShowStatus") == StrYes) host_.ShowLogPanel();
  runLogBuffer_.clear();
  outputs_.clear();
  sources_.clear();
  jobsStarted_ = jobsSucceeded_ = 0;
  passedOver_.clear();
  const std::string field = Trim(read_("OutputMode"));
  if (!forcedFormat.empty()) {
    formatName_ = LowerAscii(forcedFormat);
  } else if (field == StrDirectCut || field == StrDirectJoin) {
    formatName_ = field;
  } else {
    formatName_ = LowerAscii(field);
  }
  stopRequested_ = false;

  if (read_("AVSFileJoin") == StrYes) {
    std::string joined;
    for (int i = 0; i < tasks_.ListCount(); ++i) joined += (i > 0 ? "|" : "") + tasks_.PathFromIndex(i);
    if (!joined.empty()) RunTask(0, joined);
  } else {
    const bool ahead = !karaokeProduct && formatName_ != StrCopyTo && formatName_ != StrMoveTo;
    if (ahead && tasks_.ListCount() > 0) ProbeAhead(tasks_.PathFromIndex(0), formatName_, tools);
    for (int i = 0; i < tasks_.ListCount() && !stopRequested_; ++i) {
      const int started = jobsStarted_;
      // The next task's probe runs on a worker while this task converts.
      if (ahead && i + 1 < tasks_.ListCount()) ProbeAhead(tasks_.PathFromIndex(i + 1), formatName_, tools);
      if (ahead) AwaitProbe(tasks_.PathFromIndex(i));
      RunTask(i, tasks_.PathFromIndex(i));
      if (jobsStarted_ == started && !stopRequested_) passedOver_.push_back(tasks_.PathFromIndex(i));
      // The join takes every task at once; a picture before the first video
      // leaves it still to come.
      const bool joined = formatName_ == StrDirectJoin && jobsStarted_ > started;
      if (joined || karaokeProduct) break;
    }
  }
  if (!stopRequested_ && outputs_.size() > 1 && read_("JoinAllTask") == StrYes) JoinOutputs();

  host_.SetProgress(0, 0);
  FinishRun();
  RunFinishAction();
}

// A probe not yet made would be made at the task's head on this thread and hold
// a window still for as long as the file takes to read; it is made on a thread
// of its own instead, the host kept alive meanwhile.
void TaskLoop::AwaitProbe(const std::string& source) {
  const auto core = ProbeCore(source, formatName_, tools);
  if (!core) return;
  auto probed = std::async(std::launch::async, [source, core = *core] { ProbeService::Instance().Probe(source, core); });
  while (probed.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) host_.PumpEvents();
}

void TaskLoop::RunTask(int index, const std::string& source) {
  currentTask_ = index;
  tasks_.SetListIndex(index);
  host_.SelectTask(index);
  host_.PumpEvents();
  currentSource_ = source;
  std::string record = tasks_.ListOther(index);
  if (record.empty()) record = kEmptyCutRecord;
  if (karaokeProduct) {
    RunKaraokeJob();
    return;
  }

  if (formatName_ == StrCopyTo || formatName_ == StrMoveTo) {
    RunTransfer(index, source);
    return;
  }
  const SourceKind kind = Contains(source, "|") ? SourceKind::Video : SourceKindOf(source);
  switch (kind) {
    case SourceKind::Image:
      if (formatName_ == StrJpegThm) {
        RunImagePair(source);
      } else if (IsImageFormat(formatName_)) {
        ConfigureFor(source, {});
        PreparePart(engine_, ConversionTask{source, OutputFolderFor(source), formatName_, engine_.Core(), false},
                    read_, 0, 1, 0, 0);
        StartEngine();
      }
      return;
    case SourceKind::Subtitle:
      if (IsSubtitleFormat(formatName_)) RunSubtitleJob(source, record);
      return;
    case SourceKind::Other:
      return;
    default:
      break;
  }
  ConfigureFor(source, std::string(StrLogTaskLoop) + std::to_string(index + 1) + std::string(StrLogTaskSettings));
  if (formatName_ == StrDirectJoin) {
    RunDirectJoin();
    return;
  }
  const Cut cut = ReadCut(record);
  if (formatName_ == StrDirectCut) {
    RunDirectCut(index, source, cut);
  } else {
    RunConversionParts(index, source, cut);
  }
}

std::string TaskLoop::OutputFolderFor(const std::string& source) const {
  const std::string field = read_("OutputFolder");
  return field.empty() ? FolderOf(source) : cPath(field);
}

void TaskLoop::ConfigureFor(const std::string& source, std::string_view logLine) {
  if (!logLine.empty()) Log(logLine);
  ConversionTask task;
  task.source = source;
  task.outputFolder = read_("OutputFolder");
  task.formatName = formatName_;
  task.corePath = CoreFor(source, formatName_, tools);
  task.aviSynthUsable = aviSynthUsable;
  ConfigureConversion(engine_, task, read_);
}

void TaskLoop::RunKaraokeJob() {
  const std::string music = read_("KTVMusicFileName");
  ConfigureFor(music, std::string(StrLogTaskLoop) + "1" + std::string(StrLogTaskSettings));
  if (karaokeScratch_.empty()) karaokeScratch_ = CreateTempFile("ZELKTV", "");
  KaraokeInput input;
  input.musicPath = music;
  input.lyricPath = read_("KTVSubtitleFileName");
  input.scriptPath = karaokeScratch_ + ".avs";
  input.listPath = karaokeScratch_ + ".lst";
  input.ssaPath = karaokeScratch_ + ".ssa";
  const std::string size = LowerAscii(read_("VideoSize"));
  if (const size_t cross = size.find('x'); cross != std::string::npos && Val(size) > 0) {
    input.width = static_cast<int>(Val(size));
    input.height = static_cast<int>(Val(size.substr(cross + 1)));
  }
  input.durationSeconds = RoundedOrZero(engine_.Duration());
  input.subtitlePlugin = Shared().ToolVsfilter;
  input.picturePlugin = Shared().ToolPictureShow;
  for (int i = 0; i < tasks_.ListCount(); ++i) {
    if (SourceKindOf(tasks_.PathFromIndex(i)) == SourceKind::Image) input.pictures.push_back(tasks_.PathFromIndex(i));
  }
  std::random_device seed;
  std::mt19937 random(seed());
  std::vector<int> effects;
  // Lyrics that fail to convert must not leave the job before's in their place.
  DeleteFile(input.ssaPath);
  WriteKaraokeJob(engine_, input, read_, [&random] { return static_cast<unsigned>(random()); }, {}, &effects);
  PreparePart(engine_, ConversionTask{music, read_("OutputFolder"), formatName_, engine_.Core(), aviSynthUsable}, read_,
              0, 1, 0, 0);
  if (aviSynthUsable) {
    engine_.CustomFileName = "MV_" + BaseNameOf(music);
    engine_.SetFilename(input.scriptPath);
  } else {
    // Without AviSynth the same video is composed by FFmpeg from the pictures,
    // the music and the lyrics' SubStation file.
    if (input.pictures.empty()) {
      ++jobsStarted_;
      info_.Add(StrErrorOccurred, StrNoKaraokePictures);
      return;
    }
    SetKaraokeGraphRun(engine_, tools.ffmpeg, input, effects, !input.lyricPath.empty() && FileExists(input.ssaPath));
    Log(std::string(StrLogKaraokeGraph) + engine_.CommandLine);
  }
  StartEngine();
}

void TaskLoop::RunSubtitleJob(const std::string& source, const std::string& record) {
  SubtitleArguments args = SubtitleTaskArguments(read_);
  args.outputPath =
      OutputFolderFor(source) + read_("FileNameAddStringBefore") + BaseNameOf(source) + "." + formatName_;
  const CutRecord cut = ParseCutRecord(record);
  args.cutStart = PointSeconds(cut.start);
  args.cutEnd = PointSeconds(cut.end);
  args.extraText = Shared().ProductName + std::string(StrCreditMade);
  engine_.SubtitleEncodeFormat = SubtitleEncodingNumber(read_("SubtitleEncodeFormat"));
  engine_.FileNameSuffix = read_("FileSuffix");
  ++jobsStarted_;
  if (!FileExists(source)) {
    info_.Add(StrErrorOccurred, MsgSourceNotFound);
    return;
  }
  // The engine's events report the start, the output and a failed save. A file it
  // could not read at all (no line end, no entry) ends without a word, so
  // the list says what became of the task.
  if (!engine_.ConvertSubtitle({source}, args) && engine_.Status() != kStatusError) {
    info_.Add(StrErrorOccurred, MsgNoSubtitleExtracted);
  }
}

TaskLoop::Cut TaskLoop::ReadCut(const std::string& record) const {
  const CutRecord fields = ParseCutRecord(record);
  const bool headTail = read_("SplitMode") == StrSplitHeadTail;
  const double duration = engine_.Duration();
  Cut cut;
  const double ownStart = PointSeconds(fields.start);
  cut.start = ownStart > 0 ? ownStart : PointSeconds(read_("SplitTimeStart"));
  const double ownEnd = PointSeconds(fields.end);
  if (ownEnd > 0) {
    cut.end = headTail ? duration - ownEnd : ownEnd;
  } else {
    const double globalEnd = PointSeconds(read_("SplitTimeEnd"));
    cut.end = headTail ? duration - globalEnd : globalEnd;
  }
  const int ownParts = static_cast<int>(Val(fields.parts));
  cut.parts = ownParts > 0 ? ownParts : static_cast<int>(Val(read_("SplitPart")));
  if (cut.parts < 1) cut.parts = 1;
  cut.fullFile = cut.start == 0 && cut.end == 0 && cut.parts == 1;

  // The comparisons with the duration are those of single precision.
  const float length = static_cast<float>(duration);
  if (duration > 0) {
    auto beyond = [length](double value) { return static_cast<float>(value) > length; };
    if (cut.end == 0 || cut.end == cut.start || beyond(cut.end) || beyond(cut.start) || cut.start > cut.end) {
      if (cut.end == 0 || cut.end == cut.start || beyond(cut.end)) cut.end = duration;
      if (beyond(cut.start) || cut.start > cut.end) cut.start = 0;
    }
  }
  cut.partLength = (cut.end - cut.start) / cut.parts;
  return cut;
}

void TaskLoop::RunConversionParts(int index, const std::string& source, const Cut& cut) {
  const bool mencoderJob = IsMEncoderJob(source, formatName_, tools.mencoder);
  const bool realMediaJob = !mencoderJob && formatName_ == "rmvb" && FileExists(tools.producer);
  const ConversionTask task{source, read_("OutputFolder"), formatName_, engine_.Core(), aviSynthUsable};
  for (int part = 0; part < cut.parts && !stopRequested_; ++part) {
    PreparePart(engine_, task, read_, part, cut.parts, cut.fullFile ? 0 : cut.start,
                cut.fullFile ? 0 : cut.partLength);
    const std::string number = std::to_string(index + 1);
    if (mencoderJob) {
      engine_.SetForceFormat(ReplaceAllNoCase(formatName_, "/me", ""));
      Log(std::string(StrLogMEncoderJob) + number);
    } else if (realMediaJob) {
      if (!PrepareRealMedia()) continue;
      Log(std::string(StrLogRealMediaJob) + number);
    } else {
      Log(std::string(StrLogFFmpegJob) + number);
    }
    StartEngine();
  }
}

bool TaskLoop::PrepareRealMedia() {
  // In test mode the audience file goes where the user looks for Test.bat.
  const std::string folder = engine_.TestMode ? engine_.OutputDir() : Shared().ToolsPath;
  const std::string audience = WriteProducerAudience(folder, ProducerAudience(read_));
  if (audience.empty()) {
    info_.Add(StrInfoProblem, std::string(StrCannotWriteFile) + folder);
    return false;
  }
  engine_.SetForceFormat("rmvb");
  engine_.Twopass = false;
  engine_.CommandLine = ProducerCommandLine(tools.producer, audience, engine_.MetaData_Title, engine_.MetaData_Author,
                                            engine_.MetaData_Copyright, Shared().ProductName);
  engine_.Refresh = true;
  return true;
}

void TaskLoop::StartEngine() {
  ++jobsStarted_;
  engine_.StartProcess();
}

void TaskLoop::RunDirectCut(int index, const std::string& source, const Cut& cut) {
  const ConversionTask task{source, read_("OutputFolder"), formatName_, tools.ffmpeg, false};
  for (int part = 0; part < cut.parts && !stopRequested_; ++part) {
    PreparePart(engine_, task, read_, part, cut.parts, cut.fullFile ? 0 : cut.start,
                cut.fullFile ? 0 : cut.partLength);
    const DirectJob job = DirectCutJob(source, engine_.TimeStartPoint, engine_.TimeEndPoint, tools);
    if (job.kind != DirectJobKind::Command) {
      info_.Add(StrInfoProblem, std::string(StrToolMissing) + job.tool);
      return;
    }
    engine_.Twopass = false;
    engine_.SetForceFormat(read_("SourceFormat") == StrYes || job.forceFormat.empty() ? Extension(source)
                                                                                       : job.forceFormat);
    if (engine_.Core() != job.tool) engine_.SetCore(job.tool);
    engine_.CommandLine = job.commandLine;
    engine_.Refresh = true;
    Log(std::string(StrLogDirectCut) + std::to_string(index + 1) + " " + job.commandLine);
    StartEngine();
  }
}

void TaskLoop::RunDirectJoin() {
  std::vector<std::string> inputs;
  for (int i = 0; i < tasks_.ListCount(); ++i) {
    const std::string path = tasks_.PathFromIndex(i);
    const SourceKind kind = SourceKindOf(path);
    if (kind == SourceKind::Video || kind == SourceKind::Audio || kind == SourceKind::Disc) inputs.push_back(path);
  }
  if (inputs.empty()) return;
  engine_.FileNameAddStringAfter = read_("FileNameAddStringAfter");
  engine_.TimeStartPoint = engine_.TimeEndPoint = 0;
  // The joined file is named as the engine names a cut of the first file.
  std::string extension = ExtensionOf(inputs.front());
  if (engine_.UcaseNameSuffix) extension = UpperAscii(extension);
  if (!engine_.FileNameSuffix.empty()) extension = engine_.FileNameSuffix;
  JoinWith(DirectJoinJob(inputs, tools), inputs, extension, StrLogDirectJoin);
}

void TaskLoop::JoinOutputs() {
  Log(StrLogJoinOutputs);
  const std::vector<std::string> inputs = outputs_;
  engine_.Refresh = false;
  engine_.SetFilename(inputs.front());
  engine_.FileNameAddStringAfter = std::string(StrJoinedSuffix);
  engine_.TimeStartPoint = engine_.TimeEndPoint = 0;
  const bool joined = JoinWith(OutputJoinJob(inputs, tools), inputs, ExtensionOf(inputs.front()), StrLogJoinOutputs);
  if (!joined) return;
  const std::string result = outputs_.back();
  if (read_("JoinAllTaskAndClean") == StrYes) {
    for (const std::string& output : inputs) zel::DeleteFile(output);
  }
  outputs_ = {result};
  sources_.erase(result);
}

std::string TaskLoop::SourceOf(const std::string& output) const {
  const auto found = sources_.find(output);
  return found == sources_.end() ? std::string() : found->second;
}

std::string TaskLoop::JoinTarget(const std::vector<std::string>& inputs, std::string_view extension) const {
  const std::string& first = inputs.front();
  const std::string wanted = OutputFolderFor(first) + read_("FileNameAddStringBefore") + BaseNameOf(first) +
                             engine_.FileNameAddStringAfter + "." + std::string(extension);
  // Overwriting may replace an old join, never a file being joined.
  const bool isInput =
      std::any_of(inputs.begin(), inputs.end(), [&wanted](const std::string& input) { return SameFile(wanted, input); });
  return RenameExists(wanted, read_("FileExistsOverwrite") == StrYes && !isInput);
}

bool TaskLoop::JoinWith(const DirectJob& job, const std::vector<std::string>& inputs, std::string_view extension,
                        std::string_view logLine) {
  const std::string first = inputs.front();
  const std::string format =
      read_("SourceFormat") == StrYes || formatName_ == StrDirectJoin ? Extension(first) : formatName_;
  engine_.SetForceFormat(job.forceFormat.empty() ? format : job.forceFormat);
  engine_.Twopass = false;
  const size_t before = outputs_.size();
  if (job.kind == DirectJobKind::ToolMissing) {
    // A join that cannot run is a job that failed.
    ++jobsStarted_;
    info_.Add(StrInfoProblem, std::string(StrToolMissing) + job.tool);
    return false;
  }
  const std::string target = JoinTarget(inputs, extension);
  engine_.Overwrite = read_("FileExistsOverwrite") == StrYes;
  if (job.kind == DirectJobKind::Concatenate) {
    // The classic byte join; done here, without a shell.
    Log(std::string(logLine) + " " + target);
    ++jobsStarted_;
    info_.Add(StrStartingTask);
    // The target names an existing file only where that file may be replaced.
    const ExistingOutput existing = FileExists(target) ? ExistingOutput::Replace : ExistingOutput::Keep;
    const auto keepGoing = [this] {
      host_.PumpEvents();
      return !stopRequested_;
    };
    const bool done = !target.empty() && ConcatenateFiles(inputs, target, keepGoing, existing);
    if (!done) {
      info_.ReplaceLast(std::string(StrErrorOccurred) + " | " + target);
      return false;
    }
    OnFinishedOutput(target);
  } else {
    if (engine_.Core() != job.tool) engine_.SetCore(job.tool);
    engine_.CommandLine = job.commandLine;
    engine_.Refresh = true;
    Log(std::string(logLine) + " " + job.commandLine);
    // The tool writes where the byte join would; the engine's own naming
    // would take the format's extension, "/me" and all.
    const std::string named = std::exchange(engine_.ForceOutputFileName, target);
    StartEngine();
    engine_.ForceOutputFileName = named;
  }
  return outputs_.size() > before;
}

void TaskLoop::RunImagePair(const std::string& source) {
  // One JPEG of at most 2048 pixels, and its 150x150 thumbnail in ".MISC".
  const std::string folder = OutputFolderFor(source);
  const std::pair<std::string, std::string> images[] = {{folder, "2048max"}, {folder + ".MISC/", "150x150"}};
  const char* extensions[] = {"JPG", "THM"};
  for (size_t i = 0; i < 2 && !stopRequested_; ++i) {
    ConfigureFor(source, {});
    MakedPath(images[i].first);
    PreparePart(engine_, ConversionTask{source, images[i].first, "jpg", engine_.Core(), false}, read_, 0, 1, 0, 0);
    engine_.SetOutputDir(images[i].first);
    engine_.SetImageSize(images[i].second);
    engine_.FileNameSuffix = extensions[i];
    StartEngine();
  }
}

void TaskLoop::RunTransfer(int index, const std::string& source) {
  const bool move = formatName_ == StrMoveTo;
  host_.SetStartButton(StrButtonCancel, "filecopy");
  info_.Add(StrStartingTask);
  ++jobsStarted_;

  const std::string folderField = read_("OutputFolder");
  const std::string folder = folderField.empty() ? FolderOf(source) : cPath(folderField);
  const std::string target = TransferFile(source, folder, move, [this](int64_t done, int64_t total) {
    if (total > 0) host_.SetProgress(static_cast<int>(done * kTransferScale / total), kTransferScale);
    host_.PumpEvents();
    return !stopRequested_;
  });
  host_.SetProgress(0, 0);
  host_.PumpEvents();
  std::string result;
  if (!target.empty()) {
    result = std::string(StrInfoDone) + " | " + target;
    info_.Add(StrInfoDone, target);
    outputs_.push_back(target);
    sources_[target] = source;
    ++jobsSucceeded_;
  } else {
    result = std::string(StrTransferFailed);
    info_.Add(StrTransferFailed);
  }
  tasks_.SetListComment(index, tasks_.ListComment(index) + " - " + result);
}

void TaskLoop::FinishRun() {
  if (!running_) return;
  Log(StrLogFinishRun);
  running_ = false;
  host_.SetRunningLook(false);
  stopRequested_ = true;
  host_.SetStartButton(StrButtonStart, "4");
  host_.SetStatusText({});
  zel::DeleteFile(Shared().ToolsPath + "producer.rpad");
  // Only this run's own scratch files: another instance may be converting.
  engine_.DeleteScratchFiles();
}

void TaskLoop::RunFinishAction() {
  const std::string action = read_("ConvertFinished");
  if (action == StrFinishShutDown || action == StrFinishRestart || action == StrFinishLogOff) {
    Shared().ExitNow = true;
    host_.PowerAction(action);
  } else if (action == StrFinishQuit) {
    Shared().ExitNow = true;
    host_.UnloadMainWindow();
  } else if (action == StrFinishNotify) {
    host_.ShowMessage(StrAllTasksDone);
  } else if (action == StrFinishSound) {
    host_.PlayTones();
  } else if (action == StrFinishBalloon) {
    host_.ShowBalloon(StrAllTasksDoneTitle, StrAllTasksDone);
  } else if (action == StrFinishResults) {
    host_.ShowResultPanel();
  } else if (action == StrFinishOpen) {
    const std::string folder = read_("OutputFolder");
    if (DirectoryExists(folder)) host_.OpenFolder(folder);
  }
}

}  // namespace zel
