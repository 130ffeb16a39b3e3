// The subtitle editor without its window: rows of timed entries, the commands of
// its buttons, opening and saving through the converter, undo and redo, and what
// the player does at each tick while a subtitle plays. The window only shows it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class ListboxModel;

// What the editor asks of its window: the player's clock and marks, and the user.
class SubtitleEditorHost {
 public:
  virtual ~SubtitleEditorHost() = default;

  // Where the player stands, in seconds.
  virtual double Position() = 0;
  // Both marks of the player's time bar in seconds, set under one repaint.
  virtual void SetMarks(double start, double end) = 0;
  // A Yes/No question; `defaultYes` is the answer of the default button.
  virtual bool Ask(std::string_view question, bool defaultYes) = 0;
  // A message the user acknowledges.
  virtual void ShowMessage(std::string_view text) = 0;
};

// The command row's buttons by number. "Back" moves a time earlier.
enum class SubtitleEditCommand : int {
  StartFromPlayer = 0,
  EndFromPlayer = 1,
  ClearStart = 2,
  ClearEnd = 3,
  ShiftRowBack = 4,
  ShiftRowForward = 5,
  ShiftAllBack = 6,
  ShiftAllForward = 7,
  PreviousRow = 8,
  NextRow = 9,
  DeleteRow = 10,
  AddRow = 11,
  ClearRows = 12,
  StartBack = 13,
  StartForward = 14,
  EndBack = 15,
  EndForward = 16,
  AutoFill = 99,
};

// The three read-only fields beside the list.
enum class SubtitleField : int { Start = 0, End = 1, Text = 2 };

// One entry as the list holds it: the row's title text and its second text.
struct SubtitleRow {
  std::string pair;  // "start->end", both in notation 0
  std::string text;
  bool operator==(const SubtitleRow&) const = default;
};

// The time pair of a row that has none yet, and its halves.
inline constexpr std::string_view kSubtitleZeroTime = "00:00:00,000";
inline constexpr std::string_view kSubtitleEmptyPair = "00:00:00,000->00:00:00,000";

class SubtitleEditor {
 public:
  // The editor works on rows the window's list shows; both outlive it.
  SubtitleEditor(ListboxModel& rows, SubtitleEditorHost& host);

  // One button. On an empty list only AddRow does anything; commands on the
  // current row do nothing while none is selected.
  void Run(SubtitleEditCommand command);

  // Selects a row, as a click in the list does, and shows it in the fields; -1
  // selects none and leaves the fields as they were.
  void Select(int index);
  // Replaces a row's text, as editing it in the list does.
  void EditText(int index, std::string_view text);

  const std::string& Field(SubtitleField field) const { return fields_[static_cast<size_t>(field)]; }
  std::vector<SubtitleRow> Rows() const;

  // Reads a subtitle file of any of the sixteen types in place of the rows.
  // The converter leaves the file's "<path>.stxt" beside it. False, with a
  // message, when nothing could be read; the rows then stay.
  bool Open(const std::string& path);
  // Writes the rows as the type of `path`'s extension, asking before an
  // existing file is replaced. False when refused or failed (with a message).
  bool Save(const std::string& path);

  bool CanUndo() const { return !undo_.empty(); }
  bool CanRedo() const { return !redo_.empty(); }
  // Each steps over one change of the rows; false when there is none.
  bool Undo();
  bool Redo();
  // Whether the rows differ from what was last opened or saved.
  bool Modified() const { return version_ != savedVersion_; }

  // How many changes Undo can step back over.
  static constexpr size_t kHistoryLimit = 100;

 private:
  enum class Ends { Start, End, Both };
  enum class Needs { Nothing, Rows, Row };
  struct Snapshot {
    std::vector<SubtitleRow> rows;
    int index = -1;
    uint64_t version = 0;
  };
  using Action = void (SubtitleEditor::*)(int sign, Ends ends);
  struct CommandRule {
    SubtitleEditCommand command;
    Needs needs;
    Action action;
    int sign;
    Ends ends;
  };
  static const CommandRule* RuleFor(SubtitleEditCommand command);

  void TakePosition(int sign, Ends ends);
  void ZeroTime(int sign, Ends ends);
  void ShiftRow(int sign, Ends ends);
  void ShiftAll(int sign, Ends ends);
  void MoveSelection(int sign, Ends ends);
  void DeleteRow(int sign, Ends ends);
  void AddRow(int sign, Ends ends);
  void ClearRows(int sign, Ends ends);
  void AutoFill(int sign, Ends ends);

  // Shifts one row's times by `ms` (earlier when negative; a time never goes
  // below zero).
  void ShiftTimes(int index, double ms, Ends ends);
  void SetTimes(int index, const std::string& start, const std::string& end);
  void MarksToCurrentRow();
  void RefreshFields();

  Snapshot Capture() const;
  void Restore(const Snapshot& snapshot);
  // Runs a change and keeps what was before it when the rows changed.
  template <class F>
  void Change(F&& change);
  void ReplaceRows(const std::vector<SubtitleRow>& rows);

  ListboxModel& rows_;
  SubtitleEditorHost& host_;
  std::array<std::string, 3> fields_;
  std::vector<Snapshot> undo_, redo_;
  uint64_t version_ = 0, savedVersion_ = 0, nextVersion_ = 1;
};

// ---- Playing along ----

// SubtitleEditPlayType: "单句循环" loops the current row, "整体播放" plays on and
// follows with the selection, "整体循环" starts over at the first row after the
// last. Any other label plays on, the store's default.
enum class SubtitlePlayType { LoopRow, PlayOn, LoopList };
SubtitlePlayType SubtitlePlayTypeFromLabel(std::string_view label);

enum class PlayTickAction {
  Nothing,
  SeekToRowStart,  // seek to `seconds`, the current row's start
  SelectNextRow,   // select `row` and play on
  SeekToFirstRow,  // select `row` (0) and seek to `seconds`, its start
};
struct PlayTick {
  PlayTickAction action = PlayTickAction::Nothing;
  int row = -1;
  double seconds = 0;  // the start of `row`
  bool operator==(const PlayTick&) const = default;
};

// What the player does at a tick with the position at `position` seconds. A row
// ends at its end time, or, while that is not after its start, at the next row's
// start; a row without either never ends.
PlayTick DecidePlayTick(SubtitlePlayType type, const ListboxModel& rows, int current, double position);

}  // namespace zel
