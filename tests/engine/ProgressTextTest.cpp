#include "engine/ProgressText.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

TEST(ProgressText, ElapsedTimeCountsOnPastMidnight) {
  EXPECT_EQ(ElapsedMs("10:00:00", "10:00:05"), 5000);
  EXPECT_EQ(ElapsedMs("23:59:50", "00:00:10"), 20000);
  EXPECT_EQ(ElapsedMs("12:00:00", "12:00:00"), 0);
}

TEST(ProgressText, RemainingAndProjectedSize) {
  EXPECT_EQ(RemainderText(10000, 25, 100, false, 0), "00:00:30/00:00:40");
  EXPECT_EQ(RemainderText(10000, 25, 100, true, 1048576), "00:00:30/00:00:40, 1.00MB/4.00MB");
  EXPECT_EQ(RemainderText(3600000, 1, 3, true, 512), "02:00:00/03:00:00, 512B/1.50KB");
  // No progress yet: the division fails and the caller keeps its old text.
  EXPECT_FALSE(RemainderText(10000, 0, 100, true, 1024).has_value());
}

}  // namespace
}  // namespace zel
