// What media files hold and how they look, found on worker threads and kept: the
// core's reading of a file ("-i" text) completed by the FFmpeg libraries, and a
// row's thumbnail. A window asks and hears back on its own thread; the task
// loop asks ahead for the next task, so that the probe at a job's head finds
// its answer ready.
#pragma once

#include <QImage>
#include <QSize>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "engine/MediaInspection.h"

namespace zel {

// Everything a probe reads of one file with one core. The engine parses it by
// its own rules (FFmpegX::ReadProbeText); the service only gathers it.
struct ProbeFacts {
  std::string toolText;                 // all the core printed for "-i PATH"; "" without a core
  std::optional<MediaFigures> figures;  // the libraries' reading; nothing when they cannot open it
};

// Threads: Probe, Prefetch and the Request calls may be made from any thread.
// Answers are cached by the file's path and stamp and the core's path and
// stamp, so a file or tool that changes is read again. Request callbacks run
// on the host's thread: through the poster when one is set (a Qt host queues
// the call to its GUI thread), otherwise inside DeliverFinished().
class ProbeService {
 public:
  using Poster = std::function<void(std::function<void()>)>;

  // The process's service, with two workers: a probe is mostly the start of a
  // tool, which a second core absorbs while a conversion runs on the first.
  static ProbeService& Instance();

  explicit ProbeService(int workers);
  // Waits for the work under way; queued work that has not begun is dropped.
  ~ProbeService();
  ProbeService(const ProbeService&) = delete;
  ProbeService& operator=(const ProbeService&) = delete;

  void SetPoster(Poster poster);

  // Tells the service what a core printed as its banner. A core that runs on
  // the libraries this program runs on is not started for a probe: its text is
  // made here by the same library calls (ReadMedia), which costs a tenth.
  void NoteCore(const std::string& core, std::string_view banner);

  // The facts of `path` read by `core` (an empty core: the libraries alone).
  // From the cache when nothing changed; waited for when a worker has them under
  // way; made on the calling thread when nobody has begun.
  ProbeFacts Probe(const std::string& path, const std::string& core);
  // Begins that probe on a worker, for a Probe to come.
  void Prefetch(const std::string& path, const std::string& core);
  // The probe, answered on the host's thread.
  void RequestProbe(const std::string& path, const std::string& core,
                    std::function<void(const ProbeFacts&)> done);

  // A picture of the file no larger than `size`, its shape kept: a picture file
  // scaled, a video's frame at a tenth of its length. A null image when neither
  // can be read. Made on a worker, answered on the host's thread.
  void RequestThumbnail(const std::string& path, QSize size, std::function<void(const QImage&)> done);
  // The same, made on the calling thread.
  static QImage MakeThumbnail(const std::string& path, QSize size);

  // Runs the answers waiting for a host without a poster; returns how many ran.
  int DeliverFinished();
  // Forgets every kept answer (work under way still finishes).
  void Forget();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zel
