// The player's subtitle table: one file read by the converter's line readers into
// entries "start->end|text" with CRLF, and the search for a file beside a medium.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// The table of one file, sorted, every entry with an end: the next entry's start
// when the file gives none, ten seconds for the last. `offsetSeconds` is added to
// every time. Empty for a file that is missing, unknown or holds no entry. `pump`
// runs every 100 lines, so a window stays alive over a long file.
std::vector<std::string> LoadSubtitleFormFile(const std::string& path, double offsetSeconds,
                                              const std::function<void()>& pump = {});

// Where the player looks for a medium's subtitles, in order: the medium's name
// without its last suffix, plain and then with ".chs", ".chn", ".cn", ".gb", ".cht"
// and ".eng", each with the sixteen subtitle suffixes.
std::vector<std::string> SubtitleCandidates(std::string_view mediaPath);

struct LoadedSubtitle {
  std::string path;  // "" when none loaded
  std::vector<std::string> table;
};
// The first candidate that exists and loads.
LoadedSubtitle LoadSubtitleToArray(std::string_view mediaPath, double offsetSeconds,
                                   const std::function<void()>& pump = {});

}  // namespace zel
