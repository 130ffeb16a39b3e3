// zel-cli subtitle: subtitle and lyric files converted into one output, with the
// values of a subtitle task of the main window unless an option says otherwise.
#include <unistd.h>

#include <cstdio>
#include <optional>

#include "cli/CliHost.h"
#include "engine/FFmpegX.h"
#include "jobs/EngineSetup.h"
#include "jobs/Settings.h"
#include "base/FileHelpers.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"

namespace zel::cli {
namespace {

constexpr const char* kUsage =
    "usage: zel-cli subtitle IN... -o OUT [--offset SECONDS] [--encoding ANSI|UTF8|Unicode|\"Unicode big endian\"]\n"
    "       [--karaoke 0|1|2] [--speed X] [--font NAME] [--size N] [--cut START END] [--title TEXT]\n"
    "       [--banner TEXT] [--big5 0|1|2] [--overwrite]\n";


struct SubtitleOptions {
  std::vector<std::string> inputs;
  SubtitleArguments args;
  std::string encoding;
};

bool IsNumber(const std::string& text) { return IsNumeric(Trim(text)); }

std::optional<SubtitleOptions> ParseSubtitleOptions(const Args& args) {
  SubtitleOptions options;
  options.args = SubtitleTaskArguments([](std::string_view key) { return ReadSetting(key); });
  options.encoding = ReadSetting("SubtitleEncodeFormat");
  bool onlyFiles = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool option = !onlyFiles && StartsWith(arg, "-") && arg.size() > 1;
    const bool hasValue = i + 1 < args.size();
    SubtitleArguments& a = options.args;
    if (!option) {
      options.inputs.push_back(AbsolutePath(arg));
    } else if (arg == "--") {
      onlyFiles = true;
    } else if ((arg == "-o" || arg == "--output") && hasValue) {
      a.outputPath = AbsolutePath(args[++i]);
    } else if (arg == "--offset" && hasValue && IsNumber(args[i + 1])) {
      a.timeOffset = Val(args[++i]);
    } else if (arg == "--encoding" && hasValue) {
      options.encoding = args[++i];
      if (options.encoding != "ANSI" && options.encoding != "UTF8" && options.encoding != "Unicode" &&
          options.encoding != "Unicode big endian") {
        return std::nullopt;
      }
    } else if (arg == "--karaoke" && hasValue && IsNumber(args[i + 1])) {
      a.karaokeStyle = static_cast<int>(Val(args[++i]));
    } else if (arg == "--speed" && hasValue && IsNumber(args[i + 1])) {
      a.speed = Val(args[++i]);
    } else if (arg == "--font" && hasValue) {
      a.fontName = args[++i];
    } else if (arg == "--size" && hasValue && IsNumber(args[i + 1])) {
      a.fontSize = static_cast<int>(Val(args[++i]));
    } else if (arg == "--cut" && i + 2 < args.size() && IsNumber(args[i + 1]) && IsNumber(args[i + 2])) {
      a.cutStart = Val(args[++i]);
      a.cutEnd = Val(args[++i]);
    } else if (arg == "--title" && hasValue) {
      // A title of several lines is written with "\n" on the command line.
      a.title = ReplaceAll(args[++i], "\\n", "\r\n");
    } else if (arg == "--banner" && hasValue) {
      a.banner = args[++i];
    } else if (arg == "--big5" && hasValue && IsNumber(args[i + 1])) {
      a.big5Mode = static_cast<int>(Val(args[++i]));
    } else if (arg == "--overwrite") {
      a.overwrite = true;
    } else {
      return std::nullopt;
    }
  }
  if (options.inputs.empty() || options.args.outputPath.empty()) return std::nullopt;
  return options;
}

}  // namespace

int Subtitle(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (!StartCli(host, false)) return 1;
  const auto options = ParseSubtitleOptions(args);
  if (!options) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  FFmpegX engine;
  engine.SubtitleEncodeFormat = SubtitleEncodingNumber(options->encoding);
  engine.ProgressChange = [](int value, int max, int, const std::string&, const std::string&, bool finished) {
    if (!finished) std::printf("progress %d %d\n", value, max);
  };
  // The converter answers these cases with a plain false; say why.
  for (const std::string& input : options->inputs) {
    if (!FileExists(input)) {
      std::fprintf(stderr, "zel-cli: no such file, passed over: %s\n", input.c_str());
    } else if (SubtitleInputType(input) == kSubtitleUnknown) {
      std::fprintf(stderr, "zel-cli: not a subtitle or lyric type: %s\n", input.c_str());
    } else {
      int encoding = kEncodingDetect;
      if (!HasLineEnd(UEFLoadTextFile(input, encoding))) {
        std::fprintf(stderr, "zel-cli: no line end (one line or none), so nothing is read: %s\n", input.c_str());
      }
    }
  }
  std::string output;
  engine.StatusChange = [&](int status, const std::string& info) {
    if (status == kStatusError) std::fprintf(stderr, "zel-cli: %s\n", info.c_str());
    if (status == kStatusComplete) output = info;
  };
  if (!engine.ConvertSubtitle(options->inputs, options->args)) {
    if (output.empty()) std::fprintf(stderr, "zel-cli: no subtitle was written\n");
    return 1;
  }
  std::printf("output: %s\n", output.c_str());
  return 0;
}

}  // namespace zel::cli
