// The colours and the style number that drive every drawn control, the colours
// a button derives from its one back colour, and the small markup with which a
// text carries its own styling.
#pragma once

#include <QColor>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

// Colours travel as 0x00BBGGRR, as the settings and the rows store them; -1
// means "the control's own colour".
inline constexpr int32_t kNoColor = -1;
// The system's button-text colour, resolved from the palette when drawn.
inline constexpr int32_t kSystemButtonText = static_cast<int32_t>(0x80000012u);

QColor FromBgr(int32_t bgr);
int32_t ToBgr(const QColor& color);
// A stored colour for drawing: -1 gives `fallback`, a system colour comes from
// the application's palette.
QColor ResolveColor(int32_t bgr, const QColor& fallback);

// A colour written as text: "&HFF8080" (with or without a closing "&"),
// "0xFF8080" or bare "FF8080", in the 0x00BBGGRR order; anything else gives
// the fallback.
int32_t ColorFromText(std::string_view text, int32_t fallback);
// The "&H" form a colour row shows: "&HFF8080".
std::string ColorToText(int32_t bgr);

// Each channel moves toward white by `amount` (0..1) for a positive amount and
// toward black for a negative one.
int32_t ShiftColor(int32_t bgr, double amount);
// Whether text on this colour wants to be light: the derived colours then
// step toward white instead of away from it.
bool IsDarkColor(int32_t bgr);
// The colour `frame` steps of `frames` on the way from `from` to `to`, channel by
// channel; the last frame is `to` itself.
int32_t ColorStep(int32_t from, int32_t to, int frame, int frames);

// The themed colours of a button for one back colour.
struct ButtonColors {
  int32_t BackColor = 0;
  int32_t BackColorHover = 0;
  int32_t BackColorPressed = 0;
  int32_t LightColor = 0;
  int32_t BorderColorHover = 0;
  int32_t BorderColorPressed = 0;
  int32_t FadeColor = 0;
  int32_t FadeColorHover = 0;
  int32_t FadeColorPressed = 0;
  int32_t FadeColorDisable = 0;
  int32_t ProgressColor = 0;
};
ButtonColors DeriveButtonColors(int32_t back);

// The colour `SetThemeColor` takes for a palette index when it is given -1: the
// sixteen fixed colours, 16 a random one, and -1 for an index outside them.
int32_t ThemeColorForIndex(int index);

// What a style number does to a button's fixed colours and flags.
struct StyleLook {
  bool keepColors = false;  // only the flags change
  int32_t foreColor = kSystemButtonText;
  int32_t backColor = 0xD7C5C6;
  bool showBorder = true;
  bool showCorner = true;
};
StyleLook StyleLookFor(int style);
// Whether the theme pass turns the buttons' corners off for this style.
bool ThemePassHidesCorners(int style);
// The styles drawn with flat colours instead of a gradient.
bool StyleIsFlat(int style);

// The styles offered to the user, by the number each stands for.
struct StyleName {
  std::string_view name;
  int style;
};
const std::array<StyleName, 4>& StyleNames();

// What a text's marks ask for. `size` is 0 when no size mark stands; the
// interval is that of the main window's effect timer.
struct TextEffects {
  std::string text;  // the text without its marks
  bool bold = false;
  bool italic = false;
  int size = 0;
  int32_t color = 0;
  int effectInterval = 30;
};
TextEffects ParseTextEffects(std::string_view text, int32_t defaultColor);

// The theme the settings hold.
struct ThemeSettings {
  int style = 26;
  int32_t color = kNoColor;  // -1: the colour of the style
  int transparent = 0;
  std::array<int32_t, 6> palette{};
};
ThemeSettings ReadThemeSettings();
// Writes the style and the colour; the palette is the user's own business.
void WriteThemeSettings(const ThemeSettings& theme);

}  // namespace zel
