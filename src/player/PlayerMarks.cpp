#include "player/PlayerMarks.h"

#include "jobs/Strings.h"
#include "player/PlayerStrings.h"
#include "subtitles/TimeNotation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace zel {

namespace {

// The grip zone of the marks is the lowest part of the bar, as high as a fill.
constexpr int kGripHeight = 17;
// How near a mark's line the pointer must come to take it.
constexpr int kGrabReach = 4;

// Times are compared as the text shows them, to the millisecond.
double Millis(double seconds) { return std::round(seconds * 1000) / 1000; }

}  // namespace

int StatusBarHeightFor(int modeStyle, int height) {
  if (modeStyle <= 0) return 0;
  if (height != 0) return height;
  return modeStyle == 1 ? 17 : 28;
}

int FillHeightFor(int barHeight) { return barHeight >= 18 ? 17 : 3; }

double TimeAtX(int x, int width, double duration, bool shift) {
  if (width <= 0) return 0;
  const double t = std::clamp(x, 0, width - 1) / static_cast<double>(width) * duration;
  return shift ? std::round(t) : t;
}

int XOfTime(double seconds, int width, double duration) {
  return duration > 0 ? static_cast<int>(std::lround(seconds / duration * width)) : 0;
}

double VolumeAtX(int x, int width) { return std::round(TimeAtX(x, width, 100)); }
double SpeedAtX(int x, int width) { return TimeAtX(x, width, 100) / 50; }

void NormaliseMarks(MarkPair& m, double duration) {
  if (m.end <= 0 || m.end > duration) m.end = duration;
  if (m.start < 0 || m.start > duration) m.start = 0;
  if (m.start > m.end) std::swap(m.start, m.end);
}

Grab HitTest(const GrabQuery& q) {
  const bool inBar = q.y >= 0 && q.y < q.barHeight && q.width > 0;
  const int grip = std::min(kGripHeight, q.barHeight);
  const int gripTop = q.barHeight - grip;
  const bool inGrip = inBar && q.modeStyle == 3 && q.tagEnabled && q.y >= gripTop;
  const int xStart = XOfTime(q.marks.start, q.width, q.duration);
  const int xEnd = XOfTime(q.marks.end, q.width, q.duration);
  // The end is tried first, so that of two marks close together the end wins.
  if (inGrip && std::abs(q.x - xEnd) <= kGrabReach) return {GrabTarget::End};
  if (inGrip && std::abs(q.x - xStart) <= kGrabReach) return {GrabTarget::Start};
  if (inGrip && (q.marks.start > 0 || q.marks.end > 0)) {
    const double bandEnd = q.marks.end > 0 ? q.marks.end : q.duration;
    const bool between = q.x >= xStart && q.x <= XOfTime(bandEnd, q.width, q.duration);
    const bool middle = q.y >= gripTop + grip / 5 && q.y < gripTop + grip * 4 / 5;
    if (between && middle) {
      const double t = TimeAtX(q.x, q.width, q.duration);
      return {GrabTarget::Band, t - q.marks.start, bandEnd - q.marks.start};
    }
  }
  return {inBar ? GrabTarget::Position : GrabTarget::None};
}

DragStepResult DragMarks(MarkPair& m, const Grab& grab, double time, bool ctrl, double duration) {
  DragStepResult r;
  switch (grab.target) {
    case GrabTarget::Position:
      r.seek = time;
      return r;
    case GrabTarget::Start:
      m.start = time;
      break;
    case GrabTarget::End:
      m.end = time;
      break;
    case GrabTarget::Band:
      m.start = time - grab.offset;
      if (grab.band > 0) m.end = m.start + grab.band;
      break;
    case GrabTarget::None:
      return r;
  }
  NormaliseMarks(m, duration);
  r.marksMoved = true;
  if (!ctrl) r.seek = grab.target == GrabTarget::End ? m.end : m.start;
  return r;
}

int NextFace(int face, bool subtitleLoaded, bool subtitleSupported) {
  switch (static_cast<BarFace>(face)) {
    case BarFace::Position:
      return subtitleLoaded && subtitleSupported ? 1 : 2;
    case BarFace::Subtitle:
      return 2;
    case BarFace::Volume:
      return 3;
    default:
      return 0;
  }
}

std::string BarTime(double seconds) { return FormatMSecs(seconds * 1000, kNotationDotMs); }

std::string PositionText(double position, double duration, const MarkPair& marks, std::string_view fixed) {
  if (!fixed.empty()) return std::string(fixed);
  const double a = Millis(marks.start), b = Millis(marks.end), d = Millis(duration), p = Millis(position);
  if (a > d || b > d || (b > 0 && b < a)) return BarTime(p) + std::string(StrMarksOutOfRange);
  if (a == 0 && b == 0) return BarTime(p) + " / " + BarTime(d);
  const double last = b > 0 ? b : d;
  return BarTime(a) + " / " + BarTime(last) + " < " + BarTime(last - a) + " >";
}

std::string VolumeText(double percent) {
  return std::string(StrMarksVolume) + " " + std::to_string(std::lround(percent)) + "%";
}

std::string SpeedText(double rate) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.1f", rate);
  return std::string(StrMarksSpeed) + " x" + digits;
}

bool BarFaces::Tick(int intervalMs) {
  if (current_ == default_ || current_ == static_cast<int>(BarFace::Subtitle)) {
    counter_ = 0;
    return false;
  }
  counter_ += intervalMs;
  if (counter_ < autoRecovery_ * 1000) return false;
  current_ = default_;
  counter_ = 0;
  return true;
}

SplitFieldTexts SplitFieldsFromMarks(const SplitFieldTexts& now, const MarkPair& marks, double duration, int status,
                                     std::string_view splitMode) {
  if (status != 1 && status != 2) return now;
  SplitFieldTexts out = now;
  out.start = FormatMSecs(marks.start * 1000, kNotationSrt);
  if (splitMode == StrSplitHeadTail)
    out.end = FormatMSecs((duration - marks.end) * 1000, kNotationSrt);
  else if (splitMode == StrSplitPointToPoint)
    out.end = FormatMSecs(marks.end * 1000, kNotationSrt);
  return out;
}

}  // namespace zel
