// Every ready-made profile must really convert with the FFmpeg on this machine:
// a short generated clip goes through zel-cli convert with the profile's values,
// and ffprobe judges the result.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jobs/Profiles.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel {
// The title names a failing case better than its bytes.
void PrintTo(const Profile& profile, std::ostream* out) { *out << profile.title; }
}  // namespace zel

namespace zel::test {
namespace {

// A clip of this test process, made once.
const std::string& Clip() {
  static TempDir folder;
  static const std::string clip = [] {
    MakeClip(folder / "clip.mp4", 1, "640x360");
    return folder / "clip.mp4";
  }();
  return clip;
}

// A disc target sets its own picture size.
bool IsDiscTarget(const std::string& mode) {
  return EndsWith(mode, "-VCD") || EndsWith(mode, "-SVCD") || EndsWith(mode, "-DVD");
}

class ShippedProfile : public CliTest, public ::testing::WithParamInterface<Profile> {};

// The profile's values laid over the store for one run, as applying it would.
TEST_P(ShippedProfile, ConvertsWithTodaysFFmpeg) {
  const Profile& p = GetParam();
  // The check's 3GP rules are those of AMR sound; the phone profiles use AAC,
  // so their problems are logged and the run goes on.
  std::vector<std::string> args{"convert", "--output", dir.path(), "--set", "DoNotIgnoreError=否"};
  for (const auto& [key, value] : p.values) args.insert(args.end(), {"--set", key + "=" + value});
  args.push_back(Clip());
  const RunResult run = RunCli(args);
  ASSERT_EQ(run.exitCode, 0) << p.title << "\n" << run.output;
  const std::string output = ReadLines(run.output).back().substr(8);  // "output: PATH"

  const std::string size = p.Value("VideoSize");
  if (p.Value("VideoCodec") == StrDisableVideo) {
    EXPECT_EQ(ProbeCodec(output, "v"), "") << p.title;
  } else if (!size.empty() && !IsDiscTarget(p.Value("OutputMode"))) {
    const int width = static_cast<int>(Val(size));
    int height = static_cast<int>(Val(size.substr(size.find('x') + 1)));
    if (height == 0) height = (width * 360 / 640 + 1) / 2 * 2;  // the source's shape, even
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
