// zel-cli subtitle, and subtitles in task lists: every type into every other, the
// options, a subtitle task, and the subtitle track that follows a conversion.
#include <gtest/gtest.h>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/TextEncoding.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::ReadLines;
using test::RunCli;

class ZelCliSubtitle : public test::CliTest {
 protected:
  std::string Source() {
    const std::string path = dir / "source.srt";
    EXPECT_TRUE(WriteFileAtomic(path,
                                "1\r\n00:00:01,000 --> 00:00:02,500\r\n第一行 first\r\n\r\n"
                                "2\r\n00:00:04,000 --> 00:00:06,000\r\n第二行 second\r\n\r\n"));
    return path;
  }
  test::TempDir dir;
};

// The text with each CRLF replaced by the next of `ends`, in turn.
std::string WithLineEnds(std::string_view text, const std::vector<std::string_view>& ends) {
  const std::vector<std::string> lines = Split(text, "\r\n");
  std::string result;
  for (size_t i = 0; i < lines.size(); ++i) {
    result += lines[i];
    if (i + 1 < lines.size()) result += ends[i % ends.size()];
  }
  return result;
}

TEST_F(ZelCliSubtitle, EveryTypeConvertsToEveryOther) {
  const std::string source = Source();
  MakedPath(dir / "first");
  MakedPath(dir / "second");
  // The inputs come with the line ends of every system in turn, and mixed.
  const std::vector<std::vector<std::string_view>> forms = {{"\r\n"}, {"\n"}, {"\r"}, {"\n", "\r\n", "\r"}};
  size_t form = 0;
  for (std::string_view from : kSubtitleExtensions) {
    const std::string input = dir / ("first/s." + std::string(from));
    const test::RunResult made = RunCli({"subtitle", source, "-o", input});
    ASSERT_EQ(made.exitCode, 0) << from << made.output;
    ASSERT_TRUE(WriteFileAtomic(input, WithLineEnds(ReadText(input), forms[form++ % forms.size()])));
    for (std::string_view to : kSubtitleExtensions) {
      const std::string output = dir / ("second/" + std::string(from) + "." + std::string(to));
      const test::RunResult run = RunCli({"subtitle", input, "-o", output});
      ASSERT_EQ(run.exitCode, 0) << from << " -> " << to << run.output;
      EXPECT_EQ(ReadLines(run.output).back(), "output: " + output);
      const std::string text = ReadText(output);
      EXPECT_NE(text.find("第二行"), std::string::npos) << from << " -> " << to;
      EXPECT_TRUE(StartsWith(text, "\xEF\xBB\xBF")) << from << " -> " << to;  // the store's UTF8
    }
  }
}

TEST_F(ZelCliSubtitle, OptionsReachTheConverter) {
  const std::string source = Source();
  ASSERT_EQ(RunCli({"subtitle", source, "-o", dir / "k.ass", "--karaoke", "2", "--speed", "1", "--font", "楷体",
                    "--size", "30", "--offset", "0", "--title", "Song\\nSinger", "--banner", "Hello",
                    "--encoding", "Unicode big endian"})
                .exitCode,
            0);
  const std::string raw = ReadText(dir / "k.ass");
  ASSERT_TRUE(StartsWith(raw, "\xFE\xFF"));
  int encoding = -1;
  const std::string ass = UEFLoadTextFile(dir / "k.ass", encoding);
  for (const char* piece : {"Style: Default0,Arial,30,", "{\\fn楷体}", "{\\ko", "Default3,,0000,0000,0000,,",
                            "Song\\N\\N{\\fs16}Singer", "Banner;30;0,{\\fad(5000,80)}{\\fn黑体}Hello",
                            "Dialogue: Marked=0,0:00:01.00,0:00:11.00,Default0,"}) {
    EXPECT_NE(ass.find(piece), std::string::npos) << piece;
  }
  ASSERT_EQ(RunCli({"subtitle", source, "-o", dir / "cut.stxt", "--cut", "3", "10", "--offset", "0"}).exitCode, 0);
  EXPECT_EQ(ReadText(dir / "cut.stxt"), "\xEF\xBB\xBF" "00:00:01,000->00:00:03,000|第二行 second\r\n");

  // No overwrite unless asked, so a second run gets the next free name.
  ASSERT_EQ(RunCli({"subtitle", source, "-o", dir / "cut.stxt"}).exitCode, 0);
  EXPECT_TRUE(FileExists(dir / "cut(1).stxt"));
  ASSERT_EQ(RunCli({"subtitle", source, "-o", dir / "cut.stxt", "--overwrite"}).exitCode, 0);
  EXPECT_FALSE(FileExists(dir / "cut(2).stxt"));

  // The ANSI code page is a setting: GBK files in, GBK bytes out.
  Out({"settings", "set", "AnsiCodePage", "GBK"});
  ASSERT_TRUE(WriteFileAtomic(dir / "gbk.txt", "\xD6\xD0\xCE\xC4\r\n"));
  ASSERT_EQ(RunCli({"subtitle", dir / "gbk.txt", "-o", dir / "gbk.stxt", "--encoding", "ANSI", "--offset", "0"})
                .exitCode,
            0);
  EXPECT_EQ(ReadText(dir / "gbk.stxt"), "00:00:00,000->00:00:05,000|\xD6\xD0\xCE\xC4\r\n");
}

TEST_F(ZelCliSubtitle, RefusalsExplainThemselves) {
  ASSERT_TRUE(WriteFileAtomic(dir / "one.stxt", "00:00:01,000->00:00:02,000|x"));
  test::RunResult run = RunCli({"subtitle", dir / "one.stxt", "-o", dir / "o.ass"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.output.find("no line end (one line or none), so nothing is read"), std::string::npos) << run.output;
  run = RunCli({"subtitle", dir / "missing.srt", "-o", dir / "o.ass"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.output.find("no such file"), std::string::npos);
  EXPECT_EQ(RunCli({"subtitle", dir / "one.stxt"}).exitCode, 2);
  EXPECT_EQ(RunCli({"subtitle", dir / "one.stxt", "-o", dir / "o.ass", "--encoding", "latin1"}).exitCode, 2);
  EXPECT_FALSE(FileExists(dir / "o.ass"));
}

TEST_F(ZelCliSubtitle, SubtitleTasksAndTheTrackAfterAConversion) {
  const std::string source = Source();
  const test::RunResult task = RunCli({"convert", "--format", "SSA", "--output", dir / "out", source});
  ASSERT_EQ(task.exitCode, 0) << task.output;
  EXPECT_EQ(ReadLines(task.output).back(), "output: " + dir / "out/source.ssa");
  const std::string ssa = ReadText(dir / "out/source.ssa");
  EXPECT_NE(ssa.find("0:00:00.00,0:00:10.00,Default0,,0000,0000,0000,,{\\fnVerdana}{\\an2}{\\k300}影音工坊制作"),
            std::string::npos)
      << ssa;

  ASSERT_TRUE(WriteFileAtomic(dir / "one.srt", "00:00:01,000 --> 00:00:02,000"));
  const test::RunResult unread = RunCli({"convert", "--format", "SRT", "--output", dir / "out", dir / "one.srt"});
  EXPECT_EQ(unread.exitCode, 1);
  EXPECT_NE(unread.output.find("发生错误 | 没有提取到字幕内容"), std::string::npos) << unread.output;

  // A clip with a subtitle beside it: the ".srt" lands beside the output, and
  // MP4Box is asked to add it as a track.
  test::MakeClip(dir / "clip.mkv", 1);
  ASSERT_TRUE(WriteFileAtomic(dir / "clip.ass",
                              "[Events]\nFormat: Layer, Start, End, Text\n"
                              "Dialogue: 0,0:00:00.50,0:00:01.00,{\\i1}字幕\n"));
  MakedPath(dir / "tools");
  test::WriteScript(dir / "tools/mp4box",
                    "echo 'MP4Box - GPAC version 2.2.1'\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done > " +
                        dir / "mp4box.args");
  Out({"settings", "set", "ToolsFolder", dir / "tools"});
  const test::RunResult run = RunCli({"convert", "--format", "MP4", "--output", dir / "video", "--set",
                                      "AutoAddSubtitleTrack=生成文件和字幕流", dir / "clip.mkv"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_NE(ReadText(dir / "video/clip.srt").find("00:00:00,300 --> 00:00:00,800\r\n字幕"), std::string::npos);
  EXPECT_EQ(ReadLines(ReadText(dir / "mp4box.args")),
            (std::vector<std::string>{"-add", dir / "video/clip.srt:lang=Chinese:font=Arial:size=20",
                                      dir / "video/clip.MP4"}));
}

}  // namespace
}  // namespace zel
