#include "subtitles/Mp3Tags.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "base/FileHelpers.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"

namespace zel {

// clang-format off
const std::array<std::string_view, kId3GenreCount> kId3Genres = {
    "Blues", "Classic Rock", "Country", "Dance", "Disco", "Funk", "Grunge", "Hip-Hop", "Jazz", "Metal",
    "New Age", "Oldies", "Other", "Pop", "R&B", "Rap", "Reggae", "Rock", "Techno", "Industrial",
    "Alternative", "Ska", "Death Metal", "Pranks", "Soundtrack", "Euro-Techno", "Ambient", "Trip-Hop", "Vocal",
    "Jazz+Funk", "Fusion", "Trance", "Classical", "Instrumental", "Acid", "House", "Game", "Sound Clip", "Gospel",
    "Noise", "Alternative Rock", "Bass", "Soul", "Punk", "Space", "Meditative", "Instrumental Pop",
    "Instrumental Rock", "Ethnic", "Gothic", "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk",
    "Eurodance", "Dream", "Southern Rock", "Comedy", "Cult", "Gangsta", "Top 40", "Christian Rap", "Pop/Funk",
    "Jungle", "Native American", "Cabaret", "New Wave", "Psychedelic", "Rave", "Showtunes", "Trailer", "Lo-Fi",
    "Tribal", "Acid Punk", "Acid Jazz", "Polka", "Retro", "Musical", "Rock & Roll", "Hard Rock", "Folk",
    "Folk-Rock", "National Folk", "Swing", "Fast Fusion", "Bebop", "Latin", "Revival", "Celtic", "Bluegrass",
    "Avantgarde", "Gothic Rock", "Progressive Rock", "Psychedelic Rock", "Symphonic Rock", "Slow Rock",
    "Big Band", "Chorus", "Easy Listening", "Acoustic", "Humour", "Speech", "Chanson", "Opera", "Chamber Music",
    "Sonata", "Symphony", "Booty Bass", "Primus", "Porn Groove", "Satire", "Slow Jam", "Club", "Tango", "Samba",
    "Folklore", "Ballad", "Power Ballad", "Rhythmic Soul", "Freestyle", "Duet", "Punk Rock", "Drum Solo",
    "A Cappella", "Euro-House", "Dance Hall", "Goa", "Drum & Bass", "Club-House", "Hardcore", "Terror", "Indie",
    "BritPop", "Afro-Punk", "Polsk Punk", "Beat", "Christian Gangsta Rap", "Heavy Metal", "Black Metal",
    "Crossover", "Contemporary Christian", "Christian Rock", "Merengue", "Salsa", "Thrash Metal", "Anime", "JPop",
    "Synthpop"};
// clang-format on

std::string_view Id3GenreName(int index) {
  return index >= 0 && index < kId3GenreCount ? kId3Genres[static_cast<size_t>(index)] : std::string_view();
}

namespace {

constexpr uint8_t kUnsynchronised = 0x80;
constexpr uint8_t kExtendedHeader = 0x40;
constexpr uint8_t kFooter = 0x10;
constexpr uint32_t kMaxTagSize = 0x0FFFFFFF;  // what 28 syncsafe bits hold
constexpr int kFrontCover = 3;

uint8_t Byte(std::string_view bytes, size_t at) { return static_cast<uint8_t>(bytes[at]); }

// Top bits are dropped: a size written without syncsafe coding is read as it stands.
uint32_t Syncsafe(std::string_view bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = (value << 7) | (Byte(bytes, at + i) & 0x7Fu);
  return value;
}

uint32_t BigEndian(std::string_view bytes, size_t at, size_t count) {
  uint32_t value = 0;
  for (size_t i = 0; i < count; ++i) value = (value << 8) | Byte(bytes, at + i);
  return value;
}

std::string SyncsafeBytes(uint32_t value) {
  return {static_cast<char>((value >> 21) & 0x7F), static_cast<char>((value >> 14) & 0x7F),
          static_cast<char>((value >> 7) & 0x7F), static_cast<char>(value & 0x7F)};
}

std::string BigEndianBytes(uint32_t value, size_t count) {
  std::string bytes(count, '\0');
  for (size_t i = 0; i < count; ++i) bytes[count - 1 - i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

// Where the frames of a tag lie in the bytes at hand.
struct TagLayout {
  int major = 0;
  uint8_t flags = 0;
  uint32_t sizeField = 0;  // the header's size: frames, padding and extended header
  size_t framesStart = 10;
  size_t framesEnd = 10;  // the declared end, cut to the bytes at hand
  bool whole = false;     // the whole declared tag, footer included, is at hand
  bool readable = false;  // a version whose frames this code knows
};

std::optional<TagLayout> Layout(std::string_view file) {
  int major = 0;
  const int64_t tagSize = ID3TagSize(file, major);
  if (tagSize == 0) return std::nullopt;
  TagLayout tag;
  tag.major = major;
  tag.flags = Byte(file, 5);
  tag.sizeField = Syncsafe(file, 6);
  tag.whole = static_cast<uint64_t>(tagSize) <= file.size();
  tag.framesEnd = std::min<size_t>(file.size(), size_t{10} + tag.sizeField);
  // In version 2 this flag means a compression nobody defined.
  tag.readable = (major == 3 || major == 4) || (major == 2 && (tag.flags & kExtendedHeader) == 0);
  if (tag.readable && major >= 3 && (tag.flags & kExtendedHeader) != 0) {
    // Version 3 counts the size field out, version 4 counts it in.
    const uint64_t extended = tag.framesEnd < 14 ? 0
                              : major == 3       ? uint64_t{4} + BigEndian(file, 10, 4)
                                                 : Syncsafe(file, 10);
    tag.readable = extended >= 4 && 10 + extended <= tag.framesEnd;
    if (tag.readable) tag.framesStart = 10 + static_cast<size_t>(extended);
  }
  return tag;
}

struct FrameShape {
  size_t name;
  size_t header;  // bytes of name, size and flags
  size_t margin;  // the walk stops this close to the end of the tag
  std::string_view picture;
};

FrameShape ShapeOf(int major) { return major == 2 ? FrameShape{3, 6, 7, "PIC"} : FrameShape{4, 10, 11, "APIC"}; }

// Hands each frame to `visit` until it returns false. Nothing is collected, so
// a huge tag of tiny frames costs time in proportion to its size, not memory.
template <typename Visit>
void Walk(std::string_view file, const TagLayout& tag, Visit visit) {
  if (!tag.readable) return;
  const FrameShape shape = ShapeOf(tag.major);
  // Zero padding reads as nameless frames of size 0: the walk steps over it a
  // header at a time, as it must, since only the stored sizes say where frames are.
  for (size_t pos = tag.framesStart; pos + shape.margin < tag.framesEnd;) {
    const uint64_t size = tag.major == 2   ? BigEndian(file, pos + 3, 3)
                          : tag.major == 4 ? Syncsafe(file, pos + 4)
                                           : BigEndian(file, pos + 4, 4);
    if (size > tag.framesEnd - pos - shape.header) return;
    if (!visit(Id3Frame{std::string(file.substr(pos, shape.name)), pos, static_cast<size_t>(size)})) return;
    pos += shape.header + static_cast<size_t>(size);
  }
}

// The index-th picture frame (from 1), or nothing.
std::optional<Id3Frame> PictureFrame(std::string_view file, const TagLayout& tag, int index) {
  if (index < 1) return std::nullopt;
  const std::string_view name = ShapeOf(tag.major).picture;
  std::optional<Id3Frame> found;
  int seen = 0;
  Walk(file, tag, [&](Id3Frame&& frame) {
    if (frame.name == name && ++seen == index) found = std::move(frame);
    return !found;
  });
  return found;
}

std::string Resynchronised(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    out += bytes[i];
    if (Byte(bytes, i) == 0xFF && i + 1 < bytes.size() && bytes[i + 1] == '\0') ++i;
  }
  return out;
}

// The frame's content with the extra bytes its flags announce taken off and
// unsynchronisation undone; nothing for compressed or encrypted frames.
std::optional<std::string> FrameContent(std::string_view file, const TagLayout& tag, const Id3Frame& frame) {
  const size_t header = ShapeOf(tag.major).header;
  size_t skip = 0;
  bool unsynchronised = (tag.flags & kUnsynchronised) != 0;
  if (tag.major == 3) {
    const uint8_t format = Byte(file, frame.offset + 9);
    if ((format & 0xC0) != 0) return std::nullopt;
    if ((format & 0x20) != 0) skip += 1;  // group mark
  } else if (tag.major == 4) {
    const uint8_t format = Byte(file, frame.offset + 9);
    if ((format & 0x0C) != 0) return std::nullopt;
    if ((format & 0x40) != 0) skip += 1;  // group mark
    if ((format & 0x01) != 0) skip += 4;  // data length
    if ((format & 0x02) != 0) unsynchronised = true;
  }
  if (skip > frame.size) return std::nullopt;
  const std::string_view content = file.substr(frame.offset + header + skip, frame.size - skip);
  return unsynchronised ? Resynchronised(content) : std::string(content);
}

bool WideEncoding(int encoding) { return encoding == 1 || encoding == 2; }

// The position behind the terminator of a text that starts at `from`: one zero
// byte, or for UTF-16 two at an even distance. npos when there is none.
size_t PastTerminator(std::string_view bytes, size_t from, int encoding) {
  if (!WideEncoding(encoding)) {
    const size_t zero = bytes.find('\0', from);
    return zero == std::string_view::npos ? zero : zero + 1;
  }
  for (size_t i = from; i + 1 < bytes.size(); i += 2) {
    if (bytes[i] == '\0' && bytes[i + 1] == '\0') return i + 2;
  }
  return std::string_view::npos;
}

std::string Utf16ToUtf8(std::string_view bytes, bool bigEndian) {
  if (bytes.size() >= 2 &&
      ((Byte(bytes, 0) == 0xFF && Byte(bytes, 1) == 0xFE) || (Byte(bytes, 0) == 0xFE && Byte(bytes, 1) == 0xFF))) {
    bigEndian = Byte(bytes, 0) == 0xFE;
    bytes.remove_prefix(2);
  }
  auto unit = [&](size_t i) -> uint32_t {
    return bigEndian ? (uint32_t{Byte(bytes, i)} << 8) | Byte(bytes, i + 1)
                     : (uint32_t{Byte(bytes, i + 1)} << 8) | Byte(bytes, i);
  };
  std::string out;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    uint32_t c = unit(i);
    if (c == 0) break;
    if (c >= 0xD800 && c < 0xDC00 && i + 3 < bytes.size() && unit(i + 2) >= 0xDC00 && unit(i + 2) < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (unit(i + 2) - 0xDC00);
      i += 2;
    } else if (c >= 0xD800 && c < 0xE000) {
      c = 0xFFFD;
    }
    AppendUtf8(out, c);
  }
  return out;
}

// The first text of the bytes, in the frame's encoding: 0 ISO-8859-1, 1 UTF-16
// with a byte order mark, 2 UTF-16 big endian, 3 UTF-8.
std::string DecodeText(int encoding, std::string_view bytes) {
  if (WideEncoding(encoding)) return Utf16ToUtf8(bytes, encoding == 2);
  bytes = bytes.substr(0, bytes.find('\0'));
  if (encoding == 3) return std::string(bytes);
  std::string out;
  for (const char c : bytes) AppendUtf8(out, static_cast<uint8_t>(c));
  return out;
}

// A whole text that is a plain number, rounded, within the member's range.
bool PlainNumber(std::string_view text, int low, int high, int& value) {
  const std::string trimmed = Trim(text);
  int32_t rounded = 0;
  if (!IsNumeric(trimmed) || !RoundToInt32(Val(trimmed), rounded) || rounded < low || rounded > high) return false;
  value = rounded;
  return true;
}

struct TextRow {
  std::string_view name;    // versions 3 and 4
  std::string_view name22;  // version 2
  void (*apply)(Mp3TextFrames& tags, const std::string& text);
};

constexpr TextRow kTextRows[] = {
    {"TPE1", "TP1", [](Mp3TextFrames& t, const std::string& s) { t.artist = s; }},
    {"TPE2", "TP2", [](Mp3TextFrames& t, const std::string& s) { t.artist = s; }},
    {"TALB", "TAL", [](Mp3TextFrames& t, const std::string& s) { t.album = s; }},
    {"TYER", "TYE",
     [](Mp3TextFrames& t, const std::string& s) {
       int v = 0;
       if (PlainNumber(s, INT16_MIN, INT16_MAX, v)) t.year = static_cast<int16_t>(v);
     }},
    {"COMM", "COM", [](Mp3TextFrames& t, const std::string& s) { t.comment = s; }},
    {"TCON", "TCO", [](Mp3TextFrames& t, const std::string& s) { PlainNumber(s, 0, 255, t.genre); }},
    {"TIT2", "TT2", [](Mp3TextFrames& t, const std::string& s) { t.title = s; }},
    {"TRCK", "TRK",
     [](Mp3TextFrames& t, const std::string& s) {
       int v = 0;
       if (PlainNumber(s, 0, 255, v)) t.track = static_cast<uint8_t>(v);
     }},
};

// The text a frame carries; a comment holds a language and a description first.
std::optional<std::string> FrameText(std::string_view content, bool comment) {
  if (content.empty()) return std::nullopt;
  const int encoding = Byte(content, 0);
  if (encoding > 3) return std::nullopt;
  size_t start = 1;
  if (comment) {
    if (content.size() < 4) return std::nullopt;
    start = PastTerminator(content, 4, encoding);
    if (start == std::string_view::npos) return std::nullopt;
  }
  return DecodeText(encoding, content.substr(start));
}

std::string PictureFrameBytes(int major, std::string_view jpeg, int pictureType) {
  const char type = static_cast<char>(pictureType >= 0 && pictureType <= 20 ? pictureType : kFrontCover);
  if (major == 2) {
    const std::string data = std::string("\0JPG", 4) + type + '\0' + std::string(jpeg);
    return "PIC" + BigEndianBytes(static_cast<uint32_t>(data.size()), 3) + data;
  }
  const std::string data = std::string("\0image/jpeg\0", 12) + type + '\0' + std::string(jpeg);
  const auto size = static_cast<uint32_t>(data.size());
  return "APIC" + (major == 4 ? SyncsafeBytes(size) : BigEndianBytes(size, 4)) + std::string(2, '\0') + data;
}

// Writes the tag's new size into the header, and into the footer that a
// version-4 tag may carry behind its frames.
void SetTagSize(std::string& file, const TagLayout& tag, uint32_t size) {
  file.replace(6, 4, SyncsafeBytes(size));
  const size_t footer = size_t{10} + size;
  if (tag.major == 4 && (tag.flags & kFooter) != 0 && footer + 10 <= file.size() &&
      file.compare(footer, 3, "3DI") == 0) {
    file.replace(footer + 6, 4, SyncsafeBytes(size));
  }
}

// A tag this code may change: all of it at hand, frames it knows, and no
// unsynchronisation, whose byte stuffing a spliced frame would break.
bool Changeable(const TagLayout& tag) { return tag.whole && tag.readable && (tag.flags & kUnsynchronised) == 0; }

// ---- Files ----

std::string ReadUpTo(int fd, uint64_t count) {
  std::string bytes;
  char buffer[65536];
  while (count > 0) {
    const ssize_t n = ::read(fd, buffer, static_cast<size_t>(std::min<uint64_t>(count, sizeof buffer)));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    bytes.append(buffer, static_cast<size_t>(n));
    count -= static_cast<uint64_t>(n);
  }
  return bytes;
}

// The start of the file as far as its tag reaches; nothing when it cannot be opened.
std::optional<std::string> ReadTagBytes(const std::string& path) {
  const int fd = path.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::string bytes = ReadUpTo(fd, 10);
  int major = 0;
  const int64_t size = ID3TagSize(bytes, major);
  if (size > 10) bytes += ReadUpTo(fd, static_cast<uint64_t>(size - 10));
  ::close(fd);
  return bytes;
}

// Reads the whole file, lets `change` make the new content and puts it in the
// old one's place by an atomic rename. Links are followed, so the file they
// point at is the one replaced; owner and permission bits are kept.
template <typename Change>
bool RewriteFile(const std::string& path, bool clearReadOnly, Change change) {
  char resolved[PATH_MAX];
  if (path.empty() || ::realpath(path.c_str(), resolved) == nullptr) return false;
  const std::string target = resolved;
  struct stat before {};
  if (::stat(target.c_str(), &before) != 0 || !S_ISREG(before.st_mode)) return false;
  // The owner's write bit plays the part of the read-only flag, even for root.
  const bool readOnly = (before.st_mode & S_IWUSR) == 0 || ::access(target.c_str(), W_OK) != 0;
  if (readOnly && !clearReadOnly) return false;
  const std::string bytes = ReadText(target);
  if (static_cast<off_t>(bytes.size()) != before.st_size) return false;
  const std::optional<std::string> changed = change(std::string_view(bytes));
  if (!changed || !WriteFileAtomic(target, *changed)) return false;
  struct stat after {};
  if (::stat(target.c_str(), &after) == 0 && (after.st_uid != before.st_uid || after.st_gid != before.st_gid)) {
    // Only root may give the file back to its owner; anyone else now owns the copy.
    [[maybe_unused]] const int given = ::chown(target.c_str(), before.st_uid, before.st_gid);
  }
  ::chmod(target.c_str(), (before.st_mode & 07777) | (readOnly ? S_IWUSR : 0));
  return true;
}

constexpr std::string_view kCoverSuffixes =
    ".jpg|.cover.jpg|.folder.jpg|.png|.cover.png|.folder.png|.bmp|.cover.bmp|.folder.bmp|.gif|.cover.gif|"
    ".folder.gif";
constexpr std::string_view kFolderCovers =
    "cover.jpg|folder.jpg|cover.png|folder.png|cover.bmp|folder.bmp|cover.gif|folder.gif";

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
  if (dir == nullptr) return names;
  while (const dirent* entry = ::readdir(dir)) names.emplace_back(entry->d_name);
  ::closedir(dir);
  return names;
}

}  // namespace

int64_t ID3TagSize(std::string_view head, int& major) {
  if (head.size() < 10 || head.substr(0, 3) != "ID3") return 0;
  major = Byte(head, 3);
  const int64_t footer = major >= 4 && (Byte(head, 5) & kFooter) != 0 ? 10 : 0;
  return int64_t{Syncsafe(head, 6)} + 10 + footer;
}

std::vector<Id3Frame> ID3Frames(std::string_view file) {
  const std::optional<TagLayout> tag = Layout(file);
  std::vector<Id3Frame> frames;
  if (tag) {
    Walk(file, *tag, [&](Id3Frame&& frame) {
      if (frame.name[0] != '\0') frames.push_back(std::move(frame));
      return true;
    });
  }
  return frames;
}

int AlbumArtCountIn(std::string_view file) {
  const std::optional<TagLayout> tag = Layout(file);
  if (!tag) return 0;
  const std::string_view name = ShapeOf(tag->major).picture;
  int count = 0;
  Walk(file, *tag, [&](const Id3Frame& frame) {
    count += frame.name == name ? 1 : 0;
    return true;
  });
  return count;
}

bool ReadAlbumArtIn(std::string_view file, int index, std::string& picture, int& pictureType) {
  const std::optional<TagLayout> tag = Layout(file);
  if (!tag) return false;
  const std::optional<Id3Frame> frame = PictureFrame(file, *tag, index);
  if (!frame) return false;
  const std::optional<std::string> content = FrameContent(file, *tag, *frame);
  if (!content || content->empty()) return false;
  const std::string_view data = *content;
  const int encoding = Byte(data, 0);
  // Encoding, then a 3-letter image format (version 2) or a MIME type ending in
  // a zero byte, the picture type, and a description ending in a terminator.
  size_t typeAt = 4;
  if (tag->major != 2) {
    typeAt = PastTerminator(data, 1, 0);
    if (typeAt == std::string_view::npos) return false;
  }
  if (typeAt >= data.size()) return false;
  const size_t imageAt = PastTerminator(data, typeAt + 1, encoding);
  if (imageAt == std::string_view::npos || imageAt >= data.size()) return false;
  picture.assign(data.substr(imageAt));
  pictureType = Byte(data, typeAt);
  return true;
}

std::optional<std::string> WriteAlbumArtIn(std::string_view file, int index, std::string_view jpeg, int pictureType) {
  if (jpeg.size() < 3 || Byte(jpeg, 0) != 0xFF || Byte(jpeg, 1) != 0xD8) return std::nullopt;
  const std::optional<TagLayout> tag = Layout(file);
  if (!tag) {
    const std::string frame = PictureFrameBytes(3, jpeg, pictureType);
    if (frame.size() > kMaxTagSize) return std::nullopt;
    return std::string("ID3\3\0\0", 6) + SyncsafeBytes(static_cast<uint32_t>(frame.size())) + frame + std::string(file);
  }
  if (!Changeable(*tag)) return std::nullopt;
  const std::string frame = PictureFrameBytes(tag->major, jpeg, pictureType);
  const uint64_t size = uint64_t{tag->sizeField} + frame.size();
  if (size > kMaxTagSize || (tag->major == 2 && frame.size() - 6 > 0xFFFFFF)) return std::nullopt;
  const std::optional<Id3Frame> before = PictureFrame(file, *tag, index);
  const size_t at = before ? before->offset : tag->framesStart;
  std::string result;
  result.reserve(file.size() + frame.size());
  result.append(file.substr(0, at)).append(frame).append(file.substr(at));
  SetTagSize(result, *tag, static_cast<uint32_t>(size));
  return result;
}

std::optional<std::string> DeleteAlbumArtIn(std::string_view file, int index) {
  const std::optional<TagLayout> tag = Layout(file);
  if (!tag || !Changeable(*tag)) return std::nullopt;
  const std::optional<Id3Frame> frame = PictureFrame(file, *tag, index);
  if (!frame) return std::nullopt;
  const size_t length = ShapeOf(tag->major).header + frame->size;
  std::string result(file.substr(0, frame->offset));
  result.append(file.substr(frame->offset + length));
  SetTagSize(result, *tag, tag->sizeField - static_cast<uint32_t>(length));
  return result;
}

Mp3TextFrames ReadTextFramesIn(std::string_view file) {
  Mp3TextFrames tags;
  const std::optional<TagLayout> tag = Layout(file);
  if (!tag) return tags;
  Walk(file, *tag, [&](const Id3Frame& frame) {
    const auto row = std::find_if(std::begin(kTextRows), std::end(kTextRows), [&](const TextRow& r) {
      return frame.name == (tag->major == 2 ? r.name22 : r.name);
    });
    if (row == std::end(kTextRows)) return true;
    const std::optional<std::string> content = FrameContent(file, *tag, frame);
    const std::optional<std::string> text = content ? FrameText(*content, row->name == "COMM") : std::nullopt;
    if (text) row->apply(tags, *text);
    return true;
  });
  return tags;
}

bool ID3Exist(const std::string& path) {
  const std::optional<std::string> bytes = ReadTagBytes(path);
  int major = 0;
  return bytes && ID3TagSize(*bytes, major) > 0;
}

int GetAlbumArtCount(const std::string& path) {
  const std::optional<std::string> bytes = ReadTagBytes(path);
  return bytes ? AlbumArtCountIn(*bytes) : 0;
}

bool ReadAlbumArt(const std::string& path, int index, std::string& picture, int& pictureType) {
  const std::optional<std::string> bytes = ReadTagBytes(path);
  return bytes && ReadAlbumArtIn(*bytes, index, picture, pictureType);
}

bool WriteAlbumArt(const std::string& path, int index, std::string_view jpeg, int pictureType, bool replace) {
  return RewriteFile(path, replace,
                     [&](std::string_view file) { return WriteAlbumArtIn(file, index, jpeg, pictureType); });
}

bool DeleteAlbumArt(const std::string& path, int index, bool clearReadOnly) {
  return RewriteFile(path, clearReadOnly, [&](std::string_view file) { return DeleteAlbumArtIn(file, index); });
}

Mp3TextFrames ReadTextFrames(const std::string& path) {
  if (Contains(path, "://")) return {};
  const std::optional<std::string> bytes = ReadTagBytes(path);
  return bytes ? ReadTextFramesIn(*bytes) : Mp3TextFrames();
}

std::string CheckAblumImage(const std::string& path) {
  const std::string folder = FolderOf(path);
  const std::string stem = BaseNameOf(path);
  std::vector<std::string> names;
  for (const std::string& suffix : Split(kCoverSuffixes, "|")) names.push_back(stem + suffix);
  for (std::string& name : Split(kFolderCovers, "|")) names.push_back(std::move(name));

  std::optional<std::vector<std::string>> entries;  // listed once, when first needed
  for (const std::string& name : names) {
    if (FileExists(folder + name)) return folder + name;
    if (!entries) entries = FolderEntries(folder);
    const std::string lower = LowerAscii(name);
    for (const std::string& entry : *entries) {
      if (LowerAscii(entry) == lower && FileExists(folder + entry)) return folder + entry;
    }
  }
  return {};
}

}  // namespace zel
