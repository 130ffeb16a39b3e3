// Runs of real child processes through FFmpegX: fake tools written by the test,
// and the real ffmpeg.
#include <gtest/gtest.h>
#include <sys/resource.h>

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

using test::Event;

// The last line of most fake tools: an output big enough to count as good.
const std::string kWriteOutput = "head -c 2048 /dev/zero > \"$1\"";

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

class SupervisionTest : public test::EngineTest {
 protected:
  SupervisionTest() {
    engine.ProgressChange = [this](int v, int m, int f, const std::string& r, const std::string&, bool fin) {
      progress.push_back({v, m, f, r, fin});
    };
    engine.PipeChange = [this](const std::string& text) { pipe += text; };
    engine.Overwrite = true;  // every run of a test writes the same output
    WriteText("source", source, false);
    engine.SetFilename(source);
    engine.SetOutputDir(dir.path());
    engine.ForceOutputFileName = output;
  }

  std::string Tool(const std::string& name, const std::string& body) { return test::WriteScript(dir / name, body); }

  // Runs a fake tool as the job's command; its output is judged as a composed job's.
  void RunJob(const std::string& script, const std::string& arguments = "") {
    engine.CommandLine = QuoteArgument(script) + " \"#OutputFileName#\"" + (arguments.empty() ? "" : " " + arguments);
    events.clear();
    engine.StartProcess();
  }

  std::vector<Progress> progress;
  std::string pipe, source = dir / "source.avi", output = dir / "out.mp4";
};

TEST_F(SupervisionTest, VerdictByOutputSize) {
  const std::string tool =
      Tool("writer", "echo 'clip.xyz: Unknown input or output format'\nhead -c \"$2\" /dev/zero > \"$1\"");
  RunJob(tool, "1023");
  EXPECT_EQ(events.back(), (Event{kStatusError, std::string(MsgFileProblem)}));

  // An error line on the way does not outweigh a good file.
  RunJob(tool, "1024");
  EXPECT_TRUE(Saw({kStatusError, "clip.xyz: " + std::string(MsgUnknownFormat)}));
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
  EXPECT_EQ(engine.Status(), kStatusComplete);
  // It closes with one progress event of zeros that says it is finished.
  ASSERT_FALSE(progress.empty());
  EXPECT_TRUE(progress.back().finished);
  EXPECT_EQ(progress.back().value + progress.back().max + progress.back().fps, 0);
  EXPECT_FALSE(engine.Processing());
  EXPECT_FALSE(engine.EndTime().empty());

  std::filesystem::remove(output);
  RunJob(Tool("silent", "exit 0"));
  EXPECT_EQ(events.back(), (Event{kStatusError, std::string(MsgCannotCreateFile)}));
}

TEST_F(SupervisionTest, TwoPassesDeleteThePassOneOutput) {
  const std::string calls = dir / "calls.txt";
  engine.Twopass = true;
  RunJob(Tool("twopass", "[ -e \"$1\" ] && echo LEFTOVER >> '" + calls + "'\necho run >> '" + calls + "'\n" +
                             kWriteOutput));
  EXPECT_EQ(ReadText(calls), "run\nrun\n");  // nothing of pass 1 was left for pass 2
  EXPECT_TRUE(Saw({kStatusInfoString, "Pass 1 OK"}));
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
  EXPECT_EQ(engine.TwoPassStatus(), "0");
}

TEST_F(SupervisionTest, CancelInPassOneStartsNoPassTwoAndRemovesTheOutput) {
  const std::string calls = dir / "calls.txt";
  engine.Twopass = true;
  engine.PipeChange = [this](const std::string& text) {
    if (text.find("started") != std::string::npos) engine.CancelProcess();
  };
  RunJob(Tool("slow", "echo run >> '" + calls + "'\necho $$ > '" + dir / "pid" + "'\n" + kWriteOutput +
                          "\necho started\nexec sleep 30"));
  EXPECT_EQ(ProcessState(std::stoi(ReadText(dir / "pid"))), 0);  // ended, not left to run out its sleep
  EXPECT_EQ(ReadText(calls), "run\n");
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
  EXPECT_FALSE(Saw({kStatusInfoString, "Pass 1 OK"}));
  EXPECT_FALSE(FileExists(output));

  // The next job starts clean.
  engine.Twopass = false;
  engine.PipeChange = nullptr;
  RunJob(Tool("quick", kWriteOutput));
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
}

TEST_F(SupervisionTest, CancellingARealFFmpegRunRemovesThePartialOutput) {
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
  const std::string tool = Tool("nice", "echo \"NICE $(awk '{print $19}' /proc/$$/stat)\"\nsleep 0.3\n"
                                        "echo \"NICE $(awk '{print $19}' /proc/$$/stat)\"\n" + kWriteOutput);
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
  engine.PipeChange = nullptr;
  engine.SetPriority(12345);
  RunJob(tool);
  ASSERT_FALSE(changes.empty());
  EXPECT_EQ(changes.front(), ClassForNice(::getpriority(PRIO_PROCESS, 0)));
  EXPECT_EQ(engine.Priority(), 0);
}

TEST_F(SupervisionTest, SuspendAndResumeTheToolsGroupAndCancelWhileSuspended) {
  // Each call returns the count before it; the group stays stopped until the count is back at 0.
  std::vector<std::pair<int, bool>> seen;  // (returned count, stopped afterwards)
  int pid = 0;
  auto call = [&](int result, bool stopped) {
    for (int i = 0; i < 200 && (ProcessState(pid) == 'T') != stopped; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    seen.push_back({result, ProcessState(pid) == 'T'});
  };
  engine.PipeChange = [&](const std::string& text) {
    if (pid != 0 || text.rfind("PID ", 0) != 0) return;
    pid = std::stoi(text.substr(4));
    call(engine.SuspendApp(), true);
    call(engine.SuspendApp(), true);
    call(engine.ResumeApp(), true);
    call(engine.ResumeApp(), false);
    call(engine.SuspendApp(), true);
    engine.CancelProcess();
  };
  RunJob(Tool("sleeper", "echo \"PID $$\"\nexec sleep 30"));
  EXPECT_EQ(seen, (std::vector<std::pair<int, bool>>{{0, true}, {1, true}, {2, true}, {1, false}, {0, true}})) << pipe;
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
  EXPECT_EQ(ProcessState(pid), 0);
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
  RunJob(Tool("detached", "exec >/dev/null 2>&1\necho $$ > '" + pidFile + "'\nexec sleep 30"));
  ASSERT_TRUE(sent);
  EXPECT_TRUE(Saw({kStatusCanceled, source}));
  EXPECT_EQ(ProcessState(std::stoi(ReadText(pidFile))), 0);
}

TEST_F(SupervisionTest, RefreshTimerReportsRemainingTimeAndKeepsItThroughAStall) {
  engine.SetStatusRefreshInterval(50);
  RunJob(Tool("progress", kWriteOutput + "\necho '  Duration: 00:00:10.00, start: 0.000000, bitrate: 1 kb/s'\n"
                         "for n in 1 2 3; do sleep 0.12; "
                         "printf 'frame= %d fps= 25 q=2.0 size= 10kB time=00:00:0%d.00 bitrate=1\\r' $((n*25)) $n; done\n"
                         "for n in 1 2; do sleep 0.12; "
                         "printf 'frame= 80 fps= 5 q=2.0 size= 1kB time=N/A bitrate=1\\r'; done"));
  const std::regex remainder(R"(\d\d:\d\d:\d\d/\d\d:\d\d:\d\d, 2\.00KB/\d+\.\d\dKB)");
  std::string lastRemainder;
  int moving = 0, stalled = 0;
  for (const Progress& p : progress) {
    if (p.finished) continue;
    if (p.fps == 25) {
      ++moving;
      EXPECT_EQ(p.max, 11);
      EXPECT_GE(p.value, 1);
      EXPECT_LE(p.value, 3);
      EXPECT_TRUE(std::regex_match(p.remainder, remainder)) << p.remainder;
      lastRemainder = p.remainder;
    } else if (stalled++ == 0) {
      // No time on the line: the tick still reports, and the failed division changes nothing.
      EXPECT_EQ(p.fps, 5);
      EXPECT_EQ(p.value, 0);
      EXPECT_EQ(p.remainder, lastRemainder);
    }
  }
  EXPECT_GT(moving, 0) << pipe;
  EXPECT_GT(stalled, 0) << pipe;
  EXPECT_TRUE(progress.back().finished);
}

TEST_F(SupervisionTest, ToolLogNamesTheBlocksBesideTheTool) {
  const std::string core =
      Tool("fakeffmpeg", "if [ $# -eq 0 ]; then echo 'FFmpeg version 0.5-fake, Copyright'; exit 1; fi\n"
                         "case \"$1\" in -formats|-codecs|-i) exit 0;; esac\n"
                         "echo 'a block worth keeping'\n" + kWriteOutput);
  engine.SetCore(core);
  ASSERT_EQ(engine.CoreStatus(), kCoreFFmpeg);
  engine.Log = true;
  RunJob(core);
  EXPECT_EQ(engine.ToolLogPath(), dir / "fakeffmpeg.log");
  EXPECT_NE(ReadText(dir / "fakeffmpeg.log").find("a block worth keeping"), std::string::npos);
  EXPECT_EQ(events.back(), (Event{kStatusComplete, output}));
}

TEST_F(SupervisionTest, TestModeWritesTheFinalCommand) {
  engine.TestMode = true;
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
