// A rail with a thumb, drawn by itself: zooming a picture, moving through a
// list. The value is held within Min and Max, rounded as Precision says, and
// the thumb's place follows it unless the user is dragging the thumb.
#pragma once

#include <QPixmap>
#include <QString>
#include <QWidget>

#include <cstdint>

class QAccessibleInterface;

namespace zel {

class ctlSlider : public QWidget {
  Q_OBJECT

 public:
  explicit ctlSlider(QWidget* parent = nullptr);

  double Value() const { return value_; }
  // Rounds by Precision, holds within Min and Max, and when the value changes
  // places the thumb and raises Change, then MaxReached or MinReached.
  void SetValue(double value);
  double Min() const { return min_; }
  void SetMin(double v);
  double Max() const { return max_; }
  void SetMax(double v);
  // 1 whole part, 2 rounded to whole, anything else as it is.
  int Precision() const { return precision_; }
  void SetPrecision(int v) { precision_ = v; }
  // 0 horizontal, 1 vertical, the value rising upward.
  int Orientation() const { return orientation_; }
  void SetOrientation(int v);
  // 0 a thin line, 1 a sunken groove, 2 a rounded rail filled up to the
  // thumb, 3 the RailPicture stretched.
  int RailStyle() const { return railStyle_; }
  void SetRailStyle(int v);
  // 0 a block, 1 a bar, 2 a circle, 3 the SliderIcon, 4 a rounded block.
  int SliderStyle() const { return sliderStyle_; }
  void SetSliderStyle(int v);
  QPixmap RailPicture() const { return railPicture_; }
  void SetRailPicture(const QPixmap& p);
  QPixmap SliderIcon() const { return sliderIcon_; }
  void SetSliderIcon(const QPixmap& p);
  int Padding() const { return padding_; }
  void SetPadding(int v);
  bool ShowValueTip() const { return showValueTip_; }
  void SetShowValueTip(bool v) { showValueTip_ = v; }
  QString TipString() const { return tipString_; }
  void SetTipString(const QString& v) { tipString_ = v; }
  QString TipAddString() const { return tipAddString_; }
  void SetTipAddString(const QString& v) { tipAddString_ = v; }
  int Transparent() const { return transparent_; }
  void SetTransparent(int v);
  bool TransparentBack() const { return transparentBack_; }
  void SetTransparentBack(bool v);
  int32_t BackColor() const { return backColor_; }
  void SetBackColor(int32_t v);
  int32_t ForeColor() const { return foreColor_; }
  void SetForeColor(int32_t v);
  int Style() const { return style_; }
  void SetStyle(int v);

  // The thumb's rectangle, in the control's pixels.
  QRect ThumbRect() const;
  // The text the value tip shows.
  QString TipText() const;

 signals:
  void MinReached();
  void MaxReached();
  void Change();

 protected:
  void paintEvent(QPaintEvent*) override;
  void resizeEvent(QResizeEvent*) override;
  void mousePressEvent(QMouseEvent*) override;
  void mouseMoveEvent(QMouseEvent*) override;
  void mouseReleaseEvent(QMouseEvent*) override;
  void keyPressEvent(QKeyEvent*) override;
  void wheelEvent(QWheelEvent*) override;

 private:
  QSize ThumbSize() const;
  // The distance the thumb can travel.
  int Travel() const;
  void PlaceThumb();
  void DragTo(QPoint pointer);

  double value_ = 0, min_ = 0, max_ = 100;
  int precision_ = 1;
  int orientation_ = 0;
  int railStyle_ = 2, sliderStyle_ = 4;
  QPixmap railPicture_, sliderIcon_;
  int padding_ = 3;
  bool showValueTip_ = false;
  QString tipString_, tipAddString_;
  int transparent_ = 0;
  bool transparentBack_ = false;
  int32_t backColor_ = -1, foreColor_ = -1;
  int style_ = 26;

  QPoint thumbAt_;  // the thumb's place along the rail: x horizontally, y vertically
  QPoint pressOffset_;
  bool dragging_ = false;
};

QAccessibleInterface* AccessibleFor(ctlSlider* slider);

}  // namespace zel
