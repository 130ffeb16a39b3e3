// Every conversion format the catalogue offers on this machine must convert a
// short clip through zel-cli with the format's own starting values; ffprobe
// judges the container and the codecs of the result.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel::test {
namespace {

struct Expected {
  std::string container;    // a name in ffprobe's format_name
  std::string video, audio;  // first stream of the kind; "" for none
};

// What each format makes with Debian 12's FFmpeg 5.1: the codecs the format's
// description promises, MPEG-4 Part 2 for MP4 and MOV. An empty container means
// the run must fail with the tool's own message: Debian has no AMR encoder, and
// its AMV muxer refuses the format's starting values (it wants 22050 Hz mono).
const std::map<std::string, Expected>& Expectations() {
  static const std::map<std::string, Expected> map{
      {"MP4", {"mp4", "mpeg4", "aac"}},          {"H264", {"mp4", "h264", "aac"}},
      {"MKV", {"matroska", "h264", "aac"}},      {"DIVX", {"avi", "mpeg4", "mp3"}},
      {"XVID", {"avi", "mpeg4", "mp3"}},         {"WMV", {"asf", "wmv2", "wmav2"}},
      {"ASF", {"asf", "wmv2", "wmav2"}},         {"WEBM", {"webm", "vp8", "vorbis"}},
      {"AVI", {"avi", "mpeg4", "mp3"}},          {"FLV", {"flv", "flv1", "mp3"}},
      {"MOV", {"mov", "mpeg4", "aac"}},          {"MPEG", {"mpeg", "mpeg1video", "mp2"}},
      {"MJPEG", {"avi", "mjpeg", "pcm_s16le"}},  {"PSP", {"mp4", "h264", "aac"}},
      {"IPOD", {"mp4", "h264", "aac"}},          {"IPHONE", {"mp4", "h264", "aac"}},
      {"SVI", {"avi", "mpeg4", "mp3"}},          {"MP3", {"mp3", "", "mp3"}},
      {"AAC", {"mp4", "", "aac"}},               {"M4A", {"mp4", "", "aac"}},
      {"WMA", {"asf", "", "wmav2"}},             {"GIF", {"gif", "gif", ""}},
      {"OGG", {"ogg", "", "vorbis"}},            {"FLAC", {"flac", "", "flac"}},
      {"AC3", {"ac3", "", "ac3"}},               {"MP2", {"mp3", "", "mp2"}},
      {"WAV", {"wav", "", "pcm_s16le"}},         {"MPEG-TS", {"mpegts", "mpeg2video", "mp2"}},
      {"PAL-VCD", {"mpeg", "mpeg1video", "mp2"}}, {"NTSC-VCD", {"mpeg", "mpeg1video", "mp2"}},
      {"FILM-VCD", {"mpeg", "mpeg1video", "mp2"}}, {"PAL-SVCD", {"mpeg", "mpeg2video", "mp2"}},
      {"NTSC-SVCD", {"mpeg", "mpeg2video", "mp2"}}, {"FILM-SVCD", {"mpeg", "mpeg2video", "mp2"}},
      {"PAL-DVD", {"mpeg", "mpeg2video", "ac3"}}, {"NTSC-DVD", {"mpeg", "mpeg2video", "ac3"}},
      {"FILM-DVD", {"mpeg", "mpeg2video", "ac3"}}, {"PAL-DV", {"dv", "dvvideo", "pcm_s16le"}},
      {"NTSC-DV", {"dv", "dvvideo", "pcm_s16le"}}, {"FILM-DV", {"dv", "dvvideo", "pcm_s16le"}},
      {"VIDEO", {"mp4", "mpeg4", ""}},           {"AUDIO", {"mp4", "", "aac"}},
      {"AMR", {"", "", ""}},                     {"AMV", {"", "", ""}},
  };
  return map;
}

// Rows that are not conversions by the FFmpeg core: the direct jobs, pictures,
// subtitles, file transfers and the MEncoder forms have jobs of their own.
bool IsConversion(const std::string& row) {
  static const std::set<std::string> others{"直接剪切", "直接合并", "-", "更多格式", "JPG", "PNG", "TIF", "BMP",
                                            "JPEG+THM", "CopyTo", "MoveTo"};
  static const std::string subtitles = "|SRT|SSA|ASS|LRC|KSC|KRC|SMI|SAMI|SNC|QLY|UTF|STL|VSF|DKS|TXT|STXT|";
  return !row.empty() && !others.count(row) && !Contains(row, "/ME") && !Contains(subtitles, "|" + row + "|");
}

class CatalogueConvert : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder = new TempDir;
    ::setenv("XDG_CONFIG_HOME", (*folder / "config").c_str(), 1);
    ::setenv("XDG_DATA_HOME", (*folder / "data").c_str(), 1);
    MakeClip(*folder / "clip.mp4", 1);
  }
  static void TearDownTestSuite() {
    delete folder;
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("XDG_DATA_HOME");
  }
  static TempDir* folder;
};
TempDir* CatalogueConvert::folder = nullptr;

std::string FormatName(const std::string& path) {
  return Run({ToolPath("ffprobe"), "-v", "error", "-show_entries", "format=format_name", "-of",
              "default=noprint_wrappers=1:nokey=1", path})
      .output;
}

TEST_F(CatalogueConvert, EveryOfferedFormatConvertsWithItsDefaults) {
  std::vector<std::string> rows = ReadLines(RunCli({"formats"}).output);
  for (const std::string& row : ReadLines(RunCli({"formats", "--more"}).output)) rows.push_back(row);
  int converted = 0;
  for (const std::string& row : rows) {
    if (!IsConversion(row)) continue;
    SCOPED_TRACE(row);
    const auto expected = Expectations().find(row);
    ASSERT_NE(expected, Expectations().end()) << "a format without an expectation";
    const std::string out = *folder / ("out-" + row);
    MakedPath(out);
    const RunResult run = RunCli({"convert", "--format", row, "--output", out, *folder / "clip.mp4"});
    const Expected& e = expected->second;
    if (e.container.empty()) {
      EXPECT_EQ(run.exitCode, 1) << run.output;
      EXPECT_TRUE(Contains(run.output, "发生错误 | ")) << run.output;
      continue;
    }
    ASSERT_EQ(run.exitCode, 0) << run.output;
    std::string output;
    for (const std::string& line : ReadLines(run.output)) {
      if (StartsWith(line, "output: ")) output = line.substr(8);
    }
    EXPECT_TRUE(Contains(FormatName(output), e.container)) << FormatName(output);
    EXPECT_EQ(ProbeCodec(output, "v"), e.video);
    EXPECT_EQ(ProbeCodec(output, "a"), e.audio);
    ++converted;
  }
  EXPECT_GE(converted, 40);
}

}  // namespace
}  // namespace zel::test
