#include "jobs/DirectJobs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/CommandLine.h"
#include "jobs/RealMediaJob.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::TempDir;

// Tools as files in a folder whose name holds a blank; `absent` names those left out.
class DirectJobsTest : public ::testing::Test {
 protected:
  ToolSet Tools(const std::vector<std::string>& absent = {}) {
    const std::string d = dir + "/";
    ToolSet tools{d + "ffmpeg",   d + "mencoder", d + "MP4Box", d + "mkvmerge",
                  d + "rmeditor", d + "producer", d + "asfbin"};
    for (std::string* path : {&tools.ffmpeg, &tools.mencoder, &tools.mp4box, &tools.mkvmerge, &tools.rmeditor,
                              &tools.producer, &tools.asfbin}) {
      const bool gone = std::find(absent.begin(), absent.end(), Name(*path)) != absent.end();
      if (gone && FileExists(*path)) {
        EXPECT_TRUE(DeleteFile(*path));
      } else if (!gone && !FileExists(*path)) {
        EXPECT_TRUE(WriteFileAtomic(*path, ""));
      }
    }
    return tools;
  }
  std::string Name(const std::string& path) const { return FileNameOf(path); }

  TempDir root;
  std::string dir = root / "tool dir";
  void SetUp() override { ASSERT_TRUE(MakedPath(dir)); }
};

TEST_F(DirectJobsTest, CutTakesTheFirstRowWithItsToolPresent) {
  const struct {
    std::string source;
    std::vector<std::string> absent;
    std::string tool, format;
  } cases[] = {
      {"/v/a.MP4", {}, "MP4Box", "mp4"},         {"/v/a.h264", {}, "MP4Box", "h264"},
      {"/v/a.wmv", {}, "asfbin", "wmv"},         {"/v/a.rmvb", {}, "rmeditor", "rmvb"},
      {"/v/a.mkv", {}, "mkvmerge", "mkv"},       {"/v/a.webm", {}, "mkvmerge", "webm"},
      {"/v/a.mkv", {"mkvmerge"}, "ffmpeg", "mkv"}, {"/v/a.mp4", {"MP4Box"}, "ffmpeg", "mp4"},
      {"/v/a.m4a", {}, "MP4Box", "m4a"},         {"/v/a.dat", {}, "ffmpeg", "dat"},
      {"/v/a.m", {}, "ffmpeg", "m"},             {"/v.d/a", {}, "ffmpeg", ""},
  };
  for (const auto& c : cases) {
    const DirectJob job = DirectCutJob(c.source, 1, 2, Tools(c.absent));
    EXPECT_EQ(job.kind, DirectJobKind::Command) << c.source;
    EXPECT_EQ(Name(job.tool), c.tool) << c.source;
    EXPECT_EQ(job.forceFormat, c.format) << c.source;
    EXPECT_EQ(SplitCommandLine(job.commandLine).front(), job.tool) << c.source;
  }
}

TEST_F(DirectJobsTest, CutCommandLinesWriteTheTimesInEachToolsForm) {
  const ToolSet tools = Tools();
  const struct {
    std::string source;
    float start, end;
    std::string arguments;
  } cases[] = {
      {"a.mp4", 10, 20.5f, " -splitx 10:20.5 \"#InputFileName#\" -out \"#OutputFileName#\""},
      {"a.mkv", 3723.5f, 3725,
       " \"#InputFileName#\" -o \"#OutputFileName#\" --split timecodes:01:02:03.500,01:02:05.000"},
      {"a.rm", 3723.005f, 100000, " -i \"#InputFileName#\" -o \"#OutputFileName#\" -s 1:2:3.005 -e 27:46:40.000"},
      {"a.mpg", 1.5f, 3.5f,
       " -y -ss 1.5 -t 2 -i \"#InputFileName#\" -vcodec copy -acodec copy -f mpeg \"#OutputFileName#\""},
      {"a.avi", 0, 100000, " -y -ss 0 -t 100000 -i \"#InputFileName#\" -vcodec copy -acodec copy \"#OutputFileName#\""},
  };
  for (const auto& c : cases) {
    const DirectJob job = DirectCutJob(c.source, c.start, c.end, tools);
    EXPECT_EQ(job.commandLine, QuoteArgument(job.tool) + c.arguments) << c.source;
  }
}

TEST_F(DirectJobsTest, JoinsPickTheRowOfTheFirstFile) {
  const ToolSet tools = Tools({"asfbin"});
  const std::vector<std::string> mkv = {"/v/a b.mkv", "/v/c.MKV"}, mixed = {"/v/a.mp4", "/v/b.avi"};
  const std::string q = QuoteArgument(dir + "/mkvmerge");

  EXPECT_EQ(DirectJoinJob(mkv, tools).commandLine, q + " \"/v/a b.mkv\" +\"/v/c.MKV\" -o \"#OutputFileName#\"");
  EXPECT_EQ(SplitCommandLine(DirectJoinJob(mkv, tools).commandLine)[2], "+/v/c.MKV");
  EXPECT_EQ(DirectJoinJob(mixed, tools).commandLine,
            QuoteArgument(tools.mp4box) + " -cat \"/v/a.mp4\" -cat \"/v/b.avi\" -new \"#OutputFileName#\"");
  EXPECT_EQ(DirectJoinJob({"", "/v/a.mp3", "/v/b.mp3"}, tools).commandLine,
            QuoteArgument(tools.mencoder) +
                " \"/v/a.mp3\" \"/v/b.mp3\" -ovc copy -oac copy -o \"#OutputFileName#\" -of lavf");

  const struct {
    std::vector<std::string> paths;
    bool outputs;
    DirectJobKind kind;
    std::string tool;
  } cases[] = {
      {{"/v/b.avi", "/v/a.mp4"}, false, DirectJobKind::Concatenate, ""},
      {{"/v/a.mpg", "/v/b.mpg"}, false, DirectJobKind::Concatenate, ""},
      {{"/v/a.m4a", "/v/b.m4a"}, false, DirectJobKind::Command, "MP4Box"},
      {{"/v/a.m4a", "/v/b.m4a"}, true, DirectJobKind::Concatenate, ""},
      {{"/v/a.3gp", "/v/b.3gp"}, true, DirectJobKind::Command, "MP4Box"},
      {{"/v/a.webm", "/v/b.webm"}, true, DirectJobKind::Command, "mkvmerge"},
      {{"/v/a.wmv", "/v/b.wmv"}, true, DirectJobKind::ToolMissing, "asfbin"},
  };
  for (const auto& c : cases) {
    const DirectJob job = c.outputs ? OutputJoinJob(c.paths, tools) : DirectJoinJob(c.paths, tools);
    EXPECT_EQ(job.kind, c.kind) << c.paths[0];
    EXPECT_EQ(job.tool.empty() ? "" : Name(job.tool), c.tool) << c.paths[0];
  }
}

TEST(ConcatenateFilesTest, JoinsBytesAndLeavesNothingOnCancel) {
  TempDir root;
  const std::string big(1536 * 1024, 'x');
  ASSERT_TRUE(WriteFileAtomic(root / "a.mpg", big));
  ASSERT_TRUE(WriteFileAtomic(root / "b.mpg", "tail"));
  const std::vector<std::string> inputs = {root / "a.mpg", root / "b.mpg"};

  int calls = 0;
  EXPECT_TRUE(ConcatenateFiles(inputs, root / "out.mpg", [&] { return ++calls > 0; }));
  EXPECT_EQ(ReadText(root / "out.mpg"), big + "tail");
  EXPECT_EQ(calls, 3);

  EXPECT_FALSE(ConcatenateFiles(inputs, root / "out.mpg", {}));
  EXPECT_EQ(FileSize(root / "out.mpg"), static_cast<int64_t>(big.size() + 4));
  // Replacing is asked for, and a failed replace leaves the old file.
  EXPECT_TRUE(ConcatenateFiles({root / "b.mpg"}, root / "out.mpg", {}, ExistingOutput::Replace));
  EXPECT_EQ(ReadText(root / "out.mpg"), "tail");
  EXPECT_FALSE(ConcatenateFiles({root / "none.mpg"}, root / "out.mpg", {}, ExistingOutput::Replace));
  EXPECT_EQ(ReadText(root / "out.mpg"), "tail");

  EXPECT_FALSE(ConcatenateFiles(inputs, root / "cancelled.mpg", [] { return false; }));
  EXPECT_FALSE(ConcatenateFiles({root / "a.mpg", root / "none.mpg"}, root / "missing.mpg", {}));
  // Only the two inputs and the first output are left: no temporary file, no partial output.
  const auto entries = std::filesystem::directory_iterator(root.path());
  EXPECT_EQ(std::distance(std::filesystem::begin(entries), std::filesystem::end(entries)), 3);
}

TEST(RealMediaJobTest, AudienceFollowsTheSettings) {
  auto reader = [](std::string rate, std::string frame, std::string codec) -> SettingReader {
    return [=](std::string_view key) -> std::string {
      if (key == "VideoBitrate") return rate;
      if (key == "VideoFrame") return frame;
      if (key == "VideoCodec") return codec;
      return key == "AudioBitrate" ? "128" : "";
    };
  };
  std::string expected =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
      "<audience xmlns=\"http://ns.real.com/tools/audience.2.0\" "
      "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:schemaLocation=\"http://ns.real.com/tools/"
      "audience.2.0 http://ns.real.com/tools/audience.2.0.xsd\">\r\n"
      "  <avgBitrate type=\"uint\">178000</avgBitrate>\r\n"
      "  <maxBitrate type=\"uint\">267000</maxBitrate>\r\n"
      "  <streams>\r\n"
      "    <stream xsi:type=\"videoStream\">\r\n"
      "      <pluginName type=\"string\">rn-videocodec-realvideo</pluginName>\r\n"
      "      <codecName type=\"string\">rv10</codecName>\r\n"
      "      <encodingType type=\"string\">vbrBitrate</encodingType>\r\n"
      "      <encodingComplexity type=\"string\">high</encodingComplexity>\r\n"
      "      <quality type=\"uint\">5</quality>\r\n"
      "      <maxStartupLatency type=\"double\">4</maxStartupLatency>\r\n"
      "      <maxFrameRate type=\"double\">23</maxFrameRate>\r\n"
      "      <maxKeyFrameInterval type=\"double\">7.667</maxKeyFrameInterval>\r\n"
      "      <enableLossProtection type=\"bool\">false</enableLossProtection>\r\n"
      "    </stream>\r\n";
  const std::string audio[][4] = {{"cook", "14", "audio-video", "voice"},
                                  {"cook", "25", "audio-video", "music"},
                                  {"cook", "25", "audio-only", "voice"},
                                  {"raac", "6", "audio-only", "music"}};
  for (const auto& a : audio) {
    expected += "    <stream xsi:type=\"audioStream\">\r\n"
                "      <pluginName type=\"string\">rn-audiocodec-realaudio</pluginName>\r\n"
                "      <codecName type=\"string\">" + a[0] + "</codecName>\r\n"
                "      <codecFlavor type=\"uint\">" + a[1] + "</codecFlavor>\r\n"
                "      <encodingComplexity type=\"string\">high</encodingComplexity>\r\n"
                "      <streamContext type=\"bag\">\r\n"
                "        <presentationType type=\"string\">" + a[2] + "</presentationType>\r\n"
                "        <audioMode type=\"string\">" + a[3] + "</audioMode>\r\n"
                "      </streamContext>\r\n"
                "    </stream>\r\n";
  }
  expected += "  </streams>\r\n</audience>";
  EXPECT_EQ(ProducerAudience(reader("5VBR", "", "")), expected);

  const ProducerAudienceValues cbr = ReadProducerAudience(reader("512", "30", "RV8 (RealVideo 8)"));
  EXPECT_EQ(cbr.encodingType, "cbr");
  EXPECT_EQ(cbr.quality, 5);
  EXPECT_EQ(cbr.codec, "rv8");
  EXPECT_EQ(cbr.averageBitrate, 640000);
  EXPECT_EQ(cbr.maximumBitrate, 960000);
  EXPECT_NE(ProducerAudienceText(cbr).find("<maxKeyFrameInterval type=\"double\">10</"), std::string::npos);
}

TEST(RealMediaJobTest, ProducerCommandLineCarriesOnlyTheGivenMetadata) {
  const std::string head = "\"/t/producer\" -i \"#InputFileName#\" -o \"#OutputFileName#\" -de \"影音工坊\"";
  const std::string tail = " -dt -ad \"/t d/producer.rpad\" -rs #VideoWidth#x#VideoHeight#";
  EXPECT_EQ(ProducerCommandLine("/t/producer", "/t d/producer.rpad", "", "", ""), head + tail);
  EXPECT_EQ(ProducerCommandLine("/t/producer", "/t d/producer.rpad", "My \"Film\"", "", "(c) Me"),
            head + " -t \"My \\\"Film\\\"\" -c \"(c) Me\"" + tail);

  TempDir dir;
  ASSERT_TRUE(WriteFileAtomic(dir / "producer.rpad", "old"));
  EXPECT_EQ(WriteProducerAudience(dir.path(), "new"), dir / "producer.rpad");
  EXPECT_EQ(ReadText(dir / "producer.rpad"), "new");
  EXPECT_EQ(WriteProducerAudience(dir / "none", "new"), "");
}

}  // namespace
}  // namespace zel
