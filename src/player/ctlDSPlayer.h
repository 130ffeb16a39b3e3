// The player control: opens one file at a time in an mpv session, plays,
// pauses and resumes it with volume fades, loops and ends it on its own tick,
// fits the video into its area, and reports everything by its events.
#pragma once

#include "player/MpvSession.h"
#include "player/PlayerPicture.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <array>
#include <functional>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace zel {

class DialogChooser;
class MpvVideoWidget;
class PlayerFactsLayer;
class PlayerPictureLayer;
class PlayerStatusBar;
class PlayerSubtitleLayer;
class SubtitleOverlay;
struct MediaFacts;

// 0 closed, 1 playing, 2 paused, 3 opened and not yet started.
enum class PlayerStatus : int { Closed = 0, Playing = 1, Paused = 2, Opened = 3 };

// 0 fit, 1 stretch, 2 original size, 3 half way.
enum class PlayerAspect : int { Fit = 0, Stretch = 1, Original = 2, HalfWay = 3 };

// Volumes travel in hundredths of a decibel, -5000 silence to 0 full, and reach
// mpv as percent: 100 * 10^(dB / 20). -5000 and below are silence, 0 percent.
inline constexpr int kSilence = -5000;
double VolumePercentOf(int hundredthsDb);
int HundredthsDbOf(double percent);
// The graph target of an AudioVolume in percent.
int VolumeTargetOf(double audioVolume);

// Where the video goes in an area W x H for a video w x h: left and top from
// the area's corner, the size, and the scale against the video's own size.
struct VideoPlacement {
  double left = 0, top = 0, width = 0, height = 0, scaleX = 0, scaleY = 0;
};
VideoPlacement PlaceVideo(PlayerAspect aspect, double W, double H, double w, double h);

// The parts that a player hosts beside playback, each its own class: the
// picture layer, the text overlay, and whatever a host adds. The control calls
// them at its fixed points; every call has an empty default.
class PlayerPart {
 public:
  virtual ~PlayerPart() = default;
  // OpenFile, after the facts are read and before Status 3 (subtitle search).
  virtual void Opening() {}
  // CloseFile step 1, whether a file is open or not (DefaultImage and the
  // picture), and step 4 (the subtitle table, the current line).
  virtual void Closing() {}
  // Each repaint of the status bar, the tick's among them.
  virtual void Ticked() {}
};

class ctlDSPlayer : public QWidget {
  Q_OBJECT

 public:
  // Video draws into an OpenGL child; the headless outputs make no child at
  // all, for tests and for a player that needs no picture.
  explicit ctlDSPlayer(QWidget* parent = nullptr, MpvOutput output = MpvOutput::Video);
  ~ctlDSPlayer() override;

  // ---- Operations ----
  // Opens and, unless Pause is set, starts. Waits for mpv's verdict at most
  // OpenTimeLimit ms while the event loop runs; False on failure, after which
  // the host shows FailureLines().
  bool OpenFile(const QString& fileName);
  void Play();
  void CloseFile();
  QString ChooseFile(bool openNow);
  void CorrectAspect();
  int PopupMenu(const QString& items, int defaultIndex = -1, const QString& checked = "0",
                const QString& disabled = "0", int left = -1, int top = -1);
  // A free name beside `path` ("a(1).mp4"), as the engine finds it.
  static QString RenameExists(const QString& path);
  // The lines to show when OpenFile returned False.
  static QStringList FailureLines();

  // ---- Playback properties ----
  int Status() const { return static_cast<int>(status_); }
  QString Filename() const { return filename_; }
  QString SourceFileName() const { return sourceFileName_; }
  double Position() const;
  void SetPosition(double seconds);
  double Duration() const { return duration_; }
  double PositionStart() const { return positionStart_; }
  void SetPositionStart(double seconds);
  double PositionEnd() const { return positionEnd_; }
  void SetPositionEnd(double seconds);
  bool Pause() const { return pause_; }
  void SetPause(bool pause);
  bool Repeat() const { return repeat_; }
  void SetRepeat(bool v) { repeat_ = v; }
  double Speed() const { return speed_; }
  void SetSpeed(double speed);
  int Balance() const { return balance_; }
  void SetBalance(int balance);
  double AudioVolume() const;
  void SetAudioVolume(double percent);
  bool ControlSystemVolume() const { return controlSystemVolume_; }
  void SetControlSystemVolume(bool v);
  bool VolumeFadeInOut() const { return volumeFadeInOut_; }
  void SetVolumeFadeInOut(bool v) { volumeFadeInOut_ = v; }
  float TimeJumpValue() const { return timeJumpValue_; }
  void SetTimeJumpValue(float seconds);
  QString SuffixChange() const { return suffixChange_; }
  void SetSuffixChange(const QString& v) { suffixChange_ = v; }
  int Aspect() const { return static_cast<int>(aspect_); }
  void SetAspect(int aspect);
  bool Enabled() const { return enabled_; }
  void SetEnabled(bool v);
  bool Refresh() const { return refresh_; }
  void SetRefresh(bool v);
  // Read by OpenFile: a file without video then shows the spectrum of its
  // sound in place of its cover.
  bool ShowFFT() const { return showFFT_; }
  void SetShowFFT(bool v) { showFFT_ = v; }
  // Whether the open file shows its spectrum.
  bool SpectrumRunning() const { return spectrum_; }
  bool AllowChangePosition() const;
  void SetAllowChangePosition(bool v);
  bool AllowLoadSubtitle() const { return allowLoadSubtitle_; }
  // Turned on with a file open, the search runs at once; turned off, the
  // table is erased.
  void SetAllowLoadSubtitle(bool v);
  bool MoveParent() const { return moveParent_; }
  void SetMoveParent(bool v) { moveParent_ = v; }
  int OLEDropMode() const { return oleDropMode_; }
  void SetOLEDropMode(int mode);
  // Writing follows the top-level window's full-screen state; reading gives
  // False always, as callers track full screen themselves.
  bool FullScreenMode() const { return false; }
  void SetFullScreenMode(bool on);
  bool ShowBorder() const { return showBorder_; }
  void SetShowBorder(bool v);
  // Milliseconds that OpenFile waits for mpv's verdict on a file.
  int OpenTimeLimit() const { return openTimeLimit_; }
  void SetOpenTimeLimit(int ms) { openTimeLimit_ = std::max(100, ms); }

  // ---- Media facts, filled by OpenFile and cleared by CloseFile ----
  int MediaWidth() const { return mediaWidth_; }
  int MediaHeight() const { return mediaHeight_; }
  int MediaFrameRate() const { return static_cast<int>(std::lround(frameRate_)); }
  float FrameRate() const { return frameRate_; }
  QString TagTitle() const { return tagTitle_; }
  QString TagArtist() const { return tagArtist_; }
  QString TagAlbum() const { return tagAlbum_; }
  QString TagComment() const { return tagComment_; }
  int TagYear() const { return tagYear_; }
  int TagGenre() const { return tagGenre_; }
  int TagTrack() const { return tagTrack_; }
  // Left, top, width, height in control coordinates; empty when closed.
  std::array<int, 4> VideoRect() const { return videoRect_; }
  bool SubtitleLoaded() const;

  // ---- The status bar's size, faces and marks: the bar holds them, the
  // control's properties pass through to it ----
  int StatusBarHeight() const;
  void SetStatusBarHeight(int v);
  int StatusBarDefaultMode() const;
  void SetStatusBarDefaultMode(int v);
  int StatusBarCurrentMode() const;
  void SetStatusBarCurrentMode(int v);
  // Seconds after which a temporary face gives way; a negative value is refused.
  int StatusBarAutoRecovery() const;
  void SetStatusBarAutoRecovery(int v);
  QString InfoBarString() const;
  void SetInfoBarString(const QString& text);
  double SetTagStart() const;
  void SetSetTagStart(double v);
  double SetTagEnd() const;
  void SetSetTagEnd(double v);
  int SetTagPart() const;
  void SetSetTagPart(int v);
  // The player's and its bar's look; style 27 turns the border off, and no
  // other style turns it on again.
  int Style() const;
  void SetStyle(int style);
  // The side panel of the media facts, drawn at the right edge while a file
  // is open and the control is wider than the panel, takes its width from
  // the video's.
  bool ShowMediaInfo() const { return showMediaInfo_; }
  void SetShowMediaInfo(bool v);
  QString MediaInfoString() const { return mediaInfoString_; }
  void SetMediaInfoString(const QString& text);
  // The panel's width: the one set, or with 0 (the default) the widest the
  // open file's rows take in the control's font.
  int MediaInfoWidth() const;
  void SetMediaInfoWidth(int v);
  // The panel's place; empty while it is not drawn.
  QRect MediaInfoRect() const;
  // What the panel shows now.
  MediaFacts Facts() const;

  // ---- The idle display and the subtitle overlay's look ----
  QString Caption() const { return caption_; }
  void SetCaption(const QString& text);
  QString Text() const { return text_; }
  void SetText(const QString& text);
  // Seconds added to the position when the subtitle's line is chosen.
  double SubtitleTimeOffset() const;
  void SetSubtitleTimeOffset(double seconds);
  int ShowShadowValue() const;
  void SetShowShadowValue(int depth);
  bool ZoomText() const;
  void SetZoomText(bool zoom);

  // ---- Pictures: the default image, the cover of an audio file, screenshots ----
  QString DefaultImage() const;
  void SetDefaultImage(const QString& fileName);
  // The picture on show: the video frame or the spectrum at its own size
  // (null until mpv's first frame reached its output), else what the picture
  // layer shows.
  QImage ShownFrame() const;
  // Writes the picture on show with its texts beside the source (or into
  // `folder`) as `suffix`, under a free name, and raises ImageGrabbed; the
  // name written, or "" when nothing was.
  QString Screenshot(const QString& folder = {}, const QString& suffix = QStringLiteral("jpg"),
                     const ScreenshotTexts& texts = {});

  // ---- The parts: the bar along the lower edge, the picture layer under the
  // video, the subtitle over it; a host may add parts of its own ----
  PlayerStatusBar& StatusBar() const { return *bar_; }
  PlayerPicture& Picture() const;
  SubtitleOverlay& Subtitle() const;
  void AddPart(PlayerPart* part);
  void SetChooser(DialogChooser* chooser) { chooser_ = chooser; }
  // The live session (nullptr while closed), for the parts that ask mpv for
  // more (frames, tracks).
  MpvSession* Session() const { return session_.get(); }
  // The video's GL surface, made here if no file has made it yet; nullptr for
  // a control without video output.
  MpvVideoWidget* VideoWidget() {
    MakeVideoWidget();
    return video_;
  }
  // Further mpv options for the handles of the files opened from now on, set
  // after the player's own (so they win): a host without a sound device, or a
  // measure that must run mpv as the peer it compares with ("ao", "null").
  void SetMpvOptions(std::vector<std::pair<QString, QString>> options) { mpvOptions_ = std::move(options); }

  // Every volume written to mpv while fading or setting, in order: the
  // hundredths of a decibel and the percent that mpv then holds.
  struct VolumeStep {
    int db;
    double percent;
  };
  const std::vector<VolumeStep>& VolumeHistory() const { return volumeHistory_; }
  void ClearVolumeHistory() { volumeHistory_.clear(); }
  // The tick's interval now, 0 while it is off.
  int TickInterval() const { return tmrPlayTimer.isActive() ? tmrPlayTimer.interval() : 0; }

 signals:
  void OLEDragDrop(QStringList data, int effect, int button, int shift, int x, int y);
  void Click();
  void DblClick();
  void MouseEnter();
  void MouseLeave();
  void MouseActivate();
  void MouseDown(int button, int shift, int x, int y);
  void MouseMove(int button, int shift, int x, int y);
  void MouseUp(int button, int shift, int x, int y);
  // 1 down (toward the user), 0 up.
  void MouseWheel(int direction);
  void StatusBarText(QString& text);
  void ParentMouseEnter();
  void ParentMouseLeave();
  void ParentSized();
  void ParentMoveSizeEnd();
  void ParentPositionChanged();
  void ParentActivate(bool active);
  void ParentMinimize();
  void ParentMaximize();
  void FileOpened();
  void FileClosed();
  void Resized();
  void DefaultImageChanged(QString& fileName);
  void TagsChanged();
  // The video's left, top, width and height (the last two in the places of a
  // right and a bottom, as the rectangle is kept), and its scale.
  void VideoRectChanged(float left, float top, float right, float bottom, float scaleX, float scaleY);
  void PlaybackUpdate(double position, double duration, int status, double setTagStart, double setTagEnd);
  void ImageGrabbed(QString fileName, int width, int height);
  void DebugMessage(QString text);
  void DefaultImageZoomed();
  void KeyDown(int keyCode, int shift);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void Tick();
  void FadeOutTick();
  // Runs the event loop until `done` holds, mpv or the picture says something
  // that may make it hold, or `ms` pass; false when it does not hold then, or
  // when another OpenFile or a CloseFile replaced the session meanwhile.
  bool WaitUntil(const std::function<bool()>& done, int ms);
  void RaiseUpdate();
  void RaiseUpdate(double position, double duration, int status);
  int ReadVolume() const;
  void WriteVolume(int hundredthsDb);
  void ApplyBalance();
  void ReadFacts();
  void RenameBack();
  void ClearFacts();
  void RepaintBar();
  void Repaint(const char* reason);
  // The closed file's handle, and whether it drew the spectrum.
  void Retire(bool spectrumRan);
  void StartSpectrum();
  void LayoutParts();
  void ConnectBar();
  void JumpBy(double seconds);
  void ShowSeek(double seconds);
  void DebugWord(const char* word);
  void WatchTopLevel();
  QRect AreaRect() const;
  void Yield();
  void MakeVideoWidget();

  MpvOutput output_;
  std::unique_ptr<MpvSession> session_;
  std::vector<std::pair<QString, QString>> mpvOptions_;
  // A closed file whose sound still fades out before its handle goes.
  std::unique_ptr<MpvSession> retiring_;
  bool retiringSpectrum_ = false;
  MpvVideoWidget* video_ = nullptr;
  PlayerStatusBar* bar_ = nullptr;
  PlayerPictureLayer* image_ = nullptr;
  PlayerSubtitleLayer* overlay_ = nullptr;
  PlayerFactsLayer* facts_ = nullptr;
  std::vector<PlayerPart*> parts_;
  DialogChooser* chooser_ = nullptr;
  QTimer tmrPlayTimer;
  QTimer tmrTimer;  // image transitions, driven by the picture layer
  QTimer tmrFadeOut;
  QTimer parentSettle_;  // the end of a move or size of the top-level window
  bool parentSizing_ = false;
  bool ending_ = false;  // the destructor runs: no yielding, no fade
  QPointer<QWidget> watchedTop_;

  PlayerStatus status_ = PlayerStatus::Closed;
  QString filename_, sourceFileName_;
  double position_ = 0, duration_ = 0, positionStart_ = 0, positionEnd_ = 0;
  bool pause_ = false, repeat_ = false;
  double speed_ = 1;
  int balance_ = 0;
  double graphVolume_ = 100, shownVolume_ = 100;
  bool controlSystemVolume_ = false, volumeFadeInOut_ = false;
  float timeJumpValue_ = 1;
  QString suffixChange_;
  PlayerAspect aspect_ = PlayerAspect::Fit;
  bool enabled_ = true, refresh_ = true, showFFT_ = false;
  bool spectrum_ = false;  // the open file's sound drawn as its picture
  bool allowLoadSubtitle_ = true, moveParent_ = false, showBorder_ = false;
  int oleDropMode_ = 0;
  int openTimeLimit_ = 10000;
  int lastVolume_ = kSilence;  // the last written, for when mpv cannot be read

  int mediaWidth_ = 0, mediaHeight_ = 0;
  float frameRate_ = 0;
  QString tagTitle_, tagArtist_, tagAlbum_, tagComment_;
  int tagYear_ = 0, tagGenre_ = -1, tagTrack_ = 0;
  std::array<int, 4> videoRect_{};

  bool showMediaInfo_ = false;
  int mediaInfoWidth_ = 0;
  QString mediaInfoString_;
  QString caption_, text_;

  QPoint dragFrom_;
  std::vector<VolumeStep> volumeHistory_;
};

}  // namespace zel
