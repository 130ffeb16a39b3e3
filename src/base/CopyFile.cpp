#include "base/CopyFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "base/FileHelpers.h"
#include "base/PathHelpers.h"

namespace zel {

namespace {

// What makes the kernel copy give way to the plain loop: the two files on
// different kinds of disk, an old kernel, a file system that cannot.
bool KernelCopyRefused(int error) {
  return error == EXDEV || error == ENOSYS || error == EINVAL || error == EOPNOTSUPP || error == EBADF;
}

// One step of at most `want` bytes from the current offsets; the bytes moved,
// 0 at the end of the source, -1 on failure.
ssize_t CopyStep(int in, int out, size_t want, bool& kernel, std::vector<char>& buffer) {
  if (kernel) {
    for (;;) {
      const ssize_t moved = ::copy_file_range(in, nullptr, out, nullptr, want, 0);
      if (moved >= 0) return moved;
      if (errno == EINTR) continue;
      if (!KernelCopyRefused(errno)) return -1;
      kernel = false;  // the offsets are where they were: the loop takes over
      break;
    }
  }
  if (buffer.empty()) buffer.resize(size_t{1} << 20);
  for (;;) {
    const ssize_t got = ::read(in, buffer.data(), std::min(want, buffer.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got;
    return WriteAll(out, std::string_view(buffer.data(), static_cast<size_t>(got))) ? got : -1;
  }
}

}  // namespace

bool RenameNoReplace(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
  // A file system without that flag: a hard link claims the name atomically.
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    return true;
  }
  if (errno == EEXIST || errno == EXDEV) return false;
  // Nor links (FAT): the test and the rename are two steps.
  struct stat st {};
  if (::lstat(to.c_str(), &st) == 0) {
    errno = EEXIST;
    return false;
  }
  return ::rename(from.c_str(), to.c_str()) == 0;
}

CopyResult CopyFileWithProgress(const std::string& source, const std::string& target, const CopyOptions& options) {
  struct stat taken {};
  if (target.empty() || ::lstat(target.c_str(), &taken) == 0 || SameFile(source, target)) {
    return CopyResult::TargetExists;
  }
  const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return CopyResult::Failed;
  struct stat st {};
  if (::fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(in);
    return CopyResult::Failed;
  }
  const std::string folder = FolderOf(target);
  const std::string scratch = CreateTempFile("." + FileNameOf(target) + ".", folder.empty() ? "." : folder);
  const int out = scratch.empty() ? -1 : ::open(scratch.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (out < 0) {
    ::close(in);
    if (!scratch.empty()) ::unlink(scratch.c_str());
    return CopyResult::Failed;
  }

  const int64_t total = st.st_size;
  const size_t block = static_cast<size_t>(std::max<int64_t>(options.block, 4096));
  std::vector<char> buffer;
  bool kernel = options.kernelCopy;
  int64_t done = 0;
  CopyResult result = CopyResult::Done;
  if (options.progress && !options.progress(0, total)) result = CopyResult::Canceled;
  while (result == CopyResult::Done && done < total) {
    const size_t want = static_cast<size_t>(std::min<int64_t>(total - done, static_cast<int64_t>(block)));
    const ssize_t moved = CopyStep(in, out, want, kernel, buffer);
    if (moved < 0) result = CopyResult::Failed;
    if (moved <= 0) break;  // a source cut short ends here and fails the size test
    done += moved;
    if (options.progress && !options.progress(done, total)) result = CopyResult::Canceled;
  }
  ::close(in);
  if (result == CopyResult::Done) {
    const bool written = ::fchmod(out, st.st_mode & 07777) == 0 && ::fsync(out) == 0;
    if (!written) result = CopyResult::Failed;
  }
  if (::close(out) != 0 && result == CopyResult::Done) result = CopyResult::Failed;
  if (result == CopyResult::Done && (FileSize(scratch) != done || FileSize(source) != done)) {
    result = CopyResult::SizeMismatch;
  }
  if (result == CopyResult::Done && !RenameNoReplace(scratch, target)) {
    result = errno == EEXIST ? CopyResult::TargetExists : CopyResult::Failed;
  }
  if (result != CopyResult::Done) ::unlink(scratch.c_str());
  return result;
}

CopyResult MoveFileByCopy(const std::string& source, const std::string& target, const CopyOptions& options) {
  const CopyResult copied = CopyFileWithProgress(source, target, options);
  if (copied != CopyResult::Done) return copied;
  // The source may have grown after the copy was named; it then stays, and so
  // does the copy of what it held.
  if (FileSize(target) != FileSize(source)) return CopyResult::SizeMismatch;
  return ::unlink(source.c_str()) == 0 ? CopyResult::Done : CopyResult::Failed;
}

}  // namespace zel
