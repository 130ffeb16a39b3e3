// The RealMedia job: the producer's audience file made from the settings, and
// the command line that runs the producer on a task.
#pragma once

#include <string>
#include <string_view>

#include "jobs/EngineSetup.h"
#include "jobs/Strings.h"

namespace zel {

inline constexpr std::string_view kProducerAudienceFile = "producer.rpad";

// The numbers the audience file is made of, as the settings give them.
struct ProducerAudienceValues {
  std::string codec;         // "rv10" or "rv8"
  std::string encodingType;  // "vbrBitrate" or "cbr"
  long long quality = 0;
  long long videoBitrate = 0;  // bits a second
  long long audioBitrate = 0;  // bits a second
  double frameRate = 0;
  double keyFrameInterval = 0;
  long long averageBitrate = 0;
  long long maximumBitrate = 0;
};

ProducerAudienceValues ReadProducerAudience(const SettingReader& read);

// The text of "producer.rpad": UTF-8, lines joined by CR LF.
std::string ProducerAudienceText(const ProducerAudienceValues& values);
std::string ProducerAudience(const SettingReader& read);

// The producer's command line: the quoted tool, then its arguments with the
// engine's placeholders. Title, author and copyright are left out when empty.
std::string ProducerCommandLine(std::string_view producerPath, std::string_view audiencePath, std::string_view title,
                                std::string_view author, std::string_view copyright,
                                std::string_view description = StrProducerDescription);

// Replaces "producer.rpad" in `folder` with `text`; its path, or "" on failure.
std::string WriteProducerAudience(std::string_view folder, std::string_view text);

}  // namespace zel
