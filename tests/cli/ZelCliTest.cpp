// zel-cli driven as a user's script would drive it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "engine/ChildProcess.h"
#include "engine/CommandLine.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::RunCli;
using test::TempDir;

// A command line for the real ffmpeg: `args` follow "-nostdin -y", `out` comes last.
std::string FFmpegLine(const std::string& args, const std::string& out) {
  return QuoteArgument(test::ToolPath("ffmpeg")) + " -nostdin -y " + args + " " + QuoteArgument(out);
}

TEST(ZelCliTime, NotationsFromOutside) {
  EXPECT_EQ(RunCli({"time", "01:02:03.45", "--sep", "."}).output, "msecs: 3723045\nsecs: 3723.45\n");
  EXPECT_EQ(RunCli({"time", "1:23"}).output, "msecs: 4980000\nsecs: 4980\n");
  EXPECT_EQ(RunCli({"time", "16:40", "--sep", "."}).output, "msecs: 1000000\nsecs: 1000\n");  // never "1e+06"
  EXPECT_EQ(RunCli({"mstime", "3723456", "98"}).output, "01:02:03.456\n");
  EXPECT_EQ(RunCli({"mstime", "-1", "0"}).output, "00:00:00,000\n");
  EXPECT_EQ(RunCli({"time"}).exitCode, 2);
  EXPECT_EQ(RunCli({"no-such-verb"}).exitCode, 2);
}

TEST(ZelCliIdentify, RealToolsAreRecognised) {
  const auto ffmpeg = RunCli({"identify", "ffmpeg"});
  ASSERT_EQ(ffmpeg.exitCode, 0) << ffmpeg.output;
  const std::vector<std::string> lines = test::ReadLines(ffmpeg.output);
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[0] + lines[1], "CoreStatus: 1CoreName: FFmpeg");
  EXPECT_EQ(lines[3], "CoreDialect: today");
  EXPECT_NE(lines[4].find("|MP4|"), std::string::npos);
  EXPECT_NE(lines[5].find("|LIBX264|"), std::string::npos);
  EXPECT_NE(lines[6].find("|LIBMP3LAME"), std::string::npos);

  EXPECT_NE(RunCli({"identify", "mencoder"}).output.find("CoreStatus: 2\nCoreName: MEncoder\n"), std::string::npos);
  EXPECT_NE(RunCli({"identify", "mkvmerge"}).output.find("CoreStatus: 5\nCoreName: mkvmerge\n"), std::string::npos);
  const auto missing = RunCli({"identify", "/no/such/tool"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.output.find("CoreStatus: 0\n"), std::string::npos);
}

TEST(ZelCliExec, ConvertsAClipWhateverItsName) {
  TempDir dir;
  const std::string seed = dir / "clip.mp4";
  test::MakeClip(seed, 1);
  const std::string out = dir / "clip out.avi";
  const auto run = RunCli({"exec", FFmpegLine("-i " + QuoteArgument(seed) + " -c:v mpeg4 -c:a libmp3lame", out)});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const auto lines = test::ReadLines(run.output);
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines.front(), "status 0 Starting ");
  EXPECT_EQ(lines[1], "status 1 Processing ");
  EXPECT_EQ(lines[lines.size() - 2], "status 2 Complete ");
  EXPECT_EQ(lines.back(), "progress 0 0 0 ");
  EXPECT_EQ(test::ProbeCodec(out, "a"), "mp3");

  // No name reaches a shell, whatever it holds.
  for (const std::string name : {"with blank", "quo\"te", "$(touch pwned)", "-leading", "中文 视频", "semi;colon|&`id`",
                                 "back\\slash\\"}) {
    const std::string in = dir / (name + ".mp4");
    const std::string named = dir / (name + " out.mkv");
    std::filesystem::copy_file(seed, in);
    const auto copied = RunCli({"exec", "--output", named, FFmpegLine("-i " + QuoteArgument(in) + " -c copy", named)});
    EXPECT_EQ(copied.exitCode, 0) << name << "\n" << copied.output;
    EXPECT_NE(copied.output.find("status 2 Complete " + named), std::string::npos) << name;
    EXPECT_EQ(test::ProbeCodec(named, "v"), "mpeg4") << name;
  }
  EXPECT_FALSE(FileExists(dir / "pwned"));
  EXPECT_FALSE(FileExists("pwned"));

  // Judged by its output, a failed conversion is an error.
  const auto failed = RunCli({"exec", "--output", dir / "never.avi",
                              FFmpegLine("-i " + QuoteArgument(dir / "missing.mp4"), dir / "never.avi")});
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_NE(failed.output.find("status 3 Error 无法正确创建文件"), std::string::npos) << failed.output;
}

TEST(ZelCliExec, InterruptCancelsAndRemovesThePartialOutput) {
  TempDir dir;
  const std::string out = dir / "long.mp4";
  ChildProcess cli;
  LaunchPlan plan;
  const std::string source = "-re -f lavfi -i testsrc=size=160x120:rate=25:duration=120";
  plan.stages.push_back({ZEL_CLI_PATH, "exec", "--output", out, FFmpegLine(source + " -c:v mpeg4", out)});
  ASSERT_EQ(cli.Start(plan, std::nullopt), ChildProcess::StartResult::Started);
  std::string text, block;
  bool interrupted = false;
  while (cli.Read(block, 4096, 1000) != ChildProcess::ReadResult::End) {
    text += block;
    if (!interrupted && text.find("time=") != std::string::npos && FileExists(out)) {
      interrupted = true;
      ::kill(cli.Pid(), SIGINT);
    }
  }
  const int status = cli.Wait();
  ASSERT_TRUE(interrupted) << text;
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 130);
  EXPECT_NE(text.find("status 4 Canceled"), std::string::npos) << text;
  EXPECT_FALSE(FileExists(out));
}

}  // namespace
}  // namespace zel
