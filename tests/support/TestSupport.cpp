#include "support/TestSupport.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "engine/ChildProcess.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel::test {

TempDir::TempDir() {
  std::string pattern = TempDirectory() + "/zel-test-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "cannot make a temporary folder";
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string WriteScript(const std::string& path, const std::string& body) {
  EXPECT_TRUE(WriteFileAtomic(path, "#!/bin/bash\n" + body + "\n"));
  ::chmod(path.c_str(), 0755);
  return path;
}

RunResult Run(const std::vector<std::string>& argv) {
  RunResult result;
  ChildProcess child;
  LaunchPlan plan;
  plan.stages.push_back(argv);
  if (child.Start(plan, std::nullopt) != ChildProcess::StartResult::Started) return result;
  std::string block;
  for (;;) {
    const auto r = child.Read(block, 4096, 1000);
    if (r == ChildProcess::ReadResult::End) break;
    result.output += block;
  }
  const int status = child.Wait();
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

RunResult RunCli(const std::vector<std::string>& args) {
  std::vector<std::string> argv{ZEL_CLI_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  return Run(argv);
}

std::string ToolPath(const std::string& name) {
  const std::string found = FindOnPath(name);
  if (found.empty()) ADD_FAILURE() << name << " is not installed; scripts/setup.sh installs it";
  return found.empty() ? name : found;
}

void MakeClip(const std::string& path, int seconds, const std::string& size) {
  const std::string duration = std::to_string(seconds);
  const RunResult r = Run({ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                           "testsrc=size=" + size + ":rate=25:duration=" + duration, "-f", "lavfi", "-i",
                           "sine=frequency=440:duration=" + duration, "-shortest", "-pix_fmt", "yuv420p",
                           "-c:v", "mpeg4", "-c:a", "aac", path});
  ASSERT_EQ(r.exitCode, 0) << r.output;
}

void MakeEncodedCopy(const std::string& source, const std::string& output, const std::string& size) {
  const RunResult r = Run({ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-i", source, "-vf", "scale=" + size,
                           "-c:v", "mjpeg", "-c:a", "mp3", output});
  ASSERT_EQ(r.exitCode, 0) << r.output;
}

std::string ProbeCodec(const std::string& path, const std::string& kind) {
  const RunResult r = Run({ToolPath("ffprobe"), "-v", "error", "-select_streams", kind + ":0", "-show_entries",
                           "stream=codec_name", "-of", "default=noprint_wrappers=1:nokey=1", path});
  // A transport stream lists its streams once more under their program.
  return Trim(r.output.substr(0, r.output.find('\n')));
}

std::vector<std::string> ReadLines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::string& line : Split(text, "\n")) {
    if (!line.empty()) lines.push_back(std::move(line));
  }
  return lines;
}

std::ostream& operator<<(std::ostream& out, const Event& e) { return out << e.status << " " << e.info; }

void CliTest::SetUp() {
  ::setenv("XDG_CONFIG_HOME", (dir / "config").c_str(), 1);
  ::setenv("XDG_DATA_HOME", (dir / "data").c_str(), 1);
}

void CliTest::TearDown() {
  ::unsetenv("XDG_CONFIG_HOME");
  ::unsetenv("XDG_DATA_HOME");
}

std::string CliTest::Out(const std::vector<std::string>& args) {
  const RunResult run = RunCli(args);
  EXPECT_EQ(run.exitCode, 0) << run.output;
  return run.output;
}

}  // namespace zel::test
