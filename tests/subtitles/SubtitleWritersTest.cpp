#include "subtitles/SubtitleWriters.h"

#include <gtest/gtest.h>

#include "subtitles/SubtitleCells.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {
namespace {

std::string Write(const std::vector<std::string>& cells, int type, SubtitleArguments args = {},
                  int source = kSubtitleSubRip) {
  return WriteSubtitleText(cells, type, args, source, {});
}

// The lines of a text from the first that starts with `from`.
std::vector<std::string> LinesFrom(const std::string& text, std::string_view from) {
  std::vector<std::string> lines = Split(text, "\r\n");
  auto first = std::find_if(lines.begin(), lines.end(), [&](const std::string& l) { return StartsWith(l, from); });
  return {first, lines.end()};
}

TEST(SubtitleWriters, SubRipCountsWrittenEntriesAndChoosesEnds) {
  SubtitleArguments args;  // offset -0.2 s
  const std::string text = Write({"", "00:00:01,000->00:00:02,000|a#ZELNewLine#b\\Nc\\nd", "00:00:03,000|  ",
                                  "00:00:04,000|bare", "x|last"},
                                 kSubtitleSubRip, args);
  EXPECT_EQ(text,
            "1\r\n00:00:00,800 --> 00:00:01,800\r\na\r\nb\r\nc\r\nd\r\n\r\n"
            // The next start "x" reads as 0: ten seconds, the offset counted twice.
            "2\r\n00:00:03,800 --> 00:00:13,600\r\nbare\r\n\r\n"
            // The last entry without an end lasts five seconds.
            "3\r\n00:00:00,000 --> 00:00:04,800\r\nlast\r\n\r\n");
}

TEST(SubtitleWriters, SubStationKaraokeTimesEachCharacter) {
  SubtitleArguments args;
  args.karaokeStyle = 1;
  args.timeOffset = 0;
  const std::string text = Write({"", "00:00:04,000|xy", "00:00:06,000|abcd", "00:00:14,000|z"}, 2, args);
  EXPECT_EQ(LinesFrom(text, "Style:"),
            (std::vector<std::string>{
                "Style: Default0,Arial,18,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,1,15,15,47,0,134",
                "Style: Default1,Arial,18,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,3,15,15,20,0,134",
                "Style: Default2,Arial,12,&HFFFFFF,&H0,&H0,&H0,1,0,1,2,1,1,15,15,216,0,134",
                "Style: Default3,Arial,19.2,&HFFFFFF,&HFFFFFF,&H0,&H0,1,0,1,2,1,10,35,35,0,0,134",
                "",
                "[Events]",
                "Format: Marked,Start,End,Style,Name,MarginL,MarginR,MarginV,Effect,Text",
                "",
                "Dialogue: Marked=0,0:00:01.00,0:00:06.00,Default1,,0000,0000,0000,,{\\t(0,1,\\fsp20)}"
                "{\\t(1,200,\\fsp1)}{\\fad(500,200)}{\\fnVerdana}{\\an2}{\\k300}{\\kf-19}x{\\kf-19}y",
                // 10 s from the line before to the one after, 2 s lead-in, speed 2.6: 77.
                "Dialogue: Marked=0,0:00:04.00,0:00:14.00,Default0,,0000,0000,0000,,{\\t(0,1,\\fsp20)}"
                "{\\t(1,200,\\fsp1)}{\\fad(500,200)}{\\fnVerdana}{\\an2}{\\k200}{\\kf77}a{\\kf77}b{\\kf77}c{\\kf77}d",
                "Dialogue: Marked=0,0:00:11.00,0:00:19.00,Default1,,0000,0000,0000,,{\\t(0,1,\\fsp20)}"
                "{\\t(1,200,\\fsp1)}{\\fad(500,200)}{\\fnVerdana}{\\an2}{\\k300}{\\kf192}z",
                // The first cue at 4 s: the count-in runs from 0 to 1 s.
                "Dialogue: Marked=0,0:00:00.00,0:00:01.00,Default0,,0000,0000,0000,,{\\fad(80,150)}{\\fnVerdana}"
                "{\\k100}{\\ko50}请{\\ko50}准{\\ko50}备 {\\ko50}>{\\ko50}>{\\ko50}>{\\ko50}>{\\ko50}>",
                ""}));
  args.karaokeStyle = 2;
  const std::string late = Write({"", "00:00:09,000|a", "00:00:10,000|b"}, 2, args);
  EXPECT_NE(late.find("Dialogue: Marked=0,0:00:01.00,0:00:06.00,Default1"), std::string::npos);  // T0 - 8 s
  EXPECT_NE(late.find("{\\ko"), std::string::npos);
  EXPECT_EQ(Write({"", "00:00:02,000|a"}, 2, args).find("请"), std::string::npos);  // too early for a count-in
}

TEST(SubtitleWriters, SubStationPlainLinesBannerAndTitle) {
  SubtitleArguments args;
  args.title = "Song\r\nSinger";
  args.banner = "Banner text";
  const std::string text =
      Write({"", "00:00:01,000->00:00:02,000|[lone #ZELNewLine#two", "00:00:03,000->00:00:04,000|[]"}, 2, args);
  EXPECT_EQ(LinesFrom(text, "Dialogue:"),
            (std::vector<std::string>{
                "Dialogue: Marked=0,0:00:00.80,0:00:01.80,Default0,,0000,0000,0000,,{\\fnVerdana}{\\an2}{\\k300}lone "
                "\\Ntwo",
                "Dialogue: Marked=0,0:00:03.00,0:02:00.00,Default2,,0000,0000,0000,Banner;30;0,{\\fad(5000,80)}"
                "{\\fn黑体}Banner text",
                "Dialogue: Marked=0,0:00:03.00,0:00:15.00,Default3,,0000,0000,0000,,{\\fad(500,80)}{\\fnVerdana}"
                "Song\\N\\N{\\fs16}Singer",
                ""}));
  EXPECT_NE(text.find("Title: Song\r\nSinger\r\n"), std::string::npos);
  EXPECT_NE(text.find("Style: Default0,Arial,18,&HFFFFFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,2,15,15,20,0,134"),
            std::string::npos);
}

TEST(SubtitleWriters, SubStationSizesFromTheScriptHeightArePlainDecimals) {
  struct Case {
    int playResY;
    int fontSize;
    std::vector<std::string> styles;  // Default0 to Default3
    std::string titleSize;
  };
  // A karaoke job passes the video's height; 768 * 0.05 must not print as
  // 38.400000000000006.
  const Case cases[] = {
      {768, 21,
       {"Style: Default0,Arial,21,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,1,15,15,51.5,0,134",
        "Style: Default1,Arial,21,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,3,15,15,20,0,134",
        "Style: Default2,Arial,38.4,&HFFFFFF,&H0,&H0,&H0,1,0,1,2,1,1,15,15,691.2,0,134",
        "Style: Default3,Arial,61.44,&HFFFFFF,&HFFFFFF,&H0,&H0,1,0,1,2,1,10,35,35,0,0,134"},
       "{\\fs53}"},
      {1080, 18,
       {"Style: Default0,Arial,18,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,1,15,15,47,0,134",
        "Style: Default1,Arial,18,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,3,15,15,20,0,134",
        "Style: Default2,Arial,54,&HFFFFFF,&H0,&H0,&H0,1,0,1,2,1,1,15,15,972,0,134",
        "Style: Default3,Arial,86.4,&HFFFFFF,&HFFFFFF,&H0,&H0,1,0,1,2,1,10,35,35,0,0,134"},
       "{\\fs75}"},
      {575, 25,
       {"Style: Default0,Arial,25,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,1,15,15,57.5,0,134",
        "Style: Default1,Arial,25,&HFF,&HFFFFFF,&H0,&H0,0,0,0,1,1,3,15,15,20,0,134",
        "Style: Default2,Arial,28.75,&HFFFFFF,&H0,&H0,&H0,1,0,1,2,1,1,15,15,517.5,0,134",
        "Style: Default3,Arial,46,&HFFFFFF,&HFFFFFF,&H0,&H0,1,0,1,2,1,10,35,35,0,0,134"},
       "{\\fs40}"},
  };
  for (const Case& c : cases) {
    SubtitleArguments args;
    args.karaokeStyle = 1;
    args.playResY = c.playResY;
    args.fontSize = c.fontSize;
    args.title = "Song\r\nSinger";
    const std::vector<std::string> lines = LinesFrom(Write({"", "00:00:01,000|a"}, 2, args), "Style:");
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 4), c.styles) << c.playResY;
    EXPECT_TRUE(EndsWith(lines[lines.size() - 2], "Song\\N\\N" + c.titleSize + "Singer")) << c.playResY;
  }
}

TEST(SubtitleWriters, KaraokeScriptKeepsTheRawMarkerAndTimesEachCharacter) {
  SubtitleArguments args;
  args.timeOffset = 0;
  const std::string text = Write({"", "00:00:01,000->00:00:03,000|ab#ZELNewLine#c", "00:00:05,000|"}, 4, args);
  EXPECT_EQ(LinesFrom(text, "karaoke.add"),
            (std::vector<std::string>{"karaoke.add('00:01.000', '00:03.000', 'ab#ZELNewLine#c', '500,500,500,500');",
                                      "karaoke.add('00:05.000', '00:10.000', '', '');", ""}));
  // A script's groups share one timing each in the SubStation effect.
  args.karaokeStyle = 1;
  const std::string ass = Write({"", "00:00:01,000->00:00:03,000|[ab][c]|100,200"}, 2, args, kSubtitleKaraoke);
  EXPECT_NE(ass.find("{\\k300}{\\kf10}ab{\\kf20}c"), std::string::npos);
  const std::string single = Write({"", "00:00:01,000->00:00:03,000|xyz|100,200"}, 2, args, kSubtitleKaraoke);
  EXPECT_NE(single.find("{\\k300}{\\kf10}x{\\kf20}y\r\n"), std::string::npos);  // z has no timing
}

TEST(SubtitleWriters, FixedHeadersStandAsWritten) {
  const std::vector<std::string> cells = {"", "00:00:01,000->00:00:02,000|x"};
  EXPECT_EQ(Split(Write(cells, kSubtitleTabField), "\r\n")[16], "$ColorIndex1\t\t\t=\t0   ");
  EXPECT_EQ(Split(Write(cells, kSubtitleTabField), "\r\n")[21], "$TapeOffset\t\t\t=\tFALSE");
  EXPECT_EQ(Write(cells, kSubtitleCircled), "⑩00000080⑿\r\nx\r\n");
  // The sign stands before eight digits: 100 ms less the offset is -100 ms.
  EXPECT_EQ(Write({"", "00:00:00,100|y"}, kSubtitleCircled), "⑩-00000010⑿\r\ny\r\n");
  EXPECT_EQ(Write(cells, kSubtitleSami), "<SAMI>\r\n<BODY>\r\n<sync start=800>x\r\n</BODY>\r\n</SAMI>\r\n");
  EXPECT_EQ(Write(cells, kSubtitleBracket), "[00:00:00]x\r\n[00:00:01]\r\n");
  EXPECT_EQ(Write(cells, kSubtitleEquals), "{* VIPLAY SUBTITLE FILE *}\r\n00:00:00,800-00:00:01,800=x\r\n");
  EXPECT_EQ(Write({"", "0|a#ZELNewLine#b", "0|"}, kSubtitlePlainText), "a\r\nb\r\n\r\n");
  EXPECT_EQ(Split(Write(cells, kSubtitleLrc), "\r\n")[3], "[by:ZEL 影音工坊]");
}

TEST(SubtitleWriters, EveryWriterReadsBackThroughItsReader) {
  SubtitleArguments args;
  args.timeOffset = 0;
  const std::vector<std::string> cells = {"", "00:00:01,000->00:00:02,500|one", "00:01:03,000->00:01:04,000|二 two"};
  for (int type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 99}) {
    std::vector<std::string> back(1);
    ReaderState state;
    const std::string written = Write(cells, type, args);
    for (std::string_view line : SplitLines(written, LastLine::Drop)) {
      ReadSubtitleLine(type, line, back, state);
    }
    std::vector<std::string> texts;
    std::vector<double> starts;
    for (size_t i = 1; i < back.size(); ++i) {
      const CellParts parts = SplitCell(back[i]);
      if (Trim(parts.text).empty()) continue;  // header lines such as "[ti:]"
      texts.push_back(Trim(parts.text));
      starts.push_back(ParseMSecs(parts.start, ","));
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"one", "二 two"})) << type;
    // Times in whole seconds survive every notation; SAMI and circled digits
    // come back as milliseconds read as seconds.
    const double scale = (type == kSubtitleSami || type == kSubtitleCircled) ? 1000 : 1;
    if (type == kSubtitlePlainText) continue;
    if (type == kSubtitleTwoLine) {
      EXPECT_EQ(starts, (std::vector<double>{1000, 63000})) << type;
    } else {
      EXPECT_EQ(starts, (std::vector<double>{1000 * scale, 63000 * scale})) << type;
    }
  }
}

TEST(SubtitleWriters, ProgressComesEveryTenthOfTheWay) {
  EXPECT_TRUE(ProgressDue(3, 4));  // under five entries: every one
  EXPECT_TRUE(ProgressDue(20, 100));
  EXPECT_FALSE(ProgressDue(21, 100));
  int events = 0;
  std::vector<std::string> cells(1);
  for (int i = 0; i < 100; ++i) cells.push_back("00:00:01,000->00:00:02,000|x");
  WriteSubtitleText(cells, kSubtitleSubRip, {}, kSubtitleSubRip, [&](int, int last) {
    ++events;
    EXPECT_EQ(last, 100);
  });
  EXPECT_EQ(events, 10);
}

}  // namespace
}  // namespace zel
