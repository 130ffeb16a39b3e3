#include "gallery/GalleryWindow.h"

#include "controls/ApplyTheme.h"
#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "controls/ctlCustomFrame.h"
#include "controls/ctlListbox.h"
#include "controls/ctlSlider.h"

#include <QBuffer>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QVBoxLayout>

namespace zel {

namespace {

// The gallery's own texts, in one place.
namespace text {
constexpr const char* kTitle = "ZEL 影音工坊 控件一览";
constexpr const char* kSettings = "设置";
constexpr const char* kTasks = "任务列表";
constexpr const char* kEmpty = "将视频、音频、图片或字幕文件拖放到这里";
constexpr const char* kButtons = "按钮";
constexpr const char* kLastEvent = "最近事件：";
constexpr const char* kStyle = "主题样式";
constexpr const char* kRandomColor = "随机颜色";
constexpr const char* kAddTask = "添加任务";
constexpr const char* kNewTask = "新任务";
}  // namespace text

// A small picture made here, encoded as a row's thumbnail would be.
std::string Thumbnail(QColor from, QColor to) {
  QImage image(96, 54, QImage::Format_RGB32);
  QPainter p(&image);
  QLinearGradient g(0, 0, 96, 54);
  g.setColorAt(0, from);
  g.setColorAt(1, to);
  p.fillRect(image.rect(), g);
  p.end();
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return bytes.toStdString();
}

}  // namespace

GalleryWindow::GalleryWindow(QWidget* parent) : QWidget(parent) {
  setWindowTitle(Q(text::kTitle));
  setObjectName("gallery");
  resize(1100, 680);

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(6);

  caption_ = new ctlButton(this);
  caption_->SetMode(5);
  caption_->SetCaption(Q(text::kTitle));
  caption_->SetCaptionBar(true);
  caption_->setAccessibleName(Q(text::kTitle));
  caption_->setFixedHeight(30);
  column->addWidget(caption_);

  auto* row = new QHBoxLayout();
  row->setContentsMargins(8, 0, 8, 0);
  column->addLayout(row, 1);

  settings_ = new ctlListbox(this);
  tasks_ = new ctlListbox(this);
  empty_ = new ctlListbox(this);
  BuildLists();
  row->addWidget(settings_, 3);
  auto* middle = new QVBoxLayout();
  middle->addWidget(tasks_, 3);
  middle->addWidget(empty_, 1);
  row->addLayout(middle, 4);

  frame_ = new ctlCustomFrame(this);
  frame_->SetFrameCaption(Q(text::kButtons));
  frame_->SetFrameType(4);
  BuildButtons(frame_);
  row->addWidget(frame_, 4);

  auto* bottom = new QHBoxLayout();
  bottom->setContentsMargins(8, 0, 8, 0);
  eventLabel_ = new ctlButton(this);
  eventLabel_->SetMode(5);
  eventLabel_->SetCaption(Q(text::kLastEvent));
  eventLabel_->setFixedHeight(26);
  bottom->addWidget(eventLabel_, 1);
  auto* grip = new ctlButton(this);
  grip->SetMode(5);
  grip->SetCaptionBar(true);
  grip->SetStatusBarResize(true);
  grip->SetWindowSizeLimit(true);
  grip->SetWindowSizeMinWidth(800);
  grip->SetWindowSizeMinHeight(500);
  grip->setFixedSize(120, 26);
  bottom->addWidget(grip);
  column->addLayout(bottom);

  animation_ = new ThemeColorAnimation(this, this);
  connect(animation_, &ThemeColorAnimation::Finished, this, [this] { theme_ = ReadThemeSettings(); });
  SetTheme(ReadThemeSettings());
}

void GalleryWindow::BuildLists() {
  settings_->SetListTitle(Q(text::kSettings));
  settings_->SetItemHeight(30);
  settings_->SetTitleWidth(110);
  settings_->SetShowGridLine(true);
  struct Row {
    const char* key;
    const char* title;
    const char* value;
    int mode;
    const char* items;
    bool enabled;
  };
  const Row rows[] = {
      {"OutputName", "输出文件名", "a_转换", 0, "", true},
      {"Quality", "视频质量", "70", 1, "#Percent100A10#", true},
      {"Deinterlace", "反交错", "Yes", 1, "#YesNo#", true},
      {"SubtitleColor", "字幕颜色", "&HFFFFFF", 2, "", true},
      {"Logo", "水印图片", "/tmp/logo.png", 3, "", true},
      {"OutputFolder", "输出目录", "/tmp/", 4, "", true},
      {"SubtitleFont", "字幕字体", "Trebuchet MS, 20, False, False, 134, False, False, 400", 5, "", true},
      {"Command", "命令行", "ffmpeg -i a.avi", 6, "", true},
      {"FontName", "字体", "DejaVu Sans", 8, "", true},
      {"Channels", "声道", "2", 11, "1|2|6", true},
      {"Locked", "不可更改", "否", 0, "", false},
  };
  for (const Row& r : rows) {
    ListItem item{.Key = r.key,
                  .Text = r.value,
                  .TitleText = r.title,
                  .ComboBoxItems = r.items,
                  .ItemEnabled = r.enabled,
                  .ItemMode = r.mode};
    if (r.mode == 3) item.FileFilter = "图片|*.png;*.jpg|全部文件|*.*";
    settings_->AddItem(item);
  }

  tasks_->SetListTitle(Q(text::kTasks));
  tasks_->SetShowCheckBox(true);
  tasks_->SetShowListIndexInTitle(true);
  tasks_->SetShowSegmentationLine(true);
  const std::string pictures[] = {Thumbnail(QColor(30, 80, 160), QColor(220, 240, 255)),
                                  Thumbnail(QColor(160, 40, 40), QColor(250, 220, 120))};
  struct Task {
    const char* name;
    const char* comment;
    int value, start, end;
    bool checked, picture;
  };
  const Task taskRows[] = {
      {"假期.avi", "00:03:20 · 640x480 · 正在转换 42%", 42, 10, 80, true, true},
      {"会议录像.mkv", "00:58:02 · 1280x720", 100, 0, 0, true, true},
      {"音乐.mp3", "00:04:11 · 192 kb/s", 0, 0, 0, false, false},
      {"封面.png", "1920x1080", 0, 0, 0, true, false},
      {"歌词.lrc", "字幕", 0, 0, 0, false, false},
  };
  int i = 0;
  for (const Task& t : taskRows) {
    tasks_->AddItem(ListItem{.Key = "task" + std::to_string(i),
                             .Text = t.name,
                             .Comment = t.comment,
                             .Path = std::string("/home/用户/视频/") + t.name,
                             .ValueStartPoint = t.start,
                             .ValueEndPoint = t.end,
                             .ValueMax = 100,
                             .Image = t.picture ? pictures[i % 2] : std::string(),
                             .ShowProgressBar = t.value > 0,
                             .ShowProgressBarPoint = t.end > 0,
                             .ShowComment = true,
                             .Checked = t.checked});
    tasks_->Model().SetValue(i, t.value);
    ++i;
  }
  tasks_->SetListIndex(0);

  empty_->SetDefaultNullListText(Q(text::kEmpty));
  empty_->setAccessibleName(Q(text::kEmpty));

  connect(settings_, &ctlListbox::ItemChanged, this, [this](int, int index) {
    Note(Q(settings_->Model().TitleText(index)) + " = " + Q(settings_->Model().List(index)));
  });
  connect(tasks_, &ctlListbox::SelectionChanged, this,
          [this] { Note(Q(tasks_->Model().List(tasks_->ListIndex()))); });
}

void GalleryWindow::BuildButtons(QWidget* area) {
  auto* grid = new QGridLayout(area);
  grid->setContentsMargins(10, 28, 10, 10);
  grid->setSpacing(8);
  struct Face {
    int mode;
    const char* effects;  // the marks the caption is drawn with
    const char* caption;
    const char* title;
    bool enabled;
  };
  const Face faces[] = {
      {0, "", "开始", "", true},          {0, "#Bold#", "停止", "", false},   {1, "", "预览", "", true},
      {2, "", "视频", "", true},          {2, "", "音频", "", true},          {3, "", "DejaVu Sans", "字体", true},
      {4, "", "MP4", "格式", true},       {5, "#Blue#", "说明文字", "", true}, {6, "", "/tmp/", "输出目录", true},
      {7, "", "", "源文件", true},        {8, "", "00:00:10,000", "开始时间", true},
  };
  int at = 0;
  for (const Face& f : faces) {
    auto* b = new ctlButton(area);
    b->SetMode(f.mode);
    b->SetCaptionEffects(Q(f.effects));
    b->SetCaption(Q(f.caption));
    b->SetTitle(Q(f.title));
    b->SetTooltip(Q(f.caption));
    if (f.mode == 8) b->SetTextFormat("##:##:##,###");
    b->setEnabled(f.enabled);
    b->setMinimumHeight(30);
    if (f.mode == 4) b->SetComboBoxItems("MP4|MKV|AVI|MP3|GIF");
    if (f.mode == 7) b->SetCaptionNullText("请选择文件");
    if (f.mode == 0 && f.enabled) command_ = b;
    // The toggle and the first of the radio group show their marks ticked.
    b->SetChecked(f.mode == 1 || QString(f.caption) == "视频");
    connect(b, &ctlButton::Click, this, [this, b] { Note(b->Caption()); });
    grid->addWidget(b, at / 2, at % 2);
    ++at;
  }
  auto* progress = new ctlButton(area);
  progress->SetCaption("42%");
  progress->SetMin(0);
  progress->SetMax(100);
  progress->SetValue(42);
  progress->setMinimumHeight(30);
  grid->addWidget(progress, at / 2, at % 2);
  ++at;

  styleChooser_ = new ctlButton(area);
  styleChooser_->SetMode(4);
  styleChooser_->SetTitle(Q(text::kStyle));
  QStringList names;
  for (const StyleName& s : StyleNames()) names << Q(s.name);
  styleChooser_->SetComboBoxItems(names.join('|'));
  styleChooser_->setAccessibleName(Q(text::kStyle));
  styleChooser_->setMinimumHeight(30);
  connect(styleChooser_, &ctlButton::ChangeFinished, this, [this] {
    for (const StyleName& s : StyleNames()) {
      if (Q(s.name) != styleChooser_->Caption()) continue;
      ThemeSettings theme = theme_;
      theme.style = s.style;
      SetTheme(theme);
      WriteThemeSettings(theme);
    }
  });
  grid->addWidget(styleChooser_, at / 2, at % 2);
  ++at;

  auto* random = new ctlButton(area);
  random->SetCaption(Q(text::kRandomColor));
  random->setMinimumHeight(30);
  connect(random, &ctlButton::Click, this, [this] { animation_->Start(theme_, ThemeColorForIndex(16)); });
  grid->addWidget(random, at / 2, at % 2);
  ++at;

  auto* add = new ctlButton(area);
  add->SetCaption(Q(text::kAddTask));
  add->setMinimumHeight(30);
  connect(add, &ctlButton::Click, this, [this] {
    const int n = tasks_->ListCount() + 1;
    tasks_->AddItem(ListItem{.Key = "task" + std::to_string(n),
                             .Text = std::string(text::kNewTask) + std::to_string(n) + ".mp4",
                             .Path = "/home/用户/视频/new.mp4"});
    Note(Q(text::kAddTask));
  });
  grid->addWidget(add, at / 2, at % 2);
  ++at;

  slider_ = new ctlSlider(area);
  slider_->SetShowValueTip(true);
  slider_->SetTipString("缩放 ");
  slider_->SetTipAddString("%");
  slider_->SetValue(60);
  slider_->setAccessibleName("缩放");
  slider_->setFixedHeight(22);
  grid->addWidget(slider_, at / 2 + 1, 0, 1, 2);
  vertical_ = new ctlSlider(area);
  vertical_->SetOrientation(1);
  vertical_->SetValue(30);
  vertical_->setAccessibleName("音量");
  vertical_->setFixedWidth(22);
  grid->addWidget(vertical_, 0, 2, at / 2 + 2, 1);
  connect(slider_, &ctlSlider::Change, this, [this] { Note(slider_->TipText()); });
}

void GalleryWindow::SetTheme(const ThemeSettings& theme) {
  theme_ = theme;
  ApplyTheme(this, theme_);
  styleChooser_->SetCaption([&] {
    for (const StyleName& s : StyleNames())
      if (s.style == theme.style) return Q(s.name);
    return QString::number(theme.style);
  }());
}

void GalleryWindow::Note(const QString& event) {
  eventLabel_->SetCaption(Q(text::kLastEvent) + event);
  eventLabel_->setAccessibleName(eventLabel_->Caption());
}

}  // namespace zel
