// FFmpegX's script effects without AviSynth: the steps of the script, in its
// order, as one FFmpeg filter graph over the real sources.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "engine/FFmpegX.h"

namespace zel {

namespace {

constexpr std::pair<int, std::string_view> kTurns[] = {
    {90, "transpose=clock"}, {180, "hflip,vflip"}, {270, "transpose=cclock"}};
constexpr std::pair<int, std::string_view> kFlips[] = {{1, "hflip"}, {2, "vflip"}};

std::string Number(double value) { return FormatNumber(value); }

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
  std::string joined;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    if (!joined.empty()) joined += separator;
    joined += part;
  }
  return joined;
}

// A chain of filters; a stream that passes unchanged still needs one.
std::string Chain(const std::vector<std::string>& filters, std::string_view none) {
  const std::string chain = Join(filters, ",");
  return chain.empty() ? std::string(none) : chain;
}

// The leading numbers of a list such as "0,0,-0,-0"; missing ones are 0.
std::vector<double> Numbers(std::string_view text, std::string_view delimiter, size_t count) {
  std::vector<double> numbers(count, 0.0);
  const std::vector<std::string> fields = Split(text, delimiter);
  for (size_t i = 0; i < count && i < fields.size(); ++i) numbers[i] = Val(fields[i]);
  return numbers;
}

// The system's colour integer, blue-green-red from its lowest byte, as FFmpeg's
// "0xRRGGBB": the same bytes the script's "$RRGGBB" holds.
std::string GraphColour(std::string_view hex) {
  const unsigned long value = std::strtoul(std::string(Trim(hex)).c_str(), nullptr, 16);
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%02lX%02lX%02lX", value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
  return buffer;
}

// A second sound brought to the channels of the first as the script does it: a
// mono sound doubled at its full level, a stereo one averaged; FFmpeg's own
// mixing would lower both by 3 dB.
std::string ToChannels(int channels, std::string_view layout) {
  if (channels == 1 && layout == "stereo") return "pan=stereo|c0=c0|c1=c0";
  if (channels == 2 && layout == "mono") return "pan=mono|c0=0.5*c0+0.5*c1";
  return "aformat=channel_layouts=" + std::string(layout);
}

// Chains of the graph with labels of their own; `Apply` runs a filter on a
// stream and hands back the label of its result.
class GraphBuilder {
 public:
  std::string Apply(const std::string& inputs, std::string_view filter, char kind) {
    const std::string output = std::string("[") + kind + std::to_string(count_++) + "]";
    chains_.push_back(inputs + std::string(filter) + output);
    return output;
  }
  // A filter of two outputs: two streams of one kind, or a picture and its sound.
  std::pair<std::string, std::string> ApplyTwo(const std::string& inputs, std::string_view filter, char first,
                                               char second) {
    const std::string one = std::string("[") + first + std::to_string(count_++) + "]";
    const std::string two = std::string("[") + second + std::to_string(count_++) + "]";
    chains_.push_back(inputs + std::string(filter) + one + two);
    return {one, two};
  }
  std::string Text() const { return Join(chains_, ";"); }

 private:
  std::vector<std::string> chains_;
  int count_ = 0;
};

}  // namespace

std::string FFmpegX::TextOverlayAsSubStation(std::string_view numberedText) {
  // "00:00:05,000" as "0:00:05.00".
  auto time = [](std::string_view text) {
    const std::vector<double> parts = Numbers(ReplaceAll(Trim(text), ",", ":"), ":", 4);
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%d:%02d:%02d.%02d", static_cast<int>(parts[0]), static_cast<int>(parts[1]),
                  static_cast<int>(parts[2]), static_cast<int>(parts[3]) / 10);
    return std::string(buffer);
  };
  std::string text =
      "[Script Info]\r\nScriptType: v4.00+\r\nPlayResX: 384\r\nPlayResY: 288\r\n\r\n[V4+ Styles]\r\n"
      "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, BackColour, Bold, Italic, "
      "Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, BorderStyle, Outline, Shadow, Alignment, MarginL, "
      "MarginR, MarginV, Encoding\r\n"
      "Style: Default,Arial,18,&H00FFFFFF,&H00FFFFFF,&H00000000,&H00000000,0,0,0,0,100,100,0,0,1,2,0,2,10,10,10,1"
      "\r\n\r\n[Events]\r\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\r\n";
  std::string from, to, lines;
  auto flush = [&] {
    if (!from.empty()) text += "Dialogue: 0," + from + "," + to + ",Default,,0,0,0,," + lines + "\r\n";
    from.clear();
    lines.clear();
  };
  for (std::string_view line : SplitLines(numberedText, LastLine::KeepIfNotEmpty)) {
    const size_t arrow = line.find("-->");
    if (arrow != std::string_view::npos) {
      flush();
      from = time(line.substr(0, arrow));
      to = time(line.substr(arrow + 3));
    } else if (Trim(line).empty()) {
      flush();
    } else if (!from.empty()) {
      lines += (lines.empty() ? "" : "\\N") + std::string(line);
    }
  }
  flush();
  return text;
}

std::string FFmpegX::FilterGraphValue(std::string_view text) {
  std::string option;
  for (char c : text) {
    if (c == '\\' || c == '\'' || c == ':') option += '\\';
    option += c;
  }
  std::string graph;
  for (char c : option) {
    if (c == '\\' || c == '\'' || c == '[' || c == ']' || c == ',' || c == ';') graph += '\\';
    graph += c;
  }
  return graph;
}

FFmpegX::FilterGraph FFmpegX::ComposeFilterGraph(const std::string& source, int width, int height,
                                                 const SourceFacts& facts) const {
  FilterGraph result;
  GraphBuilder graph;
  auto addInput = [&result](std::vector<std::string> options, const std::string& path) {
    result.inputs.push_back({std::move(options), path});
    return std::to_string(result.inputs.size());
  };
  const bool sound = facts.audio;
  const float fps = targetFrameRate_;
  const double rate = fps > 0 ? fps : (facts.frameRate > 0 ? facts.frameRate : 25);
  const float start = TimeStartPoint, end = TimeEndPoint;
  const bool trimmed = end - start > 0;
  std::string_view turn;
  for (const auto& [degrees, filter] : kTurns) {
    if (AVSVideoRotate == degrees) turn = filter;
  }
  const bool sideways = AVSVideoRotate == 90 || AVSVideoRotate == 270;
  int currentWidth = sideways ? facts.height : facts.width;
  int currentHeight = sideways ? facts.width : facts.height;
  double length = facts.duration;
  if (trimmed) length = std::max(0.0, std::min<double>(length > 0 ? length : end, end) - start);

  // ---- Opening: rate, trim, turn, and the join of several sources ----
  const std::vector<std::string> all = Split(source, "|");
  const bool joined = all.size() > 1;
  const int sampleRate = joined ? (targetAudioSampleRate_ >= 1 ? targetAudioSampleRate_ : 44100)
                                : (facts.sampleRate > 0 ? facts.sampleRate : 44100);
  const std::string layout = facts.channels == 1 ? "mono" : "stereo";
  std::string video, audio;
  std::string joinInputs;
  int pieces = 0;
  for (size_t i = 0; i < all.size(); ++i) {
    if (i > 0 && !FileExists(all[i])) continue;
    const std::string index = i == 0 ? std::string("0") : addInput({}, all[i]);
    std::vector<std::string> filters;
    if (Deinterlace) filters.emplace_back("yadif");
    if (fps > 0) filters.push_back("fps=" + Number(fps));
    if (trimmed) filters.push_back("trim=start=" + Number(start) + ":end=" + Number(end) + ",setpts=PTS-STARTPTS");
    if (joined && facts.width > 0 && facts.height > 0) {
      filters.push_back("scale=" + std::to_string(facts.width) + ":" + std::to_string(facts.height) +
                        ":flags=lanczos,setsar=1");
    }
    filters.emplace_back(turn);
    const std::string v = graph.Apply("[" + index + ":v]", Chain(filters, "null"), 'v');
    std::string a;
    if (sound) {
      std::vector<std::string> sounds;
      if (trimmed) sounds.push_back("atrim=start=" + Number(start) + ":end=" + Number(end) + ",asetpts=PTS-STARTPTS");
      if (joined) sounds.push_back("aresample=" + std::to_string(sampleRate) + ",aformat=channel_layouts=" + layout);
      a = graph.Apply("[" + index + ":a]", Chain(sounds, "anull"), 'a');
    }
    video = v;
    audio = a;
    joinInputs += v + a;
    ++pieces;
  }
  if (pieces > 1) {
    // The lengths of the later sources are not known here; the sum is left open.
    length = 0;
    const std::string concat = "concat=n=" + std::to_string(pieces) + ":v=1:a=" + (sound ? "1" : "0");
    if (sound) {
      std::tie(video, audio) = graph.ApplyTwo(joinInputs, concat, 'v', 'a');
    } else {
      video = graph.Apply(joinInputs, concat, 'v');
    }
  }

  // ---- Size and crop ----
  if (width > 0 && height > 0) {
    video = graph.Apply(video, "scale=" + std::to_string(width) + ":" + std::to_string(height) + ":flags=lanczos", 'v');
    currentWidth = width;
    currentHeight = height;
  }
  if (AVSScreenCrop != "0,0,-0,-0") {
    const std::vector<double> crop = Numbers(AVSScreenCrop, ",", 4);
    // The script's own test, on the source's size.
    const double innerWidth = facts.width - std::abs(crop[0]) - std::abs(crop[2]);
    const double innerHeight = facts.height - std::abs(crop[1]) - std::abs(crop[3]);
    if (innerWidth >= 1 && innerHeight >= 1) {
      // As AviSynth's Crop: a positive third or fourth number is the size, any
      // other counts from the right or the bottom edge.
      const int left = static_cast<int>(crop[0]), top = static_cast<int>(crop[1]);
      const int w = crop[2] > 0 ? static_cast<int>(crop[2]) : currentWidth - left + static_cast<int>(crop[2]);
      const int h = crop[3] > 0 ? static_cast<int>(crop[3]) : currentHeight - top + static_cast<int>(crop[3]);
      video = graph.Apply(video, "crop=" + std::to_string(w) + ":" + std::to_string(h) + ":" + std::to_string(left) +
                                     ":" + std::to_string(top),
                          'v');
      currentWidth = w;
      currentHeight = h;
    }
  }

  // ---- Burnt-in texts: the script's own subtitle files, drawn by libass ----
  for (const std::string& subtitle : scriptSubtitles_) {
    video = graph.Apply(video, "subtitles=filename=" + FilterGraphValue(subtitle), 'v');
  }
  if (!scriptPictureSubtitle_.empty()) {
    // FFmpeg reads a picture subtitle through its index, beside it.
    const std::string index = std::string(SplitExtension(scriptPictureSubtitle_).stem) + ".idx";
    if (FileExists(index)) {
      const std::string input = addInput({}, index);
      video = graph.Apply(video + "[" + input + ":s]", "overlay=eof_action=pass", 'v');
    }
  }

  // ---- Music mixed in at its share ----
  if (AVSAudioReplace && FileExists(AVSAudioReplaceFileName) && sound) {
    const double share = std::min(AVSAudioReplaceVolume, 100) / 100.0;
    const std::string input = addInput({}, AVSAudioReplaceFileName);
    const std::string music = graph.Apply(
        "[" + input + ":a]", "aresample=" + std::to_string(sampleRate) + "," + ToChannels(facts.musicChannels, layout),
        'a');
    audio = graph.Apply(audio + music,
                        "amix=inputs=2:duration=first:dropout_transition=0:normalize=0:weights=" +
                            FormatFixed2(1 - share) + " " + FormatFixed2(share),
                        'a');
  }

  // ---- Blank rectangle ----
  if (AVSLayOver && AVSLayOverRect != "0,0,0,0") {
    const std::vector<double> rect = Numbers(AVSLayOverRect, ",", 4);
    video = graph.Apply(video,
                        "drawbox=x=" + Number(rect[0]) + ":y=" + Number(rect[1]) + ":w=" + Number(rect[2]) +
                            ":h=" + Number(rect[3]) + ":color=" + GraphColour(AVSLayOverColor) + ":t=fill",
                        'v');
  }

  // ---- Inserted clip and still, each dissolved in over one second ----
  // The piece `b` of `pieceLength` seconds joins the video at the place in
  // percent: before it (0), inside it (1 to 99) or after it.
  auto insert = [&](const std::string& pieceVideo, const std::string& pieceAudio, double pieceLength, int percent) {
    auto fade = [&](const std::string& first, const std::string& second, double offset, char kind) {
      return kind == 'v' ? graph.Apply(first + second, "xfade=transition=fade:duration=1:offset=" + Number(offset), 'v')
                         : graph.Apply(first + second, "acrossfade=d=1", 'a');
    };
    const auto joinAt = [&](const std::string& main, const std::string& piece, char kind) {
      if (percent == 0) return fade(piece, main, pieceLength - 1, kind);
      if (percent >= 1 && percent <= 99) {
        const double at = length * percent / 100.0;
        const auto [head, rest] = graph.ApplyTwo(main, kind == 'v' ? "split" : "asplit", kind, kind);
        const std::string a = kind == 'v' ? "" : "a";
        const std::string before =
            graph.Apply(head, a + "trim=end=" + Number(at) + "," + a + "setpts=PTS-STARTPTS", kind);
        const std::string after =
            graph.Apply(rest, a + "trim=start=" + Number(at) + "," + a + "setpts=PTS-STARTPTS", kind);
        const std::string first = fade(before, piece, at - 1, kind);
        return fade(first, after, at + pieceLength - 2, kind);
      }
      return fade(main, piece, length - 1, kind);
    };
    // xfade takes pictures of one size, shape, rate and pixel format.
    const std::string uniform = "fps=" + Number(rate) + ",format=yuv420p,setsar=1";
    video = joinAt(graph.Apply(video, uniform, 'v'), pieceVideo, 'v');
    if (sound) audio = joinAt(audio, pieceAudio, 'a');
    length += pieceLength - (percent >= 1 && percent <= 99 ? 2 : 1);
  };
  const std::string fitted = "scale=" + std::to_string(currentWidth) + ":" + std::to_string(currentHeight) +
                             ":flags=lanczos,fps=" + Number(rate) + ",format=yuv420p,setsar=1";
  const std::string silence = "anullsrc=r=" + std::to_string(sampleRate) + ":cl=" + layout;
  if (AVSInsertVideo && FileExists(AVSInsertVideoFileName) && facts.insertDuration > 1 && length > 1) {
    const std::string input = addInput({}, AVSInsertVideoFileName);
    const std::string pieceVideo = graph.Apply("[" + input + ":v]", fitted, 'v');
    std::string pieceAudio;
    if (sound) {
      // A clip without sound would stop the join: silence stands in for it.
      pieceAudio = facts.insertAudio
                       ? graph.Apply("[" + input + ":a]",
                                     "aresample=" + std::to_string(sampleRate) + "," +
                                         ToChannels(facts.insertChannels, layout),
                                     'a')
                       : graph.Apply("", silence + ",atrim=duration=" + Number(facts.insertDuration), 'a');
    }
    insert(pieceVideo, pieceAudio, facts.insertDuration, AVSInsertVideoPosition);
  }
  if (AVSInsertImage && FileExists(AVSInsertImageFileName) && AVSInsertImageTime >= 1 && length > 1) {
    const double seconds = AVSInsertImageTime;
    const std::string input =
        addInput({"-loop", "1", "-framerate", Number(rate), "-t", Number(seconds)}, AVSInsertImageFileName);
    const std::string pieceVideo = graph.Apply("[" + input + ":v]", fitted, 'v');
    std::string pieceAudio;
    if (sound) pieceAudio = graph.Apply("", silence + ",atrim=duration=" + Number(seconds), 'a');
    insert(pieceVideo, pieceAudio, seconds, AVSInsertImagePosition);
  }

  // ---- Picture overlay ----
  if (AVSLogoImage && FileExists(AVSLogoImageFileName)) {
    const std::vector<double> place = Numbers(LowerAscii(AVSLogoImagePosition), "x", 2);
    const std::string input = addInput({}, AVSLogoImageFileName);
    video = graph.Apply(video + "[" + input + ":v]", "overlay=x=" + Number(place[0]) + ":y=" + Number(place[1]), 'v');
  }

  // ---- The user's lines and the mirror ----
  result.userScriptLeftOut = !AVSUserScript.empty();
  for (const auto& [kind, filter] : kFlips) {
    if (AVSFlip == kind) video = graph.Apply(video, filter, 'v');
  }
  if (sound && AudioVolume != 0) {
    // The classic volume switch counted 256 as unchanged, in whole steps.
    const double factor = std::floor(AudioVolume / 100.0 * 256) / 256.0;
    audio = graph.Apply(audio, "volume=" + Number(factor), 'a');
  }

  result.text = graph.Text();
  result.video = video;
  result.audio = sound ? audio : std::string();
  return result;
}

}  // namespace zel
