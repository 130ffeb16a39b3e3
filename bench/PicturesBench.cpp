// A "3x5" thumbnail sheet of a 10-minute 1080p H.264 clip through `zel-cli thumbs`,
// against the same sheet made by ffmpeg's select and tile filters and against 15
// single `ffmpeg -ss` grabs of the same times.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "BenchSupport.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace {

using zel::bench::RunSeconds;

constexpr int kSeconds = 600, kRate = 25, kCells = 15;

void BM_ThumbnailSheet(benchmark::State& state) {
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  if (ffmpeg.empty()) {
    state.SkipWithError("no ffmpeg");
    return;
  }
  // The clip takes minutes to make, so it stays for the next run.
  const std::string folder = zel::TempDirectory() + "/zel-bench-pictures";
  const std::string clip = folder + "/clip1080.mp4";
  zel::MakedPath(folder + "/config");
  if (zel::FileSize(clip) <= 0 &&
      RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                  "testsrc2=size=1920x1080:rate=25:duration=" + std::to_string(kSeconds), "-c:v", "libx264",
                  "-preset", "ultrafast", "-g", "250", "-pix_fmt", "yuv420p", clip}) < 0) {
    state.SkipWithError("ffmpeg cannot make the clip");
    return;
  }
  ::setenv("XDG_CONFIG_HOME", (folder + "/config").c_str(), 1);

  // The cells' times, as frame numbers for select and seconds for -ss.
  std::string select;
  std::vector<double> times;
  for (int n = 1; n <= kCells; ++n) {
    const double time = static_cast<double>(kSeconds) / (kCells + 1) * n;
    times.push_back(time);
    select += (n > 1 ? "+" : "") + std::string("eq(n\\,") + std::to_string(static_cast<int>(time * kRate)) + ")";
  }

  double ours = 0, tile = 0, grabs = 0;
  for (auto _ : state) {
    ours += RunSeconds({ZEL_CLI_PATH, "thumbs", clip, "--matrix", "3x5", "--max-width", "320", "-o",
                        folder + "/ours.jpg"});
    zel::DeleteFile(folder + "/ours.jpg");
    tile += RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-i", clip, "-vf",
                        "select='" + select + "',scale=320:-1,tile=3x5", "-frames:v", "1", "-fps_mode", "vfr",
                        folder + "/tile.jpg"});
    for (int n = 0; n < kCells; ++n) {
      grabs += RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-ss", zel::FormatNumber(times[n]), "-i", clip,
                           "-frames:v", "1", "-vf", "scale=320:-1", folder + "/grab.jpg"});
    }
  }
  if (ours <= 0 || tile <= 0 || grabs <= 0) {
    state.SkipWithError("a sheet failed");
  } else {
    state.counters["vs_tile_filter"] = ours / tile;
    state.counters["vs_15_grabs"] = ours / grabs;
    state.counters["sheet_s"] = ours / static_cast<double>(state.iterations());
  }
  ::unsetenv("XDG_CONFIG_HOME");
}
BENCHMARK(BM_ThumbnailSheet)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
