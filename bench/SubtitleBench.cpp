// Subtitle conversion at scale: a 100 000-cue SRT to ASS and to SRT through
// `zel-cli subtitle`, against `ffmpeg -i in.srt out.ass` on the same file, and the
// same conversion at a tenth of the size to show that the cost grows linearly.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "BenchSupport.h"
#include "base/FileHelpers.h"
#include "subtitles/TimeNotation.h"

namespace {

using zel::bench::RunSeconds;

std::string MakeSrt(const std::string& path, int cues) {
  std::string text;
  text.reserve(static_cast<size_t>(cues) * 80);
  for (int i = 0; i < cues; ++i) {
    const double start = i * 2000.0;
    text += std::to_string(i + 1) + "\r\n" + zel::FormatMSecs(start, zel::kNotationSrt) + " --> " +
            zel::FormatMSecs(start + 1500, zel::kNotationSrt) + "\r\n第 " + std::to_string(i) +
            " 句 <i>line</i> of text\r\n\r\n";
  }
  zel::WriteFileAtomic(path, text);
  return path;
}

void BM_SubtitleConversion(benchmark::State& state) {
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  if (ffmpeg.empty()) {
    state.SkipWithError("no ffmpeg");
    return;
  }
  const std::string folder = zel::TempDirectory() + "/zel-bench-subtitle";
  std::filesystem::remove_all(folder);
  zel::MakedPath(folder + "/config");
  ::setenv("XDG_CONFIG_HOME", (folder + "/config").c_str(), 1);
  const std::string big = MakeSrt(folder + "/big.srt", 100000);
  const std::string small = MakeSrt(folder + "/small.srt", 10000);
  auto cli = [&](const std::string& input, const std::string& output) {
    return RunSeconds({ZEL_CLI_PATH, "subtitle", input, "-o", folder + "/" + output, "--overwrite"});
  };

  double toAss = 0, toSrt = 0, peer = 0, smallToAss = 0;
  for (auto _ : state) {
    toAss += cli(big, "big.ass");
    toSrt += cli(big, "big-out.srt");
    smallToAss += cli(small, "small.ass");
    peer += RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-i", big, folder + "/ffmpeg.ass"});
  }
  if (toAss <= 0 || toSrt <= 0 || peer <= 0 || smallToAss <= 0) {
    state.SkipWithError("a conversion failed");
  } else {
    state.counters["ass_vs_ffmpeg"] = toAss / peer;
    state.counters["srt_vs_ffmpeg"] = toSrt / peer;
    // Ten times the cues should cost about ten times as much.
    state.counters["growth_10x"] = toAss / smallToAss;
    state.counters["us_per_cue_ass"] = toAss * 1e6 / (100000.0 * static_cast<double>(state.iterations()));
  }
  ::unsetenv("XDG_CONFIG_HOME");
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_SubtitleConversion)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
