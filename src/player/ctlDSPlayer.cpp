#include "player/ctlDSPlayer.h"

#include "base/FileHelpers.h"
#include "controls/DialogChooser.h"
#include "controls/MouseCodes.h"
#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "player/MpvVideoWidget.h"
#include "player/PlayerFactsLayer.h"
#include "player/PlayerPictureLayer.h"
#include "player/PlayerStatusBar.h"
#include "player/PlayerStrings.h"
#include "player/PlayerSubtitleLayer.h"
#include "player/SubtitleOverlay.h"
#include "subtitles/Mp3Tags.h"

#include <QAction>
#include <QCoreApplication>
#include <QCursor>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <functional>

namespace zel {
namespace {

// The spectrum of a file without video: mpv turns the sound into a picture
// that the video widget draws like any other. showcqt keeps playback in real
// time at a few percent of a core; showspectrum falls far behind the clock
// inside mpv. Its size only sets the detail: the picture is stretched over
// the whole area.
constexpr int kSpectrumWidth = 640;
constexpr int kSpectrumHeight = 360;

QString SpectrumGraph(const QString& audioTrack) {
  return QStringLiteral("[aid%1]asplit[ao][a];[a]showcqt=s=%2x%3:fps=25[vo]")
      .arg(audioTrack)
      .arg(kSpectrumWidth)
      .arg(kSpectrumHeight);
}

}  // namespace

double VolumePercentOf(int hundredthsDb) {
  if (hundredthsDb <= kSilence) return 0;
  return 100.0 * std::pow(10.0, std::min(hundredthsDb, 0) / 2000.0);
}

int HundredthsDbOf(double percent) {
  if (percent <= VolumePercentOf(kSilence + 1) / 2) return kSilence;
  return std::clamp(static_cast<int>(std::lround(2000.0 * std::log10(percent / 100.0))), kSilence, 0);
}

// Rounded half to even, as the volume calls have always rounded.
int VolumeTargetOf(double audioVolume) { return static_cast<int>(std::nearbyint(audioVolume / 100 * 5000 - 5000)); }

VideoPlacement PlaceVideo(PlayerAspect aspect, double W, double H, double w, double h) {
  VideoPlacement out;
  if (w <= 0 || h <= 0 || W <= 0 || H <= 0) return out;
  // The reduced size: the video as it is when it fits, else shrunk to the area.
  double a = w, b = h;
  if (W < w || H < h) {
    const double r = w / h;
    if (W / r <= H) {
      a = W;
      b = W / r;
    } else {
      a = H * r;
      b = H;
    }
  }
  a = std::max(0.0, a);
  b = std::max(0.0, b);
  switch (aspect) {
    case PlayerAspect::Fit:
      if (h / H <= w / W) {
        out.width = W;
        out.height = W / w * h;
        out.top = (H - out.height) / 2;
      } else {
        out.height = H;
        out.width = H / h * w;
        out.left = (W - out.width) / 2;
      }
      break;
    case PlayerAspect::Stretch:
      out.width = W;
      out.height = H;
      break;
    case PlayerAspect::Original:
      out.width = a;
      out.height = b;
      out.left = (W - a) / 2;
      out.top = (H - b) / 2;
      break;
    case PlayerAspect::HalfWay:
      out.left = (W - a) / 4;
      out.top = (H - b) / 4;
      out.width = a + (W - a) / 2;
      out.height = b + (H - b) / 2;
      break;
  }
  out.scaleX = out.width / w;
  out.scaleY = out.height / h;
  return out;
}

ctlDSPlayer::ctlDSPlayer(QWidget* parent, MpvOutput output)
    : QWidget(parent), output_(output), caption_(Q(StrPlayerCaption)) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  image_ = new PlayerPictureLayer(*this);
  overlay_ = new PlayerSubtitleLayer(*this);
  facts_ = new PlayerFactsLayer(*this);
  bar_ = new PlayerStatusBar(this);
  parts_ = {image_, overlay_, facts_};
  ConnectBar();
  LayoutParts();
  tmrPlayTimer.setInterval(1);
  tmrTimer.setInterval(1);
  connect(&tmrPlayTimer, &QTimer::timeout, this, &ctlDSPlayer::Tick);
  tmrFadeOut.setInterval(30);
  connect(&tmrFadeOut, &QTimer::timeout, this, &ctlDSPlayer::FadeOutTick);
  parentSettle_.setSingleShot(true);
  parentSettle_.setInterval(250);
  connect(&parentSettle_, &QTimer::timeout, this, [this] {
    if (parentSizing_) {
      DebugWord("Finished sizing.");
      emit ParentSized();
    }
    parentSizing_ = false;
    emit ParentMoveSizeEnd();
  });
}

// The host window is closing: nothing more may wait on the event loop, so the
// file ends here without its fade and without yielding.
ctlDSPlayer::~ctlDSPlayer() {
  ending_ = true;
  if (status_ != PlayerStatus::Closed) CloseFile();
  status_ = PlayerStatus::Closed;
  RaiseUpdate(0, 0, 0);
  tmrPlayTimer.stop();
  tmrFadeOut.stop();
  if (video_ != nullptr) video_->Attach(nullptr);
  retiring_.reset();
  session_.reset();
}

// Made with the first file, not with the control: a GL child turns its whole
// window over to GL composition, which loads the GL driver before the window's
// first paint and costs every repaint of the window while nothing plays.
void ctlDSPlayer::MakeVideoWidget() {
  if (output_ != MpvOutput::Video || video_ != nullptr) return;
  video_ = new MpvVideoWidget(this);
  // Clicks and the wheel on the picture are the control's own.
  video_->setAttribute(Qt::WA_TransparentForMouseEvents);
  video_->hide();
  if (session_) video_->Attach(session_.get());
  LayoutParts();
}

void ctlDSPlayer::Yield() {
  if (!ending_) QCoreApplication::processEvents();
}

// ---- Opening and closing ----

bool ctlDSPlayer::OpenFile(const QString& fileName) {
  if (fileName.isEmpty()) return false;
  if (status_ != PlayerStatus::Closed) CloseFile();

  session_ = std::make_unique<MpvSession>(output_, mpvOptions_);
  MpvSession* const mine = session_.get();
  if (video_ != nullptr) video_->Attach(mine);
  // At rest no tick reads the time: the bar learns where a seek landed when
  // mpv has done it.
  connect(mine, &MpvSession::PlaybackRestarted, this, [this] {
    if (!tmrPlayTimer.isActive() && (status_ == PlayerStatus::Playing || status_ == PlayerStatus::Paused)) {
      bar_->SetPlayback(Position(), duration_, static_cast<int>(status_));
      if (refresh_) RepaintBar();
    }
  });
  Yield();
  if (session_.get() != mine) return false;  // another OpenFile or a CloseFile ran meanwhile
  overlay_->Clear();
  ClearFacts();

  sourceFileName_ = fileName;
  filename_ = fileName;
  const QStringList change = suffixChange_.split('|');
  if (!suffixChange_.isEmpty() && change.size() >= 2 && QFileInfo(fileName).suffix().toLower() == change[0]) {
    filename_ = fileName + "." + change[1];
    // A refused rename leaves a name that does not exist, and the open fails.
    QFile::rename(sourceFileName_, filename_);
  }
  const bool network = filename_.contains(QStringLiteral("://"), Qt::CaseInsensitive);

  // The render context must exist before the file loads, or mpv opens the
  // video without a picture.
  MakeVideoWidget();
  if (video_ != nullptr && !video_->Ready()) {
    video_->show();
    WaitUntil([this] { return video_->Ready(); }, openTimeLimit_);
  }
  if (session_.get() != mine) return false;
  session_->LoadFile(network ? filename_ : QFileInfo(filename_).absoluteFilePath());
  WaitUntil([mine] { return mine->Loaded() || mine->Failed(); }, openTimeLimit_);
  if (session_.get() != mine) return false;
  // Some containers tell the picture's size only once the first frame is
  // decoded, which mpv does at once, paused or not.
  if (mine->Loaded() && mine->GetString("vid").value_or("no") != "no") {
    WaitUntil([mine] { return mine->GetInt("video-params/w").value_or(0) > 0; }, std::min(openTimeLimit_, 3000));
  }
  if (session_.get() != mine) return false;

  session_->SetDouble("speed", speed_);
  if (positionStart_ > 0) session_->SeekAbsolute(positionStart_);
  duration_ = std::max(0.0, session_->GetDouble("duration").value_or(0));
  ReadFacts();
  shownVolume_ = VolumePercentOf(ReadVolume());

  if (!(duration_ > 0 || network)) {
    status_ = PlayerStatus::Paused;
    CloseFile();
    return false;
  }
  if (mediaWidth_ == 0 && mediaHeight_ == 0 && showFFT_) StartSpectrum();
  for (PlayerPart* part : parts_) part->Opening();

  status_ = PlayerStatus::Opened;
  emit FileOpened();
  RaiseUpdate();
  CorrectAspect();
  bar_->SetStatusBarCurrentMode(bar_->StatusBarDefaultMode());
  ApplyBalance();
  WriteVolume(kSilence);
  Repaint("Openfile");
  if (!pause_) {
    Play();
  } else {
    status_ = PlayerStatus::Paused;
    bar_->SetPlayback(Position(), duration_, static_cast<int>(status_));
  }
  return true;
}

// Set once the file is loaded, as only then is it known to have no video;
// mpv rebuilds its outputs around the graph at once, paused or not. The
// spectrum fills the area whatever its proportions.
void ctlDSPlayer::StartSpectrum() {
  const QString audio = session_->GetString("aid").value_or("no");
  if (audio == QLatin1String("no")) return;
  spectrum_ = session_->SetString("lavfi-complex", SpectrumGraph(audio));
  if (spectrum_) session_->SetFlag("keepaspect", false);
}

void ctlDSPlayer::ReadFacts() {
  mediaWidth_ = static_cast<int>(session_->GetInt("width").value_or(0));
  mediaHeight_ = static_cast<int>(session_->GetInt("height").value_or(0));
  double fps = session_->GetDouble("container-fps").value_or(0);
  if (!(fps > 0)) fps = session_->GetDouble("estimated-vf-fps").value_or(0);
  frameRate_ = fps > 0 ? static_cast<float>(fps) : 0;
  const Mp3TextFrames tags = ReadTextFrames(S(filename_));
  tagTitle_ = Q(tags.title);
  tagArtist_ = Q(tags.artist);
  tagAlbum_ = Q(tags.album);
  tagComment_ = Q(tags.comment);
  tagYear_ = tags.year;
  tagGenre_ = tags.genre;
  tagTrack_ = tags.track;
}

void ctlDSPlayer::ClearFacts() {
  mediaWidth_ = mediaHeight_ = 0;
  frameRate_ = 0;
  tagTitle_.clear();
  tagArtist_.clear();
  tagAlbum_.clear();
  tagComment_.clear();
  tagYear_ = tagTrack_ = 0;
  tagGenre_ = -1;
}

bool ctlDSPlayer::WaitUntil(const std::function<bool()>& done, int ms) {
  MpvSession* const mine = session_.get();
  auto settled = [&] { return session_.get() != mine || mine == nullptr || done(); };
  if (settled()) return session_.get() == mine;
  QEventLoop loop;
  QTimer limit;
  limit.setSingleShot(true);
  connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
  auto check = [&] {
    if (settled()) loop.quit();
  };
  connect(mine, &MpvSession::FileLoaded, &loop, check);
  connect(mine, &MpvSession::EndFile, &loop, check);
  connect(mine, &MpvSession::PropertyChanged, &loop, check);
  connect(mine, &QObject::destroyed, &loop, &QEventLoop::quit);
  if (video_ != nullptr) connect(video_, &MpvVideoWidget::RenderReady, &loop, check);
  limit.start(ms);
  loop.exec();
  return session_.get() == mine && done();
}

void ctlDSPlayer::Play() {
  if (status_ == PlayerStatus::Closed || status_ == PlayerStatus::Playing) return;
  Repaint("Play");
  Yield();
  if (session_ == nullptr) return;
  pause_ = false;
  status_ = PlayerStatus::Playing;
  session_->SetFlag("pause", false);
  tmrPlayTimer.setInterval(1);
  tmrPlayTimer.start();
  RaiseUpdate();
}

void ctlDSPlayer::CloseFile() {
  for (PlayerPart* part : parts_) part->Closing();
  if (status_ == PlayerStatus::Closed) return;
  // The spectrum is no longer drawn; its graph ends with the handle, after
  // the fade-out.
  const bool spectrumRan = std::exchange(spectrum_, false);
  tmrPlayTimer.stop();
  bar_->SetStatusBarCurrentMode(bar_->StatusBarDefaultMode());
  duration_ = 0;
  ClearFacts();
  position_ = positionStart_ = positionEnd_ = 0;
  bar_->ClearMarks();
  status_ = PlayerStatus::Closed;
  Retire(spectrumRan);
  RenameBack();
  filename_.clear();
  sourceFileName_.clear();
  videoRect_ = {};
  if (video_ != nullptr) video_->hide();
  LayoutParts();
  Repaint("Close");
  RaiseUpdate(0, 0, 0);
  emit FileClosed();
  Yield();
}

void ctlDSPlayer::RenameBack() {
  if (suffixChange_.isEmpty() || filename_ == sourceFileName_ || filename_.isEmpty()) return;
  QFile::rename(filename_, sourceFileName_);
}

// The closed file's handle fades its sound out and then ends; a silent or
// paused one ends at once.
void ctlDSPlayer::Retire(bool spectrumRan) {
  if (session_ == nullptr) return;
  if (retiring_ != nullptr) {
    tmrFadeOut.stop();
    retiring_.reset();
  }
  const bool audible = ReadVolume() > kSilence && !session_->GetFlag("pause").value_or(true);
  if (!audible || ending_) {
    if (spectrumRan) session_->Command({QStringLiteral("stop")});
    session_.reset();
    return;
  }
  retiring_ = std::move(session_);
  retiringSpectrum_ = spectrumRan;
  tmrFadeOut.start();
}

void ctlDSPlayer::FadeOutTick() {
  if (retiring_ == nullptr) {
    tmrFadeOut.stop();
    return;
  }
  const int v = HundredthsDbOf(retiring_->GetDouble("volume").value_or(0));
  if (v > kSilence) {
    const int next = std::max(kSilence, static_cast<int>(std::nearbyint(v - (std::abs(v) + 1) * 2.0)));
    retiring_->SetDouble("volume", VolumePercentOf(next));
    volumeHistory_.push_back({next, retiring_->GetDouble("volume").value_or(-1)});
    return;
  }
  tmrFadeOut.stop();
  // A handle that drew the spectrum is stopped before it goes; any other
  // ends by its release alone.
  if (retiringSpectrum_) retiring_->Command({QStringLiteral("stop")});
  retiring_.reset();
}

// ---- The tick ----

void ctlDSPlayer::Tick() {
  if (session_ == nullptr) {
    tmrPlayTimer.stop();
    return;
  }
  const int v = ReadVolume();
  const int t = VolumeTargetOf(graphVolume_);
  const int interval = v != t ? 30 : spectrum_ ? 125 : 300;
  tmrPlayTimer.setInterval(interval);
  if (status_ == PlayerStatus::Playing) {
    if (v != t) WriteVolume(t <= v ? t : static_cast<int>(std::nearbyint(v + std::abs(v) * 0.5)));
  } else if (status_ == PlayerStatus::Paused) {
    if (v > kSilence) {
      WriteVolume(std::max(kSilence, static_cast<int>(std::nearbyint(v - (std::abs(v) + 1) * 2.0))));
    } else {
      session_->SetFlag("pause", true);
      tmrPlayTimer.stop();
    }
  }
  shownVolume_ = controlSystemVolume_ ? session_->GetDouble("ao-volume").value_or(shownVolume_) : graphVolume_;
  bar_->SetAudioVolume(shownVolume_);

  if (!refresh_) return;
  if (status_ != PlayerStatus::Playing && status_ != PlayerStatus::Paused) return;
  RepaintBar();

  if (!filename_.contains(QStringLiteral("://"), Qt::CaseInsensitive)) {
    duration_ = std::max(duration_, session_->GetDouble("duration").value_or(0));
    const double p = Position();
    // mpv holds a finished file on its last frame, short of the duration:
    // its end flag counts as having passed it.
    const bool end = p >= duration_ || session_->GetFlag("eof-reached").value_or(false) ||
                     (positionEnd_ > 0 && p >= positionEnd_);
    if (!end) {
      position_ = p;
      RaiseUpdate();
    } else if (repeat_) {
      session_->SeekAbsolute(positionStart_);
      if (status_ == PlayerStatus::Playing) session_->SetFlag("pause", false);
    } else {
      CloseFile();
      return;
    }
  }

  if (bar_->Tick(interval)) Repaint("tmrPlayTimer");
}

int ctlDSPlayer::ReadVolume() const {
  if (session_ == nullptr) return lastVolume_;
  const std::optional<double> percent = session_->GetDouble("volume");
  return percent ? HundredthsDbOf(*percent) : lastVolume_;
}

void ctlDSPlayer::WriteVolume(int hundredthsDb) {
  lastVolume_ = std::clamp(hundredthsDb, kSilence, 0);
  if (session_ == nullptr) return;
  session_->SetDouble("volume", VolumePercentOf(lastVolume_));
  volumeHistory_.push_back({lastVolume_, session_->GetDouble("volume").value_or(-1)});
}

// The balance attenuates one side by its hundredths of a decibel, as a pan
// filter of mpv; 0 takes the filter away. The sound is made stereo first: on
// a mono source the pan's second input channel does not exist, and the filter
// is taken all the same.
void ctlDSPlayer::ApplyBalance() {
  if (session_ == nullptr) return;
  if (balance_ == 0) {
    session_->SetString("af", QString());
    return;
  }
  const double left = std::pow(10.0, -std::max(balance_, 0) / 2000.0);
  const double right = std::pow(10.0, std::min(balance_, 0) / 2000.0);
  session_->SetString("af", QStringLiteral("@balance:lavfi=[aformat=channel_layouts=stereo,pan=stereo|c0=%1*c0|c1=%2*c1]")
                                .arg(left, 0, 'f', 6)
                                .arg(right, 0, 'f', 6));
}

void ctlDSPlayer::RaiseUpdate() { RaiseUpdate(Position(), duration_, static_cast<int>(status_)); }

void ctlDSPlayer::RaiseUpdate(double position, double duration, int status) {
  bar_->SetPlayback(position, duration, status);
  emit PlaybackUpdate(position, duration, status, bar_->SetTagStart(), bar_->SetTagEnd());
}

// ---- Properties ----

double ctlDSPlayer::Position() const {
  if (session_ == nullptr) return position_;
  if (const std::optional<double> target = session_->PendingSeek()) return *target;
  return std::max(0.0, session_->GetDouble("time-pos").value_or(position_));
}

void ctlDSPlayer::SetPosition(double seconds) {
  if (seconds == position_) return;
  double x = std::max(0.0, seconds);
  if (x >= duration_) {
    if (status_ != PlayerStatus::Playing) {
      x = duration_;
    } else if (repeat_) {
      x = positionStart_;
    } else {
      CloseFile();
    }
  }
  position_ = x;
  if (session_ != nullptr) session_->SeekAbsolute(x);
  ShowSeek(x);
  if (!tmrPlayTimer.isActive() && refresh_ &&
      (status_ == PlayerStatus::Playing || status_ == PlayerStatus::Paused)) {
    RepaintBar();
  }
}

// mpv tells the new time only once the seek is done: the bar shows its target
// meanwhile, so that a paused player does not keep showing the old time.
void ctlDSPlayer::ShowSeek(double seconds) {
  if (status_ != PlayerStatus::Closed) bar_->SetPlayback(seconds, duration_, static_cast<int>(status_));
}

void ctlDSPlayer::SetPositionStart(double seconds) {
  positionStart_ = seconds;
  if (session_ == nullptr) return;
  session_->SeekAbsolute(seconds);
  ShowSeek(seconds);
  RepaintBar();
  session_->SetFlag("pause", true);
}

void ctlDSPlayer::SetPositionEnd(double seconds) {
  positionEnd_ = seconds;
  if (session_ == nullptr) return;
  session_->SeekAbsolute(seconds);
  ShowSeek(seconds);
  RepaintBar();
  session_->SetFlag("pause", true);
}

void ctlDSPlayer::SetPause(bool pause) {
  pause_ = pause;
  if (status_ == PlayerStatus::Closed || session_ == nullptr) return;
  const int t = VolumeTargetOf(graphVolume_);
  if (pause) {
    if (volumeFadeInOut_) {
      WriteVolume(t);
    } else {
      WriteVolume(kSilence);
      tmrPlayTimer.stop();
    }
    session_->SetFlag("pause", true);
    status_ = PlayerStatus::Paused;
  } else {
    WriteVolume(volumeFadeInOut_ ? kSilence : t);
    session_->SetFlag("pause", false);
    status_ = PlayerStatus::Playing;
    tmrPlayTimer.setInterval(1);
    tmrPlayTimer.start();
  }
  RaiseUpdate();
  Yield();
}

void ctlDSPlayer::SetSpeed(double speed) {
  speed_ = std::nearbyint(std::max(0.1, speed) * 10) / 10;
  bar_->SetSpeed(speed_);
  SetStatusBarCurrentMode(3);
  if (session_ != nullptr) session_->SetDouble("speed", speed_);
}

void ctlDSPlayer::SetBalance(int balance) {
  balance_ = std::clamp(balance, -10000, 10000);
  ApplyBalance();
}

// The speaker's volume is mpv's ao-volume: the volume of the player's stream
// in the sound server's mixer, 0 to 100. Without a sound output (no device,
// ao=null) mpv has none; the volume then reads as the one last written, and
// writing it changes nothing that is heard.
double ctlDSPlayer::AudioVolume() const {
  if (!controlSystemVolume_) return graphVolume_;
  if (session_ != nullptr) return session_->GetDouble("ao-volume").value_or(shownVolume_);
  return shownVolume_;
}

void ctlDSPlayer::SetAudioVolume(double percent) {
  const double value = std::clamp(percent, 0.0, 100.0);
  SetStatusBarCurrentMode(2);
  if (controlSystemVolume_) {
    if (session_ != nullptr) session_->SetDouble("ao-volume", value);
    shownVolume_ = value;
  } else {
    WriteVolume(VolumeTargetOf(value));
    graphVolume_ = shownVolume_ = value;
  }
  bar_->SetAudioVolume(shownVolume_);
}

void ctlDSPlayer::SetControlSystemVolume(bool v) {
  controlSystemVolume_ = v;
  shownVolume_ = AudioVolume();
  bar_->SetAudioVolume(shownVolume_);
}

void ctlDSPlayer::SetTimeJumpValue(float seconds) {
  if (seconds >= 0) {
    timeJumpValue_ = seconds;
  } else if (seconds == -1) {
    timeJumpValue_ = frameRate_ > 0 ? 1 / frameRate_ : 0.03f;
  }
}

void ctlDSPlayer::SetAspect(int aspect) {
  if (aspect < 0 || aspect > 3) return;
  aspect_ = static_cast<PlayerAspect>(aspect);
  CorrectAspect();
}

void ctlDSPlayer::SetRefresh(bool v) {
  refresh_ = v;
  bar_->SetRefresh(v);
  if (v) update();
}

void ctlDSPlayer::SetEnabled(bool v) {
  enabled_ = v;
  // A disabled player's bar passes the mouse on, and the control ignores it.
  bar_->setAttribute(Qt::WA_TransparentForMouseEvents, !v);
}

bool ctlDSPlayer::AllowChangePosition() const { return bar_->AllowChangePosition(); }
void ctlDSPlayer::SetAllowChangePosition(bool v) { bar_->SetAllowChangePosition(v); }

void ctlDSPlayer::SetAllowLoadSubtitle(bool v) {
  allowLoadSubtitle_ = v;
  if (!v) {
    overlay_->Clear();
  } else if (status_ != PlayerStatus::Closed) {
    overlay_->Load();
  }
}

bool ctlDSPlayer::SubtitleLoaded() const { return overlay_->Overlay().SubtitleLoaded(); }
SubtitleOverlay& ctlDSPlayer::Subtitle() const { return overlay_->Overlay(); }
PlayerPicture& ctlDSPlayer::Picture() const { return image_->Picture(); }

void ctlDSPlayer::SetOLEDropMode(int mode) {
  oleDropMode_ = mode;
  setAcceptDrops(mode != 0);
}

void ctlDSPlayer::SetFullScreenMode(bool on) {
  if (status_ == PlayerStatus::Closed) return;
  if (on) {
    window()->showFullScreen();
  } else {
    window()->showNormal();
  }
}

void ctlDSPlayer::SetShowBorder(bool v) {
  showBorder_ = v;
  LayoutParts();
  CorrectAspect();
  update();
}

int ctlDSPlayer::Style() const { return bar_->Style(); }

void ctlDSPlayer::SetStyle(int style) {
  bar_->SetStyle(style);
  if (style == 27) SetShowBorder(false);
}

// ---- The status bar's state, held by the bar ----

int ctlDSPlayer::StatusBarHeight() const { return bar_->StatusBarHeight(); }
void ctlDSPlayer::SetStatusBarHeight(int v) { bar_->SetStatusBarHeight(v); }
int ctlDSPlayer::StatusBarDefaultMode() const { return bar_->StatusBarDefaultMode(); }
void ctlDSPlayer::SetStatusBarDefaultMode(int v) { bar_->SetStatusBarDefaultMode(v); }
int ctlDSPlayer::StatusBarCurrentMode() const { return bar_->StatusBarCurrentMode(); }
int ctlDSPlayer::StatusBarAutoRecovery() const { return bar_->StatusBarAutoRecovery(); }
void ctlDSPlayer::SetStatusBarAutoRecovery(int v) { bar_->SetStatusBarAutoRecovery(v); }
QString ctlDSPlayer::InfoBarString() const { return bar_->InfoBarString(); }
void ctlDSPlayer::SetInfoBarString(const QString& text) { bar_->SetInfoBarString(text); }
double ctlDSPlayer::SetTagStart() const { return bar_->SetTagStart(); }
void ctlDSPlayer::SetSetTagStart(double v) { bar_->SetSetTagStart(v); }
double ctlDSPlayer::SetTagEnd() const { return bar_->SetTagEnd(); }
void ctlDSPlayer::SetSetTagEnd(double v) { bar_->SetSetTagEnd(v); }
int ctlDSPlayer::SetTagPart() const { return bar_->SetTagPart(); }
void ctlDSPlayer::SetSetTagPart(int v) { bar_->SetSetTagPart(static_cast<int16_t>(std::clamp(v, -32768, 32767))); }

void ctlDSPlayer::SetStatusBarCurrentMode(int v) {
  bar_->SetStatusBarCurrentMode(v);
  Repaint("StatusBarCurrentMode");
}

// The bar asks, the control does: seeks, volume, speed, the tick's pause
// during a drag, and the events the host sees as the control's own.
void ctlDSPlayer::ConnectBar() {
  connect(bar_, &PlayerStatusBar::SeekRequested, this, &ctlDSPlayer::SetPosition);
  connect(bar_, &PlayerStatusBar::VolumeRequested, this, &ctlDSPlayer::SetAudioVolume);
  connect(bar_, &PlayerStatusBar::SpeedRequested, this, &ctlDSPlayer::SetSpeed);
  connect(bar_, &PlayerStatusBar::PlaybackUpdateWanted, this, qOverload<>(&ctlDSPlayer::RaiseUpdate));
  connect(bar_, &PlayerStatusBar::TagsChanged, this, &ctlDSPlayer::TagsChanged);
  connect(bar_, &PlayerStatusBar::StatusBarText, this, [this](QString& text) { emit StatusBarText(text); });
  connect(bar_, &PlayerStatusBar::LayoutChanged, this, [this] {
    LayoutParts();
    CorrectAspect();
  });
  connect(bar_, &PlayerStatusBar::PlayTimerWanted, this, [this](bool on) {
    if (!on) {
      tmrPlayTimer.stop();
    } else if (session_ != nullptr) {
      tmrPlayTimer.start();
    }
  });
  // The bar's pointer events are the control's, in the control's coordinates.
  connect(bar_, &PlayerStatusBar::MouseDown, this, [this](int b, int s, int x, int y) {
    emit MouseDown(b, s, x, y + bar_->y());
  });
  connect(bar_, &PlayerStatusBar::MouseMove, this, [this](int b, int s, int x, int y) {
    emit MouseMove(b, s, x, y + bar_->y());
  });
  connect(bar_, &PlayerStatusBar::MouseUp, this, [this](int b, int s, int x, int y) {
    emit MouseUp(b, s, x, y + bar_->y());
  });
}

// ---- The facts panel, the idle texts and the overlay's look ----

void ctlDSPlayer::SetShowMediaInfo(bool v) {
  showMediaInfo_ = v;
  LayoutParts();
  CorrectAspect();
}

void ctlDSPlayer::SetMediaInfoString(const QString& text) {
  mediaInfoString_ = text;
  LayoutParts();
  CorrectAspect();
  facts_->update();
}

void ctlDSPlayer::SetMediaInfoWidth(int v) {
  mediaInfoWidth_ = std::max(0, v);
  LayoutParts();
  CorrectAspect();
}

// Measured on the widest rows the file can give, marks that fit or not, so
// that neither the panel nor the video beside it moves as the time goes on.
int ctlDSPlayer::MediaInfoWidth() const {
  if (mediaInfoWidth_ > 0) return mediaInfoWidth_;
  MediaFacts widest = Facts();
  widest.position = widest.markStart = widest.markEnd = duration_;
  const int fitting = zel::MediaInfoWidth(widest, font());
  widest.markEnd = duration_ + 1;
  return std::max(fitting, zel::MediaInfoWidth(widest, font()));
}

QRect ctlDSPlayer::MediaInfoRect() const {
  if (!showMediaInfo_ || status_ == PlayerStatus::Closed) return {};
  const int panel = MediaInfoWidth();
  if (width() <= panel) return {};
  const int b = showBorder_ ? 1 : 0;
  return {width() - b - panel, b, panel, std::max(0, height() - StatusBarHeight() - 2 * b)};
}

MediaFacts ctlDSPlayer::Facts() const {
  MediaFacts facts;
  // While the tick runs mpv's clock is current; at rest the bar holds the
  // target of the last seek, which mpv may not have reached yet.
  facts.position = TickInterval() > 0 ? Position() : bar_->Position();
  facts.duration = duration_;
  facts.markStart = bar_->SetTagStart();
  facts.markEnd = bar_->SetTagEnd();
  facts.width = mediaWidth_;
  facts.height = mediaHeight_;
  facts.frameRate = frameRate_;
  facts.extra = S(mediaInfoString_);
  return facts;
}

void ctlDSPlayer::SetCaption(const QString& text) {
  caption_ = text;
  image_->update();
}

void ctlDSPlayer::SetText(const QString& text) {
  text_ = text;
  image_->update();
}

double ctlDSPlayer::SubtitleTimeOffset() const { return Subtitle().SubtitleTimeOffset(); }

void ctlDSPlayer::SetSubtitleTimeOffset(double seconds) {
  Subtitle().SetSubtitleTimeOffset(seconds);
  if (status_ != PlayerStatus::Closed) overlay_->Ticked();
}

int ctlDSPlayer::ShowShadowValue() const { return Subtitle().ShowShadowValue(); }

void ctlDSPlayer::SetShowShadowValue(int depth) {
  Subtitle().SetShowShadowValue(depth);
  overlay_->update();
}

bool ctlDSPlayer::ZoomText() const { return Subtitle().ZoomText(); }

void ctlDSPlayer::SetZoomText(bool zoom) {
  Subtitle().SetZoomText(zoom);
  overlay_->update();
}

// ---- Placing the video ----

QRect ctlDSPlayer::AreaRect() const {
  const int b = showBorder_ ? 1 : 0;
  int w = width() - 2 * b;
  const int panel = MediaInfoWidth();
  if (showMediaInfo_ && width() > panel) w -= panel;
  return {b, b, std::max(0, w), std::max(0, height() - StatusBarHeight() - 2 * b)};
}

void ctlDSPlayer::CorrectAspect() {
  if (status_ == PlayerStatus::Closed) return;
  RepaintBar();
  const QRect area = AreaRect();
  // The spectrum is a drawing, not a picture with proportions: it takes the
  // whole area in every Aspect.
  const VideoPlacement at = spectrum_ ? PlaceVideo(PlayerAspect::Stretch, area.width(), area.height(),
                                                   kSpectrumWidth, kSpectrumHeight)
                                      : PlaceVideo(aspect_, area.width(), area.height(), mediaWidth_, mediaHeight_);
  videoRect_ = {area.left() + static_cast<int>(at.left), area.top() + static_cast<int>(at.top),
                static_cast<int>(at.width), static_cast<int>(at.height)};
  if (video_ != nullptr) {
    video_->setGeometry(videoRect_[0], videoRect_[1], videoRect_[2], videoRect_[3]);
    video_->show();
  }
  LayoutParts();
  emit VideoRectChanged(static_cast<float>(videoRect_[0]), static_cast<float>(videoRect_[1]),
                        static_cast<float>(videoRect_[2]), static_cast<float>(videoRect_[3]),
                        static_cast<float>(at.scaleX), static_cast<float>(at.scaleY));
}

// ---- Parts ----

void ctlDSPlayer::AddPart(PlayerPart* part) {
  if (part != nullptr) parts_.push_back(part);
}

// From the bottom up: the picture layer inside the border, the video, the
// words over the video (over the whole area for a file without one), and the
// bar along the lower edge.
void ctlDSPlayer::LayoutParts() {
  const int b = showBorder_ ? 1 : 0;
  const int barHeight = StatusBarHeight();
  image_->setGeometry(b, b, std::max(0, width() - 2 * b), std::max(0, height() - barHeight - 2 * b));
  image_->lower();
  if (video_ != nullptr) video_->raise();
  overlay_->setGeometry(videoRect_[2] > 0 && videoRect_[3] > 0
                            ? QRect(videoRect_[0], videoRect_[1], videoRect_[2], videoRect_[3])
                            : AreaRect());
  overlay_->raise();
  const QRect panel = MediaInfoRect();
  facts_->setGeometry(panel);
  facts_->setVisible(!panel.isEmpty());
  facts_->raise();
  bar_->setGeometry(0, height() - barHeight, width(), barHeight);
  bar_->raise();
}

void ctlDSPlayer::RepaintBar() {
  bar_->update();
  for (PlayerPart* part : parts_) part->Ticked();
}

void ctlDSPlayer::Repaint(const char* /*reason*/) {
  if (!refresh_) return;
  update();
  bar_->update();
  overlay_->update();
  facts_->update();
}

// ---- Pictures and screenshots ----

QString ctlDSPlayer::DefaultImage() const { return Q(image_->Picture().DefaultImage()); }
void ctlDSPlayer::SetDefaultImage(const QString& fileName) { image_->Picture().SetDefaultImage(S(fileName)); }

QImage ctlDSPlayer::ShownFrame() const {
  if (session_ != nullptr && (mediaWidth_ > 0 || mediaHeight_ > 0 || spectrum_)) {
    QImage frame = session_->Frame();
    if (frame.isNull() && video_ != nullptr) frame = video_->grabFramebuffer();
    return frame;
  }
  // The picture follows the layer's size on its next paint; a shot may come first.
  image_->Picture().Resize(image_->size());
  return image_->Picture().Screen();
}

QString ctlDSPlayer::Screenshot(const QString& folder, const QString& suffix, const ScreenshotTexts& texts) {
  const QString source = !sourceFileName_.isEmpty() ? sourceFileName_ : DefaultImage();
  const QImage frame = ShownFrame();
  if (source.isEmpty() || frame.isNull()) return {};
  const std::optional<double> at = status_ != PlayerStatus::Closed ? std::optional<double>(Position()) : std::nullopt;
  QString name = Q(ScreenshotFileName(S(source), S(folder), at, S(suffix)));
  // Never over a file that is there already, the source least of all.
  if (QFileInfo::exists(name)) name = RenameExists(name);
  const QImage shot = ScreenshotImage(frame, S(source), Position(), duration_, texts);
  QDir().mkpath(QFileInfo(name).absolutePath());
  if (!SaveScreenshot(shot, S(name))) return {};
  emit ImageGrabbed(name, shot.width(), shot.height());
  return name;
}

void ctlDSPlayer::DebugWord(const char* word) { emit DebugMessage(QString::fromLatin1(word)); }

// ---- Dialogs and helpers ----

QString ctlDSPlayer::ChooseFile(bool openNow) {
  DialogChooser& chooser = chooser_ != nullptr ? *chooser_ : SystemChooser();
  const std::optional<QString> answer = chooser.ChooseOpenFile(this, QString(), QString(), QtFileFilter("*.*|*.*"));
  if (!answer || answer->isEmpty() || !QFileInfo::exists(*answer)) return {};
  if (openNow) OpenFile(*answer);
  return *answer;
}

int ctlDSPlayer::PopupMenu(const QString& items, int defaultIndex, const QString& checked,
                           const QString& disabled, int left, int top) {
  if (items.isEmpty()) return -1;
  const std::unique_ptr<QMenu> menu = ctlButton::BuildPopupMenu(items, defaultIndex, checked, disabled);
  const QPoint at = left == -1 || top == -1 ? QCursor::pos() : mapToGlobal(QPoint(left, top));
  QAction* chosen = ctlButton::PopupMenuExec ? ctlButton::PopupMenuExec(*menu, at) : menu->exec(at);
  return chosen != nullptr && chosen->data().isValid() ? chosen->data().toInt() : -1;
}

QString ctlDSPlayer::RenameExists(const QString& path) { return Q(zel::RenameExists(S(path), false)); }

QStringList ctlDSPlayer::FailureLines() {
  return {Q(StrPlayerNoDecoder1), Q(StrPlayerNoDecoder2), Q(StrPlayerNoDecoder3), Q(StrPlayerNoDecoder4),
          Q(StrPlayerNoDecoder5)};
}

// ---- Input and window events ----

void ctlDSPlayer::JumpBy(double seconds) { SetPosition(Position() + seconds); }

void ctlDSPlayer::paintEvent(QPaintEvent* /*event*/) {
  if (!refresh_) return;
  QPainter p(this);
  p.fillRect(rect(), Qt::black);
  if (showBorder_) {
    p.setPen(palette().color(QPalette::Mid));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

// The panel is as wide as its rows in the control's font.
void ctlDSPlayer::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() != QEvent::FontChange || bar_ == nullptr) return;
  LayoutParts();
  CorrectAspect();
}

void ctlDSPlayer::resizeEvent(QResizeEvent* /*event*/) {
  LayoutParts();
  CorrectAspect();
  emit Resized();
}

void ctlDSPlayer::showEvent(QShowEvent* /*event*/) {
  if (watchedTop_ == window()) return;
  if (watchedTop_ != nullptr) watchedTop_->removeEventFilter(this);
  watchedTop_ = window();
  if (watchedTop_ != this) watchedTop_->installEventFilter(this);
}

bool ctlDSPlayer::eventFilter(QObject* watched, QEvent* event) {
  if (watched != watchedTop_) return QWidget::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::Move:
      DebugWord("Form is moving...");
      emit ParentPositionChanged();
      parentSettle_.start();
      break;
    case QEvent::Resize:
      parentSizing_ = true;
      parentSettle_.start();
      break;
    case QEvent::WindowStateChange: {
      const Qt::WindowStates state = watchedTop_->windowState();
      if (state & Qt::WindowMinimized) {
        emit ParentMinimize();
      } else if (state & Qt::WindowMaximized) {
        emit ParentMaximize();
        emit ParentSized();
      }
      break;
    }
    case QEvent::ActivationChange:
      emit ParentActivate(watchedTop_->isActiveWindow());
      break;
    default:
      break;
  }
  return QWidget::eventFilter(watched, event);
}

void ctlDSPlayer::mousePressEvent(QMouseEvent* event) {
  if (!enabled_) return;
  if (!window()->isActiveWindow()) emit MouseActivate();
  const QPoint at = event->position().toPoint();
  if (event->button() == Qt::LeftButton) DebugWord("LButton Down");
  emit MouseDown(ButtonCode(event->button()), ShiftCode(event->modifiers()), at.x(), at.y());
  dragFrom_ = event->globalPosition().toPoint();
  // A press over a picture starts its drag.
  if (event->button() == Qt::LeftButton && image_->isVisible()) image_->Picture().MousePress(at - image_->pos());
  if (moveParent_ && event->button() == Qt::LeftButton && window()->windowHandle() != nullptr) {
    window()->windowHandle()->startSystemMove();
  }
}

void ctlDSPlayer::mouseMoveEvent(QMouseEvent* event) {
  if (!enabled_) return;
  const QPoint at = event->position().toPoint();
  emit MouseMove(ButtonCode(event->buttons()), ShiftCode(event->modifiers()), at.x(), at.y());
  if (image_->isVisible()) image_->Picture().MouseMove(at - image_->pos(), event->buttons() & Qt::LeftButton);
}

void ctlDSPlayer::mouseReleaseEvent(QMouseEvent* event) {
  if (!enabled_) return;
  const QPoint at = event->position().toPoint();
  emit MouseUp(ButtonCode(event->button()), ShiftCode(event->modifiers()), at.x(), at.y());
  image_->Picture().MouseRelease(at - image_->pos());
  if (rect().contains(at)) emit Click();
}

void ctlDSPlayer::mouseDoubleClickEvent(QMouseEvent* event) {
  if (!enabled_) return;
  mousePressEvent(event);
  if (rect().contains(event->position().toPoint())) emit DblClick();
}

void ctlDSPlayer::wheelEvent(QWheelEvent* event) {
  if (!enabled_ || (status_ != PlayerStatus::Playing && status_ != PlayerStatus::Paused)) return;
  const int delta = event->angleDelta().y();
  if (delta == 0) return;
  // A turn toward the user moves on.
  const bool down = delta < 0;
  DebugWord(down ? "MouseWheel - Down" : "MouseWheel - Up");
  JumpBy(down ? timeJumpValue_ : -timeJumpValue_);
  emit MouseWheel(down ? 1 : 0);
}

void ctlDSPlayer::keyPressEvent(QKeyEvent* event) {
  emit KeyDown(event->key(), ShiftCode(event->modifiers()));
  if (!enabled_ || (status_ != PlayerStatus::Playing && status_ != PlayerStatus::Paused)) return;
  switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Down:
      JumpBy(timeJumpValue_);
      break;
    case Qt::Key_Left:
    case Qt::Key_Up:
      JumpBy(-timeJumpValue_);
      break;
    default:
      break;
  }
}

void ctlDSPlayer::enterEvent(QEnterEvent* /*event*/) {
  DebugWord("Mouse Enter");
  emit ParentMouseEnter();
  emit MouseEnter();
}

void ctlDSPlayer::leaveEvent(QEvent* /*event*/) {
  DebugWord("Mouse Leave");
  emit ParentMouseLeave();
  emit MouseLeave();
}

void ctlDSPlayer::dragEnterEvent(QDragEnterEvent* event) {
  if (oleDropMode_ != 0 && event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void ctlDSPlayer::dropEvent(QDropEvent* event) {
  QStringList files;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) files << url.toLocalFile();
  }
  const QPoint at = event->position().toPoint();
  emit OLEDragDrop(files, 1, ButtonCode(event->buttons()), ShiftCode(event->modifiers()), at.x(), at.y());
  event->acceptProposedAction();
}

}  // namespace zel
