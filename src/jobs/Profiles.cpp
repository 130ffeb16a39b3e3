#include "jobs/Profiles.h"

#include <QDomDocument>
#include <QFile>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "engine/ProgressText.h"
#include "jobs/JobHost.h"
#include "jobs/MainState.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "subtitles/clsFilePKZ.h"

namespace zel {
namespace {

constexpr std::string_view kCrLf = "\r\n";
// A pack larger than this is not a profile pack; reading it whole would only
// waste memory.
constexpr int32_t kLargestEntry = 1 << 20;
constexpr int kLargestPack = 10000;

// Whole-item test on a "|"-joined list, ignoring case.
bool ListHolds(std::string_view list, std::string_view name) {
  return Contains("|" + UpperAscii(list) + "|", "|" + UpperAscii(name) + "|");
}

bool CodecMissing(std::string_view codec, std::string_view disabled, std::string_view coreList) {
  return !codec.empty() && codec != disabled && !ListHolds(coreList, codec);
}

}  // namespace

std::string Profile::Value(std::string_view key) const {
  for (const auto& [name, value] : values) {
    if (LowerAscii(name) == LowerAscii(key)) return value;
  }
  return {};
}

// ---- User profiles ----

std::string UserProfileText() {
  const MainState& state = Shared();
  std::string text;
  auto line = [&text](std::string_view part) { text.append(part).append(kCrLf); };
  line(R"(<?xml version="1.0" encoding="UTF-8"?>)");
  line(R"(<rss version="2.0">)");
  line("<setting>");
  line("        <title><![CDATA[" + state.ProductName + std::string(StrUserProfileTitle) + "]]></title>");
  line("        <generator>" + state.ProductId + "</generator> ");
  // Values are written as they stand, unescaped: a value holding "<" makes a
  // file that no longer loads, as files of earlier versions did.
  for (std::string_view key : kProfileKeys) {
    line("        <item>");
    line("            <title>" + std::string(key) + "</title>");
    line("            <parameters>" + ReadSetting(key) + "</parameters>");
    line("        </item>");
  }
  line("</setting>");
  line("</rss>");
  return text;
}

std::string SuggestedProfileName() { return FormatLocalNow("UserProfile, %Y-%m-%d, %H-%M-%S.xml"); }

std::string UserProfilesFolder() {
  return XdgFolder("XDG_DATA_HOME", ".local/share") + Shared().ProductId + "/Profiles/";
}

bool SaveProfile(const std::string& path, JobHost& host) {
  const std::string report(StrUserSettings);
  if ((FileExists(path) || DirectoryExists(path)) && !host.Ask(StrOverwriteProfileQuestion, false)) return false;
  const std::string folder = FolderOf(path);
  const bool saved = !DirectoryExists(path) && (folder.empty() || DirectoryExists(folder) || MakedPath(folder)) &&
                     WriteFileAtomic(path, UserProfileText());
  host.ShowMessage(report + std::string(saved ? StrSaved : StrCannotSave));
  return saved;
}

bool LoadProfile(const std::string& path, JobHost& host) {
  const std::string refused = std::string(StrUserSettings) + std::string(StrCannotLoad);
  QFile file(QString::fromStdString(path));
  QDomDocument document;
  if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file)) {
    host.ShowMessage(refused);
    return false;
  }
  const QDomElement setting = document.elementsByTagName("setting").item(0).toElement();
  const QString generator = setting.elementsByTagName("generator").item(0).toElement().text();
  if (setting.isNull() || generator.toStdString() != Shared().ProductId) {
    host.ShowMessage(refused);
    return false;
  }
  if (!host.Ask(path + "\n" + std::string(StrLoadProfileQuestion), false)) return false;

  const QDomNodeList items = setting.elementsByTagName("item");
  for (int i = 0; i < items.count(); ++i) {
    const QDomElement item = items.item(i).toElement();
    const std::string key = item.elementsByTagName("title").item(0).toElement().text().toStdString();
    const std::string value = item.elementsByTagName("parameters").item(0).toElement().text().toStdString();
    if (!key.empty()) WriteSetting(key, value);
  }
  host.SetFormatField(ReadSetting("OutputMode"));
  host.ShowMessage(path + "\n" + std::string(StrUserSettings) + std::string(StrLoaded));
  return true;
}

std::vector<std::string> ScanUserProfiles(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    const PathParts parts = SplitExtension(name);
    if (entry.is_regular_file(error) && LowerAscii(parts.extension) == ".xml") names.emplace_back(parts.stem);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// ---- Ready-made profiles ----

std::optional<Profile> ParseProfileEntry(std::string_view text) {
  Profile profile;
  bool hasCategory = false;
  for (std::string_view line : SplitLines(text, LastLine::KeepIfNotEmpty)) {
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0) continue;
    const std::string key(line.substr(0, equals));
    std::string value(line.substr(equals + 1));
    if (key == "Category") {
      const double number = Val(value);
      if (number < 0 || number >= static_cast<double>(StrProfileCategories.size())) return std::nullopt;
      profile.category = static_cast<int>(number);
      hasCategory = true;
    } else if (key == "Title") {
      profile.title = std::move(value);
    } else {
      profile.values.emplace_back(key, std::move(value));
    }
  }
  if (!hasCategory || profile.title.empty()) return std::nullopt;
  return profile;
}

std::vector<Profile> LoadProfilePack(const std::string& path) {
  std::vector<Profile> profiles;
  clsFilePKZ pack;
  pack.SetFilename(path);
  if (!pack.OpenAchive() || pack.Signature() != "PKZ") return profiles;
  const std::vector<clsFilePKZ::Entry> entries = pack.Entries();
  if (entries.empty() || entries.front().name != kProfilePackTitleEntry ||
      Trim(pack.ReadData(entries.front())) != kProfilePackTitle) {
    return profiles;
  }
  for (size_t i = 1; i < entries.size() && static_cast<int>(i) < kLargestPack; ++i) {
    if (entries[i].length <= 0 || entries[i].length > kLargestEntry) continue;
    if (auto profile = ParseProfileEntry(pack.ReadData(entries[i]))) {
      profiles.push_back(std::move(*profile));
    }
  }
  return profiles;
}

std::vector<Profile>& BuiltInProfiles() {
  static std::vector<Profile> profiles;
  return profiles;
}

const Profile* FindProfile(std::string_view title) {
  for (const Profile& profile : BuiltInProfiles()) {
    if (profile.title == title) return &profile;
  }
  return nullptr;
}

bool ApplyProfile(const Profile& profile, std::string_view coreVideo, std::string_view coreAudio, JobHost& host) {
  if (!host.Ask(std::string(StrApplyProfileQuestion) + profile.title, false)) return false;
  if (CodecMissing(profile.Value("VideoCodec"), StrDisableVideo, coreVideo)) {
    host.AddInfo(StrInfoNotice, StrProfileVideoUnsupported);
  }
  if (CodecMissing(profile.Value("AudioCodec"), StrDisableAudio, coreAudio)) {
    host.AddInfo(StrInfoNotice, StrProfileAudioUnsupported);
  }
  for (const auto& [key, value] : profile.values) WriteSetting(key, value);
  host.SetFormatField(ReadSetting("OutputMode"));
  WriteSetting("Profile", profile.title);
  host.RebuildSettingRows();
  return true;
}

// ---- The chooser ----

std::vector<ChooserRow> ProfileChooserRows(const std::vector<Profile>& profiles, std::optional<int> openCategory) {
  std::vector<ChooserRow> rows;
  if (!openCategory) {
    rows.push_back({std::string(StrAllProfiles) + " >  ", std::to_string(kAllCategories), {}});
    for (size_t i = 0; i < StrProfileCategories.size(); ++i) {
      rows.push_back({std::string(StrProfileCategories[i]) + " >  ", std::to_string(i), {}});
    }
    return rows;
  }
  rows.push_back({std::string(StrBackToCategories) + " < ", {}, std::string(StrBackOneLevel)});
  for (const Profile& profile : profiles) {
    if (*openCategory != kAllCategories && profile.category != *openCategory) continue;
    rows.push_back({profile.title, std::to_string(profile.category) + "," + profile.title, {}});
  }
  return rows;
}

QuickChoice QuickChooserCommand(std::string_view command) {
  if (command == "join") return QuickChoice::FormatJoin;
  if (command == "split") return QuickChoice::FormatSplit;
  if (command == "formats") return QuickChoice::FormatList;
  if (command == "profiles") return QuickChoice::ProfileList;
  if (command == "dontshow") WriteSetting("ShowTip", StrNo);
  return QuickChoice::None;
}

}  // namespace zel
