// Screen readers and the theme reach the player: its accessible interface and
// the one for its status bar behind a factory of their own (the controls'
// factory cannot know the player), and the theme's pass over a window's players.
#pragma once

#include "controls/ApplyTheme.h"

class QAccessibleInterface;

namespace zel {

class ctlDSPlayer;

QAccessibleInterface* AccessibleFor(ctlDSPlayer* player);
// Installs the player's factory once, beside InstallAccessibility's; call it
// after the QApplication exists.
void InstallPlayerAccessibility();

// The theme on one player: its style and its bar's (style 27 takes the border
// away), the bar's colours from the face colour, and the bar's kind and height
// applied again so the video is placed anew; painting is held meanwhile.
void ApplyPlayerTheme(ctlDSPlayer& player, const ThemeSettings& theme);
// The hooks ApplyTheme takes for the players of `window`.
ThemeHooks PlayerThemeHooks(QWidget* window);

}  // namespace zel
