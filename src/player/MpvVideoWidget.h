// The picture of an mpv session, drawn by mpv's OpenGL render API into a Qt
// OpenGL widget: works under X11 and Wayland alike, and Qt can grab it.
#pragma once

#include <QOpenGLWidget>
#include <QPointer>

struct mpv_render_context;

namespace zel {

class MpvSession;

class MpvVideoWidget : public QOpenGLWidget {
  Q_OBJECT

 public:
  explicit MpvVideoWidget(QWidget* parent = nullptr);
  ~MpvVideoWidget() override;

  // Draws this session from now on. The render context is made at once when
  // the widget has its GL context, else in initializeGL; RenderReady tells
  // when. nullptr detaches. A session that terminates detaches itself first.
  void Attach(MpvSession* session);
  bool Ready() const { return render_ != nullptr; }
  // The new video frames drawn since the last Attach; mpv's redraws of a
  // frame already shown do not count.
  long long FramesDrawn() const { return framesDrawn_; }

 signals:
  void RenderReady();
  // The session's first video frame is on the screen: drawn and the window's
  // buffers swapped.
  void FirstFrameShown();

 protected:
  void initializeGL() override;
  void paintGL() override;

 private:
  void CreateRender();
  void FreeRender();
  static void UpdateCallback(void* self);

  QPointer<MpvSession> session_;
  mpv_render_context* render_ = nullptr;
  bool glReady_ = false;
  long long framesDrawn_ = 0;
  bool firstFramePending_ = false;
};

}  // namespace zel
