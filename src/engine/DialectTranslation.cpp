#include "engine/DialectTranslation.h"

#include <charconv>
#include <initializer_list>
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

size_t OutputIndex(const Tokens& tokens) {
  for (size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].role == Role::Output) return i;
  }
  return 0;
}

// Whether one of these options stands among the first `end` tokens.
bool Given(const Tokens& tokens, size_t end, std::initializer_list<std::string_view> options) {
  for (size_t i = 0; i < end; ++i) {
    for (std::string_view option : options) {
      if (Is(tokens[i], option)) return true;
    }
  }
  return false;
}

void InsertBefore(Tokens& tokens, size_t at, const Words& words) {
  Tokens inserted;
  for (const std::string& word : words) inserted.push_back({word});
  tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(at), inserted.begin(), inserted.end());
}

// The codecs each format's description promises. A command that names no codec
// leaves the choice to the muxer, and today's muxers choose otherwise (MP4 and MOV
// take H.264, which ignores "-qscale"), so such a command gets the promised codec.
// Where a description leaves a choice, or today's FFmpeg lacks the encoder, the
// muxer still chooses.
struct FormatPromise {
  std::string_view formats;  // blank-separated keys
  std::string_view video;    // encoder; "" leaves the choice to the muxer
  std::string_view audio;
  std::string_view quality;  // what "-qscale" becomes for this video encoder; "" keeps it
  bool stillPicture;         // one frame: a sound file's cover may serve as the picture
};

constexpr FormatPromise kFormatPromises[] = {
    {"mp4 mov", "mpeg4", "aac", "", false},
    {"avi divx", "mpeg4", "libmp3lame", "", false},
    {"xvid svi", "libxvid", "libmp3lame", "", false},
    // The composition gives an x264 target its quality as "-crf"; one named here gets the same.
    {"mkv h264 psp ipod iphone", "libx264", "aac", "-crf", false},
    {"3gp h263", "h263", "", "", false},
    {"flv", "flv", "libmp3lame", "", false},
    {"wmv asf", "wmv2", "wmav2", "", false},
    {"webm", "libvpx", "libvorbis", "", false},
    {"amv", "amv", "adpcm_ima_amv", "", false},
    {"mpeg", "mpeg1video", "mp2", "", false},
    {"mpeg-ts", "mpeg2video", "mp2", "", false},
    {"mjpeg", "mjpeg", "pcm_s16le", "", false},
    {"gif", "gif", "", "", false},
    {"png", "png", "", "", true},
    {"mp3", "", "libmp3lame", "", false},
    {"mp2", "", "mp2", "", false},
    {"aac m4a", "", "aac", "", false},
    {"wma", "", "wmav2", "", false},
    {"ogg", "", "libvorbis", "", false},
    {"flac", "", "flac", "", false},
    {"ac3", "", "ac3", "", false},
    {"wav", "", "pcm_s16le", "", false},
};

const FormatPromise* PromiseFor(std::string_view format) {
  for (const FormatPromise& promise : kFormatPromises) {
    for (std::string_view key : SplitOn(promise.formats, ' ')) {
      if (!format.empty() && key == format) return &promise;
    }
  }
  return nullptr;
}

// A codec counts as named by any spelling, and a disc target names its own.
void NamePromisedCodecs(Tokens& tokens, const TranslationContext& context) {
  const FormatPromise* promise = PromiseFor(context.format);
  const size_t output = OutputIndex(tokens);
  if (promise == nullptr || output == 0 || Given(tokens, output, {"-target"})) return;
  Words named;
  if (!promise->video.empty() && !Given(tokens, output, {"-vn", "-vcodec", "-c:v", "-codec:v", "-c", "-codec"})) {
    named.insert(named.end(), {"-vcodec", std::string(promise->video)});
    for (size_t i = 0; !promise->quality.empty() && i < output; ++i) {
      if (Is(tokens[i], "-qscale")) tokens[i].text = promise->quality;
    }
  }
  if (!promise->audio.empty() && !Given(tokens, output, {"-an", "-acodec", "-c:a", "-codec:a", "-c", "-codec"})) {
    named.insert(named.end(), {"-acodec", std::string(promise->audio)});
  }
  InsertBefore(tokens, output, named);
}

struct StreamKind {
  std::string_view marker;     // the old option that added one more stream of the kind
  std::string_view disable;    // the option that leaves the kind out
  std::string_view specifier;  // today's stream specifier; "V" passes over cover pictures
  std::string_view askedBy;    // the first stream is taken only when this is given; "" always
};

constexpr StreamKind kStreamKinds[] = {
    {"-newvideo", "-vn", "V", ""},
    {"-newaudio", "-an", "a", ""},
    {"-newsubtitle", "-sn", "s", "-scodec"},
};

// Today's FFmpeg picks streams by rules of its own: the largest picture, a sound
// file's cover among them (which an MP4 refuses), the sound marked as the default or
// with the most channels, and subtitles wherever the container takes them. The old
// tool took the first video and the first audio stream, subtitles only for a
// subtitle codec, one stream more for each "-new..." marker after the output, and
// knew no covers. Those streams are mapped, each optional, so a file without one
// still converts. Maps given in the command win. A still picture is left to FFmpeg,
// which prefers a real picture and falls back to the cover.
void MapStreams(Tokens& tokens, const TranslationContext& context) {
  const size_t output = OutputIndex(tokens);
  if (output == 0) return;

  int markers[std::size(kStreamKinds)] = {};
  for (size_t i = output + 1; i < tokens.size(); ++i) {
    for (size_t k = 0; k < std::size(kStreamKinds); ++k) markers[k] += Is(tokens[i], kStreamKinds[k].marker) ? 1 : 0;
  }
  tokens.resize(output + 1);

  const FormatPromise* promise = PromiseFor(context.format);
  if (Given(tokens, output, {"-map"}) || (promise != nullptr && promise->stillPicture)) return;
  Words maps;
  for (size_t k = 0; k < std::size(kStreamKinds); ++k) {
    const StreamKind& kind = kStreamKinds[k];
    if (Given(tokens, output, {kind.disable})) continue;
    const bool first = kind.askedBy.empty() || Given(tokens, output, {kind.askedBy});
    const int count = (first ? 1 : 0) + markers[k];
    for (int n = 0; n < count; ++n) {
      maps.insert(maps.end(), {"-map", "0:" + std::string(kind.specifier) + ":" + std::to_string(n) + "?"});
    }
  }
  InsertBefore(tokens, output, maps);
}

// Old filters whose arguments today's FFmpeg reads otherwise, given all fields by position.
struct FilterRule {
  std::string_view name;
  size_t fields;
  std::string (*rewrite)(const std::vector<std::string_view>& fields);
};

bool IsNumber(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

const FilterRule kFilterRules[] = {
    // The old crop read left:top:width:height; today it reads width:height:left:top.
    {"crop", 4,
     [](const std::vector<std::string_view>& f) {
       return std::string(f[2]) + ":" + std::string(f[3]) + ":" + std::string(f[0]) + ":" + std::string(f[1]);
     }},
    // The old rotate took degrees and grew the frame to hold the turned picture.
    {"rotate", 1,
     [](const std::vector<std::string_view>& f) {
       const std::string angle = std::string(f[0]) + "*PI/180";
       return IsNumber(f[0]) ? angle + ":ow=rotw(" + angle + "):oh=roth(" + angle + ")" : std::string(f[0]);
     }},
};

// Named or shorter forms are already in today's terms.
std::string TodaysFilters(std::string_view chain) {
  std::vector<std::string> filters;
  for (std::string_view filter : SplitOn(chain, ',')) {
    const size_t equals = filter.find('=');
    const std::string_view name = filter.substr(0, equals);
    const FilterRule* rule = nullptr;
    for (const FilterRule& r : kFilterRules) rule = r.name == name && equals != std::string_view::npos ? &r : rule;
    const std::vector<std::string_view> f =
        rule != nullptr ? SplitOn(filter.substr(equals + 1), ':') : std::vector<std::string_view>{};
    bool positional = rule != nullptr && f.size() == rule->fields;
    for (std::string_view field : f) positional = positional && field.find('=') == std::string_view::npos;
    filters.push_back(positional ? std::string(name) + "=" + rule->rewrite(f) : std::string(filter));
  }
  return JoinWith(filters, ',');
}

// A pixel format the old row asked for, which today's encoder only approaches with a
// fixed palette: the picture gets a palette of its own instead.
struct PaletteRule {
  std::string_view container;
  std::string_view pixelFormat;
  std::string_view filters;
};

constexpr PaletteRule kPaletteRules[] = {
    {"gif", "rgb24", "split[frames][stats];[stats]palettegen[palette];[frames][palette]paletteuse"},
};

// "-s WxH" as a filter: today it scales after the whole chain.
std::string ScaleFilter(std::string_view size) {
  const size_t x = size.find('x');
  if (x != std::string_view::npos && AllDigits(size.substr(0, x)) && AllDigits(size.substr(x + 1))) {
    return "scale=" + std::string(size.substr(0, x)) + ":" + std::string(size.substr(x + 1));
  }
  return "scale=s=" + std::string(size);
}

// The old tool kept one "-vf", the last, and ran it on the picture already scaled to
// "-s" and deinterlaced; the letterbox is worked out in the scaled picture's pixels.
// Today "-s" scales after the chain, so it joins the chain: ahead of a "-vf" that
// follows it, behind one given before it (the explicit crop and pad are in the
// source's pixels). "yadif" leads: after a crop of an odd number of lines it would
// see the fields swapped. A palette of the picture's own comes last, after any scaling.
void BuildVideoChain(Tokens& tokens, const TranslationContext&) {
  std::optional<size_t> filtersAt, sizeAt, pixelFormatAt, first;
  bool deinterlace = false;
  std::string_view container;
  bool afterInput = false;
  for (size_t i = 0; i < tokens.size(); ++i) {
    afterInput = afterInput || tokens[i].role == Role::Input;
    const bool valued = i + 1 < tokens.size() && tokens[i + 1].role == Role::Plain;
    if (Is(tokens[i], "-f") && valued) container = tokens[i + 1].text;
    std::optional<size_t>* found = Is(tokens[i], "-vf") && valued                      ? &filtersAt
                                   : afterInput && Is(tokens[i], "-s") && valued       ? &sizeAt
                                   : afterInput && Is(tokens[i], "-pix_fmt") && valued ? &pixelFormatAt
                                                                                       : nullptr;
    if (found != nullptr) *found = i;
    deinterlace = deinterlace || Is(tokens[i], "-deinterlace");
    if (!first && (found != nullptr || Is(tokens[i], "-deinterlace"))) first = i;
  }
  const PaletteRule* palette = nullptr;
  for (const PaletteRule& rule : kPaletteRules) {
    if (pixelFormatAt && container == rule.container && tokens[*pixelFormatAt + 1].text == rule.pixelFormat)
      palette = &rule;
  }
  if (!filtersAt && !deinterlace && !palette) return;

  std::vector<std::string> chain;
  if (deinterlace) chain.emplace_back("yadif");
  const bool scaleFirst = sizeAt && (!filtersAt || *sizeAt < *filtersAt);
  if (scaleFirst) chain.push_back(ScaleFilter(tokens[*sizeAt + 1].text));
  if (filtersAt) chain.push_back(TodaysFilters(tokens[*filtersAt + 1].text));
  if (sizeAt && !scaleFirst) chain.push_back(ScaleFilter(tokens[*sizeAt + 1].text));
  if (palette) chain.emplace_back(palette->filters);

  Tokens kept;
  afterInput = false;
  for (size_t i = 0; i < tokens.size(); ++i) {
    afterInput = afterInput || tokens[i].role == Role::Input;
    if (i == *first) kept.insert(kept.end(), {{"-vf"}, {JoinWith(chain, ',')}});
    const bool valued = i + 1 < tokens.size() && tokens[i + 1].role == Role::Plain;
    const bool dropped = (Is(tokens[i], "-vf") && valued) || (afterInput && Is(tokens[i], "-s") && valued) ||
                         (palette && i == *pixelFormatAt);
    if (dropped) {
      ++i;
    } else if (!Is(tokens[i], "-deinterlace")) {
      kept.push_back(std::move(tokens[i]));
    }
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

// In this order: codecs are named from the main section alone; the extra-stream
// sections then go, so that their filters and codec options are not rewritten into
// the main stream's; the chain is built from old filters, which the option rules
// would not know; the options are respelt last, the old "-qscale" among them.
constexpr Pass kPasses[] = {NamePromisedCodecs, MapStreams, BuildVideoChain, RewriteOptions};

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
