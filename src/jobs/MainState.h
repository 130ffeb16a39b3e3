// The program-wide values that the start-up fixes and every job reads: the
// product's identity, where the program and its tools lie, the store's path.
#pragma once

#include <string>

namespace zel {

inline constexpr int kProductGeneral = 1;
inline constexpr int kProductKaraoke = 8;

struct MainState {
  std::string ProductId = "ZEL";
  std::string ProductName = "影音工坊";
  int ProductKind = kProductGeneral;

  // The running program's file and folder (with a final "/").
  std::string ProgramPath;
  std::string ProgramFolder;
  std::string ProgramName;

  std::string SettingsPath;     // "Software\Calder\ZEL\Settings"
  std::string SettingsIniFile;  // empty: the store file is in use

  int ProcessorCount = 1;
  long long StartTick = 0;  // milliseconds of the monotonic clock at the last restart
  std::string DefaultFontName = "Trebuchet MS";
  int DefaultFontSize = 9;

  std::string ToolsPath;  // with a final "/"
  std::string ToolFfmpeg, ToolMencoder, ToolMp4box, ToolMkvmerge, ToolRmeditor, ToolProducer, ToolAsfbin,
      ToolVsfilter, ToolPictureShow;
  bool ToolsReady = false;

  bool NewBuildPending = false;
  bool ExitNow = false;
  // Set while the user may change the output format by hand, so that such a
  // change resets the format's base settings.
  bool FormatEditable = false;

  // The look read before the windows exist.
  bool ShowSystemEffect = true;
  std::string PlayerStyle, ThemeStyle, ThemeTransparent, ThemeColor;
};

// The one instance of the running program.
MainState& Shared();

}  // namespace zel
