#include "engine/MediaInspection.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <mutex>

namespace zel {

std::optional<MediaFigures> InspectMedia(const std::string& path) {
  // The libraries would otherwise print their complaints about damaged files
  // on our own standard error.
  static std::once_flag quiet;
  std::call_once(quiet, [] { av_log_set_level(AV_LOG_QUIET); });

  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return std::nullopt;
  MediaFigures figures;
  if (avformat_find_stream_info(context, nullptr) >= 0) {
    if (context->duration != AV_NOPTS_VALUE && context->duration > 0) {
      figures.duration = static_cast<double>(context->duration) / AV_TIME_BASE;
    }
    const int video = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (video >= 0) {
      const AVStream* stream = context->streams[video];
      figures.width = stream->codecpar->width;
      figures.height = stream->codecpar->height;
      const AVRational rate = stream->avg_frame_rate;
      if (rate.num > 0 && rate.den > 0) figures.averageFrameTime = static_cast<double>(rate.den) / rate.num;
    }
  }
  avformat_close_input(&context);
  return figures;
}

}  // namespace zel
