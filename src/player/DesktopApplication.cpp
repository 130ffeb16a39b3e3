#include "player/DesktopApplication.h"

#include "controls/Accessibility.h"
#include "controls/FontText.h"
#include "player/PlayerAccessibility.h"

#include <clocale>

namespace zel {

void PrepareDesktopApplication() {
  std::setlocale(LC_NUMERIC, "C");
  InstallFontFallbacks();
  InstallAccessibility();
  InstallPlayerAccessibility();
}

}  // namespace zel
