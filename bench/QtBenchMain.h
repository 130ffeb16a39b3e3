// What the benchmarks of the drawn controls, the player and the window share:
// the application made before they run, and the refusal without a display.
#pragma once

namespace zel::bench {

// False, with a line saying which script starts a virtual display, when there
// is no X display to measure on.
bool OnXDisplay(const char* program, const char* script);
// Makes the application (numbers in the C form, the font fallbacks) and runs
// the benchmarks the arguments select; the process's exit code.
int RunQtBenchmarks(int argc, char** argv);

}  // namespace zel::bench
