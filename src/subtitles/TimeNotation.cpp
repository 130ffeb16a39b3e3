#include "subtitles/TimeNotation.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

#include "base/TextHelpers.h"

namespace zel {

namespace {

// What a recognised time text holds. `milliseconds` is the fraction as TimeToMSecs
// counts it, `fraction` as TimeToSec adds it: they differ in the fallback.
struct TimeFields {
  int32_t hours = 0;
  int32_t minutes = 0;
  int32_t seconds = 0;
  int32_t milliseconds = 0;
  double fraction = 0;
};

bool FitsMask(std::string_view text, std::string_view mask) {
  if (text.size() != mask.size()) return false;
  for (size_t i = 0; i < mask.size(); ++i) {
    if (mask[i] == '#') {
      if (text[i] < '0' || text[i] > '9') return false;
    } else if (text[i] != mask[i]) {
      return false;
    }
  }
  return true;
}

// How a mask's fraction field scales: to milliseconds, and to seconds.
struct MaskRule {
  std::string_view mask;
  bool hasHours;      // false: the fields are minutes and seconds
  int32_t msScale;    // fraction field * msScale = milliseconds
  double secDivisor;  // fraction field / secDivisor = seconds; 0 means no fraction
};

// Tried in this order; the first mask that fits the whole text decides.
constexpr std::array<MaskRule, 8> kMasks{{
    {"##:##:##,###", true, 1, 1000},
    {"#:##:##,###", true, 1, 1000},
    {"#:##:##.##", true, 10, 100},
    {"##:##.##", false, 10, 100},
    {"##:##.###", false, 1, 1000},
    {"##:##", false, 0, 0},
    {"##:##:##:##", true, 10, 100},
    {"##:##:##", true, 0, 0},
}};

int32_t DigitsValue(std::string_view digits) {
  int32_t value = 0;
  for (char c : digits) value = value * 10 + (c - '0');
  return value;
}

bool ReadMasked(std::string_view text, TimeFields& f) {
  const auto rule = std::find_if(kMasks.begin(), kMasks.end(),
                                 [&](const MaskRule& r) { return FitsMask(text, r.mask); });
  if (rule == kMasks.end()) return false;

  // Every mask has fixed field positions, so the fields are read where they stand.
  std::vector<int32_t> fields;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == ':' || text[i] == ',' || text[i] == '.') {
      fields.push_back(DigitsValue(text.substr(start, i - start)));
      start = i + 1;
    }
  }
  size_t k = 0;
  if (rule->hasHours) f.hours = fields[k++];
  f.minutes = fields[k++];
  f.seconds = fields[k++];
  if (rule->secDivisor > 0) {
    const int32_t fractionField = fields[k];
    f.milliseconds = fractionField * rule->msScale;
    f.fraction = fractionField / rule->secDivisor;
  }
  return true;
}

// The blunt reading of texts that fit no mask: fields at ":" before the separator,
// the fraction after it, each rounded to a whole number.
void ReadFallback(std::string_view text, std::string_view separator, TimeFields& f) {
  const std::vector<std::string> parts = Split(text, separator);
  if (!parts.empty()) {
    const std::vector<std::string> clock = Split(parts[0], ":");
    int32_t* targets[] = {&f.hours, &f.minutes, &f.seconds};
    for (size_t i = 0; i < 3 && i < clock.size(); ++i) RoundToInt32(Val(clock[i]), *targets[i]);
  }
  if (parts.size() > 1) {
    int32_t fraction = 0;
    if (RoundToInt32(Val(parts[1]), fraction)) {
      f.milliseconds = fraction;
      f.fraction = fraction / (separator == "." ? 100.0 : 1000.0);
    }
  }
}

bool CheckedWholeSeconds(const TimeFields& f, int64_t& seconds) {
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  auto fits = [](int64_t v) { return v >= kMin && v <= kMax; };
  const int64_t h = int64_t{f.hours} * 3600;
  if (!fits(h)) return false;
  const int64_t m = int64_t{f.minutes} * 60;
  if (!fits(m) || !fits(h + m)) return false;
  seconds = h + m + f.seconds;
  return fits(seconds);
}

enum class Recognised { Fields, Numeric };

Recognised Recognise(std::string& time, std::string_view separator, TimeFields& f) {
  std::replace(time.begin(), time.end(), ' ', '0');
  if (ReadMasked(time, f)) return Recognised::Fields;
  if (IsNumeric(time)) return Recognised::Numeric;
  ReadFallback(time, separator, f);
  return Recognised::Fields;
}

}  // namespace

std::string MSecsToTime(double& ms, int16_t& notation) {
  if (ms < 0) ms = 0;
  // Each step stands alone: a value beyond 32 bits leaves its field 0 and goes on.
  int32_t h = 0, m = 0, s = 0, f = 0, rounded = 0;
  if (RoundToInt32(ms, rounded)) h = rounded / 3600000;
  ms -= h * 3600000.0;
  if (RoundToInt32(ms, rounded)) m = rounded / 60000;
  ms -= m * 60000.0;
  if (RoundToInt32(ms, rounded)) s = rounded / 1000;
  RoundToInt32(ms - s * 1000.0, f);

  const long long totalMinutes = static_cast<long long>(h) * 60 + m;
  char buffer[96];
  switch (notation) {
    case kNotationHours:
      std::snprintf(buffer, sizeof buffer, "%d:%02d:%02d.%02d", h, m, s, f / 10);
      break;
    case kNotationMinutes:
      std::snprintf(buffer, sizeof buffer, "%02lld:%02d.%02d", totalMinutes, s, f / 10);
      break;
    case kNotationMinutesMs:
      std::snprintf(buffer, sizeof buffer, "%02lld:%02d.%03d", totalMinutes, s, f);
      break;
    case kNotationMinutesOnly:
      std::snprintf(buffer, sizeof buffer, "%02lld:%02d", totalMinutes, s);
      break;
    case kNotationFrames:
      std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d:%02d", h, m, s, f / 10);
      break;
    case kNotationDotMs:
      std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d.%03d", h, m, s, f);
      break;
    case kNotationClock:
      std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d", h, m, s);
      break;
    default:
      std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d,%03d", h, m, s, f);
      break;
  }
  return buffer;
}

double TimeToMSecs(std::string& time, std::string& separator) {
  TimeFields f;
  if (Recognise(time, separator, f) == Recognised::Numeric) {
    int32_t ms = 0;
    return RoundToInt32(Val(time) * 1000.0, ms) ? ms : 0.0;
  }
  int64_t seconds = 0;
  if (!CheckedWholeSeconds(f, seconds)) return 0;
  const int64_t total = seconds * 1000 + f.milliseconds;
  const bool fits = seconds * 1000 >= std::numeric_limits<int32_t>::min() &&
                    seconds * 1000 <= std::numeric_limits<int32_t>::max() &&
                    total >= std::numeric_limits<int32_t>::min() && total <= std::numeric_limits<int32_t>::max();
  return fits ? static_cast<double>(total) : 0.0;
}

double TimeToSec(std::string& time, bool& withFraction, std::string& separator) {
  TimeFields f;
  if (Recognise(time, separator, f) == Recognised::Numeric) return Val(time);
  int64_t seconds = 0;
  if (!CheckedWholeSeconds(f, seconds)) return 0;
  return withFraction ? static_cast<double>(seconds) + f.fraction : static_cast<double>(seconds);
}

std::string FormatMSecs(double ms, int16_t notation) { return MSecsToTime(ms, notation); }

double ParseMSecs(std::string_view time, std::string_view separator) {
  std::string t(time), s(separator);
  return TimeToMSecs(t, s);
}

double ParseSecs(std::string_view time, bool withFraction, std::string_view separator) {
  std::string t(time), s(separator);
  return TimeToSec(t, withFraction, s);
}

}  // namespace zel
