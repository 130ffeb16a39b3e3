#include "jobs/KaraokeJob.h"

#include <gtest/gtest.h>

#include <set>

#include "engine/FFmpegX.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "subtitles/TextEncoding.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

KaraokeInput Input(int pictures, int seconds) {
  KaraokeInput in;
  in.musicPath = "/m/song.mp3";
  in.scriptPath = "/s/k.avs";
  in.listPath = "/s/k.lst";
  in.ssaPath = "/s/k.ssa";
  in.picturePlugin = "/t/PictureShow.dll";
  in.subtitlePlugin = "/t/VSFilter.dll";
  in.durationSeconds = seconds;
  for (int i = 0; i < pictures; ++i) in.pictures.push_back("/p/" + std::to_string(i) + ".jpg");
  return in;
}

constexpr const char* kEnding = "FadeIO(60)\r\nInterleave()\r\nAssumeFrameBased()\r\n";

TEST(KaraokeJob, TheFourCasesOfTheScript) {
  const std::string music = "Audio = DirectShowSource(\"/m/song.mp3\", Audio = True, Video = False)";
  const std::string head = "LoadPlugin(\"/t/PictureShow.dll\")\r\nVideo = EffectPicSource(\"/s/k.lst\", ";
  // 40 s of music outlast 5 pictures of 4 + 3 s: the pictures loop to frame 1212.
  EXPECT_EQ(KaraokeScript(Input(5, 40), false, false),
            head + "4000, 3000, 320, 240, 33).ConvertToRGB32().Loop().Trim(0, 1212)\r\n" + music +
                "\r\nAudioDub(Video,Audio)\r\nTrim(0,Framecount(Video))\r\n" + kEnding +
                "FlipVertical()\r\nreturn last\r\n");
  // A slide show longer than the music loops the music; lyrics add the plug-in.
  EXPECT_EQ(KaraokeScript(Input(5, 31), true, true),
            head + "4000, 3000, 320, 240, 33).ConvertToRGB32()\r\n" + music +
                ".Loop()\r\nAudioDub(Video,Audio)\r\nTrim(0,Framecount(Video))\r\n"
                "LoadPlugin(\"/t/VSFilter.dll\")\r\nTextSub(\"/s/k.ssa\")\r\n" +
                kEnding + "return last\r\n");
  // Pictures fitted to the music: 0.8 of it held, 0.2 fading; one picture
  // divides the fade by 1.
  KaraokeInput fit = Input(4, 50);
  fit.fitPictures = true;
  EXPECT_NE(KaraokeScript(fit, false, false).find("EffectPicSource(\"/s/k.lst\", 10000, 3333, 320, 240, 33)"),
            std::string::npos);
  fit.pictures.resize(1);
  EXPECT_NE(KaraokeScript(fit, false, false).find("(\"/s/k.lst\", 40000, 10000,"), std::string::npos);
  // A background video instead of pictures.
  KaraokeInput video = Input(0, 10);
  video.videoPath = "/v/bg.mp4";
  video.holdSeconds = 5;
  EXPECT_EQ(KaraokeScript(video, false, false),
            "Audio = DirectShowSource(\"/m/song.mp3\")\r\n"
            "Video = DirectShowSource(\"/v/bg.mp4\", fps=29.97, convertfps=true).ConvertToRGB32().Loop().Trim(0,299)"
            ".LanczosResize(320,240)\r\nAudioDub(Video,Audio)\r\nFadeIO(75)\r\nInterleave()\r\nAssumeFrameBased()\r\n"
            "FlipVertical()\r\nreturn last\r\n");
}

TEST(KaraokeJob, PictureListDrawsEffectsWithoutRepeats) {
  std::vector<std::string> pictures(310, "/p/x.jpg");
  unsigned counter = 0;
  const std::vector<std::string> lines = Split(KaraokePictureList(pictures, [&] { return counter += 7; }), "\r\n");
  ASSERT_EQ(lines.size(), 1 + 2 * 310 + 1u);
  EXPECT_EQ(lines[0], "310");
  std::set<int> effects;
  for (size_t i = 2; i < lines.size(); i += 2) effects.insert(static_cast<int>(Val(lines[i])));
  EXPECT_EQ(effects.size(), 310u);
  EXPECT_EQ(*effects.begin(), 1);
  EXPECT_EQ(*effects.rbegin(), 310);
  EXPECT_EQ(KaraokePictureList({}, [] { return 0u; }), "0\r\n");
}

TEST(KaraokeJob, LyricsFollowTheKaraokeSettings) {
  std::map<std::string, std::string, std::less<>> values{{"KTVSubtitleStyle", std::string(StrKaraokeFill)},
                                                           {"KTVSubtitleFont", "楷体, 28, True, False, 136"}};
  const SettingReader read = [&](std::string_view key) {
    const auto found = values.find(key);
    return found != values.end() ? found->second : SettingDefault(key);
  };
  EXPECT_EQ(KaraokeStyleFor(StrKaraokeNoEffect), 0);
  EXPECT_EQ(KaraokeStyleFor(StrKaraokeByWord), 2);
  EXPECT_EQ(KaraokeStyleFor("其他"), 0);
  test::TempDir dir;
  KaraokeInput in = Input(2, 20);
  in.scriptPath = dir / "k.avs";
  in.listPath = dir / "k.lst";
  in.ssaPath = dir / "k.ssa";
  in.lyricPath = dir / "song.lrc";
  in.height = 768;
  ASSERT_TRUE(WriteFileAtomic(in.lyricPath, "[00:06.00]第一句\n[00:09.00]second\n"));  // LF, as most tools write
  const SubtitleArguments args = KaraokeLyricArguments(in, read);
  EXPECT_EQ(std::make_tuple(args.fontName, args.fontSize, args.bold, args.italic, args.encoding, args.karaokeStyle),
            std::make_tuple(std::string("楷体"), 28, 1, 0, 136, 1));
  EXPECT_EQ(std::make_tuple(args.foreColor, args.effectColor, args.shadowColor, args.speed, args.timeOffset),
            std::make_tuple(0xFFFFFF, 0xFF, 0, 2.6, 0.0));

  FFmpegX engine;
  MakedPath(dir / "keep");
  ASSERT_TRUE(WriteKaraokeJob(engine, in, read, [] { return 3u; }, dir / "keep"));
  int encoding = -1;
  const std::string ssa = UEFLoadTextFile(in.ssaPath, encoding);
  EXPECT_NE(ssa.find("{\\k300}{\\kf"), std::string::npos);  // the fill effect, per character
  EXPECT_NE(ssa.find("请{\\ko50}准"), std::string::npos);    // and the count-in
  EXPECT_NE(ssa.find("PlayResY: 768\r\n"), std::string::npos);  // the video's height sizes the styles
  EXPECT_NE(ssa.find("Style: Default2,Arial,38.4,"), std::string::npos);
  EXPECT_NE(ReadText(in.scriptPath).find("TextSub(\"" + in.ssaPath + "\")"), std::string::npos);
  EXPECT_EQ(ReadText(in.listPath), "2\r\n/p/0.jpg\r\n4\r\n/p/1.jpg\r\n5\r\n");
  for (const char* name : {"k.avs", "k.lst", "k.ssa"}) EXPECT_TRUE(FileExists(dir / ("keep/" + std::string(name))));

  values["KTVSubtitleStyle"] = StrKaraokeNoEffect;
  ASSERT_TRUE(WriteKaraokeJob(engine, in, read, [] { return 0u; }));
  EXPECT_EQ(UEFLoadTextFile(in.ssaPath, encoding = -1).find("请"), std::string::npos);
}

}  // namespace
}  // namespace zel
