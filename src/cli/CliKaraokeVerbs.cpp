// zel-cli karaoke: the karaoke video of a music file and pictures, made as the
// task loop makes it; without an output folder, the script, picture list and
// lyrics the job would write, printed and not run.
#include <unistd.h>

#include <cstdio>
#include <random>

#include "cli/CliHost.h"
#include "engine/FFmpegX.h"
#include "cli/CliVerbs.h"
#include "jobs/KaraokeGraph.h"
#include "jobs/KaraokeJob.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "base/FileHelpers.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"

namespace zel::cli {
namespace {


void PrintFile(const char* name, const std::string& path) {
  int encoding = kEncodingDetect;
  std::printf("%s: %s\n%s", name, path.c_str(), UEFLoadTextFile(path, encoding).c_str());
}

}  // namespace

int Karaoke(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  KaraokeInput input;
  std::string outputFolder, format = "mp4";
  bool usage = false;
  for (size_t i = 0; i < args.size() && !usage; ++i) {
    const std::string& arg = args[i];
    const bool value = i + 1 < args.size();
    if (arg == "--music" && value) {
      input.musicPath = AbsolutePath(args[++i]);
    } else if (arg == "--lyrics" && value) {
      input.lyricPath = AbsolutePath(args[++i]);
    } else if (arg == "--video" && value) {
      input.videoPath = AbsolutePath(args[++i]);
    } else if (arg == "--output" && value) {
      outputFolder = AbsolutePath(args[++i]);
    } else if (arg == "--format" && value) {
      format = LowerAscii(args[++i]);
    } else if (arg == "--fit") {
      input.fitPictures = true;
    } else if (!StartsWith(arg, "-")) {
      input.pictures.push_back(AbsolutePath(arg));
    } else {
      usage = true;
    }
  }
  if (usage || input.musicPath.empty() || (input.pictures.empty() && input.videoPath.empty())) {
    std::fprintf(stderr, "usage: zel-cli karaoke --music FILE [--lyrics FILE] [--video FILE] [--fit] [--output DIR [--format NAME]] "
                 "PICTURE...\n");
    return 2;
  }
  FFmpegX engine;
  if (!StartCli(host, true) || !StartEngine(host, engine)) return 1;
  for (const std::string* path : {&input.musicPath, &input.lyricPath, &input.videoPath}) {
    if (!path->empty() && !FileExists(*path)) {
      std::fprintf(stderr, "zel-cli: no such file: %s\n", path->c_str());
      return 1;
    }
  }
  if (!outputFolder.empty() && !DirectoryExists(outputFolder)) {
    std::fprintf(stderr, "zel-cli: %s\n", std::string(MsgNoSuchOutputPath).c_str());
    return 1;
  }
  engine.SetFilename(input.musicPath);
  input.durationSeconds = RoundedOrZero(engine.Duration());
  const std::string size = LowerAscii(ReadSetting("VideoSize"));
  if (const size_t cross = size.find('x'); cross != std::string::npos && Val(size) > 0) {
    input.width = static_cast<int>(Val(size));
    input.height = static_cast<int>(Val(size.substr(cross + 1)));
  }
  input.subtitlePlugin = Shared().ToolVsfilter;
  input.picturePlugin = Shared().ToolPictureShow;
  const std::string scratch = CreateTempFile("ZELKTV", "");
  input.scriptPath = scratch + ".avs";
  input.listPath = scratch + ".lst";
  input.ssaPath = scratch + ".ssa";
  std::mt19937 random(std::random_device{}());
  // With AviSynth the script is the video's source, read the right way up.
  const bool viaScript = !outputFolder.empty() && FFmpegX::AviSynthInstalled();
  engine.AVSEnabled = viaScript;
  std::vector<int> effects;
  const bool written = WriteKaraokeJob(
      engine, input, [](std::string_view key) { return ReadSetting(key); },
      [&random] { return static_cast<unsigned>(random()); }, {}, &effects);
  int result = written ? 0 : 1;
  if (!written) {
    std::fprintf(stderr, "zel-cli: %s\n", std::string(MsgCannotCreateFile).c_str());
  } else if (!outputFolder.empty()) {
    engine.SetOutputDir(outputFolder);
    engine.SetForceFormat(format);
    if (viaScript) {
      engine.CustomFileName = "MV_" + BaseNameOf(input.musicPath);
      engine.SetFilename(input.scriptPath);
    } else {
      SetKaraokeGraphRun(engine, Shared().ToolFfmpeg, input, effects,
                         !input.lyricPath.empty() && FileExists(input.ssaPath));
    }
    engine.Refresh = true;
    result = RunEngineJob(engine);
  } else {
    PrintFile("script", input.scriptPath);
    PrintFile("list", input.listPath);
    if (FileExists(input.ssaPath)) PrintFile("lyrics", input.ssaPath);
  }
  for (const char* suffix : {"", ".avs", ".lst", ".ssa"}) DeleteFile(scratch + suffix);
  return result;
}

}  // namespace zel::cli
