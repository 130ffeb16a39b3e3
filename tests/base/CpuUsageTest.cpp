#include "base/CpuUsage.h"

#include <gtest/gtest.h>

#include <vector>

namespace zel {
namespace {

// A /proc/stat of `cores` processors whose summary line holds these fields.
std::string Stat(const std::string& summary, int cores = 2) {
  std::string text = "cpu  " + summary + "\n";
  for (int i = 0; i < cores; ++i) text += "cpu" + std::to_string(i) + " 1 0 1 1 0 0 0 0 0 0\n";
  return text + "intr 12345 0 0\nctxt 999\nbtime 1700000000\n";
}

TEST(CpuUsage, LoadFromRecordedSamples) {
  struct Case {
    std::string_view why;
    std::vector<std::string> samples;  // the first is Initialize's
    std::vector<int> loads;            // one per later sample
  };
  const Case cases[] = {
      // 400 ticks on two processors (200 each), 100 of them idle: 75 %.
      {"two cores", {Stat("100 0 100 100 0 0 0 0 0 0"), Stat("250 0 250 200 0 0 0 0 0 0")}, {75}},
      // Waiting for the disk is idle time; interrupts and stolen time are busy.
      {"iowait idles, irq and steal work",
       {Stat("0 0 0 0 0 0 0 0", 4), Stat("100 0 0 200 100 50 25 25", 4)},
       {40}},
      // 1000 ticks, 3 idle: 99.7 rounds to 100; 995 idle: 0.5 rounds to 1.
      {"the half rounds up", {Stat("0 0 0 0 0 0 0 0"), Stat("997 0 0 3 0 0 0 0"), Stat("1002 0 0 998 0 0 0 0")},
       {100, 1}},
      // Nothing passed: the last load again; counters going back start afresh.
      {"no tick, then a counter that went back",
       {Stat("0 0 0 0"), Stat("50 0 0 50"), Stat("50 0 0 50"), Stat("10 0 0 10"), Stat("10 0 0 110")},
       {50, 50, 50, 0}},
      // A processor taken off line changes the count: a new start, not a jump.
      {"processor count changes", {Stat("0 0 0 0", 2), Stat("100 0 0 100", 2), Stat("900 0 0 100", 1)}, {50, 50}},
      // An old kernel's short summary line (no iowait) still counts.
      {"four fields", {Stat("10 0 10 80"), Stat("20 0 20 160")}, {20}},
  };
  for (const Case& c : cases) {
    size_t next = 0;
    clsCPUUsage meter;
    meter.ReadStat = [&] { return c.samples.at(next++); };
    ASSERT_TRUE(meter.Initialize()) << c.why << ": " << meter.LastError();
    std::vector<int> loads;
    while (next < c.samples.size()) loads.push_back(meter.Query());
    EXPECT_EQ(loads, c.loads) << c.why;
  }
}

TEST(CpuUsage, FailuresAreToldInTheirWords) {
  struct Case {
    std::string initial, later;
    bool initializes;
    std::string_view error;
  };
  const Case cases[] = {
      {"", "", false, kCpuErrorInitTime},
      {"cpu  1 2\ncpu0 1 2\n", "", false, kCpuErrorInitIdle},
      {"cpu  1 2 3 4\n", "", false, kCpuErrorProcessors},
      {Stat("1 2 3 4"), "", true, kCpuErrorTime},
      {Stat("1 2 3 4"), "cpu  1\ncpu0 1\n", true, kCpuErrorIdle},
  };
  for (const Case& c : cases) {
    int reads = 0;
    clsCPUUsage meter;
    meter.ReadStat = [&] { return reads++ == 0 ? c.initial : c.later; };
    EXPECT_EQ(meter.Initialize(), c.initializes) << c.error;
    if (c.initializes) {
      EXPECT_EQ(meter.Query(), -1) << c.error;
    }
    EXPECT_EQ(meter.LastError(), c.error);
  }
  // The real counters of this machine give a load in range.
  clsCPUUsage meter;
  ASSERT_TRUE(meter.Initialize()) << meter.LastError();
  const int load = meter.Query();
  EXPECT_GE(load, 0);
  EXPECT_LE(load, 100);
}

}  // namespace
}  // namespace zel
