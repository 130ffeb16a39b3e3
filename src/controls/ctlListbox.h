// The program's one drawn list: settings rows edited in place, the thumbnail
// task list with its progress bars, the log and the chooser lists.
#pragma once

#include "jobs/ListboxModel.h"

#include <QByteArray>
#include <QCache>
#include <QImage>
#include <QPixmap>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QWidget>

#include <array>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

class QAccessibleInterface;
class QComboBox;
class QLineEdit;
class QScrollBar;
class QTimer;

namespace zel {

class DialogChooser;

// The look and behaviour switches of a list. Hosts set them through the
// control's getter and SetX pairs; colours are 0x00BBGGRR.
struct ListboxProps {
  // Geometry, in 96-dpi pixels.
  int ItemHeight = 64;
  int ExpandItemHeight = 128;
  int TitleWidth = 0;
  int Padding = 4;
  int GridLinePadding = 4;
  int SegmentationLinePadding = 6;
  int ListTipBoxHeight = 24;
  int ScrollBarWidth = 14;
  int ProgressBarHeight = 6;
  // Switches.
  bool Locked = false;
  bool MoveMouse = true;  // hover shading and MouseMove without a button held
  bool ThumbBlack = false;
  bool Enabled = true;
  bool ShowItemPressShadow = true;
  bool ShowFocus = false;
  bool ShowSegmentationLine = false;
  bool ScrollEffect = false;
  bool ShowEffect = false;
  bool UseGDIPlus = true;  // antialiased shapes and text
  bool ShowListIndexInTitle = false;
  bool ShowListTip = false;
  bool ShowHighlight = true;
  bool ShowItemHoverShadow = true;
  bool TransparentBack = false;
  // While the list scrolls, a small box tells the first row in view as
  // "N / ListCount"; it fades a moment after the scrolling stops.
  bool ShowScrollIndex = false;
  bool ShowGridLine = true;
  // A row's unit (Tag1Text: "s", "%", "ms") drawn behind its value, as the
  // settings rows want it.
  bool ShowUnit = false;
  bool Editable = true;  // false: a click selects but never opens an editor
  bool ShowCheckBox = false;
  // A menu-like list: the row under the pointer is selected as it moves
  // (needs MoveMouse). Off, a row is selected by a click.
  bool AutoSelectable = false;
  bool Selectable = true;
  // True: the desktop's own scroll bar; false: a slim bar in the list's colours.
  bool ShowSystemScrollBar = false;
  bool ShowBorder = false;
  // Styles. Alignments: 0 left, 1 right, 2 centre.
  int ProgressBarStyle = 0;  // 0 flat bar, 1 gradient bar, 2 thin line at the row's foot
  int TitleStyle = 0;  // 1 draws the title bold
  int ScrollIndexStyle = 0;  // 0 at the right edge by the scroll bar, 1 centred
  int FocusStyle = 0;
  int BorderStyle = 0;  // 0 a 1-px line, 1 a sunken 2-px relief
  int TextAlign = 0;
  int TitleAlign = 0;
  // The row texts: 0 plain, 1 a shadow 1 px down and right, 2 an outline;
  // both in TextEffectColor.
  int TextEffect = 0;
  int Transparent = 0;  // 0..100: how far the row faces let the back show through
  // Colours.
  int32_t ForeColor = 0x202020;
  int32_t ForeColorSelected = 0x000000;
  int32_t TextEffectColor = 0xFFFFFF;
  int32_t BorderColor = 0xA0A0A0;
  int32_t BackColor = 0xFFFFFF;
  int32_t ItemColor = 0xFAFAFA;
  int32_t GridLineColor = 0xE6E6E6;
  int32_t FocusColor = 0x9E7A3C;
  int32_t SegmentationLineColor = 0xD8D8D8;
  int32_t ItemColorPressed = 0xF5DEC8;
  int32_t ProgressBarPointColor = 0x3C8CF0;
  int32_t ProgressBarColor = 0xC8904A;
  // Pictures; an unset one is drawn as a stock glyph.
  QPixmap PictureImage;
  QPixmap PictureVideo;
  QPixmap PictureAudio;
  QPixmap PictureOther;
  QPixmap PictureCheckBox;
  QPixmap DefaultImage;
  // Texts.
  QString ListTitle;
  QString ListTipText;
  QString DefaultText;
  QString DefaultNullListText;
  QString SelectedPath;
};

// The stock picture a row without its own shows.
enum class ThumbKind { None, Image, Video, Audio, Other };

class ctlListbox : public QWidget {
  Q_OBJECT

 public:
  explicit ctlListbox(QWidget* parent = nullptr);
  ~ctlListbox() override;

  // The rows and their per-item properties. Changes made here are repainted
  // and reported by the control's signals.
  ListboxModel& Model() { return model_; }
  const ListboxModel& Model() const { return model_; }

  bool AddItem(const ListItem& item, bool noDuplicate = false);
  // Both close an open editor first, storing its text, so that the edit is
  // reported before its row vanishes.
  void RemoveItem(int index);
  void Clear();
  int ListIndex() const { return model_.ListIndex(); }
  // Selects, scrolls the row into view and reports the change.
  void SetListIndex(int index);
  int ListCount() const { return model_.ListCount(); }
  void ItemArrange(int index, int mode);
  void ItemArrangeToIndex(int from, int to);
  // The action of a click on a row: opens the editor its ItemMode calls for.
  // A disabled or missing row is only repainted.
  void ClickIt(int index);
  // Brings the row to the top of the view, animated when ScrollEffect is on.
  void Scroll(int index);
  void StopScroll();
  // The row's picture (its own or the stock one) drawn into `size`.
  QImage RenderThumb(int index, QSize size);
  bool Refresh() const { return refresh_; }
  // False holds repaints back while a host fills the list; True repaints at
  // once and raises ListChanged.
  void SetRefresh(bool on);
  bool SaveListToFile(std::string_view fileName) const { return model_.SaveListToFile(fileName); }
  int LoadListFromFile(std::string_view fileName, bool clear = false);

  void SetChooser(DialogChooser* chooser) { chooser_ = chooser; }

  int Style() const { return style_; }
  void SetStyle(int style);
  // The list's item, pressed, focus, bar and line colours from one back colour.
  void SetThemeColor(int32_t back);

#define ZEL_LISTBOX_PROPERTY(Type, Name) \
  Type Name() const { return props_.Name; } \
  void Set##Name(const Type& value) { SetProp(props_.Name, value); }
  ZEL_LISTBOX_PROPERTY(int, ItemHeight)
  ZEL_LISTBOX_PROPERTY(int, ExpandItemHeight)
  ZEL_LISTBOX_PROPERTY(int, TitleWidth)
  ZEL_LISTBOX_PROPERTY(int, Padding)
  ZEL_LISTBOX_PROPERTY(int, GridLinePadding)
  ZEL_LISTBOX_PROPERTY(int, SegmentationLinePadding)
  ZEL_LISTBOX_PROPERTY(int, ListTipBoxHeight)
  ZEL_LISTBOX_PROPERTY(int, ScrollBarWidth)
  ZEL_LISTBOX_PROPERTY(int, ProgressBarHeight)
  ZEL_LISTBOX_PROPERTY(bool, Locked)
  ZEL_LISTBOX_PROPERTY(bool, MoveMouse)
  ZEL_LISTBOX_PROPERTY(bool, ThumbBlack)
  ZEL_LISTBOX_PROPERTY(bool, Enabled)
  ZEL_LISTBOX_PROPERTY(bool, ShowItemPressShadow)
  ZEL_LISTBOX_PROPERTY(bool, ShowFocus)
  ZEL_LISTBOX_PROPERTY(bool, ShowSegmentationLine)
  ZEL_LISTBOX_PROPERTY(bool, ScrollEffect)
  ZEL_LISTBOX_PROPERTY(bool, ShowEffect)
  ZEL_LISTBOX_PROPERTY(bool, UseGDIPlus)
  ZEL_LISTBOX_PROPERTY(bool, ShowListIndexInTitle)
  ZEL_LISTBOX_PROPERTY(bool, ShowListTip)
  ZEL_LISTBOX_PROPERTY(bool, ShowHighlight)
  ZEL_LISTBOX_PROPERTY(bool, ShowItemHoverShadow)
  ZEL_LISTBOX_PROPERTY(bool, TransparentBack)
  ZEL_LISTBOX_PROPERTY(bool, ShowScrollIndex)
  ZEL_LISTBOX_PROPERTY(bool, ShowGridLine)
  ZEL_LISTBOX_PROPERTY(bool, ShowUnit)
  ZEL_LISTBOX_PROPERTY(bool, Editable)
  ZEL_LISTBOX_PROPERTY(bool, ShowCheckBox)
  ZEL_LISTBOX_PROPERTY(bool, AutoSelectable)
  ZEL_LISTBOX_PROPERTY(bool, Selectable)
  ZEL_LISTBOX_PROPERTY(bool, ShowSystemScrollBar)
  ZEL_LISTBOX_PROPERTY(bool, ShowBorder)
  ZEL_LISTBOX_PROPERTY(int, ProgressBarStyle)
  ZEL_LISTBOX_PROPERTY(int, TitleStyle)
  ZEL_LISTBOX_PROPERTY(int, ScrollIndexStyle)
  ZEL_LISTBOX_PROPERTY(int, FocusStyle)
  ZEL_LISTBOX_PROPERTY(int, BorderStyle)
  ZEL_LISTBOX_PROPERTY(int, TextAlign)
  ZEL_LISTBOX_PROPERTY(int, TitleAlign)
  ZEL_LISTBOX_PROPERTY(int, TextEffect)
  ZEL_LISTBOX_PROPERTY(int, Transparent)
  ZEL_LISTBOX_PROPERTY(int32_t, ForeColor)
  ZEL_LISTBOX_PROPERTY(int32_t, ForeColorSelected)
  ZEL_LISTBOX_PROPERTY(int32_t, TextEffectColor)
  ZEL_LISTBOX_PROPERTY(int32_t, BorderColor)
  ZEL_LISTBOX_PROPERTY(int32_t, BackColor)
  ZEL_LISTBOX_PROPERTY(int32_t, ItemColor)
  ZEL_LISTBOX_PROPERTY(int32_t, GridLineColor)
  ZEL_LISTBOX_PROPERTY(int32_t, FocusColor)
  ZEL_LISTBOX_PROPERTY(int32_t, SegmentationLineColor)
  ZEL_LISTBOX_PROPERTY(int32_t, ItemColorPressed)
  ZEL_LISTBOX_PROPERTY(int32_t, ProgressBarPointColor)
  ZEL_LISTBOX_PROPERTY(int32_t, ProgressBarColor)
  ZEL_LISTBOX_PROPERTY(QPixmap, PictureImage)
  ZEL_LISTBOX_PROPERTY(QPixmap, PictureVideo)
  ZEL_LISTBOX_PROPERTY(QPixmap, PictureAudio)
  ZEL_LISTBOX_PROPERTY(QPixmap, PictureOther)
  ZEL_LISTBOX_PROPERTY(QPixmap, PictureCheckBox)
  ZEL_LISTBOX_PROPERTY(QPixmap, DefaultImage)
  ZEL_LISTBOX_PROPERTY(QString, ListTitle)
  ZEL_LISTBOX_PROPERTY(QString, ListTipText)
  ZEL_LISTBOX_PROPERTY(QString, DefaultText)
  ZEL_LISTBOX_PROPERTY(QString, DefaultNullListText)
  ZEL_LISTBOX_PROPERTY(QString, SelectedPath)
#undef ZEL_LISTBOX_PROPERTY

  // The value as the row shows it and reads it out: its text, with its unit
  // when ShowUnit is set.
  QString ShownValue(int index) const;
  // Where a row and its parts stand in the widget, for hosts placing popups
  // and for tests aiming a click. Empty for a row out of range.
  QRect ItemRect(int index) const;
  QRect CheckBoxRect(int index) const;
  QRect ValueRect(int index) const;
  // The row under a point of the widget, -1 for none.
  int IndexAt(QPoint pos) const;
  int ScrollOffset() const { return offset_; }
  // The row whose editor is open, -1 when none is.
  int EditorIndex() const { return editorRow_; }
  QLineEdit* TextBox() const { return txtText_; }
  QScrollBar* ScrollBar() const { return ctlScrollbar1_; }
  // The scroll index box: its text, and whether it is up.
  QString ScrollIndexText() const;
  bool ScrollIndexVisible() const { return scrollIndexShown_; }
  QComboBox* ComboBox() const { return cmbCombo_; }
  // How many pictures were decoded so far: each distinct picture once while
  // it stays in the cache.
  int DecodeCount() const { return decodeCount_; }
  // The stock picture a row shows when it has none of its own.
  static ThumbKind StockKind(const ListItem& item);

  // The accessible row, registered with Qt and kept until the list changes.
  QAccessibleInterface* AccessibleRow(int index);
  // What an assistive technology's press on a row does: the same as a click
  // released on it.
  void PressRow(int index);
  void ToggleRow(int index);

 signals:
  void Click();
  void DblClick();
  void SelectionChanged();
  void KeyUp(int key, int shift);
  void KeyDown(int key, int shift);
  void MouseDown(int button, int shift, int x, int y, int index);
  void MouseMove(int button, int shift, int x, int y, int index);
  void MouseUp(int button, int shift, int x, int y, int index);
  void MouseWheel(int delta);
  void MouseEnter();
  void MouseLeave();
  // Focus came into the list or one of its editors, or left them all.
  void Activate();
  void Deactivate();
  // The top-level window that holds the list moved or changed its size.
  void ParentMove();
  void ParentResize();
  void DebugText(QString text);
  void ListChanged(int listCount, int listIndex);
  void ItemChanged(int listCount, int index);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  template <class T>
  void SetProp(T& field, const T& value) {
    if (field == value) return;
    field = value;
    PropsChanged();
  }
  void SetProp(QPixmap& field, const QPixmap& value) {
    field = value;
    PropsChanged();
  }
  void PropsChanged();
  void Repaint(std::string_view reason);

  // Row tops, computed again only when rows or heights changed.
  void EnsureLayout() const;
  int RowHeight(const ListItem& item) const;
  int TotalHeight() const;
  int ViewHeight() const;
  int RowsRight() const;
  // The width of the border the rows stand inside.
  int Frame() const;
  void UpdateScrollBar();
  void StyleScrollBar();
  void ShowScrollIndexBox();
  void PaintScrollIndex(QPainter& p, const QRect& view) const;
  void PaintBorder(QPainter& p) const;
  void DrawRowText(QPainter& p, const QRect& r, int flags, const QString& text, const QColor& color) const;
  void WatchWindow();
  void FocusMoved(QWidget* now);
  // Tells assistive technology that rows from..to-1 are about to go.
  void AnnounceRemoved(int from, int to);
  void SetOffset(int offset);
  void ScrollIntoView(int index);
  void AnimateTo(int offset);
  void OnScrollFrame();
  void OnDrawFrame();
  void Select(int index);

  void HandleRelease(int index, QPoint pos, int button, int shift, int selectedAtPress);
  void OpenTextBox(int index);
  void OpenCombo(int index);
  void ChooseColor(int index);
  void ChooseFile(int index);
  void ChooseFolder(int index);
  void ChooseFont(int index);
  void CloseEditor();
  // Stores a dialog's answer and reports it even when it equals the old text.
  void StoreChosen(int index, const QString& text);
  DialogChooser& Chooser() const;

  struct RowParts {
    QRect check, thumb, title, value;
  };
  RowParts PartsOf(int index, const QRect& row) const;
  QRect RowRect(int index) const;
  QString TitleOf(int index) const;
  void PaintRow(QPainter& p, int index, const QRect& rect) const;
  // Draws the row's own picture, or its stock one; `cached` keeps the scaled
  // picture for the next frame.
  void DrawThumb(QPainter& p, const ListItem& item, const QRect& r, bool cached) const;
  QPixmap CachedThumb(const std::string& image, QSize size) const;
  void DrawStock(QPainter& p, ThumbKind kind, const QRect& r) const;
  void InvalidateAccessibleRows();

  ListboxModel model_;
  ListboxProps props_;
  int style_ = 26;
  bool refresh_ = true;
  DialogChooser* chooser_ = nullptr;

  mutable std::vector<int> tops_;  // ListCount()+1 entries, the last the total
  mutable bool layoutDirty_ = true;

  int offset_ = 0;
  int hoverRow_ = -1;
  int pressRow_ = -1;
  int selectedAtPress_ = -1;
  bool pressed_ = false;
  int editorRow_ = -1;
  bool removingSelection_ = false;
  bool appended_ = false;

  // Scrolling over frames, and the fade of a new selection.
  int animFrom_ = 0;
  int animTo_ = 0;
  int animFrame_ = 0;
  int animFrames_ = 8;
  int drawAlpha_ = 255;

  std::array<QColor, 16> customColors_{};
  bool customColorsSet_ = false;

  QLineEdit* txtText_ = nullptr;
  QComboBox* cmbCombo_ = nullptr;
  QScrollBar* ctlScrollbar1_ = nullptr;
  QTimer* tmrTimer_ = nullptr;
  QTimer* tmrTimerDraw_ = nullptr;
  QTimer* tmrScrollIndex_ = nullptr;
  bool scrollIndexShown_ = false;
  QString scrollBarSheet_;
  QPointer<QWidget> watchedWindow_;
  bool focusInside_ = false;

  // Scaled thumbnails by the picture they come from; a picture that does not
  // decode is kept as a null pixmap so it is not tried again.
  mutable QCache<QByteArray, QPixmap> thumbs_;
  // Picture files being read on a worker thread; their rows show the stock
  // picture until the thumbnail comes back.
  mutable QSet<QByteArray> pendingFiles_;
  mutable int decodeCount_ = 0;
  mutable QSize thumbSize_;

  std::unordered_map<int, unsigned> accessibleRows_;  // row -> QAccessible::Id
};

// The accessible face of a list: role List, one child per row.
QAccessibleInterface* AccessibleFor(ctlListbox* control);

}  // namespace zel
