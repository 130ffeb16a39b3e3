// Album art and the desktop's wallpaper: see AlbumArt.h.
#include "player/AlbumArt.h"

#include "controls/QtText.h"
#include "player/PlayerPicture.h"
#include "player/PlayerStrings.h"
#include "subtitles/Mp3Tags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <QUrl>

#include <array>
#include <cstdlib>

namespace zel {

namespace {

constexpr int kGsettingsTimeoutMs = 1500;
constexpr int kWallpaperShift = -25;

bool IsPictureFile(const QString& path) { return !path.isEmpty() && QFileInfo(path).isFile(); }

// A Plasma wallpaper package is a folder holding its pictures by size; the
// largest stands for it.
QString PackagePicture(const QString& folder) {
  QString best;
  qint64 bestArea = -1;
  static const QRegularExpression kSize(QStringLiteral("^(\\d+)x(\\d+)\\."));
  for (const QFileInfo& file : QDir(folder + QStringLiteral("/contents/images")).entryInfoList(QDir::Files)) {
    const QRegularExpressionMatch m = kSize.match(file.fileName());
    const qint64 area = m.hasMatch() ? m.captured(1).toLongLong() * m.captured(2).toLongLong() : 0;
    if (area > bestArea) {
      best = file.absoluteFilePath();
      bestArea = area;
    }
  }
  return best;
}

QString ConfigHome() {
  const QString xdg = qEnvironmentVariable("XDG_CONFIG_HOME");
  return xdg.isEmpty() ? QDir::homePath() + QStringLiteral("/.config") : xdg;
}

}  // namespace

std::string WallpaperValueToPath(std::string value) {
  QString text = Q(value).trimmed();
  if (text.size() >= 2 && (text.startsWith(QLatin1Char('\'')) || text.startsWith(QLatin1Char('"'))) &&
      text.endsWith(text.front())) {
    text = text.mid(1, text.size() - 2);
  }
  if (text.isEmpty()) return {};
  QString path = text;
  if (text.contains(QStringLiteral("://"))) {
    const QUrl url(text);
    if (!url.isLocalFile()) return {};
    path = url.toLocalFile();
  }
  if (QFileInfo(path).isDir()) path = PackagePicture(path);
  return IsPictureFile(path) ? S(path) : std::string();
}

std::string GnomeWallpaper() {
  for (const char* key : {"picture-uri", "picture-uri-dark"}) {
    QProcess gsettings;
    gsettings.start(QStringLiteral("gsettings"),
                    {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.background"), QLatin1String(key)});
    if (!gsettings.waitForStarted(kGsettingsTimeoutMs)) return {};
    if (!gsettings.waitForFinished(kGsettingsTimeoutMs)) {
      gsettings.kill();
      gsettings.waitForFinished(100);
      return {};
    }
    if (gsettings.exitStatus() != QProcess::NormalExit || gsettings.exitCode() != 0) continue;
    std::string path = WallpaperValueToPath(gsettings.readAllStandardOutput().toStdString());
    if (!path.empty()) return path;
  }
  return {};
}

std::string PlasmaWallpaper() {
  QFile file(ConfigHome() + QStringLiteral("/plasma-org.kde.plasma.desktop-appletsrc"));
  if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return {};
  bool inWallpaper = false;
  // One section per desktop and screen; the first that names a file wins.
  while (!file.atEnd()) {
    const QString line = QString::fromUtf8(file.readLine()).trimmed();
    if (line.startsWith(QLatin1Char('['))) {
      inWallpaper = line.contains(QStringLiteral("[Wallpaper]"));
    } else if (inWallpaper && line.startsWith(QStringLiteral("Image="))) {
      std::string path = WallpaperValueToPath(S(line.mid(6)));
      if (!path.empty()) return path;
    }
  }
  return {};
}

std::string DesktopWallpaper() {
  const bool plasma = qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QStringLiteral("KDE"), Qt::CaseInsensitive);
  std::string path = plasma ? PlasmaWallpaper() : GnomeWallpaper();
  if (path.empty()) path = plasma ? GnomeWallpaper() : PlasmaWallpaper();
  return path;
}

AlbumArt FindAlbumArt(const std::string& mediaPath, const std::string& wallpaper) {
  AlbumArt art;
  std::string bytes;
  int type = 0;
  if (ReadAlbumArt(mediaPath, 1, bytes, type)) {
    art.image = QImage::fromData(reinterpret_cast<const uchar*>(bytes.data()), static_cast<int>(bytes.size()));
    if (!art.image.isNull()) {
      art.label = Q(StrPictureAlbumArt);
      art.source = AlbumArtSource::Embedded;
      return art;
    }
  }
  const std::string cover = CheckAblumImage(mediaPath);
  if (!cover.empty()) {
    art.image = LoadPicture(cover);
    if (!art.image.isNull()) {
      art.file = cover;
      art.source = AlbumArtSource::CoverFile;
      return art;
    }
  }
  if (!wallpaper.empty() && IsPictureFile(Q(wallpaper))) {
    const QImage image = LoadPicture(wallpaper);
    if (!image.isNull()) {
      art.image = ImageToneShift(image, kWallpaperShift);
      art.file = wallpaper;
      art.source = AlbumArtSource::Wallpaper;
      return art;
    }
  }
  return {};
}

WallpaperCache::~WallpaperCache() {
  // A reading that outlives its time limit is left to end on its own.
  if (worker_ != nullptr && worker_->wait(kGsettingsTimeoutMs * 3)) delete worker_;
}

void WallpaperCache::Refresh() {
  if (worker_ != nullptr) return;
  worker_ = QThread::create([this] {
    std::string path = DesktopWallpaper();
    std::lock_guard lock(mutex_);
    path_ = std::move(path);
  });
  connect(worker_, &QThread::finished, this, [this] {
    worker_->deleteLater();
    worker_ = nullptr;
    emit Ready(Q(Path()));
  });
  worker_->start();
}

std::string WallpaperCache::Path() const {
  std::lock_guard lock(mutex_);
  return path_;
}

bool WallpaperCache::Wait(int ms) { return worker_ == nullptr || worker_->wait(ms); }

}  // namespace zel
