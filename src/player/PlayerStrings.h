// The player's texts for the user, in the program's one language.
#pragma once

#include <string_view>

namespace zel {

using Text = std::string_view;

// ---- A file the player could not open: the host shows these lines ----
inline constexpr Text StrPlayerNoDecoder1 = "没有可用的系统解码器来支持这个文件播放，内置的播放器依赖於系统解码器的支持，";
inline constexpr Text StrPlayerNoDecoder2 = "请检查您的系统解码器是否支持该文件的解码。";
inline constexpr Text StrPlayerNoDecoder3 = "建议立即安装推荐的系统解码器。";
inline constexpr Text StrPlayerNoDecoder4 = "此外，启用播放容器修正功能可以解决因文件指定错误后缀名而导致的无法播放。";
inline constexpr Text StrPlayerNoDecoder5 = "请进入设置窗口，找到并启用播放容器修正功能，尝试解决这个问题。";
inline constexpr Text StrPlayerSuffixChange = "播放容器修正";

}  // namespace zel
