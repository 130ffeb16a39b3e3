// The player's own subtitle over its video: the file found beside the playing
// name at OpenFile, the line of the position on each repaint of the status
// bar, drawn over the video and given to the bar's subtitle face.
#pragma once

#include "player/SubtitleOverlay.h"
#include "player/ctlDSPlayer.h"

#include <QWidget>

namespace zel {

class PlayerSubtitleLayer : public QWidget, public PlayerPart {
  Q_OBJECT

 public:
  explicit PlayerSubtitleLayer(ctlDSPlayer& player);

  SubtitleOverlay& Overlay() { return overlay_; }
  // The search beside the name the player plays (after a suffix change).
  void Load();
  // The table, the line and the bar's line go.
  void Clear();

  void Opening() override;
  void Closing() override { Clear(); }
  void Ticked() override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void TellBar();

  ctlDSPlayer& player_;
  SubtitleOverlay overlay_;
};

}  // namespace zel
