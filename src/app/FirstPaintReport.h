// For the window benchmark: ZEL_REPORT_FIRST_PAINT=FILE makes `zel` write to
// FILE the milliseconds from the process's start until the main window has
// painted itself once and handed the picture to the display;
// ZEL_QUIT_AFTER_FIRST_PAINT=1 closes the window after that. Unset, nothing is
// watched.
#pragma once

#include <QObject>

#include <string>

class QWidget;

namespace zel {

class FirstPaintReport : public QObject {
 public:
  FirstPaintReport(QWidget* window, std::string file, bool quit);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* window_;
  std::string file_;
  bool quit_;
};

}  // namespace zel
