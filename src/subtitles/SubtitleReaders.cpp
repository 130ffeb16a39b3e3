// The twelve line readers. Each looks at one line by its own small rule and adds or
// extends cells; a line that fits no rule adds nothing.
#include <string>

#include "subtitles/SubtitleCells.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

using Cells = std::vector<std::string>;

bool IsBlankLine(std::string_view line) { return Trim(line).empty(); }

bool HasNoCase(std::string_view line, std::string_view keyword) {
  return FindNoCase(line, keyword) != std::string_view::npos;
}

std::string WithoutQuotes(std::string_view text) { return ReplaceAll(text, "'", ""); }

// Text lines after an entry's head join it without a separator.
void AppendStripped(std::string_view line, Cells& cells) {
  if (!IsBlankLine(line)) cells.back() += StripMarkup(line);
}

void ReadPlainText(std::string_view line, Cells& cells, ReaderState&) {
  cells.push_back("0|" + std::string(line));
}

void ReadSubRip(std::string_view line, Cells& cells, ReaderState& state) {
  if (Contains(line, "-->")) {
    state.skipping = false;
    const std::vector<std::string> sides = Split(line, "-->");
    cells.push_back(Trim(sides[0]) + "->" + (sides.size() > 1 ? Trim(sides[1]) : std::string()) + "|");
    return;
  }
  if (IsBlankLine(line)) {
    // Counter lines, and text after a blank line inside a cue, are not taken.
    state.skipping = true;
    return;
  }
  if (state.skipping) return;
  std::string& last = cells.back();
  if (!EndsWith(last, "|")) last += kCellNewLine;
  last += StripMarkup(line);
}

void ReadSubStation(std::string_view line, Cells& cells, ReaderState& state) {
  if (HasNoCase(line, "Format:")) {
    const std::vector<std::string> fields = Split(line, ",");
    state.columnCount = static_cast<int>(fields.size()) - 1;
    for (size_t k = 0; k + 1 < fields.size(); ++k) {
      const std::string name = LowerAscii(Trim(fields[k]));
      if (name == "start") state.startColumn = static_cast<int>(k);
      if (name == "end") state.endColumn = static_cast<int>(k);
    }
  }
  if (HasNoCase(line, "Dialogue:")) {
    // Every such line is an entry; a field the line is too short for stays empty.
    const std::vector<std::string> fields = Split(line, ",");
    auto field = [&fields](int column) {
      return static_cast<size_t>(column) < fields.size() ? Trim(fields[static_cast<size_t>(column)]) : std::string();
    };
    cells.push_back(field(state.startColumn) + "->" + field(state.endColumn) + "|" +
                    StripMarkup(TextAfter(line, ",", state.columnCount)));
  }
}

void ReadLrc(std::string_view line, Cells& cells, ReaderState&) {
  if (!Contains(line, "[") || !Contains(line, "]")) return;
  const std::vector<std::string> pieces = Split(line, "]");
  const std::string text = StripMarkup(pieces.back());
  for (size_t i = 0; i + 1 < pieces.size(); ++i) cells.push_back(ReplaceAll(pieces[i], "[", "") + "|" + text);
}

void ReadKaraokeScript(std::string_view line, Cells& cells, ReaderState&) {
  if (!HasNoCase(line, "karaoke.add(")) return;
  const std::vector<std::string> parts = Split(line, "(");
  if (parts.size() < 2 || IsBlankLine(parts[1])) return;
  const std::vector<std::string> fields = Split(parts[1], "', '");
  if (fields.size() < 4) return;
  const std::string timings = StripMarkup(ReplaceAll(WithoutQuotes(fields[3]), ");", ""));
  cells.push_back(WithoutQuotes(fields[0]) + "->" + WithoutQuotes(fields[1]) + "|" + WithoutQuotes(fields[2]) + "|" +
                  timings);
}

void ReadXmlLyrics(std::string_view line, Cells& cells, ReaderState&) {
  if (!HasNoCase(line, "line begin=")) return;
  cells.push_back(TextBetween(line, "\"", "\"") + "|" + StripMarkup(TextBetween(line, ">", "<")));
}

// SAMI and circled-digit times are milliseconds written as a plain number, which
// the time readers later take as seconds.
void ReadSami(std::string_view line, Cells& cells, ReaderState&) {
  if (HasNoCase(line, "<sync")) {
    cells.push_back(FormatNumber(Val(TextAfter(line, "=", 1))) + "|" + StripMarkup(TextAfter(line, ">", 1)));
  } else {
    AppendStripped(line, cells);
  }
}

void ReadCircled(std::string_view line, Cells& cells, ReaderState&) {
  if (Contains(line, "⑩") && Contains(line, "⑿")) {
    cells.push_back(FormatNumber(Val(TextBetween(line, "⑩", "⑿")) * 10) + "|");
  } else {
    AppendStripped(line, cells);
  }
}

void ReadTwoLine(std::string_view line, Cells& cells, ReaderState&) {
  if (line.size() == 5 && FitsMask(line, "##:##")) {
    cells.push_back(std::string(line) + "|");
  } else if (!IsBlankLine(line)) {
    cells.back() += line;
  }
}

void ReadTabField(std::string_view line, Cells& cells, ReaderState&) {
  if (!FitsMask(line, "##:##:##:##")) return;
  const std::vector<std::string> fields = Split(line, ",");
  if (fields.size() < 3) return;
  cells.push_back(Trim(fields[0]) + "->" + Trim(fields[1]) + "|" + Trim(StripMarkup(fields[2])));
}

void ReadEquals(std::string_view line, Cells& cells, ReaderState&) {
  if (!FitsMask(line, "##:##:##,###")) return;
  const std::vector<std::string> fields = Split(line, "=");
  if (fields.size() < 2) return;
  const std::vector<std::string> times = Split(fields[0], "-");
  if (times.size() < 2) return;
  cells.push_back(Trim(times[0]) + "->" + Trim(times[1]) + "|" + Trim(StripMarkup(fields[1])));
}

void ReadBracket(std::string_view line, Cells& cells, ReaderState&) {
  if (!StartsWith(line, "[")) return;
  const std::string time = TextBetween(line, "[", "]");
  const std::string after = TextAfter(line, "]", 1);
  if (!IsBlankLine(after)) {
    cells.push_back(time + "->#EndTime#|" + Trim(StripMarkup(after)));
  } else {
    // An end line closes the entry before it.
    cells.back() = ReplaceAll(cells.back(), "#EndTime#", time);
  }
}

void ReadInternal(std::string_view line, Cells& cells, ReaderState&) {
  if (Contains(line, "|")) cells.emplace_back(line);
}

using LineReader = void (*)(std::string_view, Cells&, ReaderState&);

struct ReaderRow {
  int type;
  LineReader read;
};

constexpr ReaderRow kReaders[] = {
    {kSubtitlePlainText, ReadPlainText}, {kSubtitleSubRip, ReadSubRip},       {kSubtitleSubStation, ReadSubStation},
    {kSubtitleLrc, ReadLrc},             {kSubtitleKaraoke, ReadKaraokeScript}, {kSubtitleXmlLyrics, ReadXmlLyrics},
    {kSubtitleSami, ReadSami},           {kSubtitleCircled, ReadCircled},     {kSubtitleTwoLine, ReadTwoLine},
    {kSubtitleTabField, ReadTabField},   {kSubtitleEquals, ReadEquals},       {kSubtitleBracket, ReadBracket},
    {kSubtitleInternal, ReadInternal},
};

}  // namespace

void ReadSubtitleLine(int type, std::string_view line, std::vector<std::string>& cells, ReaderState& state) {
  if (cells.empty()) cells.emplace_back();
  for (const ReaderRow& row : kReaders) {
    if (row.type == type) {
      row.read(line, cells, state);
      return;
    }
  }
}

}  // namespace zel
