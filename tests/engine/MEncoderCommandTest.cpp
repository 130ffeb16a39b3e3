#include <gtest/gtest.h>

#include <functional>

#include "engine/FFmpegX.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

// A MEncoder, faked: its banner identifies it, and a probe gets the text laid beside it.
class MEncoderCommandTest : public test::EngineTest {
 protected:
  MEncoderCommandTest() {
    core = test::WriteScript(dir / "mencoder", R"(echo "MEncoder UNKNOWN-12 (C) 2000-2023 MPlayer Team"
if [ "$1" = "-i" ] && [ $# -eq 2 ]; then cat "$(dirname "$0")/probe.txt"; fi)");
    WriteText("Input #0, avi, from 'x':\n  Duration: 00:01:00.00, start: 0\n"
              "  Stream #0.0: Video: mpeg4, yuv420p, 640x480, 25 tbr\n"
              "  Stream #0.1: Audio: mp3, 44100 Hz, stereo\n",
              dir / "probe.txt", false);
    WriteText("x", source, false);
    WriteText("x", dir / "two.avi", false);
    WriteText("1\n00:00:01,000 --> 00:00:02,000\nhi\n", dir / "src.srt", false);
  }

  std::string Expand(std::string expected) const {
    expected = ReplaceAll(expected, "$CORE", core);
    expected = ReplaceAll(expected, "$SRC", source);
    expected = ReplaceAll(expected, "$DIR", dir.path());
    return ReplaceAll(expected, "$OUT", dir / "out");
  }

  std::string core;
  std::string source = dir / "src.avi";
};

struct Case {
  const char* name;
  std::function<void(FFmpegX&)> set;
  int pass;
  const char* command;  // after `"$CORE"`
};

TEST_F(MEncoderCommandTest, WholeCommandsOfTheFormatRows) {
  const Case cases[] = {
      {"xvid quality in pass 2", [](FFmpegX& e) {
         e.SetForceFormat("xvid"); e.VideoVBR = 4; e.MaxThreads = 2; e.AudioBitRate = 128; }, 2,
       R"( -ovc xvid -xvidencopts fixed_quant=4:max_bframes=0:threads=2:turbo:pass=2)"
       R"( -oac mp3lame -lameopts cbr:br=128 "$SRC" -o "$OUT/src.AVI")"},
      {"letterbox to 4:3, height left to the tool", [](FFmpegX& e) {
         e.SetForceFormat("avi"); e.SetVideoSize("640x480"); e.PadBorder = 1.3333f; e.VideoBitRate = 800; }, 0,
       R"( -ovc lavc -ffourcc DX50 -lavcopts vcodec=mpeg4:vbitrate=800:threads=0:turbo)"
       R"( -vf scale=640:-3,expand=640:480:::1,harddup -oac mp3lame -lameopts cbr:br=0 "$SRC" -o "$OUT/src.AVI")"},
      {"no size: no scale even with a letterbox; the frame rate stays", [](FFmpegX& e) {
         e.SetForceFormat("divx"); e.PadBorder = 1.3333f; e.SetFrameRate(23.976f); e.VideoVBR = 5; }, 1,
       R"( -ovc lavc -ffourcc DX50 -lavcopts vcodec=mpeg4:vqscale=5:threads=0:turbo:vpass=1 -ofps 23.976)"
       R"( -oac mp3lame -lameopts cbr:br=0 "$SRC" -o "$OUT/src.AVI")"},
      {"no sound drops the audio block", [](FFmpegX& e) {
         e.SetForceFormat("flv"); e.DisableAudio = true; e.SetAudioChannels(2); e.MaxThreads = 4; }, 0,
       R"( -ovc lavc -lavcopts vcodec=flv:threads=1:mbd=2:mv0:trell:v4mv:cbp:last_pred=3 -nosound)"
       R"( -of lavf -lavfopts format=flv "$SRC" -o "$OUT/src.FLV")"},
      {"a disc plays its first title, over any range", [](FFmpegX& e) {
         e.SetFilename("E:"); e.SetForceFormat("avi"); e.TimeStartPoint = 5; e.TimeEndPoint = 15; }, 0,
       R"( -ovc lavc -ffourcc DX50 -lavcopts vcodec=mpeg4:threads=0:turbo -oac mp3lame -lameopts cbr:br=0)"
       R"( -dvd-device e:/ dvd://1 -o "$OUT/E.AVI")"},
      {"a drive of this system is read by its device and names the output", [](FFmpegX& e) {
         e.SetFilename("/dev/sr0:"); e.SetForceFormat("avi"); }, 0,
       R"( -ovc lavc -ffourcc DX50 -lavcopts vcodec=mpeg4:threads=0:turbo -oac mp3lame -lameopts cbr:br=0)"
       R"( -dvd-device /dev/sr0 dvd://1 -o "$OUT/sr0.AVI")"},
      {"several sources, each with its range", [](FFmpegX& e) {
         e.SetFilename(e.Filename() + "|" + ReplaceAll(e.Filename(), "src.avi", "two.avi")); e.SetForceFormat("mkv");
         e.VideoBitRate = 800; e.AudioBitRate = 96; e.SetAudioChannels(2); e.SetAudioSampleRate(44100);
         e.TimeStartPoint = 5; e.TimeEndPoint = 15; }, 1,
       R"( -ovc x264 -ffourcc H264 -x264encopts bitrate=800:threads=0)"
       R"(:level_idc=13:bframes=0:frameref=2:nocabac:global_header:partitions=all:pass=1)"
       R"( -oac faac -faacopts br=96:mpeg=4:object=2:raw -channels 2 -srate 44100 -of lavf -lavfopts format=mkv)"
       R"( -ss 5 -endpos 10 "$SRC" -ss 5 -endpos 10 "$DIR/two.avi" -o "$OUT/src.MKV")"},
      {"disc target, own filters, pass word of lavc", [](FFmpegX& e) {
         e.SetForceFormat("film-dvd"); e.SetVideoSize("320x240"); e.SetAudioChannels(2); }, 1,
       R"( -ovc lavc -lavcopts vcodec=mpeg2video:vbitrate=2000:aspect=16/9:trell:mbd=2:keyint=18:vrc_buf_size=1835)"
       R"(:vrc_maxrate=9600:threads=0:vpass=1 -vf-add scale=720:480,harddup -ofps 30000/1001)"
       R"( -oac lavc -lavcopts acodec=ac3:abitrate=128 -af volnorm,lavcresample=48000 -srate 48000)"
       R"( -of mpeg -mpegopts format=dvd "$SRC" -o "$OUT/src.MPG")"},
      {"mpeg has its own frame rate, wmv its format", [](FFmpegX& e) {
         e.SetForceFormat("mpeg"); e.SetFrameRate(30); e.SetVideoSize("320x240"); e.UcaseNameSuffix = false; }, 0,
       R"( -ovc lavc -lavcopts vcodec=mpeg1video:threads=0 -vf scale=320:240,harddup -ofps 25)"
       R"( -oac lavc -lavcopts acodec=mp2:abitrate=0 -of mpeg -mpegopts format=xvcd "$SRC" -o "$OUT/src.mpeg")"},
      {"wmv", [](FFmpegX& e) { e.SetForceFormat("asf"); e.MaxThreads = 2; e.VideoVBR = 3; }, 0,
       R"( -ovc lavc -lavcopts vcodec=wmv2:aglobal=1:vglobal=1:vqscale=3:threads=1)"
       R"( -oac lavc -lavcopts acodec=wmav2:abitrate=0 -of lavf -lavfopts format=asf "$SRC" -o "$OUT/src.ASF")"},
      {"x264 quality", [](FFmpegX& e) { e.SetForceFormat("ipod"); e.VideoVBR = 22; e.MaxThreads = 2; }, 0,
       R"( -ovc x264 -ffourcc H264 -x264encopts crf=22:threads=2 -oac faac -faacopts br=0:mpeg=4:object=2:raw)"
       R"( -of lavf -lavfopts format=mp4 "$SRC" -o "$OUT/src.M4V")"},
      {"audio only", [](FFmpegX& e) { e.SetForceFormat("mp3"); e.AudioBitRate = 192; e.SetAudioSampleRate(48000); },
       0, R"( -ovc frameno -oac mp3lame -lameopts cbr:br=192 -srate 48000 -of rawaudio "$SRC" -o "$OUT/src.MP3")"},
      {"wav takes no audio block", [](FFmpegX& e) { e.SetForceFormat("wav"); e.SetAudioChannels(1); }, 0,
       R"( -ovc frameno -oac pcm "$SRC" -o "$OUT/src.WAV")"},
      {"video copy keeps the source's extension", [](FFmpegX& e) { e.SetForceFormat("video"); }, 0,
       R"( -ovc copy -nosound "$SRC" -o "$OUT/src.AVI")"},
      {"audio copy", [](FFmpegX& e) { e.SetForceFormat("audio"); e.FileNameSuffix = "mp2"; }, 0,
       R"( -ovc copy -oac copy -of rawaudio "$SRC" -o "$OUT/src.mp2")"},
      {"a key of no composition runs on defaults", [](FFmpegX& e) { e.SetForceFormat("ogg"); }, 0,
       R"( "$SRC" -o "$OUT/src.")"},
      {"subtitles, deinterlacing, raw options", [](FFmpegX& e) {
         e.SetForceFormat("mp4"); e.MencEnableSubtitle = true; e.MencSubtitleFontFileName = "/f/a b.ttf";
         e.MencSubtitleFontSize = 4; e.MencSubtitleAlign = 8; e.Deinterlace = true; e.SetAdditionalScripts("-v ");
         e.FileNameAddStringAfter = "_x"; }, 0,
       R"( -ovc lavc -lavcopts vcodec=mpeg4:aglobal=1:vglobal=1:threads=0 -oac faac -faacopts br=0:mpeg=4:object=2:raw)"
       R"( -of lavf -lavfopts format=mp4 -sub "$DIR/src.srt" -font "/f/a b.ttf" -subfont-text-scale 4)"
       R"( -subfont-outline 1 -subfont-blur 2 -subpos 10 -subdelay 0 -subcp CP936 -vf-add yadif)"
       R"( "$SRC" -o "$OUT/src_x.MP4" -v)"},
  };
  for (const Case& c : cases) {
    FFmpegX fresh;
    fresh.SetCore(core);
    ASSERT_EQ(fresh.CoreStatus(), kCoreMEncoder);
    fresh.SetFilename(source);
    fresh.SetOutputDir(dir / "out");
    c.set(fresh);
    if (c.pass == 2) fresh.BuildCommand(1);
    EXPECT_EQ(fresh.BuildCommand(c.pass), Expand(R"("$CORE")" + std::string(c.command))) << c.name;
  }
  EXPECT_TRUE(DirectoryExists(dir / "out"));
}

TEST_F(MEncoderCommandTest, SubtitleAlignByKeypadRows) {
  const std::pair<int, const char*> rows[] = {{1, " -subpos 90 "}, {3, " -subpos 90 "}, {5, " -subpos 45 "},
                                              {9, " -subpos 10 "}, {0, " -subpos  "}};
  for (const auto& [align, expected] : rows) {
    FFmpegX fresh;
    fresh.SetCore(core);
    fresh.SetFilename(source);
    fresh.MencEnableSubtitle = true;
    fresh.MencSubtitleAlign = align;
    EXPECT_TRUE(Contains(fresh.BuildCommand(0), expected)) << align;
  }
}

// A block read while the tool raced ahead: other lines first, a cut line last.
TEST_F(MEncoderCommandTest, ProgressFromTheLastWholePositionOfABlock) {
  engine.SetCore(core);
  engine.SetFilename(source);  // 60 seconds
  engine.ParseToolOutput("1 duplicate frame(s)!\rPos:  12.0s    300f ( 20%) 25fps Trem: 0min\r"
                         "Pos:  15.0s    375f ( 25%) 25fps Trem: 0min\rPos:  15.");
  EXPECT_FLOAT_EQ(engine.Value(), 15);
  EXPECT_FLOAT_EQ(engine.Max(), 60);
}

// Debian's mencoder has lavc and mp3lame but no faac, so the AVI row is the one to run.
TEST_F(MEncoderCommandTest, RealMEncoderMakesAnAviAndReportsProgress) {
  const std::string clip = dir / "clip one.avi";
  test::MakeClip(clip, 2);
  engine.SetCore(test::ToolPath("mencoder"));
  ASSERT_EQ(engine.CoreStatus(), kCoreMEncoder);
  engine.SetFilename(clip);
  MakedPath(dir / "out");
  engine.SetOutputDir(dir / "out");
  engine.SetForceFormat("avi");
  engine.MaxThreads = 2;  // the tool refuses threads=0
  engine.AudioBitRate = 96;
  std::vector<std::pair<float, float>> progress;
  engine.StatusChange = [&](int status, const std::string& info) {
    events.push_back({status, info});
    // The run's own start is reported with the source's name; every other such
    // report comes from a progress line of the tool.
    if (status == kStatusProcessing && info != clip) progress.emplace_back(engine.Value(), engine.Max());
  };
  engine.StartProcess();

  EXPECT_EQ(engine.Status(), kStatusComplete);
  EXPECT_TRUE(Saw({kStatusComplete, dir / "out/clip one.AVI"}));
  EXPECT_EQ(test::ProbeCodec(engine.OutputFileName(), "v"), "mpeg4");
  EXPECT_EQ(test::ProbeCodec(engine.OutputFileName(), "a"), "mp3");
  ASSERT_FALSE(progress.empty()) << "no progress line of the tool was read";
  float last = 0;
  for (const auto& [value, max] : progress) {
    EXPECT_NEAR(max, 2.0f, 0.2f) << "the end is the clip's length in seconds";
    EXPECT_GE(value, last) << "the position only moves on";
    EXPECT_LE(value, max);
    last = value;
  }
}

}  // namespace
}  // namespace zel
