// The rows of the settings list, built from the store in a fixed order, and what
// a change in one of them does beyond the store: the logic under the settings
// panel of the settings window and the short set of the main screen.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jobs/EngineSetup.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/MainState.h"

namespace zel {

class ListboxModel;

// How a row is shown and edited.
enum class SettingKind {
  Head,       // a group's caption: label only
  Note,       // a line of advice: label only
  Text,       // free text
  Time,       // a time "00:00:00,000", typed as text
  Choice,     // one of `values`; a typed value off the list stays as it is
  File,       // an open-file dialog with `filter`
  Colour,     // a colour dialog; the row shows "&H" + the stored hexadecimal digits
  Font,       // a font dialog; the eight-field font text
  FontName,   // the names of the installed font families
  Command,    // a click carries it out; no value
  GuideStep,  // a step of the quick guide; a click carries it out
};

// Every member has an initializer, so rows can be written naming only what they set.
struct SettingRow {
  SettingKind kind = SettingKind::Text;
  std::string key{};     // the settings key; "tip1".."tip10" for guide steps; empty for heads and notes
  std::string label{};   // for a guide step with its number: "1、添加文件"
  std::string value{};   // as the row shows it
  std::string values{};  // "|"-separated choices; a leading "|" is an empty first choice
  std::string unit{};    // "s", "%", "ms" or empty, shown behind the value
  std::string filter{};  // file rows: the dialog's filter, "name|patterns|name|patterns"
  std::string note{};    // a hint under the row (a guide step's or head's hint, a warning)
  bool enabled = true;
};

// What the rows are built from besides the store.
struct SettingRowsContext {
  int productKind = kProductGeneral;  // kProductKaraoke adds the karaoke group and the karaoke guide
  ValueLists lists;                   // BuildValueLists of the catalogue
};

// The full set of the settings window (`full`), or the short set of the main
// screen with the quick guide at its end. Values come from `read` (the store
// with its defaults). Rows that depend on settings:
// - the karaoke group stands only with ProductKind 8;
// - with the output format "rmvb" the video codec row offers "RV8|RV10";
// - AdditionalPass1Scripts stands only while Twopass is 是;
// - the AviSynth rows stand only while AVSEnable is 是, a note otherwise;
// - the shortcut rows read "create" or "remove" by whether the shortcut exists;
// - the video, audio and image rows are disabled while the output mode is
//   直接剪切 or 直接合并, whose jobs copy the streams and read none of them.
// The guide's steps are numbered in the order shown, and which steps show
// depends on the mode: a conversion shows tip1..tip7 as 1..7; 直接剪切 leaves
// out tip5 (more settings); 直接合并 leaves out tip3 (cut points) and tip5 and
// adds tip8 (join order) after tip1; the karaoke kind leaves out tip3 and adds
// tip9 (music file) and tip10 (lyric file) after tip1.
std::vector<SettingRow> BuildSettingsRows(bool full, const SettingRowsContext& context, const SettingReader& read);

// True when ShowSetting asks for the short set on the main screen.
bool ShortSetOnMainScreen(const SettingReader& read);

// The kind of a row of free value by the key's name: ...Color a colour,
// ...FontName a font family, ...Font a font text, ...FileName a file, a key
// holding "Time" a time, any other text.
SettingKind KindByKeyForm(std::string_view key);
// The list control's ItemMode for a kind; -1, no editor, for the rows whose
// click the host handles itself (heads, notes, commands, guide steps).
int ItemModeOf(SettingKind kind);
// A word for the kind ("head", "note", "text", "time", "choice", "file",
// "colour", "font", "fontname", "command", "guide").
std::string_view KindName(SettingKind kind);

// Empties the list and adds the rows through AddItem: Key the key, TitleText
// the label, Text the value, ComboBoxItems the choices, ItemMode by the kind,
// ItemEnabled, FileFilter and FileClear (cancelling a file dialog empties the
// row, the one way to drop a file) for file rows, Comment and ShowComment for
// a note, Tag1Text the unit, AddString the kind's word.
void FillSettingsList(ListboxModel& list, const std::vector<SettingRow>& rows);

// The steps of the quick guide; a row's key tells its step.
enum class GuideStep {
  AddFiles,      // tip1
  Preview,       // tip2
  CutPoints,     // tip3
  OutputFolder,  // tip4
  MoreSettings,  // tip5
  Start,         // tip6
  BrowseOutput,  // tip7
  JoinOrder,     // tip8
  MusicFile,     // tip9
  LyricFile,     // tip10
};
std::optional<GuideStep> GuideStepOf(std::string_view key);

// The main player's properties that follow their settings at once.
enum class PlayerProperty {
  TimeJumpValue,        // number: seconds
  SubtitleTimeOffset,   // number: seconds
  ImageTransEffects,    // number: the transition, -2 .. 24; a label off the list gives the default's
  Repeat,               // flag
  ControlSystemVolume,  // flag
  Aspect,               // number: 0 比例缩放, 1 拉伸画面, 2 居中缩放; other text 0
  FontName,             // text
  AllowLoadSubtitle,    // flag
};
struct PlayerSetting {
  PlayerProperty property;
  std::string key;   // the settings key
  std::string text;  // the stored value
  double number = 0;
  bool flag = false;
};

enum class ListLook { SystemScrollBar, ItemFocus };

// What a settings change asks of the window. Each call is one effect.
class SettingsPanelHost {
 public:
  virtual ~SettingsPanelHost() = default;
  // The rows must be built again from the store (BuildSettingsRows).
  virtual void RebuildSettingRows() = 0;
  // One row now shows this value, or this label.
  virtual void ShowRowValue(std::string_view key, std::string_view value) = 0;
  virtual void ShowRowLabel(std::string_view key, std::string_view label) = 0;
  // The caption of the main window's AviSynth button.
  virtual void SetAviSynthButton(std::string_view caption) = 0;
  // The labels of the start and end point fields.
  virtual void SetSplitLabels(std::string_view start, std::string_view end) = 0;
  virtual void SetPlayerProperty(const PlayerSetting& setting) = 0;
  virtual void SetEngineLog(bool on) = 0;
  virtual void SetEngineStatusRefreshInterval(int milliseconds) = 0;
  // Every list of the window takes the look.
  virtual void SetListLook(ListLook look, bool on) = 0;
  // Whether tasks added from now on get a thumbnail.
  virtual void SetTaskThumbnails(bool on) = 0;
  virtual void RunGuideStep(GuideStep step) = 0;
  // A message the user acknowledges.
  virtual void ShowMessage(std::string_view text) = 0;
};

// A row's value changed: stores it at once as it stands (a colour row's "&H"
// form goes back to the store's plain digits), then performs the key's effect.
// A command key (ResetCrop, ResetPad, CreateShortcut1, CreateShortcut2) or a
// guide step is carried out instead and stores nothing.
void ApplySettingChange(std::string_view key, std::string_view value, SettingsPanelHost& host);
// A click on a command row or a guide step: carries it out; false for any
// other key. ResetCrop and ResetPad set their four rows to "0"; the shortcut
// rows create or remove their shortcut, report it and relabel the row.
bool RunSettingCommand(std::string_view key, SettingsPanelHost& host);
// A click on a row's label: the key's default is stored, with the change's
// effect, and returned as the row shows it ("5vbr" for VideoBitrate). A key
// outside the store's table changes nothing and gives "".
std::string RestoreDefault(std::string_view key, SettingsPanelHost& host);
// Performs every effect with the stored value and no rebuild, so that a window
// just built shows what the store holds (captions, labels, player, engine).
void ApplyStoredSettingEffects(const SettingReader& read, SettingsPanelHost& host);

// The program's shortcuts. Desktop: a desktop entry on the user's desktop
// (XDG_DESKTOP_DIR of user-dirs.dirs in $XDG_CONFIG_HOME, else ~/Desktop).
// OpenWith: a desktop entry in $XDG_DATA_HOME/applications that names the
// media types, so that file managers offer the program under "open with".
enum class ShortcutPlace { Desktop, OpenWith };
// With a final "/".
std::string DesktopFolder();
std::string ShortcutPath(ShortcutPlace place);
bool ShortcutExists(ShortcutPlace place);
// The entry that starts `programPath` with the chosen files. Empty when the
// path cannot stand in an entry (a line break in it).
std::string DesktopEntryText(std::string_view programPath, std::string_view name, ShortcutPlace place);
// Written atomically; the desktop's entry is made executable, as desktops
// require of a launcher they trust. False when it cannot be written.
bool CreateShortcut(ShortcutPlace place, std::string_view programPath, std::string_view name);
bool RemoveShortcut(ShortcutPlace place);

}  // namespace zel
