#include "app/WindowParts.h"

#include "controls/QtText.h"

namespace zel {

ctlButton* MakeButton(QWidget* parent, Text caption, ButtonMode mode) {
  auto* button = new ctlButton(parent);
  button->SetMode(static_cast<int>(mode));
  button->SetCaption(Q(caption));
  button->setAccessibleName(Q(caption));
  return button;
}

ctlListbox* MakeList(QWidget* parent, Text title, int itemHeight) {
  auto* list = new ctlListbox(parent);
  list->SetListTitle(Q(title));
  list->setAccessibleName(Q(title));
  list->SetItemHeight(itemHeight);
  return list;
}

}  // namespace zel
