#include "jobs/IniFile.h"

#include <vector>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

struct IniLines {
  std::vector<std::string> lines;
  std::string newline = "\n";
};

IniLines LoadLines(std::string_view file) {
  IniLines ini;
  const std::string text = ReadText(file);
  if (text.find("\r\n") != std::string::npos) ini.newline = "\r\n";
  for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) ini.lines.emplace_back(line);
  return ini;
}

bool SaveLines(std::string_view file, const IniLines& ini) {
  std::string text;
  for (const std::string& line : ini.lines) text.append(line).append(ini.newline);
  return WriteFileAtomic(file, text);
}

// The section's name when the line is a section head.
std::optional<std::string> SectionName(std::string_view line) {
  const std::string trimmed = Trim(line);
  if (trimmed.size() < 2 || trimmed.front() != '[') return std::nullopt;
  const size_t close = trimmed.find(']');
  if (close == std::string::npos) return std::nullopt;
  return Trim(std::string_view(trimmed).substr(1, close - 1));
}

bool SameName(std::string_view a, std::string_view b) { return LowerAscii(a) == LowerAscii(b); }

// The key of a "key=value" line, or nothing for any other line.
std::optional<std::string> KeyName(std::string_view line) {
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return Trim(line.substr(0, equals));
}

// Line range [head, end) of a section: its head line and its body.
struct SectionRange {
  size_t head = 0;
  size_t end = 0;
  bool found = false;
};

SectionRange FindSection(const IniLines& ini, std::string_view section) {
  SectionRange range;
  for (size_t i = 0; i < ini.lines.size(); ++i) {
    const auto name = SectionName(ini.lines[i]);
    if (!name) continue;
    if (range.found) {
      range.end = i;
      return range;
    }
    if (SameName(*name, section)) {
      range.found = true;
      range.head = i;
    }
  }
  range.end = ini.lines.size();
  return range;
}

std::optional<size_t> FindKey(const IniLines& ini, const SectionRange& range, std::string_view key) {
  for (size_t i = range.head + 1; i < range.end; ++i) {
    const auto name = KeyName(ini.lines[i]);
    if (name && SameName(*name, key)) return i;
  }
  return std::nullopt;
}

std::string OneLine(std::string_view value) {
  std::string line(value);
  for (char& c : line) {
    if (c == '\r' || c == '\n') c = ' ';
  }
  return line;
}

}  // namespace

std::optional<std::string> IniRead(std::string_view file, std::string_view section, std::string_view key) {
  const IniLines ini = LoadLines(file);
  const SectionRange range = FindSection(ini, section);
  if (!range.found) return std::nullopt;
  const auto index = FindKey(ini, range, key);
  if (!index) return std::nullopt;
  const std::string& line = ini.lines[*index];
  const std::string trimmed = Trim(std::string_view(line).substr(line.find('=') + 1));
  std::string_view value = trimmed;
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  const size_t nul = value.find('\0');
  if (nul != std::string_view::npos) value = value.substr(0, nul);
  return std::string(value);
}

bool IniWrite(std::string_view file, std::string_view section, std::string_view key, std::string_view value) {
  FileLock lock(file);
  IniLines ini = LoadLines(file);
  const std::string line = OneLine(key) + "=" + OneLine(value);
  const SectionRange range = FindSection(ini, section);
  if (!range.found) {
    ini.lines.push_back("[" + OneLine(section) + "]");
    ini.lines.push_back(line);
    return SaveLines(file, ini);
  }
  if (const auto index = FindKey(ini, range, key)) {
    ini.lines[*index] = line;
    return SaveLines(file, ini);
  }
  // A new key goes after the section's last non-blank line, before the gap
  // that separates it from the next section.
  size_t insert = range.end;
  while (insert > range.head + 1 && Trim(ini.lines[insert - 1]).empty()) --insert;
  ini.lines.insert(ini.lines.begin() + static_cast<std::ptrdiff_t>(insert), line);
  return SaveLines(file, ini);
}

bool IniDeleteKey(std::string_view file, std::string_view section, std::string_view key) {
  FileLock lock(file);
  IniLines ini = LoadLines(file);
  const SectionRange range = FindSection(ini, section);
  if (!range.found) return true;
  const auto index = FindKey(ini, range, key);
  if (!index) return true;
  ini.lines.erase(ini.lines.begin() + static_cast<std::ptrdiff_t>(*index));
  return SaveLines(file, ini);
}

bool IniDeleteSection(std::string_view file, std::string_view section) {
  FileLock lock(file);
  IniLines ini = LoadLines(file);
  const SectionRange range = FindSection(ini, section);
  if (!range.found) return true;
  ini.lines.erase(ini.lines.begin() + static_cast<std::ptrdiff_t>(range.head),
                  ini.lines.begin() + static_cast<std::ptrdiff_t>(range.end));
  return SaveLines(file, ini);
}

}  // namespace zel
