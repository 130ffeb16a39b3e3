#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/FFmpegX.h"
#include "jobs/DiagnosticsLog.h"
#include "jobs/JobsTestSupport.h"
#include "jobs/Profiles.h"
#include "jobs/Settings.h"
#include "jobs/StartUp.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "subtitles/clsFilePKZ.h"

namespace zel::test {
namespace {

// PATH narrowed to one folder for the test's life, so that tools missing from
// ToolsPath are not found on the machine.
class ScopedPath {
 public:
  explicit ScopedPath(const std::string& path) : saved_(std::getenv("PATH") ? std::getenv("PATH") : "") {
    ::setenv("PATH", path.c_str(), 1);
  }
  ~ScopedPath() { ::setenv("PATH", saved_.c_str(), 1); }

 private:
  std::string saved_;
};

using StartUp = StoreTest;

TEST_F(StartUp, ANewBuildWipesTheStoreOnlyWhenNewerAndAllowed) {
  struct Case {
    const char* storedBuild;  // nullptr: first start
    const char* initialNewSetting;
    int running;
    bool pending;
  };
  const Case cases[] = {
      {nullptr, nullptr, 26001, true},  {"26001", nullptr, 26002, true}, {"26002", nullptr, 26002, false},
      {"26003", nullptr, 26002, false}, {"26001", "否", 26002, false},   {"26001", "no", 26002, false},
  };
  for (const Case& c : cases) {
    DeleteAllSettings();
    if (c.storedBuild != nullptr) WriteSetting("Build", c.storedBuild);
    if (c.initialNewSetting != nullptr) WriteSetting("InitialNewSetting", c.initialNewSetting);
    WriteSetting("OutputMode", "FLV");
    host.splash.clear();

    const bool pending = NewBuildPending(c.running);
    EXPECT_EQ(pending, c.pending) << c.storedBuild << " -> " << c.running;
    ApplyNewBuild(host, c.running, pending);
    EXPECT_EQ(ReadSetting("OutputMode"), pending ? "MP4" : "FLV");
    EXPECT_EQ(ReadSetting("Build"), std::to_string(c.running));
    EXPECT_EQ(host.splash.size(), pending ? 1u : 0u);
  }
}

TEST_F(StartUp, TheDiagnosticsLogIsWrittenOnlyWhenTheUserMadeIt) {
  const std::string program = dir / "zel";
  ScopedPath path(FolderOf(ToolPath("ffmpeg")));
  StartOptions options;
  options.programPath = program;
  options.findTools = false;

  ASSERT_EQ(Main(host, options), StartResult::Ready);
  EXPECT_FALSE(FileExists(program + ".Diagnostics.log"));

  WriteFileAtomic(program + ".Diagnostics.log", "");
  options.findTools = true;
  ASSERT_EQ(Main(host, options), StartResult::Ready);
  const std::vector<std::string> lines = ReadLines(ReadText(program + ".Diagnostics.log"));
  ASSERT_GE(lines.size(), 15u);
  EXPECT_EQ(lines.front().substr(5), " ----- Main Load -----");
  EXPECT_EQ(lines.back().substr(5), " 开始加载界面");
  for (const std::string& line : lines) EXPECT_TRUE(IsNumeric(line.substr(0, 5))) << line;
  size_t order = 0;
  for (const char* step : {"载入语言", "指定设置源", "载入工具路径", "初次核实基础核心工具是否存在", "加载方案"}) {
    size_t at = order;
    while (at < lines.size() && lines[at].substr(6) != step) ++at;
    EXPECT_LT(at, lines.size()) << step;
    order = at;
  }
  EXPECT_EQ(Shared().ProductId, "ZEL");
  EXPECT_EQ(Shared().SettingsPath, "Software\\Calder\\ZEL\\Settings");
  EXPECT_EQ(Shared().ToolsPath, dir / "Tools/");
  EXPECT_EQ(Shared().ToolFfmpeg, ToolPath("ffmpeg"));
  EXPECT_GE(Shared().ProcessorCount, 1);
}

TEST_F(StartUp, MissingToolsAreUnpackedFromThePackageOrEndTheProgram) {
  const std::string program = dir / "zel";
  ScopedPath path(dir / "empty-path");
  StartOptions options;
  options.programPath = program;
  options.files = {"clip.avi"};

  EXPECT_EQ(Main(host, options), StartResult::ToolsMissing);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_TRUE(StartsWith(host.messages[0], std::string(StrToolsMissing) + "\n"));

  // The package holds a fake FFmpeg; ToolsFolder names where it must go.
  const std::string fake = WriteScript(dir / "ffmpeg", "echo 'ffmpeg version 5.1 Copyright (c) 2000-2022'");
  clsFilePKZ package;
  package.SetFilename(dir / "ZEL.Tools.pkz");
  ASSERT_TRUE(package.CreateAchive());
  ASSERT_TRUE(package.AddFile(fake));
  ASSERT_TRUE(package.UpDateHeader());
  package.CloseAchive();
  WriteSetting("ToolsFolder", dir / "mine/tools");
  WriteSetting("InitialNewSetting", "否");

  host.messages.clear();
  EXPECT_EQ(Main(host, options), StartResult::Ready);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(Shared().ToolFfmpeg, dir / "mine/tools/ffmpeg");
  EXPECT_EQ(ReadText(Shared().ToolFfmpeg), ReadText(fake));
  EXPECT_EQ(::access(Shared().ToolFfmpeg.c_str(), X_OK), 0);
  EXPECT_EQ(host.splash.back(), std::string(StrUnpackingTools) + "100%");
  EXPECT_EQ(Shared().ProductKind, kProductGeneral);
}

// Beside the program in a build tree, in share/zel once installed under a
// prefix; the one beside wins.
TEST_F(StartUp, TheProfilePackIsFoundBesideTheProgramOrInItsSharedFolder) {
  struct Case {
    bool beside, installed;
    const char* expected;  // under dir; nullptr: no profiles
  };
  const Case cases[] = {
      {true, false, "bin/ZEL.pfs"},
      {false, true, "share/zel/ZEL.pfs"},
      {true, true, "bin/ZEL.pfs"},
      {false, false, nullptr},
  };
  const size_t shipped = LoadProfilePack(ZEL_PROFILE_PACK).size();
  ASSERT_GT(shipped, 0u);
  ScopedPath path(FolderOf(ToolPath("ffmpeg")));
  StartOptions options;
  options.programPath = dir / "bin/zel";
  for (const Case& c : cases) {
    std::filesystem::remove_all(dir / "bin");
    std::filesystem::remove_all(dir / "share");
    ASSERT_TRUE(MakedPath(dir / "bin") && MakedPath(dir / "share/zel"));
    if (c.beside) std::filesystem::copy_file(ZEL_PROFILE_PACK, dir / "bin/ZEL.pfs");
    // A broken pack where it must not be read.
    if (c.installed) WriteFileAtomic(dir / "share/zel/ZEL.pfs", c.beside ? "not a pack" : ReadText(ZEL_PROFILE_PACK));
    BuiltInProfiles().clear();

    ASSERT_EQ(Main(host, options), StartResult::Ready);
    const std::string expected = c.expected ? dir / c.expected : dir / "bin/ZEL.pfs";
    EXPECT_EQ(ProfilePackPath(), expected) << c.beside << c.installed;
    EXPECT_EQ(BuiltInProfiles().size(), c.expected ? shipped : 0u) << c.beside << c.installed;
  }
}

TEST_F(StartUp, TheEngineIsTestedAndAviSynthReportedOptional) {
  Shared().ToolFfmpeg = ToolPath("ffmpeg");
  FFmpegX engine;
  ASSERT_TRUE(InitialiseEngine(engine, host));
  EXPECT_EQ(host.infos.at(0), "完成 | FFmpeg Initialized");
  EXPECT_TRUE(Contains(engine.CoreInputFormats(), "MATROSKA"));
  EXPECT_EQ(ToolCredits(engine).at(0), "FFmpeg " + engine.CoreVersion());

  // Debian packages no AviSynth+, so this machine must say it is optional.
  if (!FFmpegX::AviSynthInstalled()) {
    EXPECT_FALSE(DetectAviSynth(engine, host));
    EXPECT_EQ(host.infos.back(), "AviSynth | 可选，如启用 AVS 支持请安装 AviSynth。 #AVSNotInstalled");
  }

  const std::string broken = WriteScript(dir / "ffmpeg", "echo 'not a tool at all'");
  Shared().ToolFfmpeg = broken;
  FFmpegX other;
  EXPECT_FALSE(InitialiseEngine(other, host));
  EXPECT_TRUE(EndsWith(host.infos.back(), "#FFmpegFailed"));
}

TEST_F(StartUp, ResettingByHandRewritesTheFormatsBaseSettings) {
  WriteSetting("OutputMode", "PSP");
  WriteSetting("VideoAspect", "4:3");
  WriteSetting("FileSuffix", "m4v");
  EXPECT_FALSE(ResetSetting(false, "", "", host));  // not editable yet
  EXPECT_EQ(ReadSetting("VideoAspect"), "4:3");

  Shared().FormatEditable = true;
  host.answer = false;
  EXPECT_FALSE(ResetSetting(true, "", "", host));
  EXPECT_EQ(host.questions.back(), StrResetFormatQuestion);

  host.answer = true;
  EXPECT_TRUE(ResetSetting(true, "|COPY|LIBX264|", "|COPY|LIBFAAC|", host));
  EXPECT_EQ(ReadSetting("VideoSize"), "480x272");
  EXPECT_EQ(ReadSetting("AudioCodec"), "LIBFAAC");
  EXPECT_EQ(ReadSetting("VideoAspect"), "");
  EXPECT_EQ(ReadSetting("FileSuffix"), "");
  EXPECT_EQ(ReadSetting("AdditionalScripts"), ReadSetting("AdditionalPass1Scripts"));
  EXPECT_EQ(host.infos.back(), "注意 | 基本设置被重设");
  EXPECT_EQ(host.rebuilds, 1);

  WriteSetting("OutputMode", "MKV/ME");
  EXPECT_TRUE(ResetSetting(false, "", "", host));
  EXPECT_EQ(ReadSetting("AdditionalScripts"), "");
  EXPECT_EQ(ReadSetting("VideoCodec"), "");

  WriteSetting("OutputMode", "JPG");
  WriteSetting("VideoCodec", "MJPEG");
  EXPECT_FALSE(ResetSetting(false, "", "", host));
  EXPECT_EQ(ReadSetting("VideoCodec"), "MJPEG");
}

TEST_F(StartUp, ResettingAllSettingsAsksFirstAndThenClosesTheWindow) {
  WriteSetting("OutputMode", "FLV");
  host.answer = false;
  EXPECT_FALSE(ResetAllSettings(host));
  EXPECT_EQ(ReadSetting("OutputMode"), "FLV");
  EXPECT_EQ(host.unloads, 0);

  host.answer = true;
  EXPECT_TRUE(ResetAllSettings(host));
  EXPECT_EQ(ReadSetting("OutputMode"), "MP4");
  EXPECT_EQ(host.messages.back(), StrRestartToApply);
  EXPECT_TRUE(Shared().ExitNow);
  EXPECT_EQ(host.unloads, 1);
  EXPECT_EQ(ProductKindFor("/usr/bin/zel-karaoke", {}), kProductKaraoke);
  EXPECT_EQ(ProductKindFor("/usr/bin/zel", {"--karaoke"}), kProductKaraoke);
}

}  // namespace
}  // namespace zel::test
