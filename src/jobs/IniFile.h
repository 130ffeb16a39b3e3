// Ini files read and written by the rules of profile strings: sections and keys
// found without regard to case, values trimmed and freed of one pair of quotes,
// and every other line of the file kept as it was.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zel {

// The profile calls read through buffers counted in characters: a value is
// cut at this many, one place being the final NUL's.
inline constexpr size_t kProfileValueChars = 254;

// The value of `key` in `section`, or nothing when the file, the section or the
// key is missing. The value is cut at the first NUL.
std::optional<std::string> IniRead(std::string_view file, std::string_view section, std::string_view key);

// Sets `key` in `section`, making the section at the end of the file when it is
// missing. Line breaks in the value become blanks, so a value can never make a
// line of its own. The file is replaced atomically under a lock.
bool IniWrite(std::string_view file, std::string_view section, std::string_view key, std::string_view value);
// Removes one key, or the whole section with all its lines.
bool IniDeleteKey(std::string_view file, std::string_view section, std::string_view key);
bool IniDeleteSection(std::string_view file, std::string_view section);

}  // namespace zel
