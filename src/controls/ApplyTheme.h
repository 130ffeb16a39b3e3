// Paints a whole window in the theme: the window itself, its players, buttons,
// lists, sliders and frames in that order; and the animated change from one
// theme colour to another.
#pragma once

#include "controls/Theme.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>

namespace zel {

// The players draw their faces with the theme as well; a window that has
// them passes how.
struct ThemeHooks {
  std::function<void(const ThemeSettings&)> players;
};

// The face colour a theme stands for: its colour, or the style's.
int32_t FaceColorFor(const ThemeSettings& theme);

// Buttons carrying the dynamic property "ThemePalette" 1 to 6 take that
// palette colour of the theme when it is set.
void ApplyTheme(QWidget* window, const ThemeSettings& theme, const ThemeHooks& hooks = {});

// Steps every button of a window from the present face colour to a new one,
// channel by channel; at the end the colour is stored, the theme applied, and
// Finished raised for the host's layout pass.
class ThemeColorAnimation : public QObject {
  Q_OBJECT

 public:
  explicit ThemeColorAnimation(QWidget* window, QObject* parent = nullptr);
  void Start(const ThemeSettings& from, int32_t to, int frames = 12, int intervalMs = 30);
  bool Running() const { return timer_.isActive(); }

 signals:
  void Finished();

 private:
  void Step();

  QPointer<QWidget> window_;
  QTimer timer_;
  ThemeSettings theme_;
  int32_t from_ = 0, to_ = 0;
  int frame_ = 0, frames_ = 0;
};

}  // namespace zel
