// The subtitle overlay and the facts panel: see SubtitleOverlay.h.
#include "player/SubtitleOverlay.h"

#include "controls/QtText.h"
#include "player/PlayerMarks.h"
#include "player/PlayerStrings.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/SubtitleLoader.h"
#include "subtitles/TimeNotation.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>

#include <algorithm>

namespace zel {

namespace {

constexpr int kOutlineWidth = 3;

// "start->end|text" into its parts; false for an entry that does not split.
bool SplitEntry(const std::string& entry, double& start, double& end, std::string& text) {
  const size_t bar = entry.find('|');
  if (bar == std::string::npos) return false;
  const size_t arrow = entry.find("->");
  if (arrow == std::string::npos || arrow > bar) return false;
  start = ParseMSecs(entry.substr(0, arrow), ",") / 1000;
  end = ParseMSecs(entry.substr(arrow + 2, bar - arrow - 2), ",") / 1000;
  text = entry.substr(bar + 1);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  // The reader marks a line break inside a cell; the overlay draws lines.
  for (size_t at = text.find(kCellNewLine); at != std::string::npos; at = text.find(kCellNewLine, at + 1)) {
    text.replace(at, kCellNewLine.size(), "\n");
  }
  return true;
}

}  // namespace

bool SubtitleOverlay::LoadSubtitleToArray(const std::string& mediaPath, const std::function<void()>& pump) {
  Clear();
  LoadedSubtitle loaded = zel::LoadSubtitleToArray(mediaPath, 0, pump);
  file_ = std::move(loaded.path);
  table_ = std::move(loaded.table);
  return SubtitleLoaded();
}

bool SubtitleOverlay::LoadSubtitleFormFile(const std::string& path, const std::function<void()>& pump) {
  Clear();
  table_ = zel::LoadSubtitleFormFile(path, 0, pump);
  if (!table_.empty()) file_ = path;
  return SubtitleLoaded();
}

void SubtitleOverlay::Clear() {
  file_.clear();
  table_.clear();
  line_.clear();
}

std::string SubtitleOverlay::LineAt(double position) const {
  const double t = position + offset_;
  double start = 0;
  double end = 0;
  std::string text;
  for (const std::string& entry : table_) {
    if (SplitEntry(entry, start, end, text) && start <= t && t < end) return text;
  }
  return {};
}

bool SubtitleOverlay::Update(double position) {
  std::string line = LineAt(position);
  if (line == line_) return false;
  line_ = std::move(line);
  return true;
}

void SubtitleOverlay::Paint(QPainter& painter, const QRect& videoRect, const QFont& font, const QColor& colour) const {
  if (line_.empty() || videoRect.isEmpty()) return;
  QFont face = font;
  if (zoomText_) face.setPixelSize(std::max(12, videoRect.height() / 14));
  const QFontMetrics metrics(face);
  const QStringList lines = Q(line_).split(QRegularExpression(QStringLiteral("\r?\n")));
  QPainterPath path;
  int y = videoRect.bottom() - metrics.descent() - metrics.height() / 2 -
          static_cast<int>(lines.size() - 1) * metrics.lineSpacing();
  for (const QString& line : lines) {
    const int x = videoRect.left() + (videoRect.width() - metrics.horizontalAdvance(line)) / 2;
    path.addText(x, y, face, line);
    y += metrics.lineSpacing();
  }
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  if (shadow_ > 0) painter.fillPath(path.translated(shadow_, shadow_), QColor(0, 0, 0, 160));
  painter.strokePath(path, QPen(Qt::black, kOutlineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.fillPath(path, colour);
  painter.restore();
}

std::vector<std::pair<std::string, std::string>> MediaInfoRows(const MediaFacts& facts) {
  std::vector<std::pair<std::string, std::string>> rows;
  rows.emplace_back(StrSubtitleInfoPosition, BarTime(facts.position));
  rows.emplace_back(StrSubtitleInfoDuration, BarTime(facts.duration));
  const bool fits = facts.markStart >= 0 && facts.markEnd >= 0 && facts.markStart <= facts.duration &&
                    facts.markEnd <= facts.duration;
  if (fits) {
    rows.emplace_back(StrSubtitleInfoTimePoint, "1, " + BarTime(facts.markStart));
    rows.emplace_back("", "2, " + BarTime(facts.markEnd));
    rows.emplace_back("", "[-] " + BarTime(std::abs(facts.markEnd - facts.markStart)));
  } else {
    rows.emplace_back(StrSubtitleInfoTimePoint, StrSubtitleInfoOutOfRange);
  }
  if (facts.width >= 1 && facts.height >= 1) {
    rows.emplace_back(StrSubtitleInfoMedia, std::to_string(facts.width) + "x" + std::to_string(facts.height) +
                                                " / " + S(QString::number(facts.frameRate, 'f', 2)) + "fps");
  }
  if (!facts.extra.empty()) rows.emplace_back("", facts.extra);
  return rows;
}

int MediaInfoWidth(const MediaFacts& facts, const QFont& font) {
  const QFontMetrics metrics(font);
  int width = 0;
  for (const auto& [label, value] : MediaInfoRows(facts)) {
    width = std::max({width, metrics.horizontalAdvance(Q(label)), metrics.horizontalAdvance(Q(value))});
  }
  return width + 2 * metrics.horizontalAdvance(QLatin1Char('M'));
}

void PaintMediaInfo(QPainter& painter, const QRect& panel, const MediaFacts& facts, const QFont& font,
                    const QColor& colour) {
  const QFontMetrics metrics(font);
  // "M" is the measure of a line, with some air between the lines.
  const int line = metrics.boundingRect(QLatin1Char('M')).height() + 4;
  const int x = panel.left() + metrics.horizontalAdvance(QLatin1Char('M'));
  int y = panel.top() + line;
  painter.save();
  painter.setFont(font);
  painter.setPen(colour);
  for (const auto& [label, value] : MediaInfoRows(facts)) {
    if (!label.empty()) {
      y += line / 2;
      if (y > panel.bottom()) break;
      painter.drawText(x, y, Q(label));
      y += line;
    }
    if (y > panel.bottom()) break;
    painter.drawText(x, y, Q(value));
    y += line;
  }
  painter.restore();
}

}  // namespace zel
