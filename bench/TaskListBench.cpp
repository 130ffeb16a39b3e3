// Measures of the task list: a batch of clips through `zel-cli convert` against a
// shell loop of the same ffmpeg commands, and a large list added, saved and loaded.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "BenchSupport.h"
#include "jobs/ListboxModel.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace {

using zel::bench::RunSeconds;

double Seconds(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// The printed value of a "name: value" line of zel-cli.
std::string Field(const std::string& text, const std::string& name) {
  for (const std::string& line : zel::Split(text, "\n")) {
    if (zel::StartsWith(line, name + ": ")) return line.substr(name.size() + 2);
  }
  return {};
}

// A batch of twelve short clips (four seconds of 640x360 picture and sound) as
// one run of zel-cli (start-up and the tool's identification, the check, the
// loop, two probes a task, the events) against the translated commands that
// run prints, run one after another by a shell. Both write new files into empty
// folders. The goal is a ratio of at most 1.10.
void BM_BatchThroughCli(benchmark::State& state) {
  constexpr int kClips = 12;
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  const std::string folder = zel::TempDirectory() + "/zel-bench-batch";
  std::filesystem::remove_all(folder);
  zel::MakedPath(folder + "/config");
  ::setenv("XDG_CONFIG_HOME", (folder + "/config").c_str(), 1);
  ::setenv("XDG_DATA_HOME", (folder + "/data").c_str(), 1);
  std::vector<std::string> convert{ZEL_CLI_PATH, "convert", "--format", "AVI", "--set", "ConvertFinished=无",
                                   "--output", folder + "/cli"};
  for (int i = 0; i < kClips && !ffmpeg.empty(); ++i) {
    const std::string clip = folder + "/clip" + std::to_string(i) + ".mp4";
    if (RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    "testsrc=size=640x360:rate=25:duration=4", "-f", "lavfi", "-i", "sine=duration=4", "-shortest",
                    "-pix_fmt", "yuv420p", clip}) < 0) {
      state.SkipWithError("ffmpeg cannot make the clips");
      return;
    }
    convert.push_back(clip);
  }
  if (ffmpeg.empty()) {
    state.SkipWithError("no ffmpeg");
    return;
  }
  // The same commands, composed for another folder so that both runs write anew.
  std::string script;
  for (size_t i = 8; i < convert.size(); ++i) {
    const std::string text =
        zel::bench::RunOutput({ZEL_CLI_PATH, "command", "--format", "AVI", "--output", folder + "/shell", convert[i]});
    const std::string run = Field(text, "run");
    if (run.empty()) {
      state.SkipWithError("zel-cli command printed nothing to run");
      return;
    }
    script += run + " </dev/null >/dev/null 2>&1 || exit 1\n";
  }
  std::ofstream(folder + "/loop.sh") << script;

  double cliTotal = 0, shellTotal = 0;
  for (auto _ : state) {
    std::filesystem::remove_all(folder + "/cli");
    std::filesystem::remove_all(folder + "/shell");
    zel::MakedPath(folder + "/shell");
    const double cli = RunSeconds(convert);
    const double shell = RunSeconds({"/bin/sh", folder + "/loop.sh"});
    if (cli < 0 || shell < 0) {
      state.SkipWithError("a conversion failed");
      break;
    }
    cliTotal += cli;
    shellTotal += shell;
  }
  if (shellTotal > 0) {
    state.counters["ratio"] = cliTotal / shellTotal;
    state.counters["overhead_ms_per_task"] =
        (cliTotal - shellTotal) * 1000 / (static_cast<double>(state.iterations()) * kClips);
  }
  ::unsetenv("XDG_CONFIG_HOME");
  ::unsetenv("XDG_DATA_HOME");
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_BatchThroughCli)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// 10 000 task rows added, saved and loaded back. The load reads the whole file
// but keeps the list format's limit of 37 rows and a copy.
void BM_ListItems(benchmark::State& state) {
  constexpr int kItems = 10000;
  const std::string path = zel::TempDirectory() + "/zel-bench-list.ini";
  double add = 0, save = 0, load = 0;
  for (auto _ : state) {
    zel::ListboxModel list;
    auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kItems; ++i) {
      const std::string n = std::to_string(i);
      list.AddItem("task" + n, "clip " + n, "MP4, 1.20MB, 00:01:00", "|||", "/home/user/Videos/clip " + n + ".mp4");
    }
    add += Seconds(begin);
    begin = std::chrono::steady_clock::now();
    if (!list.SaveListToFile(path)) {
      state.SkipWithError("cannot save");
      break;
    }
    save += Seconds(begin);
    zel::ListboxModel loaded;
    begin = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(loaded.LoadListFromFile(path));
    load += Seconds(begin);
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["add_ms"] = add * 1000 / runs;
  state.counters["save_ms"] = save * 1000 / runs;
  state.counters["load_ms"] = load * 1000 / runs;
  zel::DeleteFile(path);
}
BENCHMARK(BM_ListItems)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
