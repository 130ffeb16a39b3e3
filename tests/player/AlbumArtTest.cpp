// What an audio file shows: its cover, a cover beside it, the wallpaper read
// from GNOME's and Plasma's settings.
#include "player/AlbumArt.h"

#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace zel {
namespace {

// Sets variables for one test and puts the old values back.
class EnvGuard {
 public:
  void Set(const char* name, const std::optional<std::string>& value) {
    const char* old = std::getenv(name);
    saved_.push_back({name, old ? std::optional<std::string>(old) : std::nullopt});
    if (value) {
      setenv(name, value->c_str(), 1);
    } else {
      unsetenv(name);
    }
  }
  ~EnvGuard() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
      if (it->second) {
        setenv(it->first, it->second->c_str(), 1);
      } else {
        unsetenv(it->first);
      }
    }
  }

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

void SavePicture(const std::string& path, QRgb colour) {
  QImage image(32, 24, QImage::Format_RGB32);
  image.fill(colour);
  ASSERT_TRUE(image.save(QString::fromStdString(path)));
}

TEST(AlbumArtTest, EmbeddedCoverBesideTheFileThenWallpaper) {
  test::TempDir dir;
  const std::string audio = dir / "a.mp3";
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-f", "lavfi", "-i", "sine=d=1", "-c:a",
                       "libmp3lame", audio})
                .exitCode,
            0);
  SavePicture(dir / "red.png", 0xffff0000);
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-i", audio, "-i", dir / "red.png", "-map", "0",
                       "-map", "1", "-c", "copy", "-id3v2_version", "3", dir / "covered.mp3"})
                .exitCode,
            0);
  QDir().mkpath(QString::fromStdString(dir / "beside"));
  ASSERT_EQ(test::Run({"cp", audio, dir / "beside/b.mp3"}).exitCode, 0);
  SavePicture(dir / "beside/b.cover.png", 0xff00ff00);
  SavePicture(dir / "wall.png", 0xff0000ff);

  struct Case {
    std::string media, wallpaper;
    AlbumArtSource source;
    QRgb pixel;
  };
  for (const Case& c : {Case{dir / "covered.mp3", dir / "wall.png", AlbumArtSource::Embedded, 0xffff0000},
                        Case{dir / "beside/b.mp3", dir / "wall.png", AlbumArtSource::CoverFile, 0xff00ff00},
                        Case{audio, dir / "wall.png", AlbumArtSource::Wallpaper, 0xff0000e6},  // darkened
                        Case{audio, dir / "gone.png", AlbumArtSource::None, 0},
                        Case{audio, "", AlbumArtSource::None, 0}}) {
    SCOPED_TRACE(c.media + " / " + c.wallpaper);
    const AlbumArt art = FindAlbumArt(c.media, c.wallpaper);
    EXPECT_EQ(art.source, c.source);
    EXPECT_EQ(art.label.isEmpty(), c.source != AlbumArtSource::Embedded);
    if (c.source != AlbumArtSource::None) EXPECT_EQ(art.image.pixel(5, 5), c.pixel);
  }
}

TEST(AlbumArtTest, WallpaperFromGsettingsAndPlasma) {
  test::TempDir dir;
  SavePicture(dir / "my wall.png", 0xff0000ff);
  SavePicture(dir / "dark.png", 0xff000080);
  QDir().mkpath(QString::fromStdString(dir / "Next/contents/images"));
  SavePicture(dir / "Next/contents/images/640x480.png", 0xff111111);
  SavePicture(dir / "Next/contents/images/1920x1080.png", 0xff222222);
  QDir().mkpath(QString::fromStdString(dir / "bin"));
  QDir().mkpath(QString::fromStdString(dir / "home/.config"));
  EnvGuard env;
  env.Set("PATH", dir / "bin");
  env.Set("HOME", dir / "home");
  env.Set("XDG_CONFIG_HOME", std::nullopt);
  env.Set("XDG_CURRENT_DESKTOP", "GNOME");

  // gsettings answers by key: $3 is "picture-uri" or "picture-uri-dark".
  struct GnomeCase {
    std::string light, dark, expected;
  };
  const std::string url = "file://" + dir.path() + "/my%20wall.png";
  for (const GnomeCase& c : {GnomeCase{"'" + url + "'", "''", dir / "my wall.png"},
                             GnomeCase{"'file:///no/such.png'", "'" + dir / "dark.png" + "'", dir / "dark.png"},
                             GnomeCase{"'https://example.com/w.png'", "''", ""},
                             GnomeCase{"''", "''", ""}}) {
    test::WriteScript(dir / "bin/gsettings", "case \"$3\" in picture-uri) echo \"" + c.light +
                                                 "\";; picture-uri-dark) echo \"" + c.dark + "\";; esac\n");
    EXPECT_EQ(GnomeWallpaper(), c.expected) << c.light;
  }
  test::WriteScript(dir / "bin/gsettings", "exec /bin/sleep 20\n");
  EXPECT_EQ(GnomeWallpaper(), "") << "a hanging gsettings is given up";
  std::remove((dir / "bin/gsettings").c_str());
  EXPECT_EQ(GnomeWallpaper(), "") << "no gsettings at all";

  const std::string config = dir / "home/.config/plasma-org.kde.plasma.desktop-appletsrc";
  struct PlasmaCase {
    std::string body, expected;
  };
  for (const PlasmaCase& c : {
           PlasmaCase{"[Containments][1][General]\nImage=" + dir / "dark.png" +
                          "\n[Containments][2][Wallpaper][org.kde.image][General]\nImage=file:///gone.jpg\n"
                          "[Containments][3][Wallpaper][org.kde.image][General]\nImage=" + url + "\n",
                      dir / "my wall.png"},
           PlasmaCase{"[Containments][7][Wallpaper][org.kde.image][General]\nImage=" + dir / "Next/" + "\n",
                      dir / "Next/contents/images/1920x1080.png"},
           PlasmaCase{"[Containments][1][Wallpaper][org.kde.image][General]\nColor=0,0,0\n", ""}}) {
    test::WriteScript(config, c.body);
    EXPECT_EQ(PlasmaWallpaper(), c.expected) << c.body;
  }
  test::WriteScript(config, "[Containments][1][Wallpaper][org.kde.image][General]\nImage=" + dir / "dark.png" + "\n");
  env.Set("XDG_CURRENT_DESKTOP", "KDE");
  WallpaperCache cache;
  std::string ready;
  QObject::connect(&cache, &WallpaperCache::Ready, [&](const QString& path) { ready = path.toStdString(); });
  cache.Refresh();
  ASSERT_TRUE(cache.Wait(5000));
  QCoreApplication::processEvents();
  EXPECT_EQ(cache.Path(), dir / "dark.png");
  EXPECT_EQ(ready, dir / "dark.png");
}

}  // namespace
}  // namespace zel
