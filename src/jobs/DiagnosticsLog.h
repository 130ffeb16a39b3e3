// The diagnostics log: "<program>.Diagnostics.log" beside the program, one
// line a step with the milliseconds since the last restart. A user turns it
// on by creating the file; the program never creates it.
#pragma once

#include <string>
#include <string_view>

namespace zel {

class DiagnosticsLog {
 public:
  // The log of the program at `programPath`.
  explicit DiagnosticsLog(std::string programPath);

  // Restarts the step timer.
  void Restart();
  long long Elapsed() const;
  // "00042" and the text; nothing when the file is missing, `enabled` is false
  // or the text is empty.
  void Write(std::string_view text, bool enabled = true) const;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// Milliseconds of the monotonic clock.
long long TickCount();

}  // namespace zel
