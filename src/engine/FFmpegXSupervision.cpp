// Running a tool for FFmpegX: the supervised run with its read loop, the capture
// run, the reading of the tool's text, the refresh timer and the verdict.
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "engine/ChildProcess.h"
#include "engine/CommandLine.h"
#include "engine/FFmpegX.h"
#include "engine/PriorityClass.h"
#include "engine/ProgressText.h"
#include "engine/ToolCapture.h"

namespace zel {

namespace {

constexpr size_t kBlockSize = 256;
// How long the read loop waits for output before it pumps the host again. A
// window's event loop waits as long, so this stays well under a frame or two;
// a cancel reaches the tool at once.
constexpr int kPollMs = 10;
// What a tool gets to end on its own after a cancel before it is killed.
constexpr int kTerminateGraceMs = 100;

// Rows 1 to 7 of the tool's text: errors, each with the line it reports.
struct ErrorRow {
  std::string_view mark;
  std::string_view alsoMark;  // a second text the line must hold, or empty
  std::string (*info)(const std::string& line);
};

std::string FromMark(const std::string& line, std::string_view mark) {
  const size_t at = line.find(mark);
  return at == std::string::npos ? std::string() : line.substr(at);
}

const std::array<ErrorRow, 7> kErrorRows{{
    {"not found for output stream", "", [](const std::string& l) { return FromMark(l, "Encoder"); }},
    {"Can not resample", "",
     [](const std::string& l) {
       return ReplaceAll(FromMark(l, "Can not resample"), "Can not resample", MsgCannotResample);
     }},
    {"Resampling with input channels greater than 2 unsupported", "",
     [](const std::string&) { return std::string(MsgResampleChannels); }},
    {"Error while opening encoder for output stream", "",
     [](const std::string&) { return std::string("maybe incorrect parameters such as bit_rate, rate, width or height"); }},
    {"Unknown input or output format", "",
     [](const std::string& l) { return ReplaceAll(l, "Unknown input or output format", MsgUnknownFormat); }},
    {"Output file", "does not contain any stream", [](const std::string&) { return std::string(MsgNoStreams); }},
    {"Invalid pixel aspect ratio 0/1", "",
     [](const std::string&) { return std::string("Invalid pixel aspect ratio 0/1"); }},
}};

// Rows 12 to 16: tools that print a percentage between two marks.
struct PercentRow {
  bool beginsWith;  // a lower-cased beginning, else a text the line holds
  std::array<std::string_view, 4> marks;
  std::string_view open, close;
};

constexpr std::array<PercentRow, 5> kPercentRows{{
    {true, {"encoded"}, "(", "%"},
    {true, {"splitting", "saving", "iso", "appending"}, "(", "/"},
    {false, {"Processing file ("}, "(", "%"},
    {true, {"encoding"}, "(", "%"},
    {true, {"progress:"}, ":", "%"},
}};

bool RowMatches(const PercentRow& row, const std::string& line, const std::string& lower) {
  for (std::string_view mark : row.marks) {
    if (mark.empty()) continue;
    if (row.beginsWith ? StartsWith(lower, mark) : Contains(line, mark)) return true;
  }
  return false;
}

// The log goes beside a tool the user keeps, never into the system's own folders,
// even for a user who could write there.
bool ToolFolderTakesLog(const std::string& folder) {
  for (const char* system : {"/usr", "/bin", "/sbin", "/lib", "/lib64", "/etc", "/opt"}) {
    const std::string_view prefix(system);
    if (folder == prefix || StartsWith(folder, std::string(prefix) + "/")) return false;
  }
  return ::access(folder.c_str(), W_OK) == 0;
}

}  // namespace

// ---- The supervised run ----

void FFmpegX::RunCommand(const std::string& commandLine, const std::string& workingFolder) {
  const std::string source = sourceInUse_;
  Report(kStatusStarting, source);
  Report(kStatusProcessing, source);

  child_ = std::make_unique<ChildProcess>();
  suspendCount_ = 0;
  const auto started = commandLine.empty()
                           ? ChildProcess::StartResult::SpawnFailed
                           : child_->Start(PlanWith(commandLine, workingFolder), NiceForClass(priority_));
  if (started == ChildProcess::StartResult::PipeFailed) {
    child_.reset();
    processing_ = false;
    Report(kStatusError, MsgCannotCreateProgram);
    return;
  }

  if (started == ChildProcess::StartResult::SpawnFailed) {
    Report(kStatusError, MsgCannotCreateProcess);
  } else {
    lastCallResult_ = 1;
    StartTimer();
    ReadLoop();
    // A tool can close its output and still run; the host stays alive meanwhile.
    while (!cancelRequested_ && !child_->WaitFor(kPollMs)) Pump();
    if (cancelRequested_) {
      const pid_t pid = child_->Pid();
      if (child_->Terminate(kTerminateGraceMs)) {
        Report(kStatusCanceled, source);
      } else {
        Report(kStatusCancelFailed, std::string(MsgCannotCloseProcess) + std::to_string(pid));
      }
    } else {
      if (ImageGrabber && !DisableVideo && FileSize(outputFileName_) > 0) BuildThumbnailSheet();
    }
    child_->CloseOutput();
  }
  child_.reset();

  DeleteScratchFiles();
  // The tool has been reaped, and what it wrote is on the file system as the
  // verdict looks: no wait for it to settle.
  endTime_ = ClockNow();
  GiveVerdict();

  value_ = 0;
  max_ = 0;
  speedFps_ = 0;
  remainderInfo_.clear();
  outputInfo_.clear();
  StopTimer();
  if (ProgressChange) ProgressChange(0, 0, 0, std::string(), std::string(), true);

  processing_ = false;
  // A cancel in pass 1 stays raised, so that pass 2 is not started.
  if (twoPassStatus_ != "1") cancelRequested_ = false;
  twoPassStatus_ = "0";
}

void FFmpegX::ReadLoop() {
  std::string block;
  do {
    if (Refresh) Pump();
    if (cancelRequested_) break;
    const auto result = child_->Read(block, kBlockSize, kPollMs);
    if (result == ChildProcess::ReadResult::Timeout) {
      Pump();
      continue;
    }
    if (result == ChildProcess::ReadResult::End) {
      lastCallResult_ = 0;
      break;
    }
    lastBlock_ = block;
    if (PipeChange) PipeChange(lastBlock_ + "\r\n");
    if (Log) AppendToolLog(lastBlock_);
    ParseToolOutput(lastBlock_);
    CheckChildPriority();
    if (Refresh) Pump();
  } while (lastCallResult_ != 0);
}

void FFmpegX::CheckChildPriority() {
  if (!child_) return;
  const auto nice = child_->Nice();
  if (!nice) return;
  const int current = ClassForNice(*nice);
  if (current == priority_) return;
  // The stored priority turns into the progress number here, and the host reacts
  // to the event rather than to the property: hosts rely on that mix.
  priority_ = static_cast<int>(std::floor(Value()));
  if (PriorityChanged) PriorityChanged(current);
}

void FFmpegX::GiveVerdict() {
  if (OnlyUseExtCommandLine) {
    Report(kStatusComplete, "");
    return;
  }
  if (cancelRequested_) {
    if (FileExists(outputFileName_) && RemoveFileAfterCanceled) zel::DeleteFile(outputFileName_);
    return;
  }
  RepairSplitOutput();
  const bool exists = FileExists(outputFileName_);
  if (exists && FileSize(outputFileName_) < 1024) {
    Report(kStatusError, MsgFileProblem);
  } else if (exists && twoPassStatus_ == "1") {
    status_ = kStatusProcessing;
    RaiseStatusChange(kStatusInfoString, kPassOneOk);
  } else if (exists) {
    Report(kStatusComplete, outputFileName_);
  } else if (twoPassStatus_ != "1") {
    Report(kStatusError, MsgCannotCreateFile);
  }
}

// A Matroska source sometimes comes out as numbered pieces; the second piece is
// the wanted output.
void FFmpegX::RepairSplitOutput() {
  if (sourceSuffix_ != "mkv" && sourceSuffix_ != "webm") return;
  const auto [stemView, extensionView] = SplitExtension(outputFileName_);
  if (extensionView.empty()) return;
  const std::string stem(stemView), extension(extensionView);
  const std::string first = stem + "-001" + extension;
  const std::string second = stem + "-002" + extension;
  if (!FileExists(first) || !FileExists(second)) return;
  zel::DeleteFile(first);
  const std::string third = stem + "-003" + extension;
  if (FileExists(third)) zel::DeleteFile(third);
  std::rename(second.c_str(), outputFileName_.c_str());
}

std::string FFmpegX::ToolLogPath() const {
  const std::string besideTool = std::string(SplitExtension(core_).stem) + ".log";
  const std::string folder = FolderOf(core_);
  if (ToolFolderTakesLog(folder.empty() ? std::string(".") : folder)) return besideTool;
  const char* state = std::getenv("XDG_STATE_HOME");
  const char* home = std::getenv("HOME");
  std::string base = (state != nullptr && *state != '\0') ? std::string(state)
                                                         : std::string(home != nullptr ? home : "/tmp") + "/.local/state";
  base += "/ZEL";
  MakedPath(base);
  return base + "/" + FileNameOf(besideTool);
}

void FFmpegX::AppendToolLog(const std::string& block) {
  std::string text = block;
  if (!toolInput_.empty()) {
    // The log names the user's source, never the generated script.
    const std::string source = FirstSource();
    text = ReplaceAll(text, toolInput_, source);
    const std::string_view extension = SplitExtension(source).extension;
    text = ReplaceAll(text, "avs", extension.empty() ? extension : extension.substr(1));
  }
  WriteText(text, ToolLogPath(), true);
}

// ---- The capture run ----

LaunchPlan FFmpegX::PlanWith(const std::string& commandLine, const std::string& workingFolder) {
  LaunchPlan plan = PlanLaunch(commandLine);
  plan.workingFolder = workingFolder;
  return plan;
}

// Runs at every probe, so a running job does not bar it.
std::string FFmpegX::CaptureOutput(std::string_view arguments) const { return CaptureToolOutput(core_, arguments); }

// ---- Reading the tool's text ----

void FFmpegX::ParseToolOutput(const std::string& block) {
  if (block.empty()) return;
  Pump();  // the refresh timer runs here, while the block is still the last one

  std::string line;
  line.reserve(block.size());
  for (char c : block) {
    if (c != '\r' && c != '\n') line += c;
  }
  line = Trim(line);
  const std::string lower = LowerAscii(line.substr(0, 32));  // beginnings are all that is tested lower-cased

  auto parse = [&] {
    for (const ErrorRow& row : kErrorRows) {
      if (Contains(line, row.mark) && (row.alsoMark.empty() || Contains(line, row.alsoMark))) {
        status_ = kStatusError;
        if (!line.empty()) RaiseStatusChange(kStatusError, row.info(line));
        return;
      }
    }
    if (Contains(line, "size=") && Contains(line, "time=")) {
      ParseFFmpegProgress(line);
      return;
    }
    if (Contains(line, "Duration:") || Contains(line, ", start:")) {
      // A composed job has its length from the probe; a bare command line learns it here.
      if (!CommandLine.empty()) max_ = static_cast<float>(ParseSecs(GetString(line, "Duration:", ","), true, ".") + 1);
      Report(kStatusInfoString, line);
      return;
    }
    if (StartsWith(line, "Pos:")) {
      ParseMEncoderProgress(line);
      return;
    }
    // MEncoder writes faster than a block is read and mixes in other lines, so
    // a block may hold its progress line in the middle: the last whole one counts.
    if (coreStatus_ == kCoreMEncoder) {
      for (size_t at = line.rfind("Pos:"); at != std::string::npos && at > 0; at = line.rfind("Pos:", at - 1)) {
        if (line.find("%)", at) != std::string::npos) {
          ParseMEncoderProgress(line.substr(at));
          return;
        }
      }
    }
    for (const PercentRow& row : kPercentRows) {
      if (RowMatches(row, line, lower)) {
        max_ = 100;
        value_ = static_cast<float>(Val(GetString(line, row.open, row.close)));
        speedFps_ = 0;
        status_ = kStatusProcessing;
        if (!line.empty()) RaiseStatusChange(kStatusProcessing, line);
        return;
      }
    }
    if (StartsWith(lower, "reading packet no") || StartsWith(lower, "writing packet no")) {
      max_ = 100;
      speedFps_ = 0;
      Report(kStatusProcessing, line);
      return;
    }
    if (!line.empty()) Report(kStatusInfoString, line);
  };
  parse();
  lastBlock_.clear();
}

void FFmpegX::ParseFFmpegProgress(const std::string& line) {
  if (Contains(line, "time=10000000000")) {
    // The tool is still seeking the start point.
    Report(kStatusSearching, line);
    return;
  }
  value_ = static_cast<float>(ParseSecs(GetString(line, "time=", " "), true, ","));
  speedFps_ = StartsWith(LowerAscii(line.substr(0, 6)), "frame=") ? RoundedOrZero(Val(GetString(line, "fps=", "q=")))
                                                                  : 0;
  Report(kStatusProcessing, line);
}

void FFmpegX::ParseMEncoderProgress(const std::string& line) {
  const float range = TimeEndPoint - TimeStartPoint;
  const auto percent = [&] { return static_cast<float>(Val(GetString(line, "(", "%"))); };
  const auto position = [&] { return static_cast<float>(Val(GetString(line, "Pos:", "s"))); };
  if (range <= 0) {
    if (duration_ <= 0) {
      max_ = 100;
      value_ = percent();
    } else {
      max_ = duration_;
      value_ = position();
    }
  } else {
    max_ = range;
    value_ = duration_ <= 0 ? percent() : position();
  }
  speedFps_ = RoundedOrZero(Val(GetString(line, ")", "fps")));
  Report(kStatusProcessing, line.substr(line.find("Pos:") + 4));
}

// ---- Pump and refresh timer ----

void FFmpegX::Pump() {
  if (inPump_) return;  // a handler that pumps again must not recurse
  inPump_ = true;
  if (PumpEvents) PumpEvents();
  inPump_ = false;
  // A due tick stays pending until a block is there to report on, as a timer
  // message waits in the queue; a tick while the tool is silent would do nothing
  // and must not use up the period.
  if (timerRunning_ && !inTick_ && !lastBlock_.empty() && std::chrono::steady_clock::now() >= nextTick_) {
    nextTick_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(statusRefreshInterval_);
    inTick_ = true;
    TimerTick();
    inTick_ = false;
  }
}

void FFmpegX::StartTimer() {
  timerRunning_ = true;
  nextTick_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(statusRefreshInterval_);
}

void FFmpegX::StopTimer() { timerRunning_ = false; }

void FFmpegX::TimerTick() {
  if (lastBlock_.empty()) return;
  const float value = Value();
  const float max = Max();
  if (value <= 0 && speedFps_ < 1) {
    Pump();
    return;
  }
  const double elapsed = ElapsedMs(startTime_, ClockNow());
  if (max > 0) {
    const bool exists = FileExists(outputFileName_);
    if (auto text = RemainderText(elapsed, value, max, exists, FileSize(outputFileName_))) remainderInfo_ = *text;
  }
  RaiseProgress(lastCallResult_ == 0);
  Pump();
}

// ---- Cancel, suspend, resume ----

void FFmpegX::CancelProcess() {
  if (!processing_) {
    Report(kStatusError, MsgNotExecuting);
    return;
  }
  SendKeyToDos("q");
  Pump();
  cancelRequested_ = true;
}

int FFmpegX::SendKeyToDos(std::string_view /*key*/) { return 0; }

bool FFmpegX::CloseProcess(int processId) { return processId > 0 && ::kill(processId, SIGTERM) == 0; }

int FFmpegX::SuspendApp() {
  if (!child_ || !child_->Started()) return 0;
  const int previous = suspendCount_;
  if (suspendCount_ == 0 && !child_->SignalGroup(SIGSTOP)) return -1;
  ++suspendCount_;
  return previous;
}

int FFmpegX::ResumeApp() {
  if (!child_ || !child_->Started()) return 0;
  const int previous = suspendCount_;
  if (suspendCount_ > 0 && --suspendCount_ == 0) child_->SignalGroup(SIGCONT);
  return previous;
}

}  // namespace zel
