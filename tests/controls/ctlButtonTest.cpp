#include "controls/ctlButton.h"

#include "controls/DialogChooser.h"
#include "support/FakeChooser.h"
#include "controls/Theme.h"
#include "engine/PriorityClass.h"

#include <QAccessible>
#include <QApplication>
#include <QAccessibleInterface>
#include <QComboBox>
#include <QDir>
#include <QEnterEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zel {
namespace {

using test::FakeChooser;

// The button's events by name, in the order they came.
struct Recorder {
  std::vector<std::string> events;
  explicit Recorder(ctlButton& b) {
    auto add = [&](auto signal, const char* name) {
      QObject::connect(&b, signal, &b, [this, name] { events.emplace_back(name); });
    };
    add(&ctlButton::Click, "Click");
    add(&ctlButton::DblClick, "DblClick");
    add(&ctlButton::MouseDown, "MouseDown");
    add(&ctlButton::MouseUp, "MouseUp");
    add(&ctlButton::Change, "Change");
    add(&ctlButton::CaptionChanged, "CaptionChanged");
    add(&ctlButton::ChangeFinished, "ChangeFinished");
    add(&ctlButton::WindowDragEnded, "WindowDragEnded");
    add(&ctlButton::TimerTick, "TimerTick");
    add(&ctlButton::TimerEnd, "TimerEnd");
  }
  std::string Take() {
    std::string all;
    for (const std::string& e : events) all += (all.empty() ? "" : " ") + e;
    events.clear();
    return all;
  }
};

// Where the hover poll finds the pointer, for one test.
struct PointerAt {
  explicit PointerAt(std::function<QPoint()> at) { ctlButton::PointerPosition = std::move(at); }
  ~PointerAt() { ctlButton::PointerPosition = nullptr; }
};

// A small picture file in a scratch folder.
QString WritePicture(const QTemporaryDir& dir, const QColor& color, QSize size = {2, 2}) {
  QImage image(size, QImage::Format_RGB32);
  image.fill(color);
  const QString file = dir.filePath(color.name().mid(1) + ".png");
  image.save(file);
  return file;
}

struct Shown {
  QWidget window;
  ctlButton* button = new ctlButton(&window);
  Shown() {
    window.resize(200, 60);
    window.move(300, 300);
    button->setGeometry(10, 10, 120, 30);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  }
};

TEST(ButtonModes, MouseClickOutcomeByMode) {
  struct Case {
    ButtonMode mode;
    bool enabled;
    bool checkedBefore;
    const char* events;
    bool checkedAfter;
  };
  const Case cases[] = {
      {ButtonMode::Command, true, false, "MouseDown MouseUp Click", false},
      {ButtonMode::Check, true, false, "MouseDown MouseUp Click", true},
      {ButtonMode::Check, true, true, "MouseDown MouseUp Click", false},
      {ButtonMode::Radio, true, false, "MouseDown MouseUp Click", true},
      {ButtonMode::Radio, true, true, "MouseDown MouseUp Click", true},
      {ButtonMode::FlatLabel, true, false, "MouseDown MouseUp Click", false},
      // Disabled: nothing at all, whatever the mode.
      {ButtonMode::Command, false, false, "", false},
      {ButtonMode::Check, false, true, "", true},
      {ButtonMode::FolderField, false, false, "", false},
  };
  for (const Case& c : cases) {
    Shown s;
    FakeChooser chooser;
    s.button->SetChooser(&chooser);
    s.button->SetMode(static_cast<int>(c.mode));
    s.button->SetChecked(c.checkedBefore);
    s.button->SetEnabled(c.enabled);
    Recorder r(*s.button);
    QTest::mouseClick(s.button, Qt::LeftButton, {}, QPoint(20, 15));
    const std::string label = std::to_string(static_cast<int>(c.mode)) + (c.enabled ? "" : " disabled");
    EXPECT_EQ(r.Take(), c.events) << label;
    EXPECT_EQ(s.button->Checked(), c.checkedAfter) << label;
    EXPECT_EQ(chooser.asked, 0) << label;
    EXPECT_EQ(s.button->Status(), static_cast<int>(c.enabled ? ButtonStatus::Released : ButtonStatus::Normal));
    // ClickIt and the space key take the same road as the mouse, without the
    // mouse events.
    s.button->ClickIt();
    QTest::keyClick(s.button, Qt::Key_Space);
    EXPECT_EQ(r.Take(), c.enabled ? "Click Click" : "") << label;
  }
}

TEST(ButtonModes, PressReleaseAndDoubleClick) {
  Shown s;
  s.button->SetMode(static_cast<int>(ButtonMode::Check));
  Recorder r(*s.button);
  // Released outside: no action, back to normal.
  QTest::mousePress(s.button, Qt::LeftButton, {}, QPoint(20, 15));
  EXPECT_EQ(s.button->Status(), static_cast<int>(ButtonStatus::Pressed));
  QTest::mouseRelease(s.button, Qt::LeftButton, {}, QPoint(20, 80));
  EXPECT_EQ(r.Take(), "MouseDown MouseUp");
  EXPECT_FALSE(s.button->Checked());
  EXPECT_EQ(s.button->Status(), static_cast<int>(ButtonStatus::Normal));
  // A double click flips a check button once.
  // As the platform sends it: the second press comes with the double click.
  QTest::mouseClick(s.button, Qt::LeftButton, {}, QPoint(20, 15));
  QTest::mousePress(s.button, Qt::LeftButton, {}, QPoint(20, 15));
  QTest::mouseDClick(s.button, Qt::LeftButton, {}, QPoint(20, 15));
  QTest::mouseRelease(s.button, Qt::LeftButton, {}, QPoint(20, 15));
  EXPECT_EQ(r.Take(), "MouseDown MouseUp Click MouseDown DblClick MouseUp");
  EXPECT_TRUE(s.button->Checked());
  // The right button tells its number and never clicks.
  std::vector<int> downs;
  QObject::connect(s.button, &ctlButton::MouseDown, [&](int button, int shift, int x, int y) {
    downs = {button, shift, x, y};
  });
  QTest::mouseClick(s.button, Qt::RightButton, Qt::ShiftModifier | Qt::ControlModifier, QPoint(7, 9));
  EXPECT_EQ(r.Take(), "MouseDown MouseUp");
  EXPECT_EQ(downs, (std::vector<int>{2, 3, 7, 9}));
}

TEST(ButtonModes, RadioClearsOnlyItsOwnGroupAndModesSetTheirFlags) {
  QWidget group, otherGroup;
  std::vector<ctlButton*> radios;
  for (int i = 0; i < 3; ++i) {
    radios.push_back(new ctlButton(&group));
    radios.back()->SetMode(static_cast<int>(ButtonMode::Radio));
  }
  auto* toggle = new ctlButton(&group);
  toggle->SetMode(static_cast<int>(ButtonMode::Check));
  toggle->SetChecked(true);
  auto* elsewhere = new ctlButton(&otherGroup);
  elsewhere->SetMode(static_cast<int>(ButtonMode::Radio));
  elsewhere->SetChecked(true);
  radios[0]->SetChecked(true);
  radios[1]->ClickIt();
  EXPECT_FALSE(radios[0]->Checked());
  EXPECT_TRUE(radios[1]->Checked());
  EXPECT_FALSE(radios[2]->Checked());
  EXPECT_TRUE(toggle->Checked());
  EXPECT_TRUE(elsewhere->Checked());

  ctlButton b;
  b.SetChecked(true);
  b.SetMode(static_cast<int>(ButtonMode::Check));
  EXPECT_TRUE(b.Checked());
  b.SetMode(static_cast<int>(ButtonMode::Command));
  EXPECT_FALSE(b.Checked());
  for (ButtonMode flat : {ButtonMode::FlatLabel, ButtonMode::FlatField}) {
    b.SetShowCorner(true);
    b.SetMode(static_cast<int>(flat));
    EXPECT_FALSE(b.ShowCorner());
  }
  b.SetMode(99);
  EXPECT_EQ(b.Mode(), static_cast<int>(ButtonMode::FlatField));
}

TEST(ButtonFields, DialogAnswersAndCancels) {
  struct Case {
    ButtonMode mode;
    std::optional<QString> answer;
    bool cancelClear;
    const char* caption;
    const char* events;
  };
  const Case cases[] = {
      {ButtonMode::FolderField, "/tmp/输出", false, "/tmp/输出", "Change CaptionChanged ChangeFinished"},
      {ButtonMode::FolderField, std::nullopt, false, "old", ""},
      {ButtonMode::FolderField, std::nullopt, true, "", "Change CaptionChanged ChangeFinished"},
      {ButtonMode::FileField, "/v/a.mkv", false, "/v/a.mkv", "Change CaptionChanged ChangeFinished"},
      {ButtonMode::FileField, std::nullopt, false, "old", ""},
      {ButtonMode::FileField, std::nullopt, true, "", "Change CaptionChanged ChangeFinished"},
      // The same answer again is still a choice, but the caption did not change.
      {ButtonMode::FileField, "old", false, "old", "Change ChangeFinished"},
      {ButtonMode::FontField, "DejaVu Sans", false, "DejaVu Sans", "Change CaptionChanged ChangeFinished"},
      {ButtonMode::FontField, std::nullopt, false, "old", ""},
      {ButtonMode::FontField, std::nullopt, true, "", "Change CaptionChanged ChangeFinished"},
  };
  for (const Case& c : cases) {
    ctlButton b;
    FakeChooser chooser;
    chooser.file = chooser.folder = c.answer;
    if (c.answer) chooser.font = QFont(*c.answer, 14);
    b.SetChooser(&chooser);
    b.SetMode(static_cast<int>(c.mode));
    b.SetCaption("old");
    b.SetCancelClear(c.cancelClear);
    b.SetFileFilter("Videos|*.mp4;*.mkv|All|*.*");
    Recorder r(b);
    b.ClickIt();
    const std::string label = std::to_string(static_cast<int>(c.mode)) + " " + (c.answer ? c.answer->toStdString() : "cancel");
    EXPECT_EQ(chooser.asked, 1) << label;
    EXPECT_EQ(b.Caption(), c.caption) << label;
    EXPECT_EQ(r.Take(), c.events) << label;
    if (c.mode == ButtonMode::FileField) {
      EXPECT_EQ(chooser.seenFilter, "Videos (*.mp4 *.mkv);;All (*)");
    }
    if (c.mode == ButtonMode::FontField && c.answer) {
      EXPECT_EQ(b.Font().pointSize(), 14);
    }
  }
  // The folder dialog on its own, from a button of another mode.
  ctlButton b;
  FakeChooser chooser;
  chooser.folder = "/srv";
  b.SetChooser(&chooser);
  b.SelectForFolder();
  EXPECT_EQ(b.Caption(), "/srv");
}

TEST(ButtonFields, ComboEntriesAndChoice) {
  Shown s;
  ctlButton& b = *s.button;
  b.SetMode(static_cast<int>(ButtonMode::ComboBox));
  b.SetComboBoxItems("#Percent100A10#");
  EXPECT_EQ(b.ListCount(), 11);
  b.SetListIndex(3);
  EXPECT_EQ(b.Caption(), "30");
  b.SetListIndex(11);
  EXPECT_EQ(b.ListIndex(), -1);
  EXPECT_EQ(b.Caption(), "30");
  b.SetListIndex(3);

  Recorder r(b);
  b.ClickIt();
  auto* combo = b.findChild<QComboBox*>("cmbCombo");
  ASSERT_NE(combo, nullptr);
  EXPECT_TRUE(combo->isVisible());
  ASSERT_EQ(combo->count(), 11);
  EXPECT_EQ(combo->currentIndex(), 3);
  EXPECT_EQ(combo->itemText(10), "100");
  combo->setCurrentIndex(5);
  emit combo->activated(5);
  EXPECT_EQ(r.Take(), "Change CaptionChanged ChangeFinished");
  EXPECT_EQ(b.Caption(), "50");
  EXPECT_EQ(b.ListIndex(), 5);
  EXPECT_FALSE(combo->isVisible());

  b.SetComboBoxItems("甲|乙");
  EXPECT_EQ(b.ListCount(), 2);
  EXPECT_EQ(b.ListIndex(), -1);
  b.SetCaption("乙");
  b.ClickIt();
  EXPECT_EQ(combo->currentIndex(), 1);
}

TEST(ButtonFields, FlatFieldEditsInItsTextBox) {
  struct Case {
    const char* typed;
    Qt::Key key;
    const char* caption;
    const char* events;
  };
  const Case cases[] = {
      {"新的", Qt::Key_Return, "新的", "Change CaptionChanged ChangeFinished"},
      {"新的", Qt::Key_Escape, "旧的", ""},
      {"旧的", Qt::Key_Return, "旧的", ""},
  };
  for (const Case& c : cases) {
    Shown s;
    ctlButton& b = *s.button;
    b.SetMode(static_cast<int>(ButtonMode::FlatField));
    b.SetCaption("旧的");
    Recorder r(b);
    EXPECT_FALSE(b.TextBoxVisible());
    b.ClickIt();
    EXPECT_TRUE(b.TextBoxVisible());
    auto* box = b.findChild<QLineEdit*>("txtText");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text(), "旧的");
    box->setText(c.typed);
    QTest::keyClick(box, c.key);
    EXPECT_FALSE(b.TextBoxVisible()) << c.typed;
    EXPECT_EQ(b.Caption(), c.caption);
    EXPECT_EQ(r.Take(), c.events);
  }
}

TEST(ButtonTexts, TimeMaskHoldsTheCaption) {
  struct Case {
    const char* written;
    const char* held;
  };
  const Case cases[] = {
      {"01:02:03,456", "01:02:03,456"}, {"1:2:3", "01:02:03,000"},   {"1:02:03,5", "01:02:03,500"},
      {"12345", "00:00:12,345"},         {"123456789", "12:34:56,789"}, {"9912345678901", "34:56:78,901"},
      {"7", "07:00:00,000"},             {"abc", ""},                   {"", ""},
      {"1:2:3:4:5", "01:02:03,400"},
  };
  ctlButton b;
  b.SetTextFormat("##:##:##,###");
  for (const Case& c : cases) {
    b.SetCaption(c.written);
    EXPECT_EQ(b.Caption(), c.held) << c.written;
  }
  // A mask given later holds the caption there already.
  ctlButton later;
  later.SetCaption("1:2:3");
  later.SetTextFormat("##:##:##,###");
  EXPECT_EQ(later.Caption(), "01:02:03,000");
}

TEST(ButtonTheme, ThemeColourAndStyle) {
  auto snapshot = [](const ctlButton& b) {
    std::vector<int32_t> all;
    for (int role = 0; role < 4; ++role)
      for (int form = 0; form < 4; ++form) all.push_back(b.Color(ColorRole(role), ColorForm(form)));
    all.insert(all.end(), {b.LightColor(), b.ProgressColor()});
    return all;
  };
  ctlButton b;
  b.SetThemeColor(-1, 0x123456);
  const auto before = snapshot(b);
  b.SetThemeColor(-1, -1);
  b.SetThemeColor(17);
  EXPECT_EQ(snapshot(b), before);

  b.SetThemeColor(13);
  const ButtonColors d = DeriveButtonColors(0x66B5FF);
  EXPECT_EQ(b.BackColor(), 0x66B5FF);
  const std::vector<std::pair<int32_t, int32_t>> derived = {
      {b.BackColorHover(), d.BackColorHover},     {b.BackColorPressed(), d.BackColorPressed},
      {b.LightColor(), d.LightColor},             {b.BorderColorHover(), d.BorderColorHover},
      {b.BorderColorPressed(), d.BorderColorPressed}, {b.FadeColor(), d.FadeColor},
      {b.FadeColorHover(), d.FadeColorHover},     {b.FadeColorPressed(), d.FadeColorPressed},
      {b.FadeColorDisable(), d.FadeColorDisable}, {b.ProgressColor(), d.ProgressColor},
  };
  for (const auto& [got, want] : derived) EXPECT_EQ(got, want);
  std::set<int32_t> randoms;
  for (int i = 0; i < 4; ++i) {
    b.SetThemeColor(16);
    randoms.insert(b.BackColor());
  }
  EXPECT_GT(randoms.size(), 1u);
  // The colour wins over the index.
  b.SetThemeColor(13, 0x010203);
  EXPECT_EQ(b.BackColor(), 0x010203);

  // Styles in sequence on one button: 27 takes the border off and any other
  // style puts it back; the corner once off stays off.
  // The pressed text colour is the button's own (-1) until a style sets it.
  struct Step {
    int style;
    bool border, corner;
    int32_t fore, forePressed, back;
  };
  constexpr int32_t sys = kSystemButtonText;
  const Step steps[] = {
      {27, false, true, sys, -1, 0x010203},       {26, true, true, sys, -1, 0x010203},
      {5, true, true, 0xFFFFFF, 0xFFFFFF, 0x101010}, {7, true, true, sys, sys, 0xFFFFFF},
      {12, true, true, sys, sys, 0xB8C8D8},       {23, true, false, 0xFFFFFF, 0xFFFFFF, 0x202020},
      {99, true, false, sys, sys, 0xD7C5C6},      {18, true, false, sys, sys, 0xD7C5C6},
  };
  for (const Step& s : steps) {
    b.SetStyle(s.style);
    EXPECT_EQ(b.Style(), s.style);
    EXPECT_EQ(b.ShowBorder(), s.border) << s.style;
    EXPECT_EQ(b.ShowCorner(), s.corner) << s.style;
    EXPECT_EQ(b.ForeColor(), s.fore) << s.style;
    EXPECT_EQ(b.ForeColorPressed(), s.forePressed) << s.style;
    EXPECT_EQ(b.BackColor(), s.back) << s.style;
  }
}

TEST(ButtonMenu, BuildsEntriesAndAnswersThroughTheHook) {
  struct Entry {
    bool separator;
    const char* text;
    int index;
    bool bold, checked, enabled;
  };
  struct Case {
    const char* items;
    int defaultIndex;
    const char* checked;
    const char* disabled;
    std::vector<Entry> entries;
  };
  const Case cases[] = {
      {"打开|-|删除|属性", 2, "0|0|1|0", "0",
       {{false, "打开", 0, false, false, true},
        {true, "", -1, false, false, true},
        {false, "删除", 2, true, true, true},
        {false, "属性", 3, false, false, true}}},
      {"A|B", -1, "1", "0|1", {{false, "A", 0, false, true, true}, {false, "B", 1, false, true, false}}},
      {"A|B|C", 0, "0|1", "1", {{false, "A", 0, true, false, false}, {false, "B", 1, false, true, false},
                                {false, "C", 2, false, false, false}}},
  };
  for (const Case& c : cases) {
    const auto menu = ctlButton::BuildPopupMenu(c.items, c.defaultIndex, c.checked, c.disabled);
    const QList<QAction*> actions = menu->actions();
    ASSERT_EQ(actions.size(), static_cast<qsizetype>(c.entries.size())) << c.items;
    for (size_t i = 0; i < c.entries.size(); ++i) {
      const Entry& e = c.entries[i];
      const QAction* a = actions[static_cast<qsizetype>(i)];
      EXPECT_EQ(a->isSeparator(), e.separator) << c.items << " " << i;
      if (e.separator) continue;
      EXPECT_EQ(a->text(), e.text);
      EXPECT_EQ(a->data().toInt(), e.index);
      EXPECT_EQ(a->font().bold(), e.bold) << c.items << " " << i;
      EXPECT_EQ(a->isChecked(), e.checked) << c.items << " " << i;
      EXPECT_EQ(a->isEnabled(), e.enabled) << c.items << " " << i;
    }
  }

  Shown s;
  int asked = 0;
  QPoint where;
  QString pick = "属性";
  ctlButton::PopupMenuExec = [&](QMenu& menu, const QPoint& at) -> QAction* {
    ++asked;
    where = at;
    for (QAction* a : menu.actions())
      if (a->text() == pick) return a;
    return nullptr;
  };
  EXPECT_EQ(s.button->PopupMenu(""), -1);
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(s.button->PopupMenu("打开|-|删除|属性", -1, "0", "0", 5, 6), 3);
  EXPECT_EQ(where, s.button->mapToGlobal(QPoint(5, 6)));
  pick = "none";
  EXPECT_EQ(s.button->PopupMenu("打开|删除"), -1);
  EXPECT_EQ(asked, 2);
  ctlButton::PopupMenuExec = nullptr;
}

TEST(ButtonTimer, EachKindEndsAsDocumented) {
  struct Case {
    TimerKind kind;
    int duration;
  };
  for (const Case& c : {Case{TimerKind::Once, 0}, Case{TimerKind::Duration, 40}}) {
    ctlButton b;
    Recorder r(b);
    b.SetTimerInterval(5);
    b.SetTimerDuration(c.duration);
    b.SetTimerType(static_cast<int>(c.kind));
    b.SetTimerEnabled(true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !r.events.empty() && r.events.back() == "TimerEnd"; }, 5000));
    EXPECT_FALSE(b.TimerEnabled());
    const std::string events = r.Take();
    if (c.kind == TimerKind::Once) {
      EXPECT_EQ(events, "TimerTick TimerEnd");
    }
    EXPECT_EQ(events.find("TimerEnd"), events.size() - 8) << events;
    EXPECT_EQ(events.find("TimerTick"), 0u) << events;
  }
  // Repeat ticks until turned off and never ends by itself.
  ctlButton b;
  Recorder r(b);
  b.SetTimerInterval(5);
  b.SetTimerEnabled(true);
  ASSERT_TRUE(QTest::qWaitFor([&] { return r.events.size() >= 3; }, 5000));
  b.SetTimerEnabled(false);
  const std::string events = r.Take();
  EXPECT_EQ(events.find("TimerEnd"), std::string::npos);
  QTest::qWait(30);
  EXPECT_TRUE(r.events.empty());
  // Changing the kind of a running repeat timer makes it a one-tick timer.
  b.SetTimerEnabled(true);
  b.SetTimerType(static_cast<int>(TimerKind::Once));
  ASSERT_TRUE(QTest::qWaitFor([&] { return !b.TimerEnabled(); }, 5000));
  EXPECT_EQ(r.events.back(), "TimerEnd");
}

TEST(ButtonHover, EnterAndLeaveDriveStatusTooltipAndFade) {
  Shown s;
  ctlButton& b = *s.button;
  const PointerAt pointer([&] { return b.mapToGlobal(QPoint(20, 15)); });
  b.SetTooltipTitle("提示");
  b.SetTooltip("a<b\n第二行");
  const QPointF inside(20, 15);
  QEnterEvent enter(inside, b.mapToGlobal(inside), b.mapToGlobal(inside));
  QApplication::sendEvent(&b, &enter);
  EXPECT_EQ(b.Status(), static_cast<int>(ButtonStatus::Hover));
  EXPECT_EQ(QToolTip::text(), b.TooltipHtml());
  QEvent leave(QEvent::Leave);
  QApplication::sendEvent(&b, &leave);
  EXPECT_EQ(b.Status(), static_cast<int>(ButtonStatus::Normal));

  // With the effect the face steps from the normal colour to the hover one.
  b.SetThemeColor(-1, 0x404040);
  b.SetShowEffect(true);
  b.SetEffectSpeed(1);
  QApplication::sendEvent(&b, &enter);
  EXPECT_EQ(b.ShownBackColor(), 0x404040);
  EXPECT_TRUE(QTest::qWaitFor([&] { return b.ShownBackColor() == b.BackColorHover(); }, 5000));
  // A disabled button shows the disabled set.
  b.SetBackColorDisable(0x00FF00);
  b.SetShowEffect(false);
  b.SetEnabled(false);
  EXPECT_EQ(b.ShownBackColor(), 0x00FF00);
  EXPECT_EQ(b.Status(), static_cast<int>(ButtonStatus::Normal));
}

// The poll ends a hover that no Leave ended, and a flash in what the pointer
// says; while the pointer stays inside the hover stands.
TEST(ButtonHover, PollFollowsThePointerWithoutLeave) {
  struct Case {
    int flash;  // -1: an Enter starts the hover
    bool inside;
    ButtonStatus end;
  };
  const Case cases[] = {
      {-1, false, ButtonStatus::Normal}, {-1, true, ButtonStatus::Hover},
      {2, false, ButtonStatus::Normal},  {2, true, ButtonStatus::Hover},
      {3, false, ButtonStatus::Normal},
  };
  for (const Case& c : cases) {
    Shown s;
    ctlButton& b = *s.button;
    int asked = 0;
    const PointerAt at([&] {
      ++asked;
      return b.mapToGlobal(c.inside ? QPoint(20, 15) : QPoint(-40, 15));
    });
    const QPointF in(20, 15);
    QEnterEvent enter(in, b.mapToGlobal(in), b.mapToGlobal(in));
    if (c.flash < 0)
      QApplication::sendEvent(&b, &enter);
    else
      b.FlashButton(c.flash, 5);
    const std::string label = std::to_string(c.flash) + (c.inside ? " inside" : " outside");
    ASSERT_TRUE(QTest::qWaitFor([&] { return asked >= (c.inside ? 2 : 1); }, 5000)) << label;
    EXPECT_EQ(b.Status(), static_cast<int>(c.end)) << label;
    if (c.inside || c.flash >= 0) continue;
    // Once normal the poll rests.
    QTest::qWait(250);
    EXPECT_EQ(asked, 1) << label;
  }
}

TEST(ButtonHover, TooltipText) {
  struct Case {
    const char* title;
    const char* text;
    int icon;
    bool centered, rtl;
    const char* html;
  };
  const Case cases[] = {
      {"", "", 2, true, true, ""},
      {"标题", "正文", 0, false, false, "<div><b>标题</b><br>正文</div>"},
      {"", "a<b\nc", 0, false, false, "<div>a&lt;b<br>c</div>"},
      {"T", "x", 2, true, true, "<div align=\"center\" dir=\"rtl\"><b>⚠ T</b><br>x</div>"},
  };
  for (const Case& c : cases) {
    ctlButton b;
    b.SetTooltipTitle(c.title);
    b.SetTooltip(c.text);
    b.SetToolTipIcon(c.icon);
    b.SetTooltipCentered(c.centered);
    b.SetTooltipRightToLeft(c.rtl);
    EXPECT_EQ(b.TooltipHtml(), c.html);
  }
}

TEST(ButtonWindow, OnlyACaptionBarDragsItsWindowAndLimitsHold) {
  for (bool captionBar : {true, false}) {
    Shown s;
    s.button->SetCaptionBar(captionBar);
    Recorder r(*s.button);
    const QPoint start = s.window.pos();
    QTest::mousePress(s.button, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseMove(s.button, QPoint(45, 20));
    QTest::mouseRelease(s.button, Qt::LeftButton, {}, QPoint(45, 20));
    if (captionBar) {
      EXPECT_EQ(r.Take(), "MouseDown MouseUp WindowDragEnded");
      // The offscreen platform has no system move: the window went by hand.
      EXPECT_EQ(s.window.pos(), start + QPoint(40, 15));
    } else {
      EXPECT_EQ(r.Take(), "MouseDown MouseUp Click");
      EXPECT_EQ(s.window.pos(), start);
    }
  }
  Shown s;
  s.button->SetStatusBarResize(true);
  const QSize size = s.window.size();
  Recorder r(*s.button);
  QTest::mousePress(s.button, Qt::LeftButton, {}, QPoint(115, 25));
  QTest::mouseMove(s.button, QPoint(135, 35));
  QTest::mouseRelease(s.button, Qt::LeftButton, {}, QPoint(135, 35));
  EXPECT_EQ(r.Take(), "MouseDown MouseUp WindowDragEnded");
  EXPECT_EQ(s.window.size(), size + QSize(20, 10));

  s.button->SetWindowSizeMinWidth(150);
  s.button->SetWindowSizeMinHeight(40);
  s.button->SetWindowSizeMaxWidth(400);
  EXPECT_EQ(s.window.minimumWidth(), 0);
  s.button->SetWindowSizeLimit(true);
  EXPECT_EQ(s.window.minimumSize(), QSize(150, 40));
  EXPECT_EQ(s.window.maximumSize(), QSize(400, QWIDGETSIZE_MAX));
  s.button->SetWindowSizeLimit(false);
  EXPECT_EQ(s.window.minimumSize(), QSize(0, 0));
  EXPECT_EQ(s.window.maximumWidth(), QWIDGETSIZE_MAX);
}

TEST(ButtonWindow, LayeredWindowRoundTrip) {
  struct Case {
    int alpha;
    double opacity;
    bool layered;
  };
  const Case cases[] = {{128, 128 / 255.0, true}, {255, 1.0, false}, {0, 0.0, true}, {300, 1.0, false}, {-5, 0.0, true}};
  Shown s;
  for (const Case& c : cases) {
    s.button->SetLayeredWindow(c.alpha);
    EXPECT_NEAR(s.window.windowOpacity(), c.opacity, 1.0 / 255) << c.alpha;
    EXPECT_EQ(s.button->IsLayeredWindow(), c.layered) << c.alpha;
  }
}

// Each way a picture fails to load gives its word once, and the former
// picture stays; both loaders take the same road.
TEST(ButtonPictures, LoadFailuresRaiseTheirStatusWord) {
  QTemporaryDir dir;
  const QString good = WritePicture(dir, QColor(255, 0, 255));
  QFile text(dir.filePath("text.png")), cut(dir.filePath("cut.png")), whole(good);
  ASSERT_TRUE(text.open(QIODevice::WriteOnly) && cut.open(QIODevice::WriteOnly) && whole.open(QIODevice::ReadOnly));
  text.write("no picture here\n");
  cut.write(whole.readAll().left(40));
  text.close();
  cut.close();
  QDir(dir.path()).mkdir("folder.png");
  struct Case {
    QString file;
    const char* word;  // empty: loads
  };
  const Case cases[] = {
      {dir.filePath("missing.png"), "File Not Found."}, {text.fileName(), "Unknown Image Format."},
      {dir.filePath("folder.png"), "Access Denied."},   {cut.fileName(), "Invalid Parameter."},
      {good, ""},
  };
  using Loader = bool (ctlButton::*)(const QString&);
  for (Loader load : {&ctlButton::PaintImage, &ctlButton::SetIconFile}) {
    for (const Case& c : cases) {
      ctlButton b;
      ASSERT_TRUE((b.*load)(good));
      std::vector<QString> debug;
      QObject::connect(&b, &ctlButton::DebugText, [&](const QString& t) { debug.push_back(t); });
      EXPECT_EQ((b.*load)(c.file), *c.word == 0) << c.file.toStdString();
      EXPECT_EQ(debug, *c.word ? std::vector<QString>{c.word} : std::vector<QString>{}) << c.file.toStdString();
      EXPECT_FALSE(b.FaceImage().isNull() && b.Icon().isNull());
    }
  }
  struct Word {
    int status;
    const char* word;
  };
  for (const Word& w : {Word{0, "OK."}, Word{13, "Unknown Image Format."}, Word{21, "Profile Not Found."},
                        Word{22, "Unknown GDI+ Error."}, Word{-1, "Unknown GDI+ Error."}})
    EXPECT_EQ(PictureStatusWord(w.status), w.word) << w.status;

  // A symbol face that is not installed is told once, however often drawn.
  ctlButton b;
  b.resize(120, 30);
  b.SetIconFontName("No Such Symbol Face");
  b.SetIconText("6");
  std::vector<QString> debug;
  QObject::connect(&b, &ctlButton::DebugText, [&](const QString& t) { debug.push_back(t); });
  b.grab();
  b.grab();
  QCoreApplication::processEvents();
  EXPECT_EQ(debug, std::vector<QString>{"FontFamily Not Found."});
}

// The nice value is one-way for an unprivileged process, so the change is
// made in a child of the test, with a second thread to show that every
// thread of the process follows.
TEST(ButtonPriority, ThreadPriorityLowersEveryThreadOfTheProcess) {
  ctlButton b;
  std::vector<QString> debug;
  QObject::connect(&b, &ctlButton::DebugText, [&](const QString& t) { debug.push_back(t); });
  const int parentNice = ::getpriority(PRIO_PROCESS, 0);
  if (parentNice >= 19) GTEST_SKIP() << "the test already runs at the lowest priority";
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::atomic<pid_t> tid{0};
    std::atomic<bool> stop{false};
    std::thread other([&] {
      tid = ::gettid();
      while (!stop) ::usleep(1000);
    });
    while (tid == 0) ::usleep(100);
    b.SetThreadPriority(kPriorityIdle);
    int fault = 0;
    if (::getpriority(PRIO_PROCESS, 0) != 19) fault |= 1;
    if (::getpriority(PRIO_PROCESS, static_cast<id_t>(tid.load())) != 19) fault |= 2;
    if (b.ThreadPriority() != kPriorityIdle) fault |= 4;
    if (!debug.empty()) fault |= 8;
    b.SetThreadPriority(999);
    if (debug.size() != 1 || ::getpriority(PRIO_PROCESS, 0) != 19) fault |= 16;
    stop = true;
    other.join();
    ::_exit(fault);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "fault bits";
  EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), parentNice);
  EXPECT_EQ(b.ThreadPriority(), ClassForNice(parentNice));
}

TEST(ButtonAccessibility, RoleNameStateAndActionsByMode) {
  struct Case {
    ButtonMode mode;
    const char* caption;
    const char* title;
    bool enabled;
    QAccessible::Role role;
    const char* name;
    const char* value;
    bool checkable;
    const char* firstAction;
  };
  const Case cases[] = {
      {ButtonMode::Command, "#Bold#开始", "", true, QAccessible::PushButton, "开始", "", false, "Press"},
      {ButtonMode::Command, "", "", true, QAccessible::PushButton, "说明", "", false, "Press"},
      {ButtonMode::Check, "日志", "", true, QAccessible::CheckBox, "日志", "", true, "Press"},
      {ButtonMode::Radio, "单次", "", true, QAccessible::RadioButton, "单次", "", true, "Press"},
      {ButtonMode::FolderField, "/tmp", "输出目录", true, QAccessible::PushButton, "输出目录", "/tmp", false, "Press"},
      {ButtonMode::FileField, "/a.srt", "", true, QAccessible::PushButton, "/a.srt", "/a.srt", false, "Press"},
      {ButtonMode::ComboBox, "MP4", "", true, QAccessible::ComboBox, "MP4", "MP4", false, "Press"},
      {ButtonMode::FlatLabel, "标签", "", true, QAccessible::StaticText, "标签", "", false, "Press"},
      {ButtonMode::FlatField, "00:01", "", true, QAccessible::EditableText, "00:01", "00:01", false, "Press"},
      {ButtonMode::FlatField, "00:01", "", false, QAccessible::StaticText, "00:01", "00:01", false, "Press"},
  };
  for (const Case& c : cases) {
    Shown s;
    ctlButton& b = *s.button;
    FakeChooser chooser;
    b.SetChooser(&chooser);
    b.SetMode(static_cast<int>(c.mode));
    b.SetCaption(c.caption);
    b.SetTitle(c.title);
    b.SetTooltip("说明");
    b.SetEnabled(c.enabled);
    QAccessibleInterface* face = AccessibleFor(&b);
    const QAccessible::Id id = QAccessible::registerAccessibleInterface(face);
    const std::string label = std::to_string(static_cast<int>(c.mode)) + " " + c.caption;
    EXPECT_EQ(face->role(), c.role) << label;
    EXPECT_EQ(face->text(QAccessible::Name), c.name) << label;
    EXPECT_EQ(face->text(QAccessible::Value), c.value) << label;
    EXPECT_EQ(face->text(QAccessible::Description), "说明") << label;
    EXPECT_EQ(face->state().checkable, c.checkable) << label;
    EXPECT_EQ(face->state().disabled, !c.enabled) << label;
    QAccessibleActionInterface* actions = face->actionInterface();
    ASSERT_NE(actions, nullptr);
    const QStringList names = actions->actionNames();
    EXPECT_EQ(names.value(0), QAccessibleActionInterface::pressAction()) << label;
    EXPECT_EQ(names.contains(QAccessibleActionInterface::toggleAction()), c.checkable) << label;
    EXPECT_EQ(names.contains(QAccessibleActionInterface::showMenuAction()), c.mode == ButtonMode::ComboBox);
    QAccessible::deleteAccessibleInterface(id);
  }

  // The press reaches the same handlers as the mouse.
  Shown s;
  ctlButton& b = *s.button;
  Recorder r(b);
  QAccessibleInterface* face = AccessibleFor(&b);
  const QAccessible::Id id = QAccessible::registerAccessibleInterface(face);
  // It runs once the action has returned, so that a question it opens never
  // holds the screen reader's call.
  face->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(r.Take(), "");
  QApplication::processEvents();
  EXPECT_EQ(r.Take(), "Click");
  b.SetMode(static_cast<int>(ButtonMode::Check));
  face->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
  QApplication::processEvents();
  EXPECT_TRUE(face->state().checked);
  EXPECT_EQ(face->role(), QAccessible::CheckBox);
  b.SetEnabled(false);
  face->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  QApplication::processEvents();
  EXPECT_TRUE(b.Checked());
  r.Take();
  QAccessible::deleteAccessibleInterface(id);
}

TEST(ButtonPaint, FaceFillBorderAndGlyph) {
  // Flat style, green face, red fill to half way, blue border; each row
  // changes one thing and reads pixels of the drawn face (0x00BBGGRR).
  struct Case {
    const char* what;
    std::function<void(ctlButton&)> set;
    QPoint at;
    QColor expected;
  };
  const QColor green(0, 255, 0), red(255, 0, 0), blue(0, 0, 255), paper(1, 2, 3), yellow(255, 255, 0);
  const QColor down(0, 0xE6, 0), magenta(255, 0, 255);
  QTemporaryDir dir;
  const QString picture = WritePicture(dir, magenta);
  // A toggle without the fill, checked or not.
  auto toggle = [](int mode, bool checked) {
    return [=](ctlButton& b) {
      b.SetValue(0);
      b.SetMode(mode);
      b.SetChecked(checked);
    };
  };
  auto pictured = [&](ctlButton& b) {
    b.SetValue(0);
    b.PaintImage(picture);
  };
  const Case cases[] = {
      {"face", [](ctlButton&) {}, QPoint(100, 15), green},
      {"fill", [](ctlButton&) {}, QPoint(20, 15), red},
      {"border", [](ctlButton&) {}, QPoint(60, 0), blue},
      {"no border", [](ctlButton& b) { b.SetShowBorder(false); }, QPoint(60, 0), green},
      {"full fill", [](ctlButton& b) { b.SetValue(500); }, QPoint(110, 15), red},
      {"fill below min", [](ctlButton& b) { b.SetMin(60); }, QPoint(20, 15), green},
      {"label has no face", [](ctlButton& b) { b.SetMode(5); }, QPoint(100, 15), paper},
      {"transparent back", [](ctlButton& b) { b.SetTransparentBack(true); }, QPoint(100, 15), paper},
      {"disabled", [](ctlButton& b) { b.SetEnabled(false); }, QPoint(100, 15), QColor(0x33, 0x22, 0x11)},
      {"checked toggle stays down",
       [](ctlButton& b) {
         b.SetMode(1);
         b.SetChecked(true);
       },
       QPoint(100, 15), QColor(0, 0xE6, 0)},
      // The symbol face is not installed here: its down arrow is drawn.
      {"glyph", [](ctlButton& b) { b.SetIconText("6"); }, QPoint(12, 15), yellow},
      // The mark left of the caption: a box filled when checked, a dot in a
      // ring for a radio button.
      {"tick box checked", toggle(1, true), QPoint(7, 11), yellow},
      {"tick box unchecked", toggle(1, false), QPoint(7, 11), green},
      {"tick box edge", toggle(1, false), QPoint(4, 14), yellow},
      {"radio dot checked", toggle(2, true), QPoint(10, 14), yellow},
      {"radio dot unchecked", toggle(2, false), QPoint(10, 14), green},
      {"radio mark is round", toggle(2, true), QPoint(5, 9), down},
      // The picture fits the face with its proportions, centred.
      {"picture", pictured, QPoint(60, 15), magenta},
      {"picture keeps proportions", pictured, QPoint(40, 15), green},
  };
  for (const qreal ratio : {1.0, 2.0})
  for (const Case& c : cases) {
    ctlButton b;
    b.resize(120, 30);
    b.SetStyle(26);
    b.SetSmoothingCorner(false);
    b.SetShowCorner(false);
    b.SetThemeColor(-1, 0x00FF00);
    b.SetProgressColor(0x0000FF);
    b.SetBorderColor(0xFF0000);
    b.SetBackColorDisable(0x112233);
    b.SetForeColor(0x00FFFF);
    b.SetValue(50);
    c.set(b);
    QImage image(b.size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(paper);
    b.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    EXPECT_EQ(image.pixelColor(c.at * ratio), c.expected) << c.what << " at ratio " << ratio;
  }
}

}  // namespace
}  // namespace zel
