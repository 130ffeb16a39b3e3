#include "engine/ProbeService.h"

#include <QImageReader>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <future>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "base/FileHelpers.h"
#include "engine/CommandLine.h"
#include "engine/FrameGrabber.h"
#include "engine/ToolCapture.h"

namespace zel {

namespace {

// Enough for every row of a long task list, small enough to forget old folders.
constexpr size_t kKeptProbes = 512;
constexpr size_t kKeptThumbnails = 256;

// One probe, made once by whoever claims it first and awaited by the rest.
struct ProbeJob {
  std::string path, core;
  bool sharedLibraries = false;  // the core's text can be made in-process
  std::atomic<bool> claimed{false};
  std::promise<ProbeFacts> promise;
  std::shared_future<ProbeFacts> answer = promise.get_future().share();

  void RunIfUnclaimed() {
    if (claimed.exchange(true)) return;
    ProbeFacts facts;
    try {
      if (!core.empty() && sharedLibraries) {
        MediaReading reading = ReadMedia(path);
        facts.toolText = std::move(reading.text);
        facts.figures = std::move(reading.figures);
      } else {
        if (!core.empty()) facts.toolText = CaptureToolOutput(core, "-i " + QuoteArgument(path));
        facts.figures = InspectMedia(path);
      }
    } catch (...) {
      // Whatever went wrong, those who wait get an answer: an empty reading.
      facts = ProbeFacts{};
    }
    promise.set_value(std::move(facts));
  }
};

struct ProbeEntry {
  FileStamp file, core;
  std::shared_ptr<ProbeJob> job;
  uint64_t used = 0;
};

struct ThumbnailEntry {
  FileStamp file;
  QImage picture;
  uint64_t used = 0;
};

std::string KeyOf(const std::string& path, const std::string& other) { return path + '\n' + other; }

std::string SizeKey(QSize size) { return std::to_string(size.width()) + "x" + std::to_string(size.height()); }

// Drops the least recently used entry while the map is over its limit.
template <class Map>
void Trim(Map& map, size_t limit) {
  while (map.size() > limit) {
    auto oldest = map.begin();
    for (auto it = map.begin(); it != map.end(); ++it) {
      if (it->second.used < oldest->second.used) oldest = it;
    }
    map.erase(oldest);
  }
}

}  // namespace

struct ProbeService::State {
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> queue;
  std::vector<std::thread> workers;
  bool stopping = false;

  std::map<std::string, ProbeEntry> probes;
  std::map<std::string, FileStamp> sharingCores;  // cores on our libraries, as they were noted
  std::map<std::string, ThumbnailEntry> thumbnails;
  uint64_t clock = 0;

  Poster poster;
  std::vector<std::function<void()>> finished;

  void Work() {
    for (;;) {
      std::function<void()> task;
      {
        std::unique_lock lock(mutex);
        wake.wait(lock, [this] { return stopping || !queue.empty(); });
        if (stopping) return;
        task = std::move(queue.front());
        queue.pop_front();
      }
      task();
    }
  }

  void Enqueue(std::function<void()> task) {
    {
      std::lock_guard lock(mutex);
      queue.push_back(std::move(task));
    }
    wake.notify_one();
  }

  // The job for this file and core: the kept one while both are unchanged, else
  // a new one. A file that cannot be reached is read afresh every time.
  std::shared_ptr<ProbeJob> JobFor(const std::string& path, const std::string& core, bool& fresh) {
    const auto fileStamp = StampOf(path);
    const FileStamp coreStamp = core.empty() ? FileStamp{} : StampOf(core).value_or(FileStamp{});
    auto job = std::make_shared<ProbeJob>();
    job->path = path;
    job->core = core;
    fresh = true;
    std::lock_guard lock(mutex);
    const auto sharing = sharingCores.find(core);
    job->sharedLibraries = sharing != sharingCores.end() && sharing->second == coreStamp;
    if (!fileStamp) return job;
    ProbeEntry& entry = probes[KeyOf(path, core)];
    if (entry.job && entry.file == *fileStamp && entry.core == coreStamp) {
      fresh = false;
      entry.used = ++clock;
      return entry.job;
    }
    entry = ProbeEntry{*fileStamp, coreStamp, job, ++clock};
    Trim(probes, kKeptProbes);
    return job;
  }

  void Deliver(std::function<void()> answer) {
    Poster post;
    {
      std::lock_guard lock(mutex);
      post = poster;
      if (!post) finished.push_back(std::move(answer));
    }
    if (post) post(std::move(answer));
  }
};

ProbeService& ProbeService::Instance() {
  static ProbeService service(2);
  return service;
}

ProbeService::ProbeService(int workers) : state_(std::make_unique<State>()) {
  for (int i = 0; i < workers; ++i) state_->workers.emplace_back([state = state_.get()] { state->Work(); });
}

ProbeService::~ProbeService() {
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
  }
  state_->wake.notify_all();
  for (std::thread& worker : state_->workers) worker.join();
}

void ProbeService::NoteCore(const std::string& core, std::string_view banner) {
  const auto stamp = StampOf(core);
  std::lock_guard lock(state_->mutex);
  if (stamp && CoreSharesOurLibraries(banner)) {
    state_->sharingCores[core] = *stamp;
  } else {
    state_->sharingCores.erase(core);
  }
}

void ProbeService::SetPoster(Poster poster) {
  std::lock_guard lock(state_->mutex);
  state_->poster = std::move(poster);
}

ProbeFacts ProbeService::Probe(const std::string& path, const std::string& core) {
  bool fresh = false;
  const std::shared_ptr<ProbeJob> job = state_->JobFor(path, core, fresh);
  // Unclaimed work, queued or new, is done here rather than waited for.
  job->RunIfUnclaimed();
  return job->answer.get();
}

void ProbeService::Prefetch(const std::string& path, const std::string& core) {
  bool fresh = false;
  std::shared_ptr<ProbeJob> job = state_->JobFor(path, core, fresh);
  if (fresh) state_->Enqueue([job] { job->RunIfUnclaimed(); });
}

void ProbeService::RequestProbe(const std::string& path, const std::string& core,
                                std::function<void(const ProbeFacts&)> done) {
  bool fresh = false;
  std::shared_ptr<ProbeJob> job = state_->JobFor(path, core, fresh);
  state_->Enqueue([state = state_.get(), job, done = std::move(done)] {
    job->RunIfUnclaimed();
    ProbeFacts facts = job->answer.get();
    state->Deliver([done, facts = std::move(facts)] { done(facts); });
  });
}

void ProbeService::RequestThumbnail(const std::string& path, QSize size, std::function<void(const QImage&)> done) {
  state_->Enqueue([state = state_.get(), path, size, done = std::move(done)] {
    const std::string key = KeyOf(path, SizeKey(size));
    const auto stamp = StampOf(path);
    QImage picture;
    bool kept = false;
    {
      std::lock_guard lock(state->mutex);
      const auto found = state->thumbnails.find(key);
      if (stamp && found != state->thumbnails.end() && found->second.file == *stamp) {
        picture = found->second.picture;
        found->second.used = ++state->clock;
        kept = true;
      }
    }
    if (!kept) {
      picture = MakeThumbnail(path, size);
      if (stamp && !picture.isNull()) {
        std::lock_guard lock(state->mutex);
        state->thumbnails[key] = ThumbnailEntry{*stamp, picture, ++state->clock};
        Trim(state->thumbnails, kKeptThumbnails);
      }
    }
    state->Deliver([done, picture] { done(picture); });
  });
}

QImage ProbeService::MakeThumbnail(const std::string& path, QSize size) {
  if (size.width() <= 0 || size.height() <= 0) return {};
  QImage picture;
  // The reader knows a picture by its first bytes, so a video is never read whole.
  QImageReader reader(QString::fromStdString(path));
  reader.setAutoTransform(true);
  if (reader.canRead()) {
    picture = reader.read();
  } else {
    FrameGrabber grabber(path);
    if (grabber.IsOpen()) picture = grabber.FrameAt(grabber.Duration() / 10);
  }
  if (picture.isNull()) return {};
  return picture.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

int ProbeService::DeliverFinished() {
  std::vector<std::function<void()>> answers;
  {
    std::lock_guard lock(state_->mutex);
    answers.swap(state_->finished);
  }
  for (const auto& answer : answers) answer();
  return static_cast<int>(answers.size());
}

void ProbeService::Forget() {
  std::lock_guard lock(state_->mutex);
  state_->probes.clear();
  state_->thumbnails.clear();
}

}  // namespace zel
