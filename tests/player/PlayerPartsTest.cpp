// The player as one control on headless mpv: a drag on its bar reaching the
// control's marks and events, the subtitle beside a clip reaching the bar, the
// picture an audio file shows, screenshots, the facts panel and the idle
// caption as painted, the accessible player and bar, and the theme's pass over
// a window's players.
#include "player/PlayerAccessibility.h"
#include "player/PlayerStatusBar.h"
#include "player/PlayerStrings.h"
#include "player/SubtitleOverlay.h"
#include "player/ctlDSPlayer.h"
#include "controls/QtText.h"
#include "support/TestSupport.h"
#include "PlayerWait.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMimeData>
#include <QMouseEvent>
#include <QTest>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <set>

namespace zel {
namespace {

using test::WaitFor;

class PlayerPartsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new test::TempDir;
    test::MakeClip(*dir_ / "clip.mp4", 4);
  }
  static void TearDownTestSuite() { delete dir_; }
  static QString At(const std::string& name) { return Q(*dir_ / name); }
  static inline test::TempDir* dir_ = nullptr;
};

TEST_F(PlayerPartsTest, ADragOnTheBarMovesTheControlsMarksAndRaisesItsEvents) {
  struct Case {
    const char* name;
    Qt::KeyboardModifiers mods;
    std::vector<std::string> events;
    double position;  // where the picture stands after the drag
  };
  // The bar is 320 wide on a 4 s clip: 80 pixels a second, at y 240 of the control.
  const Case cases[] = {
      {"start mark to 2 s", {}, {"Down 80,248", "Update 2-3", "Up 160,248", "TagsChanged"}, 2.0},
      {"with Ctrl the picture stays", Qt::ControlModifier, {"Down 80,248", "Up 160,248", "TagsChanged"}, 0.0},
  };
  for (const Case& c : cases) {
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    player.resize(320, 257);
    player.StatusBar().SetSetTagEnabled(true);
    player.SetPause(true);
    ASSERT_TRUE(player.OpenFile(At("clip.mp4")));
    std::vector<std::string> events;
    QObject::connect(&player, &ctlDSPlayer::PlaybackUpdate, [&](double, double, int, double a, double b) {
      events.push_back("Update " + QString::number(a).toStdString() + "-" + QString::number(b).toStdString());
    });
    QObject::connect(&player, &ctlDSPlayer::TagsChanged, [&] { events.push_back("TagsChanged"); });
    auto mouse = [&](const char* word) {
      return [&events, word](int, int, int x, int y) {
        events.push_back(std::string(word) + " " + std::to_string(x) + "," + std::to_string(y));
      };
    };
    QObject::connect(&player, &ctlDSPlayer::MouseDown, mouse("Down"));
    QObject::connect(&player, &ctlDSPlayer::MouseUp, mouse("Up"));
    player.SetSetTagStart(1);
    player.SetSetTagEnd(3);
    EXPECT_EQ(events, (std::vector<std::string>{"Update 1-0", "TagsChanged", "Update 1-3", "TagsChanged"}));
    events.clear();

    PlayerStatusBar* bar = &player.StatusBar();
    QTest::mousePress(bar, Qt::LeftButton, c.mods, {80, 8});
    QMouseEvent move(QEvent::MouseMove, QPointF(160, 8), bar->mapToGlobal(QPointF(160, 8)), Qt::NoButton,
                     Qt::LeftButton, c.mods);
    QApplication::sendEvent(bar, &move);
    QTest::mouseRelease(bar, Qt::LeftButton, c.mods, {160, 8});
    EXPECT_EQ(events, c.events) << c.name;
    EXPECT_DOUBLE_EQ(player.SetTagStart(), 2.0) << c.name;
    EXPECT_TRUE(WaitFor([&] { return std::abs(player.Position() - c.position) < 0.05; })) << c.name;

    events.clear();
    player.CloseFile();  // the marks go without a TagsChanged
    EXPECT_EQ(player.SetTagStart() + player.SetTagEnd(), 0);
    EXPECT_EQ(events, std::vector<std::string>{"Update 0-0"});
  }
}

// What the host learns of a pointer, a wheel and a drop on the control itself,
// in order; a disabled control tells nothing and does not move.
TEST_F(PlayerPartsTest, ThePointerTheWheelAndADropReachTheHostInOrder) {
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  player.resize(320, 257);
  player.SetPause(true);
  player.SetOLEDropMode(1);
  ASSERT_TRUE(player.OpenFile(At("clip.mp4")));
  player.SetTimeJumpValue(1);
  std::vector<std::string> events;
  auto mouse = [&](const char* word) {
    return [&events, word](int button, int shift, int x, int y) {
      events.push_back(std::string(word) + " " + std::to_string(button) + " " + std::to_string(shift) + " " +
                       std::to_string(x) + "," + std::to_string(y));
    };
  };
  auto word = [&](const char* w) { return [&events, w] { events.push_back(w); }; };
  QObject::connect(&player, &ctlDSPlayer::MouseDown, mouse("Down"));
  QObject::connect(&player, &ctlDSPlayer::MouseUp, mouse("Up"));
  QObject::connect(&player, &ctlDSPlayer::Click, word("Click"));
  QObject::connect(&player, &ctlDSPlayer::DblClick, word("DblClick"));
  QObject::connect(&player, &ctlDSPlayer::MouseEnter, word("Enter"));
  QObject::connect(&player, &ctlDSPlayer::ParentMouseEnter, word("ParentEnter"));
  QObject::connect(&player, &ctlDSPlayer::MouseLeave, word("Leave"));
  QObject::connect(&player, &ctlDSPlayer::ParentMouseLeave, word("ParentLeave"));
  QObject::connect(&player, &ctlDSPlayer::MouseWheel, [&](int d) { events.push_back("Wheel " + std::to_string(d)); });
  QObject::connect(&player, &ctlDSPlayer::OLEDragDrop, [&](QStringList files, int, int, int, int x, int y) {
    events.push_back("Drop " + S(files.join('|')) + " " + std::to_string(x) + "," + std::to_string(y));
  });
  auto wheel = [&](int delta) {
    QWheelEvent e(QPointF(50, 50), player.mapToGlobal(QPointF(50, 50)), {}, QPoint(0, delta), Qt::NoButton,
                  Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&player, &e);
  };
  // What a widget receives of a double click: the second press comes as the double click itself.
  auto doubleClick = [&](QPointF at) {
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseButtonDblClick,
                                    QEvent::MouseButtonRelease}) {
      const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
      QMouseEvent e(type, at, player.mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
      QApplication::sendEvent(&player, &e);
    }
  };
  auto drop = [&] {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile("/m/片 a.mp4"), QUrl::fromLocalFile("/m/b.srt"), QUrl("https://x/c.mp4")});
    QDragEnterEvent enter(QPoint(30, 40), Qt::CopyAction, &data, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&player, &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent e(QPointF(30, 40), Qt::CopyAction, &data, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&player, &e);
  };
  struct Case {
    const char* name;
    std::function<void()> act;
    std::vector<std::string> events;
    double position;
  };
  const std::vector<Case> cases = {
      {"a click", [&] { QTest::mouseClick(&player, Qt::LeftButton, {}, {40, 30}); },
       {"Down 1 0 40,30", "Up 1 0 40,30", "Click"}, 0},
      {"a right click with Shift", [&] { QTest::mouseClick(&player, Qt::RightButton, Qt::ShiftModifier, {10, 20}); },
       {"Down 2 1 10,20", "Up 2 1 10,20", "Click"}, 0},
      {"a double click", [&] { doubleClick({5, 6}); },
       {"Down 1 0 5,6", "Up 1 0 5,6", "Click", "Down 1 0 5,6", "DblClick", "Up 1 0 5,6", "Click"}, 0},
      {"the wheel toward the user, twice, and away", [&] { wheel(-120), wheel(-120), wheel(120); },
       {"Wheel 1", "Wheel 1", "Wheel 0"}, 1},
      {"in and out", [&] {
         QEnterEvent in(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
         QApplication::sendEvent(&player, &in);
         QEvent out(QEvent::Leave);
         QApplication::sendEvent(&player, &out);
       }, {"ParentEnter", "Enter", "ParentLeave", "Leave"}, 1},
      {"files dropped: the local ones", drop, {"Drop /m/片 a.mp4|/m/b.srt 30,40"}, 1},
      {"disabled", [&] {
         player.SetEnabled(false);
         QTest::mouseClick(&player, Qt::LeftButton, {}, {40, 30});
         wheel(-120);
       }, {}, 1},
  };
  for (const Case& c : cases) {
    events.clear();
    c.act();
    EXPECT_EQ(events, c.events) << c.name;
    EXPECT_DOUBLE_EQ(player.Position(), c.position) << c.name;
  }
}

TEST_F(PlayerPartsTest, TheSubtitleBesideTheClipReachesTheBarWhilePlaying) {
  std::ofstream(*dir_ / "clip.srt") << "1\n00:00:00,300 --> 00:00:03,800\n你好\n\n";
  for (const bool allow : {true, false}) {
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    player.SetAllowLoadSubtitle(allow);
    ASSERT_TRUE(player.OpenFile(At("clip.mp4")));
    EXPECT_EQ(player.SubtitleLoaded(), allow);
    const bool shown = WaitFor([&] { return player.StatusBar().SubtitleLine() == "你好"; }, allow ? 10000 : 1500);
    EXPECT_EQ(shown, allow);
    // Allowed late, the search runs at once.
    player.SetAllowLoadSubtitle(true);
    EXPECT_TRUE(player.SubtitleLoaded());
    player.CloseFile();
    EXPECT_FALSE(player.SubtitleLoaded());
    EXPECT_EQ(player.StatusBar().SubtitleLine(), "");
  }
  // At rest the bar shows a seek's target and its line at once, before mpv gets there.
  ctlDSPlayer rest(nullptr, MpvOutput::Headless);
  rest.SetPause(true);
  ASSERT_TRUE(rest.OpenFile(At("clip.mp4")));
  rest.SetPosition(2.0);
  EXPECT_EQ(rest.StatusBar().Position(), 2.0);
  EXPECT_EQ(rest.StatusBar().SubtitleLine(), "你好");
  // Two seconds on, the search looks past the line's end, at once.
  rest.SetSubtitleTimeOffset(2);
  EXPECT_EQ(rest.StatusBar().SubtitleLine(), "");
  std::remove((*dir_ / "clip.srt").c_str());
}

TEST_F(PlayerPartsTest, WhatTheControlShowsAndItsScreenshots) {
  const std::string sine = *dir_ / "sine.mp3";
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-y", "-f", "lavfi", "-i", "sine=d=2", sine}).exitCode, 0);
  for (const auto& [name, colour] : {std::pair{"red.png", Qt::red}, {"bare.png", Qt::blue}}) {
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(colour);
    ASSERT_TRUE(picture.save(At(name)));
  }
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-y", "-i", sine, "-i", *dir_ / "red.png", "-map",
                       "0", "-map", "1", "-c", "copy", "-id3v2_version", "3", *dir_ / "covered.mp3"})
                .exitCode,
            0);
  std::filesystem::copy_file(sine, *dir_ / "bare.mp3");  // bare.png stands beside it

  struct Case {
    const char* file;
    bool fft;
    QColor centre;  // of the picture on show; invalid for a frame of mpv's
    QString label;
    QSize shot;
  };
  const Case cases[] = {
      {"covered.mp3", false, Qt::red, Q(StrPictureAlbumArt), {320, 240}},
      {"bare.mp3", false, Qt::blue, "", {320, 240}},
      {"clip.mp4", false, QColor(), "", {160, 120}},  // mpv's own frame, at the video's size
      {"clip.mp4", true, QColor(), "", {160, 120}},   // a video keeps its picture
      {"covered.mp3", true, QColor(), "", {640, 360}},  // the spectrum, in place of the cover
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.file << (c.fft ? " with the spectrum" : ""));
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    player.resize(320, 257);
    player.SetShowFFT(c.fft);
    player.SetPause(true);
    ASSERT_TRUE(player.OpenFile(At(c.file))) << c.file;
    EXPECT_EQ(player.Picture().HasPicture(), c.centre.isValid()) << c.file;
    EXPECT_EQ(player.Picture().PictureLabel(), c.label) << c.file;
    // mpv hands out a frame once its first one reached the output.
    EXPECT_TRUE(WaitFor([&] { return !player.Picture().Transitioning() && !player.ShownFrame().isNull(); }));
    const QImage shown = player.ShownFrame();
    ASSERT_EQ(shown.size(), c.shot) << c.file;
    if (c.centre.isValid()) {
      EXPECT_EQ(shown.pixelColor(160, 120), c.centre) << c.file;
    } else {
      // A drawn frame, not a blank one: the test pattern, or the spectrum.
      const QImage rgb = shown.convertToFormat(QImage::Format_RGB32);
      const auto* px = reinterpret_cast<const QRgb*>(rgb.constBits());
      EXPECT_GT(std::set<QRgb>(px, px + rgb.width() * rgb.height()).size(), 3u);
    }

    std::vector<std::string> grabbed;
    QObject::connect(&player, &ctlDSPlayer::ImageGrabbed, [&](QString file, int w, int h) {
      grabbed.push_back(S(QFileInfo(file).fileName()) + " " + std::to_string(w) + "x" + std::to_string(h));
    });
    const QString shots = At(c.fft ? "spectrum shots" : "shots");
    const QString shot = player.Screenshot(shots, "png");
    const std::string base = QFileInfo(At(c.file)).completeBaseName().toStdString();
    EXPECT_EQ(grabbed, std::vector<std::string>{base + "_00-00-00.000.png " + std::to_string(c.shot.width()) +
                                                "x" + std::to_string(c.shot.height())});
    EXPECT_EQ(QImage(shot).size(), c.shot);
    // A second shot at the same time takes a free name.
    EXPECT_NE(player.Screenshot(shots, "png"), shot);
    player.CloseFile();
    EXPECT_FALSE(player.Picture().HasPicture());
  }
}

// Pixels of `widget` within `area` that differ from `background`, or with a
// null background are clearly lighter than black.
int DrawnPixels(QWidget& widget, const QRect& area, const QImage& background = {}) {
  const QImage shot = widget.grab().toImage();
  int drawn = 0;
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) {
      drawn += background.isNull() ? qGray(shot.pixel(x, y)) > 96 : shot.pixel(x, y) != background.pixel(x, y);
    }
  }
  return drawn;
}

TEST_F(PlayerPartsTest, TheFactsPanelBesideTheVideoAndTheIdleCaption) {
  ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-y", "-f", "lavfi", "-i", "sine=d=2", *dir_ / "tone.wav"})
                .exitCode,
            0);
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  player.resize(480, 257);  // 240 above the bar
  player.SetAspect(1);      // stretched, the video takes all the width it is given
  player.SetPause(true);
  player.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&player));
  const QRect above(0, 0, 480, 240);

  // Idle, the caption and the text each draw on the background.
  EXPECT_EQ(player.Caption(), "DSPlayer");
  player.SetCaption("");
  const QImage background = player.grab().toImage();
  for (const auto& [caption, text] : {std::pair{"DSPlayer", ""}, {"", "说明"}}) {
    player.SetCaption(caption);
    player.SetText(text);
    EXPECT_GT(DrawnPixels(player, above, background), 30) << caption << "|" << text;
  }
  player.SetText("");

  using Rows = std::vector<std::pair<std::string, std::string>>;
  struct Case {
    const char* file;
    bool video;
    double position, markStart, markEnd;
    Rows rows;
  };
  const Case cases[] = {
      {"clip.mp4", true, 2, 1, 3,
       {{"Current Position:", "00:00:02.000"},
        {"Duration:", "00:00:04.000"},
        {"Time Point:", "1, 00:00:01.000"},
        {"", "2, 00:00:03.000"},
        {"", "[-] 00:00:02.000"},
        {"Media Info:", "160x120 / 25.00fps"},
        {"", "extra"}}},
      // No picture, no row of its size; a mark past the end.
      {"tone.wav", false, 1.5, 0.5, 10,
       {{"Current Position:", "00:00:01.500"},
        {"Duration:", "00:00:02.000"},
        {"Time Point:", "Out of range"},
        {"", "extra"}}},
  };
  player.SetMediaInfoString("extra");
  for (const Case& c : cases) {
    ASSERT_TRUE(player.OpenFile(At(c.file))) << c.file;
    player.SetPosition(c.position);
    // The marks tell the bar mpv's time: let mpv get there first.
    ASSERT_TRUE(WaitFor([&] { return std::abs(player.Position() - c.position) < 0.01; })) << c.file;
    player.SetSetTagStart(c.markStart);
    player.SetSetTagEnd(c.markEnd);
    EXPECT_EQ(MediaInfoRows(player.Facts()), c.rows) << c.file;

    // The panel takes its width from the video's and is painted there; off,
    // the video has it back (without a picture the wallpaper may show there).
    const int panel = player.MediaInfoWidth();
    ASSERT_GT(panel, 50);
    ASSERT_LT(panel, 300);
    const QRect side(480 - panel, 0, panel, 240);
    for (const bool on : {true, false}) {
      player.SetShowMediaInfo(on);
      EXPECT_EQ(player.MediaInfoRect(), on ? side : QRect()) << c.file << on;
      const int light = DrawnPixels(player, side.adjusted(1, 0, 0, 0));
      if (on) {
        EXPECT_GT(light, 100) << c.file;
      }
      if (!c.video) continue;
      EXPECT_EQ(player.VideoRect()[2], on ? 480 - panel : 480) << on;
      if (!on) {
        EXPECT_LT(light, 10);
      }
    }
    player.SetShowMediaInfo(true);
    player.CloseFile();
    EXPECT_EQ(player.MediaInfoRect(), QRect());
  }
  player.SetShowMediaInfo(false);
}

TEST_F(PlayerPartsTest, ScreenReadersSeeThePlayerAndItsBarAndPlayAndPause) {
  InstallPlayerAccessibility();
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  player.SetPause(true);
  ASSERT_TRUE(player.OpenFile(At("clip.mp4")));
  QAccessibleInterface* face = QAccessible::queryAccessibleInterface(&player);
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(face->role(), QAccessible::Animation);
  EXPECT_EQ(face->text(QAccessible::Name), "clip.mp4");
  EXPECT_EQ(face->text(QAccessible::Value), player.StatusBar().TimeText());
  QAccessibleInterface* bar = QAccessible::queryAccessibleInterface(&player.StatusBar());
  ASSERT_NE(bar, nullptr);
  EXPECT_EQ(bar->role(), QAccessible::Slider);
  EXPECT_EQ(bar->parent()->object(), &player);

  QAccessibleActionInterface* actions = face->actionInterface();
  ASSERT_NE(actions, nullptr);
  EXPECT_TRUE(actions->actionNames().contains(Q(StrPlayerPlay)));
  actions->doAction(Q(StrPlayerPlay));
  EXPECT_EQ(player.Status(), 1);
  EXPECT_TRUE(actions->actionNames().contains(Q(StrPlayerPause)));
  actions->doAction(Q(StrPlayerPause));
  EXPECT_EQ(player.Status(), 2);
}

TEST(PlayerTheme, StyleTwentySevenTakesTheBorderAwayForGood) {
  QWidget window;
  auto* player = new ctlDSPlayer(&window, MpvOutput::Headless);
  player->SetShowBorder(true);
  struct Case {
    int style;
    int32_t color;
  };
  for (const Case& c : {Case{27, 0x336699}, Case{26, kNoColor}, Case{5, kNoColor}}) {
    ThemeSettings theme;
    theme.style = c.style;
    theme.color = c.color;
    ApplyTheme(&window, theme, PlayerThemeHooks(&window));
    EXPECT_EQ(player->Style(), c.style);
    EXPECT_EQ(player->StatusBar().Style(), c.style);
    EXPECT_FALSE(player->ShowBorder()) << c.style;
    EXPECT_EQ(player->StatusBar().BarColor(), FaceColorFor(theme)) << c.style;
    EXPECT_TRUE(player->Refresh());
  }
}

}  // namespace
}  // namespace zel
