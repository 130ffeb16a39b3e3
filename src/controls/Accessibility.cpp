#include "controls/Accessibility.h"

#include "controls/ctlButton.h"
#include "controls/ctlCustomFrame.h"
#include "controls/ctlListbox.h"
#include "controls/ctlSlider.h"

#include <QAccessible>

namespace zel {

namespace {

QAccessibleInterface* Factory(const QString&, QObject* object) {
  if (auto* button = qobject_cast<ctlButton*>(object)) return AccessibleFor(button);
  if (auto* list = qobject_cast<ctlListbox*>(object)) return AccessibleFor(list);
  if (auto* slider = qobject_cast<ctlSlider*>(object)) return AccessibleFor(slider);
  if (auto* frame = qobject_cast<ctlCustomFrame*>(object)) return AccessibleFor(frame);
  return nullptr;
}

}  // namespace

void InstallAccessibility() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  QAccessible::installFactory(Factory);
}

}  // namespace zel
