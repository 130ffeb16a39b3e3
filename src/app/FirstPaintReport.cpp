#include "app/FirstPaintReport.h"

#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace zel {
namespace {

// Milliseconds since this process began, from the kernel's start time of it
// (counted in clock ticks since boot, so good to one tick, 10 ms usually).
long long MillisecondsSinceStart() {
  std::ifstream in("/proc/self/stat");
  std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // The program's name may hold spaces and brackets; the fields after it don't.
  const size_t close = stat.rfind(')');
  if (close == std::string::npos) return -1;
  std::istringstream fields(stat.substr(close + 2));
  std::string field;
  // The start time is the 22nd field; the state after the name is the 3rd.
  for (int i = 3; i < 22 && fields >> field; ++i) {
  }
  unsigned long long startTicks = 0;
  if (!(fields >> startTicks)) return -1;
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  const long long ticks = sysconf(_SC_CLK_TCK);
  return now.tv_sec * 1000LL + now.tv_nsec / 1000000 - static_cast<long long>(startTicks) * 1000 / ticks;
}

}  // namespace

FirstPaintReport::FirstPaintReport(QWidget* window, std::string file, bool quit)
    : window_(window), file_(std::move(file)), quit_(quit) {
  window->installEventFilter(this);
}

bool FirstPaintReport::eventFilter(QObject* watched, QEvent* event) {
  if (watched == window_ && event->type() == QEvent::Paint) {
    window_->removeEventFilter(this);
    // The children paint and the picture is flushed in the same pass.
    QTimer::singleShot(0, this, [this] {
      std::ofstream(file_) << MillisecondsSinceStart() << "\n";
      if (quit_) window_->close();
    });
  }
  return false;
}

}  // namespace zel
