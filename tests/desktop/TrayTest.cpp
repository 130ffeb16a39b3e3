// The tray control on a desktop without a notification area (the offscreen
// platform has none): its messages go to a stand-in notification service on a
// private bus; its errors, blinking and mouse actions.
#include "desktop/ctlSysTrayBalloon.h"
#include "desktop/PrivateSessionBus.h"

#include "controls/QtText.h"
#include "jobs/Strings.h"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QElapsedTimer>
#include <QPixmap>
#include <QSignalSpy>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace zel {
namespace {

void Pump(int ms) {
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

bool PumpUntil(const std::function<bool()>& done, int ms = 3000) {
  QElapsedTimer timer;
  timer.start();
  while (!done() && timer.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  return done();
}

QIcon Filled(Qt::GlobalColor colour) {
  QPixmap pixmap(16, 16);
  pixmap.fill(colour);
  return QIcon(pixmap);
}

// Stands in for the desktop's notification service and keeps what it was asked.
class NotificationService : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
  struct Shown {
    QString app, icon, summary, body;
    QStringList actions;
    QVariantMap hints;
    int timeout;
  };
  std::vector<Shown> shown;
  std::vector<uint> closed;

 public slots:
  uint Notify(const QString& app, uint, const QString& icon, const QString& summary, const QString& body,
              const QStringList& actions, const QVariantMap& hints, int timeout) {
    shown.push_back({app, icon, summary, body, actions, hints, timeout});
    return static_cast<uint>(shown.size()) + 40;
  }
  void CloseNotification(uint id) {
    closed.push_back(id);
    emit NotificationClosed(id, 3);
  }

 signals:
  void NotificationClosed(uint id, uint reason);
  void ActionInvoked(uint id, const QString& action);
};

class TrayWithoutArea : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    bus_ = std::make_unique<test::PrivateSessionBus>("zel-tray-test");
    if (!bus_->Up()) return;
    service_ = new NotificationService;
    QDBusConnection desktop = bus_->Peer("zel-tray-desktop");
    desktop.registerObject("/org/freedesktop/Notifications", service_,
                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    desktop.registerService("org.freedesktop.Notifications");
  }
  static void TearDownTestSuite() {
    bus_.reset();
    delete service_;
    service_ = nullptr;
  }
  void SetUp() override {
    ASSERT_FALSE(QSystemTrayIcon::isSystemTrayAvailable()) << "these cases are about a desktop without a tray";
    if (service_ == nullptr) GTEST_SKIP() << "no private session bus (dbus-daemon)";
    service_->shown.clear();
    service_->closed.clear();
  }

  static inline std::unique_ptr<test::PrivateSessionBus> bus_;
  static inline NotificationService* service_ = nullptr;
};

TEST_F(TrayWithoutArea, BalloonReachesTheNotificationServiceAndItsAnswersComeBack) {
  ctlSysTrayBalloon tray(bus_->Connection());
  tray.SetIconHandle(Filled(Qt::red));
  ASSERT_TRUE(tray.SysTrayAddIcon());
  EXPECT_FALSE(tray.IconShown());
  QSignalSpy shownSpy(&tray, &ctlSysTrayBalloon::BalloonShown);
  QSignalSpy clicked(&tray, &ctlSysTrayBalloon::BalloonClicked);
  QSignalSpy hidden(&tray, &ctlSysTrayBalloon::BalloonHidden);
  QSignalSpy timedOut(&tray, &ctlSysTrayBalloon::BalloonTimedOut);

  ASSERT_TRUE(tray.BalloonTipShow(Q(StrAllTasksDone), Q(StrAllTasksDoneTitle), BalloonIcon::Error, 5000));
  ASSERT_EQ(service_->shown.size(), 1u);
  const NotificationService::Shown& first = service_->shown.front();
  EXPECT_EQ(first.app, QString::fromUtf8("ZEL 影音工坊"));
  EXPECT_EQ(first.summary, Q(StrAllTasksDoneTitle));
  EXPECT_EQ(first.body, Q(StrAllTasksDone));
  EXPECT_EQ(first.icon, "dialog-error");
  EXPECT_EQ(first.hints.value("urgency").toInt(), 2);
  EXPECT_EQ(first.timeout, 5000);
  EXPECT_TRUE(first.actions.contains("default"));
  EXPECT_EQ(shownSpy.count(), 1);

  // Another program's notification is not this one's.
  emit service_->ActionInvoked(99, "default");
  emit service_->ActionInvoked(41, "default");
  EXPECT_TRUE(PumpUntil([&] { return clicked.count() > 0; }));
  Pump(100);
  EXPECT_EQ(clicked.count(), 1);

  tray.BalloonTipClose();
  EXPECT_TRUE(PumpUntil([&] { return hidden.count() > 0; }));
  EXPECT_EQ(service_->closed, std::vector<uint>{41});

  ASSERT_TRUE(tray.BalloonTipShow("b", "a", BalloonIcon::Info, 1000));
  EXPECT_EQ(service_->shown.back().icon, "dialog-information");
  EXPECT_EQ(service_->shown.back().hints.value("urgency").toInt(), 1);
  emit service_->NotificationClosed(42, 1);
  EXPECT_TRUE(PumpUntil([&] { return timedOut.count() > 0; }));
  EXPECT_EQ(hidden.count(), 1);
}

TEST(TrayErrors, EachMissingPieceGivesItsProcedureAndTextAndNothingShown) {
  struct Case {
    const char* name;
    std::function<bool(ctlSysTrayBalloon&)> call;
    const char* procedure;
    Text text;
  };
  const Case cases[] = {
      {"adding without an icon", [](ctlSysTrayBalloon& t) { return t.SysTrayAddIcon(); }, "SysTrayAddIcon",
       StrTrayNoIcon},
      {"a balloon before the icon is added",
       [](ctlSysTrayBalloon& t) { return t.BalloonTipShow("text", "title"); }, "BalloonTipShow", StrTrayNotAdded},
      {"blinking before the icon is added",
       [](ctlSysTrayBalloon& t) {
         t.SetBlinkIconHandle(Filled(Qt::blue));
         return t.BlinkStart(50);
       },
       "BlinkStart", StrTrayBlinkNotStarted},
      {"blinking without a second icon",
       [](ctlSysTrayBalloon& t) {
         t.SetIconHandle(Filled(Qt::red));
         t.SysTrayAddIcon();
         return t.BlinkStart(50);
       },
       "BlinkStart", StrTrayBlinkNotStarted},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ctlSysTrayBalloon tray(QDBusConnection("zel-no-such-bus"));
    QSignalSpy errors(&tray, &ctlSysTrayBalloon::Error);
    EXPECT_FALSE(c.call(tray));
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toString(), c.procedure);
    EXPECT_EQ(errors.front().at(1).toString(), Q(c.text));
    EXPECT_FALSE(tray.BlinkIsRunning());
  }
}

TEST(TrayBalloon, WithoutTrayOrServiceTheBalloonIsNotShown) {
  ctlSysTrayBalloon tray(QDBusConnection("zel-no-such-bus"));
  tray.SetIconHandle(Filled(Qt::red));
  ASSERT_TRUE(tray.SysTrayAddIcon());
  QSignalSpy shown(&tray, &ctlSysTrayBalloon::BalloonShown);
  EXPECT_FALSE(tray.BalloonTipShow("text", "title"));
  EXPECT_EQ(shown.count(), 0);
}

TEST(TrayBlink, TheTimerSwapsTheTwoIconsUntilStopped) {
  ctlSysTrayBalloon tray(QDBusConnection("zel-no-such-bus"));
  const QIcon main = Filled(Qt::red);
  const QIcon other = Filled(Qt::blue);
  tray.SetIconHandle(main);
  tray.SetBlinkIconHandle(other);
  ASSERT_TRUE(tray.SysTrayAddIcon());
  EXPECT_EQ(tray.ShownIcon().cacheKey(), main.cacheKey());
  ASSERT_TRUE(tray.BlinkStart(20));
  EXPECT_TRUE(tray.BlinkIsRunning());
  std::vector<qint64> seen{tray.ShownIcon().cacheKey()};
  QElapsedTimer timer;
  timer.start();
  while (seen.size() < 5 && timer.elapsed() < 3000) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    if (tray.ShownIcon().cacheKey() != seen.back()) seen.push_back(tray.ShownIcon().cacheKey());
  }
  ASSERT_EQ(seen.size(), 5u);
  for (size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i], (i % 2 == 0 ? main : other).cacheKey()) << i;

  tray.BlinkStop();
  EXPECT_FALSE(tray.BlinkIsRunning());
  EXPECT_EQ(tray.ShownIcon().cacheKey(), main.cacheKey());
}

TEST(TrayMouseActions, EachActivationIsToldAsItsPressesInOrder) {
  struct Case {
    QSystemTrayIcon::ActivationReason reason;
    std::vector<TrayMouse> actions;
  };
  const Case cases[] = {
      {QSystemTrayIcon::Trigger, {TrayMouse::LeftDown, TrayMouse::LeftUp}},
      {QSystemTrayIcon::DoubleClick, {TrayMouse::LeftDoubleClick}},
      {QSystemTrayIcon::Context, {TrayMouse::RightDown, TrayMouse::RightUp}},
      {QSystemTrayIcon::MiddleClick, {TrayMouse::MiddleDown, TrayMouse::MiddleUp}},
      {QSystemTrayIcon::Unknown, {}},
  };
  ctlSysTrayBalloon tray(QDBusConnection("zel-no-such-bus"));
  auto* icon = tray.findChild<QSystemTrayIcon*>();
  ASSERT_NE(icon, nullptr);
  std::vector<TrayMouse> told;
  QObject::connect(&tray, &ctlSysTrayBalloon::MouseAction, [&](TrayMouse action) { told.push_back(action); });
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.reason));
    told.clear();
    emit icon->activated(c.reason);
    EXPECT_EQ(told, c.actions);
  }
}

}  // namespace
}  // namespace zel

#include "TrayTest.moc"
