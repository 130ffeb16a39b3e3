// The recursive file finder of the folder scan: folders walked breadth-first,
// entries chosen by a name filter and an attribute mask.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// What an entry is, as bits that a mask selects. The numbers are those that
// stored masks have always used; on Linux they mean:
enum class FileAttr : uint32_t {
  None = 0,
  ReadOnly = 0x1,    // nobody may write it
  Hidden = 0x2,      // its name starts with "."
  System = 0x4,      // a device, a pipe or a socket
  Plain = 0x8,       // a regular file
  Directory = 0x10,  // a folder
  Link = 0x400,      // reached through a symbolic link (and what it points to is told by the other bits)
};
constexpr FileAttr operator|(FileAttr a, FileAttr b) {
  return static_cast<FileAttr>(static_cast<uint32_t>(a) | static_cast<uint32_t>(b));
}
constexpr bool Any(FileAttr bits, FileAttr mask) {
  return (static_cast<uint32_t>(bits) & static_cast<uint32_t>(mask)) != 0;
}

// True when the name matches one of the patterns of `filter`, "; " between
// them, letter case ignored; "*" and "*.*" match every name, one without a dot too.
bool MatchesFilter(std::string_view name, std::string_view filter);

class clsFindFileApi {
 public:
  // Asked before each entry; true ends the search, keeping what was found.
  std::function<bool()> Stop;
  // Each counted entry as soon as it is found, for a caller that reports as it goes.
  std::function<void(const std::string& path)> Found;
  // After each folder has been listed.
  std::function<void()> FolderListed;

  // The entries under `path` (its own, and with `recursive` those of every
  // folder below, breadth-first, each folder's entries in name order) whose
  // name matches `filter` and whose attributes share a bit with `attributes`.
  // Links are followed, but a folder reached twice is walked once, so a link
  // that points back up ends; a broken link is passed over, and so is a folder
  // that cannot be read (it goes to Skipped). Returns the total size of the
  // counted entries; the previous search's results are replaced.
  int64_t FindFiles(std::string_view path, std::string_view filter, FileAttr attributes, bool recursive);
  // The same over several starting folders, one walk: a folder under two of
  // them is walked once.
  int64_t FindFiles(const std::vector<std::string>& paths, std::string_view filter, FileAttr attributes,
                    bool recursive);

  size_t Count() const { return files_.size(); }
  const std::vector<std::string>& Files() const { return files_; }
  int64_t Size() const { return size_; }
  const std::vector<std::string>& Skipped() const { return skipped_; }

 private:
  std::vector<std::string> files_;
  std::vector<std::string> skipped_;
  int64_t size_ = 0;
};

}  // namespace zel
