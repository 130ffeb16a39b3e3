// zel-cli time and mstime: the time notations, checkable from outside.
#include <cstdint>
#include <cstdio>

#include "cli/CliVerbs.h"
#include "base/TextHelpers.h"
#include "subtitles/TimeNotation.h"

namespace zel::cli {

int Time(const Args& args) {
  std::string text, separator = ",";
  bool haveText = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--sep" && i + 1 < args.size()) {
      separator = args[++i];
    } else if (!haveText) {
      text = args[i];
      haveText = true;
    } else {
      std::fprintf(stderr, "zel-cli time: unexpected argument \"%s\"\n", args[i].c_str());
      return 2;
    }
  }
  if (!haveText) {
    std::fprintf(stderr, "usage: zel-cli time TEXT [--sep S]\n");
    return 2;
  }
  const double msecs = ParseMSecs(text, separator);
  const double secs = ParseSecs(text, true, separator);
  std::printf("msecs: %s\nsecs: %s\n", FormatNumber(msecs).c_str(), FormatNumber(secs).c_str());
  return 0;
}

int MsTime(const Args& args) {
  if (args.size() != 2) {
    std::fprintf(stderr, "usage: zel-cli mstime MS NOTATION\n");
    return 2;
  }
  double ms = Val(args[0]);
  const int32_t asked = RoundedOrZero(Val(args[1]));
  // A number beyond 16 bits is no notation: it gets the default form.
  int16_t notation = (asked < INT16_MIN || asked > INT16_MAX) ? int16_t{0} : static_cast<int16_t>(asked);
  std::printf("%s\n", MSecsToTime(ms, notation).c_str());
  return 0;
}

}  // namespace zel::cli
