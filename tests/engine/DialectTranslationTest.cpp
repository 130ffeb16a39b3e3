#include "engine/DialectTranslation.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "engine/CommandLine.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using Args = std::vector<std::string>;

const TranslationContext kContext{"2026-11-21", ""};

constexpr const char* kX264Legacy =
    " -coder 1 -flags +loop -cmp +chroma -partitions +parti8x8+parti4x4+partp8x8+partb8x8 -me_method hex -subq 7"
    " -me_range 16 -g 250 -keyint_min 25 -sc_threshold 40 -i_qfactor 0.71 -b_strategy 1 -qcomp 0.6 -qmin 10"
    " -qmax 51 -qdiff 4 -bf 3 -refs 3 -directpred 1 -trellis 1 -flags2 +bpyramid+mixed_refs+wpred+dct8x8+fastpskip"
    " -wpredp 2";
constexpr const char* kX264Today =
    " -coder 1 -flags +loop -cmp +chroma -partitions +parti8x8+parti4x4+partp8x8+partb8x8 -me_method hex -subq 7"
    " -me_range 16 -g 250 -keyint_min 25 -sc_threshold 40 -i_qfactor 0.71 -b_strategy 1 -qcomp 0.6 -qmin 10"
    " -qmax 51 -qdiff 4 -bf 3 -refs 3 -direct-pred:v spatial -trellis 1 -b-pyramid:v normal -mixed-refs:v 1"
    " -weightb:v 1 -8x8dct:v 1 -fast-pskip:v 1 -wpredp 2";
constexpr const char* kPalmLegacy =
    " -maxrate 550k -b 500k -qmin 3 -qmax 5 -bufsize 4096 -mbd 2 -flags +4mv -trellis -aic -cmp 2 -subcmp 2 -g 300";
constexpr const char* kPalmToday =
    " -maxrate 550k -b:v 500k -qmin 3 -qmax 5 -bufsize 4096 -mbd 2 -flags +mv4 -trellis 1 -flags +aic -cmp 2"
    " -subcmp 2 -g 300";

// The streams the old tool took by itself: the first picture that is no cover, the first sound.
constexpr const char* kFirstStreams = " -map 0:V:0? -map 0:a:0?";

std::string Legacy(const std::string& options, const std::string& output = "/o/out.mp4") {
  return R"("/usr/bin/ffmpeg" -v 1 -y -i "/i/in.avi")" + options + " " + QuoteArgument(output);
}

std::string Today(const std::string& options, const std::string& output = "/o/out.mp4") {
  return R"("/usr/bin/ffmpeg" -hide_banner -nostdin -loglevel info -y -i "/i/in.avi")" + options + " " +
         QuoteArgument(output);
}

struct Case {
  std::string legacy, today;
  std::string maps = kFirstStreams;  // what the translation adds before the output
};

TEST(DialectTranslation, OutputOptionsTakeTodaysSpelling) {
  const Case entries[] = {
      {" -vcodec mpeg4 -b 800K -bt 800K -s 640x360 -re", " -vcodec mpeg4 -b:v 800K -bt 800K -s 640x360"},
      {" -ss 5 -t 10 -vcodec libx264 -cqp 20 -r 25", " -ss 5 -t 10 -vcodec libx264 -qp 20 -r 25"},
      {" -qscale 5 -acodec aac -aq 100", " -q:v 5 -acodec aac -aq 100"},
      {" -deinterlace -vol 128 -copyts", " -vf yadif -af volume=0.5 -copyts"},
      {" -vol 384 -threads 2", " -af volume=1.5 -threads 2"},
      {" -timestamp 12:34:56 -metadata title=\"a b\"",
       " -metadata creation_time=2026-11-21T12:34:56 -metadata \"title=a b\""},
      {" -strict inofficial", " -strict unofficial"},
      {" -vn -acodec vorbis -ab 128K", " -vn -acodec vorbis -strict:a experimental -ab 128K", " -map 0:a:0?"},
      {" -strict experimental -strict -1", " -strict experimental -strict -1"},
      {" -vcodec libx264" + std::string(kX264Legacy), " -vcodec libx264" + std::string(kX264Today)},
      {" -flags2 +bpyramid-fastpskip+local_header", " -flags2 +local_header -b-pyramid:v normal -fast-pskip:v 0"},
      {" -directpred 3 -flags2 +chunks", " -direct-pred:v auto -flags2 +chunks"},
      {" -vcodec libxvid" + std::string(kPalmLegacy), " -vcodec libxvid" + std::string(kPalmToday)},
      // Maps given in the command win.
      {" -map 0.1:0.0 -map 1.0 -map 0.x2:0.0", " -map 0:1 -map 1:0 -map 0:2", ""},
      {" -scodec ass -slang eng -sbsf mov2textsub", " -scodec ass -metadata:s:s language=eng -bsf:s mov2textsub",
       std::string(kFirstStreams) + " -map 0:s:0?"},
      // Unknown, malformed or cut-short pieces pass through.
      {" -vol loud -flags +loop -map 0:1 -newer x -vol", " -vol loud -flags +loop -map 0:1 -newer x -vol", ""},
  };
  for (const Case& e : entries) {
    EXPECT_EQ(TranslateToToday(Legacy(e.legacy), kContext), Today(e.today + e.maps)) << e.legacy;
  }
}

// One chain in the pixels each filter was worked out in: the old tool kept the last
// "-vf" and ran it on the picture deinterlaced and scaled to "-s".
TEST(DialectTranslation, OneVideoChainOnTheScaledPicture) {
  const std::string kPalette = "split[frames][stats];[stats]palettegen[palette];[frames][palette]paletteuse";
  const std::string kRotate = "rotate=90*PI/180:ow=rotw(90*PI/180):oh=roth(90*PI/180)";
  const Case entries[] = {
      // A letterbox is in target pixels, after the scaling.
      {" -s 720x304 -vf pad=720:540:0:118:0x000000 -aspect 1.3333 -re",
       " -vf scale=720:304,pad=720:540:0:118:0x000000 -aspect 1.3333"},
      {" -s 320x240 -vf crop=0:30:320:180 -r 25", " -vf scale=320:240,crop=320:180:0:30 -r 25"},
      // An explicit crop is in source pixels, before it.
      {" -vf crop=8:4:624:472 -s 320x240", " -vf crop=624:472:8:4,scale=320:240"},
      {" -vf crop=2:3:100:50 -vf pad=640:500:0:10:0x000000 -s 720x304 -vf pad=720:540:0:118:0x000000 -deinterlace",
       " -vf yadif,scale=720:304,pad=720:540:0:118:0x000000"},
      {" -s 320x240 -vf crop=0:30:320:180 -vf rotate=90 -threads 2", " -vf scale=320:240," + kRotate + " -threads 2"},
      {" -s 320x240 -deinterlace", " -vf yadif,scale=320:240"},
      {" -s 320x240 -vf crop=w=10:h=10,rotate=PI/6", " -vf scale=320:240,crop=w=10:h=10,rotate=PI/6"},
      {" -s 320x240 -r 25 -pix_fmt rgb24 -f avi", " -s 320x240 -r 25 -pix_fmt rgb24 -f avi"},
      // A GIF gets a palette of its own, made from the final picture.
      {" -s 320x240 -vf pad=320:320:0:40:0x000000 -re -an -pix_fmt rgb24 -loop_output 0 -f gif",
       " -vf scale=320:240,pad=320:320:0:40:0x000000," + kPalette + " -an -loop 0 -f gif", " -map 0:V:0?"},
      {" -re -an -pix_fmt rgb24 -loop_output 0 -f gif", " -an -vf " + kPalette + " -loop 0 -f gif", " -map 0:V:0?"},
  };
  for (const Case& e : entries) {
    EXPECT_EQ(TranslateToToday(Legacy(e.legacy), kContext), Today(e.today + e.maps)) << e.legacy;
  }
}

// A command that names no codec gets the one its format promises, in place of what
// today's muxer would choose, and only the streams the old tool took.
TEST(DialectTranslation, PromisedCodecsAndTheOldStreams) {
  struct FormatCase {
    std::string format;
    Case lines;
  };
  const FormatCase entries[] = {
      {"mp4", {" -qscale 5 -re -ab 128K -f mp4", " -q:v 5 -ab 128K -f mp4 -vcodec mpeg4 -acodec aac"}},
      {"mov", {" -vcodec libx264 -crf 22 -f mov", " -vcodec libx264 -crf 22 -f mov -acodec aac"}},
      // The quality takes the spelling the composition gives an x264 target.
      {"mkv", {" -qscale 22 -acodec ac3 -f matroska", " -crf 22 -acodec ac3 -f matroska -vcodec libx264"}},
      {"mp3", {" -vn -ab 192K -f mp3", " -vn -ab 192K -f mp3 -acodec libmp3lame", " -map 0:a:0?"}},
      {"mp4", {" -c copy -f mp4", " -c copy -f mp4"}},
      {"pal-dvd", {" -target pal-dvd", " -target pal-dvd"}},
      {"mp4", {" -an -sn -f mp4 -pass 1", " -an -sn -f mp4 -pass 1 -vcodec mpeg4", " -map 0:V:0?"}},
      {"mkv",
       {" -vcodec libx264 -acodec aac -scodec ass -f matroska", " -vcodec libx264 -acodec aac -scodec ass -f matroska",
        std::string(kFirstStreams) + " -map 0:s:0?"}},
      {"mp4", {" -map 0.0:0.0 -map 0.2:0.1 -f mp4", " -map 0:0 -map 0:2 -f mp4 -vcodec mpeg4 -acodec aac", ""}},
      // A still picture may be a sound file's cover: FFmpeg prefers a real picture.
      {"png", {" -s 320x240 -an -vframes 1", " -s 320x240 -an -vframes 1 -vcodec png", ""}},
  };
  for (const FormatCase& e : entries) {
    const TranslationContext context{kContext.today, e.format};
    EXPECT_EQ(TranslateToToday(Legacy(e.lines.legacy), context), Today(e.lines.today + e.lines.maps))
        << e.format << ":" << e.lines.legacy;
  }
}

TEST(DialectTranslation, WholeLines) {
  const std::string kDisc = R"("/d/mencoder" -dvd-device d:/ dvd://1 -really-quiet -oac copy -ovc copy -o -|)";
  const std::pair<std::string, std::string> entries[] = {
      // Before the input "-re" still means reading at the native rate.
      {R"("ff" -re -i "a.avi" -re "b.mp4")", R"("ff" -re -i "a.avi" -map 0:V:0? -map 0:a:0? "b.mp4")"},
      // MEncoder keeps its own syntax.
      {kDisc + R"("/d/ff" -v 1 -y -i - -qscale 4 "o.mpg")",
       kDisc + R"("/d/ff" -hide_banner -nostdin -loglevel info -y -i "-" -q:v 4 -map 0:V:0? -map 0:a:0? "o.mpg")"},
      // The shell's own line is not ours to rewrite.
      {"ffmpeg -v 1 -i a.avi -qscale 4 b.mp4 | tee log", "ffmpeg -v 1 -i a.avi -qscale 4 b.mp4 | tee log"},
      {"", ""},
      // Each extra-stream marker after the output maps one stream more of its kind.
      {R"("ff" -i "a.mkv" -vcodec mpeg4 -acodec aac "b.mkv" -newaudio -acodec aac -newaudio -acodec aac)",
       R"("ff" -i "a.mkv" -vcodec mpeg4 -acodec aac -map 0:V:0? -map 0:a:0? -map 0:a:1? -map 0:a:2? "b.mkv")"},
      {R"("ff" -i "a.mkv" -vf crop=0:2:8:8 -an "b.mkv" -newvideo -vf crop=0:2:8:8 -newsubtitle -scodec ass)",
       R"("ff" -i "a.mkv" -vf crop=8:8:0:2 -an -map 0:V:0? -map 0:V:1? -map 0:s:0? "b.mkv")"},
      // A filter graph, its further inputs and its labels pass whole.
      {R"("ff" -v 1 -y -i "a.avi" -loop 1 -t 2 -i "p.png" -filter_complex "[0:v]transpose=clock[v0];)"
       R"([v0][1:v]overlay=x=5:y=6[v1];[0:a]amix=inputs=1:weights=0.50 0.50[a2]" -map [v1] -map [a2] -r 25 "b.mp4")",
       R"("ff" -hide_banner -nostdin -loglevel info -y -i "a.avi" -loop 1 -t 2 -i "p.png" -filter_complex )"
       R"("[0:v]transpose=clock[v0];[v0][1:v]overlay=x=5:y=6[v1];[0:a]amix=inputs=1:weights=0.50 0.50[a2]" )"
       R"(-map [v1] -map [a2] -r 25 "b.mp4")"},
      {R"("ff" -i "a.mkv" -i "x.mp3" -ss 0 -t 5 -map 0:0 -map 1:0 -acodec aac "b.mkv" -newaudio -acodec aac)",
       R"("ff" -i "a.mkv" -i "x.mp3" -ss 0 -t 5 -map 0:0 -map 1:0 -acodec aac "b.mkv")"},
  };
  for (const auto& [legacy, today] : entries) EXPECT_EQ(TranslateToToday(legacy, kContext), today) << legacy;
  // Without the day the time stamp cannot be dated; today's FFmpeg still takes it, with a warning.
  EXPECT_EQ(TranslateToToday(Legacy(" -timestamp 12:34:56"), {}),
            Today(" -timestamp 12:34:56" + std::string(kFirstStreams)));
}

TEST(DialectTranslation, HostilePathsComeBackIntact) {
  const std::string hostile[] = {
      "/tmp/with blank.avi", "quote\"inside.mkv",   "$(touch x).mp4", "-re", "-deinterlace", "-vol",
      "/媒体/中文 名称.mp4", "C:\\dir\\trailing\\", "a\\\\\"b",       "",    "tab\there",
  };
  for (const std::string& path : hostile) {
    const std::string line = "\"/opt/my tools/ffmpeg\" -v 1 -y -i " + QuoteArgument(path) +
                             " -metadata comment=\"x y\" -metadata title=a\\\"b -deinterlace -vf crop=0:1:2:3 " +
                             QuoteArgument(path) + " -newaudio -acodec aac";
    const Args expected{"/opt/my tools/ffmpeg",
                        "-hide_banner",
                        "-nostdin",
                        "-loglevel",
                        "info",
                        "-y",
                        "-i",
                        path,
                        "-metadata",
                        "comment=x y",
                        "-metadata",
                        "title=a\"b",
                        "-vf",
                        "yadif,crop=2:3:0:1",
                        "-map",
                        "0:V:0?",
                        "-map",
                        "0:a:0?",
                        "-map",
                        "0:a:1?",
                        path};
    EXPECT_EQ(SplitCommandLine(TranslateToToday(line, kContext)), expected) << line;
  }
}

// The old lines that today's FFmpeg refuses must run once translated, and the
// extra-stream maps must keep every audio stream.
TEST(DialectTranslation, TodaysFFmpegRunsTheTranslation) {
  if (FindOnPath("ffmpeg").empty() || FindOnPath("ffprobe").empty()) GTEST_SKIP() << "ffmpeg is not installed";
  test::TempDir dir;
  const std::string clip = dir / "clip.mkv";
  test::MakeClip(clip, 1, "176x144");
  const std::string twoAudio = dir / "two audio.mkv";
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-y", "-i", clip, "-i", clip, "-map", "0:v", "-map",
                       "0:a", "-map", "1:a", "-c", "copy", twoAudio})
                .exitCode,
            0);

  struct Entry {
    std::string input, options, output;
    std::string audioStreams;  // as ffprobe lists them
  };
  const Entry entries[] = {
      {clip, " -vcodec libx264 -b 300K -bt 300K -re -acodec aac -ab 96K" + std::string(kX264Legacy) + " -f matroska",
       dir / "x264 $(x).mkv", "aac\n"},
      {clip,
       " -vcodec libxvid -r 29.97 -s 428x320 -aspect 4:3 -acodec aac -ar 44100 -ab 80k -ac 2" +
           std::string(kPalmLegacy),
       dir / "palm.mp4", "aac\n"},
      {twoAudio, " -vcodec mpeg4 -qscale 5 -deinterlace -vf crop=0:8:176:128 -acodec aac -vol 128 -f matroska",
       dir / "-newaudio.mkv", "aac\naac\n"},
  };
  for (const Entry& e : entries) {
    std::string legacy = "\"" + test::ToolPath("ffmpeg") + "\" -v 1 -y -i " + QuoteArgument(e.input) + e.options + " " +
                         QuoteArgument(e.output);
    if (e.input == twoAudio) legacy += " -newaudio -acodec aac -vol 128";
    const LaunchPlan plan = PlanLaunch(TranslateToToday(legacy, kContext));
    ASSERT_EQ(plan.stages.size(), 1u);
    const test::RunResult run = test::Run(plan.stages[0]);
    EXPECT_EQ(run.exitCode, 0) << legacy << "\n" << run.output;
    EXPECT_TRUE(std::filesystem::exists(e.output)) << legacy;
    const test::RunResult probe = test::Run({test::ToolPath("ffprobe"), "-v", "error", "-select_streams", "a",
                                             "-show_entries", "stream=codec_name", "-of", "csv=p=0", e.output});
    EXPECT_EQ(probe.output, e.audioStreams) << legacy;
  }
}

}  // namespace
}  // namespace zel
