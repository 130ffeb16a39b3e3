#include "engine/CoreCapabilities.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/TextHelpers.h"

namespace zel {

namespace {

// The text after `mark` up to the end of its line, trimmed. Tools here end their
// lines with a line feed where the original ones used a carriage return.
std::string RestOfLine(std::string_view output, std::string_view mark) {
  const size_t hit = output.find(mark);
  if (hit == std::string_view::npos) return {};
  const std::string_view rest = output.substr(hit + mark.size());
  return Trim(rest.substr(0, rest.find_first_of("\r\n")));
}

// Today's banner: "ffmpeg version 5.1.9-0+deb12u1 Copyright ...".
std::string TodayVersion(std::string_view output) {
  constexpr std::string_view kMark = "ffmpeg version";
  std::string_view rest = output.substr(output.find(kMark) + kMark.size());
  while (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
  return std::string(rest.substr(0, rest.find_first_of(" \r\n")));
}

struct BannerRule {
  std::string_view begins;
  int status;
  std::string_view name;
};

constexpr std::array<BannerRule, 6> kBanners{{
    {"MEncoder", kCoreMEncoder, "MEncoder"},
    {"x264", kCoreX264, "x264"},
    {"ASFBIN", kCoreAsfBin, "ASFBIN"},
    {"mkvmerge", kCoreMkvmerge, "mkvmerge"},
    {"MP4Box", kCoreMP4Box, "MP4Box"},
    {"Helix DNA(TM) Producer", kCoreHelixProducer, "Helix DNA(TM) Producer"},
}};

std::string BannerVersion(int status, std::string_view output, const CoreRerun& rerun) {
  switch (status) {
    case kCoreMEncoder: return GetString(output, "MEncoder", "(");
    case kCoreX264: return GetString(rerun ? rerun("--help") : std::string(), "x264", "\n");
    case kCoreAsfBin: return GetString(output, "version asfbin", ". Copyright");
    case kCoreMkvmerge: return GetString(output, "mkvmerge v", "(");
    case kCoreMP4Box: {
      const std::string version = rerun ? rerun("-version") : std::string();
      if (Contains(version, "- compiled")) return GetString(version, "-", "- compiled");
      return RestOfLine(version, "-");
    }
    case kCoreHelixProducer: return RestOfLine(output, "Helix DNA(TM) Producer");
    default: return {};
  }
}

// One capability list, in the order the tool names them, each name once.
class NameList {
 public:
  void Add(std::string name) {
    if (name.empty() || std::find(names_.begin(), names_.end(), name) != names_.end()) return;
    names_.push_back(std::move(name));
  }
  std::string Joined(std::string_view lead) const {
    std::string text(lead);
    for (size_t i = 0; i < names_.size(); ++i) {
      if (i > 0) text += '|';
      text += names_[i];
    }
    return text;
  }

 private:
  std::vector<std::string> names_;
};

// "(encoders: libx264 libx264rgb )" -> LIBX264, LIBX264RGB
void AddEncoderAnnotations(std::string_view line, NameList& list) {
  constexpr std::string_view kMark = "(encoders:";
  const size_t begin = line.find(kMark);
  if (begin == std::string_view::npos) return;
  const size_t end = line.find(')', begin);
  const std::string_view names = line.substr(begin + kMark.size(),
                                             (end == std::string_view::npos ? line.size() : end) - begin - kMark.size());
  for (const std::string& n : Split(names, " ")) list.Add(UpperAscii(Trim(n)));
}

}  // namespace

CoreIdentity IdentifyCore(std::string_view output, const CoreRerun& rerun) {
  CoreIdentity id;
  if (Contains(output, "FFmpeg version")) {
    id.status = kCoreFFmpeg;
    id.name = "FFmpeg";
    id.version = GetString(output, "FFmpeg version", ",");
    return id;
  }
  if (Contains(output, "ffmpeg version")) {
    id.status = kCoreFFmpeg;
    id.name = "FFmpeg";
    id.version = TodayVersion(output);
    id.dialect = ToolDialect::Today;
    return id;
  }
  for (const BannerRule& rule : kBanners) {
    if (StartsWith(output, rule.begins)) {
      id.status = rule.status;
      id.name = rule.name;
      id.version = BannerVersion(rule.status, output, rerun);
      return id;
    }
  }
  return id;
}

CoreLists ParseFFmpegCapabilities(std::string_view text, ToolDialect dialect) {
  NameList formats, inputs, video, audio, subtitle;
  video.Add("COPY");
  audio.Add("COPY");
  subtitle.Add("COPY");

  if (HasLineEnd(text)) {
    constexpr size_t kFormatColumn = 4, kCodecColumn = 8;
    size_t column = 0;
    for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
      if (Contains(line, "Bitstream filters:")) break;
      if (Contains(line, "File formats:")) {
        column = kFormatColumn;
        continue;
      }
      if (Contains(line, "Codecs:")) {
        column = kCodecColumn;
        continue;
      }
      if (column == 0 || line.size() < 4 || Contains(line, "=")) continue;
      const size_t nameEnd = line.find(' ', column);
      if (nameEnd == std::string_view::npos) continue;
      std::string name = UpperAscii(Trim(line.substr(column, nameEnd - column)));
      if (column == kFormatColumn && line[1] == 'D') inputs.Add(name);
      if ((line[2] | 0x20) != 'e') continue;

      if (column == kFormatColumn) {
        if (!Trim(line).empty() && !Contains(line, "pipe")) formats.Add(std::move(name));
        continue;
      }
      NameList* list = nullptr;
      switch (line[3] | 0x20) {
        case 'v': list = &video; break;
        case 'a': list = &audio; break;
        case 's': list = &subtitle; break;
        default: break;
      }
      if (list == nullptr) continue;
      list->Add(std::move(name));
      if (dialect == ToolDialect::Today) AddEncoderAnnotations(line, *list);
    }
  }
  return CoreLists{formats.Joined(""), video.Joined("|"), audio.Joined("|"), subtitle.Joined("|"),
                   inputs.Joined("")};
}

CoreLists FixedCoreLists(int coreStatus) {
  switch (coreStatus) {
    case kCoreMEncoder:
      return {"XVID|H264|MP4|3GP|WMV|FLV|PAL-VCD|NTSC-VCD|PAL-SVCD|NTSC-SVCD|PAL-DVD|NTSC-DVD",
              "COPY|FRAMENO|XVID|X264|RAW|NUV|LAVC|VFW|QTVIDEO", "COPY|PCM|MP3LAME|LAVC|TWOLAME|FAAC", "", ""};
    case kCoreHelixProducer:
      return {"RMVB", "RV8|RV9|RV10", "COOK|RAAC|SIPR", "", ""};
    default:
      return {};
  }
}

}  // namespace zel
