#include "base/TextHelpers.h"
#include "jobs/ListboxModel.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"
#include "player/PlayerMarks.h"
#include "player/PlayerStatusBar.h"

#include <QAccessibleInterface>
#include <QAccessibleValueInterface>
#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zel {
namespace {

using Lines = std::vector<std::string>;

std::string Pair(const MarkPair& m) { return FormatNumber(m.start) + "-" + FormatNumber(m.end); }

TEST(PlayerMarks, DragStepsNormaliseSwapAndSeek) {
  struct Case {
    MarkPair marks;
    Grab grab;
    double time;
    bool ctrl;
    std::string after;
    double seek;  // -1: none
  };
  const Grab start{GrabTarget::Start}, end{GrabTarget::End};
  const Case cases[] = {
      {{0, 0}, start, 20, false, "20-100", 20},   // an unset end becomes the duration
      {{10, 50}, end, 150, false, "10-100", 100},  // past the duration
      {{10, 50}, start, 60, false, "50-60", 50},   // across the end: the pair turns over
      {{50, 60}, start, 70, false, "60-70", 60},   // ... and the same grab now moves the second mark
      {{50, 60}, end, 30, false, "30-50", 50},
      {{20, 40}, {GrabTarget::Band, 5, 20}, 35, true, "30-50", -1},  // Ctrl: the band moves, the picture stays
      {{20, 40}, {GrabTarget::Band, 5, 20}, 3, false, "0-18", 0},    // a start below 0 is held at 0
      {{20, 40}, {GrabTarget::Band, 5, 20}, 95, false, "90-100", 90},  // a band pushed past the end shrinks
      {{20, 40}, start, 25, true, "25-40", -1},
      {{20, 40}, {GrabTarget::Position}, 42, false, "20-40", 42},
      {{20, 40}, {GrabTarget::None}, 42, false, "20-40", -1},
  };
  for (const Case& c : cases) {
    MarkPair m = c.marks;
    const DragStepResult r = DragMarks(m, c.grab, c.time, c.ctrl, 100);
    EXPECT_EQ(Pair(m), c.after) << Pair(c.marks) << " to " << c.time;
    EXPECT_EQ(r.seek.value_or(-1), c.seek) << Pair(c.marks) << " to " << c.time;
  }
}

TEST(PlayerMarks, PointerGrabsTheEndFirstThenTheStartThenTheBand) {
  // 400 pixels for 100 s: the marks at 25 s and 50 s stand at x 100 and 200;
  // a 28-pixel bar grips in its lowest 17 rows (11..27), the band in rows 14..23.
  struct Case {
    int x, y;
    MarkPair marks;
    bool tagEnabled;
    int modeStyle;
    GrabTarget target;
  };
  const MarkPair both{25, 50};
  const Case cases[] = {
      {203, 20, both, true, 3, GrabTarget::End},        {96, 20, both, true, 3, GrabTarget::Start},
      {95, 20, both, true, 3, GrabTarget::Position},    {150, 18, both, true, 3, GrabTarget::Band},
      {150, 12, both, true, 3, GrabTarget::Position},   {150, 5, both, true, 3, GrabTarget::Position},
      {200, 20, both, false, 3, GrabTarget::Position},  {200, 20, both, true, 2, GrabTarget::Position},
      {200, 28, both, true, 3, GrabTarget::None},       {102, 20, {25, 26}, true, 3, GrabTarget::End},
      {300, 18, {25, 0}, true, 3, GrabTarget::Band},  // a start alone bands to the end of the file
  };
  for (const Case& c : cases) {
    const Grab g = HitTest({c.x, c.y, 400, 28, c.modeStyle, c.tagEnabled, 100, c.marks});
    EXPECT_EQ(g.target, c.target) << c.x << "," << c.y;
  }
  const Grab band = HitTest({150, 18, 400, 28, 3, true, 100, both});
  EXPECT_EQ(band.offset, 12.5);
  EXPECT_EQ(band.band, 25);
}

TEST(PlayerMarks, PointerTimesHeightsAndFaces) {
  EXPECT_EQ(TimeAtX(-5, 400, 100), 0);
  EXPECT_EQ(TimeAtX(500, 400, 100), 99.75);  // held at the last pixel
  EXPECT_EQ(TimeAtX(101, 400, 100), 25.25);
  EXPECT_EQ(TimeAtX(101, 400, 100, true), 25);  // Shift: whole seconds
  EXPECT_EQ(TimeAtX(102, 400, 100, true), 26);
  EXPECT_EQ(VolumeAtX(299, 400), 75);
  EXPECT_EQ(SpeedAtX(300, 400), 1.5);

  struct Height {
    int modeStyle, height, result;
  };
  for (const Height& c : {Height{0, 40, 0}, Height{1, 0, 17}, Height{2, 0, 28}, Height{3, 0, 28}, Height{3, 22, 22}})
    EXPECT_EQ(StatusBarHeightFor(c.modeStyle, c.height), c.result) << c.modeStyle << " " << c.height;
  EXPECT_EQ(FillHeightFor(18), 17);
  EXPECT_EQ(FillHeightFor(17), 3);

  struct Next {
    int face;
    bool loaded, supported;
    int next;
  };
  for (const Next& c : {Next{0, false, true, 2}, Next{0, true, false, 2}, Next{0, true, true, 1}, Next{1, true, true, 2},
                        Next{2, false, false, 3}, Next{3, false, false, 0}, Next{4, true, true, 0}})
    EXPECT_EQ(NextFace(c.face, c.loaded, c.supported), c.next) << c.face;
}

TEST(PlayerMarks, TemporaryFacesGiveWayAfterTheRecoveryTime) {
  BarFaces faces;
  faces.SetCurrent(2);
  int ticks = 1;
  while (!faces.Tick(300)) ++ticks;
  EXPECT_EQ(ticks, 17);  // 17 x 300 ms is the first count at or past 5 s
  EXPECT_EQ(faces.Current(), 0);

  faces.SetAutoRecovery(0);
  faces.SetAutoRecovery(-1);  // refused
  EXPECT_EQ(faces.AutoRecovery(), 0);
  faces.SetCurrent(4);
  EXPECT_TRUE(faces.Tick(30));  // back on the next tick

  faces.SetAutoRecovery(5);
  faces.SetCurrent(1);  // the subtitle face stays
  for (int i = 0; i < 40; ++i) EXPECT_FALSE(faces.Tick(300));
  EXPECT_EQ(faces.Counter(), 0);

  faces.SetDefault(3);
  faces.SetCurrent(3);  // the default itself is no temporary face
  EXPECT_FALSE(faces.Tick(6000));
  faces.SetCurrent(2);
  faces.Tick(4000);
  faces.SetCurrent(2);  // a new write starts the time anew
  EXPECT_FALSE(faces.Tick(4000));
}

TEST(PlayerMarks, TimeTexts) {
  struct Case {
    double position, duration;
    MarkPair marks;
    std::string fixed, text;
  };
  const Case cases[] = {
      {1.5, 60, {0, 0}, "", "00:00:01.500 / 00:01:00.000"},
      {1.5, 60, {10, 0}, "", "00:00:10.000 / 00:01:00.000 < 00:00:50.000 >"},
      {1.5, 60, {10, 20.25}, "", "00:00:10.000 / 00:00:20.250 < 00:00:10.250 >"},
      {1.5, 60, {0, 20}, "", "00:00:00.000 / 00:00:20.000 < 00:00:20.000 >"},
      {1.5, 60, {70, 0}, "", "00:00:01.500 < Out of range >"},
      {1.5, 60, {20, 10}, "", "00:00:01.500 < Out of range >"},
      {1.5, 60, {10, 60.0004}, "", "00:00:10.000 / 00:01:00.000 < 00:00:50.000 >"},  // equal to the millisecond
      {3725.0015, 7200, {0, 0}, "", "01:02:05.002 / 02:00:00.000"},
      {1.5, 60, {70, 0}, "直播", "直播"},
  };
  for (const Case& c : cases) EXPECT_EQ(PositionText(c.position, c.duration, c.marks, c.fixed), c.text) << c.text;
  EXPECT_EQ(VolumeText(74.6), "Volume 75%");
  EXPECT_EQ(SpeedText(1.5), "Speed x1.5");
  EXPECT_EQ(SpeedText(2), "Speed x2.0");
}

TEST(PlayerMarks, SplitFieldsFollowTheMarksWhilePlaying) {
  const SplitFieldTexts before{"a", "b"};
  struct Case {
    int status;
    std::string_view mode;
    std::string start, end;
  };
  const Case cases[] = {
      {1, StrSplitPointToPoint, "00:00:10,500", "00:01:00,000"},
      {2, StrSplitHeadTail, "00:00:10,500", "00:00:30,000"},  // the length cut off the tail
      {1, "", "00:00:10,500", "b"},
      {0, StrSplitPointToPoint, "a", "b"},
      {3, StrSplitPointToPoint, "a", "b"},
  };
  for (const Case& c : cases) {
    const SplitFieldTexts after = SplitFieldsFromMarks(before, {10.5, 60}, 90, c.status, c.mode);
    EXPECT_EQ(after.start + " " + after.end, c.start + " " + c.end) << c.status << " " << c.mode;
  }
}

// ---- The drawn bar ----

// The bar's signals as one line each, in the order raised.
struct BarLog {
  explicit BarLog(PlayerStatusBar& b) {
    auto num = [](double v) { return FormatNumber(v); };
    QObject::connect(&b, &PlayerStatusBar::MouseDown, [this](int bt, int s, int, int) { Add("Down", bt, s); });
    QObject::connect(&b, &PlayerStatusBar::MouseUp, [this](int bt, int s, int, int) { Add("Up", bt, s); });
    QObject::connect(&b, &PlayerStatusBar::PlayTimerWanted, [this](bool on) { Add("Timer", on); });
    QObject::connect(&b, &PlayerStatusBar::SeekRequested, [this, num](double t) { lines.push_back("Seek " + num(t)); });
    QObject::connect(&b, &PlayerStatusBar::MarksDragged, [this, num](double a, double e) {
      lines.push_back("Marks " + num(a) + "-" + num(e));
    });
    QObject::connect(&b, &PlayerStatusBar::PlaybackUpdateWanted, [this] { lines.push_back("PlaybackUpdate"); });
    QObject::connect(&b, &PlayerStatusBar::TagsChanged, [this] { lines.push_back("TagsChanged"); });
    QObject::connect(&b, &PlayerStatusBar::VolumeRequested, [this, num](double v) { lines.push_back("Volume " + num(v)); });
    QObject::connect(&b, &PlayerStatusBar::SpeedRequested, [this, num](double v) { lines.push_back("Speed " + num(v)); });
    QObject::connect(&b, &PlayerStatusBar::FaceChanged, [this](int f) { Add("Face", f); });
  }
  void Add(const char* name, int a, int b = -1) {
    lines.push_back(std::string(name) + " " + std::to_string(a) + (b >= 0 ? " " + std::to_string(b) : ""));
  }
  Lines Take() { return std::exchange(lines, {}); }
  Lines lines;
};

// A 400 x 28 bar over 100 s, playing at 10 s, marks grabbable.
std::unique_ptr<PlayerStatusBar> MakeBar() {
  auto bar = std::make_unique<PlayerStatusBar>();
  bar->SetModeStyle(3);
  bar->SetStatusBarHeight(0);
  bar->resize(400, bar->StatusBarHeight());
  bar->SetSetTagEnabled(true);
  bar->SetPlayback(10, 100, 1);
  bar->show();
  return bar;
}

// A move with the left button held; QTest's moves carry no modifier keys.
void DragTo(QWidget* w, QPoint p, Qt::KeyboardModifiers mods = {}) {
  QMouseEvent e(QEvent::MouseMove, p, w->mapToGlobal(p), Qt::NoButton, Qt::LeftButton, mods);
  QApplication::sendEvent(w, &e);
}

TEST(PlayerStatusBar, DraggingAndClickingInTheBar) {
  struct Case {
    std::string name;
    MarkPair marks;
    QPoint press, move;
    Qt::KeyboardModifiers mods;
    Lines events;
    std::string after;
  };
  const Case cases[] = {
      {"start mark across the end", {25, 50}, {100, 20}, {260, 20}, {},
       {"Down 1 0", "Timer 0", "Marks 50-65", "Seek 50", "PlaybackUpdate", "Up 1 0", "Timer 1", "TagsChanged"},
       "50-65"},
      {"band with Ctrl", {25, 50}, {150, 18}, {250, 18}, Qt::ControlModifier,
       {"Down 1 2", "Timer 0", "Marks 50-75", "Up 1 2", "Timer 1", "TagsChanged"}, "50-75"},
      {"position with Shift", {25, 50}, {300, 5}, {101, 5}, Qt::ShiftModifier,
       {"Down 1 1", "Timer 0", "Seek 25", "PlaybackUpdate", "Up 1 1", "Timer 1", "Seek 25", "PlaybackUpdate"},
       "25-50"},
  };
  for (const Case& c : cases) {
    auto bar = MakeBar();
    bar->SetSetTagStart(c.marks.start);
    bar->SetSetTagEnd(c.marks.end);
    BarLog log(*bar);
    QTest::mousePress(bar.get(), Qt::LeftButton, c.mods, c.press);
    DragTo(bar.get(), c.move, c.mods);
    QTest::mouseRelease(bar.get(), Qt::LeftButton, c.mods, c.move);
    EXPECT_EQ(log.Take(), c.events) << c.name;
    EXPECT_EQ(Pair(bar->Marks()), c.after) << c.name;
    EXPECT_EQ(bar->Target(), GrabTarget::None) << c.name;
  }

  auto bar = MakeBar();
  BarLog log(*bar);
  bar->SetAllowChangePosition(false);
  QTest::mousePress(bar.get(), Qt::LeftButton, {}, {200, 5});
  DragTo(bar.get(), {300, 5});
  QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, {300, 5});
  EXPECT_EQ(log.Take(), (Lines{"Down 1 0", "Up 1 0", "Timer 1"}));
}

TEST(PlayerStatusBar, RightClicksCycleTheFacesAndLeftClicksSetVolumeAndSpeed) {
  auto bar = MakeBar();
  BarLog log(*bar);
  const auto right = [&] { QTest::mouseClick(bar.get(), Qt::RightButton, {}, {300, 20}); };
  const auto left = [&] { QTest::mouseClick(bar.get(), Qt::LeftButton, {}, {300, 20}); };
  right();
  EXPECT_EQ(bar->StatusBarCurrentMode(), 2);  // no subtitle: the subtitle face is skipped
  left();
  right();
  left();
  right();
  EXPECT_EQ(log.Take(), (Lines{"Down 2 0", "Up 2 0", "Timer 1", "Face 2", "Down 1 0", "Up 1 0", "Timer 1",
                               "Volume 75", "Down 2 0", "Up 2 0", "Timer 1", "Face 3", "Down 1 0", "Up 1 0",
                               "Timer 1", "Speed 1.5", "Down 2 0", "Up 2 0", "Timer 1", "Face 0"}));
  bar->SetSubtitleLoaded(true);
  bar->SetStatusBarSubtitleSupported(true);
  right();
  EXPECT_EQ(bar->StatusBarCurrentMode(), 1);
  bar->SetInfoBarString("通知");
  EXPECT_EQ(bar->StatusBarCurrentMode(), 4);
  right();
  EXPECT_EQ(bar->StatusBarCurrentMode(), 0);
  bar->SetAllowChangeStatusBarMode(false);
  right();
  EXPECT_EQ(bar->StatusBarCurrentMode(), 0);

  bar->SetInfoBarString("通知");
  bar->SetStatusBarAutoRecovery(0);
  log.Take();
  EXPECT_TRUE(bar->Tick(300));
  EXPECT_EQ(bar->InfoBarString(), "");
  EXPECT_EQ(log.Take(), Lines{"Face 0"});
}

TEST(PlayerStatusBar, WrittenMarksAndHeightsAndTheTaskRow) {
  auto bar = MakeBar();
  BarLog log(*bar);
  bar->SetSetTagStart(-3);
  EXPECT_EQ(bar->SetTagStart(), 0);
  bar->SetPlayback(0, 0, 0);
  bar->SetSetTagEnd(12);
  EXPECT_EQ(log.Take(), (Lines{"PlaybackUpdate", "TagsChanged", "TagsChanged"}));

  bar->SetModeStyle(1);
  bar->SetStatusBarHeight(0);
  EXPECT_EQ(bar->StatusBarHeight(), 17);
  bar->SetModeStyle(3);
  EXPECT_EQ(bar->height(), 17);  // a later large bar keeps the height
  bar->SetModeStyle(0);
  EXPECT_EQ(bar->height(), 0);

  // The host's wiring: TagsChanged fills the split fields and the previewed task's record.
  ListboxModel tasks;
  tasks.AddItem("k1", "clip", "", "|||", "/media/clip.mkv");
  tasks.SetListIndex(0);
  auto wired = MakeBar();
  SplitFieldTexts fields{"00:00:00,000", "00:00:00,000"};
  QObject::connect(wired.get(), &PlayerStatusBar::TagsChanged, [&] {
    fields = SplitFieldsFromMarks(fields, wired->Marks(), wired->Duration(), wired->Status(), StrSplitPointToPoint);
    WriteCutToSelectedTask(tasks, "/media/clip.mkv", fields.start, fields.end, "1");
  });
  wired->SetSetTagEnd(50);
  QTest::mousePress(wired.get(), Qt::LeftButton, {}, {200, 20});
  DragTo(wired.get(), {80, 20});
  QTest::mouseRelease(wired.get(), Qt::LeftButton, {}, {80, 20});
  EXPECT_EQ(tasks.ListOther(0), "00:00:00,000|00:00:20,000|1|");
}

TEST(PlayerStatusBar, DrawsFillMarksBandAndRules) {
  auto bar = MakeBar();
  bar->SetModeStyle(2);  // no time text over the pixels read
  bar->SetBarColor(0xFFFFFF);
  bar->SetPositionColor(0x00FF00);
  bar->SetAlertColor(0x0000FF);
  bar->SetPlayback(80, 100, 1);
  bar->SetSetTagStart(25);
  bar->SetSetTagEnd(50);
  QImage image = bar->grab().toImage();
  const auto at = [&](int x, int y) { return image.pixelColor(x, y).name().toStdString(); };
  EXPECT_EQ(at(99, 5), "#ff0000");   // the start mark across the whole bar
  EXPECT_EQ(at(199, 5), "#ff0000");  // the end mark
  EXPECT_EQ(at(150, 5), "#ffffff");  // above the fill: the bar
  EXPECT_EQ(at(300, 20), "#00ff00");  // fill up to 80 s
  EXPECT_EQ(at(350, 20), "#ffffff");
  EXPECT_NE(at(150, 20), "#00ff00");  // the band tints the fill between the marks
  EXPECT_NE(at(150, 20), "#ff0000");

  bar->SetSetTagPart(4);  // ruled in four: the marks give way to the rules
  image = bar->grab().toImage();
  EXPECT_EQ(at(100, 20), "#ff0000");
  EXPECT_EQ(at(99, 5), "#ffffff");
  EXPECT_EQ(at(150, 20), "#00ff00");

  bar->SetStatusBarCurrentMode(2);
  bar->SetAudioVolume(25);
  image = bar->grab().toImage();
  EXPECT_EQ(at(90, 27), "#00ff00");
  EXPECT_EQ(at(110, 27), "#ffffff");
}

TEST(PlayerStatusBar, AssistiveTechnologySeesTheTimeAndSetsMarks) {
  static const bool installed = [] {
    QAccessible::installFactory([](const QString&, QObject* o) -> QAccessibleInterface* {
      auto* bar = qobject_cast<PlayerStatusBar*>(o);
      return bar != nullptr ? AccessibleFor(bar) : nullptr;
    });
    return true;
  }();
  ASSERT_TRUE(installed);
  auto bar = MakeBar();
  BarLog log(*bar);
  QAccessibleInterface* a = QAccessible::queryAccessibleInterface(bar.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->role(), QAccessible::Slider);
  EXPECT_EQ(a->text(QAccessible::Name), "00:00:10.000 / 00:01:40.000");
  EXPECT_EQ(a->valueInterface()->currentValue().toDouble(), 10);
  a->actionInterface()->doAction("设置开始点");
  EXPECT_EQ(bar->SetTagStart(), 10);
  EXPECT_EQ(a->text(QAccessible::Description), "00:00:10.000 / 00:01:40.000 < 00:01:30.000 >");
  a->valueInterface()->setCurrentValue(30.0);
  EXPECT_EQ(log.Take(), (Lines{"PlaybackUpdate", "TagsChanged", "Seek 30", "PlaybackUpdate"}));
}

}  // namespace
}  // namespace zel
