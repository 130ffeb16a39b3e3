// How a conversion task fills the engine from the settings store: every
// property in the task loop's order, then the part's own values.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "subtitles/SubtitleWriters.h"

namespace zel {

class FFmpegX;

// A setting's value by key; the store's own reader, or one that lays a
// caller's overrides over it.
using SettingReader = std::function<std::string(std::string_view key)>;

struct ConversionTask {
  std::string source;        // one path, or several joined by "|"
  std::string outputFolder;  // empty: beside the source
  std::string formatName;    // lower case, as the run's format
  std::string corePath;      // the tool that converts
  bool aviSynthUsable = false;
};

// The process class for a ThreadPriority value: idle unless told otherwise.
int PriorityForSetting(std::string_view value);
// "a:b", "axb", "a/b" give a divided by b; any other text is read as a number.
float RatioSetting(std::string_view value);
// The old "-map" text of the streams a user chose: " -map V:0.0 -map A:0.1", each
// number the chosen one or, for the kind not chosen, the probed first stream. A
// choice may be written "0.1", "0:1" or as a plain index. Empty when nothing is
// chosen; a kind without a number is left out.
std::string StreamChoiceText(std::string_view chosenVideo, std::string_view chosenAudio, std::string_view probedVideo,
                             std::string_view probedAudio);
// True when the format makes no picture, so that two passes make no sense.
bool IsAudioOnlyFormat(std::string_view formatName);

// Sets the engine up for one task; the engine probes the source as it is set.
void ConfigureConversion(FFmpegX& engine, const ConversionTask& task, const SettingReader& read);

// "ANSI", "UTF8", "Unicode" and "Unicode big endian" as 0 to 3; a name that is
// none of them means the store's default, UTF8.
int SubtitleEncodingNumber(std::string_view name);
// SubtitleBIG5ToGB: 是 is mode 1, 否 mode 0; a number is taken as the mode.
int Big5ModeSetting(std::string_view value);
// The arguments of a plain subtitle task, from the store: offset, overwrite and
// Big5 mode. The output, range and extra line are the caller's.
SubtitleArguments SubtitleTaskArguments(const SettingReader& read);

// The values of one part of a task: the name suffix, the range, the format.
void PreparePart(FFmpegX& engine, const ConversionTask& task, const SettingReader& read, int part, int parts,
                 double start, double partLength);

}  // namespace zel
