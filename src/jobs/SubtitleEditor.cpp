#include "jobs/SubtitleEditor.h"

#include <algorithm>
#include <utility>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "engine/EngineMessages.h"
#include "engine/FFmpegX.h"
#include "jobs/EngineSetup.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/TextEncoding.h"
#include "subtitles/TimeNotation.h"

namespace zel {
namespace {

constexpr std::string_view kArrow = "->";
constexpr std::string_view kComma = ",";

std::pair<std::string, std::string> SplitPair(std::string_view pair) {
  const size_t arrow = pair.find(kArrow);
  if (arrow == std::string_view::npos) return {std::string(pair), {}};
  return {std::string(pair.substr(0, arrow)), std::string(pair.substr(arrow + kArrow.size()))};
}

std::string JoinPair(std::string_view start, std::string_view end) {
  return std::string(start) + std::string(kArrow) + std::string(end);
}

double Seconds(std::string_view time) { return ParseSecs(time, true, kComma); }

// The offset of the shift commands: the slider's tenths of a second.
double OffsetMs() { return Val(ReadSetting("SubtitleEditOffsetValue")) * 100; }

struct OffsetRule {
  Text label;
  bool start, end;
};
constexpr OffsetRule kOffsetRules[] = {
    {StrSubtitleEditShiftBlock, true, true},
    {StrSubtitleEditShiftStart, true, false},
    {StrSubtitleEditShiftEnd, false, true},
};

struct PlayTypeLabel {
  Text label;
  SubtitlePlayType type;
};
constexpr PlayTypeLabel kPlayTypes[] = {
    {StrSubtitleEditLoopRow, SubtitlePlayType::LoopRow},
    {StrSubtitleEditPlayAll, SubtitlePlayType::PlayOn},
    {StrSubtitleEditLoopAll, SubtitlePlayType::LoopList},
};

// What the editor hands the converter both ways. The times are taken as they
// stand: the store's playback offset belongs to conversions for a player, and
// an editor that added it would move every entry on each open and save.
SubtitleArguments EditorArguments(const std::string& output) {
  SubtitleArguments args;
  args.outputPath = output;
  args.playResX = 320;
  args.playResY = 240;
  args.fontName = "Verdana";
  args.fontSize = 18;
  args.outline = 1;
  args.encoding = 134;
  args.timeOffset = 0;
  return args;
}

// One conversion with its end recorded: the file written, or the engine's error.
struct Conversion {
  bool ok = false;
  std::string written, error;
};
Conversion Convert(const std::string& input, const SubtitleArguments& args, int encoding) {
  FFmpegX converter;
  converter.SubtitleEncodeFormat = encoding;
  Conversion result;
  converter.StatusChange = [&result](int status, const std::string& info) {
    if (status == kStatusComplete) result.written = info;
    if (status == kStatusError) result.error = info;
  };
  result.ok = converter.ConvertSubtitle({input}, args) && !result.written.empty();
  return result;
}

std::string FailureText(Text head, const std::string& path, const std::string& error) {
  return std::string(head) + path + (error.empty() ? "" : "\n" + error);
}

}  // namespace

SubtitleEditor::SubtitleEditor(ListboxModel& rows, SubtitleEditorHost& host) : rows_(rows), host_(host) {
  fields_ = {std::string(kSubtitleZeroTime), std::string(kSubtitleZeroTime), {}};
  RefreshFields();
}

// ---- Commands ----

const SubtitleEditor::CommandRule* SubtitleEditor::RuleFor(SubtitleEditCommand command) {
  using C = SubtitleEditCommand;
  static constexpr CommandRule kRules[] = {
      {C::StartFromPlayer, Needs::Row, &SubtitleEditor::TakePosition, 0, Ends::Start},
      {C::EndFromPlayer, Needs::Row, &SubtitleEditor::TakePosition, 0, Ends::End},
      {C::ClearStart, Needs::Rows, &SubtitleEditor::ZeroTime, 0, Ends::Start},
      {C::ClearEnd, Needs::Rows, &SubtitleEditor::ZeroTime, 0, Ends::End},
      {C::ShiftRowBack, Needs::Row, &SubtitleEditor::ShiftRow, -1, Ends::Both},
      {C::ShiftRowForward, Needs::Row, &SubtitleEditor::ShiftRow, 1, Ends::Both},
      {C::ShiftAllBack, Needs::Rows, &SubtitleEditor::ShiftAll, -1, Ends::Both},
      {C::ShiftAllForward, Needs::Rows, &SubtitleEditor::ShiftAll, 1, Ends::Both},
      {C::PreviousRow, Needs::Row, &SubtitleEditor::MoveSelection, -1, Ends::Both},
      {C::NextRow, Needs::Row, &SubtitleEditor::MoveSelection, 1, Ends::Both},
      {C::DeleteRow, Needs::Rows, &SubtitleEditor::DeleteRow, 0, Ends::Both},
      {C::AddRow, Needs::Nothing, &SubtitleEditor::AddRow, 0, Ends::Both},
      {C::ClearRows, Needs::Rows, &SubtitleEditor::ClearRows, 0, Ends::Both},
      {C::StartBack, Needs::Row, &SubtitleEditor::ShiftRow, -1, Ends::Start},
      {C::StartForward, Needs::Row, &SubtitleEditor::ShiftRow, 1, Ends::Start},
      {C::EndBack, Needs::Row, &SubtitleEditor::ShiftRow, -1, Ends::End},
      {C::EndForward, Needs::Row, &SubtitleEditor::ShiftRow, 1, Ends::End},
      {C::AutoFill, Needs::Row, &SubtitleEditor::AutoFill, 0, Ends::Both},
  };
  for (const CommandRule& rule : kRules) {
    if (rule.command == command) return &rule;
  }
  return nullptr;
}

void SubtitleEditor::Run(SubtitleEditCommand command) {
  const CommandRule* rule = RuleFor(command);
  if (!rule) return;
  if (rule->needs != Needs::Nothing && rows_.ListCount() == 0) return;
  if (rule->needs == Needs::Row && rows_.ListIndex() < 0) return;
  Change([&] { (this->*rule->action)(rule->sign, rule->ends); });
}

void SubtitleEditor::TakePosition(int, Ends ends) {
  const int index = rows_.ListIndex();
  auto [start, end] = SplitPair(rows_.TitleText(index));
  (ends == Ends::Start ? start : end) = FormatMSecs(host_.Position() * 1000, kNotationSrt);
  SetTimes(index, start, end);
  RefreshFields();
}

void SubtitleEditor::ZeroTime(int, Ends ends) {
  fields_[static_cast<size_t>(ends == Ends::Start ? SubtitleField::Start : SubtitleField::End)] = kSubtitleZeroTime;
  const int index = rows_.ListIndex();
  if (index < 0) return;
  auto [start, end] = SplitPair(rows_.TitleText(index));
  (ends == Ends::Start ? start : end) = kSubtitleZeroTime;
  SetTimes(index, start, end);
}

void SubtitleEditor::ShiftRow(int sign, Ends ends) {
  ShiftTimes(rows_.ListIndex(), sign * OffsetMs(), ends);
  MarksToCurrentRow();
  RefreshFields();
}

void SubtitleEditor::ShiftAll(int sign, Ends) {
  const std::string type = ReadSetting("SubtitleEditOffsetType");
  Ends ends = Ends::Both;
  for (const OffsetRule& rule : kOffsetRules) {
    if (rule.label == type) ends = rule.start && rule.end ? Ends::Both : rule.start ? Ends::Start : Ends::End;
  }
  const double ms = sign * OffsetMs();
  for (int i = 0; i < rows_.ListCount(); ++i) ShiftTimes(i, ms, ends);
  RefreshFields();
}

void SubtitleEditor::MoveSelection(int sign, Ends) {
  rows_.SetListIndex(std::clamp(rows_.ListIndex() + sign, 0, rows_.ListCount() - 1));
  RefreshFields();
  MarksToCurrentRow();
}

void SubtitleEditor::DeleteRow(int, Ends) {
  const int index = rows_.ListIndex();
  if (index < 0) {
    host_.ShowMessage(StrSubtitleEditSelectToDelete);
    return;
  }
  if (!host_.Ask(std::string(StrSubtitleEditDelete) + "\n" + rows_.List(index), true)) return;
  rows_.RemoveItem(index);
}

void SubtitleEditor::AddRow(int, Ends) {
  ListItem item;
  item.TitleText = JoinPair(Field(SubtitleField::Start), Field(SubtitleField::End));
  item.Text = Field(SubtitleField::Text);
  rows_.AddItem(item);
  // The new row is the one the next command times.
  rows_.SetListIndex(rows_.ListCount() - 1);
}

void SubtitleEditor::ClearRows(int, Ends) {
  if (host_.Ask(StrClearListQuestion, false)) rows_.Clear();
}

void SubtitleEditor::AutoFill(int, Ends) {
  const int index = rows_.ListIndex();
  auto [start, end] = SplitPair(rows_.TitleText(index));
  const std::string now = FormatMSecs(host_.Position() * 1000, kNotationSrt);
  if (start == kSubtitleZeroTime) {
    start = now;
  } else if (end == kSubtitleZeroTime) {
    end = now;
  }
  SetTimes(index, start, end);
  MarksToCurrentRow();
  RefreshFields();
}

void SubtitleEditor::ShiftTimes(int index, double ms, Ends ends) {
  auto [start, end] = SplitPair(rows_.TitleText(index));
  if (ends != Ends::End) start = FormatMSecs(ParseMSecs(start, kComma) + ms, kNotationSrt);
  if (ends != Ends::Start) end = FormatMSecs(ParseMSecs(end, kComma) + ms, kNotationSrt);
  SetTimes(index, start, end);
}

void SubtitleEditor::SetTimes(int index, const std::string& start, const std::string& end) {
  rows_.SetTitleText(index, JoinPair(start, end));
}

void SubtitleEditor::MarksToCurrentRow() {
  const auto [start, end] = SplitPair(rows_.TitleText(rows_.ListIndex()));
  host_.SetMarks(Seconds(start), Seconds(end));
}

void SubtitleEditor::RefreshFields() {
  const int index = rows_.ListIndex();
  if (index < 0) return;
  auto [start, end] = SplitPair(rows_.TitleText(index));
  fields_ = {std::move(start), std::move(end), rows_.List(index)};
}

void SubtitleEditor::Select(int index) {
  rows_.SetListIndex(index);
  RefreshFields();
}

void SubtitleEditor::EditText(int index, std::string_view text) {
  if (index < 0 || index >= rows_.ListCount()) return;
  Change([&] { rows_.SetList(index, text); });
  if (index == rows_.ListIndex()) RefreshFields();
}

std::vector<SubtitleRow> SubtitleEditor::Rows() const {
  std::vector<SubtitleRow> rows;
  rows.reserve(rows_.Items().size());
  for (const ListItem& item : rows_.Items()) rows.push_back({item.TitleText, item.Text});
  return rows;
}

// ---- History ----

SubtitleEditor::Snapshot SubtitleEditor::Capture() const { return {Rows(), rows_.ListIndex(), version_}; }

void SubtitleEditor::ReplaceRows(const std::vector<SubtitleRow>& rows) {
  rows_.Clear();
  for (const SubtitleRow& row : rows) {
    ListItem item;
    item.TitleText = row.pair;
    item.Text = row.text;
    rows_.AddItem(item);
  }
}

void SubtitleEditor::Restore(const Snapshot& snapshot) {
  ReplaceRows(snapshot.rows);
  rows_.SetListIndex(snapshot.index);
  version_ = snapshot.version;
  RefreshFields();
}

template <class F>
void SubtitleEditor::Change(F&& change) {
  Snapshot before = Capture();
  change();
  if (Rows() == before.rows) return;
  undo_.push_back(std::move(before));
  if (undo_.size() > kHistoryLimit) undo_.erase(undo_.begin());
  redo_.clear();
  version_ = nextVersion_++;
}

bool SubtitleEditor::Undo() {
  if (undo_.empty()) return false;
  redo_.push_back(Capture());
  Restore(undo_.back());
  undo_.pop_back();
  return true;
}

bool SubtitleEditor::Redo() {
  if (redo_.empty()) return false;
  undo_.push_back(Capture());
  Restore(redo_.back());
  redo_.pop_back();
  return true;
}

// ---- Files ----

namespace {

// A name in the temporary folder for the internal form, reserved while its
// holder lives and removed with it.
class ScratchForm {
 public:
  ScratchForm() : reserved_(CreateTempFile("zel-subtitle-", {})) {}
  ~ScratchForm() {
    if (reserved_.empty()) return;
    DeleteFile(Path());
    DeleteFile(reserved_);
  }
  ScratchForm(const ScratchForm&) = delete;
  ScratchForm& operator=(const ScratchForm&) = delete;
  std::string Path() const { return reserved_.empty() ? std::string() : reserved_ + ".stxt"; }

 private:
  std::string reserved_;
};

}  // namespace

bool SubtitleEditor::Open(const std::string& path) {
  if (!FileExists(path) || SubtitleInputType(path) == kSubtitleUnknown) {
    host_.ShowMessage(FailureText(StrSubtitleEditCannotOpen, path, {}));
    return false;
  }
  // The internal form is made in the temporary folder: a file of that name
  // beside the user's own is theirs, and stays.
  const ScratchForm form;
  const Conversion converted =
      form.Path().empty() ? Conversion{} : Convert(path, EditorArguments(form.Path()), kEncodingUtf8);
  if (!converted.ok) {
    host_.ShowMessage(FailureText(StrSubtitleEditCannotOpen, path, converted.error));
    return false;
  }
  int encoding = kEncodingDetect;
  const std::string text = UEFLoadTextFile(converted.written, encoding);
  if (converted.written != form.Path()) DeleteFile(converted.written);
  std::vector<SubtitleRow> rows;
  for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    if (line.find('|') == std::string_view::npos) continue;
    const std::vector<std::string> parts = Split(line, "|");
    rows.push_back({parts[0], parts.size() > 1 ? parts[1] : std::string()});
  }

  ReplaceRows(rows);
  fields_ = {std::string(kSubtitleZeroTime), std::string(kSubtitleZeroTime), {}};
  undo_.clear();
  redo_.clear();
  version_ = nextVersion_++;
  savedVersion_ = version_;
  return true;
}

bool SubtitleEditor::Save(const std::string& path) {
  if ((FileExists(path) || DirectoryExists(path)) && !host_.Ask(StrOverwriteListQuestion, false)) return false;

  // Nothing of the internal form is left beside the user's files.
  const ScratchForm form;
  std::string text;
  for (const SubtitleRow& row : Rows()) text += row.pair + "|" + row.text + "\r\n";
  int encoding = kEncodingUtf8;
  Conversion converted;
  if (!form.Path().empty() && UEFSaveTextFile(form.Path(), text, false, encoding, kEncodingUtf8)) {
    SubtitleArguments args = EditorArguments(path);
    // The user has agreed to replace the file.
    args.overwrite = true;
    converted = Convert(form.Path(), args, SubtitleEncodingNumber(ReadSetting("SubtitleEncodeFormat")));
  }
  if (!converted.ok) {
    host_.ShowMessage(FailureText(StrSubtitleEditCannotSave, path, converted.error));
    return false;
  }
  savedVersion_ = version_;
  return true;
}

// ---- Playing along ----

SubtitlePlayType SubtitlePlayTypeFromLabel(std::string_view label) {
  for (const PlayTypeLabel& entry : kPlayTypes) {
    if (entry.label == label) return entry.type;
  }
  return SubtitlePlayType::PlayOn;
}

PlayTick DecidePlayTick(SubtitlePlayType type, const ListboxModel& rows, int current, double position) {
  const int count = rows.ListCount();
  if (current < 0 || current >= count) return {};
  const auto startOf = [&rows](int index) { return Seconds(SplitPair(rows.TitleText(index)).first); };
  const double start = startOf(current);
  double end = Seconds(SplitPair(rows.TitleText(current)).second);
  const bool hasNext = current + 1 < count;
  if (end <= start && hasNext) end = startOf(current + 1);
  if (end <= start || position < end) return {};

  switch (type) {
    case SubtitlePlayType::LoopRow:
      return {PlayTickAction::SeekToRowStart, current, start};
    case SubtitlePlayType::PlayOn:
    case SubtitlePlayType::LoopList:
      if (hasNext) return {PlayTickAction::SelectNextRow, current + 1, startOf(current + 1)};
      if (type == SubtitlePlayType::LoopList) return {PlayTickAction::SeekToFirstRow, 0, startOf(0)};
      return {};
  }
  return {};
}

}  // namespace zel
