#include "jobs/SessionActions.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QVariant>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <numbers>
#include <thread>
#include <utility>
#include <vector>

#include "engine/ChildProcess.h"
#include "base/FileHelpers.h"

extern char** environ;

namespace zel {

namespace {

// ---- logind ----

// Long enough for a busy logind, short enough that the end of a run never hangs
// on a bus that does not answer.
constexpr int kBusTimeoutMs = 5000;
// The power actions answer only after polkit has asked the user for rights,
// and a user typing a password must not be told that the action failed.
constexpr int kAuthorisedCallTimeoutMs = 120000;

const QString kLogindService = QStringLiteral("org.freedesktop.login1");
const QString kLogindPath = QStringLiteral("/org/freedesktop/login1");
const QString kManagerInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

std::mutex addressMutex;
std::string logindAddress;  // empty: the system bus

std::string CurrentAddress() {
  std::lock_guard lock(addressMutex);
  return logindAddress;
}

std::string ErrorText(const QString& message, const QString& name) {
  return (message.isEmpty() ? name : message).toStdString();
}

// The bus for one request. A private address gets a connection of its own that
// is closed afterwards, so that a failed attempt is not kept under its name.
class LogindBus {
 public:
  LogindBus() : address_(CurrentAddress()), connection_(Connect(address_, name_)) {}
  ~LogindBus() {
    if (!address_.empty()) QDBusConnection::disconnectFromBus(name_);
  }
  LogindBus(const LogindBus&) = delete;
  LogindBus& operator=(const LogindBus&) = delete;

  // The error of the connection, or "" when it stands.
  std::string Failure() const {
    if (connection_.isConnected()) return {};
    const std::string text = ErrorText(connection_.lastError().message(), connection_.lastError().name());
    return text.empty() ? "cannot connect to the bus of logind" : text;
  }

  // Calls a method of logind; `error` is set when the call fails or times out.
  QDBusMessage Call(const QString& path, const QString& interface, const QString& method,
                    const QList<QVariant>& arguments, std::string& error, int timeoutMs = kBusTimeoutMs) const {
    QDBusMessage request = QDBusMessage::createMethodCall(kLogindService, path, interface, method);
    request.setArguments(arguments);
    QDBusMessage reply = connection_.call(request, QDBus::Block, timeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
      error = ErrorText(reply.errorMessage(), reply.errorName());
      if (error.empty()) error = "no answer from logind";
    }
    return reply;
  }

 private:
  static QDBusConnection Connect(const std::string& address, QString& name) {
    if (address.empty()) return QDBusConnection::systemBus();
    static std::atomic<int> serial{0};
    name = QStringLiteral("zel-logind-%1").arg(++serial);
    return QDBusConnection::connectToBus(QString::fromStdString(address), name);
  }

  std::string address_;
  QString name_;
  QDBusConnection connection_;
};

SessionActionResult Outcome(std::string error) {
  SessionActionResult result;
  result.ok = error.empty();
  result.error = std::move(error);
  return result;
}

SessionActionResult ManagerCall(const QString& method, const QList<QVariant>& arguments) {
  LogindBus bus;
  std::string error = bus.Failure();
  if (error.empty()) bus.Call(kLogindPath, kManagerInterface, method, arguments, error, kAuthorisedCallTimeoutMs);
  return Outcome(std::move(error));
}

// The session of this process: what the login set up, else what logind knows of it.
std::string SessionId(const LogindBus& bus, std::string& error) {
  const char* fromLogin = std::getenv("XDG_SESSION_ID");
  if (fromLogin != nullptr && *fromLogin != '\0') return fromLogin;

  const QDBusMessage byPid = bus.Call(kLogindPath, kManagerInterface, QStringLiteral("GetSessionByPID"),
                                      {QVariant::fromValue(static_cast<uint>(::getpid()))}, error);
  if (!error.empty()) return {};
  const QString sessionPath = qvariant_cast<QDBusObjectPath>(byPid.arguments().value(0)).path();
  const QDBusMessage id = bus.Call(sessionPath, kPropertiesInterface, QStringLiteral("Get"),
                                   {kSessionInterface, QStringLiteral("Id")}, error);
  if (!error.empty()) return {};
  const std::string sessionId = qvariant_cast<QDBusVariant>(id.arguments().value(0)).variant().toString().toStdString();
  if (sessionId.empty()) error = "logind names no session for this process";
  return sessionId;
}

// ---- child programs ----

// The first executable of that name on PATH, or "".
std::string ProgramOnPath(std::string_view name) {
  const std::string path = FindOnPath(name);
  return !path.empty() && ::access(path.c_str(), X_OK) == 0 ? path : std::string();
}

// Starts a program in a session of its own, so that it outlives this one and a
// Ctrl+C in our terminal does not reach it, and returns without waiting. A thread
// waits for exactly that child, so that it leaves no zombie whenever it ends; a
// double fork is not to be had with posix_spawn, and SIGCHLD handlers or
// waitpid(-1) would steal the ends of the tools the engine supervises.
bool SpawnDetached(const std::vector<std::string>& args) {
  posix_spawnattr_t attr;
  posix_spawn_file_actions_t actions;
  posix_spawnattr_init(&attr);
  posix_spawn_file_actions_init(&actions);

  sigset_t none, defaults;
  sigemptyset(&none);
  sigemptyset(&defaults);
  for (int s : {SIGINT, SIGTERM, SIGPIPE, SIGCHLD, SIGQUIT, SIGHUP}) sigaddset(&defaults, s);
  posix_spawnattr_setsigmask(&attr, &none);
  posix_spawnattr_setsigdefault(&attr, &defaults);
  posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

  std::vector<char*> argv;
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = -1;
  const bool started = ::posix_spawn(&pid, argv[0], &actions, &attr, argv.data(), environ) == 0;
  posix_spawnattr_destroy(&attr);
  posix_spawn_file_actions_destroy(&actions);
  if (!started) return false;

  std::thread([pid] {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
  }).detach();
  return true;
}

// ---- tones ----

constexpr int kSampleRate = 44100;
constexpr int kChannels = 2;
constexpr int kToneHz = 440;
constexpr int kAmplitude = 32767;
// Two tones of 200 ms with 100 ms of silence between them. 200 ms hold exactly
// 88 periods of 440 Hz, so each tone starts and ends at a zero crossing and no
// click is heard.
constexpr int kToneFrames = kSampleRate / 5;
constexpr int kGapFrames = kSampleRate / 10;

// The player gets this long; the tones last half a second.
constexpr auto kPlayerLimit = std::chrono::seconds(5);

void AppendLittleEndian(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void AppendTone(std::string& out) {
  for (int n = 0; n < kToneFrames; ++n) {
    const double phase = 2.0 * std::numbers::pi * kToneHz * n / kSampleRate;
    const auto sample = static_cast<int16_t>(std::lround(kAmplitude * std::sin(phase)));
    for (int c = 0; c < kChannels; ++c) AppendLittleEndian(out, static_cast<uint16_t>(sample), 2);
  }
}

int MillisecondsLeft(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// Runs the player on the file and judges its end; a player that overruns is stopped.
bool RunPlayer(const std::string& player, const std::string& file) {
  ChildProcess child;
  LaunchPlan plan;
  plan.stages.push_back({player, file});
  if (child.Start(plan, std::nullopt) != ChildProcess::StartResult::Started) return false;

  const auto deadline = std::chrono::steady_clock::now() + kPlayerLimit;
  std::string block;
  // What the player says is read and dropped, so that it never stalls on a full pipe.
  while (MillisecondsLeft(deadline) > 0 &&
         child.Read(block, 4096, MillisecondsLeft(deadline)) != ChildProcess::ReadResult::End) {
  }
  if (!child.WaitFor(MillisecondsLeft(deadline))) {
    child.Terminate(200);
    return false;
  }
  const int status = child.Wait();
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

void SetLogindBusAddress(std::string address) {
  std::lock_guard lock(addressMutex);
  logindAddress = std::move(address);
}

SessionActionResult PowerOff() { return ManagerCall(QStringLiteral("PowerOff"), {true}); }

SessionActionResult Reboot() { return ManagerCall(QStringLiteral("Reboot"), {true}); }

SessionActionResult LogOff() {
  LogindBus bus;
  std::string error = bus.Failure();
  std::string sessionId;
  if (error.empty()) sessionId = SessionId(bus, error);
  if (error.empty()) {
    bus.Call(kLogindPath, kManagerInterface, QStringLiteral("TerminateSession"),
             {QString::fromStdString(sessionId)}, error, kAuthorisedCallTimeoutMs);
  }
  return Outcome(std::move(error));
}

bool OpenFolder(const std::string& folder) {
  if (!DirectoryExists(folder)) return false;
  const std::string opener = ProgramOnPath("xdg-open");
  if (opener.empty()) return false;
  // An absolute path can never be taken for an option, whatever its name starts with.
  std::error_code ignored;
  const std::filesystem::path absolute = std::filesystem::absolute(folder, ignored);
  return SpawnDetached({opener, absolute.empty() ? folder : absolute.string()});
}

std::string ToneWave() {
  constexpr uint32_t frameBytes = kChannels * 2;
  constexpr uint32_t dataBytes = (2 * kToneFrames + kGapFrames) * frameBytes;
  std::string wave = "RIFF";
  AppendLittleEndian(wave, 36 + dataBytes, 4);
  wave += "WAVEfmt ";
  AppendLittleEndian(wave, 16, 4);  // size of the format block
  AppendLittleEndian(wave, 1, 2);   // PCM
  AppendLittleEndian(wave, kChannels, 2);
  AppendLittleEndian(wave, kSampleRate, 4);
  AppendLittleEndian(wave, kSampleRate * frameBytes, 4);
  AppendLittleEndian(wave, frameBytes, 2);
  AppendLittleEndian(wave, 16, 2);
  wave += "data";
  AppendLittleEndian(wave, dataBytes, 4);
  AppendTone(wave);
  wave.append(static_cast<size_t>(kGapFrames) * frameBytes, '\0');
  AppendTone(wave);
  return wave;
}

bool PlayTones() {
  std::string player;
  for (const char* name : {"pw-play", "paplay", "aplay"}) {
    player = ProgramOnPath(name);
    if (!player.empty()) break;
  }
  if (player.empty()) return false;

  const std::string file = CreateTempFile("zel-tones-", "");
  if (file.empty()) return false;
  const bool played = WriteFileAtomic(file, ToneWave()) && RunPlayer(player, file);
  DeleteFile(file);
  return played;
}

}  // namespace zel
