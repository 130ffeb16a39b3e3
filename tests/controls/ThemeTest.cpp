#include "controls/ComboItems.h"
#include "controls/DialogChooser.h"
#include "controls/FontText.h"
#include "controls/Theme.h"
#include "jobs/Settings.h"

#include <gtest/gtest.h>

#include <set>

namespace zel {
namespace {

TEST(ThemeColors, ShiftAndStepMoveEachChannelOnItsOwn) {
  struct Case {
    int32_t color;
    double amount;
    int32_t expected;
  };
  const Case cases[] = {
      {0x808080, 0.5, 0xC0C0C0},  {0x808080, -0.5, 0x404040}, {0x0000FF, 0.5, 0x8080FF},
      {0xC3C3C3, 0.05, 0xC6C6C6}, {0xC3C3C3, -0.1, 0xB0B0B0}, {0x123456, 0, 0x123456},
      {0x123456, 1, 0xFFFFFF},    {0x123456, -1, 0},          {0x123456, 7, 0xFFFFFF},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ShiftColor(c.color, c.amount), c.expected) << std::hex << c.color << " by " << c.amount;

  EXPECT_EQ(ColorStep(0x000000, 0xFFFFFF, 5, 10), 0x7F7F7F);
  EXPECT_EQ(ColorStep(0x0000FF, 0xFF0000, 1, 4), 0x3F00C0);
  EXPECT_EQ(ColorStep(0x0000FF, 0xFF0000, 4, 4), 0xFF0000);
  EXPECT_EQ(ColorStep(0x0000FF, 0xFF0000, 0, 4), 0x0000FF);

  struct Text {
    const char* text;
    int32_t color;
  };
  const Text texts[] = {{"&HFF8080", 0xFF8080}, {"&H00FF8080&", 0xFF8080}, {" FFFFFF", 0xFFFFFF},
                        {"0x10", 0x10},         {"blue", -7},              {"&HXYZ", -7},
                        {"", -7},               {"123456789", -7},         {"&H", -7}};
  for (const Text& t : texts) EXPECT_EQ(ColorFromText(t.text, -7), t.color) << t.text;
  EXPECT_EQ(ColorToText(0x563412), "&H563412");
  EXPECT_EQ(ColorToText(0), "&H0");

  EXPECT_TRUE(IsDarkColor(0x101010));
  EXPECT_TRUE(IsDarkColor(0xFF0000));  // pure blue is dark to the eye
  EXPECT_FALSE(IsDarkColor(0xC3C3C3));
  EXPECT_FALSE(IsDarkColor(0x00FFFF));

  // 0x00BBGGRR round trip through Qt's colour.
  EXPECT_EQ(FromBgr(0x0000FF), QColor(255, 0, 0));
  EXPECT_EQ(ToBgr(QColor(0x12, 0x34, 0x56)), 0x563412);
}

TEST(ThemeColors, ButtonColoursDeriveFromTheOneBackColour) {
  const ButtonColors c = DeriveButtonColors(0xC3C3C3);
  EXPECT_EQ(c.BackColor, 0xC3C3C3);
  EXPECT_EQ(c.BackColorHover, 0xC6C6C6);
  EXPECT_EQ(c.BackColorPressed, 0xB0B0B0);
  // Lighter faces for light, hover and fades; darker edges and fill.
  auto grey = [](int32_t v) { return v & 0xFF; };
  EXPECT_GT(grey(c.LightColor), grey(c.BackColorHover));
  EXPECT_LT(grey(c.BorderColorPressed), grey(c.BorderColorHover));
  EXPECT_LT(grey(c.BorderColorHover), grey(c.BackColorPressed));
  EXPECT_LT(grey(c.ProgressColor), grey(c.BackColor));
  EXPECT_GT(grey(c.FadeColorDisable), grey(c.FadeColor));
}

TEST(ThemeColors, PaletteIndexesAndStyles) {
  EXPECT_EQ(ThemeColorForIndex(0), 0xE6E6E6);
  EXPECT_EQ(ThemeColorForIndex(6), ShiftColor(0xD4D4D4, 0.06));
  EXPECT_EQ(ThemeColorForIndex(12), ShiftColor(0xBA9EA0, 0.15));
  EXPECT_EQ(ThemeColorForIndex(15), 0x999999);
  EXPECT_EQ(ThemeColorForIndex(17), kNoColor);
  EXPECT_EQ(ThemeColorForIndex(-1), kNoColor);
  std::set<int32_t> randoms;
  for (int i = 0; i < 5; ++i) {
    const int32_t c = ThemeColorForIndex(16);
    EXPECT_GE(c, 0);
    EXPECT_LE(c, 0xFFFFFF);
    randoms.insert(c);
  }
  EXPECT_GT(randoms.size(), 1u);

  for (int style : {0, 10, 18, 25, 26, 27}) EXPECT_TRUE(StyleLookFor(style).keepColors) << style;
  EXPECT_EQ(StyleLookFor(5).backColor, 0x101010);
  EXPECT_EQ(StyleLookFor(5).foreColor, 0xFFFFFF);
  EXPECT_EQ(StyleLookFor(7).backColor, 0xFFFFFF);
  EXPECT_EQ(StyleLookFor(20).foreColor, kSystemButtonText);
  EXPECT_FALSE(StyleLookFor(23).showCorner);
  EXPECT_EQ(StyleLookFor(23).backColor, 0x202020);
  EXPECT_FALSE(StyleLookFor(27).showBorder);
  EXPECT_TRUE(StyleLookFor(26).showBorder);
  EXPECT_EQ(StyleLookFor(99).backColor, 0xD7C5C6);
  EXPECT_TRUE(ThemePassHidesCorners(26));
  EXPECT_FALSE(ThemePassHidesCorners(18));
}

TEST(TextEffectMarks, SetStyleAndVanish) {
  struct Case {
    const char* text;
    const char* plain;
    bool bold, italic;
    int size;
    int32_t color;
    int interval;
  };
  const Case cases[] = {
      {"plain", "plain", false, false, 0, 0x123456, 30},
      {"#Red##Blue#完成", "完成", false, false, 0, 0x0000FF, 30},
      {"#blue#a#RED#", "a", false, false, 0, 0x0000FF, 30},  // table order, not text order
      {"#Bold#x#Italic#", "x", true, true, 0, 0x123456, 30},
      {"#Size10#a#Size16#", "a", false, false, 16, 0x123456, 30},
      {"#Size12##Size10#", "", false, false, 12, 0x123456, 30},
      {"&H00FF8080&标题", "标题", false, false, 0, 0xFF8080, 30},
      {"#White#&H00FF8080&x", "x", false, false, 0, 0xFFFFFF, 30},
      {"#Slow##Fast#go", "go", false, false, 0, 0x123456, 45},
      {"#FAST#go", "go", false, false, 0, 0x123456, 15},
      {"&H&no colour", "&H&no colour", false, false, 0, 0x123456, 30},
  };
  for (const Case& c : cases) {
    const TextEffects fx = ParseTextEffects(c.text, 0x123456);
    EXPECT_EQ(fx.text, c.plain) << c.text;
    EXPECT_EQ(fx.bold, c.bold) << c.text;
    EXPECT_EQ(fx.italic, c.italic) << c.text;
    EXPECT_EQ(fx.size, c.size) << c.text;
    EXPECT_EQ(fx.color, c.color) << c.text;
    EXPECT_EQ(fx.effectInterval, c.interval) << c.text;
  }
}

TEST(ThemeSettingsStore, ReadsHexColoursAndWritesBack) {
  DeleteAllSettings();
  ThemeSettings theme = ReadThemeSettings();
  EXPECT_EQ(theme.style, 26);
  EXPECT_EQ(theme.color, kNoColor);
  EXPECT_EQ(theme.palette[0], 0xC3C3C3);
  EXPECT_EQ(theme.palette[1], kNoColor);

  theme.style = 5;
  theme.color = 0x66B5FF;
  WriteThemeSettings(theme);
  EXPECT_EQ(ReadSetting("ThemeColor"), "66B5FF");
  WriteSetting("ThemeColorPalette3", "&H00FF00&");
  WriteSetting("ThemeColorPalette4", "junk");
  const ThemeSettings back = ReadThemeSettings();
  EXPECT_EQ(back.style, 5);
  EXPECT_EQ(back.color, 0x66B5FF);
  EXPECT_EQ(back.palette[2], 0x00FF00);
  EXPECT_EQ(back.palette[3], kNoColor);
  DeleteAllSettings();
}

TEST(ComboPlaceholders, ExpandToTheirEntries) {
  struct Case {
    const char* items;
    int mode;
    qsizetype count;
    const char* first;
    const char* last;
  };
  const Case cases[] = {
      {"#Percent100A10#", 1, 11, "0", "100"}, {"#Percent100A5#", 1, 21, "0", "100"},
      {"#Percent100#", 1, 101, "0", "100"},   {"#Percent10#", 1, 11, "0", "10"},
      {"#FontSize#", 1, 18, "6", "72"},       {"#Boolean#", 1, 2, "True", "False"},
      {"#YesNo#", 1, 2, "Yes", "No"},         {"#3-7#", 1, 5, "3", "7"},
      {"#5-2#", 1, 4, "5", "2"},              {"#-2-2#", 1, 5, "-2", "2"},
      {"a|b|c", 1, 3, "a", "c"},              {"#Percent100#", 11, 1, "#Percent100#", "#Percent100#"},
      {"#0-99999999#", 1, 10000, "0", "9999"},
  };
  for (const Case& c : cases) {
    const QStringList entries = ComboEntries(c.items, c.mode);
    ASSERT_EQ(entries.size(), c.count) << c.items;
    EXPECT_EQ(entries.front(), c.first) << c.items;
    EXPECT_EQ(entries.back(), c.last) << c.items;
  }
  EXPECT_FALSE(ComboEntries("#Font#").isEmpty());
  EXPECT_EQ(ComboEntries("ignored", 8), ComboEntries("#Font#"));
}

TEST(FontTexts, RoundTripTheEightFields) {
  const QFont font = FontFromText("Trebuchet MS, 20, False, True, 134, True, False, 700");
  EXPECT_EQ(font.family(), "Trebuchet MS");
  EXPECT_EQ(font.pointSizeF(), 20);
  EXPECT_TRUE(font.bold());
  EXPECT_TRUE(font.italic());
  EXPECT_TRUE(font.underline());
  EXPECT_FALSE(font.strikeOut());
  // Back to text: eight fields in the same order.
  const std::string text = FontToText(font);
  EXPECT_EQ(text, "Trebuchet MS, 20, True, True, 134, True, False, 700");
  EXPECT_EQ(FontToText(FontFromText("DejaVu Sans, 9.5, False, False, 0, False, False, 400")),
            "DejaVu Sans, 9.5, False, False, 0, False, False, 400");
  // Junk keeps the defaults and never throws.
  const QFont junk = FontFromText("x, y");
  EXPECT_EQ(junk.pointSizeF(), 9);
  EXPECT_FALSE(junk.bold());
}

TEST(FileFilters, BecomeQtFilters) {
  EXPECT_EQ(QtFileFilter("Videos|*.mp4;*.mkv|All|*.*"), "Videos (*.mp4 *.mkv);;All (*)");
  EXPECT_EQ(QtFileFilter("*.srt"), "*.srt");
  EXPECT_EQ(QtFileFilter(""), "");
}

}  // namespace
}  // namespace zel
