#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace zel::test
