#include "player/PlayerSubtitleLayer.h"

#include "controls/QtText.h"
#include "player/PlayerStatusBar.h"

#include <QPainter>

namespace zel {

PlayerSubtitleLayer::PlayerSubtitleLayer(ctlDSPlayer& player) : QWidget(&player), player_(player) {
  // Clicks on the words are clicks on the picture.
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_NoSystemBackground);
  setAttribute(Qt::WA_TranslucentBackground);
  // Readable over a picture without ZoomText, which scales with the video.
  QFont face = font();
  face.setPixelSize(20);
  setFont(face);
}

void PlayerSubtitleLayer::Load() {
  overlay_.LoadSubtitleToArray(S(player_.Filename()));
  TellBar();
  Ticked();
}

void PlayerSubtitleLayer::Clear() {
  overlay_.Clear();
  TellBar();
  update();
}

void PlayerSubtitleLayer::Opening() {
  if (player_.AllowLoadSubtitle()) Load();
}

void PlayerSubtitleLayer::TellBar() {
  player_.StatusBar().SetSubtitleLoaded(overlay_.SubtitleLoaded());
  player_.StatusBar().SetSubtitleLine(Q(overlay_.CurrentLine()));
}

void PlayerSubtitleLayer::Ticked() {
  // While the tick runs mpv's clock is current; a player at rest was last
  // moved by a seek mpv may not have made yet, whose target the bar holds.
  const double at = player_.TickInterval() > 0 ? player_.Position() : player_.StatusBar().Position();
  if (!overlay_.SubtitleLoaded() || !overlay_.Update(at)) return;
  player_.StatusBar().SetSubtitleLine(Q(overlay_.CurrentLine()));
  update();
}

void PlayerSubtitleLayer::paintEvent(QPaintEvent* /*event*/) {
  if (overlay_.CurrentLine().empty()) return;
  QPainter painter(this);
  overlay_.Paint(painter, rect(), font());
}

}  // namespace zel
