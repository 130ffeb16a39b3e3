// zel-cli thumbs, frame and image: a sheet of frames, one frame, and a still
// picture converted, made by the engine itself without the tool.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "cli/CliHost.h"
#include "engine/FFmpegX.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel::cli {
namespace {


bool IsNumber(const std::string& text) { return IsNumeric(Trim(text)); }

int HexSetting(std::string_view key) {
  return static_cast<int>(std::strtol(ReadSetting(key).c_str(), nullptr, 16));
}

// The picture's format from the output's extension; JPEG when it has none.
std::string FormatOf(const std::string& path) {
  const std::string extension = LowerAscii(ExtensionOf(path));
  return extension.empty() ? "jpg" : extension;
}

// Follows a picture job on the terminal; Ctrl-C cancels between cells.
int RunScreenshot(ScreenshotRequest& request) {
  FFmpegX engine;
  InstallInterruptHandlers();
  engine.PumpEvents = [&engine] {
    if (Interrupted() && engine.Processing()) engine.CancelProcess();
  };
  engine.ProgressChange = [](int value, int max, int, const std::string&, const std::string&, bool finished) {
    if (!finished) std::printf("progress %d %d\n", value, max);
  };
  engine.StatusChange = [](int status, const std::string& info) {
    if (status == kStatusError) std::fprintf(stderr, "zel-cli: %s\n", info.c_str());
  };
  if (!FileExists(request.source)) {
    std::fprintf(stderr, "zel-cli: no such file: %s\n", request.source.c_str());
    return 1;
  }
  const bool made = engine.Screenshot(request);
  if (Interrupted()) return 130;
  if (!made) return 1;
  std::printf("output: %s\n", request.outputPath.c_str());
  return 0;
}

}  // namespace

int Thumbs(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (!StartCli(host, false)) return 1;
  ScreenshotRequest r;
  const std::vector<std::string> matrix = Split(LowerAscii(ReadSetting("ImageGrabberThumbMatrix")), "x");
  r.columns = matrix.empty() ? 3 : static_cast<int>(Val(matrix[0]));
  r.rows = matrix.size() < 2 ? 5 : static_cast<int>(Val(matrix[1]));
  r.spacing = static_cast<int>(Val(ReadSetting("ImageGrabberThumbSpacing")));
  r.maxWidth = static_cast<int>(Val(ReadSetting("ImageGrabberMaxWidth")));
  r.backColor = HexSetting("ImageGrabberBackColor");
  r.foreColor = HexSetting("ImageGrabberForeColor");
  r.comment = ReadSetting("ImageGrabberCommentString");
  r.showTime = false;
  r.quality = static_cast<int>(Val(ReadSetting("ImageQuality")));
  bool usage = false;
  for (size_t i = 0; i < args.size() && !usage; ++i) {
    const std::string& arg = args[i];
    const bool value = i + 1 < args.size();
    if (arg == "--matrix" && value) {
      const std::vector<std::string> cr = Split(LowerAscii(args[++i]), "x");
      usage = cr.size() != 2 || Val(cr[0]) < 1 || Val(cr[1]) < 1;
      if (!usage) r.columns = static_cast<int>(Val(cr[0])), r.rows = static_cast<int>(Val(cr[1]));
    } else if (arg == "--spacing" && value && IsNumber(args[i + 1])) {
      r.spacing = static_cast<int>(Val(args[++i]));
    } else if (arg == "--max-width" && value && IsNumber(args[i + 1])) {
      r.maxWidth = static_cast<int>(Val(args[++i]));
    } else if (arg == "--time-string") {
      r.showTime = true;
    } else if (arg == "--comment" && value) {
      r.comment = args[++i];
    } else if (arg == "--start" && value && IsNumber(args[i + 1])) {
      r.rangeStart = Val(args[++i]);
    } else if (arg == "--end" && value && IsNumber(args[i + 1])) {
      r.rangeEnd = Val(args[++i]);
    } else if (arg == "-o" && value) {
      r.outputPath = AbsolutePath(args[++i]);
    } else if (!StartsWith(arg, "-") && r.source.empty()) {
      r.source = AbsolutePath(arg);
    } else {
      usage = true;
    }
  }
  if (usage || r.source.empty() || r.outputPath.empty()) {
    std::fprintf(stderr,
                 "usage: zel-cli thumbs FILE [--matrix CxR] [--spacing N] [--max-width N] [--time-string] "
                 "[--comment TEXT] [--start S --end E] -o OUT\n");
    return 2;
  }
  r.format = FormatOf(r.outputPath);
  return RunScreenshot(r);
}

int Frame(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (!StartCli(host, false)) return 1;
  ScreenshotRequest r;
  r.quality = static_cast<int>(Val(ReadSetting("ImageQuality")));
  bool usage = false, timed = false;
  for (size_t i = 0; i < args.size() && !usage; ++i) {
    const std::string& arg = args[i];
    if (arg == "--time" && i + 1 < args.size() && IsNumber(args[i + 1])) {
      r.time = Val(args[++i]);
      timed = true;
    } else if (arg == "-o" && i + 1 < args.size()) {
      r.outputPath = AbsolutePath(args[++i]);
    } else if (!StartsWith(arg, "-") && r.source.empty()) {
      r.source = AbsolutePath(arg);
    } else {
      usage = true;
    }
  }
  if (usage || !timed || r.source.empty() || r.outputPath.empty()) {
    std::fprintf(stderr, "usage: zel-cli frame FILE --time SECONDS -o OUT.(jpg|png|bmp|tif)\n");
    return 2;
  }
  r.format = FormatOf(r.outputPath);
  return RunScreenshot(r);
}

int Image(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (!StartCli(host, false)) return 1;
  std::string input, output, size, format;
  int quality = static_cast<int>(Val(ReadSetting("ImageQuality")));
  bool usage = false;
  for (size_t i = 0; i < args.size() && !usage; ++i) {
    const std::string& arg = args[i];
    const bool value = i + 1 < args.size();
    if (arg == "-o" && value) {
      output = AbsolutePath(args[++i]);
    } else if (arg == "--size" && value) {
      size = args[++i];
    } else if (arg == "--quality" && value && IsNumber(args[i + 1])) {
      quality = static_cast<int>(Val(args[++i]));
    } else if (arg == "--format" && value) {
      format = LowerAscii(args[++i]);
    } else if (!StartsWith(arg, "-") && input.empty()) {
      input = AbsolutePath(arg);
    } else {
      usage = true;
    }
  }
  if (usage || input.empty() || output.empty()) {
    std::fprintf(stderr, "usage: zel-cli image IN -o OUT --size TEXT [--quality N] [--format KEY]\n");
    return 2;
  }
  if (!FileExists(input)) {
    std::fprintf(stderr, "zel-cli: no such file: %s\n", input.c_str());
    return 1;
  }
  // Never over the picture being read, nor over another file unless asked.
  const std::string target = RenameExists(output, ReadSetting("FileExistsOverwrite") == StrYes && output != input);
  FFmpegX engine;
  if (!engine.ConvertImage(input, target, format.empty() ? FormatOf(output) : format, size, quality, 24, 6)) {
    std::fprintf(stderr, "zel-cli: %s\n", std::string(MsgCannotCreateFile).c_str());
    return 1;
  }
  std::printf("output: %s\n", target.c_str());
  return 0;
}

}  // namespace zel::cli
