// The player's texts: what its status bar and its menus show the user. Code
// of the player never spells a user-visible text itself.
#pragma once

#include <string_view>

namespace zel {

using Text = std::string_view;

// ---- Time marks and the status bar ----
inline constexpr Text StrMarksOutOfRange = " < Out of range >";
inline constexpr Text StrMarksVolume = "Volume";
inline constexpr Text StrMarksSpeed = "Speed";
// What assistive technology offers on the time bar.
inline constexpr Text StrMarksSetStart = "设置开始点";
inline constexpr Text StrMarksSetEnd = "设置结束点";
inline constexpr Text StrMarksClear = "清除时间点设置";

}  // namespace zel
