// The main window's side of the job logic: every call of the logic becomes a Qt
// signal, so that the window only shows what it hears. Questions are the one
// exception, since the logic waits for their answer: they go to `asker`.
#pragma once

#include "jobs/TaskLoop.h"

#include <QElapsedTimer>
#include <QObject>
#include <QUrl>
#include <QString>

#include <functional>

namespace zel {

class WindowHost : public QObject, public RunHost {
  Q_OBJECT

 public:
  explicit WindowHost(QObject* parent = nullptr);

  // Answers a question; without one the default answer stands, as it does for
  // a dialog closed without a choice.
  std::function<bool(const QString& question, bool defaultYes)> asker;
  // Shows a message and returns when the user has read it.
  std::function<void(const QString& text)> messenger;
  // The system's power actions and the desktop's folder view; the real ones
  // unless a test replaces them.
  std::function<bool(std::string_view action)> powerAction;
  std::function<bool(const std::string& folder)> folderOpener;
  std::function<bool(const QUrl& url)> urlOpener;

  void AddInfo(std::string_view category, std::string_view message, std::string_view tag) override;
  bool Ask(std::string_view question, bool defaultYes) override;
  void ShowMessage(std::string_view text) override;
  // Lets the window draw and take clicks while a job runs: the loop calls it
  // between its steps and the engine while its tool runs. At most one turn a
  // frame: callers ask after every row or block, and each turn repaints.
  void PumpEvents() override;
  void SplashText(std::string_view text) override;
  void SetFormatField(std::string_view format) override;
  void RebuildSettingRows() override;
  void UnloadMainWindow() override;

  void SelectTask(int index) override;
  void SetRunningLook(bool running) override;
  void SetStartButton(std::string_view caption, std::string_view tag) override;
  void SetStatusText(std::string_view text) override;
  void SetProgress(int value, int max) override;
  void SetTitle(std::string_view title) override;
  void AddLogLine(std::string_view line) override;
  void ShowLogPanel() override;
  void ShowResultPanel() override;
  void ShowBalloon(std::string_view title, std::string_view text) override;
  void PlayTones() override;
  bool PowerAction(std::string_view action) override;
  bool OpenFolder(const std::string& folder) override;
  // A web address or a local file, with the desktop's handler for it.
  bool OpenUrl(const QUrl& url);

 signals:
  void InfoAdded(QString category, QString message, QString tag);
  void MessageShown(QString text);
  void SplashTextChanged(QString text);
  void FormatFieldChanged(QString format);
  void SettingRowsStale();
  void UnloadRequested();
  void TaskSelected(int index);
  void RunningLookChanged(bool running);
  void StartButtonChanged(QString caption, QString tag);
  void StatusTextChanged(QString text);
  void ProgressChanged(int value, int max);
  void TitleChanged(QString title);
  void LogLineAdded(QString line);
  void LogPanelWanted();
  void ResultPanelWanted();
  void BalloonWanted(QString title, QString text);

 private:
  QElapsedTimer sinceTurn_;
};

}  // namespace zel
