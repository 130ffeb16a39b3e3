#include "jobs/Settings.h"

#include <QStandardPaths>

#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

#include "engine/ProgressText.h"
#include "jobs/MainState.h"
#include "jobs/Registry.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

std::string VideosFolder() {
  const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
  return cPath(movies.toStdString());
}

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  return cPath(home != nullptr && *home != '\0' ? home : "/");
}

std::string ProcessorCountText() { return std::to_string(Shared().ProcessorCount); }

std::string ScreenshotComment() { return FormatLocalNow("%Y ") + std::string(StrScreenshotComment); }

std::string ProductName() { return Shared().ProductName; }

std::string ToolsFolder() { return Shared().ProgramFolder + "Tools/"; }

// One row a key. The yes/no words and list labels are the string table's, as
// the store keeps the visible label itself.
const SettingKey kKeys[] = {
    // Output and splitting
    {"OutputMode", "MP4"},
    {"OutputFolder", "", VideosFolder},
    {"FileSuffix", ""},
    {"FileNameAddStringBefore", ""},
    {"FileNameAddStringAfter", ""},
    {"FileExistsOverwrite", StrNo},
    {"SourceFormat", StrNo},
    {"SplitTimeStart", "00:00:00,000"},
    {"SplitTimeEnd", "00:00:00,000"},
    {"SplitPart", "1"},
    {"SplitMode", StrSplitPointToPoint},
    {"JoinAllTask", StrNo},
    {"JoinAllTaskAndClean", StrNo},
    {"TransferFilesPath", ""},
    {"RemoveFileAfterCanceled", StrYes},
    {"DoNotIgnoreError", StrYes},
    {"ConvertFinished", StrFinishNotify},
    {"ThreadPriority", "0"},
    {"MaxThreads", "", ProcessorCountText},
    {"StatusRefreshInterval", "500"},
    {"Log", StrNo},
    {"ShowStatus", StrNo},
    {"TimeStamp", StrNo},
    {"CopyTimeStamps", StrNo},
    {"AdditionalScripts", ""},
    {"AdditionalPass1Scripts", ""},
    // Video
    {"VideoCodec", ""},
    {"VideoSize", ""},
    {"VideoBitrate", "5vbr"},
    {"VideoFrame", "23"},
    {"VideoAspect", ""},
    {"VideoPadBorder", ""},
    {"Deinterlace", StrNo},
    {"Twopass", StrNo},
    {"x264QualityMode", StrX264ConstantQuality},
    {"MultiVideoTrackSupport", StrNo},
    // A stream number as the probe lists it; empty leaves the choice to the tool.
    {"DefaultVideoStream", ""},
    {"VideoCropTop", "0"},
    {"VideoCropBottom", "0"},
    {"VideoCropLeft", "0"},
    {"VideoCropRight", "0"},
    {"VideoPadTop", "0"},
    {"VideoPadBottom", "0"},
    {"VideoPadLeft", "0"},
    {"VideoPadRight", "0"},
    {"VideoPadColor", "0"},
    // Audio
    {"AudioCodec", ""},
    {"AudioBitrate", "128"},
    {"AudioSample", ""},
    {"AudioChannels", ""},
    {"AudioVolume", ""},
    {"MultiAudioTrackSupport", StrNo},
    {"DefaultAudioStream", ""},
    // Subtitle tracks and text
    {"SubtitleCodec", StrDisableSubtitle},
    {"SubtitleLang", ""},
    {"SubtitleTag", ""},
    {"SubtitleSbsf", ""},
    {"SubtitleOffset", "-0.2"},
    {"SubtitleTimeOffset", "-0.2"},
    {"SubtitleEncodeFormat", "UTF8"},
    {"SubtitleBIG5ToGB", StrNo},
    {"AnsiCodePage", "UTF-8"},
    {"AutoAddSubtitleTrack", StrAutoSubtitleFileAndTrack},
    {"AutoAddSubtitleTrackLang", "Chinese"},
    {"MultiSubtitleTrackSupport", StrNo},
    // Images and frame grabbing
    {"ImageSize", ""},
    {"ImageQuality", "85"},
    {"ImageGrabber", StrNo},
    {"ImageGrabberThumbMatrix", "3x5"},
    {"ImageGrabberThumbSpacing", "8"},
    {"ImageGrabberMaxWidth", "320"},
    {"ImageGrabberForeColor", "202020"},
    {"ImageGrabberBackColor", "FFFFFF"},
    {"ImageGrabberCommentString", "", ScreenshotComment},
    {"ImageGrabberShowTimeString", StrYes},
    {"ImageGrabberFinished", StrFinishBalloon},
    // Stream information
    {"InfoTitle", ""},
    {"InfoAuthor", ""},
    {"InfoCopyright", "", ProductName},
    // AviSynth effects
    {"AVSEnable", StrNo},
    {"AVSFileJoin", StrNo},
    {"AVSUserScript", ""},
    {"AVSSubtitle", StrYes},
    {"AVSSubtitleFormat", StrNo},
    {"AVSSubtitleFont", "Trebuchet MS, 20, False, False, 0, False, False, 400"},
    {"AVSSubtitleColor", "FFFFFF"},
    {"AVSOverallSubtitle", ""},
    {"AVSLogoText", StrNo},
    {"AVSLogoTextString", "", ProductName},
    {"AVSLogoTextFont", "Trebuchet MS, 16, False, False, 0, False, False, 400"},
    {"AVSLogoTextColor", "FFFFFF"},
    {"AVSLogoTextTimeStart", "00:00:05,000"},
    {"AVSLogoTextTimeEnd", "00:00:20,000"},
    {"AVSLogoTextAlign", "9"},
    {"AVSBanner", StrNo},
    {"AVSBannerString", ""},
    {"AVSBannerFont", "Trebuchet MS, 20, False, False, 0, False, False, 400"},
    {"AVSBannerColor", "FFFFFF"},
    {"AVSBannerTimeStart", "00:00:00,000"},
    {"AVSBannerTimeEnd", "00:00:30,000"},
    {"AVSLogoImage", StrNo},
    {"AVSLogoImageFileName", ""},
    {"AVSLogoImagePosition", "0x0"},
    {"AVSInsertImage", StrNo},
    {"AVSInsertImageFileName", ""},
    {"AVSInsertImagePosition", "0%"},
    // The settings panel shows 5 s; the job itself has always assumed 10 s.
    {"AVSInsertImageTime", "5s", nullptr, "10s"},
    {"AVSInsertVideo", StrNo},
    {"AVSInsertVideoFileName", ""},
    {"AVSInsertVideoPosition", "0%"},
    {"AVSLayOver", StrNo},
    {"AVSLayOverColor", "0"},
    {"AVSLayOverValue", "0,0,0,0"},
    {"AVSAudioReplace", StrNo},
    {"AVSAudioReplaceFileName", ""},
    {"AVSAudioReplaceVolume", "50%"},
    // Karaoke job
    {"KTVMusicFileName", ""},
    {"KTVSubtitleFileName", ""},
    {"KTVSubtitleFont", "Trebuchet MS, 20, False, False, 134, False, False, 400"},
    {"KTVSubtitleForeColor", "FFFFFF"},
    {"KTVSubtitleEffectColor", "FF"},
    {"KTVSubtitleShadowColor", "0"},
    {"KTVSubtitleOutline", "1"},
    {"KTVSubtitleAlpha", "0"},
    {"KTVSubtitleSpeed", "2.6"},
    {"KTVSubtitleStyle", StrKaraokeNoEffect},
    // Player
    {"MediaPlayNow", StrYes},
    {"Aspect", StrAspectKeep},
    {"SuffixChange", StrNo},
    {"TimeJumpValue", "1"},
    {"PlayerRepeat", StrRepeatOnce},
    {"SystemVolume", StrYes},
    {"AlwaysShowStatusBarWhenMaximize", StrYes},
    {"AllowLoadSubtitle", StrYes},
    {"ImageTransEffects", StrTransitionFade},
    {"MediaPlayerFontName", "Trebuchet MS"},
    {"PlayerProgressBar", StrYes},
    {"PlayerStyle", "2"},
    {"ShowFFT", StrNo},
    {"ZoomText", StrNo},
    // Window, theme and general
    {"WindowState", "0"},
    {"WindowWidth", "1024"},
    {"WindowHeight", "700"},
    {"WindowPosX", "120"},
    {"WindowPosY", "80"},
    {"ShowSetting", StrShowSettingWindow},
    {"ShowTip", StrYes},
    {"CheckMediaInfo", StrNo},
    {"ShowSystemScrollBar", StrNo},
    {"ShowItemFocus", StrNo},
    {"ShowSystemEffect", StrYes},
    {"HideWindowWhenMinimized", StrNo},
    {"CompareWindowVerticalLayout", StrNo},
    {"LastOpenFileFolder", "", HomeFolder},
    {"LastSaveFileFolder", "", HomeFolder},
    {"ToolsFolder", "", ToolsFolder},
    {"InitialNewSetting", StrYes},
    {"Build", "0"},
    {"Profile", ""},
    {"ThemeStyle", "26"},
    {"ThemeColor", "-1"},
    {"ThemeTransparent", "0"},
    {"ThemeColorPalette1", ""},
    {"ThemeColorPalette2", ""},
    {"ThemeColorPalette3", ""},
    {"ThemeColorPalette4", ""},
    {"ThemeColorPalette5", ""},
    {"ThemeColorPalette6", ""},
    {"SubtitleEditOffsetType", StrSubtitleEditShiftBlock},
    {"SubtitleEditOffsetValue", "1"},
    {"SubtitleEditPlayType", StrSubtitleEditPlayAll},
};

}  // namespace

std::span<const SettingKey> SettingKeys() { return kKeys; }

const SettingKey* FindSettingKey(std::string_view name) {
  for (const SettingKey& key : kKeys) {
    if (key.name.size() == name.size() && FindNoCase(key.name, name) == 0) return &key;
  }
  return nullptr;
}

std::string SettingDefault(std::string_view name) {
  const SettingKey* key = FindSettingKey(name);
  if (key == nullptr) return {};
  return key->computeDefault != nullptr ? key->computeDefault() : std::string(key->defaultValue);
}

std::string SettingSecondDefault(std::string_view name) {
  const SettingKey* key = FindSettingKey(name);
  if (key == nullptr || key->secondDefault.empty()) return SettingDefault(name);
  return std::string(key->secondDefault);
}

std::string BuildSettingsPath(std::string_view productId) {
  std::string id(productId);
  for (char& c : id) {
    if (c == ' ') c = '_';
  }
  return "Software\\Calder\\" + id + "\\Settings";
}

namespace {
const std::string& SettingsPathNow() {
  MainState& state = Shared();
  if (state.SettingsPath.empty()) state.SettingsPath = BuildSettingsPath(state.ProductId);
  return state.SettingsPath;
}
}  // namespace

std::string ReadSetting(std::string_view key) { return ReadSetting(key, SettingDefault(key)); }

std::string ReadSetting(std::string_view key, std::string_view defaultValue) {
  return RegistryRead(HKEY_CURRENT_USER, SettingsPathNow(), key, defaultValue, Shared().SettingsIniFile);
}

bool SettingIsYes(std::string_view key) { return ReadSetting(key) == StrYes; }

namespace {

struct Listeners {
  std::mutex mutex;
  int nextId = 1;
  std::vector<std::pair<int, SettingListener>> entries;
};

Listeners& SettingListeners() {
  static Listeners listeners;
  return listeners;
}

void Notify(std::string_view key) {
  // A copy, so that a listener may add or remove listeners, or write a setting.
  std::vector<std::pair<int, SettingListener>> entries;
  {
    Listeners& all = SettingListeners();
    std::lock_guard guard(all.mutex);
    entries = all.entries;
  }
  for (const auto& [id, listener] : entries) listener(key);
}

}  // namespace

int AddSettingListener(SettingListener listener) {
  Listeners& all = SettingListeners();
  std::lock_guard guard(all.mutex);
  all.entries.emplace_back(all.nextId, std::move(listener));
  return all.nextId++;
}

void RemoveSettingListener(int id) {
  Listeners& all = SettingListeners();
  std::lock_guard guard(all.mutex);
  std::erase_if(all.entries, [id](const auto& entry) { return entry.first == id; });
}

bool WriteSetting(std::string_view key, std::string_view value) {
  const bool changes = ReadSetting(key) != value;
  const bool written = RegistryWrite(HKEY_CURRENT_USER, SettingsPathNow(), key, value, Shared().SettingsIniFile);
  if (written && changes) Notify(key);
  return written;
}

bool DeleteAllSettings() {
  const bool deleted = RegistryDeleteKey(HKEY_CURRENT_USER, SettingsPathNow(), Shared().SettingsIniFile);
  if (deleted) Notify({});
  return deleted;
}

}  // namespace zel
