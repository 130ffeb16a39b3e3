// The subtitle editor's window over the real editor and a headless player: that
// its buttons, keys, dialogs, ticks and close question reach the editor. What
// each command does to the rows is the editor's own tests' business.
#include "app/frmCreateSubtitle.h"

#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "controls/ctlListbox.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "player/ctlDSPlayer.h"
#include "support/FakeChooser.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

namespace zel {
namespace {

namespace fs = std::filesystem;
using test::TempDir;

class SubtitleWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DeleteAllSettings();
    std::ofstream(dir_ / "a.srt") << "1\n00:00:01,000 --> 00:00:02,000\n一\n\n"
                                     "2\n00:00:03,000 --> 00:00:04,000\n二\n\n";
    window_ = std::make_unique<frmCreateSubtitle>(nullptr, MpvOutput::Headless);
    window_->asker = [this](const QString& question, bool) {
      questions_.push_back(S(question));
      return answer_;
    };
    window_->messenger = [this](const QString& text) { messages_.push_back(S(text)); };
    window_->SetDialogs(&chooser_);
  }

  void OpenRows() { ASSERT_TRUE(window_->OpenSubtitle(Q(dir_ / "a.srt"))); }

  static void WaitFor(const std::function<bool()>& done, int ms = 10000) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < ms) QApplication::processEvents(QEventLoop::AllEvents, 20);
  }

  std::string Field(SubtitleField field) { return S(window_->FieldBox(field).Caption()); }
  int Index() { return window_->Entries().ListIndex(); }
  int Count() { return window_->Entries().ListCount(); }

  TempDir dir_;
  test::FakeChooser chooser_;
  std::unique_ptr<frmCreateSubtitle> window_;
  bool answer_ = true;
  std::vector<std::string> questions_, messages_;
};

TEST_F(SubtitleWindowTest, ButtonsReachTheirCommandsAndTheFieldsAndMarksFollow) {
  OpenRows();
  EXPECT_EQ(window_->windowTitle(), Q(StrSubtitleEditorTitle));
  ASSERT_EQ(Count(), 2);
  EXPECT_EQ(window_->Entries().Model().Items()[0].TitleText, "00:00:01,000->00:00:02,000");
  struct Case {
    SubtitleEditCommand command;
    int index;
    std::string start, end;
    double markStart, markEnd;
  };
  // The list's click shows its row in the fields; each step runs on what the
  // one before left.
  window_->Entries().ClickIt(0);
  EXPECT_EQ(Field(SubtitleField::Text), "一");
  const Case cases[] = {
      {SubtitleEditCommand::NextRow, 1, "00:00:03,000", "00:00:04,000", 3, 4},
      {SubtitleEditCommand::PreviousRow, 0, "00:00:01,000", "00:00:02,000", 1, 2},
      {SubtitleEditCommand::StartForward, 0, "00:00:01,100", "00:00:02,000", 1.1, 2},
      {SubtitleEditCommand::ClearEnd, 0, "00:00:01,100", "00:00:00,000", 1.1, 2},
  };
  for (const Case& c : cases) {
    ctlButton* button = window_->CommandButton(c.command);
    ASSERT_NE(button, nullptr) << static_cast<int>(c.command);
    EXPECT_EQ(button->accessibleName(), button->Caption());
    button->ClickIt();
    EXPECT_EQ(Index(), c.index) << static_cast<int>(c.command);
    EXPECT_EQ(Field(SubtitleField::Start), c.start) << static_cast<int>(c.command);
    EXPECT_EQ(Field(SubtitleField::End), c.end) << static_cast<int>(c.command);
    EXPECT_DOUBLE_EQ(window_->Player().SetTagStart(), c.markStart) << static_cast<int>(c.command);
    EXPECT_DOUBLE_EQ(window_->Player().SetTagEnd(), c.markEnd) << static_cast<int>(c.command);
  }
}

TEST_F(SubtitleWindowTest, KeysPressTheButtonsTheirTooltipsName) {
  OpenRows();
  window_->show();
  QApplication::setActiveWindow(window_.get());
  ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
  window_->Entries().ClickIt(0);
  struct Case {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    int index, count;
    std::string end;
  };
  // Without media the player stands at 0.
  const Case cases[] = {
      {Qt::Key_Down, Qt::NoModifier, 1, 2, "00:00:04,000"},
      {Qt::Key_F6, Qt::NoModifier, 1, 2, "00:00:00,000"},
      {Qt::Key_Z, Qt::ControlModifier, 1, 2, "00:00:04,000"},
      {Qt::Key_Y, Qt::ControlModifier, 1, 2, "00:00:00,000"},
      {Qt::Key_Up, Qt::NoModifier, 0, 2, "00:00:02,000"},
      {Qt::Key_BracketRight, Qt::NoModifier, 0, 2, "00:00:00,000"},
  };
  for (const Case& c : cases) {
    QTest::keyClick(window_.get(), c.key, c.modifiers);
    EXPECT_EQ(Index(), c.index) << QKeySequence(c.key | c.modifiers).toString().toStdString();
    EXPECT_EQ(Count(), c.count) << QKeySequence(c.key | c.modifiers).toString().toStdString();
    EXPECT_EQ(Field(SubtitleField::End), c.end) << QKeySequence(c.key | c.modifiers).toString().toStdString();
  }
  EXPECT_TRUE(window_->CommandButton(SubtitleEditCommand::StartFromPlayer)->toolTip().contains("F5"));
  EXPECT_TRUE(window_->UndoButton().toolTip().contains("Ctrl+Z"));
}

TEST_F(SubtitleWindowTest, TicksApplyThePlayType) {
  test::MakeClip(dir_ / "a.mp4", 6);
  OpenRows();
  ASSERT_TRUE(window_->OpenMedia(Q(dir_ / "a.mp4")));
  window_->Player().SetPause(true);
  struct Case {
    Text playType;
    int current;
    double position;
    int index;
    double seekedTo;  // negative: no seek
  };
  const Case cases[] = {
      {StrSubtitleEditPlayAll, 0, 2.5, 1, -1},
      {StrSubtitleEditLoopRow, 1, 4.5, 1, 3},
      {StrSubtitleEditLoopAll, 1, 4.5, 0, 1},
  };
  for (const Case& c : cases) {
    WriteSetting("SubtitleEditPlayType", c.playType);
    window_->Editor().Select(c.current);
    window_->Player().SetPosition(5.5);
    WaitFor([&] { return std::abs(window_->Player().Position() - 5.5) < 0.2; });
    window_->ApplyPlayTick(c.position);
    EXPECT_EQ(Index(), c.index) << c.playType;
    const double expected = c.seekedTo < 0 ? 5.5 : c.seekedTo;
    WaitFor([&] { return std::abs(window_->Player().Position() - expected) < 0.2; });
    EXPECT_NEAR(window_->Player().Position(), expected, 0.2) << c.playType;
  }
}

TEST_F(SubtitleWindowTest, OpenAndSaveGoThroughTheDialogsAndRememberTheirFolders) {
  chooser_.file = Q(dir_ / "a.srt");
  window_->OpenButton().ClickIt();
  EXPECT_EQ(chooser_.asked, 1);
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(ReadSetting("LastOpenFileFolder"), dir_.path());

  fs::create_directories(dir_ / "out");
  chooser_.saveFile = Q(dir_ / "out/b.srt");
  window_->SaveButton().ClickIt();
  ASSERT_TRUE(fs::exists(dir_ / "out/b.srt"));
  EXPECT_EQ(ReadSetting("LastSaveFileFolder"), dir_ / "out");
  EXPECT_EQ(window_->SubtitlePath(), Q(dir_ / "out/b.srt"));
  std::ifstream saved(dir_ / "out/b.srt");
  const std::string text((std::istreambuf_iterator<char>(saved)), {});
  EXPECT_NE(text.find("二"), std::string::npos);

  // A cancelled dialog leaves everything as it was.
  chooser_.file.reset();
  window_->OpenButton().ClickIt();
  EXPECT_EQ(Count(), 2);
}

TEST_F(SubtitleWindowTest, UndoAndRedoButtonsStepAndAreEnabledOnlyWhenTheyCan) {
  OpenRows();
  EXPECT_FALSE(window_->UndoButton().Enabled());
  window_->CommandButton(SubtitleEditCommand::AddRow)->ClickIt();
  EXPECT_EQ(Count(), 3);
  EXPECT_TRUE(window_->UndoButton().Enabled());
  window_->UndoButton().ClickIt();
  EXPECT_EQ(Count(), 2);
  EXPECT_TRUE(window_->RedoButton().Enabled());
  window_->RedoButton().ClickIt();
  EXPECT_EQ(Count(), 3);
  EXPECT_FALSE(window_->RedoButton().Enabled());
}

TEST_F(SubtitleWindowTest, ClosingChangedRowsAsksAndSavesOnYes) {
  struct Case {
    const char* name;
    bool answer;
    bool chooseFile;
    bool closed, written;
  };
  const Case cases[] = {
      {"yes saves", true, true, true, true},
      {"no discards", false, true, true, false},
      {"yes with the dialog cancelled stays open", true, false, false, false},
  };
  for (const Case& c : cases) {
    SetUp();
    OpenRows();
    window_->show();
    const std::string target = dir_ / "closed.srt";
    fs::remove(target);
    chooser_.saveFile = c.chooseFile ? std::optional<QString>(Q(target)) : std::nullopt;
    window_->CommandButton(SubtitleEditCommand::AddRow)->ClickIt();
    questions_.clear();
    answer_ = c.answer;
    ASSERT_TRUE(window_->Editor().Modified()) << c.name;
    window_->close();
    EXPECT_EQ(questions_, std::vector<std::string>{std::string(StrSubtitleEditSaveChanges)}) << c.name;
    EXPECT_EQ(window_->isVisible(), !c.closed) << c.name;
    EXPECT_EQ(fs::exists(target), c.written) << c.name;
  }
}

TEST(SubtitleEditorArgumentsTest, TakesTheMediaAndTheSubtitleAfterTheSwitch) {
  struct Case {
    QStringList arguments;
    bool editor;
    QString media, subtitle;
  };
  const QString here = QDir::currentPath();
  const Case cases[] = {
      {{"--subtitles"}, true, "", ""},
      {{"--subtitles", "a.mp4"}, true, here + "/a.mp4", ""},
      {{"--subtitles", "/s/b.srt"}, true, "", "/s/b.srt"},
      {{"--subtitles", "b.LRC"}, true, "", here + "/b.LRC"},
      {{"--subtitles", "/m/a.mp4", "b.srt"}, true, "/m/a.mp4", here + "/b.srt"},
      {{"a.mp4"}, false, "", ""},
      {{}, false, "", ""},
      {{"--subtitles", "a", "b", "c"}, false, "", ""},
  };
  for (const Case& c : cases) {
    const auto start = SubtitleEditorArguments(c.arguments);
    ASSERT_EQ(start.has_value(), c.editor) << c.arguments.join(' ').toStdString();
    if (!start) continue;
    EXPECT_EQ(start->media, c.media);
    EXPECT_EQ(start->subtitle, c.subtitle);
  }
}

}  // namespace
}  // namespace zel
