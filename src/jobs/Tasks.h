// Task rows: what a row of the task list holds, how a row is made from a file,
// the information list, and the check that a run may start.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "jobs/EngineSetup.h"

namespace zel {

class FFmpegX;
class JobHost;
class ListboxModel;

// The crop and pad settings of the picture, which the check notes and
// "清除画面设置" sets back to "0".
inline constexpr std::array<std::string_view, 8> kPictureSettingKeys{
    "VideoCropTop", "VideoCropBottom", "VideoCropLeft", "VideoCropRight",
    "VideoPadTop",  "VideoPadBottom",  "VideoPadLeft",  "VideoPadRight"};

// What a source is, by its extension against the open dialog's filters.
enum class SourceKind { Image, Subtitle, Video, Audio, Disc, Other };
SourceKind SourceKindOf(std::string_view path);

// A task's own cut points, "start|end|parts|"; an empty field, and a zero,
// mean the global value.
struct CutRecord {
  std::string start, end, parts;
};
inline constexpr std::string_view kEmptyCutRecord = "|||";
CutRecord ParseCutRecord(std::string_view record);
std::string CutRecordText(std::string_view start, std::string_view end, std::string_view parts);
// The row's comment once its points are set: "[ 开始 00:00:10,000 ] - [ ... ] / [ ... ]".
std::string CutComment(std::string_view start, std::string_view end, std::string_view parts);
// Points set while a task is previewed belong to that task: when the selected
// row's path is the file in the player, its comment and record take the three
// fields. False, and nothing written, when no row is selected or it holds
// another file; the fields are then only global.
bool WriteCutToSelectedTask(ListboxModel& tasks, std::string_view playerFile, std::string_view start,
                            std::string_view end, std::string_view parts);

// One task row from a file: the base name as text, the comment from the upper
// case extension and the file's data, the record "|||". `probe`, when given,
// reads the file's data; without it the comment holds the size alone. A disc
// ("/dev/sr0:") is titled "DVD", named after its device, and commented with it.
void AddToTaskList(ListboxModel& tasks, const std::string& path, FFmpegX* probe = nullptr);
// The comment a row of this source gets when it is made.
std::string TaskComment(const std::string& path, FFmpegX* probe = nullptr);
// What "复制媒体信息" puts on the clipboard: the path, then the tool's own
// description of the file (its "Input #" block) from what it printed for
// "-i PATH", or the row's comment when it printed none.
std::string MediaInfoText(const std::string& path, std::string_view toolText, std::string_view comment);

// The information list of the main window: lines "category | message", cleared
// when it passes 1000 lines. The host shows each line as it comes.
class InfoList {
 public:
  explicit InfoList(JobHost& host) : host_(host) {}

  // `message` may be empty; then the line is the category alone.
  void Add(std::string_view category, std::string_view message = {}, bool toStatus = false);
  // The last line, replaced: the engine's events finish the "正在启动任务" line.
  void ReplaceLast(std::string text);
  const std::string& Last() const;
  const std::vector<std::string>& Lines() const { return lines_; }
  void Clear() { lines_.clear(); }

  // The status field's caption, for a host that has one.
  std::function<void(const std::string& caption)> StatusCaption;
  // A line was replaced in place.
  std::function<void(const std::string& line)> LineReplaced;

 private:
  JobHost& host_;
  std::vector<std::string> lines_;
};

// What the check reads besides the settings.
struct CheckContext {
  bool showingTaskList = true;   // the main window shows the task list
  bool karaokeJob = false;       // the karaoke product
  bool aviSynthUsable = false;
};

// The check before a run, in its order; false refuses the run.
bool CheckTasks(const ListboxModel& tasks, const SettingReader& read, InfoList& info, JobHost& host,
                const CheckContext& context);

}  // namespace zel
