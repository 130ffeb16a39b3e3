#include "jobs/RealMediaJob.h"

#include <cmath>
#include <vector>

#include "engine/CommandLine.h"
#include "jobs/Settings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {
namespace {

constexpr std::string_view kAudienceNamespace = "http://ns.real.com/tools/audience.2.0";
constexpr std::string_view kSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";
constexpr std::string_view kDefaultFrameRate = "23";

struct AudioStream {
  std::string_view codec;
  int flavor;
  std::string_view presentation, mode;
};

// The producer encodes every audience with all four; it picks the one that fits.
constexpr AudioStream kAudioStreams[] = {
    {"cook", 14, "audio-video", "voice"},
    {"cook", 25, "audio-video", "music"},
    {"cook", 25, "audio-only", "voice"},
    {"raac", 6, "audio-only", "music"},
};

// A double attribute's text: at most three decimals, so that a third of 23
// frames reads 7.667 rather than seventeen digits.
std::string DoubleText(double value) { return FormatNumber(std::round(value * 1000.0) / 1000.0); }

// One element on its own line: `<name type="type">value</name>`.
std::string Element(int depth, std::string_view name, std::string_view type, std::string_view value) {
  return std::string(depth * 2, ' ') + "<" + std::string(name) + " type=\"" + std::string(type) + "\">" +
         std::string(value) + "</" + std::string(name) + ">";
}

std::string Indent(int depth, std::string_view text) { return std::string(depth * 2, ' ') + std::string(text); }

}  // namespace

ProducerAudienceValues ReadProducerAudience(const SettingReader& read) {
  ProducerAudienceValues v;
  v.codec = Contains(LowerAscii(read("VideoCodec")), "rv8") ? "rv8" : "rv10";

  const std::string rate = LowerAscii(read("VideoBitrate"));
  const bool variable = Contains(rate, "vbr");
  v.encodingType = variable ? "vbrBitrate" : "cbr";
  // A fixed rate still needs a quality: that of the setting's default.
  v.quality = std::llround(Val(variable ? rate : SettingDefault("VideoBitrate")));
  v.videoBitrate = std::llround(Val(rate) * (variable ? 10000.0 : 1000.0));
  v.audioBitrate = std::llround(Val(read("AudioBitrate")) * 1000.0);

  v.frameRate = Val(read("VideoFrame"));
  if (v.frameRate <= 0) v.frameRate = Val(kDefaultFrameRate);
  v.keyFrameInterval = v.frameRate / 3.0;
  v.averageBitrate = v.videoBitrate + v.audioBitrate;
  v.maximumBitrate = std::llround(static_cast<double>(v.averageBitrate) * 1.5);
  return v;
}

std::string ProducerAudienceText(const ProducerAudienceValues& v) {
  std::vector<std::string> lines = {
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
      "<audience xmlns=\"" + std::string(kAudienceNamespace) + "\" xmlns:xsi=\"" +
          std::string(kSchemaInstanceNamespace) + "\" xsi:schemaLocation=\"" + std::string(kAudienceNamespace) +
          " " + std::string(kAudienceNamespace) + ".xsd\">",
      Element(1, "avgBitrate", "uint", std::to_string(v.averageBitrate)),
      Element(1, "maxBitrate", "uint", std::to_string(v.maximumBitrate)),
      Indent(1, "<streams>"),
      Indent(2, "<stream xsi:type=\"videoStream\">"),
      Element(3, "pluginName", "string", "rn-videocodec-realvideo"),
      Element(3, "codecName", "string", v.codec),
      Element(3, "encodingType", "string", v.encodingType),
      Element(3, "encodingComplexity", "string", "high"),
      Element(3, "quality", "uint", std::to_string(v.quality)),
      Element(3, "maxStartupLatency", "double", "4"),
      Element(3, "maxFrameRate", "double", DoubleText(v.frameRate)),
      Element(3, "maxKeyFrameInterval", "double", DoubleText(v.keyFrameInterval)),
      Element(3, "enableLossProtection", "bool", "false"),
      Indent(2, "</stream>"),
  };
  for (const AudioStream& audio : kAudioStreams) {
    lines.push_back(Indent(2, "<stream xsi:type=\"audioStream\">"));
    lines.push_back(Element(3, "pluginName", "string", "rn-audiocodec-realaudio"));
    lines.push_back(Element(3, "codecName", "string", audio.codec));
    lines.push_back(Element(3, "codecFlavor", "uint", std::to_string(audio.flavor)));
    lines.push_back(Element(3, "encodingComplexity", "string", "high"));
    lines.push_back(Indent(3, "<streamContext type=\"bag\">"));
    lines.push_back(Element(4, "presentationType", "string", audio.presentation));
    lines.push_back(Element(4, "audioMode", "string", audio.mode));
    lines.push_back(Indent(3, "</streamContext>"));
    lines.push_back(Indent(2, "</stream>"));
  }
  lines.push_back(Indent(1, "</streams>"));
  lines.push_back("</audience>");

  std::string text;
  for (size_t i = 0; i < lines.size(); ++i) text.append(i == 0 ? "" : "\r\n").append(lines[i]);
  return text;
}

std::string ProducerAudience(const SettingReader& read) { return ProducerAudienceText(ReadProducerAudience(read)); }

std::string ProducerCommandLine(std::string_view producerPath, std::string_view audiencePath, std::string_view title,
                                std::string_view author, std::string_view copyright, std::string_view description) {
  std::string line = QuoteArgument(producerPath) + " -i \"#InputFileName#\" -o \"#OutputFileName#\" -de " +
                     QuoteArgument(description);
  const std::pair<std::string_view, std::string_view> metadata[] = {
      {" -t ", title}, {" -a ", author}, {" -c ", copyright}};
  for (const auto& [option, value] : metadata) {
    if (!value.empty()) line += std::string(option) + QuoteArgument(value);
  }
  return line + " -dt -ad " + QuoteArgument(audiencePath) + " -rs #VideoWidth#x#VideoHeight#";
}

std::string WriteProducerAudience(std::string_view folder, std::string_view text) {
  const std::string path = cPath(folder) + std::string(kProducerAudienceFile);
  // An old file of another run must not survive a failed write.
  DeleteFile(path);
  return WriteFileAtomic(path, text) ? path : std::string();
}

}  // namespace zel
