// What the FFmpeg libraries, opened in-process, say about a media file: the
// figures that complete the tool's own text when it leaves them open.
#pragma once

#include <optional>
#include <string>

namespace zel {

struct MediaFigures {
  double duration = 0;          // seconds; 0 when the container does not say
  int width = 0, height = 0;    // of the best video stream; 0 without one
  double averageFrameTime = 0;  // seconds per frame; 0 when unknown
};

// Nothing when the file cannot be opened as media.
std::optional<MediaFigures> InspectMedia(const std::string& path);

}  // namespace zel
