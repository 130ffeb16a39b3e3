// The CPU meter behind ", CPU: " in the status text: the machine's load since
// the last reading, from the kernel's counters in /proc/stat.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zel {

// What goes wrong is told in these words (the meter's own diagnostics).
inline constexpr std::string_view kCpuErrorInitTime = "Error while initializing the system's time!";
inline constexpr std::string_view kCpuErrorInitIdle = "Error while initializing the CPU's idle time!";
inline constexpr std::string_view kCpuErrorProcessors = "Error while retrieving the number of processors!";
inline constexpr std::string_view kCpuErrorTime = "Error while retrieving the system's time!";
inline constexpr std::string_view kCpuErrorIdle = "Error while retrieving the CPU's idle time!";

class clsCPUUsage {
 public:
  // The text of /proc/stat; tests hand in recorded samples.
  std::function<std::string()> ReadStat;

  clsCPUUsage();
  // Takes the first reading. False, with LastError set, when the counters cannot be read.
  bool Initialize();
  // The load in whole percent since the last reading: 100 − idle × 100 / time /
  // processors + 0.5, cut to a whole number, where time is the clock ticks that
  // passed on one processor and idle the ticks all of them spent idle or waiting
  // for a disk (a processor waiting has nothing to run). A reading with no tick
  // passed, or with counters that went back (a processor taken off line), gives
  // the last load again and starts afresh from it. -1 when nothing can be read.
  int Query();
  void Terminate();

  const std::string& LastError() const { return error_; }

 private:
  struct Sample {
    uint64_t total = 0;  // ticks of all processors
    uint64_t idle = 0;
    int processors = 0;
  };
  // Nothing parsed leaves the sample's processors at 0.
  bool Read(Sample& sample, std::string_view timeError, std::string_view idleError);

  Sample last_;
  bool ready_ = false;
  int load_ = 0;
  std::string error_;
};

}  // namespace zel
