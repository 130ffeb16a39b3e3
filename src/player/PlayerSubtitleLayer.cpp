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
  if (!overlay_.SubtitleLoaded() || !overlay_.Update(player_.Position())) return;
  player_.StatusBar().SetSubtitleLine(Q(overlay_.CurrentLine()));
  update();
}

void PlayerSubtitleLayer::paintEvent(QPaintEvent* /*event*/) {
  if (overlay_.CurrentLine().empty()) return;
  QPainter painter(this);
  overlay_.Paint(painter, rect(), font());
}

}  // namespace zel
