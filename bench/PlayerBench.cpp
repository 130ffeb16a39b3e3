// Measures of the player control on an X display with Mesa's software OpenGL
// (scripts/player-bench.sh runs them on a virtual one): the time from OpenFile
// to the first frame on the screen, and the processor time of playing a 720p
// clip, each against the mpv program on the same clip in the same run.
// Goal for both: within 1.2 times mpv.
//
// The peer is mpv's own GPU output with the same software OpenGL (EGL on X11,
// gpu-sw=yes, which mpv refuses to pick by itself on a software renderer), no
// sound device (ao=null, as the control here is given), no hardware decoding,
// and a window of the control's video size, so both decode and present the
// same pictures at the same scale on the same OpenGL stack. Qt is put on EGL
// too for that reason.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QOpenGLWindow>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <mpv/render_gl.h>

#include "base/FileHelpers.h"
#include "player/MpvSession.h"
#include "player/MpvVideoWidget.h"
#include "player/ctlDSPlayer.h"
#include "QtBenchMain.h"

extern char** environ;

namespace {

constexpr int kClipSeconds = 15, kPlaySeconds = 10, kRate = 30;
const QSize kWindow(1280, 720);

std::string Folder() { return zel::TempDirectory() + "/zel-bench-player"; }

struct Finished {
  bool ok = false;
  double wall = 0;  // seconds from start to exit
  double cpu = 0;   // user + system seconds of the program and all its threads
};

// Runs a program, no shell, its output and messages (mpv writes its log to
// the output) to `log`.
Finished Run(const std::vector<std::string>& argv, const std::string& log = "/dev/null") {
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  Finished out;
  pid_t pid = 0;
  const auto begin = std::chrono::steady_clock::now();
  const int started = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (started != 0) return out;
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid) return out;
  out.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  out.cpu = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
            static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  out.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return out;
}

double CpuSelf() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// A 720p H.264 clip at 30 frames a second with AAC sound; it stays for the
// next run. Empty when ffmpeg cannot make it.
std::string Clip() {
  const std::string clip = Folder() + "/clip720.mp4";
  if (zel::FileSize(clip) > 0) return clip;
  zel::MakedPath(Folder());
  const std::string ffmpeg = zel::FindOnPath("ffmpeg");
  const std::string seconds = std::to_string(kClipSeconds);
  if (ffmpeg.empty() ||
      !Run({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
            "testsrc2=size=1280x720:rate=" + std::to_string(kRate) + ":duration=" + seconds, "-f", "lavfi", "-i",
            "sine=frequency=440:sample_rate=48000:duration=" + seconds, "-c:v", "libx264", "-preset", "fast",
            "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest", clip + ".part.mp4"})
           .ok) {
    return {};
  }
  std::rename((clip + ".part.mp4").c_str(), clip.c_str());
  return clip;
}

// Turns the event loop until `done` or `ms` pass, looking every 20 ms: the
// look costs this process's processor time too, so it stays rare.
void WaitFor(const std::function<bool()>& done, int ms) {
  if (done()) return;
  QEventLoop loop;
  QElapsedTimer clock;
  clock.start();
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, &loop, [&] {
    if (done() || clock.elapsed() >= ms) loop.quit();
  });
  look.start(20);
  loop.exec();
}

// A top-level player of the window's size on the screen, ready to open.
std::unique_ptr<zel::ctlDSPlayer> ShownPlayer(bool pause) {
  auto player = std::make_unique<zel::ctlDSPlayer>(nullptr, zel::MpvOutput::Video);
  player->SetMpvOptions({{"ao", "null"}, {"hwdec", "no"}});
  player->SetPause(pause);
  player->resize(kWindow);
  player->show();
  WaitFor([&] { return player->windowHandle() != nullptr && player->windowHandle()->isExposed(); }, 5000);
  return player;
}

// The size the control gives the video, for the peer's window.
QSize& VideoSize() {
  static QSize size;
  return size;
}

std::vector<std::string> Mpv(const std::string& clip, const std::vector<std::string>& more) {
  const QSize size = VideoSize().isValid() ? VideoSize() : kWindow;
  std::vector<std::string> argv{"mpv",
                                "--no-config",
                                "--vo=gpu",
                                "--gpu-context=x11egl",
                                "--gpu-sw=yes",
                                "--ao=null",
                                "--hwdec=no",
                                "--geometry=" + std::to_string(size.width()) + "x" + std::to_string(size.height()) +
                                    "+0+0",
                                "--msg-time",
                                "--msg-level=all=no,cplayer=v,vo/gpu/x11=v,vo/gpu/opengl=v"};
  argv.insert(argv.end(), more.begin(), more.end());
  argv.push_back(clip);
  argv[0] = zel::FindOnPath("mpv");
  return argv;
}

// The time in mpv's log of its first line holding `text`, counted like
// OpenFile's from the making of its handle; -1 when the log has none.
double MpvLogTime(const std::string& log, const std::string& text) {
  std::ifstream in(log);
  std::string line;
  static const std::regex stamp(R"(^\[\s*([0-9.]+)\])");
  std::smatch m;
  while (std::getline(in, line)) {
    if (line.find(text) != std::string::npos && std::regex_search(line, m, stamp)) return std::stod(m[1].str());
  }
  return -1;
}

// Seconds from OpenFile to the first frame on the screen; -1 on failure.
double OpenToFirstFrame(zel::ctlDSPlayer& player, const std::string& clip) {
  QElapsedTimer clock;
  double shown = -1;
  QObject::connect(player.VideoWidget(), &zel::MpvVideoWidget::FirstFrameShown, &player,
                   [&] { shown = static_cast<double>(clock.nsecsElapsed()) / 1e9; }, Qt::SingleShotConnection);
  clock.start();
  if (!player.OpenFile(QString::fromStdString(clip))) return -1;
  WaitFor([&] { return shown >= 0; }, 20000);
  if (VideoSize().isEmpty()) VideoSize() = player.VideoWidget()->size();
  return shown;
}

// Each round opens the clip in a new control in its own window (the window is
// on the screen first, as a host's is) and runs `mpv --frames=1` on it.
// mpv_ms is mpv's own time from its handle to the frame shown, the peer of
// ours_ms; mpv_process_ms adds starting and ending the program. Both hold the
// setting up of OpenGL (mpv's is mpv_gl_setup_ms): the control makes its GL
// surface with its first file, so `ratio` compares like with like.
// ratio_without_gl_setup leaves mpv's out and ours in. reopen_ms is a second
// file opened in the same control, whose OpenGL context then exists.
void BM_OpenToFirstFrame(benchmark::State& state) {
  const std::string clip = Clip();
  if (clip.empty() || zel::FindOnPath("mpv").empty()) {
    state.SkipWithError("no ffmpeg to make the clip, or no mpv");
    return;
  }
  const std::string log = Folder() + "/mpv-first.log";
  double ours = 0, reopen = 0, mpv = 0, process = 0, glSetup = 0;
  for (auto _ : state) {
    {
      std::unique_ptr<zel::ctlDSPlayer> player = ShownPlayer(true);
      const double first = OpenToFirstFrame(*player, clip);
      player->CloseFile();
      const double again = OpenToFirstFrame(*player, clip);
      if (first < 0 || again < 0) {
        state.SkipWithError("the control showed no frame");
        return;
      }
      ours += first;
      reopen += again;
    }
    const Finished peer = Run(Mpv(clip, {"--frames=1"}), log);
    // mpv logs this once its output has shown the frame.
    const double peerFirst = MpvLogTime(log, "first video frame after restart shown");
    const double glOpen = MpvLogTime(log, "X11 opening display"), glReady = MpvLogTime(log, "GL_VERSION=");
    if (glOpen >= 0 && glReady >= glOpen) glSetup += glReady - glOpen;
    if (!peer.ok || peerFirst < 0) {
      state.SkipWithError("mpv showed no frame (see zel-bench-player/mpv-first.log)");
      return;
    }
    mpv += peerFirst;
    process += peer.wall;
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["ours_ms"] = ours * 1000 / n;
  state.counters["reopen_ms"] = reopen * 1000 / n;
  state.counters["mpv_ms"] = mpv * 1000 / n;
  state.counters["mpv_process_ms"] = process * 1000 / n;
  state.counters["mpv_gl_setup_ms"] = glSetup * 1000 / n;
  state.counters["ratio"] = ours / mpv;
  if (mpv > glSetup) state.counters["ratio_without_gl_setup"] = ours / (mpv - glSetup);
}
BENCHMARK(BM_OpenToFirstFrame)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

// The drops mpv counted before the file unloads, written to its messages.
std::string DropScript() {
  const std::string path = Folder() + "/drops.lua";
  std::ofstream(path) << "mp.add_hook('on_unload', 50, function()\n"
                         "  io.stderr:write(string.format('zel-drops %d %d\\n',\n"
                         "    mp.get_property_number('frame-drop-count', 0),\n"
                         "    mp.get_property_number('decoder-frame-drop-count', 0)))\n"
                         "end)\n";
  return path;
}

// Processor time (user + system, all threads) of opening the clip and playing
// its first kPlaySeconds in real time: ours in this process from OpenFile
// until the position passes that time, mpv as a child with --end, from its
// start to its exit. frames is what the control drew and swaps how often its
// window was put on the screen; the drops of both say whether either saved
// work by skipping frames.
void BM_PlayCpu720p(benchmark::State& state) {
  const std::string clip = Clip();
  if (clip.empty() || zel::FindOnPath("mpv").empty()) {
    state.SkipWithError("no ffmpeg to make the clip, or no mpv");
    return;
  }
  const std::string log = Folder() + "/mpv-play.log";
  const std::string script = DropScript();
  double ours = 0, oursWall = 0, mpv = 0, mpvWall = 0, frames = 0, swaps = 0, drops = 0, mpvDrops = 0;
  for (auto _ : state) {
    {
      std::unique_ptr<zel::ctlDSPlayer> player = ShownPlayer(false);
      long long swapped = 0;
      QObject::connect(player->VideoWidget(), &QOpenGLWidget::frameSwapped, player.get(), [&] { ++swapped; });
      QElapsedTimer clock;
      clock.start();
      const double before = CpuSelf();
      if (!player->OpenFile(QString::fromStdString(clip))) {
        state.SkipWithError("the control could not open the clip");
        return;
      }
      WaitFor([&] { return player->Position() >= kPlaySeconds; }, kPlaySeconds * 3000);
      ours += CpuSelf() - before;
      oursWall += static_cast<double>(clock.nsecsElapsed()) / 1e9;
      frames += static_cast<double>(player->VideoWidget()->FramesDrawn());
      swaps += static_cast<double>(swapped);
      if (zel::MpvSession* session = player->Session()) {
        drops += static_cast<double>(session->GetInt("frame-drop-count").value_or(0) +
                                     session->GetInt("decoder-frame-drop-count").value_or(0));
      }
      player->SetPause(true);
      player->CloseFile();
    }
    const Finished peer = Run(Mpv(clip, {"--end=" + std::to_string(kPlaySeconds), "--script=" + script}), log);
    if (!peer.ok) {
      state.SkipWithError("mpv could not play the clip (see zel-bench-player/mpv-play.log)");
      return;
    }
    mpv += peer.cpu;
    mpvWall += peer.wall;
    std::ifstream in(log);
    std::string word;
    long long a = 0, b = 0;
    while (in >> word) {
      if (word == "zel-drops" && in >> a >> b) mpvDrops += static_cast<double>(a + b);
    }
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["ours_cpu_s"] = ours / n;
  state.counters["mpv_cpu_s"] = mpv / n;
  state.counters["ratio"] = ours / mpv;
  state.counters["ours_wall_s"] = oursWall / n;
  state.counters["mpv_wall_s"] = mpvWall / n;
  state.counters["frames"] = frames / n;
  state.counters["swaps"] = swaps / n;
  // Both skip frames they cannot draw in time, so the time per frame shown is
  // the measure of the drawing path itself (mpv's shown frames: those of the
  // played span less its drops).
  const double mpvShown = n * kPlaySeconds * kRate - mpvDrops;
  if (frames > 0 && mpvShown > 0) {
    state.counters["ours_ms_per_frame"] = ours * 1000 / frames;
    state.counters["mpv_ms_per_frame"] = mpv * 1000 / mpvShown;
    state.counters["ratio_per_frame"] = (ours / frames) / (mpv / mpvShown);
  }
  state.counters["drops"] = drops / n;
  state.counters["mpv_drops"] = mpvDrops / n;
}
BENCHMARK(BM_PlayCpu720p)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// What Qt alone costs to put a frame of an OpenGL widget of the video's size
// on the screen, 30 times a second, when the widget draws nearly nothing (one
// clear): the part of each frame above that no mpv option can take away. The
// widget's picture is composed into its window by two more drawing passes;
// native_ms_per_frame is the same clear in an OpenGL window of its own, which
// is shown without them.
void Clear(int& shade) {
  shade = (shade + 1) % 256;
  QOpenGLContext::currentContext()->functions()->glClearColor(static_cast<float>(shade) / 255.0f, 0, 0, 1);
  QOpenGLContext::currentContext()->functions()->glClear(GL_COLOR_BUFFER_BIT);
}

class ClearingWidget : public QOpenGLWidget {
 public:
  using QOpenGLWidget::QOpenGLWidget;

 protected:
  void paintGL() override { Clear(shade_); }

 private:
  int shade_ = 0;
};

class ClearingWindow : public QOpenGLWindow {
 protected:
  void paintGL() override { Clear(shade_); }

 private:
  int shade_ = 0;
};

// CPU milliseconds a frame of `update` run 30 times a second for 5 s, and the
// frames that reached the screen.
std::pair<double, long long> FrameCost(QObject* shown, const std::function<void()>& update) {
  long long swapped = 0;
  if (auto* w = qobject_cast<QOpenGLWidget*>(shown)) {
    QObject::connect(w, &QOpenGLWidget::frameSwapped, w, [&] { ++swapped; });
  } else if (auto* g = qobject_cast<QOpenGLWindow*>(shown)) {
    QObject::connect(g, &QOpenGLWindow::frameSwapped, g, [&] { ++swapped; });
  }
  QTimer frame;
  QObject::connect(&frame, &QTimer::timeout, update);
  const double before = CpuSelf();
  frame.start(1000 / kRate);
  WaitFor([] { return false; }, 5000);
  frame.stop();
  const double cpu = CpuSelf() - before;
  return {swapped > 0 ? cpu * 1000 / static_cast<double>(swapped) : 0, swapped};
}

void BM_QtWidgetFrameCost(benchmark::State& state) {
  // The widget as a native child window too: its picture is then composed
  // into its own window, which is no cheaper when it covers the window, since
  // Qt still draws the widget's texture and then blends the whole backing
  // store over it.
  struct Variant {
    const char* name;
    bool native;
  };
  for (auto _ : state) {
    for (const Variant v : {Variant{"", false}, Variant{"native_child_", true}}) {
      QWidget window;
      window.resize(kWindow);
      auto* widget = new ClearingWidget(&window);
      if (v.native) {
        widget->setAttribute(Qt::WA_NativeWindow);
        widget->setAttribute(Qt::WA_DontCreateNativeAncestors);
      }
      widget->setGeometry(QRect(QPoint(0, 0), VideoSize().isValid() ? VideoSize() : kWindow));
      window.show();
      WaitFor([&] { return window.windowHandle() != nullptr && window.windowHandle()->isExposed(); }, 5000);
      const auto [cost, frames] = FrameCost(widget, [widget] { widget->update(); });
      state.counters[std::string(v.name) + "ms_per_frame"] = cost;
      state.counters[std::string(v.name) + "frames"] = static_cast<double>(frames);
    }
    ClearingWindow native;
    native.resize(VideoSize().isValid() ? VideoSize() : kWindow);
    native.show();
    WaitFor([&] { return native.isExposed(); }, 5000);
    const auto [nativeCost, nativeFrames] = FrameCost(&native, [&native] { native.update(); });
    state.counters["native_ms_per_frame"] = nativeCost;
    state.counters["native_frames"] = static_cast<double>(nativeFrames);
  }
}
BENCHMARK(BM_QtWidgetFrameCost)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// mpv's render API into a native OpenGL window of its own, with no control
// and no widget composition: what the control's path would cost if the video
// were shown in a window of its own (the render API against mpv's own output).
class RenderWindow : public QOpenGLWindow {
 public:
  explicit RenderWindow(zel::MpvSession& session) : session_(session) {}
  ~RenderWindow() override {
    makeCurrent();
    if (render_ != nullptr) mpv_render_context_free(render_);
    doneCurrent();
  }
  long long frames = 0;

 protected:
  void initializeGL() override {
    mpv_opengl_init_params gl{[](void*, const char* name) -> void* {
                                return reinterpret_cast<void*>(QOpenGLContext::currentContext()->getProcAddress(name));
                              },
                              nullptr};
    mpv_render_param params[] = {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_OPENGL)},
                                 {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &gl},
                                 {MPV_RENDER_PARAM_INVALID, nullptr}};
    if (mpv_render_context_create(&render_, session_.Handle(), params) < 0) render_ = nullptr;
    if (render_ != nullptr) {
      mpv_render_context_set_update_callback(
          render_,
          [](void* self) {
            auto* window = static_cast<RenderWindow*>(self);
            QMetaObject::invokeMethod(window, [window] { window->update(); }, Qt::QueuedConnection);
          },
          this);
    }
  }
  void paintGL() override {
    if (render_ == nullptr) return;
    mpv_opengl_fbo fbo{static_cast<int>(defaultFramebufferObject()), width(), height(), 0};
    int flipY = 1;
    mpv_render_param params[] = {{MPV_RENDER_PARAM_OPENGL_FBO, &fbo},
                                 {MPV_RENDER_PARAM_FLIP_Y, &flipY},
                                 {MPV_RENDER_PARAM_INVALID, nullptr}};
    mpv_render_frame_info next{};
    mpv_render_context_get_info(render_, {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &next});
    mpv_render_context_render(render_, params);
    if ((next.flags & MPV_RENDER_FRAME_INFO_PRESENT) != 0 && (next.flags & MPV_RENDER_FRAME_INFO_REDRAW) == 0) ++frames;
  }

 private:
  zel::MpvSession& session_;
  mpv_render_context* render_ = nullptr;
};

void BM_PlayCpu720pRenderApiWindow(benchmark::State& state) {
  const std::string clip = Clip();
  if (clip.empty()) {
    state.SkipWithError("no ffmpeg to make the clip");
    return;
  }
  double cpu = 0, frames = 0;
  for (auto _ : state) {
    auto session = std::make_unique<zel::MpvSession>(zel::MpvOutput::Video,
                                                      std::vector<std::pair<QString, QString>>{{"ao", "null"}, {"hwdec", "no"}});
    auto window = std::make_unique<RenderWindow>(*session);
    window->resize(VideoSize().isValid() ? VideoSize() : kWindow);
    window->show();
    WaitFor([&] { return window->isExposed(); }, 5000);
    window->update();
    WaitFor([] { return false; }, 200);  // the render context exists before the file loads
    const double before = CpuSelf();
    session->SetFlag("pause", false);
    session->LoadFile(QString::fromStdString(clip));
    WaitFor([&] { return session->GetDouble("time-pos").value_or(0) >= kPlaySeconds; }, kPlaySeconds * 3000);
    cpu += CpuSelf() - before;
    frames += static_cast<double>(window->frames);
    session->SetFlag("pause", true);
    window.reset();
    session.reset();
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["cpu_s"] = cpu / n;
  state.counters["frames"] = frames / n;
  if (frames > 0) state.counters["ms_per_frame"] = cpu * 1000 / frames;
}
BENCHMARK(BM_PlayCpu720pRenderApiWindow)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  if (!zel::bench::OnXDisplay("zel_player_bench", "scripts/player-bench.sh")) return 0;
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  setenv("QT_XCB_GL_INTEGRATION", "xcb_egl", 0);
  setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
  return zel::bench::RunQtBenchmarks(argc, argv);
}
