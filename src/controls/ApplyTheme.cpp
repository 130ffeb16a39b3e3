#include "controls/ApplyTheme.h"

#include "controls/ctlButton.h"
#include "controls/ctlCustomFrame.h"
#include "controls/ctlListbox.h"
#include "controls/ctlSlider.h"
#include "jobs/Settings.h"

#include <QPalette>

namespace zel {

int32_t FaceColorFor(const ThemeSettings& theme) {
  if (theme.color != kNoColor) return theme.color;
  const StyleLook look = StyleLookFor(theme.style);
  return look.keepColors ? ThemeColorForIndex(0) : look.backColor;
}

namespace {

void ThemeWindow(QWidget* window, const ThemeSettings& theme, int32_t face) {
  const StyleLook look = StyleLookFor(theme.style);
  QPalette palette = window->palette();
  palette.setColor(QPalette::Window, FromBgr(face));
  palette.setColor(QPalette::WindowText, ResolveColor(look.foreColor, palette.color(QPalette::WindowText)));
  window->setPalette(palette);
  window->setAutoFillBackground(true);
  if (window->isWindow()) window->setWindowOpacity(1.0 - std::clamp(theme.transparent, 0, 90) / 100.0);
  WriteSetting("ThemeTransparent", std::to_string(theme.transparent));
}

void ThemeButton(ctlButton* button, const ThemeSettings& theme, int32_t face) {
  const StyleLook look = StyleLookFor(theme.style);
  button->SetStyle(theme.style);
  button->SetShowCorner(look.showCorner && !ThemePassHidesCorners(theme.style));
  int32_t color = face;
  const int group = button->property("ThemePalette").toInt();
  if (group >= 1 && group <= 6 && theme.palette[static_cast<size_t>(group - 1)] != kNoColor)
    color = theme.palette[static_cast<size_t>(group - 1)];
  // A style that keeps its colours keeps the buttons' own unless the user
  // chose a colour.
  if (!look.keepColors || theme.color != kNoColor || group != 0) button->SetThemeColor(-1, color);
  // Text left white by a dark style must not stay on a light face, nor dark
  // text on a dark one.
  const int32_t back = button->BackColor();
  const int32_t fore = button->ForeColor();
  if (back != kNoColor && !(static_cast<uint32_t>(fore) & 0x80000000u) && fore != kNoColor &&
      IsDarkColor(back) == IsDarkColor(fore)) {
    const int32_t readable = IsDarkColor(back) ? 0xFFFFFF : kSystemButtonText;
    button->SetForeColor(readable);
    button->SetForeColorHover(readable);
    button->SetForeColorPressed(readable);
  }
}

void ThemeList(ctlListbox* list, const ThemeSettings& theme, int32_t face) {
  list->SetStyle(theme.style);
  list->SetThemeColor(face);
  // The list stores plain colours, so a system colour is resolved here; its
  // text follows the face, whatever an earlier style left.
  list->SetForeColor(IsDarkColor(face) ? 0xFFFFFF : ToBgr(ResolveColor(kSystemButtonText, Qt::black)));
}

}  // namespace

void ApplyTheme(QWidget* window, const ThemeSettings& theme, const ThemeHooks& hooks) {
  if (!window) return;
  const int32_t face = FaceColorFor(theme);
  ThemeWindow(window, theme, face);
  if (hooks.players) hooks.players(theme);
  for (ctlButton* button : window->findChildren<ctlButton*>()) ThemeButton(button, theme, face);
  for (ctlListbox* list : window->findChildren<ctlListbox*>()) ThemeList(list, theme, face);
  for (ctlSlider* slider : window->findChildren<ctlSlider*>()) {
    slider->SetStyle(theme.style);
    slider->SetBackColor(face);
    slider->SetForeColor(ShiftColor(face, IsDarkColor(face) ? 0.6 : -0.45));
  }
  for (ctlCustomFrame* frame : window->findChildren<ctlCustomFrame*>()) {
    frame->SetStyle(theme.style);
    frame->SetBackColor(ShiftColor(face, 0.1));
    frame->SetFrameColor(ShiftColor(face, -0.3));
  }
}

ThemeColorAnimation::ThemeColorAnimation(QWidget* window, QObject* parent) : QObject(parent), window_(window) {
  connect(&timer_, &QTimer::timeout, this, &ThemeColorAnimation::Step);
}

void ThemeColorAnimation::Start(const ThemeSettings& from, int32_t to, int frames, int intervalMs) {
  theme_ = from;
  from_ = FaceColorFor(from);
  to_ = to;
  frame_ = 0;
  frames_ = std::max(1, frames);
  timer_.start(std::max(1, intervalMs));
}

void ThemeColorAnimation::Step() {
  if (!window_) return timer_.stop();
  ++frame_;
  const int32_t face = ColorStep(from_, to_, frame_, frames_);
  for (ctlButton* button : window_->findChildren<ctlButton*>())
    if (button->property("ThemePalette").toInt() == 0) button->SetThemeColor(-1, face);
  if (frame_ < frames_) return;
  timer_.stop();
  theme_.color = to_;
  WriteThemeSettings(theme_);
  ApplyTheme(window_, theme_);
  emit Finished();
}

}  // namespace zel
