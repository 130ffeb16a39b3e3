// zel-cli probe, command, avs and convert: one file described, its command and
// AviSynth script composed, and converted, with the settings of the store as a
// task of the main window has them.
#include <unistd.h>

#include <cstdio>
#include <map>
#include <optional>
#include <vector>

#include "cli/CliHost.h"
#include "engine/FFmpegX.h"
#include "jobs/EngineSetup.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/ListboxModel.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/TaskLoop.h"
#include "jobs/Tasks.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel::cli {
namespace {

struct JobOptions {
  std::string format;
  std::map<std::string, std::string, std::less<>> overrides;  // keys in lower case
  std::string output;
  int pass = -1;
  std::string file;                 // the first file
  std::vector<std::string> files;   // every file, in order
  std::string list;                 // a saved task list to start from
  // Start, end and parts for each file: the last "--cut" before it, if any.
  std::vector<std::vector<std::string>> cuts;
};


// `manyFiles` allows several files, a saved list and cut points: a task list.
std::optional<JobOptions> ParseJobOptions(const Args& args, bool allowPass, bool manyFiles = false) {
  JobOptions options;
  bool onlyFiles = false;
  std::vector<std::string> cut;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool hasValue = i + 1 < args.size();
    const bool option = !onlyFiles && StartsWith(arg, "--");
    if (option && arg == "--") {
      onlyFiles = true;
    } else if (option && arg == "--format" && hasValue) {
      options.format = args[++i];
    } else if (option && arg == "--set" && hasValue) {
      const std::string pair = args[++i];
      const size_t equals = pair.find('=');
      if (equals == std::string::npos || equals == 0) return std::nullopt;
      options.overrides[LowerAscii(pair.substr(0, equals))] = pair.substr(equals + 1);
    } else if (option && arg == "--output" && hasValue) {
      options.output = AbsolutePath(args[++i]);
    } else if (option && arg == "--pass" && hasValue && allowPass) {
      options.pass = static_cast<int>(Val(args[++i]));
    } else if (option && arg == "--list" && hasValue && manyFiles) {
      options.list = AbsolutePath(args[++i]);
    } else if (option && arg == "--cut" && i + 3 < args.size() && manyFiles) {
      cut.assign(args.begin() + static_cast<long>(i) + 1, args.begin() + static_cast<long>(i) + 4);
      i += 3;
    } else if (!option && (manyFiles || options.files.empty())) {
      options.files.push_back(AbsolutePath(arg));
      options.cuts.push_back(cut);
    } else {
      return std::nullopt;
    }
  }
  if (options.files.empty() && options.list.empty()) return std::nullopt;
  if (!options.files.empty()) options.file = options.files.front();
  return options;
}

// The run as the main window would start it: the store's settings, the chosen
// format's own starting values, then the caller's overrides.
struct PreparedJob {
  ConversionTask task;
  SettingReader read;
};

// The store, the chosen format's own starting values, then the caller's
// overrides; nothing is written to the store.
SettingReader ReaderFor(const JobOptions& options, const FFmpegX& engine) {
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

PreparedJob Prepare(const JobOptions& options, const FFmpegX& engine) {
  PreparedJob job;
  job.read = ReaderFor(options, engine);
  job.task.source = options.file;
  job.task.outputFolder = job.read("OutputFolder");
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
  const bool mencoder = IsMEncoderJob(job.task.source, job.task.formatName, Shared().ToolMencoder);
  if (mencoder) job.task.corePath = Shared().ToolMencoder;
  ConfigureConversion(engine, job.task, job.read);
  PreparePart(engine, job.task, job.read, 0, 1, 0, 0);
  if (mencoder) engine.SetForceFormat(ReplaceAllNoCase(job.task.formatName, "/me", ""));
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
  const std::string file = AbsolutePath(args[0]);
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

int Avs(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const auto options = ParseJobOptions(args, false);
  if (!options) {
    std::fprintf(stderr, "usage: zel-cli avs [--format NAME] [--set Key=Value]... [--output DIR] FILE\n");
    return 2;
  }
  FFmpegX engine;
  if (!StartJob(host, engine, *options)) return 1;
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

int Convert(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const auto options = ParseJobOptions(args, false, true);
  if (!options) {
    std::fprintf(stderr,
                 "usage: zel-cli convert [--format NAME] [--set Key=Value]... [--output DIR] [--list FILE.ini] "
                 "[[--cut START END PARTS] FILE]...\n"
                 "       --cut sets the points of the files after it; \"--cut 0 0 0\" returns to the global ones\n");
    return 2;
  }
  FFmpegX engine;
  if (!StartCli(host, true) || !StartEngine(host, engine)) return 1;

  ListboxModel tasks;
  if (!options->list.empty()) {
    if (!FileExists(options->list)) {
      std::fprintf(stderr, "zel-cli: no such list: %s\n", options->list.c_str());
      return 1;
    }
    tasks.LoadListFromFile(options->list);
  }
  // A missing file becomes a task all the same: the run reports it at its turn.
  for (size_t i = 0; i < options->files.size(); ++i) {
    AddToTaskList(tasks, options->files[i]);
    const std::vector<std::string>& cut = options->cuts[i];
    if (cut.size() == 3) {
      const int last = tasks.ListCount() - 1;
      tasks.SetListOther(last, CutRecordText(cut[0], cut[1], cut[2]));
      tasks.SetListComment(last, CutComment(cut[0], cut[1], cut[2]));
    }
  }
  // A folder named on the command line is wanted: make it, as a save dialog would.
  if (!options->output.empty()) MakedPath(options->output);

  TaskLoop loop(engine, tasks, host, ReaderFor(*options, engine));
  loop.aviSynthUsable = FFmpegX::AviSynthInstalled();
  loop.Info().LineReplaced = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
  host.onInterrupt = [&loop] { loop.Cancel(); };
  InstallInterruptHandlers();
  if (!loop.CheckTasks()) return 1;
  loop.RunTasks();
  for (const std::string& path : loop.PassedOver()) std::fprintf(stderr, "zel-cli: no job takes %s\n", path.c_str());
  for (const std::string& output : loop.OutputList()) PrintField("output", output);
  if (Interrupted()) return 130;
  const bool everyTask = loop.PassedOver().empty() && loop.JobsStarted() > 0;
  return everyTask && loop.JobsSucceeded() >= loop.JobsStarted() ? 0 : 1;
}

}  // namespace zel::cli
