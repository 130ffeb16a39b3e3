// What every program that shows the drawn controls and the player does once
// its QApplication exists.
#pragma once

namespace zel {

// Numbers in the C form for libmpv (Qt has set the user's by now), the font
// fallbacks for Chinese text, and the accessibility of the controls and the
// player for screen readers.
void PrepareDesktopApplication();

}  // namespace zel
