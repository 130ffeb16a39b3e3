#include "player/PlayerPair.h"

#include "player/PlayerStatusBar.h"
#include "player/ctlDSPlayer.h"

#include <algorithm>
#include <cmath>

namespace zel {
namespace {

// Beyond half a second playing faster would take too long to catch up.
constexpr double kSeekDrift = 0.5;
// The share of the drift made up in a second, and the most the speed may
// change for it: ten percent is not heard as a change of pitch by most.
constexpr double kCatchUpPerSecond = 1.0;
constexpr double kMostNudge = 0.1;
// How often the clocks are compared; each look costs two property reads.
constexpr int kFollowMs = 100;

}  // namespace

FollowerStep FollowLeader(double leader, double follower, double frame, double leaderSpeed, bool playing) {
  FollowerStep step;
  step.speed = leaderSpeed;
  const double drift = leader - follower;
  if (!playing) {
    if (std::abs(drift) > frame / 2) step.seekTo = leader;
    return step;
  }
  if (std::abs(drift) > kSeekDrift) {
    step.seekTo = leader;
  } else if (std::abs(drift) > frame / 4) {
    // Within a quarter frame the pictures are the same ones; nudging there
    // would only make the speed hunt.
    step.speed = leaderSpeed * (1 + std::clamp(drift * kCatchUpPerSecond, -kMostNudge, kMostNudge));
  }
  return step;
}

PlayerPair::PlayerPair(ctlDSPlayer& leader, ctlDSPlayer& follower, QObject* parent)
    : QObject(parent), leader_(&leader), follower_(&follower) {
  // The leader's bar seeks the leader itself; the follower goes along at once
  // rather than on the next look, so both pictures change together.
  connect(&leader.StatusBar(), &PlayerStatusBar::SeekRequested, this, [this](double seconds) {
    if (follower_ != nullptr && follower_->Status() != static_cast<int>(PlayerStatus::Closed)) {
      follower_->SetPosition(seconds);
    }
  });
  connect(&leader, &ctlDSPlayer::FileClosed, this, [this] {
    if (follower_ != nullptr) follower_->CloseFile();
  });
  follow_.setInterval(kFollowMs);
  connect(&follow_, &QTimer::timeout, this, &PlayerPair::Follow);
}

bool PlayerPair::Open(const QString& leaderFile, const QString& followerFile) {
  Close();
  for (ctlDSPlayer* player : {leader_.data(), follower_.data()}) {
    player->SetPause(true);
    // A comparison runs over and over until the user stops it.
    player->SetRepeat(true);
  }
  if (!leader_->OpenFile(leaderFile) || !follower_->OpenFile(followerFile)) {
    Close();
    return false;
  }
  follower_->SetAudioVolume(0);
  follow_.start();
  emit Changed();
  return true;
}

void PlayerPair::Close() {
  follow_.stop();
  const bool open = leader_->Status() != static_cast<int>(PlayerStatus::Closed) ||
                    follower_->Status() != static_cast<int>(PlayerStatus::Closed);
  leader_->CloseFile();
  follower_->CloseFile();
  if (open) emit Changed();
}

void PlayerPair::SetPause(bool pause) {
  leader_->SetPause(pause);
  follower_->SetPause(pause);
  Follow();
}

bool PlayerPair::Paused() const { return leader_->Status() != static_cast<int>(PlayerStatus::Playing); }

void PlayerPair::Seek(double seconds) {
  leader_->SetPosition(seconds);
  follower_->SetPosition(seconds);
}

double PlayerPair::Drift() const { return leader_->Position() - follower_->Position(); }

double PlayerPair::FrameSeconds() const {
  const double fps = leader_->FrameRate();
  return fps > 0 ? 1 / fps : 1.0 / 25;
}

void PlayerPair::Follow() {
  if (leader_ == nullptr || follower_ == nullptr) return;
  constexpr int closed = static_cast<int>(PlayerStatus::Closed);
  if (leader_->Status() == closed || follower_->Status() == closed) return;
  MpvSession* const a = leader_->Session();
  MpvSession* const b = follower_->Session();
  // A clock in the middle of a seek tells the target, not the picture.
  if (a == nullptr || b == nullptr || a->PendingSeek() || b->PendingSeek()) return;

  const bool playing = leader_->Status() == static_cast<int>(PlayerStatus::Playing);
  const bool followerPlaying = follower_->Status() == static_cast<int>(PlayerStatus::Playing);
  if (playing != followerPlaying) follower_->SetPause(!playing);

  const FollowerStep step = FollowLeader(leader_->Position(), follower_->Position(), FrameSeconds(),
                                         leader_->Speed(), playing);
  if (step.seekTo) follower_->SetPosition(*step.seekTo);
  // The nudge goes to mpv alone: the follower's own speed, which its hidden
  // bar would show, stays the leader's.
  if (std::abs(b->GetDouble("speed").value_or(step.speed) - step.speed) > 1e-6) b->SetDouble("speed", step.speed);
}

}  // namespace zel
