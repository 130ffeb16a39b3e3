// The player's texts: what its status bar and menus show, what it draws on the
// picture, writes into screenshots and shows in its facts panel, and the lines
// of a failed open. Code of the player never spells a user-visible text itself.
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

// ---- A file the player could not open: the host shows these lines ----
inline constexpr Text StrPlayerNoDecoder1 = "没有可用的系统解码器来支持这个文件播放，内置的播放器依赖於系统解码器的支持，";
inline constexpr Text StrPlayerNoDecoder2 = "请检查您的系统解码器是否支持该文件的解码。";
inline constexpr Text StrPlayerNoDecoder3 = "建议立即安装推荐的系统解码器。";
inline constexpr Text StrPlayerNoDecoder4 = "此外，启用播放容器修正功能可以解决因文件指定错误后缀名而导致的无法播放。";
inline constexpr Text StrPlayerNoDecoder5 = "请进入设置窗口，找到并启用播放容器修正功能，尝试解决这个问题。";
inline constexpr Text StrPlayerSuffixChange = "播放容器修正";
// What assistive technology offers on the player.
inline constexpr Text StrPlayerPlay = "播放";
inline constexpr Text StrPlayerPause = "暂停";
inline constexpr Text StrPlayerName = "播放器";
// What the player shows while idle, and the face it is drawn in.
inline constexpr Text StrPlayerCaption = "DSPlayer";
inline constexpr Text StrPlayerFontName = "Trebuchet MS";

}  // namespace zel
