#include "engine/DialectTranslation.h"

#include <charconv>
#include <optional>
#include <vector>

#include "engine/CommandLine.h"

namespace zel {

namespace {

enum class Role { Program, Plain, Input, Output };

struct Token {
  std::string text;
  Role role = Role::Plain;  // an input or output path is never read as an option and is always quoted
};
using Tokens = std::vector<Token>;
using Words = std::vector<std::string>;

bool Is(const Token& token, std::string_view text) { return token.role == Role::Plain && token.text == text; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AllDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!IsDigit(c)) return false;
  }
  return true;
}

// A token that starts an option rather than giving a value; "-1" is a value.
bool LooksLikeOption(std::string_view text) { return text.size() > 1 && text[0] == '-' && !IsDigit(text[1]); }

std::vector<std::string_view> SplitOn(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  for (;;) {
    const size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    if (end == std::string_view::npos) return parts;
    start = end + 1;
  }
}

std::string JoinWith(const std::vector<std::string>& parts, char separator) {
  std::string joined;
  for (const std::string& part : parts) {
    if (!joined.empty()) joined += separator;
    joined += part;
  }
  return joined;
}

bool IsExtraStreamMarker(const Token& token) {
  return Is(token, "-newvideo") || Is(token, "-newaudio") || Is(token, "-newsubtitle");
}

// Every value of "-i" is an input. The output is the last token, or the one just before
// the extra-stream markers the old tool took after it.
void MarkPaths(Tokens& tokens) {
  size_t firstInput = 0;
  for (size_t i = 1; i + 1 < tokens.size(); ++i) {
    if (!Is(tokens[i], "-i")) continue;
    tokens[++i].role = Role::Input;
    if (firstInput == 0) firstInput = i;
  }
  if (firstInput == 0) return;
  size_t output = tokens.size() - 1;
  for (size_t i = firstInput + 1; i < tokens.size(); ++i) {
    if (IsExtraStreamMarker(tokens[i])) {
      output = i - 1;
      break;
    }
  }
  if (output > firstInput && tokens[output].role == Role::Plain) tokens[output].role = Role::Output;
}

struct StreamKind {
  std::string_view marker;   // the old option that added one more stream of the kind
  std::string_view disable;  // the option that leaves the kind out
  std::string_view letter;   // today's stream specifier
  bool takenByDefault;       // the old tool took the first such stream unasked
};

constexpr StreamKind kStreamKinds[] = {
    {"-newvideo", "-vn", "v", true},
    {"-newaudio", "-an", "a", true},
    {"-newsubtitle", "-sn", "s", false},
};

// Today "-new..." is gone: every stream the old tool would have written is mapped
// instead, and the codec options that followed each marker already reach all streams of
// their kind, since they carry no stream specifier. Maps given in the command win.
void MapExtraStreams(Tokens& tokens, const TranslationContext&) {
  size_t output = 0;
  for (size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].role == Role::Output) output = i;
  }
  if (output == 0 || output + 1 == tokens.size()) return;

  int added[std::size(kStreamKinds)] = {};
  for (size_t i = output + 1; i < tokens.size(); ++i) {
    for (size_t k = 0; k < std::size(kStreamKinds); ++k) added[k] += Is(tokens[i], kStreamKinds[k].marker) ? 1 : 0;
  }
  tokens.resize(output + 1);

  bool mapped = false;
  bool disabled[std::size(kStreamKinds)] = {};
  for (size_t i = 0; i < output; ++i) {
    mapped = mapped || Is(tokens[i], "-map");
    for (size_t k = 0; k < std::size(kStreamKinds); ++k)
      disabled[k] = disabled[k] || Is(tokens[i], kStreamKinds[k].disable);
  }
  if (mapped) return;

  Tokens maps;
  for (size_t k = 0; k < std::size(kStreamKinds); ++k) {
    if (disabled[k]) continue;
    const std::string prefix = "0:" + std::string(kStreamKinds[k].letter) + ":";
    if (added[k] == 0 && kStreamKinds[k].takenByDefault) {
      // The old tool took the first one only if there was one.
      maps.insert(maps.end(), {{"-map"}, {prefix + "0?"}});
    }
    for (int n = 0; added[k] > 0 && n <= added[k]; ++n)
      maps.insert(maps.end(), {{"-map"}, {prefix + std::to_string(n)}});
  }
  tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(output), maps.begin(), maps.end());
}

// The old crop read left:top:width:height; today it reads width:height:left:top. Named
// or shorter forms are already in today's terms.
std::string ReorderCrops(std::string_view chain) {
  std::vector<std::string> filters;
  for (std::string_view filter : SplitOn(chain, ',')) {
    constexpr std::string_view kCrop = "crop=";
    const std::vector<std::string_view> f =
        filter.starts_with(kCrop) ? SplitOn(filter.substr(kCrop.size()), ':') : std::vector<std::string_view>{};
    bool positional = f.size() == 4;
    for (std::string_view field : f) positional = positional && field.find('=') == std::string_view::npos;
    if (!positional) {
      filters.emplace_back(filter);
      continue;
    }
    filters.push_back(std::string(kCrop) + std::string(f[2]) + ":" + std::string(f[3]) + ":" + std::string(f[0]) + ":" +
                      std::string(f[1]));
  }
  return JoinWith(filters, ',');
}

// The old tool applied every "-vf" in turn; today only the last one counts, so they
// become one chain where the first stood. The old "-deinterlace" worked on the decoded
// picture before any filter, so "yadif" leads the chain: after a crop of an odd number
// of lines it would see the fields swapped.
void JoinVideoFilters(Tokens& tokens, const TranslationContext&) {
  Tokens kept;
  std::vector<std::string> chain;
  bool deinterlace = false;
  std::optional<size_t> place;
  for (size_t i = 0; i < tokens.size(); ++i) {
    if (Is(tokens[i], "-deinterlace")) {
      deinterlace = true;
    } else if (Is(tokens[i], "-vf") && i + 1 < tokens.size() && tokens[i + 1].role == Role::Plain) {
      chain.push_back(ReorderCrops(tokens[++i].text));
    } else {
      kept.push_back(std::move(tokens[i]));
      continue;
    }
    if (!place) place = kept.size();
  }
  if (place) {
    if (deinterlace) chain.insert(chain.begin(), "yadif");
    kept.insert(kept.begin() + static_cast<std::ptrdiff_t>(*place), {{"-vf"}, {JoinWith(chain, ',')}});
  }
  tokens = std::move(kept);
}

// A flag list such as "+a+b-c", one sign per name; the first name may have none.
struct FlagItem {
  char sign;
  std::string name;
};

std::vector<FlagItem> ParseFlags(std::string_view text) {
  std::vector<FlagItem> items;
  size_t i = 0;
  while (i < text.size()) {
    char sign = 0;
    if (text[i] == '+' || text[i] == '-') sign = text[i++];
    const size_t end = text.find_first_of("+-", i);
    items.push_back({sign, std::string(text.substr(i, end == std::string_view::npos ? end : end - i))});
    i = end == std::string_view::npos ? text.size() : end;
  }
  return items;
}

std::string FormatFlags(const std::vector<FlagItem>& items) {
  std::string text;
  for (const FlagItem& item : items) {
    if (item.sign != 0) text += item.sign;
    text += item.name;
  }
  return text;
}

// "-flags2" carried switches the libx264 wrapper read; today they are libx264's own
// options, addressed to the video stream so that the audio encoder never sees them.
struct X264Switch {
  std::string_view legacy;
  std::string_view option;
  std::string_view on;
  std::string_view off;
};

constexpr X264Switch kX264Switches[] = {
    {"bpyramid", "-b-pyramid:v", "normal", "none"},
    {"mixed_refs", "-mixed-refs:v", "1", "0"},
    {"wpred", "-weightb:v", "1", "0"},
    {"dct8x8", "-8x8dct:v", "1", "0"},
    {"fastpskip", "-fast-pskip:v", "1", "0"},
    {"mbtree", "-mbtree:v", "1", "0"},
    {"aud", "-aud:v", "1", "0"},
    {"psy", "-psy:v", "1", "0"},
    {"ssim", "-ssim:v", "1", "0"},
};

// Names of "-flags" that changed spelling.
constexpr std::pair<std::string_view, std::string_view> kRenamedFlags[] = {
    {"4mv", "mv4"},
};

// The old direct prediction numbers are libx264's, named.
constexpr std::string_view kDirectPrediction[] = {"none", "spatial", "temporal", "auto"};

struct Spot {
  const TranslationContext& context;
  bool afterInput;  // an input has been read, so the token is an output option
};

using Value = std::optional<std::string_view>;
using Rewrite = std::optional<Words> (*)(Value value, const Spot& spot);

enum class Takes { Nothing, Value, ValueIfGiven };

struct OptionRule {
  std::string_view legacy;
  Takes takes;
  std::string_view renamed;   // today's name for the option, its value kept as it is
  Rewrite rewrite = nullptr;  // otherwise: the new words, or none to pass the option through
};

std::optional<Words> Flags2(Value value, const Spot&) {
  Words words;
  std::vector<FlagItem> rest;
  for (const FlagItem& item : ParseFlags(*value)) {
    const X264Switch* found = nullptr;
    for (const X264Switch& s : kX264Switches) found = s.legacy == item.name ? &s : found;
    if (found == nullptr) {
      rest.push_back(item);
      continue;
    }
    words.insert(words.end(), {std::string(found->option), std::string(item.sign == '-' ? found->off : found->on)});
  }
  if (words.empty()) return std::nullopt;
  if (!rest.empty()) words.insert(words.begin(), {"-flags2", FormatFlags(rest)});
  return words;
}

std::optional<Words> Flags(Value value, const Spot&) {
  std::vector<FlagItem> items = ParseFlags(*value);
  bool renamed = false;
  for (FlagItem& item : items) {
    for (const auto& [legacy, today] : kRenamedFlags) {
      if (item.name != legacy) continue;
      item.name = today;
      renamed = true;
    }
  }
  if (!renamed) return std::nullopt;
  return Words{"-flags", FormatFlags(items)};
}

// "-vol" counted 256 as unchanged; the "volume" filter takes the factor.
std::optional<Words> Volume(Value value, const Spot&) {
  int level = 0;
  const auto [end, error] = std::from_chars(value->data(), value->data() + value->size(), level);
  if (error != std::errc() || end != value->data() + value->size()) return std::nullopt;
  char factor[64];
  const auto written = std::to_chars(factor, factor + sizeof factor, level / 256.0, std::chars_format::fixed);
  return Words{"-af", "volume=" + std::string(factor, written.ptr)};
}

// The old stream selection "file.stream[:sync]" is today's "file:stream"; the sync
// stream was the default anyway. Other forms with a dot give their last number.
std::optional<Words> StreamMap(Value value, const Spot&) {
  const std::string_view stream = value->substr(0, value->find(':'));
  const size_t dot = stream.find('.');
  if (dot == std::string_view::npos || !IsDigit(stream[0])) return std::nullopt;
  const std::string_view file = stream.substr(0, dot);
  const std::string_view index = stream.substr(dot + 1);
  if (AllDigits(file) && AllDigits(index)) return Words{"-map", std::string(file) + ":" + std::string(index)};
  const size_t end = stream.find_last_of("0123456789") + 1;
  size_t begin = end;
  while (begin > 0 && IsDigit(stream[begin - 1])) --begin;
  return Words{"-map", "0:" + std::string(stream.substr(begin, end - begin))};
}

const OptionRule kOptionRules[] = {
    // Today "-v 1" is a log level that hides the error lines a run is judged by; the
    // banner tells a conversion nothing, and standard input must not be read as keys.
    {"-v", Takes::Value, "",
     [](Value v, const Spot&) -> std::optional<Words> {
       if (*v != "1") return std::nullopt;
       return Words{"-hide_banner", "-nostdin", "-loglevel", "info"};
     }},
    // Among output options it is rejected; before the input it still throttles reading.
    {"-re", Takes::Nothing, "",
     [](Value, const Spot& spot) -> std::optional<Words> {
       if (!spot.afterInput) return std::nullopt;
       return Words{};
     }},
    {"-cqp", Takes::Value, "-qp"},
    // Without a stream specifier these would reach the audio encoder too.
    {"-qscale", Takes::Value, "-q:v"},
    {"-b", Takes::Value, "-b:v"},
    {"-loop_output", Takes::Value, "-loop"},
    {"-sbsf", Takes::Value, "-bsf:s"},
    {"-vol", Takes::Value, "", Volume},
    {"-timestamp", Takes::Value, "",
     [](Value v, const Spot& spot) -> std::optional<Words> {
       if (spot.context.today.empty()) return std::nullopt;
       return Words{"-metadata", "creation_time=" + spot.context.today + "T" + std::string(*v)};
     }},
    {"-strict", Takes::Value, "",
     [](Value v, const Spot&) -> std::optional<Words> {
       if (*v != "inofficial") return std::nullopt;
       return Words{"-strict", "unofficial"};
     }},
    {"-directpred", Takes::Value, "",
     [](Value v, const Spot&) -> std::optional<Words> {
       const bool numbered = v->size() == 1 && IsDigit((*v)[0]) && (*v)[0] <= '3';
       return Words{"-direct-pred:v", std::string(numbered ? kDirectPrediction[(*v)[0] - '0'] : *v)};
     }},
    {"-flags2", Takes::Value, "", Flags2},
    {"-flags", Takes::Value, "", Flags},
    // Every encoder today takes the "aic" flag; those without advanced intra coding or
    // AC prediction ignore it.
    {"-aic", Takes::Nothing, "",
     [](Value, const Spot&) -> std::optional<Words> {
       return Words{"-flags", "+aic"};
     }},
    // A bare "-trellis" switched it on; today it needs its level.
    {"-trellis", Takes::ValueIfGiven, "",
     [](Value v, const Spot&) -> std::optional<Words> {
       if (v) return std::nullopt;
       return Words{"-trellis", "1"};
     }},
    {"-map", Takes::Value, "", StreamMap},
    // FFmpeg's own Vorbis encoder has since been marked experimental and is refused
    // without leave; the old tool used it freely.
    {"-acodec", Takes::Value, "",
     [](Value v, const Spot&) -> std::optional<Words> {
       if (*v != "vorbis") return std::nullopt;
       return Words{"-acodec", "vorbis", "-strict:a", "experimental"};
     }},
    {"-slang", Takes::Value, "",
     [](Value v, const Spot&) -> std::optional<Words> {
       return Words{"-metadata:s:s", "language=" + std::string(*v)};
     }},
};

const OptionRule* FindRule(const Token& token) {
  if (token.role != Role::Plain) return nullptr;
  for (const OptionRule& rule : kOptionRules) {
    if (rule.legacy == token.text) return &rule;
  }
  return nullptr;
}

void RewriteOptions(Tokens& tokens, const TranslationContext& context) {
  Tokens out;
  bool afterInput = false;
  for (size_t i = 0; i < tokens.size(); ++i) {
    afterInput = afterInput || tokens[i].role == Role::Input;
    const OptionRule* rule = FindRule(tokens[i]);
    const bool hasNext = i + 1 < tokens.size() && tokens[i + 1].role == Role::Plain;
    Value value;
    if (rule != nullptr && rule->takes == Takes::Value && hasNext) value = tokens[i + 1].text;
    if (rule != nullptr && rule->takes == Takes::ValueIfGiven && hasNext && !LooksLikeOption(tokens[i + 1].text)) {
      value = tokens[i + 1].text;
    }
    const bool truncated = rule != nullptr && rule->takes == Takes::Value && !value;
    std::optional<Words> words;
    if (rule != nullptr && !truncated) {
      words = rule->rewrite != nullptr ? rule->rewrite(value, Spot{context, afterInput})
                                       : Words{std::string(rule->renamed), std::string(*value)};
    }
    const size_t used = value ? 2 : 1;
    if (!words) {
      for (size_t k = 0; k < used; ++k) out.push_back(std::move(tokens[i + k]));
    } else {
      for (const std::string& word : *words) out.push_back({word});
    }
    i += used - 1;
  }
  tokens = std::move(out);
}

using Pass = void (*)(Tokens&, const TranslationContext&);

// In this order: the extra-stream sections go first, so that their filters and codec
// options are not rewritten into the main stream's.
constexpr Pass kPasses[] = {MapExtraStreams, JoinVideoFilters, RewriteOptions};

bool NeedsQuotes(std::string_view text) {
  return text.empty() || text.find_first_of(" \t\"") != std::string_view::npos;
}

std::string JoinTokens(const Tokens& tokens) {
  std::string line;
  for (size_t i = 0; i < tokens.size(); ++i) {
    if (i > 0) line += ' ';
    const Token& token = tokens[i];
    line += token.role != Role::Plain || NeedsQuotes(token.text) ? QuoteArgument(token.text) : token.text;
  }
  return line;
}

std::string TranslateLine(std::string_view line, const TranslationContext& context) {
  if (line.empty() || line.front() != '"') return std::string(line);
  Tokens tokens;
  for (std::string& arg : SplitCommandLine(line)) tokens.push_back({std::move(arg)});
  tokens.front().role = Role::Program;
  MarkPaths(tokens);
  for (Pass pass : kPasses) pass(tokens, context);
  return JoinTokens(tokens);
}

}  // namespace

std::string TranslateToToday(std::string_view legacyCommand, const TranslationContext& context) {
  // MEncoder reads the disc and keeps its own syntax; only the FFmpeg behind the pipe changes.
  constexpr std::string_view kDiscPipe = " -o -|";
  const size_t pipe = legacyCommand.find(kDiscPipe);
  if (pipe == std::string_view::npos || legacyCommand.front() != '"') return TranslateLine(legacyCommand, context);
  const size_t cut = pipe + kDiscPipe.size();
  return std::string(legacyCommand.substr(0, cut)) + TranslateLine(legacyCommand.substr(cut), context);
}

}  // namespace zel
