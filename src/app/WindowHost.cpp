#include "app/WindowHost.h"

#include "controls/QtText.h"
#include "jobs/SessionActions.h"
#include "jobs/Strings.h"

#include <QApplication>
#include <QDesktopServices>
#include <QEventLoop>

namespace zel {

WindowHost::WindowHost(QObject* parent) : QObject(parent) {}

void WindowHost::AddInfo(std::string_view category, std::string_view message, std::string_view tag) {
  emit InfoAdded(Q(category), Q(message), Q(tag));
}

bool WindowHost::Ask(std::string_view question, bool defaultYes) {
  return asker ? asker(Q(question), defaultYes) : defaultYes;
}

void WindowHost::ShowMessage(std::string_view text) {
  emit MessageShown(Q(text));
  if (messenger) messenger(Q(text));
}

void WindowHost::PumpEvents() {
  // A thousand dropped files ask for a thousand turns; painting the list each
  // time would cost more than adding the rows. A frame's wait is not seen.
  constexpr qint64 kFrameMs = 16;
  if (sinceTurn_.isValid() && sinceTurn_.elapsed() < kFrameMs) return;
  // Short turns: the loop comes back within its poll of the tool's pipe, and
  // the window stays alive in between.
  QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  sinceTurn_.start();
}

void WindowHost::SplashText(std::string_view text) { emit SplashTextChanged(Q(text)); }
void WindowHost::SetFormatField(std::string_view format) { emit FormatFieldChanged(Q(format)); }
void WindowHost::RebuildSettingRows() { emit SettingRowsStale(); }
void WindowHost::UnloadMainWindow() { emit UnloadRequested(); }
void WindowHost::SelectTask(int index) { emit TaskSelected(index); }
void WindowHost::SetRunningLook(bool running) { emit RunningLookChanged(running); }
void WindowHost::SetStartButton(std::string_view caption, std::string_view tag) {
  emit StartButtonChanged(Q(caption), Q(tag));
}
void WindowHost::SetStatusText(std::string_view text) { emit StatusTextChanged(Q(text)); }
void WindowHost::SetProgress(int value, int max) { emit ProgressChanged(value, max); }
void WindowHost::SetTitle(std::string_view title) { emit TitleChanged(Q(title)); }
void WindowHost::AddLogLine(std::string_view line) { emit LogLineAdded(Q(line)); }
void WindowHost::ShowLogPanel() { emit LogPanelWanted(); }
void WindowHost::ShowResultPanel() { emit ResultPanelWanted(); }
void WindowHost::ShowBalloon(std::string_view title, std::string_view text) { emit BalloonWanted(Q(title), Q(text)); }

void WindowHost::PlayTones() {
  if (!zel::PlayTones()) QApplication::beep();
}

bool WindowHost::PowerAction(std::string_view action) {
  if (powerAction) return powerAction(action);
  using Action = SessionActionResult (*)();
  struct Entry {
    std::string_view name;
    Action run;
  };
  static constexpr Entry kActions[] = {{StrFinishShutDown, PowerOff}, {StrFinishRestart, Reboot},
                                       {StrFinishLogOff, LogOff}};
  for (const Entry& entry : kActions) {
    if (entry.name != action) continue;
    const SessionActionResult result = entry.run();
    if (!result.ok) AddInfo(StrInfoProblem, result.error, {});
    return result.ok;
  }
  return false;
}

bool WindowHost::OpenFolder(const std::string& folder) {
  return folderOpener ? folderOpener(folder) : zel::OpenFolder(folder);
}

bool WindowHost::OpenUrl(const QUrl& url) { return urlOpener ? urlOpener(url) : QDesktopServices::openUrl(url); }

}  // namespace zel
