#include "jobs/DiagnosticsLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "jobs/MainState.h"

namespace zel {

long long TickCount() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

DiagnosticsLog::DiagnosticsLog(std::string programPath) : path_(std::move(programPath) + ".Diagnostics.log") {}

void DiagnosticsLog::Restart() { Shared().StartTick = TickCount(); }

long long DiagnosticsLog::Elapsed() const { return TickCount() - Shared().StartTick; }

void DiagnosticsLog::Write(std::string_view text, bool enabled) const {
  if (!enabled || text.empty()) return;
  // No O_CREAT: the file's existence is the switch.
  const int fd = ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (fd < 0) return;
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, "%05lld ", Elapsed());
  std::string line = stamp;
  line.append(text).append("\n");
  // One write per line keeps lines whole when two programs share the log.
  [[maybe_unused]] const ssize_t written = ::write(fd, line.data(), line.size());
  ::close(fd);
}

}  // namespace zel
