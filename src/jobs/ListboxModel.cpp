#include "jobs/ListboxModel.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>
#include <variant>

#include "jobs/IniFile.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

using FieldRef = std::variant<std::string ListItem::*, int32_t ListItem::*, bool ListItem::*>;

struct Field {
  const char* name;
  FieldRef field;
  // The new row's field that the duplicate test holds this one against.
  FieldRef twin;
  bool read = true;
};

// The saved fields in file order. Tag3 is held against the new row's Tag2: lists
// and hosts grew up with that test, so it stays.
const std::array<Field, 34> kFields{{
    {"Key", &ListItem::Key, &ListItem::Key},
    {"Text", &ListItem::Text, &ListItem::Text},
    {"Comment", &ListItem::Comment, &ListItem::Comment},
    {"Other", &ListItem::Other, &ListItem::Other},
    {"Path", &ListItem::Path, &ListItem::Path},
    {"Value", &ListItem::Value, &ListItem::Value, false},
    {"ShowProgressBar", &ListItem::ShowProgressBar, &ListItem::ShowProgressBar},
    {"ShowProgressBarPoint", &ListItem::ShowProgressBarPoint, &ListItem::ShowProgressBarPoint},
    {"ShowComment", &ListItem::ShowComment, &ListItem::ShowComment},
    {"ThumbPictureType", &ListItem::ThumbPictureType, &ListItem::ThumbPictureType},
    {"Checked", &ListItem::Checked, &ListItem::Checked},
    {"ValueStartPoint", &ListItem::ValueStartPoint, &ListItem::ValueStartPoint},
    {"ValueEndPoint", &ListItem::ValueEndPoint, &ListItem::ValueEndPoint},
    {"ValueMax", &ListItem::ValueMax, &ListItem::ValueMax},
    {"TitleText", &ListItem::TitleText, &ListItem::TitleText},
    {"TitleComment", &ListItem::TitleComment, &ListItem::TitleComment},
    {"ComboBoxItems", &ListItem::ComboBoxItems, &ListItem::ComboBoxItems},
    {"ItemEnabled", &ListItem::ItemEnabled, &ListItem::ItemEnabled},
    {"ItemExpanded", &ListItem::ItemExpanded, &ListItem::ItemExpanded},
    {"ItemMode", &ListItem::ItemMode, &ListItem::ItemMode},
    {"FileFilter", &ListItem::FileFilter, &ListItem::FileFilter},
    {"FileClear", &ListItem::FileClear, &ListItem::FileClear},
    {"ForeColor", &ListItem::ForeColor, &ListItem::ForeColor},
    {"BackColor", &ListItem::BackColor, &ListItem::BackColor},
    {"AddString", &ListItem::AddString, &ListItem::AddString},
    {"Tag1Text", &ListItem::Tag1Text, &ListItem::Tag1Text},
    {"Tag1Comment", &ListItem::Tag1Comment, &ListItem::Tag1Comment},
    {"Tag1Color", &ListItem::Tag1Color, &ListItem::Tag1Color},
    {"Tag2Text", &ListItem::Tag2Text, &ListItem::Tag2Text},
    {"Tag2Comment", &ListItem::Tag2Comment, &ListItem::Tag2Comment},
    {"Tag2Color", &ListItem::Tag2Color, &ListItem::Tag2Color},
    {"Tag3Text", &ListItem::Tag3Text, &ListItem::Tag2Text},
    {"Tag3Comment", &ListItem::Tag3Comment, &ListItem::Tag2Comment},
    {"Tag3Color", &ListItem::Tag3Color, &ListItem::Tag2Color},
}};

// The limit of the profile call that lists were always read with: section
// names share one buffer of characters, counting each name's NUL.
constexpr size_t kNamesBuffer = 255;

template <class F, class... A>
void Raise(const F& event, A&&... args) {
  if (event) event(std::forward<A>(args)...);
}

int CountEqual(const ListItem& old, const ListItem& fresh) {
  int equal = 0;
  for (const Field& f : kFields) {
    equal += std::visit(
        [&](auto mine, auto theirs) {
          if constexpr (std::is_same_v<decltype(mine), decltype(theirs)>) {
            return old.*mine == fresh.*theirs ? 1 : 0;
          } else {
            return 0;
          }
        },
        f.field, f.twin);
  }
  return equal;
}

// The field's text as saved, "" for a field that is left out.
std::string SavedText(const ListItem& item, const FieldRef& ref) {
  struct {
    const ListItem& item;
    std::string operator()(std::string ListItem::*f) const { return item.*f; }
    std::string operator()(int32_t ListItem::*f) const { return item.*f == 0 ? "" : std::to_string(item.*f); }
    std::string operator()(bool ListItem::*f) const { return item.*f ? "True" : ""; }
  } text{item};
  return std::visit(text, ref);
}

// A boolean from its word or from a number; false when the text is neither and
// the variable keeps what it held.
bool ParseBool(std::string_view text, bool& out) {
  const std::string word = LowerAscii(text);
  if (word == "true" || word == "false") {
    out = word == "true";
    return true;
  }
  if (!IsNumeric(text)) return false;
  out = Val(text) != 0;
  return true;
}

void Assign(ListItem& item, const FieldRef& ref, const std::string& text) {
  struct {
    ListItem& item;
    const std::string& text;
    void operator()(std::string ListItem::*f) const { item.*f = text; }
    void operator()(int32_t ListItem::*f) const { RoundToInt32(Val(text), item.*f); }
    void operator()(bool ListItem::*f) const { ParseBool(text, item.*f); }
  } assign{item, text};
  std::visit(assign, ref);
}

struct IniSection {
  std::string name;
  std::string lowerName;
  std::vector<std::pair<std::string, std::string>> entries;  // lower-case key, trimmed value
};

// Sections in file order. Lines before the first section, lines without "=" and
// a "[" without "]" are junk and skipped.
std::vector<IniSection> ParseSections(std::string_view text) {
  std::vector<IniSection> sections;
  for (std::string_view raw : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    const std::string line = Trim(raw);
    const size_t close = line.find(']');
    if (!line.empty() && line.front() == '[' && close != std::string::npos) {
      IniSection section;
      section.name = Trim(std::string_view(line).substr(1, close - 1));
      section.lowerName = LowerAscii(section.name);
      sections.push_back(std::move(section));
      continue;
    }
    const size_t equals = line.find('=');
    if (sections.empty() || equals == std::string::npos) continue;
    std::string_view view(line);
    sections.back().entries.emplace_back(LowerAscii(Trim(view.substr(0, equals))), Trim(view.substr(equals + 1)));
  }
  return sections;
}

// The section names as a buffer of `size` characters returns them: each with
// its NUL, cut off inside a name that no longer fits.
std::string SectionNames(const std::vector<IniSection>& sections, size_t size) {
  std::string names;
  size_t room = size - 1;
  for (const IniSection& section : sections) {
    if (section.name.empty()) continue;
    const size_t length = CharacterCount(section.name) + 1;
    if (length >= room) {
      names.append(FirstCharacters(section.name, room - 1));
      return names;
    }
    names.append(section.name).push_back('\0');
    room -= length;
  }
  return names;
}

const IniSection* FindSection(const std::vector<IniSection>& sections, std::string_view name) {
  if (name.empty()) return nullptr;
  const std::string lower = LowerAscii(name);
  for (const IniSection& section : sections) {
    if (section.lowerName == lower) return &section;
  }
  return nullptr;
}

// A value as a profile read returns it: the first occurrence of the key, up to a
// NUL, freed of one pair of quotes, cut to the buffer. The cut never splits a
// UTF-8 character. "" when the key is missing.
std::string ProfileString(const IniSection* section, std::string_view key) {
  if (!section) return {};
  const std::string lower = LowerAscii(key);
  const auto hit = std::find_if(section->entries.begin(), section->entries.end(),
                                [&](const auto& entry) { return entry.first == lower; });
  if (hit == section->entries.end()) return {};
  std::string_view value = hit->second;
  value = value.substr(0, value.find('\0'));
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(FirstCharacters(value, kProfileValueChars));
}

}  // namespace

bool ListboxModel::AddItem(const ListItem& item, bool noDuplicate) {
  ListItem fresh = item;
  fresh.Value = 0;
  if (noDuplicate) {
    // Exactly one differing field marks the same content under a fresh key.
    for (const ListItem& old : items_) {
      if (CountEqual(old, fresh) == static_cast<int>(kFields.size()) - 1) return false;
    }
  }
  items_.push_back(std::move(fresh));
  Raise(Repaint, "AddItem");
  Raise(ListChanged);
  return true;
}

bool ListboxModel::AddItem(std::string key, std::string text, std::string comment, std::string other,
                           std::string path) {
  ListItem item;
  item.Key = std::move(key);
  item.Text = std::move(text);
  item.Comment = std::move(comment);
  item.Other = std::move(other);
  item.Path = std::move(path);
  return AddItem(item);
}

const ListItem* ListboxModel::At(int index) const {
  return index >= 0 && index < ListCount() ? &items_[static_cast<size_t>(index)] : nullptr;
}

ListItem* ListboxModel::At(int index) {
  return index >= 0 && index < ListCount() ? &items_[static_cast<size_t>(index)] : nullptr;
}

int ListboxModel::Find(std::string_view key) const {
  if (key.empty()) return -1;
  for (int i = 0; i < ListCount(); ++i) {
    if (items_[static_cast<size_t>(i)].Key == key) return i;
  }
  return -1;
}

int ListboxModel::ListIndexFromKey(std::string_view key) const { return Find(key); }

void ListboxModel::SetListIndex(int index) {
  if (index < -1 || index >= ListCount() || index == listIndex_) return;
  listIndex_ = index;
  Raise(SelectionChanged);
}

void ListboxModel::SetList(int index, std::string_view text) { Put(index, &ListItem::Text, text); }

void ListboxModel::SetListFromKey(std::string_view key, std::string_view text) { SetList(Find(key), text); }

void ListboxModel::SetListKey(int index, std::string_view key) {
  if (!key.empty()) Put(index, &ListItem::Key, key);
}

int ListboxModel::ComboRow(std::string_view key) const {
  const int index = Find(key);
  const ListItem* item = At(index);
  return item && item->ItemMode == 1 && !item->ComboBoxItems.empty() ? index : -1;
}

int ListboxModel::ComboListIndexFromKey(std::string_view key) const {
  const ListItem* item = At(ComboRow(key));
  if (!item) return -1;
  const std::vector<std::string> entries = Split(item->ComboBoxItems, "|");
  const auto hit = std::find(entries.begin(), entries.end(), item->Text);
  return hit == entries.end() ? -1 : static_cast<int>(hit - entries.begin());
}

void ListboxModel::SetComboListIndexFromKey(std::string_view key, int entry) {
  const int index = ComboRow(key);
  ListItem* item = At(index);
  if (!item) return;
  const std::vector<std::string> entries = Split(item->ComboBoxItems, "|");
  if (entry < 0 || entry >= static_cast<int>(entries.size())) return;
  const std::string& chosen = entries[static_cast<size_t>(entry)];
  if (chosen == item->Text) return;
  item->Text = chosen;
  Raise(Repaint, "ComboListIndexFromKey");
  Raise(ItemChanged, index);
}

int ListboxModel::ComboListCountFromKey(std::string_view key) const {
  const ListItem* item = At(ComboRow(key));
  return item ? static_cast<int>(Split(item->ComboBoxItems, "|").size()) : 0;
}

void ListboxModel::RemoveItem(int index) {
  if (!At(index)) return;
  listIndex_ = -1;
  items_.erase(items_.begin() + index);
  if (items_.empty()) items_.shrink_to_fit();
  Raise(Repaint, "RemoveItem");
  Raise(ListChanged);
}

void ListboxModel::Clear() {
  items_.clear();
  items_.shrink_to_fit();
  listIndex_ = -1;
  Raise(SelectionChanged);
  Raise(Repaint, "Clear");
  Raise(ListChanged);
}

void ListboxModel::MoveItem(int from, int to) {
  const auto begin = items_.begin();
  if (from < to) {
    std::rotate(begin + from, begin + from + 1, begin + to + 1);
  } else {
    std::rotate(begin + to, begin + from, begin + from + 1);
  }
}

void ListboxModel::ItemArrange(int index, int mode) {
  // Where each mode sends the row; a target equal to the row or outside the
  // list means there is nowhere to go.
  using Target = int (*)(int index, int last);
  static constexpr std::array<Target, 4> kTargets{
      [](int i, int) { return i - 1; },
      [](int i, int) { return i + 1; },
      [](int, int) { return 0; },
      [](int, int last) { return last; },
  };
  if (!At(index) || mode < 0 || mode >= static_cast<int>(kTargets.size())) return;
  const int to = kTargets[static_cast<size_t>(mode)](index, ListCount() - 1);
  if (!At(to) || to == index) return;
  MoveItem(index, to);
  SetListIndex(to);
  Raise(ListChanged);
}

void ListboxModel::ItemArrangeToIndex(int from, int to) {
  if (!At(from) || !At(to)) return;
  if (from != to) MoveItem(from, to);
  SetListIndex(to);
  if (from != to) Raise(ListChanged);
}

bool ListboxModel::SaveListToFile(std::string_view fileName) const {
  return WriteFileAtomic(fileName, ListFileText());
}

std::string ListboxModel::ListFileText() const {
  std::string text;
  for (size_t i = 0; i < items_.size(); ++i) {
    text.append("[Task").append(std::to_string(i + 1)).append("]\r\n");
    for (const Field& f : kFields) {
      const std::string value = SavedText(items_[i], f.field);
      if (!value.empty()) text.append(f.name).append("=").append(value).append("\r\n");
    }
    text.append("\r\n");
  }
  return text;
}

int ListboxModel::LoadListFromFile(std::string_view fileName, bool clear) {
  if (clear) Clear();
  const std::vector<IniSection> sections = ParseSections(ReadText(fileName));
  // Split keeps the empty name after the final NUL: it finds no section, so the
  // last row read is added once more.
  const std::vector<std::string> names = Split(SectionNames(sections, kNamesBuffer), std::string_view("\0", 1));
  // The working row starts blank rather than with a new row's defaults: a saved
  // False, 0 or "" is a left-out line, and the first row must read back as saved.
  ListItem row;
  row.ItemEnabled = false;
  row.ForeColor = 0;
  row.BackColor = 0;
  int added = 0;
  for (const std::string& name : names) {
    const IniSection* section = FindSection(sections, name);
    for (const Field& f : kFields) {
      if (!f.read) continue;
      const std::string value = ProfileString(section, f.name);
      if (!value.empty()) Assign(row, f.field, value);
    }
    added += AddItem(row) ? 1 : 0;
  }
  return added;
}

}  // namespace zel
