// The entries of a drop-down: its "|"-separated items, or what a placeholder
// stands for.
#pragma once

#include <QStringList>

#include <string_view>

namespace zel {

// The entries of a drop-down list by its items text and its row's edit mode:
// mode 8 lists the system's font families whatever the text; "#WINDOWS#" of
// mode 11 lists the files of the system's own folder; mode 1 knows the
// placeholders "#Font#", "#FontSize#", "#Percent100#", "#Percent100A5#",
// "#Percent100A10#", "#Percent10#", "#Boolean#", "#YesNo#" and "#a-b#".
QStringList ComboEntries(std::string_view items, int itemMode = 1);

}  // namespace zel
