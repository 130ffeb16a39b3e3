// Helpers shared by the tests: scratch folders, fake tools, child runs, clips.
#pragma once

#include <string>
#include <vector>

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

// "codec_name" of the first stream of a kind ("v" or "a"), read by ffprobe.
std::string ProbeCodec(const std::string& path, const std::string& kind);

std::vector<std::string> ReadLines(const std::string& text);

}  // namespace zel::test
