#include <gtest/gtest.h>

#include <functional>

#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

// An FFmpeg of the classic syntax, faked: it answers a probe with the text the
// test laid beside it.
class CommandAssemblyTest : public test::EngineTest {
 protected:
  CommandAssemblyTest() {
    core = test::WriteScript(dir / "ffmpeg", R"(echo "FFmpeg version SVN-r19352, Copyright (c) 2000-2009"
if [ "$1" = "-i" ] && [ $# -eq 2 ]; then cat "$(dirname "$0")/probe.txt"; fi)");
    engine.SetCore(core);
  }

  void Source(int width, int height, int audioStreams = 1) { Source(engine, width, height, audioStreams); }
  void Source(FFmpegX& e, int width, int height, int audioStreams) {
    std::string text = "Input #0, avi, from 'x':\n  Duration: 00:01:00.00, start: 0\n"
                       "  Stream #0.0: Video: mpeg4, yuv420p, " + std::to_string(width) + "x" +
                       std::to_string(height) + ", 25 tbr\n";
    for (int i = 1; i <= audioStreams; ++i) {
      text += "  Stream #0." + std::to_string(i) + ": Audio: mp3, 44100 Hz, stereo\n";
    }
    WriteText(text, dir / "probe.txt", false);
    WriteText("x", source, false);  // a new version of the source, so that it is probed anew
    e.SetFilename(source);
    e.SetOutputDir(dir / "out");
  }

  // `expected` with $CORE, $SRC and $OUT standing for the paths.
  std::string Expand(std::string expected) const {
    expected = ReplaceAll(expected, "$CORE", core);
    expected = ReplaceAll(expected, "$SRC", source);
    return ReplaceAll(expected, "$OUT", dir / "out");
  }

  std::string core;
  std::string source = dir / "src.avi";
};

struct Case {
  const char* name;
  int width, height, audioStreams;
  std::function<void(FFmpegX&)> set;
  int pass;
  const char* tail;  // after `"$CORE" -v 1 -y -i "$SRC"`
};

TEST_F(CommandAssemblyTest, WholeCommandsOfTheFormatRows) {
  const Case cases[] = {
      {"height given, width kept in shape", 640, 360, 1,
       [](FFmpegX& e) { e.SetVideoSize("0x480"); e.SetForceFormat("mp4"); }, 0,
       R"( -s 852x480 -re -f mp4 "$OUT/src.MP4")"},
      {"percent, each side made even", 641, 361, 1,
       [](FFmpegX& e) { e.SetVideoSize("50%"); e.SetForceFormat("mp4"); }, 0,
       R"( -s 320x180 -re -f mp4 "$OUT/src.MP4")"},
      {"too tall for the shape: crop; a million, never 1e+06", 640, 480, 1,
       [](FFmpegX& e) { e.PadBorder = 1.7778f; e.VideoBitRate = 1000000; e.SetFrameRate(25); e.SetForceFormat("mp4"); },
       0, R"( -b 1000000K -bt 1000000K -vf crop=0:60:640:360 -r 25 -f mp4 "$OUT/src.MP4")"},
      {"too wide: pad, colour bytes reversed, xvid aspect", 720, 304, 1,
       [](FFmpegX& e) { e.PadBorder = 1.3333f; e.VideoPadColor = "FF"; e.SetForceFormat("xvid"); }, 0,
       R"( -vf pad=720:540:0:118:0xFF0000 -aspect 1.3333 -re -vtag xvid -f avi "$OUT/src.AVI")"},
      {"pass 1 of x264: no sound, no subtitles, its own raw options", 640, 360, 1,
       [](FFmpegX& e) {
         e.SetForceFormat("h264"); e.VideoVBR = 20; e.SetAdditionalScripts("-refs 3");
         e.SetAdditionalPass1Scripts("-refs 1");
       },
       1, R"( -crf 20 -re -an -sn -threads 0 -refs 1 -pass 1 "$OUT/src.MP4")"},
      {"constant quantiser, codecs and sound", 640, 360, 1,
       [](FFmpegX& e) {
         e.SetForceFormat("h264"); e.VideoVBR = 20; e.x264QualityMode = 1; e.SetVideoCodec("libx264");
         e.SetAudioCodec("aac"); e.AudioBitRate = 128; e.SetAudioSampleRate(44100); e.SetAudioChannels(2);
       },
       0, R"( -vcodec libx264 -cqp 20 -re -acodec aac -ab 128K -ar 44100 -ac 2 -threads 0 "$OUT/src.MP4")"},
      {"quality scale, own suffix not upper-cased, name suffix", 640, 360, 1,
       [](FFmpegX& e) {
         e.SetForceFormat("avi"); e.VideoVBR = 20; e.UcaseNameSuffix = false; e.FileNameSuffix = "MP4";
         e.FileNameAddStringAfter = "_new";
       },
       0, R"( -qscale 20 -re -f avi "$OUT/src_new.MP4")"},
      {"the misc options in their order", 640, 360, 1,
       [](FFmpegX& e) {
         e.SetForceFormat("mp3"); e.AudioBitRate = 192; e.MaxThreads = 4; e.AudioVolume = 100;
         e.MetaData_Comment = "c"; e.MetaData_Title = "%FileName% live"; e.Deinterlace = true;
         e.CopyTimeStamps = true; e.Strict = 4; e.SetAdditionalScripts("-id3v2_version 3");
       },
       0,
       R"( -vn -ab 192K -threads 4 -metadata comment="c" -metadata title="src live" -deinterlace -vol 256 -copyts)"
       R"( -strict inofficial -id3v2_version 3 -f mp3 "$OUT/src.MP3")"},
      {"explicit crop and pad, a range, a second audio stream", 640, 480, 2,
       [](FFmpegX& e) {
         e.SetForceFormat("mkv"); e.VideoCropLeft = e.VideoCropRight = 8; e.VideoCropTop = e.VideoCropBottom = 4;
         e.VideoPadTop = e.VideoPadBottom = 10; e.TimeStartPoint = 5; e.TimeEndPoint = 15; e.SetAudioCodec("ac3");
         e.MultiAudioTrackSupport = true;
       },
       0,
       R"( -ss 5 -t 10 -vf crop=8:4:624:472 -vf pad=640:500:0:10:0x000000 -re -acodec ac3 -f matroska)"
       R"( "$OUT/src.MKV" -newaudio -acodec ac3)"},
      {"palm row presets its codecs", 640, 360, 1, [](FFmpegX& e) { e.SetForceFormat("palm(428x320)"); }, 0,
       R"( -vcodec libxvid -r 29.97 -s 428x320 -aspect 4:3 -acodec aac -ar 44100 -ab 80k -ac 2 -maxrate 550k)"
       R"( -b 500k -qmin 3 -qmax 5 -bufsize 4096 -mbd 2 -flags +4mv -trellis -aic -cmp 2 -subcmp 2 -g 300)"
       R"( "$OUT/src.MP4")"},
      {"copy keeps the source's extension; a suffix the name holds is not added", 640, 360, 1,
       [](FFmpegX& e) { e.SetForceFormat("copy"); e.FileNameAddStringAfter = "src"; }, 0,
       R"( -vcodec copy -acodec copy "$OUT/src.AVI")"},
      {"ogg forces two channels with its trailing blank", 640, 360, 1,
       [](FFmpegX& e) { e.SetForceFormat("ogg"); e.AudioBitRate = 128; }, 0,
       R"( -vn -ab 128K -ac 2  -f ogg "$OUT/src.OGG")"},
      {"gif", 640, 360, 1, [](FFmpegX& e) { e.SetForceFormat("gif"); }, 0,
       R"( -re -an -pix_fmt rgb24 -loop_output 0 -f gif "$OUT/src.GIF")"},
      {"disc target", 640, 360, 1, [](FFmpegX& e) { e.SetForceFormat("pal-dvd"); }, 0,
       R"( -target pal-dvd "$OUT/src.MPG")"},
  };
  for (const Case& c : cases) {
    FFmpegX fresh;
    fresh.SetCore(core);
    Source(fresh, c.width, c.height, c.audioStreams);
    c.set(fresh);
    EXPECT_EQ(fresh.BuildCommand(c.pass), Expand(R"("$CORE" -v 1 -y -i "$SRC")" + std::string(c.tail))) << c.name;
    EXPECT_EQ(fresh.CommandToRun(), fresh.BuildCommand(c.pass)) << "a classic core runs the command as composed";
  }
  EXPECT_TRUE(DirectoryExists(dir / "out"));

  // A drive of this system reaches MEncoder as its device, and the output is named after it.
  FFmpegX disc;
  disc.SetCore(core);
  disc.SetFilename("/dev/sr0:");
  disc.SetOutputDir(dir / "out");
  disc.SetForceFormat("mp4");
  EXPECT_EQ(disc.BuildCommand(0), Expand(R"(")" + dir.path() + R"(/mencoder" -dvd-device /dev/sr0 dvd://1)"
                                         R"( -really-quiet -oac copy -ovc copy -o -|"$CORE" -v 1 -y -i -)"
                                         R"( -re -f mp4 "$OUT/sr0.MP4")"));
}

TEST_F(CommandAssemblyTest, ProgressTextOverridingLineAndTestFile) {
  Source(720, 304);
  engine.PadBorder = 1.3333f;
  engine.SetForceFormat("xvid");
  engine.BuildCommand(0);
  EXPECT_EQ(engine.OutputInfo(), "00:01:00.000, XVID, 720x304 -> 1.3333");

  Source(640, 360);
  engine.PadBorder = 0;
  engine.SetVideoSize("0x480");
  engine.SetForceFormat("mp4");
  engine.TestMode = true;
  engine.CommandLine = "tool #VideoWidth#x#VIDEOHEIGHT# #InputFileName# #OutputFileName#";
  const std::string command = engine.BuildCommand(0);
  EXPECT_EQ(command, Expand("tool 852x480 $SRC $OUT/src.MP4"));
  EXPECT_EQ(ReadText(dir / "out/Test.bat"), command + "\n");

  // Pass 2 writes over pass 1's output rather than beside it.
  engine.CommandLine.clear();
  engine.BuildCommand(1);
  WriteText("pass 1", engine.OutputFileName(), false);
  engine.BuildCommand(2);
  EXPECT_EQ(engine.OutputFileName(), dir / "out/src.MP4");
  EXPECT_EQ(engine.TwoPassStatus(), "2");
}

TEST_F(CommandAssemblyTest, TodaysCoreRunsATranslatedTwoPassConversion) {
  const std::string clip = dir / "clip one.avi";
  test::MakeClip(clip, 2);
  FFmpegX real;
  real.SetCore(test::ToolPath("ffmpeg"));
  real.SetFilename(clip);
  MakedPath(dir / "out");
  real.SetOutputDir(dir / "out");
  real.SetForceFormat("mp4");
  real.SetVideoCodec("libx264");
  real.SetAudioCodec("aac");
  real.VideoBitRate = 300;
  real.Twopass = true;
  std::remove("ffmpeg2pass-0.log");
  int lastStatus = -1;
  real.StatusChange = [&](int status, const std::string&) { lastStatus = status; };
  real.StartProcess();
  EXPECT_EQ(lastStatus, kStatusComplete);
  EXPECT_TRUE(StartsWith(real.CommandToRun(), QuoteArgument(real.Core()) + " -hide_banner")) << real.CommandToRun();
  EXPECT_EQ(real.OutputFileName(), dir / "out/clip one.MP4");
  EXPECT_EQ(test::ProbeCodec(real.OutputFileName(), "v"), "h264");
  EXPECT_EQ(test::ProbeCodec(real.OutputFileName(), "a"), "aac");
  EXPECT_FALSE(FileExists("ffmpeg2pass-0.log"));  // the passes' statistics stay in the job's own folder
}

}  // namespace
}  // namespace zel
