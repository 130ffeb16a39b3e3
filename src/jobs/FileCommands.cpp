// The commands of the file, task and result lists, declared in FileIntake.h:
// each asks its question, then changes the list, the store or the files.
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>

#include "base/CopyFile.h"
#include "base/FileHelpers.h"
#include "base/PathHelpers.h"
#include "base/TextHelpers.h"
#include "jobs/DirectJobs.h"
#include "jobs/FileIntake.h"
#include "jobs/JobHost.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"

namespace zel {

namespace {

// The host gets a turn after this many bytes of a copy.
constexpr int64_t kCopyTurn = 16LL << 20;
// Names tried for a trashed file before giving up.
constexpr int kTrashNames = 1000;

// The host gets a turn between blocks of a copy.
CopyOptions PumpingCopy(JobHost& host) {
  CopyOptions options;
  options.block = kCopyTurn;
  options.progress = [&host](int64_t, int64_t) {
    host.PumpEvents();
    return true;
  };
  return options;
}

bool CopyNoReplace(const std::string& from, const std::string& to, JobHost& host) {
  return CopyFileWithProgress(from, to, PumpingCopy(host)) == CopyResult::Done;
}

bool MoveNoReplace(const std::string& from, const std::string& to, JobHost& host) {
  if (RenameNoReplace(from, to)) return true;
  if (errno != EXDEV) return false;
  return MoveFileByCopy(from, to, PumpingCopy(host)) == CopyResult::Done;
}

std::string NowForTrash() {
  const std::time_t now = std::time(nullptr);
  std::tm local {};
  ::localtime_r(&now, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
  return text;
}

// Makes a folder only its owner may enter, as a trash wants; true when it is there.
bool PrivateFolder(const std::string& path) {
  return ::mkdir(path.c_str(), 0700) == 0 || (errno == EEXIST && DirectoryExists(path));
}

// Moves the file into `trash` ("…/Trash/"), which must lie on the file's own
// disk. The info entry is made first, with a name nobody else holds, so that
// two programs trashing at once never share one.
bool TrashInto(const std::string& trash, const std::string& path, const std::string& shownPath, dev_t device) {
  const std::string parent = FolderOf(trash.substr(0, trash.size() - 1));
  if (!DirectoryExists(parent) && !MakedPath(parent)) return false;
  if (!PrivateFolder(trash) || !PrivateFolder(trash + "files") || !PrivateFolder(trash + "info")) return false;
  struct stat st {};
  if (::stat((trash + "files").c_str(), &st) != 0 || st.st_dev != device) return false;

  const std::string name = FileNameOf(path);
  const PathParts parts = SplitExtension(name);
  const std::string entry = "[Trash Info]\nPath=" + PercentEncode(shownPath, "/") + "\nDeletionDate=" + NowForTrash() + "\n";
  for (int n = 1; n <= kTrashNames; ++n) {
    const std::string candidate =
        n == 1 ? name : std::string(parts.stem) + "." + std::to_string(n) + std::string(parts.extension);
    const std::string info = trash + "info/" + candidate + ".trashinfo";
    const int fd = ::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
      if (errno == EEXIST) continue;
      return false;
    }
    const bool written = WriteAll(fd, entry);
    ::close(fd);
    if (written && RenameNoReplace(path, trash + "files/" + candidate)) return true;
    const bool taken = errno == EEXIST;
    ::unlink(info.c_str());
    if (!written || !taken) return false;
  }
  return false;
}

// The top folder of the disk that holds `path`: the highest parent on the same device.
std::string DiskTop(const std::string& path, dev_t device) {
  std::filesystem::path top = std::filesystem::path(path).parent_path();
  while (top.has_parent_path() && top != top.root_path()) {
    struct stat st {};
    if (::stat(top.parent_path().c_str(), &st) != 0 || st.st_dev != device) break;
    top = top.parent_path();
  }
  return top.string();
}

// Asks the command's question; nothing to work on asks nothing.
FileCommandResult AskFirst(const std::vector<std::string>& files, std::string_view question, bool defaultYes,
                      JobHost& host) {
  FileCommandResult result;
  if (files.empty()) return result;
  result.asked = true;
  result.accepted = host.Ask(question, defaultYes);
  return result;
}

enum class Transfer { Move, Copy };

FileCommandResult TransferFiles(const std::vector<std::string>& files, const std::string& folder, Transfer how,
                                JobHost& host) {
  if (folder.empty()) return {};
  FileCommandResult result =
      AskFirst(files, how == Transfer::Move ? StrMoveFilesQuestion : StrCopyFilesQuestion, how == Transfer::Copy, host);
  if (!result.accepted) return result;
  for (const std::string& file : files) {
    const std::string target = cPath(folder) + FileNameOf(file);
    if (SameFile(file, target)) {
      result.done.push_back(target);  // already there
      continue;
    }
    struct stat st {};
    if (::lstat(target.c_str(), &st) == 0) {
      result.failed.push_back(file);
      host.AddInfo(StrInfoProblem, std::string(StrTargetExists) + target);
      continue;
    }
    // The placing itself refuses a name taken meanwhile.
    const bool placed = how == Transfer::Move ? MoveNoReplace(file, target, host) : CopyNoReplace(file, target, host);
    if (placed) {
      result.done.push_back(target);
    } else {
      result.failed.push_back(file);
      host.AddInfo(StrInfoProblem, std::string(how == Transfer::Move ? StrCannotMoveFile : StrCannotCopyFile) + file);
    }
  }
  return result;
}

}  // namespace

// ---- List commands ----

int MoveFilesToTasks(ListboxModel& files, ListboxModel& tasks, JobHost& host, FFmpegX* probe) {
  if (files.ListCount() == 0) {
    host.ShowMessage(StrSelectInFileListFirst);
    return 0;
  }
  const int selected = files.ListIndex();
  if (selected >= 0) {
    AddToTaskList(tasks, files.PathFromIndex(selected), probe);
    files.RemoveItem(selected);
    return 1;
  }
  if (!host.Ask(StrAddAllFilesQuestion, true)) return 0;
  const int count = files.ListCount();
  for (int i = 0; i < count; ++i) AddToTaskList(tasks, files.PathFromIndex(i), probe);
  files.Clear();
  return count;
}

bool RemoveSelectedRow(ListboxModel& list, ListKind kind, JobHost& host) {
  const int selected = list.ListIndex();
  if (selected < 0) {
    host.ShowMessage(kind == ListKind::Files ? StrSelectInFileListFirst : StrSelectInTaskListFirst);
    return false;
  }
  if (!host.Ask(StrRemoveRowQuestion, true)) return false;
  list.RemoveItem(selected);
  return true;
}

bool ClearRows(ListboxModel& list, JobHost& host) {
  if (list.ListCount() == 0 || !host.Ask(StrClearListQuestion, false)) return false;
  list.Clear();
  return true;
}

bool ClearCutPoints(ListboxModel& tasks, JobHost& host, FFmpegX* probe) {
  const int selected = tasks.ListIndex();
  if (selected < 0) {
    host.ShowMessage(StrSelectInTaskListFirst);
    return false;
  }
  tasks.SetListOther(selected, kEmptyCutRecord);
  tasks.SetListComment(selected, TaskComment(tasks.PathFromIndex(selected), probe));
  return true;
}

void ClearPictureSettings() {
  for (std::string_view key : kPictureSettingKeys) WriteSetting(key, "0");
}

bool PreviewAllowed(std::string_view outputMode, JobHost& host) {
  const std::string mode = Trim(outputMode);
  if (mode != StrDirectCut && mode != StrDirectJoin) return true;
  host.ShowMessage(StrDirectModeRefused);
  return false;
}

// ---- The result list's files ----

bool MoveToTrash(const std::string& path) {
  const std::string absolute = std::filesystem::absolute(path).lexically_normal().string();
  struct stat st {};
  if (::lstat(absolute.c_str(), &st) != 0) return false;
  if (TrashInto(XdgFolder("XDG_DATA_HOME", ".local/share") + "Trash/", absolute, absolute, st.st_dev)) return true;
  // A file on another disk goes to that disk's own trash, named relative to its top.
  const std::string top = DiskTop(absolute, st.st_dev);
  if (top.empty() || top == "/") return false;
  return TrashInto(cPath(top) + ".Trash-" + std::to_string(::getuid()) + "/", absolute,
                   absolute.substr(cPath(top).size()), st.st_dev);
}

FileCommandResult DeleteFiles(const std::vector<std::string>& files, JobHost& host) {
  FileCommandResult result = AskFirst(files, StrDeleteFilesQuestion, false, host);
  if (!result.accepted) return result;
  for (const std::string& file : files) {
    if (FileExists(file) && (MoveToTrash(file) || DeleteFile(file))) {
      result.done.push_back(file);
    } else {
      result.failed.push_back(file);
      host.AddInfo(StrInfoProblem, std::string(StrCannotDeleteFile) + file);
    }
  }
  return result;
}

FileCommandResult MoveFiles(const std::vector<std::string>& files, const std::string& folder, JobHost& host) {
  return TransferFiles(files, folder, Transfer::Move, host);
}

FileCommandResult CopyFiles(const std::vector<std::string>& files, const std::string& folder, JobHost& host) {
  return TransferFiles(files, folder, Transfer::Copy, host);
}

std::string TransferFile(const std::string& source, const std::string& folder, bool move,
                         const CopyProgress& progress) {
  if (!FileExists(source) || folder.empty()) return {};
  const std::string into = cPath(folder);
  struct statvfs disk {};
  // A folder still to be made, or a disk that does not say, is given the benefit.
  if (DirectoryExists(into) && ::statvfs(into.c_str(), &disk) == 0 &&
      static_cast<int64_t>(disk.f_bavail) * static_cast<int64_t>(disk.f_frsize) < FileSize(source)) {
    return {};
  }
  if (!MakedPath(into)) return {};
  const std::string target = RenameExists(into + FileNameOf(source), false);
  if (target.empty()) return {};
  CopyOptions options;
  options.progress = progress;
  // A move copies too, even on one disk: the source goes only once the copy's size is checked.
  const CopyResult result =
      move ? MoveFileByCopy(source, target, options) : CopyFileWithProgress(source, target, options);
  return result == CopyResult::Done ? target : std::string();
}

std::vector<std::string> CopyToDevice(const std::vector<std::string>& outputs, const std::string& folder,
                                      JobHost& host) {
  std::vector<std::string> copies;
  bool failed = false;
  for (const std::string& output : outputs) {
    const std::string copy = TransferFile(output, folder, false, [&host](int64_t, int64_t) {
      host.PumpEvents();
      return true;
    });
    host.PumpEvents();
    if (copy.empty()) {
      failed = true;
      host.AddInfo(StrInfoProblem, std::string(StrCannotCopyFile) + output);
    } else {
      copies.push_back(copy);
    }
  }
  host.ShowMessage(failed ? StrTransferFailed : StrAllFilesCopied);
  return copies;
}

}  // namespace zel
