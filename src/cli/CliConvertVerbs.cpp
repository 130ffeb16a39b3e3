// zel-cli probe, command and convert: one file described, its command composed,
// and converted, with the settings of the store as a task of the main window has them.
#include <unistd.h>

#include <cstdio>
#include <map>
#include <optional>

#include "cli/CliHost.h"
#include "engine/FFmpegX.h"
#include "jobs/EngineSetup.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "subtitles/FileHelpers.h"
#include "subtitles/TextHelpers.h"

namespace zel::cli {
namespace {

struct JobOptions {
  std::string format;
  std::map<std::string, std::string, std::less<>> overrides;  // keys in lower case
  std::string output;
  int pass = -1;
  std::string file;
};

// A relative name becomes absolute, so that a name such as "-x.mp4" can never
// be read as an option by the tool.
std::string Absolute(const std::string& path) {
  if (path.empty() || path[0] == '/') return path;
  char buffer[4096];
  if (::getcwd(buffer, sizeof buffer) == nullptr) return path;
  return cPath(buffer) + path;
}

std::optional<JobOptions> ParseJobOptions(const Args& args, bool allowPass) {
  JobOptions options;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool hasValue = i + 1 < args.size();
    if (arg == "--format" && hasValue) {
      options.format = args[++i];
    } else if (arg == "--set" && hasValue) {
      const std::string pair = args[++i];
      const size_t equals = pair.find('=');
      if (equals == std::string::npos || equals == 0) return std::nullopt;
      options.overrides[LowerAscii(pair.substr(0, equals))] = pair.substr(equals + 1);
    } else if (arg == "--output" && hasValue) {
      options.output = Absolute(args[++i]);
    } else if (arg == "--pass" && hasValue && allowPass) {
      options.pass = static_cast<int>(Val(args[++i]));
    } else if (arg == "--" && hasValue && options.file.empty() && i + 2 == args.size()) {
      options.file = Absolute(args[++i]);
    } else if (options.file.empty() && (!StartsWith(arg, "--") || arg.size() == 1)) {
      options.file = Absolute(arg);
    } else {
      return std::nullopt;
    }
  }
  if (options.file.empty()) return std::nullopt;
  return options;
}

// The run as the main window would start it: the store's settings, the chosen
// format's own starting values, then the caller's overrides.
struct PreparedJob {
  ConversionTask task;
  SettingReader read;
};

PreparedJob Prepare(const JobOptions& options, const FFmpegX& engine) {
  std::map<std::string, std::string, std::less<>> layer;
  if (!options.format.empty()) {
    const FormatDefaultSet defaults =
        FormatDefaults(options.format, engine.CoreVideoCodec(), engine.CoreAudioCodec());
    for (const auto& [key, value] : defaults.Entries()) layer[LowerAscii(key)] = *value;
    layer["outputmode"] = options.format;
  }
  for (const auto& [key, value] : options.overrides) layer[key] = value;
  PreparedJob job;
  job.read = [layer = std::move(layer)](std::string_view key) {
    const auto found = layer.find(LowerAscii(key));
    return found != layer.end() ? found->second : ReadSetting(key);
  };
  job.task.source = options.file;
  job.task.outputFolder = options.output.empty() ? job.read("OutputFolder") : options.output;
  job.task.formatName = LowerAscii(job.read("OutputMode"));
  job.task.corePath = engine.Core();
  return job;
}

// Start-up, the engine's core, and the task set into the engine.
std::optional<PreparedJob> StartJob(CliHost& host, FFmpegX& engine, const JobOptions& options) {
  if (!StartCli(host, true) || !StartEngine(host, engine)) return std::nullopt;
  if (!FileExists(options.file)) {
    std::fprintf(stderr, "zel-cli: no such file: %s\n", options.file.c_str());
    return std::nullopt;
  }
  PreparedJob job = Prepare(options, engine);
  ConfigureConversion(engine, job.task, job.read);
  PreparePart(engine, job.task, job.read, 0, 1, 0, 0);
  return job;
}

void PrintField(const char* name, std::string_view value) {
  std::printf("%s: %.*s\n", name, static_cast<int>(value.size()), value.data());
}

}  // namespace

int Probe(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (args.size() != 1) {
    std::fprintf(stderr, "usage: zel-cli probe FILE\n");
    return 2;
  }
  const std::string file = Absolute(args[0]);
  FFmpegX engine;
  if (!StartCli(host, true) || !StartEngine(host, engine)) return 1;
  if (!FileExists(file)) {
    std::fprintf(stderr, "zel-cli: no such file: %s\n", file.c_str());
    return 1;
  }
  engine.SetFilename(file);
  PrintField("FileInfo", engine.FileInfo());
  for (const std::string& line : Split(engine.StreamInfo(), "\r\n")) {
    if (StartsWith(line, "Stream")) PrintField("Stream", line);
  }
  PrintField("Duration", FormatNumber(engine.Duration()));
  PrintField("VideoWidth", std::to_string(engine.VideoWidth()));
  PrintField("VideoHeight", std::to_string(engine.VideoHeight()));
  PrintField("FrameRate", FormatNumber(engine.FrameRate()));
  PrintField("SourceFormat", engine.SourceFormat());
  PrintField("VideoCodec", engine.VideoCodec());
  PrintField("AudioCodec", engine.AudioCodec());
  PrintField("AudioSampleRate", std::to_string(engine.AudioSampleRate()));
  PrintField("AudioChannels", FormatNumber(engine.AudioChannels()));
  PrintField("DefaultVideoStream", engine.DefaultVideoStream());
  PrintField("DefaultAudioStream", engine.DefaultAudioStream());
  PrintField("DefaultSubtitleStream", engine.DefaultSubtitleStream());
  return 0;
}

int Command(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const auto options = ParseJobOptions(args, true);
  if (!options) {
    std::fprintf(stderr,
                 "usage: zel-cli command [--format NAME] [--set Key=Value]... [--pass N] [--output DIR] FILE\n");
    return 2;
  }
  FFmpegX engine;
  if (!StartJob(host, engine, *options)) return 1;
  const int pass = options->pass >= 0 ? options->pass : (engine.Twopass ? 1 : 0);
  PrintField("legacy", engine.BuildCommand(pass));
  PrintField("run", engine.CommandToRun());
  return 0;
}

int Convert(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const auto options = ParseJobOptions(args, false);
  if (!options) {
    std::fprintf(stderr, "usage: zel-cli convert [--format NAME] [--set Key=Value]... [--output DIR] FILE\n");
    return 2;
  }
  FFmpegX engine;
  if (!StartJob(host, engine, *options)) return 1;
  const int result = RunEngineJob(engine);
  if (result == 0) PrintField("output", engine.OutputFileName());
  return result;
}

}  // namespace zel::cli
