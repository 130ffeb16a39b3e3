// The MP3 tag code fed with arbitrary file bytes: every reader, then a write and
// a delete, whose results must agree with the readers. Nothing may crash, hang
// or read outside the bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "subtitles/Mp3Tags.h"

namespace {

using namespace std::string_literals;

const std::string kJpeg = "\xFF\xD8\xFF\xE0picture\xFF\xD9"s;

void Require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  int major = 0;
  zel::ID3TagSize(file, major);
  zel::ID3Frames(file);
  zel::ReadTextFramesIn(file);
  const int count = zel::AlbumArtCountIn(file);
  std::string picture;
  int type = 0;
  for (int index = 0; index <= count + 1; ++index) zel::ReadAlbumArtIn(file, index, picture, type);

  // The new frame goes before the index-th picture, or first when there is none.
  const int index = 1 + static_cast<int>(size % 3);
  const int where = index <= count ? index : 1;
  if (const auto added = zel::WriteAlbumArtIn(file, index, kJpeg, static_cast<int>(size % 25))) {
    Require(zel::AlbumArtCountIn(*added) == count + 1);
    Require(zel::ReadAlbumArtIn(*added, where, picture, type) && picture == kJpeg);
    const auto removed = zel::DeleteAlbumArtIn(*added, where);
    Require(removed.has_value() && zel::AlbumArtCountIn(*removed) == count);
  }
  if (const auto removed = zel::DeleteAlbumArtIn(file, 1)) Require(zel::AlbumArtCountIn(*removed) == count - 1);
  return 0;
}
