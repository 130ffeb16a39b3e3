// The karaoke video job: an AviSynth script that shows pictures (or a video) to a
// piece of music, the picture list of the slide-show plug-in, and the lyrics as
// SubStation with the karaoke effect. With AviSynth the engine converts the
// script; without it the same video is composed by FFmpeg (KaraokeGraph.h).
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "jobs/EngineSetup.h"

namespace zel {

class FFmpegX;

struct KaraokeInput {
  std::string videoPath;  // a background video instead of the pictures
  std::string musicPath;
  std::string lyricPath;  // may be empty
  std::string scriptPath, listPath, ssaPath;
  int width = 320, height = 240;
  int holdSeconds = 4, fadeSeconds = 3;
  bool fitPictures = false;
  int durationSeconds = 0;  // of the music
  std::string subtitlePlugin, picturePlugin;
  std::vector<std::string> pictures;
};

// "没有效果" 0, "渐变显示" 1 (fill), "逐字显示" 2 (outline); anything else 0.
int KaraokeStyleFor(std::string_view styleText);

// The script's text, every line ended by CRLF. `withLyrics` adds the subtitle
// plug-in and its TextSub line; `avsEnabled` leaves out the final flip.
std::string KaraokeScript(const KaraokeInput& input, bool withLyrics, bool avsEnabled);

// The plug-in's picture list: the count, then each path and a transition effect
// drawn from 1 to 310 without repeats (`random` gives numbers for the draw).
std::string KaraokePictureList(const std::vector<std::string>& pictures, const std::function<unsigned()>& random);
// The draw alone, one number per picture; and the list of drawn numbers.
std::vector<int> KaraokeEffects(size_t count, const std::function<unsigned()>& random);
std::string KaraokePictureList(const std::vector<std::string>& pictures, const std::vector<int>& effects);

// The lyrics' conversion as the job runs it, from the KTV settings.
SubtitleArguments KaraokeLyricArguments(const KaraokeInput& input, const SettingReader& read);

// Writes the three scratch files (the lyrics through the engine's converter) and,
// with `keepFolder` set, copies them there. False when the script or the list
// could not be written. `effects`, when given, receives the list's numbers.
bool WriteKaraokeJob(FFmpegX& engine, const KaraokeInput& input, const SettingReader& read,
                     const std::function<unsigned()>& random, const std::string& keepFolder = {},
                     std::vector<int>* effects = nullptr);

}  // namespace zel
