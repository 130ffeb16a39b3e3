#include "engine/CoreListCache.h"

#include <cstdint>
#include <cstdio>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "engine/MediaInspection.h"

namespace zel {

namespace {

constexpr std::string_view kSeparator = "\n\x1e\n";

// The core's path and stamp: a rebuilt or replaced tool has another.
std::optional<std::string> CoreKey(const std::string& core) {
  const auto stamp = StampOf(core);
  if (!stamp) return std::nullopt;
  char figures[160];
  std::snprintf(figures, sizeof figures, "%llu %llu %lld %lld.%09ld %lld.%09ld",
                static_cast<unsigned long long>(stamp->device), static_cast<unsigned long long>(stamp->inode),
                static_cast<long long>(stamp->size), static_cast<long long>(stamp->modified.tv_sec),
                stamp->modified.tv_nsec, static_cast<long long>(stamp->changed.tv_sec), stamp->changed.tv_nsec);
  return core + "\n" + figures + "\n";
}

// What the lists belong to: the core, and the whole banner it printed.
std::optional<std::string> ListsKey(const std::string& core, std::string_view banner) {
  const auto key = CoreKey(core);
  if (!key || banner.empty()) return std::nullopt;
  return "ZEL core lists 1\n" + *key + std::string(banner);
}

std::optional<std::string> BannerKey(const std::string& core) {
  const auto key = CoreKey(core);
  if (!key) return std::nullopt;
  return "ZEL core banner 1\n" + *key;
}

std::string FileFor(std::string_view key) {
  uint64_t hash = 1469598103934665603ull;  // FNV-1a
  for (unsigned char c : key) hash = (hash ^ c) * 1099511628211ull;
  char name[32];
  std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
  return XdgFolder("XDG_CACHE_HOME", ".cache") + "ZEL/cores/" + name;
}

// The kept text after its key; nothing when another key, or none, is kept.
std::optional<std::string> Kept(const std::optional<std::string>& key) {
  if (!key) return std::nullopt;
  const std::string text = ReadText(FileFor(*key));
  const std::string head = *key + std::string(kSeparator);
  if (!StartsWith(text, head)) return std::nullopt;
  return text.substr(head.size());
}

void Keep(const std::optional<std::string>& key, std::string_view text) {
  if (!key) return;
  const std::string path = FileFor(*key);
  if (MakedPath(FolderOf(path))) WriteFileAtomic(path, *key + std::string(kSeparator) + std::string(text));
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
  const auto text = Kept(ListsKey(core, banner));
  if (!text) return std::nullopt;
  CoreLists lists;
  size_t found = 0;
  for (const std::string& line : Split(*text, "\n")) {
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
  std::string text;
  for (const ListField& field : kFields) text += std::string(field.name) + "=" + lists.*field.list + "\n";
  Keep(ListsKey(core, banner), text);
}

std::optional<std::string> KeptBanner(const std::string& core) {
  auto banner = Kept(BannerKey(core));
  if (!banner || !CoreSharesOurLibraries(*banner)) return std::nullopt;
  return banner;
}

void KeepBanner(const std::string& core, std::string_view banner) {
  if (CoreSharesOurLibraries(banner)) Keep(BannerKey(core), banner);
}

}  // namespace zel
