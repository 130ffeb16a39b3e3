#include <gtest/gtest.h>

#include "engine/FFmpegX.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

constexpr const char* kLegacyAvi =
    "FFmpeg version SVN-r19352, Copyright (c) 2000-2009 Fabrice Bellard, et al.\r\n"
    "Input #0, avi, from 'a.avi':\r\n"
    "  Duration: 00:02:40.04, start: 0.000000, bitrate: 1048 kb/s\r\n"
    "    Stream #0.0: Video: mpeg4, yuv420p, 640x480 [PAR 1:1 DAR 4:3], 25 tbr, 25 tbn, 25 tbc\r\n"
    "    Stream #0.1: Audio: mp3, 44100 Hz, stereo, s16, 128 kb/s\r\n"
    "At least one output file must be specified\r\n";

class ProbeTest : public test::EngineTest {
 protected:
  // A file of 6 bytes that no media library can open, so only the text speaks.
  std::string Probe(const std::string& name, const std::string& text) {
    const std::string path = dir / name;
    WriteText("xxxxx", path, false);
    return engine.ReadProbeText(path, text);
  }
};

TEST_F(ProbeTest, LegacyBannerFillsTheSourceAndTheSummary) {
  int changes = 0;
  engine.FileInfoChange = [&] { ++changes; };
  engine.SetFilename(dir / "not-there");  // FileInfo shows only with a source set; a missing one is not probed
  engine.TimeStartPoint = 10;
  engine.TimeEndPoint = 40;
  const std::string list = Probe("a.avi", kLegacyAvi);

  EXPECT_EQ(engine.FileInfo(), "6B, 00:02:40.040, AVI, mpeg4, 640x480, 25fps, mp3, 44100Hz, 2ch");
  EXPECT_EQ(list, engine.FileInfo() +
                      "\r\n\r\nStream#0.0:Video:mpeg4,yuv420p,640x480[PAR1:1DAR4:3],25tbr,25tbn,25tbc\r\n"
                      "Stream#0.1:Audio:mp3,44100Hz,stereo,s16,128kb/s");
  EXPECT_FLOAT_EQ(engine.Duration(), 160.04f);
  EXPECT_EQ(engine.Max(), 30);  // the range is shorter than the file
  EXPECT_EQ(engine.DefaultVideoStream(), "0.0");
  EXPECT_EQ(engine.DefaultAudioStream(), "0.1");
  EXPECT_EQ(engine.VideoStreamCount() * 10 + engine.AudioStreamCount(), 11);
  EXPECT_EQ(changes, 1);
}

TEST_F(ProbeTest, TodaysBannerIsReadByTheSameRules) {
  const std::string text = ReadText(std::string(ZEL_TEST_DATA) + "/engine/data/ffmpeg-5.1-probe-two-audio.mkv.txt");
  const std::string list = Probe("two.mkv", text);
  EXPECT_EQ(engine.VideoCodec(), "h264(High4:4:4Predictive)");
  EXPECT_EQ(engine.VideoWidth() * 1000 + engine.VideoHeight(), 320240);
  EXPECT_EQ(engine.FrameRate(), 25);
  EXPECT_EQ(engine.AudioCodec(), "aac(LC)");
  EXPECT_EQ(engine.AudioChannels(), 2);  // "mono" is no plain count
  EXPECT_EQ(engine.SourceFormat(), "mkv");
  EXPECT_EQ(engine.AudioStreamCount(), 2);
  // The later stream notation gives the rule's own reading, not a clean number.
  EXPECT_EQ(engine.DefaultVideoStream(), "0:0:Video:h264");
  EXPECT_EQ(engine.VideoMapStream() + " " + engine.AudioMapStream(), "0.0 0.1");  // what a map can use
  // A title follows its stream in the list only.
  EXPECT_TRUE(EndsWith(list, "Stream#0:2:Audio:aac(LC),44100Hz,mono,fltp, title:Director")) << list;
  EXPECT_FALSE(Contains(engine.AudioStreamInfo(), "title"));
}

TEST_F(ProbeTest, StreamVariantsAndContainerNames) {
  const std::string head = "Input #0, mov,mp4,m4a,3gp,3g2,mj2, from 'x':\n  Duration: 00:00:10.00, start: 0\n";
  Probe("x.flv", head);
  EXPECT_EQ(engine.SourceFormat(), "mp4");  // an MP4 under a false name
  Probe("x.m4a", head);
  EXPECT_EQ(engine.SourceFormat(), "mov");
  Probe("x.webm", "Input #0, matroska,webm, from 'x':\n");
  EXPECT_EQ(engine.SourceFormat(), "matroska");
  Probe("x.ts", "no input line\n");
  EXPECT_EQ(engine.SourceFormat(), "ts");

  Probe("y.vob",
        "Stream #0.0: Video: mpeg2video, yuv420p, 720x576 [PAR 16:15 DAR 4:3], 25 tbr\n"
        "Stream #0.1: Audio: ac3, 48000 Hz, 5.1, s16, 448 kb/s\n"
        "Stream #0.2(eng): Video: h264, yuv420p, 1280x720, 29.97 tbr\n"
        "Stream #0.3: Subtitle: dvdsub\n");
  EXPECT_FLOAT_EQ(engine.AudioChannels(), 5.1f);
  EXPECT_EQ(engine.VideoCodec(), "h264");  // the last stream of a kind describes it ...
  EXPECT_EQ(engine.VideoWidth(), 1280);
  EXPECT_EQ(engine.DefaultVideoStream(), "0.0");  // ... but the first stays the default
  EXPECT_EQ(engine.DefaultSubtitleStream(), "0.3");
  EXPECT_EQ(engine.SubtitleStreamCount(), 1);
  EXPECT_EQ(engine.Duration(), 0);
  // Without a time the summary is the size and the picture.
  EXPECT_EQ(Probe("z.vob", "Stream #0.0: Video: h264, 1280x720, 29.97 tbr\n"),
            "6B, 1280x720, 29.97fps\r\n\r\nStream#0.0:Video:h264,1280x720,29.97tbr");

  // A sound file's cover is counted as a picture, but no map takes it for the video.
  Probe("c.mp3",
        "Stream #0:0: Audio: mp3, 44100 Hz, mono, fltp, 64 kb/s\n"
        "Stream #0:1: Video: png, rgb24(pc), 64x64 [SAR 1:1 DAR 1:1], 90k tbr, 90k tbn (attached pic)\n");
  EXPECT_EQ(engine.VideoStreamCount(), 1);
  EXPECT_EQ(engine.VideoMapStream(), "");
  EXPECT_EQ(engine.AudioMapStream(), "0.0");
}

TEST(ProbeHelpers, StreamNumbersAndCompanionSubtitles) {
  const std::pair<const char*, const char*> numbers[] = {
      {"Stream#0.1(eng):Audio:mp3", "0.1"},
      {"Stream#0.1:Audio:mp3", "0.1"},
      {"Stream#0:1:Audio:aac", "0"},
      {"Duration:00:00:01", ""},
  };
  for (const auto& [line, number] : numbers) EXPECT_EQ(FFmpegX::GetStreamNumber(line), number) << line;
  const std::pair<const char*, const char*> mapNumbers[] = {
      {"Stream#0.1(eng):Audio:mp3", "0.1"},
      {"Stream#0:1:Audio:aac", "0.1"},
      {"Stream#0:12[0x1c0](und):Video", "0.12"},
      {"Stream#0:x:Audio", ""},
      {"Duration:00:00:01", ""},
  };
  for (const auto& [line, number] : mapNumbers) EXPECT_EQ(FFmpegX::MapStreamNumber(line), number) << line;

  test::TempDir dir;
  EXPECT_EQ(FFmpegX::CheckSubtitle(dir / "film.mkv"), "");
  for (const char* name : {"film.eng.srt", "film.chs.ass", "film.ass"}) WriteText("1", dir / name, false);
  EXPECT_EQ(FFmpegX::CheckSubtitle(dir / "film.mkv"), dir / "film.ass");
  std::remove((dir / "film.ass").c_str());
  EXPECT_EQ(FFmpegX::CheckSubtitle(dir / "film.mkv"), dir / "film.chs.ass");
}

TEST_F(ProbeTest, RealFilesAreProbedByTheToolAndTheLibraries) {
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 2, "320x240");
  engine.SetCore(test::ToolPath("ffmpeg"));
  engine.SetFilename(clip);
  EXPECT_NEAR(engine.Duration(), 2, 0.1);
  EXPECT_EQ(engine.VideoWidth(), 320);
  EXPECT_EQ(engine.SourceFormat(), "mp4");
  EXPECT_TRUE(StartsWith(engine.StreamInfo(), engine.FileInfo() + "\r\n\r\nStream#0:0"));

  // Without a tool the libraries alone still size the file.
  FFmpegX bare;
  bare.SetFilename(clip);
  EXPECT_NEAR(bare.Duration(), 2, 0.1);
  EXPECT_EQ(bare.VideoWidth() * 1000 + bare.VideoHeight(), 320240);
  EXPECT_EQ(bare.FrameRate(), 25);
  EXPECT_EQ(bare.VideoCodec(), "");
}

}  // namespace
}  // namespace zel
