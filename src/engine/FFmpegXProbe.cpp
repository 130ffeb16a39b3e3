// The probe: what a source holds, read from the banner the core prints when it is
// given an input and no output, completed by the FFmpeg libraries in-process.
#include <cmath>

#include "engine/FFmpegX.h"
#include "engine/CommandLine.h"
#include "engine/MediaInspection.h"
#include "engine/ProbeService.h"

namespace zel {

namespace {

constexpr std::string_view kCrLf = "\r\n";

constexpr std::string_view kSubtitleEndings[] = {
    ".srt",     ".ssa",     ".ass",     ".chs.srt", ".chs.ssa", ".chs.ass", ".chn.srt",
    ".chn.ssa", ".chn.ass", ".cn.srt",  ".cn.ssa",  ".cn.ass",  ".gb.srt",  ".gb.ssa",
    ".gb.ass",  ".cht.srt", ".cht.ssa", ".cht.ass", ".eng.srt", ".eng.ssa", ".eng.ass",
};

std::string WithoutBlanks(std::string_view line) {
  std::string out;
  out.reserve(line.size());
  for (char c : line) {
    if (c != ' ') out += c;
  }
  return out;
}

void AppendLine(std::string& text, std::string_view line) {
  if (!text.empty()) text.append(kCrLf);
  text.append(line);
}

// The picture size of a "Stream ... Video:" piece such as "640x480[PAR1:1DAR4:3]".
void ReadSizePiece(std::string_view piece, int& width, int& height) {
  const size_t x = piece.find('x');
  std::string_view before = piece.substr(0, x);
  std::string_view after = piece.substr(x + 1);
  if (piece.find('[') != std::string_view::npos) {
    before = before.substr(0, before.find('['));
    after = after.substr(0, after.find('['));
  }
  width = static_cast<int>(Val(before));
  height = static_cast<int>(Val(after));
}

}  // namespace

std::string FFmpegX::GetStreamNumber(std::string_view line) {
  std::string number;
  const size_t stream = line.find("Stream");
  if (stream != std::string_view::npos) {
    const size_t from = stream + 6;
    const size_t open = line.find('(', from);
    const size_t colon = line.find(':', from);
    if (open != std::string_view::npos && line.find(')', open + 1) != std::string_view::npos) {
      number = line.substr(from, open - from);
    } else if (colon != std::string_view::npos) {
      number = line.substr(from, colon - from);
    }
  }
  return ReplaceAll(number, "#", "");
}

std::string FFmpegX::MapStreamNumber(std::string_view line) {
  const size_t stream = line.find("Stream");
  if (stream == std::string_view::npos) return {};
  size_t at = stream + 6;
  if (at < line.size() && line[at] == '#') ++at;
  auto digits = [&line, &at] {
    const size_t from = at;
    while (at < line.size() && line[at] >= '0' && line[at] <= '9') ++at;
    return line.substr(from, at - from);
  };
  const std::string_view file = digits();
  if (file.empty() || at >= line.size() || (line[at] != '.' && line[at] != ':')) return {};
  ++at;
  const std::string_view index = digits();
  return index.empty() ? std::string() : std::string(file) + "." + std::string(index);
}

std::string FFmpegX::CheckSubtitle(std::string_view mediaPath) {
  const std::string base(SplitExtension(mediaPath).stem);
  for (std::string_view ending : kSubtitleEndings) {
    const std::string candidate = base + std::string(ending);
    if (FileExists(candidate)) return candidate;
  }
  return {};
}

std::string FFmpegX::ProbeSource(const std::string& path) {
  if (!FileExists(path)) return {};
  // The service keeps what it read while the file and the core stay as they
  // were: the probe at the head of a job, and one asked for ahead by the task
  // loop or a window, cost nothing here.
  const ProbeFacts facts = ProbeService::Instance().Probe(path, FileExists(core_) ? core_ : std::string());
  return ReadProbeFacts(path, facts.toolText, facts.figures);
}

std::string FFmpegX::ReadProbeText(const std::string& path, const std::string& toolText) {
  return ReadProbeFacts(path, toolText, InspectMedia(path));
}

std::string FFmpegX::ReadProbeFacts(const std::string& path, const std::string& toolText,
                                    const std::optional<MediaFigures>& figures) {
  duration_ = 0;
  sourceVideoCodec_.clear();
  sourceAudioCodec_.clear();
  videoWidth_ = videoHeight_ = 0;
  sourceFrameRate_ = 0;
  sourceAudioSampleRate_ = 0;
  sourceAudioChannels_ = 0;
  videoStreamInfo_.clear();
  audioStreamInfo_.clear();
  subtitleStreamInfo_.clear();
  videoStreamCount_ = audioStreamCount_ = subtitleStreamCount_ = 0;
  videoMapStream_.clear();
  audioMapStream_.clear();
  sourceSuffix_ = LowerAscii(ExtensionOf(path));
  sourceFormat_ = sourceSuffix_;

  std::string list;
  if (HasLineEnd(toolText)) {
    for (std::string_view raw : SplitLines(toolText, LastLine::KeepIfNotEmpty)) {
      const std::string line = WithoutBlanks(raw);
      if (StartsWith(line, "Duration:")) {
        const size_t comma = line.find(',');
        std::string time = line.substr(9, comma == std::string::npos ? std::string::npos : comma - 9);
        bool withFraction = true;
        std::string separator = ".";
        duration_ = static_cast<float>(TimeToSec(time, withFraction, separator));
      } else if (StartsWith(line, "Stream")) {
        ReadStreamLine(line);
        AppendLine(list, line);
      } else if (StartsWith(line, "title")) {
        if (!list.empty()) list.append(", ");
        list.append(line);
      }
    }
  }

  if (Contains(toolText, "Input #")) {
    if (sourceSuffix_ == "mkv") {
      sourceFormat_ = "mkv";
    } else {
      const std::string found = GetString(toolText, "Input #", ", from");
      if (Contains(found, "mov") && sourceSuffix_ == "mov") {
        sourceFormat_ = "mov";
      } else if (Contains(found, "mp4") && (sourceSuffix_ == "mp4" || sourceSuffix_ == "flv")) {
        sourceFormat_ = "mp4";  // an MP4 under a false name stays an MP4
      } else {
        const size_t comma = found.find(", ");
        sourceFormat_ = LowerAscii(comma == std::string::npos ? found : found.substr(comma + 2));
      }
    }
    sourceFormat_ = sourceFormat_.substr(0, sourceFormat_.find(','));
  }

  // The libraries fill only what the tool left open, but their frame rate wins
  // over the tool's "tbr".
  if (figures) {
    if (duration_ == 0) duration_ = static_cast<float>(figures->duration);
    if (videoWidth_ == 0 || videoHeight_ == 0) {
      videoWidth_ = figures->width;
      videoHeight_ = figures->height;
    }
    if (figures->averageFrameTime > 0) {
      const float fps = static_cast<float>(std::round(1000.0 / figures->averageFrameTime) / 1000.0);
      if (fps != sourceFrameRate_) sourceFrameRate_ = fps;
    }
  }

  max_ = duration_;
  const float range = TimeEndPoint - TimeStartPoint;
  if (range > 0 && range < max_) max_ = range;

  fileInfo_ = SizeText(FileSize(path));
  if (duration_ <= 0) {
    if (videoWidth_ >= 1 && videoHeight_ >= 1) {
      fileInfo_ += ", " + std::to_string(videoWidth_) + "x" + std::to_string(videoHeight_);
    }
    if (sourceFrameRate_ > 0) fileInfo_ += ", " + FormatNumber(sourceFrameRate_) + "fps";
  } else {
    fileInfo_ += ", " + FormatMSecs(static_cast<double>(duration_) * 1000, kNotationDotMs);
    if (!sourceFormat_.empty()) fileInfo_ += ", " + UpperAscii(sourceFormat_);
    if (!sourceVideoCodec_.empty()) fileInfo_ += ", " + sourceVideoCodec_;
    if (videoWidth_ > 0 && videoHeight_ > 0) {
      fileInfo_ += ", " + std::to_string(videoWidth_) + "x" + std::to_string(videoHeight_);
    }
    if (sourceFrameRate_ > 0) fileInfo_ += ", " + FormatNumber(sourceFrameRate_) + "fps";
    if (!sourceAudioCodec_.empty()) fileInfo_ += ", " + sourceAudioCodec_;
    if (sourceAudioSampleRate_ > 0) fileInfo_ += ", " + std::to_string(sourceAudioSampleRate_) + "Hz";
    if (sourceAudioChannels_ > 0) fileInfo_ += ", " + FormatNumber(sourceAudioChannels_) + "ch";
  }

  list = fileInfo_ + std::string(kCrLf) + std::string(kCrLf) + list;
  if (FileInfoChange) FileInfoChange();
  return list;
}

void FFmpegX::ReadStreamLine(const std::string& line) {
  if (Contains(line, "Video:")) {
    const std::vector<std::string> pieces = Split(line, ",");
    const size_t mark = pieces[0].find("Video:");
    sourceVideoCodec_ = Trim(std::string_view(pieces[0]).substr(mark + 6));
    if (defaultVideoStream_.empty()) defaultVideoStream_ = GetStreamNumber(line);
    // A sound file's cover is a picture stream today; the old tool never saw it.
    if (videoMapStream_.empty() && !Contains(line, "(attachedpic)")) videoMapStream_ = MapStreamNumber(line);
    for (const std::string& piece : pieces) {
      if (Contains(piece, "x")) {
        ReadSizePiece(piece, videoWidth_, videoHeight_);
      } else if (Contains(piece, "tbr")) {
        sourceFrameRate_ = static_cast<float>(Val(ReplaceAll(piece, "tbr", "")));
      }
    }
    AppendLine(videoStreamInfo_, line);
    ++videoStreamCount_;
  } else if (Contains(line, "Audio:")) {
    const std::vector<std::string> pieces = Split(line.substr(line.find("Audio:") + 6), ",");
    if (!pieces.empty()) sourceAudioCodec_ = Trim(pieces[0]);
    if (pieces.size() > 1) sourceAudioSampleRate_ = static_cast<int>(Val(pieces[1]));
    if (pieces.size() > 2) {
      // Only a plain count is believed; "stereo" and "mono" alike read as two.
      const std::string channels = Trim(pieces[2]);
      sourceAudioChannels_ = IsNumeric(channels) ? static_cast<float>(Val(channels)) : 2.0f;
    }
    if (defaultAudioStream_.empty()) defaultAudioStream_ = GetStreamNumber(line);
    if (audioMapStream_.empty()) audioMapStream_ = MapStreamNumber(line);
    AppendLine(audioStreamInfo_, line);
    ++audioStreamCount_;
  } else if (Contains(line, "Subtitle:")) {
    AppendLine(subtitleStreamInfo_, line);
    ++subtitleStreamCount_;
    if (defaultSubtitleStream_.empty()) defaultSubtitleStream_ = GetStreamNumber(line);
  }
}

}  // namespace zel
