// The program's icon in the notification area, its mouse actions, its blinking,
// and the short messages it shows. Where the desktop has no notification area
// the messages go to the desktop's notification service instead, so that a
// message asked for is not lost with the missing tray.
#pragma once

#include <QDBusConnection>
#include <QIcon>
#include <QObject>
#include <QString>
#include <QSystemTrayIcon>
#include <QTimer>

namespace zel {

// The mouse actions on the icon, in the order the events were always listed.
enum class TrayMouse {
  Move,
  LeftDown,
  LeftUp,
  LeftDoubleClick,
  RightDown,
  RightUp,
  RightDoubleClick,
  MiddleDown,
  MiddleUp,
  MiddleDoubleClick,
};

enum class BalloonIcon { None, Info, Warning, Error };

class ctlSysTrayBalloon : public QObject {
  Q_OBJECT

 public:
  // The bus serves the notification service when no tray is there; tests
  // hand over a private one.
  explicit ctlSysTrayBalloon(const QDBusConnection& bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
  ~ctlSysTrayBalloon() override;

  QIcon IconHandle() const { return icon_; }
  void SetIconHandle(const QIcon& icon);
  QIcon BlinkIconHandle() const { return blinkIcon_; }
  void SetBlinkIconHandle(const QIcon& icon) { blinkIcon_ = icon; }
  QString Tooltip() const { return tray_.toolTip(); }
  void SetTooltip(const QString& text) { tray_.setToolTip(text); }
  bool BlinkIsRunning() const { return blink_.isActive(); }
  // The icon the tray shows now: one of the two while it blinks.
  QIcon ShownIcon() const { return tray_.icon(); }

  // False, with the error event, when no icon is set.
  bool SysTrayAddIcon();
  void SysTrayRemoveIcon();
  bool IconAdded() const { return added_; }
  // The icon is added and a notification area shows it: only then may the
  // window hide behind it.
  bool IconShown() const { return added_ && QSystemTrayIcon::isSystemTrayAvailable(); }

  // True when the message reached the tray or the notification service.
  bool BalloonTipShow(const QString& text, const QString& title, BalloonIcon kind = BalloonIcon::Info,
                      int timeoutMs = 10000);
  // Withdraws a message of the notification service; a tray's message keeps
  // to its time, as the tray offers no way to take it back.
  void BalloonTipClose();

  bool BlinkStart(int intervalMs);
  void BlinkStop();

 signals:
  void MouseAction(zel::TrayMouse action);
  void BalloonShown();
  void BalloonHidden();
  void BalloonTimedOut();
  void BalloonClicked();
  void Error(QString procedure, QString text);

 private slots:
  void OnActionInvoked(uint id, const QString& action);
  void OnNotificationClosed(uint id, uint reason);

 private:
  void OnActivated(QSystemTrayIcon::ActivationReason reason);
  void BlinkSwapIcons();
  bool Notify(const QString& text, const QString& title, BalloonIcon kind, int timeoutMs);

  QDBusConnection bus_;
  // A child, so that the icon's own signals can be reached as the tray sends them.
  QSystemTrayIcon tray_{this};
  QIcon icon_;
  QIcon blinkIcon_;
  QTimer blink_;
  bool added_ = false;
  // The notification of the service now up; 0 for none.
  uint notification_ = 0;
};

}  // namespace zel
