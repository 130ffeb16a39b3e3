// The engine's own message table and status words. Hosts show these texts as they
// stand, so each is kept exactly.
#pragma once

#include <array>
#include <string_view>

namespace zel {

inline constexpr std::string_view MsgCannotCreateProgram = "无法创建程序";
inline constexpr std::string_view MsgCannotCreateProcess = "无法创建进程";
inline constexpr std::string_view MsgCannotCloseProcess = "无法关闭进程 id: ";
inline constexpr std::string_view MsgNoSubtitleExtracted = "没有提取到字幕内容";
inline constexpr std::string_view MsgNotExecuting = "尚未执行任务";
inline constexpr std::string_view MsgExecuting = "正在执行任务";
inline constexpr std::string_view MsgCannotSetCore = "无法设置转换核心程序!";
inline constexpr std::string_view MsgGdiPlusFailed = "无法启动 GDIPLUS";
inline constexpr std::string_view MsgNoSource = "未设置原始来源文件!";
inline constexpr std::string_view MsgSourceNotFound = "不能找到原始来源文件!";
inline constexpr std::string_view MsgNoSuchOutputPath = "不存在的输出路径!";
inline constexpr std::string_view MsgNoOutputPath = "未设置输出路径, 文件将保存到来源路径!";
inline constexpr std::string_view MsgNoVSFilter = "没有指定 VSFilter.dll 路径!";
inline constexpr std::string_view MsgNoStreams = "输出文件未设置包含任何数据流";
inline constexpr std::string_view MsgFileProblem = "已创建文件存在问题";
inline constexpr std::string_view MsgCannotResample = "无法重新采样";
inline constexpr std::string_view MsgCannotCreateFile = "无法正确创建文件";
inline constexpr std::string_view MsgNoAviSynth = "启用但没有安装 AviSynth!";
inline constexpr std::string_view MsgUserScriptLeftOut = "没有 AviSynth, 自定义脚本无法执行, 已略过";
inline constexpr std::string_view MsgUnknownFormat = "未知的输入或输出格式";
inline constexpr std::string_view MsgResampleChannels = "不支持重新采样声道数大于 2 个的来源";
inline constexpr std::string_view MsgGrabFailed = "图像获取失败";

// The line the engine reports when pass 1 of two has left its output.
inline constexpr std::string_view kPassOneOk = "Pass 1 OK";

enum EngineStatus : int {
  kStatusStarting = 0,
  kStatusProcessing = 1,
  kStatusComplete = 2,
  kStatusError = 3,
  kStatusCanceled = 4,
  kStatusSettingChanged = 5,
  kStatusInfoString = 6,
  kStatusCreateThumb = 7,
  kStatusCancelFailed = 8,
  kStatusSearching = 9,
};

inline constexpr std::array<std::string_view, 10> kStatusWords{
    "Starting", "Processing", "Complete", "Error", "Canceled",
    "SettingChanged", "InfoString", "CreateThumb", "CancelFailed", "Searching",
};

}  // namespace zel
