// Helpers shared by the tests: scratch folders, fake tools, child runs, clips.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "engine/FFmpegX.h"

namespace zel::test {

// A fresh folder under the temporary folder, removed with everything in it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Writes an executable bash script and returns its path. Fake tools print the
// real tool's banner, record their arguments and write an output.
std::string WriteScript(const std::string& path, const std::string& body);

struct RunResult {
  int exitCode = -1;
  std::string output;  // standard output and error, merged
};

// Runs a program with these arguments, no shell involved.
RunResult Run(const std::vector<std::string>& argv);
RunResult RunCli(const std::vector<std::string>& args);

// The path of a tool on PATH; the test fails when it is missing.
std::string ToolPath(const std::string& name);

// A clip with picture and sound made by the real ffmpeg.
void MakeClip(const std::string& path, int seconds, const std::string& size = "160x120");
// What a conversion of `source` might give: another size ("W:H"), codec and
// container (MJPEG and MP3, in the container of `output`'s extension).
void MakeEncodedCopy(const std::string& source, const std::string& output, const std::string& size);

// "codec_name" of the first stream of a kind ("v" or "a"), read by ffprobe.
std::string ProbeCodec(const std::string& path, const std::string& kind);

std::vector<std::string> ReadLines(const std::string& text);

// One StatusChange of an engine.
struct Event {
  int status;
  std::string info;
  bool operator==(const Event&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Event& e);

// An engine whose status changes are recorded, beside a scratch folder.
class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    engine.StatusChange = [this](int status, const std::string& info) { events.push_back({status, info}); };
  }
  bool Saw(const Event& e) const { return std::find(events.begin(), events.end(), e) != events.end(); }

  TempDir dir;
  FFmpegX engine;
  std::vector<Event> events;
};

// Every run of zel-cli gets its own configuration and data folders.
class CliTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // The output of a run that must succeed.
  std::string Out(const std::vector<std::string>& args);

  TempDir dir;
};

// Sets (or, with nullptr, removes) an environment variable for a scope.
class EnvGuard {
 public:
  EnvGuard(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  EnvGuard(const char* name, const std::string& value) : EnvGuard(name, value.c_str()) {}
  ~EnvGuard() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }
  EnvGuard(const EnvGuard&) = delete;
  EnvGuard& operator=(const EnvGuard&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

}  // namespace zel::test
