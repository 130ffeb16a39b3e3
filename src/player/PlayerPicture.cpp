// The player's picture side: see PlayerPicture.h.
#include "player/PlayerPicture.h"

#include "controls/QtText.h"
#include "controls/Theme.h"
#include "player/PlayerMarks.h"
#include "player/PlayerStrings.h"

#include <QDateTime>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QRandomGenerator>
#include <QSaveFile>

#include <algorithm>
#include <array>
#include <cmath>

namespace zel {

namespace {

// How one transition frame is drawn. A strip copies the same strip of the next
// frame; a move places the whole next frame at an offset that shrinks to 0,
// and the old screen at one that grows away from it.
enum class Strip { Whole, Left, Top, Right, Bottom };
enum class BlendAlpha { Counter, Wipe };
struct FrameRule {
  Strip strip;
  int newX, newY;  // -1 arrives from the left/top, 1 from the right/bottom
  int oldX, oldY;  // the old screen painted away in this direction; 0 none
  BlendAlpha alpha;
};

// Indexed by effect number 1 to 21.
constexpr std::array<FrameRule, 21> kFrameRules{{
    {Strip::Whole, 0, 0, 0, 0, BlendAlpha::Counter},     // Alpha
    {Strip::Left, 0, 0, 0, 0, BlendAlpha::Counter},      // ImageToRight
    {Strip::Top, 0, 0, 0, 0, BlendAlpha::Counter},       // ImageToDown
    {Strip::Right, 0, 0, 0, 0, BlendAlpha::Counter},     // ImageToLeft
    {Strip::Bottom, 0, 0, 0, 0, BlendAlpha::Counter},    // ImageToTop
    {Strip::Left, 0, 0, 0, 0, BlendAlpha::Wipe},         // AlphaWipeImageToRight
    {Strip::Top, 0, 0, 0, 0, BlendAlpha::Wipe},          // AlphaWipeImageToDown
    {Strip::Right, 0, 0, 0, 0, BlendAlpha::Wipe},        // AlphaWipeImageToLeft
    {Strip::Bottom, 0, 0, 0, 0, BlendAlpha::Wipe},       // AlphaWipeImageToTop
    {Strip::Whole, -1, 0, 0, 0, BlendAlpha::Wipe},       // AlphaWipePushImageToRight
    {Strip::Whole, 0, -1, 0, 0, BlendAlpha::Wipe},       // AlphaWipePushImageToDown
    {Strip::Whole, 1, 0, 0, 0, BlendAlpha::Wipe},        // AlphaWipePushImageToLeft
    {Strip::Whole, 0, 1, 0, 0, BlendAlpha::Wipe},        // AlphaWipePushImageToTop
    {Strip::Whole, -1, -1, 0, 0, BlendAlpha::Wipe},      // PushImageToRightDown
    {Strip::Whole, 1, -1, 0, 0, BlendAlpha::Wipe},       // PushImageToLeftDown
    {Strip::Whole, 1, 1, 0, 0, BlendAlpha::Wipe},        // PushImageToLeftTop
    {Strip::Whole, -1, 1, 0, 0, BlendAlpha::Wipe},       // PushImageToRightTop
    {Strip::Whole, -1, 0, 1, 0, BlendAlpha::Counter},    // ZoomZoom
    {Strip::Whole, 0, -1, 0, 1, BlendAlpha::Counter},    // ZoomIn
    {Strip::Whole, 1, 1, -1, -1, BlendAlpha::Counter},   // OpenImagePage
    {Strip::Whole, -1, -1, 1, 1, BlendAlpha::Counter},   // PushFromLeftTop
}};

QRect StripRect(Strip strip, int w, int h, int pw, int ph) {
  switch (strip) {
    case Strip::Left: return QRect(0, 0, pw, h);
    case Strip::Top: return QRect(0, 0, w, ph);
    case Strip::Right: return QRect(w - pw, 0, pw, h);
    case Strip::Bottom: return QRect(0, h - ph, w, ph);
    case Strip::Whole: break;
  }
  return QRect(0, 0, w, h);
}

// Where a moving image stands: arriving from `side` it starts a whole size
// away and reaches 0; painted away it leaves by the part already shown.
int Arriving(int side, int size, int shown) { return side * (size - shown); }

ImageEffect PickEffect(int configured) {
  // Seeded from the clock on each pick, as a fresh shuffle per transition.
  QRandomGenerator random(static_cast<quint32>(QDateTime::currentMSecsSinceEpoch()));
  const double r = random.generateDouble();
  if (configured == static_cast<int>(ImageEffect::RandomizePush)) {
    return static_cast<ImageEffect>(std::lround(3 * r + 18));
  }
  if (configured == static_cast<int>(ImageEffect::RandomizeEffect)) {
    return static_cast<ImageEffect>(std::lround(20 * r + 1));
  }
  return static_cast<ImageEffect>(configured);
}

}  // namespace

QImage LoadPicture(const std::string& path) {
  QImageReader reader(Q(path));
  reader.setDecideFormatFromContent(true);
  reader.setAutoTransform(true);
  QImage image = reader.read();
  return image.isNull() ? image : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage ImageBlur(const QImage& source, int radius) {
  if (source.isNull() || radius < 1) return source;
  QImage image = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  const int w = image.width();
  const int h = image.height();
  std::vector<QRgb> line(static_cast<size_t>(std::max(w, h)));
  const int span = 2 * radius + 1;
  // One pass along a line of `n` pixels with a running sum; edges repeat.
  auto pass = [&](int n, auto&& at) {
    for (int i = 0; i < n; ++i) line[static_cast<size_t>(i)] = at(i);
    std::array<int, 4> sum{};
    auto add = [&](QRgb p, int sign) {
      sum[0] += sign * qAlpha(p);
      sum[1] += sign * qRed(p);
      sum[2] += sign * qGreen(p);
      sum[3] += sign * qBlue(p);
    };
    auto pixel = [&](int i) { return line[static_cast<size_t>(std::clamp(i, 0, n - 1))]; };
    for (int i = -radius; i <= radius; ++i) add(pixel(i), 1);
    for (int i = 0; i < n; ++i) {
      at(i) = qRgba(sum[1] / span, sum[2] / span, sum[3] / span, sum[0] / span);
      add(pixel(i - radius), -1);
      add(pixel(i + radius + 1), 1);
    }
  };
  for (int y = 0; y < h; ++y) {
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
    pass(w, [row](int i) -> QRgb& { return row[i]; });
  }
  for (int x = 0; x < w; ++x) {
    pass(h, [&image, x](int i) -> QRgb& { return reinterpret_cast<QRgb*>(image.scanLine(i))[x]; });
  }
  return image;
}

QImage ImageToneShift(const QImage& source, int shift) {
  shift = std::max(shift, -25);
  QImage image = source.convertToFormat(QImage::Format_ARGB32);
  for (int y = 0; y < image.height(); ++y) {
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      const QRgb p = row[x];
      row[x] = qRgba(std::clamp(qRed(p) + shift, 0, 255), std::clamp(qGreen(p) + shift, 0, 255),
                     std::clamp(qBlue(p) + shift, 0, 255), qAlpha(p));
    }
  }
  return image;
}

PlayerPicture::PlayerPicture(QObject* parent) : QObject(parent) {
  timer_.setInterval(1);
  connect(&timer_, &QTimer::timeout, this, &PlayerPicture::Tick);
}

QString PlayerPicture::ImageEffects() { return Q(StrPictureEffects); }

const QImage& PlayerPicture::CurrentPicture() const {
  if (!fileImage_.isNull()) return fileImage_;
  if (!stdPicture_.isNull()) return stdPicture_;
  return mediaPicture_;
}

void PlayerPicture::AnnounceImage(const std::string& fileName, bool emptied, bool exists) {
  zoom_ = kDefaultImageZoom;
  offset_ = {};
  delta_ = {};
  if (transEffects_ == 0 && emptied) {
    Repaint(true, ImageEffect::Alpha);
  } else {
    Repaint(true);
  }
  emit DefaultImageChanged(Q(fileName));
  if (exists) {
    emit FileOpened();
  } else {
    emit FileClosed();
  }
}

void PlayerPicture::SetDefaultImage(const std::string& fileName) {
  defaultImage_ = fileName;
  fileImage_ = fileName.empty() ? QImage() : LoadPicture(fileName);
  AnnounceImage(fileName, fileName.empty(), !fileName.empty() && QFileInfo::exists(Q(fileName)));
}

void PlayerPicture::SetDefaultStdPicture(const QImage& picture) {
  stdPicture_ = picture.isNull() ? QImage() : picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  AnnounceImage(defaultImage_, picture.isNull(), !picture.isNull());
}

void PlayerPicture::SetMediaPicture(const QImage& picture, const QString& label) {
  mediaPicture_ = picture.isNull() ? QImage() : picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  pictureLabel_ = picture.isNull() ? QString() : label;
  zoom_ = kDefaultImageZoom;
  offset_ = {};
  delta_ = {};
  Repaint(true, ImageEffect::Alpha);
}

void PlayerPicture::CloseFile() {
  defaultImage_.clear();
  fileImage_ = {};
  stdPicture_ = {};
  mediaPicture_ = {};
  pictureLabel_.clear();
  Repaint(true, ImageEffect::Alpha);
}

void PlayerPicture::SetDefaultImageZoom(float zoom) {
  const float old = zoom_;
  zoom_ = std::max(zoom, kMinImageZoom);
  auto rescale = [&](int v) { return static_cast<int>(std::lround(v / old * zoom_)); };
  offset_ = {rescale(offset_.x()), rescale(offset_.y())};
  delta_ = {rescale(delta_.x()), rescale(delta_.y())};
  Repaint(false);
  emit DefaultImageZoomed();
}

void PlayerPicture::SetDefaultImageOffsetX(int x) {
  offset_.setX(x);
  Repaint(false);
}

void PlayerPicture::SetDefaultImageOffsetY(int y) {
  offset_.setY(y);
  Repaint(false);
}

void PlayerPicture::SetDefaultImageBackStyle(int style) {
  backStyle_ = static_cast<ImageBackStyle>(std::clamp(style, 0, 2));
  Repaint(false);
}

void PlayerPicture::SetImageTransEffects(int effect) {
  transEffects_ = std::clamp(effect, static_cast<int>(ImageEffect::RandomizePush),
                             static_cast<int>(ImageEffect::OpenImagePage));
}

void PlayerPicture::SetBackColor(int32_t bgr) {
  backColor_ = bgr;
  Repaint(false);
}

std::string PlayerPicture::DefaultImageFileInfo() const {
  if (defaultImage_.empty() || fileImage_.isNull()) return {};
  const QFileInfo info(Q(defaultImage_));
  static constexpr std::array<const char*, 4> kUnits{"B", "KB", "MB", "GB"};
  double size = static_cast<double>(info.size());
  size_t unit = 0;
  while (size >= 1024 && unit + 1 < kUnits.size()) {
    size /= 1024;
    ++unit;
  }
  return S(QStringLiteral("%1 ( %2x%3, %4%5 )")
               .arg(info.fileName())
               .arg(fileImage_.width())
               .arg(fileImage_.height())
               .arg(size, 0, 'f', 2)
               .arg(QLatin1String(kUnits[unit])));
}

void PlayerPicture::MousePress(QPoint point) {
  if (!HasPicture()) return;
  pressPoint_ = point;
  offset_ += delta_;
  delta_ = {};
  dragging_ = true;
}

void PlayerPicture::MouseMove(QPoint point, bool leftButton) {
  if (!dragging_ || !leftButton || !moveable_) return;
  delta_ = point - pressPoint_;
  Repaint(false, ImageEffect::None, true);
}

void PlayerPicture::MouseRelease(QPoint) {
  if (!dragging_) return;
  dragging_ = false;
  Repaint(false);
}

QRectF PlayerPicture::PicturePlace(QSize area, QSize picture) const {
  const double fit = std::min(static_cast<double>(area.width()) / picture.width(),
                              static_cast<double>(area.height()) / picture.height());
  const double w = picture.width() * fit * zoom_;
  const double h = picture.height() * fit * zoom_;
  return QRectF((area.width() - w) / 2 + offset_.x() + delta_.x(), (area.height() - h) / 2 + offset_.y() + delta_.y(),
                w, h);
}

void PlayerPicture::DrawBackground(QPainter& painter, QSize size) const {
  const QColor back = FromBgr(backColor_);
  painter.fillRect(QRect(QPoint(), size), back);
  const QImage& picture = CurrentPicture();
  if (backStyle_ == ImageBackStyle::Checkerboard) {
    const QColor tone = FromBgr(ShiftColor(backColor_, 0.4));
    for (int y = 0; y < size.height(); y += kCheckerSquare) {
      for (int x = (1 - y / kCheckerSquare % 2) * kCheckerSquare; x < size.width(); x += 2 * kCheckerSquare) {
        painter.fillRect(x, y, kCheckerSquare, kCheckerSquare, tone);
      }
    }
  } else if (backStyle_ == ImageBackStyle::BlurredPicture && !picture.isNull()) {
    // The blur is the slow part of a frame: keep it while picture and size stay.
    const qint64 key = picture.cacheKey() ^ (static_cast<qint64>(size.width()) << 40) ^
                       (static_cast<qint64>(size.height()) << 20);
    if (blurCache_.isNull() || blurKey_ != key) {
      blurCache_ = ImageBlur(picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation), kBackBlurRadius);
      blurKey_ = key;
    }
    painter.drawImage(0, 0, blurCache_);
  }
}

QImage PlayerPicture::ComposeFrame(QSize size, bool fast) const {
  QImage frame(size.expandedTo(QSize(1, 1)), QImage::Format_ARGB32_Premultiplied);
  QPainter painter(&frame);
  DrawBackground(painter, frame.size());
  const QImage& picture = CurrentPicture();
  if (!picture.isNull()) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !fast);
    painter.drawImage(PicturePlace(frame.size(), picture.size()), picture);
  }
  return frame;
}

void PlayerPicture::Repaint(bool transition, ImageEffect explicitEffect, bool fast) {
  next_ = ComposeFrame(size_, fast);
  const bool wanted = explicitEffect != ImageEffect::None || transEffects_ != 0;
  if (!showEffect_ || !transition || !wanted || screen_.isNull()) {
    timer_.stop();
    activeEffect_ = ImageEffect::None;
    alpha_ = 255;
    screen_ = next_;
    emit Changed();
    return;
  }
  // A repaint during a transition starts it again from the screen as it is.
  activeEffect_ = explicitEffect != ImageEffect::None ? explicitEffect : PickEffect(transEffects_);
  if (activeEffect_ == ImageEffect::None) {
    screen_ = next_;
    emit Changed();
    return;
  }
  old_ = screen_;
  alpha_ = 0;
  timer_.setInterval(1);
  timer_.start();
}

void PlayerPicture::DrawFrame(int alpha) {
  const int index = static_cast<int>(activeEffect_) - 1;
  if (index < 0 || index >= static_cast<int>(kFrameRules.size())) return;
  const FrameRule& rule = kFrameRules[static_cast<size_t>(index)];
  const int w = screen_.width();
  const int h = screen_.height();
  const double p = alpha / 255.0;
  const int pw = static_cast<int>(std::lround(p * w));
  const int ph = static_cast<int>(std::lround(p * h));
  // The wipes blend so little per frame that the screen keeps most of the
  // frames before: they come up softly.
  const int wipe = 2 * (alpha * 25 / w);
  const int blend = rule.alpha == BlendAlpha::Counter ? alpha : wipe;
  QPainter painter(&screen_);
  if (rule.oldX != 0 || rule.oldY != 0) {
    painter.drawImage(QPoint(rule.oldX * pw, rule.oldY * ph), old_);
  }
  painter.setOpacity(blend / 255.0);
  if (rule.strip != Strip::Whole) {
    const QRect strip = StripRect(rule.strip, w, h, pw, ph);
    painter.drawImage(strip, next_, strip);
  } else {
    painter.drawImage(QPoint(Arriving(rule.newX, w, pw), Arriving(rule.newY, h, ph)), next_);
  }
}

void PlayerPicture::FinishTransition() {
  timer_.stop();
  alpha_ = 255;
  activeEffect_ = ImageEffect::None;
  screen_ = next_;
  old_ = {};
  emit Changed();
  emit TransitionFinished();
}

void PlayerPicture::Tick() {
  timer_.setInterval(effectSpeed_);
  if (alpha_ > 245 || activeEffect_ == ImageEffect::None) {
    if (activeEffect_ != ImageEffect::None || timer_.isActive()) FinishTransition();
    return;
  }
  DrawFrame(alpha_);
  alpha_ += kEffectAlphaStep;
  emit Changed();
}

void PlayerPicture::Resize(QSize size) {
  size = size.expandedTo(QSize(1, 1));
  if (size == size_ && !screen_.isNull()) return;
  size_ = size;
  // A transition under way goes on at the new size from the screen as it is.
  next_ = ComposeFrame(size_);
  if (Transitioning() && !screen_.isNull()) {
    old_ = screen_.scaled(size_);
    screen_ = old_;
  } else {
    screen_ = next_;
  }
}

void PlayerPicture::Paint(QPainter& painter, const QRect& rect) {
  Resize(rect.size());
  painter.drawImage(rect.topLeft(), screen_);
}

// ---- Screenshots ----

namespace {

QString TimeText(double seconds) { return Q(BarTime(seconds)); }

}  // namespace

QImage ScreenshotImage(const QImage& frame, const std::string& sourcePath, double position, double duration,
                       const ScreenshotTexts& texts) {
  QImage shot = frame.convertToFormat(QImage::Format_RGB32);
  const QFileInfo info(Q(sourcePath));
  std::vector<std::pair<QString, int>> lines;  // text, point size
  if (texts.headline) lines.emplace_back(Q(StrPictureScreenshotHeadline), 30);
  if (texts.name) lines.emplace_back(info.fileName(), 12);
  if (texts.stamp) {
    lines.emplace_back(QStringLiteral("%1 (%2-%3), %4x%5")
                           .arg(info.fileName(), TimeText(position), TimeText(duration))
                           .arg(frame.width())
                           .arg(frame.height()),
                       12);
  }
  if (texts.path) lines.emplace_back(info.absoluteFilePath(), 10);
  QPainter painter(&shot);
  painter.setRenderHint(QPainter::Antialiasing);
  int y = 8;
  for (const auto& [text, points] : lines) {
    QFont font(Q(StrPictureScreenshotFont));
    font.setPointSize(points);
    painter.setFont(font);
    const QFontMetrics metrics(font);
    y += metrics.ascent();
    // A dark edge keeps the light text readable on any frame.
    painter.setPen(Qt::black);
    painter.drawText(QPoint(11, y + 1), text);
    painter.setPen(Qt::white);
    painter.drawText(QPoint(10, y), text);
    y += metrics.descent() + 4;
  }
  return shot;
}

std::string ScreenshotFileName(const std::string& sourcePath, const std::string& folder,
                               std::optional<double> position, const std::string& suffix, QTime now) {
  const QFileInfo info(Q(sourcePath));
  const QString stamp = position ? TimeText(*position).replace(QLatin1Char(':'), QLatin1Char('-'))
                                 : now.toString(QStringLiteral("HHmmss"));
  const QString dir = folder.empty() ? info.absolutePath() : Q(folder);
  return S(dir + QLatin1Char('/') + info.completeBaseName() + QLatin1Char('_') + stamp + QLatin1Char('.') + Q(suffix));
}

bool SaveScreenshot(const QImage& image, const std::string& path, int quality) {
  const QString suffix = QFileInfo(Q(path)).suffix().toLower();
  QByteArray format = "bmp";
  if (suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg")) {
    format = "jpeg";
  } else if (suffix == QLatin1String("png")) {
    format = "png";
  } else if (suffix == QLatin1String("tif") || suffix == QLatin1String("tiff")) {
    format = "tiff";
  }
  QSaveFile file(Q(path));
  if (!file.open(QIODevice::WriteOnly)) return false;
  QImageWriter writer(&file, format);
  if (format == "jpeg") writer.setQuality(quality);
  if (format == "tiff") writer.setCompression(1);  // LZW, lossless
  if (!writer.write(image)) {
    file.cancelWriting();
    return false;
  }
  return file.commit();
}

}  // namespace zel
