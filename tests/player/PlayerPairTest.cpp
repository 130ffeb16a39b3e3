// Two players in step on headless mpv: a source and an encode of it stay on
// one frame after seeks, while playing, after a pause, and when one is pushed
// away from the other.
#include "player/PlayerPair.h"
#include "player/PlayerStatusBar.h"
#include "player/ctlDSPlayer.h"
#include "support/TestSupport.h"
#include "PlayerWait.h"

#include <QTest>

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

namespace zel {
namespace {

using test::WaitFor;

TEST(FollowLeaderTest, SeeksAtRestNudgesSmallDriftsAndSeeksLargeOnes) {
  constexpr double frame = 0.04;
  struct Case {
    double leader, follower, speed;
    bool playing;
    std::optional<double> seekTo;
    double followerSpeed;
  } cases[] = {
      {2.00, 2.00, 1, false, std::nullopt, 1},  // on the frame
      {2.00, 2.01, 1, false, std::nullopt, 1},  // within half a frame
      {2.00, 2.04, 1, false, 2.00, 1},          // a frame off at rest: seek
      {2.00, 2.005, 1, true, std::nullopt, 1},  // within a quarter frame: no hunting
      {2.00, 1.95, 1, true, std::nullopt, 1.05},  // behind: a little faster
      {2.00, 2.05, 2, true, std::nullopt, 1.9},   // ahead at double speed: a little slower
      {2.00, 1.70, 1, true, std::nullopt, 1.1},   // the nudge has its limit
      {2.00, 1.40, 1, true, 2.00, 1},             // too far to catch up: seek
      {2.00, 3.00, 1, true, 2.00, 1},
  };
  for (const Case& c : cases) {
    const FollowerStep step = FollowLeader(c.leader, c.follower, frame, c.speed, c.playing);
    SCOPED_TRACE(std::to_string(c.follower) + (c.playing ? " playing" : " at rest"));
    EXPECT_EQ(step.seekTo, c.seekTo);
    EXPECT_NEAR(step.speed, c.followerSpeed, 1e-9);
  }
}

class PlayerPairTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new test::TempDir;
    source_ = *dir_ / "源 clip.mp4";
    test::MakeClip(source_, 6);
    // The output of a conversion: another size, codec and container.
    output_ = *dir_ / "output 'a'.mkv";
    test::MakeEncodedCopy(source_, output_, "160:120");
  }
  static void TearDownTestSuite() { delete dir_; }

  void SetUp() override {
    ASSERT_TRUE(pair.Open(QString::fromStdString(source_), QString::fromStdString(output_)));
  }

  bool Settled() {
    return leader.Session() != nullptr && follower.Session() != nullptr && !leader.Session()->PendingSeek() &&
           !follower.Session()->PendingSeek();
  }
  // Within one frame of each other, waiting for the seeks to land.
  void ExpectInStep(const char* when) {
    SCOPED_TRACE(when);
    ASSERT_TRUE(WaitFor([this] { return Settled() && std::abs(pair.Drift()) <= pair.FrameSeconds(); }, 5000))
        << "leader " << leader.Position() << ", follower " << follower.Position();
  }

  static inline test::TempDir* dir_ = nullptr;
  static inline std::string source_, output_;
  ctlDSPlayer leader{nullptr, MpvOutput::Headless};
  ctlDSPlayer follower{nullptr, MpvOutput::Headless};
  PlayerPair pair{leader, follower};
};

TEST_F(PlayerPairTest, StaysOnOneFrameAfterSeeksAndWhilePlaying) {
  EXPECT_TRUE(pair.Paused());
  EXPECT_EQ(follower.AudioVolume(), 0);
  for (double target : {2.0, 0.52, 4.36}) {
    pair.Seek(target);
    ExpectInStep("after a seek at rest");
    EXPECT_NEAR(leader.Position(), target, pair.FrameSeconds());
  }
  // The user seeks on the leader's bar alone.
  emit leader.StatusBar().SeekRequested(1.5);
  ExpectInStep("after a seek on the bar");
  EXPECT_NEAR(follower.Position(), 1.5, pair.FrameSeconds());

  pair.SetPause(false);
  EXPECT_EQ(follower.Status(), static_cast<int>(PlayerStatus::Playing));
  QTest::qWait(2000);
  const double played = leader.Position();
  EXPECT_GT(played, 2.5);
  EXPECT_LE(std::abs(pair.Drift()), pair.FrameSeconds()) << "after 2 s of play";

  pair.Seek(1.0);
  ExpectInStep("after a seek while playing");
  pair.SetPause(true);
  EXPECT_EQ(follower.Status(), static_cast<int>(PlayerStatus::Paused));
  ExpectInStep("after the pause");
}

TEST_F(PlayerPairTest, PullsBackAFollowerPushedAwayAndFollowsTheLeadersPause) {
  pair.SetPause(false);
  QTest::qWait(300);
  // Pushed ahead far, then a little: the one by a seek, the other by speed.
  for (double push : {1.5, 0.2}) {
    follower.SetPosition(leader.Position() + push);
    ExpectInStep("after the follower was pushed");
  }
  // The leader paused by itself (its own keys, its own click).
  leader.SetPause(true);
  ASSERT_TRUE(WaitFor([this] { return follower.Status() == static_cast<int>(PlayerStatus::Paused); }, 2000));
  ExpectInStep("after the leader's own pause");
  leader.CloseFile();
  EXPECT_EQ(follower.Status(), static_cast<int>(PlayerStatus::Closed));
}

TEST(PlayerPairOpenTest, AFileThatDoesNotOpenLeavesBothClosed) {
  test::TempDir dir;
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 1);
  ctlDSPlayer leader(nullptr, MpvOutput::Headless), follower(nullptr, MpvOutput::Headless);
  PlayerPair pair(leader, follower);
  EXPECT_FALSE(pair.Open(QString::fromStdString(clip), QString::fromStdString(dir / "missing.mkv")));
  EXPECT_EQ(leader.Status(), static_cast<int>(PlayerStatus::Closed));
  EXPECT_EQ(follower.Status(), static_cast<int>(PlayerStatus::Closed));
}

}  // namespace
}  // namespace zel
