// The player control on headless mpv: its states and events on real clips,
// the volume fades as mpv receives them, the suffix trick, files that do not
// open, and where the video is placed.
#include "player/ctlDSPlayer.h"
#include "engine/MediaInspection.h"
#include "player/PlayerStatusBar.h"
#include "player/PlayerStrings.h"
#include "support/TestSupport.h"
#include "PlayerWait.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace zel {
namespace {

using test::WaitFor;

class PlayerCoreTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new test::TempDir;
    clip_ = *dir_ / "clip.mp4";
    test::MakeClip(clip_, 4);
    song_ = *dir_ / "song.m4a";  // mono, no video
    ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                         "sine=frequency=440:duration=4", "-c:a", "aac", song_})
                  .exitCode,
              0);
  }
  static void TearDownTestSuite() { delete dir_; }

  // Records the playback events, a run of equal ones as one.
  void Watch(ctlDSPlayer& player) {
    auto note = [this](std::string word) {
      if (events.empty() || events.back() != word) events.push_back(std::move(word));
    };
    QObject::connect(&player, &ctlDSPlayer::FileOpened, [note] { note("FileOpened"); });
    QObject::connect(&player, &ctlDSPlayer::FileClosed, [note] { note("FileClosed"); });
    QObject::connect(&player, &ctlDSPlayer::VideoRectChanged, [note](float, float, float, float, float, float) {
      note("VideoRect");
    });
    QObject::connect(&player, &ctlDSPlayer::PlaybackUpdate, [this, note](double pos, double, int status, double, double) {
      note("Update" + std::to_string(status));
      if (status != 0) positions.push_back(pos);
    });
  }
  QString Clip() const { return QString::fromStdString(clip_); }
  QString Song() const { return QString::fromStdString(song_); }

  static inline test::TempDir* dir_ = nullptr;
  static inline std::string clip_, song_;
  std::vector<std::string> events;
  std::vector<double> positions;
};

TEST_F(PlayerCoreTest, OpenPlayPauseResumeSeekAndEndRaiseTheirEventsInOrder) {
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  player.resize(320, 257);
  Watch(player);
  player.SetPause(true);
  ASSERT_TRUE(player.OpenFile(Clip()));
  EXPECT_EQ(player.Status(), 2);
  EXPECT_NEAR(player.Duration(), 4.0, 0.1);
  EXPECT_EQ(player.SourceFileName(), Clip());
  EXPECT_FALSE(player.OpenFile(""));  // changes nothing
  EXPECT_EQ(player.Status(), 2);

  player.Play();
  EXPECT_EQ(player.Status(), 1);
  player.SetPause(true);
  EXPECT_EQ(player.Status(), 2);
  player.SetPosition(2.5);
  EXPECT_TRUE(WaitFor([&] { return std::abs(player.Position() - 2.5) < 0.05; }));
  player.SetPause(false);
  EXPECT_EQ(player.Status(), 1);
  ASSERT_TRUE(WaitFor([&] { return player.Status() == 0; }));

  const std::vector<std::string> expected{"FileOpened", "Update3", "VideoRect", "Update1", "Update2",
                                          "Update1",    "Update0", "FileClosed"};
  EXPECT_EQ(events, expected);
  EXPECT_TRUE(player.Filename().isEmpty());
  EXPECT_EQ(player.Duration(), 0);
  EXPECT_EQ(player.Session(), nullptr);
  // After the seek nothing was reported from before it.
  EXPECT_GE(positions.back(), 2.4);
}

// Each case plays from the start at double speed; a loop shows as a position
// that goes back. The tick comes every 0.6 s of the clip, so a 2 s loop shows.
TEST_F(PlayerCoreTest, EndOfFileAndPositionEndCloseOrRepeat) {
  struct Case {
    bool repeat;
    double positionEnd;
    bool closes;
    double latest;  // no position reported beyond it
  };
  const Case cases[] = {
      {false, 0, true, 4.1},
      {false, 2.0, true, 2.0},
      {true, 0, false, 4.1},
      {true, 2.0, false, 2.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "repeat " << c.repeat << ", end " << c.positionEnd);
    events.clear();
    positions.clear();
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    Watch(player);
    player.SetRepeat(c.repeat);
    player.SetSpeed(2.0);
    // Set while closed: written to an open file it would seek there.
    player.SetPositionEnd(c.positionEnd);
    ASSERT_TRUE(player.OpenFile(Clip()));
    auto wrapped = [&] {
      int wraps = 0;
      for (size_t i = 1; i < positions.size(); ++i) wraps += positions[i] < positions[i - 1] - 0.2 ? 1 : 0;
      return wraps;
    };
    if (c.closes) {
      ASSERT_TRUE(WaitFor([&] { return player.Status() == 0; }));
      EXPECT_EQ(events.back(), "FileClosed");
      EXPECT_EQ(wrapped(), 0);
    } else {
      ASSERT_TRUE(WaitFor([&] { return wrapped() >= 2; }));
      EXPECT_EQ(player.Status(), 1);
      EXPECT_EQ(std::count(events.begin(), events.end(), "FileClosed"), 0);
    }
    EXPECT_LT(*std::max_element(positions.begin(), positions.end()), c.latest);
  }
}

// The volume in hundredths of a decibel climbs by halving its distance to the
// target every tick, and falls by (|V| + 1) x 2 until silence; mpv receives
// each step as 100 x 10^(dB / 20) percent.
TEST_F(PlayerCoreTest, VolumeFadesReachMpvStepByStep) {
  const std::vector<int> rise{-5000, -2500, -1250, -625, -312, -156, -78, -39, -20, -10, -5, -2, -1, 0};
  const std::vector<int> fall{-2, -8, -26, -80, -242, -728, -2186, -5000};
  auto dbs = [](const ctlDSPlayer& p) {
    std::vector<int> out;
    for (const auto& step : p.VolumeHistory()) out.push_back(step.db);
    return out;
  };
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  ASSERT_TRUE(player.OpenFile(Clip()));
  ASSERT_TRUE(WaitFor([&] { return !player.VolumeHistory().empty() && player.VolumeHistory().back().db == 0; }));
  EXPECT_EQ(dbs(player), rise);
  for (const auto& step : player.VolumeHistory()) EXPECT_NEAR(step.percent, VolumePercentOf(step.db), 1e-4);
  EXPECT_EQ(player.VolumeHistory().front().percent, 0);
  EXPECT_NEAR(player.VolumeHistory().back().percent, 100, 1e-9);

  // A pause with fading is silent at once in the position but fades on the
  // paused file, and the tick then stops.
  player.SetVolumeFadeInOut(true);
  player.ClearVolumeHistory();
  player.SetPause(true);
  ASSERT_TRUE(WaitFor([&] { return player.TickInterval() == 0; }));
  std::vector<int> pauseCurve{0};
  pauseCurve.insert(pauseCurve.end(), fall.begin(), fall.end());
  EXPECT_EQ(dbs(player), pauseCurve);

  // A resume with fading rises from silence; without it comes back at once.
  player.ClearVolumeHistory();
  player.SetPause(false);
  ASSERT_TRUE(WaitFor([&] { return player.VolumeHistory().back().db == 0; }));
  EXPECT_EQ(dbs(player), rise);
  player.SetVolumeFadeInOut(false);
  player.SetPause(true);
  player.ClearVolumeHistory();
  player.SetPause(false);
  EXPECT_EQ(dbs(player), std::vector<int>{0});

  // Half volume is -25 dB; closing a sounding file fades it out before its
  // handle goes.
  player.ClearVolumeHistory();
  player.SetAudioVolume(50);
  EXPECT_EQ(dbs(player), std::vector<int>{-2500});
  player.SetAudioVolume(100);
  ASSERT_TRUE(WaitFor([&] { return player.TickInterval() == 300; }));
  player.ClearVolumeHistory();
  player.CloseFile();
  EXPECT_EQ(player.Status(), 0);
  ASSERT_TRUE(WaitFor([&] { return !player.VolumeHistory().empty() && player.VolumeHistory().back().db == -5000; }));
  EXPECT_EQ(dbs(player), fall);
}

// The file is renamed for the time of playback and renamed back on close, and
// after an open that failed.
TEST_F(PlayerCoreTest, SuffixChangeRenamesForPlaybackAndAlwaysBack) {
  for (const bool playable : {true, false}) {
    SCOPED_TRACE(playable ? "playable" : "not playable");
    const std::string source = *dir_ / (playable ? "good.DAT" : "bad.dat");
    if (playable) {
      ASSERT_TRUE(QFile::copy(Clip(), QString::fromStdString(source)));
    } else {
      std::ofstream(source) << std::string(5000, 'x');
    }
    const QString name = QString::fromStdString(source);
    events.clear();
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    Watch(player);
    player.SetSuffixChange("dat|mpg");
    player.SetOpenTimeLimit(8000);
    EXPECT_EQ(player.OpenFile(name), playable);
    if (playable) {
      EXPECT_EQ(player.Filename(), name + ".mpg");
      EXPECT_TRUE(QFile::exists(name + ".mpg"));
      EXPECT_FALSE(QFile::exists(name));
      player.CloseFile();
    } else {
      EXPECT_EQ(events, std::vector<std::string>({"Update0", "FileClosed"}));
    }
    EXPECT_EQ(player.Status(), 0);
    EXPECT_TRUE(player.Filename().isEmpty());
    EXPECT_TRUE(QFile::exists(name));
    EXPECT_FALSE(QFile::exists(name + ".mpg"));
  }
}

// With ShowFFT a file without video shows its sound as a picture of mpv's, over
// the whole area, and the tick runs at its spectrum rate; the media facts stay
// those of a file without video.
TEST_F(PlayerCoreTest, ShowFFTDrawsTheSpectrumOfAFileWithoutVideo) {
  struct Case {
    bool video, showFFT, spectrum;
    int restInterval;
  };
  const Case cases[] = {
      {false, true, true, 125},
      {false, false, false, 300},
      {true, true, false, 300},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.video ? "video" : "audio") << ", ShowFFT " << c.showFFT);
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    player.resize(320, 257);
    player.SetShowFFT(c.showFFT);
    ASSERT_TRUE(player.OpenFile(c.video ? Clip() : Song()));
    MpvSession* session = player.Session();
    EXPECT_EQ(player.SpectrumRunning(), c.spectrum);
    EXPECT_EQ(session->GetString("lavfi-complex").value_or("").contains("showcqt"), c.spectrum);
    EXPECT_EQ(player.MediaWidth(), c.video ? 160 : 0);
    if (c.spectrum) {
      // mpv's video output takes the picture of the sound, and the sound plays on.
      EXPECT_TRUE(WaitFor([&] { return session->GetInt("video-params/w").value_or(0) == 640; }));
      EXPECT_TRUE(WaitFor([&] { return player.Position() > 0.2; }));
      const std::array<int, 4> area{0, 0, 320, 257 - player.StatusBarHeight()};
      EXPECT_EQ(player.VideoRect(), area);
    }
    ASSERT_TRUE(WaitFor([&] { return player.TickInterval() == c.restInterval; }));
    player.CloseFile();
    EXPECT_FALSE(player.SpectrumRunning());
    EXPECT_EQ(player.Session(), nullptr);
  }
}

// The sound settings as mpv receives them, and the window's full screen.
TEST_F(PlayerCoreTest, BalanceSystemVolumeAndFullScreenReachMpvAndTheWindow) {
  QWidget top;
  auto* player = new ctlDSPlayer(&top, MpvOutput::Headless);
  player->SetFullScreenMode(true);  // nothing open: no effect
  EXPECT_FALSE(top.isFullScreen());
  ASSERT_TRUE(player->OpenFile(Song()));
  MpvSession& session = *player->Session();

  // Positive attenuates the left side, negative the right, by hundredths of
  // a decibel; mpv takes the filter on the mono song and plays stereo.
  const std::pair<int, const char*> balances[] = {
      {10000, "c0=0.000010*c0|c1=1.000000*c1"},
      {-10000, "c0=1.000000*c0|c1=0.000010*c1"},
      {2000, "c0=0.100000*c0|c1=1.000000*c1"},
      {-600, "c0=1.000000*c0|c1=0.501187*c1"},
      {0, ""},
  };
  for (const auto& [balance, pan] : balances) {
    SCOPED_TRACE(balance);
    player->SetBalance(balance);
    const QString af = session.GetString("af").value_or("?");
    EXPECT_TRUE(balance == 0 ? af.isEmpty() : af.contains(pan)) << af.toStdString();
    if (balance != 0) {
      EXPECT_TRUE(WaitFor([&] { return session.GetInt("audio-out-params/channel-count").value_or(0) == 2; }));
    }
  }

  // No sound output has no speaker volume: the control keeps the one written
  // for its bar and leaves the graph's volume alone.
  ASSERT_TRUE(WaitFor([&] { return player->TickInterval() == 300; }));
  EXPECT_FALSE(session.GetDouble("ao-volume").has_value());
  player->SetControlSystemVolume(true);
  player->ClearVolumeHistory();
  player->SetAudioVolume(40);
  EXPECT_EQ(player->AudioVolume(), 40);
  EXPECT_EQ(player->StatusBar().AudioVolume(), 40);
  EXPECT_TRUE(player->VolumeHistory().empty());
  EXPECT_DOUBLE_EQ(session.GetDouble("volume").value_or(-1), 100);
  player->SetControlSystemVolume(false);
  EXPECT_EQ(player->AudioVolume(), 100);
  EXPECT_EQ(player->StatusBar().AudioVolume(), 100);

  // Writing follows the window; reading says False all the same.
  top.show();
  player->SetFullScreenMode(true);
  EXPECT_TRUE(top.isFullScreen());
  EXPECT_FALSE(player->FullScreenMode());
  player->SetFullScreenMode(false);
  EXPECT_FALSE(top.isFullScreen());
}

TEST_F(PlayerCoreTest, AFileMpvCannotOpenFailsWithTheDecoderMessage) {
  const std::string bad = *dir_ / "noise.mp4";
  std::ofstream(bad) << std::string(20000, '\x7f');
  for (const std::string& name : {bad, *dir_ / "missing.mkv"}) {
    ctlDSPlayer player(nullptr, MpvOutput::Headless);
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(player.OpenFile(QString::fromStdString(name)));
    EXPECT_LT(clock.elapsed(), player.OpenTimeLimit() + 2000);
    EXPECT_EQ(player.Status(), 0);
    EXPECT_EQ(player.Session(), nullptr);
  }
  const QStringList lines = ctlDSPlayer::FailureLines();
  ASSERT_EQ(lines.size(), 5);
  EXPECT_EQ(lines[0], "没有可用的系统解码器来支持这个文件播放，内置的播放器依赖於系统解码器的支持，");
  EXPECT_EQ(lines[4], "请进入设置窗口，找到并启用播放容器修正功能，尝试解决这个问题。");
}

TEST_F(PlayerCoreTest, ANameWithBlanksQuotesAndChineseOpensWithItsFacts) {
  const QString name = QString::fromStdString(*dir_ / "a \"引号\" 'b' 视频 剪辑.mp4");
  ASSERT_TRUE(QFile::copy(Clip(), name));
  EXPECT_NE(ReadMedia(clip_).text.find("Input #0"), std::string::npos);
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  player.SetPause(true);
  ASSERT_TRUE(player.OpenFile(name));
  EXPECT_EQ(player.MediaWidth(), 160);
  EXPECT_EQ(player.MediaHeight(), 120);
  EXPECT_EQ(player.MediaFrameRate(), 25);
  player.SetTimeJumpValue(-1);
  EXPECT_FLOAT_EQ(player.TimeJumpValue(), 0.04f);
  // mpv took the libraries' message handler for itself with its handle; a
  // probe made in the same process still reads the file's description.
  EXPECT_NE(ReadMedia(clip_).text.find("Input #0"), std::string::npos);
  player.CloseFile();
  EXPECT_EQ(player.MediaFrameRate(), 0);
  EXPECT_TRUE(QFile::exists(name));
}

TEST(PlayerProperties, ValuesAreHeldToTheirRanges) {
  ctlDSPlayer player(nullptr, MpvOutput::Headless);
  const std::pair<double, double> speeds[] = {{0.04, 0.1}, {1.26, 1.3}, {2, 2}, {-3, 0.1}};
  for (const auto& [in, out] : speeds) {
    player.SetSpeed(in);
    EXPECT_DOUBLE_EQ(player.Speed(), out) << in;
  }
  EXPECT_EQ(player.StatusBarCurrentMode(), 3);
  player.SetTimeJumpValue(-1);  // no file: no frame rate
  EXPECT_FLOAT_EQ(player.TimeJumpValue(), 0.03f);
  player.SetTimeJumpValue(-2);
  EXPECT_FLOAT_EQ(player.TimeJumpValue(), 0.03f);
  player.SetBalance(20000);
  EXPECT_EQ(player.Balance(), 10000);
  player.SetAudioVolume(140);
  EXPECT_EQ(player.AudioVolume(), 100);
  EXPECT_EQ(player.StatusBarCurrentMode(), 2);
  EXPECT_EQ(VolumeTargetOf(50), -2500);
  EXPECT_EQ(HundredthsDbOf(VolumePercentOf(-312)), -312);
}

TEST(PlayerPlacement, EachAspectPlacesTheVideo) {
  struct Case {
    PlayerAspect aspect;
    double W, H, w, h;
    VideoPlacement want;
  };
  const Case cases[] = {
      {PlayerAspect::Fit, 400, 300, 160, 120, {0, 0, 400, 300, 2.5, 2.5}},
      {PlayerAspect::Stretch, 400, 300, 160, 60, {0, 0, 400, 300, 2.5, 5}},
      {PlayerAspect::Original, 400, 300, 160, 120, {120, 90, 160, 120, 1, 1}},
      {PlayerAspect::HalfWay, 400, 300, 160, 120, {60, 45, 280, 210, 1.75, 1.75}},
      {PlayerAspect::Fit, 200, 300, 320, 120, {0, 112.5, 200, 75, 0.625, 0.625}},
      {PlayerAspect::Original, 200, 300, 320, 120, {0, 112.5, 200, 75, 0.625, 0.625}},
      {PlayerAspect::HalfWay, 200, 300, 320, 120, {0, 56.25, 200, 187.5, 0.625, 1.5625}},
      {PlayerAspect::Fit, 200, 100, 100, 400, {87.5, 0, 25, 100, 0.25, 0.25}},
  };
  for (const Case& c : cases) {
    const VideoPlacement got = PlaceVideo(c.aspect, c.W, c.H, c.w, c.h);
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.aspect) << " " << c.W << "x" << c.H);
    EXPECT_DOUBLE_EQ(got.left, c.want.left);
    EXPECT_DOUBLE_EQ(got.top, c.want.top);
    EXPECT_DOUBLE_EQ(got.width, c.want.width);
    EXPECT_DOUBLE_EQ(got.height, c.want.height);
    EXPECT_DOUBLE_EQ(got.scaleX, c.want.scaleX);
    EXPECT_DOUBLE_EQ(got.scaleY, c.want.scaleY);
  }
}

}  // namespace
}  // namespace zel
