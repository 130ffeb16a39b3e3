// The tools menu of the main window: each entry is a command by name, with
// when it may be chosen and what it does; the button's menu and
// RunToolsCommand read the same table.
#include "app/frmMain.h"

#include "app/frmCreateSubtitle.h"

#include "base/FileHelpers.h"
#include "base/PathHelpers.h"
#include "controls/DialogChooser.h"
#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "controls/ctlListbox.h"
#include "engine/ProbeService.h"
#include "jobs/FileIntake.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/StartUp.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"

#include <QApplication>
#include <QClipboard>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <string>
#include <vector>

namespace zel {

namespace {

// An entry of the menu; an empty command is a separator.
struct ToolsEntry {
  std::string_view command;
  Text caption;
};

// "codec" and "avs" install a decoder pack and AviSynth on the system the
// program was first written for; nothing here installs either, so they are
// not offered.
constexpr ToolsEntry kToolsMenu[] = {
    {"option", StrToolsOptions},
    {"customized", StrToolsUserSettings},
    {"profileselected", StrToolsApplyProfile},
    {"", ""},
    {"join", StrChooseJoin},
    {"split", StrChooseSplit},
    {"formats", StrChooseFormats},
    {"profiles", StrChooseProfiles},
    {"dontshow", StrToolsShowChooser},
    {"", ""},
    {"avsenable", StrAviSynthButtonOpen},
    {"dvdchoose", StrOpticalDrives},
    {"subtitle", StrSubtitleEditorTitle},
    {"", ""},
    {"copymediainfo", StrToolsCopyMediaInfo},
    {"copylog", StrToolsCopyLog},
    {"cancelprocess", StrToolsCancelTask},
    {"", ""},
    {"reset", StrToolsReset},
    {"home", StrToolsHelp},
    {"exit", StrToolsExit},
};

void ToClipboard(const QString& text) { QGuiApplication::clipboard()->setText(text); }

// The program's README: the installed copy first, then the one of the source
// tree the program was built from.
std::string HelpFile() {
  const std::string installed = QApplication::applicationDirPath().toStdString() + "/../share/doc/zel/README.md";
  if (FileExists(installed)) return installed;
#ifdef ZEL_SOURCE_README
  if (FileExists(ZEL_SOURCE_README)) return ZEL_SOURCE_README;
#endif
  return {};
}

}  // namespace

// What a command needs to be offered now, and what it does.
struct frmMain::ToolsAction {
  std::function<bool()> available;
  std::function<void()> run;
  // The entry's check mark, for the one entry that has one.
  std::function<bool()> checked;
};

std::vector<std::pair<std::string_view, frmMain::ToolsAction>> frmMain::ToolsActions() {
  const auto always = [] { return true; };
  const auto idle = [this] { return !loop_->Running(); };
  const auto quick = [this](int index) { return [this, index] { OnQuickChoice(index); }; };
  return {
      {"option", {always, [this] { ShowPanel(PanelKind::Settings); }, {}}},
      {"customized", {idle, [this] { ShowUserSettingsMenu(); }, {}}},
      {"profileselected",
       {[this] { return !loop_->Running() && SelectedProfile() != nullptr; },
        [this] { OnProfileRow(profiles_->ListIndex()); }, {}}},
      {"join", {idle, quick(0), {}}},
      {"split", {idle, quick(1), {}}},
      {"formats", {idle, quick(2), {}}},
      {"profiles", {idle, quick(3), {}}},
      // A check: on writes ShowTip back to 是, off is the chooser's own "不再显示".
      {"dontshow",
       {always,
        [] {
          if (SettingIsYes("ShowTip")) {
            QuickChooserCommand("dontshow");
          } else {
            WriteSetting("ShowTip", StrYes);
          }
        },
        [] { return SettingIsYes("ShowTip"); }}},
      {"avsenable", {idle, [this] { avsButton_->ClickIt(); }, {}}},
      {"dvdchoose", {idle, [this] { ChooseDisc(); }, {}}},
      {"subtitle", {always, [this] { ShowSubtitleEditor(); }, {}}},
      {"copymediainfo", {[this] { return tasks_->ListIndex() >= 0; }, [this] { CopyMediaInfo(); }, {}}},
      {"copylog",
       {[this] { return log_->ListCount() > 0; },
        [this] {
          QStringList lines;
          for (int i = 0; i < log_->ListCount(); ++i) lines << Q(log_->Model().List(i));
          ToClipboard(lines.join('\n'));
          host_.AddInfo(StrInfoNotice, StrToolsCopied, {});
        },
        {}}},
      {"cancelprocess", {[this] { return loop_->Running(); }, [this] { PressStart(); }, {}}},
      // The reset ends with the window's unload through the host.
      {"reset", {idle, [this] { ResetAllSettings(host_); }, {}}},
      {"home", {always, [this] { OpenHelp(); }, {}}},
      {"exit", {always, [this] { close(); }, {}}},
  };
}

// One editor at a time, owned by the main window and asking through its host.
void frmMain::ShowSubtitleEditor() {
  if (subtitleEditor_ == nullptr) {
    subtitleEditor_ = new frmCreateSubtitle(this, playerOutput_);
    subtitleEditor_->SetDialogs(dialogs_);
    subtitleEditor_->asker = [this](const QString& question, bool defaultYes) {
      return host_.Ask(S(question), defaultYes);
    };
    subtitleEditor_->messenger = [this](const QString& text) { host_.ShowMessage(S(text)); };
  }
  subtitleEditor_->show();
  subtitleEditor_->raise();
}

bool frmMain::RunToolsCommand(std::string_view command) {
  for (auto& [name, action] : ToolsActions()) {
    if (name != command) continue;
    if (!action.available()) return false;
    action.run();
    return true;
  }
  return false;
}

void frmMain::ShowToolsMenu() {
  const auto actions = ToolsActions();
  std::string items, checked, disabled;
  std::vector<std::string_view> commands;
  for (const ToolsEntry& entry : kToolsMenu) {
    const auto* action = [&]() -> const ToolsAction* {
      for (const auto& [name, a] : actions) {
        if (name == entry.command) return &a;
      }
      return nullptr;
    }();
    // The AviSynth entry reads as the button does, "打开" or "关闭".
    const std::string caption = entry.command == "avsenable" ? S(avsButton_->Caption()) : std::string(entry.caption);
    const char* sep = commands.empty() ? "" : "|";
    items += sep + (action == nullptr ? std::string("-") : caption);
    checked += sep + std::string(action != nullptr && action->checked && action->checked() ? "1" : "0");
    disabled += sep + std::string(action != nullptr && !action->available() ? "1" : "0");
    commands.push_back(entry.command);
  }
  const int chosen =
      toolsButton_->PopupMenu(Q(items), -1, Q(checked), Q(disabled), 0, toolsButton_->height());
  if (chosen >= 0 && chosen < static_cast<int>(commands.size())) RunToolsCommand(commands[chosen]);
}

// "保存", "载入", and the user's saved settings by name.
void frmMain::ShowUserSettingsMenu() {
  const std::string folder = UserProfilesFolder();
  const std::vector<std::string> names = ScanUserProfiles(folder);
  std::string items = std::string(StrToolsSaveSettings) + "|" + std::string(StrToolsLoadSettings);
  if (!names.empty()) items += "|-";
  for (const std::string& name : names) items += "|" + name;
  const int chosen = toolsButton_->PopupMenu(Q(items), -1, "0", "0", 0, toolsButton_->height());
  if (chosen == 0) {
    MakedPath(folder);
    const auto file = Dialogs().ChooseSaveFile(this, Q(StrUserSettings), Q(folder + SuggestedProfileName()),
                                               Q(StrToolsProfileFiles));
    if (file) SaveProfile(S(*file), host_);
  } else if (chosen == 1) {
    const auto file = Dialogs().ChooseOpenFile(this, Q(StrUserSettings), Q(folder), Q(StrToolsProfileFiles));
    if (file) LoadUserSettings(S(*file));
  } else if (chosen >= 3 && chosen < 3 + static_cast<int>(names.size())) {
    LoadUserSettings(folder + names[static_cast<size_t>(chosen - 3)] + ".xml");
  }
}

void frmMain::LoadUserSettings(const std::string& path) {
  if (!LoadProfile(path, host_)) return;
  format_->SetCaption(Q(ReadSetting("OutputMode")));
  formatNote_->SetCaption(Q(FormatDescription(ReadSetting("OutputMode"))));
  RebuildSettingRows();
}

const Profile* frmMain::SelectedProfile() const {
  const int row = profiles_->ListIndex();
  if (row < 0) return nullptr;
  const std::string record = profiles_->Model().ListOther(row);
  const size_t comma = record.find(',');
  return comma == std::string::npos ? nullptr : FindProfile(record.substr(comma + 1));
}

void frmMain::ChooseDisc() {
  const std::vector<std::string> drives = OpticalDrives();
  if (drives.empty()) {
    host_.ShowMessage(StrNoOpticalDrive);
    return;
  }
  std::string items(StrOpticalDrives);
  for (const std::string& drive : drives) items += "|    " + drive;
  const int chosen = toolsButton_->PopupMenu(Q(items), -1, "0", "1", 0, toolsButton_->height());
  if (chosen >= 1 && chosen <= static_cast<int>(drives.size())) {
    AddDiscTask(tasks_->Model(), host_, drives[static_cast<size_t>(chosen - 1)]);
  }
}

// The tool's description of the file comes from the probe service, so a file
// not read before costs the window nothing while it is read.
void frmMain::CopyMediaInfo() {
  const int row = tasks_->ListIndex();
  const std::string path = tasks_->Model().PathFromIndex(row);
  const std::string comment = tasks_->Model().ListComment(row);
  const SourceKind kind = SourceKindOf(path);
  if (!coreUsable_ || kind == SourceKind::Subtitle || kind == SourceKind::Disc || !FileExists(path)) {
    ToClipboard(Q(MediaInfoText(path, "", comment)));
    host_.AddInfo(StrInfoNotice, StrToolsCopied, {});
    return;
  }
  const QPointer<frmMain> self(this);
  ProbeService::Instance().RequestProbe(path, engine_.Core(), [self, path, comment](const ProbeFacts& facts) {
    if (!self) return;
    ToClipboard(Q(MediaInfoText(path, facts.toolText, comment)));
    self->host_.AddInfo(StrInfoNotice, StrToolsCopied, {});
  });
}

void frmMain::OpenHelp() {
  const std::string file = HelpFile();
  if (file.empty()) {
    host_.ShowMessage(StrNoHelpFile);
    return;
  }
  host_.OpenUrl(QUrl::fromLocalFile(Q(file)));
}

DialogChooser& frmMain::Dialogs() { return dialogs_ != nullptr ? *dialogs_ : SystemChooser(); }

}  // namespace zel
