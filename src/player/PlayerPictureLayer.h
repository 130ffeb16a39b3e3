// The surface under the player's video: the default image, and for a file
// without video its cover, a cover beside it or the desktop's wallpaper, drawn
// by PlayerPicture with its transitions.
#pragma once

#include "player/AlbumArt.h"
#include "player/PlayerPicture.h"
#include "player/ctlDSPlayer.h"

#include <QWidget>

namespace zel {

class PlayerPictureLayer : public QWidget, public PlayerPart {
  Q_OBJECT

 public:
  explicit PlayerPictureLayer(ctlDSPlayer& player);

  PlayerPicture& Picture() { return picture_; }
  // Where the picture of the open file came from.
  AlbumArtSource ArtSource() const { return source_; }

  // A video or the spectrum hides the layer; a file without either shows
  // what stands for it.
  void Opening() override;
  void Closing() override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  bool ShowsArt() const;
  void ShowArt();

  ctlDSPlayer& player_;
  PlayerPicture picture_;
  // Read once, when a file first needs it, on a worker thread.
  WallpaperCache wallpaper_;
  bool wallpaperAsked_ = false;
  AlbumArtSource source_ = AlbumArtSource::None;
};

}  // namespace zel
