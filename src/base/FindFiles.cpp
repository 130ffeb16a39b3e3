#include "base/FindFiles.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>
#include <utility>

#include "base/PathHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

struct Entry {
  std::string name;
  FileAttr attributes = FileAttr::None;
  int64_t size = 0;
  dev_t device = 0;
  ino_t inode = 0;
};

FileAttr AttributesOf(const std::string& name, const struct stat& st, bool link) {
  FileAttr bits = FileAttr::None;
  if (S_ISDIR(st.st_mode)) {
    bits = FileAttr::Directory;
  } else if (S_ISREG(st.st_mode)) {
    bits = FileAttr::Plain;
  } else {
    bits = FileAttr::System;
  }
  if ((st.st_mode & 0222) == 0) bits = bits | FileAttr::ReadOnly;
  if (name.front() == '.') bits = bits | FileAttr::Hidden;
  if (link) bits = bits | FileAttr::Link;
  return bits;
}

}  // namespace

bool MatchesFilter(std::string_view name, std::string_view filter) {
  const std::string text(name);
  for (const std::string& raw : Split(filter, ";")) {
    const std::string pattern = Trim(raw);
    if (pattern == "*" || pattern == "*.*") return true;
    if (!pattern.empty() && ::fnmatch(pattern.c_str(), text.c_str(), FNM_CASEFOLD) == 0) return true;
  }
  return false;
}

int64_t clsFindFileApi::FindFiles(std::string_view path, std::string_view filter, FileAttr attributes,
                                  bool recursive) {
  return FindFiles(std::vector<std::string>{std::string(path)}, filter, attributes, recursive);
}

int64_t clsFindFileApi::FindFiles(const std::vector<std::string>& paths, std::string_view filter,
                                  FileAttr attributes, bool recursive) {
  files_.clear();
  skipped_.clear();
  size_ = 0;
  std::vector<std::string> queue;
  std::set<std::pair<dev_t, ino_t>> queued;
  for (const std::string& path : paths) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) continue;
    if (queued.insert({st.st_dev, st.st_ino}).second) queue.push_back(cPath(path));
  }
  const auto stopped = [this] { return Stop && Stop(); };

  for (size_t next = 0; next < queue.size() && !stopped(); ++next) {
    const std::string folder = queue[next];
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) {
      skipped_.push_back(folder);
      continue;
    }
    std::vector<Entry> entries;
    while (const dirent* item = ::readdir(dir)) {
      const std::string name = item->d_name;
      if (name == "." || name == "..") continue;
      const std::string full = folder + name;
      struct stat own {}, st {};
      if (::lstat(full.c_str(), &own) != 0 || ::stat(full.c_str(), &st) != 0) continue;  // gone, or a broken link
      entries.push_back({name, AttributesOf(name, st, S_ISLNK(own.st_mode)), S_ISREG(st.st_mode) ? st.st_size : 0,
                         st.st_dev, st.st_ino});
    }
    ::closedir(dir);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    for (const Entry& entry : entries) {
      if (stopped()) break;
      const std::string full = folder + entry.name;
      if (recursive && Any(entry.attributes, FileAttr::Directory) &&
          queued.insert({entry.device, entry.inode}).second) {
        queue.push_back(full + "/");
      }
      if (!Any(entry.attributes, attributes) || !MatchesFilter(entry.name, filter)) continue;
      files_.push_back(full);
      size_ += entry.size;
      if (Found) Found(full);
    }
    if (FolderListed) FolderListed();
  }
  return size_;
}

}  // namespace zel
