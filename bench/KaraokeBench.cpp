// The karaoke video as FFmpeg composes it: 20 pictures over 3 minutes of music
// with lyrics at 640x480, its wall time against the music's length.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "base/FileHelpers.h"
#include "base/PathHelpers.h"
#include "engine/FFmpegX.h"
#include "jobs/KaraokeGraph.h"
#include "jobs/KaraokeJob.h"
#include "jobs/Settings.h"
#include "BenchSupport.h"

namespace {

using zel::bench::RunSeconds;

constexpr int kPictures = 20;
constexpr int kMusicSeconds = 180;

void BM_KaraokeVideo(benchmark::State& state) {
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  const std::string folder = zel::TempDirectory() + "/zel-karaoke-bench";
  zel::MakedPath(folder);
  zel::KaraokeInput in;
  in.width = 640;
  in.height = 480;
  in.durationSeconds = kMusicSeconds;
  in.musicPath = folder + "/song.mp3";
  in.lyricPath = folder + "/song.lrc";
  in.scriptPath = folder + "/k.avs";
  in.listPath = folder + "/k.lst";
  in.ssaPath = folder + "/k.ssa";
  bool made = !ffmpeg.empty() && RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                                             "sine=duration=" + std::to_string(kMusicSeconds), in.musicPath}) >= 0;
  // Photographs rather than flat colours, so that scaling and encoding have work.
  for (int i = 0; made && i < kPictures; ++i) {
    in.pictures.push_back(folder + "/" + std::to_string(i) + ".jpg");
    made = RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                       "testsrc2=size=1024x768:rate=1:duration=" + std::to_string(i + 1), "-update", "1",
                       in.pictures.back()}) >= 0;
  }
  std::string lyrics;
  for (int s = 5; s < kMusicSeconds; s += 5) {
    lyrics += "[0" + std::to_string(s / 60) + ":" + (s % 60 < 10 ? "0" : "") + std::to_string(s % 60) +
              ".00]line at " + std::to_string(s) + " seconds\n";
  }
  zel::FFmpegX engine;
  std::vector<int> effects;
  unsigned draw = 0;
  if (!made || !zel::WriteFileAtomic(in.lyricPath, lyrics) ||
      !zel::WriteKaraokeJob(engine, in, zel::SettingDefault, [&draw] { return draw += 13; }, {}, &effects)) {
    state.SkipWithError("ffmpeg cannot make the pictures and music");
    return;
  }
  std::vector<std::string> argv{ffmpeg, "-nostdin"};
  for (std::string& arg :
       zel::KaraokeGraphArguments(in, effects, true, folder + "/MV_song.mp4", zel::kKaraokeFrameRate)) {
    argv.push_back(std::move(arg));
  }
  double total = 0;
  for (auto _ : state) {
    const double seconds = RunSeconds(argv);
    if (seconds < 0) {
      state.SkipWithError("ffmpeg failed on the graph");
      return;
    }
    total += seconds;
  }
  state.counters["time_per_music"] = total / static_cast<double>(state.iterations()) / kMusicSeconds;
}
BENCHMARK(BM_KaraokeVideo)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
