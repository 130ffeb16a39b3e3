#include "engine/DialectTranslation.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "engine/CommandLine.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using Args = std::vector<std::string>;

const TranslationContext kContext{"2026-11-21"};

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

std::string Legacy(const std::string& options, const std::string& output = "/o/out.mp4") {
  return R"("/usr/bin/ffmpeg" -v 1 -y -i "/i/in.avi")" + options + " " + QuoteArgument(output);
}

std::string Today(const std::string& options, const std::string& output = "/o/out.mp4") {
  return R"("/usr/bin/ffmpeg" -hide_banner -nostdin -loglevel info -y -i "/i/in.avi")" + options + " " +
         QuoteArgument(output);
}

TEST(DialectTranslation, OutputOptionsTakeTodaysSpelling) {
  const std::pair<std::string, std::string> entries[] = {
      {" -vcodec mpeg4 -b 800K -bt 800K -s 640x360 -re", " -vcodec mpeg4 -b:v 800K -bt 800K -s 640x360"},
      {" -ss 5 -t 10 -vcodec libx264 -cqp 20 -r 25", " -ss 5 -t 10 -vcodec libx264 -qp 20 -r 25"},
      {" -qscale 5 -acodec aac -aq 100", " -q:v 5 -acodec aac -aq 100"},
      {" -vf crop=0:60:640:360 -aspect 1.7778", " -vf crop=640:360:0:60 -aspect 1.7778"},
      // Every "-vf" joins one chain where the first stood; the deinterlacer sees the decoded picture.
      {" -vf crop=2:3:100:50 -vf pad=720:540:0:118:0x000000 -s 320x240 -threads 2 -deinterlace -vol 256",
       " -vf yadif,crop=100:50:2:3,pad=720:540:0:118:0x000000 -s 320x240 -threads 2 -af volume=1"},
      {" -deinterlace -vol 128 -copyts", " -vf yadif -af volume=0.5 -copyts"},
      {" -vol 384 -vf crop=w=10:h=10", " -af volume=1.5 -vf crop=w=10:h=10"},
      {" -timestamp 12:34:56 -metadata title=\"a b\"",
       " -metadata creation_time=2026-11-21T12:34:56 -metadata \"title=a b\""},
      {" -strict inofficial", " -strict unofficial"},
      {" -vn -acodec vorbis -ab 128K", " -vn -acodec vorbis -strict:a experimental -ab 128K"},
      {" -strict experimental -strict -1", " -strict experimental -strict -1"},
      {" -vcodec gif -an -pix_fmt rgb24 -loop_output 0 -f gif", " -vcodec gif -an -pix_fmt rgb24 -loop 0 -f gif"},
      {" -vcodec libx264" + std::string(kX264Legacy), " -vcodec libx264" + std::string(kX264Today)},
      {" -flags2 +bpyramid-fastpskip+local_header", " -flags2 +local_header -b-pyramid:v normal -fast-pskip:v 0"},
      {" -directpred 3 -flags2 +chunks", " -direct-pred:v auto -flags2 +chunks"},
      {" -vcodec libxvid" + std::string(kPalmLegacy), " -vcodec libxvid" + std::string(kPalmToday)},
      {" -map 0.1:0.0 -map 1.0 -map 0.x2:0.0", " -map 0:1 -map 1:0 -map 0:2"},
      {" -scodec ass -slang eng -sbsf mov2textsub", " -scodec ass -metadata:s:s language=eng -bsf:s mov2textsub"},
      // Unknown, malformed or cut-short pieces pass through.
      {" -vol loud -flags +loop -map 0:1 -newer x -vol", " -vol loud -flags +loop -map 0:1 -newer x -vol"},
  };
  for (const auto& [legacy, today] : entries) {
    EXPECT_EQ(TranslateToToday(Legacy(legacy), kContext), Today(today)) << legacy;
  }
}

TEST(DialectTranslation, WholeLines) {
  const std::string kDisc = R"("/d/mencoder" -dvd-device d:/ dvd://1 -really-quiet -oac copy -ovc copy -o -|)";
  const std::pair<std::string, std::string> entries[] = {
      // Before the input "-re" still means reading at the native rate.
      {R"("ff" -re -i "a.avi" -re "b.mp4")", R"("ff" -re -i "a.avi" "b.mp4")"},
      // MEncoder keeps its own syntax.
      {kDisc + R"("/d/ff" -v 1 -y -i - -qscale 4 "o.mpg")",
       kDisc + R"("/d/ff" -hide_banner -nostdin -loglevel info -y -i "-" -q:v 4 "o.mpg")"},
      // The shell's own line is not ours to rewrite.
      {"ffmpeg -v 1 -i a.avi -qscale 4 b.mp4 | tee log", "ffmpeg -v 1 -i a.avi -qscale 4 b.mp4 | tee log"},
      {"", ""},
      // Extra streams become maps before the output; the first of each kind the old tool took by itself.
      {R"("ff" -i "a.mkv" -vcodec mpeg4 -b 800K -acodec aac "b.mkv" -newaudio -acodec aac -newaudio -acodec aac)",
       R"("ff" -i "a.mkv" -vcodec mpeg4 -b:v 800K -acodec aac -map 0:v:0? -map 0:a:0 -map 0:a:1 -map 0:a:2 "b.mkv")"},
      {R"("ff" -i "a.mkv" -vf crop=0:2:8:8 -an "b.mkv" -newvideo -vf crop=0:2:8:8 -newsubtitle -scodec ass)",
       R"("ff" -i "a.mkv" -vf crop=8:8:0:2 -an -map 0:v:0 -map 0:v:1 -map 0:s:0 -map 0:s:1 "b.mkv")"},
      {R"("ff" -i "a.mkv" -i "x.mp3" -ss 0 -t 5 -map 0:0 -map 1:0 -acodec aac "b.mkv" -newaudio -acodec aac)",
       R"("ff" -i "a.mkv" -i "x.mp3" -ss 0 -t 5 -map 0:0 -map 1:0 -acodec aac "b.mkv")"},
  };
  for (const auto& [legacy, today] : entries) EXPECT_EQ(TranslateToToday(legacy, kContext), today) << legacy;
  // Without the day the time stamp cannot be dated; today's FFmpeg still takes it, with a warning.
  EXPECT_EQ(TranslateToToday(Legacy(" -timestamp 12:34:56"), {}), Today(" -timestamp 12:34:56"));
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
                        "0:v:0?",
                        "-map",
                        "0:a:0",
                        "-map",
                        "0:a:1",
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
