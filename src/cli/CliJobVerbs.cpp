// zel-cli settings, formats and profiles: the store, the format catalogue and
// the profiles, as the main window uses them.
#include <cstdio>

#include "cli/CliHost.h"
#include "engine/FFmpegX.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/MainState.h"
#include "jobs/Profiles.h"
#include "jobs/Registry.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel::cli {
namespace {

void PrintLine(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
}

int Usage(const char* text) {
  std::fprintf(stderr, "usage: zel-cli %s\n", text);
  return 2;
}

CatalogueInputs InputsFrom(const FFmpegX& engine, bool usable) {
  const MainState& state = Shared();
  CatalogueInputs in;
  in.ffmpegUsable = usable;
  in.formats = engine.CoreFormats();
  in.video = engine.CoreVideoCodec();
  in.audio = engine.CoreAudioCodec();
  in.subtitle = engine.CoreSubtitleCodec();
  in.producerPresent = FileExists(state.ToolProducer);
  in.mencoderPresent = FileExists(state.ToolMencoder);
  return in;
}

}  // namespace

int Settings(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const std::string what = args.empty() ? "" : args[0];
  const char* usage = "settings get KEY | set KEY VALUE | delete | list";
  if (what == "get" && args.size() == 2) {
    StartCli(host, false);
    PrintLine(ReadSetting(args[1]));
    return 0;
  }
  if (what == "set" && args.size() == 3) {
    StartCli(host, false);
    if (WriteSetting(args[1], args[2])) return 0;
    std::fprintf(stderr, "zel-cli: cannot write the settings store %s\n", RegistryStoreFile().c_str());
    return 1;
  }
  if (what == "delete" && args.size() == 1) {
    StartCli(host, false);
    ResetAllSettings(host);
    return 0;
  }
  if (what == "list" && args.size() == 1) {
    StartCli(host, false);
    for (const SettingKey& key : SettingKeys()) PrintLine(std::string(key.name) + "=" + ReadSetting(key.name));
    return 0;
  }
  return Usage(usage);
}

int Formats(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (args.size() == 2 && args[0] == "--describe") {
    PrintLine(FormatDescription(args[1]));
    return 0;
  }
  const bool defaults = args.size() == 2 && args[0] == "--defaults";
  const bool more = args.size() == 1 && args[0] == "--more";
  if (!defaults && !more && !args.empty()) return Usage("formats [--more] | --describe NAME | --defaults NAME");

  FFmpegX engine;
  if (!StartCli(host, true)) return 1;
  const bool usable = StartEngine(host, engine);
  if (defaults) {
    const FormatDefaultSet set = FormatDefaults(args[1], engine.CoreVideoCodec(), engine.CoreAudioCodec());
    for (const auto& [key, value] : set.Entries()) PrintLine(std::string(key) + "=" + *value);
    return 0;
  }
  const CatalogueInputs in = InputsFrom(engine, usable);
  for (const std::string& row : Split(more ? BuildFormatListMore(in) : BuildFormatListMain(in), "|")) {
    if (!row.empty()) PrintLine(row);
  }
  return 0;
}

int Profiles(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const std::string what = args.empty() ? "" : args[0];
  const char* usage = "profiles list | show TITLE | apply TITLE | save [FILE] | load FILE | user";

  if (what == "list" && args.size() == 1) {
    StartCli(host, false);
    for (const Profile& profile : BuiltInProfiles()) {
      std::printf("%d\t%.*s\t%s\n", profile.category,
                  static_cast<int>(StrProfileCategories[static_cast<size_t>(profile.category)].size()),
                  StrProfileCategories[static_cast<size_t>(profile.category)].data(), profile.title.c_str());
    }
    return 0;
  }
  if ((what == "show" || what == "apply") && args.size() == 2) {
    FFmpegX engine;
    if (!StartCli(host, what == "apply")) return 1;
    if (what == "apply") StartEngine(host, engine);
    const Profile* profile = FindProfile(args[1]);
    if (profile == nullptr) {
      std::fprintf(stderr, "zel-cli: no ready-made profile is titled \"%s\"\n", args[1].c_str());
      return 1;
    }
    if (what == "apply") {
      return ApplyProfile(*profile, engine.CoreVideoCodec(), engine.CoreAudioCodec(), host) ? 0 : 1;
    }
    PrintLine("Category=" + std::to_string(profile->category));
    PrintLine("Title=" + profile->title);
    for (const auto& [key, value] : profile->values) PrintLine(key + "=" + value);
    return 0;
  }
  if (what == "save" && args.size() <= 2) {
    StartCli(host, false);
    const std::string path = args.size() == 2 ? args[1] : UserProfilesFolder() + SuggestedProfileName();
    return SaveProfile(path, host) ? 0 : 1;
  }
  if (what == "load" && args.size() == 2) {
    StartCli(host, false);
    return LoadProfile(args[1], host) ? 0 : 1;
  }
  if (what == "user" && args.size() == 1) {
    StartCli(host, false);
    for (const std::string& name : ScanUserProfiles(UserProfilesFolder())) PrintLine(name);
    return 0;
  }
  return Usage(usage);
}

}  // namespace zel::cli
