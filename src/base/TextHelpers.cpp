#include "base/TextHelpers.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "base/PathHelpers.h"

namespace zel {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsBlank(char c) { return c == ' ' || c == '\t'; }
char LowerChar(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
char UpperChar(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// Length of the number at the start of `text` (no blanks), 0 when there is none.
size_t NumberLength(std::string_view text) {
  size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  while (i < text.size() && IsDigit(text[i])) { ++i; ++digits; }
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) { ++i; ++digits; }
  }
  if (digits == 0) return 0;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    size_t expDigits = 0;
    while (j < text.size() && IsDigit(text[j])) { ++j; ++expDigits; }
    if (expDigits > 0) i = j;
  }
  return i;
}

double ParseNumber(std::string_view text) {
  // from_chars rejects a leading '+'.
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0;
  auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  (void)ptr;
  if (ec == std::errc::result_out_of_range) {
    return (!text.empty() && text.front() == '-') ? -std::numeric_limits<double>::infinity()
                                                   : std::numeric_limits<double>::infinity();
  }
  return ec == std::errc() ? value : 0.0;
}

}  // namespace

double Val(std::string_view text) {
  size_t start = 0;
  while (start < text.size() && (IsBlank(text[start]) || text[start] == '\r' || text[start] == '\n')) ++start;
  text.remove_prefix(start);
  const size_t length = NumberLength(text);
  return length == 0 ? 0.0 : ParseNumber(text.substr(0, length));
}

bool IsNumeric(std::string_view text) {
  return !text.empty() && NumberLength(text) == text.size();
}

bool RoundToInt32(double value, int32_t& out) {
  if (!std::isfinite(value)) return false;
  const double rounded = std::nearbyint(value);  // the default mode sends ties to even
  if (rounded < static_cast<double>(std::numeric_limits<int32_t>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<int32_t>::max())) {
    return false;
  }
  out = static_cast<int32_t>(rounded);
  return true;
}

int32_t RoundedOrZero(double value) {
  int32_t result = 0;
  RoundToInt32(value, result);
  return result;
}

std::string Trim(std::string_view text) {
  size_t begin = 0, end = text.size();
  while (begin < end && IsBlank(text[begin])) ++begin;
  while (end > begin && IsBlank(text[end - 1])) --end;
  return std::string(text.substr(begin, end - begin));
}

std::string LowerAscii(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = LowerChar(c);
  return result;
}

std::string UpperAscii(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = UpperChar(c);
  return result;
}

bool StartsWith(std::string_view text, std::string_view prefix) { return text.starts_with(prefix); }
bool EndsWith(std::string_view text, std::string_view suffix) { return text.ends_with(suffix); }
bool Contains(std::string_view text, std::string_view mark) { return text.find(mark) != std::string_view::npos; }

size_t FindNoCase(std::string_view text, std::string_view mark, size_t from) {
  if (mark.empty()) return from <= text.size() ? from : std::string_view::npos;
  if (mark.size() > text.size()) return std::string_view::npos;
  for (size_t i = from; i + mark.size() <= text.size(); ++i) {
    size_t k = 0;
    while (k < mark.size() && LowerChar(text[i + k]) == LowerChar(mark[k])) ++k;
    if (k == mark.size()) return i;
  }
  return std::string_view::npos;
}

std::string ReplaceAll(std::string_view text, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(text);
  std::string result;
  size_t pos = 0;
  for (size_t hit; (hit = text.find(find, pos)) != std::string_view::npos; pos = hit + find.size()) {
    result.append(text.substr(pos, hit - pos)).append(with);
  }
  return result.append(text.substr(pos));
}

std::string ReplaceAllNoCase(std::string_view text, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(text);
  std::string result;
  size_t pos = 0;
  for (size_t hit; (hit = FindNoCase(text, find, pos)) != std::string_view::npos; pos = hit + find.size()) {
    result.append(text.substr(pos, hit - pos)).append(with);
  }
  return result.append(text.substr(pos));
}

std::vector<std::string> Split(std::string_view text, std::string_view delimiter) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  if (delimiter.empty()) {
    parts.emplace_back(text);
    return parts;
  }
  size_t pos = 0;
  for (size_t hit; (hit = text.find(delimiter, pos)) != std::string_view::npos; pos = hit + delimiter.size()) {
    parts.emplace_back(text.substr(pos, hit - pos));
  }
  parts.emplace_back(text.substr(pos));
  return parts;
}

namespace {

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

size_t CharacterCount(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !IsContinuation(c); }));
}

std::string_view FirstCharacters(std::string_view text, size_t count) {
  size_t seen = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (!IsContinuation(text[i]) && seen++ == count) return text.substr(0, i);
  }
  return text;
}

std::vector<std::string_view> SplitLines(std::string_view text, LastLine last) {
  std::vector<std::string_view> lines;
  if (text.empty()) return lines;
  size_t from = 0;
  for (size_t end; (end = text.find_first_of("\r\n", from)) != std::string_view::npos;) {
    lines.push_back(text.substr(from, end - from));
    from = end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
  }
  const std::string_view rest = text.substr(from);
  if (last == LastLine::Keep || (last == LastLine::KeepIfNotEmpty && !rest.empty())) lines.push_back(rest);
  return lines;
}

bool HasLineEnd(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }

std::string FormatFixed2(double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.2f", value);
  return buffer;
}

namespace {

// The number rounded to `digits` significant digits and written out in full:
// digits, at most one point, no exponent, no trailing zeros, no "-0".
std::string PlainDecimal(double value, int digits) {
  if (!std::isfinite(value) || value == 0) return "0";
  const int exponent = static_cast<int>(std::floor(std::log10(std::fabs(value))));
  const int decimals = std::clamp(digits - 1 - exponent, 0, 340);
  char buffer[720];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  if (error != std::errc()) return "0";
  std::string text(buffer, end);
  if (text.find('.') != std::string::npos) {
    while (text.back() == '0') text.pop_back();
    if (text.back() == '.') text.pop_back();
  }
  return text == "-0" ? "0" : text;
}

}  // namespace

std::string FormatNumber(double value) { return PlainDecimal(value, 15); }

std::string FormatNumber(float value) { return PlainDecimal(value, 7); }

std::string GetString(std::string_view text, std::string_view startMark, std::string_view endMark) {
  return FindTextBetween(text, startMark, endMark, 1, 1);
}

std::string FindTextBetween(std::string_view text, std::string_view startMark, std::string_view endMark,
                            int startCount, int /*endCount: the first end mark always closes*/) {
  size_t begin = 0;
  if (!startMark.empty()) {
    size_t hit = std::string_view::npos;
    size_t from = 0;
    for (int n = 0; n < std::max(startCount, 1); ++n) {
      hit = FindNoCase(text, startMark, from);
      if (hit == std::string_view::npos) return {};
      from = hit + startMark.size();
    }
    begin = hit + startMark.size();
  }
  size_t end = text.size();
  if (!endMark.empty()) {
    end = text.find(endMark, begin);
    if (end == std::string_view::npos) return {};
  }
  return Trim(text.substr(begin, end - begin));
}

std::string GetFileString(std::string_view text, std::string_view delimiter, int mode) {
  if (text.ends_with(':')) {
    // A drive: a letter stands for itself, a device ("/dev/sr0:") by its name.
    const std::string_view drive = text.substr(0, text.size() - 1);
    return mode == 0 && delimiter == "." ? FileNameOf(drive) : std::string(drive);
  }
  const size_t last = delimiter.empty() ? std::string_view::npos : text.rfind(delimiter);
  if (mode == 1) return std::string(last == std::string_view::npos ? text : text.substr(last + delimiter.size()));
  if (mode == 0 && delimiter == ".") {
    return BaseNameOf(text);
  }
  return std::string(last == std::string_view::npos ? text : text.substr(0, last));
}

std::string PercentEncode(std::string_view text, std::string_view keep) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
                       byte == '-' || byte == '.' || byte == '_' || byte == '~' ||
                       keep.find(c) != std::string_view::npos;
    if (plain) {
      encoded += c;
    } else {
      encoded += '%';
      encoded += kHex[byte >> 4];
      encoded += kHex[byte & 0x0F];
    }
  }
  return encoded;
}

std::string PercentDecode(std::string_view text) {
  auto digit = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string decoded;
  decoded.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && digit(text[i + 1]) >= 0 && digit(text[i + 2]) >= 0) {
      decoded += static_cast<char>(digit(text[i + 1]) * 16 + digit(text[i + 2]));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

}  // namespace zel
