#include "controls/ctlListbox.h"
#include "controls/DialogChooser.h"
#include "support/FakeChooser.h"
#include "controls/FontText.h"
#include "controls/QtText.h"
#include "controls/Theme.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QBuffer>
#include <QComboBox>
#include <QLineEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zel {
namespace {

using test::FakeChooser;

// Every signal of a list as one line, in the order raised.
struct Recorder {
  std::vector<std::string> events;
  explicit Recorder(ctlListbox& list) {
    auto add = [this](std::string e) { events.push_back(std::move(e)); };
    QObject::connect(&list, &ctlListbox::Click, [add] { add("Click"); });
    QObject::connect(&list, &ctlListbox::DblClick, [add] { add("DblClick"); });
    QObject::connect(&list, &ctlListbox::SelectionChanged, [add] { add("SelectionChanged"); });
    QObject::connect(&list, &ctlListbox::KeyDown, [add](int k, int) { add("KeyDown:" + std::to_string(k)); });
    QObject::connect(&list, &ctlListbox::MouseDown, [add](int, int, int, int, int i) {
      add("MouseDown:" + std::to_string(i));
    });
    QObject::connect(&list, &ctlListbox::MouseMove, [add](int, int, int, int, int i) {
      add("MouseMove:" + std::to_string(i));
    });
    QObject::connect(&list, &ctlListbox::MouseUp, [add](int, int, int, int, int i) {
      add("MouseUp:" + std::to_string(i));
    });
    QObject::connect(&list, &ctlListbox::MouseWheel, [add](int d) { add("MouseWheel:" + std::to_string(d)); });
    QObject::connect(&list, &ctlListbox::MouseEnter, [add] { add("MouseEnter"); });
    QObject::connect(&list, &ctlListbox::MouseLeave, [add] { add("MouseLeave"); });
    QObject::connect(&list, &ctlListbox::Activate, [add] { add("Activate"); });
    QObject::connect(&list, &ctlListbox::Deactivate, [add] { add("Deactivate"); });
    QObject::connect(&list, &ctlListbox::ParentMove, [add] { add("ParentMove"); });
    QObject::connect(&list, &ctlListbox::ParentResize, [add] { add("ParentResize"); });
    QObject::connect(&list, &ctlListbox::ListChanged, [add](int n, int i) {
      add("ListChanged:" + std::to_string(n) + "," + std::to_string(i));
    });
    QObject::connect(&list, &ctlListbox::ItemChanged, [add](int, int i) { add("ItemChanged:" + std::to_string(i)); });
  }
  std::vector<std::string> Take() { return std::exchange(events, {}); }
};

using Events = std::vector<std::string>;

// A shown list of `count` settings rows "row0".."rowN", each a text box.
std::unique_ptr<ctlListbox> MakeList(int count, FakeChooser* chooser = nullptr) {
  auto list = std::make_unique<ctlListbox>();
  list->SetItemHeight(30);
  list->resize(400, 300);
  list->SetChooser(chooser);
  for (int i = 0; i < count; ++i)
    list->AddItem({.Key = "k" + std::to_string(i), .Text = "row" + std::to_string(i), .TitleText = "标题"});
  list->show();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(list.get()));
  return list;
}

void ClickRow(ctlListbox& list, int index) {
  QTest::mouseClick(&list, Qt::LeftButton, {}, list.ValueRect(index).center());
}

TEST(ListboxClicks, FirstSelectsSecondOpensTickFlipsAndLocksHold) {
  struct Case {
    const char* name;
    std::function<void(ctlListbox&)> setup;
    bool onTick;
    int clicks;
    int listIndex;
    int editor;
    bool checked;
    Events firstClick;
  };
  const Case cases[] = {
      {"first click selects", {}, false, 1, 1, -1, false,
       {"SelectionChanged", "MouseMove:1", "MouseUp:1", "Click"}},
      {"second click opens the editor", {}, false, 2, 1, 1, false,
       {"SelectionChanged", "MouseMove:1", "MouseUp:1", "Click"}},
      {"tick area flips the tick", [](ctlListbox& l) { l.SetShowCheckBox(true); }, true, 1, 1, -1, true,
       {"ItemChanged:1", "SelectionChanged", "MouseMove:1", "MouseUp:1", "Click"}},
      {"disabled row selects, opens nothing", [](ctlListbox& l) { l.Model().SetItemEnabled(1, false); }, false, 2, 1,
       -1, false, {"SelectionChanged", "MouseMove:1", "MouseUp:1", "Click"}},
      {"disabled row is not ticked",
       [](ctlListbox& l) {
         l.SetShowCheckBox(true);
         l.Model().SetItemEnabled(1, false);
       },
       true, 1, 1, -1, false, {"SelectionChanged", "MouseMove:1", "MouseUp:1", "Click"}},
      {"not editable: selects, opens nothing", [](ctlListbox& l) { l.SetEditable(false); }, false, 2, 1, -1, false,
       {"SelectionChanged", "MouseMove:1", "MouseUp:1", "Click"}},
      {"locked", [](ctlListbox& l) { l.SetLocked(true); }, false, 2, -1, -1, false, {"MouseMove:1", "MouseUp:1"}},
      {"not enabled", [](ctlListbox& l) { l.SetEnabled(false); }, false, 2, -1, -1, false,
       {"MouseMove:1", "MouseUp:1"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto list = MakeList(3);
    if (c.setup) c.setup(*list);
    Recorder rec(*list);
    for (int i = 0; i < c.clicks; ++i) {
      const QPoint at = c.onTick ? list->CheckBoxRect(1).center() : list->ValueRect(1).center();
      QTest::mousePress(list.get(), Qt::LeftButton, {}, at);
      QTest::mouseRelease(list.get(), Qt::LeftButton, {}, at);
      if (i == 0) {
        Events events = rec.Take();
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.front(), "MouseDown:1");
        events.erase(events.begin());
        EXPECT_EQ(events, c.firstClick);
      }
    }
    EXPECT_EQ(list->ListIndex(), c.listIndex);
    EXPECT_EQ(list->EditorIndex(), c.editor);
    EXPECT_EQ(list->TextBox()->isVisible(), c.editor >= 0);
    EXPECT_EQ(list->Model().ListIndexChecked(1), c.checked);
  }

  // Released on another row than the one selected at the press: a selection, no editor.
  auto list = MakeList(3);
  ClickRow(*list, 0);
  QTest::mousePress(list.get(), Qt::LeftButton, {}, list->ValueRect(0).center());
  QTest::mouseRelease(list.get(), Qt::LeftButton, {}, list->ValueRect(2).center());
  EXPECT_EQ(list->ListIndex(), 2);
  EXPECT_EQ(list->EditorIndex(), -1);
  // ClickIt on a disabled row opens nothing even when it is selected.
  list->Model().SetItemEnabled(2, false);
  list->ClickIt(2);
  EXPECT_EQ(list->EditorIndex(), -1);
  // A host's ClickIt on a list that is not editable still selects.
  list->SetEditable(false);
  list->ClickIt(0);
  EXPECT_EQ(list->ListIndex(), 0);
}

TEST(ListboxWindow, PointerFocusAndTheHoldingWindowAreReported) {
  QWidget host;
  auto* list = new ctlListbox(&host);
  auto* other = new QLineEdit(&host);
  list->SetItemHeight(30);
  list->setGeometry(0, 0, 300, 200);
  other->setGeometry(0, 210, 300, 30);
  for (int i = 0; i < 3; ++i) list->AddItem({.Text = "row" + std::to_string(i)});
  host.resize(300, 250);
  host.show();
  host.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&host));
  other->setFocus();
  Recorder rec(*list);
  const auto hover = [list](int row) {
    const QPoint at = list->ValueRect(row).center();
    QMouseEvent move(QEvent::MouseMove, at, list->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list, &move);
  };
  struct Step {
    const char* name;
    std::function<void()> act;
    Events expected;
    int listIndex;
  };
  const Step steps[] = {
      {"enter",
       [&] {
         QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
         QCoreApplication::sendEvent(list, &enter);
       },
       {"MouseEnter"}, -1},
      {"hover only shades", [&] { hover(2); }, {"MouseMove:2"}, -1},
      {"hover selects in a menu-like list",
       [&] {
         list->SetAutoSelectable(true);
         hover(1);
       },
       {"SelectionChanged", "MouseMove:1"}, 1},
      {"leave",
       [&] {
         QEvent leave(QEvent::Leave);
         QCoreApplication::sendEvent(list, &leave);
       },
       {"MouseLeave"}, 1},
      {"focus in", [&] { list->setFocus(); }, {"Activate"}, 1},
      {"focus into its own editor is no leaving", [&] { list->ClickIt(1); }, {}, 1},
      {"an open editor holds its row", [&] { hover(0); }, {"MouseMove:0"}, 1},
      {"focus out", [&] { other->setFocus(); }, {"Deactivate"}, 1},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.name);
    step.act();
    EXPECT_EQ(rec.Take(), step.expected);
    EXPECT_EQ(list->ListIndex(), step.listIndex);
  }
  const auto seen = [&](const char* event) {
    return QTest::qWaitFor([&] { return std::count(rec.events.begin(), rec.events.end(), event) > 0; }, 5000);
  };
  host.move(40, 50);
  EXPECT_TRUE(seen("ParentMove"));
  host.resize(320, 260);
  EXPECT_TRUE(seen("ParentResize"));
}

TEST(ListboxEditors, DialogsRoundTripThroughText) {
  const QFont serif("DejaVu Serif", 14);
  struct Case {
    const char* name;
    ListItem row;
    std::function<void(FakeChooser&)> answer;
    std::string expectText;
    int itemChanged;
    std::function<void(const FakeChooser&)> check;
  };
  const Case cases[] = {
      {"colour", {.Text = "&HFF8080", .ItemMode = 2}, [](FakeChooser& f) { f.color = QColor(0x12, 0x34, 0x56); },
       "&H563412", 1,
       [](const FakeChooser& f) {
         EXPECT_EQ(f.seenColor, QColor(0x80, 0x80, 0xFF));
         for (const QColor& c : f.seenCustom) EXPECT_EQ(c, QColor(0xFE, 0, 0));
       }},
      {"colour unparsable starts black, cancel keeps", {.Text = "blue", .ItemMode = 2}, {}, "blue", 0,
       [](const FakeChooser& f) { EXPECT_EQ(f.seenColor, QColor(Qt::black)); }},
      {"colour with bad digits starts black", {.Text = "&HXYZ", .ItemMode = 2},
       [](FakeChooser& f) { f.color = QColor(0, 0, 0); }, "&H0", 1,
       [](const FakeChooser& f) { EXPECT_EQ(f.seenColor, QColor(Qt::black)); }},
      {"file", {.Text = "/media/in/a.mp4", .ItemMode = 3, .FileFilter = "Videos|*.mp4;*.mkv|All|*.*"},
       [](FakeChooser& f) { f.file = "/media/out/b.mkv"; }, "/media/out/b.mkv", 1,
       [](const FakeChooser& f) {
         EXPECT_EQ(f.seenTitle, "Open");
         EXPECT_EQ(f.seenFolder, "/media/in");
         EXPECT_EQ(f.seenFilter, "Videos (*.mp4 *.mkv);;All (*)");
       }},
      {"file cancel keeps without FileClear", {.Text = "/a/b.mp4", .ItemMode = 3}, {}, "/a/b.mp4", 0, {}},
      {"file cancel empties with FileClear", {.Text = "/a/b.mp4", .ItemMode = 3, .FileClear = true}, {}, "", 1, {}},
      {"folder gets its slash", {.Text = "/srv", .TitleText = "输出目录", .ItemMode = 4},
       [](FakeChooser& f) { f.folder = "/data/out"; }, "/data/out/", 1,
       [](const FakeChooser& f) {
         EXPECT_EQ(f.seenPrompt, "输出目录");
         EXPECT_EQ(f.seenStart, "/srv");
       }},
      {"folder cancel with FileClear", {.Text = "/srv/", .ItemMode = 4, .FileClear = true}, {}, "", 1, {}},
      {"font", {.Text = "DejaVu Sans, 12, True, False, 0, False, False, 700", .ItemMode = 5},
       [&](FakeChooser& f) { f.font = serif; }, FontToText(serif), 1,
       [](const FakeChooser& f) {
         EXPECT_EQ(f.seenFont.family(), "DejaVu Sans");
         EXPECT_TRUE(f.seenFont.bold());
       }},
      {"font cancel keeps", {.Text = "DejaVu Sans, 12, False, False, 0, False, False, 400", .ItemMode = 5}, {},
       "DejaVu Sans, 12, False, False, 0, False, False, 400", 0, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FakeChooser chooser;
    if (c.answer) c.answer(chooser);
    auto list = MakeList(0, &chooser);
    list->AddItem(c.row);
    list->SetListIndex(0);
    Recorder rec(*list);
    list->ClickIt(0);
    EXPECT_EQ(chooser.asked, 1);
    EXPECT_EQ(list->Model().List(0), c.expectText);
    const Events events = rec.Take();
    EXPECT_EQ(std::count(events.begin(), events.end(), "ItemChanged:0"), c.itemChanged);
    if (c.check) c.check(chooser);
  }
  // The font text has its eight fields.
  const std::string fontText = FontToText(serif);
  EXPECT_EQ(std::count(fontText.begin(), fontText.end(), ','), 7);
}

TEST(ListboxEditors, CustomColoursAreKeptPerControl) {
  FakeChooser chooser;
  chooser.touchCustom = [](std::array<QColor, 16>& custom) { custom[3] = QColor(1, 2, 3); };
  auto first = MakeList(0, &chooser);
  first->AddItem({.Text = "&H0", .ItemMode = 2});
  first->SetListIndex(0);
  first->ClickIt(0);
  first->ClickIt(0);
  EXPECT_EQ(chooser.seenCustom[3], QColor(1, 2, 3));
  EXPECT_EQ(chooser.seenCustom[4], QColor(0xFE, 0, 0));
  auto second = MakeList(0, &chooser);
  second->AddItem({.Text = "&H0", .ItemMode = 2});
  second->SetListIndex(0);
  second->ClickIt(0);
  EXPECT_EQ(chooser.seenCustom[3], QColor(0xFE, 0, 0));
}

TEST(ListboxEditors, TextBoxAndDropDownStoreIntoText) {
  auto list = MakeList(0);
  list->AddItem({.Text = "abc", .ItemMode = 0});
  list->AddItem({.Text = "x", .ItemMode = 6});
  list->AddItem({.Text = "30", .ComboBoxItems = "#Percent100A10#", .ItemMode = 1});
  list->AddItem({.Text = "55", .ComboBoxItems = "#Percent100A10#", .ItemMode = 1});
  Recorder rec(*list);

  list->SetListIndex(0);
  list->ClickIt(0);
  QLineEdit* box = list->TextBox();
  ASSERT_TRUE(box->isVisible());
  EXPECT_EQ(box->selectedText(), "abc");
  EXPECT_FALSE(box->isReadOnly());
  rec.Take();
  QTest::keyClicks(box, "de");
  EXPECT_EQ(list->Model().List(0), "de");
  EXPECT_EQ(rec.Take(), (Events{"KeyDown:68", "ItemChanged:0", "KeyDown:69", "ItemChanged:0"}));
  QTest::keyClick(box, Qt::Key_Return);
  EXPECT_EQ(list->EditorIndex(), -1);
  EXPECT_FALSE(box->isVisible());

  list->SetListIndex(1);
  list->ClickIt(1);
  EXPECT_TRUE(box->isReadOnly());
  EXPECT_EQ(list->EditorIndex(), 1);

  // Opening another row's drop-down closes the box first.
  list->SetListIndex(2);
  list->ClickIt(2);
  QComboBox* combo = list->ComboBox();
  ASSERT_TRUE(combo->isVisible());
  EXPECT_TRUE(combo->view()->isVisible());  // its entries open with it
  EXPECT_FALSE(box->isVisible());
  ASSERT_EQ(combo->count(), 11);
  EXPECT_EQ(combo->itemText(0), "0");
  EXPECT_EQ(combo->currentText(), "30");
  rec.Take();
  combo->setCurrentIndex(5);
  emit combo->activated(5);
  EXPECT_EQ(list->Model().List(2), "50");
  EXPECT_EQ(list->EditorIndex(), -1);
  EXPECT_EQ(rec.Take(), Events{"ItemChanged:2"});

  // Enter in the drop-down stores; a value that is no entry survives a close.
  list->ClickIt(2);
  combo->setCurrentIndex(2);
  QTest::keyClick(combo, Qt::Key_Return);
  EXPECT_EQ(list->Model().List(2), "20");
  list->SetListIndex(3);
  list->ClickIt(3);
  EXPECT_EQ(combo->currentIndex(), -1);
  list->SetListIndex(0);
  EXPECT_EQ(list->Model().List(3), "55");
}

TEST(ListboxOrder, EditorIsStoredBeforeItsRowVanishes) {
  struct Case {
    const char* name;
    std::function<void(ctlListbox&)> act;
    Events expected;
  };
  const Case cases[] = {
      {"clear", [](ctlListbox& l) { l.Clear(); }, {"ItemChanged:1", "SelectionChanged", "ListChanged:0,-1"}},
      {"remove the edited row", [](ctlListbox& l) { l.RemoveItem(1); },
       {"ItemChanged:1", "SelectionChanged", "ListChanged:2,-1"}},
      {"remove another row", [](ctlListbox& l) { l.RemoveItem(0); },
       {"ItemChanged:1", "SelectionChanged", "ListChanged:2,-1"}},
      {"scroll", [](ctlListbox& l) { l.Scroll(2); }, {"ItemChanged:1"}},
      {"select another", [](ctlListbox& l) { l.SetListIndex(2); }, {"ItemChanged:1", "SelectionChanged"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto list = MakeList(3);
    list->resize(400, 70);  // two rows and a bit, so that a scroll moves
    ClickRow(*list, 1);
    ClickRow(*list, 1);
    ASSERT_EQ(list->EditorIndex(), 1);
    list->TextBox()->setText("edited");
    Recorder rec(*list);
    c.act(*list);
    EXPECT_EQ(rec.Take(), c.expected);
    EXPECT_EQ(list->EditorIndex(), -1);
  }
  // RemoveItem leaves no selection even when another row was selected.
  auto list = MakeList(3);
  list->SetListIndex(2);
  list->RemoveItem(0);
  EXPECT_EQ(list->ListIndex(), -1);
}

TEST(ListboxKeys, HomeEndEnterAndArrows) {
  struct Case {
    int rows;
    bool editorOpen;
    Qt::Key key;
    int listIndex;
    Events events;
    bool accepted;
  };
  const Case cases[] = {
      {4, false, Qt::Key_Home, 0, {"KeyDown:" + std::to_string(Qt::Key_Home), "SelectionChanged"}, true},
      {4, false, Qt::Key_End, 3, {"KeyDown:" + std::to_string(Qt::Key_End), "SelectionChanged"}, true},
      {0, false, Qt::Key_Home, -1, {"KeyDown:" + std::to_string(Qt::Key_Home)}, true},
      {0, false, Qt::Key_End, -1, {"KeyDown:" + std::to_string(Qt::Key_End)}, true},
      {4, true, Qt::Key_End, 1, {"KeyDown:" + std::to_string(Qt::Key_End)}, true},
      {4, false, Qt::Key_Return, 1, {"KeyDown:" + std::to_string(Qt::Key_Return), "Click"}, true},
      {4, false, Qt::Key_Down, 1, {"KeyDown:" + std::to_string(Qt::Key_Down)}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    auto list = MakeList(c.rows);
    if (c.rows > 0) list->SetListIndex(1);
    if (c.editorOpen) list->ClickIt(1);
    Recorder rec(*list);
    QKeyEvent press(QEvent::KeyPress, c.key, Qt::NoModifier);
    QCoreApplication::sendEvent(list.get(), &press);
    EXPECT_EQ(list->ListIndex(), c.listIndex);
    EXPECT_EQ(rec.Take(), c.events);
    EXPECT_EQ(press.isAccepted(), c.accepted);
  }
}

TEST(ListboxScrolling, SelectionWheelAndRemovalKeepRowsInView) {
  auto list = MakeList(100);
  list->SetShowScrollIndex(true);
  Recorder rec(*list);
  list->SetListIndex(99);
  EXPECT_EQ(list->ScrollOffset(), 100 * 30 - 300);
  EXPECT_TRUE(list->rect().contains(list->ItemRect(99).center()));
  EXPECT_FALSE(list->ScrollIndexVisible());  // a selection is no scrolling
  list->Scroll(10);
  EXPECT_EQ(list->ScrollOffset(), 300);
  EXPECT_EQ(list->IndexAt(QPoint(5, 1)), 10);
  EXPECT_TRUE(list->ScrollIndexVisible());
  EXPECT_EQ(list->ScrollIndexText(), "11 / 100");
  rec.Take();
  QWheelEvent wheel(QPointF(50, 50), list->mapToGlobal(QPointF(50, 50)), {}, QPoint(0, -240), Qt::NoButton, {},
                    Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(list.get(), &wheel);
  EXPECT_EQ(list->ScrollOffset(), 360);
  EXPECT_EQ(rec.Take(), Events{"MouseWheel:-240"});
  EXPECT_EQ(list->ScrollIndexText(), "13 / 100");
  // The box goes once the scrolling stops, and a drag on the bar brings it back.
  EXPECT_TRUE(QTest::qWaitFor([&] { return !list->ScrollIndexVisible(); }, 5000));
  list->ScrollBar()->setValue(600);
  EXPECT_TRUE(list->ScrollIndexVisible());
  EXPECT_EQ(list->ScrollIndexText(), "21 / 100");
  list->SetShowScrollIndex(false);
  EXPECT_FALSE(list->ScrollIndexVisible());
  // Removing rows at the end pulls the view back within the list.
  list->Scroll(99);
  for (int i = 0; i < 90; ++i) list->RemoveItem(list->ListCount() - 1);
  EXPECT_EQ(list->ScrollOffset(), 0);
}

TEST(ListboxLooks, EachStyleShowsInThePixels) {
  // Black text on white rows; red effects, a blue bar.
  static constexpr int32_t kRed = 0x0000FF, kBlue = 0xFF0000, kGrey = 0x808080;
  const auto isRed = [](QColor c) { return c.red() > 180 && c.green() < 90 && c.blue() < 90; };
  const auto isDark = [](QColor c) { return c.red() < 80 && c.green() < 80 && c.blue() < 80; };
  const auto isBar = [](QColor c) { return c.blue() - c.red() > 100; };
  // The leftmost column of the value area holding a pixel of a kind, -1 for none.
  const auto leftmost = [](const QImage& shot, const QRect& area, const std::function<bool(QColor)>& kind) {
    for (int x = area.left(); x <= area.right(); ++x)
      for (int y = area.top(); y <= area.bottom(); ++y)
        if (kind(shot.pixelColor(x, y))) return x;
    return -1;
  };
  struct Case {
    const char* name;
    std::function<void(ctlListbox&)> setup;
    std::function<void(const QImage&, ctlListbox&)> check;
  };
  const Case cases[] = {
      {"plain text has no effect colour", {},
       [&](const QImage& shot, ctlListbox& l) { EXPECT_EQ(leftmost(shot, l.ValueRect(0), isRed), -1); }},
      {"shadow lies right of the text", [](ctlListbox& l) { l.SetTextEffect(1); },
       [&](const QImage& shot, ctlListbox& l) {
         const int red = leftmost(shot, l.ValueRect(0), isRed), dark = leftmost(shot, l.ValueRect(0), isDark);
         ASSERT_GE(red, 0);
         EXPECT_GT(red, dark);
       }},
      {"outline rings the text", [](ctlListbox& l) { l.SetTextEffect(2); },
       [&](const QImage& shot, ctlListbox& l) {
         const int red = leftmost(shot, l.ValueRect(0), isRed), dark = leftmost(shot, l.ValueRect(0), isDark);
         ASSERT_GE(red, 0);
         EXPECT_LT(red, dark);
       }},
      {"an opaque face", [](ctlListbox& l) { l.SetItemColor(kGrey); },
       [](const QImage& shot, ctlListbox& l) {
         EXPECT_EQ(shot.pixelColor(l.ItemRect(1).right() - 2, l.ItemRect(1).top() + 2), QColor(0x80, 0x80, 0x80));
       }},
      {"a see-through face is lighter over the white back",
       [](ctlListbox& l) {
         l.SetItemColor(kGrey);
         l.SetTransparent(50);
       },
       [](const QImage& shot, ctlListbox& l) {
         const int grey = shot.pixelColor(l.ItemRect(1).right() - 2, l.ItemRect(1).top() + 2).red();
         EXPECT_GT(grey, 0xA0);
         EXPECT_LT(grey, 0xF0);
       }},
      {"border line", [](ctlListbox& l) { l.SetShowBorder(true); },
       [](const QImage& shot, ctlListbox& l) {
         EXPECT_EQ(shot.pixelColor(0, 40), FromBgr(l.BorderColor()));
         EXPECT_NE(shot.pixelColor(1, 40), FromBgr(l.BorderColor()));
         EXPECT_EQ(l.ItemRect(0).topLeft(), QPoint(1, 1));
       }},
      {"sunken border",
       [](ctlListbox& l) {
         l.SetShowBorder(true);
         l.SetBorderStyle(1);
       },
       [](const QImage& shot, ctlListbox& l) {
         EXPECT_EQ(shot.pixelColor(0, 40), FromBgr(l.BorderColor()));
         EXPECT_EQ(shot.pixelColor(1, 40), FromBgr(ShiftColor(l.BorderColor(), -0.45)));
         EXPECT_EQ(shot.pixelColor(l.width() - 1, 40), FromBgr(ShiftColor(l.BorderColor(), 0.8)));
         EXPECT_EQ(l.IndexAt(QPoint(1, 3)), -1);
         EXPECT_EQ(l.IndexAt(QPoint(2, 2)), 0);
       }},
      {"slim scroll bar over the list's back", [](ctlListbox& l) { l.AddItem({}); },
       [](const QImage& shot, ctlListbox& l) {
         const QRect bar = l.ScrollBar()->geometry();
         ASSERT_TRUE(l.ScrollBar()->isVisible());
         EXPECT_EQ(shot.pixelColor(bar.left() + 1, bar.bottom() - 4), QColor(Qt::white));
       }},
      {"the desktop's scroll bar",
       [](ctlListbox& l) {
         l.AddItem({});
         l.SetShowSystemScrollBar(true);
       },
       [](const QImage& shot, ctlListbox& l) {
         const QRect bar = l.ScrollBar()->geometry();
         EXPECT_NE(shot.pixelColor(bar.left() + 1, bar.bottom() - 4), QColor(Qt::white));
       }},
  };
  // The bar styles: how many pixel rows of one column the bar fills, how many
  // shades it has, and whether it stands at the row's foot.
  struct Bar {
    int style, rows, leastShades;
    bool atFoot;
  };
  const Bar bars[] = {{0, 6, 1, false}, {1, 6, 3, false}, {2, 2, 1, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto list = MakeList(0);
    list->resize(300, 100);
    list->setFont(QFont("DejaVu Sans", 20, QFont::Bold));
    list->SetForeColor(0);
    list->SetItemColor(0xFFFFFF);
    list->SetTextEffectColor(kRed);
    list->AddItem({.Text = "HHH"});
    list->AddItem({.Text = ""});
    list->AddItem({.Text = ""});
    if (c.setup) c.setup(*list);
    c.check(list->grab().toImage(), *list);
  }
  for (const Bar& b : bars) {
    SCOPED_TRACE(b.style);
    auto list = MakeList(0);
    list->SetProgressBarColor(kBlue);
    list->SetProgressBarStyle(b.style);
    list->AddItem({.ValueMax = 10, .ShowProgressBar = true});
    list->Model().SetValue(0, 10);
    const QImage shot = list->grab().toImage();
    const QRect row = list->ItemRect(0);
    std::vector<int> rows;
    QSet<QRgb> shades;
    for (int y = row.top(); y <= row.bottom(); ++y) {
      const QColor c = shot.pixelColor(list->ValueRect(0).center().x(), y);
      if (!isBar(c)) continue;
      rows.push_back(y);
      shades.insert(c.rgb());
    }
    ASSERT_EQ(static_cast<int>(rows.size()), b.rows);
    EXPECT_GE(shades.size(), b.leastShades);
    EXPECT_EQ(rows.back() == row.bottom(), b.atFoot);
  }
}

TEST(ListboxPictures, EachPictureDecodesOnceAndRowsWithoutOneShowTheirKind) {
  auto png = [](Qt::GlobalColor colour) {
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes.toStdString();
  };
  const std::string red = png(Qt::red), blue = png(Qt::blue);
  auto list = MakeList(0);
  list->SetItemHeight(60);
  for (int i = 0; i < 60; ++i) list->AddItem({.Text = "t", .Image = i % 2 ? red : blue});
  list->AddItem({.Text = "broken", .Image = "not a picture"});
  list->grab();
  list->Scroll(40);
  list->grab();
  list->Scroll(0);
  list->grab();
  EXPECT_EQ(list->DecodeCount(), 2);
  list->Scroll(60);
  list->grab();
  list->grab();
  EXPECT_EQ(list->DecodeCount(), 3);  // a picture that does not decode is not tried again

  // A picture file is read on a worker: the paint that asks for it does not
  // wait, and the thumbnail shows once it is back.
  QTemporaryDir dir;
  const QString file = dir.filePath("green.png");
  QImage green(400, 300, QImage::Format_RGB32);
  green.fill(Qt::green);
  ASSERT_TRUE(green.save(file));
  auto files = MakeList(0);
  files->SetItemHeight(60);
  files->AddItem({.Text = "photo", .Image = file.toStdString()});
  files->grab();
  EXPECT_EQ(files->DecodeCount(), 0);
  EXPECT_TRUE(QTest::qWaitFor([&] { return files->DecodeCount() == 1; }, 10000));
  const QImage shown = files->grab().toImage();
  const QRect row = files->ItemRect(0);
  bool greenSeen = false;
  for (int x = row.left(); x < row.left() + 120 && !greenSeen; ++x)
    greenSeen = shown.pixelColor(x, row.center().y()) == QColor(Qt::green);
  EXPECT_TRUE(greenSeen);

  const QImage thumb = list->RenderThumb(1, QSize(64, 48));
  ASSERT_EQ(thumb.size(), QSize(64, 48));
  EXPECT_EQ(thumb.pixelColor(32, 24), QColor(Qt::red));

  struct Kind {
    ListItem row;
    ThumbKind kind;
  };
  const Kind kinds[] = {
      {{.Path = "/v/a.mp4"}, ThumbKind::Video}, {{.Path = "/v/a.mp3"}, ThumbKind::Audio},
      {{.Path = "/v/a.jpg"}, ThumbKind::Image}, {{.Path = "/v/a.xyz"}, ThumbKind::Other},
      {{.Text = "setting"}, ThumbKind::None},   {{.Path = "/v/a.mp4", .ThumbPictureType = 3}, ThumbKind::Audio},
  };
  for (const Kind& k : kinds) EXPECT_EQ(ctlListbox::StockKind(k.row), k.kind) << k.row.Path;
}

TEST(ListboxAccessibility, RowsAreChildrenThatPressLikeTheMouse) {
  auto list = MakeList(3);
  list->SetShowCheckBox(true);
  list->SetListTitle("任务列表");
  list->Model().SetListComment(1, "说明");
  list->Model().SetItemEnabled(2, false);
  QAccessibleInterface* face = AccessibleFor(list.get());
  const QAccessible::Id id = QAccessible::registerAccessibleInterface(face);
  EXPECT_EQ(face->role(), QAccessible::List);
  EXPECT_EQ(face->text(QAccessible::Name), "任务列表");
  ASSERT_EQ(face->childCount(), 3);
  QAccessibleInterface* row = face->child(1);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row, face->child(1));  // registered once and reused
  EXPECT_EQ(face->indexOfChild(row), 1);
  EXPECT_EQ(row->role(), QAccessible::ListItem);
  EXPECT_EQ(row->text(QAccessible::Name), "标题 row1");
  EXPECT_EQ(row->text(QAccessible::Description), "说明");
  EXPECT_EQ(row->text(QAccessible::Value), "row1");
  EXPECT_TRUE(row->state().checkable);
  EXPECT_TRUE(face->child(2)->state().disabled);

  QAccessibleActionInterface* actions = row->actionInterface();
  ASSERT_NE(actions, nullptr);
  Recorder rec(*list);
  actions->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(list->ListIndex(), 1);
  EXPECT_TRUE(row->state().selected);
  actions->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(list->EditorIndex(), 1);
  actions->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_TRUE(row->state().checked);
  EXPECT_EQ(rec.Take(), (Events{"SelectionChanged", "MouseMove:1", "MouseUp:1", "Click", "MouseMove:1", "MouseUp:1",
                                "Click", "ItemChanged:1"}));

  list->AddItem({.Text = "new"});
  EXPECT_EQ(face->childCount(), 4);
  EXPECT_EQ(face->child(3)->text(QAccessible::Name), "new");
  list->Clear();
  EXPECT_EQ(face->text(QAccessible::Name), "任务列表");
  list->SetListTitle("");
  list->SetDefaultNullListText("没有任务");
  EXPECT_EQ(face->text(QAccessible::Name), "没有任务");
  QAccessible::deleteAccessibleInterface(id);
}

}  // namespace
}  // namespace zel
