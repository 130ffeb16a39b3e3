// ID3v2 tags of MP3 files, read and written as plain bytes: the text frames a
// player shows, and the embedded pictures.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// The ID3v1 genre list with the Winamp extensions, "Blues" (0) to "Synthpop" (147).
inline constexpr int kId3GenreCount = 148;
extern const std::array<std::string_view, kId3GenreCount> kId3Genres;
// The row's name, or "" for a number outside the table.
std::string_view Id3GenreName(int index);

// The text frames a player shows, as UTF-8. A frame the tag lacks, or one whose
// text fails its conversion, leaves the member as it is here.
struct Mp3TextFrames {
  std::string title;    // "TIT2"
  std::string artist;   // "TPE1" or "TPE2", the later frame winning
  std::string album;    // "TALB"
  std::string comment;  // "COMM", its text without language and description
  int16_t year = 0;     // "TYER", a plain number that fits 16 bits
  uint8_t track = 0;    // "TRCK", a plain number from 0 to 255
  int genre = -1;       // "TCON", a plain number from 0 to 255; -1 for none
};

// A frame as the walk through the tag finds it. A frame that would reach past
// the end of the tag (or of the bytes at hand) ends the walk and is not listed;
// nor is padding, read as nameless frames that the walk steps over.
struct Id3Frame {
  std::string name;   // 4 characters; 3 in a version-2 tag
  size_t offset = 0;  // of the frame header, counted from the start of the file
  size_t size = 0;    // of the frame's data, without its header
};

// ---- The core, on bytes in memory: `file` is a whole file, or for the readers
// at least as much of its start as the tag covers. ----

// The tag's length: the 28-bit size field plus the 10-byte header, plus 10 for
// the footer of a version-4 tag that flags one. 0 unless `head` starts "ID3".
// `major` gets the version byte.
int64_t ID3TagSize(std::string_view head, int& major);
std::vector<Id3Frame> ID3Frames(std::string_view file);
// Picture frames: "APIC" in versions 3 and 4, "PIC" in version 2.
int AlbumArtCountIn(std::string_view file);
// The image bytes of the index-th picture (from 1), as stored, and its picture
// type. False when there is no such frame, it is compressed or encrypted, or it
// holds no image bytes.
bool ReadAlbumArtIn(std::string_view file, int index, std::string& picture, int& pictureType);
// The file with a new picture frame (MIME "image/jpeg") put before the
// index-th picture, or first in the tag when there is no such picture; a file
// without a tag gets a version-3 one. A type outside 0 to 20 becomes 3, front
// cover. Nothing when `jpeg` is not JPEG data or the tag cannot take the frame
// (damaged, unknown version, unsynchronised, or too large).
std::optional<std::string> WriteAlbumArtIn(std::string_view file, int index, std::string_view jpeg,
                                           int pictureType = 3);
// The file without the index-th picture frame; nothing when there is none.
std::optional<std::string> DeleteAlbumArtIn(std::string_view file, int index);
Mp3TextFrames ReadTextFramesIn(std::string_view file);

// ---- Files. Reads take only the tag from the disk. A write builds the new file
// in memory and renames it over the old one, so a failure leaves the old file
// whole. A file its owner may not write (no owner write bit, or no access) is
// rewritten only when the caller allows the read-only flag to be cleared; it
// then keeps its permission bits plus write for the owner. ----

bool ID3Exist(const std::string& path);
int GetAlbumArtCount(const std::string& path);
bool ReadAlbumArt(const std::string& path, int index, std::string& picture, int& pictureType);
// `replace` allows clearing the read-only flag. The picture is always added;
// replacing one is a delete and a write.
bool WriteAlbumArt(const std::string& path, int index, std::string_view jpeg, int pictureType, bool replace);
bool DeleteAlbumArt(const std::string& path, int index, bool clearReadOnly);
// Empty for a name holding "://": only local files are read.
Mp3TextFrames ReadTextFrames(const std::string& path);

// The picture file that belongs to a media file: "<stem>.jpg", "<stem>.cover.jpg",
// "<stem>.folder.jpg", then the same for png, bmp and gif; then "cover.jpg",
// "folder.jpg", "cover.png" ... "folder.gif" in its folder. The first that
// exists, a name in another letter case counting when the exact one is missing;
// "" for none.
std::string CheckAblumImage(const std::string& path);

}  // namespace zel
