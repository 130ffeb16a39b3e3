// The drawn controls as the program's windows make them: captioned, named
// for screen readers by their caption, in the string table's words.
#pragma once

#include "controls/ctlButton.h"
#include "controls/ctlListbox.h"
#include "jobs/Strings.h"

namespace zel {

ctlButton* MakeButton(QWidget* parent, Text caption, ButtonMode mode = ButtonMode::Command);
ctlListbox* MakeList(QWidget* parent, Text title, int itemHeight);

}  // namespace zel
