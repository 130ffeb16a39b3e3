// zel-cli as the host of the job logic: information lines and messages go to
// the terminal, and questions are answered the same way by every verb.
#pragma once

#include <functional>
#include <string>

#include "cli/CliVerbs.h"
#include "engine/FFmpegX.h"
#include "jobs/StartUp.h"
#include "jobs/TaskLoop.h"

namespace zel::cli {

class CliHost : public RunHost {
 public:
  explicit CliHost(bool yes) : yes_(yes) {}

  void AddInfo(std::string_view category, std::string_view message, std::string_view tag) override;
  // "--yes" answers Yes; otherwise a terminal on standard input is asked, and
  // without one the question's default answer stands.
  bool Ask(std::string_view question, bool defaultYes) override;
  void ShowMessage(std::string_view text) override;

  // A run's events on the terminal: information lines on standard error,
  // progress on standard output for scripts to follow.
  void PumpEvents() override;
  void SetProgress(int value, int max) override;
  void ShowBalloon(std::string_view title, std::string_view text) override;
  void PlayTones() override;
  bool PowerAction(std::string_view action) override;
  bool OpenFolder(const std::string& folder) override;

  // Called from the pump once after Ctrl-C.
  std::function<void()> onInterrupt;

  // While set, the start-up's report of success ("完成" lines) is left out:
  // scripts call zel-cli again and again and want only the verb's output.
  bool quietStart = false;

 private:
  bool yes_;
  bool interruptSent_ = false;
};

// Removes "--yes" from the arguments; true when it was there.
bool TakeYes(Args& args);

// The program's start-up as zel-cli needs it; false (with the reason shown)
// when the tools are missing.
bool StartCli(CliHost& host, bool findTools);
// The FFmpeg core read into `engine`; false when it is not usable.
bool StartEngine(CliHost& host, FFmpegX& engine);

}  // namespace zel::cli
