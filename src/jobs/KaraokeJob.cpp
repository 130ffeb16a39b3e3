#include "jobs/KaraokeJob.h"

#include <cmath>
#include <cstdlib>

#include "engine/FFmpegX.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

constexpr int kTransitionEffects = 310;

std::string Quoted(std::string_view path) { return "\"" + std::string(path) + "\""; }

int HexSetting(const SettingReader& read, std::string_view key) {
  return static_cast<int>(std::strtol(read(key).c_str(), nullptr, 16));
}

bool IsTrue(std::string_view text) { return LowerAscii(Trim(text)) == "true"; }

class ScriptLines {
 public:
  void Add(std::string_view line) {
    text_ += line;
    text_ += "\r\n";
  }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

// The slide show's head: the pictures with their hold and fade times.
std::string PictureSource(const KaraokeInput& in, long long hold, long long fade) {
  return "Video = EffectPicSource(" + Quoted(in.listPath) + ", " + std::to_string(hold) + ", " + std::to_string(fade) +
         ", " + std::to_string(in.width) + ", " + std::to_string(in.height) + ", 33).ConvertToRGB32()";
}

bool CopyBeside(const std::string& path, const std::string& folder) {
  if (!FileExists(path)) return true;
  return WriteFileAtomic(cPath(folder) + FileNameOf(path), ReadText(path));
}

}  // namespace

int KaraokeStyleFor(std::string_view styleText) {
  if (styleText == StrKaraokeFill) return 1;
  if (styleText == StrKaraokeByWord) return 2;
  return 0;
}

std::string KaraokeScript(const KaraokeInput& in, bool withLyrics, bool avsEnabled) {
  ScriptLines script;
  const int pictures = static_cast<int>(in.pictures.size());
  if (!in.videoPath.empty()) {
    script.Add("Audio = DirectShowSource(" + Quoted(in.musicPath) + ")");
    script.Add("Video = DirectShowSource(" + Quoted(in.videoPath) +
               ", fps=29.97, convertfps=true).ConvertToRGB32().Loop().Trim(0," +
               std::to_string(std::llround(in.durationSeconds * 29.97) - 1) + ")" + ".LanczosResize(" +
               std::to_string(in.width) + "," + std::to_string(in.height) + ")");
    script.Add("AudioDub(Video,Audio)");
  } else {
    const std::string music = "Audio = DirectShowSource(" + Quoted(in.musicPath) + ", Audio = True, Video = False)";
    script.Add("LoadPlugin(" + Quoted(in.picturePlugin) + ")");
    if (in.fitPictures) {
      // The pictures share the music: four fifths held, one fifth fading.
      const double hold = in.durationSeconds * 0.8 / std::max(1, pictures) * 1000;
      const double fade = in.durationSeconds * 0.2 / (pictures > 1 ? pictures - 1 : 1) * 1000;
      script.Add(PictureSource(in, std::llround(hold), std::llround(fade)));
      script.Add(music);
    } else {
      const long long hold = in.holdSeconds * 1000LL, fade = in.fadeSeconds * 1000LL;
      const bool musicOutlasts = in.durationSeconds >= (in.holdSeconds + in.fadeSeconds) * pictures - in.fadeSeconds;
      if (musicOutlasts) {
        script.Add(PictureSource(in, hold, fade) + ".Loop().Trim(0, " +
                   std::to_string(static_cast<long long>(in.durationSeconds * 30.3)) + ")");
        script.Add(music);
      } else {
        script.Add(PictureSource(in, hold, fade));
        script.Add(music + ".Loop()");
      }
    }
    script.Add("AudioDub(Video,Audio)");
    script.Add("Trim(0,Framecount(Video))");
  }
  if (withLyrics) {
    script.Add("LoadPlugin(" + Quoted(in.subtitlePlugin) + ")");
    script.Add("TextSub(" + Quoted(in.ssaPath) + ")");
  }
  script.Add("FadeIO(" + FormatNumber(in.holdSeconds / 2.0 * 30) + ")");
  script.Add("Interleave()");
  script.Add("AssumeFrameBased()");
  if (!avsEnabled) script.Add("FlipVertical()");
  script.Add("return last");
  return script.Text();
}

std::vector<int> KaraokeEffects(size_t count, const std::function<unsigned()>& random) {
  std::vector<int> left, drawn;
  for (size_t i = 0; i < count; ++i) {
    if (left.empty()) {
      for (int n = 1; n <= kTransitionEffects; ++n) left.push_back(n);
    }
    const size_t at = random() % left.size();
    drawn.push_back(left[at]);
    left.erase(left.begin() + static_cast<std::ptrdiff_t>(at));
  }
  return drawn;
}

std::string KaraokePictureList(const std::vector<std::string>& pictures, const std::vector<int>& effects) {
  std::string list = std::to_string(pictures.size()) + "\r\n";
  for (size_t i = 0; i < pictures.size(); ++i) {
    list += pictures[i] + "\r\n" + std::to_string(i < effects.size() ? effects[i] : 1) + "\r\n";
  }
  return list;
}

std::string KaraokePictureList(const std::vector<std::string>& pictures, const std::function<unsigned()>& random) {
  return KaraokePictureList(pictures, KaraokeEffects(pictures.size(), random));
}

SubtitleArguments KaraokeLyricArguments(const KaraokeInput& in, const SettingReader& read) {
  SubtitleArguments args;
  const std::vector<std::string> font = Split(read("KTVSubtitleFont"), ", ");
  auto field = [&font](size_t i) { return i < font.size() ? font[i] : std::string(); };
  args.outputPath = in.ssaPath;
  args.playResX = in.width;
  args.playResY = in.height;
  args.fontName = field(0);
  args.fontSize = static_cast<int>(Val(field(1)));
  args.bold = IsTrue(field(2)) ? 1 : 0;
  args.italic = IsTrue(field(3)) ? 1 : 0;
  args.outline = static_cast<int>(Val(read("KTVSubtitleOutline")));
  args.alpha = static_cast<uint8_t>(Val(read("KTVSubtitleAlpha")));
  args.encoding = static_cast<int>(Val(field(4)));
  args.karaokeStyle = KaraokeStyleFor(read("KTVSubtitleStyle"));
  args.speed = Val(read("KTVSubtitleSpeed"));
  args.foreColor = HexSetting(read, "KTVSubtitleForeColor");
  args.effectColor = HexSetting(read, "KTVSubtitleEffectColor");
  args.shadowColor = HexSetting(read, "KTVSubtitleShadowColor");
  args.timeOffset = 0;
  args.sortEntries = true;
  args.alignment = 2;
  args.notifyDone = false;
  args.overwrite = true;
  args.big5Mode = Big5ModeSetting(read("SubtitleBIG5ToGB"));
  return args;
}

bool WriteKaraokeJob(FFmpegX& engine, const KaraokeInput& in, const SettingReader& read,
                     const std::function<unsigned()>& random, const std::string& keepFolder,
                     std::vector<int>* effects) {
  const bool lyrics = !in.lyricPath.empty();
  if (lyrics) {
    engine.SubtitleEncodeFormat = SubtitleEncodingNumber(read("SubtitleEncodeFormat"));
    engine.ConvertSubtitle({in.lyricPath}, KaraokeLyricArguments(in, read));
  }
  const std::vector<int> drawn = KaraokeEffects(in.pictures.size(), random);
  if (effects != nullptr) *effects = drawn;
  // Both scratch files are written in the ANSI page, as the plug-ins read them.
  const bool written =
      WriteFileAtomic(in.scriptPath, EncodeAnsi(KaraokeScript(in, lyrics, engine.AVSEnabled))) &&
      WriteFileAtomic(in.listPath, EncodeAnsi(KaraokePictureList(in.pictures, drawn)));
  if (written && !keepFolder.empty()) {
    for (const std::string* path : {&in.scriptPath, &in.listPath, &in.ssaPath}) CopyBeside(*path, keepFolder);
  }
  return written;
}

}  // namespace zel
