// Copying one file with progress and cancel, and placing a file under a name
// without ever replacing what is there.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace zel {

enum class CopyResult {
  Done,
  Canceled,      // the progress routine said stop; nothing is left at the target
  TargetExists,  // the name is taken (or is the source itself); nothing was written
  SizeMismatch,  // the source changed size while it was copied; the copy is removed
  Failed,        // the source could not be read or the target not written
};

// Bytes done of the total after each block; false stops the copy. The routine
// is where a caller lets its event loop run.
using CopyProgress = std::function<bool(int64_t done, int64_t total)>;

struct CopyOptions {
  CopyProgress progress;
  // Bytes between two calls of the progress routine.
  int64_t block = int64_t{2} << 20;
  // Lets the kernel copy (copy_file_range, which may share the blocks on file
  // systems that can); off, or refused by the file systems, the bytes go
  // through a read and write loop.
  bool kernelCopy = true;
};

// Copies `source` to `target`, which must not exist. The bytes go to a hidden
// file beside the target, which takes the target's name only when it is whole
// and as long as the source is now, so the name never shows half a file and a
// canceled copy leaves nothing behind: starting it again begins from a clean
// folder. A file still growing is taken as long as it was when the copy began.
CopyResult CopyFileWithProgress(const std::string& source, const std::string& target, const CopyOptions& options = {});

// Copies and then deletes the source, but only after the copy's size has been
// checked against the source's size at that moment.
CopyResult MoveFileByCopy(const std::string& source, const std::string& target, const CopyOptions& options = {});

// Gives `from` the name `to` unless that name is taken, atomically where the
// file system allows. errno tells why on failure (EEXIST, EXDEV, ...).
bool RenameNoReplace(const std::string& from, const std::string& to);

}  // namespace zel
