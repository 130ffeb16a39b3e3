#include "BenchSupport.h"

#include <sys/wait.h>

#include <chrono>

#include "engine/ChildProcess.h"

namespace zel::bench {

namespace {

// The exit status, or -1 when the program could not start.
int Run(const std::vector<std::string>& argv, std::string* output) {
  ChildProcess child;
  LaunchPlan plan;
  plan.stages.push_back(argv);
  if (child.Start(plan, std::nullopt) != ChildProcess::StartResult::Started) return -1;
  std::string block;
  while (child.Read(block, 65536, 1000) != ChildProcess::ReadResult::End) {
    if (output != nullptr) output->append(block);
  }
  return child.Wait();
}

}  // namespace

double RunSeconds(const std::vector<std::string>& argv) {
  const auto begin = std::chrono::steady_clock::now();
  const int status = Run(argv, nullptr);
  if (status < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1;
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string RunOutput(const std::vector<std::string>& argv) {
  std::string output;
  Run(argv, &output);
  return output;
}

}  // namespace zel::bench
