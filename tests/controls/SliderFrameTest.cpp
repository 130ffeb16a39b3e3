#include "controls/ctlCustomFrame.h"
#include "controls/ctlSlider.h"

#include <QAccessibleInterface>
#include <QAccessibleValueInterface>
#include <QImage>
#include <QTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zel {
namespace {

// The slider's events as one line each, in the order raised.
struct SliderLog {
  explicit SliderLog(ctlSlider& s) {
    QObject::connect(&s, &ctlSlider::Change, [this, &s] { lines.push_back("Change " + std::to_string(s.Value())); });
    QObject::connect(&s, &ctlSlider::MaxReached, [this] { lines.push_back("MaxReached"); });
    QObject::connect(&s, &ctlSlider::MinReached, [this] { lines.push_back("MinReached"); });
  }
  std::vector<std::string> Take() { return std::exchange(lines, {}); }
  std::vector<std::string> lines;
};

TEST(Slider, SettingTheValueRoundsHoldsAndReportsOnce) {
  ctlSlider s;
  s.resize(216, 20);
  SliderLog log(s);
  using Lines = std::vector<std::string>;
  struct Case {
    int precision;
    double value;
    Lines events;
  };
  const Case cases[] = {
      {1, 40.7, {"Change 40.000000"}},
      {1, 40.2, {}},  // the same whole value: nothing
      {2, 40.7, {"Change 41.000000"}},
      {2, 41.5, {"Change 42.000000"}},  // a tie goes to the even number
      {0, 41.5, {"Change 41.500000"}},
      {1, 250, {"Change 100.000000", "MaxReached"}},
      {1, 100, {}},
      {1, -3, {"Change 0.000000", "MinReached"}},
  };
  for (const Case& c : cases) {
    s.SetPrecision(c.precision);
    s.SetValue(c.value);
    EXPECT_EQ(log.Take(), c.events) << c.precision << " " << c.value;
  }
}

TEST(Slider, ThumbFollowsTheValueAndThePointer) {
  ctlSlider s;
  s.resize(215, 20);  // thumb 9 wide at padding 3: 200 pixels of travel
  s.show();
  const int thumbWidth = s.ThumbRect().width();
  const int travel = 215 - thumbWidth - 6;
  s.SetValue(50);
  EXPECT_EQ(s.ThumbRect().left(), 3 + travel / 2);

  // A press beside the thumb brings its middle under the pointer.
  const int x = 3 + travel * 3 / 4 + thumbWidth / 2;
  QTest::mousePress(&s, Qt::LeftButton, {}, QPoint(x, 10));
  EXPECT_NEAR(s.Value(), 75, 1);
  QTest::mouseMove(&s, QPoint(1000, 10));
  EXPECT_EQ(s.Value(), 100);
  QTest::mouseRelease(&s, Qt::LeftButton, {}, QPoint(1000, 10));
  EXPECT_EQ(s.ThumbRect().right(), 215 - 3 - 1);

  // Vertical: the value rises upward.
  s.SetOrientation(1);
  s.resize(20, 216);
  s.SetValue(0);
  const int bottomTop = s.ThumbRect().top();
  s.SetValue(100);
  EXPECT_EQ(s.ThumbRect().top(), 3);
  EXPECT_GT(bottomTop, 100);

  // No span: the thumb stays at the start.
  ctlSlider flat;
  flat.resize(216, 20);
  flat.SetMax(0);
  flat.SetValue(5);
  EXPECT_EQ(flat.Value(), 0);
  EXPECT_EQ(flat.ThumbRect().left(), 3);

  // A disabled slider ignores the pointer; keys move an enabled one.
  s.setEnabled(false);
  QTest::mousePress(&s, Qt::LeftButton, {}, QPoint(10, 200));
  EXPECT_EQ(s.Value(), 100);
  s.setEnabled(true);
  QTest::keyClick(&s, Qt::Key_Home);
  EXPECT_EQ(s.Value(), 0);
  QTest::keyClick(&s, Qt::Key_PageUp);
  EXPECT_EQ(s.Value(), 10);
}

TEST(Slider, TipAndAccessibleValue) {
  ctlSlider s;
  s.SetTipString("缩放 ");
  s.SetTipAddString("%");
  s.SetPrecision(0);
  s.SetValue(12.5);
  EXPECT_EQ(s.TipText(), "缩放 12.5%");
  QAccessibleInterface* a = QAccessible::queryAccessibleInterface(&s);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->role(), QAccessible::Slider);
  EXPECT_EQ(a->text(QAccessible::Value), "12.5");
  auto* value = a->valueInterface();
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(value->maximumValue().toDouble(), 100);
  value->setCurrentValue(30);
  EXPECT_EQ(s.Value(), 30);
}

TEST(Frame, PresetsEdgesAndCaptionClicks) {
  ctlCustomFrame f;
  f.resize(120, 80);
  struct Case {
    int type;
    int32_t top, bottom, left, right;
  };
  f.SetFrameColor(0x00FF00);
  const Case cases[] = {
      {1, 0x808080, 0xFFFFFF, 0x808080, 0xFFFFFF},
      {2, 0xFFFFFF, 0x808080, 0xFFFFFF, 0x808080},
      {4, 0x00FF00, 0x00FF00, 0x00FF00, 0x00FF00},
      {3, 0x00FF00, 0x00FF00, 0x00FF00, 0x00FF00},  // no preset: the edges stay
  };
  for (const Case& c : cases) {
    f.SetFrameType(c.type);
    EXPECT_EQ(std::vector<int32_t>({f.LineTopColor(), f.LineBottomColor(), f.LineLeftColor(), f.LineRightColor()}),
              std::vector<int32_t>({c.top, c.bottom, c.left, c.right}))
        << c.type;
  }

  // The edges are drawn in their colours, the relief's inner ring swapped.
  f.SetFrameType(1);
  f.SetCustomWidth(2);
  f.SetFrame3D(true);
  f.SetBackColor(0x0000FF);
  const QImage shot = f.grab().toImage();
  EXPECT_EQ(shot.pixelColor(60, 0), QColor(0x80, 0x80, 0x80));
  EXPECT_EQ(shot.pixelColor(60, 79), QColor(0xFF, 0xFF, 0xFF));
  EXPECT_EQ(shot.pixelColor(60, 2), QColor(0xFF, 0xFF, 0xFF));
  EXPECT_EQ(shot.pixelColor(60, 40), QColor(0xFF, 0, 0));
  EXPECT_EQ(f.ContentsRect(), QRect(4, 4, 112, 72));

  f.SetFrameCaption("输出");
  f.show();
  std::vector<std::string> events;
  QObject::connect(&f, &ctlCustomFrame::Click, [&] { events.push_back("Click"); });
  QObject::connect(&f, &ctlCustomFrame::MouseDown, [&](int b, int, int, int) { events.push_back("Down " + std::to_string(b)); });
  QObject::connect(&f, &ctlCustomFrame::MouseUp, [&](int b, int, int, int) { events.push_back("Up " + std::to_string(b)); });
  auto* label = f.findChild<QWidget*>();
  ASSERT_NE(label, nullptr);
  QTest::mouseClick(label, Qt::LeftButton, {}, QPoint(2, 2));
  EXPECT_EQ(events, (std::vector<std::string>{"Down 1", "Click", "Up 1"}));
  EXPECT_GT(f.ContentsRect().top(), 4);

  QAccessibleInterface* a = QAccessible::queryAccessibleInterface(&f);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->role(), QAccessible::Grouping);
  EXPECT_EQ(a->text(QAccessible::Name), "输出");
}

}  // namespace
}  // namespace zel
