// The SubStation writer: script header, styles, and event lines, which with karaoke
// on carry a timing tag for every character or group.
#include <cstdio>

#include "subtitles/SubtitleCells.h"
#include "subtitles/SubtitleWriters.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {

namespace {

constexpr std::string_view kStyleFormat =
    "Format: Name,Fontname,Fontsize,PrimaryColour,SecondaryColour,TertiaryColour,BackColour,Bold,Italic,"
    "BorderStyle,Outline,Shadow,Alignment,MarginL,MarginR,MarginV,AlphaLevel,Encoding";
constexpr std::string_view kEventFormat = "Format: Marked,Start,End,Style,Name,MarginL,MarginR,MarginV,Effect,Text";
constexpr std::string_view kKaraokeEntrance = "{\\t(0,1,\\fsp20)}{\\t(1,200,\\fsp1)}{\\fad(500,200)}";
constexpr std::string_view kCountInText =
    "{\\k100}{\\ko50}请{\\ko50}准{\\ko50}备 {\\ko50}>{\\ko50}>{\\ko50}>{\\ko50}>{\\ko50}>";

std::string Colour(int value) {
  char text[16];
  std::snprintf(text, sizeof text, "&H%X", static_cast<unsigned>(value));
  return text;
}

std::string Hours(double ms) { return FormatMSecs(ms, kNotationHours); }

struct Style {
  std::string name;
  std::string fontSize;
  std::string primary, secondary;
  std::string back;
  int bold, italic, borderStyle, outline, alignment, marginLR;
  std::string marginV;
  int alpha;
};

std::string StyleLine(const Style& s, int encoding) {
  const std::string margin = std::to_string(s.marginLR);
  return "Style: " + s.name + ",Arial," + s.fontSize + "," + s.primary + "," + s.secondary + ",&H0," + s.back + "," +
         std::to_string(s.bold) + "," + std::to_string(s.italic) + "," + std::to_string(s.borderStyle) + "," +
         std::to_string(s.outline) + ",1," + std::to_string(s.alignment) + "," + margin + "," + margin + "," +
         s.marginV + "," + std::to_string(s.alpha) + "," + std::to_string(encoding);
}

std::vector<Style> Styles(const SubtitleArguments& a) {
  const bool karaoke = a.karaokeStyle > 0;
  const std::string size = std::to_string(a.fontSize);
  std::vector<Style> styles;
  styles.push_back({"Default0", size, Colour(karaoke ? a.effectColor : a.foreColor),
                    karaoke ? Colour(a.foreColor) : "&HFFFFFF", Colour(a.shadowColor), a.bold, a.italic, 0, a.outline,
                    karaoke ? 1 : 2, 15, karaoke ? FormatNumber(a.fontSize * 1.5 + 20) : "20", a.alpha});
  if (karaoke) {
    styles.push_back({"Default1", size, Colour(a.effectColor), Colour(a.foreColor), Colour(a.shadowColor), a.bold,
                      a.italic, 0, a.outline, 3, 15, "20", a.alpha});
  }
  styles.push_back({"Default2", FormatNumber(a.playResY * 0.05), "&HFFFFFF", "&H0", "&H0", 1, 0, 1, 2, 1, 15,
                    FormatNumber(a.playResY * 0.9), 0});
  styles.push_back({"Default3", FormatNumber(a.playResY * 0.08), "&HFFFFFF", "&HFFFFFF", "&H0", 1, 0, 1, 2, 10, 35,
                    "0", 0});
  return styles;
}

std::string WithoutBrackets(std::string_view text) { return ReplaceAll(ReplaceAll(text, "[", ""), "]", ""); }

std::string TimingTag(std::string_view effect, double centiseconds) {
  return "{\\" + std::string(effect) + std::to_string(RoundedOrZero(centiseconds)) + "}";
}

// The karaoke body of one line: a timing tag before each character, or before each
// group a karaoke script marks with "][", from the script's own timings.
std::string KaraokeBody(std::string_view text, const CellParts& parts, bool fromScript, std::string_view effect,
                        double sweepMs) {
  std::string body;
  if (fromScript) {
    const std::vector<std::string> timings = Split(parts.timings, ",");
    if (Contains(text, "][")) {
      const std::vector<std::string> pieces = Split(text, "][");
      for (size_t k = 0; k < pieces.size(); ++k) {
        // A piece without its timing is left out, as a missing number leaves it.
        if (k < timings.size()) body += TimingTag(effect, Val(timings[k]) / 10) + WithoutBrackets(pieces[k]);
      }
    } else {
      const std::string plain = WithoutBrackets(text);
      size_t c = 0;
      for (std::string_view character : Utf8Characters(plain)) {
        if (c < timings.size()) body += TimingTag(effect, Val(timings[c]) / 10) + std::string(character);
        ++c;
      }
    }
    return body;
  }
  const std::string plain = WithoutBrackets(text);
  const std::vector<std::string_view> characters = Utf8Characters(plain);
  if (characters.empty()) return body;
  const std::string tag = TimingTag(effect, sweepMs / static_cast<double>(characters.size()) / 10);
  for (std::string_view character : characters) body += tag + std::string(character);
  return body;
}

}  // namespace

std::string WriteSubStation(const std::vector<std::string>& cells, const SubtitleArguments& a, int sourceType,
                            const WriterProgress& progress) {
  std::string out;
  auto add = [&out](std::string_view line) {
    out += line;
    out += "\r\n";
  };
  add("[Script Info]");
  add("Title: " + a.title);
  add("ScriptType: V4.00");
  add("Collisions: Normal");
  add("PlayResX: " + std::to_string(a.playResX));
  add("PlayResY: " + std::to_string(a.playResY));
  add("Timer: 100.0000");
  add("");
  add("[v4 Styles]");
  add(kStyleFormat);
  for (const Style& style : Styles(a)) add(StyleLine(style, a.encoding));
  add("");
  add("[Events]");
  add(kEventFormat);
  add("");

  const double offset = a.timeOffset * 1000;
  const bool karaoke = a.karaokeStyle == 1 || a.karaokeStyle == 2;
  const std::string_view effect = a.karaokeStyle == 2 ? "ko" : "kf";
  const bool fromScript = sourceType == kSubtitleKaraoke;
  const int last = static_cast<int>(cells.size()) - 1;
  auto startOf = [&cells](int i) { return SplitCell(cells[static_cast<size_t>(i)]).start; };
  std::string end, prev, next;
  int i = 1;
  for (; i <= last; ++i) {
    const CellParts parts = SplitCell(cells[static_cast<size_t>(i)]);
    const std::string& start = parts.start;
    if (parts.hasEnd) {
      end = parts.end;
    } else if (i < last) {
      end = startOf(i + 1);
    }
    double leadIn = 0, tail = 0;
    const double startMs = ParseMSecs(start, ",");
    if (i == 1) {
      // With one cell there is no next start, and `next` stays as it was.
      prev = start;
      if (last >= 2) next = startOf(2);
      leadIn = 3000;
    } else if (i == last) {
      prev = startOf(i - 1);
      next = start;
      leadIn = startMs - ParseMSecs(prev, ",");
      tail = 5000;
    } else {
      prev = startOf(i - 1);
      next = startOf(i + 1);
      leadIn = startMs - ParseMSecs(prev, ",");
    }
    if (leadIn > 3000) leadIn = 3000;
    const int32_t leadCentis = RoundedOrZero(leadIn / 10);
    const std::string leadTag = leadCentis > 0 ? "{\\k" + std::to_string(leadCentis) + "}" : "";
    const std::string text = ReplaceAll(Trim(parts.text), kCellNewLine, "\\N");
    const double endMs = ParseMSecs(end, ",");

    if (!karaoke) {
      const std::string body = WithoutBrackets(text);
      if (!body.empty()) {
        const double endOut = offset + endMs + (endMs == 0 ? offset + startMs + 10000 : 0);
        add("Dialogue: Marked=0," + Hours(startMs + offset) + "," + Hours(endOut) + ",Default0,,0000,0000,0000,,{\\fn" +
            a.fontName + "}{\\an" + std::to_string(a.alignment) + "}" + leadTag + body);
      }
    } else {
      const double sweep = (ParseMSecs(next, ",") - ParseMSecs(prev, ",") - leadIn) / a.speed;
      const std::string body = KaraokeBody(text, parts, fromScript, effect, sweep);
      if (!body.empty()) {
        add("Dialogue: Marked=0," + Hours(startMs - leadIn + offset) + "," + Hours(endMs + tail + offset) +
            ",Default" + std::to_string(i % 2) + ",,0000,0000,0000,," + std::string(kKaraokeEntrance) + "{\\fn" +
            a.fontName + "}{\\an" + std::to_string(a.alignment) + "}" + leadTag + body);
      }
    }
    if (progress && ProgressDue(i, last)) progress(i, last);
  }

  if (a.karaokeStyle > 0 && last >= 1) {
    const double first = ParseMSecs(startOf(1), ",");
    double from = -1, to = -1;
    if (first > 5000) {
      from = first - 8000, to = first - 3000;
    } else if (first > 3000) {
      from = 0, to = first - 3000;
    }
    if (to >= 0) {
      add("Dialogue: Marked=0," + Hours(from) + "," + Hours(to) + ",Default" + std::to_string(i % 2) +
          ",,0000,0000,0000,,{\\fad(80,150)}{\\fn" + a.fontName + "}" + std::string(kCountInText));
    }
  }
  if (!a.banner.empty()) {
    add("Dialogue: Marked=0,0:00:03.00,0:02:00.00,Default2,,0000,0000,0000,Banner;30;0,{\\fad(5000,80)}{\\fn黑体}" +
        a.banner);
  }
  if (!a.title.empty()) {
    const std::string smaller = "\\N\\N{\\fs" + std::to_string(static_cast<int>(a.playResY * 0.07)) + "}";
    add("Dialogue: Marked=0,0:00:03.00,0:00:15.00,Default3,,0000,0000,0000,,{\\fad(500,80)}{\\fn" + a.fontName + "}" +
        ReplaceAll(a.title, "\r\n", smaller));
  }
  return out;
}

}  // namespace zel
