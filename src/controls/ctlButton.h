// The program's one drawn button, which by its Mode is also a toggle, a radio
// button, a label, a caption bar and a field that picks a font, a folder, a
// file or an entry of a drop-down, with a progress fill, a timer and a tooltip.
#pragma once

#include <QElapsedTimer>
#include <QFont>
#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QRectF>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class QAccessibleInterface;
class QAction;
class QComboBox;
class QLineEdit;
class QMenu;
class QPainter;
class QPainterPath;

namespace zel {

class DialogChooser;

enum class ButtonMode : int {
  Command = 0,  // Click on a release inside
  Check = 1,    // each release flips Checked
  Radio = 2,    // a release checks this one and unchecks its sibling radios
  FontField = 3,
  ComboBox = 4,
  FlatLabel = 5,
  FolderField = 6,
  FileField = 7,
  FlatField = 8,  // a release opens the text box txtText over the caption
};

// 0 normal, 1 hovered, 2 pressed, 3 released with the pointer inside.
enum class ButtonStatus : int { Normal = 0, Hover = 1, Pressed = 2, Released = 3 };

// How a running timer ends: Repeat ticks until TimerEnabled is turned off and
// raises no TimerEnd; Duration ticks until TimerDuration ms have passed since
// the start, then raises TimerEnd after its last tick; Once ticks once and
// raises TimerEnd. Either end turns TimerEnabled off.
enum class TimerKind : int { Repeat = 0, Duration = 1, Once = 2 };

// Why a picture did not load, numbered as the debug words are; PictureStatusWord
// gives the word.
enum class PictureStatus : int {
  Ok = 0,
  GenericError = 1,
  InvalidParameter = 2,
  FileNotFound = 10,
  AccessDenied = 12,
  UnknownImageFormat = 13,
  FontFamilyNotFound = 14,
};
// The debug word of a status number; a number outside the table gives
// "Unknown GDI+ Error.".
QString PictureStatusWord(int status);
// Reads a picture file; on failure the status says why and the image is null.
// A path that exists but cannot be read as a file (a directory, no right to
// read) is AccessDenied.
QImage ReadPicture(const QString& file, PictureStatus* status);

// The four colour sets a face is drawn in; Released is drawn as Hover.
enum class ColorForm : int { Normal = 0, Hover = 1, Pressed = 2, Disable = 3 };
enum class ColorRole : int { Fore = 0, Back = 1, Border = 2, Fade = 3 };

class ctlButton : public QWidget {
  Q_OBJECT

 public:
  explicit ctlButton(QWidget* parent = nullptr);
  ~ctlButton() override;

  int Mode() const { return static_cast<int>(mode_); }
  // Command clears Checked; FlatLabel and FlatField turn ShowCorner off. A
  // number that is no mode is ignored.
  void SetMode(int mode);
  int Status() const { return static_cast<int>(status_); }
  void SetStatus(int status);
  bool Enabled() const { return isEnabled(); }
  void SetEnabled(bool enabled);

  // Texts. A Caption written while TextFormat holds a mask of '#' digit places
  // ("##:##:##,###") is held to that mask. CaptionChanged follows every change.
  QString Caption() const { return caption_; }
  void SetCaption(const QString& caption);
  QString CaptionComment() const { return captionComment_; }
  void SetCaptionComment(const QString& v) { Set(captionComment_, v); }
  QString CaptionNullText() const { return captionNullText_; }
  void SetCaptionNullText(const QString& v) { Set(captionNullText_, v); }
  // Marks ("#Bold##Red#") applied to the caption; marks in the caption itself
  // count too and are never drawn.
  QString CaptionEffects() const { return captionEffects_; }
  void SetCaptionEffects(const QString& v) { Set(captionEffects_, v); }
  QString Title() const { return title_; }
  void SetTitle(const QString& v) { Set(title_, v); }
  // Logical pixels for the title; 0 fits the title's own width.
  int TitleWidth() const { return titleWidth_; }
  void SetTitleWidth(int v) { Set(titleWidth_, v); }
  // 0 left, 1 right, 2 centre.
  int Alignment() const { return alignment_; }
  void SetAlignment(int v) { Set(alignment_, v); }
  QString TextFormat() const { return textFormat_; }
  void SetTextFormat(const QString& mask);
  QFont Font() const { return font_; }
  void SetFont(const QFont& v) { Set(font_, v); }

  // Frame.
  bool ShowBorder() const { return showBorder_; }
  void SetShowBorder(bool v) { Set(showBorder_, v); }
  bool ShowCorner() const { return showCorner_; }
  void SetShowCorner(bool v) { Set(showCorner_, v); }
  bool ShowLight() const { return showLight_; }
  void SetShowLight(bool v) { Set(showLight_, v); }
  bool ShowFocus() const { return showFocus_; }
  void SetShowFocus(bool v) { Set(showFocus_, v); }
  // Fades between the colour sets in steps of EffectSpeed ms.
  bool ShowEffect() const { return showEffect_; }
  void SetShowEffect(bool v) { Set(showEffect_, v); }
  bool ShowDropDownSymbol() const { return showDropDownSymbol_; }
  void SetShowDropDownSymbol(bool v) { Set(showDropDownSymbol_, v); }
  bool ShowSeparator() const { return showSeparator_; }
  void SetShowSeparator(bool v) { Set(showSeparator_, v); }
  bool ShowInnerLine() const { return showInnerLine_; }
  void SetShowInnerLine(bool v) { Set(showInnerLine_, v); }
  int InnerLineWidth() const { return innerLineWidth_; }
  void SetInnerLineWidth(int v) { Set(innerLineWidth_, v); }
  int InnerLinePadding() const { return innerLinePadding_; }
  void SetInnerLinePadding(int v) { Set(innerLinePadding_, v); }
  bool SmoothingCorner() const { return smoothingCorner_; }
  void SetSmoothingCorner(bool v) { Set(smoothingCorner_, v); }
  int EffectSpeed() const { return effectSpeed_; }
  void SetEffectSpeed(int v) { effectSpeed_ = std::max(1, v); }

  // Opacity: TransparentBack draws no face at all; the others are the face's
  // transparency in percent (0 opaque) in each colour set.
  bool TransparentBack() const { return transparentBack_; }
  void SetTransparentBack(bool v) { Set(transparentBack_, v); }
  int Transparent() const { return transparent_[0]; }
  void SetTransparent(int v) { Set(transparent_[0], v); }
  int TransparentHover() const { return transparent_[1]; }
  void SetTransparentHover(int v) { Set(transparent_[1], v); }
  int TransparentPressed() const { return transparent_[2]; }
  void SetTransparentPressed(int v) { Set(transparent_[2], v); }
  int TransparentDisable() const { return transparent_[3]; }
  void SetTransparentDisable(int v) { Set(transparent_[3], v); }

  // Colours 0x00BBGGRR; -1 in a Hover, Pressed or Disable form takes the
  // normal form, -1 in a normal form the palette's colour.
  int32_t Color(ColorRole role, ColorForm form) const;
  void SetColor(ColorRole role, ColorForm form, int32_t color);
  int32_t ForeColor() const { return Color(ColorRole::Fore, ColorForm::Normal); }
  void SetForeColor(int32_t v) { SetColor(ColorRole::Fore, ColorForm::Normal, v); }
  int32_t ForeColorHover() const { return Color(ColorRole::Fore, ColorForm::Hover); }
  void SetForeColorHover(int32_t v) { SetColor(ColorRole::Fore, ColorForm::Hover, v); }
  int32_t ForeColorPressed() const { return Color(ColorRole::Fore, ColorForm::Pressed); }
  void SetForeColorPressed(int32_t v) { SetColor(ColorRole::Fore, ColorForm::Pressed, v); }
  int32_t ForeColorDisable() const { return Color(ColorRole::Fore, ColorForm::Disable); }
  void SetForeColorDisable(int32_t v) { SetColor(ColorRole::Fore, ColorForm::Disable, v); }
  int32_t BackColor() const { return Color(ColorRole::Back, ColorForm::Normal); }
  void SetBackColor(int32_t v) { SetColor(ColorRole::Back, ColorForm::Normal, v); }
  int32_t BackColorHover() const { return Color(ColorRole::Back, ColorForm::Hover); }
  void SetBackColorHover(int32_t v) { SetColor(ColorRole::Back, ColorForm::Hover, v); }
  int32_t BackColorPressed() const { return Color(ColorRole::Back, ColorForm::Pressed); }
  void SetBackColorPressed(int32_t v) { SetColor(ColorRole::Back, ColorForm::Pressed, v); }
  int32_t BackColorDisable() const { return Color(ColorRole::Back, ColorForm::Disable); }
  void SetBackColorDisable(int32_t v) { SetColor(ColorRole::Back, ColorForm::Disable, v); }
  int32_t BorderColor() const { return Color(ColorRole::Border, ColorForm::Normal); }
  void SetBorderColor(int32_t v) { SetColor(ColorRole::Border, ColorForm::Normal, v); }
  int32_t BorderColorHover() const { return Color(ColorRole::Border, ColorForm::Hover); }
  void SetBorderColorHover(int32_t v) { SetColor(ColorRole::Border, ColorForm::Hover, v); }
  int32_t BorderColorPressed() const { return Color(ColorRole::Border, ColorForm::Pressed); }
  void SetBorderColorPressed(int32_t v) { SetColor(ColorRole::Border, ColorForm::Pressed, v); }
  int32_t BorderColorDisable() const { return Color(ColorRole::Border, ColorForm::Disable); }
  void SetBorderColorDisable(int32_t v) { SetColor(ColorRole::Border, ColorForm::Disable, v); }
  int32_t FadeColor() const { return Color(ColorRole::Fade, ColorForm::Normal); }
  void SetFadeColor(int32_t v) { SetColor(ColorRole::Fade, ColorForm::Normal, v); }
  int32_t FadeColorHover() const { return Color(ColorRole::Fade, ColorForm::Hover); }
  void SetFadeColorHover(int32_t v) { SetColor(ColorRole::Fade, ColorForm::Hover, v); }
  int32_t FadeColorPressed() const { return Color(ColorRole::Fade, ColorForm::Pressed); }
  void SetFadeColorPressed(int32_t v) { SetColor(ColorRole::Fade, ColorForm::Pressed, v); }
  int32_t FadeColorDisable() const { return Color(ColorRole::Fade, ColorForm::Disable); }
  void SetFadeColorDisable(int32_t v) { SetColor(ColorRole::Fade, ColorForm::Disable, v); }
  int32_t LightColor() const { return lightColor_; }
  void SetLightColor(int32_t v) { Set(lightColor_, v); }
  int32_t ProgressColor() const { return progressColor_; }
  void SetProgressColor(int32_t v) { Set(progressColor_, v); }
  int32_t InnerLineColor() const { return innerLineColor_; }
  void SetInnerLineColor(int32_t v) { Set(innerLineColor_, v); }
  // The back colour the face shows now, part way through a fade.
  int32_t ShownBackColor() const;

  // Theme.
  int Style() const { return style_; }
  void SetStyle(int style);
  // Index -1 with colour -1 does nothing; colour -1 takes the palette's colour
  // of the index. The colour becomes BackColor and the colours derived from it.
  void SetThemeColor(int index, int32_t color = -1);

  // Data.
  QString FileFilter() const { return fileFilter_; }
  void SetFileFilter(const QString& v) { fileFilter_ = v; }
  bool CancelClear() const { return cancelClear_; }
  void SetCancelClear(bool v) { cancelClear_ = v; }
  QString ComboBoxItems() const { return comboBoxItems_; }
  void SetComboBoxItems(const QString& items);
  // Setting ListIndex shows that entry as the caption; -1 or a number past the
  // entries selects none and leaves the caption.
  int ListIndex() const { return listIndex_; }
  void SetListIndex(int index);
  int ListCount() const { return static_cast<int>(entries_.size()); }
  bool Checked() const { return checked_; }
  void SetChecked(bool v);
  int Max() const { return max_; }
  void SetMax(int v) { Set(max_, v); }
  int Min() const { return min_; }
  void SetMin(int v) { Set(min_, v); }
  int Value() const { return value_; }
  void SetValue(int v) { Set(value_, v); }

  // Icon: a picture, or else the glyph IconText of IconFontName. Glyphs of a
  // symbol face that is not installed are drawn as shapes where one is known.
  QPixmap Icon() const { return icon_; }
  void SetIcon(const QPixmap& v);
  int IconSize() const { return iconSize_; }
  void SetIconSize(int v) { Set(iconSize_, v); }
  QString IconText() const { return iconText_; }
  void SetIconText(const QString& v) { Set(iconText_, v); }
  QString IconFontName() const { return iconFontName_; }
  // A face that is not installed is told once by DebugText
  // "FontFamily Not Found." when the icon is drawn without it.
  void SetIconFontName(const QString& v);
  // Loads the icon from a picture file; a file that does not load keeps the
  // icon and raises DebugText with its status word. An empty path clears it.
  bool SetIconFile(const QString& file);

  // Timer, ending as TimerKind tells.
  bool TimerEnabled() const { return timerEnabled_; }
  void SetTimerEnabled(bool v);
  int TimerInterval() const { return timerInterval_; }
  void SetTimerInterval(int v);
  int TimerDuration() const { return timerDuration_; }
  void SetTimerDuration(int v) { timerDuration_ = v; }
  int TimerType() const { return static_cast<int>(timerType_); }
  void SetTimerType(int v);

  // Tooltip, shown on hover: the title bold above the text. TooltipType 0
  // shows it at the pointer, 1 under the button's lower edge; ToolTipIcon 1
  // information, 2 warning, 3 error puts that sign before the title.
  int TooltipType() const { return tooltipType_; }
  void SetTooltipType(int v) { tooltipType_ = v; }
  int ToolTipIcon() const { return toolTipIcon_; }
  void SetToolTipIcon(int v) { toolTipIcon_ = v; }
  QString TooltipTitle() const { return tooltipTitle_; }
  void SetTooltipTitle(const QString& v) { tooltipTitle_ = v; }
  QString Tooltip() const { return tooltip_; }
  void SetTooltip(const QString& v) { tooltip_ = v; }
  bool TooltipCentered() const { return tooltipCentered_; }
  void SetTooltipCentered(bool v) { tooltipCentered_ = v; }
  bool TooltipRightToLeft() const { return tooltipRightToLeft_; }
  void SetTooltipRightToLeft(bool v) { tooltipRightToLeft_ = v; }
  // The rich text shown; empty when there is neither title nor text.
  QString TooltipHtml() const;

  // Window role. Only a button with CaptionBar drags its window; with
  // StatusBarResize a press on its lower right corner sizes the window.
  bool CaptionBar() const { return captionBar_; }
  void SetCaptionBar(bool v) { captionBar_ = v; }
  bool StatusBarResize() const { return statusBarResize_; }
  void SetStatusBarResize(bool v) { Set(statusBarResize_, v); }
  bool WindowSizeLimit() const { return windowSizeLimit_; }
  void SetWindowSizeLimit(bool v);
  // 0 is no limit.
  int WindowSizeMaxWidth() const { return windowSize_[0]; }
  void SetWindowSizeMaxWidth(int v) { SetWindowLimit(0, v); }
  int WindowSizeMaxHeight() const { return windowSize_[1]; }
  void SetWindowSizeMaxHeight(int v) { SetWindowLimit(1, v); }
  int WindowSizeMinWidth() const { return windowSize_[2]; }
  void SetWindowSizeMinWidth(int v) { SetWindowLimit(2, v); }
  int WindowSizeMinHeight() const { return windowSize_[3]; }
  void SetWindowSizeMinHeight(int v) { SetWindowLimit(3, v); }

  // The priority class of the whole process (64, 16384, 32, 32768, 128, 256),
  // as a nice value of each of its threads. A class the system refuses, or a
  // number that is no class, changes nothing and raises DebugText.
  int ThreadPriority() const;
  void SetThreadPriority(int priorityClass);

  // Drawing helpers.
  // A picture file as the face's background: scaled to fit the face with its
  // proportions kept, centred, over the back colour and under the progress
  // fill, the border, the check mark, the icon and the texts; a flat label
  // shows it too. A file that does not load keeps the former picture and
  // raises DebugText with its status word. An empty path clears it.
  bool PaintImage(const QString& file);
  QImage FaceImage() const { return faceImage_; }
  // The theme's ShiftColor: toward white for a positive amount, toward black
  // for a negative one.
  static int32_t ShiftColor(int32_t color, double amount);
  // The opacity of the button's top-level window, 0 clear to 255 opaque.
  void SetLayeredWindow(int alpha);
  // Whether that window is drawn translucent.
  bool IsLayeredWindow() const;

  // When set, answers in place of QCursor::pos() for the hover poll (tests).
  static inline std::function<QPoint()> PointerPosition;

  // Runs the action of the Mode as a release inside would; nothing while
  // disabled.
  void ClickIt();
  // The folder dialog of the folder field, whatever the Mode.
  void SelectForFolder();
  void FlashButton(int status, int interval);
  // Items "|"-separated, "-" a separator; Checked and Disabled one number for
  // all or one per item. Opens at (left, top) of the button, or at the
  // pointer for -1, and returns the chosen item's index or -1.
  int PopupMenu(const QString& items, int defaultIndex = -1, const QString& checked = "0",
                const QString& disabled = "0", int left = -1, int top = -1);
  // The menu PopupMenu shows, each action carrying its item's index as data.
  static std::unique_ptr<QMenu> BuildPopupMenu(const QString& items, int defaultIndex, const QString& checked,
                                               const QString& disabled);
  // When set, answers in place of the menu's exec (tests).
  static inline std::function<QAction*(QMenu& menu, const QPoint& at)> PopupMenuExec;
  // Opens a file with the program the desktop associates with it.
  static bool ShellOpen(const QString& path);
  // The text box shows over the caption while a flat field is edited.
  bool TextBoxVisible() const;
  void SetChooser(DialogChooser* chooser) { chooser_ = chooser; }

 signals:
  void Click();
  void DblClick();
  void MouseDown(int button, int shift, int x, int y);
  void MouseUp(int button, int shift, int x, int y);
  void MouseWheel(int delta);
  // A field's editor (dialog, list, text box) answered: Change, then
  // CaptionChanged if the text differs, then ChangeFinished. SetCaption
  // raises CaptionChanged alone.
  void Change();
  void CaptionChanged();
  void ChangeFinished();
  void DebugText(QString text);
  void WindowDragEnded();
  void TimerTick();
  void TimerEnd();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  template <class T>
  void Set(T& field, const T& value) {
    if (field == value) return;
    field = value;
    update();
  }
  DialogChooser& Chooser() const;
  void RunModeAction();
  void ClickRadio();
  void ChooseFontField();
  void OpenCombo();
  void ChooseFileField();
  void OpenTextBox();
  void CommitTextBox();
  // A field's outcome: a new caption, or nothing for a cancelled dialog.
  void FieldAnswered(const std::optional<QString>& answer);
  void RaiseEdited();
  void CaptionShown();
  void StartFade();
  void FadeStep();
  void HoverCheck();
  void TimerFired();
  void RestartTimer();
  void SetWindowLimit(int which, int value);
  void ApplyWindowLimits();
  bool InResizeGrip(const QPoint& at) const;
  void ShowTooltip();
  ColorForm FormForState() const;
  struct FaceLayout {
    QRectF title, icon, mark, dropDown, caption;
  };
  bool LoadPicture(const QString& file, QImage& into);
  void PaintFaceImage(QPainter& p, const QPainterPath& shape);
  void PaintMark(QPainter& p, const QRectF& box, const QColor& fore, const QColor& back);
  bool GlyphFontMissing();
  FaceLayout LayoutFace() const;
  void ClickCommand();
  void ClickCheck();
  void ComboChosen(int index);
  std::array<int32_t, 4> Resolved(ColorForm form) const;
  std::array<int32_t, 4> Shown() const;

  ButtonMode mode_ = ButtonMode::Command;
  ButtonStatus status_ = ButtonStatus::Normal;
  QString caption_, captionComment_, captionNullText_, captionEffects_, title_, textFormat_;
  int titleWidth_ = 0;
  int alignment_ = 2;
  QFont font_;
  bool showBorder_ = true, showCorner_ = true, showLight_ = false, showFocus_ = true, showEffect_ = false;
  bool showDropDownSymbol_ = false, showSeparator_ = false, showInnerLine_ = false, smoothingCorner_ = true;
  int innerLineWidth_ = 1, innerLinePadding_ = 2, effectSpeed_ = 15;
  bool transparentBack_ = false;
  std::array<int, 4> transparent_{};
  std::array<std::array<int32_t, 4>, 4> colors_{};  // [role][form]
  int32_t lightColor_ = -1, progressColor_ = -1, innerLineColor_ = -1;
  int style_ = 26;
  QString fileFilter_;
  bool cancelClear_ = false;
  QString comboBoxItems_;
  QStringList entries_;
  int listIndex_ = -1;
  bool checked_ = false;
  int max_ = 100, min_ = 0, value_ = 0;
  QPixmap icon_;
  int iconSize_ = 16;
  QString iconText_;
  QString iconFontName_ = QStringLiteral("Webdings");
  bool iconFontReported_ = false;
  QImage faceImage_;
  QPixmap faceScaled_;  // faceImage_ at the size and pixel ratio last painted
  bool timerEnabled_ = false;
  int timerInterval_ = 1000, timerDuration_ = 0;
  TimerKind timerType_ = TimerKind::Repeat;
  int tooltipType_ = 0, toolTipIcon_ = 0;
  QString tooltipTitle_, tooltip_;
  bool tooltipCentered_ = false, tooltipRightToLeft_ = false;
  bool captionBar_ = false, statusBarResize_ = false, windowSizeLimit_ = false;
  std::array<int, 4> windowSize_{};  // max width, max height, min width, min height

  DialogChooser* chooser_ = nullptr;
  QComboBox* cmbCombo = nullptr;
  QLineEdit* txtText = nullptr;
  QTimer tmrTimer;       // the colour fade
  // From an Enter or a flash until the button is normal again it asks every
  // 100 ms where the pointer is: a flash ends in what the pointer says, and a
  // hover ends though no Leave came (a window moved away under a still pointer).
  QTimer tmrTimerHover;
  QTimer timer_;         // the user's timer
  QElapsedTimer timerClock_;
  std::array<int32_t, 4> fadeFrom_{};
  int fadeFrame_ = 0;
  // Press state: where the press was, whether it may still become a click,
  // and a window drag done by hand where the system offers none.
  QPoint pressGlobal_, windowAtPress_;
  bool pressArmed_ = false, dragging_ = false, handDrag_ = false, handResize_ = false, afterDoubleClick_ = false;
};

QAccessibleInterface* AccessibleFor(ctlButton* control);

}  // namespace zel
