#include "controls/Theme.h"

#include "base/TextHelpers.h"
#include "jobs/Settings.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>

namespace zel {

QColor FromBgr(int32_t bgr) {
  const auto v = static_cast<uint32_t>(bgr);
  return QColor(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
}

int32_t ToBgr(const QColor& color) {
  return static_cast<int32_t>(static_cast<uint32_t>(color.red()) | (static_cast<uint32_t>(color.green()) << 8) |
                              (static_cast<uint32_t>(color.blue()) << 16));
}

QColor ResolveColor(int32_t bgr, const QColor& fallback) {
  if (bgr == kNoColor) return fallback;
  // The high bit marks a system colour; the only one the controls use is the
  // button text, which on this desktop is the palette's.
  if (static_cast<uint32_t>(bgr) & 0x80000000u) return QGuiApplication::palette().color(QPalette::ButtonText);
  return FromBgr(bgr);
}

namespace {

int Channel(int32_t bgr, int shift) { return static_cast<int>((static_cast<uint32_t>(bgr) >> shift) & 0xFF); }

int32_t Compose(int r, int g, int b) {
  return static_cast<int32_t>(static_cast<uint32_t>(r) | (static_cast<uint32_t>(g) << 8) |
                              (static_cast<uint32_t>(b) << 16));
}

int ShiftChannel(int c, double amount) {
  const double moved = amount >= 0 ? c + (255 - c) * amount : c * (1 + amount);
  return std::clamp(static_cast<int>(std::lround(moved)), 0, 255);
}

}  // namespace

int32_t ShiftColor(int32_t bgr, double amount) {
  amount = std::clamp(amount, -1.0, 1.0);
  return Compose(ShiftChannel(Channel(bgr, 0), amount), ShiftChannel(Channel(bgr, 8), amount),
                 ShiftChannel(Channel(bgr, 16), amount));
}

bool IsDarkColor(int32_t bgr) {
  // Rec. 601 luma, in whole numbers.
  return (Channel(bgr, 0) * 299 + Channel(bgr, 8) * 587 + Channel(bgr, 16) * 114) / 1000 < 96;
}

int32_t ColorStep(int32_t from, int32_t to, int frame, int frames) {
  if (frames <= 0 || frame >= frames) return to;
  if (frame <= 0) return from;
  auto step = [&](int shift) {
    const int a = Channel(from, shift), b = Channel(to, shift);
    return a + (b - a) * frame / frames;
  };
  return Compose(step(0), step(8), step(16));
}

int32_t ColorFromText(std::string_view text, int32_t fallback) {
  const std::string trimmed = Trim(text);
  std::string_view digits = trimmed;
  if (StartsWith(digits, "&H") || StartsWith(digits, "&h") || StartsWith(digits, "0x") || StartsWith(digits, "0X"))
    digits.remove_prefix(2);
  if (!digits.empty() && digits.back() == '&') digits.remove_suffix(1);
  const auto isHex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
  if (digits.empty() || digits.size() > 8 || !std::all_of(digits.begin(), digits.end(), isHex)) return fallback;
  return static_cast<int32_t>(std::stoul(std::string(digits), nullptr, 16) & 0xFFFFFF);
}

std::string ColorToText(int32_t bgr) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "&H%X", static_cast<unsigned>(bgr & 0xFFFFFF));
  return buffer;
}

ButtonColors DeriveButtonColors(int32_t back) {
  // One colour makes the whole button: lighter when hovered, darker when
  // pressed, and the edges and the fill a little further out.
  return ButtonColors{
      .BackColor = back,
      .BackColorHover = ShiftColor(back, 0.05),
      .BackColorPressed = ShiftColor(back, -0.1),
      .LightColor = ShiftColor(back, 0.6),
      .BorderColorHover = ShiftColor(back, -0.3),
      .BorderColorPressed = ShiftColor(back, -0.4),
      .FadeColor = ShiftColor(back, 0.3),
      .FadeColorHover = ShiftColor(back, 0.4),
      .FadeColorPressed = ShiftColor(back, -0.05),
      .FadeColorDisable = ShiftColor(back, 0.5),
      .ProgressColor = ShiftColor(back, -0.25),
  };
}

int32_t ThemeColorForIndex(int index) {
  static const int32_t fixed[16] = {
      0xE6E6E6, 0xE7EBEC, 0xDBEEF3, 0xCAB8B9, 0xFDECE0, 0xDEEDE8, ShiftColor(0xD4D4D4, 0.06), 0xFFD1AD,
      0xBAD6D4, 0xE1D6D5, 0xFCE1CA, 0xBAD6D4, ShiftColor(0xBA9EA0, 0.15), 0x66B5FF, 0xC79166, 0x999999,
  };
  if (index >= 0 && index < 16) return fixed[index];
  if (index == 16) {
    static std::mt19937 random(static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count()));
    return static_cast<int32_t>(std::uniform_int_distribution<int32_t>(0, 0xFFFFFF)(random));
  }
  return kNoColor;
}

StyleLook StyleLookFor(int style) {
  StyleLook look;
  look.showBorder = style != 27;
  switch (style) {
    case 0: case 10: case 18: case 25: case 26: case 27:
      look.keepColors = true;
      break;
    case 5:
      look.foreColor = 0xFFFFFF;
      look.backColor = 0x101010;
      break;
    case 7: case 20:
      look.backColor = 0xFFFFFF;
      break;
    case 23:
      look.foreColor = 0xFFFFFF;
      look.backColor = 0x202020;
      look.showCorner = false;
      break;
    default: {
      // Thirteen styles carry a face colour of their own.
      struct Row { int style; int32_t back; };
      static constexpr Row table[] = {
          {1, 0xE0D0C8}, {2, 0xD8E4EC}, {3, 0xC8D8C0}, {4, 0xE8E0D0}, {6, 0xD0D0D0}, {8, 0xF0E0E0}, {9, 0xC0C8E0},
          {11, 0xE4D8F0}, {12, 0xB8C8D8}, {13, 0xD8F0F0}, {14, 0xE0E8C8}, {15, 0xC8C0B8}, {16, 0xF0F0F0},
      };
      for (const Row& row : table)
        if (row.style == style) look.backColor = row.back;
    }
  }
  return look;
}

bool ThemePassHidesCorners(int style) { return style == 10 || style == 25 || style == 26 || style == 27; }

bool StyleIsFlat(int style) {
  return style == 0 || style == 10 || style == 18 || style == 25 || style == 26 || style == 27;
}

const std::array<StyleName, 4>& StyleNames() {
  static const std::array<StyleName, 4> names{{{"Classic", 1}, {"Modern", 12}, {"Flat", 25}, {"Metro", 26}}};
  return names;
}

namespace {

struct ColorMark {
  std::string_view mark;
  int32_t color;
};
constexpr ColorMark kColorMarks[] = {
    {"#Red#", 0x0000FF}, {"#Blue#", 0xFF0000},   {"#Green#", 0x00FF00},
    {"#Yellow#", 0x00FFFF}, {"#White#", 0xFFFFFF}, {"#Black#", 0x000000},
};

bool IsHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

// "&H" with up to eight hexadecimal digits and a closing "&": where it starts
// and how long it is, or npos.
std::pair<size_t, size_t> FindLiteralColor(std::string_view text) {
  for (size_t at = FindNoCase(text, "&H"); at != std::string_view::npos; at = FindNoCase(text, "&H", at + 1)) {
    size_t end = at + 2;
    while (end < text.size() && end - at - 2 < 8 && IsHexDigit(text[end])) ++end;
    if (end > at + 2 && end < text.size() && text[end] == '&') return {at, end + 1 - at};
  }
  return {std::string_view::npos, 0};
}

}  // namespace

TextEffects ParseTextEffects(std::string_view text, int32_t defaultColor) {
  TextEffects fx;
  fx.color = defaultColor;
  fx.bold = FindNoCase(text, "#Bold#") != std::string_view::npos;
  fx.italic = FindNoCase(text, "#Italic#") != std::string_view::npos;
  for (auto [mark, size] : {std::pair{"#Size16#", 16}, {"#Size12#", 12}, {"#Size10#", 10}}) {
    if (FindNoCase(text, mark) != std::string_view::npos) {
      fx.size = size;
      break;
    }
  }
  const auto [literalAt, literalLength] = FindLiteralColor(text);
  bool colored = false;
  for (const ColorMark& mark : kColorMarks) {
    if (FindNoCase(text, mark.mark) != std::string_view::npos) {
      fx.color = mark.color;
      colored = true;
      break;
    }
  }
  const std::string literal =
      literalAt == std::string_view::npos ? std::string() : std::string(text.substr(literalAt, literalLength));
  if (!colored && !literal.empty())
    fx.color = static_cast<int32_t>(std::stoul(literal.substr(2, literal.size() - 3), nullptr, 16) & 0xFFFFFF);
  if (FindNoCase(text, "#Slow#") != std::string_view::npos)
    fx.effectInterval = 45;
  else if (FindNoCase(text, "#Fast#") != std::string_view::npos)
    fx.effectInterval = 15;

  std::string plain(text);
  for (std::string_view mark : {"#Bold#", "#Size10#", "#Size12#", "#Size16#", "#Italic#"})
    plain = ReplaceAllNoCase(plain, mark, "");
  for (const ColorMark& mark : kColorMarks) plain = ReplaceAllNoCase(plain, mark.mark, "");
  if (!literal.empty()) plain = ReplaceAllNoCase(plain, literal, "");
  for (std::string_view mark : {"#Slow#", "#Fast#"}) plain = ReplaceAllNoCase(plain, mark, "");
  fx.text = std::move(plain);
  return fx;
}

namespace {

// A colour in the store is hexadecimal text in the 0x00BBGGRR order; "-1" and
// an empty value leave the fallback.
int32_t StoredColor(std::string_view key, int32_t fallback) { return ColorFromText(ReadSetting(key), fallback); }

std::string HexText(int32_t color) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%X", static_cast<unsigned>(color & 0xFFFFFF));
  return buffer;
}

}  // namespace

ThemeSettings ReadThemeSettings() {
  ThemeSettings theme;
  theme.style = static_cast<int>(Val(ReadSetting("ThemeStyle")));
  theme.color = StoredColor("ThemeColor", kNoColor);
  theme.transparent = static_cast<int>(Val(ReadSetting("ThemeTransparent")));
  for (size_t i = 0; i < theme.palette.size(); ++i)
    theme.palette[i] = StoredColor("ThemeColorPalette" + std::to_string(i + 1), i == 0 ? 0xC3C3C3 : kNoColor);
  return theme;
}

void WriteThemeSettings(const ThemeSettings& theme) {
  WriteSetting("ThemeStyle", std::to_string(theme.style));
  WriteSetting("ThemeColor", theme.color == kNoColor ? std::string("-1") : HexText(theme.color));
  WriteSetting("ThemeTransparent", std::to_string(theme.transparent));
}

}  // namespace zel
