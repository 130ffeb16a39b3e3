#include "subtitles/Mp3Tags.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using namespace std::string_literals;

std::string Syncsafe(uint32_t v) {
  return {char((v >> 21) & 0x7F), char((v >> 14) & 0x7F), char((v >> 7) & 0x7F), char(v & 0x7F)};
}
std::string BigEndian(uint32_t v, int bytes) {
  std::string out;
  for (int i = bytes - 1; i >= 0; --i) out += char((v >> (8 * i)) & 0xFF);
  return out;
}

// A tag around a body of frames; `size` overrides the size field.
std::string Tag(int major, const std::string& body, int flags = 0, int64_t size = -1) {
  return "ID3"s + char(major) + '\0' + char(flags) + Syncsafe(size < 0 ? uint32_t(body.size()) : uint32_t(size)) + body;
}
std::string Frame(int major, const std::string& name, const std::string& data) {
  if (major == 2) return name + BigEndian(uint32_t(data.size()), 3) + data;
  return name + (major == 4 ? Syncsafe(uint32_t(data.size())) : BigEndian(uint32_t(data.size()), 4)) + "\0\0"s + data;
}
std::string Picture(int major, const std::string& image, int type = 3, const std::string& description = "") {
  if (major == 2) return Frame(2, "PIC", "\0PNG"s + char(type) + description + '\0' + image);
  return Frame(major, "APIC", "\0image/png\0"s + char(type) + description + '\0' + image);
}
std::string Text(int major, const std::string& name, const std::string& text, char encoding = 0) {
  return Frame(major, name, encoding + text);
}

std::vector<std::string> Names(std::string_view file) {
  std::vector<std::string> names;
  for (const Id3Frame& f : ID3Frames(file)) names.push_back(f.name);
  return names;
}

const std::string kJpeg = "\xFF\xD8\xFF\xE0jpeg-bytes\xFF\xD9"s;
const std::string kAudio = "\xFF\xFB\x90\x00audio"s;

TEST(Mp3Tags, TagSize) {
  struct Case {
    std::string head;
    int64_t size;
    int major;
  } cases[] = {
      {"ID3\3\0\0\0\0\2\1"s, 267, 3},
      {"ID3\4\0\x10\0\0\0\5"s, 25, 4},         // footer counted
      {"ID3\3\0\x10\0\0\0\5"s, 15, 3},         // flag ignored before version 4
      {"ID3\3\0\0\x80\x80\x80\xFF"s, 137, 3},  // top bits dropped
      {"ID3\3\0\0\0\0\0"s, 0, 0},              // 9 bytes
      {"TAG\3\0\0\0\0\0\5"s, 0, 0},
  };
  for (const Case& c : cases) {
    int major = 0;
    EXPECT_EQ(ID3TagSize(c.head, major), c.size) << c.size;
    EXPECT_EQ(major, c.major) << c.size;
  }
}

TEST(Mp3Tags, FrameWalks) {
  const std::string pic = Picture(3, "img");
  struct Case {
    std::string file;
    std::vector<std::string> names;
  } cases[] = {
      {Tag(3, Text(3, "TIT2", "t") + pic + Picture(3, "img2")), {"TIT2", "APIC", "APIC"}},
      {Tag(4, Text(4, "TIT2", std::string(200, 'x')) + Picture(4, "i")), {"TIT2", "APIC"}},
      // The syncsafe bytes of 201 read as a plain size reach past the end.
      {Tag(3, Text(4, "TIT2", std::string(200, 'x')) + pic), {}},
      {Tag(2, Text(2, "TT2", "t") + Picture(2, "img")), {"TT2", "PIC"}},
      // A last frame of 11 bytes is not seen, one of 12 is.
      {Tag(3, pic + Frame(3, "TALB", "a")), {"APIC"}},
      {Tag(3, pic + Frame(3, "TALB", "ab")), {"APIC", "TALB"}},
      // Padding steps by whole headers; a frame behind it is still found.
      {Tag(3, std::string(20, '\0') + pic), {"APIC"}},
      {Tag(3, BigEndian(6, 4) + std::string(6, '\0') + pic, 0x40), {"APIC"}},  // extended header
      {Tag(4, Syncsafe(6) + "\1\0"s + pic, 0x40), {"APIC"}},
      {Tag(5, pic), {}},
      {kAudio, {}},
  };
  for (const Case& c : cases) EXPECT_EQ(Names(c.file), c.names) << testing::PrintToString(c.file);
  EXPECT_EQ(AlbumArtCountIn(cases[0].file), 2);
  EXPECT_EQ(AlbumArtCountIn(cases[3].file), 1);
  EXPECT_EQ(ID3Frames(cases[0].file)[1].offset, 10u + 12u);
  EXPECT_EQ(ID3Frames(cases[0].file)[1].size, 16u);
}

TEST(Mp3Tags, PictureLayouts) {
  struct Case {
    std::string file;
    std::string image;
    int type;
  } cases[] = {
      {Tag(3, Picture(3, "IMG\0X"s, 4)), "IMG\0X"s, 4},
      {Tag(3, Picture(3, "IMG", 3, "front")), "IMG", 3},
      {Tag(4, Picture(4, "IMG", 6)), "IMG", 6},
      {Tag(2, Picture(2, "IMG", 0, "d")), "IMG", 0},
      // A UTF-16 description ends in two zero bytes on an even step.
      {Tag(3, Frame(3, "APIC", "\1image/png\0\3\xFF\xFE\x61\0\0\0IMG"s)), "IMG", 3},
      // Version 4 data length indicator, and unsynchronisation undone.
      {Tag(4, "APIC"s + Syncsafe(20) + "\0\3"s + "\0\0\0\x10"s + "\0image/png\0\5\0\xFF\0I"s), "\xFFI"s, 5},
  };
  for (const Case& c : cases) {
    std::string image;
    int type = -1;
    ASSERT_TRUE(ReadAlbumArtIn(c.file, 1, image, type)) << testing::PrintToString(c.file);
    EXPECT_EQ(image, c.image);
    EXPECT_EQ(type, c.type);
  }
  std::string image;
  int type = 0;
  EXPECT_FALSE(ReadAlbumArtIn(cases[0].file, 2, image, type));
  EXPECT_FALSE(ReadAlbumArtIn(cases[0].file, 0, image, type));
  // Compressed: counted, never read.
  const std::string compressed = Tag(3, "APIC"s + BigEndian(20, 4) + "\0\x80"s + std::string(20, 'z'));
  EXPECT_EQ(AlbumArtCountIn(compressed), 1);
  EXPECT_FALSE(ReadAlbumArtIn(compressed, 1, image, type));
}

TEST(Mp3Tags, GenreTable) {
  EXPECT_EQ(kId3Genres.size(), 148u);
  // clang-format off
  const std::string_view fromRhythmicSoul[] = {
      "Rhythmic Soul", "Freestyle", "Duet", "Punk Rock", "Drum Solo", "A Cappella", "Euro-House", "Dance Hall", "Goa",
      "Drum & Bass", "Club-House", "Hardcore", "Terror", "Indie", "BritPop", "Afro-Punk", "Polsk Punk", "Beat",
      "Christian Gangsta Rap", "Heavy Metal", "Black Metal", "Crossover", "Contemporary Christian", "Christian Rock",
      "Merengue", "Salsa", "Thrash Metal", "Anime", "JPop", "Synthpop"};
  // clang-format on
  for (int i = 0; i < 30; ++i) EXPECT_EQ(Id3GenreName(118 + i), fromRhythmicSoul[i]) << 118 + i;
  EXPECT_EQ(Id3GenreName(0), "Blues");
  EXPECT_EQ(Id3GenreName(1), "Classic Rock");
  EXPECT_EQ(Id3GenreName(17), "Rock");
  EXPECT_EQ(Id3GenreName(148), "");
  EXPECT_EQ(Id3GenreName(-1), "");
}

TEST(Mp3Tags, TextFrames) {
  const std::string frames = Text(3, "TPE1", "first") + Text(3, "TPE2", "second") + Text(3, "TALB", "Caf\xE9") +
                             Text(3, "TIT2", "\xFF\xFE\x34\x6C\0\0"s, 1) + Frame(3, "COMM", "\3engdesc\0hello\0"s) +
                             Text(3, "TYER", " 2003 ") + Text(3, "TCON", "17") + Text(3, "TCON", "(18)") +
                             Text(3, "TRCK", "7");
  const Mp3TextFrames t = ReadTextFramesIn(Tag(3, frames));
  EXPECT_EQ(t.artist, "second");
  EXPECT_EQ(t.album, "Café");
  EXPECT_EQ(t.title, "水");
  EXPECT_EQ(t.comment, "hello");
  EXPECT_EQ(t.year, 2003);
  EXPECT_EQ(t.genre, 17);  // "(18)" is no plain number and leaves it
  EXPECT_EQ(t.track, 7);

  struct Case {
    std::string frames;
    int year, genre, track;
  } conversions[] = {
      {Text(3, "TYER", "abc") + Text(3, "TCON", "Rock") + Text(3, "TRCK", "5/12"), 0, -1, 0},
      {Text(3, "TYER", "40000") + Text(3, "TCON", "256") + Text(3, "TRCK", "-1"), 0, -1, 0},
      {Text(3, "TYER", "-5") + Text(3, "TCON", "255") + Text(3, "TRCK", "2.5"), -5, 255, 2},
  };
  for (const Case& c : conversions) {
    const Mp3TextFrames r = ReadTextFramesIn(Tag(3, c.frames));
    EXPECT_EQ(r.year, c.year) << c.frames;
    EXPECT_EQ(r.genre, c.genre) << c.frames;
    EXPECT_EQ(r.track, c.track) << c.frames;
  }
  const Mp3TextFrames v4 = ReadTextFramesIn(Tag(4, Text(4, "TIT2", "\x6C\x34"s, 2) + Text(4, "TALB", "é\0x"s, 3)));
  EXPECT_EQ(v4.title, "水");
  EXPECT_EQ(v4.album, "é");
  EXPECT_EQ(ReadTextFramesIn(Tag(2, Text(2, "TT2", "old"))).title, "old");
}

TEST(Mp3Tags, WriteAndDeleteInMemory) {
  const std::string original = Tag(3, Text(3, "TIT2", "t") + Picture(3, "old")) + kAudio;
  const auto added = WriteAlbumArtIn(original, 1, kJpeg, 7);
  ASSERT_TRUE(added);
  EXPECT_EQ(Names(*added), (std::vector<std::string>{"TIT2", "APIC", "APIC"}));
  std::string image;
  int type = 0;
  ASSERT_TRUE(ReadAlbumArtIn(*added, 1, image, type));
  EXPECT_EQ(image, kJpeg);
  EXPECT_EQ(type, 7);
  EXPECT_EQ(added->find("\0image/jpeg\0\7\0"s), 32u);
  EXPECT_EQ(DeleteAlbumArtIn(*added, 1), original);

  // No picture at the index: the frame goes first. A type past 20 is a front cover.
  const auto first = WriteAlbumArtIn(original, 9, kJpeg, 21);
  ASSERT_TRUE(first);
  EXPECT_EQ(Names(*first), (std::vector<std::string>{"APIC", "TIT2", "APIC"}));
  ASSERT_TRUE(ReadAlbumArtIn(*first, 1, image, type));
  EXPECT_EQ(type, 3);

  const auto fresh = WriteAlbumArtIn(kAudio, 1, kJpeg, 3);
  ASSERT_TRUE(fresh);
  EXPECT_EQ(fresh->substr(0, 6), "ID3\3\0\0"s);
  EXPECT_EQ(fresh->substr(fresh->size() - kAudio.size()), kAudio);
  EXPECT_EQ(*DeleteAlbumArtIn(*fresh, 1), "ID3\3\0\0\0\0\0\0"s + kAudio);

  const std::string v2 = Tag(2, Picture(2, "p")) + kAudio;
  ASSERT_TRUE(ReadAlbumArtIn(*WriteAlbumArtIn(v2, 1, kJpeg, 3), 1, image, type));
  EXPECT_EQ(image, kJpeg);
  EXPECT_EQ(WriteAlbumArtIn(v2, 1, kJpeg, 3)->substr(10, 10), "PIC\0\0\x16\0JPG"s);

  // The size moves in header and footer of a version-4 tag.
  const std::string footed =
      Tag(4, Picture(4, "p"), 0x10) + "3DI\4\0\x10"s + Syncsafe(uint32_t(Picture(4, "p").size())) + kAudio;
  const auto grown = WriteAlbumArtIn(footed, 1, kJpeg, 3);
  ASSERT_TRUE(grown);
  int major = 0;
  const int64_t size = ID3TagSize(*grown, major);
  EXPECT_EQ(grown->substr(size_t(size) - 10, 10), "3DI\4\0\x10"s + grown->substr(6, 4));
  EXPECT_EQ(DeleteAlbumArtIn(*grown, 1), footed);
  EXPECT_FALSE(WriteAlbumArtIn(original, 1, "\x89PNG"s, 3));  // JPEG only
}

TEST(Mp3Tags, DamagedTags) {
  const std::string pic = Picture(3, "img");
  struct Case {
    const char* what;
    std::string file;
    int count;
    bool read, write, remove;
  } cases[] = {
      {"truncated", Tag(3, pic, 0, 1000).substr(0, 30), 0, false, false, false},
      {"picture past the end", Tag(3, "APIC"s + BigEndian(999, 4) + "\0\0\0image"s), 0, false, true, false},
      {"size past the file", Tag(3, pic + pic, 0, 2 * pic.size()).substr(0, 10 + pic.size() + 12), 1, true, false,
       false},
      {"zero padding", Tag(3, std::string(64, '\0')), 0, false, true, false},
      {"empty picture", Tag(3, Frame(3, "APIC", "") + std::string(10, '\0')), 1, false, true, true},
      {"no MIME end", Tag(3, Frame(3, "APIC", "\0image/png"s)), 1, false, true, true},
      {"no image bytes", Tag(3, Frame(3, "APIC", "\0image/png\0\3\0"s)), 1, false, true, true},
      {"unsynchronised", Tag(3, pic, 0x80), 1, true, false, false},
      {"unknown version", Tag(5, pic), 0, false, false, false},
      {"header only", "ID3\3\0\0\0\0\0\0"s, 0, false, true, false},
      {"short", "ID3"s, 0, false, true, false},
  };
  for (const Case& c : cases) {
    std::string image;
    int type = 0;
    EXPECT_EQ(AlbumArtCountIn(c.file), c.count) << c.what;
    EXPECT_EQ(ReadAlbumArtIn(c.file, 1, image, type), c.read) << c.what;
    EXPECT_EQ(WriteAlbumArtIn(c.file, 1, kJpeg, 3).has_value(), c.write) << c.what;
    EXPECT_EQ(DeleteAlbumArtIn(c.file, 1).has_value(), c.remove) << c.what;
    ReadTextFramesIn(c.file);  // walked without a read outside the bytes (the fuzz target checks this too)
  }
}

// Real files from ffmpeg, rewritten on the disk.
class Mp3TagFiles : public ::testing::Test {
 protected:
  std::string Make(const std::string& name, std::vector<std::string> options) {
    const std::string path = dir / name;
    std::vector<std::string> argv{test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                                  "sine=duration=1"};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.insert(argv.end(), {"-c:a", "libmp3lame", path});
    const test::RunResult r = test::Run(argv);
    EXPECT_EQ(r.exitCode, 0) << r.output;
    return path;
  }
  std::string Jpeg(const std::string& colour) {
    const std::string path = dir / (colour + ".jpg");
    EXPECT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                         "color=" + colour + ":size=16x16", "-frames:v", "1", path})
                  .exitCode,
              0);
    return ReadText(path);
  }
  test::TempDir dir;
};

TEST_F(Mp3TagFiles, RoundTrips) {
  const std::string jpeg = Jpeg("blue"), second = Jpeg("red");
  ASSERT_NE(jpeg, second);
  const std::pair<std::string, std::vector<std::string>> files[] = {
      {"v3.mp3", {"-id3v2_version", "3", "-metadata", "title=T"}},
      {"v4.mp3", {"-id3v2_version", "4"}},
      {"plain.mp3", {"-id3v2_version", "0"}},
  };
  for (const auto& [name, options] : files) {
    const std::string path = Make(name, options);
    const std::string original = ReadText(path);
    const bool tagged = name != "plain.mp3";
    EXPECT_EQ(ID3Exist(path), tagged) << name;
    EXPECT_EQ(GetAlbumArtCount(path), 0) << name;

    ASSERT_TRUE(WriteAlbumArt(path, 1, jpeg, 3, false)) << name;
    ASSERT_TRUE(WriteAlbumArt(path, 1, second, 4, false)) << name;
    EXPECT_EQ(GetAlbumArtCount(path), 2) << name;
    std::string image;
    int type = 0;
    ASSERT_TRUE(ReadAlbumArt(path, 2, image, type)) << name;
    EXPECT_EQ(image, jpeg) << name;
    EXPECT_EQ(type, 3);
    // ffprobe agrees: the audio and two attached pictures.
    const test::RunResult probe = test::Run(
        {test::ToolPath("ffprobe"), "-v", "error", "-show_entries", "stream=codec_name", "-of", "csv=p=0", path});
    EXPECT_EQ(probe.output, "mp3\nmjpeg\nmjpeg\n") << name;

    ASSERT_TRUE(DeleteAlbumArt(path, 1, false)) << name;
    ASSERT_TRUE(ReadAlbumArt(path, 1, image, type));
    EXPECT_EQ(image, jpeg);
    ASSERT_TRUE(DeleteAlbumArt(path, 1, false)) << name;
    EXPECT_FALSE(DeleteAlbumArt(path, 1, false)) << name;
    EXPECT_EQ(ReadText(path), tagged ? original : "ID3\3\0\0\0\0\0\0"s + original) << name;
  }
  EXPECT_EQ(ReadTextFrames(dir / "v3.mp3").title, "T");
  EXPECT_EQ(ReadTextFrames("http://host/v3.mp3").title, "");
  EXPECT_FALSE(ID3Exist(dir / "missing.mp3"));
  EXPECT_EQ(GetAlbumArtCount(dir / "missing.mp3"), 0);
  EXPECT_FALSE(WriteAlbumArt(dir / "missing.mp3", 1, jpeg, 3, true));
}

TEST_F(Mp3TagFiles, ForeignPicturesAndTexts) {
  const std::string png = dir / "c.png";
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                       "color=red:size=16x8", "-frames:v", "1", png})
                .exitCode,
            0);
  const std::string path = Make("f.mp3", {"-i",
                                          png,
                                          "-map",
                                          "0",
                                          "-map",
                                          "1",
                                          "-c:v",
                                          "copy",
                                          "-id3v2_version",
                                          "3",
                                          "-metadata",
                                          "artist=Ar",
                                          "-metadata",
                                          "genre=17",
                                          "-metadata",
                                          "track=5",
                                          "-metadata",
                                          "date=2003",
                                          "-metadata:s:v",
                                          "comment=Cover (back)"});
  std::string image;
  int type = 0;
  ASSERT_TRUE(ReadAlbumArt(path, 1, image, type));
  EXPECT_EQ(image, ReadText(png));
  EXPECT_EQ(type, 4);
  const Mp3TextFrames t = ReadTextFrames(path);
  EXPECT_EQ(t.artist, "Ar");
  EXPECT_EQ(t.genre, 17);
  EXPECT_EQ(t.track, 5);
  EXPECT_EQ(t.year, 2003);
}

TEST_F(Mp3TagFiles, ReadOnlyFilesAndFailedWrites) {
  const std::string path = Make("r.mp3", {"-id3v2_version", "3"});
  const std::string original = ReadText(path);
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  EXPECT_FALSE(WriteAlbumArt(path, 1, kJpeg, 3, false));
  EXPECT_EQ(ReadText(path), original);
  ASSERT_TRUE(WriteAlbumArt(path, 1, kJpeg, 3, true));
  struct stat st {};
  ASSERT_EQ(::stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0644u);  // the read-only flag cleared, nothing else

  ASSERT_EQ(::chmod(path.c_str(), 0440), 0);
  EXPECT_FALSE(DeleteAlbumArt(path, 1, false));
  ASSERT_TRUE(DeleteAlbumArt(path, 1, true));
  ASSERT_EQ(::stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_EQ(ReadText(path), original);

  // A tag this code may not change: the file stays byte for byte.
  const std::string damaged = dir / "d.mp3";
  ASSERT_TRUE(WriteFileAtomic(damaged, Tag(3, Picture(3, "x"), 0x80) + kAudio));
  const std::string before = ReadText(damaged);
  EXPECT_FALSE(WriteAlbumArt(damaged, 1, kJpeg, 3, true));
  EXPECT_FALSE(DeleteAlbumArt(damaged, 1, true));
  EXPECT_EQ(ReadText(damaged), before);
  // No temporary file is left beside them.
  const auto entries = std::filesystem::directory_iterator(dir.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 2);
}

TEST(Mp3Tags, CoverSearchOrder) {
  test::TempDir dir;
  const std::string media = dir / "song.x.mp3";
  const std::vector<std::string> order = {
      "song.x.jpg",        "song.x.cover.jpg",  "song.x.folder.jpg", "song.x.png",        "song.x.cover.png",
      "song.x.folder.png", "song.x.bmp",        "song.x.cover.bmp",  "song.x.folder.bmp", "song.x.gif",
      "song.x.cover.gif",  "song.x.folder.gif", "cover.jpg",         "folder.jpg",        "cover.png",
      "folder.png",        "cover.bmp",         "folder.bmp",        "cover.gif",         "folder.gif"};
  for (const std::string& name : order) ASSERT_TRUE(WriteFileAtomic(dir / name, "x"));
  for (const std::string& name : order) {
    EXPECT_EQ(CheckAblumImage(media), dir / name);
    DeleteFile(dir / name);
  }
  EXPECT_EQ(CheckAblumImage(media), "");
  // Names written on another system in another case are found too.
  ASSERT_TRUE(WriteFileAtomic(dir / "Folder.JPG", "x"));
  EXPECT_EQ(CheckAblumImage(media), dir / "Folder.JPG");
}

}  // namespace
}  // namespace zel
