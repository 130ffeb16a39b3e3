// Pictures through zel-cli: sheets, frames and still pictures, and the picture
// jobs of a task list.
#include <gtest/gtest.h>

#include <QImage>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::ReadLines;
using test::RunCli;

QSize SizeOf(const std::string& path) { return QImage(QString::fromStdString(path)).size(); }

class ZelCliPictures : public test::CliTest {
 protected:
  test::TempDir dir;
};

TEST_F(ZelCliPictures, SheetsFramesAndStillPictures) {
  test::MakeClip(dir / "clip.mp4", 4, "320x240");
  test::RunResult run = RunCli({"thumbs", dir / "clip.mp4", "--matrix", "2x2", "--spacing", "5", "--max-width", "160",
                                "--time-string", "--comment", "备注", "--start", "1", "--end", "3", "-o",
                                dir / "sheet.png"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(ReadLines(run.output).back(), "output: " + dir / "sheet.png");
  EXPECT_EQ(SizeOf(dir / "sheet.png"), QSize(5 + 165 * 2, 120 + 30 + 5 + 125 * 2));

  run = RunCli({"frame", dir / "clip.mp4", "--time", "2", "-o", dir / "frame.tif"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "frame.tif"), QSize(320, 240));

  run = RunCli({"image", dir / "frame.tif", "-o", dir / "small.jpg", "--size", "80max", "--quality", "50"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "small.jpg"), QSize(80, 60));
  // The picture being read is never the one written.
  run = RunCli({"image", dir / "small.jpg", "-o", dir / "small.jpg", "--size", "50%"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "small.jpg"), QSize(80, 60));
  EXPECT_EQ(SizeOf(dir / "small(1).jpg"), QSize(40, 30));

  EXPECT_EQ(RunCli({"frame", dir / "clip.mp4", "-o", dir / "x.png"}).exitCode, 2);
  EXPECT_EQ(RunCli({"thumbs", dir / "missing.mp4", "-o", dir / "x.png"}).exitCode, 1);
  ASSERT_TRUE(WriteFileAtomic(dir / "junk.png", "not a picture"));
  EXPECT_EQ(RunCli({"image", dir / "junk.png", "-o", dir / "x.png", "--size", "10max"}).exitCode, 1);
  EXPECT_FALSE(FileExists(dir / "x.png"));
}

TEST_F(ZelCliPictures, PictureJobsOfATaskList) {
  test::MakeClip(dir / "clip.mp4", 6, "320x240");
  QImage photo(3000, 1500, QImage::Format_RGB32);
  photo.fill(Qt::darkGreen);
  ASSERT_TRUE(photo.save(QString::fromStdString(dir / "photo.png")));

  // A picture with a picture format, and the JPEG with its THM thumbnail.
  test::RunResult run = RunCli({"convert", "--format", "PNG", "--set", "ImageSize=50%", "--output", dir / "png",
                                dir / "photo.png"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "png/photo.png"), QSize(1500, 750));
  run = RunCli({"convert", "--format", "JPEG+THM", "--output", dir / "jt", dir / "photo.png"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "jt/photo.JPG"), QSize(2048, 1024));
  EXPECT_EQ(SizeOf(dir / "jt/.MISC/photo.THM"), QSize(150, 150));

  // A video with a picture format gives the frame at the start point.
  run = RunCli({"convert", "--format", "JPG", "--output", dir / "frame", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "frame/clip.jpg"), QSize(320, 240));

  // A conversion with the sheet after it, and the PSP's ".thm".
  run = RunCli({"convert", "--format", "MP4", "--set", "ImageGrabber=是", "--set", "ImageGrabberThumbMatrix=2x1",
                "--output", dir / "mp4", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "mp4/clip.MP4.Thumb.jpg").width(), 8 + (320 + 8) * 2);
  EXPECT_EQ(ReadLines(run.output).back(), "output: " + dir / "mp4/clip.MP4");  // the sheet is no output
  run = RunCli({"convert", "--format", "PSP", "--output", dir / "psp", dir / "clip.mp4"});
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(SizeOf(dir / "psp/clip.thm"), QSize(160, 120));
  EXPECT_EQ(ReadLines(run.output).back(), "output: " + dir / "psp/clip.MP4");
}

}  // namespace
}  // namespace zel
