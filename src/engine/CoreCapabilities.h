// Which tool a core is, read from its banner, and what an FFmpeg core can write,
// read from its format and codec lists.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace zel {

enum CoreKind : int {
  kCoreNone = 0,
  kCoreFFmpeg = 1,
  kCoreMEncoder = 2,
  kCoreX264 = 3,
  kCoreAsfBin = 4,
  kCoreMkvmerge = 5,
  kCoreMP4Box = 6,
  kCoreHelixProducer = 7,
};

// The option syntax a tool speaks: the old FFmpeg's, or today's.
enum class ToolDialect { Legacy = 0, Today = 1 };

struct CoreIdentity {
  int status = kCoreNone;
  std::string name;
  std::string version;
  ToolDialect dialect = ToolDialect::Legacy;
};

// Runs the core again with the given arguments and returns all it printed.
using CoreRerun = std::function<std::string(std::string_view arguments)>;

// Identifies a tool from what it printed when run without arguments.
CoreIdentity IdentifyCore(std::string_view output, const CoreRerun& rerun);

// What a core can write, upper case, joined by "|".
struct CoreLists {
  std::string formats;
  std::string video;
  std::string audio;
  std::string subtitle;
  // What it can read, in the form of `formats`; only the start-up's AviSynth
  // test asks for it.
  std::string inputs;
};

// Reads FFmpeg's "-formats" and "-codecs" text, appended into one. Today's tool
// also contributes the encoder names of its "(encoders: ...)" annotations.
CoreLists ParseFFmpegCapabilities(std::string_view text, ToolDialect dialect);

// The fixed lists the engine carries for MEncoder and the RealMedia producer.
CoreLists FixedCoreLists(int coreStatus);

}  // namespace zel
