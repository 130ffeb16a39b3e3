// The font text the settings and the rows store, and the faces the program
// draws with when a named face is missing.
#pragma once

#include <QFont>

#include <string>
#include <string_view>

namespace zel {

// "Trebuchet MS, 20, False, False, 134, False, False, 400": face, size in
// points, bold, italic, character set, underline, strikethrough, weight. A
// field that is missing or does not read keeps the default of a 9-point
// "Trebuchet MS".
QFont FontFromText(std::string_view text);
std::string FontToText(const QFont& font);

// The faces the program names come from another platform; map them, and any
// face missing here, to installed ones, with a CJK face behind each so that
// Chinese text never draws as boxes. Call once after the application exists.
void InstallFontFallbacks();

}  // namespace zel
