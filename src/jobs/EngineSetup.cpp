#include "jobs/EngineSetup.h"

#include <algorithm>
#include <cstdio>

#include "engine/FFmpegX.h"
#include "engine/PriorityClass.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

constexpr std::string_view kAudioOnlyFormats[] = {"wma", "mp3", "mp2", "flac", "amr", "ac3",
                                                  "aac", "m4a", "wav", "ogg", "audio"};

// The stored names of the subtitle encodings, from number 1 on.
constexpr std::string_view kSubtitleEncodings[] = {"UTF8", "Unicode", "Unicode big endian"};
constexpr std::string_view kAnsiEncoding = "ANSI";

std::string WithoutMe(std::string_view format) { return ReplaceAllNoCase(format, "/me", ""); }

bool IsDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// "0:1", "#0:1" and a plain index "1" in the old notation "0.1"; other text stays as
// typed, for the tool to judge.
std::string OldStreamNumber(std::string_view chosen) {
  std::string number = Trim(chosen);
  if (StartsWith(number, "#")) number.erase(0, 1);
  if (IsDigits(number)) return "0." + number;
  const size_t colon = number.find(':');
  const std::string_view text = number;
  if (colon != std::string::npos && IsDigits(text.substr(0, colon)) && IsDigits(text.substr(colon + 1))) {
    number[colon] = '.';
  }
  return number;
}

}  // namespace

int SubtitleEncodingNumber(std::string_view name) {
  if (name == kAnsiEncoding) return 0;
  for (size_t i = 0; i < std::size(kSubtitleEncodings); ++i) {
    if (name == kSubtitleEncodings[i]) return static_cast<int>(i) + 1;
  }
  return 1;
}

int Big5ModeSetting(std::string_view value) {
  if (value == StrYes) return 1;
  if (IsNumeric(Trim(value))) return static_cast<int>(Val(value));
  return 0;
}

SubtitleArguments SubtitleTaskArguments(const SettingReader& read) {
  SubtitleArguments args;
  args.timeOffset = Val(read("SubtitleOffset"));
  args.overwrite = read("FileExistsOverwrite") == StrYes;
  args.big5Mode = Big5ModeSetting(read("SubtitleBIG5ToGB"));
  return args;
}

int PriorityForSetting(std::string_view value) {
  constexpr int kClasses[] = {kPriorityIdle,         kPriorityBelowNormal, kPriorityNormal,
                              kPriorityAboveNormal,  kPriorityHigh,        kPriorityRealtime};
  const std::string v = Trim(value);
  return v.size() == 1 && v[0] >= '1' && v[0] <= '5' ? kClasses[v[0] - '0'] : kPriorityIdle;
}

float RatioSetting(std::string_view value) {
  const std::string text = LowerAscii(Trim(value));
  for (char mark : {':', 'x', '/'}) {
    const size_t at = text.find(mark);
    if (at == std::string::npos) continue;
    const double below = Val(std::string_view(text).substr(at + 1));
    return below == 0 ? 0.0f : static_cast<float>(Val(std::string_view(text).substr(0, at)) / below);
  }
  return static_cast<float>(Val(text));
}

std::string StreamChoiceText(std::string_view chosenVideo, std::string_view chosenAudio, std::string_view probedVideo,
                             std::string_view probedAudio) {
  if (Trim(chosenVideo).empty() && Trim(chosenAudio).empty()) return {};
  const std::string video = Trim(chosenVideo).empty() ? std::string(probedVideo) : OldStreamNumber(chosenVideo);
  const std::string audio = Trim(chosenAudio).empty() ? std::string(probedAudio) : OldStreamNumber(chosenAudio);
  std::string text;
  if (!video.empty()) text += " -map " + video + ":0.0";
  if (!audio.empty()) text += " -map " + audio + ":0.1";
  return text;
}

bool IsAudioOnlyFormat(std::string_view formatName) {
  const std::string name = LowerAscii(WithoutMe(formatName));
  return std::find(std::begin(kAudioOnlyFormats), std::end(kAudioOnlyFormats), name) != std::end(kAudioOnlyFormats);
}

void ConfigureConversion(FFmpegX& engine, const ConversionTask& task, const SettingReader& read) {
  auto yes = [&read](std::string_view key) { return read(key) == StrYes; };
  auto number = [&read](std::string_view key) { return Val(read(key)); };
  auto whole = [&number](std::string_view key) { return static_cast<int>(number(key)); };

  engine.Refresh = false;
  engine.TestMode = false;
  // Identifying a tool runs it three times; a task list keeps its tool.
  if (engine.Core() != task.corePath || engine.CoreStatus() == kCoreNone) engine.SetCore(task.corePath);
  engine.OnlyUseExtCommandLine = false;
  engine.SetFilename(task.source);
  // An empty field means the source's own folder; left empty, an engine that
  // serves many tasks would keep the folder of the task before.
  const std::string first = task.source.substr(0, task.source.find('|'));
  engine.SetOutputDir(task.outputFolder.empty() ? FolderOf(first) : task.outputFolder);

  engine.FileNameSuffix = read("FileSuffix");
  engine.FileNameAddStringBefore = read("FileNameAddStringBefore");
  engine.FileNameAddStringAfter = read("FileNameAddStringAfter");
  engine.MaxThreads = whole("MaxThreads");
  engine.Overwrite = yes("FileExistsOverwrite");
  engine.RemoveFileAfterCanceled = yes("RemoveFileAfterCanceled");
  engine.SetStatusRefreshInterval(whole("StatusRefreshInterval"));
  engine.Log = yes("Log");
  engine.SetPriority(PriorityForSetting(read("ThreadPriority")));
  engine.Twopass = yes("Twopass") && !IsAudioOnlyFormat(task.formatName);

  engine.SetVideoSize(read("VideoSize"));
  const std::string videoCodec = read("VideoCodec");
  engine.SetVideoCodec(videoCodec);
  const std::string videoRate = LowerAscii(read("VideoBitrate"));
  if (Contains(videoRate, "vbr")) {
    engine.VideoVBR = static_cast<int>(Val(videoRate));
    engine.VideoBitRate = 0;
  } else {
    engine.VideoBitRate = static_cast<float>(Val(videoRate));
    engine.VideoVBR = 0;
  }
  engine.SetFrameRate(static_cast<float>(number("VideoFrame")));
  engine.VideoAspect = RatioSetting(read("VideoAspect"));
  engine.PadBorder = RatioSetting(read("VideoPadBorder"));
  engine.Deinterlace = yes("Deinterlace");
  engine.DisableVideo = videoCodec == StrDisableVideo;
  engine.VideoCropTop = whole("VideoCropTop");
  engine.VideoCropBottom = whole("VideoCropBottom");
  engine.VideoCropLeft = whole("VideoCropLeft");
  engine.VideoCropRight = whole("VideoCropRight");
  engine.VideoPadTop = whole("VideoPadTop");
  engine.VideoPadBottom = whole("VideoPadBottom");
  engine.VideoPadLeft = whole("VideoPadLeft");
  engine.VideoPadRight = whole("VideoPadRight");
  engine.VideoPadColor = read("VideoPadColor");
  engine.MultiVideoTrackSupport = yes("MultiVideoTrackSupport");

  const std::string audioCodec = read("AudioCodec");
  engine.SetAudioCodec(audioCodec);
  const std::string audioRate = LowerAscii(Trim(read("AudioBitrate")));
  if (EndsWith(audioRate, "aq")) {
    engine.AudioQuality = static_cast<float>(Val(audioRate));
    engine.AudioBitRate = 0;
  } else {
    engine.AudioBitRate = static_cast<float>(Val(audioRate));
    engine.AudioQuality = 0;
  }
  engine.SetAudioSampleRate(whole("AudioSample"));
  engine.SetAudioChannels(whole("AudioChannels"));
  engine.AudioVolume = whole("AudioVolume");
  engine.DisableAudio = audioCodec == StrDisableAudio;
  engine.MultiAudioTrackSupport = yes("MultiAudioTrackSupport");

  const std::string subtitleCodec = read("SubtitleCodec");
  engine.SetSubtitleCodec(subtitleCodec);
  engine.SubtitleLanguage = read("SubtitleLang");
  engine.SubtitleFourccTag = read("SubtitleTag");
  engine.SubtitleBitstreamFilter = read("SubtitleSbsf");
  engine.DisableSubtitle = subtitleCodec == StrDisableSubtitle;
  const std::string encoding = read("SubtitleEncodeFormat");
  engine.SubtitleEncodeFormat = -1;
  for (size_t i = 0; i < std::size(kSubtitleEncodings); ++i) {
    if (encoding == kSubtitleEncodings[i]) engine.SubtitleEncodeFormat = static_cast<int>(i) + 1;
  }
  engine.MultiSubtitleTrackSupport = yes("MultiSubtitleTrackSupport");

  engine.TimeStamp = yes("TimeStamp");
  engine.CopyTimeStamps = yes("CopyTimeStamps");
  engine.Strict = whole("Strict");
  engine.x264QualityMode = read("x264QualityMode") == StrX264ConstantQuantizer ? 1 : 0;

  // The streams the user chose go with the raw options, in the old syntax, so the
  // first pass of an x264 job, which may have options of its own, reads the same streams.
  const std::string streams = StreamChoiceText(read("DefaultVideoStream"), read("DefaultAudioStream"),
                                               engine.VideoMapStream(), engine.AudioMapStream());
  engine.SetAdditionalScripts(streams + " " + read("AdditionalScripts"));
  const std::string firstPass = read("AdditionalPass1Scripts");
  engine.SetAdditionalPass1Scripts(Trim(firstPass).empty() ? std::string() : streams + " " + firstPass);
  engine.SetImageSize(read("ImageSize"));
  engine.ImageQuality = whole("ImageQuality");
  engine.MetaData_Title = read("InfoTitle");
  engine.MetaData_Author = read("InfoAuthor");
  engine.MetaData_Copyright = read("InfoCopyright");

  // The effects need a picture to work on. Where AviSynth can read the script
  // the tool reads it; elsewhere the engine runs the same steps as a filter graph.
  const bool picture = Contains(task.source, "|") || SourceKindOf(task.source) == SourceKind::Video;
  engine.AVSEnabled = yes("AVSEnable") && picture;
  engine.AVSThroughAviSynth = task.aviSynthUsable;
  engine.AVSVSFilterPath = Shared().ToolVsfilter;
  engine.AVSUserScript = read("AVSUserScript");
  // Without AviSynth libass draws the subtitles, and VSFilter is not needed.
  engine.AVSEnableSubtitle = yes("AVSSubtitle") && (FileExists(Shared().ToolVsfilter) || !task.aviSynthUsable);
  engine.AVSEnableSubtitleFormat = yes("AVSSubtitleFormat");
  engine.AVSSubtitleFont = read("AVSSubtitleFont");
  engine.AVSSubtitleColor = read("AVSSubtitleColor");
  // No panel row sets the position; a stored value is still honoured.
  const std::string align = read("AVSSubtitleAlign");
  engine.AVSSubtitleAlign = Trim(align).empty() ? 2 : static_cast<int>(Val(align));
  engine.AVSOverallSubtitle = read("AVSOverallSubtitle");
  engine.AVSSubtitleEnableLogo = yes("AVSLogoText");
  engine.AVSSubtitleStringLogo = read("AVSLogoTextString");
  engine.AVSSubtitleFontLogo = read("AVSLogoTextFont");
  engine.AVSSubtitleColorLogo = read("AVSLogoTextColor");
  engine.AVSSubtitleTimeStartLogo = read("AVSLogoTextTimeStart");
  engine.AVSSubtitleTimeEndLogo = read("AVSLogoTextTimeEnd");
  engine.AVSSubtitleAlignLogo = whole("AVSLogoTextAlign");
  engine.AVSSubtitleEnableBanner = yes("AVSBanner");
  engine.AVSSubtitleStringBanner = read("AVSBannerString");
  engine.AVSSubtitleFontBanner = read("AVSBannerFont");
  engine.AVSSubtitleColorBanner = read("AVSBannerColor");
  engine.AVSSubtitleTimeStartBanner = read("AVSBannerTimeStart");
  engine.AVSSubtitleTimeEndBanner = read("AVSBannerTimeEnd");
  engine.AVSLogoImage = yes("AVSLogoImage");
  engine.AVSLogoImageFileName = read("AVSLogoImageFileName");
  engine.AVSLogoImagePosition = read("AVSLogoImagePosition");
  engine.AVSInsertImage = yes("AVSInsertImage");
  engine.AVSInsertImageFileName = read("AVSInsertImageFileName");
  engine.AVSInsertImagePosition = whole("AVSInsertImagePosition");
  // The panel shows 5 s for a value never stored; the job has always taken 10 s.
  std::string stillTime = read("AVSInsertImageTime");
  if (stillTime == SettingDefault("AVSInsertImageTime") && ReadSetting("AVSInsertImageTime", "").empty()) {
    stillTime = SettingSecondDefault("AVSInsertImageTime");
  }
  engine.AVSInsertImageTime = static_cast<int>(Val(stillTime));
  engine.AVSInsertVideo = yes("AVSInsertVideo");
  engine.AVSInsertVideoFileName = read("AVSInsertVideoFileName");
  engine.AVSInsertVideoPosition = whole("AVSInsertVideoPosition");
  engine.AVSLayOver = yes("AVSLayOver");
  engine.AVSLayOverColor = read("AVSLayOverColor");
  engine.AVSLayOverRect = read("AVSLayOverValue");
  engine.AVSAudioReplace = yes("AVSAudioReplace");
  engine.AVSAudioReplaceFileName = read("AVSAudioReplaceFileName");
  engine.AVSAudioReplaceVolume = whole("AVSAudioReplaceVolume");

  engine.ImageGrabber = yes("ImageGrabber");
  engine.ImageGrabberThumbMatrix = read("ImageGrabberThumbMatrix");
  engine.ImageGrabberThumbSpacing = whole("ImageGrabberThumbSpacing");
  engine.ImageGrabberMaxWidth = whole("ImageGrabberMaxWidth");
  engine.ImageGrabberForeColor = read("ImageGrabberForeColor");
  engine.ImageGrabberBackColor = read("ImageGrabberBackColor");
  engine.ImageGrabberCommentString = read("ImageGrabberCommentString");
  engine.ImageGrabberShowTimeString = yes("ImageGrabberShowTimeString");
}

void PreparePart(FFmpegX& engine, const ConversionTask& task, const SettingReader& read, int part, int parts,
                 double start, double partLength) {
  std::string after = read("FileNameAddStringAfter");
  if (parts > 1) after += "_" + std::to_string(part + 1);
  engine.FileNameAddStringAfter = after;
  // Through "####0.000", as the range always was.
  auto threeDecimals = [](double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.3f", value);
    return static_cast<float>(Val(buffer));
  };
  const bool fullFile = start == 0 && partLength == 0;
  engine.TimeStartPoint = fullFile ? 0 : threeDecimals(partLength * part + start);
  engine.TimeEndPoint = fullFile ? 0 : threeDecimals(partLength * part + partLength + start);
  engine.SetForceFormat(task.formatName);
  engine.CommandLine.clear();
  engine.Refresh = true;
}

}  // namespace zel
