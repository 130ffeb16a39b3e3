// The run's and the preview's progress on the program's dock or taskbar entry,
// told through the launcher-entry signal that KDE Plasma, the Ubuntu dock and
// others follow. The window keeps its own progress field: a desktop without
// such a dock loses nothing.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

namespace zel {

// The id of the program's entry: the name of its installed desktop file.
inline constexpr char kDesktopEntryUri[] = "application://zel.desktop";

enum class TaskbarState { NoProgress, Indeterminate, Normal, Error, Paused };

class clsTaskBar : public QObject {
  Q_OBJECT

 public:
  // A bus that is not connected (no session) makes every call a no-op.
  explicit clsTaskBar(const QDBusConnection& bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);

  void SetProgressState(TaskbarState state);
  // A total of 0 or less shows nothing done.
  void SetProgressValue(qint64 done, qint64 total);
  // Asks for the user's eye, as at the end of a run the user was not watching.
  void SetUrgent(bool urgent);

  TaskbarState ProgressState() const { return state_; }
  // Whole percent, 0 to 100, as last sent or about to be sent.
  int Percent() const { return percent_; }

 private:
  // What the dock would show now; sent only when it differs from the last one.
  struct Shown {
    int percent = 0;
    bool visible = false;
    bool urgent = false;
    bool operator==(const Shown&) const = default;
  };
  Shown Wanted() const;
  void Send();

  QDBusConnection bus_;
  TaskbarState state_ = TaskbarState::NoProgress;
  int percent_ = 0;
  bool urgent_ = false;
  // Nothing sent yet: the dock shows no progress, which is the starting state.
  Shown sent_;
};

}  // namespace zel
