#include "jobs/KaraokeGraph.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "base/PathHelpers.h"
#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"

namespace zel {

namespace {

// The background video runs at the NTSC rate the script converts it to.
constexpr double kVideoRate = 29.97;
constexpr std::string_view kVideoRateText = "29.97";

// Every transition xfade offers but "custom", which needs expressions of its own.
constexpr std::array<std::string_view, 45> kTransitions = {
    "fade",       "wipeleft",   "wiperight", "wipeup",     "wipedown",   "slideleft",  "slideright", "slideup",
    "slidedown",  "circlecrop", "rectcrop",  "distance",   "fadeblack",  "fadewhite",  "radial",     "smoothleft",
    "smoothright", "smoothup",  "smoothdown", "circleopen", "circleclose", "vertopen",  "vertclose",  "horzopen",
    "horzclose",  "dissolve",   "pixelize",  "diagtl",     "diagtr",     "diagbl",     "diagbr",     "hlslice",
    "hrslice",    "vuslice",    "vdslice",   "hblur",      "fadegrays",  "wipetl",     "wipetr",     "wipebl",
    "wipebr",     "squeezeh",   "squeezev",  "zoomin",     "fadefast"};

// Seconds with at most three decimals and no trailing zeros: "4", "3.333".
std::string Seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", std::max(0.0, seconds));
  std::string out = text;
  while (out.back() == '0') out.pop_back();
  if (out.back() == '.') out.pop_back();
  return out;
}

std::string Escaped(std::string_view text, std::string_view special) {
  std::string out;
  for (const char c : text) {
    if (special.find(c) != std::string_view::npos) out += '\\';
    out += c;
  }
  return out;
}

std::string Size(const KaraokeInput& in) { return std::to_string(in.width) + ":" + std::to_string(in.height); }

// A picture inside the frame, whole and centred on black.
std::string PictureFilter(const KaraokeInput& in, double frameRate) {
  return "scale=" + Size(in) + ":force_original_aspect_ratio=decrease:flags=lanczos,pad=" + Size(in) +
         ":(ow-iw)/2:(oh-ih)/2,setsar=1,format=yuv420p,fps=" + Seconds(frameRate);
}

}  // namespace

KaraokeTimes KaraokeTimesFor(const KaraokeInput& in, double frameRate) {
  KaraokeTimes t;
  const int pictures = static_cast<int>(in.pictures.size());
  const double duration = in.durationSeconds;
  t.frameRate = frameRate;
  t.fadeIO = in.holdSeconds / 2.0;
  if (!in.videoPath.empty()) {
    t.shape = KaraokeCase::BackgroundVideo;
    t.frameRate = kVideoRate;
    t.length = static_cast<double>(std::llround(duration * kVideoRate)) / kVideoRate;
  } else {
    if (in.fitPictures) {
      t.shape = KaraokeCase::FittedPictures;
      // Whole milliseconds, as the script states them.
      t.hold = static_cast<double>(std::llround(duration * 0.8 / std::max(1, pictures) * 1000)) / 1000;
      t.fade = static_cast<double>(std::llround(duration * 0.2 / (pictures > 1 ? pictures - 1 : 1) * 1000)) / 1000;
    } else {
      t.hold = in.holdSeconds;
      t.fade = in.fadeSeconds;
      const bool musicOutlasts = duration >= (in.holdSeconds + in.fadeSeconds) * pictures - in.fadeSeconds;
      t.shape = musicOutlasts ? KaraokeCase::LoopedPictures : KaraokeCase::LoopedMusic;
    }
    t.show = pictures > 0 ? pictures * t.hold + (pictures - 1) * t.fade : 0;
    t.length = t.show;
    if (t.shape == KaraokeCase::LoopedPictures && t.show > 0) {
      t.length = duration;
      t.passes = std::max(1, static_cast<int>(std::ceil(duration / t.show - 1e-9)));
    }
  }
  t.fadeIO = std::min(t.fadeIO, t.length / 2);
  return t;
}

std::string_view KaraokeTransition(int effect) {
  const int size = static_cast<int>(kTransitions.size());
  return kTransitions[static_cast<size_t>(((effect - 1) % size + size) % size)];
}

std::string FilterGraphValue(std::string_view path) { return Escaped(Escaped(path, "\\':"), "\\'[],;"); }

std::vector<std::string> KaraokeGraphArguments(const KaraokeInput& in, const std::vector<int>& effects,
                                               bool withLyrics, const std::string& output, double frameRate) {
  const KaraokeTimes t = KaraokeTimesFor(in, frameRate);
  std::vector<std::string> args{"-hide_banner", "-y"};
  std::string graph;
  int inputs = 0;

  if (t.shape == KaraokeCase::BackgroundVideo) {
    args.insert(args.end(), {"-stream_loop", "-1", "-i", in.videoPath});
    graph = "[0:v]fps=" + std::string(kVideoRateText) + ",scale=" + Size(in) +
            ":flags=lanczos,setsar=1,format=yuv420p,trim=end_frame=" +
            std::to_string(std::llround(in.durationSeconds * kVideoRate)) + ",setpts=PTS-STARTPTS[show];";
    inputs = 1;
  } else {
    const int pictures = static_cast<int>(in.pictures.size());
    // Each picture lasts long enough to be held and to fade on both sides; what a
    // transition leaves over is cut when a pass ends.
    const std::string last = Seconds(t.hold + 2 * t.fade);
    for (int pass = 0; pass < t.passes; ++pass) {
      std::string chain;
      for (int i = 0; i < pictures; ++i, ++inputs) {
        args.insert(args.end(), {"-loop", "1", "-framerate", Seconds(frameRate), "-t", last, "-i", in.pictures[i]});
        const std::string label = "[p" + std::to_string(inputs) + "]";
        graph += "[" + std::to_string(inputs) + ":v]" + PictureFilter(in, frameRate) + label + ";";
        if (i == 0) {
          chain = label;
          continue;
        }
        const int effect = static_cast<size_t>(i) < effects.size() ? effects[i] : i + 1;
        const std::string joined = "[x" + std::to_string(inputs) + "]";
        graph += chain + label + "xfade=transition=" + std::string(KaraokeTransition(effect)) +
                 ":duration=" + Seconds(t.fade) + ":offset=" + Seconds(i * (t.hold + t.fade) - t.fade) + joined + ";";
        chain = joined;
      }
      graph += chain + "trim=duration=" + Seconds(t.show) + ",setpts=PTS-STARTPTS[pass" + std::to_string(pass) + "];";
    }
    for (int pass = 0; pass < t.passes; ++pass) graph += "[pass" + std::to_string(pass) + "]";
    graph += "concat=n=" + std::to_string(t.passes) + ":v=1:a=0,trim=duration=" + Seconds(t.length) +
             ",setpts=PTS-STARTPTS[show];";
  }

  if (t.shape == KaraokeCase::LoopedMusic) args.insert(args.end(), {"-stream_loop", "-1"});
  args.insert(args.end(), {"-i", in.musicPath});
  const std::string fadeOut = Seconds(t.length - t.fadeIO);
  const std::string fadeIO = Seconds(t.fadeIO);
  graph += "[show]";
  if (withLyrics) graph += "ass=filename=" + FilterGraphValue(in.ssaPath) + ",";
  graph += "fade=t=in:st=0:d=" + fadeIO + ",fade=t=out:st=" + fadeOut + ":d=" + fadeIO + "[v];";
  graph += "[" + std::to_string(inputs) + ":a]apad,atrim=duration=" + Seconds(t.length) +
           ",afade=t=in:st=0:d=" + fadeIO + ",afade=t=out:st=" + fadeOut + ":d=" + fadeIO + "[a]";

  args.insert(args.end(), {"-filter_complex", graph, "-map", "[v]", "-map", "[a]", "-r", Seconds(t.frameRate),
                           "-pix_fmt", "yuv420p", output});
  return args;
}

void SetKaraokeGraphRun(FFmpegX& engine, const std::string& ffmpeg, const KaraokeInput& in,
                        const std::vector<int>& effects, bool withLyrics, double frameRate) {
  if (engine.Core() != ffmpeg) engine.SetCore(ffmpeg);
  engine.AVSEnabled = false;
  engine.Twopass = false;
  engine.OnlyUseExtCommandLine = false;
  engine.CustomFileName = "MV_" + BaseNameOf(in.musicPath);
  // The engine puts the output's free name in place of the mark.
  std::string command = QuoteArgument(ffmpeg);
  for (const std::string& arg : KaraokeGraphArguments(in, effects, withLyrics, "#OutputFileName#", frameRate)) {
    command += " " + QuoteArgument(arg);
  }
  engine.CommandLine = command;
}

}  // namespace zel
