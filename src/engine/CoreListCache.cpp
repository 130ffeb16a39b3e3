#include "engine/CoreListCache.h"

#include <cstdint>
#include <cstdio>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

constexpr std::string_view kHeader = "ZEL core lists 1\n";
constexpr std::string_view kSeparator = "\n\x1e\n";

// What the lists belong to: the core's path and stamp and its whole banner.
std::optional<std::string> KeyText(const std::string& core, std::string_view banner) {
  const auto stamp = StampOf(core);
  if (!stamp) return std::nullopt;
  char figures[160];
  std::snprintf(figures, sizeof figures, "%llu %llu %lld %lld.%09ld %lld.%09ld",
                static_cast<unsigned long long>(stamp->device), static_cast<unsigned long long>(stamp->inode),
                static_cast<long long>(stamp->size), static_cast<long long>(stamp->modified.tv_sec),
                stamp->modified.tv_nsec, static_cast<long long>(stamp->changed.tv_sec), stamp->changed.tv_nsec);
  return std::string(kHeader) + core + "\n" + figures + "\n" + std::string(banner);
}

std::string FileFor(std::string_view key) {
  uint64_t hash = 1469598103934665603ull;  // FNV-1a
  for (unsigned char c : key) hash = (hash ^ c) * 1099511628211ull;
  char name[32];
  std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
  return XdgFolder("XDG_CACHE_HOME", ".cache") + "ZEL/cores/" + name;
}

struct ListField {
  std::string_view name;
  std::string CoreLists::*list;
};

constexpr ListField kFields[] = {
    {"formats", &CoreLists::formats},    {"video", &CoreLists::video},   {"audio", &CoreLists::audio},
    {"subtitle", &CoreLists::subtitle},  {"inputs", &CoreLists::inputs},
};

}  // namespace

std::optional<CoreLists> KeptCoreLists(const std::string& core, std::string_view banner) {
  const auto key = KeyText(core, banner);
  if (!key || banner.empty()) return std::nullopt;
  const std::string text = ReadText(FileFor(*key));
  const std::string head = *key + std::string(kSeparator);
  if (!StartsWith(text, head)) return std::nullopt;
  CoreLists lists;
  size_t found = 0;
  for (const std::string& line : Split(std::string_view(text).substr(head.size()), "\n")) {
    for (const ListField& field : kFields) {
      if (!StartsWith(line, std::string(field.name) + "=")) continue;
      lists.*field.list = line.substr(field.name.size() + 1);
      ++found;
    }
  }
  if (found != std::size(kFields)) return std::nullopt;
  return lists;
}

void KeepCoreLists(const std::string& core, std::string_view banner, const CoreLists& lists) {
  const auto key = KeyText(core, banner);
  if (!key || banner.empty()) return;
  std::string text = *key + std::string(kSeparator);
  for (const ListField& field : kFields) text += std::string(field.name) + "=" + lists.*field.list + "\n";
  const std::string path = FileFor(*key);
  if (MakedPath(FolderOf(path))) WriteFileAtomic(path, text);
}

}  // namespace zel
