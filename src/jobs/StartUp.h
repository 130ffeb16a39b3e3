// The program's start: the globals, the store's path, the new-build reset, the
// tools (unpacked from the tools package when missing) and the profile pack,
// each step written to the diagnostics log. The windows come after this.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zel {

class FFmpegX;
class JobHost;

struct StartOptions {
  // The running program; empty means /proc/self/exe.
  std::string programPath;
  // Files named on the command line: no start-up screen then.
  std::vector<std::string> files;
  // Started as the karaoke builder by the caller's own decision; "--karaoke" among
  // the arguments or a program name with "karaoke" count as well.
  bool karaoke = false;
  // Verbs that only touch the store need no tools.
  bool findTools = true;
};

enum class StartResult { Ready, ToolsMissing };

// The build number of the running program, from its build.
int ProgramBuildNumber();
// ProductKind for a program name and its arguments.
int ProductKindFor(std::string_view programPath, const std::vector<std::string>& args);

// All steps before the main window; ToolsMissing means the program must end
// (the host has shown why).
StartResult Main(JobHost& host, const StartOptions& options);

// ---- Pieces of the start, callable alone ----

// Whether a new build is pending, by the store's Build and InitialNewSetting.
bool NewBuildPending(int runningBuild);
// Wipes the store when a new build is pending, then writes Build.
void ApplyNewBuild(JobHost& host, int runningBuild, bool pending);
// The tool table under ToolsPath, falling back to PATH.
void LoadToolPaths();
bool TestTools();
// Unpacks the tools package into ToolsPath; false when there is none.
bool UnpackToolsPackage(const std::string& packagePath, JobHost& host);
// Beside the program, else in share/zel beside its bin folder (installed).
std::string ToolsPackagePath();
std::string ProfilePackPath();

// Reads the FFmpeg tool's capabilities into `engine` and reports the result on
// the information list; false when the core is not usable.
bool InitialiseEngine(FFmpegX& engine, JobHost& host);
// AviSynth is usable when its library loads and the core reads "avisynth";
// otherwise the information list says it is optional.
bool DetectAviSynth(const FFmpegX& engine, JobHost& host);
// One line a present tool, for the credits.
std::vector<std::string> ToolCredits(const FFmpegX& engine);

// Asks, then wipes every setting and closes the main window (the option
// panel's reset). False when the user said no.
bool ResetAllSettings(JobHost& host);
// After a change of output format by hand: the format's base settings again.
bool ResetSetting(bool ask, std::string_view coreVideo, std::string_view coreAudio, JobHost& host);

}  // namespace zel
