#include "desktop/clsTaskBar.h"

#include <QDBusMessage>
#include <QVariantMap>

#include <algorithm>
#include <cmath>

namespace zel {
namespace {

constexpr char kEntryPath[] = "/com/zel/LauncherEntry";
constexpr char kEntryInterface[] = "com.canonical.Unity.LauncherEntry";

// How each state looks on a dock, which knows only a bar and a call for
// attention: no colours, no moving bar, no pause mark.
struct StateLook {
  TaskbarState state;
  bool visible;
  bool urgent;
};
constexpr StateLook kLooks[] = {
    {TaskbarState::NoProgress, false, false}, {TaskbarState::Indeterminate, true, false},
    {TaskbarState::Normal, true, false},      {TaskbarState::Error, true, true},
    {TaskbarState::Paused, true, false},
};

}  // namespace

clsTaskBar::clsTaskBar(const QDBusConnection& bus, QObject* parent) : QObject(parent), bus_(bus) {}

void clsTaskBar::SetProgressState(TaskbarState state) {
  state_ = state;
  Send();
}

void clsTaskBar::SetProgressValue(qint64 done, qint64 total) {
  const double part = total > 0 ? static_cast<double>(std::clamp(done, qint64{0}, total)) / total : 0.0;
  percent_ = static_cast<int>(std::lround(part * 100));
  Send();
}

void clsTaskBar::SetUrgent(bool urgent) {
  urgent_ = urgent;
  Send();
}

clsTaskBar::Shown clsTaskBar::Wanted() const {
  Shown wanted;
  for (const StateLook& look : kLooks) {
    if (look.state != state_) continue;
    wanted.visible = look.visible;
    wanted.urgent = look.urgent || urgent_;
  }
  // A hidden bar's value means nothing: changes of it are not worth a signal.
  wanted.percent = wanted.visible ? percent_ : 0;
  return wanted;
}

void clsTaskBar::Send() {
  const Shown wanted = Wanted();
  if (wanted == sent_ || !bus_.isConnected()) return;
  QDBusMessage signal = QDBusMessage::createSignal(kEntryPath, kEntryInterface, "Update");
  const QVariantMap properties{{"progress", wanted.percent / 100.0},
                               {"progress-visible", wanted.visible},
                               {"urgent", wanted.urgent}};
  signal << QString::fromLatin1(kDesktopEntryUri) << properties;
  if (bus_.send(signal)) sent_ = wanted;
}

}  // namespace zel
