#include "subtitles/TextEncoding.h"

#include <fcntl.h>
#include <iconv.h>
#include <opencc/opencc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

constexpr std::string_view kUtf8Page = "UTF-8";

std::mutex& PageMutex() {
  static std::mutex mutex;
  return mutex;
}

std::string& PageName() {
  static std::string name(kUtf8Page);
  return name;
}

bool IsUtf8Name(std::string_view name) {
  const std::string upper = UpperAscii(Trim(name));
  return upper == "UTF-8" || upper == "UTF8" || upper == "65001" || upper == "CP65001";
}

// One converter per direction and thread: opening one costs more than converting a
// subtitle line, and the Big5 modes convert every line twice.
struct Converters {
  std::map<std::pair<std::string, std::string>, iconv_t> open;
  ~Converters() {
    for (auto& entry : open) iconv_close(entry.second);
  }
};

iconv_t Converter(const std::string& from, const std::string& to) {
  thread_local Converters converters;
  auto& open = converters.open;
  const auto key = std::make_pair(from, to);
  auto found = open.find(key);
  if (found != open.end()) {
    iconv(found->second, nullptr, nullptr, nullptr, nullptr);
    return found->second;
  }
  const iconv_t cd = iconv_open(to.c_str(), from.c_str());
  if (cd != reinterpret_cast<iconv_t>(-1)) open.emplace(key, cd);
  return cd;
}

size_t Utf8SequenceLength(std::string_view bytes, size_t at) {
  const auto lead = static_cast<unsigned char>(bytes[at]);
  size_t length = 0;
  uint32_t lowest = 0;
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    lowest = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    lowest = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    lowest = 0x10000;
  } else {
    return 0;
  }
  if (at + length > bytes.size()) return 0;
  uint32_t code = lead & (0x7F >> length);
  for (size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(bytes[at + i]);
    if ((next & 0xC0) != 0x80) return 0;
    code = (code << 6) | (next & 0x3F);
  }
  if (code < lowest || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
  return length;
}

uint32_t DecodeUtf8At(std::string_view bytes, size_t at, size_t length) {
  if (length == 1) return static_cast<unsigned char>(bytes[at]);
  uint32_t code = static_cast<unsigned char>(bytes[at]) & (0x7F >> length);
  for (size_t i = 1; i < length; ++i) code = (code << 6) | (static_cast<unsigned char>(bytes[at + i]) & 0x3F);
  return code;
}

constexpr uint32_t kReplacement = 0xFFFD;

// Invalid sequences become U+FFFD, one for each byte that starts none.
std::string SanitizeUtf8(std::string_view bytes) {
  if (IsValidUtf8(bytes)) return std::string(bytes);
  std::string out;
  out.reserve(bytes.size() + 16);
  for (size_t i = 0; i < bytes.size();) {
    const size_t length = Utf8SequenceLength(bytes, i);
    if (length == 0) {
      AppendUtf8(out, kReplacement);
      ++i;
    } else {
      out.append(bytes.substr(i, length));
      i += length;
    }
  }
  return out;
}

// UTF-16 code units to UTF-8; an odd last byte is a unit of its own, high half 0.
std::string DecodeUtf16(std::string_view bytes, bool bigEndian) {
  std::string out;
  out.reserve(bytes.size() * 3 / 2);
  auto unitAt = [&](size_t i) -> uint32_t {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = i + 1 < bytes.size() ? static_cast<unsigned char>(bytes[i + 1]) : 0u;
    return bigEndian ? (first << 8) | second : (second << 8) | first;
  };
  for (size_t i = 0; i < bytes.size(); i += 2) {
    const uint32_t unit = unitAt(i);
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < bytes.size()) {
      const uint32_t low = unitAt(i + 2);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
        i += 2;
        continue;
      }
    }
    AppendUtf8(out, (unit >= 0xD800 && unit <= 0xDFFF) ? kReplacement : unit);
  }
  return out;
}

std::string EncodeUtf16(std::string_view text, bool bigEndian) {
  std::string out;
  out.reserve(text.size() * 2);
  auto put = [&](uint32_t unit) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    out += bigEndian ? high : low;
    out += bigEndian ? low : high;
  };
  for (size_t i = 0; i < text.size();) {
    const size_t length = Utf8SequenceLength(text, i);
    const uint32_t code = length == 0 ? kReplacement : DecodeUtf8At(text, i, length);
    i += length == 0 ? 1 : length;
    if (code >= 0x10000) {
      put(0xD800 + ((code - 0x10000) >> 10));
      put(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      put(code);
    }
  }
  return out;
}

// iconv over the whole input. What the other side cannot take becomes "?": one
// byte of a page's input, or one character of UTF-8 input.
std::string Iconv(std::string_view input, const std::string& from, const std::string& to) {
  const iconv_t cd = Converter(from, to);
  if (cd == reinterpret_cast<iconv_t>(-1)) return {};
  const bool fromUtf8 = IsUtf8Name(from);
  std::string out(input.size() * 2 + 16, '\0');
  char* in = const_cast<char*>(input.data());
  size_t inLeft = input.size();
  size_t written = 0;
  while (inLeft > 0) {
    char* outPtr = out.data() + written;
    size_t outLeft = out.size() - written;
    const size_t result = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    written = out.size() - outLeft;
    if (result != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    // EILSEQ or EINVAL: mark the spot and go on after it.
    size_t skip = 1;
    if (fromUtf8) {
      const size_t length = Utf8SequenceLength(std::string_view(in, inLeft), 0);
      if (length > 0) skip = length;
    }
    in += skip;
    inLeft -= skip;
    if (written + 8 > out.size()) out.resize(out.size() * 2);
    out[written++] = '?';
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
  out.resize(written);
  return out;
}

std::string DecodeAnsi(std::string_view bytes) {
  const std::string page = AnsiCodePage();
  if (IsUtf8Name(page)) {
    if (IsValidUtf8(bytes)) return std::string(bytes);
    return Iconv(bytes, "GB18030", std::string(kUtf8Page));
  }
  return Iconv(bytes, page, std::string(kUtf8Page));
}

uint32_t FirstFourBytes(std::string_view bytes) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4 && i < bytes.size(); ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return value;
}

std::string BomBytes(int encoding) {
  uint32_t bom = 0;
  int length = 0;
  UEFMakeBOM(encoding, bom, length);
  std::string bytes;
  for (int i = 0; i < length; ++i) bytes += static_cast<char>((bom >> (8 * i)) & 0xFF);
  return bytes;
}

// The text in the file's encoding; false when there is none for it.
bool EncodeFor(int encoding, std::string_view text, std::string& bytes) {
  switch (encoding) {
    case kEncodingAnsi:
      bytes = EncodeAnsi(text);
      return !bytes.empty();
    case kEncodingUtf8:
      bytes = SanitizeUtf8(text);
      return !bytes.empty();
    case kEncodingUtf16:
      bytes = EncodeUtf16(text, false);
      return true;
    case kEncodingUtf16Be:
      bytes = EncodeUtf16(text, true);
      return true;
    default:
      return false;
  }
}

opencc_t TraditionalToSimplified() {
  static const opencc_t handle = opencc_open(OPENCC_DEFAULT_CONFIG_TRAD_TO_SIMP);
  return handle;
}

}  // namespace

std::string AnsiCodePage() {
  std::lock_guard lock(PageMutex());
  return PageName();
}

void SetAnsiCodePage(std::string_view name) {
  std::string page = Trim(name);
  if (!page.empty() && IsNumeric(page)) page = "CP" + page;
  if (page.empty() || IsUtf8Name(page)) {
    page = kUtf8Page;
  } else {
    const iconv_t probe = iconv_open("UTF-8", page.c_str());
    if (probe == reinterpret_cast<iconv_t>(-1)) {
      page = kUtf8Page;
    } else {
      iconv_close(probe);
    }
  }
  std::lock_guard lock(PageMutex());
  PageName() = page;
}

void UEFCheckBOM(uint32_t first4, int& encoding, int& length) {
  if (first4 == 0x0000FEFFu) {
    encoding = kEncodingUtf32, length = 4;
  } else if (first4 == 0xFFFE0000u) {
    encoding = kEncodingUtf32Be, length = 4;
  } else if ((first4 & 0xFFFFu) == 0xFEFFu) {
    encoding = kEncodingUtf16, length = 2;
  } else if ((first4 & 0xFFFFu) == 0xFFFEu) {
    encoding = kEncodingUtf16Be, length = 2;
  } else if ((first4 & 0xFFFFFFu) == 0xBFBBEFu) {
    encoding = kEncodingUtf8, length = 3;
  } else {
    encoding = kEncodingAnsi, length = 0;
  }
}

void UEFMakeBOM(int encoding, uint32_t& bom, int& length) {
  switch (encoding) {
    case kEncodingUtf8: bom = 0xBFBBEFu, length = 3; break;
    case kEncodingUtf16: bom = 0xFEFFu, length = 2; break;
    case kEncodingUtf16Be: bom = 0xFFFEu, length = 2; break;
    case kEncodingUtf32: bom = 0x0000FEFFu, length = 4; break;
    case kEncodingUtf32Be: bom = 0xFFFE0000u, length = 4; break;
    default: bom = 0, length = 0; break;
  }
}

int UEFCheckTextFileFormat(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return kEncodingDetect;
  char bytes[4] = {};
  ssize_t n = ::read(fd, bytes, sizeof bytes);
  ::close(fd);
  if (n < 0) return kEncodingDetect;
  int encoding = 0, length = 0;
  UEFCheckBOM(FirstFourBytes(std::string_view(bytes, static_cast<size_t>(n))), encoding, length);
  return encoding;
}

std::string DecodeTextBytes(std::string_view bytes, int& encoding) {
  if (encoding < kEncodingDetect || encoding > kEncodingUtf32Be) return {};
  int detected = 0, bomLength = 0;
  UEFCheckBOM(FirstFourBytes(bytes), detected, bomLength);
  if (encoding == kEncodingDetect) {
    encoding = detected;
  } else if (encoding != detected) {
    bomLength = 0;
  }
  const std::string_view rest = bytes.substr(std::min(bytes.size(), static_cast<size_t>(bomLength)));
  switch (encoding) {
    case kEncodingAnsi:
      return DecodeAnsi(rest);
    case kEncodingUtf8:
      return SanitizeUtf8(rest);
    case kEncodingUtf16: {
      // Read into room for one character per byte, plus one: the characters the
      // bytes do not fill stay NUL, and the text keeps them.
      std::string text = DecodeUtf16(rest, false);
      const size_t filled = (rest.size() + 1) / 2;
      text.append(rest.size() + 1 - filled, '\0');
      return text;
    }
    case kEncodingUtf16Be:
      return DecodeUtf16(rest.substr(0, rest.size() & ~size_t{1}), true);
    default:
      return {};
  }
}

std::string UEFLoadTextFile(const std::string& path, int& encoding) {
  if (encoding < kEncodingDetect || encoding > kEncodingUtf32Be) return {};
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return {};
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size >= (int64_t{1} << 31)) {
    ::close(fd);
    return {};
  }
  std::string bytes(static_cast<size_t>(info.st_size), '\0');
  size_t got = 0;
  while (got < bytes.size()) {
    const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
  ::close(fd);
  bytes.resize(got);
  return DecodeTextBytes(bytes, encoding);
}

bool UEFSaveTextFile(const std::string& path, std::string_view text, bool append, int& encoding,
                     int defaultEncoding) {
  const bool known = encoding >= kEncodingAnsi && encoding <= kEncodingUtf32Be;
  if ((encoding == kEncodingDetect && !append) || (encoding != kEncodingDetect && !known)) return false;

  if (!append) {
    // A replacing write goes through a temporary file, so a failure never leaves
    // half a file; what lands is what the write would have left: the mark, and the
    // text when it could be converted.
    const std::string bom = BomBytes(encoding);
    std::string body;
    const bool converted = text.empty() || EncodeFor(encoding, text, body);
    return WriteFileAtomic(path, bom + (converted ? body : std::string())) && converted;
  }

  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  struct stat info {};
  const bool empty = ::fstat(fd, &info) == 0 && info.st_size == 0;
  if (empty) {
    append = false;
    if (encoding == kEncodingDetect) encoding = defaultEncoding;
  }
  std::string bom;
  if (encoding != kEncodingDetect && !append) bom = BomBytes(encoding);
  if (encoding == kEncodingDetect && append) {
    char head[4] = {};
    const ssize_t n = ::pread(fd, head, sizeof head, 0);
    int length = 0;
    UEFCheckBOM(FirstFourBytes(std::string_view(head, n > 0 ? static_cast<size_t>(n) : 0)), encoding, length);
  }
  bool ok = ::lseek(fd, 0, append ? SEEK_END : SEEK_SET) >= 0 && WriteAll(fd, bom);
  if (ok && !text.empty()) {
    std::string body;
    ok = EncodeFor(encoding, text, body) && WriteAll(fd, body);
  }
  ::close(fd);
  return ok;
}

std::string EncodeAnsi(std::string_view text) {
  const std::string page = AnsiCodePage();
  if (IsUtf8Name(page)) return SanitizeUtf8(text);
  return Iconv(text, std::string(kUtf8Page), page);
}

std::string DecodeCodePage(std::string_view bytes, const char* page) {
  return Iconv(bytes, page, std::string(kUtf8Page));
}

std::string EncodeCodePage(std::string_view text, const char* page) {
  return Iconv(text, std::string(kUtf8Page), page);
}

std::string ApplyBig5Mode(std::string_view line, int mode) {
  if (line.empty()) return {};
  if (mode == 1) {
    std::string repaired = DecodeCodePage(EncodeCodePage(line, "GB18030"), "CP950");
    const opencc_t simplify = TraditionalToSimplified();
    if (simplify == reinterpret_cast<opencc_t>(-1)) return repaired;
    char* mapped = opencc_convert_utf8(simplify, repaired.data(), repaired.size());
    if (mapped == nullptr) return repaired;
    std::string result(mapped);
    opencc_convert_utf8_free(mapped);
    return result;
  }
  if (mode == 2) return DecodeCodePage(EncodeCodePage(line, "CP950"), "GB18030");
  return std::string(line);
}

void AppendUtf8(std::string& out, uint32_t code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

bool IsValidUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    if (static_cast<unsigned char>(bytes[i]) < 0x80) {
      ++i;
      continue;
    }
    const size_t length = Utf8SequenceLength(bytes, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

std::vector<std::string_view> Utf8Characters(std::string_view text) {
  std::vector<std::string_view> characters;
  characters.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const size_t length = std::max<size_t>(1, Utf8SequenceLength(text, i));
    characters.push_back(text.substr(i, length));
    i += length;
  }
  return characters;
}

}  // namespace zel
