#include "controls/FontText.h"

#include "base/TextHelpers.h"
#include "controls/QtText.h"

#include <QFontDatabase>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <vector>

namespace zel {

namespace {

bool Flag(std::string_view word) { return Trim(word) == "True"; }
std::string_view Word(bool flag) { return flag ? "True" : "False"; }

// Character set 134 is GB2312: text of that set wants a Chinese face first.
constexpr int kChineseCharset = 134;

}  // namespace

QFont FontFromText(std::string_view text) {
  const std::vector<std::string> f = Split(text, ",");
  auto field = [&](size_t i) { return i < f.size() ? Trim(f[i]) : std::string(); };
  QFont font(field(0).empty() ? QStringLiteral("Trebuchet MS") : Q(field(0)));
  const double size = Val(field(1));
  font.setPointSizeF(size > 0 ? size : 9);
  font.setItalic(Flag(field(3)));
  font.setUnderline(Flag(field(5)));
  font.setStrikeOut(Flag(field(6)));
  // The weight says more than the bold flag; the flag counts when it is absent.
  const int weight = static_cast<int>(Val(field(7)));
  if (weight > 0)
    font.setWeight(static_cast<QFont::Weight>(std::clamp(weight, 1, 1000)));
  else
    font.setBold(Flag(field(2)));
  if (static_cast<int>(Val(field(4))) == kChineseCharset)
    font.setFamilies({font.family(), QStringLiteral("WenQuanYi Micro Hei")});
  return font;
}

std::string FontToText(const QFont& font) {
  const double size = font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 72.0 / 96.0;
  const int weight = font.bold() && font.weight() < QFont::Bold ? 700 : static_cast<int>(font.weight());
  const bool chinese = font.families().contains(QStringLiteral("WenQuanYi Micro Hei")) ||
                       QFontDatabase::writingSystems(font.family()).contains(QFontDatabase::SimplifiedChinese);
  return S(font.family()) + ", " + FormatNumber(std::round(size * 100) / 100) + ", " +
         std::string(Word(font.bold())) + ", " + std::string(Word(font.italic())) + ", " +
         std::to_string(chinese ? kChineseCharset : 0) + ", " + std::string(Word(font.underline())) + ", " +
         std::string(Word(font.strikeOut())) + ", " + std::to_string(weight);
}

void InstallFontFallbacks() {
  const QStringList cjk{QStringLiteral("WenQuanYi Micro Hei"), QStringLiteral("Noto Sans CJK SC")};
  struct Mapping {
    const char* face;
    const char* local;
  };
  static constexpr Mapping map[] = {
      {"Trebuchet MS", "DejaVu Sans"}, {"Tahoma", "DejaVu Sans"},    {"Arial", "DejaVu Sans"},
      {"Verdana", "DejaVu Sans"},      {"Webdings", "DejaVu Sans"},  {"SimSun", "WenQuanYi Micro Hei"},
      {"宋体", "WenQuanYi Micro Hei"}, {"微软雅黑", "WenQuanYi Micro Hei"},
  };
  const QStringList installed = QFontDatabase::families();
  for (const Mapping& m : map) {
    if (installed.contains(QString::fromUtf8(m.face))) continue;
    QFont::insertSubstitutions(QString::fromUtf8(m.face), QStringList{QString::fromUtf8(m.local)} + cjk);
  }
}

}  // namespace zel
