// The main window over the real job logic, real ffmpeg and headless mpv: what a
// user sees of the start, a refused check, a run, a cancel, the settings rows
// and the player's marks.
#include "app/frmMain.h"

#include "app/frmCompare.h"
#include "player/PlayerPair.h"
#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "controls/ctlListbox.h"
#include "desktop/clsTaskBar.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/StartUp.h"
#include "jobs/Strings.h"
#include "player/ctlDSPlayer.h"
#include "support/FakeChooser.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QAction>
#include <QClipboard>
#include <QElapsedTimer>
#include <QMenu>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace zel {
namespace {

namespace fs = std::filesystem;
using test::MakeClip;
using test::TempDir;

class MainWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DeleteAllSettings();
    fs::create_directories(dir_ / "out");
  }

  // The program's start as `zel` makes it, the program standing in the temporary
  // folder so that its diagnostics log is this test's own.
  std::unique_ptr<frmMain> Start(const QStringList& files = {}) {
    auto window = std::make_unique<frmMain>(MpvOutput::Headless);
    window->resize(1100, 720);
    window->Host().asker = [this](const QString& question, bool) {
      questions_.push_back(S(question));
      return answer_;
    };
    window->Host().messenger = [this](const QString& text) { messages_.push_back(S(text)); };
    StartOptions options;
    options.programPath = dir_ / "zel";
    options.files = {"--"};
    EXPECT_EQ(Main(window->Host(), options), StartResult::Ready);
    // After the start, which resets the store of a new build.
    for (const auto& [key, value] : settings_) WriteSetting(key, value);
    window->FormLoad(files);
    return window;
  }

  static void WaitFor(const std::function<bool()>& done, int ms = 20000) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < ms) QApplication::processEvents(QEventLoop::AllEvents, 20);
  }

  static std::vector<std::string> Rows(ctlListbox& list) {
    std::vector<std::string> rows;
    for (int i = 0; i < list.ListCount(); ++i) rows.push_back(list.Model().List(i));
    return rows;
  }

  TempDir dir_;
  // Instead of defaults that would open dialogs or play every selected file.
  std::map<std::string, std::string> settings_{{"ShowTip", "否"}, {"MediaPlayNow", "否"}, {"ConvertFinished", "无"},
                                               {"OutputFolder", dir_ / "out"}, {"OutputMode", "MP4"}};
  bool answer_ = true;
  std::vector<std::string> questions_, messages_;
};

TEST_F(MainWindowTest, StartWritesItsStepsAndAddsCommandLineFilesOnceReady) {
  std::ofstream(dir_ / "zel.Diagnostics.log").close();
  MakeClip(dir_ / "a.mp4", 1);
  auto window = Start({Q(dir_ / "a.mp4")});
  EXPECT_TRUE(window->Ready());
  WaitFor([&] { return window->Tasks().ListCount() == 1; });
  EXPECT_EQ(Rows(window->Tasks()), std::vector<std::string>{"a"});
  // The steps in their order, each once.
  std::ifstream log(dir_ / "zel.Diagnostics.log");
  std::vector<std::string> steps;
  for (std::string line; std::getline(log, line);) steps.push_back(line.substr(line.find(' ') + 1));
  const std::vector<std::string> expected{"----- Main Load -----", "开始加载界面", "----- Form Load -----",
                                          "FFmpegX1 引擎初始化，核心是否存在？", "主界面设置栏初始化",
                                          "----- Me Show -----", "PrevInstance Ready", "程序载入全部结束"};
  auto at = steps.begin();
  for (const std::string& step : expected) {
    at = std::find(at, steps.end(), step);
    ASSERT_NE(at, steps.end()) << step << " missing or out of order";
  }
  // The core's line and the credits reach the information list.
  const std::vector<std::string> info = Rows(window->Info());
  EXPECT_NE(std::find(info.begin(), info.end(), "完成 | FFmpeg Initialized"), info.end());
}

TEST_F(MainWindowTest, RefusedChecksSayWhyAndStartNothing) {
  MakeClip(dir_ / "a.mp4", 1);
  struct Case {
    const char* name;
    bool addRow;
    const char* parts;
    std::string line;
  };
  const Case cases[] = {
      {"an empty task list", false, "1", "问题 | 请先添加任务"},
      {"no parts", true, "0", "问题 | 请设置有效的分段数量"},
  };
  for (const Case& c : cases) {
    auto window = Start();
    if (c.addRow) window->DropFiles({Q(dir_ / "a.mp4")});
    window->EditSplitField(2, c.parts);
    bool ran = false;
    QObject::connect(&window->Host(), &WindowHost::RunningLookChanged, [&](bool on) { ran |= on; });
    window->PressStart();
    const std::vector<std::string> info = Rows(window->Info());
    EXPECT_NE(std::find(info.begin(), info.end(), c.line), info.end()) << c.name;
    EXPECT_FALSE(ran) << c.name;
    EXPECT_EQ(window->StartButton().Caption(), Q(StrButtonStart)) << c.name;
  }
}

TEST_F(MainWindowTest, ARunShowsItsLooksInOrderAndEndsWithTheResults) {
  MakeClip(dir_ / "a.mp4", 2);
  MakeClip(dir_ / "b 片段.avi", 2);
  // The end's balloon, with neither a tray nor a notification service here.
  settings_["ConvertFinished"] = "气泡";
  auto window = Start();
  window->DropFiles({Q(dir_ / "a.mp4"), Q(dir_ / "b 片段.avi")});
  std::vector<std::string> looks;
  WindowHost& host = window->Host();
  QObject::connect(&host, &WindowHost::RunningLookChanged, [&](bool on) { looks.push_back(on ? "running" : "idle"); });
  QObject::connect(&host, &WindowHost::StartButtonChanged, [&](const QString& caption, const QString&) {
    if (looks.empty() || looks.back() != S(caption)) looks.push_back(S(caption));
  });
  window->PressStart();
  EXPECT_EQ(looks, (std::vector<std::string>{"running", "取消", "idle", "开始"}))
      << testing::PrintToString(Rows(window->Info()));
  EXPECT_EQ(window->Results().ListCount(), 2);
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(fs::exists(window->Results().Model().PathFromIndex(i)));
  const std::vector<std::string> info = Rows(window->Info());
  EXPECT_EQ(std::count_if(info.begin(), info.end(), [](const std::string& l) { return l.ends_with("| 完成"); }), 2);
  EXPECT_EQ(std::count(info.begin(), info.end(), "注意 | " + std::string(StrAllTasksDone)), 1);
  EXPECT_EQ(window->TaskBar().ProgressState(), TaskbarState::NoProgress);
  EXPECT_EQ(window->windowTitle(), Q(Shared().ProductName));
  EXPECT_EQ(window->StatusField().Caption(), Q(StrWindowIdle));
  EXPECT_TRUE(window->FolderField().isEnabled());

  // "立即复制" puts the outputs into the device's folder and says so.
  WriteSetting("TransferFilesPath", dir_ / "device");
  window->TransferNow().ClickIt();
  EXPECT_EQ(messages_.back(), std::string(StrAllFilesCopied));
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(fs::exists(dir_ / "device" / fs::path(window->Results().Model().PathFromIndex(i)).filename()));
  }

  // "对比" opens the chosen output beside the file it was made from.
  const auto choose = [](Text entry) {
    ctlButton::PopupMenuExec = [entry](QMenu& menu, const QPoint&) -> QAction* {
      for (QAction* action : menu.actions()) {
        if (action->text() == Q(entry)) return action->isEnabled() ? action : nullptr;
      }
      return nullptr;
    };
  };
  choose(StrCompare);
  window->Results().SetListIndex(1);
  emit window->Results().MouseUp(2, 0, 5, 5, 0);
  ASSERT_NE(window->CompareView(), nullptr);
  EXPECT_EQ(S(window->CompareView()->FirstPlayer().SourceFileName()), dir_ / "b 片段.avi");
  EXPECT_EQ(S(window->CompareView()->SecondPlayer().SourceFileName()), window->Results().Model().PathFromIndex(1));
  window->CompareView()->close();
  window->CompareView()->Pair().Close();

  // The results' menu: all outputs to the trash after the question.
  test::EnvGuard data("XDG_DATA_HOME", dir_ / "data");
  const std::string first = window->Results().Model().PathFromIndex(0);
  choose(StrDeleteAllFiles);
  emit window->Results().MouseUp(2, 0, 5, 5, 0);
  ctlButton::PopupMenuExec = nullptr;
  EXPECT_EQ(questions_.back(), std::string(StrDeleteFilesQuestion));
  EXPECT_EQ(window->Results().ListCount(), 0);
  EXPECT_FALSE(fs::exists(first));
  EXPECT_TRUE(fs::exists(dir_ / ("data/Trash/files/" + fs::path(first).filename().string())));
}

// While a run goes on the window refuses to close, pauses and resumes the tool,
// and cancels only after its question.
TEST_F(MainWindowTest, DuringARunCloseIsRefusedPauseTogglesAndCancelAsks) {
  MakeClip(dir_ / "long.mp4", 40, "640x360");
  auto window = Start();
  window->DropFiles({Q(dir_ / "long.mp4")});
  std::vector<std::string> seen;
  bool acted = false;
  QObject::connect(&window->Host(), &WindowHost::ProgressChanged, [&](int, int max) {
    if (acted || max <= 0) return;
    acted = true;
    // The progress shows in the task's own row.
    const ListboxModel& rows = window->Tasks().Model();
    seen.push_back(rows.ShowProgressBar(0) && rows.ValueMax(0) == max ? "row progress" : "no row progress");
    // And on the dock, paused and resumed with the tool.
    const auto dock = [&] { return window->TaskBar().ProgressState() == TaskbarState::Paused ? "dock paused" : "dock"; };
    seen.push_back(dock());
    seen.push_back(window->close() ? "closed" : "stayed");
    for (int i = 0; i < 2; ++i) {
      window->PressSecond();
      seen.push_back(S(window->SecondButton().Caption()));
      seen.push_back(dock());
    }
    answer_ = false;
    window->PressStart();
    seen.push_back(window->Loop().Running() ? "running" : "stopped");
    answer_ = true;
    window->PressStart();
  });
  window->PressStart();
  EXPECT_EQ(seen, (std::vector<std::string>{"row progress", "dock", "stayed", "继续", "dock paused", "暂停", "dock",
                                           "running"}));
  EXPECT_EQ(messages_, std::vector<std::string>{std::string(StrCancelJobBeforeQuit)});
  EXPECT_EQ(questions_, (std::vector<std::string>{std::string(StrCancelRunQuestion),
                                                  std::string(StrCancelRunQuestion)}));
  EXPECT_TRUE(Rows(window->Info()).back().ends_with(StrCancelledWord)) << Rows(window->Info()).back();
  EXPECT_EQ(window->Results().ListCount(), 0);
  EXPECT_FALSE(window->Loop().Running());
}

TEST_F(MainWindowTest, SettingsRowsStoreAtOnceAndReachTheWindow) {
  auto window = Start();
  ListboxModel& rows = window->SettingsList().Model();
  auto edit = [&](const char* key, const char* value) {
    const int row = rows.ListIndexFromKey(key);
    ASSERT_GE(row, 0) << key << " among " << rows.ListCount();
    rows.SetList(row, value);
  };
  struct Case {
    const char* key;
    const char* value;
    std::function<std::string()> shown;
    std::string expected;
  };
  const Case cases[] = {
      {"SplitMode", "去头尾", [&] { return S(window->SplitField(0).Title() + "/" + window->SplitField(1).Title()); },
       "去开始/去结束"},
      {"SplitMode", "点到点", [&] { return S(window->SplitField(0).Title() + "/" + window->SplitField(1).Title()); },
       "开始点/结束点"},
      {"TimeJumpValue", "15", [&] { return std::to_string(static_cast<int>(window->Player().TimeJumpValue())); }, "15"},
      // The unit behind the value, as drawn and as read out.
      {"TimeJumpValue", "20", [&] { return S(window->SettingsList().ShownValue(rows.ListIndexFromKey("TimeJumpValue"))); },
       "20 s"},
      {"ImageQuality", "85", [&] { return S(window->SettingsList().ShownValue(rows.ListIndexFromKey("ImageQuality"))); },
       "85%"},
      {"ShowSetting", "设置窗口", [&] { return std::to_string(window->ShortSettings().ListCount()); }, "0"},
      {"ShowSetting", "主界面", [&] { return window->ShortSettings().ListCount() > 10 ? "short set" : "empty"; },
       "short set"},
  };
  for (const Case& c : cases) {
    edit(c.key, c.value);
    EXPECT_EQ(ReadSetting(c.key), c.value) << c.key;
    EXPECT_EQ(c.shown(), c.expected) << c.key << " = " << c.value;
  }
  // The end-of-run menu: the stored action checked, the choice stored.
  std::vector<std::string> checked;
  ctlButton::PopupMenuExec = [&](QMenu& menu, const QPoint&) -> QAction* {
    QAction* pick = nullptr;
    for (QAction* action : menu.actions()) {
      if (action->isChecked()) checked.push_back(S(action->text()));
      if (action->text() == Q(StrFinishBalloon)) pick = action;
    }
    return pick;
  };
  window->FinishButton().ClickIt();
  ctlButton::PopupMenuExec = nullptr;
  EXPECT_EQ(checked, std::vector<std::string>{std::string(StrFinishNothing)});
  EXPECT_EQ(ReadSetting("ConvertFinished"), StrFinishBalloon);

  // AviSynth's rows come with its button.
  EXPECT_LT(rows.ListIndexFromKey("AVSLogoText"), 0);
  window->AviSynthButton().ClickIt();
  EXPECT_EQ(ReadSetting("AVSEnable"), "是");
  EXPECT_EQ(window->AviSynthButton().Caption(), Q(StrAviSynthButtonClose));
  EXPECT_GE(rows.ListIndexFromKey("AVSLogoText"), 0);
}

TEST_F(MainWindowTest, MarksOnThePlayerFillTheFieldsAndThePreviewedTask) {
  MakeClip(dir_ / "a.mp4", 4);
  settings_["MediaPlayNow"] = "是";
  auto window = Start();
  window->DropFiles({Q(dir_ / "a.mp4")});
  window->Tasks().SetListIndex(0);
  ctlDSPlayer& player = window->Player();
  WaitFor([&] { return player.Status() == 1 || player.Status() == 2; });
  ASSERT_EQ(player.Filename(), Q(dir_ / "a.mp4"));
  // The preview's playback has the dock while no run goes on.
  WaitFor([&] { return window->TaskBar().ProgressState() != TaskbarState::NoProgress; }, 5000);
  EXPECT_NE(window->TaskBar().ProgressState(), TaskbarState::NoProgress);
  player.SetSetTagStart(1.0);
  player.SetSetTagEnd(2.5);
  EXPECT_EQ(window->SplitField(0).Caption(), "00:00:01,000");
  EXPECT_EQ(window->SplitField(1).Caption(), "00:00:02,500");
  EXPECT_EQ(ReadSetting("SplitTimeStart"), "00:00:01,000");
  EXPECT_EQ(window->Tasks().Model().ListOther(0), "00:00:01,000|00:00:02,500|1|");
  // A file that is not the previewed one keeps the global points only.
  window->Tasks().Model().SetPathFromIndex(0, dir_ / "other.mp4");
  window->EditSplitField(2, "3");
  EXPECT_EQ(ReadSetting("SplitPart"), "3");
  EXPECT_EQ(window->Tasks().Model().ListOther(0), "00:00:01,000|00:00:02,500|1|");
  player.CloseFile();
  EXPECT_EQ(window->TaskBar().ProgressState(), TaskbarState::NoProgress);
}

TEST_F(MainWindowTest, AFolderDropAddsItsMediaAndClosingStopsTheScan) {
  settings_["CheckMediaInfo"] = "否";
  fs::create_directories(dir_ / "in/deep");
  for (int i = 0; i < 1000; ++i) std::ofstream(dir_ / ("in/deep/" + std::to_string(i) + ".mp4")).put('x');
  std::ofstream(dir_ / "in/notes.doc").put('x');
  std::ofstream(dir_ / "in/song.mp3").put('x');
  auto window = Start();
  window->DropFiles({Q(dir_ / "in")});
  WaitFor([&] { return window->Tasks().ListCount() >= 1; });
  // The first folder's own file comes first, breadth first; the window lives.
  EXPECT_EQ(window->Tasks().Model().List(0), "song");
  EXPECT_TRUE(window->close());
  const int rows = window->Tasks().ListCount();
  WaitFor([] { return false; }, 300);
  EXPECT_EQ(window->Tasks().ListCount(), rows) << "rows kept coming after the window closed";
  EXPECT_LE(rows, 1001);
}

// The tools menu offers what fits the moment and carries out each command.
TEST_F(MainWindowTest, ToolsMenuOffersWhatFitsNowAndCarriesItOut) {
  MakeClip(dir_ / "a.mp4", 2);
  test::EnvGuard data("XDG_DATA_HOME", dir_ / "data");
  auto window = Start();
  test::FakeChooser dialogs;
  window->SetDialogs(&dialogs);
  std::vector<QUrl> opened;
  window->Host().urlOpener = [&](const QUrl& url) {
    opened.push_back(url);
    return true;
  };
  // Shows the menu and picks the entry called `pick`, if any; keeps the
  // entries that were off and those checked.
  std::vector<std::string> off, on;
  auto menu = [&](const std::string& pick, const std::function<void()>& open) {
    off.clear();
    on.clear();
    ctlButton::PopupMenuExec = [&](QMenu& shown, const QPoint&) -> QAction* {
      QAction* chosen = nullptr;
      for (QAction* action : shown.actions()) {
        if (!action->isEnabled() && !action->isSeparator()) off.push_back(S(action->text()));
        if (action->isChecked()) on.push_back(S(action->text()));
        if (S(action->text()) == pick) chosen = action;
      }
      return chosen;
    };
    open();
    ctlButton::PopupMenuExec = nullptr;
  };
  menu("", [&] { window->ToolsButton().ClickIt(); });
  EXPECT_EQ(off, (std::vector<std::string>{std::string(StrToolsApplyProfile), std::string(StrToolsCopyMediaInfo),
                                           std::string(StrToolsCopyLog), std::string(StrToolsCancelTask)}));
  EXPECT_TRUE(on.empty()) << on.front();

  struct Case {
    const char* command;
    bool done;
    std::function<std::string()> seen;
    std::string expected;
  };
  const Case cases[] = {
      {"option", true, [&] { return window->Panel() == PanelKind::Settings ? "settings" : "other"; }, "settings"},
      {"dontshow", true, [] { return ReadSetting("ShowTip"); }, "是"},
      {"dontshow", true, [] { return ReadSetting("ShowTip"); }, "否"},
      {"join", true, [&] { return S(window->FormatField().Caption()); }, std::string(StrDirectJoin)},
      {"split", true, [&] { return S(window->FormatField().Caption()); }, std::string(StrDirectCut)},
      // Nothing here installs a decoder pack; no run to cancel; no row.
      {"codec", false, [] { return ""; }, ""},
      {"cancelprocess", false, [] { return ""; }, ""},
      {"copymediainfo", false, [] { return ""; }, ""},
      {"subtitle", true,
       [&] {
         const frmCreateSubtitle* editor = window->SubtitleEditor();
         return editor != nullptr && editor->isVisible() ? S(editor->windowTitle()) : "";
       },
       std::string(StrSubtitleEditorTitle)},
      {"home", true, [&] { return opened.empty() ? "" : fs::path(S(opened.back().toLocalFile())).filename().string(); },
       "README.md"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(window->RunToolsCommand(c.command), c.done) << c.command;
    EXPECT_EQ(c.seen(), c.expected) << c.command;
  }

  // The media facts of the selected row, read off the GUI thread.
  QGuiApplication::clipboard()->clear();
  window->DropFiles({Q(dir_ / "a.mp4")});
  window->Tasks().SetListIndex(0);
  ASSERT_TRUE(window->RunToolsCommand("copymediainfo"));
  WaitFor([] { return !QGuiApplication::clipboard()->text().isEmpty(); });
  const std::string facts = S(QGuiApplication::clipboard()->text());
  EXPECT_TRUE(facts.starts_with(dir_ / "a.mp4" + "\nInput #0")) << facts;
  EXPECT_NE(facts.find("Stream #0:0"), std::string::npos) << facts;
  EXPECT_EQ(facts.find("output file"), std::string::npos) << facts;

  emit window->Host().LogLineAdded("ffmpeg -i a.mp4 b.mp4");
  ASSERT_TRUE(window->RunToolsCommand("copylog"));
  EXPECT_EQ(S(QGuiApplication::clipboard()->text()), Rows(window->LogList()).back());

  // The user's settings saved under a name and loaded back by it.
  dialogs.saveFile = Q(UserProfilesFolder() + "mine.xml");
  menu(std::string(StrToolsSaveSettings), [&] { window->RunToolsCommand("customized"); });
  ASSERT_TRUE(fs::exists(UserProfilesFolder() + "mine.xml"));
  EXPECT_EQ(S(dialogs.seenSuggested).rfind(UserProfilesFolder() + "UserProfile, ", 0), 0u) << S(dialogs.seenSuggested);
  window->ChooseFormat("AVI");
  menu("mine", [&] { window->RunToolsCommand("customized"); });
  EXPECT_EQ(questions_.back().find(StrLoadProfileQuestion) != std::string::npos, true) << questions_.back();
  EXPECT_EQ(ReadSetting("OutputMode"), StrDirectCut);
  EXPECT_EQ(window->FormatField().Caption(), Q(StrDirectCut));

  // The reset asks, says to start again, and closes the window unasked.
  ASSERT_TRUE(window->RunToolsCommand("reset"));
  EXPECT_EQ(questions_.back(), std::string(StrResetAllQuestion));
  EXPECT_EQ(messages_.back(), std::string(StrRestartToApply));
  EXPECT_NE(ReadSetting("OutputMode"), StrDirectCut);
  EXPECT_FALSE(window->isVisible());
}

}  // namespace
}  // namespace zel
