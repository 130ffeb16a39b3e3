// The subtitle editor's window: a player, the list of timed entries, the three
// fields of the current entry and the command buttons over SubtitleEditor. The
// window only shows the editor and hands it the player's clock and marks.
#pragma once

#include "jobs/SubtitleEditor.h"
#include "player/MpvSession.h"

#include <QString>
#include <QStringList>
#include <QWidget>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace zel {

class ctlButton;
class ctlDSPlayer;
class ctlListbox;
class ctlSlider;
class DialogChooser;

// What `zel --subtitles [MEDIA [SUBTITLE]]` asks for; nullopt for any other
// command line.
struct SubtitleEditorStart {
  QString media, subtitle;
};
std::optional<SubtitleEditorStart> SubtitleEditorArguments(const QStringList& arguments);

class frmCreateSubtitle : public QWidget, public SubtitleEditorHost {
  Q_OBJECT

 public:
  // With a parent the window is still a window of its own, owned by it.
  explicit frmCreateSubtitle(QWidget* parent = nullptr, MpvOutput output = MpvOutput::Video);
  ~frmCreateSubtitle() override;

  // Answers a question; without one the default answer stands.
  std::function<bool(const QString& question, bool defaultYes)> asker;
  // Shows a message and returns when the user has read it.
  std::function<void(const QString& text)> messenger;
  void SetDialogs(DialogChooser* dialogs) { dialogs_ = dialogs; }

  // Opens and plays a media file; false when the player refused it.
  bool OpenMedia(const QString& path);
  bool OpenSubtitle(const QString& path);
  // False when nothing was written (refused or failed, with a message).
  bool SaveSubtitle(const QString& path);
  void RunCommand(SubtitleEditCommand command);
  // What the play type does with the player standing at `position` seconds.
  void ApplyPlayTick(double position);

  ctlDSPlayer& Player() { return *player_; }
  ctlListbox& Entries() { return *list_; }
  SubtitleEditor& Editor() { return *editor_; }
  // The button of a command; nullptr for a number without one.
  ctlButton* CommandButton(SubtitleEditCommand command);
  ctlButton& MediaButton() { return *media_; }
  ctlButton& OpenButton() { return *open_; }
  ctlButton& SaveButton() { return *save_; }
  ctlButton& UndoButton() { return *undo_; }
  ctlButton& RedoButton() { return *redo_; }
  ctlButton& PlayButton() { return *play_; }
  ctlButton& FieldBox(SubtitleField field) { return *fields_[static_cast<size_t>(field)]; }
  ctlButton& OffsetTypeBox() { return *offsetType_; }
  ctlButton& PlayTypeBox() { return *playType_; }
  ctlSlider& OffsetSlider() { return *offset_; }
  QString SubtitlePath() const { return subtitlePath_; }

  // ---- SubtitleEditorHost ----
  double Position() override;
  void SetMarks(double start, double end) override;
  bool Ask(std::string_view question, bool defaultYes) override;
  void ShowMessage(std::string_view text) override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  // Enter fills the current row's next empty time, unless a field took it.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct CommandButtonEntry {
    SubtitleEditCommand command;
    ctlButton* button;
  };
  void BuildControls();
  void BuildShortcuts();
  void ChooseMedia();
  void ChooseSubtitle();
  bool ChooseSaveFile();
  void TogglePlay();
  void StepHistory(bool back);
  // Shows the editor's fields and what undo and redo can do now.
  void Refresh();
  // Runs a change of the editor, the list's selection echoes unheard, and
  // shows the outcome.
  void Editing(const std::function<void()>& change);

  MpvOutput output_;
  DialogChooser* dialogs_ = nullptr;
  ctlDSPlayer* player_ = nullptr;
  ctlListbox* list_ = nullptr;
  std::unique_ptr<SubtitleEditor> editor_;
  std::vector<CommandButtonEntry> commands_;
  ctlButton *media_ = nullptr, *open_ = nullptr, *save_ = nullptr, *undo_ = nullptr, *redo_ = nullptr,
            *play_ = nullptr, *offsetType_ = nullptr, *playType_ = nullptr;
  std::array<ctlButton*, 3> fields_{};
  ctlSlider* offset_ = nullptr;
  QString subtitlePath_;
  bool editing_ = false;
};

}  // namespace zel
