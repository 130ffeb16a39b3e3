// One running copy of the program: a second start finds the first through a
// local socket of the user, hands it its command line and leaves; the first
// turns the text into paths, holding them back until its window is ready.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QLocalServer;
class QWidget;

namespace zel {

// The paths of a handed-over command line, in order: the text split at quote,
// blank, quote, each piece without its quotes and trimmed; empty pieces and
// paths that do not exist are left out, and a folder ends in "/". An empty
// text gives one empty path: a bare second start that only asks the first
// copy to come to the front.
QStringList ParseHandedOverText(const QString& text);

// The command line a second start hands over: each argument in quotes, a
// blank between them, so that the split above gives them back.
QString JoinHandOverArguments(const QStringList& arguments);

// How a second start went.
enum class HandOverResult {
  // No earlier copy: this one now listens for the next start.
  First,
  // An earlier copy took the text; this one should leave.
  HandedOver,
  // No earlier copy answered and this one could not listen either (a
  // runtime folder not writable): it runs alone.
  Alone,
};

class clsPrevInstance : public QObject {
  Q_OBJECT

 public:
  // `ownCommandLine` not empty is queued like a hand-over.
  explicit clsPrevInstance(const QString& ownCommandLine = {}, QObject* parent = nullptr);
  ~clsPrevInstance() override;
  clsPrevInstance(const clsPrevInstance&) = delete;
  clsPrevInstance& operator=(const clsPrevInstance&) = delete;

  // Looks for an earlier copy of the same identity (empty: the application's
  // name with its major and minor version) and, when one answers, hands it
  // `text` (by default this process's arguments, joined). Otherwise this copy
  // becomes the one the next start finds; a socket left by a copy that died
  // is removed first.
  HandOverResult PrevInstance(const QString& identity = {}, std::optional<QString> text = {});

  // Until the host is ready the texts that come in wait, in their order.
  bool Ready() const { return ready_; }
  void SetReady(bool ready);

  // Un-minimises the window and brings it to the front.
  static void ShowForm(QWidget* form);

  // The socket's path for an identity: in the user's runtime folder, named
  // after a hash of the identity and the user's id, short enough for a
  // socket's address.
  static QString ServerName(const QString& identity);
  QString Identity() const { return identity_; }

 signals:
  // Once for each path of a handed-over text, in order.
  void PrevInstancePath(const QString& path);

 private:
  void Listen(const QString& name);
  void Receive(const QString& text);
  void Parse(const QString& text);

  std::unique_ptr<QLocalServer> server_;
  QString identity_;
  bool ready_ = false;
  QStringList queue_;
};

}  // namespace zel
