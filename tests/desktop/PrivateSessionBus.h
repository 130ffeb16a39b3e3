// A session bus of the test's own, so that the desktop services' messages reach
// the test's stand-ins and never the desktop of whoever runs the tests.
#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace zel::test {

class PrivateSessionBus {
 public:
  explicit PrivateSessionBus(const QString& name) : name_(name) {
    daemon_.setProgram("dbus-daemon");
    daemon_.setArguments({"--session", "--nofork", "--print-address"});
    daemon_.setProcessChannelMode(QProcess::SeparateChannels);
    daemon_.start();
    if (!daemon_.waitForStarted(5000)) return;
    while (!daemon_.canReadLine() && daemon_.waitForReadyRead(5000)) {
    }
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    if (!address_.isEmpty()) QDBusConnection::connectToBus(address_, name_);
  }
  ~PrivateSessionBus() {
    for (const QString& peer : peers_) QDBusConnection::disconnectFromBus(peer);
    QDBusConnection::disconnectFromBus(name_);
    daemon_.terminate();
    if (!daemon_.waitForFinished(3000)) daemon_.kill();
  }
  PrivateSessionBus(const PrivateSessionBus&) = delete;
  PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

  bool Up() const { return Connection().isConnected(); }
  QDBusConnection Connection() const { return QDBusConnection(name_); }
  // A second client of the same bus, as another program on the desktop is.
  QDBusConnection Peer(const QString& name) {
    peers_ << name;
    return QDBusConnection::connectToBus(address_, name);
  }

 private:
  QString name_;
  QString address_;
  QStringList peers_;
  QProcess daemon_;
};

}  // namespace zel::test
