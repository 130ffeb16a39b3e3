#include "app/frmCompare.h"

#include "app/WindowParts.h"
#include "controls/ApplyTheme.h"
#include "controls/QtText.h"
#include "controls/Theme.h"
#include "controls/ctlButton.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "player/PlayerPair.h"
#include "player/PlayerStatusBar.h"
#include "player/ctlDSPlayer.h"

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QAccessibleWidget>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace zel {
namespace {

constexpr int kGap = 4;
constexpr int kLineWidth = 8;
// The line never quite reaches an edge, where it could no longer be taken.
constexpr double kSplitMargin = 0.02;

// The line over the picture: drawn in the highlight colour, dragged by the
// pointer, moved by the arrow keys; a slider for screen readers, in percent of
// the picture's width.
class CompareLine : public QWidget {
 public:
  CompareLine(QWidget* parent, std::function<double()> fraction, std::function<void(double)> setFraction)
      : QWidget(parent), fraction_(std::move(fraction)), setFraction_(std::move(setFraction)) {
    setCursor(Qt::SplitHCursor);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(Q(StrCompareSplit));
  }
  double Percent() const { return fraction_() * 100; }
  void SetPercent(double percent) {
    setFraction_(percent / 100);
    if (QAccessible::isActive()) {
      QAccessibleValueChangeEvent event(this, Percent());
      QAccessible::updateAccessibility(&event);
    }
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const QColor colour = palette().color(QPalette::Highlight);
    painter.fillRect(QRect(width() / 2 - 1, 0, 2, height()), colour);
    // A grip halfway down shows where to take it.
    painter.setBrush(colour);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(QRect(0, height() / 2 - 20, width(), 40), 3, 3);
  }
  void mouseMoveEvent(QMouseEvent* event) override {
    const int across = parentWidget()->width();
    if ((event->buttons() & Qt::LeftButton) && across > 0) {
      SetPercent(100.0 * mapToParent(event->position().toPoint()).x() / across);
    }
  }
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
      SetPercent(Percent() + (event->key() == Qt::Key_Left ? -kKeyStep : kKeyStep));
    } else {
      QWidget::keyPressEvent(event);
    }
  }

 private:
  static constexpr double kKeyStep = 2;  // percent
  std::function<double()> fraction_;
  std::function<void(double)> setFraction_;
};

class CompareLineAccessible final : public QAccessibleWidget, public QAccessibleValueInterface {
 public:
  explicit CompareLineAccessible(CompareLine* line) : QAccessibleWidget(line, QAccessible::Slider) {}
  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Value) return QStringLiteral("%1%").arg(std::lround(line()->Percent()));
    return QAccessibleWidget::text(t);
  }
  QVariant currentValue() const override { return line()->Percent(); }
  void setCurrentValue(const QVariant& value) override { line()->SetPercent(value.toDouble()); }
  QVariant maximumValue() const override { return 100 * (1 - kSplitMargin); }
  QVariant minimumValue() const override { return 100 * kSplitMargin; }
  QVariant minimumStepSize() const override { return 1.0; }

 private:
  CompareLine* line() const { return static_cast<CompareLine*>(widget()); }
};

QAccessibleInterface* CompareLineFactory(const QString&, QObject* object) {
  if (auto* line = dynamic_cast<CompareLine*>(object)) return new CompareLineAccessible(line);
  return nullptr;
}

QString SideWord(CompareLayout layout, int side) {
  const bool stacked = layout == CompareLayout::Stacked;
  return Q(side == 0 ? (stacked ? StrCompareTop : StrCompareLeft) : (stacked ? StrCompareBottom : StrCompareRight));
}

CompareFacts FactsOf(ctlDSPlayer& player) {
  CompareFacts facts;
  facts.name = QFileInfo(player.SourceFileName()).fileName();
  facts.width = player.MediaWidth();
  facts.height = player.MediaHeight();
  facts.frameRate = player.FrameRate();
  facts.duration = player.Duration();
  facts.bytes = QFileInfo(player.SourceFileName()).size();
  if (MpvSession* session = player.Session()) {
    facts.videoCodec = session->GetString("video-format").value_or(QString());
    facts.audioCodec = session->GetString("audio-codec-name").value_or(QString());
  }
  return facts;
}

}  // namespace

CompareGeometry PlaceCompare(CompareLayout layout, const QRect& area, int barHeight, double split) {
  CompareGeometry at;
  const int w = area.width(), h = area.height();
  switch (layout) {
    case CompareLayout::SideBySide: {
      const int half = (w - kGap) / 2;
      at.first = QRect(area.left(), area.top(), half, h);
      at.clip = QRect(area.left() + half + kGap, area.top(), w - half - kGap, std::max(0, h - barHeight));
      at.second = QRect(0, 0, at.clip.width(), at.clip.height());
      break;
    }
    case CompareLayout::Stacked: {
      const int picture = std::max(0, (h - barHeight - kGap) / 2);
      at.first = QRect(area.left(), area.top(), w, picture + barHeight);
      at.clip = QRect(area.left(), at.first.bottom() + 1 + kGap, w, picture);
      at.second = QRect(0, 0, w, picture);
      break;
    }
    case CompareLayout::Split: {
      const double fraction = std::clamp(split, kSplitMargin, 1 - kSplitMargin);
      const int x = area.left() + static_cast<int>(std::lround(fraction * w));
      const int picture = std::max(0, h - barHeight);
      at.first = area;
      at.clip = QRect(x, area.top(), area.left() + w - x, picture);
      // The second player as large as the first's picture, shifted so that
      // only its part right of the line shows, in the first's place.
      at.second = QRect(area.left() - x, 0, w, picture);
      at.line = QRect(x - kLineWidth / 2, area.top(), kLineWidth, picture);
      break;
    }
  }
  return at;
}

QString CompareFactsText(const CompareFacts& facts) {
  QStringList parts{facts.name};
  if (facts.width > 0 && facts.height > 0) parts << QStringLiteral("%1×%2").arg(facts.width).arg(facts.height);
  if (facts.frameRate > 0) parts << QStringLiteral("%1 fps").arg(facts.frameRate, 0, 'g', 4);
  for (const QString& codec : {facts.videoCodec, facts.audioCodec}) {
    if (!codec.isEmpty()) parts << codec;
  }
  if (facts.duration > 0 && facts.bytes > 0) {
    parts << QStringLiteral("%1 kb/s").arg(std::lround(facts.bytes * 8 / facts.duration / 1000));
  }
  if (facts.bytes > 0) parts << QStringLiteral("%1 MB").arg(facts.bytes / 1048576.0, 0, 'f', 1);
  return parts.join(QStringLiteral(" · "));
}

std::optional<std::pair<QString, QString>> CompareArguments(const QStringList& arguments) {
  if (arguments.size() != 3 || arguments.front() != QLatin1String("--compare")) return std::nullopt;
  return std::pair{QFileInfo(arguments[1]).absoluteFilePath(), QFileInfo(arguments[2]).absoluteFilePath()};
}

frmCompare::frmCompare(QWidget* parent, MpvOutput output) : QWidget(parent), output_(output) {
  setWindowFlag(Qt::Window);
  setWindowTitle(Q(StrCompareTitle));
  setAccessibleName(Q(StrCompareTitle));
  messenger = [this](const QString& text) { QMessageBox::information(this, Q(StrCompareTitle), text); };
  layout_ = ReadSetting("CompareWindowVerticalLayout") == StrYes ? CompareLayout::Stacked : CompareLayout::SideBySide;

  auto* stage = new QWidget(this);
  stage->installEventFilter(this);
  stage_ = stage;
  first_ = new ctlDSPlayer(stage, output_);
  first_->setAccessibleName(Q(StrComparePlayerOne));
  // The second player is seen through its clip alone; it needs no bar, as
  // the first one's drives both.
  clip_ = new QWidget(stage);
  second_ = new ctlDSPlayer(clip_, output_);
  second_->setAccessibleName(Q(StrComparePlayerTwo));
  second_->StatusBar().SetModeStyle(0);
  pair_ = std::make_unique<PlayerPair>(*first_, *second_);
  static const bool accessible = [] {
    QAccessible::installFactory(CompareLineFactory);
    return true;
  }();
  (void)accessible;
  line_ = new CompareLine(stage, [this] { return split_; }, [this](double fraction) { SetSplit(fraction); });

  auto* factsRow = new QHBoxLayout;
  for (size_t side = 0; side < facts_.size(); ++side) {
    facts_[side] = MakeButton(this, "", ButtonMode::FlatLabel);
    facts_[side]->setAccessibleName(Q(side == 0 ? StrCompareFactsOne : StrCompareFactsTwo));
    facts_[side]->setFixedHeight(26);
    factsRow->addWidget(facts_[side], 1);
  }

  auto* buttons = new QHBoxLayout;
  play_ = MakeButton(this, StrComparePlayPause);
  connect(play_, &ctlButton::Click, this, [this] { pair_->SetPause(!pair_->Paused()); });
  buttons->addWidget(play_);
  constexpr std::array<Text, 3> kLayoutCaptions{StrCompareSideBySide, StrCompareStacked, StrCompareSplit};
  for (size_t i = 0; i < layouts_.size(); ++i) {
    layouts_[i] = MakeButton(this, kLayoutCaptions[i]);
    const auto layout = static_cast<CompareLayout>(i);
    connect(layouts_[i], &ctlButton::Click, this, [this, layout] { SetLayout(layout); });
    buttons->addWidget(layouts_[i]);
  }
  swap_ = MakeButton(this, StrCompareSwap);
  connect(swap_, &ctlButton::Click, this, &frmCompare::Swap);
  buttons->addWidget(swap_);
  buttons->addStretch(1);
  for (ctlButton* button : {play_, layouts_[0], layouts_[1], layouts_[2], swap_}) {
    button->setFixedHeight(28);
    button->setMinimumWidth(90);
  }
  auto* space = new QShortcut(QKeySequence(Qt::Key_Space), this);
  connect(space, &QShortcut::activated, play_, &ctlButton::ClickIt);
  play_->setToolTip(play_->Caption() + "  " + Q(StrSubtitleEditKeys) + "Space");

  auto* root = new QVBoxLayout(this);
  root->addLayout(factsRow);
  root->addWidget(stage, 1);
  root->addLayout(buttons);
  resize(1100, 560);
  connect(pair_.get(), &PlayerPair::Changed, this, &frmCompare::ShowFacts);
  ApplyTheme(this, ReadThemeSettings());
  Place();
}

frmCompare::~frmCompare() {
  // The pair watches both players: it goes before they do.
  pair_.reset();
}

bool frmCompare::Open(const QString& first, const QString& second) {
  if (pair_->Open(first, second)) return true;
  messenger(Q(StrCompareOpenFailed) + "\n" + first + "\n" + second);
  return false;
}

void frmCompare::SetLayout(CompareLayout layout) {
  layout_ = layout;
  if (layout != CompareLayout::Split) {
    WriteSetting("CompareWindowVerticalLayout", layout == CompareLayout::Stacked ? StrYes : StrNo);
  }
  Place();
  ShowFacts();
}

void frmCompare::SetSplit(double fraction) {
  split_ = std::clamp(fraction, kSplitMargin, 1 - kSplitMargin);
  Place();
}

void frmCompare::Swap() {
  const QString one = first_->SourceFileName(), two = second_->SourceFileName();
  if (one.isEmpty() || two.isEmpty()) return;
  const double at = first_->Position();
  const bool paused = pair_->Paused();
  if (!Open(two, one)) return;
  pair_->Seek(at);
  if (!paused) pair_->SetPause(false);
}

void frmCompare::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  Place();
}

bool frmCompare::eventFilter(QObject* watched, QEvent* event) {
  if (watched == stage_ && event->type() == QEvent::Resize) Place();
  return QWidget::eventFilter(watched, event);
}

void frmCompare::Place() {
  const CompareGeometry at = PlaceCompare(layout_, stage_->rect(), first_->StatusBarHeight(), split_);
  first_->setGeometry(at.first);
  clip_->setGeometry(at.clip);
  second_->setGeometry(at.second);
  line_->setGeometry(at.line);
  line_->setVisible(layout_ == CompareLayout::Split);
  line_->raise();
}

void frmCompare::ShowFacts() {
  std::array<ctlDSPlayer*, 2> players{first_, second_};
  for (size_t side = 0; side < players.size(); ++side) {
    const bool open = players[side]->Status() != static_cast<int>(PlayerStatus::Closed);
    const QString text = open ? SideWord(layout_, static_cast<int>(side)) + Q("：") + CompareFactsText(FactsOf(*players[side]))
                              : QString();
    facts_[side]->SetCaption(text);
    facts_[side]->setToolTip(open ? players[side]->SourceFileName() : QString());
  }
}

}  // namespace zel
