#include "engine/ToolCapture.h"

#include <chrono>

#include "engine/ChildProcess.h"
#include "engine/CommandLine.h"
#include "engine/PriorityClass.h"

namespace zel {

namespace {

constexpr size_t kBlockSize = 4096;
constexpr int kPollMs = 40;
// A tool that never ends must not hang an identification or a probe.
constexpr auto kCaptureLimit = std::chrono::seconds(30);

}  // namespace

std::string CaptureToolOutput(const std::string& core, std::string_view arguments) {
  std::string command = QuoteArgument(core);
  if (!arguments.empty()) command.append(" ").append(arguments);
  ChildProcess child;
  if (child.Start(PlanLaunch(command), NiceForClass(kPriorityIdle)) != ChildProcess::StartResult::Started) return {};
  std::string output, block;
  const auto deadline = std::chrono::steady_clock::now() + kCaptureLimit;
  for (;;) {
    const auto result = child.Read(block, kBlockSize, kPollMs);
    if (result == ChildProcess::ReadResult::End) break;
    if (result == ChildProcess::ReadResult::Data) output += block;
    if (std::chrono::steady_clock::now() > deadline) {
      child.Terminate(0);
      break;
    }
  }
  child.Wait();
  return output;
}

}  // namespace zel
