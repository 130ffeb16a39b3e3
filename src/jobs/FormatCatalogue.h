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
// that the FFmpeg of today's distributions reads.
inline constexpr std::string_view kVideoFilter =
    "*.rmvb; *.rm; *.avi; *.mp4; *.3gp; *.264; *.h264; *.avc; *.dat; *.qt; *.mov; *.mpg; *.mpeg; *.m1v; *.wmv; *.asf; "
    "*.mkv; *.flv; *.pmp; *.divx; *.xvid; *.3gp2; *.3g2; *.3gpp; *.fli; *.flc; *.m4v; *.dv; *.vob; *.ts; *.m2ts; "
    "*.mts; *.tp; *.trp; *.webm; *.ogv; *.ogm; *.f4v; *.swf; *.amv; *.nsv; *.mxf; *.y4m; *.m2v; *.evo; *.vp6; "
    "*.avs; *.m2t; *.m2p; *.mpe; *.mpv; *.vro; *.mod; *.tod; *.dif; *.mk3d; *.mj2; *.psp; *.ism; *.ismv; *.hevc; "
    "*.h265; *.265; *.h26l; *.vc1; *.rcv; *.ivf; *.obu; *.nut; *.mjpg; *.mjpeg; *.wtv; *.dvr-ms; *.ivr; *.bik; "
    "*.smk; *.roq; *.viv; *.xmv; *.gxf; *.mxg";
inline constexpr std::string_view kAudioFilter =
    "*.mp3; *.wma; *.mp2; *.ac3; *.ogg; *.wav; *.aac; *.dts; *.aiff; *.au; *.ram; *.ra; *.cda; *.amr; *.m4a; *.mmf; "
    "*.awb; *.flac; *.ape; *.mpc; *.audio; *.mpa; *.opus; *.oga; *.mka; *.wv; *.tta; *.aif; *.caf; *.spx; *.aifc; "
    "*.m4b; *.m4r; *.isma; *.m2a; *.mp1; *.mpga; *.weba; *.3ga; *.snd; *.voc; *.w64; *.rf64; *.bwf; *.eac3; *.ec3; "
    "*.dtshd; *.thd; *.mlp; *.adx; *.gsm; *.sln; *.sbc; *.oma; *.omg; *.aa3; *.shn; *.tak; *.ofr; *.vqf; *.dsf; "
    "*.dff; *.xm; *.it; *.s3m; *.mptm";
inline constexpr std::string_view kSubtitleFilter =
    "*.ssa; *.srt; *.ass; *.lrc; *.ksc; *.krc; *.smi; *.sami; *.snc; *.qly; *.utf; *.stl; *.vsf; *.dks; *.txt; *.stxt";
// True when "*." + the extension of `path` is one of the entries of `filter`,
// ignoring case. A bare name without a point counts as an extension ("tif");
// a file whose name has no point belongs to no filter.
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
