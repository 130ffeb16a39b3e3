#include <gtest/gtest.h>

#include "subtitles/SubtitleCells.h"

namespace zel {
namespace {

std::vector<std::string> Read(int type, const std::vector<std::string>& lines) {
  std::vector<std::string> cells(1);
  ReaderState state;
  for (const std::string& line : lines) ReadSubtitleLine(type, line, cells, state);
  return cells;
}

struct ReaderCase {
  const char* name;
  int type;
  std::vector<std::string> lines;
  std::vector<std::string> cells;  // from cell 0
};

TEST(SubtitleReaders, EachTypeBoilsItsLinesDownToCells) {
  const ReaderCase cases[] = {
      {"plain text, empty lines too", kSubtitlePlainText, {"a", ""}, {"", "0|a", "0|"}},
      {"SubRip: counters skipped, markup stripped, a later text line joined",
       kSubtitleSubRip,
       {"1", "00:00:01,000 --> 00:00:02,000", "<i>one</i>", "two", "", "2", " 00:00:03,000-->00:00:04,000 ", "a|b"},
       {"#ZELNewLine#1", "00:00:01,000->00:00:02,000|one#ZELNewLine#two", "00:00:03,000->00:00:04,000|a|b"}},
      {"SubRip: text after a blank line inside a cue is lost; \"-->\" in text starts a cue",
       kSubtitleSubRip,
       {"00:00:01,000 --> 00:00:02,000", "x", "", "lost", "see --> here"},
       {"", "00:00:01,000->00:00:02,000|x", "see->here|"}},
      {"SubStation: columns from the last Format line, commas kept in the text",
       kSubtitleSubStation,
       {"Format: Name, Fontname", "Format: Layer, Start, End, Style, Text",
        "Dialogue: 0,0:00:01.00,0:00:02.50,Default,{\\b1}Hi, there\\Nyou", "Comment: 0,0:00:09.00,0:00:10.00,x,y"},
       {"", "0:00:01.00->0:00:02.50|Hi, there\\Nyou"}},
      {"SubStation: a short Dialogue line is still an entry, the fields it lacks empty",
       kSubtitleSubStation,
       {"Format: Layer, Start, End, Style, Text", "Dialogue: 0,0:00:01.00", "dialogue: 0", "Dialogue: 0,1,2,S,a,b"},
       {"", "0:00:01.00->|", "->|", "1->2|a,b"}},
      {"LRC: several tags give several cells; a metadata tag has no text",
       kSubtitleLrc,
       {"[ti:Song]", "[00:01.00][00:02.00]hello", "no tag"},
       {"", "ti:Song|", "00:01.00|hello", "00:02.00|hello"}},
      {"karaoke script", kSubtitleKaraoke,
       {"karaoke.add('00:01.000', '00:03.000', '[ab][c]', '<x>100,200');", "karaoke.add( );", "karaoke.clear;"},
       {"", "00:01.000->00:03.000|[ab][c]|100,200"}},
      {"XML lyrics", kSubtitleXmlLyrics,
       {"<?xml version=\"1.0\"?>", "    <line begin=\"00:01.50\">sing &amp; dance</line>"},
       {"", "00:01.50|sing  dance"}},
      {"SAMI: a plain number of milliseconds, later lines joined without a separator",
       kSubtitleSami,
       {"<SAMI>", "<SYNC Start=1000><P Class=CN>first", "more", "<sync start=2500>second"},
       {"", "1000|firstmore", "2500|second"}},
      {"circled digits", kSubtitleCircled, {"⑩00000150⑿", "line", ""}, {"", "1500|line"}},
      {"two-line lyrics: the mask must fit exactly", kSubtitleTwoLine,
       {"00:05", "<b>text</b>", "00:05 x", "00:07"},
       {"", "00:05|<b>text</b>00:05 x", "00:07|"}},
      {"tab-field: a comma cuts the text", kSubtitleTabField,
       {"$FontName\t=\tVerdana", "00:00:01:00\t,\t00:00:02:50\t,\tone, two", "00:00:03:00,only"},
       {"", "00:00:01:00->00:00:02:50|one"}},
      {"equals-sign", kSubtitleEquals,
       {"{* VIPLAY SUBTITLE FILE *}", "00:00:01,000-00:00:02,000= <i>hi</i> "},
       {"", "00:00:01,000->00:00:02,000|hi"}},
      {"bracket: an end line closes the entry before it, and nothing without one",
       kSubtitleBracket,
       {"[00:00:05]", "[00:00:01]hello", "[00:00:03]", "x[00:00:04]"},
       {"", "00:00:01->00:00:03|hello"}},
      {"internal form", kSubtitleInternal, {"00:00:01,000->00:00:02,000|a", "no bar"},
       {"", "00:00:01,000->00:00:02,000|a"}},
  };
  for (const ReaderCase& c : cases) EXPECT_EQ(Read(c.type, c.lines), c.cells) << c.name;
}

TEST(SubtitleReaders, TypesComeFromTheLastSuffix) {
  EXPECT_EQ(SubtitleInputType("/a/b.SRT"), kSubtitleSubRip);
  EXPECT_EQ(SubtitleInputType("x.sami"), kSubtitleSami);
  EXPECT_EQ(SubtitleInputType("x.txt.stxt"), kSubtitleInternal);
  EXPECT_EQ(SubtitleInputType("x.sub"), kSubtitleUnknown);
  EXPECT_EQ(SubtitleInputType("noext"), kSubtitleUnknown);
  EXPECT_EQ(SubtitleWriterType("x.ass"), kSubtitleSubStation);
  EXPECT_EQ(SubtitleWriterType("x.sub"), kSubtitleSubStation);
  EXPECT_EQ(SubtitleWriterType("x.UTF"), kSubtitleSubRip);
}

TEST(SubtitleReaders, MarkupHelpersKeepTheirOddities) {
  EXPECT_EQ(StripMarkup("<i>a</i> &nbsp;b {\\pos(1,2)}c"), "a b c");
  // Every copy of a found piece goes at once; pieces removed can join new ones.
  EXPECT_EQ(StripMarkup("<b>x<b>y</b>"), "xy");
  EXPECT_EQ(StripMarkup("<<a>b>c"), "b>c");
  EXPECT_EQ(StripMarkup("a > b < c"), "a > b < c");  // wrong order: untouched
  EXPECT_EQ(StripMarkup("1 < 2 and 3 > 2"), "1  2");
  EXPECT_EQ(StripMarkup("{unclosed"), "{unclosed");
  EXPECT_EQ(TextAfter("a,b,c", ",", 2), "c");
  EXPECT_EQ(TextAfter("a,b", ",", 3), "");
  EXPECT_EQ(TextBetween("x[1]y[2]", "[", "]"), "1");
  EXPECT_EQ(TextBetween("x]y[", "[", "]"), "");
  // A line of a million tags ends in time; stripping may stop short.
  std::string huge;
  for (int i = 0; i < 200000; ++i) huge += "<" + std::to_string(i) + ">";
  EXPECT_LE(StripMarkup(huge).size(), huge.size());
}

TEST(SubtitleCells, RangeCutKeepsEntriesInsideAndDropsMostThatCross) {
  std::vector<std::string> cells = {
      "",
      "00:00:05,000->00:00:08,000|before",       // ends before the range: dropped
      "00:00:09,000->00:00:12,000|crosses start",  // starts before, ends inside: dropped
      "00:00:10,000->00:00:15,000|at start",
      "00:00:12,000->00:00:13,500|inside",
      "00:00:18,000->00:00:25,000|crosses end",    // dropped
      "00:00:20,000->00:00:25,000|at end",          // starts at the end: dropped too
      "00:00:08,000->00:00:30,000|over all",
      "00:00:40,000|bare start, last",
  };
  CutCellRange(cells, 10, 20);
  const std::vector<std::string> expected = {
      "",
      "00:00:00,000->00:00:00,000|",
      "00:00:00,000->00:00:00,000|",
      "00:00:00,000->00:00:05,000|at start",
      "00:00:02,000->00:00:03,500|inside",
      "00:00:00,000->00:00:00,000|",
      "00:00:00,000->00:00:00,000|",
      "00:00:00,000->00:00:10,000|over all",
      "00:00:00,000->00:00:00,000|",
  };
  EXPECT_EQ(cells, expected);
  std::vector<std::string> untouched = {"", "00:00:01,000->00:00:02,000|a"};
  CutCellRange(untouched, 5, 5);
  EXPECT_EQ(untouched[1], "00:00:01,000->00:00:02,000|a");
}

TEST(SubtitleCells, ExtraLineAndSortFollowTheText) {
  std::vector<std::string> cells = {"", "9:00.00|nine", "10:00.00|ten", "00:01|b", "00:01|a", "00:01|b"};
  AddExtraCell(cells, "credit", 0, 10, -0.2);
  EXPECT_EQ(cells.back(), "00:00:00,200->00:00:10,200|credit");
  cells.pop_back();
  cells.insert(cells.begin() + 2, "00:01|b");
  SortCells(cells);
  // Text order: "10:00.00" before "9:00.00"; equal cells keep their order.
  EXPECT_EQ(cells, (std::vector<std::string>{"0", "00:01|a", "00:01|b", "00:01|b", "00:01|b", "10:00.00|ten",
                                             "9:00.00|nine"}));
}

}  // namespace
}  // namespace zel
