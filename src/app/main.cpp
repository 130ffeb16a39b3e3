// zel [--karaoke] [FILE...]: the desktop program. Files and folders named on the
// command line are added to the task list once the window stands.
#include "app/frmMain.h"
#include "app/frmStartUp.h"
#include "controls/Accessibility.h"
#include "controls/FontText.h"
#include "controls/QtText.h"
#include "jobs/StartUp.h"
#include "player/PlayerAccessibility.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>

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

// For the window benchmark: ZEL_REPORT_FIRST_PAINT=FILE writes to FILE the
// milliseconds from the process's start until the main window has painted
// itself once and handed the picture to the display; ZEL_QUIT_AFTER_FIRST_PAINT=1
// closes the window after that. Unset, nothing is watched.
class FirstPaintReport : public QObject {
 public:
  FirstPaintReport(QWidget* window, std::string file, bool quit) : window_(window), file_(std::move(file)), quit_(quit) {
    window->installEventFilter(this);
  }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
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

 private:
  QWidget* window_;
  std::string file_;
  bool quit_;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  // libmpv reads numbers in the C form; Qt has set the user's by now.
  std::setlocale(LC_NUMERIC, "C");
  zel::InstallFontFallbacks();
  zel::InstallAccessibility();
  zel::InstallPlayerAccessibility();

  zel::StartOptions options;
  QStringList files;
  for (const QString& argument : app.arguments().mid(1)) {
    if (argument == "--karaoke") {
      options.karaoke = true;
    } else {
      files << QFileInfo(argument).absoluteFilePath();
      options.files.push_back(zel::S(argument));
    }
  }

  auto window = std::make_unique<zel::frmMain>();
  std::unique_ptr<FirstPaintReport> firstPaint;
  if (const char* file = std::getenv("ZEL_REPORT_FIRST_PAINT"); file != nullptr && *file != '\0') {
    const char* quit = std::getenv("ZEL_QUIT_AFTER_FIRST_PAINT");
    firstPaint = std::make_unique<FirstPaintReport>(window.get(), file, quit != nullptr && std::string(quit) == "1");
  }
  std::unique_ptr<zel::frmStartUp> splash;
  if (files.isEmpty()) {
    splash = std::make_unique<zel::frmStartUp>();
    splash->show();
    QObject::connect(&window->Host(), &zel::WindowHost::SplashTextChanged, splash.get(), &zel::frmStartUp::SetText);
    QApplication::processEvents();
  }
  if (zel::Main(window->Host(), options) != zel::StartResult::Ready) return 1;
  window->FormLoad(files);
  splash.reset();
  const int code = app.exec();
  firstPaint.reset();
  window.reset();
  return code;
}
