// Command assembly: the properties of a job turned into one FFmpeg command line
// per pass. The command is built from fragments, each with a fixed content and a
// fixed place, in the option syntax of the classic FFmpeg; a core that speaks
// today's syntax gets the same command translated just before it runs.
#include <cmath>
#include <cstdio>

#include "engine/CommandLine.h"
#include "engine/DialectTranslation.h"
#include "engine/FFmpegX.h"
#include "engine/MediaInspection.h"
#include "engine/ProgressText.h"

namespace zel {

namespace {

// How a format row fills the video and audio options.
enum class Part {
  None,
  Scale,        // the picture options alone
  Full,         // video: rate, picture and frame rate; audio: rate, sample rate, channels
  NoVideo,      // " -vn"
  NoAudio,      // " -an"
  Literal,      // the row's own text
  Ac3Audio,     // the rate, 48 kHz, the channels
  WavAudio,     // sample rate and channels
  OggAudio,     // rate, sample rate, two channels
};

// Where the output's extension comes from.
enum class Ext { Literal, Format, Source };

struct FormatRow {
  std::string_view keys;  // blank-separated; "*" any other key, "" the empty key
  Part video;
  std::string_view videoText;
  Part audio;
  std::string_view audioText;
  std::string_view container;  // "%f" stands for the key
  Ext ext;
  std::string_view extension;  // the literal one, or the source's for a disc
};

// First match wins.
constexpr FormatRow kFormatRows[] = {
    {"pal-dvd ntsc-dvd film-dvd pal-vcd ntsc-vcd film-vcd pal-svcd ntsc-svcd film-svcd pal-dv ntsc-dv film-dv",
     Part::Scale, "", Part::None, "", " -target %f", Ext::Literal, "mpg"},
    {"mp4 avi flv mov", Part::Full, "", Part::Full, "", " -f %f", Ext::Format, ""},
    {"mkv", Part::Full, "", Part::Full, "", " -f matroska", Ext::Literal, "mkv"},
    {"divx", Part::Full, "", Part::Full, "", " -vtag divx -f avi", Ext::Literal, "avi"},
    {"xvid", Part::Full, "", Part::Full, "", " -vtag xvid -f avi", Ext::Literal, "avi"},
    {"3gp", Part::Full, "", Part::Full, "", " -f %f", Ext::Format, ""},
    {"h263", Part::Full, "", Part::Full, "", " -f 3gp", Ext::Literal, "3gp"},
    {"h264", Part::Full, "", Part::Full, "", "", Ext::Literal, "mp4"},
    {"wmv asf", Part::Full, "", Part::Full, "", " -f asf", Ext::Format, ""},
    {"wma", Part::NoVideo, "", Part::Full, "", "", Ext::Format, ""},
    {"mp4s", Part::Full, "", Part::Full, "", " -vtag MP4S -f asf", Ext::Literal, "asf"},
    {"psp", Part::Full, "", Part::Full, "",
     " -mbd 2 -coder 1 -cmp 2 -subcmp 2 -flags +loop -trellis 2 "
     "-partitions parti4x4+parti8x8+partp4x4+partp8x8+partb8x8 -vlevel 13 -f psp",
     Ext::Literal, "mp4"},
    {"ipod iphone", Part::Full, "", Part::Full, "", " -f ipod", Ext::Literal, "m4v"},
    {"svi", Part::Full, "", Part::Full, "", " -f avi", Ext::Literal, "svi"},
    {"mp3 mp2 flac amr", Part::NoVideo, "", Part::Full, "", " -f %f", Ext::Format, ""},
    {"ac3", Part::NoVideo, "", Part::Ac3Audio, "", " -f %f", Ext::Format, ""},
    {"aac m4a", Part::NoVideo, "", Part::Full, "", " -f mp4", Ext::Format, ""},
    {"wav", Part::NoVideo, "", Part::WavAudio, "", " -f wav", Ext::Format, ""},
    {"ogg", Part::NoVideo, "", Part::OggAudio, "", " -f %f", Ext::Format, ""},
    {"gif", Part::Full, "", Part::NoAudio, "", " -pix_fmt rgb24 -loop_output 0 -f gif", Ext::Literal, "gif"},
    {"mpeg-ts", Part::Full, "", Part::Full, "", " -f mpegts", Ext::Literal, "ts"},
    {"mjpeg", Part::Full, "", Part::Full, "", " -strict -1 -f avi", Ext::Literal, "avi"},
    {"mpeg", Part::Full, "", Part::Full, "", " -f mpeg", Ext::Literal, "mpeg"},
    {"png", Part::Scale, "", Part::NoAudio, "", " -vframes 1", Ext::Literal, "png"},
    {"video", Part::Literal, " -vcodec copy", Part::NoAudio, "", "", Ext::Source, "mpg"},
    {"audio", Part::NoVideo, "", Part::Literal, " -acodec copy", "", Ext::Source, "ac3"},
    {"palm(428x320)", Part::Literal, " -r 29.97 -s 428x320 -aspect 4:3", Part::Literal, " -ar 44100 -ab 80k -ac 2",
     " -maxrate 550k -b 500k -qmin 3 -qmax 5 -bufsize 4096 -mbd 2 -flags +4mv -trellis -aic -cmp 2 -subcmp 2 -g 300",
     Ext::Literal, "mp4"},
    {"palm(480x320)", Part::Literal, " -r 29.97 -s 480x320 -aspect 3:2", Part::Literal, " -ar 44100 -ab 80k -ac 2",
     " -maxrate 450k -b 430k -qmin 3 -qmax 5 -bufsize 4096 -mbd 2 -flags +4mv -trellis -aic -cmp 2 -subcmp 2 -g 300",
     Ext::Literal, "mp4"},
    {"copy", Part::None, "", Part::None, "", "", Ext::Source, "mpg"},
    {"", Part::Full, "", Part::Full, "", "", Ext::Source, "mpg"},
    {"*", Part::Full, "", Part::Full, "", " -f %f", Ext::Format, ""},
};

const FormatRow& RowFor(std::string_view key) {
  for (const FormatRow& row : kFormatRows) {
    if (row.keys == "*" || (key.empty() && row.keys.empty())) return row;
    if (key.empty() || row.keys.empty()) continue;
    for (const std::string& name : Split(row.keys, " ")) {
      if (name == key) return row;
    }
  }
  return kFormatRows[std::size(kFormatRows) - 1];
}

// Formats whose encoders take no thread count.
constexpr std::string_view kSingleThreadFormats[] = {"flv", "3gp", "h263", "wmv", "wma", "mjpeg", "asf"};

// Shortest text of the value as the property holds it: a float stays a float.
std::string Num(float value) { return FormatNumber(value); }

// VB's Int: the next integer down.
int Floor(double value) { return static_cast<int>(std::floor(value)); }

int MakeEven(int value) { return value % 2 != 0 ? value - 1 : value; }

// A number through a "#.####" or "0.0###" picture: up to four decimals, no
// trailing zeros; `keepOne` keeps one decimal and the zero before the point.
std::string Decimals(double value, bool keepOne) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.4f", value);
  std::string text = buffer;
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text += keepOne ? "0" : "";
  if (!text.empty() && text.back() == '.') text.pop_back();
  if (!keepOne && StartsWith(text, "0.")) text.erase(0, 1);
  return text;
}

// A colour integer of the system, blue-green-red from its lowest byte.
std::string PadColour(std::string_view hex) {
  const unsigned long value = std::strtoul(std::string(hex).c_str(), nullptr, 16);
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%02lX%02lX%02lX", value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
  return buffer;
}

std::string Quoted(std::string_view path) { return QuoteArgument(path); }

}  // namespace

std::string FFmpegX::BuildCommand(int pass, int rotate, const std::string& extraAudioFile) {
  if (pass == 2) processing_ = true;
  twoPassStatus_ = std::to_string(pass);

  // ---- Target size ----
  std::string scaleText;
  targetWidth_ = targetHeight_ = 0;
  const size_t cross = LowerAscii(videoSize_).find('x');
  if (videoSize_.empty()) {
    targetWidth_ = videoWidth_;
    targetHeight_ = videoHeight_;
  } else if (videoWidth_ <= 0 || videoHeight_ <= 0) {
    scaleText = " -s " + videoSize_;
    targetWidth_ = static_cast<int>(Val(videoSize_.substr(0, cross)));
    targetHeight_ = cross == std::string::npos ? 0 : static_cast<int>(Val(videoSize_.substr(cross + 1)));
  } else if (EndsWith(videoSize_, "%")) {
    const double percent = Val(videoSize_);
    targetWidth_ = MakeEven(Floor(videoWidth_ * percent / 100));
    targetHeight_ = MakeEven(Floor(videoHeight_ * percent / 100));
    scaleText = " -s " + std::to_string(targetWidth_) + "x" + std::to_string(targetHeight_);
  } else if (cross != std::string::npos) {
    targetWidth_ = static_cast<int>(Val(videoSize_.substr(0, cross)));
    targetHeight_ = static_cast<int>(Val(videoSize_.substr(cross + 1)));
    const double shape = static_cast<double>(videoHeight_) / videoWidth_;
    if (targetWidth_ <= 0) targetWidth_ = MakeEven(RoundedOrZero(targetHeight_ / shape));
    if (targetHeight_ <= 0) targetHeight_ = MakeEven(RoundedOrZero(targetWidth_ * shape));
    scaleText = " -s " + std::to_string(targetWidth_) + "x" + std::to_string(targetHeight_);
  }
  if (AVSEnabled && (AVSVideoRotate == 90 || AVSVideoRotate == 270) && !videoSize_.empty() && !scaleText.empty()) {
    scaleText = " -s " + std::to_string(targetHeight_) + "x" + std::to_string(targetWidth_);
  }

  // ---- What the tool reads, probed again ----
  const std::string first = FirstSource();
  graphInForce_ = false;
  if (AVSEnabled) {
    DeleteScratchFiles();
    // The whole source list: a script joins several sources into one clip. It is
    // written even when a filter graph stands in for it, for the test mode and
    // for the subtitle files it prepares.
    GenerateScript(filename_, ScriptPath(), targetWidth_, targetHeight_);
    graphInForce_ = !AVSThroughAviSynth && coreStatus_ == kCoreFFmpeg;
    // MEncoder has no graph of this kind: without AviSynth it reads the source plainly.
    sourceInUse_ = AVSThroughAviSynth ? ScriptPath() : first;
  } else {
    sourceInUse_ = first;
  }
  toolInput_ = sourceInUse_;
  ProbeSource(toolInput_);
  if (graphInForce_) {
    SourceFacts facts;
    facts.width = videoWidth_;
    facts.height = videoHeight_;
    facts.frameRate = sourceFrameRate_;
    facts.duration = duration_;
    facts.audio = audioStreamCount_ > 0 && !DisableAudio && pass != 1;
    facts.sampleRate = sourceAudioSampleRate_;
    facts.channels = static_cast<int>(sourceAudioChannels_);
    // The first sound stream's channels as the tool names them.
    auto channelsOf = [](const std::string& text) {
      const size_t audio = text.find("Audio:");
      if (audio == std::string::npos) return 0;
      const std::string line = text.substr(audio, text.find('\n', audio) - audio);
      return Contains(line, " mono") ? 1 : Contains(line, " stereo") ? 2 : 0;
    };
    if (AVSInsertVideo && FileExists(AVSInsertVideoFileName)) {
      const MediaReading reading = ReadMedia(AVSInsertVideoFileName);
      facts.insertDuration = reading.figures ? reading.figures->duration : 0;
      facts.insertAudio = Contains(reading.text, "Audio:");
      facts.insertChannels = channelsOf(reading.text);
    }
    if (AVSAudioReplace && FileExists(AVSAudioReplaceFileName)) {
      facts.musicChannels = channelsOf(ReadMedia(AVSAudioReplaceFileName).text);
    }
    // The texts' file goes to libass with its override tags intact.
    const std::string texts = scratchFile_ + "3.ssa";
    for (std::string& subtitle : scriptSubtitles_) {
      if (subtitle != texts) continue;
      if (WriteFileAtomic(scratchFile_ + "3.ass", TextOverlayAsSubStation(ReadText(texts)))) {
        subtitle = scratchFile_ + "3.ass";
      }
    }
    // Only a size asked for is applied; the turn alone gives the swapped size.
    const bool sized = !scaleText.empty();
    const bool sideways = AVSVideoRotate == 90 || AVSVideoRotate == 270;
    filterGraph_ = ComposeFilterGraph(filename_, sized ? (sideways ? targetHeight_ : targetWidth_) : 0,
                                      sized ? (sideways ? targetWidth_ : targetHeight_) : 0, facts);
  }

  std::string command = coreStatus_ == kCoreMEncoder ? ComposeMEncoder(pass)
                                                     : ComposeFFmpeg(pass, rotate, extraAudioFile, scaleText);
  const bool overridden = !CommandLine.empty();
  if (overridden) {
    const std::pair<std::string_view, std::string> placeholders[] = {
        {"#VideoWidth#", std::to_string(targetWidth_)},
        {"#VideoHeight#", PadBorder > 0 ? std::string("-3") : std::to_string(targetHeight_)},
        {"#VideoBitRate#", Num(VideoBitRate)},
        {"#VideoVBR#", std::to_string(VideoVBR)},
        {"#VideoFrameRate#", Num(targetFrameRate_)},
        {"#AudioBitRate#", Num(AudioBitRate)},
        {"#AudioQuality#", Num(AudioQuality)},
        {"#AudioSampleRate#", std::to_string(targetAudioSampleRate_)},
        {"#AudioChannels#", std::to_string(targetAudioChannels_)},
        {"#InputFileName#", toolInput_},
        {"#OutputFileName#", outputFileName_},
    };
    command = CommandLine;
    // A path placeholder written in double quotes is quoted by the splitter's
    // rules, so that a name holding a double quote still arrives whole; for any
    // other name this is the same text.
    for (const auto& [mark, value] : placeholders) {
      command = ReplaceAllNoCase(command, "\"" + std::string(mark) + "\"", QuoteArgument(value));
      command = ReplaceAllNoCase(command, mark, value);
    }
  }
  // A hand-written command is the user's own and runs as written.
  commandToRun_ = (!overridden && coreStatus_ == kCoreFFmpeg && coreDialect_ == ToolDialect::Today)
                      ? TranslateToToday(command, TranslationContext{FormatLocalNow("%Y-%m-%d"), forceFormat_})
                      : command;
  if (TestMode) WriteText(commandToRun_, outputDir_ + "Test.bat", false);
  return command;
}

std::string FFmpegX::ComposeFFmpeg(int pass, int rotate, const std::string& extraAudioFile, std::string scaleText) {
  const std::string first = FirstSource();
  const bool x264 = forceFormat_ == "h264" || targetVideoCodec_ == "libx264";

  // ---- Letterbox or crop to the shape of PadBorder ----
  int n = 0;
  if (PadBorder > 0 && targetHeight_ > 0) {
    const double w = targetWidth_, h = targetHeight_;
    const double r = w / h;
    if (r < PadBorder) {
      n = RoundedOrZero(h - w / PadBorder);
      if (n > 0) {
        const int top = n % 4 == 0 ? Floor(n / 2.0) : Floor(n / 2.0 - 1);
        const int height = n % 4 == 0 ? targetHeight_ - 2 * Floor(n / 2.0)
                                      : targetHeight_ - Floor(n / 2.0 - 1) - Floor(n / 2.0 + 1);
        scaleText += " -vf crop=0:" + std::to_string(top) + ":" + std::to_string(targetWidth_) + ":" +
                     std::to_string(height);
      }
    } else if (r > PadBorder) {
      n = RoundedOrZero(w / PadBorder - h);
      if (n > 0) {
        const int top = n % 4 == 0 ? Floor(n / 2.0) : Floor(n / 2.0 - 1);
        const int height = n % 4 == 0 ? targetHeight_ + 2 * Floor(n / 2.0)
                                      : targetHeight_ + Floor(n / 2.0 - 1) + Floor(n / 2.0 + 1);
        scaleText += " -vf pad=" + std::to_string(targetWidth_) + ":" + std::to_string(height) + ":0:" +
                     std::to_string(top) + ":" + PadColour(VideoPadColor);
      }
    }
  }

  // ---- Explicit crop and pad ----
  std::string cropPadText;
  if (VideoCropTop + VideoCropBottom + VideoCropLeft + VideoCropRight > 0) {
    cropPadText += " -vf crop=" + std::to_string(VideoCropLeft) + ":" + std::to_string(VideoCropTop) + ":" +
                   std::to_string(videoWidth_ - VideoCropLeft - VideoCropRight) + ":" +
                   std::to_string(videoHeight_ - VideoCropTop - VideoCropBottom);
  }
  if (VideoPadTop + VideoPadBottom + VideoPadLeft + VideoPadRight > 0) {
    cropPadText += " -vf pad=" + std::to_string(videoWidth_ + VideoPadLeft + VideoPadRight) + ":" +
                   std::to_string(videoHeight_ + VideoPadTop + VideoPadBottom) + ":" + std::to_string(VideoPadLeft) +
                   ":" + std::to_string(VideoPadTop) + ":" + PadColour(VideoPadColor);
  }

  // ---- What the progress display says of the output ----
  const float range = TimeEndPoint - TimeStartPoint;
  outputInfo_ = FormatMSecs((range > 0 ? range : duration_) * 1000.0, kNotationDotMs);
  outputInfo_ += ", " + UpperAscii(forceFormat_.empty() ? sourceFormat_ : forceFormat_);
  if (!targetVideoCodec_.empty()) outputInfo_ += ", " + targetVideoCodec_;
  if (videoWidth_ > 0 && videoHeight_ > 0) {
    outputInfo_ += ", " + std::to_string(targetWidth_ + VideoPadLeft + VideoPadRight - VideoCropLeft - VideoCropRight) +
                   "x" +
                   std::to_string(targetHeight_ + VideoPadTop + VideoPadBottom - VideoCropTop - VideoCropBottom);
  }
  if (PadBorder > 0) outputInfo_ += " -> " + Decimals(PadBorder, true);
  if (targetFrameRate_ > 0) outputInfo_ += ", " + Num(targetFrameRate_) + "fps";
  if (!targetAudioCodec_.empty()) outputInfo_ += ", " + targetAudioCodec_;
  if (targetAudioSampleRate_ > 0) outputInfo_ += ", " + std::to_string(targetAudioSampleRate_) + "Hz";
  if (targetAudioChannels_ > 0) outputInfo_ += ", " + std::to_string(targetAudioChannels_) + "ch";

  // ---- Picture, rate and sound options ----
  std::string aspectText;
  if (VideoAspect != 0) {
    aspectText = " -aspect " + Num(VideoAspect);
  } else if ((forceFormat_ == "xvid" || forceFormat_ == "svi") && targetHeight_ + n != 0) {
    aspectText = " -aspect " + Decimals(static_cast<double>(targetWidth_) / (targetHeight_ + n), false);
  }
  // With a filter graph the picture's size is its work: a filter option of the
  // output would clash with it.
  scaleText = graphInForce_ ? aspectText
                            : cropPadText + scaleText + aspectText +
                                  (rotate != 0 ? " -vf rotate=" + std::to_string(rotate) : "");

  std::string rateControlText;
  if (VideoVBR < 1) {
    if (VideoBitRate > 0) rateControlText = " -b " + Num(VideoBitRate) + "K -bt " + Num(VideoBitRate) + "K";
  } else if (x264) {
    rateControlText = (x264QualityMode == 1 ? " -cqp " : " -crf ") + std::to_string(VideoVBR);
  } else {
    rateControlText = " -qscale " + std::to_string(VideoVBR);
  }
  // Without a rate the real-time switch stands in its place; the translation
  // for today's core removes it again.
  const std::string frameRateText = targetFrameRate_ > 0 ? " -r " + Num(targetFrameRate_) : std::string(" -re");
  std::string audioRateText;
  if (AudioQuality > 0) {
    audioRateText = " -aq " + Num(AudioQuality);
  } else if (AudioBitRate > 0) {
    audioRateText = " -ab " + Num(AudioBitRate) + "K";
  }
  const std::string sampleRateText = targetAudioSampleRate_ > 0 ? " -ar " + std::to_string(targetAudioSampleRate_) : "";
  const std::string channelsText = targetAudioChannels_ > 0 ? " -ac " + std::to_string(targetAudioChannels_) : "";

  // ---- The format's row ----
  const FormatRow& row = RowFor(forceFormat_);
  auto fill = [&](Part part, std::string_view literal, bool video) -> std::string {
    switch (part) {
      case Part::None: return {};
      case Part::Scale: return scaleText;
      case Part::Full:
        return video ? rateControlText + scaleText + frameRateText : audioRateText + sampleRateText + channelsText;
      case Part::NoVideo: return " -vn";
      case Part::NoAudio: return " -an";
      case Part::Literal: return std::string(literal);
      case Part::Ac3Audio: return audioRateText + " -ar 48000" + channelsText;
      case Part::WavAudio: return sampleRateText + channelsText;
      case Part::OggAudio: return audioRateText + sampleRateText + " -ac 2 ";
    }
    return {};
  };
  const std::string videoOptionsText = fill(row.video, row.videoText, true);
  const std::string audioOptionsText = fill(row.audio, row.audioText, false);
  std::string containerText = ReplaceAll(row.container, "%f", forceFormat_);
  std::string videoCodecText, audioCodecText;
  if (StartsWith(forceFormat_, "palm(")) {
    videoCodecText = " -vcodec libxvid";
    audioCodecText = Contains(LowerAscii(coreAudioCodec_), "libfaac") ? " -acodec libfaac" : " -acodec aac";
  } else if (forceFormat_ == "copy") {
    videoCodecText = " -vcodec copy";
    audioCodecText = " -acodec copy";
  }
  std::string extension;
  switch (row.ext) {
    case Ext::Literal: extension = row.extension; break;
    case Ext::Format: extension = forceFormat_; break;
    case Ext::Source:
      extension = EndsWith(first, ":") ? std::string(row.extension) : ExtensionOf(first);
      break;
  }

  // ---- After the table ----
  if (UcaseNameSuffix) extension = UpperAscii(extension);
  std::string subtitleText;
  if (!subtitleCodec_.empty()) subtitleText += " -scodec " + subtitleCodec_;
  if (!SubtitleLanguage.empty()) subtitleText += " -slang " + SubtitleLanguage;
  if (!SubtitleFourccTag.empty()) subtitleText += " -stag " + SubtitleFourccTag;
  if (!SubtitleBitstreamFilter.empty()) subtitleText += " -sbsf " + SubtitleBitstreamFilter;
  if (!targetVideoCodec_.empty()) videoCodecText = " -vcodec " + targetVideoCodec_;
  if (!targetAudioCodec_.empty()) audioCodecText = " -acodec " + targetAudioCodec_;
  if (!FileNameSuffix.empty()) extension = FileNameSuffix;
  std::string extraInputText;
  if (!extraAudioFile.empty() && FileExists(extraAudioFile)) {
    extraInputText = " -i " + Quoted(extraAudioFile) + " -ss 0 -t " + Num(range) + " -map 0:0 -map 1:0";
  }
  if (pass != 2) {
    // A suffix the source's name already carries is not added twice.
    outputFileName_ = OutputPathFor(extension, !Contains(first, FileNameAddStringAfter));
  }
  const std::string outputFolder = FolderOf(outputFileName_);
  if (!outputFolder.empty() && !DirectoryExists(outputFolder)) MakedPath(outputFolder);

  // ---- Threads, stamps, metadata, filters, strictness, raw options ----
  std::string miscText;
  const bool singleThread =
      std::find(std::begin(kSingleThreadFormats), std::end(kSingleThreadFormats), forceFormat_) !=
      std::end(kSingleThreadFormats);
  if (x264 ? MaxThreads != 1 : (!singleThread && MaxThreads >= 2)) miscText += " -threads " + std::to_string(MaxThreads);
  if (TimeStamp) miscText += " -timestamp " + ClockNow();
  auto metadata = [&miscText](std::string_view name, std::string_view value) {
    if (!value.empty()) miscText += " -metadata " + std::string(name) + "=" + Quoted(value);
  };
  metadata("comment", MetaData_Comment);
  metadata("title", ReplaceAll(MetaData_Title, "%FileName%", GetFileString(first, ".", 0)));
  metadata("author", MetaData_Author);
  metadata("copyright", MetaData_Copyright);
  // A filter graph deinterlaces and sets the volume itself.
  if (Deinterlace && !graphInForce_) miscText += " -deinterlace";
  if (AudioVolume != 0 && !graphInForce_) miscText += " -vol " + std::to_string(Floor(AudioVolume / 100.0 * 256));
  if (CopyTimeStamps) miscText += " -copyts";
  constexpr std::string_view kStrictness[] = {"", " -strict very", " -strict strict", " -strict normal",
                                              " -strict inofficial", " -strict experimental"};
  if (Strict > 0 && Strict < static_cast<int>(std::size(kStrictness))) miscText += kStrictness[Strict];
  const std::string& raw =
      (pass == 1 && x264 && !additionalPass1Scripts_.empty()) ? additionalPass1Scripts_ : additionalScripts_;
  if (!raw.empty()) miscText += " " + raw;

  // ---- The tail, in its order ----
  std::string tail;
  if (range > 0 && !AVSEnabled) tail += " -ss " + Num(TimeStartPoint) + " -t " + Num(range);
  tail += extraInputText;
  tail += DisableVideo ? std::string(" -vn") : videoCodecText + videoOptionsText;
  tail += (pass == 1 || DisableAudio) ? std::string(" -an") : audioCodecText + audioOptionsText;
  tail += (pass == 1 || DisableSubtitle) ? std::string(" -sn") : subtitleText;
  tail += miscText;
  tail += containerText;
  if (pass > 0) tail += " -pass " + std::to_string(pass);
  tail += " " + Quoted(outputFileName_);

  std::string command;
  if (EndsWith(first, ":")) {
    // A disc is pulled by MEncoder from the core's folder and handed over a pipe.
    const std::string folder = FolderOf(core_);
    command = Quoted(folder + "mencoder") + " -dvd-device " + DiscDeviceOf(first) +
              " dvd://1 -really-quiet -oac copy -ovc copy -o -|" + Quoted(core_) + " -v 1 -y -i -" + tail;
  } else {
    command = Quoted(core_) + " -v 1 -y -i " + Quoted(toolInput_) + GraphText() + tail;
  }
  if (graphInForce_) return command;

  // Streams beyond the first of each kind.
  auto extra = [&command](int count, bool disabled, bool supported, const std::string& text) {
    if (disabled || !supported) return;
    for (int i = 2; i <= count; ++i) command += text;
  };
  extra(videoStreamCount_, DisableVideo, MultiVideoTrackSupport, " -newvideo" + videoCodecText + videoOptionsText);
  extra(audioStreamCount_, DisableAudio, MultiAudioTrackSupport, " -newaudio" + audioCodecText + audioOptionsText);
  extra(subtitleStreamCount_, DisableSubtitle, MultiSubtitleTrackSupport, " -newsubtitle" + subtitleText);
  return command;
}

// The further inputs, the graph and its outputs, ahead of the output options.
std::string FFmpegX::GraphText() const {
  if (!graphInForce_) return {};
  std::string text;
  for (const GraphInput& input : filterGraph_.inputs) {
    for (const std::string& option : input.options) text += " " + option;
    text += " -i " + Quoted(input.path);
  }
  text += " -filter_complex " + Quoted(filterGraph_.text) + " -map " + filterGraph_.video;
  if (!filterGraph_.audio.empty()) text += " -map " + filterGraph_.audio;
  return text;
}

}  // namespace zel
