#include "app/frmMain.h"

#include "app/PacedPost.h"
#include "app/WindowParts.h"

#include "base/FileHelpers.h"
#include "base/PathHelpers.h"
#include "base/TextHelpers.h"
#include "controls/ApplyTheme.h"
#include "controls/DialogChooser.h"
#include "controls/QtText.h"
#include "controls/Theme.h"
#include "controls/ctlButton.h"
#include "controls/ctlCustomFrame.h"
#include "controls/ctlListbox.h"
#include "desktop/clsPrevInstance.h"
#include "desktop/clsTaskBar.h"
#include "desktop/ctlSysTrayBalloon.h"
#include "engine/ProbeService.h"
#include "jobs/DiagnosticsLog.h"
#include "jobs/FileIntake.h"
#include "jobs/MainState.h"
#include "jobs/Profiles.h"
#include "jobs/Settings.h"
#include "jobs/StartUp.h"
#include "jobs/Strings.h"
#include "player/PlayerMarks.h"
#include "player/ctlDSPlayer.h"

#include <QApplication>
#include <QBuffer>
#include <QCloseEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QShortcut>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cmath>

namespace zel {
namespace {

constexpr int kThumbWidth = 96;
constexpr int kThumbHeight = 54;
constexpr int kLogRowLimit = 999;

std::string PngBytes(const QImage& image) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return bytes.toStdString();
}

// What the five fields store, in the order of the Start button.
constexpr std::array<std::string_view, 3> kSplitKeys{"SplitTimeStart", "SplitTimeEnd", "SplitPart"};

}  // namespace

frmMain::frmMain(MpvOutput playerOutput, QWidget* parent) : QWidget(parent), playerOutput_(playerOutput) {
  setObjectName("frmMain");
  setWindowFlag(Qt::FramelessWindowHint);
  setWindowTitle(Q(Shared().ProductName));
  setAccessibleName(Q(Shared().ProductName));
  setMinimumSize(900, 600);
  ProbeService::Instance().SetPoster(PostToGui);

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(4);
  BuildCaption();
  BuildToolbar();
  BuildLists();
  BuildFields();

  auto* captionRow = new QHBoxLayout();
  captionRow->setSpacing(0);
  captionRow->addWidget(caption_, 1);
  for (ctlButton* b : {minimize_, maximize_, close_}) captionRow->addWidget(b);
  column->addLayout(captionRow);

  auto* toolbar = new QHBoxLayout();
  toolbar->setContentsMargins(8, 0, 8, 0);
  for (ctlButton* b : {addButton_, removeButton_, clearButton_, settingsButton_, logButton_, resultsButton_,
                       profilesButton_, avsButton_, finishButton_}) {
    toolbar->addWidget(b);
  }
  toolbar->addStretch(1);
  toolbar->addWidget(toolsButton_);
  column->addLayout(toolbar);

  auto* middle = new QHBoxLayout();
  middle->setContentsMargins(8, 0, 8, 0);
  auto* left = new QVBoxLayout();
  auto* tabs = new QHBoxLayout();
  tabs->addWidget(taskTab_);
  tabs->addWidget(fileTab_);
  tabs->addStretch(1);
  left->addLayout(tabs);
  left->addWidget(tasks_, 1);
  left->addWidget(files_, 1);
  middle->addLayout(left, 5);
  auto* right = new QVBoxLayout();
  right->addWidget(player_, 3);
  right->addWidget(settingsShort_, 2);
  middle->addLayout(right, 4);
  column->addLayout(middle, 1);

  auto* fields = new QHBoxLayout();
  fields->setContentsMargins(8, 0, 8, 0);
  fields->addWidget(folder_, 3);
  fields->addWidget(format_, 2);
  for (ctlButton* b : split_) fields->addWidget(b, 2);
  fields->addWidget(start_);
  fields->addWidget(second_);
  column->addLayout(fields);
  auto* note = new QHBoxLayout();
  note->setContentsMargins(8, 0, 8, 0);
  note->addWidget(formatNote_);
  column->addLayout(note);
  auto* infoRow = new QHBoxLayout();
  infoRow->setContentsMargins(8, 0, 8, 0);
  infoRow->addWidget(info_);
  column->addLayout(infoRow);

  auto* statusRow = new QHBoxLayout();
  statusRow->setContentsMargins(8, 0, 0, 0);
  statusRow->addWidget(status_, 1);
  statusRow->addWidget(grip_);
  column->addLayout(statusRow);

  BuildPanel();
  ConnectHost();
  ConnectPlayer();
  BuildDesktop();
  setAcceptDrops(true);
  // F3 searches the web for the selected task, wherever the focus is.
  auto* search = new QShortcut(QKeySequence(Qt::Key_F3), this);
  connect(search, &QShortcut::activated, this, [this] {
    const int row = tasks_->ListIndex();
    if (row < 0) return;
    const std::string url = SearchUrl(SearchEngines().front().name, tasks_->Model().PathFromIndex(row));
    if (!url.empty()) host_.OpenUrl(QUrl(Q(url)));
  });

  loop_ = std::make_unique<TaskLoop>(engine_, tasks_->Model(), host_, [](std::string_view key) {
    return ReadSetting(key);
  });
  loop_->Info().StatusCaption = [this](const std::string& caption) { status_->SetCaption(Q(caption)); };
  loop_->Info().LineReplaced = [this](const std::string& line) {
    const int last = info_->ListCount() - 1;
    if (last >= 0) info_->Model().SetList(last, line);
  };

  intake_ = std::make_unique<FileIntake>(tasks_->Model(), host_, PostToGui);
  intake_->ProgressText = [this](const std::string& text) { status_->SetCaption(Q(text)); };
  intake_->SearchCount = [this](size_t found) {
    status_->SetCaption(Q(std::string(StrAddFolder) + ": " + std::to_string(found)));
  };
  intake_->SearchEnded = [this](size_t, bool) { status_->SetCaption(Q(StrWindowIdle)); };
  connect(tasks_, &ctlListbox::ListChanged, this, &frmMain::RequestNewRowFacts);
}

frmMain::~frmMain() { ProbeService::Instance().SetPoster({}); }

void frmMain::BuildCaption() {
  caption_ = MakeButton(this, Shared().ProductName, ButtonMode::FlatLabel);
  caption_->SetCaptionBar(true);
  caption_->setFixedHeight(30);
  minimize_ = MakeButton(this, StrButtonMinimize);
  maximize_ = MakeButton(this, StrButtonMaximize);
  close_ = MakeButton(this, StrButtonClose);
  const std::array<std::pair<ctlButton*, const char*>, 3> glyphs{
      {{minimize_, "—"}, {maximize_, "□"}, {close_, "×"}}};
  for (const auto& [button, glyph] : glyphs) {
    button->SetCaption(QString::fromUtf8(glyph));
    button->setFixedSize(40, 30);
  }
  connect(minimize_, &ctlButton::Click, this, &QWidget::showMinimized);
  connect(maximize_, &ctlButton::Click, this, [this] { isMaximized() ? showNormal() : showMaximized(); });
  connect(close_, &ctlButton::Click, this, &QWidget::close);
  connect(caption_, &ctlButton::DblClick, this, [this] { isMaximized() ? showNormal() : showMaximized(); });
}

void frmMain::BuildToolbar() {
  addButton_ = MakeButton(this, StrButtonAddFiles);
  addButton_->SetShowDropDownSymbol(true);
  removeButton_ = MakeButton(this, StrRemoveRow);
  clearButton_ = MakeButton(this, StrClearList);
  settingsButton_ = MakeButton(this, StrButtonSettings);
  logButton_ = MakeButton(this, StrButtonLog);
  resultsButton_ = MakeButton(this, StrButtonResults);
  profilesButton_ = MakeButton(this, StrButtonProfiles);
  avsButton_ = MakeButton(this, StrAviSynthButtonOpen);
  finishButton_ = MakeButton(this, StrFinishMenuButton);
  finishButton_->SetShowDropDownSymbol(true);
  toolsButton_ = MakeButton(this, StrButtonTools);
  toolsButton_->SetShowDropDownSymbol(true);
  for (ctlButton* b : {addButton_, removeButton_, clearButton_, settingsButton_, logButton_, resultsButton_,
                       profilesButton_, avsButton_, finishButton_, toolsButton_}) {
    b->setFixedHeight(28);
    b->setMinimumWidth(72);
  }
  avsButton_->setMinimumWidth(120);
  finishButton_->setMinimumWidth(120);
  connect(finishButton_, &ctlButton::Click, this, &frmMain::ShowFinishMenu);
  connect(toolsButton_, &ctlButton::Click, this, &frmMain::ShowToolsMenu);
  connect(addButton_, &ctlButton::Click, this, &frmMain::ShowAddMenu);
  connect(removeButton_, &ctlButton::Click, this, &frmMain::RemoveSelectedTask);
  connect(clearButton_, &ctlButton::Click, this, &frmMain::ClearTasks);
  connect(avsButton_, &ctlButton::Click, this,
          [this] { ApplySettingChange("AVSEnable", SettingIsYes("AVSEnable") ? StrNo : StrYes, *this); });
  const std::array<std::pair<ctlButton*, PanelKind>, 4> panels{{{settingsButton_, PanelKind::Settings},
                                                                {logButton_, PanelKind::Log},
                                                                {resultsButton_, PanelKind::Results},
                                                                {profilesButton_, PanelKind::Profiles}}};
  for (const auto& [button, kind] : panels) {
    connect(button, &ctlButton::Click, this, [this, kind = kind] { ShowPanel(panel_ == kind ? PanelKind::None : kind); });
  }
}

void frmMain::BuildLists() {
  taskTab_ = MakeButton(this, StrTaskListTitle, ButtonMode::Radio);
  fileTab_ = MakeButton(this, StrFileListTitle, ButtonMode::Radio);
  taskTab_->SetChecked(true);
  for (ctlButton* b : {taskTab_, fileTab_}) b->setFixedSize(110, 26);

  tasks_ = MakeList(this, StrTaskListTitle, 64);
  tasks_->SetDefaultNullListText(Q(StrWindowDropHere));
  tasks_->SetEditable(false);
  tasks_->SetShowListIndexInTitle(true);
  files_ = MakeList(this, StrFileListTitle, 64);
  files_->SetDefaultNullListText(Q(StrWindowDropHere));
  files_->SetEditable(false);
  files_->hide();
  connect(taskTab_, &ctlButton::Click, this, [this] {
    files_->hide();
    tasks_->show();
  });
  connect(fileTab_, &ctlButton::Click, this, [this] {
    tasks_->hide();
    files_->show();
  });
  connect(tasks_, &ctlListbox::SelectionChanged, this, &frmMain::OnTaskSelected);
  connect(tasks_, &ctlListbox::KeyDown, this, [this](int key, int) {
    if (key == Qt::Key_Delete) RemoveSelectedTask();
  });

  info_ = MakeList(this, StrWindowInfoList, 22);
  info_->setFixedHeight(96);
  info_->SetEditable(false);
  info_->SetShowGridLine(false);

  settingsShort_ = MakeList(this, StrButtonSettings, 26);
  settingsShort_->SetTitleWidth(110);
  ConnectSettingsList(settingsShort_);

  player_ = new ctlDSPlayer(this, playerOutput_);
  player_->setObjectName("ctlDSPlayer1");
  player_->setAccessibleName(Q(StrPreviewPlayerName));
  player_->setMinimumSize(320, 200);
  player_->SetOLEDropMode(1);
}

void frmMain::BuildFields() {
  folder_ = MakeButton(this, StrFieldOutputFolder, ButtonMode::FolderField);
  folder_->SetTitle(Q(StrFieldOutputFolder));
  folder_->SetCaptionNullText(Q(StrFieldOutputFolderNull));
  format_ = MakeButton(this, StrFieldFormat, ButtonMode::ComboBox);
  format_->SetTitle(Q(StrFieldFormat));
  const std::array<Text, 3> labels{StrStartPoint, StrEndPoint, StrPartsCount};
  for (int slot = 0; slot < 3; ++slot) {
    split_[slot] = MakeButton(this, labels[slot], ButtonMode::FlatField);
    split_[slot]->SetTitle(Q(labels[slot]));
    connect(split_[slot], &ctlButton::ChangeFinished, this,
            [this, slot] { EditSplitField(slot, split_[slot]->Caption()); });
  }
  start_ = MakeButton(this, StrButtonStart);
  start_->setFixedSize(96, 34);
  second_ = MakeButton(this, StrButtonAddFiles);
  second_->setFixedSize(96, 34);
  formatNote_ = MakeButton(this, "", ButtonMode::FlatLabel);
  formatNote_->setAccessibleName(Q(StrFormatNote));
  formatNote_->setFixedHeight(20);
  status_ = MakeButton(this, StrWindowIdle, ButtonMode::FlatLabel);
  status_->setAccessibleName(Q(StrStatusField));
  status_->setFixedHeight(24);
  grip_ = MakeButton(this, "", ButtonMode::FlatLabel);
  grip_->setAccessibleName(Q(StrSizeGrip));
  grip_->SetCaptionBar(true);
  grip_->SetStatusBarResize(true);
  grip_->setFixedSize(24, 24);
  for (ctlButton* b : {folder_, format_, split_[0], split_[1], split_[2]}) b->setFixedHeight(34);

  connect(start_, &ctlButton::Click, this, &frmMain::PressStart);
  connect(second_, &ctlButton::Click, this, &frmMain::PressSecond);
  connect(folder_, &ctlButton::Change, this, [this] { WriteSetting("OutputFolder", S(folder_->Caption())); });
  connect(format_, &ctlButton::Change, this, [this] { ChooseFormat(format_->Caption()); });
}

void frmMain::BuildPanel() {
  panelFrame_ = new ctlCustomFrame(this);
  panelFrame_->setObjectName("picInfo");
  panelFrame_->SetFrameType(4);
  auto* column = new QVBoxLayout(panelFrame_);
  column->setContentsMargins(4, 4, 4, 4);
  auto* head = new QHBoxLayout();
  panelTitle_ = MakeButton(panelFrame_, "", ButtonMode::FlatLabel);
  panelTitle_->setAccessibleName(Q(StrPanelSettings));
  panelBack_ = MakeButton(panelFrame_, StrButtonBack);
  panelBack_->setFixedSize(72, 26);
  head->addWidget(panelTitle_, 1);
  head->addWidget(panelBack_);
  column->addLayout(head);
  settingsFull_ = MakeList(panelFrame_, StrPanelSettings, 26);
  settingsFull_->SetTitleWidth(140);
  ConnectSettingsList(settingsFull_);
  log_ = MakeList(panelFrame_, StrPanelLog, 20);
  log_->SetEditable(false);
  results_ = MakeList(panelFrame_, StrPanelResults, 24);
  results_->SetEditable(false);
  profiles_ = MakeList(panelFrame_, StrPanelProfiles, 28);
  profiles_->SetEditable(false);
  chooser_ = MakeList(panelFrame_, StrChooseProfiles, 32);
  chooser_->SetEditable(false);
  results_->SetListTitle(Q(StrTransferListTitle));
  results_->SetDefaultNullListText(Q(StrNoFilesMade));
  for (ctlListbox* list : {settingsFull_, log_, results_, profiles_, chooser_}) {
    column->addWidget(list, 1);
    list->hide();
  }
  transferBar_ = new QWidget(panelFrame_);
  auto* transfer = new QGridLayout(transferBar_);
  transfer->setContentsMargins(0, 4, 0, 0);
  transferHead_ = MakeButton(transferBar_, StrTransferPanelHead, ButtonMode::FlatLabel);
  transferFolder_ = MakeButton(transferBar_, StrTransferChooseFolder, ButtonMode::FolderField);
  transferFolder_->SetTitle(Q(StrTransferChooseFolder));
  transferFolder_->setFixedHeight(28);
  transferNow_ = MakeButton(transferBar_, StrTransferNow);
  transferNow_->setFixedSize(96, 28);
  transfer->addWidget(transferHead_, 0, 0, 1, 2);
  transfer->addWidget(transferFolder_, 1, 0);
  transfer->addWidget(transferNow_, 1, 1);
  column->addWidget(transferBar_);
  transferBar_->hide();
  connect(transferFolder_, &ctlButton::Change, this,
          [this] { WriteSetting("TransferFilesPath", S(transferFolder_->Caption())); });
  connect(transferNow_, &ctlButton::Click, this, &frmMain::CopyResultsToDevice);
  panelFrame_->hide();
  connect(panelBack_, &ctlButton::Click, this, [this] { ShowPanel(PanelKind::None); });
  connect(profiles_, &ctlListbox::DblClick, this, [this] { OnProfileRow(profiles_->ListIndex()); });
  connect(profiles_, &ctlListbox::MouseUp, this, [this](int button, int, int, int, int) {
    if (button == 2 && profileCategory_) FillProfiles(std::nullopt);
  });
  connect(chooser_, &ctlListbox::Click, this, [this] { OnQuickChoice(chooser_->ListIndex()); });
  connect(results_, &ctlListbox::MouseUp, this, [this](int button, int, int, int, int) {
    if (button == 2) ShowResultsMenu();
  });
  connect(results_, &ctlListbox::DblClick, this, [this] {
    const int row = results_->ListIndex();
    if (row >= 0) ctlButton::ShellOpen(Q(results_->Model().PathFromIndex(row)));
  });
}

void frmMain::ConnectHost() {
  host_.asker = [this](const QString& question, bool defaultYes) {
    const auto answer = QMessageBox::question(this, Q(Shared().ProductName), question,
                                              QMessageBox::Yes | QMessageBox::No,
                                              defaultYes ? QMessageBox::Yes : QMessageBox::No);
    return answer == QMessageBox::Yes;
  };
  host_.messenger = [this](const QString& text) { QMessageBox::information(this, Q(Shared().ProductName), text); };
  connect(&host_, &WindowHost::InfoAdded, this, [this](const QString& category, const QString& message,
                                                       const QString& tag) {
    // The information list keeps a thousand lines, as the run's own list does.
    if (info_->ListCount() > 1000) info_->Clear();
    ListItem item;
    item.Text = S(message.isEmpty() ? category : category + " | " + message);
    item.Key = S(tag);
    info_->AddItem(item);
    info_->SetListIndex(info_->ListCount() - 1);
  });
  connect(&host_, &WindowHost::FormatFieldChanged, this, [this](const QString& format) {
    format_->SetCaption(format);
    formatNote_->SetCaption(Q(FormatDescription(S(format))));
  });
  connect(&host_, &WindowHost::SettingRowsStale, this, &frmMain::RebuildSettingRows);
  connect(&host_, &WindowHost::UnloadRequested, this, [this] {
    Shared().ExitNow = true;
    close();
  });
  connect(&host_, &WindowHost::TaskSelected, this, [this](int index) {
    currentTask_ = index;
    selectingForRun_ = true;
    tasks_->SetListIndex(index);
    selectingForRun_ = false;
  });
  connect(&host_, &WindowHost::RunningLookChanged, this, &frmMain::OnRunningLook);
  connect(&host_, &WindowHost::StartButtonChanged, this, [this](const QString& caption, const QString&) {
    start_->SetCaption(caption);
    start_->setAccessibleName(caption);
  });
  connect(&host_, &WindowHost::StatusTextChanged, this,
          [this](const QString& text) { status_->SetCaption(text.isEmpty() ? Q(StrWindowIdle) : text); });
  connect(&host_, &WindowHost::ProgressChanged, this, &frmMain::OnProgress);
  connect(&host_, &WindowHost::TitleChanged, this, [this](const QString& title) {
    // The routing makes each title differ by a NUL and a number after it.
    const QString shown = title.section(QChar(0), 0, 0);
    setWindowTitle(shown.isEmpty() ? Q(Shared().ProductName) : shown);
    caption_->SetCaption(windowTitle());
  });
  connect(&host_, &WindowHost::LogLineAdded, this, &frmMain::AddLogLine);
  connect(&host_, &WindowHost::LogPanelWanted, this, [this] { ShowPanel(PanelKind::Log); });
  connect(&host_, &WindowHost::ResultPanelWanted, this, [this] { ShowPanel(PanelKind::Results); });
}

void frmMain::ConnectPlayer() {
  connect(player_, &ctlDSPlayer::TagsChanged, this, &frmMain::OnPlayerMarks);
  connect(player_, &ctlDSPlayer::OLEDragDrop, this, [this](const QStringList& files, int, int, int, int, int) {
    if (files.isEmpty()) return;
    if (SettingIsYes("MediaPlayNow") && !loop_->Running()) {
      if (player_->OpenFile(files.front())) player_->Play();
      return;
    }
    DropFiles(files);
  });
}

// ---- Start-up and shut-down ----

void frmMain::Log(const std::string& text) const {
  if (log_file_) log_file_->Write(text);
}

void frmMain::FormLoad(const QStringList& commandLineFiles) {
  log_file_ = std::make_unique<DiagnosticsLog>(Shared().ProgramPath);
  setWindowTitle(Q(Shared().ProductName));
  caption_->SetCaption(windowTitle());
  queuedFiles_ = commandLineFiles;
  Log("----- Form Load -----");
  Log("锁定窗体");
  Log("禁止刷新控件");
  setUpdatesEnabled(false);
  Log("初始化 PrevInstance");
  if (cPrevInstance_) {
    connect(cPrevInstance_.get(), &clsPrevInstance::PrevInstancePath, this, [this](const QString& path) {
      clsPrevInstance::ShowForm(this);
      if (path.isEmpty()) return;
      // A drop stops the scan of the drop before: one hand-over is one drop.
      handedOver_ << path;
      if (handedOver_.size() == 1) QTimer::singleShot(0, this, [this] { DropFiles(std::exchange(handedOver_, {})); });
    });
  }
  Log("主界面位置");
  RestoreGeometry();

  Log("FFmpegX1 引擎初始化，核心是否存在？");
  coreUsable_ = InitialiseEngine(engine_, host_);
  if (coreUsable_) thumbEngine_.SetCore(engine_.Core());
  // The loop is made with the window, before the start-up has found the tools.
  loop_->tools = SharedTools();
  for (const std::string& line : ToolCredits(engine_)) host_.AddInfo(StrAboutTools, line, {});
  loop_->aviSynthUsable = DetectAviSynth(engine_, host_);
  loop_->karaokeProduct = Shared().ProductKind == kProductKaraoke;

  Log("输出格式 初始化");
  catalogue_.ffmpegUsable = coreUsable_;
  catalogue_.formats = engine_.CoreFormats();
  catalogue_.video = engine_.CoreVideoCodec();
  catalogue_.audio = engine_.CoreAudioCodec();
  catalogue_.subtitle = engine_.CoreSubtitleCodec();
  catalogue_.producerPresent = FileExists(Shared().ToolProducer);
  catalogue_.mencoderPresent = FileExists(Shared().ToolMencoder);
  FillFormatField(false);
  format_->SetCaption(Q(ReadSetting("OutputMode")));
  formatNote_->SetCaption(Q(FormatDescription(ReadSetting("OutputMode"))));

  for (const char* step : {"默认设置 初始化", "文件拖放 初始化", "子类及菜单 初始化", "任务栏功能 初始化",
                           "芯片占用监测 初始化", "菜单 初始化", "载入用户设置文件"}) {
    Log(step);
  }
  folder_->SetCaption(Q(ReadSetting("OutputFolder")));
  for (int slot = 0; slot < 3; ++slot) split_[slot]->SetCaption(Q(ReadSetting(kSplitKeys[slot])));

  Log("播放器控件 初始化");
  Log("Slider控件 初始化");
  Log("按钮控件 初始化");
  Log("列表控件 初始化");
  ApplyStoredSettingEffects([](std::string_view key) { return ReadSetting(key); }, *this);
  Log("主界面设置栏初始化");
  RebuildSettingRows();

  Log("显示初始化信息");
  Log("系统栏图标 初始化");
  AddTrayIcon();
  Log("控件前端顺序设置");
  Log("界面主题 初始化");
  ApplyTheme();
  Log("控件位置及大小调整");
  setUpdatesEnabled(true);

  Log("----- Me Show -----");
  show();
  Log("界面主题 初始化 - 再次刷新");
  update();

  Log("LoadOver, Reset LoadTime, Set StartUpTime");
  log_file_->Restart();
  Log("PrevInstance Ready");
  ready_ = true;
  if (!queuedFiles_.isEmpty()) {
    const QStringList files = std::exchange(queuedFiles_, {});
    DropFiles(files);
  }
  if (cPrevInstance_) cPrevInstance_->SetReady(true);
  if (SettingIsYes("ShowTip")) {
    Log("显示 快速选择 窗口");
    ShowPanel(PanelKind::QuickChooser);
  }
  Log("程序载入全部结束");
}

void frmMain::AdoptPrevInstance(std::unique_ptr<clsPrevInstance> instance) {
  cPrevInstance_ = std::move(instance);
}

void frmMain::RestoreGeometry() {
  const auto number = [](std::string_view key) { return Val(ReadSetting(key)); };
  const int width = static_cast<int>(number("WindowWidth"));
  const int height = static_cast<int>(number("WindowHeight"));
  QSize size(width >= minimumWidth() ? width : 1100, height >= minimumHeight() ? height : 720);
  if (const QScreen* screen = QGuiApplication::primaryScreen()) {
    size = size.boundedTo(screen->availableGeometry().size()).expandedTo(minimumSize());
  }
  resize(size);
  const QPoint at(static_cast<int>(number("WindowPosX")), static_cast<int>(number("WindowPosY")));
  // A place off every screen (a monitor unplugged since) is not kept.
  if (QGuiApplication::screenAt(at + QPoint(40, 15)) != nullptr) move(at);
  if (ReadSetting("WindowState") == "2") setWindowState(Qt::WindowMaximized);
}

void frmMain::SaveGeometry() {
  const QRect place = normalGeometry().isValid() ? normalGeometry() : geometry();
  WriteSetting("WindowPosX", std::to_string(place.x()));
  WriteSetting("WindowPosY", std::to_string(place.y()));
  WriteSetting("WindowWidth", std::to_string(place.width()));
  WriteSetting("WindowHeight", std::to_string(place.height()));
  WriteSetting("WindowState", isMaximized() ? "2" : isMinimized() ? "1" : "0");
}

bool frmMain::QueryUnload() {
  const bool exitNow = Shared().ExitNow;
  auto condition = [this](std::string_view name, bool value) {
    Log(std::string("条件 '") + std::string(name) + "': " + (value ? "True" : "False"));
    if (value) Log(std::string("-> 条件 '") + std::string(name) + "': True");
    return value;
  };
  if (condition("picInfo.Visible", panel_ != PanelKind::None && !exitNow)) {
    ShowPanel(PanelKind::None);
    return false;
  }
  if (condition("FFmpegX1.Processing", engine_.Processing() || loop_->Running())) {
    host_.ShowMessage(StrCancelJobBeforeQuit);
    return false;
  }
  if (condition("ExitNow = False", !exitNow)) {
    CancelFileSearches();
    if (intake_->Scanning()) intake_->CancelScan();
    player_->CloseFile();
  }
  return true;
}

void frmMain::closeEvent(QCloseEvent* event) {
  if (unloaded_) {
    event->accept();
    return;
  }
  if (!QueryUnload()) {
    event->ignore();
    return;
  }
  SaveGeometry();
  Unload();
  event->accept();
}

void frmMain::Unload() {
  unloaded_ = true;
  for (const char* step : {"----- Form Unload -----", "释放资源: Profiles", "释放资源: BackPicture",
                           "释放资源: TrayIcon", "释放资源: CPUUsage", "释放资源: PrevInstance",
                           "释放资源: TaskBar", "释放资源: SysTrayIcon", "释放资源: 子类及菜单"}) {
    Log(step);
    ReleaseDesktop(step);
  }
  // From here a start becomes the first copy rather than hand over to this one.
  cPrevInstance_.reset();
  Log("枚举窗体并关闭");
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window != this && window->isVisible()) window->close();
  }
  Log("再见");
}

// ---- The five fields and the Start button ----

void frmMain::FillFormatField(bool more) {
  formatMore_ = more;
  std::string items = more ? BuildFormatListMore(catalogue_) : BuildFormatListMain(catalogue_);
  if (more) items += "|-|" + std::string(StrBackOneLevel);
  format_->SetComboBoxItems(Q(items));
}

void frmMain::ChooseFormat(const QString& format) {
  const std::string chosen = S(format);
  if (chosen == StrMoreFormats) {
    FillFormatField(true);
    format_->SetCaption(Q(ReadSetting("OutputMode")));
    QTimer::singleShot(0, format_, [this] { format_->ClickIt(); });
    return;
  }
  if (chosen == StrBackOneLevel) {
    FillFormatField(false);
    format_->SetCaption(Q(ReadSetting("OutputMode")));
    return;
  }
  if (chosen.empty() || chosen == "-") return;
  WriteSetting("OutputMode", chosen);
  format_->SetCaption(format);
  formatNote_->SetCaption(Q(FormatDescription(chosen)));
  if (chosen != StrDirectCut && chosen != StrDirectJoin) {
    if (ResetSetting(true, engine_.CoreVideoCodec(), engine_.CoreAudioCodec(), host_)) RebuildSettingRows();
  }
}

void frmMain::EditSplitField(int slot, const QString& text) {
  if (slot < 0 || slot > 2) return;
  split_[slot]->SetCaption(text);
  WriteSetting(kSplitKeys[slot], S(text));
  WriteCutToSelectedTask(tasks_->Model(), S(player_->Filename()), S(split_[0]->Caption()),
                         S(split_[1]->Caption()), S(split_[2]->Caption()));
}

void frmMain::PressStart() {
  if (engine_.Processing() || loop_->Running()) {
    if (host_.Ask(StrCancelRunQuestion, false)) {
      paused_ = false;
      loop_->Cancel();
    }
    return;
  }
  if (intake_->Scanning()) intake_->CancelScan();
  WriteSetting("OutputFolder", S(folder_->Caption()));
  WriteSetting("OutputMode", S(format_->Caption()));
  for (int slot = 0; slot < 3; ++slot) WriteSetting(kSplitKeys[slot], S(split_[slot]->Caption()));
  CheckContext context;
  context.showingTaskList = tasks_->isVisible() || files_->isHidden();
  context.karaokeJob = Shared().ProductKind == kProductKaraoke;
  context.aviSynthUsable = loop_->aviSynthUsable;
  info_->Clear();
  if (!loop_->CheckTasks(context)) return;
  player_->CloseFile();
  // The run ends with its ConvertFinished action.
  loop_->RunTasks();
  FillResults();
}

void frmMain::PressSecond() {
  if (!loop_->Running()) {
    ShowAddMenu();
    return;
  }
  // A transfer of files has nothing to pause: its button cancels it all.
  if (second_->Caption() == Q(StrButtonCancelAll)) {
    loop_->Cancel();
    return;
  }
  paused_ = !paused_;
  if (paused_) {
    engine_.SuspendApp();
  } else {
    engine_.ResumeApp();
  }
  second_->SetCaption(Q(paused_ ? StrButtonResume : StrButtonPause));
  second_->setAccessibleName(second_->Caption());
  taskBar_->SetProgressState(RunTaskbarState());
}

void frmMain::OnRunningLook(bool running) {
  paused_ = false;
  ShowRunLookOnTaskbar(running);
  second_->SetCaption(Q(running ? StrButtonPause : StrButtonAddFiles));
  second_->setAccessibleName(second_->Caption());
  for (ctlButton* b : {addButton_, removeButton_, clearButton_, folder_, format_, split_[0], split_[1], split_[2]}) {
    b->SetEnabled(!running);
  }
  settingsShort_->SetEnabled(!running);
  if (!running) {
    status_->SetValue(0);
    status_->SetMax(0);
    setWindowTitle(Q(Shared().ProductName));
    caption_->SetCaption(windowTitle());
  }
}

void frmMain::OnProgress(int value, int max) {
  status_->SetMax(max);
  status_->SetValue(max > 0 ? value : 0);
  ShowRunOnTaskbar(value, max);
  ListboxModel& rows = tasks_->Model();
  if (currentTask_ < 0 || currentTask_ >= rows.ListCount()) return;
  if (max > 0) {
    rows.SetShowProgressBar(currentTask_, true);
    rows.SetValueMax(currentTask_, max);
    rows.SetValue(currentTask_, value);
  }
}

// ---- Rows ----

void frmMain::DropFiles(const QStringList& paths) {
  if (!ready_) {
    queuedFiles_ << paths;
    return;
  }
  if (loop_->Running()) return;
  std::vector<std::string> list;
  for (const QString& path : paths) list.push_back(S(path));
  intake_->DropFiles(list);
  if (!intake_->Scanning()) status_->SetCaption(Q(StrWindowIdle));
}

void frmMain::RequestNewRowFacts() {
  const ListboxModel& rows = tasks_->Model();
  // Rows are only ever appended, so a shorter list means rows went away.
  factsRequested_ = std::min(factsRequested_, rows.ListCount());
  for (; factsRequested_ < rows.ListCount(); ++factsRequested_) {
    FillRowFacts(rows.ListKey(factsRequested_), rows.PathFromIndex(factsRequested_));
  }
}

void frmMain::FillRowFacts(const std::string& key, const std::string& path) {
  if (!SettingIsYes("CheckMediaInfo")) return;
  const QPointer<frmMain> self(this);
  const SourceKind kind = SourceKindOf(path);
  if (kind == SourceKind::Video || kind == SourceKind::Image) {
    ProbeService::Instance().RequestThumbnail(path, QSize(kThumbWidth, kThumbHeight), [self, key](const QImage& image) {
      if (!self || image.isNull()) return;
      ListboxModel& rows = self->tasks_->Model();
      const int row = rows.ListIndexFromKey(key);
      if (row >= 0) rows.SetListImage(row, PngBytes(image));
    });
  }
  if (!coreUsable_ || kind == SourceKind::Subtitle || kind == SourceKind::Disc) return;
  ProbeService::Instance().RequestProbe(path, engine_.Core(), [self, key, path](const ProbeFacts&) {
    if (!self) return;
    ListboxModel& rows = self->tasks_->Model();
    const int row = rows.ListIndexFromKey(key);
    // The probe's answer is kept, so the engine reads it again at no cost.
    if (row >= 0) rows.SetListComment(row, TaskComment(path, &self->thumbEngine_));
  });
}

void frmMain::OnTaskSelected() {
  if (selectingForRun_ || loop_->Running()) return;
  const int row = tasks_->ListIndex();
  if (row < 0) return;
  const std::string path = tasks_->Model().PathFromIndex(row);
  const bool disc = SourceKindOf(path) == SourceKind::Disc;
  if (!disc && !FileExists(path)) {
    if (host_.Ask(StrSourceVanished, true)) tasks_->RemoveItem(row);
    return;
  }
  if (disc || !SettingIsYes("MediaPlayNow")) return;
  if (!PreviewAllowed(ReadSetting("OutputMode"), host_)) return;
  if (player_->OpenFile(Q(path))) player_->Play();
}

void frmMain::OnPlayerMarks() {
  SplitFieldTexts now{S(split_[0]->Caption()), S(split_[1]->Caption())};
  const MarkPair marks{player_->SetTagStart(), player_->SetTagEnd()};
  const SplitFieldTexts next =
      SplitFieldsFromMarks(now, marks, player_->Duration(), player_->Status(), ReadSetting("SplitMode"));
  if (next.start == now.start && next.end == now.end) return;
  split_[0]->SetCaption(Q(next.start));
  split_[1]->SetCaption(Q(next.end));
  WriteSetting(kSplitKeys[0], next.start);
  WriteSetting(kSplitKeys[1], next.end);
  WriteCutToSelectedTask(tasks_->Model(), S(player_->Filename()), next.start, next.end, S(split_[2]->Caption()));
}

void frmMain::ShowAddMenu() {
  const std::vector<std::string> drives = OpticalDrives();
  std::string items = std::string(StrButtonAddFiles) + "|" + std::string(StrAddFolder) + "|-|" +
                      std::string(StrOpticalDrives);
  for (const std::string& drive : drives) items += "|    " + drive;
  items += "|-|" + std::string(StrAddToTaskList) + "|" + std::string(StrClearCutPoints) + "|" +
           std::string(StrClearPictureSettings) + "|-|" + std::string(StrLoadTaskList) + "|" +
           std::string(StrSaveTaskList);
  const int chosen = addButton_->PopupMenu(Q(items));
  const int drivesEnd = 3 + static_cast<int>(drives.size());
  if (chosen == 0) {
    OpenFilesDialog();
  } else if (chosen == 1) {
    OpenFolderDialog();
  } else if (chosen > 3 && chosen <= drivesEnd) {
    AddDiscTask(tasks_->Model(), host_, drives[chosen - 4]);
  } else if (chosen == drivesEnd + 2) {
    MoveFilesToTasks(files_->Model(), tasks_->Model(), host_);
  } else if (chosen == drivesEnd + 3) {
    ClearCutPoints(tasks_->Model(), host_);
  } else if (chosen == drivesEnd + 4) {
    ClearPictureSettings();
    RebuildSettingRows();
  } else if (chosen == drivesEnd + 6) {
    const auto file = Dialogs().ChooseOpenFile(this, Q(StrLoadTaskList), Q(OpenDialogFolder()), Q(StrTaskListFiles));
    if (file) tasks_->Model().LoadListFromFile(S(*file));
  } else if (chosen == drivesEnd + 7) {
    const auto file = Dialogs().ChooseSaveFile(this, Q(StrSaveTaskList), Q(OpenDialogFolder()), Q(StrTaskListFiles));
    if (!file) return;
    if (FileExists(S(*file)) && !host_.Ask(StrOverwriteListQuestion, false)) return;
    if (!tasks_->Model().SaveListToFile(S(*file))) {
      host_.AddInfo(StrInfoProblem, std::string(StrCannotWriteFile) + S(*file), {});
    }
  }
}

void frmMain::OpenFilesDialog() {
  QStringList filters;
  for (const FileFilterRow& row : OpenDialogFilters()) {
    QString pattern = Q(row.pattern);
    pattern.replace(';', ' ');
    filters << Q(row.label) + " (" + pattern.simplified() + ")";
  }
  const QStringList chosen =
      QFileDialog::getOpenFileNames(this, Q(StrOpenFilesTitle), Q(OpenDialogFolder()), filters.join(";;"));
  if (chosen.isEmpty()) return;
  std::vector<std::string> paths;
  for (const QString& path : chosen) paths.push_back(S(path));
  RememberOpenFolder(paths);
  intake_->AddChosenFiles(paths);
}

void frmMain::OpenFolderDialog() {
  const QString folder = QFileDialog::getExistingDirectory(this, Q(StrChooseFolderToAdd), Q(OpenDialogFolder()));
  if (!folder.isEmpty()) intake_->AddFolder(S(folder));
}

void frmMain::RemoveSelectedTask() {
  if (loop_->Running()) return;
  ctlListbox* list = tasks_->isVisible() ? tasks_ : files_;
  const int row = list->ListIndex();
  const bool playing = row >= 0 && list->Model().PathFromIndex(row) == S(player_->Filename());
  if (RemoveSelectedRow(list->Model(), list == tasks_ ? ListKind::Tasks : ListKind::Files, host_) && playing) {
    player_->CloseFile();
  }
}

void frmMain::ClearTasks() {
  if (loop_->Running()) return;
  ctlListbox* list = tasks_->isVisible() ? tasks_ : files_;
  if (ClearRows(list->Model(), host_)) player_->CloseFile();
}

// ---- The panel over the lists ----

void frmMain::ShowPanel(PanelKind kind) {
  panel_ = kind;
  const std::array<std::pair<ctlListbox*, PanelKind>, 5> lists{{{settingsFull_, PanelKind::Settings},
                                                               {log_, PanelKind::Log},
                                                               {results_, PanelKind::Results},
                                                               {profiles_, PanelKind::Profiles},
                                                               {chooser_, PanelKind::QuickChooser}}};
  for (const auto& [list, which] : lists) list->setVisible(which == kind);
  transferBar_->setVisible(kind == PanelKind::Results);
  panelFrame_->setVisible(kind != PanelKind::None);
  switch (kind) {
    case PanelKind::None:
      return;
    case PanelKind::Settings:
      panelTitle_->SetCaption(Q(StrPanelSettings));
      RebuildSettingRows();
      break;
    case PanelKind::Log:
      panelTitle_->SetCaption(Q(StrPanelLog));
      break;
    case PanelKind::Results:
      panelTitle_->SetCaption(Q(StrPanelResults));
      FillResults();
      break;
    case PanelKind::Profiles:
      panelTitle_->SetCaption(Q(StrPanelProfiles));
      FillProfiles(profileCategory_);
      break;
    case PanelKind::QuickChooser: {
      panelTitle_->SetCaption(Q(StrChooseProfiles));
      chooser_->Clear();
      for (Text entry : {StrChooseJoin, StrChooseSplit, StrChooseFormats, StrChooseProfiles, StrChooseLater,
                         StrChooseDontShow}) {
        ListItem item;
        item.Text = std::string(entry);
        chooser_->AddItem(item);
      }
      break;
    }
  }
  panelFrame_->setAccessibleName(panelTitle_->Caption());
  panelTitle_->setAccessibleName(panelTitle_->Caption());
  PlacePanel();
  panelFrame_->raise();
}

void frmMain::PlacePanel() {
  // Over the lists, from the toolbar down to the fields.
  const QRect lists = tasks_->isVisible() ? tasks_->geometry() : files_->geometry();
  const QRect top = taskTab_->geometry();
  panelFrame_->setGeometry(QRect(lists.left(), top.top(), player_->geometry().right() - lists.left(),
                                 lists.bottom() - top.top()));
}

void frmMain::AddLogLine(const QString& line) {
  if (log_->ListCount() > kLogRowLimit) log_->Clear();
  ListItem item;
  item.Text = S(line);
  log_->AddItem(item);
  log_->SetListIndex(log_->ListCount() - 1);
}

void frmMain::FillResults() {
  results_->Clear();
  for (const std::string& output : loop_->OutputList()) {
    ListItem item;
    item.Text = FileNameOf(output);
    item.Comment = output;
    item.Path = output;
    item.ShowComment = true;
    results_->AddItem(item);
  }
  const bool made = results_->ListCount() > 0;
  transferHead_->SetCaption(Q(made ? StrTransferPanelHead : StrNoFilesMadeHint));
  transferFolder_->SetCaption(Q(ReadSetting("TransferFilesPath")));
  transferFolder_->setVisible(made);
  transferNow_->setVisible(made);
}

// What the end of a run does, checked at the stored choice; it may be changed
// while a run goes on, and the run's end reads it then.
void frmMain::ShowFinishMenu() {
  static constexpr std::array<Text, 10> kActions{StrFinishNothing, StrFinishShutDown, StrFinishRestart,
                                                 StrFinishLogOff,  StrFinishQuit,     StrFinishNotify,
                                                 StrFinishSound,   StrFinishBalloon,  StrFinishResults,
                                                 StrFinishOpen};
  const std::string stored = ReadSetting("ConvertFinished");
  std::string items, checked;
  for (Text action : kActions) {
    items += (items.empty() ? "" : "|") + std::string(action);
    checked += (checked.empty() ? "" : "|") + std::string(action == stored ? "1" : "0");
  }
  const int chosen = finishButton_->PopupMenu(Q(items), -1, Q(checked), "0", 0, finishButton_->height());
  if (chosen >= 0 && chosen < static_cast<int>(kActions.size())) WriteSetting("ConvertFinished", kActions[chosen]);
}

void frmMain::CopyResultsToDevice() {
  if (loop_->Running()) return;
  if (ReadSetting("TransferFilesPath").empty()) transferFolder_->ClickIt();
  const std::string folder = ReadSetting("TransferFilesPath");
  if (folder.empty()) return;
  std::vector<std::string> files;
  for (int i = 0; i < results_->ListCount(); ++i) files.push_back(results_->Model().PathFromIndex(i));
  CopyToDevice(files, folder, host_);
}

void frmMain::ShowResultsMenu() {
  std::vector<std::string> files;
  for (int i = 0; i < results_->ListCount(); ++i) files.push_back(results_->Model().PathFromIndex(i));
  const QString items = Q(std::string(StrOpenOutputFolder) + "|-|" + std::string(StrDeleteAllFiles) + "|" +
                          std::string(StrMoveAllFiles) + "|" + std::string(StrCopyAllFiles) + "|-|" +
                          std::string(StrCompare));
  // "对比" takes the chosen row, which must have one source file.
  const int row = results_->ListIndex();
  const bool comparable = row >= 0 && row < static_cast<int>(files.size()) && !loop_->SourceOf(files[row]).empty();
  const QString disabled = QString(files.empty() ? "0|0|1|1|1" : "0|0|0|0|0") + (comparable ? "|0|0" : "|0|1");
  const int chosen = panelBack_->PopupMenu(items, -1, "0", disabled);
  if (chosen == 6) {
    CompareResult(row);
    return;
  }
  auto chooseFolder = [this] {
    return S(QFileDialog::getExistingDirectory(this, Q(StrFieldOutputFolder), Q(ReadSetting("OutputFolder"))));
  };
  FileCommandResult result;
  if (chosen == 0) {
    host_.OpenFolder(files.empty() ? ReadSetting("OutputFolder") : FolderOf(files.front()));
    return;
  } else if (chosen == 2) {
    result = DeleteFiles(files, host_);
  } else if (chosen == 3 || chosen == 4) {
    const std::string folder = chooseFolder();
    if (folder.empty()) return;
    result = chosen == 3 ? MoveFiles(files, folder, host_) : CopyFiles(files, folder, host_);
    if (chosen == 4) return;
  } else {
    return;
  }
  // Deleted and moved files leave the list; those that stayed keep their rows.
  for (const std::string& gone : result.done) {
    const auto row = std::find(files.begin(), files.end(), gone);
    if (row == files.end()) continue;
    results_->RemoveItem(static_cast<int>(row - files.begin()));
    files.erase(row);
  }
}

bool frmMain::CompareResult(int row) {
  if (row < 0 || row >= results_->ListCount()) return false;
  const std::string output = results_->Model().PathFromIndex(row);
  const std::string source = loop_->SourceOf(output);
  if (source.empty()) {
    host_.ShowMessage(StrCompareNoSource);
    return false;
  }
  if (compare_ == nullptr) {
    compare_ = new frmCompare(this, playerOutput_);
    compare_->messenger = [this](const QString& text) { host_.ShowMessage(S(text)); };
  }
  // The preview would play a third sound over the two.
  if (player_->Status() == static_cast<int>(PlayerStatus::Playing)) player_->SetPause(true);
  compare_->show();
  compare_->raise();
  return compare_->Open(Q(source), Q(output));
}

void frmMain::FillProfiles(std::optional<int> category) {
  profileCategory_ = category;
  profiles_->Clear();
  for (const ChooserRow& row : ProfileChooserRows(BuiltInProfiles(), category)) {
    ListItem item;
    item.Text = row.text;
    item.Other = row.record;
    item.Comment = row.tip;
    item.ShowComment = !row.tip.empty();
    profiles_->AddItem(item);
  }
}

void frmMain::OnProfileRow(int index) {
  if (index < 0) return;
  const std::string record = profiles_->Model().ListOther(index);
  const size_t comma = record.find(',');
  if (comma == std::string::npos) {
    // A category row opens it; the head of an open one goes back.
    FillProfiles(profileCategory_ ? std::nullopt : std::optional<int>(static_cast<int>(Val(record))));
    return;
  }
  const Profile* profile = FindProfile(record.substr(comma + 1));
  if (profile == nullptr) return;
  if (!ApplyProfile(*profile, engine_.CoreVideoCodec(), engine_.CoreAudioCodec(), host_)) return;
  format_->SetCaption(Q(ReadSetting("OutputMode")));
  formatNote_->SetCaption(Q(FormatDescription(ReadSetting("OutputMode"))));
  WriteSetting("Profile", profile->title);
  RebuildSettingRows();
}

void frmMain::OnQuickChoice(int index) {
  static constexpr std::array<std::string_view, 6> kCommands{"join", "split", "formats", "profiles", "", "dontshow"};
  if (index < 0 || index >= static_cast<int>(kCommands.size())) return;
  switch (QuickChooserCommand(kCommands[index])) {
    case QuickChoice::FormatJoin:
      ChooseFormat(Q(StrDirectJoin));
      break;
    case QuickChoice::FormatSplit:
      ChooseFormat(Q(StrDirectCut));
      break;
    case QuickChoice::FormatList:
      ShowPanel(PanelKind::None);
      QTimer::singleShot(0, format_, [this] { format_->ClickIt(); });
      return;
    case QuickChoice::ProfileList:
      ShowPanel(PanelKind::Profiles);
      return;
    case QuickChoice::None:
      if (kCommands[index] == "dontshow") WriteSetting("ShowTip", StrNo);
      break;
  }
  ShowPanel(PanelKind::None);
}

// ---- Settings that reach the window's controls ----

void frmMain::ApplyTheme() { zel::ApplyTheme(this, ReadThemeSettings()); }

void frmMain::ConnectSettingsList(ctlListbox* list) {
  list->SetShowUnit(true);
  connect(list, &ctlListbox::ItemChanged, this, [this, list](int, int index) {
    if (fillingRows_) return;
    ListboxModel& rows = list->Model();
    ApplySettingChange(rows.ListKey(index), rows.List(index), *this);
  });
  // Rows without an editor are commands: the guide's steps, the zeroing and
  // the shortcut rows.
  connect(list, &ctlListbox::Click, this, [this, list] {
    const int index = list->ListIndex();
    if (index < 0 || list->Model().ItemMode(index) >= 0) return;
    RunSettingCommand(list->Model().ListKey(index), *this);
  });
  // A click on a row's label brings its default back.
  connect(list, &ctlListbox::MouseUp, this, [this, list](int button, int, int x, int, int index) {
    if (button != 1 || index < 0 || x >= list->TitleWidth() || list->Model().ItemMode(index) < 0) return;
    const std::string key = list->Model().ListKey(index);
    if (key.empty()) return;
    const std::string value = RestoreDefault(key, *this);
    ShowRowValue(key, value);
  });
}

void frmMain::RebuildSettingRows() {
  SettingRowsContext context;
  context.productKind = Shared().ProductKind;
  context.lists = BuildValueLists(catalogue_);
  const SettingReader read = [](std::string_view key) { return ReadSetting(key); };
  fillingRows_ = true;
  FillSettingsList(settingsFull_->Model(), BuildSettingsRows(true, context, read));
  const bool onMain = ShortSetOnMainScreen(read);
  if (onMain) {
    FillSettingsList(settingsShort_->Model(), BuildSettingsRows(false, context, read));
  } else {
    settingsShort_->Clear();
  }
  fillingRows_ = false;
  settingsShort_->setVisible(onMain);
}

void frmMain::ShowRowValue(std::string_view key, std::string_view value) {
  fillingRows_ = true;
  for (ctlListbox* list : {settingsFull_, settingsShort_}) {
    const int row = list->Model().ListIndexFromKey(key);
    if (row >= 0) list->Model().SetList(row, value);
  }
  fillingRows_ = false;
}

void frmMain::ShowRowLabel(std::string_view key, std::string_view label) {
  for (ctlListbox* list : {settingsFull_, settingsShort_}) {
    const int row = list->Model().ListIndexFromKey(key);
    if (row >= 0) list->Model().SetTitleText(row, label);
  }
}

void frmMain::SetAviSynthButton(std::string_view caption) {
  avsButton_->SetCaption(Q(caption));
  avsButton_->setAccessibleName(Q(caption));
}

void frmMain::SetSplitLabels(std::string_view start, std::string_view end) {
  split_[0]->SetTitle(Q(start));
  split_[1]->SetTitle(Q(end));
  split_[0]->setAccessibleName(Q(start));
  split_[1]->setAccessibleName(Q(end));
}

void frmMain::SetPlayerProperty(const PlayerSetting& setting) {
  switch (setting.property) {
    case PlayerProperty::TimeJumpValue:
      player_->SetTimeJumpValue(static_cast<float>(setting.number));
      break;
    case PlayerProperty::SubtitleTimeOffset:
      player_->SetSubtitleTimeOffset(setting.number);
      break;
    case PlayerProperty::ImageTransEffects:
      player_->Picture().SetImageTransEffects(static_cast<int>(setting.number));
      break;
    case PlayerProperty::Repeat:
      player_->SetRepeat(setting.flag);
      break;
    case PlayerProperty::ControlSystemVolume:
      player_->SetControlSystemVolume(setting.flag);
      break;
    case PlayerProperty::Aspect:
      player_->SetAspect(static_cast<int>(setting.number));
      break;
    case PlayerProperty::FontName: {
      QFont font = player_->font();
      font.setFamily(Q(setting.text));
      player_->setFont(font);
      break;
    }
    case PlayerProperty::AllowLoadSubtitle:
      player_->SetAllowLoadSubtitle(setting.flag);
      break;
  }
}

void frmMain::SetEngineLog(bool on) { engine_.Log = on; }

void frmMain::SetEngineStatusRefreshInterval(int milliseconds) { engine_.SetStatusRefreshInterval(milliseconds); }

void frmMain::SetListLook(ListLook look, bool on) {
  for (ctlListbox* list : {tasks_, files_, info_, settingsShort_, settingsFull_, log_, results_, profiles_}) {
    if (look == ListLook::SystemScrollBar) {
      list->SetShowSystemScrollBar(on);
    } else {
      list->SetShowFocus(on);
    }
  }
}

void frmMain::SetTaskThumbnails(bool on) {
  // Rows added from now on ask for their pictures; older rows stay as they are.
  if (on) factsRequested_ = tasks_->ListCount();
}

void frmMain::RunGuideStep(GuideStep step) {
  switch (step) {
    case GuideStep::AddFiles:
      OpenFilesDialog();
      break;
    case GuideStep::Preview: {
      const int row = tasks_->ListIndex() >= 0 ? tasks_->ListIndex() : 0;
      if (row < tasks_->ListCount()) {
        tasks_->SetListIndex(row);
        OnTaskSelected();
      }
      break;
    }
    case GuideStep::CutPoints:
      split_[0]->ClickIt();
      break;
    case GuideStep::OutputFolder:
      folder_->ClickIt();
      break;
    case GuideStep::MoreSettings:
    case GuideStep::MusicFile:
    case GuideStep::LyricFile:
      ShowPanel(PanelKind::Settings);
      break;
    case GuideStep::Start:
      PressStart();
      break;
    case GuideStep::BrowseOutput:
      host_.OpenFolder(ReadSetting("OutputFolder"));
      break;
    case GuideStep::JoinOrder:
      taskTab_->ClickIt();
      break;
  }
}

void frmMain::ShowMessage(std::string_view text) { host_.ShowMessage(text); }

// ---- Window events ----

void frmMain::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void frmMain::dropEvent(QDropEvent* event) {
  QStringList files;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) files << url.toLocalFile();
  }
  event->acceptProposedAction();
  // The drop's sender waits for this event to end: the rows come after it.
  QTimer::singleShot(0, this, [this, files] { DropFiles(files); });
}

void frmMain::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (panel_ != PanelKind::None) QTimer::singleShot(0, this, [this] { PlacePanel(); });
}

void frmMain::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (tray_) DesktopWindowChange(event);
  if (event->type() == QEvent::WindowStateChange) {
    maximize_->SetCaption(QString::fromUtf8(isMaximized() ? "❐" : "□"));
  }
}

}  // namespace zel
