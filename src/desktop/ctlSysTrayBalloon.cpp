#include "desktop/ctlSysTrayBalloon.h"

#include "controls/QtText.h"
#include "jobs/MainState.h"
#include "jobs/Strings.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QStringList>
#include <QVariantMap>

#include <initializer_list>

namespace zel {
namespace {

constexpr char kNotifyService[] = "org.freedesktop.Notifications";
constexpr char kNotifyPath[] = "/org/freedesktop/Notifications";
constexpr char kNotifyInterface[] = "org.freedesktop.Notifications";
// The answer must not keep a finished run's window waiting long.
constexpr int kNotifyReplyMs = 3000;
// The service's reasons for a closed notification.
constexpr uint kClosedExpired = 1;

// Qt tells only what the user did with the icon, not the presses and releases
// it was made of: each is told as the actions that make it, in their order.
struct ActivationActions {
  QSystemTrayIcon::ActivationReason reason;
  std::initializer_list<TrayMouse> actions;
};
const ActivationActions kActivations[] = {
    {QSystemTrayIcon::Trigger, {TrayMouse::LeftDown, TrayMouse::LeftUp}},
    {QSystemTrayIcon::DoubleClick, {TrayMouse::LeftDoubleClick}},
    {QSystemTrayIcon::Context, {TrayMouse::RightDown, TrayMouse::RightUp}},
    {QSystemTrayIcon::MiddleClick, {TrayMouse::MiddleDown, TrayMouse::MiddleUp}},
};

// A message's kind on the tray and for the notification service.
struct IconLook {
  BalloonIcon kind;
  QSystemTrayIcon::MessageIcon trayIcon;
  const char* iconName;
  uchar urgency;
};
constexpr IconLook kIconLooks[] = {
    {BalloonIcon::None, QSystemTrayIcon::NoIcon, "", 1},
    {BalloonIcon::Info, QSystemTrayIcon::Information, "dialog-information", 1},
    {BalloonIcon::Warning, QSystemTrayIcon::Warning, "dialog-warning", 1},
    {BalloonIcon::Error, QSystemTrayIcon::Critical, "dialog-error", 2},
};

const IconLook& LookOf(BalloonIcon kind) {
  for (const IconLook& look : kIconLooks) {
    if (look.kind == kind) return look;
  }
  return kIconLooks[0];
}

}  // namespace

ctlSysTrayBalloon::ctlSysTrayBalloon(const QDBusConnection& bus, QObject* parent)
    : QObject(parent), bus_(bus) {
  connect(&tray_, &QSystemTrayIcon::activated, this, &ctlSysTrayBalloon::OnActivated);
  connect(&tray_, &QSystemTrayIcon::messageClicked, this, &ctlSysTrayBalloon::BalloonClicked);
  connect(&blink_, &QTimer::timeout, this, &ctlSysTrayBalloon::BlinkSwapIcons);
  if (bus_.isConnected()) {
    bus_.connect(kNotifyService, kNotifyPath, kNotifyInterface, "ActionInvoked", this,
                 SLOT(OnActionInvoked(uint, QString)));
    bus_.connect(kNotifyService, kNotifyPath, kNotifyInterface, "NotificationClosed", this,
                 SLOT(OnNotificationClosed(uint, uint)));
  }
}

ctlSysTrayBalloon::~ctlSysTrayBalloon() {
  BalloonTipClose();
  SysTrayRemoveIcon();
}

void ctlSysTrayBalloon::SetIconHandle(const QIcon& icon) {
  icon_ = icon;
  if (!BlinkIsRunning()) tray_.setIcon(icon);
}

bool ctlSysTrayBalloon::SysTrayAddIcon() {
  if (icon_.isNull()) {
    emit Error("SysTrayAddIcon", Q(StrTrayNoIcon));
    return false;
  }
  tray_.setIcon(icon_);
  tray_.show();
  added_ = true;
  return true;
}

void ctlSysTrayBalloon::SysTrayRemoveIcon() {
  BlinkStop();
  tray_.hide();
  added_ = false;
}

bool ctlSysTrayBalloon::BalloonTipShow(const QString& text, const QString& title, BalloonIcon kind, int timeoutMs) {
  if (!added_) {
    emit Error("BalloonTipShow", Q(StrTrayNotAdded));
    return false;
  }
  if (!QSystemTrayIcon::isSystemTrayAvailable()) return Notify(text, title, kind, timeoutMs);
  tray_.showMessage(title, text, LookOf(kind).trayIcon, timeoutMs);
  emit BalloonShown();
  return true;
}

bool ctlSysTrayBalloon::Notify(const QString& text, const QString& title, BalloonIcon kind, int timeoutMs) {
  if (!bus_.isConnected()) return false;
  const IconLook& look = LookOf(kind);
  QDBusMessage call = QDBusMessage::createMethodCall(kNotifyService, kNotifyPath, kNotifyInterface, "Notify");
  const QString appName = Q(Shared().ProductId + " " + Shared().ProductName);
  // "default" is the action of a click on the message itself.
  const QStringList actions{"default", title};
  const QVariantMap hints{{"urgency", QVariant::fromValue(look.urgency)}};
  call << appName << notification_ << QString::fromLatin1(look.iconName) << title << text << actions << hints
       << timeoutMs;
  // The service may answer through this program's own event loop (a test's
  // stand-in does): wait with the loop turning.
  const QDBusReply<uint> reply = bus_.call(call, QDBus::BlockWithGui, kNotifyReplyMs);
  if (!reply.isValid()) return false;
  notification_ = reply.value();
  emit BalloonShown();
  return true;
}

void ctlSysTrayBalloon::BalloonTipClose() {
  if (notification_ == 0 || !bus_.isConnected()) return;
  QDBusMessage call =
      QDBusMessage::createMethodCall(kNotifyService, kNotifyPath, kNotifyInterface, "CloseNotification");
  call << notification_;
  bus_.send(call);
}

void ctlSysTrayBalloon::OnActionInvoked(uint id, const QString& action) {
  if (id == notification_ && notification_ != 0 && action == "default") emit BalloonClicked();
}

void ctlSysTrayBalloon::OnNotificationClosed(uint id, uint reason) {
  if (id != notification_ || notification_ == 0) return;
  notification_ = 0;
  if (reason == kClosedExpired) {
    emit BalloonTimedOut();
  } else {
    emit BalloonHidden();
  }
}

void ctlSysTrayBalloon::OnActivated(QSystemTrayIcon::ActivationReason reason) {
  for (const ActivationActions& entry : kActivations) {
    if (entry.reason != reason) continue;
    for (TrayMouse action : entry.actions) emit MouseAction(action);
  }
}

bool ctlSysTrayBalloon::BlinkStart(int intervalMs) {
  if (!added_ || blinkIcon_.isNull() || intervalMs <= 0) {
    emit Error("BlinkStart", Q(StrTrayBlinkNotStarted));
    return false;
  }
  blink_.start(intervalMs);
  return true;
}

void ctlSysTrayBalloon::BlinkStop() {
  blink_.stop();
  tray_.setIcon(icon_);
}

void ctlSysTrayBalloon::BlinkSwapIcons() {
  const bool showingMain = tray_.icon().cacheKey() == icon_.cacheKey();
  tray_.setIcon(showingMain ? blinkIcon_ : icon_);
}

}  // namespace zel
