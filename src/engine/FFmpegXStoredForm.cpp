// The settings FFmpegX keeps between sessions, saved and loaded by name.
#include <variant>
#include <vector>

#include "engine/FFmpegX.h"

namespace zel {

namespace {

std::string BoolText(bool value) { return value ? "True" : "False"; }

bool TextBool(std::string_view text) {
  const std::string lower = LowerAscii(Trim(text));
  return lower == "true" || lower == "-1" || lower == "1";
}

}  // namespace

// One saved setting: its name, where it lives, and the value a bag without the
// key gives. Where no separate load value exists it is the new object's value.
struct StoredSetting {
  std::string_view name;
  std::variant<bool FFmpegX::*, int FFmpegX::*, float FFmpegX::*, std::string FFmpegX::*> field;
  std::string_view loadDefault;
};

struct FFmpegXStoredFormAccess {
  static const std::vector<StoredSetting>& Table() {
    static const std::vector<StoredSetting> table{
        {"Enabled", &FFmpegX::Enabled, "False"},
        {"TestMode", &FFmpegX::TestMode, "False"},
        {"Priority", &FFmpegX::priority_, "64"},
        {"Refresh", &FFmpegX::Refresh, "False"},
        {"CustomFileName", &FFmpegX::CustomFileName, ""},
        {"Overwrite", &FFmpegX::Overwrite, "False"},
        {"RemoveFileAfterCanceled", &FFmpegX::RemoveFileAfterCanceled, "True"},
        {"StatusRefreshInterval", &FFmpegX::statusRefreshInterval_, "500"},
        {"OnlyUseExtCommandLine", &FFmpegX::OnlyUseExtCommandLine, "False"},
        {"ImageGrabberForeColor", &FFmpegX::ImageGrabberForeColor, "202020"},
        {"ImageGrabberBackColor", &FFmpegX::ImageGrabberBackColor, "FFFFFF"},
        {"ImageGrabberThumbMatrix", &FFmpegX::ImageGrabberThumbMatrix, "3x5"},
        {"ImageGrabberThumbSpacing", &FFmpegX::ImageGrabberThumbSpacing, "8"},
        {"ImageQuality", &FFmpegX::ImageQuality, "85"},
        {"VideoPadColor", &FFmpegX::VideoPadColor, "FFFFFF"},
        {"PadBorder", &FFmpegX::PadBorder, "0"},
        {"SubtitleEncodeFormat", &FFmpegX::SubtitleEncodeFormat, "-1"},
        {"MencSubtitleFontFileName", &FFmpegX::MencSubtitleFontFileName, "Fonts/SimHei.ttf"},
        {"MencSubtitleFontSize", &FFmpegX::MencSubtitleFontSize, "4"},
        {"MencSubtitleAlign", &FFmpegX::MencSubtitleAlign, "2"},
        {"AVSSubtitleFont", &FFmpegX::AVSSubtitleFont, "Trebuchet MS, 20, False, False, 0, False, False, 400"},
        {"AVSSubtitleColor", &FFmpegX::AVSSubtitleColor, "FFFFFF"},
        {"AVSSubtitleColorBorder", &FFmpegX::AVSSubtitleColorBorder, "000000"},
        {"AVSSubtitleAlign", &FFmpegX::AVSSubtitleAlign, "2"},
        {"AVSSubtitleFontTitle", &FFmpegX::AVSSubtitleFontTitle, "Trebuchet MS, 20, False, False, 0, False, False, 400"},
        {"AVSSubtitleColorTitle", &FFmpegX::AVSSubtitleColorTitle, "FFFFFF"},
        {"AVSSubtitleAlignTitle", &FFmpegX::AVSSubtitleAlignTitle, "5"},
        {"AVSSubtitleFontLogo", &FFmpegX::AVSSubtitleFontLogo, "Trebuchet MS, 18, False, False, 0, False, False, 400"},
        {"AVSSubtitleColorLogo", &FFmpegX::AVSSubtitleColorLogo, "FFFFFF"},
        {"AVSSubtitleAlignLogo", &FFmpegX::AVSSubtitleAlignLogo, "9"},
        {"AVSSubtitleFontBanner", &FFmpegX::AVSSubtitleFontBanner,
         "Trebuchet MS, 20, False, False, 0, False, False, 400"},
        {"AVSSubtitleColorBanner", &FFmpegX::AVSSubtitleColorBanner, "FFFFFF"},
        {"AVSLayOverRect", &FFmpegX::AVSLayOverRect, "0,0,0,0"},
        {"AVSLayOverColor", &FFmpegX::AVSLayOverColor, "0"},
        {"AVSScreenCrop", &FFmpegX::AVSScreenCrop, "0,0,-0,-0"},
        {"AVSLogoImagePosition", &FFmpegX::AVSLogoImagePosition, "0x0"},
        {"UcaseNameSuffix", &FFmpegX::UcaseNameSuffix, "True"},
    };
    return table;
  }
};

void FFmpegX::WriteProperties(PropertyBag& bag) const {
  for (const StoredSetting& s : FFmpegXStoredFormAccess::Table()) {
    std::visit(
        [&](auto member) {
          const auto& value = this->*member;
          using T = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<T, bool>) {
            bag[std::string(s.name)] = BoolText(value);
          } else if constexpr (std::is_same_v<T, std::string>) {
            bag[std::string(s.name)] = value;
          } else if constexpr (std::is_same_v<T, int>) {
            bag[std::string(s.name)] = std::to_string(value);
          } else {
            bag[std::string(s.name)] = FormatNumber(value);
          }
        },
        s.field);
  }
}

void FFmpegX::ReadProperties(const PropertyBag& bag) {
  for (const StoredSetting& s : FFmpegXStoredFormAccess::Table()) {
    const auto found = bag.find(s.name);
    const std::string_view text = found == bag.end() ? s.loadDefault : std::string_view(found->second);
    std::visit(
        [&](auto member) {
          auto& value = this->*member;
          using T = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<T, bool>) {
            value = TextBool(text);
          } else if constexpr (std::is_same_v<T, std::string>) {
            value = std::string(text);
          } else if constexpr (std::is_same_v<T, int>) {
            value = RoundedOrZero(Val(text));
          } else {
            value = static_cast<float>(Val(text));
          }
        },
        s.field);
  }
}

bool FFmpegX::SaveStoredForm(const std::string& path) const {
  PropertyBag bag;
  WriteProperties(bag);
  std::string text;
  for (const auto& [key, value] : bag) text += key + "=" + value + "\n";
  return WriteFileAtomic(path, text);
}

bool FFmpegX::LoadStoredForm(const std::string& path) {
  if (!FileExists(path)) return false;
  PropertyBag bag;
  for (const std::string& line : Split(ReadText(path), "\n")) {
    const size_t equals = line.find('=');
    if (equals == std::string::npos) continue;  // a damaged line is passed over
    bag[line.substr(0, equals)] = line.substr(equals + 1);
  }
  ReadProperties(bag);
  return true;
}

}  // namespace zel
