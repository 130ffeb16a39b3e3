// FFmpegX's subtitle converter: inputs read line by line into cells, cut, sorted,
// written as the output's type, then saved in the chosen encoding.
#include "engine/FFmpegX.h"
#include "base/TextHelpers.h"
#include "engine/ProgressText.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/TextEncoding.h"

namespace zel {

bool FFmpegX::ConvertSubtitle(const std::vector<std::string>& files, const SubtitleArguments& args) {
  const bool wasProcessing = processing_;
  processing_ = true;
  const bool result = ff_ConvertSubtitle(files, args);
  processing_ = wasProcessing;
  return result;
}

std::string FFmpegX::SubtitleOutputPath(const std::vector<std::string>& files, const SubtitleArguments& args) const {
  std::string path = args.outputPath;
  if (!args.overwrite) path = zel::RenameExists(path, false);
  if (!FileNameSuffix.empty()) {
    const size_t point = path.rfind('.');
    path = (point == std::string::npos ? path : path.substr(0, point)) + "." + FileNameSuffix;
    // The suffix can lead to a name that is taken; that file stays too.
    if (!args.overwrite) path = zel::RenameExists(path, false);
  }
  // Overwriting never reaches a file that is being read.
  for (const std::string& input : files) {
    if (!path.empty() && SameFile(path, input)) return zel::RenameExists(path, false);
  }
  return path;
}

bool FFmpegX::ff_ConvertSubtitle(const std::vector<std::string>& files, const SubtitleArguments& args) {
  if (files.empty()) return false;
  startTime_ = ClockNow();
  endTime_.clear();
  std::vector<std::string> cells(1);
  ReaderState state;
  int sourceType = kSubtitleUnknown;

  for (const std::string& path : files) {
    if (!FileExists(path)) continue;
    Report(kStatusStarting, path);
    Report(kStatusProcessing, path);
    const int type = SubtitleInputType(path);
    if (type == kSubtitleUnknown) return false;
    int encoding = kEncodingDetect;
    const std::string text = UEFLoadTextFile(path, encoding);
    // A text without a line end, of one line or none, is refused, and so are all
    // the inputs after it. A last line with no line end behind it is not read.
    if (!HasLineEnd(text)) return false;
    const std::vector<std::string_view> lines = SplitLines(text, LastLine::Drop);
    const int count = static_cast<int>(lines.size());
    for (int i = 0; i < count; ++i) {
      ReadSubtitleLine(type, ApplyBig5Mode(lines[static_cast<size_t>(i)], args.big5Mode), cells, state);
      if (ProgressChange && ProgressDue(i, count)) ProgressChange(i, count, 0, remainderInfo_, outputInfo_, false);
    }
    sourceType = type;
  }

  CutCellRange(cells, args.cutStart, args.cutEnd);
  AddExtraCell(cells, args.extraText, args.extraStart, args.extraEnd, args.timeOffset);
  if (args.sortEntries && cells.size() > 2) SortCells(cells);
  if (cells.size() < 2) return false;

  const std::string outputPath = SubtitleOutputPath(files, args);
  if (outputPath.empty()) {
    Report(kStatusError, MsgCannotCreateFile);
    return false;
  }
  const std::string folder = FolderOf(outputPath);
  if (!folder.empty() && !DirectoryExists(folder)) MakedPath(folder);

  const WriterProgress progress = [this](int index, int last) {
    if (ProgressChange) ProgressChange(index, last, 0, remainderInfo_, outputInfo_, false);
  };
  const std::string written = WriteSubtitleText(cells, SubtitleWriterType(outputPath), args, sourceType, progress);
  cells.clear();

  // The writers produce text in the ANSI code page; reading that back decides what
  // is saved, so characters the page lacks are lost whatever the final encoding.
  int detected = kEncodingDetect;
  const std::string readBack = DecodeTextBytes(EncodeAnsi(written), detected);
  endTime_ = ClockNow();
  bool result = false;
  if (readBack.empty()) {
    Report(kStatusError, MsgNoSubtitleExtracted);
  } else {
    int encoding = SubtitleEncodeFormat;
    if (UEFSaveTextFile(outputPath, readBack, false, encoding, encoding)) {
      result = true;
      if (args.notifyDone) Report(kStatusComplete, outputPath);
    } else {
      Report(kStatusError, MsgCannotCreateFile);
    }
  }
  if (ProgressChange) ProgressChange(0, 0, 0, {}, {}, true);
  return result;
}

}  // namespace zel
