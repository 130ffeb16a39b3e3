// What the player writes on its own background: the facts panel beside the
// video while a file is open, and the caption and text while it is idle.
#pragma once

#include "player/ctlDSPlayer.h"

#include <QColor>
#include <QWidget>

class QPainter;

namespace zel {

// The panel at the control's right edge, beside (never under) the video, so
// that the video's OpenGL child leaves it alone. It follows the position on
// each repaint of the status bar and the marks on each PlaybackUpdate.
class PlayerFactsLayer : public QWidget, public PlayerPart {
  Q_OBJECT

 public:
  explicit PlayerFactsLayer(ctlDSPlayer& player);

  void Ticked() override { update(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  ctlDSPlayer& player_;
};

// Text on the player's background in the theme's colours: the bar's face
// colour where it stands out from the background, else white or black.
QColor PlayerTextColour(const ctlDSPlayer& player);
// `caption` large and `text` below it, centred in `area`, in "Trebuchet MS"
// (or the face installed in its place).
void PaintIdleTexts(QPainter& painter, const QRect& area, const QString& caption, const QString& text,
                    const QColor& colour);

}  // namespace zel
