// Runs of real child processes through FFmpegX: fake tools written by the test,
// and the real ffmpeg.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"
#include "engine/PriorityClass.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::TempDir;

struct Event {
  int status;
  std::string info;
  bool operator==(const Event&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Event& e) { return out << e.status << " " << e.info; }

struct Progress {
  int value, max, fps;
  std::string remainder;
  bool finished;
};

// A process's state letter from /proc ('T' when stopped), or 0 when it is gone.
char ProcessState(int pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  const size_t close = text.rfind(')');
  return close == std::string::npos || close + 2 >= text.size() ? 0 : text[close + 2];
}

bool AnyProcessMentions(const std::string& text) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream cmdline(entry.path() / "cmdline");
    std::string args((std::istreambuf_iterator<char>(cmdline)), std::istreambuf_iterator<char>());
    if (args.find(text) != std::string::npos && args.find("zel_engine_tests") == std::string::npos) return true;
  }
  return false;
}

class SupervisionTest : public ::testing::Test {
 protected:
  SupervisionTest() {
    engine.StatusChange = [this](int status, const std::string& info) { events.push_back({status, info}); };
    engine.ProgressChange = [this](int v, int m, int f, const std::string& r, const std::string&, bool fin) {
      progress.push_back({v, m, f, r, fin});
    };
    engine.PipeChange = [this](const std::string& text) { pipe += text; };
    engine.Overwrite = true;  // every run of a test writes the same output
    source = dir / "source.avi";
    WriteText("source", source, false);
    output = dir / "out.mp4";
  }

  // Runs a fake tool as the job's command; its output is judged as a composed job's.
  void RunJob(const std::string& script, const std::string& arguments = "") {
    engine.SetFilename(source);
    engine.SetOutputDir(dir.path());
    engine.ForceOutputFileName = output;
    engine.CommandLine = QuoteArgument(script) + " \"#OutputFileName#\"" + (arguments.empty() ? "" : " " + arguments);
    events.clear();
    engine.StartProcess();
  }

  bool Saw(const Event& e) const { return std::find(events.begin(), events.end(), e) != events.end(); }

  TempDir dir;
  FFmpegX engine;
  std::vector<Event> events;
  std::vector<Progress> progress;
  std::string pipe, source, output;
};

TEST_F(SupervisionTest, VerdictByOutputSize) {
  const std::string tool = test::WriteScript(dir / "writer", "head -c \"$2\" /dev/zero > \"$1\"");
  RunJob(tool, "1023");
  EXPECT_EQ(events.back(), (Event{kStatusError, std::string(MsgFileProblem)}));

  RunJob(tool, "1024");
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
  EXPECT_EQ(engine.Status(), kStatusComplete);
  // A run opens with Starting and Processing for the source.
  ASSERT_GE(events.size(), 2u);
  EXPECT_EQ(events[0], (Event{kStatusStarting, source}));
  EXPECT_EQ(events[1], (Event{kStatusProcessing, source}));
  // It closes with one progress event of zeros that says it is finished.
  ASSERT_FALSE(progress.empty());
  EXPECT_TRUE(progress.back().finished);
  EXPECT_EQ(progress.back().value + progress.back().max + progress.back().fps, 0);
  EXPECT_FALSE(engine.Processing());
  EXPECT_EQ(engine.TwoPassStatus(), "0");
  EXPECT_FALSE(engine.EndTime().empty());

  std::filesystem::remove(output);
  RunJob(test::WriteScript(dir / "silent", "exit 0"));
  EXPECT_EQ(events.back(), (Event{kStatusError, std::string(MsgCannotCreateFile)}));
}

TEST_F(SupervisionTest, AnErrorLineIsFollowedByTheVerdictOnAGoodFile) {
  RunJob(test::WriteScript(dir / "grumbler",
                           "echo 'clip.xyz: Unknown input or output format'; sleep 0.1; head -c 4096 /dev/zero > \"$1\""));
  EXPECT_TRUE(Saw({kStatusError, "clip.xyz: " + std::string(MsgUnknownFormat)}));
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
}

TEST_F(SupervisionTest, TwoPassesDeleteThePassOneOutput) {
  const std::string calls = dir / "calls.txt";
  const std::string tool = test::WriteScript(
      dir / "twopass", "[ -e \"$1\" ] && echo LEFTOVER >> '" + calls + "'\necho run >> '" + calls +
                           "'\nhead -c 2048 /dev/zero > \"$1\"");
  engine.Twopass = true;
  RunJob(tool);
  EXPECT_EQ(ReadText(calls), "run\nrun\n");  // nothing of pass 1 was left for pass 2
  EXPECT_TRUE(Saw({kStatusInfoString, "Pass 1 OK"}));
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
  EXPECT_EQ(engine.TwoPassStatus(), "0");
}

TEST_F(SupervisionTest, CancelInPassOneStartsNoPassTwoAndRemovesTheOutput) {
  const std::string calls = dir / "calls.txt";
  const std::string tool = test::WriteScript(dir / "slow", "echo run >> '" + calls + "'\necho $$ > '" + dir / "pid" +
                                                                "'\nhead -c 4096 /dev/zero > \"$1\"\necho started\nexec sleep 30");
  engine.Twopass = true;
  engine.PipeChange = [this](const std::string& text) {
    if (text.find("started") != std::string::npos) engine.CancelProcess();
  };
  RunJob(tool);
  EXPECT_EQ(ProcessState(std::stoi(ReadText(dir / "pid"))), 0);  // ended, not left to run out its sleep
  EXPECT_EQ(ReadText(calls), "run\n");
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
  EXPECT_FALSE(Saw({kStatusInfoString, "Pass 1 OK"}));
  EXPECT_FALSE(FileExists(output));
  EXPECT_FALSE(engine.Processing());

  // The next job starts clean.
  engine.Twopass = false;
  engine.PipeChange = nullptr;
  RunJob(test::WriteScript(dir / "quick", "head -c 2048 /dev/zero > \"$1\""));
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
}

TEST_F(SupervisionTest, CancellingARealFFmpegRunRemovesThePartialOutput) {
  engine.SetFilename(source);
  engine.SetOutputDir(dir.path());
  engine.ForceOutputFileName = output;
  engine.CommandLine = QuoteArgument(test::ToolPath("ffmpeg")) +
                       " -nostdin -y -re -f lavfi -i testsrc=size=160x120:rate=25:duration=120 -c:v mpeg4 " +
                       QuoteArgument(output);
  bool sent = false;
  engine.StatusChange = [&](int status, const std::string& info) {
    events.push_back({status, info});
    if (status == kStatusProcessing && info.find("time=") != std::string::npos && !sent) {
      sent = true;
      engine.CancelProcess();
    }
  };
  engine.StartProcess();
  ASSERT_TRUE(sent) << pipe;
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
  EXPECT_FALSE(FileExists(output));
  EXPECT_FALSE(AnyProcessMentions(output));  // the tool is gone, not left behind
}

TEST_F(SupervisionTest, PriorityClassesBecomeNiceValues) {
  const std::string tool = test::WriteScript(
      dir / "nice", "echo \"NICE $(awk '{print $19}' /proc/$$/stat)\"\nsleep 0.3\n"
                    "echo \"NICE $(awk '{print $19}' /proc/$$/stat)\"\nhead -c 2048 /dev/zero > \"$1\"");
  std::vector<int> changes;
  engine.PriorityChanged = [&](int priority) { changes.push_back(priority); };
  engine.PipeChange = [&](const std::string& text) {
    pipe += text;
    // Raised while it runs, the new class reaches the running tool at once.
    if (pipe.find("NICE 19") != std::string::npos && engine.Priority() == kPriorityIdle) {
      engine.SetPriority(kPriorityBelowNormal);
    }
  };
  RunJob(tool);
  EXPECT_NE(pipe.find("NICE 19\n"), std::string::npos) << pipe;
  EXPECT_NE(pipe.find("NICE 10\n"), std::string::npos) << pipe;
  EXPECT_TRUE(changes.empty());

  // A number that is no class leaves the tool at the inherited nice value: the
  // engine notices, reports the class it found, and the stored value turns into
  // the progress number.
  pipe.clear();
  engine.PipeChange = [&](const std::string& text) { pipe += text; };
  engine.SetPriority(12345);
  RunJob(tool);
  ASSERT_FALSE(changes.empty());
  const int inherited = ::getpriority(PRIO_PROCESS, 0);
  EXPECT_EQ(changes.front(), ClassForNice(inherited));
  EXPECT_EQ(engine.Priority(), 0);
}

TEST_F(SupervisionTest, SuspendAndResumeTheToolsGroup) {
  std::vector<std::pair<int, char>> seen;  // (returned count, state afterwards)
  int pid = 0;
  auto waitForState = [&](bool stopped) {
    for (int i = 0; i < 200 && (ProcessState(pid) == 'T') != stopped; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return ProcessState(pid);
  };
  engine.PipeChange = [&](const std::string& text) {
    if (pid != 0 || text.rfind("PID ", 0) != 0) return;
    pid = std::stoi(text.substr(4));
    int r = engine.SuspendApp();
    seen.push_back({r, waitForState(true)});
    r = engine.SuspendApp();
    seen.push_back({r, waitForState(true)});
    r = engine.ResumeApp();
    seen.push_back({r, waitForState(true)});
    r = engine.ResumeApp();
    seen.push_back({r, waitForState(false)});
    engine.CancelProcess();
  };
  RunJob(test::WriteScript(dir / "sleeper", "echo \"PID $$\"\nexec sleep 30"));
  ASSERT_EQ(seen.size(), 4u) << pipe;
  EXPECT_EQ(seen[0], std::make_pair(0, 'T'));
  EXPECT_EQ(seen[1], std::make_pair(1, 'T'));
  EXPECT_EQ(seen[2], std::make_pair(2, 'T'));  // still suspended once
  EXPECT_EQ(seen[3].first, 1);
  EXPECT_NE(seen[3].second, 'T');
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
}

TEST_F(SupervisionTest, SuspendedToolStillCancels) {
  engine.PipeChange = [&](const std::string& text) {
    if (text.find("started") == std::string::npos) return;
    engine.SuspendApp();
    engine.CancelProcess();
  };
  RunJob(test::WriteScript(dir / "sleeper", "echo started\nexec sleep 30"));
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
}

TEST_F(SupervisionTest, AToolThatClosesItsOutputCanStillBeCancelled) {
  const std::string pidFile = dir / "pid";
  bool sent = false;
  engine.PumpEvents = [&] {
    if (!sent && FileExists(pidFile)) {
      sent = true;
      engine.CancelProcess();
    }
  };
  RunJob(test::WriteScript(dir / "detached", "exec >/dev/null 2>&1\necho $$ > '" + pidFile + "'\nexec sleep 30"));
  ASSERT_TRUE(sent);
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
  EXPECT_EQ(ProcessState(std::stoi(ReadText(pidFile))), 0);
}

TEST_F(SupervisionTest, RefreshTimerReportsRemainingTime) {
  const std::string tool = test::WriteScript(dir / "progress",
                                             "head -c 2048 /dev/zero > \"$1\"\n"
                                             "echo '  Duration: 00:00:10.00, start: 0.000000, bitrate: 1 kb/s'\n"
                                             "for n in 1 2 3 4 5 6; do sleep 0.12; "
                                             "printf 'frame= %d fps= 25 q=2.0 size= 10kB time=00:00:0%d.00 bitrate=1\\r' "
                                             "$((n*25)) $n; done");
  engine.SetStatusRefreshInterval(50);
  RunJob(tool);
  std::vector<Progress> ticks;
  for (const Progress& p : progress) {
    if (!p.finished) ticks.push_back(p);
  }
  ASSERT_FALSE(ticks.empty()) << pipe;
  const std::regex remainder(R"(\d\d:\d\d:\d\d/\d\d:\d\d:\d\d, 2\.00KB/\d+\.\d\dKB)");
  for (const Progress& p : ticks) {
    EXPECT_EQ(p.max, 11);
    EXPECT_GE(p.value, 1);
    EXPECT_LE(p.value, 6);
    EXPECT_EQ(p.fps, 25);
    EXPECT_TRUE(std::regex_match(p.remainder, remainder)) << p.remainder;
  }
  EXPECT_TRUE(progress.back().finished);
}

TEST_F(SupervisionTest, ATickWithoutProgressStillReportsAndKeepsTheRemainingTime) {
  const std::string tool = test::WriteScript(dir / "stall",
                                             "head -c 2048 /dev/zero > \"$1\"\n"
                                             "echo '  Duration: 00:00:10.00, start: 0.000000, bitrate: 1 kb/s'\n"
                                             "sleep 0.12; printf 'frame= 50 fps= 25 q=2.0 size= 1kB time=00:00:02.00 bitrate=1\\r'\n"
                                             "sleep 0.12; printf 'frame= 55 fps= 5 q=2.0 size= 1kB time=N/A bitrate=1\\r'\n"
                                             "sleep 0.12; printf 'frame= 60 fps= 5 q=2.0 size= 1kB time=N/A bitrate=1\\r'\n"
                                             "sleep 0.12; echo done");
  engine.SetStatusRefreshInterval(50);
  RunJob(tool);
  const auto moving = std::find_if(progress.begin(), progress.end(), [](const Progress& p) { return p.value == 2; });
  ASSERT_NE(moving, progress.end()) << pipe;
  ASSERT_FALSE(moving->remainder.empty());
  const auto stalled = std::find_if(moving, progress.end(), [](const Progress& p) { return p.fps == 5; });
  ASSERT_NE(stalled, progress.end());
  EXPECT_EQ(stalled->value, 0);
  EXPECT_EQ(stalled->remainder, moving->remainder);  // the failed division changed nothing
}

TEST_F(SupervisionTest, ToolLogNamesTheBlocksBesideTheTool) {
  const std::string core = test::WriteScript(dir / "fakeffmpeg",
                                             "if [ $# -eq 0 ]; then echo 'FFmpeg version 0.5-fake, Copyright'; exit 1; fi\n"
                                             "[ \"$1\" = -formats ] || [ \"$1\" = -codecs ] && exit 0\n"
                                             "echo 'a block worth keeping'\nhead -c 2048 /dev/zero > \"$1\"");
  engine.SetCore(core);
  ASSERT_EQ(engine.CoreStatus(), kCoreFFmpeg);
  EXPECT_EQ(engine.CoreVersion(), "0.5-fake");
  EXPECT_EQ(engine.CoreDialect(), ToolDialect::Legacy);
  engine.Log = true;
  RunJob(core);
  EXPECT_EQ(engine.ToolLogPath(), dir / "fakeffmpeg.log");
  EXPECT_NE(ReadText(dir / "fakeffmpeg.log").find("a block worth keeping"), std::string::npos);
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
}

TEST_F(SupervisionTest, TestModeWritesTheFinalCommand) {
  engine.TestMode = true;
  engine.SetFilename(source);
  engine.SetOutputDir(dir.path());
  engine.ForceOutputFileName = output;
  engine.CommandLine = "\"/bin/true\" -i #InputFileName# #OUTPUTFILENAME#";
  engine.StartProcess();
  EXPECT_EQ(ReadText(dir / "Test.bat"), "\"/bin/true\" -i " + source + " " + output + "\n");
}

TEST_F(SupervisionTest, OnlyAHandWrittenLineReachesTheShell) {
  engine.OnlyUseExtCommandLine = true;
  engine.CommandLine = "echo shell-ran > '" + dir / "marker" + "'";
  engine.StartProcess();
  EXPECT_EQ(ReadText(dir / "marker"), "shell-ran\n");
  EXPECT_EQ(events.back(), (Event{kStatusComplete, ""}));

  const std::string hostile = "$(touch " + dir / "pwned" + "); `touch " + dir / "pwned2" + "` | x > y";
  engine.CommandLine = QuoteArgument("/bin/echo") + " " + QuoteArgument(hostile);
  engine.StartProcess();
  EXPECT_NE(pipe.find(hostile), std::string::npos);
  EXPECT_FALSE(FileExists(dir / "pwned"));
  EXPECT_FALSE(FileExists(dir / "pwned2"));
}

TEST_F(SupervisionTest, DiscPipeRunsTwoProcessesWithoutAShell) {
  engine.OnlyUseExtCommandLine = true;
  engine.CommandLine = "\"/bin/echo\" piped $HOME -o -|\"/usr/bin/tee\" \"" + dir / "tee out.txt" + "\"";
  engine.StartProcess();
  EXPECT_EQ(ReadText(dir / "tee out.txt"), "piped $HOME -o -\n");
  EXPECT_NE(pipe.find("piped $HOME -o -"), std::string::npos);
}

TEST_F(SupervisionTest, AToolThatCannotStartStillGetsAVerdict) {
  RunJob(dir / "no-such-tool");
  EXPECT_EQ(events, (std::vector<Event>{{kStatusStarting, source},
                                        {kStatusProcessing, source},
                                        {kStatusError, std::string(MsgCannotCreateProcess)},
                                        {kStatusError, std::string(MsgCannotCreateFile)}}));
  ASSERT_FALSE(progress.empty());
  EXPECT_TRUE(progress.back().finished);
  EXPECT_FALSE(engine.Processing());
}

}  // namespace
}  // namespace zel
