// Times between text notations and numbers. Subtitle formats, tool output and the
// progress texts all pass through these, so their leniency is what the formats accept.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

// The forms of MSecsToTime, chosen by the notation number.
enum TimeNotation : int16_t {
  kNotationSrt = 0,          // hh:mm:ss,mmm (any unlisted number too)
  kNotationHours = 1,        // h:mm:ss.cc
  kNotationMinutes = 2,      // mm:ss.cc
  kNotationMinutesMs = 3,    // mm:ss.mmm
  kNotationMinutesOnly = 4,  // mm:ss
  kNotationFrames = 5,       // hh:mm:ss:cc
  kNotationDotMs = 98,       // hh:mm:ss.mmm
  kNotationClock = 99,       // hh:mm:ss
};

// Milliseconds to text. A negative `ms` becomes 0, and `ms` comes back holding the
// part left after hours and minutes are taken off: callers depend on both.
std::string MSecsToTime(double& ms, int16_t& notation);

// Text to whole milliseconds. Blanks in `time` are replaced by "0" in the caller's
// text. Signed 32-bit arithmetic: an overflow gives 0.
double TimeToMSecs(std::string& time, std::string& separator);

// Text to seconds, with or without the fraction; same recognition as TimeToMSecs.
double TimeToSec(std::string& time, bool& withFraction, std::string& separator);

// Value forms for callers that have no variable to hand over.
std::string FormatMSecs(double ms, int16_t notation);
double ParseMSecs(std::string_view time, std::string_view separator);
double ParseSecs(std::string_view time, bool withFraction, std::string_view separator);

}  // namespace zel
