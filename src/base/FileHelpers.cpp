#include "base/FileHelpers.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/TextHelpers.h"

namespace zel {

namespace {

bool Stat(std::string_view path, struct stat& st) {
  if (path.empty()) return false;
  return ::stat(std::string(path).c_str(), &st) == 0;
}

}  // namespace

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

bool FileExists(std::string_view path) {
  struct stat st {};
  return Stat(path, st) && !S_ISDIR(st.st_mode);
}

bool DirectoryExists(std::string_view path) {
  struct stat st {};
  return Stat(path, st) && S_ISDIR(st.st_mode);
}

bool MakedPath(std::string_view path) {
  if (path.empty()) return false;
  std::string partial;
  for (size_t i = 0; i <= path.size(); ++i) {
    if (i == path.size() || (path[i] == '/' && i > 0)) {
      partial.assign(path.substr(0, i));
      if (!DirectoryExists(partial) && ::mkdir(partial.c_str(), 0777) != 0 && errno != EEXIST) return false;
    }
  }
  return DirectoryExists(path);
}

int64_t FileSize(std::string_view path) {
  struct stat st {};
  return Stat(path, st) ? static_cast<int64_t>(st.st_size) : 0;
}

std::string SizeText(int64_t bytes) {
  const double value = static_cast<double>(bytes);
  if (bytes < 1024) return std::to_string(bytes) + "B";
  if (bytes < 1048576) return FormatFixed2(value / 1024) + "KB";
  if (bytes < 1073741824) return FormatFixed2(value / 1024 / 1024) + "MB";
  return FormatFixed2(value / 1024 / 1024 / 1024) + "GB";
}

std::string ReadText(std::string_view path) {
  if (path.empty()) return {};
  const int fd = ::open(std::string(path).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  std::string text;
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    text.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
  return text;
}

bool WriteFileAtomic(std::string_view path, std::string_view bytes) {
  if (path.empty()) return false;
  std::string temp = std::string(path) + ".XXXXXX";
  const int fd = ::mkstemp(temp.data());
  if (fd < 0) return false;
  // mkstemp makes the file private; a replaced file keeps the usual permissions.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd, 0666 & ~mask);
  const bool ok = WriteAll(fd, bytes) && ::fsync(fd) == 0;
  ::close(fd);
  if (!ok || ::rename(temp.c_str(), std::string(path).c_str()) != 0) {
    ::unlink(temp.c_str());
    return false;
  }
  return true;
}

bool WriteText(std::string_view text, std::string_view path, bool append) {
  std::string content(text);
  content += '\n';
  if (!append) return WriteFileAtomic(path, content);
  if (path.empty()) return false;
  const int fd = ::open(std::string(path).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  const bool ok = WriteAll(fd, content);
  ::close(fd);
  return ok;
}

FileLock::FileLock(std::string_view path) {
  const std::string lockPath = std::string(path) + ".lock";
  fd_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd_ < 0) return;
  while (::flock(fd_, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    ::close(fd_);
    fd_ = -1;
    return;
  }
}

FileLock::~FileLock() {
  // Closing releases the lock; the lock file stays for the next writer.
  if (fd_ >= 0) ::close(fd_);
}

std::string XdgFolder(const char* variable, std::string_view fallback) {
  const char* value = std::getenv(variable);
  if (value != nullptr && value[0] == '/') return cPath(value);
  const char* home = std::getenv("HOME");
  return cPath(std::string(home != nullptr ? home : "") + "/" + std::string(fallback));
}

std::string TempDirectory() {
  const char* dir = std::getenv("TMPDIR");
  if (dir != nullptr && *dir != '\0' && DirectoryExists(dir)) return dir;
  return "/tmp";
}

std::string CreateTempFile(std::string_view prefix, std::string_view folder) {
  std::string path = cPath(folder.empty() ? std::string_view(TempDirectory()) : folder);
  path.append(prefix).append("XXXXXX");
  const int fd = ::mkstemp(path.data());
  if (fd < 0) return {};
  ::close(fd);
  return path;
}

std::string RenameExists(std::string_view path, bool overwrite) {
  if (overwrite || (!FileExists(path) && !DirectoryExists(path))) return std::string(path);
  const auto [stem, extension] = SplitExtension(path);
  for (int n = 1; n <= 99999; ++n) {
    std::string candidate = std::string(stem) + "(" + std::to_string(n) + ")" + std::string(extension);
    if (!FileExists(candidate) && !DirectoryExists(candidate)) return candidate;
  }
  return {};
}

std::string FindOnPath(std::string_view name) {
  const char* path = std::getenv("PATH");
  for (const std::string& folder : Split(path != nullptr ? path : "", ":")) {
    const std::string candidate = cPath(folder.empty() ? "." : folder) + std::string(name);
    if (FileExists(candidate)) return candidate;
  }
  return {};
}

bool DeleteFile(std::string_view path) {
  return !path.empty() && ::unlink(std::string(path).c_str()) == 0;
}

std::optional<FileStamp> StampOf(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return FileStamp{info.st_dev, info.st_ino, info.st_size, info.st_mtim, info.st_ctim};
}

bool SameFile(const std::string& a, const std::string& b) {
  if (a == b) return true;
  const auto first = StampOf(a), second = StampOf(b);
  return first && second && first->device == second->device && first->inode == second->inode;
}

}  // namespace zel
