#include "cli/CliHost.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "jobs/MainState.h"
#include "jobs/SessionActions.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"

namespace zel::cli {

void CliHost::AddInfo(std::string_view category, std::string_view message, std::string_view) {
  if (quietStart && category == StrInfoDone) return;
  // Information lines go beside the verb's own output, which scripts read.
  if (message.empty()) {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(category.size()), category.data());
  } else {
    std::fprintf(stderr, "%.*s | %.*s\n", static_cast<int>(category.size()), category.data(),
                 static_cast<int>(message.size()), message.data());
  }
}

void CliHost::PumpEvents() {
  if (Interrupted() && !interruptSent_) {
    interruptSent_ = true;
    if (onInterrupt) onInterrupt();
  }
}

void CliHost::SetProgress(int value, int max) {
  if (max <= 0) return;
  std::printf("progress %d %d\n", value, max);
  std::fflush(stdout);
}

void CliHost::ShowBalloon(std::string_view title, std::string_view text) {
  // An error's balloon repeats its information line.
  if (title == StrErrorOccurred) return;
  std::fprintf(stderr, "%.*s | %.*s\n", static_cast<int>(title.size()), title.data(), static_cast<int>(text.size()),
               text.data());
}

void CliHost::PlayTones() {
  // Without a sound player the terminal's bell is the nearest thing.
  if (!zel::PlayTones()) std::fputs("\a", stderr);
}

bool CliHost::PowerAction(std::string_view action) {
  const SessionActionResult result = action == StrFinishShutDown ? PowerOff()
                                     : action == StrFinishRestart ? Reboot()
                                                                  : LogOff();
  if (!result.ok) AddInfo(StrInfoProblem, result.error, {});
  return result.ok;
}

bool CliHost::OpenFolder(const std::string& folder) { return zel::OpenFolder(folder); }

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
  std::fflush(stdout);
}

bool TakeYes(Args& args) {
  const auto it = std::find(args.begin(), args.end(), "--yes");
  if (it == args.end()) return false;
  args.erase(it);
  return true;
}

std::string AbsolutePath(const std::string& path) {
  if (path.empty() || path[0] == '/') return path;
  char buffer[4096];
  return ::getcwd(buffer, sizeof buffer) == nullptr ? path : cPath(buffer) + path;
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
