// Command lines as one text, the way the engine composes them, turned into argument
// vectors by the rules of the Windows C runtime, so that quoted paths with blanks,
// quotes or shell characters reach the tool intact and never pass through a shell.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Splits a command line into arguments: blanks separate, double quotes group,
// 2n backslashes before a quote give n backslashes and a quote that groups,
// 2n+1 give n backslashes and a literal quote, "" inside quotes is a literal
// quote. The first argument, the program, ends at its closing quote or first blank.
std::vector<std::string> SplitCommandLine(std::string_view commandLine);

// Puts an argument in double quotes so that SplitCommandLine gives it back as it
// was. A plain path comes out as "path".
std::string QuoteArgument(std::string_view argument);

// How a command line is to be started.
struct LaunchPlan {
  // One argument vector per process; two when the command pipes one tool into another.
  std::vector<std::vector<std::string>> stages;
  bool viaShell = false;  // a hand-written line that does not begin with a quote
  std::string workingFolder;  // where the processes start; empty: where the program runs
};

// A line that begins with a double quote is split and run without a shell; one
// that holds the disc pipe " -o -|" becomes a two-process pipeline. Anything else
// is handed to /bin/sh -c as it stands.
LaunchPlan PlanLaunch(std::string_view commandLine);

}  // namespace zel
