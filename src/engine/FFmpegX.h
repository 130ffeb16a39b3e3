// FFmpegX: the one object through which the program converts a file. A host fills
// its properties for one job, calls StartProcess, and listens to five events.
//
// Threads. An FFmpegX belongs to the thread that made it, the host's thread: call
// it only there, and every event and every PumpEvents call arrives there, in the
// order the calls that raise them run. These calls block until their work is done:
//   - StartProcess: the whole run, every pass. It reads the tool in blocks and,
//     between blocks and at least every 40 ms while the tool is silent, calls
//     PumpEvents, inside which the host may call CancelProcess, SuspendApp,
//     ResumeApp or SetPriority; a cancel ends the tool within 200 ms.
//   - SetCore: runs the tool for its banner and, for FFmpeg, its lists (these
//     are kept between runs of the program while tool and banner are unchanged).
//   - SetFilename and BuildCommand: probe their source through ProbeService. A
//     probe already made or begun by a worker (ProbeService::Prefetch, a window's
//     RequestProbe) is taken or waited for; otherwise it is made on this thread.
//   - ConvertSubtitle, Screenshot, GetVideoFrame and ConvertImage: in-process work.
// Nothing here starts a thread that calls back into the object. Hosts that want
// answers without blocking ask ProbeService, which answers on their thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/CoreCapabilities.h"
#include "engine/EngineMessages.h"
#include "engine/MediaInspection.h"
#include "base/FileHelpers.h"
#include "subtitles/SubtitleWriters.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

class QImage;

namespace zel {

class ChildProcess;

// One call of Screenshot: a single frame, or a sheet of frames.
struct ScreenshotRequest {
  std::string outputPath;  // fixed up: the format added when it has no extension, a time when taken
  std::string source;      // empty: the engine's tool input
  double time = 0;         // seconds, for a single frame
  std::string format = "jpg";
  int quality = 85;
  int columns = 1, rows = 1;
  int spacing = 0;
  int maxWidth = 0;
  int cellWidth = 0, cellHeight = 0;
  int backColor = 0xFFFFFF, foreColor = 0;  // 0xBBGGRR
  std::string comment;
  bool showTime = false;
  double rangeStart = 0, rangeEnd = 0;  // seconds; no range when the end is not after the start
  // A picture beside a run's output (its sheet, a PSP thumbnail): it reports no
  // start and no finished file of its own, so a host never takes it for the run's
  // output; its progress and a failure are still reported.
  bool besideOutput = false;
};
struct LaunchPlan;
struct FFmpegXStoredFormAccess;

// The control's stored form: its saved settings by name, values as text.
using PropertyBag = std::map<std::string, std::string, std::less<>>;

class FFmpegX {
 public:
  FFmpegX();
  ~FFmpegX();
  FFmpegX(const FFmpegX&) = delete;
  FFmpegX& operator=(const FFmpegX&) = delete;

  // ---- Events, in their declared order. Each may be left empty. ----
  std::function<void()> FileInfoChange;
  std::function<void(int status, const std::string& info)> StatusChange;
  std::function<void(int value, int max, int fpsSpeed, const std::string& remainderInfo,
                     const std::string& outputInfo, bool finished)>
      ProgressChange;
  std::function<void(int priority)> PriorityChanged;
  std::function<void(const std::string& text)> PipeChange;

  // The host's event pump: called between blocks of tool output and while the
  // tool is silent, so the host stays alive and can cancel.
  std::function<void()> PumpEvents;

  // ---- Operations ----
  void StartProcess();
  void CancelProcess();
  // The tool's standard input is /dev/null, so no key reaches it: cancelling rests
  // on terminating the tool. Returns no handle (0).
  int SendKeyToDos(std::string_view key);
  // Asks another process to end, as closing its window would; true when it was reached.
  static bool CloseProcess(int processId);
  // Stop and continue the tool's process group; the previous suspend count.
  int SuspendApp();
  int ResumeApp();

  static std::string GetStatusString(int status);

  // ---- Core and job state ----
  const std::string& Core() const { return core_; }
  void SetCore(const std::string& path);
  int CoreStatus() const { return coreStatus_; }
  const std::string& CoreName() const { return coreName_; }
  const std::string& CoreVersion() const { return coreVersion_; }
  const std::string& CoreFormats() const { return coreFormats_; }
  const std::string& CoreVideoCodec() const { return coreVideoCodec_; }
  const std::string& CoreAudioCodec() const { return coreAudioCodec_; }
  const std::string& CoreSubtitleCodec() const { return coreSubtitleCodec_; }
  // Whether the AviSynth+ library can be loaded on this machine.
  static bool AviSynthInstalled();
  // The formats the core can read, in the form of CoreFormats.
  const std::string& CoreInputFormats() const { return coreInputFormats_; }
  // Whether the FFmpeg core speaks the old option syntax or today's.
  ToolDialect CoreDialect() const { return coreDialect_; }

  bool Processing() const { return processing_; }
  int Status() const { return status_; }
  // 0 once the stored value has passed the stored maximum.
  float Value() const { return value_ > max_ ? 0.0f : value_; }
  // Never below 1, so a host can divide by it.
  float Max() const { return max_ < 1.0f ? 1.0f : max_; }
  // Frames per second the tool last reported; 0 when it gives none.
  int SpeedFps() const { return speedFps_; }
  const std::string& RemainderInfo() const { return remainderInfo_; }
  const std::string& OutputInfo() const { return outputInfo_; }
  const std::string& TwoPassStatus() const { return twoPassStatus_; }
  const std::string& StartTime() const { return startTime_; }
  const std::string& EndTime() const { return endTime_; }
  const std::string& OutputFileName() const { return outputFileName_; }

  // ---- Source description, filled by the probe ----
  float Duration() const { return duration_; }
  int VideoWidth() const { return videoWidth_; }
  int VideoHeight() const { return videoHeight_; }
  const std::string& SourceFormat() const { return sourceFormat_; }
  const std::string& SourceSuffix() const { return sourceSuffix_; }
  std::string FileInfo() const { return filename_.empty() ? std::string() : fileInfo_; }
  const std::string& StreamInfo() const { return streamInfo_; }
  const std::string& VideoStreamInfo() const { return videoStreamInfo_; }
  const std::string& AudioStreamInfo() const { return audioStreamInfo_; }
  const std::string& SubtitleStreamInfo() const { return subtitleStreamInfo_; }
  const std::string& DefaultVideoStream() const { return defaultVideoStream_; }
  const std::string& DefaultAudioStream() const { return defaultAudioStream_; }
  const std::string& DefaultSubtitleStream() const { return defaultSubtitleStream_; }
  // The first video stream that is no cover picture and the first audio stream, as
  // the old "-map" names them ("0.1"), whichever notation the core printed; "" for
  // none. Unlike the defaults above they describe the last probe.
  const std::string& VideoMapStream() const { return videoMapStream_; }
  const std::string& AudioMapStream() const { return audioMapStream_; }
  int VideoStreamCount() const { return videoStreamCount_; }
  int AudioStreamCount() const { return audioStreamCount_; }
  int SubtitleStreamCount() const { return subtitleStreamCount_; }

  // ---- Five names: writing sets the target, reading gives the probed source ----
  const std::string& VideoCodec() const { return sourceVideoCodec_; }
  void SetVideoCodec(std::string_view codec) { targetVideoCodec_ = LowerAscii(Trim(codec)); }
  const std::string& AudioCodec() const { return sourceAudioCodec_; }
  void SetAudioCodec(std::string_view codec) { targetAudioCodec_ = LowerAscii(Trim(codec)); }
  int AudioSampleRate() const { return sourceAudioSampleRate_; }
  void SetAudioSampleRate(int rate) { targetAudioSampleRate_ = rate; }
  // A plain count as the tool printed it, 5.1 included.
  float AudioChannels() const { return sourceAudioChannels_; }
  void SetAudioChannels(int channels) { targetAudioChannels_ = channels; }
  float FrameRate() const { return sourceFrameRate_; }
  void SetFrameRate(float rate) { targetFrameRate_ = rate; }
  // The written sides, for command assembly.
  const std::string& TargetVideoCodec() const { return targetVideoCodec_; }
  const std::string& TargetAudioCodec() const { return targetAudioCodec_; }
  int TargetAudioSampleRate() const { return targetAudioSampleRate_; }
  int TargetAudioChannels() const { return targetAudioChannels_; }
  float TargetFrameRate() const { return targetFrameRate_; }

  // ---- Settings whose setters normalise or act ----
  const std::string& SubtitleCodec() const { return subtitleCodec_; }
  void SetSubtitleCodec(std::string_view codec) { subtitleCodec_ = LowerAscii(Trim(codec)); }
  const std::string& ForceFormat() const { return forceFormat_; }
  void SetForceFormat(std::string_view format) { forceFormat_ = LowerAscii(Trim(format)); }
  const std::string& VideoSize() const { return videoSize_; }
  void SetVideoSize(std::string_view size) { videoSize_ = Trim(size); }
  const std::string& ImageSize() const { return imageSize_; }
  void SetImageSize(std::string_view size) { imageSize_ = Trim(size); }
  const std::string& AdditionalScripts() const { return additionalScripts_; }
  void SetAdditionalScripts(std::string_view text) { additionalScripts_ = Trim(text); }
  const std::string& AdditionalPass1Scripts() const { return additionalPass1Scripts_; }
  void SetAdditionalPass1Scripts(std::string_view text) { additionalPass1Scripts_ = Trim(text); }
  // Ignores "", keeps a final "/", and reports the new folder.
  const std::string& OutputDir() const { return outputDir_; }
  void SetOutputDir(std::string_view folder);
  // One source, or several joined by "|"; the first is probed.
  const std::string& Filename() const { return filename_; }
  void SetFilename(const std::string& filename);
  // A process class (64 idle ... 256 realtime); applied to a running tool at once.
  int Priority() const { return priority_; }
  void SetPriority(int priority);
  // Period of the refresh timer in milliseconds; restarts a running timer.
  int StatusRefreshInterval() const { return statusRefreshInterval_; }
  void SetStatusRefreshInterval(int milliseconds);

  // ---- Plain job settings: read and write touch one field ----
  bool Enabled = false;
  bool TestMode = false;
  bool Refresh = false;
  bool Overwrite = false;
  bool RemoveFileAfterCanceled = true;
  bool OnlyUseExtCommandLine = false;
  std::string CommandLine;
  bool Log = false;
  bool Twopass = false;
  int MaxThreads = 0;
  std::string ForceOutputFileName;
  std::string CustomFileName;
  std::string FileNameSuffix;
  std::string FileNameAddStringBefore;
  std::string FileNameAddStringAfter;
  bool UcaseNameSuffix = true;
  float VideoBitRate = 0;
  float AudioBitRate = 0;
  int VideoVBR = 0;
  float VideoAspect = 0;
  float PadBorder = 0;
  int VideoCropTop = 0, VideoCropBottom = 0, VideoCropLeft = 0, VideoCropRight = 0;
  int VideoPadTop = 0, VideoPadBottom = 0, VideoPadLeft = 0, VideoPadRight = 0;
  std::string VideoPadColor = "0";
  bool Deinterlace = false;
  bool DisableVideo = false;
  bool DisableAudio = false;
  bool DisableSubtitle = false;
  float AudioQuality = 0;
  int AudioVolume = 0;
  std::string SubtitleLanguage;
  std::string SubtitleFourccTag;
  std::string SubtitleBitstreamFilter;
  int SubtitleEncodeFormat = -1;
  bool MultiVideoTrackSupport = false;
  bool MultiAudioTrackSupport = false;
  bool MultiSubtitleTrackSupport = false;
  float TimeStartPoint = 0;
  float TimeEndPoint = 0;
  bool TimeStamp = false;
  bool CopyTimeStamps = false;
  int Strict = 0;
  int x264QualityMode = 0;
  std::string MetaData_Title, MetaData_Author, MetaData_Copyright, MetaData_Comment;
  int ImageQuality = 85;
  bool ImageGrabber = false;
  std::string ImageGrabberThumbMatrix = "3x5";
  int ImageGrabberThumbSpacing = 8;
  std::string ImageGrabberForeColor = "202020";
  std::string ImageGrabberBackColor = "FFFFFF";
  std::string ImageGrabberCommentString;
  bool ImageGrabberShowTimeString = false;
  int ImageGrabberMaxWidth = 0;
  bool MencEnableSubtitle = false;
  bool MencEnableSubtitleFormat = false;
  std::string MencOverallSubtitle;
  std::string MencSubtitleFontFileName;
  int MencSubtitleFontSize = 0;
  int MencSubtitleAlign = 0;

  // AviSynth script settings.
  bool AVSEnabled = false;
  // Whether the tool reads the script through AviSynth; otherwise the same
  // effects run as an FFmpeg filter graph on the real sources. Hosts set it from
  // their detection of AviSynth.
  bool AVSThroughAviSynth = false;
  std::string AVSVSFilterPath;
  bool AVSEnableSubtitle = false;
  bool AVSEnableSubtitleFormat = false;
  std::string AVSOverallSubtitle;
  std::string AVSSubtitleFont = "Trebuchet MS, 20, False, False, 0, False, False, 400";
  std::string AVSSubtitleColor = "FFFFFF";
  std::string AVSSubtitleColorBorder = "000000";
  int AVSSubtitleAlign = 2;
  bool AVSSubtitleEnableTitle = false;
  std::string AVSSubtitleStringTitle;
  std::string AVSSubtitleFontTitle = "Trebuchet MS, 20, False, False, 0, False, False, 400";
  std::string AVSSubtitleColorTitle = "FFFFFF";
  int AVSSubtitleAlignTitle = 5;
  std::string AVSSubtitleTimeStartTitle = "00:00:00,000";
  std::string AVSSubtitleTimeEndTitle = "00:00:15,000";
  bool AVSSubtitleEnableLogo = false;
  std::string AVSSubtitleStringLogo;
  std::string AVSSubtitleFontLogo = "Trebuchet MS, 18, False, False, 0, False, False, 400";
  std::string AVSSubtitleColorLogo = "FFFFFF";
  int AVSSubtitleAlignLogo = 9;
  std::string AVSSubtitleTimeStartLogo = "00:00:05,000";
  std::string AVSSubtitleTimeEndLogo = "00:00:20,000";
  bool AVSSubtitleEnableBanner = false;
  std::string AVSSubtitleStringBanner;
  std::string AVSSubtitleFontBanner = "Trebuchet MS, 20, False, False, 0, False, False, 400";
  std::string AVSSubtitleColorBanner = "FFFFFF";
  std::string AVSSubtitleTimeStartBanner = "00:00:00,000";
  std::string AVSSubtitleTimeEndBanner = "00:00:30,000";
  bool AVSAudioReplace = false;
  std::string AVSAudioReplaceFileName;
  int AVSAudioReplaceVolume = 0;
  bool AVSLayOver = false;
  std::string AVSLayOverRect = "0,0,0,0";
  std::string AVSLayOverColor = "0";
  std::string AVSScreenCrop = "0,0,-0,-0";
  bool AVSInsertVideo = false;
  std::string AVSInsertVideoFileName;
  int AVSInsertVideoPosition = 0;
  bool AVSInsertImage = false;
  std::string AVSInsertImageFileName;
  int AVSInsertImagePosition = 0;
  int AVSInsertImageTime = 0;
  bool AVSLogoImage = false;
  std::string AVSLogoImageFileName;
  std::string AVSLogoImagePosition = "0x0";
  int AVSVideoRotate = 0;
  int AVSFlip = 0;
  std::string AVSUserScript;

  // ---- The control's stored form ----
  void WriteProperties(PropertyBag& bag) const;
  // Keys missing from the bag take their load defaults.
  void ReadProperties(const PropertyBag& bag);
  // The same form as "Key=Value" lines in a file, replaced atomically.
  bool SaveStoredForm(const std::string& path) const;
  bool LoadStoredForm(const std::string& path);

  // ---- Time notations and file helpers, one set of rules for every host ----
  static std::string MSecsToTime(double& ms, int16_t& notation) { return zel::MSecsToTime(ms, notation); }
  static double TimeToMSecs(std::string& time, std::string& separator) { return zel::TimeToMSecs(time, separator); }
  static double TimeToSec(std::string& time, bool& withFraction, std::string& separator) {
    return zel::TimeToSec(time, withFraction, separator);
  }
  static bool FileExists(std::string_view path) { return zel::FileExists(path); }
  static bool DirectoryExists(std::string_view path) { return zel::DirectoryExists(path); }
  static bool DirExists(std::string_view path) { return zel::DirectoryExists(path); }
  static bool MakedPath(std::string_view path) { return zel::MakedPath(path); }
  static std::string ReadText(std::string_view path) { return zel::ReadText(path); }
  static bool WriteText(std::string_view text, std::string_view path, bool append) {
    return zel::WriteText(text, path, append);
  }
  static std::string CreateTempFile(std::string_view prefix, std::string_view folder) {
    return zel::CreateTempFile(prefix, folder);
  }
  static std::string cPath(std::string_view path) { return zel::cPath(path); }
  static std::string GetFileString(std::string_view text, std::string_view delimiter, int mode) {
    return zel::GetFileString(text, delimiter, mode);
  }
  static std::string GetString(std::string_view text, std::string_view startMark, std::string_view endMark) {
    return zel::GetString(text, startMark, endMark);
  }
  static std::string FindTextBetween(std::string_view text, std::string_view startMark, std::string_view endMark,
                                     int startCount, int endCount) {
    return zel::FindTextBetween(text, startMark, endMark, startCount, endCount);
  }
  // Honours Overwrite.
  std::string RenameExists(std::string_view path) const { return zel::RenameExists(path, Overwrite); }

  // Turns one block of tool output into progress and status. Runs inside the read
  // loop; public so that recorded tool text can be replayed through it.
  void ParseToolOutput(const std::string& block);

  // The probe's reading of the core's text about `path`, completed by the media
  // libraries; runs inside every probe, public so that recorded text can be replayed.
  std::string ReadProbeText(const std::string& path, const std::string& toolText);
  // The number of a stream line ("Stream#0.1(eng):Audio:..." gives "0.1").
  static std::string GetStreamNumber(std::string_view line);
  // The number of a stream line in the old notation, from either notation:
  // "Stream#0:1(eng):Audio:..." and "Stream#0.1:Audio:..." both give "0.1".
  static std::string MapStreamNumber(std::string_view line);
  // A subtitle file that accompanies a media file, or "".
  static std::string CheckSubtitle(std::string_view mediaPath);

  // Reads subtitle and lyric files into one list of entries and writes them as the
  // type of `args.outputPath`, in the encoding SubtitleEncodeFormat names. Reports
  // each input (0, 1) and the end (2 with the output, or 3) through StatusChange;
  // true when the output was written.
  bool ConvertSubtitle(const std::vector<std::string>& files, const SubtitleArguments& args);

  // The command of one pass (0 single, 1 and 2 two-pass) in the core's classic
  // option syntax; `CommandToRun` then holds what will really run.
  std::string BuildCommand(int pass, int rotate = 0, const std::string& extraAudioFile = {});
  const std::string& CommandToRun() const { return commandToRun_; }

  // Removes the job's scratch files (scripts, subtitle copies); the scratch
  // name itself stays for the next job.
  void DeleteScratchFiles() const;

  // ---- Pictures (FFmpegXFrames.cpp) ----
  // Takes one frame, or a sheet of frames, from a video and saves it. Reports 0, 1
  // and 7 at the start, progress per cell, 4 after a cancel, 2 with the file, and 3
  // when no file was made; true when the file was made.
  bool Screenshot(ScreenshotRequest& request);
  // One frame as a picture, scaled to `width` by `height` when both are above 0;
  // a null picture when the video cannot be read.
  QImage GetVideoFrame(const std::string& source, double time, int width, int height);
  // A picture read, resized by a size text ("Nmax", "N%", "WxH") and saved in the
  // format of a key; fit mode 6 keeps the shape inside the size. True when saved.
  bool ConvertImage(const std::string& source, const std::string& output, std::string_view format,
                    std::string_view size, int quality, int bitDepth = 24, int fitMode = 6);

  // ---- AviSynth script (FFmpegXScript.cpp) ----
  // Where BuildCommand writes the job's script: the scratch name plus ".avs".
  std::string ScriptPath() const { return scratchFile_.empty() ? std::string() : scratchFile_ + ".avs"; }
  // Writes the script that opens `source` (one path, or several joined by "|") with
  // every effect of the AVS properties; `width` and `height` above 0 resize.
  void GenerateScript(const std::string& source, const std::string& scriptPath, int width, int height);
  // Writes the title, logo and banner texts as a SubStation file; with a
  // `sourceText` file, that file's lines restyled instead.
  void WriteTextOverlay(const std::string& path, const std::string& sourceText = {});
  // The script's text, every line ended by CRLF. Composing writes the subtitle
  // files the script names and stores a music share above 100 back as 100.
  std::string ComposeScript(const std::string& source, int width, int height);
  // The size in pixels of a text as the banner moves it (see FFmpegXScript.cpp).
  struct TextExtent {
    int width = 0, height = 0;
  };
  static TextExtent MeasureText(std::string_view text, double points);
  // The subtitle files the last composed script burns in, in its order, and its
  // picture subtitle ("VobSub"), if any.
  const std::vector<std::string>& ScriptSubtitles() const { return scriptSubtitles_; }
  const std::string& ScriptPictureSubtitle() const { return scriptPictureSubtitle_; }
  // ---- end of AviSynth script ----

  // ---- The script's effects as an FFmpeg filter graph (FFmpegXFilterGraph.cpp) ----
  // What the graph needs to know of the first source, as probed.
  struct SourceFacts {
    int width = 0, height = 0;
    double frameRate = 0;       // the source's own rate
    double duration = 0;        // seconds
    bool audio = false;         // the sound is wanted and the source has some
    int sampleRate = 0, channels = 0;
    double insertDuration = 0;  // seconds of the inserted clip
    bool insertAudio = false;   // the inserted clip has sound
    int insertChannels = 0, musicChannels = 0;  // 0 when not known
  };
  struct GraphInput {
    std::vector<std::string> options;  // input options before its "-i"
    std::string path;
  };
  struct FilterGraph {
    std::vector<GraphInput> inputs;  // after the first source, numbered from 1
    std::string text;                // for "-filter_complex"
    std::string video, audio;        // output labels; audio empty without sound
    bool userScriptLeftOut = false;  // the user's script lines have no graph form
  };
  // The graph of the script's steps, in its order, for `source` (one path or
  // several joined by "|") resized to `width` by `height` when both are above 0.
  // Reads the AVS properties and the subtitle files of the last composed script.
  FilterGraph ComposeFilterGraph(const std::string& source, int width, int height, const SourceFacts& facts) const;
  // The texts' numbered file, whose entries carry override tags that FFmpeg's
  // own reader of numbered text drops, as a SubStation Alpha file with the tags
  // kept, on the frame that numbered text is drawn on.
  static std::string TextOverlayAsSubStation(std::string_view numberedText);
  // A text as one value of a filter's option inside a graph: escaped for the
  // option list, then for the graph.
  static std::string FilterGraphValue(std::string_view text);

  // Where the tool log goes: beside the tool, or under the user's state folder
  // when the tool's folder cannot be written.
  std::string ToolLogPath() const;

 private:
  friend struct FFmpegXStoredFormAccess;

  bool ff_ConvertSubtitle(const std::vector<std::string>& files, const SubtitleArguments& args);
  // The output's final name: free unless overwriting, never one of the inputs.
  std::string SubtitleOutputPath(const std::vector<std::string>& files, const SubtitleArguments& args) const;

  // Supervision of one run (FFmpegXSupervision.cpp).
  void RunCommand(const std::string& commandLine, const std::string& workingFolder = {});
  static LaunchPlan PlanWith(const std::string& commandLine, const std::string& workingFolder);
  // What the core prints for these arguments.
  std::string CaptureOutput(std::string_view arguments) const;
  void ReadLoop();
  void GiveVerdict();
  void RepairSplitOutput();
  void AppendToolLog(const std::string& block);
  void CheckChildPriority();
  void ParseFFmpegProgress(const std::string& line);
  void ParseMEncoderProgress(const std::string& line);
  void Pump();
  void StartTimer();
  void StopTimer();
  void TimerTick();

  // The job (FFmpegX.cpp).
  void ReadCoreLists(const std::string& banner);
  void RunPass(int pass);
  void ReadStreamLine(const std::string& line);
  std::string ComposeFFmpeg(int pass, int rotate, const std::string& extraAudioFile, std::string scaleText);
  std::string ComposeMEncoder(int pass);
  std::string GraphText() const;
  std::string OutputPathFor(std::string_view extension, bool withSuffixAfter = true) const;
  std::string FirstSource() const;
  void Fail(std::string_view message);
  void Report(int status, std::string_view info);
  void RaiseStatusChange(int status, std::string_view info);
  void RaiseProgress(bool finished);

  std::string ProbeSource(const std::string& source);
  // ReadProbeText with the libraries' figures already at hand.
  std::string ReadProbeFacts(const std::string& path, const std::string& toolText,
                             const std::optional<MediaFigures>& figures);
  // Pictures made by the engine itself (FFmpegXFrames.cpp).
  void ConvertImageJob();
  void GrabFrameJob();
  void BuildThumbnailSheet();
  void WritePspSidecar();

  std::string core_;
  int coreStatus_ = 0;
  std::string coreName_, coreVersion_;
  std::string coreFormats_, coreVideoCodec_, coreAudioCodec_, coreSubtitleCodec_, coreInputFormats_;
  ToolDialect coreDialect_ = ToolDialect::Legacy;

  bool processing_ = false;
  int status_ = 0;
  float value_ = 0;
  float max_ = 0;
  std::string remainderInfo_, outputInfo_;
  std::string twoPassStatus_;
  std::string startTime_, endTime_;
  std::string outputFileName_;

  float duration_ = 0;
  int videoWidth_ = 0, videoHeight_ = 0;
  std::string sourceFormat_, sourceSuffix_, fileInfo_, streamInfo_;
  std::string videoStreamInfo_, audioStreamInfo_, subtitleStreamInfo_;
  std::string defaultVideoStream_, defaultAudioStream_, defaultSubtitleStream_;
  std::string videoMapStream_, audioMapStream_;
  int videoStreamCount_ = 0, audioStreamCount_ = 0, subtitleStreamCount_ = 0;

  std::string sourceVideoCodec_, targetVideoCodec_;
  std::string sourceAudioCodec_, targetAudioCodec_;
  int sourceAudioSampleRate_ = 0, targetAudioSampleRate_ = 0;
  float sourceAudioChannels_ = 0;
  int targetAudioChannels_ = 0;
  float sourceFrameRate_ = 0, targetFrameRate_ = 0;

  std::string subtitleCodec_, forceFormat_, videoSize_, imageSize_;
  std::string additionalScripts_, additionalPass1Scripts_;
  std::string outputDir_;
  std::string filename_;
  int priority_ = 64;
  int statusRefreshInterval_ = 500;

  // Hidden state of a job.
  std::string scratchFile_;      // made once, removed with the object
  std::string sourceInUse_;      // the first source, or the generated script
  std::vector<std::string> scriptSubtitles_;
  std::string scriptPictureSubtitle_;
  FilterGraph filterGraph_;       // in force when the script's effects run without AviSynth
  bool graphInForce_ = false;
  std::string toolInput_;        // what the tool reads after "-i"
  std::string commandToRun_;     // the composed command, in the core's own dialect
  int targetWidth_ = 0, targetHeight_ = 0;
  bool cancelRequested_ = false;
  int speedFps_ = 0;
  std::string lastBlock_;
  int lastCallResult_ = 0;
  int suspendCount_ = 0;
  std::unique_ptr<ChildProcess> child_;

  // The refresh timer, delivered only inside a pump.
  bool timerRunning_ = false;
  std::chrono::steady_clock::time_point nextTick_{};
  bool inTick_ = false;
  bool inPump_ = false;
};

}  // namespace zel
