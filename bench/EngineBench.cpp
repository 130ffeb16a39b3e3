// Measures of the engine: the parsing of tool text, and the cost of running a
// conversion through the engine against running the same ffmpeg command directly.
#include <benchmark/benchmark.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "engine/ChildProcess.h"
#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"
#include "BenchSupport.h"

namespace {

using zel::bench::RunSeconds;

// Recorded console text of a real ffmpeg conversion, in the engine's 256-byte blocks.
std::vector<std::string> RecordedBlocks() {
  const std::string text = zel::ReadText(std::string(ZEL_BENCH_DATA) + "/ffmpeg-5.1-run.txt");
  std::vector<std::string> blocks;
  for (size_t at = 0; at < text.size(); at += 256) blocks.push_back(text.substr(at, 256));
  return blocks;
}

void BM_ParseToolOutput(benchmark::State& state) {
  const std::vector<std::string> blocks = RecordedBlocks();
  if (blocks.empty()) {
    state.SkipWithError("recorded tool text is missing");
    return;
  }
  zel::FFmpegX engine;
  engine.CommandLine = "\"ffmpeg\"";  // a bare command line reads its length from the text
  int64_t bytes = 0;
  for (auto _ : state) {
    for (const std::string& block : blocks) {
      engine.ParseToolOutput(block);
      bytes += static_cast<int64_t>(block.size());
    }
    benchmark::DoNotOptimize(engine.Value());
  }
  state.SetBytesProcessed(bytes);
}
BENCHMARK(BM_ParseToolOutput);

// One conversion through `zel-cli exec` against the same command run directly,
// alternately, so that both meet the same machine state.
void BM_ExecThroughEngine(benchmark::State& state) {
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  const std::string folder = zel::TempDirectory() + "/zel-bench";
  zel::MakedPath(folder);
  const std::string clip = folder + "/clip.mp4";
  const std::string out = folder + "/out.avi";
  if (ffmpeg.empty() ||
      RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i", "testsrc=size=640x360:rate=25:duration=5",
                  "-f", "lavfi", "-i", "sine=duration=5", "-shortest", "-pix_fmt", "yuv420p", clip}) < 0) {
    state.SkipWithError("ffmpeg cannot make the clip");
    return;
  }
  const std::vector<std::string> direct{ffmpeg, "-nostdin", "-y", "-i", clip, "-c:v", "mpeg4", "-c:a", "libmp3lame", out};
  std::string line;
  for (const std::string& arg : direct) line += (line.empty() ? "" : " ") + zel::QuoteArgument(arg);
  const std::vector<std::string> viaEngine{ZEL_CLI_PATH, "exec", "--output", out, line};

  double directTotal = 0, engineTotal = 0;
  for (auto _ : state) {
    const double d = RunSeconds(direct);
    const double e = RunSeconds(viaEngine);
    if (d < 0 || e < 0) {
      state.SkipWithError("a conversion failed");
      break;
    }
    directTotal += d;
    engineTotal += e;
  }
  if (directTotal > 0) {
    state.counters["ratio"] = engineTotal / directTotal;
    state.counters["direct_s"] = directTotal / static_cast<double>(state.iterations());
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_ExecThroughEngine)->Iterations(5)->Unit(benchmark::kMillisecond)->UseRealTime();

// A batch of short clips converted as tasks, each with its two probes and its
// composition, against the same translated commands run directly. The ratio is
// the price of everything the engine does around the tool.
void BM_TaskOverhead(benchmark::State& state) {
  constexpr int kClips = 8;
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  const std::string folder = zel::TempDirectory() + "/zel-bench-tasks";
  zel::MakedPath(folder + "/out");
  std::vector<std::string> clips;
  for (int i = 0; i < kClips && !ffmpeg.empty(); ++i) {
    clips.push_back(folder + "/clip " + std::to_string(i) + ".mp4");
    if (RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    "testsrc=size=160x120:rate=25:duration=1", "-f", "lavfi", "-i", "sine=duration=1", "-shortest",
                    "-pix_fmt", "yuv420p", clips.back()}) < 0) {
      clips.clear();
    }
  }
  if (clips.empty()) {
    state.SkipWithError("ffmpeg cannot make the clips");
    return;
  }
  zel::FFmpegX engine;
  engine.SetCore(ffmpeg);
  engine.SetOutputDir(folder + "/out");
  engine.Overwrite = true;
  engine.SetForceFormat("avi");
  engine.SetVideoCodec("mpeg4");
  engine.SetAudioCodec("libmp3lame");
  engine.SetFrameRate(25);
  bool failed = false;
  engine.StatusChange = [&failed](int status, const std::string&) { failed = failed || status == zel::kStatusError; };

  double engineTotal = 0, directTotal = 0;
  for (auto _ : state) {
    std::vector<std::vector<std::string>> commands;
    const auto begin = std::chrono::steady_clock::now();
    for (const std::string& clip : clips) {
      engine.SetFilename(clip);
      engine.StartProcess();
      commands.push_back(zel::SplitCommandLine(engine.CommandToRun()));
    }
    engineTotal += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    for (const auto& argv : commands) {
      const double d = RunSeconds(argv);
      failed = failed || d < 0;
      directTotal += d;
    }
    if (failed) {
      state.SkipWithError("a conversion failed");
      break;
    }
  }
  if (directTotal > 0) {
    state.counters["ratio"] = engineTotal / directTotal;
    state.counters["overhead_ms_per_task"] =
        (engineTotal - directTotal) * 1000 / (static_cast<double>(state.iterations()) * kClips);
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_TaskOverhead)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
