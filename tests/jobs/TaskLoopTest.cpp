// The task loop inside a host: cancel, file transfer, the tool's log view, the
// end-of-run actions.
#include <algorithm>
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
  std::vector<std::string> infos, logLines, actions, statusTexts, titles;
  std::function<void()> onPump;

  void SetStatusText(std::string_view text) override { statusTexts.emplace_back(text); }
  void SetTitle(std::string_view title) override { titles.emplace_back(title); }

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
  ToolSet tools;
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

// While one task converts, the next one's probe is already under way; the
// rows tell their listener of each comment and progress they are given, and
// the progress text tells the machine's load.
TEST_F(TaskLoopTest, TheNextTaskIsProbedWhileThisOneConvertsAndRowsReportTheirChanges) {
  for (const char* name : {"a", "b", "c"}) {
    MakeClip(dir / (std::string(name) + ".mp4"), 1);
    tasks.AddItem(name, name, "", "|||", dir / (std::string(name) + ".mp4"));
  }
  // The real tool behind a log of when each probe and each conversion ran; a
  // conversion first tells of its progress and lingers, so that the progress is
  // read and a probe asked ahead cannot miss it. Its banner names no libraries,
  // so its probes are runs of the tool that the log sees.
  const std::string log = dir / "log";
  tools.ffmpeg = WriteScript(dir / "ffmpeg",
                             "input=; prev=\nfor a in \"$@\"; do [ \"$prev\" = -i ] && input=$(basename \"$a\"); prev=$a; done\n"
                             "if [ \"$1\" = -i ]; then echo \"probe $input\" >> '" + log + "'\n"
                             "elif [ -n \"$input\" ]; then echo 'frame=   12 fps=0.0 q=5.0 size=      10kB time=00:00:01.00 bitrate=1.0kbits/s'\n"
                             "  sleep 0.5; '" + ToolPath("ffmpeg") + "' \"$@\"; rc=$?\n"
                             "  echo \"converted $input\" >> '" + log + "'; exit $rc; fi\n"
                             "[ $# = 0 ] && { '" + ToolPath("ffmpeg") + "' 2>&1 | grep -v libav; exit 1; }\n"
                             "exec '" + ToolPath("ffmpeg") + "' \"$@\"");
  std::vector<std::string> changes;
  tasks.ItemChanged = [&](int index) { changes.push_back(std::to_string(index)); };
  values["OutputMode"] = "AVI";
  TaskLoop loop(engine, tasks, host, Reader());
  loop.tools = tools;
  // Two processors, a quarter of their ticks idle between any two readings.
  int reading = 0;
  loop.cpuMeter.ReadStat = [&reading] {
    ++reading;
    return "cpu  " + std::to_string(150 * reading) + " 0 0 " + std::to_string(50 * reading) + "\ncpu0 1\ncpu1 1\n";
  };
  loop.RunTasks();
  ASSERT_EQ(loop.OutputList().size(), 3u);
  // The progress text ends in the load, in the status field and the title alike.
  const auto progress = std::find_if(host.statusTexts.begin(), host.statusTexts.end(),
                                     [](const std::string& text) { return Contains(text, "%, "); });
  ASSERT_NE(progress, host.statusTexts.end());
  EXPECT_TRUE(EndsWith(*progress, ", CPU: 75%")) << *progress;
  EXPECT_NE(std::find(host.titles.begin(), host.titles.end(), *progress), host.titles.end());

  const std::vector<std::string> lines = ReadLines(ReadText(log));
  auto at = [&lines](const std::string& line) { return std::find(lines.begin(), lines.end(), line) - lines.begin(); };
  EXPECT_LT(at("probe b.mp4"), at("converted a.mp4")) << ReadText(log);
  EXPECT_LT(at("probe c.mp4"), at("converted b.mp4")) << ReadText(log);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return StartsWith(l, "probe"); }), 3);
  // Each row heard of its progress and its times, in the order the tasks ran.
  EXPECT_TRUE(std::is_sorted(changes.begin(), changes.end())) << changes.size();
  for (int i = 0; i < 3; ++i) {
    EXPECT_GT(tasks.ValueMax(i), 0);
    EXPECT_TRUE(Contains(tasks.ListComment(i), " - ")) << tasks.ListComment(i);
  }
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
  EXPECT_EQ(Count("失败的复制或移动文件操作"), 1);
  EXPECT_EQ(Count("完成 | " + dir / "out/keeps.dat"), 1);
  EXPECT_EQ(tasks.ListComment(0), " - 失败的复制或移动文件操作");
  EXPECT_EQ(tasks.ListComment(1), " - 完成 | " + dir / "out/keeps.dat");
}

// A join is named after its first file, with that file's extension, and
// replaces an old file of that name only when asked to; a file being joined is
// never the one written.
TEST_F(TaskLoopTest, JoinsAreNamedAfterTheFirstFileAndNeverWriteOverOne) {
  MakeClip(dir / "clip.mp4", 1);
  struct Case {
    const char* format;
    const char* extension;  // of the two sources, "MPG" joined as bytes, "MKV" by mkvmerge
    const char* folder;     // "" is the sources' own
    const char* overwrite;
    const char* output;
  };
  const Case cases[] = {
      {"直接合并", "MPG", "out", "否", "out/x(1).MPG"},
      {"直接合并", "MPG", "out", "是", "out/x.MPG"},
      {"直接合并", "MPG", "", "是", "x(1).MPG"},
      {"直接合并", "MKV", "", "是", "x(1).MKV"},
      // A run's outputs take the first one's extension, not the format's name.
      {"CopyTo", "MPG", "out", "是", "out/x(1)_合并文件.MPG"},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    const std::string folder = dir / ("case" + std::to_string(i));
    const std::string x = folder + "/x." + c.extension, y = folder + "/y." + c.extension;
    MakedPath(folder + "/out");
    ASSERT_TRUE(WriteFileAtomic(folder + "/out/x." + c.extension, "an old file"));
    if (std::string_view(c.extension) == "MKV") {
      ASSERT_EQ(test::Run({ToolPath("mkvmerge"), "-q", "-o", x, dir / "clip.mp4"}).exitCode, 0);
      ASSERT_EQ(test::Run({ToolPath("mkvmerge"), "-q", "-o", y, dir / "clip.mp4"}).exitCode, 0);
    } else {
      ASSERT_TRUE(WriteFileAtomic(x, "first "));
      ASSERT_TRUE(WriteFileAtomic(y, "second"));
    }
    const std::string sourceBytes = ReadText(x);
    tasks.Clear();
    tasks.AddItem("x", "x", "", "|||", x);
    tasks.AddItem("y", "y", "", "|||", y);
    values["OutputMode"] = c.format;
    values["OutputFolder"] = *c.folder ? folder + "/" + c.folder : "";
    values["FileExistsOverwrite"] = c.overwrite;
    values["JoinAllTask"] = "是";
    TaskLoop loop(engine, tasks, host, Reader());
    loop.tools.mkvmerge = ToolPath("mkvmerge");
    loop.RunTasks();
    const std::string output = folder + "/" + c.output, old = folder + "/out/x." + c.extension;
    ASSERT_EQ(loop.OutputList(), std::vector<std::string>{output}) << c.output;
    EXPECT_EQ(ReadText(x), sourceBytes) << c.output;
    if (output != old) {
      EXPECT_EQ(ReadText(old), "an old file") << c.output;
    }
    if (std::string_view(c.extension) == "MPG") {
      EXPECT_EQ(ReadText(output), "first second") << c.output;
    } else {
      EXPECT_GT(FileSize(output), FileSize(x)) << c.output;
    }
  }
}

// The direct join takes the whole list at the first video, after the task's
// settings line; without its tool it fails once and the run ends.
TEST_F(TaskLoopTest, DirectJoinWithoutItsToolRunsOnce) {
  Shared().ProgramPath = dir / "zel";
  ASSERT_TRUE(WriteFileAtomic(dir / "zel.Diagnostics.log", ""));
  for (const char* name : {"cover.png", "b.mp4", "g.mp4", "a.avi"}) {
    ASSERT_TRUE(WriteFileAtomic(dir / name, "x"));
    tasks.AddItem(name, name, "", "|||", dir / name);
  }
  values["OutputMode"] = "直接合并";
  TaskLoop loop(engine, tasks, host, Reader());
  loop.tools.mp4box = dir / "no-mp4box";
  loop.RunTasks();
  EXPECT_EQ(host.infos, std::vector<std::string>{"问题 | 找不到所需的工具: " + dir / "no-mp4box"});
  EXPECT_EQ(loop.JobsStarted(), 1);
  EXPECT_EQ(loop.JobsSucceeded(), 0);
  EXPECT_EQ(loop.PassedOver(), std::vector<std::string>{dir / "cover.png"});
  std::vector<std::string> steps;
  for (const std::string& line : ReadLines(ReadText(dir / "zel.Diagnostics.log"))) {
    if (StartsWith(line.substr(line.find(' ') + 1), "进入任务循环")) steps.push_back(line.substr(line.find(' ') + 1));
  }
  EXPECT_EQ(steps, std::vector<std::string>{"进入任务循环: 2 设置"});
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

// The karaoke product runs one job for the whole list. Without AviSynth its
// video is composed by FFmpeg: the pictures of the list over the whole music.
TEST_F(TaskLoopTest, KaraokeJobTakesTheWholeListOnce) {
  ASSERT_EQ(test::Run({ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i", "sine=duration=3",
                 dir / "music.mp3"})
                .exitCode,
            0);
  for (const char* name : {"a.jpg", "b.png"}) {
    ASSERT_EQ(test::Run({ToolPath("ffmpeg"), "-v", "error", "-y", "-f", "lavfi", "-i", "color=red:s=64x48",
                         "-frames:v", "1", dir / name})
                  .exitCode,
              0);
    tasks.AddItem(name, name, "", "|||", dir / name);
  }
  values["KTVMusicFileName"] = dir / "music.mp3";
  values["OutputMode"] = "MP4";
  values["VideoSize"] = "160x120";
  TaskLoop loop(engine, tasks, host, Reader());
  loop.tools.ffmpeg = ToolPath("ffmpeg");
  loop.karaokeProduct = true;
  loop.RunTasks();
  EXPECT_EQ(loop.JobsStarted(), 1);
  EXPECT_EQ(engine.Status(), kStatusComplete) << engine.CommandLine;
  EXPECT_EQ(engine.OutputFileName(), dir / "out/MV_music.MP4");
  // Two pictures of 4 + 3 s outlast 3 s of music: the music repeats under them.
  const test::RunResult probe = test::Run({ToolPath("ffprobe"), "-v", "error", "-show_entries",
                                           "format=duration:stream=width,height", "-of", "csv=p=0",
                                           engine.OutputFileName()});
  const std::vector<std::string> lines = ReadLines(probe.output);
  ASSERT_GE(lines.size(), 2u) << probe.output;
  EXPECT_EQ(lines[0], "160,120");
  EXPECT_NEAR(Val(lines.back()), 11, 0.2);
}

}  // namespace
}  // namespace zel::test
