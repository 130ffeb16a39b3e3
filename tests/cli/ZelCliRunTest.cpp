// Whole task lists through zel-cli convert: parts, MEncoder, the direct cut and
// join with the real and the fake stream tools, the join of a run's outputs,
// and damaged input.
#include "jobs/ListboxModel.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel::test {
namespace {

class ZelCliRun : public CliTest {
 protected:
  static std::vector<std::string> Outputs(const std::string& text) {
    std::vector<std::string> outputs;
    for (const std::string& line : ReadLines(text)) {
      if (StartsWith(line, "output: ")) outputs.push_back(line.substr(8));
    }
    return outputs;
  }
  static double Duration(const std::string& path) {
    return Val(test::Run({ToolPath("ffprobe"), "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0",
                          path})
                   .output);
  }
  // A copy of a clip in another container, streams as they are.
  void Remux(const std::string& from, const std::string& to, const std::vector<std::string>& codecs = {"-c", "copy"}) {
    std::vector<std::string> argv{ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-i", from};
    argv.insert(argv.end(), codecs.begin(), codecs.end());
    argv.push_back(to);
    ASSERT_EQ(test::Run(argv).exitCode, 0);
  }
};

TEST_F(ZelCliRun, TasksWithTheirOwnPointsAreCutIntoParts) {
  for (const char* name : {"a.mp4", "b.mp4", "c.mp4"}) MakeClip(dir / name, 30);
  const RunResult run = RunCli({"convert", "--format", "MKV", "--output", dir / "out", dir / "a.mp4", "--cut",
                                "00:00:10,000", "00:00:20,000", "2", dir / "b.mp4", "--cut", "0", "0", "0",
                                dir / "c.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const std::vector<std::string> outputs = Outputs(run.output);
  ASSERT_EQ(outputs, (std::vector<std::string>{dir / "out/a.MKV", dir / "out/b_1.MKV", dir / "out/b_2.MKV",
                                               dir / "out/c.MKV"}));
  const double expected[] = {30, 5, 5, 30};
  for (size_t i = 0; i < outputs.size(); ++i) EXPECT_NEAR(Duration(outputs[i]), expected[i], 0.3) << outputs[i];
}

TEST_F(ZelCliRun, MEncoderFormsRunMEncoder) {
  MakeClip(dir / "clip.mp4", 2);
  const RunResult run = RunCli({"convert", "--format", "DIVX/ME", "--output", dir / "out", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(Outputs(run.output), std::vector<std::string>{dir / "out/clip.AVI"});
  EXPECT_EQ(ProbeCodec(dir / "out/clip.AVI", "v"), "mpeg4");
  EXPECT_EQ(ProbeCodec(dir / "out/clip.AVI", "a"), "mp3");
}

TEST_F(ZelCliRun, DirectCutAndJoinOfMatroskaAndMpeg) {
  MakeClip(dir / "clip.mp4", 20);
  Remux(dir / "clip.mp4", dir / "a.mkv");
  Remux(dir / "clip.mp4", dir / "b.mkv");
  const RunResult cut = RunCli({"convert", "--format", "直接剪切", "--output", dir / "cut", "--cut", "00:00:05,000",
                                "00:00:15,000", "1", dir / "a.mkv"});
  ASSERT_EQ(cut.exitCode, 0) << cut.output;
  EXPECT_EQ(Outputs(cut.output), std::vector<std::string>{dir / "cut/a.MKV"});
  EXPECT_NEAR(Duration(dir / "cut/a.MKV"), 10, 0.6);
  EXPECT_FALSE(FileExists(dir / "cut/a-001.MKV"));

  const RunResult join = RunCli({"convert", "--format", "直接合并", "--output", dir / "join", dir / "a.mkv",
                                 dir / "b.mkv"});
  ASSERT_EQ(join.exitCode, 0) << join.output;
  ASSERT_EQ(Outputs(join.output).size(), 1u);
  EXPECT_NEAR(Duration(Outputs(join.output)[0]), 40, 0.6);
  // A picture first is passed over, and the join still takes the videos after it.
  WriteText("not read", dir / "cover.png", false);
  const RunResult pictureFirst = RunCli({"convert", "--format", "直接合并", "--output", dir / "join2",
                                         dir / "cover.png", dir / "a.mkv", dir / "b.mkv"});
  EXPECT_EQ(pictureFirst.exitCode, 1) << pictureFirst.output;
  ASSERT_EQ(Outputs(pictureFirst.output).size(), 1u) << pictureFirst.output;
  EXPECT_NEAR(Duration(Outputs(pictureFirst.output)[0]), 40, 0.6);

  // Program streams join as bytes, without a tool and without a shell.
  Remux(dir / "clip.mp4", dir / "x$(touch pwned).mpg", {"-c:v", "mpeg1video", "-c:a", "mp2", "-f", "mpeg"});
  Remux(dir / "clip.mp4", dir / "y.mpg", {"-c:v", "mpeg2video", "-c:a", "mp2", "-f", "mpeg"});
  const RunResult bytes = RunCli({"convert", "--format", "直接合并", "--output", dir / "bytes",
                                  dir / "x$(touch pwned).mpg", dir / "y.mpg"});
  ASSERT_EQ(bytes.exitCode, 0) << bytes.output;
  ASSERT_EQ(Outputs(bytes.output).size(), 1u);
  EXPECT_EQ(ReadText(Outputs(bytes.output)[0]), ReadText(dir / "x$(touch pwned).mpg") + ReadText(dir / "y.mpg"));
  EXPECT_FALSE(FileExists(dir / "pwned"));
}

// MP4Box is not packaged: a stand-in records its arguments and writes its output.
TEST_F(ZelCliRun, Mp4CutAndJoinGoThroughMP4Box) {
  MakeClip(dir / "a b.mp4", 4);
  MakeClip(dir / "c.mp4", 2);
  MakedPath(dir / "tools");
  WriteScript(dir / "tools/mp4box", R"(echo "MP4Box - GPAC version 2.2.1"
case "$1" in -splitx|-cat)
  for a in "$@"; do printf '%s\n' "$a"; done >> ")" + dir / "mp4box.args" + R"("
  echo --- >> ")" + dir / "mp4box.args" + R"(" ;;
esac
while [ $# -gt 0 ]; do
  case "$1" in -splitx|-cat|-out|-new) op=$1; shift; v=$1 ;; *) v=$1 ;; esac
  case "$op" in -out|-new) cat "$src" > "$v" ;; *) [ -z "$src" ] && [ -f "$v" ] && src=$v ;; esac
  shift; op=
done
)");
  // A MEncoder stand-in makes the outputs of a "/ME" format.
  WriteScript(dir / "tools/mencoder", R"(echo "MEncoder UNKNOWN-12 (C) 2000-2023 MPlayer Team"
while [ $# -gt 0 ]; do [ "$1" = -o ] && head -c 4096 /dev/zero > "$2"; shift; done
)");
  Out({"settings", "set", "ToolsFolder", dir / "tools"});
  ASSERT_EQ(RunCli({"convert", "--format", "直接剪切", "--output", dir / "out", "--cut", "00:00:01,000",
                    "00:00:03,000", "1", dir / "a b.mp4"})
                .exitCode,
            0);
  ASSERT_EQ(RunCli({"convert", "--format", "直接合并", "--output", dir / "out", dir / "a b.mp4", dir / "c.mp4"})
                .exitCode,
            0);
  // The join of a run's outputs is named with their extension, not the format's.
  const RunResult me = RunCli({"convert", "--format", "MP4/ME", "--set", "JoinAllTask=是", "--output", dir / "me",
                               dir / "a b.mp4", dir / "c.mp4"});
  ASSERT_EQ(me.exitCode, 0) << me.output;
  EXPECT_EQ(Outputs(me.output), std::vector<std::string>{dir / "me/a b_合并文件.MP4"});
  EXPECT_EQ(ReadLines(ReadText(dir / "mp4box.args")),
            (std::vector<std::string>{"-splitx", "1:3", dir / "a b.mp4", "-out", dir / "out/a b.MP4", "---", "-cat",
                                      dir / "a b.mp4", "-cat", dir / "c.mp4", "-new", dir / "out/a b(1).MP4", "---",
                                      "-cat", dir / "me/a b.MP4", "-cat", dir / "me/c.MP4", "-new",
                                      dir / "me/a b_合并文件.MP4", "---"}));
}

TEST_F(ZelCliRun, JoinOfTheRunsOutputsNeedsTwoOfThem) {
  MakeClip(dir / "a.mp4", 2);
  MakeClip(dir / "b.mp4", 3);
  const std::vector<std::string> base{"convert", "--format", "MKV", "--set", "JoinAllTask=是", "--set",
                                      "JoinAllTaskAndClean=是"};
  std::vector<std::string> one = base;
  one.insert(one.end(), {"--output", dir / "one", dir / "a.mp4"});
  const RunResult single = RunCli(one);
  ASSERT_EQ(single.exitCode, 0) << single.output;
  EXPECT_EQ(Outputs(single.output), std::vector<std::string>{dir / "one/a.MKV"});

  std::vector<std::string> two = base;
  two.insert(two.end(), {"--output", dir / "two", dir / "a.mp4", dir / "b.mp4"});
  const RunResult joined = RunCli(two);
  ASSERT_EQ(joined.exitCode, 0) << joined.output;
  EXPECT_EQ(Outputs(joined.output), std::vector<std::string>{dir / "two/a_合并文件.MKV"});
  EXPECT_NEAR(Duration(dir / "two/a_合并文件.MKV"), 5, 0.3);
  // The parts were cleaned up only because the join made its file.
  EXPECT_FALSE(FileExists(dir / "two/a.MKV"));
  EXPECT_FALSE(FileExists(dir / "two/b.MKV"));

  // AVI has no joining tool: its outputs are joined byte by byte, under their
  // own extension rather than the format's name.
  const RunResult bytes = RunCli({"convert", "--format", "DIVX", "--set", "JoinAllTask=是", "--output",
                                  dir / "divx", dir / "a.mp4", dir / "b.mp4"});
  ASSERT_EQ(bytes.exitCode, 0) << bytes.output;
  EXPECT_EQ(Outputs(bytes.output), std::vector<std::string>{dir / "divx/a_合并文件.AVI"});
  EXPECT_EQ(ReadText(dir / "divx/a_合并文件.AVI"), ReadText(dir / "divx/a.AVI") + ReadText(dir / "divx/b.AVI"));
}

TEST_F(ZelCliRun, DamagedInputIsReportedAndTheRunGoesOn) {
  MakeClip(dir / "good.mp4", 1);
  // A list with junk, a broken line and a source that is gone.
  WriteFileAtomic(dir / "list.ini", "\x01\x02junk\r\n[Task1]\r\nPath=" + dir / "gone.mp4" +
                                        "\r\nOther=|||\r\nText=line\nbreak\r\n[Task2]\r\nPath=" + dir / "good.mp4" +
                                        "\r\n[Task3\r\n=novalue\r\n");
  const RunResult run = RunCli({"convert", "--format", "MP4", "--output", dir / "out", "--list", dir / "list.ini"});
  EXPECT_EQ(run.exitCode, 1) << run.output;
  EXPECT_TRUE(Contains(run.output, "发生错误 | ")) << run.output;
  // The good source converts, twice: the list format reads its last row again.
  EXPECT_EQ(Outputs(run.output), (std::vector<std::string>{dir / "out/good.MP4", dir / "out/good(1).MP4"}));

  // An output folder that is a file: every task says so, nothing is written.
  WriteText("x", dir / "file", false);
  const RunResult blocked = RunCli({"convert", "--format", "MP4", "--set", "OutputFolder=" + dir / "file",
                                    dir / "good.mp4", dir / "good.mp4"});
  EXPECT_EQ(blocked.exitCode, 1);
  EXPECT_EQ(Outputs(blocked.output).size(), 0u);
  EXPECT_EQ(ReadText(dir / "file"), "x\n");

  // A full disk, as the file size limit gives it: the byte join leaves nothing
  // half written and the sources whole.
  const std::string source = ReadText(dir / "good.mp4");
  WriteFileAtomic(dir / "a.mpg", source);
  WriteFileAtomic(dir / "b.mpg", source);
  const RunResult full = test::Run({"/bin/sh", "-c", "ulimit -f 8; exec \"$0\" \"$@\"", ZEL_CLI_PATH, "convert",
                                    "--format", "直接合并", "--output", dir / "full", dir / "a.mpg", dir / "b.mpg"});
  EXPECT_EQ(full.exitCode, 1) << full.output;
  EXPECT_TRUE(Contains(full.output, "发生错误")) << full.output;
  EXPECT_EQ(test::Run({"/bin/ls", "-A", dir / "full"}).output, "");
  EXPECT_EQ(ReadText(dir / "a.mpg"), source);
}

TEST_F(ZelCliRun, ListFilesSaveAndLoadWithTheirQuirks) {
  Out({"list", "save", dir / "l.ini", dir / "a.mp4", "--cut", "00:00:01,000", "00:00:02,000", "2", dir / "b.mp4",
       dir / "c.mp4"});
  const std::vector<std::string> rows = ReadLines(Out({"list", "show", dir / "l.ini"}));
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_TRUE(StartsWith(rows[0], "1\t" + dir / "a.mp4" + "\t|||\t")) << rows[0];
  EXPECT_TRUE(StartsWith(rows[1], "2\t" + dir / "b.mp4" + "\t00:00:01,000|00:00:02,000|2|\t")) << rows[1];
  EXPECT_TRUE(StartsWith(rows[3], "4\t" + dir / "c.mp4")) << rows[3];
  // What a save after the load would write: the fourth row is the copy.
  const std::string text = Out({"list", "load", dir / "l.ini"});
  EXPECT_TRUE(Contains(text, "[Task4]\r\n")) << text;
  EXPECT_FALSE(Contains(text, "[Task5]"));
  EXPECT_EQ(RunCli({"list", "show", dir / "none.ini"}).exitCode, 1);

  // A list is replaced only when the question is answered Yes; without a
  // terminal its default, No, stands.
  const std::string saved = ReadText(dir / "l.ini");
  std::string name;
  for (int i = 0; i < 80; ++i) name += "视";
  const std::string longPath = dir / (name + ".mp4");
  EXPECT_EQ(RunCli({"list", "save", dir / "l.ini", longPath}).exitCode, 1);
  EXPECT_EQ(ReadText(dir / "l.ini"), saved);
  Out({"list", "save", dir / "l.ini", longPath, "--yes"});
  // Values are cut at 254 characters, which this path of more bytes is not.
  const std::vector<std::string> replaced = ReadLines(Out({"list", "show", dir / "l.ini"}));
  ASSERT_EQ(replaced.size(), 2u);
  EXPECT_TRUE(StartsWith(replaced[0], "1\t" + longPath + "\t")) << replaced[0];
}


// The RealMedia producer is not packaged either: its stand-in keeps the audience
// file it was given and writes an output.
TEST_F(ZelCliRun, RmvbRunsTheProducerWithItsAudienceFile) {
  MakeClip(dir / "clip.mp4", 1);
  MakedPath(dir / "tools");
  WriteScript(dir / "tools/producer", R"(echo "Helix DNA(TM) Producer 11.0"
while [ $# -gt 0 ]; do
  printf '%s\n' "$1" >> ")" + dir / "producer.args" + R"("
  case "$1" in -o) out=$2 ;; -ad) cp "$2" ")" + dir / "audience.xml" + R"(" ;; esac
  shift
done
[ -n "$out" ] && head -c 4096 /dev/zero > "$out"
)");
  Out({"settings", "set", "ToolsFolder", dir / "tools"});
  const RunResult run = RunCli({"convert", "--format", "RMVB", "--set", "VideoBitrate=5vbr", "--set",
                                "VideoFrame=30", "--output", dir / "out", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(Outputs(run.output), std::vector<std::string>{dir / "out/clip.RMVB"});
  // The store's rights line is the product's name unless set.
  const std::vector<std::string> args = ReadLines(ReadText(dir / "producer.args"));
  EXPECT_EQ(args, (std::vector<std::string>{"-i", dir / "clip.mp4", "-o", dir / "out/clip.RMVB", "-de", "影音工坊",
                                            "-c", "影音工坊", "-dt", "-ad", dir / "tools/producer.rpad", "-rs", "160x120"}));
  const std::string audience = ReadText(dir / "audience.xml");
  EXPECT_TRUE(Contains(audience, "<encodingType type=\"string\">vbrBitrate</encodingType>")) << audience;
  EXPECT_TRUE(Contains(audience, "<maxKeyFrameInterval type=\"double\">10</maxKeyFrameInterval>")) << audience;
  // The run's end removes it.
  EXPECT_FALSE(FileExists(dir / "tools/producer.rpad"));
}

}  // namespace
}  // namespace zel::test
