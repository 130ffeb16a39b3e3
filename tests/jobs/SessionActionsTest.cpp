// The end-of-run actions: the tones' wave, folder opener and player with fake
// tools, and the calls to logind on a private bus with a stand-in logind.
#include "jobs/SessionActions.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QThread>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/ChildProcess.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel::test {
namespace {

// Sets an environment variable for a test's length; null unsets it.
using test::EnvGuard;

// A detached program's record: waits for the file it writes last.
std::string AwaitFile(const std::string& path) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!FileExists(path) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return ReadText(path);
}

int Sample(const std::string& wave, size_t frame, int channel) {
  const size_t at = 44 + frame * 4 + channel * 2;
  return static_cast<int16_t>(static_cast<uint8_t>(wave[at]) | static_cast<uint8_t>(wave[at + 1]) << 8);
}

uint32_t Field(const std::string& wave, size_t offset, int bytes) {
  uint32_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(wave[offset + i]);
  return value;
}

TEST(ToneWave, IsTwoFullScaleTonesOf440HzOnBothChannels) {
  // 200 ms of tone, 100 ms of silence, 200 ms of tone.
  const size_t tone = 8820, gap = 4410;
  const std::string wave = ToneWave();
  ASSERT_EQ(wave.size(), 44 + (2 * tone + gap) * 4);
  EXPECT_EQ(wave.substr(0, 4) + wave.substr(8, 8) + wave.substr(36, 4), "RIFFWAVEfmt data");
  const struct {
    size_t offset;
    int bytes;
    uint32_t expected;
  } fields[] = {{4, 4, static_cast<uint32_t>(wave.size() - 8)}, {16, 4, 16}, {20, 2, 1}, {22, 2, 2}, {24, 4, 44100},
                {28, 4, 44100 * 4}, {32, 2, 4}, {34, 2, 16}, {40, 4, static_cast<uint32_t>(wave.size() - 44)}};
  for (const auto& f : fields) EXPECT_EQ(Field(wave, f.offset, f.bytes), f.expected) << "offset " << f.offset;

  for (int channel : {0, 1}) {
    for (size_t start : {size_t{0}, tone + gap}) {
      int peak = 0, flips = 0, lastSign = 0;
      for (size_t n = start; n < start + tone; ++n) {
        const int s = Sample(wave, n, channel);
        EXPECT_EQ(s, Sample(wave, n, 1 - channel));
        peak = std::max(peak, std::abs(s));
        const int sign = (s > 0) - (s < 0);
        if (sign != 0 && lastSign != 0 && sign != lastSign) ++flips;
        if (sign != 0) lastSign = sign;
      }
      EXPECT_EQ(peak, 32767);
      EXPECT_NEAR(flips / 2.0 / 0.2, 440.0, 3.0) << "channel " << channel << " from frame " << start;
    }
    for (size_t n = tone; n < tone + gap; ++n) ASSERT_EQ(Sample(wave, n, channel), 0) << n;
  }
}

TEST(OpenFolder, HandsAnExistingFolderToXdgOpenAsOneArgumentWithoutAShell) {
  TempDir dir;
  MakedPath(dir / "tools");
  WriteScript(dir / "tools/xdg-open", "printf '%s\\n' \"$#\" \"$1\" > '" + dir / "args.tmp" + "'\ncommand -p mv '" +
                                          dir / "args.tmp" + "' '" + dir / "args" + "'");
  const std::string folder = dir / "a b \"q\" $(touch zel-shell-ran)";
  ASSERT_TRUE(MakedPath(folder));
  const struct {
    std::string path, folder;
  } refused[] = {{dir / "tools", dir / "missing"}, {dir / "nothing", folder}};
  for (const auto& c : refused) {
    EnvGuard path("PATH", c.path.c_str());
    EXPECT_FALSE(OpenFolder(c.folder)) << c.path << " " << c.folder;
  }

  // touch stays reachable, so that a shell would leave its mark.
  const char* inherited = std::getenv("PATH");
  EnvGuard path("PATH", (dir / "tools:" + (inherited != nullptr ? inherited : "")).c_str());
  ASSERT_TRUE(OpenFolder(folder));
  EXPECT_EQ(AwaitFile(dir / "args"), "1\n" + folder + "\n");
  EXPECT_FALSE(FileExists("zel-shell-ran"));
}

TEST(PlayTones, GivesThePlayerTheWaveAndRemovesItAfterwards) {
  const struct {
    const char* player;
    int exitCode;
    bool played;
  } cases[] = {{"pw-play", 0, true}, {"paplay", 0, true}, {"aplay", 0, true}, {"pw-play", 3, false}};
  for (const auto& c : cases) {
    TempDir dir;
    WriteScript(dir / c.player, "command -p cp \"$1\" '" + dir / "heard.wav" + "'\nprintf '%s' \"$1\" > '" +
                                    dir / "file" + "'\nexit " + std::to_string(c.exitCode));
    EnvGuard path("PATH", dir.path().c_str());
    EXPECT_EQ(PlayTones(), c.played) << c.player;
    EXPECT_TRUE(ReadText(dir / "heard.wav") == ToneWave()) << c.player;
    const std::string played = ReadText(dir / "file");
    EXPECT_FALSE(played.empty() || FileExists(played)) << played;
  }
  TempDir empty;
  EnvGuard path("PATH", empty.path().c_str());
  EXPECT_FALSE(PlayTones());
}

// ---- logind ----

// A stand-in logind that records every call as "path interface.method arguments".
class FakeLogind : public QDBusVirtualObject {
 public:
  std::vector<std::string> Calls() {
    std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
  }

  QString introspect(const QString&) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    QStringList words{message.path(), message.interface() + "." + message.member()};
    for (const QVariant& argument : message.arguments()) words << argument.toString();
    {
      std::lock_guard lock(mutex_);
      calls_.push_back(words.join(' ').toStdString());
    }
    const QString member = message.member();
    if (member == "GetSessionByPID") {
      connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath("/org/freedesktop/login1/session/_37"))));
    } else if (member == "Get") {
      connection.send(message.createReply(QVariant::fromValue(QDBusVariant(QString("7")))));
    } else if (member == "Reboot") {
      connection.send(message.createErrorReply("org.freedesktop.DBus.Error.AccessDenied", "Reboot refused"));
    } else {
      connection.send(message.createReply());
    }
    return true;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> calls_;
};

TEST(LogindActions, FailWithAMessageWhenTheBusCannotBeReached) {
  TempDir dir;
  SetLogindBusAddress("unix:path=" + dir / "no-bus");
  for (const auto& action : {PowerOff, Reboot, LogOff}) {
    const SessionActionResult result = action();
    EXPECT_FALSE(result.ok || result.error.empty()) << result.error;
  }
  SetLogindBusAddress("");
}

TEST(LogindActions, ReachLogindWithTheirArguments) {
  if (FindOnPath("dbus-daemon").empty()) GTEST_SKIP() << "dbus-daemon is not installed";
  ChildProcess daemon;
  LaunchPlan plan;
  plan.stages.push_back({"dbus-daemon", "--session", "--nofork", "--print-address"});
  ASSERT_EQ(daemon.Start(plan, std::nullopt), ChildProcess::StartResult::Started);
  std::string address, block;
  while (address.find('\n') == std::string::npos &&
         daemon.Read(block, 4096, 20000) == ChildProcess::ReadResult::Data) {
    address += block;
  }
  address = address.substr(0, address.find('\n'));
  ASSERT_FALSE(address.empty());

  // The stand-in answers in a thread of its own while the test's thread waits in
  // blocking calls; that thread's event loop needs an application object, which
  // would also set the locale from the environment for the tests that follow.
  const std::string locale = std::setlocale(LC_ALL, nullptr);
  struct RestoreLocale {
    const std::string& locale;
    ~RestoreLocale() { std::setlocale(LC_ALL, locale.c_str()); }
  } restoreLocale{locale};
  int argc = 1;
  char program[] = "zel_jobs_tests";
  char* argv[] = {program, nullptr};
  std::optional<QCoreApplication> app;
  if (QCoreApplication::instance() == nullptr) app.emplace(argc, argv);

  FakeLogind logind;
  QThread thread;
  struct Cleanup {
    QThread& thread;
    ~Cleanup() {
      SetLogindBusAddress("");
      QDBusConnection::disconnectFromBus("fake-logind");
      thread.quit();
      thread.wait();
    }
  } cleanup{thread};
  QDBusConnection bus = QDBusConnection::connectToBus(QString::fromStdString(address), "fake-logind");
  ASSERT_TRUE(bus.registerVirtualObject("/org/freedesktop/login1", &logind, QDBusConnection::SubPath));
  ASSERT_TRUE(bus.registerService("org.freedesktop.login1"));
  logind.moveToThread(&thread);
  thread.start();
  SetLogindBusAddress(address);

  const std::string manager = "/org/freedesktop/login1 org.freedesktop.login1.Manager.";
  const struct {
    SessionActionResult (*action)();
    const char* sessionVariable;
    std::vector<std::string> calls;
    std::string error;
  } cases[] = {
      {PowerOff, "c3", {manager + "PowerOff true"}, ""},
      {Reboot, "c3", {manager + "Reboot true"}, "Reboot refused"},
      {LogOff, "c3", {manager + "TerminateSession c3"}, ""},
      {LogOff,
       nullptr,
       {manager + "GetSessionByPID " + std::to_string(::getpid()),
        "/org/freedesktop/login1/session/_37 org.freedesktop.DBus.Properties.Get org.freedesktop.login1.Session Id",
        manager + "TerminateSession 7"},
       ""},
  };
  for (const auto& c : cases) {
    EnvGuard session("XDG_SESSION_ID", c.sessionVariable);
    const SessionActionResult result = c.action();
    EXPECT_EQ(result.ok, c.error.empty()) << c.calls.back();
    EXPECT_EQ(result.error, c.error);
    EXPECT_EQ(logind.Calls(), c.calls);
  }
  bus.unregisterObject("/org/freedesktop/login1", QDBusConnection::UnregisterTree);
}

}  // namespace
}  // namespace zel::test
