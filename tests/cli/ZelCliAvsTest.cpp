#include <gtest/gtest.h>

#include <string>

#include "engine/EngineMessages.h"
#include "engine/FFmpegX.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel::test {
namespace {

class ZelCliAvs : public CliTest {};

TEST_F(ZelCliAvs, PrintsTheScriptWithTheMixedInMusic) {
  MakeClip(dir / "clip.mp4", 1);
  WriteFileAtomic(dir / "music.mp3", "");
  const RunResult run = RunCli({"avs", "--set", "AVSAudioReplace=是", "--set",
                                "AVSAudioReplaceFileName=" + (dir / "music.mp3"), "--output", dir.path(),
                                dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  // The store's frame rate (23) and the source's size stand in the body.
  EXPECT_TRUE(Contains(run.output, "SetMemoryMax(256)\r\nDirectshowSource(\"" + (dir / "clip.mp4") +
                                       "\", fps=23, convertfps=true)\r\nLanczos4Resize(160, 120)\r\n"
                                       "BackMusic()\r\nreturn last\r\n\r\n"))
      << run.output;
  EXPECT_TRUE(Contains(run.output, "b = DirectShowSource(\"" + (dir / "music.mp3") +
                                       "\").ResampleAudio(a.Audiorate).ConvertToChannel(a)\r\n"
                                       "MixAudio(a, b, 0.50, 0.50)\r\n}\r\n"))
      << run.output;

  EXPECT_EQ(RunCli({"avs", dir / "none.mp4"}).exitCode, 1);
  EXPECT_EQ(RunCli({"avs", "--set", "novalue", dir / "clip.mp4"}).exitCode, 2);
  EXPECT_EQ(RunCli({"avs"}).exitCode, 2);
}

// Without AviSynth the effects are drawn all the same, and the user's own script
// lines are reported as left out.
TEST_F(ZelCliAvs, ConvertsWithTheEffectsWithoutAviSynth) {
  if (FFmpegX::AviSynthInstalled()) GTEST_SKIP() << "AviSynth reads the script here";
  MakeClip(dir / "clip.mp4", 1);
  const RunResult run =
      RunCli({"convert", "--format", "MP4", "--set", "AVSEnable=是", "--set", "AVSLayOver=是", "--set",
              "AVSLayOverValue=10,10,20,20", "--set", "AVSLayOverColor=FF", "--set", "AVSUserScript=Blur(1.0)",
              "--output", dir / "out", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_TRUE(Contains(run.output, "注意 | " + std::string(MsgUserScriptLeftOut))) << run.output;
  // The pixel at (20,20), red in the system's byte order "FF".
  const RunResult pixel = test::Run({ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-ss", "0.5", "-i",
                                     dir / "out/clip.MP4", "-frames:v", "1", "-vf", "format=rgb24,crop=1:1:20:20",
                                     "-f", "rawvideo", "-"});
  ASSERT_EQ(pixel.output.size(), 3u) << pixel.output;
  EXPECT_GT(static_cast<unsigned char>(pixel.output[0]), 200);
  EXPECT_LT(static_cast<unsigned char>(pixel.output[1]), 50);
  EXPECT_LT(static_cast<unsigned char>(pixel.output[2]), 50);
}

}  // namespace
}  // namespace zel::test
