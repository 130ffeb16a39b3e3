// The modal choices a drawn control asks of the user: a colour, a file, a
// folder, a font. Controls ask through this interface so that a test answers
// in place of a dialog, and no modal window ever blocks a test.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>

#include <array>
#include <optional>

class QWidget;

namespace zel {

class DialogChooser {
 public:
  virtual ~DialogChooser() = default;
  // `custom` are the dialog's sixteen custom colours, read and written back.
  virtual std::optional<QColor> ChooseColor(QWidget* parent, const QColor& initial,
                                            std::array<QColor, 16>& custom) = 0;
  // `filter` is in Qt's form ("Videos (*.mp4 *.mkv);;All (*)").
  virtual std::optional<QString> ChooseOpenFile(QWidget* parent, const QString& title, const QString& folder,
                                                const QString& filter) = 0;
  // `suggested` is a whole path; the program asks before it replaces a file,
  // so the dialog does not.
  virtual std::optional<QString> ChooseSaveFile(QWidget* parent, const QString& title, const QString& suggested,
                                                const QString& filter) = 0;
  virtual std::optional<QString> ChooseFolder(QWidget* parent, const QString& prompt, const QString& start) = 0;
  virtual std::optional<QFont> ChooseFont(QWidget* parent, const QFont& initial) = 0;
};

// Qt's own dialogs. A control without a chooser of its own uses this one.
DialogChooser& SystemChooser();

// A stored filter "Videos|*.mp4;*.mkv|All|*.*" in Qt's form: the pairs of name
// and patterns, ";" between patterns becoming blanks.
QString QtFileFilter(const QString& filter);

}  // namespace zel
