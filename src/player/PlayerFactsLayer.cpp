#include "player/PlayerFactsLayer.h"

#include "controls/QtText.h"
#include "controls/Theme.h"
#include "player/PlayerStatusBar.h"
#include "player/PlayerStrings.h"
#include "player/SubtitleOverlay.h"

#include <QFontMetrics>
#include <QPainter>

namespace zel {

PlayerFactsLayer::PlayerFactsLayer(ctlDSPlayer& player) : QWidget(&player), player_(player) {
  // Clicks on the panel are clicks on the control.
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_OpaquePaintEvent);
  hide();
  connect(&player_, &ctlDSPlayer::PlaybackUpdate, this, qOverload<>(&QWidget::update));
}

void PlayerFactsLayer::paintEvent(QPaintEvent* /*event*/) {
  if (!player_.Refresh()) return;
  QPainter painter(this);
  painter.fillRect(rect(), FromBgr(player_.Picture().BackColor()));
  // A rule in the bar's position colour parts the panel from the video.
  painter.setPen(FromBgr(player_.StatusBar().PositionColor()));
  painter.drawLine(0, 0, 0, height() - 1);
  painter.setRenderHint(QPainter::TextAntialiasing);
  PaintMediaInfo(painter, rect(), player_.Facts(), player_.font(), PlayerTextColour(player_));
}

QColor PlayerTextColour(const ctlDSPlayer& player) {
  const int32_t back = player.Picture().BackColor();
  const int32_t face = player.StatusBar().BarColor();
  if (IsDarkColor(face) != IsDarkColor(back)) return FromBgr(face);
  return IsDarkColor(back) ? Qt::white : Qt::black;
}

void PaintIdleTexts(QPainter& painter, const QRect& area, const QString& caption, const QString& text,
                    const QColor& colour) {
  if (caption.isEmpty() && text.isEmpty()) return;
  QFont big(Q(StrPlayerFontName));
  big.setPixelSize(std::clamp(area.height() / 8, 14, 40));
  big.setBold(true);
  QFont small(Q(StrPlayerFontName));
  small.setPixelSize(std::clamp(area.height() / 20, 11, 18));
  const QFontMetrics bigMetrics(big);
  const QFontMetrics smallMetrics(small);
  const int captionHeight = caption.isEmpty() ? 0 : bigMetrics.height();
  const int textHeight = text.isEmpty() ? 0 : smallMetrics.height();
  const int top = area.top() + (area.height() - captionHeight - textHeight) / 2;
  painter.save();
  painter.setRenderHint(QPainter::TextAntialiasing);
  painter.setPen(colour);
  painter.setFont(big);
  painter.drawText(QRect(area.left(), top, area.width(), captionHeight), Qt::AlignCenter, caption);
  painter.setFont(small);
  painter.drawText(QRect(area.left(), top + captionHeight, area.width(), textHeight), Qt::AlignCenter, text);
  painter.restore();
}

}  // namespace zel
