// The compare view: one file and another made from it, in two players at one
// position, side by side, one above the other, or in one picture cut by a
// line the user drags. The first player's bar drives both.
#pragma once

#include "player/MpvSession.h"

#include <QRect>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace zel {

class ctlButton;
class ctlDSPlayer;
class PlayerPair;

enum class CompareLayout { SideBySide, Stacked, Split };

// Where the players go in `area`: the first whole, with its bar; the second
// inside `clip`, which cuts it, at `second` in the clip's own coordinates, so
// that in the split view its picture lies exactly over the first one's. The
// second player has no bar: its picture area is as tall as the first's.
struct CompareGeometry {
  QRect first, clip, second, line;
};
CompareGeometry PlaceCompare(CompareLayout layout, const QRect& area, int barHeight, double split);

// What a side says of its file: the name, the picture, the codecs and how
// many bits a second the whole file takes.
struct CompareFacts {
  QString name;
  int width = 0, height = 0;
  double frameRate = 0, duration = 0;
  QString videoCodec, audioCodec;
  long long bytes = 0;
};
QString CompareFactsText(const CompareFacts& facts);

// The two files of `zel --compare FIRST SECOND`, made absolute; nullopt for
// any other command line.
std::optional<std::pair<QString, QString>> CompareArguments(const QStringList& arguments);

class frmCompare : public QWidget {
  Q_OBJECT

 public:
  explicit frmCompare(QWidget* parent = nullptr, MpvOutput output = MpvOutput::Video);
  ~frmCompare() override;

  // Shows a message and returns when the user has read it.
  std::function<void(const QString& text)> messenger;

  // Opens both paused at the start; on a refusal says which file and stays
  // empty.
  bool Open(const QString& first, const QString& second);
  void SetLayout(CompareLayout layout);
  CompareLayout Layout() const { return layout_; }
  // The files change places, at the same position and in the same state.
  void Swap();
  // Where the line cuts the picture, 0 at its left edge to 1 at its right.
  void SetSplit(double fraction);
  double Split() const { return split_; }

  PlayerPair& Pair() { return *pair_; }
  ctlDSPlayer& FirstPlayer() { return *first_; }
  ctlDSPlayer& SecondPlayer() { return *second_; }
  ctlButton& FactsLabel(int side) { return *facts_[static_cast<size_t>(side)]; }
  ctlButton& LayoutButton(CompareLayout layout) { return *layouts_[static_cast<size_t>(layout)]; }
  ctlButton& SwapButton() { return *swap_; }
  ctlButton& PlayButton() { return *play_; }
  QWidget& SplitLine() { return *line_; }
  QWidget& SecondClip() { return *clip_; }

 protected:
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Place();
  void ShowFacts();

  MpvOutput output_;
  ctlDSPlayer *first_ = nullptr, *second_ = nullptr;
  std::unique_ptr<PlayerPair> pair_;
  QWidget* stage_ = nullptr;  // the place of the pictures, between the facts and the buttons
  QWidget* clip_ = nullptr;
  QWidget* line_ = nullptr;
  std::array<ctlButton*, 2> facts_{};
  std::array<ctlButton*, 3> layouts_{};
  ctlButton *swap_ = nullptr, *play_ = nullptr;
  CompareLayout layout_ = CompareLayout::SideBySide;
  double split_ = 0.5;
};

}  // namespace zel
