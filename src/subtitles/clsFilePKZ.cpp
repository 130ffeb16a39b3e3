#include "subtitles/clsFilePKZ.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "base/FileHelpers.h"

namespace zel {

namespace {

constexpr int64_t kHeaderSize = 14;
// The data start as stored, 1-based: the entries begin at byte offset 14.
constexpr int16_t kDataStart = 15;
constexpr int64_t kCountOffset = 4;
constexpr int64_t kLengthOffset = 10;
constexpr int64_t kMaxEntryLength = std::numeric_limits<int32_t>::max();
constexpr size_t kCopyBlock = size_t{1} << 20;

void PutLE(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

uint32_t GetLE(const char* in, int bytes) {
  uint32_t value = 0;
  for (int i = 0; i < bytes; ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(in[i])) << (8 * i);
  return value;
}

// Two's complement wrap without overflow, for fields read from or bound for disk.
int32_t ToInt32(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

// Bytes read from `pos`; fewer only at the end of the file.
size_t ReadUpTo(int fd, int64_t pos, char* out, size_t length) {
  size_t done = 0;
  while (done < length) {
    const ssize_t n = ::pread(fd, out + done, length - done, pos + static_cast<int64_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

bool ReadAt(int fd, int64_t pos, char* out, size_t length) { return ReadUpTo(fd, pos, out, length) == length; }

bool WriteAt(int fd, int64_t pos, const char* in, size_t length) {
  size_t done = 0;
  while (done < length) {
    const ssize_t n = ::pwrite(fd, in + done, length - done, pos + static_cast<int64_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Streams so that an entry of up to 2 GB never has to sit in memory whole.
bool CopyRange(int from, int64_t fromPos, int to, int64_t toPos, int64_t length) {
  std::string buffer(static_cast<size_t>(std::min<int64_t>(length, kCopyBlock)), '\0');
  while (length > 0) {
    const size_t chunk = static_cast<size_t>(std::min<int64_t>(length, kCopyBlock));
    if (!ReadAt(from, fromPos, buffer.data(), chunk) || !WriteAt(to, toPos, buffer.data(), chunk)) return false;
    fromPos += static_cast<int64_t>(chunk);
    toPos += static_cast<int64_t>(chunk);
    length -= static_cast<int64_t>(chunk);
  }
  return true;
}

int64_t FdSize(int fd) {
  struct stat st {};
  return fd >= 0 && ::fstat(fd, &st) == 0 ? static_cast<int64_t>(st.st_size) : -1;
}

// The entry's name as a path below the extraction folder, "\" taken as a
// separator for packs made on Windows; false for a name that could leave it.
bool RelativeTarget(std::string_view name, std::string& out) {
  out.assign(name);
  std::replace(out.begin(), out.end(), '\\', '/');
  if (out.empty() || out.front() == '/' || out.back() == '/' || out.find('\0') != std::string::npos) return false;
  size_t start = 0;
  for (;;) {
    const size_t slash = out.find('/', start);
    const std::string_view part = std::string_view(out).substr(start, slash - start);
    if (part == "..") return false;
    if (slash == std::string::npos) return true;
    start = slash + 1;
  }
}

}  // namespace

clsFilePKZ::~clsFilePKZ() {
  if (fd_ >= 0) ::close(fd_);
}

bool clsFilePKZ::OpenPath(const std::string& path, bool create) {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  openPath_.clear();
  int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0666);
  // A pack in a read-only folder or on a read-only medium must still read.
  if (fd < 0 && !create) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return false;
  }
  fd_ = fd;
  openPath_ = path;
  return true;
}

void clsFilePKZ::ReadHeader() {
  char header[kHeaderSize] = {};
  const size_t got = ReadUpTo(fd_, 0, header, sizeof header);
  // A short file leaves the missing fields 0, and data start 0 makes every walk empty.
  signature_.assign(header, std::min<size_t>(got, 3));
  version_ = static_cast<uint8_t>(header[3]);
  fileCount_ = static_cast<int32_t>(GetLE(header + kCountOffset, 4));
  dataStart_ = static_cast<int16_t>(GetLE(header + 8, 2));
  fileLength_ = static_cast<int32_t>(GetLE(header + kLengthOffset, 4));
}

std::string clsFilePKZ::HeaderBytes(int32_t count, int32_t length) const {
  std::string header = signature_.substr(0, 3);
  header.resize(3, '\0');
  header += static_cast<char>(version_);
  PutLE(header, static_cast<uint32_t>(count), 4);
  PutLE(header, static_cast<uint16_t>(dataStart_), 2);
  PutLE(header, static_cast<uint32_t>(length), 4);
  return header;
}

int64_t clsFilePKZ::Size() const { return FdSize(fd_); }

bool clsFilePKZ::OpenAchive() {
  CloseAchive();
  if (!OpenPath(filename_, false)) return false;
  ReadHeader();
  isOpen_ = true;
  return true;
}

bool clsFilePKZ::CreateAchive() {
  CloseAchive();
  if (!OpenPath(filename_, true)) return false;
  signature_ = "PKZ";
  version_ = 1;
  dataStart_ = kDataStart;
  fileCount_ = 0;
  fileLength_ = 0;
  const std::string header = HeaderBytes(0, 0);
  if (!WriteAt(fd_, 0, header.data(), header.size())) {
    CloseAchive();
    return false;
  }
  isOpen_ = true;
  return true;
}

bool clsFilePKZ::Append(std::string_view name, int32_t recordedLength, std::string_view bytes, int sourceFd,
                        int64_t sourceLength) {
  if (name.size() > std::numeric_limits<uint16_t>::max() || fileCount_ == std::numeric_limits<int32_t>::max() ||
      static_cast<int64_t>(fileLength_) + recordedLength > kMaxEntryLength) {
    return false;
  }
  const int64_t end = Size();
  if (end < 0) return false;
  std::string head;
  PutLE(head, static_cast<uint32_t>(name.size()), 2);
  head.append(name);
  PutLE(head, static_cast<uint32_t>(recordedLength), 4);
  const int64_t dataPos = end + static_cast<int64_t>(head.size());
  bool ok = WriteAt(fd_, end, head.data(), head.size());
  if (ok) {
    ok = sourceFd >= 0 ? CopyRange(sourceFd, 0, fd_, dataPos, sourceLength)
                       : WriteAt(fd_, dataPos, bytes.data(), bytes.size());
  }
  if (!ok) {
    // A half-written entry would break the chain for every later one.
    [[maybe_unused]] const int ignored = ::ftruncate(fd_, end);
    return false;
  }
  fileCount_ += 1;
  fileLength_ += recordedLength;
  return true;
}

bool clsFilePKZ::AddFile(std::string_view path, std::string_view name) {
  if (!Usable() || path.empty()) return false;
  std::string entryName(name);
  if (entryName.empty()) {
    const size_t separator = path.find_last_of("/\\");
    entryName = separator == std::string_view::npos ? path : path.substr(separator + 1);
  }
  const int source = ::open(std::string(path).c_str(), O_RDONLY | O_CLOEXEC);
  if (source < 0) return false;
  struct stat st {};
  bool ok = ::fstat(source, &st) == 0 && S_ISREG(st.st_mode) && st.st_size <= kMaxEntryLength;
  if (ok) {
    const int64_t length = st.st_size;
    ok = Append(entryName, static_cast<int32_t>(length), {}, source, length);
  }
  ::close(source);
  return ok;
}

bool clsFilePKZ::AddByteFile(std::string_view name, std::string_view bytes, int lowerBound) {
  if (!Usable()) return false;
  const int64_t upperBound = static_cast<int64_t>(lowerBound) + static_cast<int64_t>(bytes.size()) - 1;
  // Bounds that no array of these bytes could have would only record a broken length.
  if (lowerBound < 0 || upperBound < 0 || upperBound > kMaxEntryLength) return false;
  if (upperBound > static_cast<int64_t>(bytes.size())) return false;
  return Append(name, static_cast<int32_t>(upperBound), bytes, -1, 0);
}

bool clsFilePKZ::UpDateHeader() {
  if (!Usable()) return false;
  std::string count, length;
  PutLE(count, static_cast<uint32_t>(fileCount_), 4);
  PutLE(length, static_cast<uint32_t>(fileLength_), 4);
  return WriteAt(fd_, kCountOffset, count.data(), count.size()) &&
         WriteAt(fd_, kLengthOffset, length.data(), length.size());
}

bool clsFilePKZ::ReadHead(int64_t pos, int64_t size, bool wantName, Head& head) const {
  char field[4];
  if (pos < kHeaderSize || pos + 2 > size || !ReadAt(fd_, pos, field, 2)) return false;
  const int64_t nameLength = GetLE(field, 2);
  const int64_t lengthPos = pos + 2 + nameLength;
  if (lengthPos + 4 > size || !ReadAt(fd_, lengthPos, field, 4)) return false;
  head.length = static_cast<int32_t>(GetLE(field, 4));
  head.dataOffset = lengthPos + 4;
  if (head.length < 0 || head.dataOffset + head.length > size) return false;
  head.name.clear();
  if (wantName) {
    head.name.resize(static_cast<size_t>(nameLength));
    if (!ReadAt(fd_, pos + 2, head.name.data(), head.name.size())) return false;
  }
  return true;
}

bool clsFilePKZ::WalkTo(int index, bool wantName, Head& head) const {
  if (!Usable() || index < 0 || dataStart_ != kDataStart) return false;
  const int64_t size = Size();
  int64_t pos = dataStart_ - 1;
  // Each step moves at least six bytes and stops at the end of the file, so a
  // huge index costs no more than the file is long.
  for (int i = 0; i <= index; ++i) {
    if (!ReadHead(pos, size, wantName && i == index, head)) return false;
    pos = head.dataOffset + head.length;
  }
  return true;
}

std::string clsFilePKZ::GetFileInfo(int index) const {
  Head head;
  return WalkTo(index, true, head) ? head.name : std::string();
}

int32_t clsFilePKZ::GetFileLength(int index) const {
  Head head;
  return WalkTo(index, false, head) ? head.length : 0;
}

std::vector<clsFilePKZ::Entry> clsFilePKZ::Entries() const {
  std::vector<Entry> entries;
  if (!Usable() || dataStart_ != kDataStart) return entries;
  const int64_t size = Size();
  int64_t pos = dataStart_ - 1;
  Head head;
  for (int32_t i = 0; i < fileCount_ && ReadHead(pos, size, true, head); ++i) {
    entries.push_back({head.name, head.length, head.dataOffset});
    pos = head.dataOffset + head.length;
  }
  return entries;
}

std::string clsFilePKZ::ReadData(const Entry& entry) const {
  if (!Usable() || entry.length <= 0 || entry.dataOffset < kHeaderSize) return {};
  std::string data(static_cast<size_t>(entry.length), '\0');
  if (!ReadAt(fd_, entry.dataOffset, data.data(), data.size())) return {};
  return data;
}

bool clsFilePKZ::WriteData(const Head& head, const std::string& path) const {
  if (const std::string folder = FolderOf(path); folder.size() > 1) MakedPath(folder);
  // Written beside the target and renamed over it: a failed write leaves no
  // half file, and a link in the target's place is replaced, never followed.
  std::string temp = path + ".XXXXXX";
  const int fd = ::mkstemp(temp.data());
  if (fd < 0) return false;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd, 0666 & ~mask);
  const bool ok = CopyRange(fd_, head.dataOffset, fd, 0, head.length) && ::fsync(fd) == 0;
  ::close(fd);
  if (!ok || ::rename(temp.c_str(), path.c_str()) != 0) {
    ::unlink(temp.c_str());
    return false;
  }
  return true;
}

std::string clsFilePKZ::ExtractFile(int index, std::string_view path) {
  Head head;
  if (!WalkTo(index, false, head) || head.length == 0) return {};
  if (!path.empty()) {
    WriteData(head, std::string(path));
    return {};
  }
  std::string data(static_cast<size_t>(head.length), '\0');
  if (!ReadAt(fd_, head.dataOffset, data.data(), data.size())) return {};
  return data;
}

bool clsFilePKZ::ExtractAll(std::string_view folder) {
  if (!Usable()) return false;
  const int32_t count = fileCount_;
  if (count <= 0) return true;
  if (dataStart_ != kDataStart) return false;
  const std::string base = cPath(folder);
  const int64_t size = Size();
  int64_t pos = dataStart_ - 1;
  bool all = true;
  Head head;
  std::string relative;
  for (int32_t i = 0; i < count; ++i) {
    if (!ReadHead(pos, size, true, head)) return false;
    pos = head.dataOffset + head.length;
    if (!RelativeTarget(head.name, relative) || !WriteData(head, base + relative)) all = false;
    if (ExtractProgress) ExtractProgress(i + 1, count);
    if (!Usable()) return all && i + 1 == count;
  }
  return all;
}

bool clsFilePKZ::DeleteFile(int index) {
  if (!Usable() || index < 0 || index >= fileCount_ || dataStart_ != kDataStart) return false;
  const std::string original = openPath_;
  const std::string temp = original + ".tmp";
  struct stat st {};
  if (::fstat(fd_, &st) != 0) return false;
  const int out = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (out < 0) return false;
  ::fchmod(out, st.st_mode & 07777);

  const int64_t size = static_cast<int64_t>(st.st_size);
  int64_t readPos = dataStart_ - 1;
  int64_t writePos = readPos;
  int64_t removed = 0;
  bool ok = true;
  Head head;
  for (int32_t i = 0; ok && i < fileCount_; ++i) {
    if (!ReadHead(readPos, size, false, head)) {
      ok = false;
      break;
    }
    const int64_t entryEnd = head.dataOffset + head.length;
    if (i == index) {
      removed = head.length;
    } else {
      ok = CopyRange(fd_, readPos, out, writePos, entryEnd - readPos);
      writePos += entryEnd - readPos;
    }
    readPos = entryEnd;
  }
  if (ok) {
    const std::string header = HeaderBytes(fileCount_ - 1, ToInt32(static_cast<int64_t>(fileLength_) - removed));
    ok = WriteAt(out, 0, header.data(), header.size()) && ::fsync(out) == 0;
  }
  ::close(out);
  if (!ok || ::rename(temp.c_str(), original.c_str()) != 0) {
    ::unlink(temp.c_str());
    return false;
  }
  if (!OpenPath(original, false)) {
    CloseAchive();
    return false;
  }
  ReadHeader();
  isOpen_ = true;
  return true;
}

void clsFilePKZ::CloseAchive() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  openPath_.clear();
  signature_.clear();
  version_ = 0;
  dataStart_ = 0;
  fileCount_ = 0;
  fileLength_ = 0;
  isOpen_ = false;
}

std::string clsFilePKZ::GetFilePath(std::string_view path) {
  const size_t separator = path.find_last_of("/\\");
  return separator == std::string_view::npos ? std::string() : std::string(path.substr(0, separator + 1));
}

bool clsFilePKZ::DirExists(std::string_view path) { return DirectoryExists(path); }

}  // namespace zel
