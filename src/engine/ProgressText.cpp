#include "engine/ProgressText.h"

#include <cmath>
#include <ctime>

#include "base/FileHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {

double ElapsedMs(std::string_view startTime, std::string_view nowTime) {
  const double start = ParseMSecs(startTime, ",");
  const double now = ParseMSecs(nowTime, ",");
  if (now < start) return 86400000.0 - start + now;
  return now - start;
}

std::optional<std::string> RemainderText(double elapsedMs, double value, double max, bool outputExists,
                                         int64_t outputSize) {
  if (value == 0 || !std::isfinite(value)) return std::nullopt;
  const double total = elapsedMs / value * max;
  std::string text = FormatMSecs(total - elapsedMs, kNotationClock) + "/" + FormatMSecs(total, kNotationClock);
  if (outputExists) {
    const double projected = static_cast<double>(outputSize) / value * max;
    const int64_t projectedBytes = projected < 9.0e18 && projected > 0 ? std::llround(projected) : 0;
    text += ", " + SizeText(outputSize) + "/" + SizeText(projectedBytes);
  }
  return text;
}

std::string ClockNow() { return FormatLocalNow("%H:%M:%S"); }

std::string FormatLocalNow(const char* format) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char buffer[128];
  const size_t length = std::strftime(buffer, sizeof buffer, format, &local);
  return std::string(buffer, length);
}

}  // namespace zel
