// The task loop inside a host: cancel, file transfer, the tool's log view, the
// end-of-run actions.
#include <map>

#include "engine/FFmpegX.h"
#include "jobs/JobsTestSupport.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "jobs/TaskLoop.h"
#include "base/FileHelpers.h"

namespace zel::test {
namespace {

// A window that records what the loop shows and lets a test act in its pump.
class RecordingRunHost : public RunHost {
 public:
  std::vector<std::string> infos, logLines, actions;
  std::function<void()> onPump;

  void AddInfo(std::string_view category, std::string_view message, std::string_view) override {
    infos.push_back(message.empty() ? std::string(category) : std::string(category) + " | " + std::string(message));
  }
  bool Ask(std::string_view, bool) override { return true; }
  void ShowMessage(std::string_view text) override { actions.push_back("message " + std::string(text)); }
  void PumpEvents() override {
    if (onPump) onPump();
  }
  void AddLogLine(std::string_view line) override { logLines.emplace_back(line); }
  void ShowResultPanel() override { actions.emplace_back("results"); }
  void ShowBalloon(std::string_view title, std::string_view) override {
    actions.push_back("balloon " + std::string(title));
  }
  void PlayTones() override { actions.emplace_back("tones"); }
  bool PowerAction(std::string_view action) override {
    actions.push_back("power " + std::string(action));
    return true;
  }
  bool OpenFolder(const std::string& folder) override {
    actions.push_back("open " + folder);
    return true;
  }
  void UnloadMainWindow() override { actions.emplace_back("unload"); }
};

class TaskLoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Shared() = MainState{};
    Shared().ToolFfmpeg = ToolPath("ffmpeg");
    engine.SetCore(Shared().ToolFfmpeg);
    values["OutputFolder"] = dir / "out";
    values["ConvertFinished"] = "无";
    MakedPath(dir / "out");
  }
  void TearDown() override { Shared() = MainState{}; }

  SettingReader Reader() {
    return [this](std::string_view key) {
      const auto found = values.find(key);
      return found != values.end() ? found->second : SettingDefault(key);
    };
  }
  int Count(const std::string& line) const { return static_cast<int>(std::count(host.infos.begin(), host.infos.end(), line)); }

  TempDir dir;
  FFmpegX engine;
  ListboxModel tasks;
  RecordingRunHost host;
  std::map<std::string, std::string, std::less<>> values;
};

TEST_F(TaskLoopTest, CancelInTheFirstPartStartsNothingElse) {
  MakeClip(dir / "a.mp4", 6);
  MakeClip(dir / "b.mp4", 2);
  tasks.AddItem("a", "a", "", "|||", dir / "a.mp4");
  tasks.AddItem("b", "b", "", "|||", dir / "b.mp4");
  values["OutputMode"] = "MKV";
  values["SplitPart"] = "3";
  TaskLoop loop(engine, tasks, host, Reader());
  host.onPump = [&] {
    if (engine.Processing() && !loop.StopRequested()) loop.Cancel();
  };
  loop.RunTasks();
  EXPECT_EQ(loop.Info().Lines(), std::vector<std::string>{"正在启动任务 | 已取消"});
  EXPECT_TRUE(loop.OutputList().empty());
  EXPECT_FALSE(loop.Running());
  // The partial part is gone with the cancel.
  EXPECT_EQ(test::Run({"/bin/ls", "-A", dir / "out"}).output, "");
}

TEST_F(TaskLoopTest, MovesCheckTheCopyBeforeRemovingTheSource) {
  const std::string bytes(3 << 20, 'z');
  WriteFileAtomic(dir / "grows.dat", bytes);
  WriteFileAtomic(dir / "keeps.dat", bytes);
  tasks.AddItem("g", "grows", "", "|||", dir / "grows.dat");
  tasks.AddItem("k", "keeps", "", "|||", dir / "keeps.dat");
  values["OutputMode"] = "MoveTo";
  TaskLoop loop(engine, tasks, host, Reader());
  // The first source grows while it is copied, as a download still running would.
  host.onPump = [&] {
    if (tasks.ListIndex() == 0) WriteText("more", dir / "grows.dat", true);
  };
  loop.RunTasks();
  EXPECT_TRUE(FileExists(dir / "grows.dat"));
  EXPECT_FALSE(FileExists(dir / "keeps.dat"));
  EXPECT_EQ(ReadText(dir / "out/keeps.dat"), bytes);
  EXPECT_EQ(loop.OutputList(), std::vector<std::string>{dir / "out/keeps.dat"});
  EXPECT_EQ(Count("问题 | 失败的复制或移动文件操作"), 1);
  EXPECT_TRUE(Contains(tasks.ListComment(0), " - ")) << tasks.ListComment(0);
}

TEST_F(TaskLoopTest, ToolTextFeedsTheBufferAndTheFilteredLogView) {
  TaskLoop loop(engine, tasks, host, Reader());
  // A progress line ends in a lone CR, as the tool prints it.
  loop.TakeToolText("frame= 123 fps=4\r  Stream #0:0: Video\nError while decoding\r\nErrors: 0\r\n\r\n");
  ASSERT_EQ(host.logLines.size(), 2u);
  EXPECT_TRUE(EndsWith(host.logLines[0], " Stream #0:0: Video"));
  EXPECT_TRUE(EndsWith(host.logLines[1], " Errors: 0"));
  EXPECT_TRUE(Contains(loop.RunLogBuffer(), "frame= 123"));

  const std::string full(8192 - loop.RunLogBuffer().size(), 'x');
  loop.TakeToolText(full);
  EXPECT_EQ(loop.RunLogBuffer().size(), 8192u);
  loop.TakeToolText("y");
  EXPECT_EQ(loop.RunLogBuffer(), "y");
}

TEST_F(TaskLoopTest, EachFinishActionGoesToTheHost) {
  const std::pair<std::string, std::string> cases[] = {
      {"关机", "power 关机"}, {"重起", "power 重起"},    {"注销", "power 注销"},
      {"退出", "unload"},     {"提示", "message 全部任务已完成。假如文件创建失败或设置无效，请按软件帮助检查并解决问题。"},
      {"声音", "tones"},      {"气泡", "balloon 全部任务已完成"}, {"列表", "results"},
      {"打开", "open " + dir / "out"},
  };
  for (const auto& [action, expected] : cases) {
    host.actions.clear();
    values["ConvertFinished"] = action;
    TaskLoop loop(engine, tasks, host, Reader());
    loop.RunFinishAction();
    EXPECT_EQ(host.actions, std::vector<std::string>{expected}) << action;
  }
  host.actions.clear();
  values["ConvertFinished"] = "无";
  values["OutputFolder"] = dir / "missing";
  for (const char* action : {"无", "打开"}) {
    values["ConvertFinished"] = action;
    TaskLoop(engine, tasks, host, Reader()).RunFinishAction();
  }
  EXPECT_TRUE(host.actions.empty());
}

// The karaoke product runs one job for the whole list: its script needs
// AviSynth, which this system lacks, and the run says so instead of failing in
// the tool.
TEST_F(TaskLoopTest, KaraokeJobTakesTheWholeListOnce) {
  ASSERT_EQ(test::Run({ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i", "sine=duration=3",
                 dir / "music.mp3"})
                .exitCode,
            0);
  for (const char* name : {"a.jpg", "b.png"}) {
    ASSERT_TRUE(WriteFileAtomic(dir / name, "x"));
    tasks.AddItem(name, name, "", "|||", dir / name);
  }
  values["KTVMusicFileName"] = dir / "music.mp3";
  values["OutputMode"] = "MP4";
  TaskLoop loop(engine, tasks, host, Reader());
  loop.karaokeProduct = true;
  loop.RunTasks();
  EXPECT_EQ(loop.JobsStarted(), 1);
  EXPECT_EQ(Count("发生错误 | 启用但没有安装 AviSynth!"), 1);
  EXPECT_NEAR(engine.Duration(), 3, 0.1);  // the music was the source probed
}

}  // namespace
}  // namespace zel::test
