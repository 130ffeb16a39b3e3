// One running copy: the parsing of a handed-over command line, and real second
// starts against a first copy. The other copies are this test program started
// again with a role in its environment (PrevInstanceChild.DISABLED_Role); all
// of them find each other in a runtime folder of the test's own.
#include "desktop/clsPrevInstance.h"

#include "support/TestSupport.h"

#include <signal.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace zel {
namespace {

const QString kIdentity = QStringLiteral("ZEL 影音工坊 测试 0.1");

// Turns the event loop until `done` or `ms` pass.
bool WaitUntil(const std::function<bool()>& done, int ms) {
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  return done();
}

// A scratch folder with names that have made hand-overs go wrong: blanks,
// quotes, Chinese, a folder.
class HandOverFiles {
 public:
  HandOverFiles() {
    for (const QString& name : {QStringLiteral("a b.mp4"), QStringLiteral("中文 视频.avi"),
                                QStringLiteral("say \"hi\".mkv"), QStringLiteral("plain.mp3")}) {
      QFile file(At(name));
      file.open(QIODevice::WriteOnly);
    }
    QDir(dir_.path()).mkdir(QStringLiteral("目录 一"));
  }
  QString At(const QString& name) const { return dir_.path() + QLatin1Char('/') + name; }

 private:
  QTemporaryDir dir_;
};

TEST(PrevInstanceParse, TextBecomesExistingPathsInOrder) {
  const HandOverFiles files;
  const QString ab = files.At("a b.mp4"), chinese = files.At("中文 视频.avi"), quoted = files.At("say \"hi\".mkv"),
                plain = files.At("plain.mp3"), folder = files.At("目录 一");
  struct Case {
    const char* what;
    QString text;
    QStringList paths;
  };
  const Case cases[] = {
      {"a bare start", "", {""}},
      {"arguments joined by a second start", JoinHandOverArguments({ab, chinese, folder}), {ab, chinese, folder + "/"}},
      {"a folder that already ends in /", JoinHandOverArguments({folder + "/"}), {folder + "/"}},
      {"a missing path is left out", JoinHandOverArguments({ab, files.At("gone.mp4"), plain}), {ab, plain}},
      {"blanks inside the quotes are trimmed", "\"  " + ab + " \" \" " + plain + "\"", {ab, plain}},
      {"empty pieces are passed over", "\"\" \"" + ab + "\" \"\"", {ab}},
      {"a text without quotes", plain, {plain}},
      {"blanks only", "   ", {}},
      {"a name with quotes of its own", JoinHandOverArguments({quoted, ab}), {quoted, ab}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ParseHandedOverText(c.text), c.paths) << c.what << ": " << c.text.toStdString();
  }
}

// ---- Copies in processes of their own ----

// Roles of a started copy, from ZEL_PREV_INSTANCE_ROLE:
// "second": hands ZEL_PREV_INSTANCE_PATHS (one a line; none: a bare start) to
//   the first copy; exits 0 when handed over, 3 when it found none.
// "first": listens, says "listening" on its output, and waits to be killed.
TEST(PrevInstanceChild, DISABLED_Role) {
  const QByteArray role = qgetenv("ZEL_PREV_INSTANCE_ROLE");
  clsPrevInstance instance;
  if (role == "second") {
    const QString paths = QString::fromUtf8(qgetenv("ZEL_PREV_INSTANCE_PATHS"));
    const QString text = paths.isEmpty() ? QString() : JoinHandOverArguments(paths.split('\n'));
    std::_Exit(instance.PrevInstance(kIdentity, text) == HandOverResult::HandedOver ? 0 : 3);
  }
  ASSERT_EQ(role, "first");
  ASSERT_EQ(instance.PrevInstance(kIdentity, QString()), HandOverResult::First);
  std::printf("listening\n");
  std::fflush(stdout);
  WaitUntil([] { return false; }, 60000);
}

class PrevInstanceProcesses : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(runtime_.isValid());
    // This process and every copy it starts meet here, and nowhere else.
    previous_ = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", runtime_.path().toLocal8Bit());
  }
  void TearDown() override { qputenv("XDG_RUNTIME_DIR", previous_); }

  void Start(QProcess& process, const char* role, const QStringList& paths = {}) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("ZEL_PREV_INSTANCE_ROLE", role);
    env.insert("ZEL_PREV_INSTANCE_PATHS", paths.join('\n'));
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {"--gtest_also_run_disabled_tests", "--gtest_filter=PrevInstanceChild.DISABLED_Role"});
  }

  // A second start to its end, the event loop turning meanwhile so that this
  // process, when it is the first copy, takes the text; its exit code.
  int RunSecond(const QStringList& paths = {}) {
    QProcess second;
    Start(second, "second", paths);
    const bool ended = WaitUntil([&] { return second.state() == QProcess::NotRunning; }, 20000);
    EXPECT_TRUE(ended) << "the second start did not leave";
    if (!ended) second.kill();
    return second.exitStatus() == QProcess::NormalExit ? second.exitCode() : -1;
  }

  QTemporaryDir runtime_;
  QByteArray previous_;
};

TEST_F(PrevInstanceProcesses, SecondStartHandsOverItsPathsAndLeaves) {
  const HandOverFiles files;
  clsPrevInstance first;
  ASSERT_EQ(first.PrevInstance(kIdentity, QString()), HandOverResult::First);
  EXPECT_TRUE(QFileInfo(clsPrevInstance::ServerName(kIdentity)).absolutePath().startsWith(runtime_.path()));
  first.SetReady(true);
  QStringList got;
  QObject::connect(&first, &clsPrevInstance::PrevInstancePath, [&](const QString& path) { got << path; });

  const QStringList sent = {files.At("a b.mp4"), files.At("中文 视频.avi"), files.At("say \"hi\".mkv"),
                            files.At("missing.mp4"), files.At("目录 一")};
  EXPECT_EQ(RunSecond(sent), 0);
  ASSERT_TRUE(WaitUntil([&] { return got.size() == 4; }, 5000)) << got.join('|').toStdString();
  EXPECT_EQ(got, QStringList({sent[0], sent[1], sent[2], sent[4] + "/"}));

  // A bare second start asks the first to come forward: one empty path.
  got.clear();
  EXPECT_EQ(RunSecond(), 0);
  ASSERT_TRUE(WaitUntil([&] { return !got.isEmpty(); }, 5000));
  EXPECT_EQ(got, QStringList({QString()}));
}

TEST_F(PrevInstanceProcesses, HandOversDuringStartUpWaitForReady) {
  const HandOverFiles files;
  clsPrevInstance first(JoinHandOverArguments({files.At("plain.mp3")}));
  ASSERT_EQ(first.PrevInstance(kIdentity, QString()), HandOverResult::First);
  QStringList got;
  QObject::connect(&first, &clsPrevInstance::PrevInstancePath, [&](const QString& path) { got << path; });

  EXPECT_EQ(RunSecond({files.At("a b.mp4")}), 0);
  EXPECT_EQ(RunSecond({files.At("中文 视频.avi"), files.At("目录 一")}), 0);
  // Long enough for both texts to have arrived, and not yet told.
  WaitUntil([] { return false; }, 300);
  EXPECT_TRUE(got.isEmpty()) << got.join('|').toStdString();

  first.SetReady(true);
  EXPECT_EQ(got, QStringList({files.At("plain.mp3"), files.At("a b.mp4"), files.At("中文 视频.avi"),
                              files.At("目录 一") + "/"}));
  got.clear();
  EXPECT_EQ(RunSecond({files.At("plain.mp3")}), 0);
  EXPECT_TRUE(WaitUntil([&] { return got == QStringList({files.At("plain.mp3")}); }, 5000));
}

TEST_F(PrevInstanceProcesses, KilledFirstCopyDoesNotBlockTheNextStart) {
  QProcess killed;
  Start(killed, "first");
  // Google Test has its say on the same output first.
  QByteArray said;
  ASSERT_TRUE(WaitUntil(
      [&] {
        while (killed.canReadLine()) said = killed.readLine().trimmed();
        return said == "listening";
      },
      20000));
  // While it lives a start hands over to it.
  EXPECT_EQ(RunSecond(), 0);
  ::kill(static_cast<pid_t>(killed.processId()), SIGKILL);
  ASSERT_TRUE(killed.waitForFinished(10000));
  ASSERT_TRUE(QFileInfo::exists(clsPrevInstance::ServerName(kIdentity))) << "the killed copy left no socket";

  // The next start becomes the first copy instead of handing over to nobody.
  clsPrevInstance next;
  ASSERT_EQ(next.PrevInstance(kIdentity, QString()), HandOverResult::First);
  next.SetReady(true);
  QStringList got;
  QObject::connect(&next, &clsPrevInstance::PrevInstancePath, [&](const QString& path) { got << path; });
  EXPECT_EQ(RunSecond(), 0);
  EXPECT_TRUE(WaitUntil([&] { return got == QStringList({QString()}); }, 5000));
}

TEST_F(PrevInstanceProcesses, WithNoFirstCopyASecondStartRunsOnItsOwn) {
  // No copy listens: the "second" finds none and says so by its code.
  EXPECT_EQ(RunSecond(), 3);
}

}  // namespace
}  // namespace zel
