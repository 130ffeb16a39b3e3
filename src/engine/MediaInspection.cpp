#include "engine/MediaInspection.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <cstdarg>
#include <cstdio>

#include "base/TextHelpers.h"

namespace zel {

namespace {

// The text of the library's messages on this thread, while ReadMedia collects it.
thread_local std::string* collected = nullptr;
thread_local int linePrefix = 1;

void Collect(void* context, int level, const char* format, va_list arguments) {
  if (collected == nullptr || level > AV_LOG_INFO) return;
  char line[4096];
  av_log_format_line2(context, level, format, arguments, line, sizeof line, &linePrefix);
  collected->append(line);
}

void Say(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  av_vlog(nullptr, AV_LOG_ERROR, format, arguments);
  va_end(arguments);
}

// The figures of an opened file.
MediaFigures FiguresOf(const AVFormatContext* context) {
  MediaFigures figures;
  if (context->duration != AV_NOPTS_VALUE && context->duration > 0) {
    figures.duration = static_cast<double>(context->duration) / AV_TIME_BASE;
  }
  const int video = av_find_best_stream(const_cast<AVFormatContext*>(context), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video >= 0) {
    const AVStream* stream = context->streams[video];
    figures.width = stream->codecpar->width;
    figures.height = stream->codecpar->height;
    const AVRational rate = stream->avg_frame_rate;
    if (rate.num > 0 && rate.den > 0) figures.averageFrameTime = static_cast<double>(rate.den) / rate.num;
  }
  return figures;
}

// FFmpeg gives a sound stream without a channel layout the default one for its
// count before it describes the input, and says so.
void GuessChannelLayouts(AVFormatContext* context) {
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    AVCodecParameters* parameters = context->streams[i]->codecpar;
    if (parameters->codec_type != AVMEDIA_TYPE_AUDIO || parameters->ch_layout.order != AV_CHANNEL_ORDER_UNSPEC) {
      continue;
    }
    AVChannelLayout guessed{};
    av_channel_layout_default(&guessed, parameters->ch_layout.nb_channels);
    if (guessed.order == AV_CHANNEL_ORDER_UNSPEC) continue;
    char name[256];
    av_channel_layout_describe(&guessed, name, sizeof name);
    av_log(nullptr, AV_LOG_WARNING, "Guessed Channel Layout for Input Stream #0.%u : %s\n", i, name);
    av_channel_layout_uninit(&parameters->ch_layout);
    av_channel_layout_copy(&parameters->ch_layout, &guessed);
  }
}

// "libavformat    59. 27.100 / 59. 27.100": the version after the slash is the
// one the tool runs with.
std::string RunningVersion(std::string_view banner, std::string_view library) {
  for (std::string_view line : SplitLines(banner, LastLine::Keep)) {
    const std::string trimmed = Trim(line);
    if (!StartsWith(trimmed, library) || trimmed.size() == library.size() || trimmed[library.size()] != ' ') continue;
    const size_t slash = trimmed.find('/');
    std::string version;
    for (char c : std::string_view(trimmed).substr(slash == std::string::npos ? trimmed.size() : slash + 1)) {
      if (c != ' ') version += c;
    }
    return version;
  }
  return {};
}

std::string VersionText(unsigned version) {
  return std::to_string(AV_VERSION_MAJOR(version)) + "." + std::to_string(AV_VERSION_MINOR(version)) + "." +
         std::to_string(AV_VERSION_MICRO(version));
}

}  // namespace

// libmpv puts its own message handler in when it makes a handle, and the
// libraries have one for the whole process; ours goes back in before each use.
// mpv then loses the libraries' lines from its own log, which nobody reads.
void QuietMediaLibraries() { av_log_set_callback(Collect); }

std::optional<MediaFigures> InspectMedia(const std::string& path) {
  QuietMediaLibraries();
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return std::nullopt;
  std::optional<MediaFigures> figures;
  figures.emplace();
  if (avformat_find_stream_info(context, nullptr) >= 0) *figures = FiguresOf(context);
  avformat_close_input(&context);
  return figures;
}

namespace {

MediaReading ReadMediaOnce(const std::string& path) {
  QuietMediaLibraries();
  MediaReading reading;
  collected = &reading.text;
  linePrefix = 1;
  AVFormatContext* context = nullptr;
  AVDictionary* options = nullptr;
  // FFmpeg's own choice for every input: all programs of a transport stream.
  av_dict_set(&options, "scan_all_pmts", "1", AV_DICT_DONT_OVERWRITE);
  const int opened = avformat_open_input(&context, path.c_str(), nullptr, &options);
  av_dict_free(&options);
  if (opened < 0) {
    char reason[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(opened, reason, sizeof reason);
    Say("%s: %s\n", path.c_str(), reason);
  } else {
    reading.figures.emplace();
    const bool found = avformat_find_stream_info(context, nullptr) >= 0;
    if (!found) Say("%s: could not find codec parameters\n", path.c_str());
    if (found || context->nb_streams > 0) {
      *reading.figures = FiguresOf(context);
      GuessChannelLayouts(context);
      av_dump_format(context, 0, path.c_str(), 0);
    }
    avformat_close_input(&context);
  }
  collected = nullptr;
  return reading;
}

}  // namespace

MediaReading ReadMedia(const std::string& path) {
  // The libraries always say something, the description or the failure, so
  // silence means a player took the handler back while this one was read.
  MediaReading reading = ReadMediaOnce(path);
  for (int again = 0; again < 2 && reading.text.empty(); ++again) reading = ReadMediaOnce(path);
  return reading;
}

bool CoreSharesOurLibraries(std::string_view banner) {
  const std::pair<std::string_view, unsigned> libraries[] = {
      {"libavutil", avutil_version()}, {"libavcodec", avcodec_version()}, {"libavformat", avformat_version()}};
  for (const auto& [name, version] : libraries) {
    if (RunningVersion(banner, name) != VersionText(version)) return false;
  }
  return true;
}

}  // namespace zel
