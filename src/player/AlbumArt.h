// What an audio file shows in place of a picture: its embedded cover, a cover
// file beside it, or the desktop's wallpaper, read through the desktop's own
// settings.
#pragma once

#include <QImage>
#include <QObject>
#include <QString>

#include <mutex>
#include <string>

namespace zel {

enum class AlbumArtSource { None, Embedded, CoverFile, Wallpaper };

struct AlbumArt {
  QImage image;
  QString label;     // "Album Art" for an embedded picture
  std::string file;  // the cover or wallpaper file; "" for an embedded one
  AlbumArtSource source = AlbumArtSource::None;
};

// The embedded picture first, then a cover beside the file, then the
// wallpaper (darkened) when `wallpaper` names a readable picture.
AlbumArt FindAlbumArt(const std::string& mediaPath, const std::string& wallpaper);

// The desktop's wallpaper file, "" when none can be read or it is missing.
// KDE Plasma's own setting first under a KDE session, else GNOME's
// (`gsettings`, run without a shell and with a short time limit), then the
// other. It runs a child process: call it off the GUI thread, or use
// WallpaperCache.
std::string DesktopWallpaper();
// Readers one by one, for the sessions that mix them.
std::string GnomeWallpaper();
std::string PlasmaWallpaper();
// A "picture-uri" value as gsettings prints it ("'file:///a%20b.jpg'") or a
// Plasma "Image=" value, as a local path; "" when it names no local file.
std::string WallpaperValueToPath(std::string value);

// The wallpaper read once on a worker thread; Path() never blocks.
class WallpaperCache : public QObject {
  Q_OBJECT

 public:
  explicit WallpaperCache(QObject* parent = nullptr) : QObject(parent) {}
  ~WallpaperCache() override;
  // Starts a reading unless one runs; Ready follows on the GUI thread.
  void Refresh();
  std::string Path() const;
  // Waits for a reading under way (at most `ms`), for tests and shut-down.
  bool Wait(int ms);

 signals:
  void Ready(QString path);

 private:
  mutable std::mutex mutex_;
  std::string path_;
  class QThread* worker_ = nullptr;
};

}  // namespace zel
