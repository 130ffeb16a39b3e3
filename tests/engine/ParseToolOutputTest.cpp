#include <gtest/gtest.h>

#include "engine/FFmpegX.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using Events = std::vector<test::Event>;

class ParseToolOutputTest : public test::EngineTest {
 protected:
  // A bare command line learns its length from the tool, so that Value can be read.
  void GiveLength() {
    engine.CommandLine = "\"tool\"";
    engine.ParseToolOutput("  Duration: 00:01:39.00, start: 0.000000, bitrate: 1 kb/s\r\n");
    events.clear();
  }
  // The events of one block alone.
  Events Parse(const std::string& block) {
    events.clear();
    engine.ParseToolOutput(block);
    return events;
  }
};

TEST_F(ParseToolOutputTest, ErrorRowsReportTheirOwnTexts) {
  const std::pair<const char*, std::string> cases[] = {
      {"[x @ 0x1] Encoder (codec id 86017) not found for output stream #0:1\n",
       "Encoder (codec id 86017) not found for output stream #0:1"},
      {"[audio] Can not resample 6 channels @ 48000 Hz to 2 channels\r\n",
       std::string(MsgCannotResample) + " 6 channels @ 48000 Hz to 2 channels"},
      {"Resampling with input channels greater than 2 unsupported.\n", std::string(MsgResampleChannels)},
      {"Error while opening encoder for output stream #0.0 - bad\n",
       "maybe incorrect parameters such as bit_rate, rate, width or height"},
      {"clip.xyz: Unknown input or output format\n", "clip.xyz: " + std::string(MsgUnknownFormat)},
      {"Output file #0 does not contain any stream\n", std::string(MsgNoStreams)},
      {"[mpeg4 @ 0x2] Invalid pixel aspect ratio 0/1, cannot encode\n", "Invalid pixel aspect ratio 0/1"},
      // The first row that matches wins, even over a progress line.
      {"frame= 1 size= 1kB time=00:00:01.00 Encoder (x) not found for output stream\n",
       "Encoder (x) not found for output stream"},
  };
  for (const auto& [block, info] : cases) {
    EXPECT_EQ(Parse(block), (Events{{kStatusError, info}})) << block;
    EXPECT_EQ(engine.Status(), kStatusError);
  }
}

TEST_F(ParseToolOutputTest, FFmpegProgressLegacyAndToday) {
  // Each line: the value it gives, and the speed (0 without "frame=" at the start).
  const std::tuple<const char*, int, int> cases[] = {
      {"frame=  100 fps= 25 q=2.0 size=    1024kB time=00:00:04.00 bitrate=2097.2kbits/s", 4, 25},
      {"frame=  100 fps= 25 q=2.0 size= 1024kB time=4.00 bitrate=...", 4, 25},
      // Two-digit hours with a point fit no mask: the seconds are rounded, ties to even.
      {"size=     512kB time=00:01:05.50 bitrate=  64.0kbits/s speed=80x", 66, 0},
      {"frame=   12 fps=3.5 q=-1.0 size=N/A time=00:00:04.50 bitrate=N/A", 4, 4},
      {"frame= 1 fps=0 q=0 size= 1kB time=00:01:45.00 bitrate=1", 0, 0},  // past the length it reads 0
      // A line cut before the blank after the time gives no time at all.
      {"frame= 1 fps=0 q=0 size= 1kB time=00:00:09.00", 0, 0},
  };
  GiveLength();
  EXPECT_EQ(engine.Max(), 100);
  for (const auto& [line, value, fps] : cases) {
    EXPECT_EQ(Parse(std::string(line) + "\r"), (Events{{kStatusProcessing, line}}));
    EXPECT_EQ(engine.Value(), value) << line;
    EXPECT_EQ(engine.SpeedFps(), fps) << line;
  }
}

TEST_F(ParseToolOutputTest, SearchingForTheStartNeverMovesTheValue) {
  GiveLength();
  engine.ParseToolOutput("frame= 1 size= 0kB time=00:00:07.00 bitrate=0");
  const auto searching = Parse("frame=    0 fps=0.0 q=0.0 size=       0kB time=10000000000.00 bitrate=0");
  EXPECT_EQ(engine.Value(), 7);
  ASSERT_EQ(searching.size(), 1u);
  EXPECT_EQ(searching[0].status, kStatusSearching);
  EXPECT_EQ(engine.Status(), kStatusSearching);
}

TEST_F(ParseToolOutputTest, DurationSetsTheLengthOnlyForABareCommandLine) {
  const std::string info = "Duration: 00:00:10.00, start: 0.000000, bitrate: 1234 kb/s";
  const std::string duration = "  " + info + "\n";
  EXPECT_EQ(Parse(duration), (Events{{kStatusInfoString, info}}));
  EXPECT_EQ(engine.Max(), 1);  // a composed job has its length from the probe

  engine.CommandLine = "\"ffmpeg\" -i x";
  engine.ParseToolOutput(duration);
  EXPECT_EQ(engine.Max(), 11);
  engine.ParseToolOutput("Input #0, start: 1.5, something\n");  // the second mark alone
  EXPECT_EQ(events.back().status, kStatusInfoString);
  EXPECT_EQ(engine.Max(), 1);  // no duration in it: 0 + 1
}

TEST_F(ParseToolOutputTest, MEncoderPositionAgainstRangeAndDuration) {
  const std::string line = "Pos:  12.3s    307f ( 42%) 25.1fps Trem:   0min   2mb  A-V:0.000 [0:0]";
  EXPECT_EQ(Parse(line + "\r"), (Events{{kStatusProcessing, line.substr(4)}}));
  EXPECT_EQ(engine.Max(), 100);  // no range, no duration: percent
  EXPECT_EQ(engine.Value(), 42);
  EXPECT_EQ(engine.SpeedFps(), 25);

  engine.TimeStartPoint = 10;
  engine.TimeEndPoint = 40;
  engine.ParseToolOutput(line);
  EXPECT_EQ(engine.Max(), 30);  // the range, the value still a percent without a duration
  EXPECT_EQ(engine.Value(), 0);  // 42 has passed 30: it reads 0
}

TEST_F(ParseToolOutputTest, PercentRowsOfOtherTools) {
  const std::pair<const char*, float> cases[] = {
      {"Encoded (35.5%) of the file", 35.5f},
      {"Splitting: |=====     | (45/100)", 45},
      {"Saving out.mp4: |====| (12/100)", 12},
      {"ISO File Writing: |==| (77/100)", 77},
      {"Appending: |=| (3/100)", 3},
      {"Processing file (67%)", 67},
      {"encoding frames (12%)", 12},
      {"Progress: 55%", 55},
  };
  for (const auto& [block, value] : cases) {
    EXPECT_EQ(Parse(block), (Events{{kStatusProcessing, block}}));
    EXPECT_EQ(engine.Max(), 100) << block;
    EXPECT_FLOAT_EQ(engine.Value(), value) << block;
  }
  EXPECT_EQ(Parse("Writing packet no 1234\r\n"), (Events{{kStatusProcessing, "Writing packet no 1234"}}));
  EXPECT_EQ(engine.Max(), 100);
}

TEST_F(ParseToolOutputTest, AnythingElseIsInformationAndEmptyIsNothing) {
  EXPECT_EQ(Parse("Stream mapping:\r\n  Stream #0:0 -> #0:0 (mpeg4 (native) -> h264 (libx264))\r\n"),
            (Events{{kStatusInfoString, "Stream mapping:  Stream #0:0 -> #0:0 (mpeg4 (native) -> h264 (libx264))"}}));
  EXPECT_EQ(Parse("\r\n   \r\n"), Events{});
  EXPECT_EQ(Parse(""), Events{});
}

}  // namespace
}  // namespace zel
