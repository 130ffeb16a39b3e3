// The time marks and the faces of the player's status bar, free of painting and
// of playback: where a pointer grabs, what a drag step does to the marks, the
// face a right click leads to, when a temporary face gives way, and the texts.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zel {

// What the bar shows; the numbers are those of StatusBarCurrentMode.
enum class BarFace : int { Position = 0, Subtitle = 1, Volume = 2, Speed = 3, Notice = 4 };
// What the left button holds on the position face.
enum class GrabTarget : int { None = -1, Position = 0, Start = 1, End = 2, Band = 3 };

// The bar's height for its kind (ModeStyle): kind 0 has none, a height of 0
// becomes 17 for the thin bar and 28 for the large ones.
int StatusBarHeightFor(int modeStyle, int height);
// How high the fill is drawn in a bar of this height.
int FillHeightFor(int barHeight);

// The time under a pointer: x held within 0..width-1, then x / width of the
// duration; with Shift rounded to a whole second.
double TimeAtX(int x, int width, double duration, bool shift = false);
// Where a time stands on a bar of this width.
int XOfTime(double seconds, int width, double duration);
// The volume and the speed a pointer on their faces asks for.
double VolumeAtX(int x, int width);
double SpeedAtX(int x, int width);

// The marks as the bar keeps them; 0 means "not set".
struct MarkPair {
  double start = 0, end = 0;
};
// An end that is not above 0 or past the duration becomes the duration, a start
// below 0 or past it becomes 0, and a start above the end changes places with it.
void NormaliseMarks(MarkPair& marks, double duration);

// What the pointer would grab. `y` counts from the top of the bar.
struct GrabQuery {
  int x = 0, y = 0, width = 0, barHeight = 0;
  int modeStyle = 3;
  bool tagEnabled = false;
  double duration = 0;
  MarkPair marks;
};
struct Grab {
  GrabTarget target = GrabTarget::None;
  double offset = 0;  // seconds from the start mark to the pointer, for the band
  double band = 0;    // the band's length
};
Grab HitTest(const GrabQuery& q);

// One step of a left-button drag on the position face.
struct DragStepResult {
  bool marksMoved = false;
  std::optional<double> seek;  // where the picture goes; none with Ctrl on a mark
};
DragStepResult DragMarks(MarkPair& marks, const Grab& grab, double time, bool ctrl, double duration);

// The face a right click leads to.
int NextFace(int face, bool subtitleLoaded, bool subtitleSupported);

// Times of the bar: "hh:mm:ss.mmm".
std::string BarTime(double seconds);
// The position face's text; `fixed` (StatusBarString) stands alone when set.
std::string PositionText(double position, double duration, const MarkPair& marks, std::string_view fixed = {});
// "Volume 75%" and "Speed x1.5".
std::string VolumeText(double percent);
std::string SpeedText(double rate);

// The faces and the counter that brings a temporary face back to the default.
class BarFaces {
 public:
  int Current() const { return current_; }
  // Any write starts the recovery time anew.
  void SetCurrent(int face) { current_ = face, counter_ = 0; }
  int Default() const { return default_; }
  void SetDefault(int face) { default_ = face; }
  int AutoRecovery() const { return autoRecovery_; }
  // A negative time is refused.
  void SetAutoRecovery(int seconds) {
    if (seconds >= 0) autoRecovery_ = seconds;
  }
  int Counter() const { return counter_; }
  void ResetCounter() { counter_ = 0; }
  // One playback tick of `intervalMs`; true when the face went back to the
  // default (the host then clears its notice and repaints). The subtitle face
  // is never left by time.
  bool Tick(int intervalMs);

 private:
  int current_ = 0, default_ = 0, autoRecovery_ = 5, counter_ = 0;
};

// The host's two split fields, "hh:mm:ss,mmm": the start, and the end or the
// length cut off the tail as the split mode says.
struct SplitFieldTexts {
  std::string start, end;
};
// The fields after TagsChanged: only while a file plays or pauses (status 1 or
// 2); an unknown split mode leaves the end field as it is.
SplitFieldTexts SplitFieldsFromMarks(const SplitFieldTexts& now, const MarkPair& marks, double duration, int status,
                                     std::string_view splitMode);

}  // namespace zel
