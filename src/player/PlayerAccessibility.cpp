#include "player/PlayerAccessibility.h"

#include "controls/QtText.h"
#include "player/PlayerMarks.h"
#include "player/PlayerStatusBar.h"
#include "player/PlayerStrings.h"
#include "player/ctlDSPlayer.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QFileInfo>
#include <QPointer>

namespace zel {

namespace {

// The player reads as an animation named after its file, its value the time
// text of the bar; its actions play and pause as the host's buttons do.
class PlayerAccessible final : public QAccessibleWidget {
 public:
  explicit PlayerAccessible(ctlDSPlayer* player) : QAccessibleWidget(player, QAccessible::Animation) {}

  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Name && player()->accessibleName().isEmpty()) {
      const QString file = QFileInfo(player()->SourceFileName()).fileName();
      return file.isEmpty() ? Q(StrPlayerName) : file;
    }
    if (t == QAccessible::Value) return player()->Status() == 0 ? QString() : player()->StatusBar().TimeText();
    return QAccessibleWidget::text(t);
  }
  QStringList actionNames() const override {
    QStringList names;
    if (player()->Status() == 2 || player()->Status() == 3) names << Q(StrPlayerPlay);
    if (player()->Status() == 1) names << Q(StrPlayerPause);
    return names + QAccessibleWidget::actionNames();
  }
  void doAction(const QString& name) override {
    if (name == Q(StrPlayerPlay)) player()->SetPause(false);
    if (name == Q(StrPlayerPause)) player()->SetPause(true);
    QAccessibleWidget::doAction(name);
  }

 private:
  ctlDSPlayer* player() const { return static_cast<ctlDSPlayer*>(widget()); }
};

QAccessibleInterface* Factory(const QString&, QObject* object) {
  if (auto* player = qobject_cast<ctlDSPlayer*>(object)) return AccessibleFor(player);
  if (auto* bar = qobject_cast<PlayerStatusBar*>(object)) return AccessibleFor(bar);
  return nullptr;
}

}  // namespace

QAccessibleInterface* AccessibleFor(ctlDSPlayer* player) { return new PlayerAccessible(player); }

void InstallPlayerAccessibility() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  QAccessible::installFactory(Factory);
}

void ApplyPlayerTheme(ctlDSPlayer& player, const ThemeSettings& theme) {
  const int32_t face = FaceColorFor(theme);
  PlayerStatusBar& bar = player.StatusBar();
  player.SetRefresh(false);
  player.SetStyle(theme.style);
  bar.SetBarColor(face);
  bar.SetPositionColor(ShiftColor(face, IsDarkColor(face) ? 0.35 : -0.25));
  bar.SetModeStyle(bar.ModeStyle());
  bar.SetStatusBarHeight(bar.StatusBarHeight());
  player.SetRefresh(true);
}

ThemeHooks PlayerThemeHooks(QWidget* window) {
  return {[players = QPointer<QWidget>(window)](const ThemeSettings& theme) {
    if (players == nullptr) return;
    for (ctlDSPlayer* player : players->findChildren<ctlDSPlayer*>()) ApplyPlayerTheme(*player, theme);
  }};
}

}  // namespace zel
