#include "jobs/SettingsRows.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"

namespace zel {
namespace {

// When a row stands.
enum class When { Always, Karaoke, NotRmvb, Rmvb, Twopass, AviSynth, NoAviSynth };

// What a file row's dialog offers.
enum class Files { None, Audio, Video, Image, Subtitle };

// One row of the table: a head (no key, a caption), a note (no key, a text), or
// a setting whose choices are fixed, come from the catalogue, or are free.
struct RowSpec {
  When when = When::Always;
  std::string_view key{};
  Text caption{};  // heads and notes
  bool note = false;
  std::string_view choices{};
  std::string ValueLists::*list = nullptr;
  Files files = Files::None;
  std::string_view unit{};
  bool shortSet = false;  // also a row of the main screen's short set
};

constexpr RowSpec Head(Text caption, When when = When::Always, bool shortSet = false) {
  return {.when = when, .caption = caption, .shortSet = shortSet};
}
constexpr RowSpec Note(Text text, When when) { return {.when = when, .caption = text, .note = true}; }
constexpr RowSpec Pick(std::string_view key, std::string_view choices, When when = When::Always,
                       std::string_view unit = {}) {
  return {.when = when, .key = key, .choices = choices, .unit = unit};
}
constexpr RowSpec YesNo(std::string_view key, When when = When::Always) { return Pick(key, StrChoiceYesNo, when); }
constexpr RowSpec FromList(std::string_view key, std::string ValueLists::*list, When when = When::Always) {
  return {.when = when, .key = key, .list = list};
}
constexpr RowSpec File(std::string_view key, Files files, When when = When::Always) {
  return {.when = when, .key = key, .files = files};
}
constexpr RowSpec Free(std::string_view key, When when = When::Always) { return {.when = when, .key = key}; }
constexpr RowSpec Short(RowSpec spec) {
  spec.shortSet = true;
  return spec;
}

constexpr std::string_view kSubtitleOffsets =
    "-3|-2.5|-2|-1.5|-1|-0.5|-0.4|-0.3|-0.2|-0.1|0|0.1|0.2|0.3|0.4|0.5|1|1.5|2|2.5|3";
constexpr std::string_view kPercentPositions = "0%|10%|20%|30%|40%|50%|55%|60%|65%|70%|75%|80%|85%|90%|95%|100%";
constexpr std::string_view kKaraokeSpeeds =
    "0.1|0.2|0.3|0.4|0.5|0.6|0.7|0.8|0.9|1.0|1.1|1.2|1.3|1.4|1.5|1.6|1.7|1.8|1.9|2.0|2.1|2.2|2.3|2.4|2.5|2.6|2.7|2.8|"
    "2.9|3.0|3.1|3.2|3.3|3.4|3.5|3.6|3.7|3.8|3.9|4.0|4.1|4.2|4.3|4.4|4.5|4.6|4.7|4.8|4.9|5.0";
constexpr std::string_view kKaraokeAlpha =
    "0|10|20|30|40|50|60|70|80|90|100|110|120|130|140|150|160|170|180|190|200|210|220|230|240|250|255";

// Short names for the conditions and lists the table repeats most.
constexpr When K = When::Karaoke, A = When::AviSynth;
using L = ValueLists;

// Every row in the order shown. The short set takes the rows marked Short.
constexpr RowSpec kRows[] = {
    Head(StrGroupKaraoke, K),
    File("KTVMusicFileName", Files::Audio, K),
    File("KTVSubtitleFileName", Files::Subtitle, K),
    Free("KTVSubtitleFont", K),
    Free("KTVSubtitleForeColor", K),
    Free("KTVSubtitleEffectColor", K),
    Free("KTVSubtitleShadowColor", K),
    Pick("KTVSubtitleOutline", "1|2|3|4|5|6|7|8|9|10", K),
    Pick("KTVSubtitleAlpha", kKaraokeAlpha, K),
    Pick("KTVSubtitleSpeed", kKaraokeSpeeds, K),
    Pick("KTVSubtitleStyle", StrChoiceKaraokeStyle, K),

    Head(StrGroupVideo, When::Always, true),
    Short(FromList("VideoCodec", &L::videoCodecs, When::NotRmvb)),
    Short(Pick("VideoCodec", "RV8|RV10", When::Rmvb)),
    Short(FromList("VideoSize", &L::frameSizes)),
    Short(FromList("VideoBitrate", &L::videoBitrates)),
    Short(FromList("VideoFrame", &L::frameRates)),
    Short(FromList("VideoAspect", &L::aspectRatios)),
    Short(FromList("VideoPadBorder", &L::borderRatios)),
    Short(YesNo("Deinterlace")),
    YesNo("Twopass"),
    Pick("x264QualityMode", StrChoiceX264Mode),
    YesNo("MultiVideoTrackSupport"),

    Head(StrGroupAudio, When::Always, true),
    Short(FromList("AudioCodec", &L::audioCodecs)),
    Short(FromList("AudioBitrate", &L::audioBitrates)),
    Short(FromList("AudioSample", &L::audioSampling)),
    Short(FromList("AudioChannels", &L::audioChannels)),
    Short(FromList("AudioVolume", &L::audioVolume)),
    YesNo("MultiAudioTrackSupport"),

    Head(StrGroupSubtitle),
    FromList("SubtitleCodec", &L::subtitleCodecs),
    // The catalogue has no lists of language codes or tags: typed text.
    Free("SubtitleLang"),
    Free("SubtitleTag"),
    Pick("SubtitleOffset", kSubtitleOffsets, When::Always, "s"),
    Pick("AutoAddSubtitleTrack", StrChoiceAutoSubtitle),
    Pick("AutoAddSubtitleTrackLang",
         "Undefined|Danish|Dutch|English|French|German|Hebrew|Italian|Japanese|Korean|Polish|Portuguese|Russian|"
         "Spanish|Swedish|Thai|Chinese"),
    YesNo("MultiSubtitleTrackSupport"),
    YesNo("SubtitleBIG5ToGB"),
    Pick("SubtitleEncodeFormat", "ANSI|UTF8|Unicode|Unicode big endian"),

    Head(StrGroupImage, When::Always, true),
    Short(Pick("ImageSize", "|60max|80max|100max|120max|160max|200max|240max|320max|360max|480max|640max|720max")),
    Short(Pick("ImageQuality", "5|10|15|20|25|30|35|40|45|50|55|60|65|70|75|80|85|90|95|100", When::Always, "%")),

    Head(StrLabelPicture),
    FromList("VideoCropTop", &L::cropPad),
    FromList("VideoCropBottom", &L::cropPad),
    FromList("VideoCropLeft", &L::cropPad),
    FromList("VideoCropRight", &L::cropPad),
    Free("ResetCrop"),
    FromList("VideoPadTop", &L::cropPad),
    FromList("VideoPadBottom", &L::cropPad),
    FromList("VideoPadLeft", &L::cropPad),
    FromList("VideoPadRight", &L::cropPad),
    Free("ResetPad"),
    Free("VideoPadColor"),

    Head(StrGroupGrabber),
    YesNo("ImageGrabber"),
    Pick("ImageGrabberThumbMatrix", "1x1|1x5|1x10|1x20|1x30|2x5|2x10|2x20|2x30|3x5|3x8|3x10|3x20|3x30|4x10|4x30|4x30"),
    Pick("ImageGrabberThumbSpacing", "0|1|2|3|4|5|6|7|8|9|10|12|15|20|30"),
    Pick("ImageGrabberMaxWidth", "|120|160|200|240|320|400|640"),
    Free("ImageGrabberForeColor"),
    Free("ImageGrabberBackColor"),
    Free("ImageGrabberCommentString"),
    YesNo("ImageGrabberShowTimeString"),
    Pick("ImageGrabberFinished", StrChoiceGrabberFinished),

    Head(StrGroupOutput),
    YesNo("FileExistsOverwrite"),
    YesNo("SourceFormat"),
    FromList("FileSuffix", &L::containers),
    Free("FileNameAddStringBefore"),
    Free("FileNameAddStringAfter"),
    YesNo("JoinAllTask"),
    YesNo("JoinAllTaskAndClean"),
    Pick("SplitMode", StrChoiceSplitMode),

    Head(StrGroupAdvanced),
    YesNo("TimeStamp"),
    YesNo("CopyTimeStamps"),
    Free("AdditionalScripts"),
    Free("AdditionalPass1Scripts", When::Twopass),

    Head(StrGroupCredits),
    Free("InfoTitle"),
    Free("InfoAuthor"),
    Free("InfoCopyright"),

    Head(StrGroupAviSynth),
    Note(StrRowsAviSynthNote, When::NoAviSynth),
    YesNo("AVSEnable", A),
    YesNo("AVSFileJoin", A),
    Head(StrGroupAvsSubtitle, A),
    YesNo("AVSSubtitle", A),
    YesNo("AVSSubtitleFormat", A),
    Free("AVSSubtitleFont", A),
    Free("AVSSubtitleColor", A),
    File("AVSOverallSubtitle", Files::Subtitle, A),
    Head(StrGroupAvsLogoText, A),
    YesNo("AVSLogoText", A),
    Free("AVSLogoTextString", A),
    Free("AVSLogoTextFont", A),
    Free("AVSLogoTextColor", A),
    Free("AVSLogoTextTimeStart", A),
    Free("AVSLogoTextTimeEnd", A),
    Pick("AVSLogoTextAlign", "1|2|3|4|5|6|7|8|9", A),
    Head(StrGroupAvsBanner, A),
    YesNo("AVSBanner", A),
    Free("AVSBannerString", A),
    Free("AVSBannerFont", A),
    Free("AVSBannerColor", A),
    Free("AVSBannerTimeStart", A),
    Free("AVSBannerTimeEnd", A),
    Head(StrGroupAvsLogoImage, A),
    YesNo("AVSLogoImage", A),
    File("AVSLogoImageFileName", Files::Image, A),
    Free("AVSLogoImagePosition", A),
    Head(StrGroupAvsInsertImage, A),
    YesNo("AVSInsertImage", A),
    File("AVSInsertImageFileName", Files::Image, A),
    Pick("AVSInsertImagePosition", kPercentPositions, A),
    Pick("AVSInsertImageTime", "0s|3s|5s|10s|15s|20s|30s|45s|50s|60s", A),
    Head(StrGroupAvsInsertVideo, A),
    YesNo("AVSInsertVideo", A),
    File("AVSInsertVideoFileName", Files::Video, A),
    Pick("AVSInsertVideoPosition", kPercentPositions, A),
    Head(StrGroupAvsLayOver, A),
    YesNo("AVSLayOver", A),
    Free("AVSLayOverColor", A),
    Free("AVSLayOverValue", A),
    Head(StrGroupAvsAudioReplace, A),
    YesNo("AVSAudioReplace", A),
    File("AVSAudioReplaceFileName", Files::Audio, A),
    Pick("AVSAudioReplaceVolume", "10%|20%|30%|40%|50%|55%|60%|65%|70%|75%|80%|85%|90%|95%|100%", A),

    Head(StrGroupPlayer),
    YesNo("MediaPlayNow"),
    Pick("Aspect", StrChoiceAspect),
    YesNo("SuffixChange"),
    // The player's own offset, beside the conversion's SubtitleOffset.
    Pick("SubtitleTimeOffset", kSubtitleOffsets, When::Always, "s"),
    Pick("TimeJumpValue", "-1|1|2|3|4|5|6|7|8|9|10|15|20|30|40|45|50|60|90|120", When::Always, "s"),
    Pick("PlayerRepeat", StrChoiceRepeat),
    YesNo("SystemVolume"),
    YesNo("AlwaysShowStatusBarWhenMaximize"),
    YesNo("AllowLoadSubtitle"),
    Pick("ImageTransEffects", StrChoiceTransitions),
    Free("MediaPlayerFontName"),

    Head(StrGroupShortcuts),
    Free("CreateShortcut1"),
    Free("CreateShortcut2"),

    Head(StrGroupTools),
    YesNo("CompareWindowVerticalLayout"),

    Head(StrGroupProgram),
    YesNo("ShowTip"),
    YesNo("CheckMediaInfo"),
    YesNo("ShowSystemScrollBar"),
    YesNo("ShowItemFocus"),
    YesNo("ShowSystemEffect"),
    YesNo("HideWindowWhenMinimized"),
    Pick("ShowSetting", StrChoiceShowSetting),
    Pick("StatusRefreshInterval", "500|1000|1500|2000|3000|5000", When::Always, "ms"),
    Pick("MaxThreads", "1|2|3|4|5|6|7|8"),
    YesNo("Log"),
    YesNo("ShowStatus"),
    YesNo("DoNotIgnoreError"),
    YesNo("InitialNewSetting"),
};

// Keys whose row carries a warning under it.
struct RowNote {
  std::string_view key;
  Text note;
};
constexpr RowNote kRowNotes[] = {{"InitialNewSetting", StrRowsCarefulNote}};

// ---------------------------------------------------------------- shortcuts as rows

struct ShortcutRow {
  std::string_view key;
  ShortcutPlace place;
  Text create, remove;
};
constexpr ShortcutRow kShortcutRows[] = {
    {"CreateShortcut1", ShortcutPlace::Desktop, StrShortcutDesktopCreate, StrShortcutDesktopRemove},
    {"CreateShortcut2", ShortcutPlace::OpenWith, StrShortcutOpenWithCreate, StrShortcutOpenWithRemove},
};

const ShortcutRow* FindShortcutRow(std::string_view key) {
  for (const ShortcutRow& row : kShortcutRows) {
    if (row.key == key) return &row;
  }
  return nullptr;
}

Text ShortcutLabel(const ShortcutRow& row) { return ShortcutExists(row.place) ? row.remove : row.create; }

// ---------------------------------------------------------------- the guide

enum class Mode : unsigned { Convert = 1, DirectCut = 2, DirectJoin = 4, Karaoke = 8 };
constexpr unsigned kAllModes = 15;
constexpr unsigned Modes(std::initializer_list<Mode> modes) {
  unsigned bits = 0;
  for (Mode m : modes) bits |= static_cast<unsigned>(m);
  return bits;
}

struct GuideSpec {
  std::string_view key;
  GuideStep step;
  Text label, hint;
  unsigned modes;
};
// In the order shown; the keys stay with their steps whatever the numbering.
constexpr GuideSpec kGuide[] = {
    {"tip1", GuideStep::AddFiles, StrGuideAddFiles, StrGuideAddFilesHint, kAllModes},
    {"tip8", GuideStep::JoinOrder, StrGuideJoinOrder, StrGuideJoinOrderHint, Modes({Mode::DirectJoin})},
    {"tip9", GuideStep::MusicFile, StrGuideMusicFile, StrGuideMusicFileHint, Modes({Mode::Karaoke})},
    {"tip10", GuideStep::LyricFile, StrGuideLyricFile, StrGuideLyricFileHint, Modes({Mode::Karaoke})},
    {"tip2", GuideStep::Preview, StrGuidePreview, StrGuidePreviewHint, kAllModes},
    {"tip3", GuideStep::CutPoints, StrGuideCutPoints, StrGuideCutPointsHint, Modes({Mode::Convert, Mode::DirectCut})},
    {"tip4", GuideStep::OutputFolder, StrGuideOutputFolder, StrGuideOutputFolderHint, kAllModes},
    {"tip5", GuideStep::MoreSettings, StrGuideMoreSettings, StrGuideMoreSettingsHint,
     Modes({Mode::Convert, Mode::Karaoke})},
    {"tip6", GuideStep::Start, StrGuideStart, StrGuideStartHint, kAllModes},
    {"tip7", GuideStep::BrowseOutput, StrGuideBrowseOutput, StrGuideBrowseOutputHint, kAllModes},
};

Mode ModeOf(const SettingRowsContext& context, const SettingReader& read) {
  if (context.productKind == kProductKaraoke) return Mode::Karaoke;
  const std::string output = read("OutputMode");
  if (output == StrDirectCut) return Mode::DirectCut;
  if (output == StrDirectJoin) return Mode::DirectJoin;
  return Mode::Convert;
}

void AddGuide(std::vector<SettingRow>& rows, Mode mode) {
  rows.push_back({.kind = SettingKind::Head, .label = std::string(StrGroupGuide), .note = std::string(StrGuideHint)});
  int number = 0;
  for (const GuideSpec& spec : kGuide) {
    if ((spec.modes & static_cast<unsigned>(mode)) == 0) continue;
    rows.push_back({.kind = SettingKind::GuideStep,
                    .key = std::string(spec.key),
                    .label = std::to_string(++number) + std::string(StrGuideNumberMark) + std::string(spec.label),
                    .note = std::string(spec.hint)});
  }
}

// ---------------------------------------------------------------- values

bool IsColourKey(std::string_view key) { return EndsWith(key, "Color"); }

bool IsHexDigits(std::string_view text) {
  return !text.empty() && text.size() <= 8 && std::all_of(text.begin(), text.end(), [](char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
  });
}

// "&H00FF00&", "&hff", "0x0f" or "FF" as the store keeps a colour: upper-case
// digits without prefix or leading zeros. Anything else stays as it was typed.
std::string StoredColour(std::string_view text) {
  std::string_view digits = text;
  if (StartsWith(digits, "&H") || StartsWith(digits, "&h") || StartsWith(digits, "0x") || StartsWith(digits, "0X"))
    digits.remove_prefix(2);
  if (!digits.empty() && digits.back() == '&') digits.remove_suffix(1);
  if (!IsHexDigits(digits)) return std::string(text);
  const size_t first = digits.find_first_not_of('0');
  return first == std::string_view::npos ? "0" : UpperAscii(digits.substr(first));
}

// The stored value as the row shows it: a colour in the "&H" form of the
// list's colour dialog.
std::string ShownValue(std::string_view key, std::string_view stored) {
  if (IsColourKey(key) && IsHexDigits(stored)) return "&H" + std::string(stored);
  return std::string(stored);
}

Text LabelOf(std::string_view key) {
  if (const ShortcutRow* row = FindShortcutRow(key)) return ShortcutLabel(*row);
  for (const SettingLabel& entry : StrSettingLabels) {
    if (entry.key == key) return entry.label;
  }
  return {};
}

std::string FilterFor(Files files) {
  struct Entry {
    Files files;
    Text name;
    std::string_view patterns;
  };
  static constexpr Entry kFilters[] = {
      {Files::Audio, StrFilterAudioFiles, kAudioFilter},
      {Files::Video, StrFilterVideoFiles, kVideoFilter},
      {Files::Image, StrFilterImageFiles, kImageFilter},
      {Files::Subtitle, StrFilterSubtitleFiles, kSubtitleFilter},
  };
  std::string filter;
  for (const Entry& e : kFilters) {
    if (e.files == files) filter = std::string(e.name) + "|" + std::string(e.patterns) + "|";
  }
  return filter + std::string(StrFilterAllFiles) + "|*.*";
}

using Condition = bool (*)(const SettingRowsContext& context, const SettingReader& read);

bool IsRmvb(const SettingReader& read) { return LowerAscii(read("OutputMode")) == "rmvb"; }

// By When, in its order.
constexpr Condition kConditions[] = {
    [](const SettingRowsContext&, const SettingReader&) { return true; },
    [](const SettingRowsContext& context, const SettingReader&) { return context.productKind == kProductKaraoke; },
    [](const SettingRowsContext&, const SettingReader& read) { return !IsRmvb(read); },
    [](const SettingRowsContext&, const SettingReader& read) { return IsRmvb(read); },
    [](const SettingRowsContext&, const SettingReader& read) { return read("Twopass") == StrYes; },
    [](const SettingRowsContext&, const SettingReader& read) { return read("AVSEnable") == StrYes; },
    [](const SettingRowsContext&, const SettingReader& read) { return read("AVSEnable") != StrYes; },
};
static_assert(std::size(kConditions) == static_cast<size_t>(When::NoAviSynth) + 1);

bool Stands(When when, const SettingRowsContext& context, const SettingReader& read) {
  return kConditions[static_cast<size_t>(when)](context, read);
}

bool IsCommandKey(std::string_view key);

SettingRow RowOf(const RowSpec& spec, const SettingRowsContext& context, const SettingReader& read, bool directMode) {
  if (spec.key.empty()) {
    return {.kind = spec.note ? SettingKind::Note : SettingKind::Head, .label = std::string(spec.caption)};
  }
  SettingRow row{.key = std::string(spec.key), .label = std::string(LabelOf(spec.key)), .unit = std::string(spec.unit)};
  if (IsCommandKey(spec.key)) {
    row.kind = SettingKind::Command;
    return row;
  }
  row.value = ShownValue(spec.key, read(spec.key));
  if (spec.list != nullptr) {
    row.kind = SettingKind::Choice;
    row.values = context.lists.*spec.list;
  } else if (!spec.choices.empty()) {
    row.kind = SettingKind::Choice;
    row.values = std::string(spec.choices);
  } else if (spec.files != Files::None) {
    row.kind = SettingKind::File;
    row.filter = FilterFor(spec.files);
  } else {
    row.kind = KindByKeyForm(spec.key);
  }
  for (const RowNote& n : kRowNotes) {
    if (n.key == spec.key) row.note = std::string(n.note);
  }
  row.enabled = !(directMode && spec.shortSet);
  return row;
}

// ---------------------------------------------------------------- effects

// The place of a text among "|"-separated choices, or that of `fallback`.
double Place(Text choices, std::string_view text, std::string_view fallback) {
  const std::vector<std::string> entries = Split(choices, "|");
  auto it = std::find(entries.begin(), entries.end(), text);
  if (it == entries.end()) it = std::find(entries.begin(), entries.end(), fallback);
  return static_cast<double>(it - entries.begin());
}

struct PlayerEntry {
  std::string_view key;
  PlayerProperty property;
  // Reads the stored text into the number or flag the player takes.
  void (*convert)(PlayerSetting& setting);
};

void Seconds(PlayerSetting& s) { s.number = Val(s.text); }
void YesFlag(PlayerSetting& s) { s.flag = s.text == StrYes; }

const PlayerEntry kPlayerKeys[] = {
    {"TimeJumpValue", PlayerProperty::TimeJumpValue, Seconds},
    {"SubtitleTimeOffset", PlayerProperty::SubtitleTimeOffset, Seconds},
    // The player counts its transitions from -2, the place in the list less 2.
    {"ImageTransEffects", PlayerProperty::ImageTransEffects,
     [](PlayerSetting& s) { s.number = Place(StrChoiceTransitions, s.text, StrTransitionFade) - 2; }},
    {"PlayerRepeat", PlayerProperty::Repeat, [](PlayerSetting& s) { s.flag = s.text == StrRepeatAlways; }},
    {"SystemVolume", PlayerProperty::ControlSystemVolume, YesFlag},
    {"Aspect", PlayerProperty::Aspect,
     [](PlayerSetting& s) { s.number = Place(StrChoiceAspect, s.text, StrAspectKeep); }},
    {"MediaPlayerFontName", PlayerProperty::FontName, [](PlayerSetting&) {}},
    {"AllowLoadSubtitle", PlayerProperty::AllowLoadSubtitle, YesFlag},
};

void ToPlayer(std::string_view key, std::string_view value, SettingsPanelHost& host) {
  for (const PlayerEntry& entry : kPlayerKeys) {
    if (entry.key != key) continue;
    PlayerSetting setting{.property = entry.property, .key = std::string(key), .text = std::string(value)};
    entry.convert(setting);
    host.SetPlayerProperty(setting);
  }
}

template <ListLook Look>
void ToLists(std::string_view, std::string_view value, SettingsPanelHost& host) {
  host.SetListLook(Look, value == StrYes);
}

using Effect = void (*)(std::string_view key, std::string_view value, SettingsPanelHost& host);

struct EffectEntry {
  std::string_view key;
  Effect effect;         // null: nothing beyond the rebuild
  bool rebuild = false;  // rows depend on the value
};

const EffectEntry kEffects[] = {
    {"ShowSetting", nullptr, true},
    // Rows stand or go with these two.
    {"Twopass", nullptr, true},
    {"AVSEnable",
     [](std::string_view, std::string_view value, SettingsPanelHost& host) {
       host.SetAviSynthButton(value == StrYes ? StrAviSynthButtonClose : StrAviSynthButtonOpen);
     },
     true},
    {"SplitMode",
     [](std::string_view, std::string_view value, SettingsPanelHost& host) {
       const bool lengths = value == StrSplitHeadTail;
       host.SetSplitLabels(lengths ? StrCutHeadLength : StrStartPoint, lengths ? StrCutTailLength : StrEndPoint);
     }},
    {"TimeJumpValue", ToPlayer},
    {"SubtitleTimeOffset", ToPlayer},
    {"ImageTransEffects", ToPlayer},
    {"PlayerRepeat", ToPlayer},
    {"SystemVolume", ToPlayer},
    {"Aspect", ToPlayer},
    {"MediaPlayerFontName", ToPlayer},
    {"AllowLoadSubtitle", ToPlayer},
    {"Log",
     [](std::string_view, std::string_view value, SettingsPanelHost& host) { host.SetEngineLog(value == StrYes); }},
    {"StatusRefreshInterval",
     [](std::string_view key, std::string_view value, SettingsPanelHost& host) {
       // A refresh of no interval would spin the engine's timer: such a value
       // keeps the default's pace.
       const int32_t ms = RoundedOrZero(Val(value));
       host.SetEngineStatusRefreshInterval(ms > 0 ? ms : RoundedOrZero(Val(SettingDefault(key))));
     }},
    {"ShowSystemScrollBar", ToLists<ListLook::SystemScrollBar>},
    {"ShowItemFocus", ToLists<ListLook::ItemFocus>},
    {"CheckMediaInfo", [](std::string_view, std::string_view value,
                          SettingsPanelHost& host) { host.SetTaskThumbnails(value == StrYes); }},
};

// ---------------------------------------------------------------- commands

void ZeroRows(SettingsPanelHost& host, std::initializer_list<std::string_view> keys) {
  for (std::string_view key : keys) {
    WriteSetting(key, "0");
    host.ShowRowValue(key, "0");
  }
}

void ToggleShortcut(const ShortcutRow& row, SettingsPanelHost& host) {
  const MainState& state = Shared();
  if (ShortcutExists(row.place)) {
    if (RemoveShortcut(row.place)) {
      host.ShowMessage(StrShortcutRemoved);
    } else {
      host.ShowMessage(std::string(StrShortcutFailed) + ShortcutPath(row.place));
    }
  } else if (CreateShortcut(row.place, state.ProgramPath, state.ProductName)) {
    host.ShowMessage(StrShortcutCreated);
  } else {
    host.ShowMessage(std::string(StrShortcutFailed) + ShortcutPath(row.place));
  }
  host.ShowRowLabel(row.key, ShortcutLabel(row));
}

struct CommandEntry {
  std::string_view key;
  void (*run)(SettingsPanelHost& host);
};
const CommandEntry kCommands[] = {
    {"ResetCrop",
     [](SettingsPanelHost& host) {
       ZeroRows(host, {"VideoCropTop", "VideoCropBottom", "VideoCropLeft", "VideoCropRight"});
     }},
    {"ResetPad",
     [](SettingsPanelHost& host) {
       ZeroRows(host, {"VideoPadTop", "VideoPadBottom", "VideoPadLeft", "VideoPadRight"});
     }},
    {"CreateShortcut1", [](SettingsPanelHost& host) { ToggleShortcut(kShortcutRows[0], host); }},
    {"CreateShortcut2", [](SettingsPanelHost& host) { ToggleShortcut(kShortcutRows[1], host); }},
};

bool IsCommandKey(std::string_view key) {
  return std::any_of(std::begin(kCommands), std::end(kCommands), [&](const CommandEntry& c) { return c.key == key; });
}

// ---------------------------------------------------------------- desktop entries

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  return cPath(home != nullptr ? home : "");
}

// The media the open-with entry names; file managers list the program for them.
constexpr std::string_view kMimeTypes =
    "video/mp4;video/x-matroska;video/x-msvideo;video/avi;video/quicktime;video/webm;video/x-flv;video/mpeg;"
    "video/mp2t;video/3gpp;video/3gpp2;video/x-ms-wmv;video/x-ms-asf;video/ogg;video/dv;video/x-m4v;"
    "application/vnd.rn-realmedia;application/vnd.rn-realmedia-vbr;"
    "audio/mpeg;audio/mp4;audio/aac;audio/x-wav;audio/wav;audio/flac;audio/ogg;audio/x-vorbis+ogg;audio/ac3;"
    "audio/amr;audio/x-ms-wma;audio/x-ape;audio/x-musepack;audio/mp2;"
    "image/jpeg;image/png;image/gif;image/bmp;image/tiff;"
    "application/x-subrip;text/x-ssa;text/x-ass;text/x-microdvd;application/x-sami;";

// An argument of an Exec key: quoted, with the characters that quoting
// reserves escaped, then the backslashes of the string type doubled, and a
// percent sign doubled so that it is not read as a field code.
std::string ExecArgument(std::string_view path) {
  std::string quoted = "\"";
  for (char c : path) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
    quoted += c;
  }
  quoted += '"';
  std::string entry;
  for (char c : quoted) {
    if (c == '\\') entry += '\\';
    if (c == '%') entry += '%';
    entry += c;
  }
  return entry;
}

// A value of the string type: backslashes doubled.
std::string EntryString(std::string_view text) { return ReplaceAll(text, "\\", "\\\\"); }

}  // namespace

// ---------------------------------------------------------------- public

SettingKind KindByKeyForm(std::string_view key) {
  struct Form {
    std::string_view mark;
    bool suffix;  // else anywhere in the key
    SettingKind kind;
  };
  static constexpr Form kForms[] = {
      {"Color", true, SettingKind::Colour}, {"FontName", true, SettingKind::FontName},
      {"Font", true, SettingKind::Font},    {"FileName", true, SettingKind::File},
      {"Time", false, SettingKind::Time},
  };
  for (const Form& form : kForms) {
    if (form.suffix ? EndsWith(key, form.mark) : Contains(key, form.mark)) return form.kind;
  }
  return SettingKind::Text;
}

// By kind, in the order of SettingKind.
struct KindEntry {
  int mode;
  std::string_view name;
};
constexpr KindEntry kKinds[] = {
    {-1, "head"},  {-1, "note"}, {0, "text"},     {0, "time"},     {1, "choice"}, {3, "file"},
    {2, "colour"}, {5, "font"},  {8, "fontname"}, {-1, "command"}, {-1, "guide"},
};
static_assert(std::size(kKinds) == static_cast<size_t>(SettingKind::GuideStep) + 1);

int ItemModeOf(SettingKind kind) { return kKinds[static_cast<size_t>(kind)].mode; }

std::string_view KindName(SettingKind kind) { return kKinds[static_cast<size_t>(kind)].name; }

std::vector<SettingRow> BuildSettingsRows(bool full, const SettingRowsContext& context, const SettingReader& read) {
  const Mode mode = ModeOf(context, read);
  const bool directMode = mode == Mode::DirectCut || mode == Mode::DirectJoin;
  std::vector<SettingRow> rows;
  rows.push_back({.kind = SettingKind::Note, .label = std::string(StrRowsClickLabelNote)});
  for (const RowSpec& spec : kRows) {
    if (!full && !spec.shortSet) continue;
    if (!Stands(spec.when, context, read)) continue;
    rows.push_back(RowOf(spec, context, read, directMode));
  }
  if (!full) AddGuide(rows, mode);
  return rows;
}

bool ShortSetOnMainScreen(const SettingReader& read) { return read("ShowSetting") == StrShowSettingMainScreen; }

void FillSettingsList(ListboxModel& list, const std::vector<SettingRow>& rows) {
  list.Clear();
  for (const SettingRow& row : rows) {
    list.AddItem(ListItem{
        .Key = row.key,
        .Text = row.value,
        .Comment = row.note,
        .ShowComment = !row.note.empty(),
        .TitleText = row.label,
        .ComboBoxItems = row.values,
        .ItemEnabled = row.enabled,
        .ItemMode = ItemModeOf(row.kind),
        .FileFilter = row.filter,
        .FileClear = row.kind == SettingKind::File,
        .AddString = std::string(KindName(row.kind)),
        .Tag1Text = row.unit,
    });
  }
}

std::optional<GuideStep> GuideStepOf(std::string_view key) {
  for (const GuideSpec& spec : kGuide) {
    if (spec.key == key) return spec.step;
  }
  return std::nullopt;
}

bool RunSettingCommand(std::string_view key, SettingsPanelHost& host) {
  if (const std::optional<GuideStep> step = GuideStepOf(key)) {
    host.RunGuideStep(*step);
    return true;
  }
  for (const CommandEntry& command : kCommands) {
    if (command.key == key) {
      command.run(host);
      return true;
    }
  }
  return false;
}

void ApplySettingChange(std::string_view key, std::string_view value, SettingsPanelHost& host) {
  // Heads and notes have no key and nothing to store.
  if (key.empty() || RunSettingCommand(key, host)) return;
  const std::string stored = IsColourKey(key) ? StoredColour(value) : std::string(value);
  WriteSetting(key, stored);
  for (const EffectEntry& entry : kEffects) {
    if (entry.key != key) continue;
    if (entry.effect != nullptr) entry.effect(key, stored, host);
    if (entry.rebuild) host.RebuildSettingRows();
  }
}

std::string RestoreDefault(std::string_view key, SettingsPanelHost& host) {
  if (FindSettingKey(key) == nullptr) return {};
  const std::string value = SettingDefault(key);
  ApplySettingChange(key, value, host);
  return ShownValue(key, value);
}

void ApplyStoredSettingEffects(const SettingReader& read, SettingsPanelHost& host) {
  for (const EffectEntry& entry : kEffects) {
    if (entry.effect != nullptr) entry.effect(entry.key, read(entry.key), host);
  }
}

std::string DesktopFolder() {
  const std::string home = HomeFolder();
  const std::string dirs = ReadText(XdgFolder("XDG_CONFIG_HOME", ".config") + "user-dirs.dirs");
  for (std::string_view line : SplitLines(dirs, LastLine::KeepIfNotEmpty)) {
    const std::string trimmed = Trim(line);
    if (!StartsWith(trimmed, "XDG_DESKTOP_DIR=")) continue;
    std::string_view value = std::string_view(trimmed).substr(16);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    // The file holds "$HOME/..." or an absolute path, nothing else.
    if (value == "$HOME" || StartsWith(value, "$HOME/"))
      return cPath(home + std::string(value.substr(std::min<size_t>(6, value.size()))));
    if (StartsWith(value, "/")) return cPath(value);
  }
  return home + "Desktop/";
}

std::string ShortcutPath(ShortcutPlace place) {
  const std::string name = LowerAscii(Shared().ProductId);
  if (place == ShortcutPlace::Desktop) return DesktopFolder() + name + ".desktop";
  return XdgFolder("XDG_DATA_HOME", ".local/share") + "applications/" + name + "-open-with.desktop";
}

bool ShortcutExists(ShortcutPlace place) { return FileExists(ShortcutPath(place)); }

std::string DesktopEntryText(std::string_view programPath, std::string_view name, ShortcutPlace place) {
  if (programPath.empty() || HasLineEnd(programPath) || HasLineEnd(name)) return {};
  std::string text = "[Desktop Entry]\nType=Application\nVersion=1.0\n";
  text += "Name=" + EntryString(name) + "\n";
  text += "Exec=" + ExecArgument(programPath) + " %F\n";
  text += "Icon=video-x-generic\nTerminal=false\nCategories=AudioVideo;Video;AudioVideoEditing;\n";
  if (place == ShortcutPlace::OpenWith) text += "MimeType=" + std::string(kMimeTypes) + "\n";
  return text;
}

bool CreateShortcut(ShortcutPlace place, std::string_view programPath, std::string_view name) {
  const std::string text = DesktopEntryText(programPath, name, place);
  const std::string path = ShortcutPath(place);
  if (text.empty() || !MakedPath(FolderOf(path)) || !WriteFileAtomic(path, text)) return false;
  if (place == ShortcutPlace::Desktop) return ::chmod(path.c_str(), 0755) == 0;
  return true;
}

bool RemoveShortcut(ShortcutPlace place) { return DeleteFile(ShortcutPath(place)); }

}  // namespace zel
