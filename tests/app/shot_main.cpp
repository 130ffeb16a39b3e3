// zel-window-shot OUT.png FILE...: the main window as a user first sees it with
// FILE... added, the first one playing paused in the preview, written as a
// picture for the README. Run on a display with its own settings store.
#include "app/frmMain.h"
#include "controls/ctlListbox.h"
#include "jobs/Settings.h"
#include "jobs/StartUp.h"
#include "player/DesktopApplication.h"
#include "player/ctlDSPlayer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>

#include <cstdio>

namespace {

void WaitFor(const std::function<bool()>& done, int ms) {
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < ms) QApplication::processEvents(QEventLoop::AllEvents, 20);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  zel::PrepareDesktopApplication();
  const QStringList args = app.arguments().mid(1);
  if (args.size() < 2) {
    std::fprintf(stderr, "usage: zel-window-shot OUT.png FILE...\n");
    return 2;
  }
  QStringList files;
  for (const QString& file : args.mid(1)) files << QFileInfo(file).absoluteFilePath();

  zel::frmMain window;
  zel::StartOptions options;
  options.files = {"--"};
  if (zel::Main(window.Host(), options) != zel::StartResult::Ready) return 1;
  zel::WriteSetting("ShowTip", "否");
  zel::WriteSetting("MediaPlayNow", "是");
  zel::WriteSetting("CheckMediaInfo", "是");
  zel::WriteSetting("ShowSetting", "主界面");
  window.FormLoad(files);
  window.resize(1100, 720);
  zel::ctlListbox& tasks = window.Tasks();
  WaitFor([&] { return tasks.ListCount() == files.size(); }, 10000);
  WaitFor([&] {
    for (int i = 0; i < tasks.ListCount(); ++i) {
      if (tasks.Model().ListImage(i).empty()) return false;
    }
    return true;
  }, 10000);
  tasks.SetListIndex(0);
  zel::ctlDSPlayer& player = window.Player();
  WaitFor([&] { return player.Status() == 1; }, 10000);
  player.SetPause(true);
  player.SetPosition(1.0);
  WaitFor([] { return false; }, 1500);
  if (!window.grab().toImage().save(args.front())) {
    std::fprintf(stderr, "zel-window-shot: cannot write %s\n", qPrintable(args.front()));
    return 1;
  }
  return 0;
}
