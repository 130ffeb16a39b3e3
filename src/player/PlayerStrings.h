// The player's texts: what its status bar and menus show, what it draws on the
// picture, writes into screenshots and shows in its facts panel. Code of the
// player never spells a user-visible text itself.
#pragma once

#include <string_view>

namespace zel {

using Text = std::string_view;

// ---- Pictures, transitions and screenshots ----
inline constexpr Text StrPictureEffects =
    "RandomizePush|RandomizeEffect|None|Alpha|ImageToRight|ImageToDown|ImageToLeft|ImageToTop|"
    "AlphaWipeImageToRight|AlphaWipeImageToDown|AlphaWipeImageToLeft|AlphaWipeImageToTop|"
    "AlphaWipePushImageToRight|AlphaWipePushImageToDown|AlphaWipePushImageToLeft|AlphaWipePushImageToTop|"
    "PushImageToRightDown|PushImageToLeftDown|PushImageToLeftTop|PushImageToRightTop|ZoomZoom|ZoomIn|OpenImagePage";
inline constexpr Text StrPictureAlbumArt = "Album Art";
inline constexpr Text StrPictureScreenshotHeadline = "ZEL ScreenShot";
inline constexpr Text StrPictureScreenshotFont = "Trebuchet MS";

// ---- The subtitle overlay and the facts panel ----
inline constexpr Text StrSubtitleInfoPosition = "Current Position:";
inline constexpr Text StrSubtitleInfoDuration = "Duration:";
inline constexpr Text StrSubtitleInfoTimePoint = "Time Point:";
inline constexpr Text StrSubtitleInfoMedia = "Media Info:";
inline constexpr Text StrSubtitleInfoOutOfRange = "Out of range";

// ---- Time marks and the status bar ----
inline constexpr Text StrMarksOutOfRange = " < Out of range >";
inline constexpr Text StrMarksVolume = "Volume";
inline constexpr Text StrMarksSpeed = "Speed";
// What assistive technology offers on the time bar.
inline constexpr Text StrMarksSetStart = "设置开始点";
inline constexpr Text StrMarksSetEnd = "设置结束点";
inline constexpr Text StrMarksClear = "清除时间点设置";

}  // namespace zel
