// Profiles: named sets of conversion settings. The ready-made ones come in a
// pack beside the program; the user's own are XML files in the Profiles folder.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zel {

class JobHost;

// The settings a profile holds, in the order they are written.
inline constexpr std::array<std::string_view, 30> kProfileKeys{
    "OutputMode",      "VideoCodec",          "VideoSize",
    "VideoBitrate",    "VideoFrame",          "VideoAspect",
    "VideoPadBorder",  "Deinterlace",         "Twopass",
    "x264QualityMode", "MultiVideoTrackSupport", "AudioCodec",
    "AudioBitrate",    "AudioSample",         "AudioChannels",
    "AudioVolume",     "MultiAudioTrackSupport", "SubtitleCodec",
    "SubtitleLang",    "SubtitleTag",         "SubtitleSbsf",
    "SubtitleEncodeFormat", "MultiSubtitleTrackSupport", "ImageSize",
    "ImageQuality",    "FileSuffix",          "FileNameAddStringBefore",
    "FileNameAddStringAfter", "AdditionalScripts", "AdditionalPass1Scripts",
};

inline constexpr std::string_view kProfilePackTitle = "ZEL LE Profiles";
// The entry of the pack that holds its title.
inline constexpr std::string_view kProfilePackTitleEntry = "Title";

struct Profile {
  int category = 0;
  std::string title;
  std::vector<std::pair<std::string, std::string>> values;

  std::string Value(std::string_view key) const;
};

// ---- User profiles ----

// The text of a user profile holding the store's current values.
std::string UserProfileText();
// "UserProfile, YYYY-MM-DD, HH-MM-SS.xml" for the local time now.
std::string SuggestedProfileName();
// $XDG_DATA_HOME/ZEL/Profiles/, ~/.local/share when unset.
std::string UserProfilesFolder();
// Writes the store's values to `path`, asking before it replaces a file.
bool SaveProfile(const std::string& path, JobHost& host);
// Reads a user profile into the store after asking; refuses files of another
// program or that do not parse.
bool LoadProfile(const std::string& path, JobHost& host);
// The names of the "*.xml" files of the folder, without extension, sorted.
std::vector<std::string> ScanUserProfiles(const std::string& folder);

// ---- Ready-made profiles ----

// The profiles of a pack file, in its order; none when the file is not a pack.
std::vector<Profile> LoadProfilePack(const std::string& path);
// Reads one entry's text: "Category=", "Title=" and one "Key=Value" a line.
std::optional<Profile> ParseProfileEntry(std::string_view text);
// The list read at start.
std::vector<Profile>& BuiltInProfiles();
const Profile* FindProfile(std::string_view title);

// Writes the profile to the store after asking. A video or audio codec that
// the core's lists lack gives a notice; the value is written all the same.
bool ApplyProfile(const Profile& profile, std::string_view coreVideo, std::string_view coreAudio, JobHost& host);

// ---- The chooser ----

// The rows of the profile list: with no category open the categories,
// "全部方案" first; with one open ( -1 is all) a head row and its profiles.
struct ChooserRow {
  std::string text;
  std::string record;  // "category,title" of a profile; "category" of a category row
  std::string tip;
};
inline constexpr int kAllCategories = -1;
std::vector<ChooserRow> ProfileChooserRows(const std::vector<Profile>& profiles, std::optional<int> openCategory);

// The quick chooser's commands, told to the window as what to show.
enum class QuickChoice { None, FormatJoin, FormatSplit, FormatList, ProfileList };
QuickChoice QuickChooserCommand(std::string_view command);

}  // namespace zel
