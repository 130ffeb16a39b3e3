// FFmpegX's AviSynth script: the source opened with every effect of the AVS
// properties, and the SubStation file of its texts.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "engine/FFmpegX.h"
#include "subtitles/TextEncoding.h"

namespace zel {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Every script carries these, whether its body calls them or not.
constexpr std::string_view kCommonFunctions[] = {
    "function ConvertToChannel(clip1,clip2){",
    " clip1 = (Audiochannels(clip2) == 2) && (Audiochannels(clip1) == 1) ? clip1.MonoToStereo : clip1",
    " clip1 = (Audiochannels(clip2) == 1) && (Audiochannels(clip1) == 2) ? clip1.ConvertToMono : clip1",
    " return clip1",
    "}",
    "function MonoToStereo(clip a){",
    " Audiochannels(a)!=2",
    " \\  mono = GetChannel(a, 1)",
    " \\  MergeChannels(mono, mono)",
    "}",
    "function AutoYV12(clip Video) {",
    " Video = (isYV12(Video)==false) ? ConvertToYV12(Video) : Video",
    " return(Video)",
    "}",
    "function AutoYUY2(clip Video) {",
    " Video = (isYUY2(Video)==false) ? ConvertToYUY2(Video) : Video",
    " return(Video)",
    "}",
    "function ConvertToColorSpace(clip1,clip2) {",
    "clip1 = (clip2.isRGB32() && !clip1.isRGB32()) ? clip1.convertToRGB32(): clip1",
    "clip1 = (clip2.isRGB24() && !clip1.isRGB24()) ? clip1.convertToRGB24(): clip1",
    "clip1 = (clip2.isYUY2() && !clip1.isYUY2()) ? clip1.convertToYuy2(): clip1",
    "clip1 = (clip2.isYV12() && !clip1.isYV12()) ? clip1.convertToYv12(): clip1",
    "return clip1",
    "}",
};

// Subtitle types that the converter restyles; "sub" is a picture subtitle.
constexpr std::string_view kTextSubtitleTypes[] = {"ssa", "ass", "srt", "lrc", "ksc", "krc", "smi", "sami",
                                                   "snc", "qly", "utf", "stl", "vsf", "dks", "txt", "stxt"};

constexpr std::pair<int, std::string_view> kRotations[] = {
    {90, ".TurnRight()"}, {180, ".Turn180()"}, {270, ".TurnLeft()"}};
constexpr std::pair<int, std::string_view> kFlips[] = {{1, "FlipHorizontal()"}, {2, "FlipVertical()"}};

// An AviSynth string literal. The language has no escape inside "...", so a
// path holding a double quote goes in the triple-quoted form.
std::string Quoted(std::string_view text) {
  const std::string mark = Contains(text, "\"") ? "\"\"\"" : "\"";
  return mark + std::string(text) + mark;
}

std::string Number(double value) { return FormatNumber(value); }
std::string Number(float value) { return FormatNumber(value); }

// VB's Int: the next integer down.
long long Floor(double value) { return static_cast<long long>(std::floor(value)); }

// The fields of a font text: name, size, bold, italic, then others unused here.
struct FontFields {
  std::string name;
  double size = 0;
  bool bold = false, italic = false;
};

bool ReadsTrue(std::string_view field) {
  const std::string text = LowerAscii(Trim(field));
  return text == "true" || (IsNumeric(text) && Val(text) != 0);
}

FontFields ReadFont(std::string_view text) {
  const std::vector<std::string> fields = Split(text, ",");
  FontFields font;
  if (fields.size() > 0) font.name = Trim(fields[0]);
  if (fields.size() > 1) font.size = Val(fields[1]);
  if (fields.size() > 2) font.bold = ReadsTrue(fields[2]);
  if (fields.size() > 3) font.italic = ReadsTrue(fields[3]);
  return font;
}

std::string StyleTags(const FontFields& font) {
  return std::string(font.bold ? "\\b1" : "\\b0") + (font.italic ? "\\i1" : "\\i0");
}

// The leading numbers of a list such as "0,0,-0,-0"; missing ones are 0.
std::vector<double> Numbers(std::string_view text, std::string_view delimiter, size_t count) {
  std::vector<double> numbers(count, 0.0);
  const std::vector<std::string> fields = Split(text, delimiter);
  for (size_t i = 0; i < count && i < fields.size(); ++i) numbers[i] = Val(fields[i]);
  return numbers;
}

// A colour integer of the system, blue-green-red from its lowest byte, as the
// "$RRGGBB" of AviSynth.
std::string ScriptColour(std::string_view hex) {
  const unsigned long value = std::strtoul(std::string(Trim(hex)).c_str(), nullptr, 16);
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "$%02lX%02lX%02lX", value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
  return buffer;
}

// The three ways a clip `b` joins the video `a`, by the place in percent.
void AppendDissolve(std::vector<std::string>& lines, int percent) {
  const std::string p = std::to_string(percent);
  if (percent == 0) {
    lines.emplace_back("Dissolve(b,a,int(a.Framerate))");
  } else if (percent >= 1 && percent <= 99) {
    lines.push_back("v1 = a.Trim(0,Int(a.Framecount * " + p + " / 100))");
    lines.push_back("v2 = a.Trim(Int(a.Framecount * " + p + " / 100),0)");
    lines.emplace_back("Dissolve(v1,b,v2,int(a.Framerate))");
  } else {
    lines.emplace_back("Dissolve(a,b,int(a.Framerate))");
  }
}

// A code point of one UTF-8 character; a stray byte stands for itself.
char32_t CodePoint(std::string_view character) {
  const auto byte = [&character](size_t i) { return static_cast<unsigned char>(character[i]); };
  const size_t length = character.size();
  if (length == 2) return ((byte(0) & 0x1Fu) << 6) | (byte(1) & 0x3Fu);
  if (length == 3) return ((byte(0) & 0x0Fu) << 12) | ((byte(1) & 0x3Fu) << 6) | (byte(2) & 0x3Fu);
  if (length == 4) {
    return ((byte(0) & 0x07u) << 18) | ((byte(1) & 0x3Fu) << 12) | ((byte(2) & 0x3Fu) << 6) | (byte(3) & 0x3Fu);
  }
  return length == 0 ? 0 : byte(0);
}

// Characters a font draws a full em wide: Hangul Jamo, the CJK blocks with
// kana and Yi, Hangul syllables, compatibility ideographs and forms, and the
// full-width forms.
constexpr std::pair<char32_t, char32_t> kWideRanges[] = {
    {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
    {0xFE30, 0xFE4F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x20000, 0x3FFFD},
};

bool IsWide(char32_t c) {
  for (const auto& [first, last] : kWideRanges) {
    if (c >= first && c <= last) return true;
  }
  return false;
}

std::string JoinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + std::string(kLineEnd);
  return text;
}

// A setting's text in one line of a subtitle entry: a line break becomes the
// SubStation break, so that no empty line ends the entry early.
std::string OneLine(std::string_view text) {
  return ReplaceAll(ReplaceAll(ReplaceAll(text, "\r\n", "\\N"), "\n", "\\N"), "\r", "\\N");
}

// A text subtitle redrawn in the style of the AVS subtitle settings, on the
// converter's 320 by 240 frame in the Chinese character set.
SubtitleArguments RestyleArguments(const FFmpegX& engine, const std::string& target) {
  const FontFields font = ReadFont(engine.AVSSubtitleFont);
  SubtitleArguments args;
  args.outputPath = target;
  args.playResX = 320;
  args.playResY = 240;
  args.fontName = font.name;
  args.fontSize = RoundedOrZero(font.size);
  args.bold = font.bold ? -1 : 0;  // SubStation's own word for yes
  args.italic = font.italic ? -1 : 0;
  args.outline = RoundedOrZero(2.6);  // the outline argument holds whole widths only
  args.encoding = 134;
  args.foreColor = static_cast<int>(std::strtol(engine.AVSSubtitleColor.c_str(), nullptr, 16));
  args.shadowColor = static_cast<int>(std::strtol(engine.AVSSubtitleColorBorder.c_str(), nullptr, 16));
  args.alignment = engine.AVSSubtitleAlign;
  args.timeOffset = 0;  // burnt in, the texts keep the times of the file
  args.notifyDone = false;
  args.overwrite = true;
  return args;
}

}  // namespace

// No window system is asked, so the same text moves the same way everywhere:
// the screen is taken at 96 dots per inch (a point is 4/3 pixel), a wide
// character is one em across and any other half an em, and a line is 1.2 em
// high.
FFmpegX::TextExtent FFmpegX::MeasureText(std::string_view text, double points) {
  long long halfEms = 0;
  for (std::string_view character : Utf8Characters(text)) halfEms += IsWide(CodePoint(character)) ? 2 : 1;
  const double halfEm = points * 4.0 / 3.0 / 2.0;
  return {RoundedOrZero(static_cast<double>(halfEms) * halfEm), RoundedOrZero(points * 4.0 / 3.0 * 1.2)};
}

void FFmpegX::GenerateScript(const std::string& source, const std::string& scriptPath, int width, int height) {
  DeleteScratchFiles();
  const std::string text = ComposeScript(source, width, height);
  // A failed write leaves the tool to fail on its input, which reports it.
  WriteFileAtomic(scriptPath, text);
  if (TestMode && !outputDir_.empty()) {
    WriteFileAtomic(outputDir_ + FileNameOf(scriptPath), text);
  }
}

std::string FFmpegX::ComposeScript(const std::string& source, int width, int height) {
  std::vector<std::string> body;
  std::vector<std::string> functions(std::begin(kCommonFunctions), std::end(kCommonFunctions));

  body.emplace_back("SetMemoryMax(256)");
  scriptSubtitles_.clear();
  scriptPictureSubtitle_.clear();

  // ---- Opening: trim, rotation, and the join of several sources ----
  const float fps = targetFrameRate_;
  const float start = TimeStartPoint, end = TimeEndPoint;
  const std::string fpsText = fps > 0 ? ", fps=" + Number(fps) + ", convertfps=true" : std::string();
  std::string trimText;
  if (end - start > 0) {
    trimText = fps > 0 ? ".Trim(" + std::to_string(Floor(static_cast<double>(fps) * start)) + ", " +
                             std::to_string(Floor(static_cast<double>(fps) * end)) + ")"
                       : ".Trim(Int(fr * " + Number(start) + "), Int(fr * " + Number(end) + "))";
  }
  // Without a target rate the trim counts in the source's own frames.
  const bool rateLine = end - start > 0 && fps <= 0;
  std::string rotateText;
  for (const auto& [degrees, text] : kRotations) {
    if (AVSVideoRotate == degrees) rotateText = text;
  }
  auto open = [&fpsText](const std::string& path) { return "DirectshowSource(" + Quoted(path) + fpsText + ")"; };

  if (!Contains(source, "|")) {
    if (rateLine) body.push_back("fr = " + open(source) + ".Framerate");
    body.push_back(open(source) + trimText + rotateText);
  } else {
    const std::string rate = std::to_string(targetAudioSampleRate_ >= 1 ? targetAudioSampleRate_ : 44100);
    const std::vector<std::string> sources = Split(source, "|");
    // A clip keeps the number of its place in the list, so that a missing file
    // leaves a gap; the later clips follow the first one that is there.
    std::vector<std::string> clips;
    for (size_t i = 0; i < sources.size(); ++i) {
      if (!FileExists(sources[i])) continue;
      if (rateLine) body.push_back("fr = " + open(sources[i]) + ".Framerate");
      const std::string name = "i" + std::to_string(i);
      std::string line = name + " = " + open(sources[i]) + trimText + ".ResampleAudio(" + rate + ")";
      if (!clips.empty()) {
        const std::string& first = clips.front();
        line += ".ConvertToChannel(" + first + ").Lanczos4Resize(" + first + ".Width, " + first + ".Height)";
      }
      body.push_back(line + rotateText);
      clips.push_back(name);
    }
    if (!clips.empty()) {
      std::string joined = "last = ";
      for (size_t i = 0; i < clips.size(); ++i) joined += (i > 0 ? "+" : "") + clips[i];
      body.push_back(joined);
    }
  }

  // ---- Size and crop ----
  if (width > 0 && height > 0) {
    body.push_back("Lanczos4Resize(" + std::to_string(width) + ", " + std::to_string(height) + ")");
  }
  if (AVSScreenCrop != "0,0,-0,-0") {
    const std::vector<double> crop = Numbers(AVSScreenCrop, ",", 4);
    const double innerWidth = videoWidth_ - std::abs(crop[0]) - std::abs(crop[2]);
    const double innerHeight = videoHeight_ - std::abs(crop[1]) - std::abs(crop[3]);
    if (innerWidth >= 1 && innerHeight >= 1) {
      body.emplace_back("VideoCrop()");
      functions.insert(functions.end(), {"function VideoCrop(clip a){", "Crop(a, " + AVSScreenCrop + ")", "}"});
    }
  }

  // ---- Burnt-in texts ----
  const bool logo = AVSSubtitleEnableLogo && !AVSSubtitleStringLogo.empty();
  const bool banner = AVSSubtitleEnableBanner && !AVSSubtitleStringBanner.empty();
  if (FileExists(AVSVSFilterPath) && (logo || AVSEnableSubtitle || banner)) {
    body.push_back("LoadPlugin(" + Quoted(AVSVSFilterPath) + ")");
  }
  // A text subtitle in the chosen style when asked for; the file as it is
  // otherwise, and also when the restyling fails, so that the script never
  // names a file that is not there.
  auto textSub = [this, &body](const std::string& subtitle, const std::string& target) {
    std::string shown = subtitle;
    if (AVSEnableSubtitleFormat) {
      const SubtitleArguments args = RestyleArguments(*this, target);
      // The conversion is a step of this job, not a job of its own: the host
      // hears nothing of it, and the job's suffix and state stay as they were.
      const auto statusChange = std::exchange(StatusChange, nullptr);
      const auto progressChange = std::exchange(ProgressChange, nullptr);
      const std::string suffix = std::exchange(FileNameSuffix, {});
      // The job's subtitle encoding when it names one; the filter reads UTF-8 otherwise.
      const bool savable = SubtitleEncodeFormat >= kEncodingAnsi && SubtitleEncodeFormat <= kEncodingUtf16Be;
      const int encoding = std::exchange(SubtitleEncodeFormat, savable ? SubtitleEncodeFormat : kEncodingUtf8);
      const int status = status_;
      const std::string startTime = startTime_, endTime = endTime_;
      if (ConvertSubtitle({subtitle}, args) && FileExists(target)) shown = target;
      SubtitleEncodeFormat = encoding;
      StatusChange = statusChange;
      ProgressChange = progressChange;
      FileNameSuffix = suffix;
      status_ = status;
      startTime_ = startTime;
      endTime_ = endTime;
    }
    body.push_back("TextSub(" + Quoted(shown) + ")");
    scriptSubtitles_.push_back(shown);
  };
  if (AVSEnableSubtitle) {
    // A joined source has no companion of its own.
    const std::string subtitle = CheckSubtitle(source);
    const std::string pictures = std::string(SplitExtension(source).stem) + ".sub";
    if (!subtitle.empty()) {
      textSub(subtitle, scratchFile_ + "1.ssa");
    } else if (FileExists(pictures)) {
      body.push_back("TextSub(" + Quoted(pictures) + ")");
      scriptSubtitles_.push_back(pictures);
    }
  }
  if (FileExists(AVSOverallSubtitle)) {
    const std::string type = LowerAscii(ExtensionOf(AVSOverallSubtitle));
    if (std::find(std::begin(kTextSubtitleTypes), std::end(kTextSubtitleTypes), type) !=
        std::end(kTextSubtitleTypes)) {
      textSub(AVSOverallSubtitle, scratchFile_ + "2.ssa");
    } else if (type == "sub") {
      body.push_back("VobSub(" + Quoted(AVSOverallSubtitle) + ")");
      scriptPictureSubtitle_ = AVSOverallSubtitle;
    }
  }
  // The title has no trigger of its own: it shows with the logo or the banner.
  if (logo || banner) {
    const std::string overlay = scratchFile_ + "3.ssa";
    WriteTextOverlay(overlay);
    body.push_back("TextSub(" + Quoted(overlay) + ")");
    scriptSubtitles_.push_back(overlay);
  }

  // ---- Sound, cover and inserted clips ----
  if (AVSAudioReplace && FileExists(AVSAudioReplaceFileName)) {
    if (AVSAudioReplaceVolume > 100) AVSAudioReplaceVolume = 100;
    const double share = AVSAudioReplaceVolume / 100.0;
    body.emplace_back("BackMusic()");
    functions.insert(functions.end(),
                     {"function BackMusic(clip a){",
                      "b = DirectShowSource(" + Quoted(AVSAudioReplaceFileName) +
                          ").ResampleAudio(a.Audiorate).ConvertToChannel(a)",
                      "MixAudio(a, b, " + FormatFixed2(1 - share) + ", " + FormatFixed2(share) + ")", "}"});
  }
  if (AVSLayOver && AVSLayOverRect != "0,0,0,0") {
    const std::vector<double> rect = Numbers(AVSLayOverRect, ",", 4);
    body.emplace_back("LayOver()");
    functions.insert(functions.end(),
                     {"function LayOver(clip a){",
                      " b = BlankClip(length=a.Framecount, width=" + Number(rect[2]) + ", height=" + Number(rect[3]) +
                          ", fps=a.Framecount, color=" + ScriptColour(AVSLayOverColor) + ")",
                      " Overlay(a, b, x=" + Number(rect[0]) + ", y=" + Number(rect[1]) +
                          ", mode=\"Blend\", opacity=1.0)",
                      "}"});
  }
  if (AVSInsertVideo && FileExists(AVSInsertVideoFileName)) {
    body.emplace_back("VideoTitle()");
    functions.insert(functions.end(),
                     {"function VideoTitle(clip a) {",
                      "b = DirectShowSource(" + Quoted(AVSInsertVideoFileName) +
                          ", fps=30, convertfps=true).ChangeFPS(a.Framerate).ResampleAudio(a.Audiorate)"
                          ".ConvertToChannel(a).Lanczos4Resize(a.Width,a.Height)"});
    AppendDissolve(functions, AVSInsertVideoPosition);
    functions.emplace_back("}");
  }
  if (AVSInsertImage && FileExists(AVSInsertImageFileName) && AVSInsertImageTime >= 1) {
    const std::string seconds = std::to_string(AVSInsertImageTime);
    body.emplace_back("ImageTitle()");
    functions.insert(functions.end(),
                     {"function ImageTitle(clip a) {",
                      "Video = ImageSource(" + Quoted(AVSInsertImageFileName) +
                          ", end=0, fps=a.Framerate).assumefps(a,true).ConvertToColorSpace(a)"
                          ".Lanczos4Resize(a.Width,a.Height).Loop(int(a.Framerate * " + seconds + "))",
                      "Audio = BlankClip(length=int(a.Framerate * " + seconds +
                          "), color=$000000).ChangeFPS(a.Framerate).ResampleAudio(a.Audiorate).ConvertToChannel(a)",
                      "b = audiodub(Video,Audio)"});
    AppendDissolve(functions, AVSInsertImagePosition);
    functions.emplace_back("}");
  }
  if (AVSLogoImage && FileExists(AVSLogoImageFileName)) {
    const std::vector<double> place = Numbers(LowerAscii(AVSLogoImagePosition), "x", 2);
    body.emplace_back("ImageOverlay()");
    functions.insert(functions.end(),
                     {"function ImageOverlay(clip a){", " b = ImageSource(" + Quoted(AVSLogoImageFileName) + ")",
                      " Overlay(a, b, x=" + Number(place[0]) + ", y=" + Number(place[1]) +
                          ", mode=\"Blend\", opacity=1.0)",
                      "}"});
  }

  // ---- The user's own lines and the mirror ----
  if (!AVSUserScript.empty()) {
    // The store keeps the script on one line with "\n" for each line end; a real
    // line end counts the same.
    const std::string script = ReplaceAll(AVSUserScript, "\\n", "\n");
    body.emplace_back("modAddon()");
    functions.emplace_back("function modAddon(clip Video) {");
    for (std::string_view line : SplitLines(script, LastLine::Keep)) functions.emplace_back(line);
    functions.insert(functions.end(), {"return(Video)", "}"});
  }
  for (const auto& [kind, line] : kFlips) {
    if (AVSFlip == kind) body.emplace_back(line);
  }

  body.emplace_back("return last");
  body.emplace_back();
  return JoinLines(body) + JoinLines(functions);
}

void FFmpegX::WriteTextOverlay(const std::string& path, const std::string& sourceText) {
  const std::string border = AVSSubtitleColorBorder;
  std::vector<std::string> lines;

  if (!sourceText.empty() && FileExists(sourceText)) {
    const FontFields font = ReadFont(AVSSubtitleFont);
    const std::string style = "{" + StyleTags(font) + "\\fad(100,100)\\1c&H" + AVSSubtitleColor + "\\3c&H" + border +
                              "\\fn" + font.name + "\\fs" + Number(font.size) + "\\an" +
                              std::to_string(AVSSubtitleAlign) + "}";
    const std::string text = ReadText(sourceText);
    for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
      const std::string trimmed = Trim(line);
      const bool keep = Contains(line, "-->") || trimmed.empty() || IsNumeric(trimmed) ||
                        (Contains(line, "{") && Contains(line, "}"));
      lines.push_back((keep ? std::string() : style) + std::string(line));
    }
    WriteFileAtomic(path, JoinLines(lines));
    return;
  }

  auto entry = [&lines](const std::string& from, const std::string& to, const std::string& text) {
    lines.insert(lines.end(), {"0", from + " --> " + to, text, ""});
  };
  if (AVSSubtitleEnableBanner && !AVSSubtitleStringBanner.empty()) {
    const FontFields font = ReadFont(AVSSubtitleFontBanner);
    const TextExtent extent = MeasureText(AVSSubtitleStringBanner, font.size);
    const std::string w = std::to_string(extent.width), h = std::to_string(extent.height);
    entry(AVSSubtitleTimeStartBanner, AVSSubtitleTimeEndBanner,
          "{\\move(" + w + "," + h + ",-" + w + "," + h + ")" + StyleTags(font) + "\\fad(1000,300)\\1c&H" +
              AVSSubtitleColorBanner + "&\\3c&H" + border + "\\fn" + font.name + "\\fs" + Number(font.size) + "}" +
              OneLine(AVSSubtitleStringBanner));
  }
  auto still = [&](bool enabled, const std::string& text, const std::string& fontText, const std::string& colour,
                   int align, const std::string& from, const std::string& to) {
    if (!enabled || text.empty()) return;
    const FontFields font = ReadFont(fontText);
    entry(from, to,
          "{" + StyleTags(font) + "\\fad(300,300)\\1c&H" + colour + "\\3c&H" + border + "\\fn" + font.name + "\\fs" +
              Number(font.size) + "\\an" + std::to_string(align) + "}" + OneLine(text));
  };
  still(AVSSubtitleEnableLogo, AVSSubtitleStringLogo, AVSSubtitleFontLogo, AVSSubtitleColorLogo, AVSSubtitleAlignLogo,
        AVSSubtitleTimeStartLogo, AVSSubtitleTimeEndLogo);
  still(AVSSubtitleEnableTitle, AVSSubtitleStringTitle, AVSSubtitleFontTitle, AVSSubtitleColorTitle,
        AVSSubtitleAlignTitle, AVSSubtitleTimeStartTitle, AVSSubtitleTimeEndTitle);
  WriteFileAtomic(path, JoinLines(lines));
}

}  // namespace zel
