// The subtitle converter's model: one text cell per entry, "start->end|text", with
// no escaping. Readers boil each input line down to cells; the range cut, the extra
// line and the sort work on the cells; writers turn them into one of the types.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Joins the lines of one entry inside a cell.
inline constexpr std::string_view kCellNewLine = "#ZELNewLine#";

enum SubtitleType : int {
  kSubtitleUnknown = -1,
  kSubtitlePlainText = 0,   // txt
  kSubtitleSubRip = 1,      // srt, utf
  kSubtitleSubStation = 2,  // ssa, ass
  kSubtitleLrc = 3,         // lrc
  kSubtitleKaraoke = 4,     // ksc
  kSubtitleXmlLyrics = 5,   // krc
  kSubtitleSami = 6,        // smi, sami
  kSubtitleCircled = 7,     // snc
  kSubtitleTwoLine = 8,     // qly
  kSubtitleTabField = 9,    // stl
  kSubtitleEquals = 10,     // vsf
  kSubtitleBracket = 11,    // dks
  kSubtitleInternal = 99,   // stxt
};

// The sixteen extensions in the order the player tries them.
inline constexpr std::string_view kSubtitleExtensions[] = {"srt", "ssa", "ass", "lrc", "ksc", "krc", "smi", "sami",
                                                           "snc", "qly", "utf", "stl", "vsf", "dks", "txt", "stxt"};

// The reader for a path, from the text after its last "."; kSubtitleUnknown for
// anything not in the table.
int SubtitleInputType(std::string_view path);
// The writer for a path; anything unknown is SubStation.
int SubtitleWriterType(std::string_view path);

// Drops <...>, then &...;, then {...} sections, every copy of each found piece.
std::string StripMarkup(std::string_view text);
// All after the `count`-th delimiter; "" when there are fewer.
std::string TextAfter(std::string_view text, std::string_view delimiter, int count);
// What lies between the first `open` and the next `close`, untrimmed; "" when
// either is missing.
std::string TextBetween(std::string_view text, std::string_view open, std::string_view close);
// Whether `text` starts with the mask, "#" standing for a digit.
bool FitsMask(std::string_view text, std::string_view mask);

// The parts of a cell split at "|": time, text and, for karaoke scripts, timings.
struct CellParts {
  std::string time;
  std::string text;
  std::string timings;
  std::string start;  // the time before "->"
  std::string end;    // after "->"
  bool hasEnd = false;
};
CellParts SplitCell(std::string_view cell);

// What a reader keeps from one line to the next, for all inputs of one call.
struct ReaderState {
  bool skipping = false;  // SubRip: after a blank line
  int columnCount = 0;    // SubStation: commas of the last "Format:" line
  int startColumn = 0;
  int endColumn = 0;
};

// Adds the cells of one line (line ends already removed) for a reader type.
void ReadSubtitleLine(int type, std::string_view line, std::vector<std::string>& cells, ReaderState& state);

// Keeps what lies in the range from `cutStart` to `cutEnd` seconds, moved to start
// at 0; entries that cross the range's edges mostly fall out.
void CutCellRange(std::vector<std::string>& cells, double cutStart, double cutEnd);
// One more entry from `start` to `end` seconds, less the offset the writers add.
void AddExtraCell(std::vector<std::string>& cells, std::string_view text, double start, double end,
                  double timeOffset);
// Sets cell 0 to "0" and orders the cells by their bytes, equal cells keeping their
// order. Times order right only when all are in one fixed-width notation.
void SortCells(std::vector<std::string>& cells);

}  // namespace zel
