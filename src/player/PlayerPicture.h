// The player's picture side: the picture on show when no video plays, its zoom
// and drag, the background behind it, the animated change from one picture to
// the next, and screenshots with their texts.
#pragma once

#include <QImage>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QString>
#include <QTime>
#include <QTimer>

#include <cstdint>
#include <optional>
#include <string>

class QPainter;
class QRect;

namespace zel {

// The transitions, numbered as `ImageTransEffects` counts them: the place in
// the effect list less 2.
enum class ImageEffect : int {
  RandomizePush = -2,
  RandomizeEffect = -1,
  None = 0,
  Alpha,
  ImageToRight,
  ImageToDown,
  ImageToLeft,
  ImageToTop,
  AlphaWipeImageToRight,
  AlphaWipeImageToDown,
  AlphaWipeImageToLeft,
  AlphaWipeImageToTop,
  AlphaWipePushImageToRight,
  AlphaWipePushImageToDown,
  AlphaWipePushImageToLeft,
  AlphaWipePushImageToTop,
  PushImageToRightDown,
  PushImageToLeftDown,
  PushImageToLeftTop,
  PushImageToRightTop,
  ZoomZoom,
  ZoomIn,
  OpenImagePage,
  // Only the random pick reaches it: one more push of the last family.
  PushFromLeftTop,
};

enum class ImageBackStyle : int { Plain = 0, Checkerboard = 1, BlurredPicture = 2 };

inline constexpr float kMinImageZoom = 0.2f;
inline constexpr float kDefaultImageZoom = 0.95f;
inline constexpr int kCheckerSquare = 11;
inline constexpr int kBackBlurRadius = 60;
inline constexpr int kEffectAlphaStep = 10;

// Loads a picture file by its content (the suffix only hints); a null image
// when it does not read. An animated picture gives its first frame.
QImage LoadPicture(const std::string& path);
// A box blur of the given radius, edges repeated.
QImage ImageBlur(const QImage& source, int radius);
// Every channel moved by `shift`, never by less than -25; the wallpaper behind
// an audio file is darkened this way so that texts stay readable on it.
QImage ImageToneShift(const QImage& source, int shift);

class PlayerPicture : public QObject {
  Q_OBJECT

 public:
  explicit PlayerPicture(QObject* parent = nullptr);

  static QString ImageEffects();

  const std::string& DefaultImage() const { return defaultImage_; }
  // Stores the name, resets zoom and offsets, repaints with a transition and
  // raises DefaultImageChanged, then FileOpened when the file exists and
  // FileClosed when it does not. An unreadable file draws the background only.
  void SetDefaultImage(const std::string& fileName);
  const QImage& DefaultStdPicture() const { return stdPicture_; }
  void SetDefaultStdPicture(const QImage& picture);
  // A picture the player itself shows for the medium (album art, a cover beside
  // the file, the wallpaper), without the events of a default image. A null
  // image takes it away.
  void SetMediaPicture(const QImage& picture, const QString& label = {});
  const QString& PictureLabel() const { return pictureLabel_; }
  // Empties the default image, the picture object and the medium's picture,
  // fading to the background.
  void CloseFile();

  float DefaultImageZoom() const { return zoom_; }
  void SetDefaultImageZoom(float zoom);
  float ImageZoomStep() const { return zoomStep_; }
  void SetImageZoomStep(float step) { zoomStep_ = step; }
  int DefaultImageOffsetX() const { return offset_.x(); }
  int DefaultImageOffsetY() const { return offset_.y(); }
  void SetDefaultImageOffsetX(int x);
  void SetDefaultImageOffsetY(int y);
  QPoint DragDelta() const { return delta_; }
  int DefaultImageBackStyle() const { return static_cast<int>(backStyle_); }
  void SetDefaultImageBackStyle(int style);
  bool ImageMoveable() const { return moveable_; }
  void SetImageMoveable(bool moveable) { moveable_ = moveable; }
  int ImageTransEffects() const { return transEffects_; }
  void SetImageTransEffects(int effect);
  int EffectSpeed() const { return effectSpeed_; }
  void SetEffectSpeed(int ms) { effectSpeed_ = ms < 1 ? 1 : ms; }
  bool ShowEffect() const { return showEffect_; }
  void SetShowEffect(bool show) { showEffect_ = show; }
  int32_t BackColor() const { return backColor_; }
  void SetBackColor(int32_t bgr);

  // "name ( WxH, 1.50KB )"; "" when no picture file is on show.
  std::string DefaultImageFileInfo() const;

  // Mouse, in the coordinates of the painted rectangle. The left button over
  // a picture drags it while ImageMoveable.
  void MousePress(QPoint point);
  void MouseMove(QPoint point, bool leftButton);
  void MouseRelease(QPoint point);

  // Builds the next frame and shows it, by a transition when `transition` is
  // set and effects are allowed: an explicit effect wins over the configured
  // one. `fast` draws without smoothing (a drag in progress).
  void Repaint(bool transition, ImageEffect explicitEffect = ImageEffect::None, bool fast = false);
  // The surface follows the host's size; the first call shows the frame at once.
  void Resize(QSize size);
  // Draws what is on show into `rect`; a size change rebuilds the frame.
  void Paint(QPainter& painter, const QRect& rect);
  // The frame a repaint would show now, for a surface of this size.
  QImage ComposeFrame(QSize size, bool fast = false) const;

  bool HasPicture() const { return !CurrentPicture().isNull(); }
  // The transition's state, for the host's status bar and for tests.
  bool Transitioning() const { return activeEffect_ != ImageEffect::None; }
  ImageEffect ActiveEffect() const { return activeEffect_; }
  int EffectAlpha() const { return alpha_; }
  const QImage& Screen() const { return screen_; }
  const QTimer& EffectTimer() const { return timer_; }

 public slots:
  // One frame of the transition; the timer calls it.
  void Tick();

 signals:
  void DefaultImageChanged(QString fileName);
  void FileOpened();
  void FileClosed();
  void DefaultImageZoomed();
  // The screen changed: the host repaints.
  void Changed();
  // A transition reached full alpha: the host repaints its status bar.
  void TransitionFinished();

 private:
  const QImage& CurrentPicture() const;
  QRectF PicturePlace(QSize area, QSize picture) const;
  void DrawBackground(QPainter& painter, QSize size) const;
  void DrawFrame(int alpha);
  void FinishTransition();
  void AnnounceImage(const std::string& fileName, bool emptied, bool exists);

  std::string defaultImage_;
  QImage fileImage_;
  QImage stdPicture_;
  QImage mediaPicture_;
  QString pictureLabel_;
  float zoom_ = kDefaultImageZoom;
  float zoomStep_ = 0.1f;
  QPoint offset_;
  QPoint delta_;
  QPoint pressPoint_;
  bool dragging_ = false;
  ImageBackStyle backStyle_ = ImageBackStyle::Checkerboard;
  bool moveable_ = true;
  int transEffects_ = 0;
  int effectSpeed_ = 10;
  bool showEffect_ = true;
  int32_t backColor_ = 0x000000;

  QSize size_{1, 1};
  QImage screen_;   // what the control shows
  QImage next_;     // the frame a transition moves towards
  QImage old_;      // the screen when the transition began
  ImageEffect activeEffect_ = ImageEffect::None;
  int alpha_ = 255;
  QTimer timer_;

  mutable QImage blurCache_;
  mutable qint64 blurKey_ = 0;
};

// ---- Screenshots ----

struct ScreenshotTexts {
  bool headline = true;  // "ZEL ScreenShot"
  bool name = true;      // the file's name
  bool stamp = true;     // name (time-total), WxH
  bool path = true;      // the file's folder and name
};

// The frame with the chosen texts drawn over its upper left corner.
QImage ScreenshotImage(const QImage& frame, const std::string& sourcePath, double position, double duration,
                       const ScreenshotTexts& texts = {});
// <folder>/<source name>_<position, ":" as "-">.<suffix>, or with the time of
// day "HHMMSS" when no position is given.
std::string ScreenshotFileName(const std::string& sourcePath, const std::string& folder,
                               std::optional<double> position, const std::string& suffix,
                               QTime now = QTime::currentTime());
// Written whole or not at all; the writer by suffix: jpg/jpeg as JPEG with the
// quality, png, tif/tiff, anything else as BMP.
bool SaveScreenshot(const QImage& image, const std::string& path, int quality = 85);

}  // namespace zel
