// clsFilePKZ: the program's own archive, a flat chain of named blobs behind a
// 14-byte header; the tools package and the built-in profile pack are such files.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// The file, little endian, no padding:
//   "PKZ", version (u8), FileCount (i32), data start (i16, 1-based, always 15),
//   FileLength (i32, sum of the data lengths), then entries back to back:
//   name length (u16), name bytes, data length (i32), data.
// Entries are found only by walking the chain from the data start. Every walk is
// bounded by the file's size, so a damaged file gives empty results, never a crash.
class clsFilePKZ {
 public:
  struct Entry {
    std::string name;
    int32_t length = 0;
    int64_t dataOffset = 0;  // byte offset of the data in the file
  };

  clsFilePKZ() = default;
  // Closes the file without writing the header, as CloseAchive does.
  ~clsFilePKZ();
  clsFilePKZ(const clsFilePKZ&) = delete;
  clsFilePKZ& operator=(const clsFilePKZ&) = delete;

  // Raised by ExtractAll after each entry, written or skipped: 1-based position
  // and FileCount. The handler may close the archive; the extraction then stops.
  std::function<void(int position, int count)> ExtractProgress;

  // ---- Properties. The header in memory is the truth while the archive is open. ----
  const std::string& Signature() const { return signature_; }
  int32_t FileCount() const { return fileCount_; }
  // Sum of the entries' data lengths, without names and length fields.
  int32_t FileLength() const { return fileLength_; }
  uint8_t Version() const { return version_; }
  void SetVersion(uint8_t version) { version_ = version; }
  const std::string& Filename() const { return filename_; }
  void SetFilename(std::string_view filename) { filename_ = filename; }
  bool IsOpen() const { return isOpen_; }
  // Only the flag: marking an open archive closed keeps its file until
  // CloseAchive, and marking an unopened one open opens nothing.
  void SetIsOpen(bool open) { isOpen_ = open; }

  // ---- Operations. On a closed archive all but the first two do nothing and
  // give an empty result. ----

  // Opens an existing Filename read-write, or read-only when writing is not
  // allowed, and reads the header. The signature is not checked: a caller that
  // cares reads Signature. A missing file is not created.
  bool OpenAchive();
  // Writes a fresh header (count and length 0) at the start of Filename, made
  // when missing. An existing longer file is not truncated.
  bool CreateAchive();

  // Appends the file as an entry named `name`, or by the part of `path` after its
  // last "/" or "\". Files of 2^31 bytes or more are refused: the length field
  // could not hold them. Count and length change in memory only.
  bool AddFile(std::string_view path, std::string_view name = {});
  // Appends bytes from memory. The recorded length is the array's upper bound,
  // lowerBound + size - 1, while every byte is written: packs written by earlier
  // versions depend on it, so only lowerBound 1 records the true length.
  bool AddByteFile(std::string_view name, std::string_view bytes, int lowerBound = 0);
  // Writes FileCount and FileLength to the disk; nothing else does, but a delete.
  bool UpDateHeader();
  // Rewrites the archive without the 0-based entry through "<archive>.tmp" and an
  // atomic rename, then reopens it. On failure the original stays untouched.
  bool DeleteFile(int index);

  // The entry's data, or with `path` given the data written to that file (its
  // folders made as needed) and an empty result. A zero-length entry gives
  // nothing and writes no file.
  std::string ExtractFile(int index, std::string_view path = {});
  // Writes every entry to `folder` plus its name, "\" read as "/". Names that are
  // absolute or hold a ".." part are skipped, so nothing lands outside `folder`;
  // a zero-length entry gives an empty file. False when an entry was skipped.
  bool ExtractAll(std::string_view folder);

  // Name and data length of the 0-based entry, found by walking the chain; an
  // index past the last entry gives "" and 0.
  std::string GetFileInfo(int index) const;
  int32_t GetFileLength(int index) const;
  // Up to FileCount entries in one walk, ending early where the chain is damaged.
  std::vector<Entry> Entries() const;
  // The data of an entry from Entries(), read without a second walk.
  std::string ReadData(const Entry& entry) const;

  // Closes the file and clears the header fields and IsOpen. The header is not
  // written: a caller who added entries calls UpDateHeader first.
  void CloseAchive();

  // The folder part of a path with its final separator ("/" or "\"), or "".
  static std::string GetFilePath(std::string_view path);
  static bool DirExists(std::string_view path);

 private:
  struct Head {
    std::string name;
    int32_t length = 0;
    int64_t dataOffset = 0;
  };

  bool Usable() const { return isOpen_ && fd_ >= 0; }
  bool OpenPath(const std::string& path, bool create);
  void ReadHeader();
  std::string HeaderBytes(int32_t count, int32_t length) const;
  int64_t Size() const;
  // The entry head at byte offset `pos`; false when it does not lie whole inside
  // the file or its length is negative.
  bool ReadHead(int64_t pos, int64_t size, bool wantName, Head& head) const;
  bool WalkTo(int index, bool wantName, Head& head) const;
  bool Append(std::string_view name, int32_t recordedLength, std::string_view bytes, int sourceFd,
              int64_t sourceLength);
  bool WriteData(const Head& head, const std::string& path) const;

  int fd_ = -1;
  std::string openPath_;  // the file really open, whatever Filename says now
  std::string filename_;
  std::string signature_;
  uint8_t version_ = 0;
  int16_t dataStart_ = 0;
  int32_t fileCount_ = 0;
  int32_t fileLength_ = 0;
  bool isOpen_ = false;
};

}  // namespace zel
