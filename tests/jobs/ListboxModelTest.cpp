#include "jobs/ListboxModel.h"

#include <gtest/gtest.h>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

class ListboxModelTest : public ::testing::Test {
 protected:
  ListboxModelTest() {
    list.ListChanged = [this] { events.push_back("ListChanged"); };
    list.ItemChanged = [this](int index) { events.push_back("ItemChanged " + std::to_string(index)); };
    list.SelectionChanged = [this] { events.push_back("SelectionChanged"); };
    list.Repaint = [this](std::string_view reason) { events.push_back("Repaint " + std::string(reason)); };
  }
  void Fill(int count) {
    for (int i = 1; i <= count; ++i) list.AddItem("k" + std::to_string(i), "t" + std::to_string(i));
    events.clear();
  }
  std::string Keys() const {
    std::string keys;
    for (const ListItem& item : list.Items()) keys += item.Key + " ";
    return keys;
  }
  // Saves the list, then loads the file into a fresh list.
  ListboxModel RoundTrip() {
    EXPECT_TRUE(list.SaveListToFile(dir / "list.ini"));
    ListboxModel loaded;
    loaded.LoadListFromFile(dir / "list.ini");
    return loaded;
  }

  test::TempDir dir;
  ListboxModel list;
  std::vector<std::string> events;
};

TEST_F(ListboxModelTest, KeysAreExactAndTheEmptyKeyFindsNothing) {
  list.AddItem("");
  list.AddItem("Name", "first");
  list.AddItem("Name", "second");
  EXPECT_EQ(list.ListIndexFromKey(""), -1);
  EXPECT_EQ(list.ListIndexFromKey("name"), -1);
  EXPECT_EQ(list.ListFromKey("Name"), "first");
  list.SetListKey(1, "");
  list.SetListKey(-1, "x");
  list.SetListKey(3, "x");
  EXPECT_EQ(Keys(), " Name Name ");
  EXPECT_EQ(list.List(7), "");
  EXPECT_FALSE(list.ItemEnabled(-1));
  EXPECT_TRUE(list.ItemEnabled(0));
}

TEST_F(ListboxModelTest, EveryChangeOfAFieldIsReportedOnce) {
  Fill(2);
  list.SetList(1, "t2");  // the same text: no event
  list.SetListFromKey("k1", "new");
  list.SetTextFromKey("k2", "by key");
  list.SetList(5, "lost");
  list.SetListComment(1, "00:00:01 - 00:00:02");
  list.SetListComment(1, "00:00:01 - 00:00:02");
  list.SetValueMax(0, 300);
  list.SetValue(0, 120);
  list.SetValue(0, 120);
  list.SetListImage(1, "/tmp/thumb.jpg");
  list.SetListIndexChecked(0, true);
  list.SetTag1TextFromKey("k2", "音频: 0.2");
  list.SetTag1TextFromKey("nobody", "x");
  EXPECT_EQ(events, (std::vector<std::string>{"ItemChanged 0", "ItemChanged 1", "ItemChanged 1", "ItemChanged 0",
                                              "ItemChanged 0", "ItemChanged 1", "ItemChanged 0", "ItemChanged 1"}));
  EXPECT_EQ(list.List(0) + list.List(1), "newby key");
  EXPECT_EQ(list.Value(0), 120);
}

TEST_F(ListboxModelTest, DropDownRowsChooseByPosition) {
  ListItem combo{.Key = "c", .Text = "b", .ComboBoxItems = "a|b|c", .ItemMode = 1};
  list.AddItem(combo);
  list.AddItem(ListItem{.Key = "plain", .Text = "b", .ComboBoxItems = "a|b|c", .ItemMode = 0});
  events.clear();
  EXPECT_EQ(list.ComboListIndexFromKey("c"), 1);
  EXPECT_EQ(list.ComboListCountFromKey("c"), 3);
  list.SetComboListIndexFromKey("c", 1);
  list.SetComboListIndexFromKey("c", 3);
  list.SetComboListIndexFromKey("c", 2);
  EXPECT_EQ(list.ListFromKey("c"), "c");
  EXPECT_EQ(events, (std::vector<std::string>{"Repaint ComboListIndexFromKey", "ItemChanged 0"}));

  EXPECT_EQ(list.ComboListIndexFromKey("plain"), -1);
  EXPECT_EQ(list.ComboListCountFromKey("plain"), 0);
  list.SetComboListIndexFromKey("plain", 0);
  EXPECT_EQ(list.ListFromKey("plain"), "b");
}

TEST_F(ListboxModelTest, DuplicatesDifferInExactlyOneField) {
  const ListItem old{.Key = "a", .Text = "same", .Tag3Text = "t3"};
  struct Case {
    const char* name;
    ListItem fresh;
    int oldValue;
    bool added;
  };
  const Case cases[] = {
      {"exact twin", old, 0, false},  // old Tag3 against new Tag2: one field off
      {"twin with equal tags", {.Key = "a", .Text = "same", .Tag2Text = "t3", .Tag3Text = "t3"}, 0, true},
      {"other key", {.Key = "b", .Text = "same", .Tag2Text = "t3", .Tag3Text = "t3"}, 0, false},
      {"old row in progress", {.Key = "a", .Text = "same", .Tag2Text = "t3", .Tag3Text = "t3"}, 50, false},
      {"two fields off", {.Key = "b", .Text = "other", .Tag2Text = "t3", .Tag3Text = "t3"}, 0, true},
  };
  for (const Case& c : cases) {
    ListboxModel fresh;
    ListItem first = old;
    first.Tag2Text = c.fresh.Tag2Text;
    fresh.AddItem(first);
    fresh.SetValue(0, c.oldValue);
    EXPECT_EQ(fresh.AddItem(c.fresh, true), c.added) << c.name;
    EXPECT_EQ(fresh.ListCount(), c.added ? 2 : 1) << c.name;
  }
}

TEST_F(ListboxModelTest, ArrangingMovesAndSelects) {
  struct Case {
    int index, mode;
    const char* keys;
    int selected;
  };
  const Case cases[] = {
      {0, 0, "k1 k2 k3 k4 ", -1}, {3, 1, "k1 k2 k3 k4 ", -1}, {0, 2, "k1 k2 k3 k4 ", -1},
      {3, 3, "k1 k2 k3 k4 ", -1}, {2, 4, "k1 k2 k3 k4 ", -1}, {4, 0, "k1 k2 k3 k4 ", -1},
      {2, 0, "k1 k3 k2 k4 ", 1},  {1, 1, "k1 k3 k2 k4 ", 2},  {2, 2, "k3 k1 k2 k4 ", 0},
      {1, 3, "k1 k3 k4 k2 ", 3},
  };
  for (const Case& c : cases) {
    list.Clear();
    Fill(4);
    list.ItemArrange(c.index, c.mode);
    EXPECT_EQ(Keys(), c.keys) << c.index << "/" << c.mode;
    EXPECT_EQ(list.ListIndex(), c.selected) << c.index << "/" << c.mode;
    EXPECT_EQ(events.size(), c.selected < 0 ? 0u : 2u) << c.index << "/" << c.mode;
  }
  list.ItemArrangeToIndex(3, 1);
  EXPECT_EQ(Keys(), "k1 k2 k3 k4 ");
  list.ItemArrangeToIndex(0, 2);
  EXPECT_EQ(Keys(), "k2 k3 k1 k4 ");
  EXPECT_EQ(list.ListIndex(), 2);
}

TEST_F(ListboxModelTest, RemovingAndClearingDropTheSelection) {
  Fill(3);
  list.SetListIndex(1);
  list.RemoveItem(3);
  EXPECT_EQ(list.ListIndex(), 1);
  list.RemoveItem(1);
  EXPECT_EQ(list.ListIndex(), -1);
  EXPECT_EQ(Keys(), "k1 k3 ");
  list.Clear();
  EXPECT_EQ(list.ListCount(), 0);
  list.RemoveItem(0);
  EXPECT_EQ(events, (std::vector<std::string>{"SelectionChanged", "Repaint RemoveItem", "ListChanged",
                                              "SelectionChanged", "Repaint Clear", "ListChanged"}));
}

TEST_F(ListboxModelTest, SavedFileLeavesOutEmptyFields) {
  list.AddItem(ListItem{.Key = "k1", .Text = "a b", .ValueMax = 100, .Checked = true, .ItemMode = -3,
                        .BackColor = 255, .Tag3Color = 7});
  list.SetValue(0, 50);
  ASSERT_TRUE(list.SaveListToFile(dir / "list.ini"));
  EXPECT_EQ(ReadText(dir / "list.ini"),
            "[Task1]\r\nKey=k1\r\nText=a b\r\nValue=50\r\nChecked=True\r\nValueMax=100\r\nItemEnabled=True\r\n"
            "ItemMode=-3\r\nForeColor=-1\r\nBackColor=255\r\nTag3Color=7\r\n\r\n");

  const ListboxModel loaded = RoundTrip();
  ASSERT_EQ(loaded.ListCount(), 2);  // the last row comes twice
  EXPECT_EQ(loaded.Value(0), 0);
  EXPECT_EQ(loaded.ItemMode(1), -3);
  EXPECT_EQ(loaded.Tag3Color(1), 7);
}

TEST_F(ListboxModelTest, LoadedRowsInheritLeftOutFields) {
  list.AddItem(ListItem{.Key = "on", .Checked = true, .ItemEnabled = false});
  list.AddItem(ListItem{.Key = "off", .Checked = false, .ItemEnabled = true});
  const ListboxModel loaded = RoundTrip();
  ASSERT_EQ(loaded.ListCount(), 3);
  EXPECT_FALSE(loaded.ItemEnabled(0));
  EXPECT_TRUE(loaded.ListIndexChecked(0));
  EXPECT_TRUE(loaded.ListIndexChecked(1));
  EXPECT_EQ(loaded.ListKey(2), "off");
}

TEST_F(ListboxModelTest, SectionNamesAreReadThroughABoundedBuffer) {
  struct Case {
    int saved, loaded, lastSavedIndex;
  };
  for (const Case c : {Case{3, 4, 3}, Case{37, 38, 37}, Case{40, 38, 37}}) {
    list.Clear();
    Fill(c.saved);
    const ListboxModel loaded = RoundTrip();
    ASSERT_EQ(loaded.ListCount(), c.loaded) << c.saved;
    EXPECT_EQ(loaded.ListKey(c.loaded - 2), "k" + std::to_string(c.lastSavedIndex)) << c.saved;
    EXPECT_EQ(loaded.ListKey(c.loaded - 1), "k" + std::to_string(c.lastSavedIndex)) << c.saved;
  }
  list.LoadListFromFile(dir / "missing.ini", true);
  EXPECT_EQ(list.ListCount(), 0);
}

// The buffers count characters, not bytes: a path of 80 Chinese characters
// is far from the limit.
TEST_F(ListboxModelTest, LongValuesAreCutAt254Characters) {
  auto repeat = [](std::string_view text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
  };
  const std::string chinesePath = "/home/用户/视频/" + repeat("视", 80) + ".mp4";
  list.AddItem("a", "", "", "", std::string(300, 'p'));
  list.AddItem("b", "", "", "", repeat("中", 300));
  list.AddItem("c", "", "", "", chinesePath);
  const ListboxModel loaded = RoundTrip();
  EXPECT_EQ(loaded.PathFromIndex(0), std::string(254, 'p'));
  EXPECT_EQ(loaded.PathFromIndex(1), repeat("中", 254));
  EXPECT_EQ(loaded.PathFromIndex(2), chinesePath);

  // Section names share a buffer of characters in the same way.
  WriteFileAtomic(dir / "wide.ini", "[" + repeat("节", 80) + "]\nKey=a\n[" + repeat("段", 80) + "]\nKey=b\n");
  ListboxModel wide;
  EXPECT_EQ(wide.LoadListFromFile(dir / "wide.ini"), 3);
  EXPECT_EQ(wide.ListKey(1), "b");
}

TEST_F(ListboxModelTest, DamagedFilesReadAsJunk) {
  std::string binary;
  for (int i = 0; i < 4096; ++i) binary.push_back(static_cast<char>(i * 7));
  struct Case {
    const char* name;
    std::string content;
    int count;
    std::string lastKey, lastText;
  };
  const Case cases[] = {
      {"binary", binary, 0, "", ""},
      {"no bracket", "[Task1\r\nKey=a\r\n", 0, "", ""},
      {"blanks, case, quotes", "junk=1\n [task1] \n  kEY = a \nkey=b\nText=\"q\"\nnoise\n", 2, "a", "q"},
      {"huge line", "[Task1]\nText=" + std::string(1 << 20, 'x'), 2, "", std::string(254, 'x')},
      {"bad numbers, old Mac line ends", "[Task1]\rKey=a\rItemMode=99999999999\rChecked=maybe\r", 2, "a", ""},
      {"empty section name", "[Task1]\nKey=a\n[]\nText=z\n", 2, "a", ""},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(WriteFileAtomic(dir / "bad.ini", c.content));
    ListboxModel loaded;
    EXPECT_EQ(loaded.LoadListFromFile(dir / "bad.ini"), c.count) << c.name;
    const int last = loaded.ListCount() - 1;
    EXPECT_EQ(loaded.ListKey(last), c.lastKey) << c.name;
    EXPECT_EQ(loaded.List(last), c.lastText) << c.name;
    EXPECT_EQ(loaded.ItemMode(last), 0) << c.name;
    EXPECT_FALSE(loaded.ListIndexChecked(last)) << c.name;
  }

  // A line break inside a value makes lines of its own; the first key of a
  // section wins.
  list.AddItem("k", "line1\nKey=evil\n[Task9]\nText=x");
  const ListboxModel loaded = RoundTrip();
  ASSERT_EQ(loaded.ListCount(), 3);
  EXPECT_EQ(loaded.ListKey(0) + loaded.List(0), "kline1");
  EXPECT_EQ(loaded.ListKey(1) + loaded.List(1), "kx");
}

}  // namespace
}  // namespace zel
