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

}  // namespace
}  // namespace zel::test
