#include "engine/ThumbnailSheet.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <memory>
#include <mutex>

namespace zel {

SheetGeometry ComputeSheetGeometry(int videoWidth, int videoHeight, int columns, int rows, int spacing, int maxWidth,
                                   int cellWidth, int cellHeight, bool hasComment) {
  SheetGeometry sheet;
  const bool single = columns == 1 && rows == 1;
  sheet.header = single ? 0 : 120;
  sheet.footer = (single || !hasComment) ? 0 : 30;
  sheet.cellWidth = videoWidth;
  sheet.cellHeight = videoHeight;
  if (maxWidth > 0 && maxWidth < videoWidth && videoWidth > 0) {
    sheet.cellWidth = maxWidth;
    sheet.cellHeight = static_cast<int>(std::lround(static_cast<double>(maxWidth) * videoHeight / videoWidth));
  }
  if (cellWidth > 0) sheet.cellWidth = cellWidth;
  if (cellHeight > 0) sheet.cellHeight = cellHeight;
  sheet.width = spacing + (sheet.cellWidth + spacing) * columns;
  sheet.height = sheet.header + sheet.footer + spacing + (sheet.cellHeight + spacing) * rows;
  return sheet;
}

double CellTime(int n, int count, double length, double rangeStart, double rangeEnd, double singleTime) {
  if (count <= 1) return singleTime;
  const double range = rangeEnd - rangeStart;
  if (range <= 0) return length / (count + 1) * n;
  if (rangeStart <= 0) return rangeStart + range / (count + 1) * n;
  // A range that starts later puts the first and the last cell on its two ends.
  return rangeStart + range / (count - 1) * (n - 1);
}

QRect CellRect(const SheetGeometry& sheet, int n, int columns, int spacing) {
  const int column = (n - 1) % columns, row = (n - 1) / columns;
  return {spacing + column * (sheet.cellWidth + spacing), sheet.header + spacing + row * (sheet.cellHeight + spacing),
          sheet.cellWidth, sheet.cellHeight};
}

QColor ColourFromValue(int value) {
  const auto v = static_cast<unsigned>(value);
  return QColor(static_cast<int>(v & 0xFF), static_cast<int>((v >> 8) & 0xFF), static_cast<int>((v >> 16) & 0xFF));
}

bool EnsureTextDrawing() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (QCoreApplication::instance() != nullptr) return;
    // The offscreen platform warns about a runtime folder it never uses.
    static QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& message) {
          if (message.startsWith(QLatin1String("QStandardPaths:"))) return;
          if (previous != nullptr) previous(type, context, message);
        });
    static int argc = 3;
    static char name[] = "zel", option[] = "-platform", platform[] = "offscreen";
    static char* argv[] = {name, option, platform, nullptr};
    // Never destroyed: it must outlive every font the process still holds at exit.
    new QGuiApplication(argc, argv);
  });
  return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
}

QFont SheetFont(int pixelSize) {
  QFont font(QStringLiteral("Trebuchet MS"));
  font.setPixelSize(pixelSize);
  return font;
}

void DrawKeypadText(QPainter& painter, const QString& text, const QRect& rect, int position, const QFont& font,
                    const QColor& fill, std::optional<QColor> outline) {
  if (text.isEmpty() || position < 1 || position > 9) return;
  const QFontMetricsF metrics(font);
  const double width = metrics.horizontalAdvance(text);
  const int column = (position - 1) % 3, row = (position - 1) / 3;  // row 0 is the bottom
  double x = rect.left();
  if (column == 1) x = rect.left() + (rect.width() - width) / 2;
  if (column == 2) x = rect.right() + 1 - width;
  double baseline = rect.bottom() + 1 - metrics.descent();
  if (row == 1) baseline = rect.top() + (rect.height() + metrics.ascent() - metrics.descent()) / 2;
  if (row == 2) baseline = rect.top() + metrics.ascent();
  QPainterPath path;
  path.addText(QPointF(x, baseline), font, text);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  if (outline) painter.strokePath(path, QPen(*outline, 2));
  painter.fillPath(path, fill);
  painter.restore();
}

void DrawBand(QPainter& painter, const QRect& rect, const QColor& top, const QColor& bottom) {
  QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
  gradient.setColorAt(0, top);
  gradient.setColorAt(1, bottom);
  painter.fillRect(rect, gradient);
}

}  // namespace zel
