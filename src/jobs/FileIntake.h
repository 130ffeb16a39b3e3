// How files reach the task list (the open dialog, a drop, a folder scan, the
// list of a second start, a disc drive) and the commands of the file, task and
// result lists. The window shows; everything it decides stands here.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/CopyFile.h"

namespace zel {

class FFmpegX;
class JobHost;
class ListboxModel;

// ---- The open dialog ----

// One row of the dialog's filter choice: the label and its patterns, "; "
// between them ("*.jpg; *.jpeg; ...").
struct FileFilterRow {
  std::string label;
  std::string pattern;
};
// All supported (the four filters joined), all files, video, audio,
// subtitles, images.
std::vector<FileFilterRow> OpenDialogFilters();
// True when the path's extension is in the video, audio, subtitle or image filter.
bool IsSupportedFile(std::string_view path);
// Where the dialog opens: `LastOpenFileFolder` while it is a folder, else the home folder.
std::string OpenDialogFolder();
// Remembers the folder of the first chosen file for the next dialog.
void RememberOpenFolder(const std::vector<std::string>& chosen);

// ---- Shortcuts ----

// What a dropped path stands for: a symlink its final target, a ".desktop" file
// of Type=Link (URL=) or Type=Application (Exec= holding a file URL) the file
// that URL names, whether or not it exists. Any other path stands for itself,
// and so do a launcher without a file URL and a link whose target is missing
// or whose links go round.
std::string ResolveShortcut(const std::string& path);

// ---- Folder scan ----

// Stops every folder scan under way, wherever it was started: a drop stops the
// scan that runs before it adds its own files.
void CancelFileSearches();

// Walks folders breadth-first on a thread of its own and reports the supported
// files it finds, each folder's files sorted by name, in batches. Folders that
// cannot be read are passed over; a folder reached twice (through a link) is
// walked once. The callbacks run on the host's thread: through the poster when
// one is set (a Qt host queues the call to its GUI thread), otherwise inside
// DeliverFinished(). After a cancel no further batch is reported.
class FolderScan {
 public:
  using Poster = std::function<void(std::function<void()>)>;

  explicit FolderScan(Poster poster = {});
  // Cancels the walk and waits for its thread; answers not yet delivered are dropped.
  ~FolderScan();
  FolderScan(const FolderScan&) = delete;
  FolderScan& operator=(const FolderScan&) = delete;

  // Found paths in order, and how many were found so far.
  std::function<void(const std::vector<std::string>& paths, size_t found)> Found;
  // The walk ended; `found` counts the reported paths.
  std::function<void(size_t found, bool canceled)> Finished;

  // Begins a walk of these folders, one after the other; a walk under way is
  // canceled first and is heard of no more.
  void Start(std::vector<std::string> folders);
  // Returns at once; the walk stops within milliseconds.
  void Cancel();
  // From Start until Finished has been delivered.
  bool Running() const;
  // The last walk was canceled, by Cancel or CancelFileSearches.
  bool Canceled() const;
  // Waits until the walk's thread has ended (its answers may still wait for delivery).
  void Wait();
  // Runs the answers waiting for a host without a poster; returns how many ran.
  int DeliverFinished();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

// ---- Adding files ----

// Paths from a drop, the open dialog or a second start, made into task rows.
class FileIntake {
 public:
  using Poster = FolderScan::Poster;

  FileIntake(ListboxModel& tasks, JobHost& host, Poster poster = {});
  ~FileIntake();
  FileIntake(const FileIntake&) = delete;
  FileIntake& operator=(const FileIntake&) = delete;

  // Reads each file's data for its row's comment; without it the comment holds the size.
  FFmpegX* probe = nullptr;
  // The progress field after each row: "name  N/M | path".
  std::function<void(const std::string& text)> ProgressText;
  // The running count of a folder scan.
  std::function<void(size_t found)> SearchCount;
  // A scan ended, after its last row; "已经完成任务搜索。" has gone to the host.
  std::function<void(size_t found, bool canceled)> SearchEnded;

  // Each path resolved (ResolveShortcut); the files become rows in their order,
  // an unreadable or missing one too, and the folders go to one scan. Any scan
  // under way stops first. The host gets a turn after each row.
  void DropFiles(const std::vector<std::string>& paths);
  // The list a second start hands over, "|" between the paths.
  void AddHandedOver(std::string_view list);
  // The open dialog's choice: its folder remembered, then as a drop.
  void AddChosenFiles(const std::vector<std::string>& paths);
  // "添加目录" with the folder chosen for "选择需要添加的目录".
  void AddFolder(const std::string& folder);

  bool Scanning() const;
  // Stops this intake's scan; rows already made stay.
  void CancelScan();
  // For a host without a poster (zel-cli, tests): waits for the scan and makes
  // the rows of what it found.
  void FinishScan();

 private:
  void ScanFound(const std::vector<std::string>& paths, size_t found);
  void ScanFinished(size_t found, bool canceled);
  void Drain();

  ListboxModel& tasks_;
  JobHost& host_;
  FolderScan scan_;
  std::deque<std::string> pending_;  // found by the scan, no row yet
  size_t scanRows_ = 0;
  size_t scanFound_ = 0;
  bool draining_ = false;
  bool endPending_ = false;
  bool endCanceled_ = false;
};

// ---- Disc drives ----

// The optical drives under "光盘驱动器": the "sr" devices in `devFolder` and the
// drives the kernel names in `cdromInfo`, when their device is there; sorted.
std::vector<std::string> OpticalDrives(const std::string& devFolder = "/dev",
                                       const std::string& cdromInfo = "/proc/sys/dev/cdrom/info");
// Asks "是否添加为 DVD 光盘抓取任务？"; Yes adds the row "DVD" of the drive
// ("/dev/sr0:", which the task loop gives to MEncoder) and shows the note on
// formats. True when the row was added.
bool AddDiscTask(ListboxModel& tasks, JobHost& host, const std::string& drive);

// ---- List commands ----

// Which list a command works on, for its message when no row is selected.
enum class ListKind { Files, Tasks };

// "加到任务列表": the selected file becomes a task and leaves the file list.
// With none selected every file may go, after the question; an empty list is
// refused. Returns the number of rows made.
int MoveFilesToTasks(ListboxModel& files, ListboxModel& tasks, JobHost& host, FFmpegX* probe = nullptr);
// "删除": the selected row, after the question. True when it was removed.
bool RemoveSelectedRow(ListboxModel& list, ListKind kind, JobHost& host);
// "清除": every row, after the question. An empty list asks nothing.
bool ClearRows(ListboxModel& list, JobHost& host);
// "清除时间点设置": the selected task's record back to "|||" and its comment to
// the one it was made with. False, and the refusal shown, without a selection.
bool ClearCutPoints(ListboxModel& tasks, JobHost& host, FFmpegX* probe = nullptr);
// "清除画面设置": the eight crop and pad settings to "0".
void ClearPictureSettings();
// Preview is refused in the direct cut and join modes; `outputMode` is the
// format field's text. False, and the refusal shown, when refused.
bool PreviewAllowed(std::string_view outputMode, JobHost& host);

// ---- The result list's files ----

// What a file command did: the files placed (their new paths for a move or
// copy) and those that failed, each failure told to the host as a problem.
struct FileCommandResult {
  bool asked = false;     // the question was put
  bool accepted = false;  // and answered Yes
  std::vector<std::string> done;
  std::vector<std::string> failed;
};
// "是否删除所有文件？…": each file to the desktop's trash when the trash can
// take it, else deleted.
FileCommandResult DeleteFiles(const std::vector<std::string>& files, JobHost& host);
// "是否移动所有文件？" / "是否复制所有文件？": into `folder`, under the same
// names; an existing file there is never overwritten, the source then stays.
FileCommandResult MoveFiles(const std::vector<std::string>& files, const std::string& folder, JobHost& host);
FileCommandResult CopyFiles(const std::vector<std::string>& files, const std::string& folder, JobHost& host);
// One file placed into `folder` the way the "复制到" and "移动到" formats place
// it: under a free name, refused when the folder's disk lacks the room, in
// blocks with `progress` told the bytes done between them (false stops, and
// nothing is left at the target). A move removes the source once the copy has
// the source's size. The new path, or "" when nothing was placed.
std::string TransferFile(const std::string& source, const std::string& folder, bool move,
                         const CopyProgress& progress);
// The result panel's "立即复制": every output copied into `folder` by
// TransferFile, the host pumped meanwhile. Each file that fails goes to the
// information list and the end is "失败的复制或移动文件操作"; otherwise
// "所有文件已经复制到目标目录。". Returns the copies made.
std::vector<std::string> CopyToDevice(const std::vector<std::string>& outputs, const std::string& folder,
                                      JobHost& host);
// Moves one file into the home trash, or the trash of its own disk, with the
// entry that lets a file manager restore it. False when no trash can take it.
bool MoveToTrash(const std::string& path);

// ---- Web search ----

// A search engine: the query follows the head, the tail follows the query.
struct SearchEngine {
  std::string_view name;
  std::string_view head;
  std::string_view tail;
};
std::span<const SearchEngine> SearchEngines();
// The address that searches `engine` for the base name of `path`: blanks become
// "+", other characters outside a URL's plain set are percent-encoded. "" for
// an engine that is not in the table.
std::string SearchUrl(std::string_view engine, std::string_view path);

}  // namespace zel
