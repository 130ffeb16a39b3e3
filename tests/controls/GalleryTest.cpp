#include "controls/ApplyTheme.h"
#include "controls/ctlButton.h"
#include "controls/ctlListbox.h"
#include "gallery/GalleryWindow.h"
#include "jobs/Settings.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

namespace zel {
namespace {

QAccessibleInterface* FindAccessible(QAccessibleInterface* node, QAccessible::Role role, const QString& name) {
  if (!node) return nullptr;
  if (node->role() == role && node->text(QAccessible::Name) == name) return node;
  for (int i = 0; i < node->childCount(); ++i)
    if (QAccessibleInterface* hit = FindAccessible(node->child(i), role, name)) return hit;
  return nullptr;
}

class Gallery : public testing::Test {
 protected:
  void SetUp() override {
    window.setFixedSize(1100, 680);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  }
  QImage Shot(int style, int32_t color) {
    ThemeSettings theme = window.Theme();
    theme.style = style;
    theme.color = color;
    window.SetTheme(theme);
    QApplication::processEvents();
    return window.grab().toImage().convertToFormat(QImage::Format_RGB32);
  }
  GalleryWindow window;
};

// The largest difference of one channel at one pixel, over the whole picture.
int MostDifferentChannel(const QImage& a, const QImage& b) {
  int most = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
      most = std::max({most, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                       std::abs(qBlue(p) - qBlue(q))});
    }
  return most;
}

TEST_F(Gallery, AccessibilityTreeNamesTheControlsAndPressReachesTheHandler) {
  QAccessibleInterface* root = QAccessible::queryAccessibleInterface(&window);
  ASSERT_NE(root, nullptr);
  struct Expect {
    QAccessible::Role role;
    const char* name;
  };
  const Expect expected[] = {
      {QAccessible::PushButton, "开始"},     {QAccessible::CheckBox, "预览"}, {QAccessible::RadioButton, "视频"},
      {QAccessible::ComboBox, "主题样式"},   {QAccessible::Slider, "缩放"},   {QAccessible::Slider, "音量"},
      {QAccessible::List, "任务列表"},       {QAccessible::List, "设置"},     {QAccessible::Grouping, "按钮"},
  };
  for (const Expect& e : expected)
    EXPECT_NE(FindAccessible(root, e.role, QString::fromUtf8(e.name)), nullptr) << e.name;

  QAccessibleInterface* check = FindAccessible(root, QAccessible::CheckBox, "预览");
  ASSERT_NE(check, nullptr);
  EXPECT_TRUE(check->state().checked);
  QAccessibleInterface* tasks = FindAccessible(root, QAccessible::List, "任务列表");
  ASSERT_NE(tasks, nullptr);
  ASSERT_EQ(tasks->childCount(), window.TaskList()->ListCount());
  EXPECT_TRUE(tasks->child(1)->text(QAccessible::Name).contains("会议录像.mkv"));

  QAccessibleInterface* start = FindAccessible(root, QAccessible::PushButton, "开始");
  ASSERT_NE(start, nullptr);
  ASSERT_NE(start->actionInterface(), nullptr);
  start->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  QApplication::processEvents();
  EXPECT_EQ(window.EventLabel()->Caption(), "最近事件：开始");
}

TEST_F(Gallery, ThemesPaintTheFacesInTheirColours) {
  // A flat style paints a command button's face in the theme colour itself.
  const int32_t blue = 0xC79166;
  const QImage flat = Shot(26, blue);
  ctlButton* button = window.CommandButton();
  const QRect face(button->mapTo(&window, QPoint(0, 0)), button->size());
  const QColor seen = flat.pixelColor(face.left() + 8, face.center().y());
  const QColor want = FromBgr(blue);
  EXPECT_NEAR(seen.red(), want.red(), 12);
  EXPECT_NEAR(seen.green(), want.green(), 12);
  EXPECT_NEAR(seen.blue(), want.blue(), 12);

  // A dark style darkens the lists too, so its white text stays readable.
  const QImage dark = Shot(5, -1);
  ctlListbox* empty = window.EmptyList();
  const QColor listFace = dark.pixelColor(empty->mapTo(&window, QPoint(10, 10)));
  EXPECT_LT(listFace.lightness(), 96);

  // The same state renders the same; each of the four styles looks its own.
  EXPECT_LE(MostDifferentChannel(flat, Shot(26, blue)), 2);
  std::vector<QImage> styles;
  for (const StyleName& s : StyleNames()) styles.push_back(Shot(s.style, -1));
  for (size_t i = 0; i < styles.size(); ++i)
    for (size_t j = i + 1; j < styles.size(); ++j)
      EXPECT_GT(MostDifferentChannel(styles[i], styles[j]), 16) << StyleNames()[i].name << StyleNames()[j].name;
}

TEST_F(Gallery, AnimatedColourChangeEndsStoredAndApplied) {
  ThemeColorAnimation animation(&window);
  bool finished = false;
  QObject::connect(&animation, &ThemeColorAnimation::Finished, [&] { finished = true; });
  animation.Start(window.Theme(), 0x3366CC, 4, 1);
  EXPECT_TRUE(QTest::qWaitFor([&] { return finished; }, 5000));
  EXPECT_EQ(ReadThemeSettings().color, 0x3366CC);
  EXPECT_EQ(window.CommandButton()->BackColor(), 0x3366CC);
  DeleteAllSettings();
}

TEST(GalleryProgram, WritesAScreenshotAndExits) {
  QTemporaryDir dir;
  const QString file = dir.filePath("gallery.png");
  QProcess gallery;
  gallery.start(ZEL_GALLERY_PATH, {"--style", "25", "--color", "0x3399FF", "--shot", file});
  ASSERT_TRUE(gallery.waitForFinished(60000));
  EXPECT_EQ(gallery.exitCode(), 0) << gallery.readAllStandardError().toStdString();
  const QImage shot(file);
  EXPECT_EQ(shot.size(), QSize(1100, 680));

  // On a screen scaled twice the window paints twice the pixels, from the
  // same layout, and the faces keep their colours.
  QProcessEnvironment scaled = QProcessEnvironment::systemEnvironment();
  scaled.insert("QT_SCALE_FACTOR", "2");
  gallery.setProcessEnvironment(scaled);
  gallery.start(ZEL_GALLERY_PATH, {"--style", "25", "--color", "0x3399FF", "--shot", file});
  ASSERT_TRUE(gallery.waitForFinished(60000));
  const QImage sharp(file);
  ASSERT_EQ(sharp.size(), QSize(2200, 1360));
  int alike = 0;
  for (int y = 40; y < 680; y += 37)
    for (int x = 5; x < 1100; x += 41) {
      const QColor a = shot.pixelColor(x, y), b = sharp.pixelColor(2 * x, 2 * y);
      alike += std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue()) < 30;
    }
  EXPECT_GT(alike, 17 * 27 * 8 / 10);  // text edges may differ; faces must not
  gallery.setProcessEnvironment(QProcessEnvironment::systemEnvironment());

  gallery.start(ZEL_GALLERY_PATH, {"--bogus"});
  ASSERT_TRUE(gallery.waitForFinished(60000));
  EXPECT_EQ(gallery.exitCode(), 2);
}

}  // namespace
}  // namespace zel
