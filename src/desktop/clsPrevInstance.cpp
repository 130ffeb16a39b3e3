#include "desktop/clsPrevInstance.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QTimer>
#include <QVersionNumber>
#include <QWidget>

#include <memory>
#include <utility>

namespace zel {

namespace {

// A second start that cannot reach the first in this time runs alone rather
// than keep the user waiting.
constexpr int kConnectMs = 1000;
constexpr int kWriteMs = 1000;
// A client that keeps its connection open longer is dropped with what it sent.
constexpr int kReceiveMs = 5000;
// A command line longer than this is no command line.
constexpr qint64 kMaxText = 1 << 20;
// sun_path holds 108 bytes with the closing NUL.
constexpr int kMaxSocketPath = 107;

QString RuntimeFolder() {
  const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
  if (!runtime.isEmpty() && QDir::isAbsolutePath(QString::fromLocal8Bit(runtime)) &&
      QFileInfo(QString::fromLocal8Bit(runtime)).isDir()) {
    return QString::fromLocal8Bit(runtime);
  }
  return QDir::tempPath();
}

// The piece as a path: all quotes removed as the rule goes; a name that holds
// a quote itself (Linux allows it) is kept when only that form exists.
QString ExistingPath(const QString& piece) {
  QString plain = piece;
  plain.remove(QLatin1Char('"'));
  plain = plain.trimmed();
  if (plain.isEmpty()) return {};
  if (QFileInfo::exists(plain)) return plain;
  QString inner = piece.trimmed();
  if (inner.startsWith(QLatin1Char('"'))) inner.remove(0, 1);
  if (inner.endsWith(QLatin1Char('"'))) inner.chop(1);
  inner = inner.trimmed();
  if (inner != plain && !inner.isEmpty() && QFileInfo::exists(inner)) return inner;
  return {};
}

}  // namespace

QStringList ParseHandedOverText(const QString& text) {
  if (text.isEmpty()) return {QString()};
  QStringList paths;
  for (const QString& piece : text.split(QStringLiteral("\" \""))) {
    QString path = ExistingPath(piece);
    if (path.isEmpty()) continue;
    if (QFileInfo(path).isDir() && !path.endsWith(QLatin1Char('/'))) path += QLatin1Char('/');
    paths << path;
  }
  return paths;
}

QString JoinHandOverArguments(const QStringList& arguments) {
  QStringList quoted;
  for (const QString& argument : arguments) quoted << QLatin1Char('"') + argument + QLatin1Char('"');
  return quoted.join(QLatin1Char(' '));
}

clsPrevInstance::clsPrevInstance(const QString& ownCommandLine, QObject* parent) : QObject(parent) {
  if (!ownCommandLine.isEmpty()) queue_ << ownCommandLine;
}

clsPrevInstance::~clsPrevInstance() {
  // The socket file goes with the server, so the next start finds none.
  if (server_) server_->close();
}

QString clsPrevInstance::ServerName(const QString& identity) {
  const QByteArray hash = QCryptographicHash::hash(identity.toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
  const QString name = QStringLiteral("zel-%1-%2.socket").arg(QString::fromLatin1(hash)).arg(getuid());
  QString path = RuntimeFolder() + QLatin1Char('/') + name;
  // A deep runtime folder cannot hold a socket: the temporary folder can, and
  // the user's id in the name keeps users apart there.
  if (path.toLocal8Bit().size() > kMaxSocketPath) path = QDir::tempPath() + QLatin1Char('/') + name;
  return path;
}

HandOverResult clsPrevInstance::PrevInstance(const QString& identity, std::optional<QString> text) {
  identity_ = identity;
  if (identity_.isEmpty()) {
    const QVersionNumber version = QVersionNumber::fromString(QCoreApplication::applicationVersion());
    identity_ = QCoreApplication::applicationName() + QLatin1Char(' ') +
                QStringLiteral("%1.%2").arg(version.majorVersion()).arg(version.minorVersion());
  }
  const QString name = ServerName(identity_);

  // Two copies started at once must not both find nobody and both listen:
  // the look and the listening happen under one lock. A lock left by a copy
  // that died is taken over by QLockFile.
  QLockFile lock(name + QStringLiteral(".lock"));
  const bool locked = lock.tryLock(kConnectMs);

  QLocalSocket socket;
  socket.connectToServer(name);
  if (socket.waitForConnected(kConnectMs)) {
    const QString handed = text ? *text : JoinHandOverArguments(QCoreApplication::arguments().mid(1));
    socket.write(handed.toUtf8());
    socket.flush();
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(kWriteMs)) {
    }
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState) socket.waitForDisconnected(kWriteMs);
    return HandOverResult::HandedOver;
  }
  const auto error = socket.error();
  // Only a socket nobody listens on is taken away; one that merely did not
  // answer in time may belong to a busy first copy.
  if (error != QLocalSocket::ServerNotFoundError && error != QLocalSocket::ConnectionRefusedError) {
    return HandOverResult::Alone;
  }
  if (!locked && error == QLocalSocket::ConnectionRefusedError) return HandOverResult::Alone;
  QLocalServer::removeServer(name);
  Listen(name);
  return server_ ? HandOverResult::First : HandOverResult::Alone;
}

void clsPrevInstance::Listen(const QString& name) {
  auto server = std::make_unique<QLocalServer>();
  server->setSocketOptions(QLocalServer::UserAccessOption);
  if (!server->listen(name)) return;
  connect(server.get(), &QLocalServer::newConnection, this, [this] {
    while (QLocalSocket* client = server_->nextPendingConnection()) {
      auto received = std::make_shared<QByteArray>();
      auto* limit = new QTimer(client);
      limit->setSingleShot(true);
      connect(limit, &QTimer::timeout, client, [client] { client->abort(); });
      limit->start(kReceiveMs);
      const auto take = [client, received] {
        if (received->size() < kMaxText) received->append(client->readAll().left(kMaxText - received->size()));
      };
      connect(client, &QLocalSocket::readyRead, client, take);
      // The whole text is there when the sender has closed its end.
      connect(client, &QLocalSocket::disconnected, this, [this, client, received, take] {
        take();
        client->deleteLater();
        Receive(QString::fromUtf8(*received));
      });
      take();
    }
  });
  server_ = std::move(server);
}

void clsPrevInstance::Receive(const QString& text) {
  if (ready_) {
    Parse(text);
  } else {
    queue_ << text;
  }
}

void clsPrevInstance::SetReady(bool ready) {
  ready_ = ready;
  if (!ready_) return;
  const QStringList queued = std::exchange(queue_, {});
  for (const QString& text : queued) Parse(text);
}

void clsPrevInstance::Parse(const QString& text) {
  for (const QString& path : ParseHandedOverText(text)) emit PrevInstancePath(path);
}

void clsPrevInstance::ShowForm(QWidget* form) {
  if (form == nullptr) return;
  if (form->isMinimized()) form->setWindowState((form->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
  form->show();
  form->raise();
  form->activateWindow();
}

}  // namespace zel
