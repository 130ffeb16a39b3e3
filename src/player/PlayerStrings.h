// The player's texts: what it draws on the picture, writes into screenshots and
// shows in its facts panel. Code outside this file never spells them itself.
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

}  // namespace zel
