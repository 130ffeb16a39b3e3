// The second start of the real `zel FILE` while a first copy runs: from its
// spawn until it has handed the file over and ended (goal 300 ms), against a
// bare Qt Widgets program's start and end in the same run. Both on Qt's
// offscreen platform, with a runtime folder and store of the benchmark's own.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "base/FileHelpers.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr double kHandOverGoalMs = 300;

std::string Folder() { return zel::TempDirectory() + "/zel-bench-instance"; }

// Milliseconds of one run of `argv` to its end, -1 when it failed.
double RunMs(const std::vector<std::string>& argv) {
  const double seconds = zel::bench::RunSeconds(argv);
  return seconds < 0 ? -1 : seconds * 1000;
}

// The first copy, started and listening; killed with the object.
class FirstCopy {
 public:
  explicit FirstCopy(const std::string& runtime) {
    std::string program = ZEL_PATH;
    char* argv[] = {program.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv, environ) != 0) pid_ = 0;
    posix_spawn_file_actions_destroy(&actions);
    // Listening once its socket is there.
    for (int i = 0; pid_ != 0 && i < 600 && !listening_; ++i) {
      for (const auto& entry : fs::directory_iterator(runtime)) {
        if (entry.is_socket()) listening_ = true;
      }
      if (!listening_) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  ~FirstCopy() {
    if (pid_ == 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  bool Listening() const { return listening_; }

 private:
  pid_t pid_ = 0;
  bool listening_ = false;
};

void BM_SecondStartHandsOver(benchmark::State& state) {
  const std::string runtime = Folder() + "/run";
  fs::remove_all(Folder());
  fs::create_directories(runtime);
  fs::permissions(runtime, fs::perms::owner_all);
  setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  setenv("XDG_CONFIG_HOME", (Folder() + "/config").c_str(), 1);
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  const std::string file = Folder() + "/handed over.mp4";
  zel::WriteFileAtomic(file, "");

  FirstCopy first(runtime);
  if (!first.Listening()) {
    state.SkipWithError("the first zel did not start listening");
    return;
  }
  // Warm: the disk cache holds both programs.
  RunMs({ZEL_PATH, file});
  RunMs({BARE_QT_PATH});
  double handOver = 0, bare = 0;
  for (auto _ : state) {
    const double ms = RunMs({ZEL_PATH, file});
    const double peer = RunMs({BARE_QT_PATH});
    if (ms < 0 || peer < 0) {
      state.SkipWithError("a start failed");
      return;
    }
    handOver += ms;
    bare += peer;
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["hand_over_ms"] = handOver / n;
  state.counters["bare_qt_start_ms"] = bare / n;
  state.counters["ratio_to_bare_qt"] = handOver / bare;
  state.counters["goal_ratio"] = handOver / n / kHandOverGoalMs;
}
BENCHMARK(BM_SecondStartHandsOver)->Iterations(10)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
