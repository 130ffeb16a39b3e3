#include "controls/ctlButton.h"

#include "controls/ComboItems.h"
#include "controls/DialogChooser.h"
#include "controls/FontText.h"
#include "controls/MouseCodes.h"
#include "controls/QtText.h"
#include "controls/Theme.h"
#include "engine/PriorityClass.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QDesktopServices>
#include <QFileInfo>
#include <QFontDatabase>
#include <QImageReader>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>
#include <QToolTip>
#include <QUrl>
#include <QWindow>

#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace zel {

namespace {

constexpr int kFadeFrames = 8;
constexpr int kCornerRadius = 3;
constexpr int kResizeGrip = 12;
constexpr int kDropDownWidth = 14;
constexpr int kPadding = 4;
constexpr int kHoverPoll = 100;
constexpr int kMarkSize = 13;

// The debug words, indexed by status number.
constexpr const char* kPictureWords[] = {
    "OK.",
    "Generic Error.",
    "Invalid Parameter.",
    "Out Of Memory.",
    "Object Busy.",
    "Insufficient Buffer.",
    "Not Implemented.",
    "Win32 Error.",
    "Wrong State.",
    "Aborted.",
    "File Not Found.",
    "Value Overflow.",
    "Access Denied.",
    "Unknown Image Format.",
    "FontFamily Not Found.",
    "FontStyle Not Found.",
    "Not TrueType Font.",
    "Unsupported Gdiplus Version.",
    "Gdiplus Not Initialized.",
    "Property Not Found.",
    "Property Not Supported.",
    "Profile Not Found.",
};

// What a reader's failure means, by whether the path is there. Qt says "not
// found" for any file it cannot open, so a path that exists and still fails
// to open (a directory, no right to read) is denied access.
struct ReaderFailure {
  QImageReader::ImageReaderError error;
  PictureStatus present, absent;
};
constexpr ReaderFailure kReaderFailures[] = {
    {QImageReader::FileNotFoundError, PictureStatus::AccessDenied, PictureStatus::FileNotFound},
    {QImageReader::DeviceError, PictureStatus::AccessDenied, PictureStatus::GenericError},
    {QImageReader::UnsupportedFormatError, PictureStatus::UnknownImageFormat, PictureStatus::UnknownImageFormat},
    {QImageReader::InvalidDataError, PictureStatus::InvalidParameter, PictureStatus::InvalidParameter},
};

// A combo that leaves the button's face free again when its list closes,
// chosen or not.
class ComboOverlay final : public QComboBox {
 public:
  using QComboBox::QComboBox;
  void hidePopup() override {
    QComboBox::hidePopup();
    hide();
  }
};

// A text box that Escape closes without keeping what was typed.
class TextOverlay final : public QLineEdit {
 public:
  TextOverlay(QWidget* parent, std::function<void()> cancel) : QLineEdit(parent), cancel_(std::move(cancel)) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Escape) return cancel_();
    QLineEdit::keyPressEvent(event);
    // The line edit passes Return on; reaching the button it would open the
    // box again.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) event->accept();
  }

 private:
  std::function<void()> cancel_;
};

// The text held to a mask of '#' digit places and literal separators. Runs
// of digits fill the mask's groups in order, each padded with zeros; a group
// after ',' or '.' is a fraction and is padded and cut on its right. A bare
// run of digits longer than the first group fills the places from the right,
// as digits typed into a time field do.
QString HoldToMask(const QString& text, const QString& mask) {
  if (!mask.contains('#') || text.isEmpty()) return text;
  struct Group {
    qsizetype width;
    bool fraction;
  };
  std::vector<Group> groups;
  for (qsizetype i = 0; i < mask.size();) {
    if (mask[i] != '#') {
      ++i;
      continue;
    }
    qsizetype end = i;
    while (end < mask.size() && mask[end] == '#') ++end;
    groups.push_back({end - i, i > 0 && (mask[i - 1] == ',' || mask[i - 1] == '.')});
    i = end;
  }
  QStringList runs;
  static const QRegularExpression digits(QStringLiteral("\\d+"));
  for (auto it = digits.globalMatch(text); it.hasNext();) runs << it.next().captured();
  if (runs.isEmpty()) return {};
  QStringList filled;
  if (runs.size() == 1 && runs[0].size() > groups[0].width) {
    qsizetype places = 0;
    for (const Group& g : groups) places += g.width;
    const QString all = runs[0].right(places).rightJustified(places, '0');
    for (qsizetype at = 0; const Group& g : groups) {
      filled << all.mid(at, g.width);
      at += g.width;
    }
  } else {
    for (size_t i = 0; i < groups.size(); ++i) {
      const Group& g = groups[i];
      const QString run = i < static_cast<size_t>(runs.size()) ? runs[static_cast<qsizetype>(i)] : QString();
      filled << (g.fraction ? run.left(g.width).leftJustified(g.width, '0')
                            : run.right(g.width).rightJustified(g.width, '0'));
    }
  }
  QString out;
  for (qsizetype i = 0, group = 0; i < mask.size();) {
    if (mask[i] != '#') {
      out += mask[i++];
      continue;
    }
    out += filled[group];
    i += groups[static_cast<size_t>(group++)].width;
  }
  return out;
}

// The symbols of the icon face the buttons name, drawn when the face itself
// is missing.
enum class Glyph { Down, Up, Left, Right, Cross, Minimize, Maximize, Restore, Tick };
struct GlyphRow {
  QChar letter;
  Glyph glyph;
};
constexpr GlyphRow kGlyphs[] = {
    {u'6', Glyph::Down},     {u'5', Glyph::Up},       {u'3', Glyph::Left},    {u'4', Glyph::Right}, {u'r', Glyph::Cross},
    {u'0', Glyph::Minimize}, {u'1', Glyph::Maximize}, {u'2', Glyph::Restore}, {u'a', Glyph::Tick},
};

bool DrawGlyph(QPainter& p, const QRectF& area, const QString& text, const QColor& color) {
  if (text.size() != 1) return false;
  const GlyphRow* row = nullptr;
  for (const GlyphRow& r : kGlyphs)
    if (r.letter == text[0]) row = &r;
  if (!row) return false;
  const qreal s = std::min(area.width(), area.height()) * 0.6;
  const QRectF box(area.center().x() - s / 2, area.center().y() - s / 2, s, s);
  p.save();
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(color, 1.5));
  p.setBrush(color);
  auto triangle = [&](QPointF a, QPointF b, QPointF c) { p.drawPolygon(QPolygonF{a, b, c}); };
  const qreal l = box.left(), r = box.right(), t = box.top(), b = box.bottom();
  const qreal cx = box.center().x(), cy = box.center().y();
  switch (row->glyph) {
    case Glyph::Down: triangle({l, cy - s / 4}, {r, cy - s / 4}, {cx, cy + s / 4}); break;
    case Glyph::Up: triangle({l, cy + s / 4}, {r, cy + s / 4}, {cx, cy - s / 4}); break;
    case Glyph::Left: triangle({cx + s / 4, t}, {cx + s / 4, b}, {cx - s / 4, cy}); break;
    case Glyph::Right: triangle({cx - s / 4, t}, {cx - s / 4, b}, {cx + s / 4, cy}); break;
    case Glyph::Cross:
      p.drawLine(QPointF(l, t), QPointF(r, b));
      p.drawLine(QPointF(l, b), QPointF(r, t));
      break;
    case Glyph::Minimize: p.drawLine(QPointF(l, b), QPointF(r, b)); break;
    case Glyph::Maximize:
      p.setBrush(Qt::NoBrush);
      p.drawRect(box);
      break;
    case Glyph::Restore:
      p.setBrush(Qt::NoBrush);
      p.drawRect(box.adjusted(s / 4, 0, 0, -s / 4));
      p.drawRect(box.adjusted(0, s / 4, -s / 4, 0));
      break;
    case Glyph::Tick: p.drawPolyline(QPolygonF{{l, cy}, {cx - s / 8, b}, {r, t}}); break;
  }
  p.restore();
  return true;
}

QColor WithTransparency(QColor color, int percent) {
  color.setAlphaF(1.0 - std::clamp(percent, 0, 100) / 100.0);
  return color;
}

// One per item, or one number for all; a missing entry is 0.
bool ItemFlag(const QStringList& flags, qsizetype index) {
  if (flags.size() == 1) return flags[0].trimmed().toInt() != 0;
  return index < flags.size() && flags[index].trimmed().toInt() != 0;
}

}  // namespace

QString PictureStatusWord(int status) {
  if (status < 0 || status >= static_cast<int>(std::size(kPictureWords))) return QStringLiteral("Unknown GDI+ Error.");
  return QString::fromLatin1(kPictureWords[status]);
}

QImage ReadPicture(const QString& file, PictureStatus* status) {
  QImageReader reader(file);
  reader.setAutoTransform(true);
  QImage image = reader.read();
  PictureStatus result = PictureStatus::Ok;
  if (image.isNull()) {
    result = PictureStatus::GenericError;
    const bool present = QFileInfo::exists(file);
    for (const ReaderFailure& f : kReaderFailures)
      if (f.error == reader.error()) result = present ? f.present : f.absent;
  }
  if (status) *status = result;
  return image;
}

ctlButton::ctlButton(QWidget* parent) : QWidget(parent), font_(FontFromText({})) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(false);
  for (auto& role : colors_) role.fill(kNoColor);
  colors_[static_cast<int>(ColorRole::Fore)][static_cast<int>(ColorForm::Normal)] = kSystemButtonText;
  colors_[static_cast<int>(ColorRole::Fore)][static_cast<int>(ColorForm::Disable)] = 0x909090;
  colors_[static_cast<int>(ColorRole::Border)][static_cast<int>(ColorForm::Normal)] = 0x808080;
  colors_[static_cast<int>(ColorRole::Border)][static_cast<int>(ColorForm::Disable)] = 0xB0B0B0;
  SetThemeColor(0);

  auto* combo = new ComboOverlay(this);
  combo->setObjectName(QStringLiteral("cmbCombo"));
  combo->hide();
  connect(combo, &QComboBox::activated, this, &ctlButton::ComboChosen);
  cmbCombo = combo;

  txtText = new TextOverlay(this, [this] {
    txtText->setText(caption_);
    txtText->hide();
  });
  txtText->setObjectName(QStringLiteral("txtText"));
  txtText->hide();
  connect(txtText, &QLineEdit::editingFinished, this, &ctlButton::CommitTextBox);

  connect(&tmrTimer, &QTimer::timeout, this, &ctlButton::FadeStep);
  connect(&tmrTimerHover, &QTimer::timeout, this, &ctlButton::HoverCheck);
  connect(&timer_, &QTimer::timeout, this, &ctlButton::TimerFired);
}

ctlButton::~ctlButton() = default;

void ctlButton::SetMode(int mode) {
  if (mode < 0 || mode > static_cast<int>(ButtonMode::FlatField)) return;
  mode_ = static_cast<ButtonMode>(mode);
  if (mode_ == ButtonMode::Command) SetChecked(false);
  if (mode_ == ButtonMode::FlatLabel || mode_ == ButtonMode::FlatField) showCorner_ = false;
  if (mode_ != ButtonMode::ComboBox) cmbCombo->hide();
  if (mode_ != ButtonMode::FlatField) txtText->hide();
  update();
}

void ctlButton::SetStatus(int status) {
  if (status < 0 || status > static_cast<int>(ButtonStatus::Released) || status == Status()) return;
  const auto shownBefore = Shown();
  status_ = static_cast<ButtonStatus>(status);
  if (showEffect_ && isVisible()) {
    fadeFrom_ = shownBefore;
    fadeFrame_ = 0;
    tmrTimer.start(effectSpeed_);
  }
  update();
}

void ctlButton::SetEnabled(bool enabled) { setEnabled(enabled); }

void ctlButton::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange && !isEnabled()) {
    status_ = ButtonStatus::Normal;
    cmbCombo->hide();
    txtText->hide();
    tmrTimerHover.stop();
  }
  QWidget::changeEvent(event);
}

void ctlButton::SetCaption(const QString& caption) {
  const QString held = HoldToMask(caption, textFormat_);
  if (held == caption_) return;
  caption_ = held;
  CaptionShown();
  emit CaptionChanged();
}

void ctlButton::CaptionShown() {
  update();
  // A screen reader reads the caption as the name, and a field's as its value.
  if (!QAccessible::isActive()) return;
  QAccessibleEvent name(this, QAccessible::NameChanged);
  QAccessible::updateAccessibility(&name);
  QAccessibleValueChangeEvent value(this, caption_);
  QAccessible::updateAccessibility(&value);
}

void ctlButton::SetTextFormat(const QString& mask) {
  textFormat_ = mask;
  SetCaption(caption_);
}

void ctlButton::SetChecked(bool v) {
  if (checked_ == v) return;
  checked_ = v;
  update();
  if (QAccessible::isActive()) {
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
  }
}

// ---- Colours and theme ----

int32_t ctlButton::Color(ColorRole role, ColorForm form) const {
  return colors_[static_cast<size_t>(role)][static_cast<size_t>(form)];
}

void ctlButton::SetColor(ColorRole role, ColorForm form, int32_t color) {
  Set(colors_[static_cast<size_t>(role)][static_cast<size_t>(form)], color);
}

ColorForm ctlButton::FormForState() const {
  if (!isEnabled()) return ColorForm::Disable;
  // A checked toggle stays down.
  const bool toggle = mode_ == ButtonMode::Check || mode_ == ButtonMode::Radio;
  if (toggle && checked_) return ColorForm::Pressed;
  static constexpr ColorForm byStatus[] = {ColorForm::Normal, ColorForm::Hover, ColorForm::Pressed, ColorForm::Hover};
  return byStatus[static_cast<int>(status_)];
}

std::array<int32_t, 4> ctlButton::Resolved(ColorForm form) const {
  std::array<int32_t, 4> set{};
  for (size_t role = 0; role < set.size(); ++role) {
    const int32_t own = colors_[role][static_cast<size_t>(form)];
    set[role] = own != kNoColor ? own : colors_[role][0];
  }
  return set;
}

std::array<int32_t, 4> ctlButton::Shown() const {
  std::array<int32_t, 4> set = Resolved(FormForState());
  if (!tmrTimer.isActive()) return set;
  for (size_t role = 0; role < set.size(); ++role) {
    // System and missing colours have no channels to step through.
    const bool plain = set[role] >= 0 && fadeFrom_[role] >= 0;
    if (plain) set[role] = ColorStep(fadeFrom_[role], set[role], fadeFrame_, kFadeFrames);
  }
  return set;
}

int32_t ctlButton::ShownBackColor() const { return Shown()[static_cast<size_t>(ColorRole::Back)]; }

void ctlButton::FadeStep() {
  if (++fadeFrame_ >= kFadeFrames) tmrTimer.stop();
  update();
}

void ctlButton::SetStyle(int style) {
  style_ = style;
  const StyleLook look = StyleLookFor(style);
  showBorder_ = look.showBorder;
  if (!look.showCorner) showCorner_ = false;
  if (!look.keepColors) {
    for (ColorForm form : {ColorForm::Normal, ColorForm::Hover, ColorForm::Pressed})
      SetColor(ColorRole::Fore, form, look.foreColor);
    SetBackColor(look.backColor);
  }
  update();
}

void ctlButton::SetThemeColor(int index, int32_t color) {
  if (color == kNoColor) {
    if (index == -1) return;
    color = ThemeColorForIndex(index);
    if (color == kNoColor) return;
  }
  const ButtonColors c = DeriveButtonColors(color);
  SetBackColor(c.BackColor);
  SetBackColorHover(c.BackColorHover);
  SetBackColorPressed(c.BackColorPressed);
  SetLightColor(c.LightColor);
  SetBorderColorHover(c.BorderColorHover);
  SetBorderColorPressed(c.BorderColorPressed);
  SetFadeColor(c.FadeColor);
  SetFadeColorHover(c.FadeColorHover);
  SetFadeColorPressed(c.FadeColorPressed);
  SetFadeColorDisable(c.FadeColorDisable);
  SetProgressColor(c.ProgressColor);
}

// ---- Data ----

void ctlButton::SetComboBoxItems(const QString& items) {
  comboBoxItems_ = items;
  entries_ = items.isEmpty() ? QStringList() : ComboEntries(S(items));
  if (listIndex_ >= ListCount()) listIndex_ = -1;
}

void ctlButton::SetListIndex(int index) {
  if (index < 0 || index >= ListCount()) {
    listIndex_ = -1;
    return;
  }
  listIndex_ = index;
  SetCaption(entries_[index]);
}

void ctlButton::SetIcon(const QPixmap& v) {
  icon_ = v;
  update();
}

void ctlButton::SetIconFontName(const QString& v) {
  if (v != iconFontName_) iconFontReported_ = false;
  Set(iconFontName_, v);
}

bool ctlButton::LoadPicture(const QString& file, QImage& into) {
  PictureStatus status = PictureStatus::Ok;
  QImage image = file.isEmpty() ? QImage() : ReadPicture(file, &status);
  if (status != PictureStatus::Ok) {
    emit DebugText(PictureStatusWord(static_cast<int>(status)));
    return false;
  }
  into = std::move(image);
  return true;
}

bool ctlButton::SetIconFile(const QString& file) {
  QImage image;
  if (!LoadPicture(file, image)) return false;
  SetIcon(QPixmap::fromImage(image));
  return true;
}

bool ctlButton::PaintImage(const QString& file) {
  if (!LoadPicture(file, faceImage_)) return false;
  faceScaled_ = QPixmap();
  update();
  return true;
}

int32_t ctlButton::ShiftColor(int32_t color, double amount) { return zel::ShiftColor(color, amount); }

void ctlButton::SetLayeredWindow(int alpha) { window()->setWindowOpacity(std::clamp(alpha, 0, 255) / 255.0); }

bool ctlButton::IsLayeredWindow() const {
  const QWidget* w = window();
  return w->windowOpacity() < 1.0 || w->testAttribute(Qt::WA_TranslucentBackground);
}

// ---- Actions ----

DialogChooser& ctlButton::Chooser() const { return chooser_ ? *chooser_ : SystemChooser(); }

void ctlButton::ClickIt() {
  if (!isEnabled()) return;
  RunModeAction();
}

void ctlButton::RunModeAction() {
  using Action = void (ctlButton::*)();
  static constexpr Action byMode[] = {
      &ctlButton::ClickCommand,   &ctlButton::ClickCheck,   &ctlButton::ClickRadio,
      &ctlButton::ChooseFontField, &ctlButton::OpenCombo,    &ctlButton::ClickCommand,
      &ctlButton::SelectForFolder, &ctlButton::ChooseFileField, &ctlButton::OpenTextBox,
  };
  (this->*byMode[static_cast<int>(mode_)])();
}

void ctlButton::ClickCommand() { emit Click(); }

void ctlButton::ClickCheck() {
  SetChecked(!checked_);
  emit Click();
}

void ctlButton::ClickRadio() {
  if (QWidget* group = parentWidget()) {
    for (ctlButton* other : group->findChildren<ctlButton*>(Qt::FindDirectChildrenOnly))
      if (other != this && other->mode_ == ButtonMode::Radio) other->SetChecked(false);
  }
  SetChecked(true);
  emit Click();
}

void ctlButton::ChooseFontField() {
  const std::optional<QFont> font = Chooser().ChooseFont(this, font_);
  if (font) font_ = *font;
  FieldAnswered(font ? std::optional<QString>(font->family()) : std::nullopt);
}

void ctlButton::SelectForFolder() {
  FieldAnswered(Chooser().ChooseFolder(this, title_, caption_));
}

void ctlButton::ChooseFileField() {
  const QString folder = caption_.isEmpty() ? QString() : QFileInfo(caption_).absolutePath();
  FieldAnswered(Chooser().ChooseOpenFile(this, title_, folder, QtFileFilter(fileFilter_)));
}

void ctlButton::FieldAnswered(const std::optional<QString>& answer) {
  if (!answer && !cancelClear_) return;
  const QString before = caption_;
  caption_ = answer ? HoldToMask(*answer, textFormat_) : QString();
  CaptionShown();
  emit Change();
  if (caption_ != before) emit CaptionChanged();
  emit ChangeFinished();
}

void ctlButton::RaiseEdited() {
  emit Change();
  emit CaptionChanged();
  emit ChangeFinished();
}

void ctlButton::OpenCombo() {
  cmbCombo->clear();
  cmbCombo->addItems(entries_);
  // A caption written as text finds its entry.
  cmbCombo->setCurrentIndex(listIndex_ >= 0 ? listIndex_ : static_cast<int>(entries_.indexOf(caption_)));
  cmbCombo->setGeometry(rect());
  cmbCombo->show();
  cmbCombo->showPopup();
}

void ctlButton::ComboChosen(int index) {
  cmbCombo->hide();
  if (index < 0 || index >= ListCount()) return;
  listIndex_ = index;
  if (entries_[index] == caption_) {
    emit Change();
    emit ChangeFinished();
    return;
  }
  caption_ = HoldToMask(entries_[index], textFormat_);
  CaptionShown();
  RaiseEdited();
}

void ctlButton::OpenTextBox() {
  txtText->setFont(font_);
  txtText->setText(caption_);
  txtText->setGeometry(LayoutFace().caption.toAlignedRect());
  txtText->show();
  txtText->setFocus();
  txtText->selectAll();
}

void ctlButton::CommitTextBox() {
  if (!txtText->isVisible()) return;
  txtText->hide();
  const QString typed = HoldToMask(txtText->text(), textFormat_);
  if (typed == caption_) return;
  caption_ = typed;
  CaptionShown();
  RaiseEdited();
}

bool ctlButton::TextBoxVisible() const { return txtText->isVisible(); }

void ctlButton::FlashButton(int status, int interval) {
  SetStatus(status);
  tmrTimerHover.start(std::max(1, interval));
}

void ctlButton::HoverCheck() {
  // A flash's own interval is over: from here the pointer is polled.
  tmrTimerHover.setInterval(kHoverPoll);
  if (status_ == ButtonStatus::Pressed && QApplication::mouseButtons() != Qt::NoButton) return;
  const QPoint pointer = PointerPosition ? PointerPosition() : QCursor::pos();
  const bool inside = isVisible() && rect().contains(mapFromGlobal(pointer));
  SetStatus(static_cast<int>(inside ? ButtonStatus::Hover : ButtonStatus::Normal));
  if (inside) return;
  tmrTimerHover.stop();
  if (!TooltipHtml().isEmpty()) QToolTip::hideText();
}

// ---- Timer ----

void ctlButton::SetTimerEnabled(bool v) {
  timerEnabled_ = v;
  if (v)
    RestartTimer();
  else
    timer_.stop();
}

void ctlButton::SetTimerInterval(int v) {
  timerInterval_ = v;
  if (timerEnabled_) RestartTimer();
}

void ctlButton::SetTimerType(int v) {
  if (v < 0 || v > static_cast<int>(TimerKind::Once) || v == TimerType()) return;
  timerType_ = static_cast<TimerKind>(v);
  if (timerEnabled_) RestartTimer();
}

void ctlButton::RestartTimer() {
  timerClock_.start();
  timer_.start(std::max(1, timerInterval_));
}

void ctlButton::TimerFired() {
  emit TimerTick();
  const bool ends = timerType_ == TimerKind::Once ||
                    (timerType_ == TimerKind::Duration && timerClock_.elapsed() >= timerDuration_);
  // A handler of the tick may have stopped or restarted the timer itself.
  if (!ends || !timerEnabled_) return;
  timer_.stop();
  timerEnabled_ = false;
  emit TimerEnd();
}

// ---- Tooltip ----

QString ctlButton::TooltipHtml() const {
  if (tooltipTitle_.isEmpty() && tooltip_.isEmpty()) return {};
  static const QString signs[] = {QString(), QStringLiteral("ℹ "), QStringLiteral("⚠ "), QStringLiteral("⛔ ")};
  const QString sign = toolTipIcon_ >= 1 && toolTipIcon_ <= 3 ? signs[toolTipIcon_] : QString();
  QString body;
  if (!tooltipTitle_.isEmpty() || !sign.isEmpty()) body += "<b>" + sign + tooltipTitle_.toHtmlEscaped() + "</b>";
  if (!tooltip_.isEmpty()) {
    if (!body.isEmpty()) body += "<br>";
    body += tooltip_.toHtmlEscaped().replace('\n', QStringLiteral("<br>"));
  }
  const QString align = tooltipCentered_ ? QStringLiteral(" align=\"center\"") : QString();
  const QString dir = tooltipRightToLeft_ ? QStringLiteral(" dir=\"rtl\"") : QString();
  return "<div" + align + dir + ">" + body + "</div>";
}

void ctlButton::ShowTooltip() {
  const QString html = TooltipHtml();
  if (html.isEmpty()) return;
  const QPoint at = tooltipType_ == 1 ? mapToGlobal(QPoint(0, height())) : QCursor::pos();
  QToolTip::showText(at, html, this);
}

// ---- Window role ----

void ctlButton::SetWindowSizeLimit(bool v) {
  if (windowSizeLimit_ == v) return;
  windowSizeLimit_ = v;
  QWidget* w = window();
  if (!v && w != this) {
    w->setMinimumSize(0, 0);
    w->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
  }
  ApplyWindowLimits();
}

void ctlButton::SetWindowLimit(int which, int value) {
  windowSize_[static_cast<size_t>(which)] = std::max(0, value);
  ApplyWindowLimits();
}

void ctlButton::ApplyWindowLimits() {
  QWidget* w = window();
  if (!windowSizeLimit_ || w == this) return;
  auto most = [](int v) { return v > 0 ? v : QWIDGETSIZE_MAX; };
  w->setMinimumSize(windowSize_[2], windowSize_[3]);
  w->setMaximumSize(most(windowSize_[0]), most(windowSize_[1]));
}

bool ctlButton::InResizeGrip(const QPoint& at) const {
  return statusBarResize_ && at.x() >= width() - kResizeGrip && at.y() >= height() - kResizeGrip;
}

// ---- Process priority ----

int ctlButton::ThreadPriority() const {
  errno = 0;
  const int nice = ::getpriority(PRIO_PROCESS, 0);
  return ClassForNice(errno == 0 ? nice : 0);
}

void ctlButton::SetThreadPriority(int priorityClass) {
  const std::optional<int> nice = NiceForClass(priorityClass);
  if (!nice) {
    emit DebugText(QStringLiteral("ThreadPriority: %1 is no priority class").arg(priorityClass));
    return;
  }
  // Each thread of a Linux process carries its own nice value, so the
  // process's priority is set on every thread it has now; threads made later
  // inherit it from their creator.
  int failure = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
    const auto tid = static_cast<id_t>(std::stol(entry.path().filename().string()));
    if (::setpriority(PRIO_PROCESS, tid, *nice) != 0 && errno != ESRCH) failure = errno;
  }
  if (error) failure = ::setpriority(PRIO_PROCESS, 0, *nice) == 0 ? 0 : errno;
  if (failure)
    emit DebugText(QStringLiteral("ThreadPriority %1: %2").arg(priorityClass).arg(QString::fromLocal8Bit(std::strerror(failure))));
}

// ---- Menu and shell ----

std::unique_ptr<QMenu> ctlButton::BuildPopupMenu(const QString& items, int defaultIndex, const QString& checked,
                                                 const QString& disabled) {
  auto menu = std::make_unique<QMenu>();
  const QStringList entries = items.split('|');
  const QStringList checks = checked.split('|'), disables = disabled.split('|');
  for (qsizetype i = 0; i < entries.size(); ++i) {
    if (entries[i] == QLatin1String("-")) {
      menu->addSeparator();
      continue;
    }
    QAction* action = menu->addAction(entries[i]);
    action->setData(static_cast<int>(i));
    if (ItemFlag(checks, i)) {
      action->setCheckable(true);
      action->setChecked(true);
    }
    action->setEnabled(!ItemFlag(disables, i));
    if (i == defaultIndex) {
      QFont bold = action->font();
      bold.setBold(true);
      action->setFont(bold);
      menu->setDefaultAction(action);
    }
  }
  return menu;
}

int ctlButton::PopupMenu(const QString& items, int defaultIndex, const QString& checked, const QString& disabled,
                         int left, int top) {
  if (items.isEmpty()) return -1;
  const std::unique_ptr<QMenu> menu = BuildPopupMenu(items, defaultIndex, checked, disabled);
  const QPoint at = left == -1 || top == -1 ? QCursor::pos() : mapToGlobal(QPoint(left, top));
  QAction* chosen = PopupMenuExec ? PopupMenuExec(*menu, at) : menu->exec(at);
  return chosen && chosen->data().isValid() ? chosen->data().toInt() : -1;
}

bool ctlButton::ShellOpen(const QString& path) { return QDesktopServices::openUrl(QUrl::fromLocalFile(path)); }

// ---- Events ----

void ctlButton::mousePressEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  emit MouseDown(ButtonCode(event->button()), ShiftCode(event->modifiers()), at.x(), at.y());
  if (event->button() != Qt::LeftButton) return;
  afterDoubleClick_ = false;
  pressGlobal_ = event->globalPosition().toPoint();
  SetStatus(static_cast<int>(ButtonStatus::Pressed));
  pressArmed_ = true;
  if (InResizeGrip(at)) {
    pressArmed_ = false;
    QWindow* handle = window()->windowHandle();
    if (handle && handle->startSystemResize(Qt::BottomEdge | Qt::RightEdge)) {
      // The window manager owns the drag from here and keeps the release.
      SetStatus(static_cast<int>(ButtonStatus::Normal));
      emit WindowDragEnded();
      return;
    }
    dragging_ = handDrag_ = handResize_ = true;
    windowAtPress_ = QPoint(window()->width(), window()->height());
  }
}

void ctlButton::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & Qt::LeftButton)) return;
  const QPoint delta = event->globalPosition().toPoint() - pressGlobal_;
  if (handDrag_) {
    if (handResize_)
      window()->resize(QSize(windowAtPress_.x() + delta.x(), windowAtPress_.y() + delta.y()));
    else
      window()->move(windowAtPress_ + delta);
    return;
  }
  if (!captionBar_ || dragging_ || delta.manhattanLength() < QApplication::startDragDistance()) return;
  dragging_ = true;
  QWindow* handle = window()->windowHandle();
  if (handle && handle->startSystemMove()) {
    dragging_ = pressArmed_ = false;
    SetStatus(static_cast<int>(ButtonStatus::Normal));
    emit WindowDragEnded();
    return;
  }
  // Without a system move the window follows the pointer by hand.
  pressArmed_ = false;
  handDrag_ = true;
  windowAtPress_ = window()->pos();
  window()->move(windowAtPress_ + delta);
}

void ctlButton::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  emit MouseUp(ButtonCode(event->button()), ShiftCode(event->modifiers()), at.x(), at.y());
  if (event->button() != Qt::LeftButton) return;
  const bool inside = rect().contains(at);
  if (handDrag_) {
    handDrag_ = handResize_ = dragging_ = pressArmed_ = false;
    SetStatus(static_cast<int>(inside ? ButtonStatus::Hover : ButtonStatus::Normal));
    emit WindowDragEnded();
    return;
  }
  const bool click = pressArmed_ && inside && !dragging_ && !afterDoubleClick_;
  pressArmed_ = dragging_ = afterDoubleClick_ = false;
  SetStatus(static_cast<int>(!inside ? ButtonStatus::Normal : click ? ButtonStatus::Released : ButtonStatus::Hover));
  if (click) RunModeAction();
}

void ctlButton::mouseDoubleClickEvent(QMouseEvent* event) {
  // Qt sends this after the second press, which has raised MouseDown already;
  // DblClick stands in for that press's action, so a check button flips once.
  if (event->button() != Qt::LeftButton) return;
  emit DblClick();
  SetStatus(static_cast<int>(ButtonStatus::Pressed));
  afterDoubleClick_ = true;
}

void ctlButton::wheelEvent(QWheelEvent* event) { emit MouseWheel(event->angleDelta().y()); }

void ctlButton::keyPressEvent(QKeyEvent* event) {
  const bool press = event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                     (mode_ == ButtonMode::ComboBox && event->key() == Qt::Key_F4);
  if (!press) return QWidget::keyPressEvent(event);
  ClickIt();
}

void ctlButton::enterEvent(QEnterEvent* event) {
  if (status_ == ButtonStatus::Normal) SetStatus(static_cast<int>(ButtonStatus::Hover));
  if (!tmrTimerHover.isActive()) tmrTimerHover.start(kHoverPoll);
  ShowTooltip();
  QWidget::enterEvent(event);
}

void ctlButton::leaveEvent(QEvent* event) {
  if (status_ != ButtonStatus::Pressed) SetStatus(static_cast<int>(ButtonStatus::Normal));
  if (!TooltipHtml().isEmpty()) QToolTip::hideText();
  QWidget::leaveEvent(event);
}

void ctlButton::showEvent(QShowEvent* event) {
  ApplyWindowLimits();
  QWidget::showEvent(event);
}

void ctlButton::resizeEvent(QResizeEvent* event) {
  if (cmbCombo->isVisible()) cmbCombo->setGeometry(rect());
  if (txtText->isVisible()) txtText->setGeometry(LayoutFace().caption.toAlignedRect());
  QWidget::resizeEvent(event);
}

// ---- Painting ----

ctlButton::FaceLayout ctlButton::LayoutFace() const {
  FaceLayout layout;
  QRectF inner = QRectF(rect()).adjusted(kPadding, 0, -kPadding, 0);
  if (!title_.isEmpty()) {
    const int width = titleWidth_ > 0 ? titleWidth_ : QFontMetrics(font_).horizontalAdvance(title_) + 2 * kPadding;
    layout.title = QRectF(inner.left(), inner.top(), width, inner.height());
    inner.setLeft(layout.title.right());
  }
  if (!icon_.isNull() || !iconText_.isEmpty()) {
    layout.icon = QRectF(inner.left(), (height() - iconSize_) / 2.0, iconSize_, iconSize_);
    inner.setLeft(layout.icon.right() + kPadding);
  }
  if (mode_ == ButtonMode::Check || mode_ == ButtonMode::Radio) {
    layout.mark = QRectF(inner.left(), (height() - kMarkSize) / 2, kMarkSize, kMarkSize);
    inner.setLeft(layout.mark.right() + kPadding);
  }
  if (showDropDownSymbol_) {
    layout.dropDown = QRectF(inner.right() - kDropDownWidth, inner.top(), kDropDownWidth, inner.height());
    inner.setRight(layout.dropDown.left() - (showSeparator_ ? kPadding : 0));
  }
  layout.caption = inner;
  return layout;
}

void ctlButton::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing, smoothingCorner_);
  const auto colors = Shown();
  const QPalette& pal = palette();
  const QColor fore = ResolveColor(colors[0], pal.color(QPalette::ButtonText));
  const QColor back = ResolveColor(colors[1], pal.color(QPalette::Button));
  const QColor border = ResolveColor(colors[2], pal.color(QPalette::Dark));
  const QColor fade = ResolveColor(colors[3], back.lighter(120));
  const int transparency = transparent_[static_cast<size_t>(FormForState())];
  // The face covers every pixel; the border's line runs through the outer
  // pixels' centres.
  const QRectF bounds(rect());
  const QRectF face = bounds.adjusted(0.5, 0.5, -0.5, -0.5);
  const qreal radius = showCorner_ ? kCornerRadius : 0;
  QPainterPath shape, outline;
  shape.addRoundedRect(bounds, radius, radius);
  outline.addRoundedRect(face, radius, radius);

  const bool drawFace = mode_ != ButtonMode::FlatLabel && !transparentBack_;
  if (drawFace) {
    if (StyleIsFlat(style_)) {
      p.fillPath(shape, WithTransparency(back, transparency));
    } else {
      QLinearGradient gradient(bounds.topLeft(), bounds.bottomLeft());
      gradient.setColorAt(0, WithTransparency(fade, transparency));
      gradient.setColorAt(1, WithTransparency(back, transparency));
      p.fillPath(shape, gradient);
    }
  }
  PaintFaceImage(p, shape);
  if (max_ > min_ && value_ > min_) {
    const qreal share = std::min(1.0, double(value_ - min_) / (max_ - min_));
    p.save();
    p.setClipPath(shape);
    p.fillRect(QRectF(0, 0, bounds.width() * share, bounds.height()),
               ResolveColor(progressColor_, back.darker(125)));
    p.restore();
  }
  if (showLight_ && drawFace) {
    p.setPen(ResolveColor(lightColor_, back.lighter(150)));
    p.drawLine(QPointF(face.left() + radius, face.top() + 1), QPointF(face.right() - radius, face.top() + 1));
  }
  if (showInnerLine_) {
    const qreal in = innerLinePadding_ + innerLineWidth_ / 2.0;
    p.setPen(QPen(ResolveColor(innerLineColor_, border), innerLineWidth_));
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(face.adjusted(in, in, -in, -in), radius, radius);
  }
  if (showBorder_ && mode_ != ButtonMode::FlatLabel) {
    p.setPen(border);
    p.setBrush(Qt::NoBrush);
    p.drawPath(outline);
  }

  const FaceLayout layout = LayoutFace();
  if (!layout.title.isNull()) {
    p.setFont(font_);
    p.setPen(fore);
    p.drawText(layout.title, Qt::AlignVCenter | Qt::AlignLeft, title_);
  }
  if (!layout.icon.isNull()) {
    if (!icon_.isNull()) {
      p.drawPixmap(layout.icon.toRect(), icon_);
    } else if (!GlyphFontMissing() || !DrawGlyph(p, layout.icon, iconText_, fore)) {
      QFont glyphFont(iconFontName_);
      glyphFont.setPixelSize(iconSize_);
      p.setFont(glyphFont);
      p.setPen(fore);
      p.drawText(layout.icon, Qt::AlignCenter, iconText_);
    }
  }
  if (!layout.mark.isNull()) PaintMark(p, layout.mark, fore, back);
  if (!layout.dropDown.isNull()) {
    DrawGlyph(p, layout.dropDown, QStringLiteral("6"), fore);
    if (showSeparator_) {
      p.setPen(border);
      const qreal x = layout.dropDown.left() - kPadding / 2.0;
      p.drawLine(QPointF(x, face.top() + 4), QPointF(x, face.bottom() - 4));
    }
  }

  static constexpr Qt::Alignment byAlignment[] = {Qt::AlignLeft, Qt::AlignRight, Qt::AlignHCenter};
  const Qt::Alignment align = byAlignment[std::clamp(alignment_, 0, 2)] | Qt::AlignVCenter;
  const bool empty = caption_.isEmpty();
  const TextEffects fx = ParseTextEffects(S(captionEffects_ + (empty ? captionNullText_ : caption_)), ToBgr(fore));
  QFont font = font_;
  if (!captionEffects_.isEmpty() || Q(fx.text) != caption_) {
    font.setBold(fx.bold);
    font.setItalic(fx.italic);
  }
  if (fx.size > 0) font.setPointSize(fx.size);
  p.setFont(font);
  QColor textColor = isEnabled() ? FromBgr(fx.color) : fore;
  if (empty) textColor.setAlphaF(0.5);
  p.setPen(textColor);
  p.drawText(layout.caption, align | Qt::TextSingleLine, Q(fx.text));
  if (!captionComment_.isEmpty()) {
    QColor comment = fore;
    comment.setAlphaF(0.6);
    p.setPen(comment);
    p.setFont(font_);
    p.drawText(layout.caption, Qt::AlignRight | Qt::AlignVCenter, captionComment_);
  }
  if (showFocus_ && hasFocus() && mode_ != ButtonMode::FlatLabel) {
    QPen dots(fore, 1, Qt::DotLine);
    p.setPen(dots);
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(face.adjusted(2, 2, -2, -2), radius, radius);
  }
}

void ctlButton::PaintFaceImage(QPainter& p, const QPainterPath& shape) {
  if (faceImage_.isNull()) return;
  const QSizeF fitted = QSizeF(faceImage_.size()).scaled(QSizeF(size()), Qt::KeepAspectRatio);
  const QPointF at((width() - fitted.width()) / 2, (height() - fitted.height()) / 2);
  // Scaled once for the size and the pixel ratio of where it is drawn.
  const qreal ratio = p.device()->devicePixelRatioF();
  const QSize pixels = (fitted * ratio).toSize();
  if (faceScaled_.size() != pixels || faceScaled_.devicePixelRatio() != ratio) {
    faceScaled_ = QPixmap::fromImage(faceImage_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    faceScaled_.setDevicePixelRatio(ratio);
  }
  p.save();
  p.setClipPath(shape);
  p.drawPixmap(at, faceScaled_);
  p.restore();
}

// A tick box for a check button, a round mark for a radio button, filled in
// the text colour when checked, so that a group reads as one.
void ctlButton::PaintMark(QPainter& p, const QRectF& box, const QColor& fore, const QColor& back) {
  p.save();
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(fore, 1));
  p.setBrush(Qt::NoBrush);
  const QRectF edge = box.adjusted(0.5, 0.5, -0.5, -0.5);
  if (mode_ == ButtonMode::Radio) {
    p.drawEllipse(edge);
    if (checked_) {
      p.setPen(Qt::NoPen);
      p.setBrush(fore);
      p.drawEllipse(box.adjusted(3, 3, -3, -3));
    }
  } else {
    if (checked_) p.setBrush(fore);
    p.drawRoundedRect(edge, 2, 2);
    if (checked_) DrawGlyph(p, box, QStringLiteral("a"), back);
  }
  p.restore();
}

bool ctlButton::GlyphFontMissing() {
  if (QFontDatabase::families().contains(iconFontName_)) return false;
  if (!iconFontReported_) {
    iconFontReported_ = true;
    // Told after the paint, not from inside it.
    const QString word = PictureStatusWord(static_cast<int>(PictureStatus::FontFamilyNotFound));
    QMetaObject::invokeMethod(this, [this, word] { emit DebugText(word); }, Qt::QueuedConnection);
  }
  return true;
}

// ---- Accessibility ----

namespace {

QAccessible::Role RoleFor(const ctlButton* b) {
  static constexpr QAccessible::Role byMode[] = {
      QAccessible::PushButton, QAccessible::CheckBox,   QAccessible::RadioButton,
      QAccessible::PushButton, QAccessible::ComboBox,   QAccessible::StaticText,
      QAccessible::PushButton, QAccessible::PushButton, QAccessible::EditableText,
  };
  if (b->Mode() == static_cast<int>(ButtonMode::FlatField) && !b->Enabled()) return QAccessible::StaticText;
  return byMode[b->Mode()];
}

bool IsField(int mode) {
  static constexpr ButtonMode fields[] = {ButtonMode::FontField, ButtonMode::ComboBox, ButtonMode::FolderField,
                                          ButtonMode::FileField, ButtonMode::FlatField};
  return std::find(std::begin(fields), std::end(fields), static_cast<ButtonMode>(mode)) != std::end(fields);
}

class ButtonAccessible final : public QAccessibleWidget {
 public:
  explicit ButtonAccessible(ctlButton* button) : QAccessibleWidget(button, RoleFor(button)) {}

  QAccessible::Role role() const override { return RoleFor(Button()); }

  QString text(QAccessible::Text t) const override {
    const ctlButton* b = Button();
    const QString plain = Q(ParseTextEffects(S(b->Caption()), 0).text);
    switch (t) {
      case QAccessible::Name: {
        // A name the host gave wins; a field is named by its title, its
        // caption being the value.
        if (!b->accessibleName().isEmpty()) return b->accessibleName();
        const bool field = b->Mode() == 3 || b->Mode() == 4 || b->Mode() == 6 || b->Mode() == 7;
        if (field && !b->Title().isEmpty()) return b->Title();
        if (!plain.isEmpty()) return plain;
        return b->Tooltip().isEmpty() ? b->Title() : b->Tooltip();
      }
      case QAccessible::Value: return IsField(b->Mode()) ? plain : QString();
      case QAccessible::Description: return b->Tooltip();
      default: return QAccessibleWidget::text(t);
    }
  }

  QAccessible::State state() const override {
    QAccessible::State s = QAccessibleWidget::state();
    const ctlButton* b = Button();
    if (b->Mode() == 1 || b->Mode() == 2) {
      s.checkable = true;
      s.checked = b->Checked();
    }
    s.pressed = b->Status() == static_cast<int>(ButtonStatus::Pressed);
    return s;
  }

  QStringList actionNames() const override {
    QStringList names{pressAction()};
    const int mode = Button()->Mode();
    if (mode == 1 || mode == 2) names << toggleAction();
    if (mode == static_cast<int>(ButtonMode::ComboBox)) names << showMenuAction();
    return names + QAccessibleWidget::actionNames();
  }

  // The click runs after the action has returned: a screen reader waits for
  // its answer, and a click that opens a dialog or a question would keep it
  // waiting, with no way to drive them, for as long as they stood.
  void doAction(const QString& name) override {
    if (name == pressAction() || name == toggleAction() || name == showMenuAction())
      QMetaObject::invokeMethod(Button(), &ctlButton::ClickIt, Qt::QueuedConnection);
    else
      QAccessibleWidget::doAction(name);
  }

 private:
  ctlButton* Button() const { return static_cast<ctlButton*>(widget()); }
};

}  // namespace

QAccessibleInterface* AccessibleFor(ctlButton* control) { return control ? new ButtonAccessible(control) : nullptr; }

}  // namespace zel
