// A tool run as a child: posix_spawn in a process group of its own, standard output
// and error merged into one pipe, standard input from /dev/null.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "engine/CommandLine.h"

namespace zel {

class ChildProcess {
 public:
  enum class StartResult { Started, PipeFailed, SpawnFailed };
  enum class ReadResult { Data, Timeout, End };

  ChildProcess() = default;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  // A child still running when its owner goes is ended, never left behind.
  ~ChildProcess();

  // Starts every stage of the plan; a second stage reads the first one's output.
  // `niceValue` is applied to the whole group at once when given.
  StartResult Start(const LaunchPlan& plan, std::optional<int> niceValue);

  // Waits at most `timeoutMs` for output and reads at most `maxBytes` of it.
  ReadResult Read(std::string& block, size_t maxBytes, int timeoutMs);

  bool Started() const { return !pids_.empty(); }
  // The process whose text is read: the last stage.
  pid_t Pid() const { return pids_.empty() ? -1 : pids_.back(); }
  pid_t ProcessGroup() const { return pids_.empty() ? -1 : pids_.front(); }

  bool SignalGroup(int signal) const;
  bool SetNice(int niceValue) const;
  // The tool's nice value, or nothing when it cannot be read.
  std::optional<int> Nice() const;

  // Asks the group to stop, and kills it when it has not gone after `graceMs`.
  // True when the group could be reached. Every stage is reaped afterwards.
  bool Terminate(int graceMs);

  // Reaps every stage; returns the last stage's wait status.
  int Wait();
  // Reaps what has ended, waiting at most `timeoutMs`; true when every stage has.
  bool WaitFor(int timeoutMs);

  // Closes the parent's end of the output pipe.
  void CloseOutput();

 private:
  bool ReapAll(bool block);
  bool AllExited() const;

  std::vector<pid_t> pids_;
  std::vector<bool> reaped_;
  int lastStatus_ = 0;
  int outputFd_ = -1;
};

}  // namespace zel
