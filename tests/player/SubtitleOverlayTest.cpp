// The player's own subtitle: which file beside the medium wins, the line at a
// position, the line over the picture; the facts panel's rows.
#include "player/SubtitleOverlay.h"

#include "support/TestSupport.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <fstream>

namespace zel {
namespace {

void WriteText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

const std::string kSrt =
    "1\r\n00:00:01,000 --> 00:00:02,500\r\nfirst\r\n\r\n"
    "2\r\n00:00:04,000 --> 00:00:05,000\r\nsecond\r\nline\r\n\r\n";

TEST(SubtitleOverlayTest, CandidatesInGroupOrderAndTheFirstThatLoadsWins) {
  struct Case {
    std::vector<std::string> present;  // "" content marks a file that does not load
    std::string media, expected;
  };
  for (const Case& c : {Case{{"a.srt", "a.chs.srt"}, "a.mkv", "a.srt"},
                        Case{{"a.cn.ass", "a.chs.srt"}, "a.mkv", "a.chs.srt"},
                        Case{{"a.eng.srt", "a.cht.lrc"}, "a.mkv", "a.cht.lrc"},
                        Case{{"a.srt!", "a.gb.srt"}, "a.mkv", "a.gb.srt"},  // a.srt exists, fails
                        Case{{"a.dat.srt", "a.srt"}, "a.dat.mpg", "a.dat.srt"},
                        Case{{"b.srt"}, "a.mkv", ""}}) {
    test::TempDir d;
    for (std::string name : c.present) {
      const bool broken = name.back() == '!';
      if (broken) name.pop_back();
      const bool lrc = name.ends_with(".lrc");
      WriteText(d / name, broken ? "" : lrc ? "[00:01.00]first\r\n[00:02.50]\r\n" : kSrt);
    }
    SubtitleOverlay overlay;
    EXPECT_EQ(overlay.LoadSubtitleToArray(d / c.media), !c.expected.empty()) << c.media;
    EXPECT_EQ(overlay.SubtitleFile(), c.expected.empty() ? "" : d / c.expected);
  }
}

TEST(SubtitleOverlayTest, LineAtPositionWithOffset) {
  test::TempDir dir;
  WriteText(dir / "a.srt", kSrt);
  SubtitleOverlay overlay;
  ASSERT_TRUE(overlay.LoadSubtitleFormFile(dir / "a.srt"));
  struct Case {
    double offset, position;
    std::string line;
  };
  for (const Case& c : {Case{0, 0.5, ""}, Case{0, 1.0, "first"}, Case{0, 2.49, "first"}, Case{0, 2.5, ""},
                        Case{0, 4.5, "second\nline"}, Case{-2, 2.5, ""}, Case{-2, 3.0, "first"},
                        Case{-2, 6.5, "second\nline"}, Case{1.5, 3.0, "second\nline"}}) {
    overlay.SetSubtitleTimeOffset(c.offset);
    EXPECT_EQ(overlay.LineAt(c.position), c.line) << c.offset << " " << c.position;
  }
  overlay.SetSubtitleTimeOffset(0);
  EXPECT_TRUE(overlay.Update(1.5));
  EXPECT_FALSE(overlay.Update(2.0));
  EXPECT_EQ(overlay.CurrentLine(), "first");

  // Drawn light on dark near the bottom centre of the video rectangle.
  QImage frame(320, 240, QImage::Format_RGB32);
  frame.fill(Qt::black);
  QPainter painter(&frame);
  overlay.Paint(painter, QRect(0, 0, 320, 240), QFont("Trebuchet MS", 20));
  painter.end();
  int light = 0;
  for (int y = 0; y < 240; ++y) {
    for (int x = 0; x < 320; ++x) {
      if (qGray(frame.pixel(x, y)) > 200) {
        ++light;
        EXPECT_GT(y, 160) << "text stays low";
        EXPECT_TRUE(x > 100 && x < 220) << "text stays centred";
      }
    }
  }
  EXPECT_GT(light, 20);
  overlay.Clear();
  EXPECT_FALSE(overlay.SubtitleLoaded());
  EXPECT_EQ(overlay.LineAt(1.5), "");
}

TEST(SubtitleOverlayTest, MediaInfoRows) {
  using Rows = std::vector<std::pair<std::string, std::string>>;
  struct Case {
    MediaFacts facts;
    Rows rows;
  };
  for (const Case& c : {
           Case{{62.5, 120, 10, 15.25, 640, 360, 29.97, ""},
                {{"Current Position:", "00:01:02.500"},
                 {"Duration:", "00:02:00.000"},
                 {"Time Point:", "1, 00:00:10.000"},
                 {"", "2, 00:00:15.250"},
                 {"", "[-] 00:00:05.250"},
                 {"Media Info:", "640x360 / 29.97fps"}}},
           Case{{1, 30, 10, 40, 0, 0, 0, "extra"},
                {{"Current Position:", "00:00:01.000"},
                 {"Duration:", "00:00:30.000"},
                 {"Time Point:", "Out of range"},
                 {"", "extra"}}},
       }) {
    EXPECT_EQ(MediaInfoRows(c.facts), c.rows);
  }
}

}  // namespace
}  // namespace zel
