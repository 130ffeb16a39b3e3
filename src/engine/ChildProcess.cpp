#include "engine/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

extern char** environ;

namespace zel {

namespace {

// posix_spawn's attribute and file-action objects, released on every path.
class SpawnSetup {
 public:
  SpawnSetup() {
    posix_spawnattr_init(&attr_);
    posix_spawn_file_actions_init(&actions_);
  }
  ~SpawnSetup() {
    posix_spawnattr_destroy(&attr_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  void Configure(pid_t processGroup, int inputFd, int outputFd, int errorFd, const std::string& folder) {
    if (!folder.empty()) posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str());
    // The program may ignore or block signals; a tool must start with the defaults.
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    for (int s : {SIGINT, SIGTERM, SIGPIPE, SIGCHLD, SIGQUIT, SIGHUP, SIGXFSZ}) sigaddset(&defaults, s);
    posix_spawnattr_setsigmask(&attr_, &none);
    posix_spawnattr_setsigdefault(&attr_, &defaults);
    posix_spawnattr_setpgroup(&attr_, processGroup);
    posix_spawnattr_setflags(&attr_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    if (inputFd < 0) {
      posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    } else {
      posix_spawn_file_actions_adddup2(&actions_, inputFd, STDIN_FILENO);
    }
    posix_spawn_file_actions_adddup2(&actions_, outputFd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, errorFd, STDERR_FILENO);
  }

  int Spawn(pid_t& pid, const std::vector<std::string>& args) {
    std::vector<char*> argv;
    argv.reserve(args.size() + 1);
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    return posix_spawnp(&pid, argv[0], &actions_, &attr_, argv.data(), environ);
  }

 private:
  posix_spawnattr_t attr_;
  posix_spawn_file_actions_t actions_;
};

void CloseFd(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

}  // namespace

ChildProcess::~ChildProcess() {
  if (Started() && !reaped_.front()) Terminate(0);
  CloseOutput();
}

ChildProcess::StartResult ChildProcess::Start(const LaunchPlan& plan, std::optional<int> niceValue) {
  if (plan.stages.empty() || plan.stages.front().empty()) return StartResult::SpawnFailed;
  int out[2];
  if (::pipe2(out, O_CLOEXEC) != 0) return StartResult::PipeFailed;

  int feed[2] = {-1, -1};  // between the stages of a pipeline
  if (plan.stages.size() > 1 && ::pipe2(feed, O_CLOEXEC) != 0) {
    ::close(out[0]);
    ::close(out[1]);
    return StartResult::PipeFailed;
  }

  bool ok = true;
  for (size_t stage = 0; stage < plan.stages.size() && ok; ++stage) {
    const bool last = stage + 1 == plan.stages.size();
    if (plan.stages[stage].empty()) {
      ok = false;
      break;
    }
    SpawnSetup setup;
    setup.Configure(pids_.empty() ? 0 : pids_.front(), stage == 0 ? -1 : feed[0],
                    last ? out[1] : feed[1], out[1], plan.workingFolder);
    pid_t pid = -1;
    ok = setup.Spawn(pid, plan.stages[stage]) == 0;
    if (ok) {
      pids_.push_back(pid);
      reaped_.push_back(false);
    }
  }
  ::close(out[1]);
  CloseFd(feed[0]);
  CloseFd(feed[1]);
  outputFd_ = out[0];

  if (!ok) {
    if (Started()) Terminate(0);
    CloseOutput();
    pids_.clear();
    reaped_.clear();
    return StartResult::SpawnFailed;
  }
  if (niceValue) SetNice(*niceValue);
  return StartResult::Started;
}

ChildProcess::ReadResult ChildProcess::Read(std::string& block, size_t maxBytes, int timeoutMs) {
  block.clear();
  if (outputFd_ < 0) return ReadResult::End;
  pollfd pfd{outputFd_, POLLIN, 0};
  const int ready = ::poll(&pfd, 1, timeoutMs);
  if (ready == 0 || (ready < 0 && errno == EINTR)) return ReadResult::Timeout;
  if (ready < 0) return ReadResult::End;
  block.resize(maxBytes);
  const ssize_t n = ::read(outputFd_, block.data(), maxBytes);
  if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
    block.clear();
    return ReadResult::Timeout;
  }
  if (n <= 0) {
    block.clear();
    return ReadResult::End;
  }
  block.resize(static_cast<size_t>(n));
  return ReadResult::Data;
}

bool ChildProcess::SignalGroup(int signal) const {
  // Once the leader is reaped its number may belong to someone else.
  return Started() && !reaped_.front() && ::kill(-ProcessGroup(), signal) == 0;
}

bool ChildProcess::AllExited() const {
  for (size_t i = 0; i < pids_.size(); ++i) {
    if (reaped_[i]) continue;
    siginfo_t info{};
    // WNOWAIT keeps the zombie, and with it the group number, until the group is killed.
    if (::waitid(P_PID, static_cast<id_t>(pids_[i]), &info, WEXITED | WNOHANG | WNOWAIT) != 0) continue;
    if (info.si_pid == 0) return false;
  }
  return true;
}

bool ChildProcess::SetNice(int niceValue) const {
  return Started() && ::setpriority(PRIO_PGRP, static_cast<id_t>(ProcessGroup()), niceValue) == 0;
}

std::optional<int> ChildProcess::Nice() const {
  if (!Started()) return std::nullopt;
  errno = 0;
  const int value = ::getpriority(PRIO_PROCESS, static_cast<id_t>(Pid()));
  if (value == -1 && errno != 0) return std::nullopt;
  return value;
}

bool ChildProcess::ReapAll(bool block) {
  bool all = true;
  for (size_t i = 0; i < pids_.size(); ++i) {
    if (reaped_[i]) continue;
    int status = 0;
    pid_t r;
    do {
      r = ::waitpid(pids_[i], &status, block ? 0 : WNOHANG);
    } while (r < 0 && errno == EINTR);
    if (r == pids_[i] || (r < 0 && errno == ECHILD)) {
      reaped_[i] = true;
      if (i + 1 == pids_.size()) lastStatus_ = status;
    } else {
      all = false;
    }
  }
  return all;
}

bool ChildProcess::Terminate(int graceMs) {
  if (!Started() || reaped_.front()) return false;
  const bool reached = SignalGroup(SIGTERM);
  SignalGroup(SIGCONT);  // a suspended tool cannot act on the request otherwise
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(graceMs);
  while (!AllExited() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  // Whatever is left of the group, helpers a shell started included, goes now.
  SignalGroup(SIGKILL);
  ReapAll(true);
  return reached;
}

int ChildProcess::Wait() {
  if (Started()) ReapAll(true);
  return lastStatus_;
}

bool ChildProcess::WaitFor(int timeoutMs) {
  if (!Started()) return true;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!ReapAll(false)) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

void ChildProcess::CloseOutput() { CloseFd(outputFd_); }

}  // namespace zel
