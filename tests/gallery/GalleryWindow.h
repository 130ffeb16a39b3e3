// One window with every drawn control in each of its modes and states, and a
// theme switcher: what a developer looks at after touching a control, and what
// the picture and accessibility tests look at.
#pragma once

#include "controls/Theme.h"

#include <QWidget>

namespace zel {

class ctlButton;
class ctlCustomFrame;
class ctlListbox;
class ctlSlider;
class ThemeColorAnimation;

class GalleryWindow : public QWidget {
  Q_OBJECT

 public:
  explicit GalleryWindow(QWidget* parent = nullptr);

  // Applies a theme to every control and remembers it.
  void SetTheme(const ThemeSettings& theme);
  const ThemeSettings& Theme() const { return theme_; }

  ctlButton* CommandButton() const { return command_; }
  ctlButton* EventLabel() const { return eventLabel_; }
  ctlListbox* SettingsList() const { return settings_; }
  ctlListbox* TaskList() const { return tasks_; }
  ctlListbox* EmptyList() const { return empty_; }
  ctlSlider* Slider() const { return slider_; }

 private:
  void BuildButtons(QWidget* area);
  void BuildLists();
  void Note(const QString& event);

  ThemeSettings theme_;
  ctlButton* caption_ = nullptr;
  ctlButton* command_ = nullptr;
  ctlButton* eventLabel_ = nullptr;
  ctlButton* styleChooser_ = nullptr;
  ctlListbox* settings_ = nullptr;
  ctlListbox* tasks_ = nullptr;
  ctlListbox* empty_ = nullptr;
  ctlSlider* slider_ = nullptr;
  ctlSlider* vertical_ = nullptr;
  ctlCustomFrame* frame_ = nullptr;
  ThemeColorAnimation* animation_ = nullptr;
};

}  // namespace zel
