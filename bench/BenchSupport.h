// What the benchmarks share: running a program and timing it.
#pragma once

#include <string>
#include <vector>

namespace zel::bench {

// Runs a program with these arguments, no shell, its output read and dropped;
// the wall time in seconds, or -1 when it could not start or did not exit 0.
double RunSeconds(const std::vector<std::string>& argv);
// The same, giving the program's merged output instead of the time.
std::string RunOutput(const std::vector<std::string>& argv);

}  // namespace zel::bench
