// The main window's side of the desktop: the run's and the preview's progress
// on the dock, the tray icon with its messages, and hiding behind the icon.
#include "app/frmMain.h"

#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "desktop/clsTaskBar.h"
#include "desktop/ctlSysTrayBalloon.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "player/ctlDSPlayer.h"

#include <QEvent>
#include <QStyle>
#include <QTimer>

#include <cmath>

namespace zel {
namespace {

// How long a message of the tray stays up.
constexpr int kBalloonMs = 10000;

}  // namespace

void frmMain::BuildDesktop() {
  taskBar_ = std::make_unique<clsTaskBar>();
  tray_ = std::make_unique<ctlSysTrayBalloon>();
  // The icon the install puts in the desktop's theme, else a stock one.
  tray_->SetIconHandle(QIcon::fromTheme("zel", style()->standardIcon(QStyle::SP_MediaPlay)));
  connect(tray_.get(), &ctlSysTrayBalloon::Error, this, [this](const QString& procedure, const QString& text) {
    Log("ctlSysTrayBalloon1 | " + S(procedure) + " | " + S(text));
  });
  connect(tray_.get(), &ctlSysTrayBalloon::MouseAction, this, [this](TrayMouse action) {
    if (action != TrayMouse::LeftUp && action != TrayMouse::LeftDoubleClick) return;
    if (isVisible() && !isMinimized()) return;
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
  });
  connect(&host_, &WindowHost::BalloonWanted, this, &frmMain::OnBalloon);
  // The player tells its end while the window is taken apart: the dock goes first.
  connect(player_, &ctlDSPlayer::PlaybackUpdate, taskBar_.get(), [this](double position, double duration, int status) {
    // A run's progress has the dock while it lasts.
    if (loop_ == nullptr || loop_->Running()) return;
    const auto playing = static_cast<PlayerStatus>(status);
    if ((playing != PlayerStatus::Playing && playing != PlayerStatus::Paused) || duration <= 0) {
      taskBar_->SetProgressState(TaskbarState::NoProgress);
      return;
    }
    taskBar_->SetProgressState(playing == PlayerStatus::Paused ? TaskbarState::Paused : TaskbarState::Normal);
    taskBar_->SetProgressValue(std::llround(position * 1000), std::llround(duration * 1000));
  });
}

void frmMain::AddTrayIcon() { tray_->SysTrayAddIcon(); }

void frmMain::ReleaseDesktop(std::string_view step) {
  if (step == "释放资源: TrayIcon") {
    tray_->SysTrayRemoveIcon();
  } else if (step == "释放资源: TaskBar") {
    taskBar_->SetUrgent(false);
    taskBar_->SetProgressState(TaskbarState::NoProgress);
  } else if (step == "释放资源: SysTrayIcon") {
    tray_->BalloonTipClose();
  }
}

TaskbarState frmMain::RunTaskbarState() const {
  if (runFailed_) return TaskbarState::Error;
  return paused_ ? TaskbarState::Paused : TaskbarState::Normal;
}

void frmMain::ShowRunOnTaskbar(int value, int max) {
  // Between tasks the field goes neutral; the dock keeps the last value
  // rather than blink off and on.
  if (!loop_->Running() || max <= 0) return;
  taskBar_->SetProgressState(RunTaskbarState());
  taskBar_->SetProgressValue(value, max);
}

void frmMain::ShowRunLookOnTaskbar(bool running) {
  if (running) {
    runFailed_ = false;
    taskBar_->SetUrgent(false);
    taskBar_->SetProgressValue(0, 1);
    taskBar_->SetProgressState(TaskbarState::Normal);
    return;
  }
  taskBar_->SetProgressState(TaskbarState::NoProgress);
  // The user was elsewhere when the run ended: the dock asks for a look.
  taskBar_->SetUrgent(!isActiveWindow());
}

void frmMain::OnBalloon(const QString& title, const QString& text) {
  const bool failure = title == Q(StrErrorOccurred);
  if (failure && loop_->Running()) {
    runFailed_ = true;
    taskBar_->SetProgressState(RunTaskbarState());
  }
  if (tray_->BalloonTipShow(text, title, failure ? BalloonIcon::Error : BalloonIcon::Info, kBalloonMs)) return;
  // Neither a tray nor a notification service: the end of a run is still
  // told, in the information list. A failure is there already.
  if (!failure) host_.AddInfo(StrInfoNotice, S(text), {});
}

void frmMain::DesktopWindowChange(QEvent* event) {
  switch (event->type()) {
    case QEvent::WindowTitleChange:
      tray_->SetTooltip(windowTitle());
      break;
    case QEvent::ActivationChange:
      if (isActiveWindow()) taskBar_->SetUrgent(false);
      break;
    case QEvent::WindowStateChange:
      // Only an icon the user can see may take the window's place.
      if (isMinimized() && SettingIsYes("HideWindowWhenMinimized") && tray_->IconShown()) {
        QTimer::singleShot(0, this, [this] {
          if (isMinimized()) hide();
        });
      }
      break;
    default:
      break;
  }
}

}  // namespace zel
