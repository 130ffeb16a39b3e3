#include "player/PlayerPictureLayer.h"

#include "controls/QtText.h"
#include "player/PlayerFactsLayer.h"
#include "player/PlayerStatusBar.h"

#include <QPainter>

namespace zel {

PlayerPictureLayer::PlayerPictureLayer(ctlDSPlayer& player) : QWidget(&player), player_(player) {
  // The control takes the mouse itself and hands the picture its drags.
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_OpaquePaintEvent);
  connect(&picture_, &PlayerPicture::Changed, this, qOverload<>(&QWidget::update));
  connect(&picture_, &PlayerPicture::TransitionFinished, this, [this] {
    if (player_.Status() != 0) player_.StatusBar().update();
  });
  connect(&picture_, &PlayerPicture::DefaultImageChanged, this, [this](QString name) {
    emit player_.DefaultImageChanged(name);
  });
  connect(&picture_, &PlayerPicture::FileOpened, &player_, &ctlDSPlayer::FileOpened);
  connect(&picture_, &PlayerPicture::FileClosed, &player_, &ctlDSPlayer::FileClosed);
  connect(&picture_, &PlayerPicture::DefaultImageZoomed, &player_, &ctlDSPlayer::DefaultImageZoomed);
  // The wallpaper arrives late: it stands in only while nothing better came.
  connect(&wallpaper_, &WallpaperCache::Ready, this, [this] {
    if (ShowsArt() && source_ == AlbumArtSource::None) ShowArt();
  });
}

bool PlayerPictureLayer::ShowsArt() const {
  return player_.Status() != 0 && player_.MediaWidth() == 0 && player_.MediaHeight() == 0 &&
         !player_.SpectrumRunning();
}

// The spectrum stands for a file without video as the video does; a file
// whose spectrum could not start shows its cover all the same.
void PlayerPictureLayer::Opening() {
  if (player_.MediaWidth() > 0 || player_.MediaHeight() > 0 || player_.SpectrumRunning()) {
    hide();
    return;
  }
  show();
  ShowArt();
}

void PlayerPictureLayer::ShowArt() {
  const AlbumArt art = FindAlbumArt(S(player_.Filename()), wallpaper_.Path());
  source_ = art.source;
  picture_.SetMediaPicture(art.image, art.label);
  if (source_ == AlbumArtSource::None && !wallpaperAsked_) {
    wallpaperAsked_ = true;
    wallpaper_.Refresh();
  }
}

void PlayerPictureLayer::Closing() {
  source_ = AlbumArtSource::None;
  picture_.CloseFile();
  show();
}

void PlayerPictureLayer::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  picture_.Paint(painter, rect());
  // Idle: no file and no picture, not even one fading out.
  if (player_.Status() == 0 && !picture_.HasPicture() && !picture_.Transitioning()) {
    PaintIdleTexts(painter, rect(), player_.Caption(), player_.Text(), PlayerTextColour(player_));
  }
}

}  // namespace zel
