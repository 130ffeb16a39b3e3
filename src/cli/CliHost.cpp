#include "cli/CliHost.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "jobs/MainState.h"
#include "jobs/Strings.h"

namespace zel::cli {

void CliHost::AddInfo(std::string_view category, std::string_view message, std::string_view) {
  if (quietStart && category == StrInfoDone) return;
  // Information lines go beside the verb's own output, which scripts read.
  std::fprintf(stderr, "%.*s | %.*s\n", static_cast<int>(category.size()), category.data(), static_cast<int>(message.size()),
              message.data());
}

bool CliHost::Ask(std::string_view question, bool defaultYes) {
  if (yes_) return true;
  if (::isatty(STDIN_FILENO) == 0) return defaultYes;
  std::fprintf(stderr, "%.*s [%s] ", static_cast<int>(question.size()), question.data(), defaultYes ? "Y/n" : "y/N");
  std::fflush(stderr);
  std::string answer;
  if (!std::getline(std::cin, answer) || answer.empty()) return defaultYes;
  return answer[0] == 'y' || answer[0] == 'Y';
}

void CliHost::ShowMessage(std::string_view text) {
  std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
}

bool TakeYes(Args& args) {
  const auto it = std::find(args.begin(), args.end(), "--yes");
  if (it == args.end()) return false;
  args.erase(it);
  return true;
}

bool StartCli(CliHost& host, bool findTools) {
  StartOptions options;
  options.files = {"zel-cli"};  // a command line: no start-up screen
  options.findTools = findTools;
  host.quietStart = true;
  const bool ready = Main(host, options) == StartResult::Ready;
  host.quietStart = false;
  return ready;
}

bool StartEngine(CliHost& host, FFmpegX& engine) {
  host.quietStart = true;
  const bool usable = InitialiseEngine(engine, host);
  host.quietStart = false;
  return usable;
}

}  // namespace zel::cli
