#include "player/MpvVideoWidget.h"

#include "player/MpvSession.h"

#include <QMetaObject>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <mpv/render_gl.h>

namespace zel {
namespace {

void* ProcAddress(void* /*ctx*/, const char* name) {
  QOpenGLContext* context = QOpenGLContext::currentContext();
  return context != nullptr ? reinterpret_cast<void*>(context->getProcAddress(name)) : nullptr;
}

}  // namespace

MpvVideoWidget::MpvVideoWidget(QWidget* parent) : QOpenGLWidget(parent) {
  connect(this, &QOpenGLWidget::frameSwapped, this, [this] {
    if (!firstFramePending_) return;
    firstFramePending_ = false;
    emit FirstFrameShown();
  });
}

MpvVideoWidget::~MpvVideoWidget() {
  makeCurrent();
  FreeRender();
  doneCurrent();
}

void MpvVideoWidget::Attach(MpvSession* session) {
  if (session == session_) return;
  if (render_ != nullptr) {
    makeCurrent();
    FreeRender();
    doneCurrent();
  }
  if (session_ != nullptr) disconnect(session_, nullptr, this, nullptr);
  session_ = session;
  framesDrawn_ = 0;
  firstFramePending_ = false;
  if (session_ == nullptr) {
    update();
    return;
  }
  // The render context must go before mpv_terminate_destroy, which would
  // otherwise wait for it for ever.
  connect(session_, &MpvSession::AboutToTerminate, this, [this] { Attach(nullptr); }, Qt::DirectConnection);
  if (glReady_) {
    makeCurrent();
    CreateRender();
    doneCurrent();
  }
}

void MpvVideoWidget::initializeGL() {
  glReady_ = true;
  // A new GL context (the widget moved to another window) takes the old one's
  // render context with it.
  connect(context(), &QOpenGLContext::aboutToBeDestroyed, this,
          [this] {
            makeCurrent();
            FreeRender();
            doneCurrent();
            glReady_ = false;
          },
          Qt::DirectConnection);
  CreateRender();
}

void MpvVideoWidget::CreateRender() {
  if (session_ == nullptr || !session_->IsValid() || render_ != nullptr) return;
  mpv_opengl_init_params gl{&ProcAddress, nullptr};
  // No advanced control: with it mpv's core may wait on this thread, which
  // itself asks the core for properties, and the two would wait for ever.
  mpv_render_param params[] = {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_OPENGL)},
                               {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &gl},
                               {MPV_RENDER_PARAM_INVALID, nullptr}};
  if (mpv_render_context_create(&render_, session_->Handle(), params) < 0) {
    render_ = nullptr;
    return;
  }
  mpv_render_context_set_update_callback(render_, &MpvVideoWidget::UpdateCallback, this);
  emit RenderReady();
}

void MpvVideoWidget::FreeRender() {
  if (render_ == nullptr) return;
  mpv_render_context_set_update_callback(render_, nullptr, nullptr);
  mpv_render_context_free(render_);
  render_ = nullptr;
}

// On an mpv thread: only post a repaint.
void MpvVideoWidget::UpdateCallback(void* self) {
  auto* widget = static_cast<MpvVideoWidget*>(self);
  QMetaObject::invokeMethod(widget, [widget] { widget->update(); }, Qt::QueuedConnection);
}

void MpvVideoWidget::paintGL() {
  if (render_ == nullptr) {
    QOpenGLContext::currentContext()->functions()->glClearColor(0, 0, 0, 1);
    QOpenGLContext::currentContext()->functions()->glClear(GL_COLOR_BUFFER_BIT);
    return;
  }
  const qreal ratio = devicePixelRatioF();
  mpv_opengl_fbo fbo{static_cast<int>(defaultFramebufferObject()), static_cast<int>(width() * ratio),
                     static_cast<int>(height() * ratio), 0};
  int flipY = 1;
  mpv_render_param params[] = {{MPV_RENDER_PARAM_OPENGL_FBO, &fbo},
                               {MPV_RENDER_PARAM_FLIP_Y, &flipY},
                               {MPV_RENDER_PARAM_INVALID, nullptr}};
  // Asked before the render, which takes the queued frame: whether this
  // paint shows a new frame of the video rather than black or a redraw.
  mpv_render_frame_info next{};
  const bool fresh = mpv_render_context_get_info(render_, {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &next}) >= 0 &&
                     (next.flags & MPV_RENDER_FRAME_INFO_PRESENT) != 0 &&
                     (next.flags & MPV_RENDER_FRAME_INFO_REDRAW) == 0;
  mpv_render_context_render(render_, params);
  if (fresh && framesDrawn_++ == 0) firstFramePending_ = true;
}

}  // namespace zel
