#include "engine/CoreCapabilities.h"

#include <gtest/gtest.h>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

std::string Fixture(const std::string& name) { return ReadText(std::string(ZEL_TEST_DATA) + "/engine/data/" + name); }

bool Holds(const std::string& list, const std::string& name) {
  for (const std::string& item : Split(list, "|")) {
    if (item == name) return true;
  }
  return false;
}

TEST(CoreCapabilities, LegacyListsReadByColumnAndSection) {
  const std::string text = Fixture("ffmpeg-0.5-formats-codecs.txt");
  ASSERT_FALSE(text.empty());
  const CoreLists lists = ParseFFmpegCapabilities(text, ToolDialect::Legacy);
  // Muxers only; the piped format and demuxers stay out.
  EXPECT_EQ(lists.formats, "AVI|IPOD|MP4|MPEGTS|PSP|RAWVIDEO");
  EXPECT_EQ(lists.video, "|COPY|LIBX264|H263|MPEG4");
  EXPECT_EQ(lists.audio, "|COPY|LIBMP3LAME|AAC|WMAV2");
  EXPECT_EQ(lists.subtitle, "|COPY|DVDSUB");
}

TEST(CoreCapabilities, TodaysListsGainTheEncoderNames) {
  const std::string text = Fixture("ffmpeg-5.1-formats-codecs.txt");
  ASSERT_FALSE(text.empty());
  const CoreLists lists = ParseFFmpegCapabilities(text, ToolDialect::Today);
  for (const char* format : {"3GP", "AVI", "ASF", "MP4", "WEBM", "MATROSKA", "FLV", "MOV", "MPEG", "AMV", "IPOD", "PSP"}) {
    EXPECT_TRUE(Holds(lists.formats, format)) << format;
  }
  EXPECT_FALSE(Holds(lists.formats, "3DOSTR"));       // demuxer only
  EXPECT_FALSE(Holds(lists.formats, "IMAGE2PIPE"));   // pipes never count
  EXPECT_EQ(lists.video.rfind("|COPY|", 0), 0u);
  for (const char* codec : {"H264", "LIBX264", "MPEG4", "LIBXVID", "WMV2", "H263", "MJPEG", "FLV1", "LIBVPX"}) {
    EXPECT_TRUE(Holds(lists.video, codec)) << codec;
  }
  EXPECT_FALSE(Holds(lists.video, "4XM"));  // no encoder
  for (const char* codec : {"AAC", "LIBMP3LAME", "WMAV2", "PCM_S16LE", "LIBTWOLAME", "LIBVORBIS"}) {
    EXPECT_TRUE(Holds(lists.audio, codec)) << codec;
  }
  EXPECT_FALSE(Holds(lists.audio, "AMR_NB"));  // Debian has no AMR encoder
  for (const char* codec : {"ASS", "SRT"}) EXPECT_TRUE(Holds(lists.subtitle, codec)) << codec;
  // The legacy reading of the same text knows nothing of the annotations.
  EXPECT_FALSE(Holds(ParseFFmpegCapabilities(text, ToolDialect::Legacy).video, "LIBX264"));
}

TEST(CoreCapabilities, TextWithoutLineEndsGivesOnlyCopy) {
  const CoreLists lists = ParseFFmpegCapabilities("File formats: DE avi AVI", ToolDialect::Today);
  EXPECT_EQ(lists.formats, "");
  EXPECT_EQ(lists.video, "|COPY");
  EXPECT_EQ(lists.audio, "|COPY");
}

TEST(CoreCapabilities, BannersIdentifyEachTool) {
  std::vector<std::string> reruns;
  const CoreRerun rerun = [&](std::string_view args) -> std::string {
    reruns.emplace_back(args);
    if (args == "--help") return "x264 core:164 r3095 baf4ac5\nSyntax: x264 [options] -o outfile infile\n";
    if (args == "-version") return "MP4Box - GPAC version 0.4.6-DEV-rev1 - compiled Jan 1 2010\n";
    return "";
  };
  // Banner, status, name, version.
  const std::tuple<const char*, int, const char*, const char*> cases[] = {
      {"FFmpeg version SVN-r19352, Copyright (c) 2000-2009", kCoreFFmpeg, "FFmpeg", "SVN-r19352"},
      {"ffmpeg version 5.1.9-0+deb12u1 Copyright (c) 2000-2026", kCoreFFmpeg, "FFmpeg", "5.1.9-0+deb12u1"},
      {"MEncoder UNKNOWN-12 (C) 2000-2023 MPlayer Team\nNo file given\n", kCoreMEncoder, "MEncoder", "UNKNOWN-12"},
      {"x264: no input file\n", kCoreX264, "x264", "core:164 r3095 baf4ac5"},
      {"ASFBIN version asfbin 1.8.2.8. Copyright 2009\n", kCoreAsfBin, "ASFBIN", "1.8.2.8"},
      {"mkvmerge v74.0.0 ('You Oughta Know') 64-bit\nError: no destination\n", kCoreMkvmerge, "mkvmerge", "74.0.0"},
      {"MP4Box [option] input\n", kCoreMP4Box, "MP4Box", "GPAC version 0.4.6-DEV-rev1"},
      {"Helix DNA(TM) Producer 11.0 Build number: 11.0.0.2013\n", kCoreHelixProducer, "Helix DNA(TM) Producer",
       "11.0 Build number: 11.0.0.2013"},
      {"usage: some other tool\n", kCoreNone, "", ""},
      {"", kCoreNone, "", ""},
  };
  for (const auto& [banner, status, name, version] : cases) {
    const CoreIdentity id = IdentifyCore(banner, rerun);
    EXPECT_EQ(std::tie(id.status, id.name, id.version), std::tuple(status, std::string(name), std::string(version)))
        << banner;
  }
  EXPECT_EQ(reruns, (std::vector<std::string>{"--help", "-version"}));
  EXPECT_EQ(IdentifyCore("ffmpeg version 5.1 Copyright", rerun).dialect, ToolDialect::Today);
  EXPECT_EQ(IdentifyCore("FFmpeg version 0.5, Copyright", rerun).dialect, ToolDialect::Legacy);
}

TEST(CoreCapabilities, MP4BoxWithoutCompileNoteReadsToTheLineEnd) {
  const CoreRerun rerun = [](std::string_view) -> std::string {
    return "MP4Box - GPAC version 2.2.1-revrelease\n(c) 2000-2023 Telecom Paris\n";
  };
  EXPECT_EQ(IdentifyCore("MP4Box usage", rerun).version, "GPAC version 2.2.1-revrelease");
}

}  // namespace
}  // namespace zel
