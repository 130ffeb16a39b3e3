// A labelled container with freely coloured edges: the four edge colours, a
// line width, an optional two-line relief and a caption that passes its clicks
// to the host.
#pragma once

#include <QString>
#include <QWidget>

#include <cstdint>

class QAccessibleInterface;
class QLabel;

namespace zel {

class ctlCustomFrame : public QWidget {
  Q_OBJECT

 public:
  explicit ctlCustomFrame(QWidget* parent = nullptr);

  QString FrameCaption() const { return caption_; }
  void SetFrameCaption(const QString& caption);
  // 0 no fill, 1 BackColor, 2 BackColor fading downward.
  int FrameBackType() const { return backType_; }
  void SetFrameBackType(int v);
  int32_t LineTopColor() const { return top_; }
  void SetLineTopColor(int32_t v);
  int32_t LineBottomColor() const { return bottom_; }
  void SetLineBottomColor(int32_t v);
  int32_t LineLeftColor() const { return left_; }
  void SetLineLeftColor(int32_t v);
  int32_t LineRightColor() const { return right_; }
  void SetLineRightColor(int32_t v);
  // -1: the system's button face.
  int32_t BackColor() const { return back_; }
  void SetBackColor(int32_t v);
  int32_t FrameColor() const { return frameColor_; }
  void SetFrameColor(int32_t v);
  // Presets of the four edges: 1 sunken, 2 raised, 4 all in FrameColor; other
  // values leave the edges as they are.
  int FrameType() const { return frameType_; }
  void SetFrameType(int v);
  int CustomWidth() const { return width_; }
  void SetCustomWidth(int v);
  bool Frame3D() const { return frame3D_; }
  void SetFrame3D(bool v);
  int Style() const { return style_; }
  void SetStyle(int v) { style_ = v, update(); }

  // The area inside the edges and below the caption, for the host's children.
  QRect ContentsRect() const;

 signals:
  // The caption's clicks and mouse events, passed on.
  void Click();
  void MouseDown(int button, int shift, int x, int y);
  void MouseUp(int button, int shift, int x, int y);

 protected:
  void paintEvent(QPaintEvent*) override;
  void resizeEvent(QResizeEvent*) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  int CaptionHeight() const;

  QString caption_;
  int backType_ = 1;
  int32_t top_ = 0xFFFFFF, bottom_ = 0x808080, left_ = 0x808080, right_ = 0xFFFFFF;
  int32_t back_ = -1, frameColor_ = 0x808080;
  int frameType_ = 0;
  int width_ = 1;
  bool frame3D_ = false;
  int style_ = 26;
  QLabel* label_ = nullptr;
};

QAccessibleInterface* AccessibleFor(ctlCustomFrame* frame);

}  // namespace zel
