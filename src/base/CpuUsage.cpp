#include "base/CpuUsage.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

// The fields of a "cpu" line, in the kernel's order; guest time is already
// inside user and nice and is not counted twice.
enum class Field { User, Nice, System, Idle, IoWait, Irq, SoftIrq, Steal, Count };

}  // namespace

clsCPUUsage::clsCPUUsage() : ReadStat([] { return ReadText("/proc/stat"); }) {}

bool clsCPUUsage::Read(Sample& sample, std::string_view timeError, std::string_view idleError) {
  sample = {};
  const std::string text = ReadStat ? ReadStat() : std::string();
  bool summed = false;
  for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    if (!StartsWith(line, "cpu")) continue;
    if (line.size() > 3 && line[3] != ' ') {
      ++sample.processors;
      continue;
    }
    std::vector<uint64_t> values;
    for (const std::string& word : Split(Trim(line.substr(3)), " ")) {
      if (!word.empty()) values.push_back(std::strtoull(word.c_str(), nullptr, 10));
    }
    if (values.size() <= static_cast<size_t>(Field::Idle)) {
      error_ = idleError;
      return false;
    }
    const size_t counted = std::min(values.size(), static_cast<size_t>(Field::Count));
    for (size_t i = 0; i < counted; ++i) sample.total += values[i];
    sample.idle = values[static_cast<size_t>(Field::Idle)];
    if (counted > static_cast<size_t>(Field::IoWait)) sample.idle += values[static_cast<size_t>(Field::IoWait)];
    summed = true;
  }
  if (!summed) {
    error_ = timeError;
    return false;
  }
  if (sample.processors == 0) {
    error_ = kCpuErrorProcessors;
    return false;
  }
  return true;
}

bool clsCPUUsage::Initialize() {
  error_.clear();
  load_ = 0;
  ready_ = Read(last_, kCpuErrorInitTime, kCpuErrorInitIdle);
  return ready_;
}

int clsCPUUsage::Query() {
  if (!ready_ && !Initialize()) return -1;
  Sample now;
  if (!Read(now, kCpuErrorTime, kCpuErrorIdle)) return -1;
  const bool wentBack = now.total < last_.total || now.idle < last_.idle || now.processors != last_.processors;
  if (!wentBack && now.total > last_.total) {
    const double time = static_cast<double>(now.total - last_.total) / now.processors;
    const double idle = static_cast<double>(now.idle - last_.idle);
    const int load = static_cast<int>(100.0 - idle * 100.0 / time / now.processors + 0.5);
    load_ = std::clamp(load, 0, 100);
  }
  last_ = now;
  return load_;
}

void clsCPUUsage::Terminate() {
  ready_ = false;
  last_ = {};
}

}  // namespace zel
