#include "engine/FrameGrabber.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <mutex>

#include "engine/MediaInspection.h"

namespace zel {

struct FrameGrabber::State {
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVFrame* frame = nullptr;
  AVFrame* kept = nullptr;
  AVPacket* packet = nullptr;
  SwsContext* scaler = nullptr;
  int stream = -1;
  double duration = 0;

  ~State() {
    sws_freeContext(scaler);
    av_packet_free(&packet);
    av_frame_free(&kept);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
    avformat_close_input(&format);
  }

  double Seconds(int64_t timestamp) const {
    const AVStream* s = format->streams[stream];
    const int64_t start = s->start_time == AV_NOPTS_VALUE ? 0 : s->start_time;
    return static_cast<double>(timestamp - start) * av_q2d(s->time_base);
  }

  QImage ToImage(const AVFrame* source) {
    scaler = sws_getCachedContext(scaler, source->width, source->height, static_cast<AVPixelFormat>(source->format),
                                  source->width, source->height, AV_PIX_FMT_RGB32, SWS_BICUBIC, nullptr, nullptr,
                                  nullptr);
    if (scaler == nullptr) return {};
    QImage image(source->width, source->height, QImage::Format_RGB32);
    uint8_t* planes[4] = {image.bits(), nullptr, nullptr, nullptr};
    int strides[4] = {static_cast<int>(image.bytesPerLine()), 0, 0, 0};
    sws_scale(scaler, source->data, source->linesize, 0, source->height, planes, strides);
    return image;
  }
};

FrameGrabber::FrameGrabber(const std::string& path) : state_(std::make_unique<State>()) {
  QuietMediaLibraries();
  State& s = *state_;
  if (avformat_open_input(&s.format, path.c_str(), nullptr, nullptr) < 0) return;
  if (avformat_find_stream_info(s.format, nullptr) < 0) return;
  const AVCodec* decoder = nullptr;
  s.stream = av_find_best_stream(s.format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
  if (s.stream < 0 || decoder == nullptr) return;
  s.codec = avcodec_alloc_context3(decoder);
  if (s.codec == nullptr || avcodec_parameters_to_context(s.codec, s.format->streams[s.stream]->codecpar) < 0) return;
  s.codec->thread_count = 0;  // as many as the machine has
  if (avcodec_open2(s.codec, decoder, nullptr) < 0) {
    avcodec_free_context(&s.codec);
    return;
  }
  s.frame = av_frame_alloc();
  s.kept = av_frame_alloc();
  s.packet = av_packet_alloc();
  if (s.format->duration != AV_NOPTS_VALUE && s.format->duration > 0) {
    s.duration = static_cast<double>(s.format->duration) / AV_TIME_BASE;
  }
}

FrameGrabber::~FrameGrabber() = default;

bool FrameGrabber::IsOpen() const { return state_->codec != nullptr && state_->frame != nullptr; }
int FrameGrabber::Width() const { return IsOpen() ? state_->codec->width : 0; }
int FrameGrabber::Height() const { return IsOpen() ? state_->codec->height : 0; }
double FrameGrabber::Duration() const { return state_->duration; }

QImage FrameGrabber::FrameAt(double seconds) {
  if (!IsOpen()) return {};
  State& s = *state_;
  const AVStream* stream = s.format->streams[s.stream];
  const int64_t start = stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
  const int64_t target = start + static_cast<int64_t>(seconds / av_q2d(stream->time_base));
  if (av_seek_frame(s.format, s.stream, target, AVSEEK_FLAG_BACKWARD) < 0) {
    av_seek_frame(s.format, s.stream, start, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
  }
  avcodec_flush_buffers(s.codec);
  av_frame_unref(s.kept);

  // Decode forward, keeping the latest frame that starts no later than the time;
  // the first one after it ends the search. A file that ends first leaves its last
  // frame, and a time before the first frame takes the first.
  bool done = false, draining = false;
  while (!done) {
    if (!draining) {
      const int read = av_read_frame(s.format, s.packet);
      if (read < 0) {
        draining = true;
        avcodec_send_packet(s.codec, nullptr);
      } else {
        if (s.packet->stream_index == s.stream) avcodec_send_packet(s.codec, s.packet);
        av_packet_unref(s.packet);
      }
    }
    for (;;) {
      const int got = avcodec_receive_frame(s.codec, s.frame);
      if (got == AVERROR(EAGAIN) && !draining) break;
      if (got < 0) {
        done = true;  // the end of the stream, or a decoder that gave up
        break;
      }
      const int64_t when = s.frame->best_effort_timestamp;
      const bool late = when != AV_NOPTS_VALUE && s.Seconds(when) > seconds + 1e-6;
      if (late && s.kept->data[0] != nullptr) {
        done = true;
        av_frame_unref(s.frame);
        break;
      }
      av_frame_unref(s.kept);
      av_frame_move_ref(s.kept, s.frame);
      if (late) {
        done = true;
        break;
      }
    }
  }
  if (s.kept->data[0] == nullptr) return {};
  QImage image = s.ToImage(s.kept);
  av_frame_unref(s.kept);
  return image;
}

}  // namespace zel
