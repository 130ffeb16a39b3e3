// File-system helpers with one set of rules for every part of the program: errors
// are swallowed and give an empty or false result, and replacing writes are atomic.
#pragma once

#include <cstdint>
#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "base/PathHelpers.h"

namespace zel {

// True for an existing entry that is not a folder; the empty path is false.
bool FileExists(std::string_view path);
bool DirectoryExists(std::string_view path);
// Makes a folder and its missing parents.
bool MakedPath(std::string_view path);

// Size in bytes, 64-bit; 0 for a file that cannot be found.
int64_t FileSize(std::string_view path);
// "512B", "1.50KB", "3.00MB", "1.20GB".
std::string SizeText(int64_t bytes);

// The whole file, or "" when it cannot be read.
std::string ReadText(std::string_view path);
// Writes the text and a line end. Without `append` the file is replaced atomically
// (temporary file beside it, then rename), so a reader never sees half of it.
bool WriteText(std::string_view text, std::string_view path, bool append);
// Writes all the bytes to an open file, through short writes and interruptions.
bool WriteAll(int fd, std::string_view bytes);
// Replaces a file's content atomically with exactly these bytes.
bool WriteFileAtomic(std::string_view path, std::string_view bytes);

// Makes a new empty file named prefix + random part in `folder` (the temporary
// folder when empty) and returns its path, or "" on failure.
std::string CreateTempFile(std::string_view prefix, std::string_view folder);
// $TMPDIR, or /tmp.
std::string TempDirectory();

// What tells one version of a file from another: a file rewritten or replaced
// has another stamp.
struct FileStamp {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = -1;
  timespec modified{};
  timespec changed{};

  bool operator==(const FileStamp& o) const {
    return device == o.device && inode == o.inode && size == o.size && modified.tv_sec == o.modified.tv_sec &&
           modified.tv_nsec == o.modified.tv_nsec && changed.tv_sec == o.changed.tv_sec &&
           changed.tv_nsec == o.changed.tv_nsec;
  }
};
// Nothing when the file cannot be reached.
std::optional<FileStamp> StampOf(const std::string& path);
// One file under two names (a link, a second path to it), or one name twice.
bool SameFile(const std::string& a, const std::string& b);

// `path` itself when `overwrite` is set or nothing is there; otherwise the first
// free "stem(n).ext" for n from 1 to 99999, or "" when all are taken.
std::string RenameExists(std::string_view path, bool overwrite);

bool DeleteFile(std::string_view path);

// An exclusive lock on "<path>.lock", held for the object's life, so that the
// read-modify-write cycles of several processes on one file never interleave.
class FileLock {
 public:
  explicit FileLock(std::string_view path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// An XDG base folder with a final "/": the variable when it holds an absolute
// path, else $HOME plus `fallback` (".config", ".local/share").
std::string XdgFolder(const char* variable, std::string_view fallback);

// The first file of that name in the folders of $PATH, or "" when there is none.
std::string FindOnPath(std::string_view name);

}  // namespace zel
