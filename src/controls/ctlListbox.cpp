#include "controls/ctlListbox.h"

#include "controls/ComboItems.h"
#include "controls/DialogChooser.h"
#include "controls/FontText.h"
#include "controls/MouseCodes.h"
#include "controls/QtText.h"
#include "controls/Theme.h"
#include "jobs/Tasks.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QFileInfo>
#include <QImageReader>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLinearGradient>
#include <QPainter>
#include <QPointer>
#include <QCoreApplication>
#include <QThreadPool>

#include <span>
#include <QPainterPath>
#include <QPointer>
#include <QScrollBar>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <optional>

namespace zel {

namespace {

constexpr int kCheckSize = 16;
constexpr int kFrameInterval = 15;  // ms between animation frames
constexpr int kScrollFrames = 8;
constexpr int kFadeStep = 40;  // alpha added per frame of the selection fade
constexpr int kWheelNotch = 120;
// How long the scroll index box stays up after the last scroll step.
constexpr int kScrollIndexLinger = 700;
// The row faces are never see-through entirely, or the rows would vanish.
constexpr qreal kLeastOpacity = 0.1;
// A path longer than this is taken for a picture's bytes.
constexpr qsizetype kLongestPath = 4096;
// The cache of scaled thumbnails, in KiB of pixels.
constexpr int kThumbCacheKiB = 64 * 1024;
// Custom colours of the colour dialog start as this colour.
constexpr int32_t kCustomColorSeed = 254;


bool IsPictureFile(const QByteArray& image) {
  return image.size() < kLongestPath && !image.contains('\0') && QFileInfo(QString::fromUtf8(image)).isFile();
}

QImage DecodePicture(const QByteArray& image, QSize target) {
  QImage picture;
  if (IsPictureFile(image)) {
    QImageReader reader(QString::fromUtf8(image));
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    // Large photos decode straight to the thumbnail's size.
    if (full.isValid()) reader.setScaledSize(full.scaled(target, Qt::KeepAspectRatio));
    picture = reader.read();
  } else {
    picture.loadFromData(image);
  }
  if (picture.isNull() || picture.size() == target) return picture;
  return picture.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

// Which stock picture a source kind shows.
ThumbKind KindOfSource(SourceKind kind) {
  switch (kind) {
    case SourceKind::Image: return ThumbKind::Image;
    case SourceKind::Video:
    case SourceKind::Disc: return ThumbKind::Video;
    case SourceKind::Audio: return ThumbKind::Audio;
    default: return ThumbKind::Other;
  }
}

// ---------------------------------------------------------------- accessibility

class RowAccessible final : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  RowAccessible(ctlListbox* list, int row) : list_(list), row_(row) {}
  int Row() const { return row_; }

  bool isValid() const override { return list_ && row_ < list_->ListCount(); }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override { return list_ ? list_->window()->windowHandle() : nullptr; }
  QAccessibleInterface* parent() const override {
    return list_ ? QAccessible::queryAccessibleInterface(list_.data()) : nullptr;
  }
  QAccessibleInterface* child(int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  QString text(QAccessible::Text t) const override {
    if (!isValid()) return {};
    const ListItem& item = list_->Model().Items()[static_cast<size_t>(row_)];
    switch (t) {
      case QAccessible::Name: {
        const QString title = Q(item.TitleText), text = list_->ShownValue(row_);
        return title.isEmpty() ? text : text.isEmpty() ? title : title + ' ' + text;
      }
      case QAccessible::Description: return Q(item.Comment);
      case QAccessible::Value: return list_->ShownValue(row_);
      default: return {};
    }
  }
  void setText(QAccessible::Text, const QString&) override {}
  QRect rect() const override {
    if (!isValid()) return {};
    const QRect r = list_->ItemRect(row_);
    return QRect(list_->mapToGlobal(r.topLeft()), r.size());
  }
  QAccessible::Role role() const override { return QAccessible::ListItem; }
  QAccessible::State state() const override {
    QAccessible::State s;
    if (!isValid()) {
      s.invalid = true;
      return s;
    }
    const ListItem& item = list_->Model().Items()[static_cast<size_t>(row_)];
    s.selectable = list_->Selectable();
    s.selected = list_->ListIndex() == row_;
    s.focusable = true;
    s.focused = s.selected && list_->hasFocus();
    s.checkable = list_->ShowCheckBox();
    s.checked = list_->ShowCheckBox() && item.Checked;
    s.disabled = !item.ItemEnabled || !list_->Enabled();
    return s;
  }
  void* interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
  }

  QStringList actionNames() const override {
    QStringList names{pressAction()};
    if (list_ && list_->ShowCheckBox()) names << toggleAction();
    return names;
  }
  void doAction(const QString& name) override {
    if (!isValid()) return;
    if (name == pressAction()) list_->PressRow(row_);
    if (name == toggleAction()) list_->ToggleRow(row_);
  }
  QStringList keyBindingsForAction(const QString&) const override { return {}; }

 private:
  QPointer<ctlListbox> list_;
  int row_;
};

class ListAccessible final : public QAccessibleWidget {
 public:
  explicit ListAccessible(ctlListbox* list) : QAccessibleWidget(list, QAccessible::List) {}

  int childCount() const override { return List()->ListCount(); }
  QAccessibleInterface* child(int index) const override { return List()->AccessibleRow(index); }
  int indexOfChild(const QAccessibleInterface* child) const override {
    const auto* row = dynamic_cast<const RowAccessible*>(child);
    return row && row->isValid() ? row->Row() : -1;
  }
  QAccessibleInterface* childAt(int x, int y) const override {
    const int index = List()->IndexAt(List()->mapFromGlobal(QPoint(x, y)));
    return index >= 0 ? child(index) : nullptr;
  }
  QString text(QAccessible::Text t) const override {
    if (t != QAccessible::Name) return QAccessibleWidget::text(t);
    return List()->ListTitle().isEmpty() ? List()->DefaultNullListText() : List()->ListTitle();
  }
  QAccessible::State state() const override {
    QAccessible::State s = QAccessibleWidget::state();
    s.disabled = s.disabled || !List()->Enabled();
    s.readOnly = List()->Locked();
    return s;
  }

 private:
  ctlListbox* List() const { return static_cast<ctlListbox*>(widget()); }
};

}  // namespace

QAccessibleInterface* AccessibleFor(ctlListbox* control) { return new ListAccessible(control); }

// ---------------------------------------------------------------- the control

ctlListbox::ctlListbox(QWidget* parent)
    : QWidget(parent),
      txtText_(new QLineEdit(this)),
      cmbCombo_(new QComboBox(this)),
      ctlScrollbar1_(new QScrollBar(Qt::Vertical, this)),
      tmrTimer_(new QTimer(this)),
      tmrTimerDraw_(new QTimer(this)),
      tmrScrollIndex_(new QTimer(this)) {
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_OpaquePaintEvent);
  thumbs_.setMaxCost(kThumbCacheKiB);

  txtText_->hide();
  cmbCombo_->hide();
  cmbCombo_->setMaxVisibleItems(16);
  ctlScrollbar1_->hide();
  txtText_->installEventFilter(this);
  cmbCombo_->installEventFilter(this);
  connect(txtText_, &QLineEdit::textEdited, this, [this](const QString& text) {
    if (editorRow_ >= 0) model_.SetList(editorRow_, S(text));
  });
  connect(txtText_, &QLineEdit::editingFinished, this, &ctlListbox::CloseEditor);
  connect(cmbCombo_, &QComboBox::activated, this, &ctlListbox::CloseEditor);
  connect(ctlScrollbar1_, &QScrollBar::valueChanged, this, [this](int value) {
    SetOffset(value);
    ShowScrollIndexBox();
  });
  tmrScrollIndex_->setSingleShot(true);
  tmrScrollIndex_->setInterval(kScrollIndexLinger);
  connect(tmrScrollIndex_, &QTimer::timeout, this, [this] {
    scrollIndexShown_ = false;
    update();
  });
  // Focus moving between the list and its own editors is no leaving.
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { FocusMoved(now); });
  tmrTimer_->setInterval(kFrameInterval);
  tmrTimerDraw_->setInterval(kFrameInterval);
  connect(tmrTimer_, &QTimer::timeout, this, &ctlListbox::OnScrollFrame);
  connect(tmrTimerDraw_, &QTimer::timeout, this, &ctlListbox::OnDrawFrame);

  model_.Repaint = [this](std::string_view reason) {
    // Appending is the common case and must stay cheap for long lists: the
    // new row's top extends the layout instead of rebuilding it.
    appended_ = reason == "AddItem" && !layoutDirty_ && static_cast<int>(tops_.size()) == ListCount();
    if (appended_) {
      tops_.push_back(tops_.back() + RowHeight(model_.Items().back()));
    } else {
      layoutDirty_ = true;
    }
    Repaint(reason);
  };
  model_.ListChanged = [this] {
    const bool appended = appended_;
    if (!appended_) layoutDirty_ = true;
    appended_ = false;
    InvalidateAccessibleRows();
    UpdateScrollBar();
    if (QAccessible::isActive()) {
      // A screen reader keeps its own copy of the rows: a new row is
      // announced, and any change has the rows read again.
      if (appended) {
        QAccessibleEvent created(AccessibleRow(ListCount() - 1), QAccessible::ObjectCreated);
        QAccessible::updateAccessibility(&created);
      }
      QAccessibleEvent reorder(this, QAccessible::ObjectReorder);
      QAccessible::updateAccessibility(&reorder);
    }
    if (removingSelection_) {
      removingSelection_ = false;
      emit SelectionChanged();
    }
    emit ListChanged(ListCount(), ListIndex());
  };
  model_.ItemChanged = [this](int index) {
    if (!layoutDirty_ && index + 1 < static_cast<int>(tops_.size()) &&
        tops_[static_cast<size_t>(index) + 1] - tops_[static_cast<size_t>(index)] !=
            RowHeight(model_.Items()[static_cast<size_t>(index)])) {
      layoutDirty_ = true;
      UpdateScrollBar();
    }
    Repaint("ItemChanged");
    emit ItemChanged(ListCount(), index);
  };
  model_.SelectionChanged = [this] {
    if (props_.ShowEffect) {
      drawAlpha_ = 0;
      tmrTimerDraw_->start();
    }
    update();
    if (QAccessible::isActive()) {
      QAccessibleEvent event(this, QAccessible::Selection);
      event.setChild(ListIndex());
      QAccessible::updateAccessibility(&event);
    }
    emit SelectionChanged();
  };
  PropsChanged();
}

ctlListbox::~ctlListbox() {
  // Tearing the widget down moves the focus, which must not reach this list.
  disconnect(qApp, &QApplication::focusChanged, this, nullptr);
  InvalidateAccessibleRows();
  // The model's callbacks point at this control.
  model_.Repaint = nullptr;
  model_.ListChanged = nullptr;
  model_.ItemChanged = nullptr;
  model_.SelectionChanged = nullptr;
}

void ctlListbox::PropsChanged() {
  layoutDirty_ = true;
  setMouseTracking(props_.MoveMouse);
  if (!props_.ShowScrollIndex) scrollIndexShown_ = false;
  StyleScrollBar();
  UpdateScrollBar();
  Repaint("Property");
}

void ctlListbox::Repaint(std::string_view reason) {
  if (refresh_) update();
  emit DebugText(Q(reason));
}

// ---------------------------------------------------------------- operations

bool ctlListbox::AddItem(const ListItem& item, bool noDuplicate) { return model_.AddItem(item, noDuplicate); }

void ctlListbox::RemoveItem(int index) {
  if (index < 0 || index >= ListCount()) return;
  CloseEditor();
  StopScroll();
  tmrTimerDraw_->stop();
  drawAlpha_ = 255;
  hoverRow_ = pressRow_ = -1;
  removingSelection_ = ListIndex() != -1;
  AnnounceRemoved(index, index + 1);
  model_.RemoveItem(index);
  removingSelection_ = false;
  SetOffset(offset_);  // clamps to the shorter list
}

void ctlListbox::Clear() {
  CloseEditor();
  StopScroll();
  tmrTimerDraw_->stop();
  drawAlpha_ = 255;
  hoverRow_ = pressRow_ = -1;
  offset_ = 0;
  AnnounceRemoved(0, ListCount());
  model_.Clear();
}

void ctlListbox::SetListIndex(int index) {
  if (index == -1) {
    CloseEditor();
    model_.SetListIndex(-1);
  } else if (index >= 0 && index < ListCount()) {
    Select(index);
  }
}

void ctlListbox::Select(int index) {
  if (index != editorRow_) CloseEditor();
  ScrollIntoView(index);
  model_.SetListIndex(index);
}

void ctlListbox::ItemArrange(int index, int mode) {
  CloseEditor();
  model_.ItemArrange(index, mode);
  ScrollIntoView(ListIndex());
}

void ctlListbox::ItemArrangeToIndex(int from, int to) {
  CloseEditor();
  model_.ItemArrangeToIndex(from, to);
  ScrollIntoView(ListIndex());
}

int ctlListbox::LoadListFromFile(std::string_view fileName, bool clear) {
  if (clear) Clear();
  return model_.LoadListFromFile(fileName, false);
}

void ctlListbox::SetRefresh(bool on) {
  refresh_ = on;
  if (!on) return;
  update();
  emit ListChanged(ListCount(), ListIndex());
}

void ctlListbox::SetStyle(int style) {
  style_ = style;
  Repaint("Style");
}

void ctlListbox::SetThemeColor(int32_t back) {
  // Light faces for rows and lines, deeper tones for what marks a row; on a
  // dark face everything steps up from it instead, and the list turns dark.
  struct Derived {
    int32_t ListboxProps::*color;
    double shift;
  };
  static constexpr Derived kLight[] = {
      {&ListboxProps::ItemColor, 0.85},         {&ListboxProps::ItemColorPressed, 0.35},
      {&ListboxProps::FocusColor, -0.35},       {&ListboxProps::ProgressBarColor, -0.2},
      {&ListboxProps::GridLineColor, 0.6},      {&ListboxProps::SegmentationLineColor, 0.3},
  };
  static constexpr Derived kDark[] = {
      {&ListboxProps::BackColor, 0.04},         {&ListboxProps::ItemColor, 0.1},
      {&ListboxProps::ItemColorPressed, 0.3},   {&ListboxProps::FocusColor, 0.55},
      {&ListboxProps::ProgressBarColor, 0.45},  {&ListboxProps::GridLineColor, 0.2},
      {&ListboxProps::SegmentationLineColor, 0.25},
  };
  const bool dark = IsDarkColor(back);
  if (!dark && IsDarkColor(props_.BackColor)) props_.BackColor = 0xFFFFFF;
  for (const Derived& d : dark ? std::span<const Derived>(kDark) : std::span<const Derived>(kLight))
    props_.*(d.color) = ShiftColor(back, d.shift);
  PropsChanged();
}

DialogChooser& ctlListbox::Chooser() const { return chooser_ ? *chooser_ : SystemChooser(); }

// ---------------------------------------------------------------- layout

int ctlListbox::RowHeight(const ListItem& item) const {
  return std::max(1, item.ItemExpanded ? props_.ExpandItemHeight : props_.ItemHeight);
}

void ctlListbox::EnsureLayout() const {
  if (!layoutDirty_) return;
  const std::vector<ListItem>& items = model_.Items();
  tops_.resize(items.size() + 1);
  int y = 0;
  for (size_t i = 0; i < items.size(); ++i) {
    tops_[i] = y;
    y += RowHeight(items[i]);
  }
  tops_.back() = y;
  layoutDirty_ = false;
}

int ctlListbox::TotalHeight() const {
  EnsureLayout();
  return tops_.back();
}

int ctlListbox::Frame() const { return props_.ShowBorder ? (props_.BorderStyle == 1 ? 2 : 1) : 0; }

int ctlListbox::ViewHeight() const {
  return std::max(0, height() - 2 * Frame() - (props_.ShowListTip ? props_.ListTipBoxHeight : 0));
}

int ctlListbox::RowsRight() const {
  return width() - Frame() - (ctlScrollbar1_->isHidden() ? 0 : props_.ScrollBarWidth);
}

void ctlListbox::UpdateScrollBar() {
  const int most = std::max(0, TotalHeight() - ViewHeight());
  offset_ = std::clamp(offset_, 0, most);
  const QSignalBlocker block(ctlScrollbar1_);
  ctlScrollbar1_->setRange(0, most);
  ctlScrollbar1_->setPageStep(std::max(1, ViewHeight()));
  ctlScrollbar1_->setSingleStep(std::max(1, props_.ItemHeight / 2));
  ctlScrollbar1_->setValue(offset_);
  ctlScrollbar1_->setGeometry(width() - Frame() - props_.ScrollBarWidth, Frame(), props_.ScrollBarWidth, ViewHeight());
  ctlScrollbar1_->setVisible(most > 0);
}

void ctlListbox::SetOffset(int offset) {
  offset = std::clamp(offset, 0, std::max(0, TotalHeight() - ViewHeight()));
  if (offset == offset_) return;
  // An editor stands over its row; once the rows move it is read and closed.
  CloseEditor();
  offset_ = offset;
  const QSignalBlocker block(ctlScrollbar1_);
  ctlScrollbar1_->setValue(offset_);
  Repaint("Scroll");
}

void ctlListbox::ScrollIntoView(int index) {
  if (index < 0 || index >= ListCount()) return;
  EnsureLayout();
  const int top = tops_[static_cast<size_t>(index)], bottom = tops_[static_cast<size_t>(index) + 1];
  if (top < offset_) {
    SetOffset(top);
  } else if (bottom > offset_ + ViewHeight()) {
    SetOffset(bottom - ViewHeight());
  }
}

void ctlListbox::Scroll(int index) {
  if (index < 0 || index >= ListCount()) return;
  EnsureLayout();
  AnimateTo(tops_[static_cast<size_t>(index)]);
  ShowScrollIndexBox();
}

void ctlListbox::ShowScrollIndexBox() {
  if (!props_.ShowScrollIndex || ListCount() == 0) return;
  scrollIndexShown_ = true;
  tmrScrollIndex_->start();  // each step keeps it up a while longer
  update();
}

QString ctlListbox::ScrollIndexText() const {
  if (ListCount() == 0) return {};
  EnsureLayout();
  const auto first = std::upper_bound(tops_.begin(), tops_.end() - 1, offset_);
  return QStringLiteral("%1 / %2").arg(first - tops_.begin()).arg(ListCount());
}

void ctlListbox::StyleScrollBar() {
  // The slim bar: a rounded handle over the list's own back, no arrows; the
  // bar keeps its full width for the pointer to catch.
  QString sheet;
  if (!props_.ShowSystemScrollBar) {
    const int width = std::max(4, props_.ScrollBarWidth);
    const int handle = std::max(2, width / 2);
    const QString back = props_.TransparentBack ? QStringLiteral("transparent") : FromBgr(props_.BackColor).name();
    sheet = QStringLiteral(
                "QScrollBar:vertical{background:%1;border:none;margin:0;width:%2px;}"
                "QScrollBar::handle:vertical{background:%3;border:none;border-radius:%4px;min-height:24px;"
                "margin:2px %5px;}"
                "QScrollBar::handle:vertical:hover,QScrollBar::handle:vertical:pressed{background:%6;}"
                "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0;border:none;background:none;}"
                "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background:none;}")
                .arg(back)
                .arg(width)
                .arg(FromBgr(ColorStep(props_.BackColor, props_.ForeColor, 2, 5)).name())
                .arg(handle / 2)
                .arg((width - handle) / 2)
                .arg(FromBgr(ColorStep(props_.BackColor, props_.ForeColor, 3, 5)).name());
  }
  // Parsing a style sheet costs; most property changes leave it as it was.
  if (sheet == scrollBarSheet_) return;
  scrollBarSheet_ = sheet;
  ctlScrollbar1_->setStyleSheet(sheet);
}

void ctlListbox::AnimateTo(int offset) {
  offset = std::clamp(offset, 0, std::max(0, TotalHeight() - ViewHeight()));
  if (!props_.ScrollEffect) {
    StopScroll();
    SetOffset(offset);
    return;
  }
  // A new jump starts from where the running one has got to.
  animFrom_ = offset_;
  animTo_ = offset;
  animFrame_ = 0;
  animFrames_ = kScrollFrames;
  tmrTimer_->start();
}

void ctlListbox::OnScrollFrame() {
  ++animFrame_;
  ShowScrollIndexBox();
  if (animFrame_ >= animFrames_) {
    tmrTimer_->stop();
    SetOffset(animTo_);
    return;
  }
  SetOffset(animFrom_ + (animTo_ - animFrom_) * animFrame_ / animFrames_);
}

void ctlListbox::StopScroll() { tmrTimer_->stop(); }

void ctlListbox::OnDrawFrame() {
  drawAlpha_ = std::min(255, drawAlpha_ + kFadeStep);
  if (drawAlpha_ == 255) tmrTimerDraw_->stop();
  update();
}

QRect ctlListbox::RowRect(int index) const {
  if (index < 0 || index >= ListCount()) return {};
  EnsureLayout();
  const int top = tops_[static_cast<size_t>(index)];
  return QRect(Frame(), Frame() + top - offset_, RowsRight() - Frame(), tops_[static_cast<size_t>(index) + 1] - top);
}

QString ctlListbox::ShownValue(int index) const {
  if (index < 0 || index >= ListCount()) return {};
  const ListItem& item = model_.Items()[static_cast<size_t>(index)];
  QString text = Q(item.Text);
  if (props_.ShowUnit && !text.isEmpty() && !item.Tag1Text.empty()) {
    // "50%", but "500 ms".
    text += (item.Tag1Text == "%" ? "" : " ") + Q(item.Tag1Text);
  }
  return text;
}

QRect ctlListbox::ItemRect(int index) const { return RowRect(index); }
QRect ctlListbox::CheckBoxRect(int index) const { return PartsOf(index, RowRect(index)).check; }
QRect ctlListbox::ValueRect(int index) const { return PartsOf(index, RowRect(index)).value; }

int ctlListbox::IndexAt(QPoint pos) const {
  const int f = Frame();
  if (pos.x() < f || pos.x() >= RowsRight() || pos.y() < f || pos.y() >= f + ViewHeight()) return -1;
  EnsureLayout();
  const int y = pos.y() - f + offset_;
  if (y >= tops_.back()) return -1;
  const auto hit = std::upper_bound(tops_.begin(), tops_.end() - 1, y);
  return static_cast<int>(hit - tops_.begin()) - 1;
}

ThumbKind ctlListbox::StockKind(const ListItem& item) {
  static constexpr ThumbKind kByType[] = {ThumbKind::None, ThumbKind::Image, ThumbKind::Video, ThumbKind::Audio,
                                          ThumbKind::Other};
  if (item.ThumbPictureType > 0 && item.ThumbPictureType < static_cast<int>(std::size(kByType)))
    return kByType[item.ThumbPictureType];
  // A row of a file without a picture type shows the kind of its file.
  return item.Path.empty() ? ThumbKind::None : KindOfSource(SourceKindOf(item.Path));
}

QString ctlListbox::TitleOf(int index) const {
  const QString title = Q(model_.Items()[static_cast<size_t>(index)].TitleText);
  if (!props_.ShowListIndexInTitle) return title;
  return QString::number(index + 1) + (title.isEmpty() ? QString() : ". " + title);
}

ctlListbox::RowParts ctlListbox::PartsOf(int index, const QRect& row) const {
  RowParts parts;
  if (index < 0 || index >= ListCount() || row.isEmpty()) return parts;
  const ListItem& item = model_.Items()[static_cast<size_t>(index)];
  const int pad = props_.Padding;
  int x = row.left() + pad;
  if (props_.ShowCheckBox) {
    parts.check = QRect(x, row.center().y() - kCheckSize / 2, kCheckSize, kCheckSize);
    x += kCheckSize + pad;
  }
  if (!item.Image.empty() || StockKind(item) != ThumbKind::None) {
    const int h = std::max(0, row.height() - 2 * pad);
    parts.thumb = QRect(x, row.top() + pad, h * 4 / 3, h);
    x += parts.thumb.width() + pad;
  }
  if (props_.TitleWidth > 0) {
    parts.title = QRect(x, row.top(), props_.TitleWidth, row.height());
    x += props_.TitleWidth + pad;
  } else if (const QString title = TitleOf(index); !title.isEmpty()) {
    const int w = fontMetrics().horizontalAdvance(title) + pad;
    parts.title = QRect(x, row.top(), w, row.height());
    x += w + pad;
  }
  parts.value = QRect(x, row.top(), std::max(0, row.right() - pad - x + 1), row.height());
  return parts;
}

// ---------------------------------------------------------------- painting

void ctlListbox::paintEvent(QPaintEvent*) {
  EnsureLayout();
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing, props_.UseGDIPlus);
  p.setRenderHint(QPainter::TextAntialiasing, props_.UseGDIPlus);
  const int f = Frame();
  const QRect view(f, f, RowsRight() - f, ViewHeight());
  if (!props_.TransparentBack) p.fillRect(rect(), FromBgr(props_.BackColor));
  if (ListCount() == 0) {
    p.setPen(FromBgr(props_.ForeColor));
    p.drawText(view.adjusted(props_.Padding, 0, -props_.Padding, 0), Qt::AlignCenter | Qt::TextWordWrap,
               props_.DefaultNullListText);
  } else {
    p.setClipRect(view);
    // Only the rows in view are drawn; the first is found by its top.
    const auto first = std::upper_bound(tops_.begin(), tops_.end() - 1, offset_);
    for (int i = std::max(0, static_cast<int>(first - tops_.begin()) - 1);
         i < ListCount() && tops_[static_cast<size_t>(i)] - offset_ < view.height(); ++i) {
      PaintRow(p, i, RowRect(i));
    }
    p.setClipping(false);
  }
  if (props_.ShowListTip) {
    const QRect tip(f, view.bottom() + 1, width() - 2 * f, props_.ListTipBoxHeight);
    p.fillRect(tip, FromBgr(ShiftColor(props_.BackColor, -0.06)));
    p.setPen(FromBgr(props_.ForeColor));
    p.drawText(tip.adjusted(props_.Padding, 0, -props_.Padding, 0), Qt::AlignVCenter | Qt::AlignLeft,
               props_.ListTipText);
  }
  if (scrollIndexShown_) PaintScrollIndex(p, view);
  PaintBorder(p);
}

void ctlListbox::PaintScrollIndex(QPainter& p, const QRect& view) const {
  const QString text = ScrollIndexText();
  const QFontMetrics fm = p.fontMetrics();
  const QSize box(fm.horizontalAdvance(text) + 16, fm.height() + 8);
  const int margin = 6;
  QPoint at = view.center() - QPoint(box.width() / 2, box.height() / 2);
  if (props_.ScrollIndexStyle != 1) {
    // By the bar, level with its handle, so the eye finds it where it looks.
    const int most = std::max(1, TotalHeight() - ViewHeight());
    const int travel = std::max(0, view.height() - box.height() - 2 * margin);
    at = QPoint(view.right() - margin - box.width() + 1,
                view.top() + margin + static_cast<int>(static_cast<int64_t>(travel) * offset_ / most));
  }
  const QRect r(at, box);
  p.save();
  p.setRenderHint(QPainter::Antialiasing);
  QColor face = FromBgr(props_.ForeColor);
  face.setAlpha(200);
  p.setPen(Qt::NoPen);
  p.setBrush(face);
  p.drawRoundedRect(r, 4, 4);
  p.setPen(FromBgr(props_.BackColor));
  p.drawText(r, Qt::AlignCenter, text);
  p.restore();
}

void ctlListbox::PaintBorder(QPainter& p) const {
  if (!props_.ShowBorder) return;
  p.save();
  p.setRenderHint(QPainter::Antialiasing, false);
  p.setBrush(Qt::NoBrush);
  const QRect r = rect();
  if (props_.BorderStyle != 1) {
    p.setPen(FromBgr(props_.BorderColor));
    p.drawRect(r.adjusted(0, 0, -1, -1));  // a drawn rectangle covers one pixel more
  } else {
    // Sunken: light falls from the top left, so the upper and left edges lie
    // in shade, the deeper one inside.
    const auto relief = [&p](const QRect& e, int32_t shade, int32_t light) {
      p.setPen(FromBgr(shade));
      p.drawLine(e.topLeft(), e.topRight());
      p.drawLine(e.topLeft(), e.bottomLeft());
      p.setPen(FromBgr(light));
      p.drawLine(e.bottomLeft(), e.bottomRight());
      p.drawLine(e.topRight(), e.bottomRight());
    };
    relief(r, props_.BorderColor, ShiftColor(props_.BorderColor, 0.8));
    relief(r.adjusted(1, 1, -1, -1), ShiftColor(props_.BorderColor, -0.45), ShiftColor(props_.BorderColor, 0.45));
  }
  p.restore();
}

void ctlListbox::DrawRowText(QPainter& p, const QRect& r, int flags, const QString& text, const QColor& color) const {
  static constexpr QPoint kShadow[] = {{1, 1}};
  static constexpr QPoint kOutline[] = {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}};
  static constexpr std::span<const QPoint> kEffects[] = {{}, kShadow, kOutline};
  const int effect = props_.TextEffect;
  if (effect > 0 && effect < static_cast<int>(std::size(kEffects))) {
    QColor around = FromBgr(props_.TextEffectColor);
    around.setAlpha(color.alpha());
    p.setPen(around);
    for (const QPoint& step : kEffects[effect]) p.drawText(r.translated(step), flags, text);
  }
  p.setPen(color);
  p.drawText(r, flags, text);
}

void ctlListbox::PaintRow(QPainter& p, int index, const QRect& rect) const {
  const ListItem& item = model_.Items()[static_cast<size_t>(index)];
  const bool selected = props_.ShowHighlight && index == ListIndex();
  const bool enabled = props_.Enabled && item.ItemEnabled;
  const RowParts parts = PartsOf(index, rect);
  const int pad = props_.Padding;

  // The faces let the list's back show through by the Transparent step.
  p.setOpacity(std::max(kLeastOpacity, 1.0 - std::clamp(props_.Transparent, 0, 100) / 100.0));
  p.fillRect(rect, ResolveColor(item.BackColor, FromBgr(props_.ItemColor)));
  if (selected) {
    QColor face = FromBgr(props_.ItemColorPressed);
    face.setAlpha(props_.ShowEffect ? drawAlpha_ : 255);
    if (StyleIsFlat(style_)) {
      p.fillRect(rect, face);
    } else {
      QLinearGradient fill(rect.topLeft(), rect.bottomLeft());
      QColor light = FromBgr(ShiftColor(props_.ItemColorPressed, 0.4));
      light.setAlpha(face.alpha());
      fill.setColorAt(0, light);
      fill.setColorAt(1, face);
      p.fillRect(rect, fill);
    }
  } else if (index == hoverRow_ && props_.ShowItemHoverShadow && enabled) {
    p.fillRect(rect, QColor(0, 0, 0, 12));
  }
  if (pressed_ && index == pressRow_ && props_.ShowItemPressShadow && enabled) p.fillRect(rect, QColor(0, 0, 0, 20));
  p.setOpacity(1.0);

  QColor fore = ResolveColor(item.ForeColor, FromBgr(selected ? props_.ForeColorSelected : props_.ForeColor));
  if (!enabled) fore = palette().color(QPalette::Disabled, QPalette::Text);

  if (!parts.check.isEmpty()) {
    if (item.Checked && !props_.PictureCheckBox.isNull()) {
      p.drawPixmap(parts.check, props_.PictureCheckBox);
    } else {
      p.setPen(fore);
      p.setBrush(Qt::NoBrush);
      p.drawRect(parts.check.adjusted(0, 0, -1, -1));
      if (item.Checked) {
        const QRect c = parts.check.adjusted(3, 3, -3, -3);
        p.drawPolyline(QPolygon{{c.left(), c.center().y()}, {c.center().x() - 1, c.bottom()}, {c.right(), c.top()}});
      }
    }
  }
  if (!parts.thumb.isEmpty()) {
    if (props_.ThumbBlack) p.fillRect(parts.thumb, Qt::black);
    DrawThumb(p, item, parts.thumb, true);
  }

  if (!parts.title.isEmpty()) {
    QFont font = p.font();
    font.setBold(props_.TitleStyle == 1);
    p.save();
    p.setFont(font);
    static constexpr Qt::Alignment kAlign[] = {Qt::AlignLeft, Qt::AlignRight, Qt::AlignHCenter};
    const Qt::Alignment align = kAlign[std::clamp(props_.TitleAlign, 0, 2)];
    const QString title = p.fontMetrics().elidedText(TitleOf(index), Qt::ElideRight, parts.title.width());
    DrawRowText(p, parts.title, align | Qt::AlignVCenter, title, fore);
    p.restore();
    if (props_.ShowSegmentationLine) {
      p.setPen(FromBgr(props_.SegmentationLineColor));
      const int x = parts.title.right() + pad / 2;
      p.drawLine(x, rect.top() + props_.SegmentationLinePadding, x, rect.bottom() - props_.SegmentationLinePadding);
    }
  }

  // The value column: text, comment, bar, stacked and centred as a block.
  const QFontMetrics fm = p.fontMetrics();
  const int lines = 1 + (item.ShowComment ? 1 : 0);
  // The thin line stands at the row's foot and takes no room in the column.
  const bool footLine = props_.ProgressBarStyle == 2;
  const int barHeight = item.ShowProgressBar && !footLine ? props_.ProgressBarHeight + pad : 0;
  int y = rect.top() + std::max(0, (rect.height() - lines * fm.height() - barHeight) / 2);
  static constexpr Qt::Alignment kTextAlign[] = {Qt::AlignLeft, Qt::AlignRight, Qt::AlignHCenter};
  const Qt::Alignment align = kTextAlign[std::clamp(props_.TextAlign, 0, 2)] | Qt::AlignVCenter;
  const QRect& value = parts.value;
  QString text = ShownValue(index);
  QColor textColor = fore;
  if (text.isEmpty() && !props_.DefaultText.isEmpty()) {
    text = props_.DefaultText;
    textColor.setAlpha(140);
  }
  if (index != editorRow_) {
    DrawRowText(p, QRect(value.left(), y, value.width(), fm.height()), align,
                fm.elidedText(text, Qt::ElideMiddle, value.width()), textColor);
  }
  y += fm.height();
  if (item.ShowComment) {
    QColor dim = fore;
    dim.setAlpha(170);
    DrawRowText(p, QRect(value.left(), y, value.width(), fm.height()), align,
                fm.elidedText(Q(item.Comment), Qt::ElideRight, value.width()), dim);
    y += fm.height();
  }

  if (props_.ShowGridLine) {
    p.setPen(FromBgr(props_.GridLineColor));
    p.drawLine(rect.left() + props_.GridLinePadding, rect.bottom(), rect.right() - props_.GridLinePadding,
               rect.bottom());
  }
  if (item.ShowProgressBar) {
    // The foot line runs the row's width over the grid line; the bars sit
    // under the texts in the value column.
    const QRect bar = footLine ? QRect(rect.left(), rect.bottom() - 1, rect.width(), 2)
                               : QRect(value.left(), y + pad / 2, value.width(), props_.ProgressBarHeight);
    p.fillRect(bar, FromBgr(ShiftColor(props_.ProgressBarColor, 0.7)));
    const auto span = [&](int32_t v) {
      return item.ValueMax > 0 ? static_cast<int>(static_cast<int64_t>(std::clamp(v, 0, item.ValueMax)) *
                                                   bar.width() / item.ValueMax)
                               : 0;
    };
    const QRect done(bar.left(), bar.top(), span(item.Value), bar.height());
    if (props_.ProgressBarStyle == 1) {
      // Lit from above: a light top edge shading into the bar's colour.
      QLinearGradient fill(done.topLeft(), done.bottomLeft());
      fill.setColorAt(0, FromBgr(ShiftColor(props_.ProgressBarColor, 0.5)));
      fill.setColorAt(1, FromBgr(ShiftColor(props_.ProgressBarColor, -0.15)));
      p.fillRect(done, fill);
    } else {
      p.fillRect(done, FromBgr(props_.ProgressBarColor));
    }
    if (item.ShowProgressBarPoint && item.ValueEndPoint > item.ValueStartPoint) {
      const int from = span(item.ValueStartPoint), to = span(item.ValueEndPoint);
      // Under a bar its lower edge; over the foot line the pixel row above it.
      const int top = footLine ? bar.top() - 1 : bar.bottom() - 1;
      p.fillRect(QRect(bar.left() + from, top, std::max(1, to - from), footLine ? 1 : 2),
                 FromBgr(props_.ProgressBarPointColor));
    }
  }
  if (selected && props_.ShowFocus && hasFocus()) {
    QPen pen(FromBgr(props_.FocusColor));
    pen.setStyle(props_.FocusStyle == 1 ? Qt::SolidLine : Qt::DotLine);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawRect(rect.adjusted(1, 1, -2, -2));
  }
}

void ctlListbox::DrawThumb(QPainter& p, const ListItem& item, const QRect& r, bool cached) const {
  if (!item.Image.empty()) {
    QPixmap picture;
    if (cached) {
      picture = CachedThumb(item.Image, r.size());
    } else {
      ++decodeCount_;
      picture = QPixmap::fromImage(DecodePicture(QByteArray::fromStdString(item.Image), r.size()));
    }
    if (picture.isNull() && !props_.DefaultImage.isNull()) picture = props_.DefaultImage;
    if (!picture.isNull()) {
      const QSize shown = (picture.deviceIndependentSize().toSize()).scaled(r.size(), Qt::KeepAspectRatio);
      p.drawPixmap(QRect(r.center() - QPoint(shown.width() / 2, shown.height() / 2), shown), picture);
      return;
    }
  }
  DrawStock(p, item.Image.empty() ? StockKind(item) : ThumbKind::Other, r);
}

QPixmap ctlListbox::CachedThumb(const std::string& image, QSize size) const {
  // Rows share a size; a new size (another ItemHeight) starts the cache anew.
  if (size != thumbSize_) {
    thumbs_.clear();
    thumbSize_ = size;
  }
  const QByteArray key = QByteArray::fromRawData(image.data(), static_cast<qsizetype>(image.size()));
  if (const QPixmap* hit = thumbs_.object(key)) return *hit;
  const qreal ratio = devicePixelRatioF();
  auto keep = [this, ratio](const QByteArray& picture, const QImage& decoded) {
    QPixmap pixmap = QPixmap::fromImage(decoded);
    pixmap.setDevicePixelRatio(ratio);
    const int cost = std::max<qsizetype>(1, pixmap.width() * pixmap.height() * 4 / 1024);
    thumbs_.insert(picture, new QPixmap(pixmap), cost);
    return pixmap;
  };
  // The picture's bytes in the row decode at once; a file may be a large photo
  // on a slow disk, so it is read on a worker and the row repainted when it is.
  // The key is copied: the raw one points into the row, which may go.
  const QByteArray owned(image.data(), static_cast<qsizetype>(image.size()));
  if (!IsPictureFile(owned)) {
    ++decodeCount_;
    return keep(owned, DecodePicture(owned, size * ratio));
  }
  if (pendingFiles_.contains(owned)) return {};
  pendingFiles_.insert(owned);
  // The list may be gone when the picture is ready: the answer goes to the
  // application and finds the list through a guard, checked on this thread.
  QPointer<ctlListbox> guard(const_cast<ctlListbox*>(this));
  QThreadPool::globalInstance()->start([guard, owned, target = size * ratio, size, keep] {
    QImage decoded = DecodePicture(owned, target);
    QMetaObject::invokeMethod(
        qApp,
        [guard, owned, size, keep, decoded = std::move(decoded)] {
          ctlListbox* self = guard.data();
          if (!self) return;
          self->pendingFiles_.remove(owned);
          if (size != self->thumbSize_) return;
          ++self->decodeCount_;
          keep(owned, decoded);
          self->update();
        },
        Qt::QueuedConnection);
  });
  return {};
}

void ctlListbox::DrawStock(QPainter& p, ThumbKind kind, const QRect& r) const {
  const QPixmap* own[] = {nullptr, &props_.PictureImage, &props_.PictureVideo, &props_.PictureAudio,
                          &props_.PictureOther};
  const QPixmap* picture = own[static_cast<int>(kind)];
  if (picture && !picture->isNull()) {
    const QSize shown = picture->deviceIndependentSize().toSize().scaled(r.size(), Qt::KeepAspectRatio);
    p.drawPixmap(QRect(r.center() - QPoint(shown.width() / 2, shown.height() / 2), shown), *picture);
    return;
  }
  if (kind == ThumbKind::None) return;
  // A plain glyph on a tinted card: a triangle plays, a note sounds, a hill
  // is a picture, a folded page is anything else.
  p.save();
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF card = QRectF(r).adjusted(1, 1, -1, -1);
  const QColor ink = FromBgr(ShiftColor(props_.ProgressBarColor, -0.2));
  p.setPen(Qt::NoPen);
  p.setBrush(FromBgr(ShiftColor(props_.ProgressBarColor, 0.75)));
  p.drawRoundedRect(card, 4, 4);
  p.setBrush(ink);
  const qreal s = std::min(card.width(), card.height()) * 0.5;
  const QPointF c = card.center();
  QPainterPath glyph;
  switch (kind) {
    case ThumbKind::Video:
      glyph.addPolygon(QPolygonF{{c.x() - s * 0.35, c.y() - s * 0.45}, {c.x() + s * 0.5, c.y()},
                                 {c.x() - s * 0.35, c.y() + s * 0.45}});
      break;
    case ThumbKind::Audio:
      glyph.addEllipse(QPointF(c.x() - s * 0.2, c.y() + s * 0.3), s * 0.22, s * 0.17);
      glyph.addRect(QRectF(c.x(), c.y() - s * 0.5, s * 0.08, s * 0.8));
      glyph.addRect(QRectF(c.x(), c.y() - s * 0.5, s * 0.35, s * 0.1));
      break;
    case ThumbKind::Image:
      glyph.addPolygon(QPolygonF{{c.x() - s * 0.6, c.y() + s * 0.4}, {c.x() - s * 0.15, c.y() - s * 0.25},
                                 {c.x() + s * 0.15, c.y() + s * 0.1}, {c.x() + s * 0.3, c.y() - s * 0.05},
                                 {c.x() + s * 0.6, c.y() + s * 0.4}});
      glyph.addEllipse(QPointF(c.x() + s * 0.35, c.y() - s * 0.35), s * 0.12, s * 0.12);
      break;
    default:
      glyph.addPolygon(QPolygonF{{c.x() - s * 0.35, c.y() - s * 0.5}, {c.x() + s * 0.15, c.y() - s * 0.5},
                                 {c.x() + s * 0.35, c.y() - s * 0.3}, {c.x() + s * 0.35, c.y() + s * 0.5},
                                 {c.x() - s * 0.35, c.y() + s * 0.5}});
      break;
  }
  p.drawPath(glyph);
  p.restore();
}

QImage ctlListbox::RenderThumb(int index, QSize size) {
  if (index < 0 || index >= ListCount() || size.isEmpty()) return {};
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(props_.ThumbBlack ? Qt::black : Qt::transparent);
  QPainter p(&image);
  DrawThumb(p, model_.Items()[static_cast<size_t>(index)], image.rect(), false);
  return image;
}

void ctlListbox::resizeEvent(QResizeEvent*) {
  CloseEditor();
  UpdateScrollBar();
}

// ---------------------------------------------------------------- editors

void ctlListbox::ClickIt(int index) {
  using Opener = void (ctlListbox::*)(int);
  struct Editor {
    int mode;
    Opener open;
  };
  static constexpr Editor kEditors[] = {
      {0, &ctlListbox::OpenTextBox},  {6, &ctlListbox::OpenTextBox},   {1, &ctlListbox::OpenCombo},
      {8, &ctlListbox::OpenCombo},    {11, &ctlListbox::OpenCombo},    {2, &ctlListbox::ChooseColor},
      {3, &ctlListbox::ChooseFile},   {4, &ctlListbox::ChooseFolder},  {5, &ctlListbox::ChooseFont},
  };
  if (index < 0 || index >= ListCount() || !model_.ItemEnabled(index) || props_.Locked) {
    Repaint("ClickIt");
    return;
  }
  if (index != ListIndex() || !props_.Editable) {
    // A first click only selects; a list that is not editable only selects.
    if (props_.Selectable && index != ListIndex()) Select(index);
    Repaint("ClickIt");
    return;
  }
  CloseEditor();
  const int mode = model_.ItemMode(index);
  for (const Editor& e : kEditors) {
    if (e.mode == mode) {
      (this->*e.open)(index);
      break;
    }
  }
  Repaint("ClickIt");
}

namespace {

// The editor's colours are the row's own, else the list's.
void PaintEditor(QWidget* editor, const ListItem& item, int32_t back, int32_t fore) {
  QPalette pal = editor->palette();
  pal.setColor(QPalette::Base, ResolveColor(item.BackColor, FromBgr(back)));
  pal.setColor(QPalette::Text, ResolveColor(item.ForeColor, FromBgr(fore)));
  pal.setColor(QPalette::Button, ResolveColor(item.BackColor, FromBgr(back)));
  pal.setColor(QPalette::ButtonText, ResolveColor(item.ForeColor, FromBgr(fore)));
  editor->setPalette(pal);
}

QRect EditorRect(const QRect& value, int height) {
  const int h = std::min(value.height(), height);
  return QRect(value.left(), value.top() + (value.height() - h) / 2, value.width(), h);
}

}  // namespace

void ctlListbox::OpenTextBox(int index) {
  const ListItem& item = model_.Items()[static_cast<size_t>(index)];
  txtText_->setReadOnly(item.ItemMode == 6);
  PaintEditor(txtText_, item, props_.ItemColor, props_.ForeColor);
  txtText_->setText(Q(item.Text));
  txtText_->setGeometry(EditorRect(ValueRect(index), txtText_->sizeHint().height()));
  editorRow_ = index;
  txtText_->show();
  txtText_->selectAll();
  txtText_->setFocus(Qt::OtherFocusReason);
}

void ctlListbox::OpenCombo(int index) {
  const ListItem& item = model_.Items()[static_cast<size_t>(index)];
  {
    const QSignalBlocker block(cmbCombo_);
    cmbCombo_->clear();
    cmbCombo_->addItems(ComboEntries(item.ComboBoxItems, item.ItemMode));
    cmbCombo_->setCurrentIndex(cmbCombo_->findText(Q(item.Text), Qt::MatchExactly | Qt::MatchCaseSensitive));
  }
  PaintEditor(cmbCombo_, item, props_.ItemColor, props_.ForeColor);
  cmbCombo_->setGeometry(EditorRect(ValueRect(index), cmbCombo_->sizeHint().height()));
  editorRow_ = index;
  cmbCombo_->show();
  cmbCombo_->setFocus(Qt::OtherFocusReason);
  // The click that opened the editor also opens its entries: one click to
  // choose, as a drop-down is expected to behave.
  cmbCombo_->showPopup();
}

void ctlListbox::StoreChosen(int index, const QString& text) {
  if (index < 0 || index >= ListCount()) return;
  if (model_.List(index) != S(text)) {
    model_.SetList(index, S(text));  // reports the change itself
  } else {
    emit ItemChanged(ListCount(), index);
  }
  Repaint("ClickIt");
}

void ctlListbox::ChooseColor(int index) {
  if (!customColorsSet_) {
    customColors_.fill(FromBgr(kCustomColorSeed));
    customColorsSet_ = true;
  }
  // A value that does not read as a colour opens the dialog on black.
  const QColor start = FromBgr(ColorFromText(model_.List(index), 0));
  if (const auto chosen = Chooser().ChooseColor(this, start, customColors_)) StoreChosen(index, Q(ColorToText(ToBgr(*chosen))));
}

void ctlListbox::ChooseFile(int index) {
  const QString present = Q(model_.List(index));
  const QString folder = present.isEmpty() ? QString() : QFileInfo(present).absolutePath();
  const auto file = Chooser().ChooseOpenFile(this, QStringLiteral("Open"), folder, QtFileFilter(Q(model_.FileFilter(index))));
  if (file) {
    StoreChosen(index, *file);
  } else if (model_.FileClear(index)) {
    StoreChosen(index, QString());
  }
}

void ctlListbox::ChooseFolder(int index) {
  const auto folder = Chooser().ChooseFolder(this, Q(model_.TitleText(index)), Q(model_.List(index)));
  if (folder) {
    StoreChosen(index, folder->endsWith('/') ? *folder : *folder + '/');
  } else if (model_.FileClear(index)) {
    StoreChosen(index, QString());
  }
}

void ctlListbox::ChooseFont(int index) {
  const auto font = Chooser().ChooseFont(this, FontFromText(model_.List(index)));
  if (font) {
    StoreChosen(index, Q(FontToText(*font)));
  } else if (model_.FileClear(index)) {
    StoreChosen(index, QString());
  }
}

void ctlListbox::CloseEditor() {
  if (editorRow_ < 0) return;
  const int row = editorRow_;
  editorRow_ = -1;  // hiding moves the focus, which must not close it twice
  std::optional<QString> text;
  if (!txtText_->isHidden()) text = txtText_->text();
  // A drop-down whose value is none of its entries leaves the value alone.
  if (!cmbCombo_->isHidden() && cmbCombo_->currentIndex() >= 0) text = cmbCombo_->currentText();
  const bool hadFocus = txtText_->hasFocus() || cmbCombo_->hasFocus();
  txtText_->hide();
  cmbCombo_->hide();
  if (hadFocus) setFocus(Qt::OtherFocusReason);
  if (text && row < ListCount() && model_.List(row) != S(*text)) model_.SetList(row, S(*text));
  Repaint("SetVisible");
}

// ---------------------------------------------------------------- input

void ctlListbox::HandleRelease(int index, QPoint pos, int button, int shift, int selectedAtPress) {
  const bool active = props_.Enabled && !props_.Locked && index >= 0 && index < ListCount();
  bool ticked = false;
  if (active) {
    if (props_.ShowCheckBox && model_.ItemEnabled(index) && CheckBoxRect(index).contains(pos)) {
      model_.SetListIndexChecked(index, !model_.ListIndexChecked(index));
      ticked = true;
    }
    if (props_.Selectable) Select(index);
  }
  emit MouseMove(button, shift, pos.x(), pos.y(), index);
  emit MouseUp(button, shift, pos.x(), pos.y(), index);
  if (!active) return;
  emit Click();
  // A tick is its own action; a second click on the row opens its editor.
  if (!ticked && index == selectedAtPress) ClickIt(index);
}

void ctlListbox::PressRow(int index) {
  if (index < 0 || index >= ListCount()) return;
  HandleRelease(index, ValueRect(index).center(), 1, 0, ListIndex());
}

void ctlListbox::ToggleRow(int index) {
  if (!props_.ShowCheckBox || !props_.Enabled || props_.Locked || !model_.ItemEnabled(index)) return;
  model_.SetListIndexChecked(index, !model_.ListIndexChecked(index));
}

void ctlListbox::mousePressEvent(QMouseEvent* event) {
  const QPoint pos = event->position().toPoint();
  pressRow_ = IndexAt(pos);
  selectedAtPress_ = ListIndex();
  pressed_ = true;
  emit MouseDown(ButtonCode(event->button()), ShiftCode(event->modifiers()), pos.x(), pos.y(), pressRow_);
  update();
}

void ctlListbox::mouseMoveEvent(QMouseEvent* event) {
  const QPoint pos = event->position().toPoint();
  const int index = IndexAt(pos);
  if (index != hoverRow_) {
    hoverRow_ = index;
    update();
  }
  // A menu-like list follows the pointer; an open editor holds its row.
  if (props_.AutoSelectable && props_.Selectable && props_.Enabled && !props_.Locked && index >= 0 &&
      index != ListIndex() && editorRow_ < 0 && event->buttons() == Qt::NoButton && model_.ItemEnabled(index))
    Select(index);
  emit MouseMove(ButtonCode(event->buttons()), ShiftCode(event->modifiers()), pos.x(), pos.y(), index);
}

void ctlListbox::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint pos = event->position().toPoint();
  pressed_ = false;
  HandleRelease(IndexAt(pos), pos, ButtonCode(event->button()), ShiftCode(event->modifiers()), selectedAtPress_);
  update();
}

void ctlListbox::mouseDoubleClickEvent(QMouseEvent* event) {
  // The press of a double click counts as a press of its own, for MouseUp.
  mousePressEvent(event);
  emit DblClick();
}

void ctlListbox::enterEvent(QEnterEvent*) { emit MouseEnter(); }

void ctlListbox::leaveEvent(QEvent*) {
  hoverRow_ = -1;
  update();
  emit MouseLeave();
}

void ctlListbox::showEvent(QShowEvent*) { WatchWindow(); }

void ctlListbox::WatchWindow() {
  // The window that holds the list is the one whose moves and sizes count;
  // a list shown in another window watches that one instead.
  QWidget* top = window();
  if (top == watchedWindow_) return;
  if (watchedWindow_) watchedWindow_->removeEventFilter(this);
  watchedWindow_ = top;
  top->installEventFilter(this);
}

void ctlListbox::FocusMoved(QWidget* now) {
  bool inside = false;
  // Walked by parents, not by isAncestorOf: the drop-down's popup is a window
  // of its own and still part of the list.
  for (QWidget* w = now; w && !inside; w = w->parentWidget()) inside = w == this;
  if (inside == focusInside_) return;
  focusInside_ = inside;
  update();
  if (inside) {
    emit Activate();
  } else {
    emit Deactivate();
  }
}

void ctlListbox::wheelEvent(QWheelEvent* event) {
  const int delta = event->angleDelta().y();
  emit MouseWheel(delta);
  // One row a notch, as the mouse wheel moves a list elsewhere on the desktop.
  const int target = (tmrTimer_->isActive() ? animTo_ : offset_) - delta * props_.ItemHeight / kWheelNotch;
  AnimateTo(target);
  ShowScrollIndexBox();
  event->accept();
}

void ctlListbox::keyPressEvent(QKeyEvent* event) {
  emit KeyDown(event->key(), ShiftCode(event->modifiers()));
  switch (event->key()) {
    case Qt::Key_Home:
      if (editorRow_ < 0 && ListCount() > 0) SetListIndex(0);
      break;
    case Qt::Key_End:
      if (editorRow_ < 0 && ListCount() > 0) SetListIndex(ListCount() - 1);
      break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      emit Click();
      break;
    default:
      // The arrows and the rest belong to the host.
      event->ignore();
      return;
  }
  event->accept();
}

void ctlListbox::keyReleaseEvent(QKeyEvent* event) {
  emit KeyUp(event->key(), ShiftCode(event->modifiers()));
  event->ignore();
}

bool ctlListbox::eventFilter(QObject* watched, QEvent* event) {
  if (watched == watchedWindow_ && watched != nullptr) {
    if (event->type() == QEvent::Move) emit ParentMove();
    if (event->type() == QEvent::Resize) emit ParentResize();
    return QWidget::eventFilter(watched, event);
  }
  if (watched != txtText_ && watched != cmbCombo_) return QWidget::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::KeyPress: {
      const auto* key = static_cast<QKeyEvent*>(event);
      emit KeyDown(key->key(), ShiftCode(key->modifiers()));
      const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
      if (enter && watched == cmbCombo_) {
        CloseEditor();
        return true;
      }
      break;
    }
    case QEvent::KeyRelease: {
      const auto* key = static_cast<QKeyEvent*>(event);
      emit KeyUp(key->key(), ShiftCode(key->modifiers()));
      break;
    }
    case QEvent::MouseButtonRelease:
      if (watched == txtText_) emit Click();
      break;
    case QEvent::FocusOut:
      // Leaving the drop-down stores its choice; its own popup is no leaving.
      if (watched == cmbCombo_ && static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason)
        QTimer::singleShot(0, this, [this] {
          if (!cmbCombo_->isHidden() && !cmbCombo_->hasFocus() && !cmbCombo_->view()->isVisible()) CloseEditor();
        });
      break;
    default: break;
  }
  return QWidget::eventFilter(watched, event);
}

// ---------------------------------------------------------------- accessibility

QAccessibleInterface* ctlListbox::AccessibleRow(int index) {
  if (index < 0 || index >= ListCount()) return nullptr;
  if (const auto hit = accessibleRows_.find(index); hit != accessibleRows_.end())
    return QAccessible::accessibleInterface(hit->second);
  auto* row = new RowAccessible(this, index);
  accessibleRows_[index] = QAccessible::registerAccessibleInterface(row);
  return row;
}

void ctlListbox::AnnounceRemoved(int from, int to) {
  if (!QAccessible::isActive()) return;
  for (int row = from; row < to; ++row) {
    QAccessibleEvent gone(AccessibleRow(row), QAccessible::ObjectDestroyed);
    QAccessible::updateAccessibility(&gone);
  }
}

void ctlListbox::InvalidateAccessibleRows() {
  for (const auto& [row, id] : accessibleRows_) QAccessible::deleteAccessibleInterface(id);
  accessibleRows_.clear();
}

}  // namespace zel
