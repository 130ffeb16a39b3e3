// The output formats a user can choose, what each is called and described as,
// and the settings each starts from, built from what the tools can do.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace zel {

// What the catalogue is built from: the FFmpeg core's lists (upper case,
// joined by "|") and which other tools are present.
struct CatalogueInputs {
  bool ffmpegUsable = false;
  std::string formats, video, audio, subtitle;
  bool producerPresent = false;
  bool mencoderPresent = false;
};

inline constexpr std::string_view SubtitleFormatList = "SRT|SSA|ASS|LRC|KSC|KRC|SMI|SAMI|SNC|QLY|UTF|STL|VSF|DKS|TXT|STXT";

// The open dialog's image filter; a name in it is a picture format.
inline constexpr std::string_view kImageFilter = "*.jpg; *.jpeg; *.gif; *.bmp; *.png; *.dib; *.tif; *.tiff; *.jpeg+thm";
// The open dialog's other filters; the long lists end with the extensions
// that today's tools read.
inline constexpr std::string_view kVideoFilter =
    "*.rmvb; *.rm; *.avi; *.mp4; *.3gp; *.264; *.h264; *.avc; *.dat; *.qt; *.mov; *.mpg; *.mpeg; *.m1v; *.wmv; *.asf; "
    "*.mkv; *.flv; *.pmp; *.divx; *.xvid; *.3gp2; *.3g2; *.3gpp; *.fli; *.flc; *.m4v; *.dv; *.vob; *.ts; *.m2ts; "
    "*.mts; *.tp; *.trp; *.webm; *.ogv; *.ogm; *.f4v; *.swf; *.amv; *.nsv; *.mxf; *.y4m; *.m2v; *.evo; *.vp6; "
    "*.avs";
inline constexpr std::string_view kAudioFilter =
    "*.mp3; *.wma; *.mp2; *.ac3; *.ogg; *.wav; *.aac; *.dts; *.aiff; *.au; *.ram; *.ra; *.cda; *.amr; *.m4a; *.mmf; "
    "*.awb; *.flac; *.ape; *.mpc; *.audio; *.mpa; *.opus; *.oga; *.mka; *.wv; *.tta; *.aif; *.caf; *.spx";
inline constexpr std::string_view kSubtitleFilter =
    "*.ssa; *.srt; *.ass; *.lrc; *.ksc; *.krc; *.smi; *.sami; *.snc; *.qly; *.utf; *.stl; *.vsf; *.dks; *.txt; *.stxt";
// True when "*." + the extension of `path` is in `filter`, ignoring case.
bool InFilter(std::string_view path, std::string_view filter);

// "|"-separated lists in which "-" is a separator row.
std::string BuildFormatListMain(const CatalogueInputs& in);
std::string BuildFormatListMore(const CatalogueInputs& in);

// The allowed values of the settings rows, each "|"-separated; a leading "|"
// gives an empty first row, which means "as the source".
struct ValueLists {
  std::string videoCodecs, audioCodecs, subtitleCodecs, containers;
  std::string frameSizes, videoBitrates, frameRates, aspectRatios, borderRatios, cropPad;
  std::string audioBitrates, audioSampling, audioChannels, audioVolume;
};
ValueLists BuildValueLists(const CatalogueInputs& in);
// The RealMedia producer's own codec and format lists over the common ones.
ValueLists RealMediaValueLists(const CatalogueInputs& in);

// The twelve settings a format starts from.
struct FormatDefaultSet {
  std::string videoCodec, videoSize, videoBitrate, videoFrame, videoAspect, videoPadBorder;
  std::string audioCodec, audioBitrate, audioSample, audioChannels;
  std::string script, pass1Script;

  // (settings key, value) in the order of the store's keys.
  std::array<std::pair<std::string_view, const std::string*>, 12> Entries() const;
};
// `videoList` and `audioList` are the core's codec lists, which decide between
// alternative encoder names.
FormatDefaultSet FormatDefaults(std::string_view format, std::string_view videoList, std::string_view audioList);

// The sentence shown under the format field.
std::string FormatDescription(std::string_view name);

// True for a name that is a format and not a separator or an empty row.
bool IsFormatRow(std::string_view row);

}  // namespace zel
