// Frames, sheets and still pictures made by the engine without the tool.
#include <gtest/gtest.h>

#include <QImage>

#include <regex>

#include "engine/FFmpegX.h"
#include "engine/FrameGrabber.h"
#include "engine/ImageFiles.h"
#include "engine/ThumbnailSheet.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

// A 20-second testsrc clip: its picture shows the running second, so a frame
// taken at the wrong time differs from ffmpeg's.
class Pictures : public test::EngineTest {
 protected:
  static void SetUpTestSuite() {
    clipDir = new test::TempDir;
    clip = *clipDir / "clip.mp4";
    ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                         "testsrc=size=320x240:rate=25:duration=20", "-c:v", "libx264", "-g", "100", "-pix_fmt",
                         "yuv420p", clip})
                  .exitCode,
              0);
  }
  static void TearDownTestSuite() { delete clipDir; }
  static inline test::TempDir* clipDir = nullptr;
  static inline std::string clip;
};

// Mean difference per channel of two pictures of one size, 0 to 255.
double Difference(const QImage& a, const QImage& b) {
  const QImage x = a.convertToFormat(QImage::Format_RGB888), y = b.convertToFormat(QImage::Format_RGB888);
  if (x.size() != y.size()) return 255;
  double sum = 0;
  for (int row = 0; row < x.height(); ++row) {
    for (int i = 0; i < x.width() * 3; ++i) sum += std::abs(x.constScanLine(row)[i] - y.constScanLine(row)[i]);
  }
  return sum / (x.width() * x.height() * 3.0);
}

TEST(SheetGeometry, CellTimesAndSizes) {
  struct Case {
    int count;
    double length, start, end;
    std::vector<double> times;
  } cases[] = {
      {15, 160, 0, 0, {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150}},
      {4, 100, 10, 30, {10, 10 + 20.0 / 3, 10 + 40.0 / 3, 30}},  // a later start: both ends taken
      {3, 100, 0, 40, {10, 20, 30}},                              // a range from 0: as a whole film
      {1, 100, 10, 30, {7.5}},                                    // one cell: its own time
  };
  for (const Case& c : cases) {
    for (int n = 1; n <= c.count; ++n) EXPECT_NEAR(CellTime(n, c.count, c.length, c.start, c.end, 7.5), c.times[n - 1], 1e-9);
  }
  const SheetGeometry sheet = ComputeSheetGeometry(1920, 1080, 3, 5, 8, 320, 0, 0, true);
  EXPECT_EQ(sheet.cellHeight, 180);
  EXPECT_EQ(sheet.width, 8 + 328 * 3);
  EXPECT_EQ(sheet.height, 120 + 30 + 8 + 188 * 5);
  EXPECT_EQ(CellRect(sheet, 5, 3, 8), QRect(8 + 328, 120 + 8 + 188, 320, 180));
  const SheetGeometry one = ComputeSheetGeometry(320, 240, 1, 1, 0, 0, 0, 0, true);
  EXPECT_EQ(std::make_tuple(one.header, one.footer, one.width, one.height), std::make_tuple(0, 0, 320, 240));
  const SheetGeometry forced = ComputeSheetGeometry(320, 240, 1, 1, 0, 0, 160, 120, false);
  EXPECT_EQ(std::make_tuple(forced.width, forced.height), std::make_tuple(160, 120));
}

TEST_F(Pictures, FramesAreTheOnesShownAtTheirTime) {
  FrameGrabber grabber(clip);
  ASSERT_TRUE(grabber.IsOpen());
  EXPECT_EQ(grabber.Width(), 320);
  EXPECT_NEAR(grabber.Duration(), 20, 0.1);
  for (double time : {0.0, 7.52, 13.0, 19.9}) {
    const std::string reference = dir / "ref.png";
    ASSERT_EQ(test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y", "-ss", std::to_string(time), "-i",
                         clip, "-frames:v", "1", reference})
                  .exitCode,
              0);
    EXPECT_LT(Difference(grabber.FrameAt(time), QImage(QString::fromStdString(reference))), 0.5) << time;
  }
  EXPECT_FALSE(grabber.FrameAt(500).isNull());  // past the end: the last frame
  EXPECT_EQ(engine.GetVideoFrame(clip, 7.52, 160, 120).size(), QSize(160, 120));
  EXPECT_TRUE(engine.GetVideoFrame(dir / "missing.mp4", 1, 160, 120).isNull());
  EXPECT_FALSE(FrameGrabber(dir / "missing.mp4").IsOpen());
  ASSERT_TRUE(WriteFileAtomic(dir / "junk.mp4", std::string(5000, 'x')));
  EXPECT_TRUE(FrameGrabber(dir / "junk.mp4").FrameAt(1).isNull());
}

TEST_F(Pictures, ScreenshotMakesSheetsAndSingleFrames) {
  ScreenshotRequest sheet;
  sheet.source = clip;
  sheet.outputPath = dir / "sheet";  // no extension: the format's is added
  sheet.columns = 3, sheet.rows = 2, sheet.spacing = 4, sheet.maxWidth = 160;
  sheet.comment = "注释";
  sheet.showTime = true;
  ASSERT_TRUE(engine.Screenshot(sheet));
  EXPECT_EQ(sheet.outputPath, dir / "sheet.jpg");
  EXPECT_EQ(QImage(QString::fromStdString(sheet.outputPath)).size(), QSize(4 + 164 * 3, 120 + 30 + 4 + 124 * 2));
  EXPECT_EQ(events.front(), (test::Event{0, clip}));
  EXPECT_TRUE(Saw({7, clip}));
  EXPECT_EQ(events.back(), (test::Event{2, dir / "sheet.jpg"}));
  EXPECT_FALSE(engine.Processing());

  // A second sheet of the same name gets the time of day.
  ScreenshotRequest again = sheet;
  again.outputPath = dir / "sheet.jpg";
  ASSERT_TRUE(engine.Screenshot(again));
  EXPECT_TRUE(std::regex_match(again.outputPath, std::regex(".*/sheet_[0-9]{6}(\\([0-9]+\\))?\\.jpg")))
      << again.outputPath;

  // One frame is the frame itself, in each format.
  for (const char* format : {"png", "bmp", "tif", "jpg"}) {
    ScreenshotRequest single;
    single.source = clip;
    single.time = 7.52;
    single.format = format;
    single.outputPath = dir / (std::string("one.") + format);
    ASSERT_TRUE(engine.Screenshot(single)) << format;
    const QImage picture(QString::fromStdString(single.outputPath));
    EXPECT_EQ(picture.size(), QSize(320, 240)) << format;
    if (std::string(format) != "jpg") {
      EXPECT_LT(Difference(picture, FrameGrabber(clip).FrameAt(7.52)), 1) << format;
    }
  }
}

TEST_F(Pictures, CancelAndBadSourcesMakeNoFile) {
  engine.PumpEvents = [this] {
    if (engine.Processing()) engine.CancelProcess();
  };
  ScreenshotRequest sheet;
  sheet.source = clip;
  sheet.outputPath = dir / "cancelled.jpg";
  sheet.columns = sheet.rows = 3;
  EXPECT_FALSE(engine.Screenshot(sheet));
  EXPECT_TRUE(Saw({4, clip}));
  EXPECT_FALSE(FileExists(dir / "cancelled.jpg"));
  engine.PumpEvents = nullptr;

  events.clear();
  ASSERT_TRUE(WriteFileAtomic(dir / "junk.mp4", std::string(5000, 'x')));
  sheet.source = dir / "junk.mp4";
  sheet.outputPath = dir / "junk.jpg";
  EXPECT_FALSE(engine.Screenshot(sheet));
  EXPECT_EQ(events.back(), (test::Event{3, std::string(MsgGrabFailed)}));
  EXPECT_FALSE(FileExists(dir / "junk.jpg"));
  sheet.source = dir / "missing.mp4";
  EXPECT_FALSE(engine.Screenshot(sheet));
}

TEST_F(Pictures, StillPicturesResizeFitAndSave) {
  struct SizeCase {
    const char* text;
    QSize expected;
  } sizes[] = {{"100max", {100, 75}}, {"1000max", {320, 240}}, {"50%", {160, 120}}, {"0x120", {160, 120}},
               {"200x0", {200, 150}}, {"150x150", {150, 150}}, {"2x1", {3, 3}},     {"", {320, 240}},
               {"abc", {320, 240}}};
  for (const SizeCase& c : sizes) EXPECT_EQ(TargetImageSize(c.text, {320, 240}), c.expected) << c.text;
  EXPECT_EQ(TargetImageSize("100max", {240, 320}), QSize(75, 100));

  QImage red(320, 240, QImage::Format_RGB32);
  red.fill(Qt::red);
  const QImage fitted = FitIntoCanvas(red, {150, 150});
  EXPECT_EQ(fitted.pixelColor(75, 5), QColor(Qt::black));  // the spare height, split on both sides
  EXPECT_EQ(fitted.pixelColor(75, 144), QColor(Qt::black));
  EXPECT_EQ(fitted.pixelColor(75, 75), QColor(Qt::red));

  const std::string source = dir / "red.png";
  ASSERT_TRUE(red.save(QString::fromStdString(source)));
  for (const char* key : {"jpg", "png", "tif", "bmp", "gif", "gif_t"}) {
    const std::string out = dir / (std::string("out_") + key + "." + (std::string(key) == "gif_t" ? "gif" : key));
    ASSERT_TRUE(engine.ConvertImage(source, out, key, "50%", 90)) << key;
    const QImage back(QString::fromStdString(out));
    EXPECT_EQ(back.size(), QSize(160, 120)) << key;
    EXPECT_EQ(back.pixelColor(10, 10).alpha(), std::string(key) == "gif_t" ? 0 : 255) << key;
  }
  EXPECT_FALSE(engine.ConvertImage(dir / "missing.png", dir / "x.png", "png", "", 90));
  ASSERT_TRUE(WriteFileAtomic(dir / "broken.png", "\x89PNG broken"));
  EXPECT_FALSE(engine.ConvertImage(dir / "broken.png", dir / "x.png", "png", "", 90));
  EXPECT_FALSE(FileExists(dir / "x.png"));
}

TEST_F(Pictures, ImageJobsOfTheEngine) {
  // A picture with an image key converts without a tool; a video gives a frame.
  const std::string photo = dir / "photo.png";
  QImage picture(400, 200, QImage::Format_RGB32);
  picture.fill(Qt::blue);
  ASSERT_TRUE(picture.save(QString::fromStdString(photo)));
  engine.SetOutputDir(dir.path());
  engine.SetFilename(photo);
  engine.SetForceFormat("jpg");
  engine.SetImageSize("100max");
  engine.StartProcess();
  EXPECT_EQ(events.back(), (test::Event{2, dir / "photo.jpg"}));
  EXPECT_EQ(QImage(QString::fromStdString(dir / "photo.jpg")).size(), QSize(100, 50));

  engine.SetCore(test::ToolPath("ffmpeg"));
  engine.SetFilename(clip);
  engine.SetForceFormat("png");
  engine.TimeStartPoint = 3;
  engine.StartProcess();
  EXPECT_EQ(events.back(), (test::Event{2, dir / "clip.png"}));
  EXPECT_EQ(QImage(QString::fromStdString(dir / "clip.png")).size(), QSize(320, 240));
}

}  // namespace
}  // namespace zel
