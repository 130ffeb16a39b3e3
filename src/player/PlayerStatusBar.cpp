#include "player/PlayerStatusBar.h"

#include "controls/MouseCodes.h"
#include "controls/QtText.h"
#include "controls/Theme.h"
#include "player/PlayerStrings.h"

#include <QAccessibleValueInterface>
#include <QAccessibleWidget>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace zel {

namespace {

bool Playing(int status) { return status == 1 || status == 2; }

// A fill for the gradient styles: lighter at the top, the colour itself below.
void FillFace(QPainter& p, const QRect& r, const QColor& color, bool flat) {
  if (flat) {
    p.fillRect(r, color);
    return;
  }
  QLinearGradient g(r.topLeft(), r.bottomLeft());
  g.setColorAt(0, FromBgr(ShiftColor(ToBgr(color), 0.45)));
  g.setColorAt(1, color);
  p.fillRect(r, g);
}

}  // namespace

PlayerStatusBar::PlayerStatusBar(QWidget* parent) : QWidget(parent) {
  // Hovering decides what a press will grab and the pointer's shape.
  setMouseTracking(true);
  ApplyHeight();
}

// ---- Properties ----

void PlayerStatusBar::TellMarksMoved() {
  // Screen readers read the marks in the bar's name.
  if (QAccessible::isActive()) {
    QAccessibleEvent event(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&event);
  }
}

void PlayerStatusBar::WroteMark() {
  TellMarksMoved();
  if (refresh_ && Playing(status_)) {
    update();
    emit PlaybackUpdateWanted();
  }
  emit TagsChanged();
}

void PlayerStatusBar::SetSetTagStart(double seconds) {
  marks_.start = std::max(0.0, seconds);
  WroteMark();
}

void PlayerStatusBar::SetSetTagEnd(double seconds) {
  marks_.end = std::max(0.0, seconds);
  WroteMark();
}

void PlayerStatusBar::SetSetTagPart(int16_t parts) { tagPart_ = parts, update(); }

void PlayerStatusBar::ApplyHeight() { setFixedHeight(std::max(0, height_)); }

void PlayerStatusBar::SetModeStyle(int v) {
  modeStyle_ = v;
  height_ = StatusBarHeightFor(v, height_);
  ApplyHeight();
  update();
  emit LayoutChanged();
}

void PlayerStatusBar::SetStatusBarHeight(int v) {
  height_ = StatusBarHeightFor(modeStyle_, v);
  ApplyHeight();
  update();
  emit LayoutChanged();
}

void PlayerStatusBar::SetStatusBarDefaultMode(int v) {
  faces_.SetDefault(v);
  update();
  emit LayoutChanged();
}

void PlayerStatusBar::SetStatusBarCurrentMode(int v) {
  faces_.SetCurrent(v);
  update();
}

void PlayerStatusBar::SetStatusBarSubtitleSupported(bool v) {
  subtitleSupported_ = v;
  update();
  emit LayoutChanged();
}

void PlayerStatusBar::SetInfoBarString(const QString& v) {
  infoString_ = v;
  faces_.SetCurrent(static_cast<int>(BarFace::Notice));
  update();
}

void PlayerStatusBar::SetPlayback(double position, double duration, int status) {
  position_ = position, duration_ = duration, status_ = status;
  if (QAccessible::isActive()) {
    QAccessibleValueChangeEvent event(this, position_);
    QAccessible::updateAccessibility(&event);
  }
  update();
}

void PlayerStatusBar::SetRefresh(bool v) {
  refresh_ = v;
  if (v) update();
}

bool PlayerStatusBar::Tick(int intervalMs) {
  if (!faces_.Tick(intervalMs)) return false;
  infoString_.clear();
  update();
  emit FaceChanged(faces_.Current());
  return true;
}

QString PlayerStatusBar::TimeText() const {
  return Q(PositionText(position_, duration_, marks_, S(statusString_)));
}

void PlayerStatusBar::RequestSeek(double seconds) {
  if (!allowChangePosition_) return;
  emit SeekRequested(seconds);
  emit PlaybackUpdateWanted();
}

// ---- The pointer ----

Grab PlayerStatusBar::HitAt(QPoint p) const {
  if (status_ < 1 || status_ > 3 || faces_.Current() != static_cast<int>(BarFace::Position)) return {};
  GrabQuery q;
  q.x = p.x(), q.y = p.y(), q.width = width(), q.barHeight = height();
  q.modeStyle = modeStyle_, q.tagEnabled = tagEnabled_;
  q.duration = duration_, q.marks = marks_;
  return HitTest(q);
}

void PlayerStatusBar::DragStep(QPoint p, Qt::KeyboardModifiers mods) {
  const bool shift = mods & Qt::ShiftModifier, ctrl = mods & Qt::ControlModifier;
  switch (static_cast<BarFace>(faces_.Current())) {
    case BarFace::Subtitle:
      grab_ = {};
      return;
    case BarFace::Volume:
      faces_.ResetCounter();
      emit VolumeRequested(VolumeAtX(p.x(), width()));
      update();
      return;
    case BarFace::Speed:
      faces_.ResetCounter();
      emit SpeedRequested(SpeedAtX(p.x(), width()));
      update();
      return;
    case BarFace::Position:
      break;
    default:
      return;
  }
  // The tick would move the fill back to the playing position under the pointer.
  emit PlayTimerWanted(false);
  const double t = TimeAtX(p.x(), width(), duration_, shift);
  const DragStepResult step = DragMarks(marks_, grab_, t, ctrl, duration_);
  if (step.marksMoved) {
    TellMarksMoved();
    emit MarksDragged(marks_.start, marks_.end);
  }
  if (step.seek) {
    emit SeekRequested(*step.seek);
    emit PlaybackUpdateWanted();
  }
  update();
}

void PlayerStatusBar::mousePressEvent(QMouseEvent* e) {
  const QPoint p = e->position().toPoint();
  emit MouseDown(ButtonCode(e->button()), ShiftCode(e->modifiers()), p.x(), p.y());
  if (e->button() != Qt::LeftButton || !InBar(p)) return;
  // A press without a hover before it (a touch, a test) grabs what a hover would have.
  if (hover_ != 2) grab_ = HitAt(p);
  hover_ = 2;
}

void PlayerStatusBar::mouseMoveEvent(QMouseEvent* e) {
  const QPoint p = e->position().toPoint();
  emit MouseMove(ButtonCode(e->buttons()), ShiftCode(e->modifiers()), p.x(), p.y());
  if (e->buttons() & Qt::LeftButton) {
    if (hover_ == 2 && allowChangePosition_) DragStep(p, e->modifiers());
    return;
  }
  if (e->buttons() != Qt::NoButton) return;
  hover_ = InBar(p) ? 1 : 0;
  grab_ = HitAt(p);
  const bool onMark = grab_.target == GrabTarget::Start || grab_.target == GrabTarget::End;
  setCursor(onMark ? Qt::SizeHorCursor : grab_.target == GrabTarget::Band ? Qt::SizeAllCursor : Qt::ArrowCursor);
}

void PlayerStatusBar::mouseReleaseEvent(QMouseEvent* e) {
  const QPoint p = e->position().toPoint();
  emit MouseUp(ButtonCode(e->button()), ShiftCode(e->modifiers()), p.x(), p.y());
  if (status_ == 1) emit PlayTimerWanted(true);
  if (refresh_ && Playing(status_) && InBar(p)) {
    const BarFace face = static_cast<BarFace>(faces_.Current());
    if (e->button() == Qt::LeftButton && allowChangePosition_) {
      if (face == BarFace::Volume) {
        faces_.ResetCounter();
        emit VolumeRequested(VolumeAtX(p.x(), width()));
      } else if (face == BarFace::Speed) {
        faces_.ResetCounter();
        emit SpeedRequested(SpeedAtX(p.x(), width()));
      } else if (face == BarFace::Notice) {
        faces_.ResetCounter();  // clicking a notice keeps it up
      } else if (grab_.target == GrabTarget::Position) {
        RequestSeek(TimeAtX(p.x(), width(), duration_, e->modifiers() & Qt::ShiftModifier));
      } else if (grab_.target != GrabTarget::None) {
        emit TagsChanged();
      }
    } else if (e->button() == Qt::RightButton && allowChangeMode_) {
      faces_.SetCurrent(NextFace(faces_.Current(), subtitleLoaded_, subtitleSupported_));
      emit FaceChanged(faces_.Current());
    }
    if (status_ != 0) update();
  }
  hover_ = 0;
  grab_ = {};
}

void PlayerStatusBar::leaveEvent(QEvent*) {
  if (hover_ == 1) hover_ = 0;
}

// ---- Painting ----

void PlayerStatusBar::paintEvent(QPaintEvent*) {
  const int w = width(), h = height();
  if (!refresh_ || h <= 0 || w <= 0) return;
  QPainter p(this);
  const bool flat = StyleIsFlat(style_);
  const QColor back = FromBgr(barColor_);
  if (!transparent_) FillFace(p, rect(), back, flat);

  const BarFace face = static_cast<BarFace>(faces_.Current());
  const int fillHeight = std::min(h, FillHeightFor(h));
  const QRect zone(0, h - fillHeight, w, fillHeight);
  double filled = 0;
  if (face == BarFace::Position && duration_ > 0) filled = position_ / duration_;
  if (face == BarFace::Volume) filled = volume_ / 100;
  if (face == BarFace::Speed) filled = speed_ / 2;
  const int fillWidth = static_cast<int>(std::lround(std::clamp(filled, 0.0, 1.0) * w));
  if (fillWidth > 0) FillFace(p, QRect(zone.left(), zone.top(), fillWidth, zone.height()), FromBgr(positionColor_), flat);

  if (face == BarFace::Position) {
    const QColor alert = FromBgr(alertColor_);
    if (tagPart_ >= 1) {
      for (int k = 1; k < tagPart_; ++k) p.fillRect(QRect(k * w / tagPart_, zone.top(), 1, zone.height()), alert);
    } else if (marks_.start > 0 || marks_.end > 0) {
      const int xs = XOfTime(marks_.start, w, duration_);
      const int xe = marks_.end > 0 ? XOfTime(marks_.end, w, duration_) : w;
      QColor band = alert;
      band.setAlpha(70);
      p.fillRect(QRect(std::min(xs, xe), zone.top(), std::abs(xe - xs), zone.height()), band);
      // Each set mark is a line two pixels wide across the whole bar, centred on its time.
      for (const double mark : {marks_.start, marks_.end})
        if (mark > 0) p.fillRect(QRect(XOfTime(mark, w, duration_) - 1, 0, 2, h), alert);
    }
  }

  QString text;
  bool raise = false;
  switch (face) {
    case BarFace::Position:
      if (modeStyle_ == 3) text = TimeText(), raise = true;
      break;
    case BarFace::Subtitle:
      text = subtitleLine_, raise = true;
      break;
    case BarFace::Volume:
      text = Q(VolumeText(volume_));
      break;
    case BarFace::Speed:
      text = Q(SpeedText(speed_));
      break;
    case BarFace::Notice:
      text = infoString_;
      break;
  }
  if (raise) emit StatusBarText(text);
  if (text.isEmpty() || h < 10) return;
  QFont font = this->font();
  font.setPixelSize(std::clamp(h - 5, 9, 12));
  p.setFont(font);
  p.setPen(IsDarkColor(barColor_) && !transparent_ ? Qt::white : Qt::black);
  p.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text);
}

// ---- Assistive technology ----

namespace {

class StatusBarAccessible final : public QAccessibleWidget, public QAccessibleValueInterface {
 public:
  explicit StatusBarAccessible(PlayerStatusBar* bar) : QAccessibleWidget(bar, QAccessible::Slider) {}
  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Value) return Q(BarTime(bar()->Position()));
    if ((t == QAccessible::Name && bar()->accessibleName().isEmpty()) || t == QAccessible::Description)
      return bar()->TimeText();
    return QAccessibleWidget::text(t);
  }
  QVariant currentValue() const override { return bar()->Position(); }
  void setCurrentValue(const QVariant& value) override { bar()->RequestSeek(value.toDouble()); }
  QVariant maximumValue() const override { return bar()->Duration(); }
  QVariant minimumValue() const override { return 0.0; }
  QVariant minimumStepSize() const override { return 1.0; }

  QStringList actionNames() const override {
    return QStringList{Q(StrMarksSetStart), Q(StrMarksSetEnd), Q(StrMarksClear)} + QAccessibleWidget::actionNames();
  }
  // The same writes as the host's mark buttons: the marks take the position.
  void doAction(const QString& name) override {
    if (name == Q(StrMarksSetStart)) bar()->SetSetTagStart(bar()->Position());
    if (name == Q(StrMarksSetEnd)) bar()->SetSetTagEnd(bar()->Position());
    if (name == Q(StrMarksClear)) {
      bar()->SetSetTagStart(0);
      bar()->SetSetTagEnd(0);
    }
    QAccessibleWidget::doAction(name);
  }

 private:
  PlayerStatusBar* bar() const { return static_cast<PlayerStatusBar*>(widget()); }
};

}  // namespace

QAccessibleInterface* AccessibleFor(PlayerStatusBar* bar) { return new StatusBarAccessible(bar); }

}  // namespace zel
