// zel-cli avs: the AviSynth script a conversion of one file would write, with the
// settings of the store as a task of the main window has them.
#include <unistd.h>

#include <cstdio>
#include <map>

#include "cli/CliHost.h"
#include "cli/CliVerbs.h"
#include "engine/FFmpegX.h"
#include "jobs/EngineSetup.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/TaskLoop.h"
#include "subtitles/FileHelpers.h"
#include "subtitles/TextHelpers.h"

namespace zel::cli {
namespace {

struct ScriptOptions {
  std::string format;
  std::string output;
  std::map<std::string, std::string, std::less<>> overrides;  // keys in lower case
  std::string file;
};

// A relative name becomes absolute, as the script names the source whole.
std::string Absolute(const std::string& path) {
  if (path.empty() || path[0] == '/') return path;
  char buffer[4096];
  if (::getcwd(buffer, sizeof buffer) == nullptr) return path;
  return cPath(buffer) + path;
}

bool Parse(const Args& args, ScriptOptions& options) {
  bool onlyFiles = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool hasValue = i + 1 < args.size();
    const bool option = !onlyFiles && StartsWith(arg, "--");
    if (option && arg == "--") {
      onlyFiles = true;
    } else if (option && arg == "--format" && hasValue) {
      options.format = args[++i];
    } else if (option && arg == "--output" && hasValue) {
      options.output = Absolute(args[++i]);
    } else if (option && arg == "--set" && hasValue) {
      const std::string pair = args[++i];
      const size_t equals = pair.find('=');
      if (equals == std::string::npos || equals == 0) return false;
      options.overrides[LowerAscii(pair.substr(0, equals))] = pair.substr(equals + 1);
    } else if (!option && options.file.empty()) {
      options.file = Absolute(arg);
    } else {
      return false;
    }
  }
  return !options.file.empty();
}

// The store, the chosen format's own starting values, then the caller's
// overrides; nothing is written to the store.
SettingReader ReaderFor(const ScriptOptions& options, const FFmpegX& engine) {
  std::map<std::string, std::string, std::less<>> layer;
  if (!options.format.empty()) {
    const FormatDefaultSet defaults =
        FormatDefaults(options.format, engine.CoreVideoCodec(), engine.CoreAudioCodec());
    for (const auto& [key, value] : defaults.Entries()) layer[LowerAscii(key)] = *value;
    layer["outputmode"] = options.format;
  }
  if (!options.output.empty()) layer["outputfolder"] = options.output;
  for (const auto& [key, value] : options.overrides) layer[key] = value;
  return [layer = std::move(layer)](std::string_view key) {
    const auto found = layer.find(LowerAscii(key));
    return found != layer.end() ? found->second : ReadSetting(key);
  };
}

}  // namespace

int Avs(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  ScriptOptions options;
  if (!Parse(args, options)) {
    std::fprintf(stderr, "usage: zel-cli avs [--format NAME] [--set Key=Value]... [--output DIR] FILE\n");
    return 2;
  }
  FFmpegX engine;
  if (!StartCli(host, true) || !StartEngine(host, engine)) return 1;
  if (!FileExists(options.file)) {
    std::fprintf(stderr, "zel-cli: no such file: %s\n", options.file.c_str());
    return 1;
  }

  const SettingReader read = ReaderFor(options, engine);
  ConversionTask task;
  task.source = options.file;
  task.outputFolder = read("OutputFolder");
  task.formatName = LowerAscii(read("OutputMode"));
  task.corePath = engine.Core();
  const bool mencoder = IsMEncoderJob(task.source, task.formatName, Shared().ToolMencoder);
  if (mencoder) task.corePath = Shared().ToolMencoder;
  ConfigureConversion(engine, task, read);
  PreparePart(engine, task, read, 0, 1, 0, 0);
  if (mencoder) engine.SetForceFormat(ReplaceAllNoCase(task.formatName, "/me", ""));
  // The script is shown whether or not AviSynth could read it here.
  engine.AVSEnabled = true;
  engine.BuildCommand(0);

  // The engine removes its scratch files when it goes, so the script is read now.
  const std::string script = ReadText(engine.ScriptPath());
  if (script.empty()) {
    std::fprintf(stderr, "zel-cli: no script was written\n");
    return 1;
  }
  std::fwrite(script.data(), 1, script.size(), stdout);
  return 0;
}

}  // namespace zel::cli
