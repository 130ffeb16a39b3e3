#include "jobs/FormatCatalogue.h"

#include "jobs/Strings.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

// A row is offered when the core's lists hold its container, video and audio
// codec; an empty requirement always holds. Names are compared in lower case
// and anywhere in the list, so "AMR" is met by "LIBOPENCORE_AMRNB".
struct FormatRow {
  std::string_view text;
  std::string_view container, video, audio;
};

constexpr FormatRow kMainRows[] = {
    {"|3GP", "3GP", "H263", "AMR"},
    {"|H264|MKV", "H264", "LIBX264", "AAC"},
    {"|DIVX", "AVI", "MPEG4", "LIBMP3LAME"},
    {"|XVID", "AVI", "LIBXVID", "LIBMP3LAME"},
    {"|WMV|ASF", "ASF", "WMV2", "WMAV2"},
    {"|WEBM", "WEBM", "", ""},
    {"|AMV", "AMV", "", ""},
    {"|AVI", "AVI", "", ""},
    {"|FLV", "FLV", "", ""},
    {"|MOV", "MOV", "", ""},
    {"|MPEG", "MPEG", "", ""},
    {"|MJPEG", "AVI", "MJPEG", "PCM_S16LE"},
    {"|PSP", "PSP", "LIBX264", "AAC"},
    {"|IPOD|IPHONE", "IPOD", "LIBX264", "AAC"},
    {"|SVI", "AVI", "LIBXVID", "LIBMP3LAME"},
};

bool Holds(std::string_view list, std::string_view name) {
  return name.empty() || Contains(LowerAscii(list), LowerAscii(name));
}

constexpr std::string_view kLongX264 =
    "-coder 1 -flags +loop -cmp +chroma -partitions +parti8x8+parti4x4+partp8x8+partb8x8 -me_method hex -subq 7 "
    "-me_range 16 -g 250 -keyint_min 25 -sc_threshold 40 -i_qfactor 0.71 -b_strategy 1 -qcomp 0.6 -qmin 10 -qmax 51 "
    "-qdiff 4 -bf 3 -refs 3 -directpred 1 -trellis 1 -flags2 +bpyramid+mixed_refs+wpred+dct8x8+fastpskip -wpredp 2";
constexpr std::string_view kPortableX264 = "-qmin 10 -qmax 51 -qdiff 4 -me_range 16 -keyint_min 25 -qcomp 0.6";

// Marks for codecs whose name depends on the core's encoders.
constexpr std::string_view kChooseAac = "(aac)", kChooseVpx = "(vpx)", kChooseVorbis = "(vorbis)";

// Format names separated by blanks; the first row that names a format holds.
struct CodecDefaults {
  std::string_view formats, video, audio, script;
};
constexpr CodecDefaults kCodecDefaults[] = {
    {"MKV H264", "LIBX264", kChooseAac, kLongX264},
    {"PSP IPHONE IPOD", "LIBX264", kChooseAac, kPortableX264},
    {"WEBM", kChooseVpx, kChooseVorbis, "-g 120 -qmax 51"},
    {"DIVX", "MPEG4", "LIBMP3LAME", ""},
    {"SVI XVID", "LIBXVID", "LIBMP3LAME", ""},
    {"ASF WMV", "WMV2", "WMAV2", ""},
    {"MJPEG", "MJPEG", "PCM_S16LE", ""},
    {"MP4S", "MPEG4", "ADPCM_IMA_WAV", ""},
    {"WMA", "", "WMAV2", ""},
    {"AC3", "", "AC3", ""},
    {"OGG", "", "VORBIS", ""},
    {"WAV", "", "PCM_S16LE", ""},
    {"PNG", "PNG", "", ""},
};

// The last row, naming no format, holds for all others.
struct RateDefaults {
  std::string_view formats, videoBitrate, videoSize, videoFrame, audioBitrate, audioSample, audioChannels;
};
constexpr RateDefaults kRateDefaults[] = {
    {"H263 3GP", "128", "176x144", "15", "12.2", "8000", "1"},
    {"AMR", "5vbr", "", "23.976", "12.2", "8000", "1"},
    {"MKV H264 IPOD IPHONE", "22vbr", "", "23.976", "128", "", ""},
    {"PSP", "22vbr", "480x272", "23.976", "128", "48000", "2"},
    {"FLV", "5vbr", "", "23.976", "128", "44100", ""},
    {"", "5vbr", "", "23.976", "128", "", ""},
};

bool RowNames(std::string_view formats, std::string_view name) {
  return !name.empty() && Contains(" " + std::string(formats) + " ", " " + std::string(name) + " ");
}

}  // namespace

bool InFilter(std::string_view path, std::string_view filter) {
  const size_t dot = path.rfind('.');
  const std::string_view extension = dot == std::string_view::npos ? path : path.substr(dot + 1);
  // A point in a folder's name leaves a "/" in what follows it.
  if (extension.empty() || extension.find('/') != std::string_view::npos) return false;
  // Whole entries only: "x.m" is no "*.mp4". A folder scan asks this of every
  // file four times, so the filter is walked in place.
  const std::string wanted = "*." + LowerAscii(extension);
  size_t begin = 0;
  while (begin <= filter.size()) {
    size_t end = filter.find(';', begin);
    if (end == std::string_view::npos) end = filter.size();
    std::string_view entry = filter.substr(begin, end - begin);
    while (!entry.empty() && entry.front() == ' ') entry.remove_prefix(1);
    while (!entry.empty() && entry.back() == ' ') entry.remove_suffix(1);
    if (entry.size() == wanted.size() && LowerAscii(entry) == wanted) return true;
    begin = end + 1;
  }
  return false;
}

bool IsFormatRow(std::string_view row) { return !row.empty() && row != "-"; }

std::string BuildFormatListMain(const CatalogueInputs& in) {
  std::string list;
  if (in.ffmpegUsable) list.append(StrDirectCut).append("|").append(StrDirectJoin).append("|-|");
  list += "MP4";
  for (const FormatRow& row : kMainRows) {
    if (Holds(in.formats, row.container) && Holds(in.video, row.video) && Holds(in.audio, row.audio)) {
      list += row.text;
    }
  }
  list += "|-|MP3|AAC|M4A|WMA|-|GIF|JPG|PNG|-|SRT|SSA|ASS|LRC|-|";
  list += StrMoreFormats;
  return list;
}

std::string BuildFormatListMore(const CatalogueInputs& in) {
  std::string list;
  if (in.producerPresent) list += "|RMVB";
  list +=
      "|OGG|FLAC|AC3|AMR|MP2|WAV|TIF|BMP|KSC|KRC|SMI|SAMI|SNC|QLY|UTF|STL|VSF|DKS|TXT|STXT|MPEG-TS|PAL-VCD|NTSC-VCD|"
      "FILM-VCD|PAL-SVCD|NTSC-SVCD|FILM-SVCD|PAL-DVD|NTSC-DVD|FILM-DVD|PAL-DV|NTSC-DV|FILM-DV|JPEG+THM|VIDEO|AUDIO|"
      "CopyTo|MoveTo";
  if (in.mencoderPresent) {
    list +=
        "|DIVX/ME|XVID/ME|MKV/ME|H264/ME|MP4/ME|WMV/ME|FLV/ME|MOV/ME|PSP/ME|IPOD/ME|IPHONE/ME|MP3/ME|MP2/ME|M4A/ME|"
        "WMA/ME|AC3/ME|WAV/ME|VIDEO/ME|AUDIO/ME";
  }
  return list;
}

ValueLists BuildValueLists(const CatalogueInputs& in) {
  ValueLists lists;
  lists.videoCodecs = std::string(StrDisableVideo) + "|";
  if (!in.video.empty()) lists.videoCodecs += in.video + "|";
  lists.audioCodecs = std::string(StrDisableAudio) + "|" + in.audio;
  lists.subtitleCodecs = std::string(StrDisableSubtitle) + "|" + in.subtitle;
  lists.containers = in.formats;
  lists.frameSizes =
      "|128x96|160x96|176x0|176x128|176x144|240x320|240x400|320x0|320x240|320x480|352x240|352x288|368x208|480x0|"
      "480x272|480x320|480x640|480x720|480x800|480x854|640x0|640x352|640x480|720x0|720x480|800x0|800x480|800x600|"
      "854x480|1280x720|1440x1080|1920x1080|25%|50%|75%";
  lists.videoBitrates = "|96|128|200|256|300|350|384|450|512|768|900|1024|1200|1500|1800|2000|2500|3000|4000|5000|6000|8000|9000|15000";
  for (int q = 1; q <= 31; ++q) lists.videoBitrates += "|" + std::to_string(q) + "vbr";
  lists.frameRates = "|3|5|8|10|11.988|12|14.985|15|20|23|23.976|24|25|27|29.97|30";
  lists.aspectRatios = "|1.2222|1.7792|3:2|4:3|5:3|16:9|16:10";
  lists.borderRatios = lists.aspectRatios;
  lists.cropPad = "0|2|4|6|8|10|12|14|16|18|20|22|24|26|28|30|32";
  lists.audioBitrates =
      "|4.75|5.15|5.9|6.7|7.4|7.95|8|10.2|12|12.2|16|24|32|48|64|80|96|112|128|160|192|256|384|448|512|1500";
  for (int q = 10; q <= 100; q += 10) lists.audioBitrates += "|" + std::to_string(q) + "aq";
  lists.audioSampling = "|8000|11025|16000|22050|24000|32000|44100|48000";
  lists.audioChannels = "|1|2|6";
  lists.audioVolume =
      "|10%|20%|30%|40%|50%|60%|70%|80%|90%|100%|110%|120%|130%|140%|150%|160%|170%|180%|190%|200%|250%|300%|350%|"
      "400%|450%|500%|600%|700%|800%|900%|1000%";
  return lists;
}

ValueLists RealMediaValueLists(const CatalogueInputs& in) {
  ValueLists lists = BuildValueLists(in);
  lists.videoCodecs = "RV8|RV10";
  lists.audioCodecs = "COOK|RAAC|SIPR";
  lists.containers = "RMVB";
  return lists;
}

std::array<std::pair<std::string_view, const std::string*>, 12> FormatDefaultSet::Entries() const {
  return {{{"VideoCodec", &videoCodec},
           {"VideoSize", &videoSize},
           {"VideoBitrate", &videoBitrate},
           {"VideoFrame", &videoFrame},
           {"VideoAspect", &videoAspect},
           {"VideoPadBorder", &videoPadBorder},
           {"AudioCodec", &audioCodec},
           {"AudioBitrate", &audioBitrate},
           {"AudioSample", &audioSample},
           {"AudioChannels", &audioChannels},
           {"AdditionalScripts", &script},
           {"AdditionalPass1Scripts", &pass1Script}}};
}

FormatDefaultSet FormatDefaults(std::string_view format, std::string_view videoList, std::string_view audioList) {
  const std::string name = UpperAscii(format);
  const std::string videos = LowerAscii(videoList);
  const std::string audios = LowerAscii(audioList);
  // A choice mark stands for the encoder name this core knows.
  auto choose = [&](std::string_view codec) -> std::string {
    if (codec == kChooseAac) return Contains(audios, "libfaac") ? "LIBFAAC" : "AAC";
    if (codec == kChooseVpx) return Contains(videos, "libvpx_vp8") ? "LIBVPX_VP8" : "LIBVPX";
    if (codec == kChooseVorbis) return Contains(audios, "libvorbis") ? "LIBVORBIS" : "VORBIS";
    return std::string(codec);
  };

  FormatDefaultSet set;
  for (const CodecDefaults& row : kCodecDefaults) {
    if (!RowNames(row.formats, name)) continue;
    set.videoCodec = choose(row.video);
    set.audioCodec = choose(row.audio);
    set.script = row.script;
    // The first pass of the long x264 set searches less and keeps one reference.
    set.pass1Script = row.script != kLongX264
                          ? std::string(row.script)
                          : ReplaceAll(ReplaceAll(row.script, "-me_method hex -subq 7", "-me_method dia -subq 2"),
                                       "-refs 3 -directpred 1 -trellis 1", "-refs 1 -directpred 1 -trellis 0");
    break;
  }
  for (const RateDefaults& row : kRateDefaults) {
    if (!row.formats.empty() && !RowNames(row.formats, name)) continue;
    set.videoBitrate = row.videoBitrate;
    set.videoSize = row.videoSize;
    set.videoFrame = row.videoFrame;
    set.audioBitrate = row.audioBitrate;
    set.audioSample = row.audioSample;
    set.audioChannels = row.audioChannels;
    break;
  }
  return set;
}

std::string FormatDescription(std::string_view name) {
  std::string key = LowerAscii(name);
  std::string prefix;
  if (Contains(key, "/me")) {
    key = ReplaceAll(key, "/me", "");
    prefix = StrMEncoderBased;
  }
  for (const FormatSentence& row : StrFormatSentences) {
    if (row.name == key) return prefix + std::string(row.sentence);
  }
  return prefix + std::string(StrCustomFormat);
}

}  // namespace zel
