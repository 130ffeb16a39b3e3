#include "engine/FFmpegX.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <future>

#include "engine/ChildProcess.h"
#include "engine/CoreListCache.h"
#include "engine/CommandLine.h"
#include "engine/PriorityClass.h"
#include "engine/ProbeService.h"
#include "engine/ProgressText.h"

namespace zel {

namespace {

// Output keys that make a still picture rather than a run of the tool.
constexpr std::array<std::string_view, 6> kStillImageKeys{"jpg", "jpeg", "png", "tif", "tiff", "bmp"};
constexpr std::array<std::string_view, 7> kImageExtensions{"jpg", "jpeg", "png", "bmp", "gif", "tif", "tiff"};

bool IsStillImageKey(std::string_view key) {
  return std::find(kStillImageKeys.begin(), kStillImageKeys.end(), key) != kStillImageKeys.end();
}

bool HasImageExtension(std::string_view path) {
  const std::string extension = LowerAscii(ExtensionOf(path));
  return std::find(kImageExtensions.begin(), kImageExtensions.end(), extension) != kImageExtensions.end();
}

}  // namespace

FFmpegX::FFmpegX() : scratchFile_(CreateTempFile("ZEL", "")) {}

FFmpegX::~FFmpegX() {
  StopTimer();
  child_.reset();
  DeleteScratchFiles();
  if (!scratchFile_.empty()) {
    zel::DeleteFile(scratchFile_);
    std::error_code ignored;
    std::filesystem::remove_all(scratchFile_ + ".pass", ignored);
  }
}

// AviSynth+ is present when its library loads, as FFmpeg itself would load it.
bool FFmpegX::AviSynthInstalled() {
  void* library = ::dlopen("libavisynth.so", RTLD_LAZY | RTLD_LOCAL);
  if (library == nullptr) return false;
  ::dlclose(library);
  return true;
}

std::string FFmpegX::GetStatusString(int status) {
  if (status < 0 || status >= static_cast<int>(kStatusWords.size())) return {};
  return std::string(kStatusWords[static_cast<size_t>(status)]);
}

void FFmpegX::SetCore(const std::string& path) {
  if (!FileExists(path)) {
    coreStatus_ = kCoreNone;
    coreName_.clear();
    coreVersion_.clear();
    return;
  }
  core_ = path;
  coreFormats_.clear();
  coreVideoCodec_.clear();
  coreAudioCodec_.clear();
  coreSubtitleCodec_.clear();
  coreInputFormats_.clear();

  const std::optional<std::string> kept = KeptBanner(core_);
  const std::string banner = kept ? *kept : CaptureOutput("");
  if (!kept) KeepBanner(core_, banner);
  const CoreIdentity id = IdentifyCore(banner, [this](std::string_view args) { return CaptureOutput(args); });
  coreStatus_ = id.status;
  coreName_ = id.name;
  coreVersion_ = id.version;
  coreDialect_ = id.dialect;
  if (coreStatus_ == kCoreFFmpeg) ReadCoreLists(banner);
  ProbeService::Instance().NoteCore(core_, coreStatus_ == kCoreFFmpeg ? banner : std::string());
  // A recognised core leaves the cancel flag raised; every job clears it first.
  if (coreStatus_ != kCoreNone) cancelRequested_ = true;
}

void FFmpegX::ReadCoreLists(const std::string& banner) {
  if (processing_) return;
  std::optional<CoreLists> kept = KeptCoreLists(core_, banner);
  if (!kept) {
    // The two runs are independent: side by side they take the time of one.
    auto codecs = std::async(std::launch::async, [this] { return CaptureOutput("-codecs"); });
    const std::string formats = CaptureOutput("-formats");
    kept = ParseFFmpegCapabilities(formats + codecs.get(), coreDialect_);
    KeepCoreLists(core_, banner, *kept);
  }
  const CoreLists& lists = *kept;
  coreFormats_ = lists.formats;
  coreVideoCodec_ = lists.video;
  coreAudioCodec_ = lists.audio;
  coreSubtitleCodec_ = lists.subtitle;
  coreInputFormats_ = lists.inputs;
}

void FFmpegX::SetFilename(const std::string& filename) {
  if (filename.empty()) return;
  filename_ = filename;
  value_ = 0;
  max_ = 0;
  speedFps_ = 0;
  remainderInfo_.clear();
  outputInfo_.clear();
  twoPassStatus_.clear();
  startTime_.clear();
  endTime_.clear();

  const std::string first = FirstSource();
  sourceInUse_ = first;
  streamInfo_.clear();
  defaultVideoStream_.clear();
  defaultAudioStream_.clear();
  defaultSubtitleStream_.clear();
  videoMapStream_.clear();
  audioMapStream_.clear();
  // A name ending in ":" is a disc drive, read as it plays.
  if (!EndsWith(first, ":")) streamInfo_ = ProbeSource(first);

  status_ = kStatusSettingChanged;
  RaiseStatusChange(kStatusSettingChanged, filename_);
}

void FFmpegX::SetOutputDir(std::string_view folder) {
  if (folder.empty()) return;
  outputDir_ = cPath(folder);
  RaiseStatusChange(kStatusSettingChanged, outputDir_);
}

std::string FFmpegX::FirstSource() const { return filename_.substr(0, filename_.find('|')); }

void FFmpegX::StartProcess() {
  if (processing_) {
    Fail(MsgExecuting);
    return;
  }
  startTime_ = ClockNow();
  endTime_.clear();
  const std::string first = FirstSource();

  if (CommandLine.empty()) {
    if (filename_.empty()) {
      Fail(MsgNoSource);
      return;
    }
    if (!EndsWith(first, ":") && !FileExists(first)) {
      Fail(MsgSourceNotFound);
      return;
    }
    if (outputDir_.empty()) {
      // The status reads as an error while the event only informs: the job goes
      // on and writes beside its source.
      status_ = kStatusError;
      RaiseStatusChange(kStatusInfoString, MsgNoOutputPath);
    } else if (!DirectoryExists(outputDir_)) {
      Fail(MsgNoSuchOutputPath);
      return;
    }
  }
  processing_ = true;

  if (HasImageExtension(first) && IsStillImageKey(forceFormat_)) {
    ConvertImageJob();
    return;
  }
  // On the next three stops the job stays "processing", so that every later call
  // on this object reports MsgExecuting: hosts rely on that lock-up.
  if (!FileExists(core_) && CommandLine.empty()) {
    Fail(MsgCannotSetCore);
    return;
  }
  // Without AviSynth the script's effects run as a filter graph, its texts
  // drawn by libass: neither AviSynth nor VSFilter is needed then.
  if (AVSEnabled && AVSThroughAviSynth) {
    if (!AviSynthInstalled()) {
      Fail(MsgNoAviSynth);
      return;
    }
    const bool overlay = (AVSSubtitleEnableLogo && !AVSSubtitleStringLogo.empty()) || AVSEnableSubtitle ||
                         (AVSSubtitleEnableBanner && !AVSSubtitleStringBanner.empty());
    if (overlay && !FileExists(AVSVSFilterPath)) {
      Fail(MsgNoVSFilter);
      return;
    }
  }
  if (IsStillImageKey(forceFormat_) && videoWidth_ >= 1 && videoHeight_ >= 1) {
    cancelRequested_ = false;
    outputFileName_ = OutputPathFor(forceFormat_);
    GrabFrameJob();
    return;
  }

  outputFileName_ = (ForceOutputFileName.empty() && filename_.empty()) ? std::string() : OutputPathFor(forceFormat_);
  cancelRequested_ = false;
  if (OnlyUseExtCommandLine) {
    RunCommand(CommandLine);
    return;
  }
  if (Twopass) {
    RunPass(1);
    if (FileExists(outputFileName_)) zel::DeleteFile(outputFileName_);
    Pump();
    if (!cancelRequested_) RunPass(2);
  } else {
    RunPass(0);
  }
  if (forceFormat_ == "psp" && coreStatus_ == kCoreFFmpeg) WritePspSidecar();
}

void FFmpegX::RunPass(int pass) {
  processing_ = true;
  BuildCommand(pass);
  if (graphInForce_ && filterGraph_.userScriptLeftOut && pass != 2) {
    RaiseStatusChange(kStatusInfoString, MsgUserScriptLeftOut);
  }
  // The passes share a statistics file that the tool names itself in its working
  // folder; a folder of the job's own keeps it out of the user's way and apart
  // from other jobs. Only a composed command with whole paths can move there.
  std::string folder;
  if (pass > 0 && CommandLine.empty() && StartsWith(core_, "/") && StartsWith(toolInput_, "/") &&
      StartsWith(outputFileName_, "/") && !scratchFile_.empty()) {
    folder = scratchFile_ + ".pass";
    MakedPath(folder);
  }
  RunCommand(commandToRun_, folder);
}

std::string FFmpegX::OutputPathFor(std::string_view extension, bool withSuffixAfter) const {
  if (!ForceOutputFileName.empty()) return RenameExists(ForceOutputFileName);
  const std::string first = FirstSource();
  std::string folder = outputDir_;
  if (folder.empty()) {
    folder = FolderOf(first);
  }
  const std::string base = CustomFileName.empty() ? GetFileString(first, ".", 0) : CustomFileName;
  const std::string& after = withSuffixAfter ? FileNameAddStringAfter : std::string();
  return RenameExists(folder + FileNameAddStringBefore + base + after + "." + std::string(extension));
}

void FFmpegX::SetPriority(int priority) {
  priority_ = priority;
  if (processing_ && child_) {
    if (const auto nice = NiceForClass(priority)) child_->SetNice(*nice);
  }
}

void FFmpegX::SetStatusRefreshInterval(int milliseconds) {
  statusRefreshInterval_ = milliseconds;
  if (timerRunning_) {
    StopTimer();
    StartTimer();
  }
}

void FFmpegX::Fail(std::string_view message) { Report(kStatusError, message); }

void FFmpegX::Report(int status, std::string_view info) {
  status_ = status;
  RaiseStatusChange(status, info);
}

void FFmpegX::RaiseStatusChange(int status, std::string_view info) {
  if (StatusChange) StatusChange(status, std::string(info));
}

void FFmpegX::RaiseProgress(bool finished) {
  if (!ProgressChange) return;
  ProgressChange(static_cast<int>(std::floor(Value())), static_cast<int>(std::floor(Max())), speedFps_,
                 remainderInfo_, outputInfo_, finished);
}

void FFmpegX::DeleteScratchFiles() const {
  if (scratchFile_.empty()) return;
  // "3.ass" is the texts' file as libass reads it, for a filter graph.
  for (const char* suffix : {".avs", "1.ssa", "2.ssa", "3.ssa", "3.ass"}) {
    const std::string path = scratchFile_ + suffix;
    if (FileExists(path)) zel::DeleteFile(path);
  }
}

}  // namespace zel
