// The cut and join jobs that copy streams without re-encoding: which tool takes a
// file, the command line the engine runs for it, and the plain byte join.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Where the stream tools lie. An empty path, or one where no file is, means
// the tool is absent.
struct ToolSet {
  std::string ffmpeg, mencoder, mp4box, mkvmerge, rmeditor, producer, asfbin;
};

// The tools the start-up found.
ToolSet SharedTools();

// Whether a tool path names an existing file.
bool ToolPresent(std::string_view path);

enum class DirectJobKind {
  Command,      // the engine runs `commandLine` with `tool` as its core
  Concatenate,  // the program joins the files byte by byte (ConcatenateFiles)
  ToolMissing,  // the row's tool is absent; `tool` and `commandLine` say what would have run
};

struct DirectJob {
  DirectJobKind kind = DirectJobKind::Command;
  std::string tool;         // for the engine's Core
  std::string commandLine;  // for the engine's CommandLine: the quoted tool, then its arguments
  std::string forceFormat;  // a cut's output format: the source's extension in lower case
};

// The cut of one part, `start` and `end` in seconds as the engine holds them.
// The first row whose extensions hold the source's and whose tool is present
// wins; FFmpeg takes what no other row takes.
DirectJob DirectCutJob(std::string_view sourcePath, float start, float end, const ToolSet& tools);

// The join of a task list, chosen by the first file's extension alone. Empty
// paths are passed over.
DirectJob DirectJoinJob(const std::vector<std::string>& paths, const ToolSet& tools);

// The join of a run's outputs, with the narrower extension lists of that join.
DirectJob OutputJoinJob(const std::vector<std::string>& outputs, const ToolSet& tools);

// What becomes of a file already at the output's place.
enum class ExistingOutput {
  Keep,     // it stays, and the join fails
  Replace,  // the finished join takes its place in one step
};

// Appends the inputs into the file `output` in blocks of 1 MiB, asking
// `keepGoing` between blocks (false cancels). The bytes go to a temporary file
// beside the output that takes the output's name only when complete. On
// failure or cancel nothing is left behind, an existing output is as it was,
// and the result is false.
bool ConcatenateFiles(const std::vector<std::string>& inputs, const std::string& output,
                      const std::function<bool()>& keepGoing, ExistingOutput existing = ExistingOutput::Keep);

}  // namespace zel
