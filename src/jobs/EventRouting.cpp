// The task loop's side of the engine's five events: information lines, status
// and progress text, the tool's log, and what follows a finished output.
#include <cstdio>

#include "engine/CommandLine.h"
#include "engine/EngineMessages.h"
#include "engine/FFmpegX.h"
#include "engine/ProgressText.h"
#include "jobs/DiagnosticsLog.h"
#include "jobs/EngineSetup.h"
#include "jobs/ListboxModel.h"
#include "jobs/MainState.h"
#include "jobs/Strings.h"
#include "jobs/TaskLoop.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

// The tool's console text kept for the log view, at most about this much.
constexpr size_t kRunLogLimit = 8192;

std::string Percent(double value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.2f", value);
  return buffer;
}

}  // namespace

void TaskLoop::AttachEvents() {
  engine_.PumpEvents = [this] { host_.PumpEvents(); };
  engine_.FileInfoChange = [this] {
    if (!engine_.Processing()) host_.SetStatusText(engine_.FileInfo() + "  ");
  };
  engine_.StatusChange = [this](int status, const std::string& info) { OnStatusChange(status, info); };
  engine_.ProgressChange = [this](int value, int max, int fps, const std::string& remainder, const std::string&,
                                  bool) { OnProgress(value, max, fps, remainder); };
  // The tool's class follows the stored setting, whoever changed it.
  engine_.PriorityChanged = [this](int) { engine_.SetPriority(PriorityForSetting(read_("ThreadPriority"))); };
  engine_.PipeChange = [this](const std::string& text) { TakeToolText(text); };
}

void TaskLoop::OnStatusChange(int status, const std::string& info) {
  Log("FFmpegX1_StatusChange | Status:" + FFmpegX::GetStatusString(status) + ", " + info);
  switch (status) {
    case kStatusStarting: {
      std::string line(StrStartingTask);
      const int pass = static_cast<int>(Val(engine_.TwoPassStatus()));
      if (pass > 0) line += " | " + std::string(StrTwoPassWord) + std::to_string(pass) + std::string(StrPassWord);
      if (engine_.AVSEnabled) line += " | " + std::string(StrAviSynthOn);
      if (engine_.DisableVideo) line += " | " + std::string(StrDisableVideo);
      if (engine_.DisableAudio) line += " | " + std::string(StrDisableAudio);
      info_.Add(line);
      if (pass != 2) host_.SetStartButton(StrButtonCancel, "filecopy");
      break;
    }
    case kStatusComplete:
      OnFinishedOutput(info);
      break;
    case kStatusError:
      info_.Add(StrErrorOccurred, info);
      host_.ShowBalloon(StrErrorOccurred, info);
      break;
    case kStatusCanceled: {
      const std::string last = info_.Last();
      if (!EndsWith(last, StrCancelledWord)) info_.ReplaceLast(last + " | " + std::string(StrCancelledWord));
      if (currentTask_ >= 0) tasks_.SetListComment(currentTask_, engine_.StartTime() + " - " + ClockNow());
      FinishRun();
      break;
    }
    case kStatusCreateThumb: {
      const int max = static_cast<int>(engine_.Max());
      const int value = static_cast<int>(engine_.Value());
      host_.SetProgress(value, max);
      host_.SetTitle(std::to_string(static_cast<int>(100.0 * value / max + 0.5)) + "% - " + Shared().ProductName);
      break;
    }
    case kStatusInfoString:
      // Of the engine's remarks on a job, the user hears of the effect left out.
      if (info == MsgUserScriptLeftOut) info_.Add(StrInfoNotice, info);
      break;
    case kStatusSearching:
      host_.SetStatusText(std::string(StrSearchingStart) + "  " +
                          FormatMSecs(ElapsedMs(engine_.StartTime(), ClockNow()), kNotationClock));
      break;
    default:
      break;
  }
}

void TaskLoop::OnProgress(int value, int max, int fps, const std::string& remainder) {
  const int pass = static_cast<int>(Val(engine_.TwoPassStatus()));
  const std::string word = pass > 0 ? std::to_string(pass) + std::string(StrPassWord) : std::string(StrProgressWord);
  std::string text = word + ": " + Percent(max > 0 ? 100.0 * value / max : 0) + "%";
  if (fps > 0) text += ", SPD: " + std::to_string(fps) + "fps";
  if (!remainder.empty()) text += ", ETC: " + remainder;
  // A machine without the kernel's counters shows the rest all the same.
  if (const int load = cpuMeter.Query(); load >= 0) text += ", CPU: " + std::to_string(load) + "%";
  host_.SetStatusText(text);
  host_.SetTitle(text);
  host_.SetProgress(value, max);
  // The row shows its own task's progress; the list tells its view.
  if (currentTask_ >= 0 && max > 0) {
    tasks_.SetValueMax(currentTask_, max);
    tasks_.SetValue(currentTask_, value);
  }
  if (engine_.Log) {
    Log("% | FFmpegX1_ProgressChange | Value:" + std::to_string(value) + " / Max:" + std::to_string(max) +
        " / FPSSpeed:" + std::to_string(fps) + " / RemainderInfo:" + remainder +
        " / OutputInfo:" + engine_.OutputInfo() + " / LastStatusText: " + text);
  }
}

void TaskLoop::TakeToolText(const std::string& text) {
  if (runLogBuffer_.size() + text.size() > kRunLogLimit) runLogBuffer_.clear();
  runLogBuffer_.insert(0, text);
  const std::string stamp = FormatLocalNow("%Y-%m-%d") + ", " + FormatLocalNow("%H-%M-%S") + " ";
  for (std::string_view raw : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    const std::string line = Trim(raw);
    const std::string lower = LowerAscii(line);
    if (line.empty() || StartsWith(lower, "frame=") || StartsWith(lower, "error ")) continue;
    host_.AddLogLine(stamp + line);
  }
}

void TaskLoop::OnFinishedOutput(const std::string& output) {
  const bool made = FileExists(output) && FileSize(output) > 0;
  const bool starting = Contains(info_.Last(), StrStartingTask);
  const std::string line = made ? output + " | " + std::string(StrInfoDone) : std::string(StrInfoDone);
  if (starting) {
    info_.ReplaceLast(line);
  } else if (made) {
    info_.Add(output, StrInfoDone);
  } else {
    info_.Add(StrInfoDone);
  }
  // An output counts once, however many ways it was reported.
  if (made && (outputs_.empty() || outputs_.back() != output)) {
    outputs_.push_back(output);
    // A task of several sources ("a|b") joins them: no one file to compare.
    if (!currentSource_.empty() && !Contains(currentSource_, "|") && currentSource_ != output) {
      sources_[output] = currentSource_;
    }
    ++jobsSucceeded_;
  }
  if (currentTask_ >= 0 && !engine_.StartTime().empty() && !engine_.EndTime().empty()) {
    tasks_.SetListComment(currentTask_, engine_.StartTime() + " - " + engine_.EndTime());
  }
  if (made) AddSubtitleTrack(output);
  host_.SetProgress(0, 0);
}

void TaskLoop::AddSubtitleTrack(const std::string& output) {
  const std::string mode = read_("AutoAddSubtitleTrack");
  if (mode == StrAutoSubtitleNone) return;
  const SourceKind kind = SourceKindOf(currentSource_);
  if (kind != SourceKind::Video || Contains(currentSource_, "|")) return;
  // A picture the run made (a frame, the sheet after a conversion) takes no track.
  if (SourceKindOf(output) == SourceKind::Image) return;
  const std::string subtitle = FFmpegX::CheckSubtitle(currentSource_);
  if (subtitle.empty()) return;

  SubtitleArguments args = SubtitleTaskArguments(read_);
  args.outputPath = std::string(SplitExtension(output).stem) + ".srt";
  args.extraText = Shared().ProductName + std::string(StrCreditMade);
  // A converter of its own: the task's engine is still reporting the output this
  // track goes into, and the ".srt" is a side product, not a task's output.
  FFmpegX converter;
  converter.SubtitleEncodeFormat = SubtitleEncodingNumber(read_("SubtitleEncodeFormat"));
  std::string target;
  converter.StatusChange = [&target](int status, const std::string& info) {
    if (status == kStatusComplete) target = info;
  };
  if (!converter.ConvertSubtitle({subtitle}, args) || target.empty()) return;

  const std::string extension = LowerAscii(SplitExtension(output).extension);
  if (mode != StrAutoSubtitleFileAndTrack || (extension != ".mp4" && extension != ".m4v") ||
      !FileExists(tools.mp4box)) {
    return;
  }
  host_.SetStatusText(StrMuxingSubtitle);
  std::string command = QuoteArgument(tools.mp4box) + " -add " +
                        QuoteArgument(target + ":lang=" + read_("AutoAddSubtitleTrackLang") + ":font=Arial:size=20") +
                        " " + QuoteArgument(output);
  const std::string format = engine_.ForceFormat();
  if (format == "ipod" || format == "iphone") command += " -ipod";
  // A second engine: this one is still reporting the output it just made.
  FFmpegX muxer;
  muxer.PumpEvents = [this] { host_.PumpEvents(); };
  muxer.CommandLine = command;
  muxer.OnlyUseExtCommandLine = true;
  muxer.Refresh = true;
  muxer.StartProcess();
}

}  // namespace zel
