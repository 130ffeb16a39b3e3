#include "controls/ctlCustomFrame.h"

#include "controls/MouseCodes.h"
#include "controls/Theme.h"

#include <QAccessibleWidget>
#include <QLabel>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>

namespace zel {

ctlCustomFrame::ctlCustomFrame(QWidget* parent) : QWidget(parent), label_(new QLabel(this)) {
  label_->hide();
  label_->installEventFilter(this);
  label_->setAttribute(Qt::WA_TransparentForMouseEvents, false);
}

void ctlCustomFrame::SetFrameCaption(const QString& caption) {
  caption_ = caption;
  label_->setText(caption);
  label_->setVisible(!caption.isEmpty());
  label_->adjustSize();
  resizeEvent(nullptr);
  update();
}

void ctlCustomFrame::SetFrameBackType(int v) { backType_ = v, update(); }
void ctlCustomFrame::SetLineTopColor(int32_t v) { top_ = v, update(); }
void ctlCustomFrame::SetLineBottomColor(int32_t v) { bottom_ = v, update(); }
void ctlCustomFrame::SetLineLeftColor(int32_t v) { left_ = v, update(); }
void ctlCustomFrame::SetLineRightColor(int32_t v) { right_ = v, update(); }
void ctlCustomFrame::SetBackColor(int32_t v) { back_ = v, update(); }
void ctlCustomFrame::SetFrameColor(int32_t v) {
  frameColor_ = v;
  if (frameType_ == 4) SetFrameType(4);
  update();
}
void ctlCustomFrame::SetCustomWidth(int v) { width_ = std::max(0, v), resizeEvent(nullptr), update(); }
void ctlCustomFrame::SetFrame3D(bool v) { frame3D_ = v, update(); }

void ctlCustomFrame::SetFrameType(int v) {
  frameType_ = v;
  struct Preset {
    int type;
    int32_t top, bottom, left, right;
  };
  const Preset presets[] = {
      {1, 0x808080, 0xFFFFFF, 0x808080, 0xFFFFFF},
      {2, 0xFFFFFF, 0x808080, 0xFFFFFF, 0x808080},
      {4, frameColor_, frameColor_, frameColor_, frameColor_},
  };
  for (const Preset& p : presets) {
    if (p.type == v) {
      top_ = p.top, bottom_ = p.bottom, left_ = p.left, right_ = p.right;
      break;
    }
  }
  update();
}

int ctlCustomFrame::CaptionHeight() const { return caption_.isEmpty() ? 0 : label_->sizeHint().height(); }

QRect ctlCustomFrame::ContentsRect() const {
  const int edge = width_ * (frame3D_ ? 2 : 1);
  return rect().adjusted(edge, edge + CaptionHeight(), -edge, -edge);
}

void ctlCustomFrame::resizeEvent(QResizeEvent*) {
  const int edge = width_ * (frame3D_ ? 2 : 1);
  label_->move(edge + 6, edge);
}

bool ctlCustomFrame::eventFilter(QObject* watched, QEvent* event) {
  if (watched != label_) return false;
  if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonRelease) {
    auto* e = static_cast<QMouseEvent*>(event);
    const QPoint at = label_->mapToParent(e->position().toPoint());
    const int button = ButtonCode(e->button()), shift = ShiftCode(e->modifiers());
    if (event->type() == QEvent::MouseButtonPress) {
      emit MouseDown(button, shift, at.x(), at.y());
    } else {
      emit Click();
      emit MouseUp(button, shift, at.x(), at.y());
    }
    return true;
  }
  return false;
}

void ctlCustomFrame::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const QColor back = ResolveColor(back_, palette().color(QPalette::Button));
  if (backType_ == 1) {
    p.fillRect(rect(), back);
  } else if (backType_ == 2) {
    QLinearGradient fade(0, 0, 0, height());
    fade.setColorAt(0, back.lighter(110));
    fade.setColorAt(1, back.darker(110));
    p.fillRect(rect(), fade);
  }
  if (width_ > 0) {
    const int w = width_;
    const QRect r = rect();
    auto edges = [&](QRect box, int32_t top, int32_t bottom, int32_t left, int32_t right) {
      p.fillRect(QRect(box.left(), box.top(), box.width(), w), FromBgr(top));
      p.fillRect(QRect(box.left(), box.bottom() - w + 1, box.width(), w), FromBgr(bottom));
      p.fillRect(QRect(box.left(), box.top(), w, box.height()), FromBgr(left));
      p.fillRect(QRect(box.right() - w + 1, box.top(), w, box.height()), FromBgr(right));
    };
    edges(r, top_, bottom_, left_, right_);
    // The relief: a second ring inside with the light and dark sides swapped.
    if (frame3D_) edges(r.adjusted(w, w, -w, -w), bottom_, top_, right_, left_);
  }
}

namespace {

class FrameAccessible final : public QAccessibleWidget {
 public:
  explicit FrameAccessible(ctlCustomFrame* frame) : QAccessibleWidget(frame, QAccessible::Grouping) {}
  QString text(QAccessible::Text t) const override {
    auto* frame = static_cast<ctlCustomFrame*>(widget());
    if (t == QAccessible::Name && frame->accessibleName().isEmpty()) return frame->FrameCaption();
    return QAccessibleWidget::text(t);
  }
};

}  // namespace

QAccessibleInterface* AccessibleFor(ctlCustomFrame* frame) { return new FrameAccessible(frame); }

}  // namespace zel
