#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel::test {
namespace {

class ZelCliConvert : public CliTest {
 protected:
  void SetUp() override {
    CliTest::SetUp();
    MakedPath(dir / "out");
  }
  // The value of a "name: value" line of the output.
  static std::string Field(const std::string& output, const std::string& name) {
    for (const std::string& line : ReadLines(output)) {
      if (StartsWith(line, name + ": ")) return line.substr(name.size() + 2);
    }
    return "<missing " + name + ">";
  }
  // Runs ffmpeg quietly over these arguments; the test stops if it fails.
  static void Ffmpeg(std::vector<std::string> args) {
    args.insert(args.begin(), {ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y"});
    const RunResult run = test::Run(args);
    ASSERT_EQ(run.exitCode, 0) << run.output;
  }
  // ffprobe's values of the streams' `entries`, one stream a line.
  static std::string Streams(const std::string& path, const std::string& entries) {
    const RunResult run =
        test::Run({ToolPath("ffprobe"), "-v", "error", "-show_entries", "stream=" + entries, "-of", "csv=p=0", path});
    std::string lines = run.output;
    while (EndsWith(lines, "\n")) lines.pop_back();
    return lines;
  }
  // The output path a successful conversion reports.
  std::string Convert(std::vector<std::string> args) {
    args.insert(args.begin(), {"convert", "--output", dir / "out"});
    return Field(Out(args), "output");
  }
};

TEST_F(ZelCliConvert, ProbeDescribesAFileAndRefusesAMissingOne) {
  MakeClip(dir / "clip.mp4", 2, "320x240");
  const RunResult probe = RunCli({"probe", dir / "clip.mp4"});
  ASSERT_EQ(probe.exitCode, 0) << probe.output;
  EXPECT_EQ(Field(probe.output, "VideoWidth") + "x" + Field(probe.output, "VideoHeight"), "320x240");
  EXPECT_EQ(Field(probe.output, "FrameRate"), "25");
  EXPECT_EQ(Field(probe.output, "SourceFormat"), "mp4");
  EXPECT_NEAR(Val(Field(probe.output, "Duration")), 2, 0.1);
  EXPECT_TRUE(StartsWith(Field(probe.output, "Stream"), "Stream#0:0")) << probe.output;
  EXPECT_TRUE(Contains(Field(probe.output, "FileInfo"), ", 320x240, 25fps, ")) << probe.output;

  const RunResult missing = RunCli({"probe", dir / "none.mp4"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_TRUE(Contains(missing.output, "none.mp4")) << missing.output;
}

TEST_F(ZelCliConvert, CommandShowsTheComposedAndTheTranslatedLine) {
  MakeClip(dir / "clip.mp4", 1);
  const RunResult run = RunCli({"command", "--format", "AVI", "--set", "VideoBitrate=500", "--set", "VideoFrame=",
                                "--set", "AudioVolume=50", "--output", dir / "out", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const std::string legacy = Field(run.output, "legacy"), today = Field(run.output, "run");
  EXPECT_TRUE(Contains(legacy, R"( -v 1 -y -i ")" + dir / "clip.mp4\" -b 500K -bt 500K -re ")) << legacy;
  EXPECT_TRUE(Contains(legacy, " -vol 128")) << legacy;
  EXPECT_TRUE(EndsWith(legacy, R"( -f avi ")" + dir / "out/clip.AVI\"")) << legacy;
  EXPECT_TRUE(Contains(today, " -hide_banner -nostdin -loglevel info ")) << today;
  EXPECT_TRUE(Contains(today, " -b:v 500K ") && Contains(today, "volume=0.5")) << today;
  EXPECT_FALSE(Contains(today, " -re ")) << today;
  EXPECT_FALSE(FileExists(dir / "out/clip.AVI"));  // nothing is run

  EXPECT_TRUE(Contains(Out({"command", "--format", "MP4", "--pass", "1", "--output", dir / "out", dir / "clip.mp4"}),
                       " -an -sn "));
  // MP4 promises MPEG-4 video, whose quality scale the format's "5vbr" is.
  const std::string mp4 = Field(Out({"command", "--format", "MP4", dir / "clip.mp4"}), "run");
  EXPECT_TRUE(Contains(mp4, " -q:v 5 ") && Contains(mp4, " -vcodec mpeg4 ")) << mp4;
  EXPECT_EQ(RunCli({"command", "--format", "MP4", "--set", "novalue", dir / "clip.mp4"}).exitCode, 2);
}

// Names that a shell would act on: each converts, and nothing runs in between.
TEST_F(ZelCliConvert, HostileNamesConvertWithoutAShell) {
  const std::string names[] = {"a b.mp4", "q\"uote.mp4", "$(touch pwned).mp4", "-lead.mp4", "中文 名称.mp4",
                               "semi;colon&amp.mp4"};
  MakeClip(dir / "source.mp4", 1);
  for (const std::string& name : names) {
    const std::string source = dir / name;
    ASSERT_EQ(test::Run({"/bin/cp", dir / "source.mp4", source}).exitCode, 0);
    const RunResult run = RunCli({"convert", "--format", "MP4", "--output", dir / "out", source});
    EXPECT_EQ(run.exitCode, 0) << name << "\n" << run.output;
    const std::string output = dir / ("out/" + GetFileString(name, ".", 0) + ".MP4");
    EXPECT_EQ(Field(run.output, "output"), output);
    EXPECT_EQ(ProbeCodec(output, "a"), "aac") << name;
  }
  EXPECT_FALSE(FileExists("pwned"));
  EXPECT_FALSE(FileExists(dir / "pwned"));
}

// The letterbox is worked out in the scaled picture's pixels, so the picture is
// scaled first: a pad that today's FFmpeg refused, and a crop that cut the unscaled picture.
TEST_F(ZelCliConvert, SizeAndLetterboxScaleTheWholePicture) {
  Ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=1280x720:duration=1", "-c:v", "mpeg4", dir / "wide.mp4"});
  // Red on the left half, blue on the right.
  Ffmpeg({"-f", "lavfi", "-i", "color=red:size=320x480:duration=1", "-f", "lavfi", "-i",
          "color=blue:size=320x480:duration=1", "-filter_complex", "hstack", "-c:v", "mpeg4", "-q:v", "2",
          dir / "halves.mp4"});
  const std::string wide = Convert({"--format", "MP4", "--set", "VideoSize=720x304", "--set", "VideoPadBorder=4:3",
                                    dir / "wide.mp4"});
  EXPECT_EQ(Streams(wide, "width,height"), "720,540");
  const std::string halves = Convert({"--format", "MP4", "--set", "VideoSize=320x240", "--set",
                                      "VideoPadBorder=16:9", dir / "halves.mp4"});
  EXPECT_EQ(Streams(halves, "width,height"), "320,180");
  // The right quarter of the output is blue only if the whole width was scaled into it.
  const RunResult pixel = test::Run({ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-i", halves, "-vf",
                               "format=rgb24,crop=1:1:280:90", "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
  ASSERT_EQ(pixel.output.size(), 3u) << pixel.output;
  EXPECT_LT(static_cast<unsigned char>(pixel.output[0]), 60);
  EXPECT_GT(static_cast<unsigned char>(pixel.output[2]), 200);
}

// A GIF gets a palette of its own: the fixed 8-bit palette today's FFmpeg falls back
// to for "-pix_fmt rgb24" bands a gradient to about 32 dB against the source.
TEST_F(ZelCliConvert, GifKeepsTheColoursOfItsPicture) {
  Ffmpeg({"-f", "lavfi", "-i", "gradients=size=320x240:duration=1:rate=10", "-c:v", "mpeg4", "-q:v", "1",
          dir / "gradient.mp4"});
  const std::string gif =
      Convert({"--format", "GIF", "--set", "VideoSize=160x120", "--set", "VideoFrame=", dir / "gradient.mp4"});
  EXPECT_EQ(Streams(gif, "codec_name,width,height"), "gif,160,120");
  const RunResult psnr = test::Run({ToolPath("ffmpeg"), "-nostdin", "-i", gif, "-i", dir / "gradient.mp4", "-lavfi",
                              "[1]scale=160:120[s];[0][s]psnr", "-f", "null", "-"});
  const size_t average = psnr.output.find("average:");
  ASSERT_NE(average, std::string::npos) << psnr.output;
  EXPECT_GT(Val(psnr.output.substr(average + 8)), 40) << psnr.output.substr(average);
}

// A sound file's cover is a picture stream today. A movie leaves it out (an MP4 with
// it was left empty), as does a sound format; a picture of the sound file is its cover.
TEST_F(ZelCliConvert, ACoverStaysOutUnlessAPictureIsAsked) {
  Ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x48", "-frames:v", "1", dir / "cover.png"});
  for (const std::string ext : {"mp3", "flac"}) {
    Ffmpeg({"-f", "lavfi", "-i", "sine=duration=2", dir / ("plain." + ext)});
    Ffmpeg({"-i", dir / ("plain." + ext), "-i", dir / "cover.png", "-map", "0", "-map", "1", "-c", "copy",
            "-disposition:v", "attached_pic", "-id3v2_version", "3", dir / ("song." + ext)});
    ASSERT_EQ(Streams(dir / ("song." + ext), "codec_type"), "audio\nvideo");
    const std::string movie = Convert({"--format", "MP4", "--set", "FileNameAddStringAfter=_" + ext,
                                       dir / ("song." + ext)});
    EXPECT_EQ(Streams(movie, "codec_name,codec_type"), "aac,audio") << ext;
  }
  EXPECT_EQ(Streams(Convert({"--format", "MP3", "--set", "FileNameAddStringAfter=_new", dir / "song.mp3"}),
                    "codec_name,codec_type"),
            "mp3,audio");
  EXPECT_EQ(Streams(Convert({"--format", "PNG", dir / "song.mp3"}), "codec_name,width,height"), "png,64,48");
}

// The first audio stream, as the old tool took it, unless the user chose another;
// today's FFmpeg would take the stereo one, marked as the default.
TEST_F(ZelCliConvert, TheChosenAudioStreamIsConverted) {
  Ffmpeg({"-f", "lavfi", "-i", "testsrc=size=160x120:duration=2", "-f", "lavfi", "-i", "sine=frequency=440:duration=2",
          "-f", "lavfi", "-i", "sine=frequency=880:duration=2", "-map", "0", "-map", "1", "-map", "2", "-ac:a:1", "2",
          "-disposition:a:0", "0", "-disposition:a:1", "default", "-c:v", "mpeg4", "-c:a", "aac", dir / "two.mkv"});
  EXPECT_EQ(Streams(Convert({"--format", "MP4", dir / "two.mkv"}), "codec_type,channels"), "video\naudio,1");

  const std::vector<std::string> choice{"--format", "MP4", "--set", "DefaultAudioStream=0:2", "--set",
                                        "FileNameAddStringAfter=_second", dir / "two.mkv"};
  std::vector<std::string> command{"command"};
  command.insert(command.end(), choice.begin(), choice.end());
  const std::string lines = Out(command);
  EXPECT_TRUE(Contains(Field(lines, "legacy"), " -map 0.0:0.0 -map 0.2:0.1 ")) << lines;
  EXPECT_TRUE(Contains(Field(lines, "run"), " -map 0:0 -map 0:2 ")) << lines;
  EXPECT_EQ(Streams(Convert(choice), "codec_type,channels"), "video\naudio,2");
}

}  // namespace
}  // namespace zel::test
