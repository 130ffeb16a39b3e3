#include "jobs/FileIntake.h"

#include <dirent.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "base/FileHelpers.h"
#include "base/FindFiles.h"
#include "base/TextHelpers.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/JobHost.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"

namespace zel {

namespace {

constexpr std::string_view kAllFilesPattern = "*.*";
constexpr std::string_view kSupportedFilters[] = {kVideoFilter, kAudioFilter, kSubtitleFilter, kImageFilter};

// A batch goes to the host when it is this full or this old, so that a large
// folder shows progress without a message per file.
constexpr size_t kBatchSize = 64;
constexpr auto kBatchInterval = std::chrono::milliseconds(100);
// Links deeper than this are taken for a loop.
constexpr int kLinkHops = 40;
// A launcher is a few lines; anything larger named ".desktop" is no shortcut.
constexpr int64_t kDesktopFileLimit = 64 * 1024;

// Bumped by CancelFileSearches; a walk that sees another value than it began with stops.
std::atomic<uint64_t> gSearchGeneration{0};

// The final target of a symlink, made absolute; the path itself when it is no
// link, the target is missing or the links go round.
std::string FollowSymlinks(const std::string& path) {
  std::string current = path;
  for (int hop = 0; hop < kLinkHops; ++hop) {
    char buffer[PATH_MAX];
    const ssize_t length = ::readlink(current.c_str(), buffer, sizeof buffer);
    if (length < 0) {
      struct stat st {};
      return ::stat(current.c_str(), &st) == 0 ? current : path;
    }
    std::string target(buffer, static_cast<size_t>(length));
    if (target.empty()) return path;
    if (target.front() != '/') target = FolderOf(current) + target;
    current = std::filesystem::path(target).lexically_normal().string();
  }
  return path;
}

// "file:///a%20b" -> "/a b"; "" for any other scheme or a remote host.
std::string PathOfFileUrl(std::string_view url) {
  constexpr std::string_view kScheme = "file://";
  if (url.size() < kScheme.size() || LowerAscii(url.substr(0, kScheme.size())) != kScheme) return {};
  std::string_view rest = url.substr(kScheme.size());
  if (StartsWith(LowerAscii(rest), "localhost/")) rest.remove_prefix(std::string_view("localhost").size());
  if (rest.empty() || rest.front() != '/') return {};
  return PercentDecode(rest);
}

// A desktop entry value with its escapes undone.
std::string DesktopValue(std::string_view raw) {
  std::string value;
  for (size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\\' && i + 1 < raw.size()) {
      const char next = raw[++i];
      value += next == 's' ? ' ' : next == 'n' ? '\n' : next == 't' ? '\t' : next == 'r' ? '\r' : next;
    } else {
      value += raw[i];
    }
  }
  return value;
}

// The arguments of an Exec line: blanks separate, double quotes group.
std::vector<std::string> ExecArguments(std::string_view exec) {
  std::vector<std::string> arguments;
  std::string current;
  bool quoted = false, any = false;
  for (size_t i = 0; i < exec.size(); ++i) {
    const char c = exec[i];
    if (quoted && c == '\\' && i + 1 < exec.size()) {
      current += exec[++i];
    } else if (c == '"') {
      quoted = !quoted;
      any = true;
    } else if (c == ' ' && !quoted) {
      if (any) arguments.push_back(std::move(current));
      current.clear();
      any = false;
    } else {
      current += c;
      any = true;
    }
  }
  if (any) arguments.push_back(std::move(current));
  return arguments;
}

// The file a launcher points at: URL= of a link, the first file URL on the
// Exec= line of an application. "" when it points at none.
std::string DesktopTarget(const std::string& path) {
  if (LowerAscii(ExtensionOf(path)) != "desktop" || FileSize(path) > kDesktopFileLimit) return {};
  bool inEntry = false;
  std::string type, url, exec;
  const std::string text = ReadText(path);
  for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    const std::string trimmed = Trim(line);
    if (trimmed.empty() || trimmed.front() == '#') continue;
    if (trimmed.front() == '[') {
      inEntry = trimmed == "[Desktop Entry]";
      continue;
    }
    const size_t equals = trimmed.find('=');
    if (!inEntry || equals == std::string::npos) continue;
    const std::string key = Trim(std::string_view(trimmed).substr(0, equals));
    const std::string value = DesktopValue(Trim(std::string_view(trimmed).substr(equals + 1)));
    if (key == "Type") type = value;
    if (key == "URL") url = value;
    if (key == "Exec") exec = value;
  }
  if (type == "Link") return PathOfFileUrl(url);
  if (type == "Application") {
    for (const std::string& argument : ExecArguments(exec)) {
      const std::string target = PathOfFileUrl(argument);
      if (!target.empty()) return target;
    }
  }
  return {};
}

std::string ProgressLine(const std::string& path, size_t number, size_t total) {
  return BaseNameOf(path) + "  " + std::to_string(number) + "/" + std::to_string(total) + " | " + path;
}

}  // namespace

// ---- The open dialog ----

std::vector<FileFilterRow> OpenDialogFilters() {
  std::string all;
  for (std::string_view filter : kSupportedFilters) {
    if (!all.empty()) all += "; ";
    all += filter;
  }
  return {
      {std::string(StrFilterAllSupported), all},
      {std::string(StrFilterAllFiles), std::string(kAllFilesPattern)},
      {std::string(StrFilterVideo), std::string(kVideoFilter)},
      {std::string(StrFilterAudio), std::string(kAudioFilter)},
      {std::string(StrFilterSubtitle), std::string(kSubtitleFilter)},
      {std::string(StrFilterImage), std::string(kImageFilter)},
  };
}

bool IsSupportedFile(std::string_view path) {
  // A file called "mp4" has no extension, though a format of that name would.
  if (ExtensionOf(path).empty()) return false;
  return std::any_of(std::begin(kSupportedFilters), std::end(kSupportedFilters),
                     [path](std::string_view filter) { return InFilter(path, filter); });
}

std::string OpenDialogFolder() {
  const std::string folder = ReadSetting("LastOpenFileFolder");
  return DirectoryExists(folder) ? folder : SettingDefault("LastOpenFileFolder");
}

void RememberOpenFolder(const std::vector<std::string>& chosen) {
  if (chosen.empty()) return;
  const std::string folder = FolderOf(chosen.front());
  if (!folder.empty()) WriteSetting("LastOpenFileFolder", folder);
}

// ---- Shortcuts ----

std::string ResolveShortcut(const std::string& path) {
  const std::string resolved = FollowSymlinks(path);
  const std::string target = DesktopTarget(resolved);
  return target.empty() ? resolved : FollowSymlinks(target);
}

// ---- Folder scan ----

void CancelFileSearches() { gSearchGeneration.fetch_add(1); }

namespace {

// One walk: what the worker reads to know it must stop.
struct ScanRun {
  uint64_t id = 0;
  uint64_t generation = 0;
  std::atomic<bool> canceled{false};

  bool Stopped() const { return canceled.load() || gSearchGeneration.load() != generation; }
};

// The walk itself, on the worker: the finder's regular files in its order,
// those of a supported kind handed on in batches.
void Walk(const std::shared_ptr<ScanRun>& run, const std::vector<std::string>& roots,
          const std::function<void(std::vector<std::string>)>& postBatch) {
  std::vector<std::string> batch;
  auto sent = std::chrono::steady_clock::now();
  auto send = [&](bool full) {
    const auto now = std::chrono::steady_clock::now();
    if (batch.empty() || (!full && now - sent < kBatchInterval)) return;
    postBatch(std::exchange(batch, {}));
    sent = now;
  };

  clsFindFileApi finder;
  finder.Stop = [&run] { return run->Stopped(); };
  finder.Found = [&](const std::string& path) {
    if (!IsSupportedFile(path)) return;
    batch.push_back(path);
    send(batch.size() >= kBatchSize);
  };
  // Files found before a long stretch of folders without any are not held back.
  finder.FolderListed = [&] { send(false); };
  finder.FindFiles(roots, "*.*", FileAttr::Plain, true);
  if (!run->Stopped()) send(true);
}

}  // namespace

struct FolderScan::State {
  FolderScan* owner = nullptr;
  Poster poster;

  // The host's thread only.
  std::thread worker;
  std::shared_ptr<ScanRun> current;
  uint64_t nextId = 0;
  size_t delivered = 0;
  bool running = false;

  std::mutex mutex;  // guards `waiting`
  std::vector<std::function<void()>> waiting;

  void Post(std::function<void()> answer) {
    if (poster) {
      poster(std::move(answer));
      return;
    }
    std::lock_guard lock(mutex);
    waiting.push_back(std::move(answer));
  }

  bool IsCurrent(uint64_t id) const { return current && current->id == id; }

  void OnFound(uint64_t id, const std::vector<std::string>& paths) {
    if (!IsCurrent(id) || current->Stopped()) return;
    delivered += paths.size();
    if (owner->Found) owner->Found(paths, delivered);
  }

  void OnFinished(uint64_t id, bool canceled) {
    if (!IsCurrent(id)) return;
    running = false;
    if (owner->Finished) owner->Finished(delivered, canceled || current->Stopped());
  }

  void StopWorker() {
    if (current) current->canceled = true;
    if (worker.joinable()) worker.join();
  }
};

FolderScan::FolderScan(Poster poster) : state_(std::make_shared<State>()) {
  state_->owner = this;
  state_->poster = std::move(poster);
}

FolderScan::~FolderScan() { state_->StopWorker(); }

void FolderScan::Start(std::vector<std::string> folders) {
  state_->StopWorker();
  auto run = std::make_shared<ScanRun>();
  run->id = ++state_->nextId;
  run->generation = gSearchGeneration.load();
  state_->current = run;
  state_->delivered = 0;
  state_->running = true;

  // Answers reach the state only while it lives: a scan destroyed with answers
  // still queued on the host's loop is not called back.
  const std::weak_ptr<State> weak = state_;
  State* state = state_.get();
  state_->worker = std::thread([state, weak, run, folders = std::move(folders)]() mutable {
    const uint64_t id = run->id;
    Walk(run, folders, [state, weak, id](std::vector<std::string> paths) {
      state->Post([weak, id, paths = std::move(paths)] {
        if (const auto alive = weak.lock()) alive->OnFound(id, paths);
      });
    });
    const bool canceled = run->Stopped();
    state->Post([weak, id, canceled] {
      if (const auto alive = weak.lock()) alive->OnFinished(id, canceled);
    });
  });
}

void FolderScan::Cancel() {
  if (state_->current) state_->current->canceled = true;
}

bool FolderScan::Running() const { return state_->running; }

bool FolderScan::Canceled() const { return state_->current && state_->current->Stopped(); }

void FolderScan::Wait() {
  if (state_->worker.joinable()) state_->worker.join();
}

int FolderScan::DeliverFinished() {
  std::vector<std::function<void()>> answers;
  {
    std::lock_guard lock(state_->mutex);
    answers.swap(state_->waiting);
  }
  for (const auto& answer : answers) answer();
  return static_cast<int>(answers.size());
}

// ---- Adding files ----

FileIntake::FileIntake(ListboxModel& tasks, JobHost& host, Poster poster)
    : tasks_(tasks), host_(host), scan_(std::move(poster)) {
  scan_.Found = [this](const std::vector<std::string>& paths, size_t found) { ScanFound(paths, found); };
  scan_.Finished = [this](size_t found, bool canceled) { ScanFinished(found, canceled); };
}

FileIntake::~FileIntake() = default;

void FileIntake::DropFiles(const std::vector<std::string>& paths) {
  CancelFileSearches();
  pending_.clear();
  std::vector<std::string> files, folders;
  for (const std::string& path : paths) {
    if (path.empty()) continue;
    std::string resolved = ResolveShortcut(path);
    (DirectoryExists(resolved) ? folders : files).push_back(std::move(resolved));
  }
  for (size_t i = 0; i < files.size(); ++i) {
    AddToTaskList(tasks_, files[i], probe);
    if (ProgressText) ProgressText(ProgressLine(files[i], i + 1, files.size()));
    host_.PumpEvents();
  }
  if (folders.empty()) return;
  endPending_ = false;
  scanRows_ = 0;
  scanFound_ = 0;
  scan_.Start(std::move(folders));
}

void FileIntake::AddHandedOver(std::string_view list) { DropFiles(Split(list, "|")); }

void FileIntake::AddChosenFiles(const std::vector<std::string>& paths) {
  RememberOpenFolder(paths);
  DropFiles(paths);
}

void FileIntake::AddFolder(const std::string& folder) { DropFiles({folder}); }

bool FileIntake::Scanning() const { return scan_.Running() || !pending_.empty() || endPending_; }

void FileIntake::CancelScan() {
  scan_.Cancel();
  pending_.clear();
}

void FileIntake::FinishScan() {
  scan_.Wait();
  scan_.DeliverFinished();
}

void FileIntake::ScanFound(const std::vector<std::string>& paths, size_t found) {
  scanFound_ = found;
  if (SearchCount) SearchCount(found);
  pending_.insert(pending_.end(), paths.begin(), paths.end());
  Drain();
}

void FileIntake::ScanFinished(size_t found, bool canceled) {
  scanFound_ = found;
  endPending_ = true;
  endCanceled_ = canceled;
  Drain();
}

// Rows of the scan are made here alone, so that a batch that arrives while the
// host has its turn waits behind the rows before it.
void FileIntake::Drain() {
  if (draining_) return;
  draining_ = true;
  while (!pending_.empty()) {
    if (scan_.Canceled()) {
      pending_.clear();
      break;
    }
    const std::string path = ResolveShortcut(pending_.front());
    pending_.pop_front();
    AddToTaskList(tasks_, path, probe);
    ++scanRows_;
    if (ProgressText) ProgressText(ProgressLine(path, scanRows_, scanFound_));
    host_.PumpEvents();
  }
  draining_ = false;
  if (!endPending_) return;
  endPending_ = false;
  host_.AddInfo(StrInfoDone, StrSearchFinished);
  if (SearchEnded) SearchEnded(scanFound_, endCanceled_);
}

// ---- Disc drives ----

std::vector<std::string> OpticalDrives(const std::string& devFolder, const std::string& cdromInfo) {
  std::set<std::string> names;
  if (DIR* dir = ::opendir(devFolder.c_str())) {
    while (const dirent* item = ::readdir(dir)) {
      const std::string_view name = item->d_name;
      if (name.size() > 2 && StartsWith(name, "sr") &&
          std::all_of(name.begin() + 2, name.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        names.emplace(name);
      }
    }
    ::closedir(dir);
  }
  // "drive name:\tsr1\tsr0", one column a drive.
  const std::string info = ReadText(cdromInfo);
  for (std::string_view line : SplitLines(info, LastLine::KeepIfNotEmpty)) {
    if (!StartsWith(line, "drive name:")) continue;
    for (const std::string& name : Split(ReplaceAll(line.substr(11), "\t", " "), " ")) {
      if (!name.empty() && name.find('/') == std::string::npos) names.insert(name);
    }
  }
  std::vector<std::string> drives;
  for (const std::string& name : names) {
    const std::string device = cPath(devFolder) + name;
    if (FileExists(device)) drives.push_back(device);
  }
  return drives;
}

bool AddDiscTask(ListboxModel& tasks, JobHost& host, const std::string& drive) {
  if (drive.empty() || !host.Ask(StrAddDiscQuestion, true)) return false;
  AddToTaskList(tasks, EndsWith(drive, ":") ? drive : drive + ":");
  host.ShowMessage(StrDiscNote);
  return true;
}

// ---- Web search ----

namespace {

// Engines that have closed keep their names and send the query to a live
// engine of the same kind; the music finders narrow it with a tail.
constexpr SearchEngine kSearchEngines[] = {
    {"Google", "https://www.google.com/search?q=", ""},
    {"Google China", "https://www.google.com.hk/search?hl=zh-CN&q=", ""},
    {"Google Video", "https://www.google.com/search?tbm=vid&q=", ""},
    {"BaiDu", "https://www.baidu.com/s?wd=", ""},
    {"gougou", "https://www.sogou.com/web?query=", ""},
    {"YouTube", "https://www.youtube.com/results?search_query=", ""},
    {"Yahoo!", "https://search.yahoo.com/search?p=", ""},
    {"Altavista", "https://search.yahoo.com/search?p=", ""},
    {"HotBot", "https://www.hotbot.com/web?q=", ""},
    {"About.com", "https://duckduckgo.com/?q=", ""},
    {"DogPile", "https://www.dogpile.com/serp?q=", ""},
    {"DejaNews", "https://groups.google.com/search?q=", ""},
    {"LookSmart", "https://www.bing.com/search?q=", ""},
    {"Kanoodle", "https://duckduckgo.com/?q=", ""},
    {"NBCi", "https://www.bing.com/videos/search?q=", ""},
    {"Northern Light", "https://duckduckgo.com/?q=", "&ia=web"},
    {"MetaCrawler", "https://www.metacrawler.com/serp?q=", ""},
    {"WebCrawler", "https://www.webcrawler.com/serp?q=", ""},
    {"Search.com", "https://www.search.com/web?q=", ""},
    {"Excite", "https://results.excite.com/serp?q=", ""},
    {"Mp3Search.com", "https://www.google.com/search?q=", "+mp3"},
    {"Mp3Board", "https://www.bing.com/search?q=", "+mp3"},
    {"MusicSeek", "https://www.last.fm/search?q=", ""},
    {"MediaCrawler", "https://www.google.com/search?tbm=vid&q=", "+music"},
    {"Music.com", "https://music.youtube.com/search?q=", ""},
    {"Bing", "https://www.bing.com/search?q=", ""},
    {"DuckDuckGo", "https://duckduckgo.com/?q=", ""},
    {"Bilibili", "https://search.bilibili.com/all?keyword=", ""},
    {"Discogs", "https://www.discogs.com/search/?q=", "&type=all"},
    {"MusicBrainz", "https://musicbrainz.org/search?type=recording&query=", ""},
};

}  // namespace

std::span<const SearchEngine> SearchEngines() { return kSearchEngines; }

std::string SearchUrl(std::string_view engine, std::string_view path) {
  for (const SearchEngine& row : kSearchEngines) {
    if (row.name != engine) continue;
    return std::string(row.head) + ReplaceAll(PercentEncode(BaseNameOf(path), " "), " ", "+") +
           std::string(row.tail);
  }
  return {};
}

}  // namespace zel
