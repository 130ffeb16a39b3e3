#include "controls/ctlSlider.h"

#include "base/TextHelpers.h"
#include "controls/QtText.h"
#include "controls/Theme.h"

#include <QAccessibleValueInterface>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <cmath>

namespace zel {

ctlSlider::ctlSlider(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(16, 16);
  PlaceThumb();
}

void ctlSlider::SetValue(double v) {
  if (precision_ == 1)
    v = std::trunc(v);
  else if (precision_ == 2)
    v = std::nearbyint(v);
  v = std::max(min_, std::min(v, max_));
  if (v == value_) return;
  value_ = v;
  if (!dragging_) PlaceThumb();
  emit Change();
  if (v == max_) emit MaxReached();
  if (v == min_) emit MinReached();
  if (QAccessible::isActive()) {
    QAccessibleValueChangeEvent event(this, value_);
    QAccessible::updateAccessibility(&event);
  }
  update();
}

void ctlSlider::SetMin(double v) {
  min_ = v;
  if (max_ < min_) max_ = min_;
  PlaceThumb();
  SetValue(value_);
  update();
}

void ctlSlider::SetMax(double v) {
  max_ = v;
  if (min_ > max_) min_ = max_;
  PlaceThumb();
  SetValue(value_);
  update();
}

void ctlSlider::SetOrientation(int v) {
  orientation_ = v;
  PlaceThumb();
  update();
}
void ctlSlider::SetRailStyle(int v) { railStyle_ = v, update(); }
void ctlSlider::SetSliderStyle(int v) { sliderStyle_ = v, PlaceThumb(), update(); }
void ctlSlider::SetRailPicture(const QPixmap& p) { railPicture_ = p, update(); }
void ctlSlider::SetSliderIcon(const QPixmap& p) { sliderIcon_ = p, PlaceThumb(), update(); }
void ctlSlider::SetPadding(int v) { padding_ = std::max(0, v), PlaceThumb(), update(); }
void ctlSlider::SetTransparent(int v) { transparent_ = v, update(); }
void ctlSlider::SetTransparentBack(bool v) { transparentBack_ = v, update(); }
void ctlSlider::SetBackColor(int32_t v) { backColor_ = v, update(); }
void ctlSlider::SetForeColor(int32_t v) { foreColor_ = v, update(); }
void ctlSlider::SetStyle(int v) { style_ = v, update(); }

QSize ctlSlider::ThumbSize() const {
  if (sliderStyle_ == 3 && !sliderIcon_.isNull()) return sliderIcon_.deviceIndependentSize().toSize();
  const bool horizontal = orientation_ == 0;
  const int across = std::max(4, (horizontal ? height() : width()) - 2 * padding_);
  const int along = sliderStyle_ == 1 ? 4 : sliderStyle_ == 2 ? across : std::max(6, across * 2 / 3);
  return horizontal ? QSize(along, across) : QSize(across, along);
}

int ctlSlider::Travel() const {
  const QSize thumb = ThumbSize();
  return orientation_ == 0 ? width() - thumb.width() - 2 * padding_ : height() - thumb.height() - 2 * padding_;
}

void ctlSlider::PlaceThumb() {
  const double span = max_ - min_;
  // With no span the thumb stays at the start rather than dividing by zero.
  const int distance = span > 0 ? static_cast<int>(std::lround(std::max(0, Travel()) * (value_ - min_) / span)) : 0;
  if (orientation_ == 0)
    thumbAt_ = QPoint(padding_ + distance, 0);
  else
    thumbAt_ = QPoint(0, padding_ + std::max(0, Travel()) - distance);
}

QRect ctlSlider::ThumbRect() const {
  const QSize thumb = ThumbSize();
  if (orientation_ == 0) return QRect(QPoint(thumbAt_.x(), (height() - thumb.height()) / 2), thumb);
  return QRect(QPoint((width() - thumb.width()) / 2, thumbAt_.y()), thumb);
}

QString ctlSlider::TipText() const { return tipString_ + Q(FormatNumber(value_)) + tipAddString_; }

void ctlSlider::DragTo(QPoint pointer) {
  const int travel = std::max(1, Travel());
  if (orientation_ == 0) {
    const int left = std::clamp(pointer.x() - pressOffset_.x(), padding_, padding_ + travel);
    thumbAt_ = QPoint(left, 0);
    SetValue(min_ + (max_ - min_) * (left - padding_) / travel);
  } else {
    const int top = std::clamp(pointer.y() - pressOffset_.y(), padding_, padding_ + travel);
    thumbAt_ = QPoint(0, top);
    SetValue(min_ + (max_ - min_) * (padding_ + travel - top) / travel);
  }
  if (showValueTip_) QToolTip::showText(mapToGlobal(pointer), TipText(), this);
  update();
}

void ctlSlider::mousePressEvent(QMouseEvent* e) {
  if (!isEnabled() || e->button() != Qt::LeftButton) return;
  dragging_ = true;
  const QRect thumb = ThumbRect();
  if (thumb.contains(e->position().toPoint())) {
    pressOffset_ = e->position().toPoint() - thumb.topLeft();
  } else {
    // A press beside the thumb brings it under the pointer.
    pressOffset_ = QPoint(thumb.width() / 2, thumb.height() / 2);
    DragTo(e->position().toPoint());
  }
}

void ctlSlider::mouseMoveEvent(QMouseEvent* e) {
  if (dragging_) DragTo(e->position().toPoint());
}

void ctlSlider::mouseReleaseEvent(QMouseEvent*) {
  if (!dragging_) return;
  dragging_ = false;
  QToolTip::hideText();
  PlaceThumb();
  update();
}

void ctlSlider::keyPressEvent(QKeyEvent* e) {
  // Keys move the thumb too, so the slider is usable without a mouse.
  const double step = std::max(1.0, (max_ - min_) / 100), page = std::max(1.0, (max_ - min_) / 10);
  struct Move {
    int key;
    double by;
  };
  const Move moves[] = {{Qt::Key_Left, -step},     {Qt::Key_Down, -step},     {Qt::Key_Right, step},
                        {Qt::Key_Up, step},        {Qt::Key_PageDown, -page}, {Qt::Key_PageUp, page}};
  for (const Move& m : moves) {
    if (e->key() == m.key) {
      SetValue(value_ + m.by);
      return;
    }
  }
  if (e->key() == Qt::Key_Home) return SetValue(min_);
  if (e->key() == Qt::Key_End) return SetValue(max_);
  QWidget::keyPressEvent(e);
}

void ctlSlider::wheelEvent(QWheelEvent* e) {
  const double step = std::max(1.0, (max_ - min_) / 100);
  SetValue(value_ + (e->angleDelta().y() > 0 ? step : -step));
}

void ctlSlider::resizeEvent(QResizeEvent*) { PlaceThumb(); }

void ctlSlider::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const QPalette& pal = palette();
  const QColor back = ResolveColor(backColor_, pal.color(QPalette::Window));
  const QColor fore = ResolveColor(foreColor_, pal.color(QPalette::Highlight));
  if (transparent_ > 0) p.setOpacity(std::max(0.1, 1.0 - transparent_ / 100.0));
  if (!transparentBack_) p.fillRect(rect(), back);

  const bool horizontal = orientation_ == 0;
  const QRect thumb = ThumbRect();
  const int thickness = railStyle_ == 0 ? 2 : 6;
  QRect rail = horizontal ? QRect(padding_, (height() - thickness) / 2, width() - 2 * padding_, thickness)
                          : QRect((width() - thickness) / 2, padding_, thickness, height() - 2 * padding_);
  const QColor groove = isEnabled() ? FromBgr(ShiftColor(ToBgr(back), -0.25)) : pal.color(QPalette::Mid);
  switch (railStyle_) {
    case 0:
      p.fillRect(rail, groove);
      break;
    case 1:
      p.fillRect(rail, groove);
      p.setPen(FromBgr(ShiftColor(ToBgr(back), -0.5)));
      p.drawLine(rail.topLeft(), horizontal ? rail.topRight() : rail.bottomLeft());
      break;
    case 3:
      if (!railPicture_.isNull()) {
        p.drawPixmap(rail, railPicture_);
        break;
      }
      [[fallthrough]];
    default: {
      p.setPen(Qt::NoPen);
      p.setBrush(groove);
      p.drawRoundedRect(rail, thickness / 2.0, thickness / 2.0);
      QRect filled = rail;
      if (horizontal)
        filled.setRight(thumb.center().x());
      else
        filled.setTop(thumb.center().y());
      p.setBrush(isEnabled() ? fore : pal.color(QPalette::Mid));
      p.drawRoundedRect(filled, thickness / 2.0, thickness / 2.0);
    }
  }

  const QColor face = isEnabled() ? (dragging_ ? fore.darker(115) : fore) : pal.color(QPalette::Mid);
  p.setPen(QPen(face.darker(130), 1));
  p.setBrush(face);
  switch (sliderStyle_) {
    case 2:
      p.drawEllipse(thumb.adjusted(1, 1, -1, -1));
      break;
    case 3:
      if (!sliderIcon_.isNull()) {
        p.drawPixmap(thumb, sliderIcon_);
        break;
      }
      [[fallthrough]];
    case 4:
      p.drawRoundedRect(thumb.adjusted(0, 0, -1, -1), 3, 3);
      break;
    default:
      p.drawRect(thumb.adjusted(0, 0, -1, -1));
  }
  if (hasFocus()) {
    p.setPen(QPen(pal.color(QPalette::Highlight), 1, Qt::DotLine));
    p.setBrush(Qt::NoBrush);
    p.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

namespace {

class SliderAccessible final : public QAccessibleWidget, public QAccessibleValueInterface {
 public:
  explicit SliderAccessible(ctlSlider* slider) : QAccessibleWidget(slider, QAccessible::Slider) {}
  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Value) return Q(FormatNumber(slider()->Value()));
    if (t == QAccessible::Name && slider()->accessibleName().isEmpty()) return slider()->TipString().trimmed();
    return QAccessibleWidget::text(t);
  }
  QVariant currentValue() const override { return slider()->Value(); }
  void setCurrentValue(const QVariant& value) override { slider()->SetValue(value.toDouble()); }
  QVariant maximumValue() const override { return slider()->Max(); }
  QVariant minimumValue() const override { return slider()->Min(); }
  QVariant minimumStepSize() const override { return 1.0; }

 private:
  ctlSlider* slider() const { return static_cast<ctlSlider*>(widget()); }
};

}  // namespace

QAccessibleInterface* AccessibleFor(ctlSlider* slider) { return new SliderAccessible(slider); }

}  // namespace zel
