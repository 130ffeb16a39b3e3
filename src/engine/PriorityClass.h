// The engine's priority numbers are the process classes of the platform it was
// designed on; here each class stands for a nice value of the child's group.
#pragma once

#include <optional>

namespace zel {

enum PriorityClass : int {
  kPriorityIdle = 64,
  kPriorityBelowNormal = 16384,
  kPriorityNormal = 32,
  kPriorityAboveNormal = 32768,
  kPriorityHigh = 128,
  kPriorityRealtime = 256,
};

// The nice value of a class; nothing for a number that is no class, whose child
// then keeps the nice value it inherits.
constexpr std::optional<int> NiceForClass(int priorityClass) {
  switch (priorityClass) {
    case kPriorityIdle: return 19;
    case kPriorityBelowNormal: return 10;
    case kPriorityNormal: return 0;
    case kPriorityAboveNormal: return -5;
    case kPriorityHigh: return -10;
    case kPriorityRealtime: return -20;
    default: return std::nullopt;
  }
}

// The class a nice value falls in, each class owning the band around its value.
constexpr int ClassForNice(int nice) {
  if (nice >= 15) return kPriorityIdle;
  if (nice >= 5) return kPriorityBelowNormal;
  if (nice >= -2) return kPriorityNormal;
  if (nice >= -7) return kPriorityAboveNormal;
  if (nice >= -15) return kPriorityHigh;
  return kPriorityRealtime;
}

}  // namespace zel
