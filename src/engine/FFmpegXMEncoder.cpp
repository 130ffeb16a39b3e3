// MEncoder's composition: the fragments of a MEncoder command for the target,
// taken from one table of format rows walked in order.
#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"

namespace zel {

namespace {

// The encoder families differ in the words for rate and pass.
enum class Family { Lavc, X264, Xvid };

// What a row composes.
enum class Kind {
  Disc,       // literal encoder and filters, then threads and pass
  Video,      // encoder, rate, threads, the row's own text, pass; scale and audio blocks
  AudioOnly,  // no picture, the audio block unless the row says otherwise
  Copy,       // streams copied, the source's extension
  Bare,       // nothing at all: the tool runs on its defaults
};

enum class Ext { Literal, Format, Source };

struct Row {
  std::string_view keys{};  // blank-separated; "*" any other key
  Kind kind = Kind::Bare;
  std::string_view videoEncoder{};
  Family family = Family::Lavc;
  bool singleThread = false;        // threads fixed at 1
  std::string_view then{};          // behind the threads
  std::string_view frameRate{};     // in place of the block's " -ofps N", if set
  std::string_view videoFilter{};   // a disc's literal filter
  std::string_view audioEncoder{};  // "%N" is the audio bit rate
  bool audioBlock = false;
  std::string_view audioFilter{};   // a disc's literal audio filter
  std::string_view muxer{};         // "%f" is the format key
  Ext ext = Ext::Literal;
  std::string_view extension{};     // the literal one, or a disc's in place of the source's
};

constexpr Row Disc(std::string_view keys, std::string_view encoder, std::string_view audio, std::string_view filter,
                   std::string_view audioFilter, std::string_view muxer, std::string_view extension) {
  return {.keys = keys, .kind = Kind::Disc, .videoEncoder = encoder, .videoFilter = filter, .audioEncoder = audio,
          .audioFilter = audioFilter, .muxer = muxer, .extension = extension};
}

constexpr Row Video(std::string_view keys, std::string_view encoder, Family family, bool singleThread,
                    std::string_view then, std::string_view audio, std::string_view muxer, Ext ext,
                    std::string_view extension = {}, std::string_view frameRate = {}) {
  return {.keys = keys, .kind = Kind::Video, .videoEncoder = encoder, .family = family, .singleThread = singleThread,
          .then = then, .frameRate = frameRate, .audioEncoder = audio, .audioBlock = true, .muxer = muxer,
          .ext = ext, .extension = extension};
}

constexpr Row AudioOnly(std::string_view keys, std::string_view audio, std::string_view muxer, bool block = true) {
  return {.keys = keys, .kind = Kind::AudioOnly, .videoEncoder = " -ovc frameno", .audioEncoder = audio,
          .audioBlock = block, .muxer = muxer, .ext = Ext::Format};
}

constexpr Row Copy(std::string_view keys, std::string_view audio, std::string_view muxer,
                   std::string_view discExtension) {
  return {.keys = keys, .kind = Kind::Copy, .videoEncoder = " -ovc copy", .audioEncoder = audio, .muxer = muxer,
          .ext = Ext::Source, .extension = discExtension};
}

constexpr Row Bare(std::string_view keys) { return {.keys = keys, .kind = Kind::Bare}; }

constexpr std::string_view kPalDvd =
    " -ovc lavc -lavcopts vcodec=mpeg2video:vbitrate=2000:aspect=16/9:trell:mbd=2:keyint=15:vrc_buf_size=1835:"
    "vrc_maxrate=9600";
constexpr std::string_view kNtscDvd =
    " -ovc lavc -lavcopts vcodec=mpeg2video:vbitrate=2000:aspect=16/9:trell:mbd=2:keyint=18:vrc_buf_size=1835:"
    "vrc_maxrate=9600";
constexpr std::string_view kDvdAudio = " -oac lavc -lavcopts acodec=ac3:abitrate=128";
constexpr std::string_view kDvdAudioFilter = " -af volnorm,lavcresample=48000 -srate 48000";
constexpr std::string_view kDvdMuxer = " -of mpeg -mpegopts format=dvd";
constexpr std::string_view kVcdAudio = " -oac lavc -lavcopts acodec=mp2:abitrate=224";
constexpr std::string_view kCdAudioFilter = " -af volnorm,lavcresample=44100 -srate 44100";
constexpr std::string_view kVcdMuxer = " -of mpeg -mpegopts format=xvcd";
constexpr std::string_view kSvcdAudio = " -oac lavc -lavcopts acodec=mp2:abitrate=128";
constexpr std::string_view kSvcdMuxer = " -of mpeg -mpegopts format=xsvcd";

constexpr std::string_view kMpeg4Global = " -ovc lavc -lavcopts vcodec=mpeg4:aglobal=1:vglobal=1";
constexpr std::string_view kX264 = " -ovc x264 -ffourcc H264 -x264encopts ";
constexpr std::string_view kX264Level13 = ":level_idc=13:bframes=0:frameref=2:nocabac:global_header:partitions=all";
constexpr std::string_view kDivx = " -ovc lavc -ffourcc DX50 -lavcopts vcodec=mpeg4";
constexpr std::string_view kXvid = " -ovc xvid -xvidencopts ";
constexpr std::string_view kFaac = " -oac faac -faacopts br=%N:mpeg=4:object=2:raw";
constexpr std::string_view kLame = " -oac mp3lame -lameopts cbr:br=%N";
constexpr std::string_view kMp4Muxer = " -of lavf -lavfopts format=mp4";

// First match wins; the last row takes any other key.
constexpr Row kRows[] = {
    Disc("pal-dvd pal-dv", kPalDvd, kDvdAudio, " -vf scale=720:576,harddup -ofps 25", kDvdAudioFilter, kDvdMuxer,
         "mpg"),
    Disc("ntsc-dvd ntsc-dv film-dvd film-dv", kNtscDvd, kDvdAudio, " -vf-add scale=720:480,harddup -ofps 30000/1001",
         kDvdAudioFilter, kDvdMuxer, "mpg"),
    Disc("pal-vcd",
         " -ovc lavc -lavcopts vcodec=mpeg1video:vbitrate=1152:trell:mbd=2:keyint=15:vrc_buf_size=327:"
         "vrc_minrate=1152",
         kVcdAudio, " -vf scale=352:288,harddup -ofps 25", kCdAudioFilter, kVcdMuxer, "mpg"),
    Disc("ntsc-vcd film-vcd",
         " -ovc lavc -lavcopts vcodec=mpeg1video:vbitrate=1152:trell:mbd=2:keyint=18:vrc_buf_size=327:"
         "vrc_minrate=1152",
         kVcdAudio, " -vf scale=352:240,harddup -ofps 30000/1001", kCdAudioFilter, kVcdMuxer, "mpg"),
    Disc("pal-svcd",
         " -ovc lavc -lavcopts vcodec=mpeg2video:vbitrate=2000:trell:mbd=2:keyint=15:vrc_buf_size=917:"
         "vrc_minrate=600:vrc_maxrate=2500",
         kSvcdAudio, " -vf scale=480:576,harddup -ofps 25", kCdAudioFilter, kSvcdMuxer, "mpg"),
    Disc("ntsc-svcd film-svcd",
         " -ovc lavc -lavcopts vcodec=mpeg2video:vbitrate=2000:trell:mbd=2:keyint=18:vrc_buf_size=917:"
         "vrc_minrate=600:vrc_maxrate=2500",
         kSvcdAudio, " -vf scale=480:480,harddup -ofps 30000/1001", kCdAudioFilter, kSvcdMuxer, "mpg"),
    Disc("mpeg-ts", kPalDvd, kDvdAudio, " -vf scale=720:576,harddup -ofps 25", kDvdAudioFilter,
         " -of lavf -lavfopts format=mpegts", "ts"),

    Video("mp4", kMpeg4Global, Family::Lavc, false, "", kFaac, kMp4Muxer, Ext::Literal, "mp4"),
    Video("3gp", kMpeg4Global, Family::Lavc, false, "", kFaac, kMp4Muxer, Ext::Literal, "3gp"),
    Video("h263", " -ovc lavc -lavcopts vcodec=h263:aglobal=1:vglobal=1", Family::Lavc, true, "", kFaac,
          " -of lavf -lavfopts format=3gp", Ext::Literal, "3gp"),
    Video("mkv", kX264, Family::X264, false, kX264Level13, kFaac, " -of lavf -lavfopts format=mkv", Ext::Literal,
          "mkv"),
    Video("avi divx", kDivx, Family::Lavc, false, ":turbo", kLame, "", Ext::Literal, "avi"),
    Video("xvid", kXvid, Family::Xvid, false, ":turbo", kLame, "", Ext::Literal, "avi"),
    // The encoder takes one thread only.
    Video("flv", " -ovc lavc -lavcopts vcodec=flv", Family::Lavc, true, ":mbd=2:mv0:trell:v4mv:cbp:last_pred=3",
          " -oac mp3lame -lameopts abr:br=%N", " -of lavf -lavfopts format=flv", Ext::Literal, "flv"),
    Video("mov", kMpeg4Global, Family::Lavc, false, "", kFaac, " -of lavf -lavfopts format=mov", Ext::Literal, "mov"),
    Video("h264", kX264, Family::X264, false, kX264Level13, kFaac, kMp4Muxer, Ext::Literal, "mp4"),
    Video("wmv asf", " -ovc lavc -lavcopts vcodec=wmv2:aglobal=1:vglobal=1", Family::Lavc, true, "",
          " -oac lavc -lavcopts acodec=wmav2:abitrate=%N", " -of lavf -lavfopts format=%f", Ext::Format),
    Video("psp", kX264, Family::X264, false, ":level_idc=3:bframes=3:frameref=2:nopsnr:nossim", kFaac,
          " -of lavf -lavfopts format=psp", Ext::Literal, "mp4"),
    Video("ipod iphone", kX264, Family::X264, false, "", kFaac, kMp4Muxer, Ext::Literal, "m4v"),
    Video("svi", kXvid, Family::Xvid, false, "", kLame, "", Ext::Literal, "svi"),
    Video("mjpeg", " -ovc lavc -lavcopts vcodec=mjpeg", Family::Lavc, true, "",
          " -oac lavc -lavcopts acodec=pcm_s16le:abitrate=%N", "", Ext::Literal, "avi"),
    Video("mpeg", " -ovc lavc -lavcopts vcodec=mpeg1video", Family::Lavc, false, "",
          " -oac lavc -lavcopts acodec=mp2:abitrate=%N", kVcdMuxer, Ext::Format, "", " -ofps 25"),

    AudioOnly("wma", " -oac lavc -lavcopts acodec=wmav2:abitrate=%N", " -of lavf"),
    AudioOnly("mp3", kLame, " -of rawaudio"),
    AudioOnly("mp2", " -oac lavc -lavcopts acodec=mp2:abitrate=%N", " -of rawaudio"),
    AudioOnly("aac m4a", " -oac faac -faacopts br=%N:mpeg=2:object=1", " -of rawaudio"),
    AudioOnly("ac3", " -oac lavc -lavcopts acodec=ac3:abitrate=%N", " -of rawaudio"),
    AudioOnly("wav", " -oac pcm", "", false),

    Copy("video", " -nosound", "", "mpg"),
    Copy("audio", " -oac copy", " -of rawaudio", "ac3"),
    Copy("copy", " -oac copy", "", "ac3"),

    Bare("flac ogg gif png"),

    Video("*", kDivx, Family::Lavc, false, ":turbo", kLame, "", Ext::Literal, "avi"),
};

const Row& RowFor(std::string_view key) {
  for (const Row& row : kRows) {
    if (row.keys == "*") return row;
    for (const std::string& name : Split(row.keys, " ")) {
      if (name == key) return row;
    }
  }
  return kRows[std::size(kRows) - 1];
}

// The x264 and xvid encoders take other words for rate, threads and pass than
// lavc. Their option list follows the encoder's name directly, so their rate
// closes with the separator and their threads open without one.
struct FamilyWords {
  std::string_view bitRate, bitRateEnd;  // around the bit rate
  std::string_view quality, qualityEnd;  // around the quality
  std::string_view threads;
  std::string_view pass;
};

constexpr FamilyWords kFamilyWords[] = {
    {":vbitrate=", "", ":vqscale=", "", ":threads=", ":vpass="},               // lavc
    {"bitrate=", ":", "crf=", ":", "threads=", ":pass="},                     // x264
    {"bitrate=", ":", "fixed_quant=", ":max_bframes=0:", "threads=", ":pass="},  // xvid
};

const FamilyWords& WordsOf(Family family) { return kFamilyWords[static_cast<int>(family)]; }

// Where subtitles sit, in percent from the top of the picture, by the rows of
// the numeric keypad; any other value leaves the position open.
int SubtitlePosition(int align) {
  constexpr int kByKey[] = {0, 90, 90, 90, 45, 45, 45, 10, 10, 10};
  return (align >= 1 && align <= 9) ? kByKey[align] : 0;
}

std::string Num(float value) { return FormatNumber(value); }

// A disc drive such as "E:" or "/dev/sr0:" as MEncoder reads it.
std::string DiscDevice(std::string_view drive) { return "-dvd-device " + DiscDeviceOf(drive) + " dvd://"; }

}  // namespace

std::string FFmpegX::ComposeMEncoder(int pass) {
  const std::string first = FirstSource();
  const bool disc = EndsWith(first, ":");
  const Row& row = RowFor(forceFormat_);
  const FamilyWords& words = WordsOf(row.family);

  // ---- Letterbox, rate and subtitles ----
  std::string expandText;
  if (PadBorder > 0) {
    expandText = ",expand=" + std::to_string(targetWidth_) + ":" +
                 std::to_string(RoundedOrZero(targetWidth_ / static_cast<double>(PadBorder))) + ":::1";
  }
  std::string rateText;
  if (VideoVBR < 1) {
    if (VideoBitRate > 0) rateText = std::string(words.bitRate) + Num(VideoBitRate) + std::string(words.bitRateEnd);
  } else {
    rateText = std::string(words.quality) + std::to_string(VideoVBR) + std::string(words.qualityEnd);
  }
  std::string subtitleOptions;
  if (!disc && MencEnableSubtitle) {
    const std::string subtitle = CheckSubtitle(first);
    if (!subtitle.empty()) {
      const int position = SubtitlePosition(MencSubtitleAlign);
      subtitleOptions = " -sub " + QuoteArgument(subtitle) + " -font " + QuoteArgument(MencSubtitleFontFileName) +
                        " -subfont-text-scale " + std::to_string(MencSubtitleFontSize) +
                        " -subfont-outline 1 -subfont-blur 2 -subpos " +
                        (position > 0 ? std::to_string(position) : std::string()) + " -subdelay 0 -subcp CP936";
    }
  }

  // ---- The format's row ----
  const std::string threads = std::string(words.threads) + std::to_string(row.singleThread ? 1 : MaxThreads);
  const std::string passText = pass > 0 ? std::string(words.pass) + std::to_string(pass) : std::string();
  std::string scaleBlock;
  if (!videoSize_.empty()) {
    scaleBlock = " -vf scale=" + std::to_string(targetWidth_) + ":" +
                 (PadBorder > 0 ? std::string("-3") : std::to_string(targetHeight_)) + expandText + ",harddup";
  }
  if (!row.frameRate.empty()) {
    scaleBlock += row.frameRate;
  } else if (targetFrameRate_ > 0) {
    scaleBlock += " -ofps " + Num(targetFrameRate_);
  }
  std::string audioBlock;
  if (targetAudioChannels_ > 0) audioBlock += " -channels " + std::to_string(targetAudioChannels_);
  if (targetAudioSampleRate_ >= 1) audioBlock += " -srate " + std::to_string(targetAudioSampleRate_);

  std::string videoEncoder(row.videoEncoder), videoFilter, audioFilter(row.audioFilter);
  switch (row.kind) {
    case Kind::Disc:
      videoEncoder += threads + passText;
      videoFilter = row.videoFilter;
      break;
    case Kind::Video:
      videoEncoder += rateText + threads + std::string(row.then) + passText;
      videoFilter = scaleBlock;
      break;
    case Kind::AudioOnly:
    case Kind::Copy:
    case Kind::Bare: break;
  }
  if (row.audioBlock) audioFilter = audioBlock;
  const std::string audioEncoder = ReplaceAll(row.audioEncoder, "%N", Num(AudioBitRate));
  const std::string muxer = ReplaceAll(row.muxer, "%f", forceFormat_);

  std::string extension;
  switch (row.ext) {
    case Ext::Literal: extension = row.extension; break;
    case Ext::Format: extension = forceFormat_; break;
    case Ext::Source:
      extension = disc ? std::string(row.extension) : ExtensionOf(first);
      break;
  }
  if (UcaseNameSuffix) extension = UpperAscii(extension);
  if (!FileNameSuffix.empty()) extension = FileNameSuffix;

  // ---- Output name; pass 2 writes over pass 1's file ----
  if (pass != 2) outputFileName_ = OutputPathFor(extension, !Contains(first, FileNameAddStringAfter));
  const std::string outputFolder = FolderOf(outputFileName_);
  if (!outputFolder.empty() && !DirectoryExists(outputFolder)) MakedPath(outputFolder);

  // ---- The inputs, each with its own range ----
  const float range = TimeEndPoint - TimeStartPoint;
  const std::string rangeText = range > 0 ? " -ss " + Num(TimeStartPoint) + " -endpos " + Num(range) : std::string();
  auto input = [&](const std::string& source) {
    return rangeText + " " + (EndsWith(source, ":") ? DiscDevice(source) : QuoteArgument(source));
  };
  std::string sourceText;
  if (Contains(filename_, "|") && !AVSEnabled) {
    for (const std::string& source : Split(filename_, "|")) sourceText += input(source);
  } else {
    sourceText = input(toolInput_);
  }

  // ---- The whole command, in its order ----
  std::string command = QuoteArgument(core_);
  command += DisableVideo ? std::string(" -ovc frameno") : videoEncoder + videoFilter;
  command += DisableAudio ? std::string(" -nosound") : audioEncoder + audioFilter;
  command += muxer;
  command += subtitleOptions;
  if (Deinterlace) command += " -vf-add yadif";
  // A disc plays from its first title, over any range.
  command += disc ? " " + DiscDevice(first) + "1" : sourceText;
  command += " -o " + QuoteArgument(outputFileName_);
  if (!additionalScripts_.empty()) command += " " + additionalScripts_;
  return command;
}

}  // namespace zel
