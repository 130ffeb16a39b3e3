#include "QtBenchMain.h"

#include <benchmark/benchmark.h>

#include <QApplication>

#include <clocale>
#include <cstdio>
#include <cstdlib>

#include "controls/FontText.h"

namespace zel::bench {

bool OnXDisplay(const char* program, const char* script) {
  const char* display = std::getenv("DISPLAY");
  if (display != nullptr && *display != '\0') return true;
  std::fprintf(stderr, "%s: no X display, nothing measured. Run %s, which starts a virtual one.\n", program, script);
  return false;
}

int RunQtBenchmarks(int argc, char** argv) {
  QApplication app(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  InstallFontFallbacks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace zel::bench
