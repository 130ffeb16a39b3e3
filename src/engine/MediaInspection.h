// What the FFmpeg libraries, opened in-process, say about a media file: the
// figures that complete the tool's own text when it leaves them open, and, for
// a tool built on these very libraries, the text itself.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zel {

struct MediaFigures {
  double duration = 0;          // seconds; 0 when the container does not say
  int width = 0, height = 0;    // of the best video stream; 0 without one
  double averageFrameTime = 0;  // seconds per frame; 0 when unknown
};

// Nothing when the file cannot be opened as media.
std::optional<MediaFigures> InspectMedia(const std::string& path);

// What FFmpeg prints when given the file as its input: the input's description
// ("Input #0, ... Duration ... Stream #0:0 ..."), or the reason it cannot be
// opened. Made by the calls FFmpeg itself makes, in the same order and with the
// same options, so it is the tool's text as long as the tool runs on the
// libraries this program runs on (CoreSharesOurLibraries). Only the banner and
// the complaint that no output was named are left out.
struct MediaReading {
  std::string text;
  std::optional<MediaFigures> figures;
};
MediaReading ReadMedia(const std::string& path);

// Whether an FFmpeg banner names, as the versions the tool runs with, the very
// libavutil, libavcodec and libavformat this program runs with.
bool CoreSharesOurLibraries(std::string_view banner);

// The libraries keep their complaints to themselves (they would land on our own
// standard error); ReadMedia alone collects what they say, for its own thread.
void QuietMediaLibraries();

}  // namespace zel
