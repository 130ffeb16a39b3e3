// zel-cli identify and exec: a tool identified, a command line run through the engine.
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "cli/CliVerbs.h"
#include "engine/FFmpegX.h"

namespace zel::cli {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void OnInterrupt(int) { g_interrupted = 1; }

const char* DialectWord(ToolDialect dialect) { return dialect == ToolDialect::Today ? "today" : "legacy"; }

}  // namespace

bool Interrupted() { return g_interrupted != 0; }

void InstallInterruptHandlers() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGHUP, &action, nullptr);
  // A reader that goes away must not kill us before the tool is ended and its
  // partial output cleaned up.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that reaches the size limit is a failed write to report, not a
  // reason to die with a half-written file.
  std::signal(SIGXFSZ, SIG_IGN);
}

std::string ResolveTool(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const std::string found = FindOnPath(name);
  return found.empty() ? name : found;
}

int Identify(const Args& args) {
  if (args.size() != 1) {
    std::fprintf(stderr, "usage: zel-cli identify TOOL\n");
    return 2;
  }
  FFmpegX engine;
  engine.SetCore(ResolveTool(args[0]));
  std::printf("CoreStatus: %d\n", engine.CoreStatus());
  std::printf("CoreName: %s\n", engine.CoreName().c_str());
  std::printf("CoreVersion: %s\n", engine.CoreVersion().c_str());
  std::printf("CoreDialect: %s\n", DialectWord(engine.CoreDialect()));
  std::printf("CoreFormats: %s\n", engine.CoreFormats().c_str());
  std::printf("CoreVideoCodec: %s\n", engine.CoreVideoCodec().c_str());
  std::printf("CoreAudioCodec: %s\n", engine.CoreAudioCodec().c_str());
  std::printf("CoreSubtitleCodec: %s\n", engine.CoreSubtitleCodec().c_str());
  return engine.CoreStatus() != 0 ? 0 : 1;
}

int Exec(const Args& args) {
  std::string output, commandLine;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--output" && i + 1 < args.size()) {
      output = args[++i];
    } else if (commandLine.empty()) {
      commandLine = args[i];
    } else {
      std::fprintf(stderr, "zel-cli exec: give the command line as one argument, in quotes\n");
      return 2;
    }
  }
  if (commandLine.empty()) {
    std::fprintf(stderr, "usage: zel-cli exec [--output FILE] 'COMMAND LINE'\n");
    return 2;
  }

  FFmpegX engine;
  engine.Refresh = true;
  engine.CommandLine = commandLine;
  // With an output named, the run is judged by that file like a composed job:
  // a cancel removes it, a missing or tiny file is an error.
  engine.OnlyUseExtCommandLine = output.empty();
  engine.ForceOutputFileName = output;
  engine.Overwrite = true;

  return RunEngineJob(engine);
}

int RunEngineJob(FFmpegX& engine) {
  int lastStatus = -1;
  engine.StatusChange = [&](int status, const std::string& info) {
    lastStatus = status;
    std::printf("status %d %s %s\n", status, FFmpegX::GetStatusString(status).c_str(), info.c_str());
    std::fflush(stdout);
  };
  engine.ProgressChange = [](int value, int max, int fps, const std::string& remainder, const std::string&, bool) {
    std::printf("progress %d %d %d %s\n", value, max, fps, remainder.c_str());
    std::fflush(stdout);
  };
  bool cancelSent = false;
  engine.PumpEvents = [&] {
    if (g_interrupted && !cancelSent) {
      cancelSent = true;
      engine.CancelProcess();
    }
  };

  InstallInterruptHandlers();
  engine.StartProcess();
  if (g_interrupted) return 130;
  return lastStatus == kStatusComplete ? 0 : 1;
}

}  // namespace zel::cli
