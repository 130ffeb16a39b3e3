#include "jobs/StartUp.h"

#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "engine/FFmpegX.h"
#include "engine/ProgressText.h"
#include "jobs/DiagnosticsLog.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/JobHost.h"
#include "jobs/MainState.h"
#include "jobs/Profiles.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "subtitles/TextEncoding.h"
#include "base/TextHelpers.h"
#include "subtitles/clsFilePKZ.h"

#ifndef ZEL_BUILD_NUMBER
#define ZEL_BUILD_NUMBER 0
#endif

namespace zel {

MainState& Shared() {
  static MainState state;
  return state;
}

namespace {

std::string Yes(bool value) { return value ? "True" : "False"; }

std::string RunningProgram() {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : path.string();
}

// "+8" from "+0800".
std::string TimeZoneText() {
  const std::string zone = FormatLocalNow("%z");
  if (zone.size() < 3) return zone;
  return zone.substr(0, 1) + std::to_string(static_cast<int>(Val(zone.substr(1, 2))));
}

// The tool in ToolsPath, else the first of its names on PATH, else the path
// where it would lie, so that a later existence test fails plainly.
std::string LocateTool(std::initializer_list<std::string_view> names) {
  const std::string inFolder = Shared().ToolsPath + std::string(*names.begin());
  if (FileExists(inFolder)) return inFolder;
  for (std::string_view name : names) {
    std::string found = FindOnPath(name);
    if (!found.empty()) return found;
  }
  return inFolder;
}

bool Executable(const std::string& path) { return FileExists(path) && ::access(path.c_str(), X_OK) == 0; }

// A file of the program's own: beside the program in a build tree or a folder
// of its own, in share/zel once installed (bin/zel, share/zel/ZEL.pfs). When
// neither exists, the place beside the program, so that a message names it.
std::string ProgramDataFile(const std::string& name) {
  const std::string beside = Shared().ProgramFolder + name;
  if (FileExists(beside)) return beside;
  const std::string installed =
      std::filesystem::path(Shared().ProgramFolder + "../share/zel/" + name).lexically_normal().string();
  return FileExists(installed) ? installed : beside;
}

}  // namespace

int ProgramBuildNumber() { return ZEL_BUILD_NUMBER; }

int ProductKindFor(std::string_view programPath, const std::vector<std::string>& args) {
  if (Contains(LowerAscii(FileNameOf(programPath)), "karaoke")) return kProductKaraoke;
  for (const std::string& arg : args) {
    if (arg == "--karaoke") return kProductKaraoke;
  }
  return kProductGeneral;
}

bool NewBuildPending(int runningBuild) {
  const bool wipe = ReadSetting("InitialNewSetting", StrYes) == StrYes;
  const double stored = Val(ReadSetting("Build", "0"));
  return wipe && runningBuild > stored;
}

void ApplyNewBuild(JobHost& host, int runningBuild, bool pending) {
  if (pending) {
    host.SplashText(StrNewBuildReset);
    DeleteAllSettings();
  }
  WriteSetting("Build", std::to_string(runningBuild));
}

void LoadToolPaths() {
  MainState& state = Shared();
  state.ToolFfmpeg = LocateTool({"ffmpeg"});
  state.ToolMencoder = LocateTool({"mencoder"});
  state.ToolMp4box = LocateTool({"mp4box", "MP4Box"});
  state.ToolMkvmerge = LocateTool({"mkvmerge"});
  state.ToolRmeditor = LocateTool({"rmeditor"});
  state.ToolProducer = LocateTool({"producer"});
  state.ToolAsfbin = LocateTool({"asfbin"});
  // A filter that AviSynth loads, never a program: it is only looked for
  // beside the tools.
  state.ToolVsfilter = state.ToolsPath + "VSFilter.dll";
  state.ToolPictureShow = state.ToolsPath + "PictureShow.dll";
}

bool TestTools() { return Executable(Shared().ToolFfmpeg); }

std::string ToolsPackagePath() { return ProgramDataFile(Shared().ProductId + ".Tools.pkz"); }

std::string ProfilePackPath() { return ProgramDataFile(Shared().ProductId + ".pfs"); }

bool UnpackToolsPackage(const std::string& packagePath, JobHost& host) {
  clsFilePKZ package;
  package.SetFilename(packagePath);
  if (!package.OpenAchive() || package.Signature() != "PKZ") return false;
  const std::string folder = Shared().ToolsPath;
  if (!DirectoryExists(folder) && !MakedPath(folder)) return false;
  package.ExtractProgress = [&host](int position, int count) {
    const int percent = count > 0 ? position * 100 / count : 100;
    host.SplashText(std::string(StrUnpackingTools) + std::to_string(percent) + "%");
    host.PumpEvents();
  };
  package.ExtractAll(folder);
  // The package carries programs: what it unpacked must be runnable.
  for (const clsFilePKZ::Entry& entry : package.Entries()) {
    const std::string path = folder + ReplaceAll(entry.name, "\\", "/");
    if (FileExists(path)) ::chmod(path.c_str(), 0755);
  }
  package.CloseAchive();
  return true;
}

StartResult Main(JobHost& host, const StartOptions& options) {
  MainState& state = Shared();
  state.ProgramPath = options.programPath.empty() ? RunningProgram() : options.programPath;
  state.ProgramFolder = FolderOf(state.ProgramPath);
  state.ProgramName = FileNameOf(state.ProgramPath);
  DiagnosticsLog log(state.ProgramPath);

  log.Restart();
  log.Write("----- Main Load -----");
  log.Write("当前时区：" + TimeZoneText());

  log.Write("初始化通用控件");
  utsname system{};
  ::uname(&system);
  // The desktop composes windows itself under Wayland; under X it may not.
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  const bool composition = wayland != nullptr && *wayland != '\0';
  log.Write(std::string("系统环境版本: ") + system.sysname + " " + system.release +
            "，MicroSoft 桌面窗体管理器（dwmapi.dll）: " + Yes(composition));

  log.Write("载入语言");

  log.Write("全局变量 初始化");
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  state.SettingsIniFile.clear();
  state.DefaultFontName = "Trebuchet MS";
  state.DefaultFontSize = 9;
  const long processors = ::sysconf(_SC_NPROCESSORS_ONLN);
  state.ProcessorCount = processors > 0 ? static_cast<int>(processors) : 1;

  log.Write("初始化版本信息");
  state.ProductId = "ZEL";

  log.Write("指定设置源");
  state.SettingsPath = BuildSettingsPath(state.ProductId);

  state.ShowSystemEffect = SettingIsYes("ShowSystemEffect");
  log.Write("载入版本信息");
  state.ProductName = "影音工坊";
  state.ProductKind = options.karaoke ? kProductKaraoke : ProductKindFor(state.ProgramPath, options.files);

  const int build = ProgramBuildNumber();
  state.NewBuildPending = NewBuildPending(build);
  log.Write("指定特殊界面绘制");
  // Values about to be wiped by a new build must not shape this start.
  auto early = [&](std::string_view key) {
    return state.NewBuildPending ? SettingDefault(key) : ReadSetting(key);
  };
  state.PlayerStyle = early("PlayerStyle");
  state.ThemeStyle = early("ThemeStyle");
  state.ThemeTransparent = early("ThemeTransparent");
  state.ThemeColor = early("ThemeColor");
  // What "ANSI" means for subtitle and lyric files without a byte order mark.
  SetAnsiCodePage(early("AnsiCodePage"));

  log.Write("启动基本时间: " + std::to_string(log.Elapsed()));
  log.Write("加载启动界面");
  if (options.files.empty()) host.SplashText(state.ProductName);

  if (options.findTools) {
    log.Write("设置默认工具目录");
    state.ToolsPath = cPath(state.NewBuildPending ? SettingDefault("ToolsFolder") : ReadSetting("ToolsFolder"));
    log.Write("载入工具路径");
    LoadToolPaths();
    log.Write("初次核实基础核心工具是否存在");
    state.ToolsReady = TestTools();
    if (!state.ToolsReady) {
      log.Write("获得工具安装包");
      if (UnpackToolsPackage(ToolsPackagePath(), host)) {
        LoadToolPaths();
        state.ToolsReady = TestTools();
      }
      if (!state.ToolsReady) {
        host.ShowMessage(std::string(StrToolsMissing) + "\n" + std::string(StrToolsMissingCode) + "ffmpeg @ " +
                         state.ToolsPath);
        return StartResult::ToolsMissing;
      }
    }
  }

  log.Write("甄别版本更新: " + std::string(state.NewBuildPending ? StrYes : StrNo) + " " + std::to_string(build));
  ApplyNewBuild(host, build, state.NewBuildPending);
  log.Write("加载版本");

  log.Write("加载方案");
  BuiltInProfiles() = LoadProfilePack(ProfilePackPath());
  log.Write("载入方案配置");
  if (!BuiltInProfiles().empty()) {
    host.AddInfo(StrInfoDone, std::to_string(BuiltInProfiles().size()) + std::string(StrProfilesLoaded));
  }

  log.Write("开始加载界面");
  return StartResult::Ready;
}

bool InitialiseEngine(FFmpegX& engine, JobHost& host) {
  const MainState& state = Shared();
  if (!FileExists(state.ToolFfmpeg)) return false;
  engine.SetCore(state.ToolFfmpeg);
  const bool usable = !engine.CoreName().empty() && !engine.CoreVersion().empty() && !engine.CoreFormats().empty() &&
                      !engine.CoreVideoCodec().empty() && !engine.CoreAudioCodec().empty();
  if (usable) {
    host.AddInfo(StrInfoDone, "FFmpeg" + std::string(StrCoreInitialized));
  } else {
    host.AddInfo(StrInfoProblem, StrCoreFailed, "FFmpegFailed");
  }
  return usable;
}

bool DetectAviSynth(const FFmpegX& engine, JobHost& host) {
  const bool usable = FFmpegX::AviSynthInstalled() && Contains("|" + engine.CoreInputFormats() + "|", "|AVISYNTH|");
  if (!usable) host.AddInfo(StrAviSynth, StrAviSynthOptional, "AVSNotInstalled");
  return usable;
}

std::vector<std::string> ToolCredits(const FFmpegX& engine) {
  const MainState& state = Shared();
  std::vector<std::string> lines;
  auto credit = [&lines](std::string_view label, const std::string& path, std::string_view detail) {
    if (FileExists(path)) lines.push_back(std::string(label) + std::string(detail.empty() ? path : detail));
  };
  credit("FFmpeg ", state.ToolFfmpeg, engine.CoreVersion());
  credit("MEncoder ", state.ToolMencoder, {});
  credit("MP4Box ", state.ToolMp4box, {});
  credit("Mkvmerge ", state.ToolMkvmerge, {});
  credit("RealProducer ", state.ToolProducer, {});
  credit("RealMedia Editor ", state.ToolRmeditor, {});
  credit("AsfBin ", state.ToolAsfbin, {});
  credit("FAAC ", state.ToolsPath + "libfaac.so", {});
  return lines;
}

bool ResetAllSettings(JobHost& host) {
  if (!host.Ask(StrResetAllQuestion, false)) return false;
  DeleteAllSettings();
  host.ShowMessage(StrRestartToApply);
  Shared().ExitNow = true;
  host.UnloadMainWindow();
  return true;
}

bool ResetSetting(bool ask, std::string_view coreVideo, std::string_view coreAudio, JobHost& host) {
  if (!Shared().FormatEditable) return false;
  const std::string format = ReadSetting("OutputMode");
  const std::string lower = LowerAscii(format);
  const std::string plain = lower.substr(0, lower.find("/me"));
  if (InFilter(plain, kImageFilter)) return false;
  if (ask && !host.Ask(StrResetFormatQuestion, false)) return false;

  const FormatDefaultSet set = FormatDefaults(format, coreVideo, coreAudio);
  const bool mencoder = Contains(UpperAscii(format), "/ME");
  for (const auto& [key, value] : set.Entries()) {
    const bool script = key == "AdditionalScripts" || key == "AdditionalPass1Scripts";
    WriteSetting(key, script && mencoder ? std::string() : *value);
  }
  WriteSetting("FileSuffix", "");
  host.RebuildSettingRows();
  host.AddInfo(StrInfoNotice, StrBaseSettingsReset);
  return true;
}

}  // namespace zel
