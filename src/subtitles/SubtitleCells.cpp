#include "subtitles/SubtitleCells.h"

#include <algorithm>

#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {

namespace {

struct TypeRow {
  std::string_view extension;
  int type;
};

// The readers' order; "txt" is tried last.
constexpr TypeRow kInputTypes[] = {
    {"srt", kSubtitleSubRip},     {"utf", kSubtitleSubRip},     {"ssa", kSubtitleSubStation},
    {"ass", kSubtitleSubStation}, {"lrc", kSubtitleLrc},        {"ksc", kSubtitleKaraoke},
    {"krc", kSubtitleXmlLyrics},  {"smi", kSubtitleSami},       {"sami", kSubtitleSami},
    {"snc", kSubtitleCircled},    {"qly", kSubtitleTwoLine},    {"stl", kSubtitleTabField},
    {"vsf", kSubtitleEquals},     {"dks", kSubtitleBracket},    {"stxt", kSubtitleInternal},
    {"txt", kSubtitlePlainText},
};

constexpr TypeRow kWriterTypes[] = {
    {"txt", kSubtitlePlainText}, {"srt", kSubtitleSubRip},     {"utf", kSubtitleSubRip},
    {"lrc", kSubtitleLrc},       {"ksc", kSubtitleKaraoke},    {"krc", kSubtitleXmlLyrics},
    {"smi", kSubtitleSami},      {"sami", kSubtitleSami},      {"snc", kSubtitleCircled},
    {"qly", kSubtitleTwoLine},   {"stl", kSubtitleTabField},   {"vsf", kSubtitleEquals},
    {"dks", kSubtitleBracket},   {"stxt", kSubtitleInternal},
};

std::string ExtensionAfterLastPoint(std::string_view path) {
  const size_t point = path.rfind('.');
  return point == std::string_view::npos ? std::string() : LowerAscii(path.substr(point + 1));
}

// Every copy of `piece` from `from` on, where nothing before `from` can start one.
// A copy ends at its only `close`, so each stretch between two closes is compared
// at most once: one pass is linear in the text.
std::string RemoveCopies(const std::string& text, size_t from, const std::string& piece, char close) {
  std::string out(text, 0, from);
  size_t copied = from;
  size_t stretchStart = from;
  for (size_t q = text.find(close, from); q != std::string::npos; q = text.find(close, q + 1)) {
    if (q + 1 - stretchStart >= piece.size()) {
      const size_t start = q + 1 - piece.size();
      if (text.compare(start, piece.size(), piece) == 0) {
        out.append(text, copied, start - copied);
        copied = q + 1;
      }
    }
    stretchStart = q + 1;
  }
  out.append(text, copied, std::string::npos);
  return out;
}

}  // namespace

int SubtitleInputType(std::string_view path) {
  const std::string extension = ExtensionAfterLastPoint(path);
  for (const TypeRow& row : kInputTypes) {
    if (extension == row.extension) return row.type;
  }
  return kSubtitleUnknown;
}

int SubtitleWriterType(std::string_view path) {
  const std::string extension = ExtensionAfterLastPoint(path);
  for (const TypeRow& row : kWriterTypes) {
    if (extension == row.extension) return row.type;
  }
  return kSubtitleSubStation;
}

std::string StripMarkup(std::string_view input) {
  static constexpr std::pair<char, char> kSections[] = {{'<', '>'}, {'&', ';'}, {'{', '}'}};
  std::string text(input);
  // Each found piece costs one pass over the text. A line made of thousands of
  // different sections is junk, and its stripping stops here rather than hang.
  size_t budget = size_t{64} << 20;
  for (const auto& [open, close] : kSections) {
    size_t from = 0;
    for (;;) {
      const size_t o = text.find(open, from);
      if (o == std::string::npos) break;
      const size_t c = text.find(close, o + 1);
      if (c == std::string::npos || budget < text.size()) break;
      budget -= text.size();
      text = RemoveCopies(text, o, text.substr(o, c - o + 1), close);
      from = o;
    }
  }
  return text;
}

std::string TextAfter(std::string_view text, std::string_view delimiter, int count) {
  if (count <= 0 || delimiter.empty()) return std::string(text);
  size_t at = 0;
  for (int i = 0; i < count; ++i) {
    const size_t found = text.find(delimiter, at);
    if (found == std::string_view::npos) return {};
    at = found + delimiter.size();
  }
  return std::string(text.substr(at));
}

std::string TextBetween(std::string_view text, std::string_view open, std::string_view close) {
  const size_t o = text.find(open);
  if (o == std::string_view::npos) return {};
  const size_t begin = o + open.size();
  const size_t c = text.find(close, begin);
  if (c == std::string_view::npos) return {};
  return std::string(text.substr(begin, c - begin));
}

bool FitsMask(std::string_view text, std::string_view mask) {
  if (text.size() < mask.size()) return false;
  for (size_t i = 0; i < mask.size(); ++i) {
    if (mask[i] == '#' ? (text[i] < '0' || text[i] > '9') : text[i] != mask[i]) return false;
  }
  return true;
}

CellParts SplitCell(std::string_view cell) {
  CellParts parts;
  const std::vector<std::string> pieces = Split(cell, "|");
  if (!pieces.empty()) parts.time = pieces[0];
  if (pieces.size() > 1) parts.text = pieces[1];
  if (pieces.size() > 2) parts.timings = pieces[2];
  const size_t arrow = parts.time.find("->");
  parts.hasEnd = arrow != std::string::npos;
  parts.start = parts.time.substr(0, arrow);
  if (parts.hasEnd) parts.end = parts.time.substr(arrow + 2);
  return parts;
}

void CutCellRange(std::vector<std::string>& cells, double cutStart, double cutEnd) {
  if (!(cutEnd - cutStart > 0)) return;
  const double S = cutStart, E = cutEnd;
  double s = 0, e = 0;
  for (size_t i = 1; i < cells.size(); ++i) {
    const CellParts parts = SplitCell(cells[i]);
    if (parts.text.empty()) continue;
    s = ParseSecs(parts.start, true, ",");
    if (parts.hasEnd) {
      e = ParseSecs(parts.end, true, ",");
    } else if (i + 1 < cells.size()) {
      e = ParseSecs(SplitCell(cells[i + 1]).start, true, ",");
    } else {
      e = s;
    }
    double from = 0, to = 0;
    if ((s < S && e < E) || (s > S && e > E)) {
      cells[i] = "00:00:00,000->00:00:00,000|";
      continue;
    }
    if (s < S && e > E) {
      from = 0, to = E - S;
    } else if (s < S) {
      from = 0, to = e - S;
    } else if (e > E) {
      from = s - S, to = E - S;
    } else {
      from = s - S, to = e - S;
    }
    // The text and, for a karaoke script, its timings stay as they were.
    const size_t bar = cells[i].find('|');
    cells[i] = FormatMSecs(from * 1000, kNotationSrt) + "->" + FormatMSecs(to * 1000, kNotationSrt) +
               cells[i].substr(bar);
  }
}

void AddExtraCell(std::vector<std::string>& cells, std::string_view text, double start, double end,
                  double timeOffset) {
  if (text.empty()) return;
  cells.push_back(FormatMSecs((start - timeOffset) * 1000, kNotationSrt) + "->" +
                  FormatMSecs((end - timeOffset) * 1000, kNotationSrt) + "|" + std::string(text));
}

void SortCells(std::vector<std::string>& cells) {
  if (cells.empty()) return;
  cells[0] = "0";
  // A stable sort gives the order of an exchange sort of neighbours, which never
  // swaps equal texts; std::string compares bytes as unsigned.
  std::stable_sort(cells.begin(), cells.end());
}

}  // namespace zel
