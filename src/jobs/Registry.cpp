#include "jobs/Registry.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>

#include "jobs/IniFile.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

constexpr std::string_view kTextType = "";  // "Name"="text"

struct StoredValue {
  std::string name;
  std::string type;  // empty for text, else the word before the colon: dword, hex, hex(7)...
  std::string data;
};

struct StoredKey {
  std::string name;
  std::map<std::string, StoredValue> values;  // by lower-case name
};

using StoreModel = std::map<std::string, StoredKey>;  // by lower-case path

std::string HiveName(RegistryHive hive) {
  switch (hive) {
    case HKEY_CLASSES_ROOT: return "HKEY_CLASSES_ROOT";
    case HKEY_LOCAL_MACHINE: return "HKEY_LOCAL_MACHINE";
    case HKEY_USERS: return "HKEY_USERS";
    case HKEY_CURRENT_USER: break;
  }
  return "HKEY_CURRENT_USER";
}

std::string FullPath(RegistryHive hive, std::string_view path) {
  std::string full = HiveName(hive);
  if (!path.empty() && path.front() != '\\') full += '\\';
  full += path;
  while (full.size() > 1 && full.back() == '\\') full.pop_back();
  return full;
}

// ---- The text form ----

void AppendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (unsigned char c : text) {
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '"': out += "\\\""; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      case '\0': out += "\\0"; break;
      default:
        if (c < 0x20 || c == 0x7f) {
          char hex[5];
          std::snprintf(hex, sizeof hex, "\\x%02x", c);
          out += hex;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(c | 0x20);
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Reads a quoted text at `pos`, leaving `pos` after the closing quote.
std::optional<std::string> ParseQuoted(std::string_view line, size_t& pos) {
  if (pos >= line.size() || line[pos] != '"') return std::nullopt;
  std::string text;
  for (++pos; pos < line.size(); ++pos) {
    const char c = line[pos];
    if (c == '"') {
      ++pos;
      return text;
    }
    if (c != '\\' || pos + 1 >= line.size()) {
      text += c;
      continue;
    }
    const char e = line[++pos];
    switch (e) {
      case 'n': text += '\n'; break;
      case 'r': text += '\r'; break;
      case 't': text += '\t'; break;
      case '0': text += '\0'; break;
      case 'x':
        if (pos + 2 < line.size() && HexDigit(line[pos + 1]) >= 0 && HexDigit(line[pos + 2]) >= 0) {
          text += static_cast<char>(HexDigit(line[pos + 1]) * 16 + HexDigit(line[pos + 2]));
          pos += 2;
        } else {
          text += 'x';
        }
        break;
      default: text += e;
    }
  }
  return std::nullopt;  // no closing quote: a torn line counts as no value
}

StoreModel ParseStore(std::string_view text) {
  StoreModel model;
  StoredKey* current = nullptr;
  for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[') {
      const size_t close = line.rfind(']');
      if (close == std::string_view::npos || close < 2) {
        current = nullptr;
        continue;
      }
      const std::string name(line.substr(1, close - 1));
      current = &model[LowerAscii(name)];
      if (current->name.empty()) current->name = name;
      continue;
    }
    if (current == nullptr) continue;
    size_t pos = 0;
    auto name = line.front() == '@' ? std::optional<std::string>("") : ParseQuoted(line, pos);
    if (line.front() == '@') pos = 1;
    if (!name || pos >= line.size() || line[pos] != '=') continue;
    ++pos;
    StoredValue value{*name, {}, {}};
    if (pos < line.size() && line[pos] == '"') {
      auto data = ParseQuoted(line, pos);
      if (!data) continue;
      value.data = std::move(*data);
    } else {
      const size_t colon = line.find(':', pos);
      if (colon == std::string_view::npos) continue;  // "-" deletions and junk
      value.type = std::string(line.substr(pos, colon - pos));
      if (value.type.empty()) continue;
      value.data = std::string(line.substr(colon + 1));
    }
    current->values[LowerAscii(value.name)] = std::move(value);
  }
  return model;
}

std::string FormatStore(const StoreModel& model) {
  std::string out = "; ZEL settings store: registry keys as sections, values in the form of a .reg export.\n";
  for (const auto& [unused, key] : model) {
    out += "\n[" + key.name + "]\n";
    for (const auto& [unused2, value] : key.values) {
      AppendQuoted(out, value.name);
      out += '=';
      if (value.type == kTextType) {
        AppendQuoted(out, value.data);
      } else {
        out += value.type + ":" + value.data;
      }
      out += '\n';
    }
  }
  return out;
}

// ---- The file and its cached reading ----

class Store {
 public:
  std::string File() const {
    if (!override_.empty()) return override_;
    return XdgFolder("XDG_CONFIG_HOME", ".config") + "Calder/registry.reg";
  }

  void SetFile(std::string path) {
    std::lock_guard guard(mutex_);
    override_ = std::move(path);
    cachedFile_.clear();
  }

  // The current content, read again only when the file has changed.
  const StoreModel& Current(const std::string& file) {
    const auto stamp = StampOf(file);
    if (cachedFile_ == file && stamp == cachedStamp_) return cached_;
    cached_ = stamp ? ParseStore(ReadText(file)) : StoreModel{};
    cachedFile_ = file;
    cachedStamp_ = stamp;
    return cached_;
  }

  template <typename Change>
  bool Modify(Change change) {
    std::lock_guard guard(mutex_);
    const std::string file = File();
    const std::string folder = FolderOf(file);
    if (!DirectoryExists(folder) && !MakedPath(folder)) return false;
    FileLock lock(file);
    if (!lock.Held()) return false;
    StoreModel model = Current(file);
    change(model);
    if (!WriteFileAtomic(file, FormatStore(model))) return false;
    cached_ = std::move(model);
    cachedFile_ = file;
    cachedStamp_ = StampOf(file);
    return true;
  }

  std::optional<StoredValue> Find(const std::string& fullPath, std::string_view name) {
    std::lock_guard guard(mutex_);
    const StoreModel& model = Current(File());
    const auto key = model.find(LowerAscii(fullPath));
    if (key == model.end()) return std::nullopt;
    const auto value = key->second.values.find(LowerAscii(name));
    if (value == key->second.values.end()) return std::nullopt;
    return value->second;
  }

 private:
  std::mutex mutex_;
  std::string override_;
  std::string cachedFile_;
  std::optional<FileStamp> cachedStamp_;
  StoreModel cached_;
};

Store& TheStore() {
  static Store store;
  return store;
}

}  // namespace

bool RegistryWrite(RegistryHive hive, std::string_view path, std::string_view key, std::string_view value,
                   std::string_view iniFile) {
  if (!iniFile.empty()) return IniWrite(iniFile, path, key, value);
  const std::string fullPath = FullPath(hive, path);
  return TheStore().Modify([&](StoreModel& model) {
    StoredKey& stored = model[LowerAscii(fullPath)];
    if (stored.name.empty()) stored.name = fullPath;
    stored.values[LowerAscii(key)] = StoredValue{std::string(key), std::string(kTextType), std::string(value)};
  });
}

std::string RegistryRead(RegistryHive hive, std::string_view path, std::string_view key, std::string_view defaultValue,
                         std::string_view iniFile) {
  if (!iniFile.empty()) {
    const auto value = IniRead(iniFile, path, key);
    if (!value || value->empty()) return std::string(defaultValue);
    return std::string(FirstCharacters(*value, kProfileValueChars));
  }
  const auto value = TheStore().Find(FullPath(hive, path), key);
  if (!value || value->type != kTextType) return std::string(defaultValue);
  const size_t nul = value->data.find('\0');
  return nul == std::string::npos ? value->data : value->data.substr(0, nul);
}

bool RegistryDeleteKey(RegistryHive hive, std::string_view path, std::string_view iniFile) {
  if (!iniFile.empty()) return IniDeleteSection(iniFile, path);
  const std::string lowerPath = LowerAscii(FullPath(hive, path));
  return TheStore().Modify([&](StoreModel& model) {
    for (auto it = model.begin(); it != model.end();) {
      const bool inside = it->first == lowerPath || it->first.starts_with(lowerPath + "\\");
      it = inside ? model.erase(it) : std::next(it);
    }
  });
}

std::string RegistryStoreFile() { return TheStore().File(); }

void SetRegistryStoreFile(std::string path) { TheStore().SetFile(std::move(path)); }

}  // namespace zel
