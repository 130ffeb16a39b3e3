// The karaoke video composed by FFmpeg alone, for systems without AviSynth: the
// same slide show (or background video), timing, lyrics and fades as the job's
// script, written as one filter graph.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "jobs/KaraokeJob.h"

namespace zel {

class FFmpegX;

// The picture rate of the slide show, close to the 33 ms a frame of the script.
constexpr double kKaraokeFrameRate = 30;

// The four shapes of the job, as the script tells them apart.
enum class KaraokeCase { FittedPictures, LoopedPictures, LoopedMusic, BackgroundVideo };

// The times the graph is built from, in seconds.
struct KaraokeTimes {
  KaraokeCase shape = KaraokeCase::LoopedPictures;
  double hold = 0, fade = 0;  // of each picture
  double show = 0;            // one pass of all pictures
  int passes = 1;             // of the slide show, joined by a cut
  double length = 0;          // of the video
  double fadeIO = 0;          // the fade from and to black at both ends
  double frameRate = 30;
};

KaraokeTimes KaraokeTimesFor(const KaraokeInput& input, double frameRate);

// The xfade transition that stands for a picture list's effect number. The table
// is fixed: the same number always gives the same transition.
std::string_view KaraokeTransition(int effect);

// A path as one value of a filter option inside a filter graph: escaped once for
// the option and once more for the graph.
std::string FilterGraphValue(std::string_view path);

// ffmpeg's arguments (without the program) for the video. `effects` are the
// picture list's numbers, one per picture; the transition into a picture is that
// picture's. `output` is the output file's argument.
std::vector<std::string> KaraokeGraphArguments(const KaraokeInput& input, const std::vector<int>& effects,
                                               bool withLyrics, const std::string& output, double frameRate);

// Readies `engine` (source, output folder and format already set) to run the
// graph with `ffmpeg` on its next start, the output named "MV_" and the music's
// name; the engine judges the run by that file as it judges its own.
void SetKaraokeGraphRun(FFmpegX& engine, const std::string& ffmpeg, const KaraokeInput& input,
                        const std::vector<int>& effects, bool withLyrics, double frameRate = kKaraokeFrameRate);

}  // namespace zel
