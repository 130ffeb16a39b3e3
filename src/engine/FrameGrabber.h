// Frames of a video decoded in-process by the FFmpeg libraries: the picture shown
// at a time, for thumbnail sheets, single grabs and previews.
#pragma once

#include <QImage>

#include <memory>
#include <string>

namespace zel {

class FrameGrabber {
 public:
  explicit FrameGrabber(const std::string& path);
  ~FrameGrabber();
  FrameGrabber(const FrameGrabber&) = delete;
  FrameGrabber& operator=(const FrameGrabber&) = delete;

  // False when the file has no video stream the libraries can decode.
  bool IsOpen() const;
  int Width() const;
  int Height() const;
  // Seconds; 0 when the container does not say.
  double Duration() const;

  // The frame on screen at `seconds`: the last one that starts at or before it.
  // Decoding begins at the key frame before that time. A null image when nothing
  // could be decoded.
  QImage FrameAt(double seconds);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zel
