#include "jobs/SubtitleEditor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "base/FileHelpers.h"
#include "jobs/JobsTestSupport.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/TimeNotation.h"

namespace zel {
namespace {

using C = SubtitleEditCommand;
using Marks = std::vector<std::pair<double, double>>;

class PlayerHost : public SubtitleEditorHost {
 public:
  double position = 0;
  bool answer = true;
  Marks marks;
  std::vector<std::string> questions, messages;

  double Position() override { return position; }
  void SetMarks(double start, double end) override { marks.emplace_back(start, end); }
  bool Ask(std::string_view question, bool) override {
    questions.emplace_back(question);
    return answer;
  }
  void ShowMessage(std::string_view text) override { messages.emplace_back(text); }
};

const std::vector<SubtitleRow> kRows = {
    {"00:00:01,000->00:00:02,000", "one"},
    {"00:00:03,500->00:00:04,000", "two"},
    {"00:00:05,000->00:00:00,000", "three"},
    {"00:00:00,000->00:00:00,000", "four"},
};

std::vector<std::string> Lines(const std::vector<SubtitleRow>& rows) {
  std::vector<std::string> lines;
  for (const SubtitleRow& row : rows) lines.push_back(row.pair + "|" + row.text);
  return lines;
}

void Fill(ListboxModel& list, const std::vector<SubtitleRow>& rows) {
  list.Clear();
  for (const SubtitleRow& row : rows) list.AddItem(ListItem{.Text = row.text, .TitleText = row.pair});
}

class SubtitleEditorTest : public test::StoreTest {
 protected:
  void SetUp() override {
    test::StoreTest::SetUp();
    Fill(list, kRows);
  }
  std::vector<std::string> Fields() const {
    return {editor.Field(SubtitleField::Start), editor.Field(SubtitleField::End), editor.Field(SubtitleField::Text)};
  }

  ListboxModel list;
  PlayerHost player;
  SubtitleEditor editor{list, player};
};

void ExpectMarks(const Marks& seen, const Marks& expected) {
  ASSERT_EQ(seen.size(), expected.size());
  for (size_t i = 0; i < seen.size(); ++i) {
    EXPECT_NEAR(seen[i].first, expected[i].first, 1e-9);
    EXPECT_NEAR(seen[i].second, expected[i].second, 1e-9);
  }
}

TEST_F(SubtitleEditorTest, CommandsSetShiftAndFillTimesWithFieldsAndMarksFollowing) {
  struct Case {
    const char* name;
    int selection;  // after row 0 was shown in the fields
    const char* offset;
    Text offsetType;
    double position;
    C command;
    std::map<int, std::string> changed;  // rows that differ afterwards, by index
    std::vector<std::string> fields;
    Marks marks;
    int selectedAfter;
  };
  const char* kZero = "00:00:00,000";
  const Case cases[] = {
      {"start from the player", 0, "5", StrSubtitleEditShiftBlock, 1.5, C::StartFromPlayer,
       {{0, "00:00:01,500->00:00:02,000|one"}}, {"00:00:01,500", "00:00:02,000", "one"}, {}, 0},
      {"end from the player past a minute", 1, "5", StrSubtitleEditShiftBlock, 61.25, C::EndFromPlayer,
       {{1, "00:00:03,500->00:01:01,250|two"}}, {"00:00:03,500", "00:01:01,250", "two"}, {}, 1},
      {"clear the start of the row", 1, "5", StrSubtitleEditShiftBlock, 0, C::ClearStart,
       {{1, "00:00:00,000->00:00:04,000|two"}}, {kZero, "00:00:04,000", "two"}, {}, 1},
      {"clear the end without a row: the field only", -1, "5", StrSubtitleEditShiftBlock, 0, C::ClearEnd,
       {}, {"00:00:01,000", kZero, "one"}, {}, -1},
      {"row back", 0, "5", StrSubtitleEditShiftBlock, 0, C::ShiftRowBack,
       {{0, "00:00:00,500->00:00:01,500|one"}}, {"00:00:00,500", "00:00:01,500", "one"}, {{0.5, 1.5}}, 0},
      {"row back below zero stops at zero", 0, "15", StrSubtitleEditShiftBlock, 0, C::ShiftRowBack,
       {{0, "00:00:00,000->00:00:00,500|one"}}, {kZero, "00:00:00,500", "one"}, {{0, 0.5}}, 0},
      {"row forward", 1, "10", StrSubtitleEditShiftBlock, 0, C::ShiftRowForward,
       {{1, "00:00:04,500->00:00:05,000|two"}}, {"00:00:04,500", "00:00:05,000", "two"}, {{4.5, 5}}, 1},
      {"all back as blocks", 1, "20", StrSubtitleEditShiftBlock, 0, C::ShiftAllBack,
       {{0, "00:00:00,000->00:00:00,000|one"}, {1, "00:00:01,500->00:00:02,000|two"},
        {2, "00:00:03,000->00:00:00,000|three"}},
       {"00:00:01,500", "00:00:02,000", "two"}, {}, 1},
      {"all forward, starts only", 1, "10", StrSubtitleEditShiftStart, 0, C::ShiftAllForward,
       {{0, "00:00:02,000->00:00:02,000|one"}, {1, "00:00:04,500->00:00:04,000|two"},
        {2, "00:00:06,000->00:00:00,000|three"}, {3, "00:00:01,000->00:00:00,000|four"}},
       {"00:00:04,500", "00:00:04,000", "two"}, {}, 1},
      {"all back, ends only, without a row", -1, "10", StrSubtitleEditShiftEnd, 0, C::ShiftAllBack,
       {{0, "00:00:01,000->00:00:01,000|one"}, {1, "00:00:03,500->00:00:03,000|two"}},
       {"00:00:01,000", "00:00:02,000", "one"}, {}, -1},
      {"a type the store does not know shifts blocks", 0, "10", "?", 0, C::ShiftAllForward,
       {{0, "00:00:02,000->00:00:03,000|one"}, {1, "00:00:04,500->00:00:05,000|two"},
        {2, "00:00:06,000->00:00:01,000|three"}, {3, "00:00:01,000->00:00:01,000|four"}},
       {"00:00:02,000", "00:00:03,000", "one"}, {}, 0},
      {"previous row", 1, "5", StrSubtitleEditShiftBlock, 0, C::PreviousRow,
       {}, {"00:00:01,000", "00:00:02,000", "one"}, {{1, 2}}, 0},
      {"previous at the top stays", 0, "5", StrSubtitleEditShiftBlock, 0, C::PreviousRow,
       {}, {"00:00:01,000", "00:00:02,000", "one"}, {{1, 2}}, 0},
      {"next row", 1, "5", StrSubtitleEditShiftBlock, 0, C::NextRow,
       {}, {"00:00:05,000", kZero, "three"}, {{5, 0}}, 2},
      {"next at the bottom stays", 3, "5", StrSubtitleEditShiftBlock, 0, C::NextRow,
       {}, {kZero, kZero, "four"}, {{0, 0}}, 3},
      {"add from the fields", 1, "5", StrSubtitleEditShiftBlock, 0, C::AddRow,
       {{4, "00:00:03,500->00:00:04,000|two"}}, {"00:00:03,500", "00:00:04,000", "two"}, {}, 4},
      {"start back", 1, "5", StrSubtitleEditShiftBlock, 0, C::StartBack,
       {{1, "00:00:03,000->00:00:04,000|two"}}, {"00:00:03,000", "00:00:04,000", "two"}, {{3, 4}}, 1},
      {"start forward", 0, "3", StrSubtitleEditShiftBlock, 0, C::StartForward,
       {{0, "00:00:01,300->00:00:02,000|one"}}, {"00:00:01,300", "00:00:02,000", "one"}, {{1.3, 2}}, 0},
      {"end back", 1, "1", StrSubtitleEditShiftBlock, 0, C::EndBack,
       {{1, "00:00:03,500->00:00:03,900|two"}}, {"00:00:03,500", "00:00:03,900", "two"}, {{3.5, 3.9}}, 1},
      {"end forward from zero", 3, "7", StrSubtitleEditShiftBlock, 0, C::EndForward,
       {{3, "00:00:00,000->00:00:00,700|four"}}, {kZero, "00:00:00,700", "four"}, {{0, 0.7}}, 3},
      {"auto fill an empty start", 3, "5", StrSubtitleEditShiftBlock, 7.25, C::AutoFill,
       {{3, "00:00:07,250->00:00:00,000|four"}}, {"00:00:07,250", kZero, "four"}, {{7.25, 0}}, 3},
      {"auto fill an open end", 2, "5", StrSubtitleEditShiftBlock, 9, C::AutoFill,
       {{2, "00:00:05,000->00:00:09,000|three"}}, {"00:00:05,000", "00:00:09,000", "three"}, {{5, 9}}, 2},
      {"auto fill leaves a timed row", 0, "5", StrSubtitleEditShiftBlock, 9, C::AutoFill,
       {}, {"00:00:01,000", "00:00:02,000", "one"}, {{1, 2}}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Fill(list, kRows);
    editor.Select(0);
    editor.Select(c.selection);
    player = {};
    player.position = c.position;
    WriteSetting("SubtitleEditOffsetValue", c.offset);
    WriteSetting("SubtitleEditOffsetType", c.offsetType);

    editor.Run(c.command);
    std::vector<std::string> expected = Lines(kRows);
    for (const auto& [index, line] : c.changed) {
      if (index == static_cast<int>(expected.size())) expected.push_back(line);
      expected[static_cast<size_t>(index)] = line;
    }
    EXPECT_EQ(Lines(editor.Rows()), expected);
    EXPECT_EQ(Fields(), c.fields);
    ExpectMarks(player.marks, c.marks);
    EXPECT_EQ(list.ListIndex(), c.selectedAfter);
    EXPECT_TRUE(player.questions.empty());
    EXPECT_TRUE(player.messages.empty());
  }

  // Commands on the current row do nothing while none is selected.
  Fill(list, kRows);
  editor.Select(-1);
  player = {};
  player.position = 9;
  for (C command : {C::StartFromPlayer, C::EndFromPlayer, C::ShiftRowBack, C::ShiftRowForward, C::PreviousRow,
                    C::NextRow, C::StartBack, C::StartForward, C::EndBack, C::EndForward, C::AutoFill}) {
    editor.Run(command);
  }
  EXPECT_EQ(editor.Rows(), kRows);
  EXPECT_EQ(list.ListIndex(), -1);
  EXPECT_TRUE(player.marks.empty());

  // On an empty list only adding does anything, and it adds the fields' row.
  ListboxModel emptyList;
  SubtitleEditor fresh(emptyList, player);
  player = {};
  for (C command : {C::StartFromPlayer, C::EndFromPlayer, C::ClearStart, C::ClearEnd, C::ShiftRowBack,
                    C::ShiftRowForward, C::ShiftAllBack, C::ShiftAllForward, C::PreviousRow, C::NextRow,
                    C::DeleteRow, C::ClearRows, C::StartBack, C::StartForward, C::EndBack, C::EndForward,
                    C::AutoFill}) {
    fresh.Run(command);
  }
  EXPECT_EQ(emptyList.ListCount(), 0);
  EXPECT_FALSE(fresh.CanUndo());
  EXPECT_TRUE(player.marks.empty());
  EXPECT_TRUE(player.questions.empty());
  EXPECT_TRUE(player.messages.empty());
  fresh.Run(C::AddRow);
  EXPECT_EQ(Lines(fresh.Rows()), std::vector<std::string>{std::string(kSubtitleEmptyPair) + "|"});
  EXPECT_EQ(emptyList.ListIndex(), 0);
}

TEST_F(SubtitleEditorTest, DeletingClearingAndReplacingAFileAskFirst) {
  struct Case {
    const char* name;
    int selection;
    bool answer;
    C command;
    std::vector<std::string> questions, messages;
    std::vector<int> rowsLeft;  // indexes into the starting rows
  };
  const std::string deleteTwo = std::string(StrSubtitleEditDelete) + "\ntwo";
  const Case cases[] = {
      {"delete without a row", -1, true, C::DeleteRow, {}, {std::string(StrSubtitleEditSelectToDelete)},
       {0, 1, 2, 3}},
      {"delete refused", 1, false, C::DeleteRow, {deleteTwo}, {}, {0, 1, 2, 3}},
      {"delete", 1, true, C::DeleteRow, {deleteTwo}, {}, {0, 2, 3}},
      {"clear refused", -1, false, C::ClearRows, {std::string(StrClearListQuestion)}, {}, {0, 1, 2, 3}},
      {"clear", 2, true, C::ClearRows, {std::string(StrClearListQuestion)}, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Fill(list, kRows);
    editor.Select(c.selection);
    player = {};
    player.answer = c.answer;
    editor.Run(c.command);
    EXPECT_EQ(player.questions, c.questions);
    EXPECT_EQ(player.messages, c.messages);
    std::vector<SubtitleRow> left;
    for (int i : c.rowsLeft) left.push_back(kRows[static_cast<size_t>(i)]);
    EXPECT_EQ(editor.Rows(), left);
  }

  // A file that is there is replaced only on Yes.
  Fill(list, kRows);
  const std::string path = dir / "taken.srt";
  ASSERT_TRUE(WriteFileAtomic(path, "keep"));
  player = {};
  player.answer = false;
  EXPECT_FALSE(editor.Save(path));
  EXPECT_EQ(ReadText(path), "keep");
  EXPECT_EQ(player.questions, std::vector<std::string>{std::string(StrOverwriteListQuestion)});
  player.answer = true;
  EXPECT_TRUE(editor.Save(path));
  EXPECT_NE(ReadText(path).find("00:00:03,500 --> 00:00:04,000"), std::string::npos);
  EXPECT_TRUE(player.messages.empty());
}

TEST_F(SubtitleEditorTest, EverySixteenTypesKeepsWhatItCanHoldThroughSaveAndOpen) {
  enum class Keeps { All, Starts, StartsInThousands, Texts };
  const std::map<std::string, Keeps> kept = {
      {"srt", Keeps::All},     {"ssa", Keeps::All},    {"ass", Keeps::All},
      {"lrc", Keeps::Starts},  {"ksc", Keeps::All},    {"krc", Keeps::Starts},
      // These two write milliseconds that every reader takes as seconds.
      {"smi", Keeps::StartsInThousands}, {"sami", Keeps::StartsInThousands}, {"snc", Keeps::StartsInThousands},
      {"qly", Keeps::Starts},  {"utf", Keeps::All},    {"stl", Keeps::All},
      {"vsf", Keeps::All},     {"dks", Keeps::Starts}, {"txt", Keeps::Texts},
      {"stxt", Keeps::All},
  };
  const std::vector<SubtitleRow> rows = {
      {"00:00:01,000->00:00:02,500", "first line"},
      {"00:00:04,000->00:00:06,000", "第二句"},
      {"00:01:10,000->00:01:12,000", "third"},
  };
  const auto start = [](const SubtitleRow& row) { return ParseMSecs(row.pair.substr(0, row.pair.find("->")), ","); };
  const auto texts = [](std::vector<SubtitleRow> of) {
    std::vector<std::string> t;
    for (const SubtitleRow& row : of) t.push_back(row.text);
    std::sort(t.begin(), t.end());
    return t;
  };
  const std::string scratch = dir / "tmp";
  ASSERT_TRUE(MakedPath(scratch));
  test::EnvGuard tmp("TMPDIR", scratch);

  for (std::string_view extension : kSubtitleExtensions) {
    const std::string type(extension);
    SCOPED_TRACE(type);
    ASSERT_TRUE(kept.contains(type));
    Fill(list, rows);
    const std::string path = dir / ("round." + type);
    ASSERT_TRUE(editor.Save(path));
    EXPECT_TRUE(std::filesystem::is_empty(scratch)) << "the internal form stays in the temporary folder";

    // A file named like the internal form beside it is the user's and stays.
    ASSERT_TRUE(WriteFileAtomic(path + ".stxt", "mine|mine\r\n"));
    ListboxModel readList;
    SubtitleEditor reader(readList, player);
    ASSERT_TRUE(reader.Open(path));
    EXPECT_FALSE(reader.Modified());
    EXPECT_EQ(ReadText(path + ".stxt"), "mine|mine\r\n");
    EXPECT_TRUE(std::filesystem::is_empty(scratch)) << "opening leaves its internal form behind";
    const std::vector<SubtitleRow> back = reader.Rows();
    EXPECT_EQ(texts(back), texts(rows));
    if (kept.at(type) == Keeps::Texts) continue;
    ASSERT_EQ(back.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
      if (kept.at(type) == Keeps::All) {
        EXPECT_EQ(back[i].pair, rows[i].pair);
      }
      const double factor = kept.at(type) == Keeps::StartsInThousands ? 1000 : 1;
      EXPECT_EQ(start(back[i]), start(rows[i]) * factor);
      EXPECT_EQ(back[i].text, rows[i].text);
    }
  }
  EXPECT_TRUE(player.messages.empty());

  // What cannot be read or written is said, and the rows stay.
  Fill(list, rows);
  const std::string unknown = dir / "notes.doc";
  ASSERT_TRUE(WriteFileAtomic(unknown, "1\r\n"));
  EXPECT_FALSE(editor.Open(unknown));
  EXPECT_FALSE(editor.Open(dir / "missing.srt"));
  EXPECT_EQ(editor.Rows(), rows);
  list.Clear();
  EXPECT_FALSE(editor.Save(dir / "nothing.srt"));
  EXPECT_FALSE(FileExists(dir / "nothing.srt"));
  EXPECT_EQ(player.messages,
            (std::vector<std::string>{std::string(StrSubtitleEditCannotOpen) + unknown,
                                      std::string(StrSubtitleEditCannotOpen) + dir / "missing.srt",
                                      std::string(StrSubtitleEditCannotSave) + dir / "nothing.srt"}));
  EXPECT_TRUE(std::filesystem::is_empty(scratch));
}

TEST_F(SubtitleEditorTest, UndoAndRedoStepOverEveryChangeOfTheRows) {
  WriteSetting("SubtitleEditOffsetValue", "5");
  std::vector<std::vector<std::string>> states{Lines(editor.Rows())};
  const auto step = [&](auto&& change) {
    change();
    states.push_back(Lines(editor.Rows()));
  };
  EXPECT_FALSE(editor.Modified());
  editor.Select(1);
  step([&] { editor.Run(C::ShiftRowForward); });
  EXPECT_TRUE(editor.Modified());
  step([&] { editor.Run(C::DeleteRow); });
  step([&] { editor.Run(C::AddRow); });
  step([&] { editor.EditText(0, "uno"); });
  step([&] { editor.Run(C::ShiftAllBack); });
  // Moving the selection changes no row and leaves no step.
  editor.Run(C::PreviousRow);

  for (size_t i = states.size() - 1; i > 0; --i) {
    ASSERT_TRUE(editor.Undo());
    EXPECT_EQ(Lines(editor.Rows()), states[i - 1]) << "undo to state " << i - 1;
  }
  EXPECT_FALSE(editor.CanUndo());
  EXPECT_FALSE(editor.Undo());
  EXPECT_FALSE(editor.Modified());
  EXPECT_EQ(Fields(), (std::vector<std::string>{"00:00:03,500", "00:00:04,000", "two"}));
  for (size_t i = 1; i < states.size(); ++i) {
    ASSERT_TRUE(editor.Redo());
    EXPECT_EQ(Lines(editor.Rows()), states[i]) << "redo to state " << i;
  }
  EXPECT_FALSE(editor.CanRedo());

  // A save is the new unmodified state; a fresh change after an undo drops the redo.
  ASSERT_TRUE(editor.Save(dir / "saved.srt"));
  EXPECT_FALSE(editor.Modified());
  ASSERT_TRUE(editor.Undo());
  EXPECT_TRUE(editor.Modified());
  ASSERT_TRUE(editor.Redo());
  EXPECT_FALSE(editor.Modified());
  ASSERT_TRUE(editor.Undo());
  editor.Run(C::ClearRows);
  EXPECT_FALSE(editor.CanRedo());
  EXPECT_EQ(list.ListCount(), 0);
  ASSERT_TRUE(editor.Undo());
  EXPECT_EQ(Lines(editor.Rows()), states[states.size() - 2]);

  // The history keeps its limit.
  Fill(list, kRows);
  editor.Select(0);
  for (size_t i = 0; i < SubtitleEditor::kHistoryLimit + 5; ++i) editor.Run(C::ShiftRowForward);
  size_t undone = 0;
  while (editor.Undo()) ++undone;
  EXPECT_EQ(undone, SubtitleEditor::kHistoryLimit);
  EXPECT_EQ(editor.Rows()[0].pair, "00:00:03,500->00:00:04,500");
}

TEST(SubtitlePlayTick, EachPlayTypeDecidesAtTheEndOfTheRow) {
  ListboxModel list;
  Fill(list, {{"00:00:01,000->00:00:02,000", "a"},
              {"00:00:03,000->00:00:00,000", "b"},  // ends where the next begins
              {"00:00:06,000->00:00:07,000", "c"}});
  using A = PlayTickAction;
  struct Case {
    Text label;
    int current;
    double position;
    PlayTick expected;
  };
  const Case cases[] = {
      {StrSubtitleEditLoopRow, 0, 1.5, {}},
      {StrSubtitleEditLoopRow, 0, 2.0, {A::SeekToRowStart, 0, 1}},
      {StrSubtitleEditLoopRow, 1, 5.9, {}},
      {StrSubtitleEditLoopRow, 1, 6.0, {A::SeekToRowStart, 1, 3}},
      {StrSubtitleEditLoopRow, 2, 8.0, {A::SeekToRowStart, 2, 6}},
      {StrSubtitleEditPlayAll, 0, 2.2, {A::SelectNextRow, 1, 3}},
      {StrSubtitleEditPlayAll, 1, 6.5, {A::SelectNextRow, 2, 6}},
      {StrSubtitleEditPlayAll, 2, 7.0, {}},
      {StrSubtitleEditLoopAll, 1, 6.0, {A::SelectNextRow, 2, 6}},
      {StrSubtitleEditLoopAll, 2, 7.0, {A::SeekToFirstRow, 0, 1}},
      {StrSubtitleEditLoopAll, 2, 6.5, {}},
      {"", 0, 2.0, {A::SelectNextRow, 1, 3}},
      {StrSubtitleEditLoopAll, -1, 100, {}},
      {StrSubtitleEditLoopAll, 3, 100, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.label) + " row " + std::to_string(c.current) + " at " + std::to_string(c.position));
    const PlayTick tick = DecidePlayTick(SubtitlePlayTypeFromLabel(c.label), list, c.current, c.position);
    EXPECT_EQ(tick.action, c.expected.action);
    EXPECT_EQ(tick.row, c.expected.row);
    EXPECT_DOUBLE_EQ(tick.seconds, c.expected.seconds);
  }
  // A last row with no end never ends, whatever the type.
  list.AddItem(ListItem{.Text = "d", .TitleText = "00:00:09,000->00:00:00,000"});
  EXPECT_EQ(DecidePlayTick(SubtitlePlayType::LoopList, list, 3, 1000), PlayTick{});
  EXPECT_EQ(DecidePlayTick(SubtitlePlayType::LoopRow, ListboxModel{}, 0, 1), PlayTick{});
}

}  // namespace
}  // namespace zel
