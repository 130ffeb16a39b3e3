#include "jobs/KaraokeJob.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "jobs/KaraokeGraph.h"

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


TEST(KaraokeGraph, TimesOfTheFourCases) {
  struct Row {
    int pictures, seconds;
    bool fit, video;
    KaraokeCase shape;
    double hold, fade, show;
    int passes;
    double length, fadeIO;
  };
  const Row rows[] = {
      // 40 s outlast 5 pictures of 4 + 3 s: two passes, cut at the music's end.
      {5, 40, false, false, KaraokeCase::LoopedPictures, 4, 3, 32, 2, 40, 2},
      {5, 64, false, false, KaraokeCase::LoopedPictures, 4, 3, 32, 2, 64, 2},
      {5, 32, false, false, KaraokeCase::LoopedPictures, 4, 3, 32, 1, 32, 2},
      // A longer slide show keeps its length; the music repeats under it.
      {5, 31, false, false, KaraokeCase::LoopedMusic, 4, 3, 32, 1, 32, 2},
      // Fitted: whole milliseconds; one picture divides the fade by 1.
      {4, 50, true, false, KaraokeCase::FittedPictures, 10, 3.333, 49.999, 1, 49.999, 2},
      {1, 50, true, false, KaraokeCase::FittedPictures, 40, 10, 40, 1, 40, 2},
      // A video shorter than both fades shares itself between them.
      {1, 2, true, false, KaraokeCase::FittedPictures, 1.6, 0.4, 1.6, 1, 1.6, 0.8},
      // 10 s of background video at 29.97: 300 frames.
      {0, 10, false, true, KaraokeCase::BackgroundVideo, 0, 0, 0, 1, 300 / 29.97, 2},
  };
  for (const Row& row : rows) {
    KaraokeInput in = Input(row.pictures, row.seconds);
    in.fitPictures = row.fit;
    if (row.video) in.videoPath = "/v/bg.mp4";
    const KaraokeTimes t = KaraokeTimesFor(in, 30);
    SCOPED_TRACE(std::to_string(row.pictures) + " pictures, " + std::to_string(row.seconds) + " s");
    EXPECT_EQ(t.shape, row.shape);
    EXPECT_EQ(t.passes, row.passes);
    for (const auto& [got, want] : {std::pair{t.hold, row.hold}, {t.fade, row.fade}, {t.show, row.show},
                                    {t.length, row.length}, {t.fadeIO, row.fadeIO}}) {
      EXPECT_NEAR(got, want, 1e-6);
    }
  }
}

TEST(KaraokeGraph, TransitionsComeFromAFixedTable) {
  EXPECT_EQ(KaraokeTransition(1), "fade");
  EXPECT_EQ(KaraokeTransition(2), "wipeleft");
  EXPECT_EQ(KaraokeTransition(46), "fade");  // the table repeats over the 310 numbers
  EXPECT_EQ(KaraokeTransition(310), KaraokeTransition(310 - 45));
  std::set<std::string_view> kinds;
  for (int effect = 1; effect <= 45; ++effect) kinds.insert(KaraokeTransition(effect));
  EXPECT_EQ(kinds.size(), 45u);
  // Once for the option, once for the graph.
  EXPECT_EQ(FilterGraphValue("/a b/it's:x,[1];y\\z"), "/a b/it\\\\\\'s\\\\:x\\,\\[1\\]\\;y\\\\\\\\z");
}

TEST(KaraokeGraph, ArgumentsFollowTheCase) {
  auto joined = [](const std::vector<std::string>& args) {
    std::string text;
    for (const std::string& arg : args) text += arg + "\n";
    return text;
  };
  auto count = [](const std::string& text, const std::string& part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
  };
  // Looped pictures: each pass its own inputs, the transition into a picture its own.
  const std::string looped = joined(KaraokeGraphArguments(Input(5, 40), {9, 2, 3, 4, 5}, false, "/o/MV.mp4", 10));
  EXPECT_EQ(count(looped, "\n-i\n"), 11);
  EXPECT_EQ(count(looped, "-loop\n1\n-framerate\n10\n-t\n10\n-i\n/p/0.jpg"), 2);
  EXPECT_NE(looped.find("xfade=transition=wipeleft:duration=3:offset=4["), std::string::npos);
  EXPECT_NE(looped.find("xfade=transition=wipedown:duration=3:offset=25["), std::string::npos);
  EXPECT_NE(looped.find("[pass0][pass1]concat=n=2:v=1:a=0,trim=duration=40,"), std::string::npos);
  EXPECT_NE(looped.find("[10:a]apad,atrim=duration=40,afade=t=in:st=0:d=2,afade=t=out:st=38:d=2[a]"),
            std::string::npos);
  EXPECT_EQ(looped.find("ass="), std::string::npos);
  EXPECT_TRUE(looped.ends_with("\n/o/MV.mp4\n"));
  // Looped music: one pass, the music read over and over.
  KaraokeInput shortMusic = Input(2, 5);
  shortMusic.ssaPath = "/s/a:b.ssa";
  const std::string music = joined(KaraokeGraphArguments(shortMusic, {1, 1}, true, "/o/MV.mp4", 30));
  EXPECT_NE(music.find("-stream_loop\n-1\n-i\n/m/song.mp3\n"), std::string::npos);
  EXPECT_NE(music.find("[x1]trim=duration=11,setpts=PTS-STARTPTS[pass0];"), std::string::npos);
  EXPECT_NE(music.find("ass=filename=/s/a\\\\:b.ssa,fade=t=in"), std::string::npos);
  // A background video, looped and cut to whole frames.
  KaraokeInput video = Input(0, 10);
  video.videoPath = "/v/bg.mp4";
  const std::string background = joined(KaraokeGraphArguments(video, {}, false, "/o/MV.mp4", 30));
  EXPECT_TRUE(background.starts_with("-hide_banner\n-y\n-stream_loop\n-1\n-i\n/v/bg.mp4\n-i\n/m/song.mp3\n"));
  EXPECT_NE(background.find("trim=end_frame=300,"), std::string::npos);
  EXPECT_NE(background.find("\n-r\n29.97\n"), std::string::npos);
}

// A real video: 5 pictures of one colour each over 40 s of music, with lyrics
// burnt in from a folder whose name needs escaping in the graph.
TEST(KaraokeGraph, MakesTheVideo) {
  test::TempDir dir;
  const std::string ffmpeg = test::ToolPath("ffmpeg");
  const char* colours[] = {"red", "lime", "blue", "yellow", "white"};
  KaraokeInput in;
  for (const char* colour : colours) {
    in.pictures.push_back(dir / (std::string(colour) + ".png"));
    ASSERT_EQ(test::Run({ffmpeg, "-v", "error", "-y", "-f", "lavfi", "-i", std::string("color=") + colour + ":s=120x90",
                         "-frames:v", "1", in.pictures.back()})
                  .exitCode,
              0);
  }
  in.musicPath = dir / "song.mp3";
  ASSERT_EQ(test::Run({ffmpeg, "-v", "error", "-y", "-f", "lavfi", "-i", "sine=duration=40", in.musicPath}).exitCode, 0);
  in.lyricPath = dir / "song.lrc";
  ASSERT_TRUE(WriteFileAtomic(in.lyricPath, "[00:08.00]HELLO WORLD\n[00:11.00]SECOND LINE\n[00:14.00]\n"));
  const std::string scratch = dir / "it's [a],b;c:d";
  MakedPath(scratch);
  in.scriptPath = scratch + "/k.avs";
  in.listPath = scratch + "/k.lst";
  in.ssaPath = scratch + "/k.ssa";
  in.width = 160;
  in.height = 120;
  in.durationSeconds = 40;
  MakedPath(dir / "out");

  FFmpegX engine;
  engine.SetCore(ffmpeg);
  engine.SetFilename(in.musicPath);
  engine.SetOutputDir(dir / "out");
  engine.SetForceFormat("mp4");
  std::vector<int> effects;
  ASSERT_TRUE(WriteKaraokeJob(engine, in, SettingDefault, [] { return 0u; }, {}, &effects));
  SetKaraokeGraphRun(engine, ffmpeg, in, effects, true, 10);
  engine.StartProcess();
  ASSERT_EQ(engine.Status(), kStatusComplete) << engine.CommandLine;
  const std::string video = engine.OutputFileName();
  EXPECT_EQ(FileNameOf(video), "MV_song.MP4");
  const test::RunResult length = test::Run({test::ToolPath("ffprobe"), "-v", "error", "-show_entries",
                                            "format=duration", "-of", "csv=p=0", video});
  EXPECT_NEAR(Val(length.output), 40, 0.15);

  auto frame = [&](double seconds) {
    return test::Run({ffmpeg, "-v", "error", "-ss", std::to_string(seconds), "-i", video, "-frames:v", "1", "-f",
                      "rawvideo", "-pix_fmt", "rgb24", "-"})
        .output;
  };
  auto near = [](const std::string& rgb, size_t x, size_t y, std::tuple<int, int, int> want) {
    const size_t at = (y * 160 + x) * 3;
    if (rgb.size() < at + 3) return false;
    const auto [r, g, b] = want;
    return std::abs(static_cast<unsigned char>(rgb[at]) - r) < 40 &&
           std::abs(static_cast<unsigned char>(rgb[at + 1]) - g) < 40 &&
           std::abs(static_cast<unsigned char>(rgb[at + 2]) - b) < 40;
  };
  const std::tuple<int, int, int> rgb[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}, {255, 255, 255}};
  // Each picture in the middle of its hold, then the first again on the second pass.
  const std::pair<double, int> holds[] = {{3, 0}, {9, 1}, {16, 2}, {23, 3}, {30, 4}, {34, 0}};
  for (const auto& [seconds, picture] : holds) {
    EXPECT_TRUE(near(frame(seconds), 80, 20, rgb[picture])) << seconds << " s";
  }
  // Mid-transition the frame is neither picture whole; at the end it has faded to black.
  const std::string fading = frame(5.5);
  EXPECT_FALSE(near(fading, 20, 60, rgb[0]) && near(fading, 140, 60, rgb[0]));
  EXPECT_FALSE(near(fading, 20, 60, rgb[1]) && near(fading, 140, 60, rgb[1]));
  EXPECT_TRUE(near(frame(39.85), 80, 60, {0, 0, 0}));
  // The lyric's line lies across the bottom of the green picture at its time only.
  auto lyricShown = [&](double seconds) {
    const std::string shown = frame(seconds);
    int off = 0;
    for (size_t y = 62; y < 120; y += 4) {
      for (size_t x = 0; x < 160; ++x) off += near(shown, x, y, rgb[1]) ? 0 : 1;
    }
    return off;
  };
  EXPECT_GT(lyricShown(9.5), 10);
  EXPECT_EQ(lyricShown(7.5), 0);
}

}  // namespace
}  // namespace zel
