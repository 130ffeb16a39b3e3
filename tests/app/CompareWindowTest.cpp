// The compare view: where its three layouts put the two pictures, what each
// side says of its file, and the window's buttons over two real clips on
// headless mpv.
#include "app/frmCompare.h"

#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "player/PlayerPair.h"
#include "player/ctlDSPlayer.h"
#include "player/PlayerWait.h"
#include "support/TestSupport.h"

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QApplication>
#include <QFileInfo>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>

namespace zel {
namespace {

using test::WaitFor;

TEST(PlaceCompareTest, EachLayoutGivesBothPicturesOneSize) {
  const QRect area(10, 20, 800, 500);
  constexpr int bar = 28;
  struct Case {
    CompareLayout layout;
    double split;
    QRect first, clip, second, line;
  } cases[] = {
      {CompareLayout::SideBySide, 0.5, {10, 20, 398, 500}, {412, 20, 398, 472}, {0, 0, 398, 472}, {}},
      {CompareLayout::Stacked, 0.5, {10, 20, 800, 262}, {10, 286, 800, 234}, {0, 0, 800, 234}, {}},
      // The second lies under the first's picture, cut at the line.
      {CompareLayout::Split, 0.25, {10, 20, 800, 500}, {210, 20, 600, 472}, {-200, 0, 800, 472}, {206, 20, 8, 472}},
      // The line stays where it can still be taken.
      {CompareLayout::Split, 1.0, {10, 20, 800, 500}, {794, 20, 16, 472}, {-784, 0, 800, 472}, {790, 20, 8, 472}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.layout));
    const CompareGeometry at = PlaceCompare(c.layout, area, bar, c.split);
    EXPECT_EQ(at.first, c.first);
    EXPECT_EQ(at.clip, c.clip);
    EXPECT_EQ(at.second, c.second);
    EXPECT_EQ(at.line, c.line);
    // Both picture areas (the first's without its bar) have one size.
    if (c.layout != CompareLayout::Split) {
      EXPECT_EQ(at.first.height() - bar, at.second.height());
    }
    EXPECT_EQ(at.first.width(), c.layout == CompareLayout::Split ? at.second.width() : at.clip.width());
  }
}

TEST(CompareFactsTextTest, SaysWhatIsKnown) {
  CompareFacts full{"源 a.mp4", 1280, 720, 25, 10, "h264", "aac", 2621440};
  EXPECT_EQ(S(CompareFactsText(full)), "源 a.mp4 · 1280×720 · 25 fps · h264 · aac · 2097 kb/s · 2.5 MB");
  CompareFacts song{"b.mp3", 0, 0, 0, 0, "", "mp3", 1048576};
  EXPECT_EQ(S(CompareFactsText(song)), "b.mp3 · mp3 · 1.0 MB");
  CompareFacts odd{"c.mkv", 320, 240, 29.97, 0, "mjpeg", "", 0};
  EXPECT_EQ(S(CompareFactsText(odd)), "c.mkv · 320×240 · 29.97 fps · mjpeg");
}

TEST(CompareArgumentsTest, TakesExactlyTwoFiles) {
  const auto both = CompareArguments({"--compare", "/a/源.mp4", "b.mkv"});
  ASSERT_TRUE(both.has_value());
  EXPECT_EQ(both->first, "/a/源.mp4");
  EXPECT_TRUE(both->second.endsWith("/b.mkv"));
  EXPECT_TRUE(QFileInfo(both->second).isAbsolute());
  for (const QStringList& other : {QStringList{"--compare", "a"}, QStringList{"--compare", "a", "b", "c"},
                                   QStringList{"a", "b", "c"}, QStringList{}}) {
    EXPECT_FALSE(CompareArguments(other).has_value()) << S(other.join(' '));
  }
}

class CompareWindowTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new test::TempDir;
    source_ = *dir_ / "源 clip.mp4";
    test::MakeClip(source_, 5);
    output_ = *dir_ / "out.mkv";
    test::MakeEncodedCopy(source_, output_, "80:60");
  }
  static void TearDownTestSuite() { delete dir_; }

  void SetUp() override {
    DeleteAllSettings();
    window = std::make_unique<frmCompare>(nullptr, MpvOutput::Headless);
    window->messenger = [this](const QString& text) { messages.push_back(S(text)); };
    window->resize(900, 500);
    window->show();
    ASSERT_TRUE(window->Open(Q(source_), Q(output_)));
  }

  static inline test::TempDir* dir_ = nullptr;
  static inline std::string source_, output_;
  std::unique_ptr<frmCompare> window;
  std::vector<std::string> messages;
};

TEST_F(CompareWindowTest, LayoutButtonsPlaceThePicturesAndTheStoreKeepsTheChoice) {
  ctlDSPlayer& first = window->FirstPlayer();
  QWidget& clip = window->SecondClip();
  EXPECT_EQ(window->Layout(), CompareLayout::SideBySide);
  EXPECT_GT(clip.geometry().left(), first.geometry().right());
  EXPECT_FALSE(window->SplitLine().isVisible());

  window->LayoutButton(CompareLayout::Stacked).ClickIt();
  EXPECT_GT(clip.geometry().top(), first.geometry().bottom());
  EXPECT_EQ(ReadSetting("CompareWindowVerticalLayout"), StrYes);
  EXPECT_TRUE(S(window->FactsLabel(0).Caption()).starts_with("上：源 clip.mp4 · 160×120 · 25 fps · mpeg4 · aac"))
      << S(window->FactsLabel(0).Caption());
  EXPECT_TRUE(S(window->FactsLabel(1).Caption()).starts_with("下：out.mkv · 80×60 · 25 fps · mjpeg · mp3"));

  // The split: the line is dragged and moved by keys; the second's picture
  // keeps the first's place whatever the cut.
  window->LayoutButton(CompareLayout::Split).ClickIt();
  EXPECT_TRUE(window->SplitLine().isVisible());
  EXPECT_EQ(ReadSetting("CompareWindowVerticalLayout"), StrYes);  // the split is no stored layout
  window->SetSplit(0.3);
  const int at = window->SplitLine().geometry().center().x();
  QTest::keyClick(&window->SplitLine(), Qt::Key_Right);
  EXPECT_GT(window->SplitLine().geometry().center().x(), at);
  EXPECT_EQ(clip.geometry().left() + window->SecondPlayer().geometry().left(), first.geometry().left());
  EXPECT_EQ(window->SecondPlayer().width(), first.width());
  // A screen reader sees the line as a slider in percent, and moves it.
  QAccessibleInterface* line = QAccessible::queryAccessibleInterface(&window->SplitLine());
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->role(), QAccessible::Slider);
  EXPECT_EQ(line->text(QAccessible::Name), Q(StrCompareSplit));
  EXPECT_EQ(line->text(QAccessible::Value), "32%");
  line->valueInterface()->setCurrentValue(60);
  EXPECT_DOUBLE_EQ(window->Split(), 0.6);

  window->LayoutButton(CompareLayout::SideBySide).ClickIt();
  EXPECT_EQ(ReadSetting("CompareWindowVerticalLayout"), StrNo);
  frmCompare again(nullptr, MpvOutput::Headless);
  EXPECT_EQ(again.Layout(), CompareLayout::SideBySide);
}

TEST_F(CompareWindowTest, PlaySwapAndARefusedFile) {
  PlayerPair& pair = window->Pair();
  pair.Seek(2.0);
  window->PlayButton().ClickIt();
  EXPECT_FALSE(pair.Paused());
  QTest::qWait(300);
  window->PlayButton().ClickIt();
  ASSERT_TRUE(pair.Paused());
  ASSERT_TRUE(WaitFor([&] { return std::abs(pair.Drift()) <= pair.FrameSeconds(); }));
  const double at = window->FirstPlayer().Position();

  // The files change places, at the same frame.
  window->SwapButton().ClickIt();
  EXPECT_EQ(S(window->FirstPlayer().SourceFileName()), output_);
  EXPECT_EQ(S(window->SecondPlayer().SourceFileName()), source_);
  EXPECT_TRUE(S(window->FactsLabel(0).Caption()).starts_with("左：out.mkv"));
  EXPECT_TRUE(pair.Paused());
  ASSERT_TRUE(WaitFor([&] {
    return std::abs(window->FirstPlayer().Position() - at) <= pair.FrameSeconds() &&
           std::abs(pair.Drift()) <= pair.FrameSeconds();
  }));

  EXPECT_FALSE(window->Open(Q(source_), Q(*dir_ / "missing.mkv")));
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_TRUE(messages[0].starts_with(StrCompareOpenFailed));
  EXPECT_EQ(window->FactsLabel(0).Caption(), QString());
}

}  // namespace
}  // namespace zel
