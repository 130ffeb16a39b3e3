// Every ready-made profile must really convert with the FFmpeg on this machine:
// a short generated clip goes through a command made from the profile's values
// the way a conversion uses them, and ffprobe judges the result.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "engine/CommandLine.h"
#include "jobs/Profiles.h"
#include "jobs/Strings.h"
#include "subtitles/FileHelpers.h"
#include "subtitles/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel {
// The title names a failing case better than its bytes.
void PrintTo(const Profile& profile, std::ostream* out) { *out << profile.title; }
}  // namespace zel

namespace zel::test {
namespace {

struct Container {
  std::vector<std::string> options;
  std::string extension;
};

const std::map<std::string, Container>& Containers() {
  static const std::map<std::string, Container> map{
      {"MP4", {{"-f", "mp4"}, "mp4"}},          {"3GP", {{"-f", "3gp"}, "3gp"}},
      {"H264", {{}, "mp4"}},                    {"MKV", {{"-f", "matroska"}, "mkv"}},
      {"DIVX", {{"-vtag", "DIVX", "-f", "avi"}, "avi"}}, {"XVID", {{"-vtag", "XVID", "-f", "avi"}, "avi"}},
      {"WMV", {{"-f", "asf"}, "wmv"}},          {"ASF", {{"-f", "asf"}, "asf"}},
      {"WEBM", {{"-f", "webm"}, "webm"}},       {"AVI", {{"-f", "avi"}, "avi"}},
      {"FLV", {{"-f", "flv"}, "flv"}},          {"MOV", {{"-f", "mov"}, "mov"}},
      {"MPEG", {{"-f", "mpeg"}, "mpeg"}},       {"MJPEG", {{"-strict", "-1", "-f", "avi"}, "avi"}},
      {"PSP", {{"-f", "psp"}, "mp4"}},          {"IPOD", {{"-f", "ipod"}, "m4v"}},
      {"IPHONE", {{"-f", "ipod"}, "m4v"}},      {"SVI", {{"-f", "avi"}, "svi"}},
      {"MP3", {{"-vn", "-f", "mp3"}, "mp3"}},   {"MP2", {{"-vn", "-f", "mp2"}, "mp2"}},
      {"FLAC", {{"-vn", "-f", "flac"}, "flac"}}, {"AC3", {{"-vn", "-ar", "48000", "-f", "ac3"}, "ac3"}},
      {"AAC", {{"-vn", "-f", "mp4"}, "aac"}},   {"M4A", {{"-vn", "-f", "mp4"}, "m4a"}},
      {"WMA", {{"-vn"}, "wma"}},                {"OGG", {{"-vn", "-ac", "2", "-f", "ogg"}, "ogg"}},
      {"WAV", {{"-vn", "-f", "wav"}, "wav"}},   {"MPEG-TS", {{"-f", "mpegts"}, "ts"}},
  };
  return map;
}

bool IsDiscTarget(const std::string& mode) {
  return EndsWith(mode, "-VCD") || EndsWith(mode, "-SVCD") || EndsWith(mode, "-DVD");
}

class ShippedProfile : public ::testing::TestWithParam<Profile> {};

TEST_P(ShippedProfile, ConvertsWithTodaysFFmpeg) {
  const Profile& p = GetParam();
  const std::string mode = p.Value("OutputMode");
  const std::string video = LowerAscii(p.Value("VideoCodec"));
  const std::string audio = LowerAscii(p.Value("AudioCodec"));
  const std::string size = p.Value("VideoSize");
  const bool noVideo = p.Value("VideoCodec") == StrDisableVideo;

  TempDir dir;
  std::vector<std::string> argv{ToolPath("ffmpeg"), "-nostdin", "-hide_banner", "-loglevel", "error", "-y",
                                "-f", "lavfi", "-i", "testsrc=size=640x360:rate=25:duration=0.2",
                                "-f", "lavfi", "-i", "sine=frequency=440:duration=0.2"};
  int width = 0, height = 0;
  if (!size.empty()) {
    const std::vector<std::string> sides = Split(size, "x");
    ASSERT_EQ(sides.size(), 2u) << size;
    width = static_cast<int>(Val(sides[0]));
    height = static_cast<int>(Val(sides[1]));
    if (height == 0) height = (width * 360 / 640 + 1) / 2 * 2;  // the source's shape, even
  }
  auto add = [&argv](std::initializer_list<std::string> more) { argv.insert(argv.end(), more); };
  std::string extension;
  if (IsDiscTarget(mode)) {
    add({"-target", LowerAscii(mode)});
    extension = "mpg";
  } else {
    const auto container = Containers().find(mode);
    ASSERT_NE(container, Containers().end()) << mode;
    extension = container->second.extension;
    if (noVideo) add({"-vn"});
    if (!noVideo && !video.empty()) add({"-c:v", video});
    const std::string rate = p.Value("VideoBitrate");
    if (!noVideo && EndsWith(rate, "vbr")) {
      const std::string n = rate.substr(0, rate.size() - 3);
      if (video == "libx264" || video == "libx265") add({"-crf", n});
      else if (video == "libvpx-vp9") add({"-crf", n, "-b:v", "0"});
      else add({"-q:v", n});
    } else if (!noVideo && !rate.empty()) {
      add({"-b:v", rate + "k"});
    }
    if (!noVideo && !p.Value("VideoFrame").empty()) add({"-r", p.Value("VideoFrame")});
    if (!noVideo && !p.Value("VideoAspect").empty()) add({"-aspect", p.Value("VideoAspect")});
    if (p.Value("AudioCodec") == StrDisableAudio) add({"-an"});
    else if (!audio.empty()) add({"-c:a", audio});
    const std::string audioRate = p.Value("AudioBitrate");
    if (EndsWith(audioRate, "aq")) add({"-q:a", audioRate.substr(0, audioRate.size() - 2)});
    else if (!audioRate.empty()) add({"-b:a", audioRate + "k"});
    if (!p.Value("AudioSample").empty()) add({"-ar", p.Value("AudioSample")});
    if (!p.Value("AudioChannels").empty()) add({"-ac", p.Value("AudioChannels")});
    argv.insert(argv.end(), container->second.options.begin(), container->second.options.end());
    for (const std::string& option : SplitCommandLine(p.Value("AdditionalScripts"))) argv.push_back(option);
  }
  if (width > 0 && !noVideo) add({"-s", std::to_string(width) + "x" + std::to_string(height)});
  if (!p.Value("FileSuffix").empty()) extension = p.Value("FileSuffix");
  const std::string output = dir / ("out." + extension);
  argv.push_back(output);

  const RunResult run = test::Run(argv);
  ASSERT_EQ(run.exitCode, 0) << p.title << "\n" << run.output;
  ASSERT_GT(FileSize(output), 0) << p.title;
  if (noVideo) {
    EXPECT_EQ(ProbeCodec(output, "v"), "") << p.title;
  } else if (width > 0) {
    const RunResult probe = test::Run({ToolPath("ffprobe"), "-v", "error", "-select_streams", "v:0", "-show_entries",
                                 "stream=width,height", "-of", "csv=p=0", output});
    // MPEG program streams add an empty field.
    const std::vector<std::string> fields = Split(probe.output.substr(0, probe.output.find('\n')), ",");
    ASSERT_GE(fields.size(), 2u) << probe.output;
    EXPECT_EQ(fields[0] + "," + fields[1], std::to_string(width) + "," + std::to_string(height)) << p.title;
  }
}

std::string NameOf(const ::testing::TestParamInfo<Profile>& info) { return "p" + std::to_string(info.index); }

INSTANTIATE_TEST_SUITE_P(Pack, ShippedProfile, ::testing::ValuesIn(LoadProfilePack(ZEL_PROFILE_PACK)), NameOf);

}  // namespace
}  // namespace zel::test
