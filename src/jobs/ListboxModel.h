// The rows behind the program's one list control: records of 34 saved fields and
// a picture, the operations hosts perform on them, and the list file they go to.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// One row. The defaults are those a row gets for every field its creator leaves
// out: enabled, the control's own colours (-1), and empty, 0 or false elsewhere.
// Every member has an initializer, so rows can be written with designated
// initializers that name only the fields they set.
struct ListItem {
  std::string Key{};  // identity; key lookups compare it exactly, case included
  std::string Text{};
  std::string Comment{};
  std::string Other{};
  std::string Path{};
  int32_t Value = 0;  // progress; a new row always starts at 0
  int32_t ValueStartPoint = 0;
  int32_t ValueEndPoint = 0;
  int32_t ValueMax = 0;
  // A picture file's path or a picture's encoded bytes, for the drawn list to
  // show; never saved.
  std::string Image{};
  bool ShowProgressBar = false;
  bool ShowProgressBarPoint = false;
  bool ShowComment = false;
  int32_t ThumbPictureType = 0;
  bool Checked = false;
  std::string TitleText{};
  std::string TitleComment{};
  std::string ComboBoxItems{};  // "|"-separated choices
  bool ItemEnabled = true;
  bool ItemExpanded = false;
  int32_t ItemMode = 0;  // how Text is edited: 0 text box, 1 drop-down from ComboBoxItems, ...
  std::string FileFilter{};
  bool FileClear = false;
  int32_t ForeColor = -1;  // -1: the control's colour
  int32_t BackColor = -1;
  std::string AddString{};
  std::string Tag1Text{};
  std::string Tag1Comment{};
  int32_t Tag1Color = 0;
  std::string Tag2Text{};
  std::string Tag2Comment{};
  int32_t Tag2Color = 0;
  std::string Tag3Text{};
  std::string Tag3Comment{};
  int32_t Tag3Color = 0;
};

// Accessors taking an index ignore one out of range and then read the empty
// value; those taking a key act on the first row with exactly that key, and an
// empty key finds nothing. Nothing here throws.
class ListboxModel {
 public:
  // Events; each may be left empty.
  std::function<void()> ListChanged;
  std::function<void(int index)> ItemChanged;
  std::function<void()> SelectionChanged;
  // Reasons: "AddItem", "RemoveItem", "Clear", "ComboListIndexFromKey".
  std::function<void(std::string_view reason)> Repaint;

  // Appends a row whose Value is 0. With `noDuplicate` a row that differs from
  // an existing one in exactly one of the 34 saved fields is dropped (a full
  // twin is not); old rows' Tag3 fields are compared with the new Tag2 fields,
  // as lists saved by earlier builds expect. True when the row was added.
  bool AddItem(const ListItem& item, bool noDuplicate = false);
  bool AddItem(std::string key, std::string text = {}, std::string comment = {}, std::string other = {},
               std::string path = {});

  const std::vector<ListItem>& Items() const { return items_; }
  int ListCount() const { return static_cast<int>(items_.size()); }
  // -1 for none. Setting raises SelectionChanged when the value changes; values
  // outside -1 .. ListCount()-1 are ignored.
  int ListIndex() const { return listIndex_; }
  void SetListIndex(int index);
  // -1 when no row has the key or the key is empty.
  int ListIndexFromKey(std::string_view key) const;

  // Every setter below raises ItemChanged with the row's index when, and only
  // when, it changes the field; the list-wide changes raise ListChanged.

  // Text by index and by key.
  std::string List(int index) const { return Get(index, &ListItem::Text); }
  void SetList(int index, std::string_view text);
  std::string ListFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Text); }
  void SetListFromKey(std::string_view key, std::string_view text);
  std::string TextFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Text); }
  void SetTextFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Text, v); }

  // Key; writing refuses an empty key.
  std::string ListKey(int index) const { return Get(index, &ListItem::Key); }
  void SetListKey(int index, std::string_view key);

  std::string ListComment(int index) const { return Get(index, &ListItem::Comment); }
  void SetListComment(int index, std::string_view v) { Put(index, &ListItem::Comment, v); }
  std::string ListOther(int index) const { return Get(index, &ListItem::Other); }
  void SetListOther(int index, std::string_view v) { Put(index, &ListItem::Other, v); }
  std::string PathFromIndex(int index) const { return Get(index, &ListItem::Path); }
  void SetPathFromIndex(int index, std::string_view v) { Put(index, &ListItem::Path, v); }
  int32_t Value(int index) const { return Get(index, &ListItem::Value); }
  void SetValue(int index, int32_t v) { Put(index, &ListItem::Value, v); }
  int32_t ValueStartPoint(int index) const { return Get(index, &ListItem::ValueStartPoint); }
  void SetValueStartPoint(int index, int32_t v) { Put(index, &ListItem::ValueStartPoint, v); }
  int32_t ValueEndPoint(int index) const { return Get(index, &ListItem::ValueEndPoint); }
  void SetValueEndPoint(int index, int32_t v) { Put(index, &ListItem::ValueEndPoint, v); }
  int32_t ValueMax(int index) const { return Get(index, &ListItem::ValueMax); }
  void SetValueMax(int index, int32_t v) { Put(index, &ListItem::ValueMax, v); }
  std::string TitleText(int index) const { return Get(index, &ListItem::TitleText); }
  void SetTitleText(int index, std::string_view v) { Put(index, &ListItem::TitleText, v); }
  std::string ListTitleComment(int index) const { return Get(index, &ListItem::TitleComment); }
  void SetListTitleComment(int index, std::string_view v) { Put(index, &ListItem::TitleComment, v); }
  std::string ListImage(int index) const { return Get(index, &ListItem::Image); }
  void SetListImage(int index, std::string_view v) { Put(index, &ListItem::Image, v); }
  int32_t ListThumbPictureType(int index) const { return Get(index, &ListItem::ThumbPictureType); }
  void SetListThumbPictureType(int index, int32_t v) { Put(index, &ListItem::ThumbPictureType, v); }
  bool ListIndexChecked(int index) const { return Get(index, &ListItem::Checked); }
  void SetListIndexChecked(int index, bool v) { Put(index, &ListItem::Checked, v); }
  bool ItemEnabled(int index) const { return Get(index, &ListItem::ItemEnabled); }
  void SetItemEnabled(int index, bool v) { Put(index, &ListItem::ItemEnabled, v); }
  bool ItemExpanded(int index) const { return Get(index, &ListItem::ItemExpanded); }
  void SetItemExpanded(int index, bool v) { Put(index, &ListItem::ItemExpanded, v); }
  int32_t ItemMode(int index) const { return Get(index, &ListItem::ItemMode); }
  void SetItemMode(int index, int32_t v) { Put(index, &ListItem::ItemMode, v); }
  std::string FileFilter(int index) const { return Get(index, &ListItem::FileFilter); }
  void SetFileFilter(int index, std::string_view v) { Put(index, &ListItem::FileFilter, v); }
  bool ShowProgressBar(int index) const { return Get(index, &ListItem::ShowProgressBar); }
  void SetShowProgressBar(int index, bool v) { Put(index, &ListItem::ShowProgressBar, v); }
  bool FileClear(int index) const { return Get(index, &ListItem::FileClear); }
  void SetFileClear(int index, bool v) { Put(index, &ListItem::FileClear, v); }
  std::string Tag1Text(int index) const { return Get(index, &ListItem::Tag1Text); }
  void SetTag1Text(int index, std::string_view v) { Put(index, &ListItem::Tag1Text, v); }
  std::string Tag1Comment(int index) const { return Get(index, &ListItem::Tag1Comment); }
  void SetTag1Comment(int index, std::string_view v) { Put(index, &ListItem::Tag1Comment, v); }
  int32_t Tag1Color(int index) const { return Get(index, &ListItem::Tag1Color); }
  void SetTag1Color(int index, int32_t v) { Put(index, &ListItem::Tag1Color, v); }
  std::string Tag2Text(int index) const { return Get(index, &ListItem::Tag2Text); }
  void SetTag2Text(int index, std::string_view v) { Put(index, &ListItem::Tag2Text, v); }
  std::string Tag2Comment(int index) const { return Get(index, &ListItem::Tag2Comment); }
  void SetTag2Comment(int index, std::string_view v) { Put(index, &ListItem::Tag2Comment, v); }
  int32_t Tag2Color(int index) const { return Get(index, &ListItem::Tag2Color); }
  void SetTag2Color(int index, int32_t v) { Put(index, &ListItem::Tag2Color, v); }
  std::string Tag3Text(int index) const { return Get(index, &ListItem::Tag3Text); }
  void SetTag3Text(int index, std::string_view v) { Put(index, &ListItem::Tag3Text, v); }
  std::string Tag3Comment(int index) const { return Get(index, &ListItem::Tag3Comment); }
  void SetTag3Comment(int index, std::string_view v) { Put(index, &ListItem::Tag3Comment, v); }
  int32_t Tag3Color(int index) const { return Get(index, &ListItem::Tag3Color); }
  void SetTag3Color(int index, int32_t v) { Put(index, &ListItem::Tag3Color, v); }

  std::string TextCommentFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Comment); }
  void SetTextCommentFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Comment, v); }
  std::string OtherTextFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Other); }
  void SetOtherTextFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Other, v); }
  std::string PathFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Path); }
  void SetPathFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Path, v); }
  std::string TitleTextFromKey(std::string_view key) const { return GetByKey(key, &ListItem::TitleText); }
  void SetTitleTextFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::TitleText, v); }
  std::string TitleCommentFromKey(std::string_view key) const { return GetByKey(key, &ListItem::TitleComment); }
  void SetTitleCommentFromKey(std::string_view key, std::string_view v) {
    PutByKey(key, &ListItem::TitleComment, v);
  }
  bool ItemEnabledFromKey(std::string_view key) const { return GetByKey(key, &ListItem::ItemEnabled); }
  void SetItemEnabledFromKey(std::string_view key, bool v) { PutByKey(key, &ListItem::ItemEnabled, v); }
  bool ItemExpandedFromKey(std::string_view key) const { return GetByKey(key, &ListItem::ItemExpanded); }
  void SetItemExpandedFromKey(std::string_view key, bool v) { PutByKey(key, &ListItem::ItemExpanded, v); }
  std::string ComboItemFromKey(std::string_view key) const { return GetByKey(key, &ListItem::ComboBoxItems); }
  void SetComboItemFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::ComboBoxItems, v); }
  std::string Tag1TextFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag1Text); }
  void SetTag1TextFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Tag1Text, v); }
  std::string Tag1CommentFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag1Comment); }
  void SetTag1CommentFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Tag1Comment, v); }
  int32_t Tag1ColorFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag1Color); }
  void SetTag1ColorFromKey(std::string_view key, int32_t v) { PutByKey(key, &ListItem::Tag1Color, v); }
  std::string Tag2TextFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag2Text); }
  void SetTag2TextFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Tag2Text, v); }
  std::string Tag2CommentFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag2Comment); }
  void SetTag2CommentFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Tag2Comment, v); }
  int32_t Tag2ColorFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag2Color); }
  void SetTag2ColorFromKey(std::string_view key, int32_t v) { PutByKey(key, &ListItem::Tag2Color, v); }
  std::string Tag3TextFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag3Text); }
  void SetTag3TextFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Tag3Text, v); }
  std::string Tag3CommentFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag3Comment); }
  void SetTag3CommentFromKey(std::string_view key, std::string_view v) { PutByKey(key, &ListItem::Tag3Comment, v); }
  int32_t Tag3ColorFromKey(std::string_view key) const { return GetByKey(key, &ListItem::Tag3Color); }
  void SetTag3ColorFromKey(std::string_view key, int32_t v) { PutByKey(key, &ListItem::Tag3Color, v); }

  // The chosen entry of a drop-down row (ItemMode 1, ComboBoxItems not empty) by
  // its position among the "|"-separated entries. Reading gives the position of
  // the entry equal to Text, or -1; writing stores that entry as Text when it
  // differs, repaints and raises ItemChanged. Other rows read -1 and ignore writes.
  int ComboListIndexFromKey(std::string_view key) const;
  void SetComboListIndexFromKey(std::string_view key, int entry);
  // The number of entries of such a row, 0 for any other.
  int ComboListCountFromKey(std::string_view key) const;

  // Removes a row and drops the selection, without SelectionChanged: the drawn
  // list closes its editor and clamps its scrolling before calling this.
  void RemoveItem(int index);
  // Empties the list and drops the selection, raising SelectionChanged.
  void Clear();
  // Mode 0 swaps with the row above, 1 with the row below, 2 moves to the top,
  // 3 to the bottom; the moved row is then selected. A move with nowhere to go
  // changes nothing.
  void ItemArrange(int index, int mode);
  // Moves a row to `to`, shifting those between, and selects it.
  void ItemArrangeToIndex(int from, int to);

  // Writes one "[TaskN]" section per row, leaving out empty fields. The file is
  // replaced atomically. False when it cannot be written.
  bool SaveListToFile(std::string_view fileName) const;
  // The text such a save writes.
  std::string ListFileText() const;
  // Appends the rows of a list file, after emptying the list when `clear` is
  // set. The reader keeps the limits lists were always read with: at most 255
  // characters of section names (a list of more than 37 rows is cut after a
  // copy of the 37th), 254 characters a value, a field left out inherits the
  // row before's value, Value is not read, and the last row comes twice.
  // Returns the number of rows added; a missing file adds none.
  int LoadListFromFile(std::string_view fileName, bool clear = false);

 private:
  const ListItem* At(int index) const;
  ListItem* At(int index);
  // The index of the first row with the key, -1 for none.
  int Find(std::string_view key) const;
  int ComboRow(std::string_view key) const;
  void MoveItem(int from, int to);

  template <class T>
  T Get(int index, T ListItem::*field) const {
    const ListItem* item = At(index);
    return item ? item->*field : T{};
  }
  // Every write that changes a field reports it, so a view never polls.
  template <class T, class V>
  void Put(int index, T ListItem::*field, const V& value) {
    ListItem* item = At(index);
    if (!item) return;
    T fresh(value);
    if (item->*field == fresh) return;
    item->*field = std::move(fresh);
    if (ItemChanged) ItemChanged(index);
  }
  template <class T>
  T GetByKey(std::string_view key, T ListItem::*field) const {
    return Get(Find(key), field);
  }
  template <class T, class V>
  void PutByKey(std::string_view key, T ListItem::*field, const V& value) {
    Put(Find(key), field, value);
  }

  std::vector<ListItem> items_;
  int listIndex_ = -1;
};

}  // namespace zel
