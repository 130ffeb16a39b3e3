// What the job logic asks of whoever shows it: the main window, or zel-cli on
// a terminal. The logic never opens a window itself; it calls these.
#pragma once

#include <string_view>

namespace zel {

class JobHost {
 public:
  virtual ~JobHost() = default;

  // One line of the information list: category ("问题", "注意", "完成"),
  // message, and a tag that names the help shown on a double click.
  virtual void AddInfo(std::string_view category, std::string_view message, std::string_view tag = {}) = 0;
  // A Yes/No question; `defaultYes` is the answer of the default button.
  virtual bool Ask(std::string_view question, bool defaultYes) = 0;
  // A message the user acknowledges.
  virtual void ShowMessage(std::string_view text) = 0;

  // Lets the host draw and take input during a long step.
  virtual void PumpEvents() {}
  // A line on the start-up screen.
  virtual void SplashText(std::string_view /*text*/) {}
  // The output format field now shows this format, or a list of the chooser.
  virtual void SetFormatField(std::string_view /*format*/) {}
  // The settings rows of the main screen must be built again from the store.
  virtual void RebuildSettingRows() {}
  // The main window should close now, asking nothing.
  virtual void UnloadMainWindow() {}
};

}  // namespace zel
