#include "subtitles/SubtitleLoader.h"

#include "base/FileHelpers.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {

namespace {

constexpr std::string_view kLanguageTags[] = {"", ".chs", ".chn", ".cn", ".gb", ".cht", ".eng"};

}  // namespace

std::vector<std::string> LoadSubtitleFormFile(const std::string& path, double offsetSeconds,
                                              const std::function<void()>& pump) {
  const int type = SubtitleInputType(path);
  if (type == kSubtitleUnknown || !FileExists(path)) return {};
  int encoding = kEncodingDetect;
  const std::string text = UEFLoadTextFile(path, encoding);
  std::vector<std::string> cells(1);
  ReaderState state;
  size_t index = 0;
  // Unlike the converter, the player reads a last line without a line end, and a
  // text of one line.
  for (std::string_view line : SplitLines(text, LastLine::Keep)) {
    ReadSubtitleLine(type, line, cells, state);
    if (pump && ++index % 100 == 0) pump();
  }
  if (cells.size() > 2) SortCells(cells);

  // Entries are the cells with text: a lyrics tag such as "[ti:...]" sorts among
  // them but ends nothing.
  std::vector<CellParts> entries;
  for (size_t i = 1; i < cells.size(); ++i) {
    CellParts parts = SplitCell(cells[i]);
    if (!Trim(parts.text).empty()) entries.push_back(std::move(parts));
  }
  const double offset = offsetSeconds * 1000;
  std::vector<std::string> table;
  for (size_t i = 0; i < entries.size(); ++i) {
    const CellParts& parts = entries[i];
    const double start = ParseMSecs(parts.start, ",");
    double end = start + 10000;
    if (parts.hasEnd) {
      end = ParseMSecs(parts.end, ",");
    } else if (i + 1 < entries.size()) {
      end = ParseMSecs(entries[i + 1].start, ",");
    }
    table.push_back(FormatMSecs(start + offset, kNotationSrt) + "->" + FormatMSecs(end + offset, kNotationSrt) + "|" +
                    parts.text + "\r\n");
  }
  return table;
}

std::vector<std::string> SubtitleCandidates(std::string_view mediaPath) {
  const std::string base(SplitExtension(mediaPath).stem);
  std::vector<std::string> candidates;
  for (std::string_view tag : kLanguageTags) {
    for (std::string_view extension : kSubtitleExtensions) {
      candidates.push_back(base + std::string(tag) + "." + std::string(extension));
    }
  }
  return candidates;
}

LoadedSubtitle LoadSubtitleToArray(std::string_view mediaPath, double offsetSeconds,
                                   const std::function<void()>& pump) {
  for (const std::string& candidate : SubtitleCandidates(mediaPath)) {
    if (!FileExists(candidate)) continue;
    std::vector<std::string> table = LoadSubtitleFormFile(candidate, offsetSeconds, pump);
    if (!table.empty()) return {candidate, std::move(table)};
  }
  return {};
}

}  // namespace zel
