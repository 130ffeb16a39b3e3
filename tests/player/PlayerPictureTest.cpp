// The player's picture side: zoom and drag, the backgrounds, the transitions
// frame by frame, screenshots.
#include "player/PlayerPicture.h"

#include "support/TestSupport.h"

#include <QFileInfo>
#include <QImageReader>
#include <QPainter>

#include <gtest/gtest.h>

namespace zel {
namespace {

constexpr QRgb kRed = 0xffff0000;
constexpr QRgb kBlack = 0xff000000;

QImage Filled(QSize size, QRgb colour) {
  QImage image(size, QImage::Format_ARGB32);
  image.fill(colour);
  return image;
}

// Brightness of the whole screen: the measure that a transition from black to
// white may only raise.
qint64 Brightness(const QImage& image) {
  qint64 sum = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) sum += qGray(image.pixel(x, y));
  }
  return sum;
}

class PictureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    picture.SetDefaultImageBackStyle(static_cast<int>(ImageBackStyle::Plain));
    picture.SetBackColor(0x000000);
    picture.Resize(QSize(200, 100));
  }
  PlayerPicture picture;
};

TEST_F(PictureTest, ZoomNeverBelowFloorAndRescalesTheDrag) {
  struct Case {
    float zoom;
    float stored;
  };
  for (const Case& c : {Case{0.1f, 0.2f}, Case{0.2f, 0.2f}, Case{-1.0f, 0.2f}, Case{1.5f, 1.5f}}) {
    picture.SetDefaultImageZoom(c.zoom);
    EXPECT_FLOAT_EQ(picture.DefaultImageZoom(), c.stored) << c.zoom;
  }
  picture.SetShowEffect(false);
  picture.SetDefaultStdPicture(Filled(QSize(200, 100), kRed));
  picture.SetDefaultImageZoom(0.2f);  // 40x20 in the middle: x 80 to 120
  EXPECT_EQ(picture.Screen().pixel(150, 50), kBlack);
  picture.MousePress(QPoint(10, 10));
  picture.MouseMove(QPoint(60, 10), true);
  EXPECT_EQ(picture.DragDelta(), QPoint(50, 0));
  EXPECT_EQ(picture.Screen().pixel(150, 50), kRed);
  EXPECT_EQ(picture.Screen().pixel(100, 50), kBlack);
  picture.MouseRelease(QPoint(60, 10));
  picture.MousePress(QPoint(0, 0));  // the next press commits the delta
  EXPECT_EQ(picture.DefaultImageOffsetX(), 50);
  picture.SetDefaultImageZoom(0.4f);
  EXPECT_EQ(picture.DefaultImageOffsetX(), 100);
  picture.SetImageMoveable(false);
  picture.MouseMove(QPoint(90, 0), true);
  EXPECT_EQ(picture.DragDelta(), QPoint(0, 0));
}

TEST_F(PictureTest, CheckerboardOfElevenPixelSquares) {
  picture.SetBackColor(0x000000);
  picture.SetDefaultImageBackStyle(static_cast<int>(ImageBackStyle::Checkerboard));
  const QImage& screen = picture.Screen();
  const QRgb back = screen.pixel(0, 0);
  const QRgb tone = screen.pixel(11, 0);
  EXPECT_EQ(back, kBlack);
  EXPECT_EQ(qRed(tone), 102);  // black shifted by 0.4 toward white
  struct Case {
    int x, y;
    bool toned;
  };
  for (const Case& c : {Case{10, 10, false}, Case{11, 10, true}, Case{21, 0, true}, Case{22, 0, false},
                        Case{0, 11, true}, Case{11, 11, false}, Case{10, 21, true}, Case{33, 22, true}}) {
    EXPECT_EQ(screen.pixel(c.x, c.y), c.toned ? tone : back) << c.x << "," << c.y;
  }
}

TEST_F(PictureTest, BlurredBackgroundSpreadsThePicture) {
  QImage half = Filled(QSize(200, 100), kBlack);
  QPainter(&half).fillRect(0, 0, 100, 100, Qt::white);
  picture.SetShowEffect(false);
  picture.SetDefaultStdPicture(half);
  picture.SetDefaultImageBackStyle(static_cast<int>(ImageBackStyle::BlurredPicture));
  // The margin beside the sharp picture shows the blur: grey, not white.
  const int left = qGray(picture.Screen().pixel(100, 1));
  EXPECT_GT(left, 100);
  EXPECT_LT(left, 250);
}

// Every effect from a black screen to a white picture: 25 frames, brightness
// never falling, the last tick landing exactly on the new frame.
TEST_F(PictureTest, EveryTransitionReachesFullAlphaSteadily) {
  for (int effect = 1; effect <= static_cast<int>(ImageEffect::PushFromLeftTop); ++effect) {
    SCOPED_TRACE(effect);
    picture.CloseFile();
    picture.SetShowEffect(false);
    picture.Repaint(false);
    picture.SetShowEffect(true);
    picture.SetImageTransEffects(static_cast<int>(ImageEffect::Alpha));  // the screen stays black for now
    const qint64 start = Brightness(picture.Screen());
    picture.SetDefaultStdPicture(Filled(QSize(200, 100), 0xffffffff));
    picture.Repaint(true, static_cast<ImageEffect>(effect));
    ASSERT_EQ(picture.ActiveEffect(), static_cast<ImageEffect>(effect));
    ASSERT_TRUE(picture.EffectTimer().isActive());
    qint64 last = start;
    int frames = 0;
    while (picture.Transitioning() && frames < 100) {
      picture.Tick();
      const qint64 now = Brightness(picture.Screen());
      EXPECT_GE(now, last) << "frame " << frames;
      if (picture.Transitioning()) {
        EXPECT_EQ(picture.EffectAlpha(), (frames + 1) * kEffectAlphaStep);
      }
      last = now;
      ++frames;
    }
    EXPECT_EQ(frames, 26);  // 25 drawn frames and the final one
    EXPECT_EQ(picture.EffectAlpha(), 255);
    EXPECT_FALSE(picture.EffectTimer().isActive());
    EXPECT_EQ(picture.Screen(), picture.ComposeFrame(QSize(200, 100)));
    EXPECT_GT(last, start);
  }
}

TEST_F(PictureTest, WhenTransitionsRun) {
  // Configured none, yet an empty image fades by Alpha; effects off: at once.
  picture.SetDefaultImage("");
  EXPECT_EQ(picture.ActiveEffect(), ImageEffect::Alpha);
  picture.SetShowEffect(false);
  picture.SetDefaultStdPicture(Filled(QSize(20, 10), kRed));
  EXPECT_FALSE(picture.Transitioning());
  EXPECT_EQ(picture.Screen().pixel(100, 50), kRed);
  picture.SetShowEffect(true);
  picture.SetImageTransEffects(0);
  picture.SetDefaultStdPicture(Filled(QSize(20, 10), kBlack));
  EXPECT_FALSE(picture.Transitioning());
  struct Case {
    ImageEffect configured;
    int low, high;
  };
  for (const Case& c : {Case{ImageEffect::RandomizePush, 18, 21}, Case{ImageEffect::RandomizeEffect, 1, 21},
                        Case{ImageEffect::ZoomIn, 19, 19}}) {
    picture.SetImageTransEffects(static_cast<int>(c.configured));
    for (int i = 0; i < 20; ++i) {
      picture.Repaint(true);
      EXPECT_GE(static_cast<int>(picture.ActiveEffect()), c.low);
      EXPECT_LE(static_cast<int>(picture.ActiveEffect()), c.high);
    }
  }
}

TEST_F(PictureTest, UnreadableFileKeepsItsNameAndDrawsTheBackground) {
  test::TempDir dir;
  const std::string bad = dir / "broken.png";
  test::WriteScript(bad, "not a picture");
  std::vector<std::string> events;
  QObject::connect(&picture, &PlayerPicture::FileOpened, [&] { events.push_back("opened"); });
  QObject::connect(&picture, &PlayerPicture::FileClosed, [&] { events.push_back("closed"); });
  picture.SetShowEffect(false);
  picture.SetDefaultImage(bad);
  picture.SetDefaultImage(dir / "missing.png");
  EXPECT_EQ(picture.DefaultImage(), dir / "missing.png");
  EXPECT_EQ(events, (std::vector<std::string>{"opened", "closed"}));
  EXPECT_FALSE(picture.HasPicture());
  EXPECT_EQ(picture.Screen().pixel(100, 50), kBlack);
  const std::string good = dir / "good.png";
  ASSERT_TRUE(Filled(QSize(30, 20), kRed).save(QString::fromStdString(good)));
  picture.SetDefaultImage(good);
  EXPECT_EQ(picture.DefaultImageFileInfo(),
            "good.png ( 30x20, " + QString::number(QFileInfo(QString::fromStdString(good)).size()).toStdString() +
                ".00B )");
}

TEST(Screenshot, NamesTextsAndWriters) {
  struct NameCase {
    std::string source, folder;
    std::optional<double> position;
    std::string suffix, expected;
  };
  const QTime noon(13, 5, 9);
  for (const NameCase& c : {NameCase{"/m/clip.mp4", "/out", 2.5, "png", "/out/clip_00-00-02.500.png"},
                            NameCase{"/m/a b.c.mkv", "/out", 3723.04, "jpg", "/out/a b.c_01-02-03.040.jpg"},
                            NameCase{"/m/clip.mp4", "/out", std::nullopt, "bmp", "/out/clip_130509.bmp"},
                            NameCase{"/m/clip.mp4", "", 0.0, "tif", "/m/clip_00-00-00.000.tif"}}) {
    EXPECT_EQ(ScreenshotFileName(c.source, c.folder, c.position, c.suffix, noon), c.expected);
  }

  test::TempDir dir;
  const QImage frame = Filled(QSize(320, 240), 0xff406080);
  const QImage shot = ScreenshotImage(frame, dir / "clip.mp4", 2, 5);
  const QImage plain = ScreenshotImage(frame, dir / "clip.mp4", 2, 5, {false, false, false, false});
  EXPECT_EQ(plain, frame.convertToFormat(QImage::Format_RGB32));
  int changed = 0;
  for (int y = 8; y < 40; ++y) {
    for (int x = 10; x < 150; ++x) changed += shot.pixel(x, y) != frame.pixel(x, y);
  }
  EXPECT_GT(changed, 50) << "the headline is drawn";
  EXPECT_EQ(shot.pixel(300, 230), frame.pixel(300, 230));

  struct WriteCase {
    std::string suffix;
    QByteArray format;
  };
  for (const WriteCase& c : {WriteCase{"jpg", "jpeg"}, WriteCase{"png", "png"}, WriteCase{"tiff", "tiff"},
                             WriteCase{"xyz", "bmp"}}) {
    const std::string path = ScreenshotFileName(dir / "clip.mp4", dir.path(), 2.0, c.suffix);
    ASSERT_TRUE(SaveScreenshot(shot, path)) << path;
    QImageReader reader(QString::fromStdString(path));
    reader.setDecideFormatFromContent(true);
    EXPECT_EQ(reader.format(), c.format) << path;
    EXPECT_EQ(reader.size(), QSize(320, 240));
  }
  EXPECT_FALSE(SaveScreenshot(shot, dir / "no/such/folder/x.png"));
}

}  // namespace
}  // namespace zel
