// A tool run only for what it prints: its banner, its lists, its reading of a
// file. Safe to call from any thread.
#pragma once

#include <string>
#include <string_view>

namespace zel {

// Runs `core` with the arguments (in the command-line syntax the engine splits)
// at idle priority and returns all it printed on its output and error. A tool
// that cannot start gives ""; one that runs past half a minute is ended.
std::string CaptureToolOutput(const std::string& core, std::string_view arguments);

}  // namespace zel
