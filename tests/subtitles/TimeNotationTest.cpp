#include "subtitles/TimeNotation.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct FormatCase {
  double ms;
  int16_t notation;
  const char* text;
  double msAfter;  // what the caller's variable holds afterwards
};

TEST(TimeNotation, MSecsToTimeFormsAndCallerSideEffect) {
  const FormatCase cases[] = {
      {3723456, 0, "01:02:03,456", 3456},
      {3723456, 7, "01:02:03,456", 3456},  // any unlisted notation is the comma form
      {3723450, 1, "1:02:03.45", 3450},
      {3723999, 2, "62:03.99", 3999},       // hundredths are truncated, not rounded
      {3723456, 3, "62:03.456", 3456},
      {3723456, 4, "62:03", 3456},
      {3723456, 5, "01:02:03:45", 3456},
      {3723456, 98, "01:02:03.456", 3456},
      {3723456, 99, "01:02:03", 3456},
      {360000000, 0, "100:00:00,000", 0},   // hours grow, never wrap
      {3599999.6, 0, "01:00:00,000", -0.4}, // a carry never leaves 60 minutes
      {-1, 0, "00:00:00,000", 0},
      {2.5, 0, "00:00:00,002", 2.5},        // ties go to the even number
      {3.5, 0, "00:00:00,004", 3.5},
      {1e12, 0, "00:00:00,000", 1e12},      // beyond 32 bits every field stays 0
  };
  for (const FormatCase& c : cases) {
    double ms = c.ms;
    int16_t notation = c.notation;
    EXPECT_EQ(MSecsToTime(ms, notation), c.text) << c.ms << " in notation " << c.notation;
    EXPECT_NEAR(ms, c.msAfter, 1e-6) << c.ms << " in notation " << c.notation;
  }
}

struct ParseCase {
  const char* text;
  const char* separator;
  double msecs;
  double secs;  // with fraction
};

TEST(TimeNotation, MasksNumbersAndFallbackReadTheSameText) {
  const ParseCase cases[] = {
      {"01:02:03,450", ",", 3723450, 3723.45},
      {"1:02:03,450", ",", 3723450, 3723.45},
      {"1:02:03.45", ",", 3723450, 3723.45},
      {"02:03.45", ",", 123450, 123.45},
      {"02:03.456", ",", 123456, 123.456},
      {"02:03", ",", 123000, 123},
      {"01:02:03:45", ",", 3723450, 3723.45},
      {"01:02:03", ",", 3723000, 3723},
      {"00:99:99,000", ",", 6039000, 6039},  // fields above 59 stand as they are
      {"12.5", ",", 12500, 12.5},
      {"-5", ",", -5000, -5},
      {"abc", ",", 0, 0},
      {"", ",", 0, 0},
      // No mask fits these: the fallback splits at the separator, then at ":".
      {"1:23", ",", 4980000, 4980},           // read as hours and minutes
      {"01:23", ",", 83000, 83},              // a mask: minutes and seconds
      {"1:23:45.678", ",", 5026000, 5026},    // 45.678 s rounds to 46
      {"01:02:03.45", ".", 3723045, 3723.45}, // the fraction is milliseconds to one, hundredths to the other
      {"01:02:03,5", ",", 3723005, 3723.005},
      {"1:2:3.5", ".", 3723005, 3723.05},
      {"1000:00:00", ",", 0, 3600000},        // milliseconds overflow 32 bits, seconds do not
      {"3000000:00:00", ",", 0, 0},
      {"3000000", ",", 0, 3000000},           // numeric: the milliseconds overflow
  };
  for (const ParseCase& c : cases) {
    std::string text = c.text, again = c.text, separator = c.separator;
    bool withFraction = true;
    EXPECT_EQ(TimeToMSecs(text, separator), c.msecs) << '"' << c.text << "\" with \"" << c.separator << '"';
    EXPECT_NEAR(TimeToSec(again, withFraction, separator), c.secs, 1e-9) << '"' << c.text << "\" with " << c.separator;
  }
}

TEST(TimeNotation, BlanksBecomeZerosInTheCallersText) {
  std::string text = "0: 1: 2,500", again = " 1:02", separator = ",";
  bool withFraction = true;
  EXPECT_EQ(TimeToMSecs(text, separator), 62500);
  EXPECT_EQ(text, "0:01:02,500");
  EXPECT_EQ(TimeToSec(again, withFraction, separator), 62);
  EXPECT_EQ(again, "01:02");
}

TEST(TimeNotation, WithoutFractionOnlyWholeSecondsExceptForNumbers) {
  bool withFraction = false;
  std::string masked = "01:02:03,450", fallback = "01:02:03.45", numeric = "12.5", comma = ",", dot = ".";
  EXPECT_EQ(TimeToSec(masked, withFraction, comma), 3723);
  EXPECT_EQ(TimeToSec(fallback, withFraction, dot), 3723);
  // A plain number is returned as it stands, whatever the switch says.
  EXPECT_EQ(TimeToSec(numeric, withFraction, comma), 12.5);
}

}  // namespace
}  // namespace zel
