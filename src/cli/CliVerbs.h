// The verbs of zel-cli. Each takes the arguments after its name and returns the
// process exit code.
#pragma once

#include <string>
#include <vector>

namespace zel {
class FFmpegX;
}

namespace zel::cli {

using Args = std::vector<std::string>;

int Identify(const Args& args);
int Exec(const Args& args);
int Time(const Args& args);
int MsTime(const Args& args);
int Pkz(const Args& args);
int Settings(const Args& args);
int Formats(const Args& args);
int Profiles(const Args& args);
int Probe(const Args& args);
int Command(const Args& args);
int Convert(const Args& args);
int List(const Args& args);
int Subtitle(const Args& args);
int Tags(const Args& args);
int Avs(const Args& args);
int Thumbs(const Args& args);
int Frame(const Args& args);
int Image(const Args& args);
int Karaoke(const Args& args);

// Starts the engine's job and follows it on standard output as "status" and
// "progress" lines; Ctrl-C cancels. 0 when the job completed, 130 when cancelled.
int RunEngineJob(FFmpegX& engine);

// Ctrl-C, SIGTERM and SIGHUP raise a flag instead of ending the program, so
// that a run can end its tool and remove the partial output first.
void InstallInterruptHandlers();
bool Interrupted();

// A relative name made absolute from the working folder, so that a name such as
// "-x.mp4" can never be read as an option by a tool.
std::string AbsolutePath(const std::string& path);

// Finds a tool named without a folder on PATH; a path is returned as given.
std::string ResolveTool(const std::string& name);

}  // namespace zel::cli
