// Measures of the main window on an X display (scripts/window-bench.sh runs
// them on a virtual one), each against its goal in the same run:
// - the real `zel` from its process's start to the window's first paint
//   (goal 300 ms), after a warm-up start that fills the disk cache;
// - 1 000 media files dropped as a folder until their rows stand (goal 2 s),
//   and until every row has its thumbnail and its probed facts;
// - the longest stall of the GUI thread while those files come in and while a
//   few short clips are converted by the Start button (goal 50 ms).
// The benchmark's own store ($XDG_CONFIG_HOME) is a scratch folder of its own,
// shared by the started programs and the windows made in this process.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "BenchSupport.h"
#include "app/frmMain.h"
#include "base/FileHelpers.h"
#include "controls/QtText.h"
#include "controls/ctlListbox.h"
#include "engine/ProbeService.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/StartUp.h"
#include "jobs/Tasks.h"
#include "QtBenchMain.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr double kFirstPaintGoalMs = 300;
constexpr double kAddGoalMs = 2000;
constexpr double kStallGoalMs = 50;
constexpr int kFiles = 1000;

std::string Folder() { return zel::TempDirectory() + "/zel-bench-window"; }

// What every window here starts with: no chooser over the lists, no preview of
// a selected row, nothing done after a run.
void WriteQuietSettings(const std::string& outputFolder) {
  zel::WriteSetting("Build", std::to_string(zel::ProgramBuildNumber()));
  zel::WriteSetting("ShowTip", "否");
  zel::WriteSetting("MediaPlayNow", "否");
  zel::WriteSetting("ConvertFinished", "无");
  zel::WriteSetting("CheckMediaInfo", "是");
  zel::WriteSetting("OutputMode", "MP4");
  zel::WriteSetting("OutputFolder", outputFolder);
}

// Turns the event loop until `done` or `ms` pass, looking every 5 ms.
bool WaitFor(const std::function<bool()>& done, int ms) {
  if (done()) return true;
  QEventLoop loop;
  QElapsedTimer clock;
  clock.start();
  QTimer look;
  look.setTimerType(Qt::PreciseTimer);
  QObject::connect(&look, &QTimer::timeout, &loop, [&] {
    if (done() || clock.elapsed() >= ms) loop.quit();
  });
  look.start(5);
  loop.exec();
  return done();
}

// Ticks every 5 ms on the GUI thread and keeps the longest time between two
// ticks: how long the thread was kept from its events.
class Watchdog {
 public:
  Watchdog() {
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      longest_ = std::max(longest_, clock_.nsecsElapsed() / 1e6);
      clock_.restart();
    });
  }
  void Start() {
    longest_ = 0;
    clock_.start();
    timer_.start(5);
  }
  // The longest gap, the one still open counted too.
  double Stop() {
    timer_.stop();
    return std::max(longest_, clock_.nsecsElapsed() / 1e6);
  }

 private:
  QTimer timer_;
  QElapsedTimer clock_;
  double longest_ = 0;
};

// ---- First paint of the real program ----

// Runs `zel` with these extra environment entries, no shell, its output
// dropped, and waits for it; false when it did not start or exit 0.
bool RunZel(const std::vector<std::string>& extraEnv) {
  std::vector<std::string> env;
  for (char** e = environ; *e != nullptr; ++e) {
    if (std::string_view(*e).rfind("XDG_RUNTIME_DIR=", 0) != 0) env.emplace_back(*e);
  }
  env.insert(env.end(), extraEnv.begin(), extraEnv.end());
  // A zel the user runs meanwhile must not take these starts as second ones.
  zel::MakedPath(Folder() + "/run");
  env.push_back("XDG_RUNTIME_DIR=" + Folder() + "/run");
  std::vector<char*> envp;
  for (std::string& e : env) envp.push_back(e.data());
  envp.push_back(nullptr);
  std::string program = ZEL_PATH;
  char* argv[] = {program.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t pid = 0;
  const int started = posix_spawn(&pid, argv[0], &actions, nullptr, argv, envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (started != 0) return false;
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return false;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Milliseconds from the program's start to its first paint as it reported
// them (to a clock tick, 10 ms), and its whole life from spawn to exit; -1
// when it did not report.
std::pair<double, double> FirstPaint() {
  const std::string report = Folder() + "/first-paint.txt";
  std::remove(report.c_str());
  const auto begin = std::chrono::steady_clock::now();
  if (!RunZel({"ZEL_REPORT_FIRST_PAINT=" + report, "ZEL_QUIT_AFTER_FIRST_PAINT=1"})) return {-1, -1};
  const double life = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
  double ms = -1;
  std::ifstream(report) >> ms;
  return {ms, life};
}

void BM_FirstPaintWarm(benchmark::State& state) {
  WriteQuietSettings(Folder() + "/out");
  if (FirstPaint().first < 0) {
    state.SkipWithError("zel did not start or report its first paint");
    return;
  }
  double total = 0, worst = 0, life = 0;
  for (auto _ : state) {
    const auto [ms, whole] = FirstPaint();
    if (ms < 0) {
      state.SkipWithError("zel did not start or report its first paint");
      return;
    }
    total += ms;
    worst = std::max(worst, ms);
    life += whole;
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["first_paint_ms"] = total / n;
  state.counters["first_paint_worst_ms"] = worst;
  state.counters["process_life_ms"] = life / n;
  state.counters["goal_ratio"] = total / n / kFirstPaintGoalMs;
}
BENCHMARK(BM_FirstPaintWarm)->Iterations(5)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- The window in this process ----

// A few small clips in different containers; they stay for the next run.
// Empty when ffmpeg cannot make them.
std::vector<std::string> Clips(int seconds) {
  std::vector<std::string> clips;
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  for (const char* extension : {"mp4", "avi", "mkv", "mov"}) {
    const std::string clip = Folder() + "/clip" + std::to_string(seconds) + "s." + extension;
    if (zel::FileSize(clip) <= 0) {
      zel::MakedPath(Folder());
      const std::string part = Folder() + "/part." + extension;
      const std::string duration = std::to_string(seconds);
      if (ffmpeg.empty() ||
          zel::bench::RunSeconds({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                                  "testsrc=size=320x240:rate=25:duration=" + duration, "-f", "lavfi", "-i",
                                  "sine=frequency=440:duration=" + duration, "-shortest", "-pix_fmt", "yuv420p",
                                  "-c:v", "mpeg4", "-c:a", "aac", part}) < 0) {
        return {};
      }
      std::rename(part.c_str(), clip.c_str());
    }
    clips.push_back(clip);
  }
  return clips;
}

// A folder of `count` files, hard links to the clips under names of their own.
std::string LinkedFolder(const std::vector<std::string>& clips, int count) {
  const std::string folder = Folder() + "/files" + std::to_string(count);
  if (fs::exists(folder)) return folder;
  const std::string part = folder + ".part";
  fs::remove_all(part);
  fs::create_directories(part);
  for (int i = 0; i < count; ++i) {
    const std::string& clip = clips[static_cast<size_t>(i) % clips.size()];
    char name[32];
    std::snprintf(name, sizeof name, "clip %04d", i);
    std::error_code error;
    fs::create_hard_link(clip, part + "/" + name + fs::path(clip).extension().string(), error);
    if (error) fs::copy_file(clip, part + "/" + name + fs::path(clip).extension().string());
  }
  fs::rename(part, folder);
  return folder;
}

// The window as `zel` makes it, without the player's video output, ready for
// files. The quiet settings are written after the start, which may wipe the
// store.
std::unique_ptr<zel::frmMain> StartWindow(const std::string& outputFolder) {
  auto window = std::make_unique<zel::frmMain>(zel::MpvOutput::Headless);
  window->Host().asker = [](const QString&, bool) { return true; };
  window->Host().messenger = [](const QString&) {};
  zel::StartOptions options;
  options.programPath = Folder() + "/zel";
  options.files = {"--"};
  if (zel::Main(window->Host(), options) != zel::StartResult::Ready) return nullptr;
  WriteQuietSettings(outputFolder);
  window->FormLoad();
  WaitFor([&] { return window->isVisible(); }, 5000);
  return window;
}

// Counts the rows that have their thumbnail and their probed facts, from the
// first one that lacks either: rows are added in order and mostly answered so.
class FactsWatch {
 public:
  explicit FactsWatch(const zel::ListboxModel& rows) : rows_(rows) {}
  bool AllDone(int count) {
    while (done_ < rows_.ListCount() && Done(done_)) ++done_;
    return done_ >= count;
  }

 private:
  bool Done(int row) const {
    if (rows_.ListImage(row).empty()) return false;
    // Until the probe answers a row shows the file's size, not its facts.
    return rows_.ListComment(row) != zel::TaskComment(rows_.PathFromIndex(row), nullptr);
  }
  const zel::ListboxModel& rows_;
  int done_ = 0;
};

void BM_AddThousandFiles(benchmark::State& state) {
  const std::vector<std::string> clips = Clips(1);
  if (clips.empty()) {
    state.SkipWithError("no ffmpeg to make the clips");
    return;
  }
  const std::string folder = LinkedFolder(clips, kFiles);
  double rows = 0, facts = 0, stall = 0;
  for (auto _ : state) {
    state.PauseTiming();
    zel::ProbeService::Instance().Forget();
    auto window = StartWindow(Folder() + "/out");
    if (!window) {
      state.SkipWithError("the window did not start");
      return;
    }
    WaitFor([] { return false; }, 200);
    state.ResumeTiming();

    zel::ctlListbox& tasks = window->Tasks();
    double rowsMs = -1;
    QElapsedTimer clock;
    const QMetaObject::Connection counted =
        QObject::connect(&tasks, &zel::ctlListbox::ListChanged, [&](int count, int) {
          if (rowsMs < 0 && count >= kFiles) rowsMs = clock.nsecsElapsed() / 1e6;
        });
    FactsWatch watch(tasks.Model());
    Watchdog dog;
    dog.Start();
    clock.start();
    window->DropFiles({zel::Q(folder)});
    const bool stood = WaitFor([&] { return rowsMs >= 0; }, 60000);
    const bool answered = stood && WaitFor([&] { return watch.AllDone(kFiles); }, 300000);
    const double factsMs = clock.nsecsElapsed() / 1e6;
    const double longest = dog.Stop();
    QObject::disconnect(counted);
    if (!answered) {
      state.SkipWithError(stood ? "not every row got its thumbnail and facts in 5 minutes"
                                : "the rows did not all stand in a minute");
      return;
    }
    rows += rowsMs;
    facts += factsMs;
    stall = std::max(stall, longest);

    state.PauseTiming();
    window->close();
    window.reset();
    state.ResumeTiming();
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["rows_ms"] = rows / n;
  state.counters["rows_goal_ratio"] = rows / n / kAddGoalMs;
  state.counters["thumbnails_facts_ms"] = facts / n;
  state.counters["stall_ms"] = stall;
  state.counters["stall_goal_ratio"] = stall / kStallGoalMs;
}
BENCHMARK(BM_AddThousandFiles)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ConvertBatchStall(benchmark::State& state) {
  const std::vector<std::string> clips = Clips(3);
  if (clips.empty()) {
    state.SkipWithError("no ffmpeg to make the clips");
    return;
  }
  double stall = 0, runs = 0;
  int round = 0;
  for (auto _ : state) {
    state.PauseTiming();
    // Outputs of an earlier round would be kept apart under new names.
    const std::string out = Folder() + "/out-convert-" + std::to_string(round++);
    fs::remove_all(out);
    fs::create_directories(out);
    auto window = StartWindow(out);
    if (!window) {
      state.SkipWithError("the window did not start");
      return;
    }
    // With the rows' facts off (the default) the run makes its own probes.
    const bool factsFirst = state.range(0) != 0;
    if (!factsFirst) {
      zel::WriteSetting("CheckMediaInfo", "否");
      zel::ProbeService::Instance().Forget();
    }
    QStringList files;
    for (const std::string& clip : clips) files << zel::Q(clip);
    window->DropFiles(files);
    FactsWatch watch(window->Tasks().Model());
    const int count = static_cast<int>(clips.size());
    if (!WaitFor([&] { return factsFirst ? watch.AllDone(count) : window->Tasks().ListCount() == count; }, 30000)) {
      state.SkipWithError("the clips' rows did not stand");
      return;
    }
    state.ResumeTiming();

    Watchdog dog;
    QElapsedTimer clock;
    dog.Start();
    clock.start();
    window->PressStart();
    stall = std::max(stall, dog.Stop());
    runs += clock.nsecsElapsed() / 1e6;

    state.PauseTiming();
    const int made = window->Results().ListCount();
    window->close();
    window.reset();
    fs::remove_all(out);
    state.ResumeTiming();
    if (made != static_cast<int>(clips.size())) {
      state.SkipWithError("the run did not convert every clip");
      return;
    }
  }
  state.counters["run_ms"] = runs / static_cast<double>(state.iterations());
  state.counters["stall_ms"] = stall;
  state.counters["stall_goal_ratio"] = stall / kStallGoalMs;
}
BENCHMARK(BM_ConvertBatchStall)->ArgName("rows_probed")->Arg(0)->Arg(1)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  if (!zel::bench::OnXDisplay("zel_window_bench", "scripts/window-bench.sh")) return 0;
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  // A store of its own, which the started programs share.
  const std::string config = Folder() + "/config";
  fs::remove_all(config);
  fs::create_directories(config);
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);
  return zel::bench::RunQtBenchmarks(argc, argv);
}
