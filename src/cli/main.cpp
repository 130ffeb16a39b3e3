// zel-cli: the engine without windows, for scripts and for the tests.
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cli/CliVerbs.h"

namespace {

struct Verb {
  std::string_view name;
  int (*run)(const zel::cli::Args&);
  std::string_view usage;
};

constexpr Verb kVerbs[] = {
    {"identify", zel::cli::Identify, "identify TOOL            what the tool is and what it can write"},
    {"exec", zel::cli::Exec, "exec [--output FILE] 'COMMAND LINE'   run a command line and follow its progress"},
    {"time", zel::cli::Time, "time TEXT [--sep S]      a time text read as milliseconds and seconds"},
    {"mstime", zel::cli::MsTime, "mstime MS NOTATION       milliseconds written in a time notation"},
    {"pkz", zel::cli::Pkz, "pkz create|add|list|extract|delete ARCHIVE ...   the program's archive files"},
    {"settings", zel::cli::Settings, "settings get KEY | set KEY VALUE | delete | list   the settings store"},
    {"formats", zel::cli::Formats, "formats [--more] | --describe NAME | --defaults NAME   the output formats"},
    {"probe", zel::cli::Probe, "probe FILE               what a media file holds"},
    {"command", zel::cli::Command,
     "command [--format NAME] [--set Key=Value]... [--pass N] [--output DIR] FILE   the command a conversion runs"},
    {"convert", zel::cli::Convert,
     "convert [--format NAME] [--set Key=Value]... [--output DIR] [--list FILE.ini] "
     "[[--cut START END PARTS] FILE]...   run a task list"},
    {"list", zel::cli::List, "list save FILE.ini [[--cut START END PARTS] MEDIA]... | load FILE.ini | show FILE.ini   task list files"},
    {"subtitle", zel::cli::Subtitle,
     "subtitle IN... -o OUT [--offset S] [--encoding NAME] [--karaoke 0|1|2] [--speed X] [--font NAME] [--size N] "
     "[--cut START END] [--title TEXT] [--banner TEXT] [--big5 0|1|2] [--overwrite]   convert subtitles and lyrics"},
    {"thumbs", zel::cli::Thumbs,
     "thumbs FILE [--matrix CxR] [--spacing N] [--max-width N] [--time-string] [--comment TEXT] "
     "[--start S --end E] -o OUT   a sheet of frames"},
    {"frame", zel::cli::Frame, "frame FILE --time SECONDS -o OUT.(jpg|png|bmp|tif)   one frame, the video's size"},
    {"image", zel::cli::Image, "image IN -o OUT --size TEXT [--quality N] [--format KEY]   a picture converted"},
    {"karaoke", zel::cli::Karaoke,
     "karaoke --music FILE [--lyrics FILE] [--video FILE] [--fit] PICTURE...   a karaoke job's script and lists"},
    {"avs", zel::cli::Avs, "avs [--set Key=Value]... FILE   the AviSynth script a conversion would write"},
    {"tags", zel::cli::Tags,
     "tags FILE [--count | --extract N OUT | --add IMAGE [--type N] | --delete N | --info]   MP3 tags and pictures"},
    {"profiles", zel::cli::Profiles,
     "profiles list | show TITLE | apply TITLE | save [FILE] | load FILE | user   conversion profiles"},
};

void PrintUsage(std::FILE* to) {
  std::fprintf(to, "usage: zel-cli VERB [ARGUMENTS] [--yes]\n\n");
  for (const Verb& verb : kVerbs) std::fprintf(to, "  %.*s\n", static_cast<int>(verb.usage.size()), verb.usage.data());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "help") == 0) {
    PrintUsage(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  const std::string_view name = argv[1];
  for (const Verb& verb : kVerbs) {
    if (verb.name == name) return verb.run(zel::cli::Args(argv + 2, argv + argc));
  }
  std::fprintf(stderr, "zel-cli: unknown verb \"%s\"\n\n", argv[1]);
  PrintUsage(stderr);
  return 2;
}
