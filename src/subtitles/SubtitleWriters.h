// The back half of a subtitle conversion: cells to the text of one of the types.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// How a conversion is to be written; the values are those of a plain subtitle task.
struct SubtitleArguments {
  std::string outputPath;
  int playResX = 320;
  int playResY = 240;
  std::string title;
  std::string banner;
  std::string fontName = "Verdana";
  int fontSize = 18;
  int bold = 0;
  int italic = 0;
  int outline = 1;
  uint8_t alpha = 0;
  int encoding = 134;      // the styles' character set
  int karaokeStyle = 0;    // 0 none, 1 fill ("kf"), 2 outline ("ko")
  double speed = 2.6;      // divides the karaoke sweep
  int foreColor = 0xFFFFFF;
  int effectColor = 255;
  int shadowColor = 0;
  double timeOffset = -0.2;  // seconds added to every time
  bool sortEntries = true;
  int alignment = 2;
  bool notifyDone = true;
  bool overwrite = false;
  double cutStart = 0;
  double cutEnd = 0;
  std::string extraText;
  double extraStart = 0;
  double extraEnd = 10;
  int big5Mode = 0;
};

// Called after each entry with its index and the last index.
using WriterProgress = std::function<void(int index, int lastIndex)>;

// The file's text for writer `writerType`, every line ended by CRLF. `sourceType` is
// the reader of the input, which decides how karaoke timings are taken.
std::string WriteSubtitleText(const std::vector<std::string>& cells, int writerType,
                              const SubtitleArguments& args, int sourceType, const WriterProgress& progress);

// The SubStation form, with styles and the karaoke effect.
std::string WriteSubStation(const std::vector<std::string>& cells, const SubtitleArguments& args, int sourceType,
                            const WriterProgress& progress);

// Whether a progress event is due after entry `index` of `count`: every tenth of
// the way, or always when there are too few for a tenth.
bool ProgressDue(int index, int count);

}  // namespace zel
