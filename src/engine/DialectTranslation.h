// Rewrites a command composed in the old FFmpeg's option syntax into one today's FFmpeg runs the same way.
#pragma once

#include <string>
#include <string_view>

namespace zel {

struct TranslationContext {
  std::string today;   // local date "YYYY-MM-DD": the old "-timestamp" gave only a time of that day
  std::string format;  // the output format's key in lower case ("mp4", "gif"): the codecs it promises
};

// Turns a command composed in the old FFmpeg's option syntax into one today's FFmpeg
// accepts and that means the same. The composition stays in the old syntax; this is the
// last step before the command runs. It works on the argument tokens and never fails: a
// piece it does not know, or one cut short, passes through as it stands. Of a disc pipe
// only the FFmpeg part after " -o -|" is rewritten; a line that does not begin with a
// double quote is meant for the shell and comes back unchanged.
std::string TranslateToToday(std::string_view legacyCommand, const TranslationContext& context);

}  // namespace zel
