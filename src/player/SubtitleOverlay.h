// The player's own subtitle: the file found beside the medium, the line for a
// position, drawn over the picture; and the text of the media facts panel.
#pragma once

#include <QColor>
#include <QFont>

#include <functional>
#include <string>
#include <utility>
#include <vector>

class QPainter;
class QRect;

namespace zel {

class SubtitleOverlay {
 public:
  // The first candidate beside `mediaPath` (the name the player plays, after
  // any suffix change) that exists and loads. False when none does.
  bool LoadSubtitleToArray(const std::string& mediaPath, const std::function<void()>& pump = {});
  bool LoadSubtitleFormFile(const std::string& path, const std::function<void()>& pump = {});
  // The table is erased: on closing the file, or when loading is disallowed.
  void Clear();

  bool SubtitleLoaded() const { return !table_.empty(); }
  const std::string& SubtitleFile() const { return file_; }
  const std::vector<std::string>& Table() const { return table_; }
  double SubtitleTimeOffset() const { return offset_; }
  void SetSubtitleTimeOffset(double seconds) { offset_ = seconds; }
  int ShowShadowValue() const { return shadow_; }
  void SetShowShadowValue(int depth) { shadow_ = depth < 0 ? 0 : depth; }
  bool ZoomText() const { return zoomText_; }
  void SetZoomText(bool zoom) { zoomText_ = zoom; }

  // The text of the first entry whose range holds position + offset, lines
  // parted by "\n"; "" for none.
  std::string LineAt(double position) const;
  // Keeps the line for `position`; true when it differs from the one kept.
  bool Update(double position);
  const std::string& CurrentLine() const { return line_; }

  // The kept line centred near the bottom of the video rectangle, light with a
  // dark outline and, with ShowShadowValue, a shadow that deep. ZoomText scales
  // the font with the rectangle's height.
  void Paint(QPainter& painter, const QRect& videoRect, const QFont& font, const QColor& colour = Qt::white) const;

 private:
  std::string file_;
  std::vector<std::string> table_;
  std::string line_;
  double offset_ = 0;
  int shadow_ = 0;
  bool zoomText_ = false;
};

// What the facts panel shows, from the player's state.
struct MediaFacts {
  double position = 0;
  double duration = 0;
  double markStart = 0;  // 0: not set
  double markEnd = 0;
  int width = 0;
  int height = 0;
  double frameRate = 0;
  std::string extra;  // MediaInfoString
};

// The panel's rows, label and value, top to bottom; a label may be "" for a
// row that continues the one above.
std::vector<std::pair<std::string, std::string>> MediaInfoRows(const MediaFacts& facts);
// Width of the panel in the font, so the host can take it from the video.
int MediaInfoWidth(const MediaFacts& facts, const QFont& font);
// The rows inside `panel`, a label and below it its value, "M" wide from the
// panel's left edge; rows that do not fit the panel's height are left out.
void PaintMediaInfo(QPainter& painter, const QRect& panel, const MediaFacts& facts, const QFont& font,
                    const QColor& colour);

}  // namespace zel
