// The dock's progress: what reaches the bus for a run's calls, and that the
// same look is never sent twice.
#include "desktop/clsTaskBar.h"
#include "desktop/PrivateSessionBus.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace zel {
namespace {

constexpr char kPath[] = "/com/zel/LauncherEntry";
constexpr char kInterface[] = "com.canonical.Unity.LauncherEntry";

struct Look {
  int percent;
  bool visible;
  bool urgent;
  bool operator==(const Look&) const = default;
};

void PrintTo(const Look& look, std::ostream* out) {
  *out << "{" << look.percent << "%, " << (look.visible ? "shown" : "hidden") << (look.urgent ? ", urgent" : "")
       << "}";
}

// Listens as a dock does, on a connection of its own.
class DockListener : public QObject {
  Q_OBJECT

 public:
  std::vector<Look> looks;
  std::vector<QString> uris;
  int probes = 0;

 public slots:
  void OnUpdate(const QString& uri, const QVariantMap& properties) {
    if (uri == "probe") {
      ++probes;
      return;
    }
    uris.push_back(uri);
    looks.push_back({static_cast<int>(std::lround(properties.value("progress").toDouble() * 100)),
                     properties.value("progress-visible").toBool(), properties.value("urgent").toBool()});
  }
};

void Pump(int ms) {
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

class TaskBarOnBus : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    bus_ = std::make_unique<test::PrivateSessionBus>("zel-taskbar-test");
    if (!bus_->Up()) return;
    listener_ = new DockListener;
    QDBusConnection dock = bus_->Peer("zel-taskbar-dock");
    dock.connect({}, kPath, kInterface, "Update", listener_, SLOT(OnUpdate(QString, QVariantMap)));
    // The dock's subscription reaches the bus at its own pace: the cases start
    // once a probe has come through.
    QElapsedTimer timer;
    timer.start();
    while (listener_->probes == 0 && timer.elapsed() < 5000) {
      QDBusMessage probe = QDBusMessage::createSignal(kPath, kInterface, "Update");
      probe << QString("probe") << QVariantMap{};
      bus_->Connection().send(probe);
      Pump(50);
    }
  }
  static void TearDownTestSuite() {
    delete listener_;
    listener_ = nullptr;
    bus_.reset();
  }
  void SetUp() override {
    if (listener_ == nullptr || listener_->probes == 0) GTEST_SKIP() << "no private session bus (dbus-daemon)";
    listener_->looks.clear();
    listener_->uris.clear();
  }
  // Everything sent so far, with time for a stray extra to arrive as well.
  std::vector<Look> Received(size_t expected) {
    QElapsedTimer timer;
    timer.start();
    while (listener_->looks.size() < expected && timer.elapsed() < 3000) Pump(10);
    Pump(150);
    return listener_->looks;
  }

  static inline std::unique_ptr<test::PrivateSessionBus> bus_;
  static inline DockListener* listener_ = nullptr;
};

enum class Call { State, Value, Urgent };
struct Step {
  Call call;
  qint64 a = 0;
  qint64 b = 0;
};
Step State(TaskbarState state) { return {Call::State, static_cast<qint64>(state)}; }
Step Value(qint64 done, qint64 total) { return {Call::Value, done, total}; }
Step Urgent(bool on) { return {Call::Urgent, on ? 1 : 0}; }

struct SequenceCase {
  const char* name;
  std::vector<Step> steps;
  std::vector<Look> sent;
};

TEST_F(TaskBarOnBus, EachCallSequenceSendsTheDockOnlyWhatChanged) {
  const SequenceCase cases[] = {
      {"a run shows its percentage and hides at the end",
       {State(TaskbarState::Normal), Value(50, 200), Value(51, 200), Value(100, 200), State(TaskbarState::NoProgress)},
       {{0, true, false}, {25, true, false}, {26, true, false}, {50, true, false}, {0, false, false}}},
      {"steps within one whole percent send nothing new",
       {State(TaskbarState::Normal), Value(1000, 100000), Value(1001, 100000), Value(1049, 100000),
        State(TaskbarState::Normal)},
       {{0, true, false}, {1, true, false}}},
      {"a hidden bar's value changes are not sent", {Value(10, 100), Value(20, 100)}, {}},
      {"the end of a run unwatched asks for attention, and the look back clears it",
       {State(TaskbarState::Normal), Value(100, 100), State(TaskbarState::NoProgress), Urgent(true), Urgent(false)},
       {{0, true, false}, {100, true, false}, {0, false, false}, {0, false, true}, {0, false, false}}},
      {"a failed task asks for attention while the bar goes on",
       {State(TaskbarState::Normal), Value(30, 100), State(TaskbarState::Error), Value(40, 100)},
       {{0, true, false}, {30, true, false}, {30, true, true}, {40, true, true}}},
      {"a pause looks the same on a dock and is not sent again",
       {State(TaskbarState::Normal), Value(30, 100), State(TaskbarState::Paused), State(TaskbarState::Indeterminate)},
       {{0, true, false}, {30, true, false}}},
      {"done beyond the total is full, a total of 0 is nothing",
       {State(TaskbarState::Normal), Value(150, 100), Value(5, 0)},
       {{0, true, false}, {100, true, false}, {0, true, false}}},
  };
  for (const SequenceCase& c : cases) {
    SCOPED_TRACE(c.name);
    listener_->looks.clear();
    listener_->uris.clear();
    clsTaskBar bar(bus_->Connection());
    for (const Step& step : c.steps) {
      switch (step.call) {
        case Call::State:
          bar.SetProgressState(static_cast<TaskbarState>(step.a));
          break;
        case Call::Value:
          bar.SetProgressValue(step.a, step.b);
          break;
        case Call::Urgent:
          bar.SetUrgent(step.a != 0);
          break;
      }
    }
    EXPECT_EQ(Received(c.sent.size()), c.sent);
    for (const QString& uri : listener_->uris) EXPECT_EQ(uri, QString(kDesktopEntryUri));
  }
}

}  // namespace
}  // namespace zel

#include "TaskBarTest.moc"
