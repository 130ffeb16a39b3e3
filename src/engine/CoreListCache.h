// What an FFmpeg core can write and read, kept between runs of the program. Two
// list runs of the tool cost as much as converting a short clip; the lists only
// change with the tool, and the tool's banner names its version, its build and
// the versions of its libraries.
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

}  // namespace zel
