#include "subtitles/SubtitleWriters.h"

#include <cstdio>

#include "subtitles/SubtitleCells.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {

namespace {

// The "[by:" line of lyrics names the program that wrote them.
constexpr std::string_view kLyricsContact = "ZEL 影音工坊";

class Lines {
 public:
  void Add(std::string_view line) {
    text_ += line;
    text_ += "\r\n";
  }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

// One entry as the writers other than plain text and SubStation see it.
struct Entry {
  int number = 0;       // counts the entries written, from 1
  std::string trimmed;  // the text, trimmed
  std::string text;     // trimmed, the line marker made one blank
  std::string rawText;  // as the cell holds it
  double start = 0;     // written start: T(start) + offset, milliseconds
  double endOut = 0;    // written end
  double startMs = 0;   // T(start)
  double endMs = 0;     // T(end)
};

using HeaderWriter = void (*)(const SubtitleArguments&, Lines&);
using EntryWriter = void (*)(const Entry&, Lines&);

std::string At(double ms, int16_t notation) { return FormatMSecs(ms, notation); }

std::string Whole(double ms) { return std::to_string(RoundedOrZero(ms)); }

void NoLines(const SubtitleArguments&, Lines&) {}

std::string SubRipText(std::string_view text) {
  std::string result = ReplaceAll(text, kCellNewLine, "\r\n");
  result = ReplaceAll(result, "\\N", "\r\n");
  return ReplaceAll(result, "\\n", "\r\n");
}

void SubRipEntry(const Entry& e, Lines& out) {
  out.Add(std::to_string(e.number));
  out.Add(At(e.start, kNotationSrt) + " --> " + At(e.endOut, kNotationSrt));
  out.Add(SubRipText(e.trimmed));
  out.Add("");
}

void LrcHeader(const SubtitleArguments& args, Lines& out) {
  out.Add("[ti:" + args.title + "]");
  out.Add("[ar:]");
  out.Add("[al:]");
  out.Add("[by:" + std::string(kLyricsContact) + "]");
}
void LrcEntry(const Entry& e, Lines& out) { out.Add("[" + At(e.start, kNotationMinutes) + "]" + e.text); }

void KaraokeHeader(const SubtitleArguments&, Lines& out) {
  for (std::string_view line : {"karaoke := CreateKaraokeObject;", "karaoke.rows := 2;", "karaoke.clear;",
                                "karaoke.singer := '';", "karaoke.songname := '';", "karaoke.TimeOffset := 0;",
                                "karaoke.AnimateColor := RGB(0,0,0);", "karaoke.NormalColor := RGB(0,0,0);",
                                "karaoke.Font('', 0, false);", ""}) {
    out.Add(line);
  }
}
void KaraokeEntry(const Entry& e, Lines& out) {
  // One timing a character, measured on the text with its line markers as blanks.
  const std::string basis = ReplaceAll(e.rawText, kCellNewLine, " ");
  const size_t length = Utf8Characters(basis).size();
  std::string timings;
  if (length > 0) {
    const std::string each = Whole((e.endMs - e.startMs) / static_cast<double>(length));
    for (size_t i = 0; i < length; ++i) timings += (i > 0 ? "," : "") + each;
  }
  out.Add("karaoke.add('" + At(e.start, kNotationMinutesMs) + "', '" + At(e.endOut, kNotationMinutesMs) + "', '" +
          e.rawText + "', '" + timings + "');");
}

void XmlHeader(const SubtitleArguments&, Lines& out) {
  for (std::string_view line : {"<?xml version=\"1.0\" encoding=\"gb2312\"?>", "<!-- ZEL SubtitleConverter -->",
                                "<Lyric>", "  <song>", "  </song>", "  <lines>"}) {
    out.Add(line);
  }
}
void XmlEntry(const Entry& e, Lines& out) {
  out.Add("    <line begin=\"" + At(e.start, kNotationMinutes) + "\">" + e.text + "</line>");
}
void XmlFooter(const SubtitleArguments&, Lines& out) {
  out.Add("  </lines>");
  out.Add("</Lyric>");
}

void SamiHeader(const SubtitleArguments&, Lines& out) {
  out.Add("<SAMI>");
  out.Add("<BODY>");
}
void SamiEntry(const Entry& e, Lines& out) { out.Add("<sync start=" + Whole(e.start) + ">" + e.text); }
void SamiFooter(const SubtitleArguments&, Lines& out) {
  out.Add("</BODY>");
  out.Add("</SAMI>");
}

void CircledEntry(const Entry& e, Lines& out) {
  // Eight digits whatever the sign, which stands in front of them: -100 ms is
  // "-00000010", not a sign counted among the eight.
  const int64_t hundredths = RoundedOrZero(e.start / 10);
  char digits[24];
  std::snprintf(digits, sizeof digits, "%s%08lld", hundredths < 0 ? "-" : "",
                static_cast<long long>(hundredths < 0 ? -hundredths : hundredths));
  out.Add("⑩" + std::string(digits) + "⑿");
  out.Add(e.text);
}

void TwoLineEntry(const Entry& e, Lines& out) {
  out.Add(At(e.start, kNotationMinutesOnly));
  out.Add(e.text);
  out.Add("");
}

void TabFieldHeader(const SubtitleArguments&, Lines& out) {
  struct Row {
    std::string_view name;
    int tabs;
    std::string_view value;
  };
  static constexpr Row kRows[] = {
      {"$FontName", 3, "Verdana"},   {"$FontSize", 3, "32"},          {"$HorzAlign", 3, "Center"},
      {"$VertAlign", 3, "bottom"},   {"$Bold", 4, "TRUE"},            {"$UnderLined", 3, "FALSE"},
      {"$Italic", 4, "FALSE"},       {"$XOffset", 3, "0"},            {"$YOffset", 3, "33"},
      {"$TextContrast", 3, "15"},    {"$Outline1Contrast", 2, "15"},  {"$Outline2Contrast", 2, "12"},
      {"$BackgroundContrast", 2, "0"}, {"$ForceDisplay", 3, "TRUE"},  {"$FadeIn", 4, "0"},
      {"$FadeOut", 4, "0"},          {"$ColorIndex1", 3, "0   "},     {"$ColorIndex2", 3, "0"},
      {"$ColorIndex3", 3, "8"},      {"$ColorIndex4", 3, "0"},        {"", 0, ""},
      {"$TapeOffset", 3, "FALSE"},   {"", 0, ""},
  };
  for (const Row& row : kRows) {
    if (row.name.empty()) {
      out.Add("");
    } else {
      out.Add(std::string(row.name) + std::string(static_cast<size_t>(row.tabs), '\t') + "=\t" +
              std::string(row.value));
    }
  }
}
void TabFieldEntry(const Entry& e, Lines& out) {
  out.Add(At(e.start, kNotationFrames) + "\t,\t" + At(e.endOut, kNotationFrames) + "\t,\t" + e.text);
}

void EqualsHeader(const SubtitleArguments&, Lines& out) { out.Add("{* VIPLAY SUBTITLE FILE *}"); }
void EqualsEntry(const Entry& e, Lines& out) {
  out.Add(At(e.start, kNotationSrt) + "-" + At(e.endOut, kNotationSrt) + "=" + e.text);
}

void BracketEntry(const Entry& e, Lines& out) {
  out.Add("[" + At(e.start, kNotationClock) + "]" + e.text);
  out.Add("[" + At(e.endOut, kNotationClock) + "]");
}

void InternalEntry(const Entry& e, Lines& out) {
  out.Add(At(e.start, kNotationSrt) + "->" + At(e.endOut, kNotationSrt) + "|" + e.text);
}

struct WriterRow {
  int type;
  HeaderWriter header;
  EntryWriter entry;
  HeaderWriter footer;
  bool skipEmpty;         // entries whose text is blank are left out
  bool lastKeepsEnd;      // the last entry without an end keeps the one before it
};

constexpr WriterRow kWriters[] = {
    {kSubtitleSubRip, NoLines, SubRipEntry, NoLines, true, false},
    {kSubtitleLrc, LrcHeader, LrcEntry, NoLines, true, false},
    {kSubtitleKaraoke, KaraokeHeader, KaraokeEntry, NoLines, false, false},
    {kSubtitleXmlLyrics, XmlHeader, XmlEntry, XmlFooter, true, false},
    {kSubtitleSami, SamiHeader, SamiEntry, SamiFooter, true, false},
    {kSubtitleCircled, NoLines, CircledEntry, NoLines, true, false},
    {kSubtitleTwoLine, NoLines, TwoLineEntry, NoLines, true, false},
    {kSubtitleTabField, TabFieldHeader, TabFieldEntry, NoLines, true, true},
    {kSubtitleEquals, EqualsHeader, EqualsEntry, NoLines, true, false},
    {kSubtitleBracket, NoLines, BracketEntry, NoLines, true, false},
    {kSubtitleInternal, NoLines, InternalEntry, NoLines, true, false},
};

std::string WritePlainText(const std::vector<std::string>& cells, const WriterProgress& progress) {
  Lines out;
  const int last = static_cast<int>(cells.size()) - 1;
  for (int i = 1; i <= last; ++i) {
    out.Add(ReplaceAll(Trim(SplitCell(cells[static_cast<size_t>(i)]).text), kCellNewLine, "\r\n"));
    if (progress && ProgressDue(i, last)) progress(i, last);
  }
  return out.Take();
}

}  // namespace

bool ProgressDue(int index, int count) {
  const int32_t divisor = RoundedOrZero(count / 10.0);
  return divisor == 0 || index % divisor == 0;
}

std::string WriteSubtitleText(const std::vector<std::string>& cells, int writerType,
                              const SubtitleArguments& args, int sourceType, const WriterProgress& progress) {
  if (writerType == kSubtitlePlainText) return WritePlainText(cells, progress);
  const WriterRow* row = nullptr;
  for (const WriterRow& candidate : kWriters) {
    if (candidate.type == writerType) row = &candidate;
  }
  if (row == nullptr) return WriteSubStation(cells, args, sourceType, progress);

  Lines out;
  row->header(args, out);
  const double offset = args.timeOffset * 1000;
  const int last = static_cast<int>(cells.size()) - 1;
  int written = 0;
  std::string end;
  for (int i = 1; i <= last; ++i) {
    const CellParts parts = SplitCell(cells[static_cast<size_t>(i)]);
    const std::string text = Trim(parts.text);
    if (parts.hasEnd) {
      end = parts.end;
    } else if (i < last) {
      end = SplitCell(cells[static_cast<size_t>(i) + 1]).start;
    } else if (!row->lastKeepsEnd) {
      end = FormatMSecs(ParseMSecs(parts.start, ",") + 5000, kNotationSrt);
    }
    if (!row->skipEmpty || !text.empty()) {
      Entry entry;
      entry.number = ++written;
      entry.trimmed = text;
      entry.rawText = parts.text;
      entry.text = ReplaceAll(text, kCellNewLine, " ");
      entry.startMs = ParseMSecs(parts.start, ",");
      entry.endMs = ParseMSecs(end, ",");
      entry.start = entry.startMs + offset;
      // An end that reads as nothing lasts ten seconds, the offset counted twice.
      entry.endOut = offset + entry.endMs + (entry.endMs == 0 ? offset + entry.startMs + 10000 : 0);
      row->entry(entry, out);
    }
    if (progress && ProgressDue(i, last)) progress(i, last);
  }
  row->footer(args, out);
  return out.Take();
}

}  // namespace zel
