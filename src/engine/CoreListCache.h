// What an FFmpeg core is and can write and read, kept between runs of the
// program. Three runs of the tool cost as much as converting a short clip; the
// lists only change with the tool, and the tool's banner names its version, its
// build and the versions of its libraries.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/CoreCapabilities.h"

namespace zel {

// The lists kept for this core, while its file and its banner are unchanged.
std::optional<CoreLists> KeptCoreLists(const std::string& core, std::string_view banner);
// Keeps them under $XDG_CACHE_HOME/ZEL/cores; a failure to write is only a
// slower start next time.
void KeepCoreLists(const std::string& core, std::string_view banner, const CoreLists& lists);

// The banner a core printed last time, while its file is unchanged, and only for
// a core that runs on the libraries this program runs on: those are the files
// this process loaded, so the banner still names them exactly when it names
// the versions we run. Any other core must be asked again.
std::optional<std::string> KeptBanner(const std::string& core);
// Keeps the banner of such a core; any other banner is not kept.
void KeepBanner(const std::string& core, std::string_view banner);

}  // namespace zel
