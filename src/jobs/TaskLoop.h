// The task loop: walks the task list, fills the engine for each task and part,
// starts it, and follows its events. It runs inside a host, the main window or
// zel-cli, which it reaches only through RunHost.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/CpuUsage.h"
#include "jobs/DirectJobs.h"
#include "jobs/EngineSetup.h"
#include "jobs/JobHost.h"
#include "jobs/Tasks.h"

namespace zel {

class FFmpegX;
class ListboxModel;

// What the loop asks of the window beyond information lines and questions.
class RunHost : public JobHost {
 public:
  // The task at this index is the current one.
  virtual void SelectTask(int /*index*/) {}
  // The window's running or idle look, and the Start button's caption and tag.
  virtual void SetRunningLook(bool /*running*/) {}
  virtual void SetStartButton(std::string_view /*caption*/, std::string_view /*tag*/) {}
  virtual void SetStatusText(std::string_view /*text*/) {}
  // value of max; max 0 returns the field to its neutral look.
  virtual void SetProgress(int /*value*/, int /*max*/) {}
  virtual void SetTitle(std::string_view /*title*/) {}
  // A line of the tool's log view, already dated and filtered.
  virtual void AddLogLine(std::string_view /*line*/) {}
  virtual void ShowLogPanel() {}
  virtual void ShowResultPanel() {}
  virtual void ShowBalloon(std::string_view /*title*/, std::string_view /*text*/) {}
  // The two tones; a host without sound may ring a bell instead.
  virtual void PlayTones() {}
  // The shutdown family: true when the system accepted it.
  virtual bool PowerAction(std::string_view /*action*/) { return false; }
  virtual bool OpenFolder(const std::string& /*folder*/) { return false; }
};

// A disc, or a "/me" format, goes to MEncoder when it is installed.
bool IsMEncoderJob(std::string_view source, std::string_view formatName, const std::string& mencoderPath);

class TaskLoop {
 public:
  TaskLoop(FFmpegX& engine, ListboxModel& tasks, RunHost& host, SettingReader read);
  ~TaskLoop();
  TaskLoop(const TaskLoop&) = delete;
  TaskLoop& operator=(const TaskLoop&) = delete;

  // The check of the Start button; the information list is emptied first.
  bool CheckTasks(const CheckContext& context = {});
  void RunTasks(std::string_view forcedFormat = {});
  // Cancel as the Start button does after its question was answered Yes.
  void Cancel();
  void FinishRun();
  // The ConvertFinished action, after a run.
  void RunFinishAction();

  bool Running() const { return running_; }
  bool StopRequested() const { return stopRequested_; }
  // The outputs of the run, in order; a run that made nothing has none.
  const std::vector<std::string>& OutputList() const { return outputs_; }
  // The one file an output was made from, to compare them; "" for an output
  // of several sources (a join) or of none known.
  std::string SourceOf(const std::string& output) const;
  const std::string& RunLogBuffer() const { return runLogBuffer_; }
  InfoList& Info() { return info_; }
  // Jobs started and outputs they made, for a host that wants a verdict.
  int JobsStarted() const { return jobsStarted_; }
  int JobsSucceeded() const { return jobsSucceeded_; }
  // Sources that no job took: an image with a video format, and the like.
  const std::vector<std::string>& PassedOver() const { return passedOver_; }

  // The load shown in the progress text.
  clsCPUUsage cpuMeter;

  // Tool paths, from the start-up's discovery unless a host sets them.
  ToolSet tools;
  bool aviSynthUsable = false;
  bool karaokeProduct = false;

  // The log lines filter of the tool's console text; public for replay.
  void TakeToolText(const std::string& text);

 private:
  struct Cut {
    double start = 0, end = 0, partLength = 0;
    int parts = 1;
    bool fullFile = true;
  };

  void AwaitProbe(const std::string& source);
  void RunTask(int index, const std::string& source);
  void RunConversionParts(int index, const std::string& source, const Cut& cut);
  bool PrepareRealMedia();
  void RunDirectCut(int index, const std::string& source, const Cut& cut);
  void RunDirectJoin();
  void RunImagePair(const std::string& source);
  void RunSubtitleJob(const std::string& source, const std::string& record);
  void RunKaraokeJob();
  void RunTransfer(int index, const std::string& source);
  void JoinOutputs();
  // A join by a tool's command or by concatenation, into a file named after the
  // first input with this extension; true when it made its output.
  bool JoinWith(const DirectJob& job, const std::vector<std::string>& inputs, std::string_view extension,
                std::string_view logLine);
  // That file's path, for both kinds of join: FileExistsOverwrite lets it
  // replace an older file, never one of the inputs.
  std::string JoinTarget(const std::vector<std::string>& inputs, std::string_view extension) const;
  Cut ReadCut(const std::string& record) const;
  std::string OutputFolderFor(const std::string& source) const;
  void ConfigureFor(const std::string& source, std::string_view logLine);
  void StartEngine();
  void Log(std::string_view text) const;

  // Engine events (EventRouting.cpp).
  void AttachEvents();
  void OnStatusChange(int status, const std::string& info);
  void OnProgress(int value, int max, int fps, const std::string& remainder);
  void OnFinishedOutput(const std::string& output);
  void AddSubtitleTrack(const std::string& output);

  FFmpegX& engine_;
  ListboxModel& tasks_;
  RunHost& host_;
  SettingReader read_;
  InfoList info_;

  bool running_ = false;
  bool stopRequested_ = false;
  std::string formatName_;
  std::string karaokeScratch_;  // the job's three files take its name and their extensions
  std::string currentSource_;
  int currentTask_ = -1;
  std::vector<std::string> outputs_;
  std::map<std::string, std::string> sources_;
  std::string runLogBuffer_;
  int jobsStarted_ = 0;
  int jobsSucceeded_ = 0;
  std::vector<std::string> passedOver_;
};

}  // namespace zel
