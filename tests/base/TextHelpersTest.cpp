#include "base/TextHelpers.h"

#include <gtest/gtest.h>

#include <limits>

namespace zel {
namespace {

TEST(TextHelpers, ValReadsTheLeadingNumberOnly) {
  EXPECT_EQ(Val("5vbr"), 5);
  EXPECT_EQ(Val("  12.5kB"), 12.5);
  EXPECT_EQ(Val("-3"), -3);
  EXPECT_EQ(Val("1e3x"), 1000);
  EXPECT_EQ(Val("1e"), 1);
  EXPECT_EQ(Val(""), 0);
  EXPECT_EQ(Val("."), 0);
  EXPECT_EQ(Val("N/A"), 0);
}

TEST(TextHelpers, RoundingIsToEvenAndRefusesWhatDoesNotFit) {
  for (const auto& [value, rounded] : {std::pair{2.5, 2}, {-2.5, -2}, {3.5, 4}, {2147483647.4, 2147483647}}) {
    int32_t v = 7;
    EXPECT_TRUE(RoundToInt32(value, v));
    EXPECT_EQ(v, rounded) << value;
  }
  int32_t v = 7;
  EXPECT_FALSE(RoundToInt32(2147483647.6, v));
  EXPECT_FALSE(RoundToInt32(0.0 / 0.0, v));
  EXPECT_EQ(v, 7);  // a refused value leaves the variable alone
}

TEST(TextHelpers, GetStringStartsCaseBlindAndEndsExact) {
  EXPECT_EQ(GetString("frame= 100 FPS= 25 q=2.0", "fps=", "q="), "25");
  EXPECT_EQ(GetString("a [b] c", "[", "]"), "b");
  EXPECT_EQ(GetString("a [b] c", "", "]"), "a [b");
  EXPECT_EQ(GetString("a [b] c", "[", ""), "b] c");
  EXPECT_EQ(GetString("a [b] c", "{", "]"), "");
  EXPECT_EQ(GetString("a [b c", "[", "]"), "");
  EXPECT_EQ(GetString("x Q y q z", "x", "Q"), "");   // the end mark's case counts
  EXPECT_EQ(GetString("x Q y q z", "x", "q"), "Q y");
  EXPECT_EQ(FindTextBetween("<a>1</a><a>2</a><a>3</a>", "<a>", "</a>", 2, 1), "2");
  EXPECT_EQ(FindTextBetween("<a>1</a>", "<a>", "</a>", 2, 1), "");
}

TEST(TextHelpers, GetFileStringModes) {
  EXPECT_EQ(GetFileString("/v/clip.part.avi", ".", 1), "avi");
  EXPECT_EQ(GetFileString("/v/clip.part.avi", ".", 2), "/v/clip.part");
  EXPECT_EQ(GetFileString("/v/clip.part.avi", ".", 0), "clip.part");
  EXPECT_EQ(GetFileString("/v.d/clip", ".", 0), "clip");  // the point of a folder is no extension
  EXPECT_EQ(GetFileString("/v/clip.avi", "/", 1), "clip.avi");
  EXPECT_EQ(GetFileString("/v/clip.avi", "/", 0), "/v");
  EXPECT_EQ(GetFileString("clip", "/", 1), "clip");
  EXPECT_EQ(GetFileString("D:", ".", 1), "D");           // a drive keeps its letter in every mode
  EXPECT_EQ(GetFileString("/dev/sr0:", ".", 0), "sr0");  // a device drive is named after the device
}

TEST(TextHelpers, SplitReplaceAndCase) {
  EXPECT_EQ(Split("a|b||c", "|"), (std::vector<std::string>{"a", "b", "", "c"}));
  EXPECT_TRUE(Split("", "|").empty());
  EXPECT_EQ(Split("abc", ""), (std::vector<std::string>{"abc"}));
  EXPECT_EQ(ReplaceAllNoCase("#VideoWidth# x #videowidth#", "#VIDEOWIDTH#", "640"), "640 x 640");
}

TEST(TextHelpers, LinesEndAtCrLfLfOrALoneCr) {
  using Lines = std::vector<std::string_view>;
  struct Case {
    std::string_view text;
    Lines keep, drop, keepIfNotEmpty;
  };
  const Case cases[] = {
      {"a\r\nb\nc\rd", {"a", "b", "c", "d"}, {"a", "b", "c"}, {"a", "b", "c", "d"}},
      {"a\n", {"a", ""}, {"a"}, {"a"}},
      {"a\r", {"a", ""}, {"a"}, {"a"}},
      // CR before CRLF, and CR after LF, are line ends of their own.
      {"a\r\r\nb\n\rc", {"a", "", "b", "", "c"}, {"a", "", "b", ""}, {"a", "", "b", "", "c"}},
      {"\r\n", {"", ""}, {""}, {""}},
      {"one line", {"one line"}, {}, {"one line"}},
      {"", {}, {}, {}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(SplitLines(c.text, LastLine::Keep), c.keep) << c.text;
    EXPECT_EQ(SplitLines(c.text, LastLine::Drop), c.drop) << c.text;
    EXPECT_EQ(SplitLines(c.text, LastLine::KeepIfNotEmpty), c.keepIfNotEmpty) << c.text;
    EXPECT_EQ(HasLineEnd(c.text), c.drop.size() > 0) << c.text;
  }
}

TEST(TextHelpers, NumbersArePlainDecimals) {
  const std::pair<double, std::string_view> doubles[] = {
      {1000000, "1000000"},        {1e21, "1000000000000000000000"},
      {12.5, "12.5"},              {3723.45, "3723.45"},
      {768 * 0.05, "38.4"},        {0.0000001, "0.0000001"},
      {-0.25, "-0.25"},            {-0.0, "0"},
      {1.0 / 3, "0.333333333333333"}, {std::numeric_limits<double>::infinity(), "0"},
  };
  for (const auto& [value, text] : doubles) EXPECT_EQ(FormatNumber(value), text) << value;
  const std::pair<float, std::string_view> floats[] = {
      {29.97f, "29.97"}, {0.1f, "0.1"}, {1e6f, "1000000"}, {23.976f, "23.976"}, {1e-7f, "0.0000001"}};
  for (const auto& [value, text] : floats) EXPECT_EQ(FormatNumber(value), text) << value;
}

}  // namespace
}  // namespace zel
