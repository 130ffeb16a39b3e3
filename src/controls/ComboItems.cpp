#include "controls/ComboItems.h"

#include "controls/QtText.h"

#include <QDir>
#include <QFontDatabase>
#include <QRegularExpression>

namespace zel {

namespace {

// A span like "#0-99999999#" would freeze the window filling the list, so a
// list stops at a size a person can still scroll through.
constexpr int kMostEntries = 10000;

QStringList Range(int from, int to, int step) {
  QStringList entries;
  for (int v = from; (step > 0 ? v <= to : v >= to) && entries.size() < kMostEntries; v += step)
    entries << QString::number(v);
  return entries;
}

// On this system the folder the system keeps its own files in is /etc.
constexpr const char* kSystemFolder = "/etc";

}  // namespace

QStringList ComboEntries(std::string_view items, int itemMode) {
  if (itemMode == 8) return QFontDatabase::families();
  const QString text = Q(items);
  if (itemMode == 11) {
    if (text == "#WINDOWS#") return QDir(kSystemFolder).entryList(QDir::Files, QDir::Name);
    return text.split('|');
  }
  struct Placeholder {
    const char* mark;
    QStringList (*entries)();
  };
  static const Placeholder table[] = {
      {"#Font#", [] { return QFontDatabase::families(); }},
      {"#FontSize#",
       [] {
         return QStringList{"6",  "7",  "8",  "9",  "10", "11", "12", "14", "16",
                            "18", "20", "22", "24", "26", "28", "36", "48", "72"};
       }},
      {"#Percent100#", [] { return Range(0, 100, 1); }},
      {"#Percent100A5#", [] { return Range(0, 100, 5); }},
      {"#Percent100A10#", [] { return Range(0, 100, 10); }},
      {"#Percent10#", [] { return Range(0, 10, 1); }},
      {"#Boolean#", [] { return QStringList{"True", "False"}; }},
      {"#YesNo#", [] { return QStringList{"Yes", "No"}; }},
  };
  for (const Placeholder& p : table)
    if (text == QLatin1String(p.mark)) return p.entries();
  static const QRegularExpression span(QStringLiteral("^#(-?\\d+)-(-?\\d+)#$"));
  if (const auto m = span.match(text); m.hasMatch()) {
    const int from = m.captured(1).toInt(), to = m.captured(2).toInt();
    // A span written backwards counts down rather than giving nothing.
    return Range(from, to, from <= to ? 1 : -1);
  }
  return text.split('|');
}

}  // namespace zel
