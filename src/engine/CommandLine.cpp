#include "engine/CommandLine.h"

namespace zel {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The program name is taken verbatim: up to the closing quote, or the first blank.
size_t ReadProgram(std::string_view line, size_t i, std::string& program) {
  if (i < line.size() && line[i] == '"') {
    const size_t close = line.find('"', i + 1);
    const size_t end = close == std::string_view::npos ? line.size() : close;
    program.assign(line.substr(i + 1, end - i - 1));
    i = close == std::string_view::npos ? line.size() : close + 1;
  }
  // Text glued to a closing quote still belongs to the program name.
  while (i < line.size() && !IsBlank(line[i])) program += line[i++];
  return i;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
  std::vector<std::string> args;
  size_t i = 0;
  while (i < line.size() && IsBlank(line[i])) ++i;
  if (i == line.size()) return args;

  std::string program;
  i = ReadProgram(line, i, program);
  args.push_back(std::move(program));

  for (;;) {
    while (i < line.size() && IsBlank(line[i])) ++i;
    if (i >= line.size()) break;
    std::string arg;
    bool quoted = false;
    while (i < line.size() && (quoted || !IsBlank(line[i]))) {
      if (line[i] == '\\') {
        size_t slashes = 0;
        while (i < line.size() && line[i] == '\\') { ++slashes; ++i; }
        if (i < line.size() && line[i] == '"') {
          arg.append(slashes / 2, '\\');
          if (slashes % 2 == 1) {
            arg += '"';
            ++i;
          }
          // An even count leaves the quote to toggle grouping below.
        } else {
          arg.append(slashes, '\\');
        }
        continue;
      }
      if (line[i] == '"') {
        if (quoted && i + 1 < line.size() && line[i + 1] == '"') {
          arg += '"';
          i += 2;
          continue;
        }
        quoted = !quoted;
        ++i;
        continue;
      }
      arg += line[i++];
    }
    args.push_back(std::move(arg));
  }
  return args;
}

std::string QuoteArgument(std::string_view argument) {
  std::string quoted = "\"";
  size_t slashes = 0;
  for (char c : argument) {
    if (c == '\\') {
      ++slashes;
      continue;
    }
    if (c == '"') {
      quoted.append(slashes * 2 + 1, '\\');
    } else {
      quoted.append(slashes, '\\');
    }
    slashes = 0;
    quoted += c;
  }
  // Backslashes before the closing quote must not escape it.
  quoted.append(slashes * 2, '\\');
  quoted += '"';
  return quoted;
}

LaunchPlan PlanLaunch(std::string_view commandLine) {
  LaunchPlan plan;
  if (commandLine.empty() || commandLine.front() != '"') {
    plan.viaShell = true;
    plan.stages.push_back({"/bin/sh", "-c", std::string(commandLine)});
    return plan;
  }
  constexpr std::string_view kDiscPipe = " -o -|";
  const size_t pipe = commandLine.find(kDiscPipe);
  if (pipe == std::string_view::npos) {
    plan.stages.push_back(SplitCommandLine(commandLine));
    return plan;
  }
  const size_t bar = pipe + kDiscPipe.size() - 1;
  plan.stages.push_back(SplitCommandLine(commandLine.substr(0, bar)));
  plan.stages.push_back(SplitCommandLine(commandLine.substr(bar + 1)));
  return plan;
}

}  // namespace zel
