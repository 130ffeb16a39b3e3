// The thumbnail sheet: where its cells lie, at which times they are taken, and
// the drawing of its frames, bands and texts.
#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QRect>
#include <QString>

#include <optional>

class QPainter;

namespace zel {

struct SheetGeometry {
  int header = 0;  // band of the title and the file's facts; none for one cell
  int footer = 0;  // band of the comment
  int cellWidth = 0, cellHeight = 0;
  int width = 0, height = 0;
};

// A sheet of `columns` by `rows` cells of a video of the given size. `maxWidth`
// above 0 narrows wider cells with their shape kept; `cellWidth` and `cellHeight`
// above 0 force the cell size.
SheetGeometry ComputeSheetGeometry(int videoWidth, int videoHeight, int columns, int rows, int spacing, int maxWidth,
                                   int cellWidth, int cellHeight, bool hasComment);

// Cell n (from 1) of `count`: evenly over the whole length; within a range that
// starts at 0 the same way; within a range that starts later, from its start to
// its end. A single cell is taken at `singleTime`.
double CellTime(int n, int count, double length, double rangeStart, double rangeEnd, double singleTime);

// Where cell n (from 1) lies on the sheet.
QRect CellRect(const SheetGeometry& sheet, int n, int columns, int spacing);

// A colour as the settings write it: a number 0xBBGGRR.
QColor ColourFromValue(int value);

// Fonts need a GUI application object; zel-cli and the tests have none, so one is
// made on the offscreen platform. False when text cannot be drawn in this process.
bool EnsureTextDrawing();

// `text` placed in `rect` by a keypad position: 1 to 3 along the bottom, 4 to 6 in
// the middle, 7 to 9 along the top, each from left to right. With `outline`, the
// text gets an outline of width 2 in that colour.
void DrawKeypadText(QPainter& painter, const QString& text, const QRect& rect, int position, const QFont& font,
                    const QColor& fill, std::optional<QColor> outline = std::nullopt);

// A band that runs from `top` colour at its top edge to `bottom` at its bottom.
void DrawBand(QPainter& painter, const QRect& rect, const QColor& top, const QColor& bottom);

// The face every text of the sheet uses, in a pixel size.
QFont SheetFont(int pixelSize);

}  // namespace zel
