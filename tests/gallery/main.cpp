// zel-gallery: every drawn control in one window, with a theme switcher.
//   zel-gallery [--style N] [--color 0xRRGGBB] [--shot FILE.png]
// With --shot the window is rendered offscreen at its fixed size, written to
// FILE.png, and the program ends.
#include "controls/Accessibility.h"
#include "controls/FontText.h"
#include "gallery/GalleryWindow.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  std::string shot;
  int style = -1;
  long rgb = -1;
  // Our options are taken out before Qt sees the rest: Qt reads "-style" itself.
  std::vector<char*> rest{argv[0]};
  for (int i = 1; i < argc; ++i) {
    const bool known = !std::strcmp(argv[i], "--shot") || !std::strcmp(argv[i], "--style") ||
                       !std::strcmp(argv[i], "--color");
    if (!known || i + 1 >= argc) {
      std::fprintf(stderr, "用法: zel-gallery [--style N] [--color 0xRRGGBB] [--shot FILE.png]\n");
      return 2;
    }
    const char* value = argv[++i];
    if (!std::strcmp(argv[i - 1], "--shot")) shot = value;
    else if (!std::strcmp(argv[i - 1], "--style")) style = std::atoi(value);
    else rgb = std::strtol(value, nullptr, 16);
  }
  int restCount = static_cast<int>(rest.size());
  // A screenshot needs no screen, and leaves the user's settings alone.
  std::unique_ptr<QTemporaryDir> scratch;
  if (!shot.empty()) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    scratch = std::make_unique<QTemporaryDir>();
    setenv("XDG_CONFIG_HOME", scratch->path().toUtf8().constData(), 1);
  }
  QApplication app(restCount, rest.data());
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setApplicationName("zel-gallery");
  zel::InstallFontFallbacks();
  zel::InstallAccessibility();

  zel::GalleryWindow window;
  zel::ThemeSettings theme = window.Theme();
  if (style >= 0) theme.style = style;
  // The command line speaks 0xRRGGBB; the theme keeps 0x00BBGGRR.
  if (rgb >= 0) theme.color = zel::ToBgr(QColor::fromRgb(static_cast<QRgb>(rgb)));
  window.SetTheme(theme);
  window.setFixedSize(1100, 680);
  window.show();
  if (shot.empty()) return app.exec();

  QApplication::processEvents();
  if (!window.grab().save(QString::fromStdString(shot), "PNG")) {
    std::fprintf(stderr, "无法写入截图: %s\n", shot.c_str());
    return 1;
  }
  return 0;
}
