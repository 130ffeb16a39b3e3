#include "jobs/DirectJobs.h"

#include <algorithm>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "engine/CommandLine.h"
#include "jobs/MainState.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel {
namespace {

// How a row writes its start and end points.
enum class TimeForm { Seconds, Clock, Notation98 };

struct CutRow {
  std::string_view extensions;
  std::string ToolSet::*tool;
  TimeForm form;
  // {s}, {e} and {d} stand for the start, the end and the length.
  std::string_view arguments;
};

// The order matters: the first row that applies wins, and the last takes all.
const CutRow kCutRows[] = {
    {"*.mp4; *.3gp; *.264; *.h264; *.avc; *.f4v", &ToolSet::mp4box, TimeForm::Seconds,
     " -splitx {s}:{e} \"#InputFileName#\" -out \"#OutputFileName#\""},
    {"*.wmv; *.asf; *.wma", &ToolSet::asfbin, TimeForm::Seconds,
     " -i \"#InputFileName#\" -o \"#OutputFileName#\" -start {s} -stop {e} -details -y -rkf"},
    {"*.rmvb; *.rm", &ToolSet::rmeditor, TimeForm::Clock,
     " -i \"#InputFileName#\" -o \"#OutputFileName#\" -s {s} -e {e}"},
    {"*.mkv", &ToolSet::mkvmerge, TimeForm::Notation98,
     " \"#InputFileName#\" -o \"#OutputFileName#\" --split timecodes:{s},{e}"},
    {"*.webm", &ToolSet::mkvmerge, TimeForm::Notation98,
     " \"#InputFileName#\" -o \"#OutputFileName#\" --split timecodes:{s},{e} --webm"},
    {"*.mpg; *.mpeg; *.dat", &ToolSet::ffmpeg, TimeForm::Seconds,
     " -y -ss {s} -t {d} -i \"#InputFileName#\" -vcodec copy -acodec copy -f mpeg \"#OutputFileName#\""},
    {"*.mov", &ToolSet::ffmpeg, TimeForm::Seconds,
     " -y -ss {s} -t {d} -i \"#InputFileName#\" -vcodec copy -acodec copy -f mov \"#OutputFileName#\""},
    {"*.vob", &ToolSet::ffmpeg, TimeForm::Seconds,
     " -y -ss {s} -t {d} -i \"#InputFileName#\" -vcodec copy -acodec copy -f vob \"#OutputFileName#\""},
    {"*.mp3", &ToolSet::ffmpeg, TimeForm::Seconds,
     " -y -ss {s} -t {d} -i \"#InputFileName#\" -vn -acodec copy -f mp3 \"#OutputFileName#\""},
    {"*.m4a; *.aac", &ToolSet::mp4box, TimeForm::Seconds,
     " -splitx {s}:{e} \"#InputFileName#\" -out \"#OutputFileName#\""},
    {"*.wav", &ToolSet::ffmpeg, TimeForm::Seconds,
     " -y -ss {s} -t {d} -i \"#InputFileName#\" -vn -acodec copy -f wav \"#OutputFileName#\""},
    {"", &ToolSet::ffmpeg, TimeForm::Seconds,
     " -y -ss {s} -t {d} -i \"#InputFileName#\" -vcodec copy -acodec copy \"#OutputFileName#\""},
};

// A join writes `first` before the first path, `other` before each further
// one, then `tail`. A row without a tool joins the bytes itself.
struct JoinRow {
  std::string_view extensions;
  std::string ToolSet::*tool;
  std::string_view first, other, tail;
};

constexpr JoinRow kMp4Join{"", &ToolSet::mp4box, " -cat ", " -cat ", " -new \"#OutputFileName#\""};
constexpr JoinRow kAsfJoin{"", &ToolSet::asfbin, " -i ", " -i ", " -o \"#OutputFileName#\" -cvb -y -details"};
constexpr JoinRow kRmJoin{"", &ToolSet::rmeditor, " -i ", " -i ", " -o \"#OutputFileName#\""};
constexpr JoinRow kMkvJoin{"", &ToolSet::mkvmerge, " ", " +", " -o \"#OutputFileName#\""};
constexpr JoinRow kWebmJoin{"", &ToolSet::mkvmerge, " ", " +", " -o \"#OutputFileName#\" --webm"};
constexpr JoinRow kMpaJoin{"", &ToolSet::mencoder, " ", " ", " -ovc copy -oac copy -o \"#OutputFileName#\" -of lavf"};

constexpr JoinRow With(std::string_view extensions, JoinRow row) {
  row.extensions = extensions;
  return row;
}

const JoinRow kListJoinRows[] = {
    With("*.mp4; *.3gp; *.264; *.h264; *.avc; *.f4v; *.m4a; *.aac", kMp4Join),
    With("*.wmv; *.asf; *.wma", kAsfJoin),
    With("*.rmvb; *.rm", kRmJoin),
    With("*.mkv", kMkvJoin),
    With("*.webm", kWebmJoin),
    With("*.mpa; *.mp2; *.mp3", kMpaJoin),
};

const JoinRow kOutputJoinRows[] = {
    With("*.3gp; *.mp4", kMp4Join),
    With("*.wmv; *.asf; *.wma", kAsfJoin),
    With("*.rmvb; *.rm", kRmJoin),
    With("*.mkv", kMkvJoin),
    With("*.webm", kWebmJoin),
    With("*.mpa; *.mp2; *.mp3", kMpaJoin),
};

std::string LowerExtension(std::string_view path) { return LowerAscii(ExtensionOf(path)); }

// Whether "*.ext" is one of the entries of a "*.a; *.b" list, case-blind. A
// whole entry must match, so that "*.m" is not taken for "*.mp4".
bool ListHolds(std::string_view list, std::string_view extension) {
  if (extension.empty()) return false;
  const std::string wanted = "*." + std::string(extension);
  for (const std::string& entry : Split(list, ";")) {
    if (LowerAscii(Trim(entry)) == wanted) return true;
  }
  return false;
}

// Seconds as the engine prints its time points, but never in exponent form,
// which no tool reads.
std::string SecondsText(float seconds) {
  char buffer[64];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, seconds, std::chars_format::fixed);
  return error == std::errc() ? std::string(buffer, end) : std::string("0");
}

long long WholeMilliseconds(float seconds) {
  return seconds > 0 ? std::llround(static_cast<double>(seconds) * 1000.0) : 0;
}

// rmeditor's "H:M:S.m"; the milliseconds keep three digits so that 5 ms is not
// read as half a second.
std::string ClockText(float seconds) {
  const long long ms = WholeMilliseconds(seconds);
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%lld:%lld:%lld.%03lld", ms / 3600000, ms / 60000 % 60, ms / 1000 % 60,
                ms % 1000);
  return buffer;
}

std::string TimeText(TimeForm form, float seconds) {
  switch (form) {
    case TimeForm::Clock:
      return ClockText(seconds);
    case TimeForm::Notation98:
      return FormatMSecs(static_cast<double>(WholeMilliseconds(seconds)), kNotationDotMs);
    case TimeForm::Seconds:
      break;
  }
  return SecondsText(seconds);
}

DirectJob ToolJob(const std::string& tool, std::string arguments) {
  DirectJob job;
  job.kind = ToolPresent(tool) ? DirectJobKind::Command : DirectJobKind::ToolMissing;
  job.tool = tool;
  job.commandLine = QuoteArgument(tool) + arguments;
  return job;
}

template <size_t N>
DirectJob JoinJob(const JoinRow (&rows)[N], const std::vector<std::string>& paths, const ToolSet& tools) {
  std::vector<std::string_view> files;
  for (const std::string& path : paths) {
    if (!path.empty()) files.push_back(path);
  }
  const std::string extension = files.empty() ? std::string() : LowerExtension(files.front());
  for (const JoinRow& row : rows) {
    if (!ListHolds(row.extensions, extension)) continue;
    std::string arguments;
    for (size_t i = 0; i < files.size(); ++i) {
      arguments.append(i == 0 ? row.first : row.other).append(QuoteArgument(files[i]));
    }
    arguments += row.tail;
    return ToolJob(tools.*row.tool, std::move(arguments));
  }
  DirectJob job;
  job.kind = DirectJobKind::Concatenate;
  return job;
}

// Writes all of a block, going on after a partial write; a write that makes no
// progress (a full disc) is a failure.
bool WriteBlock(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(fd, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

bool AppendFile(int target, const std::string& input, std::vector<char>& block,
                const std::function<bool()>& keepGoing) {
  const int source = ::open(input.c_str(), O_RDONLY | O_CLOEXEC);
  if (source < 0) return false;
  // A file still being written (a recording, a download) is taken as it was
  // when its turn came; reading on to its end might never finish.
  struct stat info {};
  if (::fstat(source, &info) != 0) {
    ::close(source);
    return false;
  }
  off_t left = info.st_size;
  bool ok = true;
  while (left > 0) {
    const size_t want = static_cast<size_t>(std::min<off_t>(left, static_cast<off_t>(block.size())));
    const ssize_t got = ::read(source, block.data(), want);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) ok = false;
    if (got <= 0) break;
    left -= got;
    if (!WriteBlock(target, block.data(), static_cast<size_t>(got)) || (keepGoing && !keepGoing())) {
      ok = false;
      break;
    }
  }
  ::close(source);
  return ok;
}

// Gives the finished temporary file its name, unless something took that name
// meanwhile and may not be replaced. File systems without the no-replace rename
// get a check just before.
bool MoveIntoPlace(const std::string& temp, const std::string& output, ExistingOutput existing) {
  if (existing == ExistingOutput::Replace) return ::rename(temp.c_str(), output.c_str()) == 0;
  if (::renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, output.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  struct stat info {};
  if (::lstat(output.c_str(), &info) == 0) return false;
  return ::rename(temp.c_str(), output.c_str()) == 0;
}

}  // namespace

ToolSet SharedTools() {
  const MainState& state = Shared();
  return {state.ToolFfmpeg,   state.ToolMencoder, state.ToolMp4box, state.ToolMkvmerge,
          state.ToolRmeditor, state.ToolProducer, state.ToolAsfbin};
}

bool ToolPresent(std::string_view path) { return FileExists(path); }

DirectJob DirectCutJob(std::string_view sourcePath, float start, float end, const ToolSet& tools) {
  const std::string extension = LowerExtension(sourcePath);
  for (const CutRow& row : kCutRows) {
    const bool last = &row == &std::end(kCutRows)[-1];
    if (!last && (!ListHolds(row.extensions, extension) || !ToolPresent(tools.*row.tool))) continue;
    std::string arguments(row.arguments);
    arguments = ReplaceAll(arguments, "{s}", TimeText(row.form, start));
    arguments = ReplaceAll(arguments, "{e}", TimeText(row.form, end));
    arguments = ReplaceAll(arguments, "{d}", SecondsText(end - start));
    DirectJob job = ToolJob(tools.*row.tool, std::move(arguments));
    job.forceFormat = extension;
    return job;
  }
  return {};  // not reached: the last row takes every file
}

DirectJob DirectJoinJob(const std::vector<std::string>& paths, const ToolSet& tools) {
  return JoinJob(kListJoinRows, paths, tools);
}

DirectJob OutputJoinJob(const std::vector<std::string>& outputs, const ToolSet& tools) {
  return JoinJob(kOutputJoinRows, outputs, tools);
}

bool ConcatenateFiles(const std::vector<std::string>& inputs, const std::string& output,
                      const std::function<bool()>& keepGoing, ExistingOutput existing) {
  struct stat info {};
  if (inputs.empty() || output.empty()) return false;
  if (existing == ExistingOutput::Keep && ::lstat(output.c_str(), &info) == 0) return false;

  const std::string folder = FolderOf(output);
  const std::string temp = CreateTempFile(".zeljoin", folder.empty() ? "." : folder);
  if (temp.empty()) return false;
  const int target = ::open(temp.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (target < 0) {
    ::unlink(temp.c_str());
    return false;
  }
  // The temporary file is private; the output gets the usual permissions.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(target, 0666 & ~mask);

  std::vector<char> block(size_t{1} << 20);
  bool ok = true;
  for (const std::string& input : inputs) {
    if (!AppendFile(target, input, block, keepGoing)) {
      ok = false;
      break;
    }
  }
  ok = ok && ::fsync(target) == 0;
  ok = ::close(target) == 0 && ok;
  if (!ok || !MoveIntoPlace(temp, output, existing)) {
    ::unlink(temp.c_str());
    return false;
  }
  return true;
}

}  // namespace zel
