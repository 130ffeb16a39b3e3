// The texts of a running job's progress: elapsed time across midnight and the
// remaining-time line of the refresh timer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel {

// Milliseconds from `startTime` to `nowTime`, both "HH:MM:SS" wall clock. A job
// whose clock has passed midnight counts on from the start's day.
double ElapsedMs(std::string_view startTime, std::string_view nowTime);

// "remaining/total" in "HH:MM:SS", then ", size/projected size" when the output
// exists. Nothing when the arithmetic fails (no progress yet): the caller keeps
// the text it had.
std::optional<std::string> RemainderText(double elapsedMs, double value, double max, bool outputExists,
                                         int64_t outputSize);

// The wall clock now as "HH:MM:SS".
std::string ClockNow();
// The local time now, through strftime's format.
std::string FormatLocalNow(const char* format);

}  // namespace zel
