#include "app/frmCreateSubtitle.h"

#include "app/WindowParts.h"
#include "base/TextHelpers.h"
#include "controls/ApplyTheme.h"
#include "controls/DialogChooser.h"
#include "controls/Theme.h"
#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "controls/ctlListbox.h"
#include "controls/ctlSlider.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "player/ctlDSPlayer.h"
#include "subtitles/SubtitleCells.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMessageBox>
#include <QShortcut>
#include <QVBoxLayout>

#include <array>
#include <cmath>
#include <utility>

namespace zel {
namespace {

// A button of the command rows: the command, its caption and the keys that
// press it while the video plays. Printable keys and arrows give way to a
// field being edited, which takes them first.
struct CommandSpec {
  SubtitleEditCommand command;
  Text caption;
  std::array<const char*, 2> keys;
};

constexpr CommandSpec kCommands[] = {
    {SubtitleEditCommand::StartFromPlayer, StrSubtitleEditSetStart, {"F5", "["}},
    {SubtitleEditCommand::EndFromPlayer, StrSubtitleEditSetEnd, {"F6", "]"}},
    {SubtitleEditCommand::AutoFill, StrSubtitleEditAutoFill, {"F7", "Enter"}},
    {SubtitleEditCommand::ClearStart, StrSubtitleEditClearStart, {}},
    {SubtitleEditCommand::ClearEnd, StrSubtitleEditClearEnd, {}},
    {SubtitleEditCommand::StartBack, StrSubtitleEditStartBack, {}},
    {SubtitleEditCommand::StartForward, StrSubtitleEditStartForward, {}},
    {SubtitleEditCommand::EndBack, StrSubtitleEditEndBack, {}},
    {SubtitleEditCommand::EndForward, StrSubtitleEditEndForward, {}},
    {SubtitleEditCommand::ShiftRowBack, StrSubtitleEditBlockBack, {}},
    {SubtitleEditCommand::ShiftRowForward, StrSubtitleEditBlockForward, {}},
    {SubtitleEditCommand::ShiftAllBack, StrSubtitleEditAllBack, {}},
    {SubtitleEditCommand::ShiftAllForward, StrSubtitleEditAllForward, {}},
    {SubtitleEditCommand::PreviousRow, StrSubtitleEditPrevious, {"Up", nullptr}},
    {SubtitleEditCommand::NextRow, StrSubtitleEditNext, {"Down", nullptr}},
    {SubtitleEditCommand::AddRow, StrSubtitleEditAdd, {}},
    {SubtitleEditCommand::DeleteRow, StrSubtitleEditDelete, {}},
    {SubtitleEditCommand::ClearRows, StrSubtitleEditClear, {}},
};
constexpr int kCommandColumns = 6;

constexpr std::array<Text, 3> kOffsetTypes{StrSubtitleEditShiftBlock, StrSubtitleEditShiftStart,
                                           StrSubtitleEditShiftEnd};
constexpr std::array<Text, 3> kPlayTypes{StrSubtitleEditLoopRow, StrSubtitleEditPlayAll, StrSubtitleEditLoopAll};
constexpr std::array<Text, 3> kFieldNames{StrSubtitleEditStartField, StrSubtitleEditEndField,
                                          StrSubtitleEditTextField};

QString Joined(const std::array<Text, 3>& items) {
  QStringList parts;
  for (Text item : items) parts << Q(item);
  return parts.join('|');
}

// "字幕格式|*.srt;*.ssa;..." over every type the editor reads and writes.
QString SubtitleFilter() {
  QStringList patterns;
  for (std::string_view extension : kSubtitleExtensions) patterns << "*." + Q(extension);
  return QtFileFilter(Q(StrFilterSubtitle) + "|" + patterns.join(';') + "|" + Q(StrFilterAllFiles) + "|*.*");
}

QString FolderOf(const QString& path) { return QFileInfo(path).absolutePath(); }

}  // namespace

std::optional<SubtitleEditorStart> SubtitleEditorArguments(const QStringList& arguments) {
  if (arguments.isEmpty() || arguments.front() != "--subtitles" || arguments.size() > 3) return std::nullopt;
  SubtitleEditorStart start;
  if (arguments.size() > 1) start.media = QFileInfo(arguments[1]).absoluteFilePath();
  if (arguments.size() > 2) start.subtitle = QFileInfo(arguments[2]).absoluteFilePath();
  // A subtitle alone, as a file manager opens one: no media to play.
  if (arguments.size() == 2 && SubtitleInputType(S(arguments[1])) != kSubtitleUnknown) {
    std::swap(start.media, start.subtitle);
  }
  return start;
}

frmCreateSubtitle::frmCreateSubtitle(QWidget* parent, MpvOutput output) : QWidget(parent), output_(output) {
  setWindowFlag(Qt::Window);
  setAttribute(Qt::WA_DeleteOnClose, false);
  setWindowTitle(Q(StrSubtitleEditorTitle));
  setAccessibleName(Q(StrSubtitleEditorTitle));
  asker = [this](const QString& question, bool defaultYes) {
    return QMessageBox::question(this, Q(StrSubtitleEditorTitle), question, QMessageBox::Yes | QMessageBox::No,
                                 defaultYes ? QMessageBox::Yes : QMessageBox::No) == QMessageBox::Yes;
  };
  messenger = [this](const QString& text) { QMessageBox::information(this, Q(StrSubtitleEditorTitle), text); };
  BuildControls();
  editor_ = std::make_unique<SubtitleEditor>(list_->Model(), *this);
  BuildShortcuts();
  Refresh();
  // The same colours as the main window, drawn by the same controls.
  ApplyTheme(this, ReadThemeSettings());
}

frmCreateSubtitle::~frmCreateSubtitle() = default;

void frmCreateSubtitle::BuildControls() {
  player_ = new ctlDSPlayer(this, output_);
  player_->setAccessibleName(Q(StrSubtitleEditPlayer));
  player_->setMinimumSize(320, 200);
  connect(player_, &ctlDSPlayer::PlaybackUpdate, this, [this](double position, double, int status, double, double) {
    if (status == static_cast<int>(PlayerStatus::Playing)) ApplyPlayTick(position);
  });

  list_ = MakeList(this, StrSubtitleEditList, 26);
  // A row chosen in the list, by pointer or keys; the editor's own moves are
  // shown by the command that made them.
  connect(list_, &ctlListbox::SelectionChanged, this, [this] {
    if (editing_ || list_->ListIndex() < 0) return;
    Editing([this] { editor_->Select(list_->ListIndex()); });
  });

  auto* fieldRow = new QHBoxLayout;
  for (size_t field = 0; field < fields_.size(); ++field) {
    const bool text = field == static_cast<size_t>(SubtitleField::Text);
    fields_[field] = MakeButton(this, "", text ? ButtonMode::FlatField : ButtonMode::FlatLabel);
    fields_[field]->SetTitle(Q(kFieldNames[field]));
    fields_[field]->setAccessibleName(Q(kFieldNames[field]));
    fieldRow->addWidget(fields_[field], text ? 3 : 1);
  }
  connect(fields_[static_cast<size_t>(SubtitleField::Text)], &ctlButton::Change, this, [this] {
    Editing([this] { editor_->EditText(list_->ListIndex(), S(FieldBox(SubtitleField::Text).Caption())); });
  });

  auto* grid = new QGridLayout;
  int slot = 0;
  for (const CommandSpec& spec : kCommands) {
    ctlButton* button = MakeButton(this, spec.caption);
    const SubtitleEditCommand command = spec.command;
    connect(button, &ctlButton::Click, this, [this, command] { RunCommand(command); });
    commands_.push_back({command, button});
    grid->addWidget(button, slot / kCommandColumns, slot % kCommandColumns);
    ++slot;
  }

  media_ = MakeButton(this, StrSubtitleEditMedia);
  connect(media_, &ctlButton::Click, this, &frmCreateSubtitle::ChooseMedia);
  play_ = MakeButton(this, StrSubtitleEditPlayPause);
  connect(play_, &ctlButton::Click, this, &frmCreateSubtitle::TogglePlay);
  open_ = MakeButton(this, StrSubtitleEditOpen);
  connect(open_, &ctlButton::Click, this, &frmCreateSubtitle::ChooseSubtitle);
  save_ = MakeButton(this, StrSubtitleEditSave);
  connect(save_, &ctlButton::Click, this, [this] { ChooseSaveFile(); });
  undo_ = MakeButton(this, StrSubtitleEditUndo);
  connect(undo_, &ctlButton::Click, this, [this] { StepHistory(true); });
  redo_ = MakeButton(this, StrSubtitleEditRedo);
  connect(redo_, &ctlButton::Click, this, [this] { StepHistory(false); });

  offset_ = new ctlSlider(this);
  offset_->setAccessibleName(Q(StrSubtitleEditOffsetSetting));
  offset_->SetMin(1);
  offset_->SetMax(100);
  offset_->SetPrecision(1);
  offset_->SetShowValueTip(true);
  offset_->SetTipString(Q(StrSubtitleEditOffsetSetting));
  offset_->SetTipAddString(Q(StrSubtitleEditOffsetUnit));
  offset_->SetValue(Val(ReadSetting("SubtitleEditOffsetValue")));
  connect(offset_, &ctlSlider::Change, this, [this] {
    WriteSetting("SubtitleEditOffsetValue", std::to_string(static_cast<int>(std::lround(offset_->Value()))));
  });

  const auto choice = [this](Text title, const std::array<Text, 3>& items, std::string_view key) {
    ctlButton* box = MakeButton(this, "", ButtonMode::ComboBox);
    box->SetTitle(Q(title));
    box->setAccessibleName(Q(title));
    box->SetComboBoxItems(Joined(items));
    box->SetCaption(Q(ReadSetting(key)));
    connect(box, &ctlButton::Change, this, [box, key] { WriteSetting(key, S(box->Caption())); });
    return box;
  };
  offsetType_ = choice(StrSubtitleEditOffsetType, kOffsetTypes, "SubtitleEditOffsetType");
  playType_ = choice(StrSubtitleEditPlayType, kPlayTypes, "SubtitleEditPlayType");

  auto* fileRow = new QHBoxLayout;
  for (ctlButton* button : {media_, play_, open_, save_, undo_, redo_}) fileRow->addWidget(button);
  auto* offsetRow = new QHBoxLayout;
  offsetRow->addWidget(offset_, 2);
  offsetRow->addWidget(offsetType_, 1);
  offsetRow->addWidget(playType_, 1);

  // The drawn buttons have no natural height of their own.
  for (ctlButton* field : fields_) field->setFixedHeight(34);
  // A whole time "00:00:00,000" behind its label; the choices' longest entry.
  for (ctlButton* field : {fields_[0], fields_[1]}) field->setMinimumWidth(190);
  for (ctlButton* box : {offsetType_, playType_}) box->setMinimumWidth(200);
  for (const auto& [command, button] : commands_) button->setFixedHeight(28);
  for (ctlButton* button : {media_, play_, open_, save_, undo_, redo_, offsetType_, playType_}) {
    button->setFixedHeight(28);
  }
  offset_->setFixedHeight(28);

  auto* left = new QVBoxLayout;
  left->addWidget(player_, 3);
  left->addLayout(fileRow);
  left->addLayout(fieldRow);
  left->addLayout(grid);
  left->addLayout(offsetRow);
  auto* root = new QHBoxLayout(this);
  root->addLayout(left, 3);
  root->addWidget(list_, 2);
  resize(1000, 640);
}

void frmCreateSubtitle::BuildShortcuts() {
  const auto bind = [this](ctlButton* button, std::initializer_list<const char*> keys) {
    QStringList shown;
    for (const char* key : keys) {
      if (key == nullptr) continue;
      shown << QString::fromLatin1(key);
      // Enter reaches the window through keyPressEvent, after the fields.
      if (std::string_view(key) == "Enter") continue;
      auto* shortcut = new QShortcut(QKeySequence(QString::fromLatin1(key)), this);
      shortcut->setContext(Qt::WindowShortcut);
      connect(shortcut, &QShortcut::activated, button, &ctlButton::ClickIt);
    }
    if (!shown.isEmpty()) button->setToolTip(button->Caption() + "  " + Q(StrSubtitleEditKeys) + shown.join(", "));
  };
  for (size_t i = 0; i < commands_.size(); ++i) bind(commands_[i].button, {kCommands[i].keys[0], kCommands[i].keys[1]});
  bind(play_, {"Space"});
  bind(undo_, {"Ctrl+Z"});
  bind(redo_, {"Ctrl+Y"});
  bind(save_, {"Ctrl+S"});
  bind(open_, {"Ctrl+O"});
  bind(media_, {"Ctrl+M"});
}

ctlButton* frmCreateSubtitle::CommandButton(SubtitleEditCommand command) {
  for (const CommandButtonEntry& entry : commands_) {
    if (entry.command == command) return entry.button;
  }
  return nullptr;
}

void frmCreateSubtitle::Editing(const std::function<void()>& change) {
  const bool outer = !editing_;
  editing_ = true;
  change();
  if (outer) editing_ = false;
  Refresh();
}

void frmCreateSubtitle::RunCommand(SubtitleEditCommand command) {
  Editing([&] { editor_->Run(command); });
}

void frmCreateSubtitle::Refresh() {
  for (size_t field = 0; field < fields_.size(); ++field) {
    fields_[field]->SetCaption(Q(editor_->Field(static_cast<SubtitleField>(field))));
  }
  undo_->SetEnabled(editor_->CanUndo());
  redo_->SetEnabled(editor_->CanRedo());
  list_->update();
}

void frmCreateSubtitle::StepHistory(bool back) {
  Editing([&] { back ? editor_->Undo() : editor_->Redo(); });
}

bool frmCreateSubtitle::OpenMedia(const QString& path) {
  if (!player_->OpenFile(path)) {
    ShowMessage(S(ctlDSPlayer::FailureLines().join('\n')));
    return false;
  }
  player_->Play();
  return true;
}

bool frmCreateSubtitle::OpenSubtitle(const QString& path) {
  bool opened = false;
  Editing([&] { opened = editor_->Open(S(path)); });
  if (opened) subtitlePath_ = path;
  return opened;
}

bool frmCreateSubtitle::SaveSubtitle(const QString& path) {
  if (!editor_->Save(S(path))) return false;
  subtitlePath_ = path;
  return true;
}

void frmCreateSubtitle::ChooseMedia() {
  const auto chosen = (dialogs_ != nullptr ? *dialogs_ : SystemChooser())
                          .ChooseOpenFile(this, Q(StrSubtitleEditMedia), Q(ReadSetting("LastOpenFileFolder")),
                                          QtFileFilter(Q(StrFilterAllFiles) + "|*.*"));
  if (!chosen || chosen->isEmpty()) return;
  WriteSetting("LastOpenFileFolder", S(FolderOf(*chosen)));
  OpenMedia(*chosen);
}

void frmCreateSubtitle::ChooseSubtitle() {
  const auto chosen = (dialogs_ != nullptr ? *dialogs_ : SystemChooser())
                          .ChooseOpenFile(this, Q(StrSubtitleEditOpen), Q(ReadSetting("LastOpenFileFolder")),
                                          SubtitleFilter());
  if (!chosen || chosen->isEmpty()) return;
  WriteSetting("LastOpenFileFolder", S(FolderOf(*chosen)));
  OpenSubtitle(*chosen);
}

// Saving always asks for the name, offering the file last used.
bool frmCreateSubtitle::ChooseSaveFile() {
  const QString suggested = subtitlePath_.isEmpty() ? Q(ReadSetting("LastSaveFileFolder")) + "/subtitle.srt"
                                                    : Q(ReadSetting("LastSaveFileFolder")) + "/" +
                                                          QFileInfo(subtitlePath_).fileName();
  const auto chosen = (dialogs_ != nullptr ? *dialogs_ : SystemChooser())
                          .ChooseSaveFile(this, Q(StrSubtitleEditSave), suggested, SubtitleFilter());
  if (!chosen || chosen->isEmpty()) return false;
  WriteSetting("LastSaveFileFolder", S(FolderOf(*chosen)));
  return SaveSubtitle(*chosen);
}

void frmCreateSubtitle::TogglePlay() {
  const auto status = static_cast<PlayerStatus>(player_->Status());
  if (status == PlayerStatus::Closed) return;
  if (status == PlayerStatus::Playing) {
    player_->SetPause(true);
  } else {
    player_->Play();
  }
}

void frmCreateSubtitle::ApplyPlayTick(double position) {
  const PlayTick tick = DecidePlayTick(SubtitlePlayTypeFromLabel(ReadSetting("SubtitleEditPlayType")), list_->Model(),
                                       list_->ListIndex(), position);
  switch (tick.action) {
    case PlayTickAction::Nothing:
      return;
    case PlayTickAction::SeekToRowStart:
      player_->SetPosition(tick.seconds);
      return;
    case PlayTickAction::SelectNextRow:
      Editing([&] { editor_->Select(tick.row); });
      return;
    case PlayTickAction::SeekToFirstRow:
      Editing([&] { editor_->Select(tick.row); });
      player_->SetPosition(tick.seconds);
      return;
  }
}

double frmCreateSubtitle::Position() { return player_->Position(); }

void frmCreateSubtitle::SetMarks(double start, double end) {
  player_->SetRefresh(false);
  player_->SetSetTagStart(start);
  player_->SetSetTagEnd(end);
  player_->SetRefresh(true);
}

bool frmCreateSubtitle::Ask(std::string_view question, bool defaultYes) {
  return asker ? asker(Q(question), defaultYes) : defaultYes;
}

void frmCreateSubtitle::ShowMessage(std::string_view text) {
  if (messenger) messenger(Q(text));
}

void frmCreateSubtitle::closeEvent(QCloseEvent* event) {
  // A refused or failed save keeps the window, and with it the rows.
  if (editor_->Modified() && Ask(StrSubtitleEditSaveChanges, true) && !ChooseSaveFile()) {
    event->ignore();
    return;
  }
  player_->CloseFile();
  event->accept();
}

void frmCreateSubtitle::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    CommandButton(SubtitleEditCommand::AutoFill)->ClickIt();
    return;
  }
  QWidget::keyPressEvent(event);
}

}  // namespace zel
