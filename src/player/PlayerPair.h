// Two players kept at one position: the leader is played, paused and sought
// by the user, the follower does what it does and is pulled back into step
// whenever their clocks drift apart. The compare view shows a source and its
// output this way.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <optional>

namespace zel {

class ctlDSPlayer;

// What the follower does on one look at both clocks: seek to `seekTo` when it
// is set, and play at `speed`.
struct FollowerStep {
  std::optional<double> seekTo;
  double speed = 1;
};

// The follower stands `follower` seconds in, the leader `leader`; one frame
// lasts `frame` seconds. At rest a follower off the leader's frame seeks to
// it; while playing a small drift is made up by playing a little faster or
// slower (a seek would stall the picture), a large one by a seek.
FollowerStep FollowLeader(double leader, double follower, double frame, double leaderSpeed, bool playing);

class PlayerPair : public QObject {
  Q_OBJECT

 public:
  // Neither player is owned. The follower is muted: two sounds of one film a
  // frame apart are worse than one.
  PlayerPair(ctlDSPlayer& leader, ctlDSPlayer& follower, QObject* parent = nullptr);

  // Opens both files paused at the start; false when either refused its
  // file, and both are closed then.
  bool Open(const QString& leaderFile, const QString& followerFile);
  void Close();
  void SetPause(bool pause);
  bool Paused() const;
  void Seek(double seconds);
  // Leader minus follower, in seconds, as their clocks tell now.
  double Drift() const;
  // The length of one frame of the leader's file; 1/25 s when it tells none.
  double FrameSeconds() const;
  ctlDSPlayer& Leader() const { return *leader_; }
  ctlDSPlayer& Follower() const { return *follower_; }

 signals:
  // Both files are open (after Open) or closed.
  void Changed();

 private:
  void Follow();

  QPointer<ctlDSPlayer> leader_, follower_;
  QTimer follow_;
};

}  // namespace zel
