// The strip along the player's lower edge: progress with the two time marks,
// the subtitle line, volume, speed or a notice. It draws what the player tells
// it and reports what the user asks for; the player does the seeking, the
// volume and the speed itself.
#pragma once

#include "player/PlayerMarks.h"

#include <QString>
#include <QWidget>

#include <cstdint>

class QAccessibleInterface;

namespace zel {

class PlayerStatusBar : public QWidget {
  Q_OBJECT

 public:
  explicit PlayerStatusBar(QWidget* parent = nullptr);

  // ---- The marks; 0 is "not set". Writing holds a negative value at 0, then
  // raises PlaybackUpdateWanted (with Refresh on and Status 1 or 2) and
  // TagsChanged in every case.
  double SetTagStart() const { return marks_.start; }
  void SetSetTagStart(double seconds);
  double SetTagEnd() const { return marks_.end; }
  void SetSetTagEnd(double seconds);
  MarkPair Marks() const { return marks_; }
  // Below 1 the marks are drawn; from 1 up the bar is ruled into equal parts.
  int16_t SetTagPart() const { return tagPart_; }
  void SetSetTagPart(int16_t parts);
  // Closing a file: no marks and no rules, without the writes' events.
  void ClearMarks() { marks_ = {}, tagPart_ = 0, update(); }
  bool SetTagEnabled() const { return tagEnabled_; }
  void SetSetTagEnabled(bool v) { tagEnabled_ = v; }

  // ---- Kind, height and faces. Height and kind keep each other as the bar's
  // rules say; the widget's own height follows.
  int ModeStyle() const { return modeStyle_; }
  void SetModeStyle(int v);
  int StatusBarHeight() const { return height_; }
  void SetStatusBarHeight(int v);
  int StatusBarDefaultMode() const { return faces_.Default(); }
  void SetStatusBarDefaultMode(int v);
  int StatusBarCurrentMode() const { return faces_.Current(); }
  void SetStatusBarCurrentMode(int v);
  int StatusBarAutoRecovery() const { return faces_.AutoRecovery(); }
  void SetStatusBarAutoRecovery(int seconds) { faces_.SetAutoRecovery(seconds); }
  bool StatusBarSubtitleSupported() const { return subtitleSupported_; }
  void SetStatusBarSubtitleSupported(bool v);
  bool AllowChangeStatusBarMode() const { return allowChangeMode_; }
  void SetAllowChangeStatusBarMode(bool v) { allowChangeMode_ = v; }
  bool AllowChangePosition() const { return allowChangePosition_; }
  void SetAllowChangePosition(bool v) { allowChangePosition_ = v; }
  QString StatusBarString() const { return statusString_; }
  void SetStatusBarString(const QString& v) { statusString_ = v, update(); }
  // Shows the notice face at once, its time starting anew.
  QString InfoBarString() const { return infoString_; }
  void SetInfoBarString(const QString& v);
  int RecoveryCounter() const { return faces_.Counter(); }

  // ---- Looks, 0x00BBGGRR.
  int32_t BarColor() const { return barColor_; }
  void SetBarColor(int32_t v) { barColor_ = v, update(); }
  int32_t PositionColor() const { return positionColor_; }
  void SetPositionColor(int32_t v) { positionColor_ = v, update(); }
  int32_t AlertColor() const { return alertColor_; }
  void SetAlertColor(int32_t v) { alertColor_ = v, update(); }
  bool TransparentStatusBar() const { return transparent_; }
  void SetTransparentStatusBar(bool v) { transparent_ = v, update(); }
  int Style() const { return style_; }
  void SetStyle(int v) { style_ = v, update(); }

  // ---- What the player tells the bar.
  void SetPlayback(double position, double duration, int status);
  double Position() const { return position_; }
  double Duration() const { return duration_; }
  int Status() const { return status_; }
  // The shown volume (percent) and speed; the player switches the face itself.
  double AudioVolume() const { return volume_; }
  void SetAudioVolume(double percent) { volume_ = percent, update(); }
  void SetSpeed(double rate) { speed_ = rate, update(); }
  void SetSubtitleLine(const QString& line) { subtitleLine_ = line, update(); }
  const QString& SubtitleLine() const { return subtitleLine_; }
  void SetSubtitleLoaded(bool v) { subtitleLoaded_ = v; }
  // False: nothing is painted and mark writes raise no progress.
  void SetRefresh(bool v);

  // One playback tick: a temporary face gives way when its time is up; true
  // then (the notice is cleared and the bar repainted).
  bool Tick(int intervalMs);
  // The position face's text as it would be drawn now, before StatusBarText.
  QString TimeText() const;
  // What the pointer holds or hovers over now.
  GrabTarget Target() const { return grab_.target; }
  // A seek asked for by other means than the mouse (assistive technology),
  // under the same AllowChangePosition rule.
  void RequestSeek(double seconds);

 signals:
  // Pointer events with the bar's own coordinates; the player adds the bar's
  // place to pass them on as its own.
  void MouseDown(int button, int shift, int x, int y);
  void MouseMove(int button, int shift, int x, int y);
  void MouseUp(int button, int shift, int x, int y);
  // A drag on the position face holds the playback tick (false); the release
  // lets it run again while playing (true).
  void PlayTimerWanted(bool enabled);
  void SeekRequested(double seconds);
  // A drag step moved the marks; they are stored already, without TagsChanged.
  void MarksDragged(double start, double end);
  void PlaybackUpdateWanted();
  void TagsChanged();
  void VolumeRequested(double percent);
  void SpeedRequested(double rate);
  // The face changed by the user's right click or by the recovery time.
  void FaceChanged(int face);
  // The default face, the height or the subtitle flag changed: the video's
  // place depends on them.
  void LayoutChanged();
  // Just before the position or subtitle text is drawn; the host may change it.
  void StatusBarText(QString& text);

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent*) override;
  void mouseMoveEvent(QMouseEvent*) override;
  void mouseReleaseEvent(QMouseEvent*) override;
  void leaveEvent(QEvent*) override;

 private:
  void ApplyHeight();
  Grab HitAt(QPoint p) const;
  void DragStep(QPoint p, Qt::KeyboardModifiers mods);
  bool InBar(QPoint p) const { return p.y() >= 0 && p.y() < height() && p.x() >= 0 && p.x() < width(); }
  void WroteMark();
  void TellMarksMoved();

  MarkPair marks_;
  int16_t tagPart_ = 0;
  bool tagEnabled_ = false;
  int modeStyle_ = 3, height_ = 17;
  BarFaces faces_;
  bool subtitleSupported_ = false, subtitleLoaded_ = false;
  bool allowChangeMode_ = true, allowChangePosition_ = true;
  QString statusString_, infoString_, subtitleLine_;
  int32_t barColor_ = 0xD7C5C6, positionColor_ = 0xB2B2B2, alertColor_ = 255;
  bool transparent_ = false;
  int style_ = 26;
  double position_ = 0, duration_ = 0, volume_ = 100, speed_ = 1;
  int status_ = 0;
  bool refresh_ = true;

  // The pointer: 0 outside, 1 over the bar, 2 dragging; what it holds.
  int hover_ = 0;
  Grab grab_;
};

QAccessibleInterface* AccessibleFor(PlayerStatusBar* bar);

}  // namespace zel
