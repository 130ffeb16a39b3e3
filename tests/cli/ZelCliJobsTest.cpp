#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel::test {
namespace {

using ZelCliJobs = CliTest;

TEST_F(ZelCliJobs, SettingsAreReadWrittenListedAndReset) {
  EXPECT_EQ(Out({"settings", "get", "OutputMode"}), "MP4\n");
  EXPECT_EQ(Out({"settings", "set", "OutputMode", "MKV"}), "");
  EXPECT_EQ(Out({"settings", "get", "outputmode"}), "MKV\n");
  EXPECT_TRUE(FileExists(dir / "config/Calder/registry.reg"));

  const std::vector<std::string> list = ReadLines(Out({"settings", "list"}));
  EXPECT_GE(list.size(), 160u);
  EXPECT_EQ(list.front(), "OutputMode=MKV");

  // Without --yes and without a terminal the question's default, No, stands.
  Out({"settings", "delete"});
  EXPECT_EQ(Out({"settings", "get", "OutputMode"}), "MKV\n");
  EXPECT_TRUE(Contains(Out({"settings", "delete", "--yes"}), "请立即重新启动程序以应用新的程序设置。"));
  EXPECT_EQ(Out({"settings", "get", "OutputMode"}), "MP4\n");
  EXPECT_EQ(RunCli({"settings", "get"}).exitCode, 2);
}

TEST_F(ZelCliJobs, FormatsComeFromTheToolOnThisMachine) {
  const std::string main = Out({"formats"});
  EXPECT_TRUE(Contains(main, "直接剪切\n直接合并\n-\nMP4\nH264\nMKV\nDIVX\nXVID\nWMV\nASF\nWEBM\n"));
  EXPECT_TRUE(EndsWith(main, "-\n更多格式\n"));
  EXPECT_TRUE(Contains(Out({"formats", "--more"}), "\nCopyTo\nMoveTo\n"));
  EXPECT_EQ(Out({"formats", "--describe", "webm"}), "WebM 格式使用 VPX 视频编码标准，VORBIS 音频编码标准。\n");

  const std::string defaults = Out({"formats", "--defaults", "WEBM"});
  EXPECT_TRUE(Contains(defaults, "VideoCodec=LIBVPX\n"));
  EXPECT_TRUE(Contains(defaults, "AudioCodec=LIBVORBIS\n"));
  EXPECT_TRUE(Contains(defaults, "AdditionalPass1Scripts=-g 120 -qmax 51\n"));
}

TEST_F(ZelCliJobs, ProfilesAreListedShownAppliedSavedAndLoaded) {
  const std::vector<std::string> list = ReadLines(Out({"profiles", "list"}));
  ASSERT_GE(list.size(), 48u);
  const std::vector<std::string> fields = Split(list.front(), "\t");
  ASSERT_EQ(fields.size(), 3u);
  EXPECT_EQ(fields[0] + "\t" + fields[1], "0\t通用视频方案");

  const std::string title = fields[2];
  const std::string shown = Out({"profiles", "show", title});
  EXPECT_TRUE(StartsWith(shown, "Category=0\nTitle=" + title + "\nOutputMode="));
  const std::string mode = GetString(shown, "OutputMode=", "\n");

  EXPECT_EQ(Out({"settings", "set", "OutputMode", "WAV"}), "");
  EXPECT_EQ(RunCli({"profiles", "apply", title}).exitCode, 1);  // no --yes: declined
  EXPECT_EQ(Out({"settings", "get", "OutputMode"}), "WAV\n");
  Out({"profiles", "apply", title, "--yes"});
  EXPECT_EQ(Out({"settings", "get", "OutputMode"}), mode + "\n");
  EXPECT_EQ(Out({"settings", "get", "Profile"}), title + "\n");
  EXPECT_EQ(RunCli({"profiles", "show", "no such profile"}).exitCode, 1);

  EXPECT_TRUE(Contains(Out({"profiles", "save"}), "用户设置已保存。"));
  const std::vector<std::string> user = ReadLines(Out({"profiles", "user"}));
  ASSERT_EQ(user.size(), 1u);
  EXPECT_TRUE(StartsWith(user[0], "UserProfile, "));

  EXPECT_EQ(Out({"settings", "set", "OutputMode", "WAV"}), "");
  Out({"profiles", "load", dir / "data/ZEL/Profiles" + "/" + user[0] + ".xml", "--yes"});
  EXPECT_EQ(Out({"settings", "get", "OutputMode"}), mode + "\n");
}


// The karaoke video with a background video in place of pictures: the video
// repeats to the music's length in whole frames at 29.97, at the stored size.
TEST_F(ZelCliJobs, KaraokeMakesTheVideoIntoTheOutputFolder) {
  MakeClip(dir / "bg.mp4", 1);
  ASSERT_EQ(test::Run({ToolPath("ffmpeg"), "-v", "error", "-y", "-f", "lavfi", "-i", "sine=duration=3", dir / "song.mp3"})
                .exitCode,
            0);
  MakedPath(dir / "out");
  const RunResult run = RunCli({"karaoke", "--music", dir / "song.mp3", "--video", dir / "bg.mp4", "--output",
                                dir / "out", "--format", "mkv"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const std::string video = dir / "out/MV_song.MKV";
  const RunResult probe = test::Run({ToolPath("ffprobe"), "-v", "error", "-show_entries",
                               "format=duration:stream=width,height,r_frame_rate", "-of", "csv=p=0", video});
  const std::vector<std::string> lines = ReadLines(probe.output);
  ASSERT_GE(lines.size(), 2u) << probe.output;
  EXPECT_EQ(lines[0], "320,240,2997/100");
  EXPECT_NEAR(Val(lines.back()), 3, 0.1);
  EXPECT_EQ(RunCli({"karaoke", "--music", dir / "song.mp3", "--output", dir / "none", dir / "a.png"}).exitCode, 1);
}

}  // namespace
}  // namespace zel::test
