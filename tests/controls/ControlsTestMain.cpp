// The controls' tests need a QApplication; they run on the offscreen platform
// unless the caller chose another.
#include "controls/Accessibility.h"
#include "controls/FontText.h"

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

int main(int argc, char** argv) {
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QApplication app(argc, argv);
  // The theme and the controls read and write the settings store: keep the
  // user's own out of reach.
  QTemporaryDir config;
  setenv("XDG_CONFIG_HOME", config.path().toUtf8().constData(), 1);
  std::setlocale(LC_NUMERIC, "C");
  zel::InstallFontFallbacks();
  zel::InstallAccessibility();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
