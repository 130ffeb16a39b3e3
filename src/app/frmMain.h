// The main window: the task and file lists, the preview player with its marks,
// the five fields with the Start button, the information list and the status
// field, and the panel over the lists for all settings, the log, the results
// and the profiles. It shows what the job logic tells its host and hands the
// user's clicks to that logic; it decides nothing about a run itself.
#pragma once

#include "app/frmCompare.h"
#include "app/frmCreateSubtitle.h"
#include "app/WindowHost.h"
#include "engine/FFmpegX.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/Profiles.h"
#include "jobs/SettingsRows.h"
#include "jobs/TaskLoop.h"
#include "player/MpvSession.h"

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zel {

class clsTaskBar;
class ctlButton;
class ctlCustomFrame;
class ctlDSPlayer;
class ctlListbox;
class clsPrevInstance;
class ctlSysTrayBalloon;
class DiagnosticsLog;
class DialogChooser;
class FileIntake;
enum class TaskbarState;

// The panel over the lists, by what it shows.
enum class PanelKind { None, Settings, Log, Results, Profiles, QuickChooser };

class frmMain : public QWidget, public SettingsPanelHost {
  Q_OBJECT

 public:
  // `playerOutput` Headless serves tests without a display.
  explicit frmMain(MpvOutput playerOutput = MpvOutput::Video, QWidget* parent = nullptr);
  ~frmMain() override;

  // The steps after construction, in their order and with their log lines;
  // shows the window. Files named on the command line wait for "PrevInstance
  // Ready" and then arrive like a drop.
  void FormLoad(const QStringList& commandLineFiles = {});
  // The single-instance object the program's start made before this window;
  // FormLoad listens to it and lets it deliver from "PrevInstance Ready".
  void AdoptPrevInstance(std::unique_ptr<clsPrevInstance> instance);

  // Files and folders from a drop, the dialog or a second start.
  void DropFiles(const QStringList& paths);
  // The Start button: the check and the run, or the cancel question while one runs.
  void PressStart();
  // The second button: pause and resume of the tool while a run is under way.
  void PressSecond();
  void ShowPanel(PanelKind kind);
  PanelKind Panel() const { return panel_; }
  // The format field picked by hand, as the user's choice in the drop-down.
  void ChooseFormat(const QString& format);
  // The start, end and parts fields typed by hand.
  void EditSplitField(int slot, const QString& text);

  WindowHost& Host() { return host_; }
  FFmpegX& Engine() { return engine_; }
  TaskLoop& Loop() { return *loop_; }
  ctlListbox& Tasks() { return *tasks_; }
  ctlListbox& Files() { return *files_; }
  ctlListbox& Info() { return *info_; }
  ctlListbox& LogList() { return *log_; }
  ctlListbox& Results() { return *results_; }
  ctlButton& TransferNow() { return *transferNow_; }
  ctlButton& FinishButton() { return *finishButton_; }
  ctlButton& ToolsButton() { return *toolsButton_; }
  // The tools menu's commands by name ("option", "copylog", "reset" ...);
  // false for a name this program has nothing for, or one not available now.
  bool RunToolsCommand(std::string_view command);
  // The subtitle editor the tools menu opened; null until then.
  frmCreateSubtitle* SubtitleEditor() const { return subtitleEditor_; }
  // The result on row `row` beside the file it was made from; false (with a
  // message) when it has none or either does not open.
  bool CompareResult(int row);
  // The compare view the results opened; null until then.
  frmCompare* CompareView() const { return compare_; }
  // The file dialogs of the user settings and the task lists (tests answer them).
  void SetDialogs(DialogChooser* dialogs) { dialogs_ = dialogs; }
  ctlListbox& ProfileList() { return *profiles_; }
  ctlListbox& SettingsList() { return *settingsFull_; }
  ctlListbox& ShortSettings() { return *settingsShort_; }
  ctlDSPlayer& Player() { return *player_; }
  ctlButton& StartButton() { return *start_; }
  ctlButton& SecondButton() { return *second_; }
  ctlButton& AviSynthButton() { return *avsButton_; }
  ctlButton& StatusField() { return *status_; }
  ctlButton& FolderField() { return *folder_; }
  // The dock's progress and the tray icon (tests hand them a bus of their own).
  clsTaskBar& TaskBar() { return *taskBar_; }
  ctlSysTrayBalloon& Tray() { return *tray_; }
  ctlButton& FormatField() { return *format_; }
  ctlButton& SplitField(int slot) { return *split_[slot]; }
  // What a settings row's change does beyond the store.
  void RebuildSettingRows() override;
  void ShowRowValue(std::string_view key, std::string_view value) override;
  void ShowRowLabel(std::string_view key, std::string_view label) override;
  void SetAviSynthButton(std::string_view caption) override;
  void SetSplitLabels(std::string_view start, std::string_view end) override;
  void SetPlayerProperty(const PlayerSetting& setting) override;
  void SetEngineLog(bool on) override;
  void SetEngineStatusRefreshInterval(int milliseconds) override;
  void SetListLook(ListLook look, bool on) override;
  void SetTaskThumbnails(bool on) override;
  void RunGuideStep(GuideStep step) override;
  void ShowMessage(std::string_view text) override;

  // "PrevInstance Ready": files from now on go to the list at once.
  bool Ready() const { return ready_; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void BuildCaption();
  void BuildToolbar();
  void BuildLists();
  void BuildFields();
  void BuildPanel();
  void ConnectHost();
  void ConnectPlayer();
  void PlacePanel();
  // The dock and the tray: made with the window, the icon added at load.
  void BuildDesktop();
  void AddTrayIcon();
  void ReleaseDesktop(std::string_view step);
  TaskbarState RunTaskbarState() const;
  void ShowRunOnTaskbar(int value, int max);
  void ShowRunLookOnTaskbar(bool running);
  void OnBalloon(const QString& title, const QString& text);
  void DesktopWindowChange(QEvent* event);

  void FillFormatField(bool more);
  void ApplySplitLabels();
  void ConnectSettingsList(ctlListbox* list);
  void ApplyTheme();
  // Rows added since the last call get their thumbnails and facts.
  void RequestNewRowFacts();
  void RestoreGeometry();
  void SaveGeometry();
  // False when the window may not close now; asks and tells as the rules say.
  bool QueryUnload();
  void Unload();

  void AddTask(const std::string& path);
  void FillRowFacts(const std::string& key, const std::string& path);
  void OnTaskSelected();
  void OnPlayerMarks();
  void OnProgress(int value, int max);
  void OnRunningLook(bool running);
  void AddLogLine(const QString& line);
  void FillResults();
  void ShowResultsMenu();
  void CopyResultsToDevice();
  void ShowFinishMenu();
  void ShowToolsMenu();
  void ShowUserSettingsMenu();
  void ChooseDisc();
  void ShowSubtitleEditor();
  void LoadUserSettings(const std::string& path);
  // The profile row selected in the chooser; none on a category row.
  const Profile* SelectedProfile() const;
  void CopyMediaInfo();
  void OpenHelp();
  struct ToolsAction;
  std::vector<std::pair<std::string_view, ToolsAction>> ToolsActions();
  DialogChooser& Dialogs();
  void FillProfiles(std::optional<int> category);
  void OnProfileRow(int index);
  void OnQuickChoice(int index);
  void ShowAddMenu();
  void OpenFilesDialog();
  void OpenFolderDialog();
  void RemoveSelectedTask();
  void ClearTasks();
  void Log(const std::string& text) const;

  WindowHost host_;
  FFmpegX engine_;
  // The second engine reads the files that rows show, beside the working one.
  FFmpegX thumbEngine_;
  std::unique_ptr<TaskLoop> loop_;
  std::unique_ptr<DiagnosticsLog> log_file_;
  std::unique_ptr<FileIntake> intake_;
  std::unique_ptr<clsTaskBar> taskBar_;
  std::unique_ptr<ctlSysTrayBalloon> tray_;
  MpvOutput playerOutput_;
  int factsRequested_ = 0;
  CatalogueInputs catalogue_;
  bool coreUsable_ = false;

  ctlButton* caption_ = nullptr;
  ctlButton* minimize_ = nullptr;
  ctlButton* maximize_ = nullptr;
  ctlButton* close_ = nullptr;
  ctlButton* addButton_ = nullptr;
  ctlButton* removeButton_ = nullptr;
  ctlButton* clearButton_ = nullptr;
  ctlButton* settingsButton_ = nullptr;
  ctlButton* logButton_ = nullptr;
  ctlButton* resultsButton_ = nullptr;
  ctlButton* profilesButton_ = nullptr;
  ctlButton* avsButton_ = nullptr;
  ctlButton* finishButton_ = nullptr;
  ctlButton* toolsButton_ = nullptr;
  ctlButton* taskTab_ = nullptr;
  ctlButton* fileTab_ = nullptr;
  ctlListbox* tasks_ = nullptr;
  ctlListbox* files_ = nullptr;
  ctlListbox* info_ = nullptr;
  ctlListbox* settingsShort_ = nullptr;
  ctlDSPlayer* player_ = nullptr;
  ctlButton* folder_ = nullptr;
  ctlButton* format_ = nullptr;
  ctlButton* split_[3] = {};
  ctlButton* start_ = nullptr;
  ctlButton* second_ = nullptr;
  ctlButton* formatNote_ = nullptr;
  ctlButton* status_ = nullptr;
  ctlButton* grip_ = nullptr;

  ctlCustomFrame* panelFrame_ = nullptr;
  ctlButton* panelTitle_ = nullptr;
  ctlButton* panelBack_ = nullptr;
  ctlListbox* settingsFull_ = nullptr;
  ctlListbox* log_ = nullptr;
  ctlListbox* results_ = nullptr;
  // Under the results: their copy to another device's folder.
  QWidget* transferBar_ = nullptr;
  ctlButton* transferHead_ = nullptr;
  ctlButton* transferFolder_ = nullptr;
  ctlButton* transferNow_ = nullptr;
  ctlListbox* profiles_ = nullptr;
  ctlListbox* chooser_ = nullptr;
  PanelKind panel_ = PanelKind::None;
  std::optional<int> profileCategory_;

  // Qt's own dialogs unless a test set others.
  DialogChooser* dialogs_ = nullptr;
  QPointer<frmCreateSubtitle> subtitleEditor_;
  QPointer<frmCompare> compare_;

  QStringList queuedFiles_;
  bool ready_ = false;
  std::unique_ptr<clsPrevInstance> cPrevInstance_;
  // Paths of one hand-over, added together as one drop.
  QStringList handedOver_;
  bool formatMore_ = false;
  bool paused_ = false;
  // A task of this run failed: the dock shows it until the run ends.
  bool runFailed_ = false;
  // Selecting the current task during a run must not start its preview.
  bool selectingForRun_ = false;
  bool unloaded_ = false;
  // Rows being filled or shown by the program are no edit of the user's.
  bool fillingRows_ = false;
  int currentTask_ = -1;
};

}  // namespace zel
