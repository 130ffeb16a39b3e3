#include "controls/DialogChooser.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QFontDialog>

namespace zel {

namespace {

class QtChooser final : public DialogChooser {
 public:
  std::optional<QColor> ChooseColor(QWidget* parent, const QColor& initial, std::array<QColor, 16>& custom) override {
    // Qt keeps one set of custom colours for the whole program; each control
    // keeps its own, so the set is swapped in and out around the dialog.
    for (int i = 0; i < 16; ++i) QColorDialog::setCustomColor(i, custom[static_cast<size_t>(i)]);
    const QColor chosen = QColorDialog::getColor(initial, parent);
    for (int i = 0; i < 16; ++i) custom[static_cast<size_t>(i)] = QColorDialog::customColor(i);
    if (!chosen.isValid()) return std::nullopt;
    return chosen;
  }
  std::optional<QString> ChooseOpenFile(QWidget* parent, const QString& title, const QString& folder,
                                        const QString& filter) override {
    const QString file = QFileDialog::getOpenFileName(parent, title, folder, filter);
    if (file.isEmpty()) return std::nullopt;
    return file;
  }
  std::optional<QString> ChooseSaveFile(QWidget* parent, const QString& title, const QString& suggested,
                                        const QString& filter) override {
    const QString file =
        QFileDialog::getSaveFileName(parent, title, suggested, filter, nullptr, QFileDialog::DontConfirmOverwrite);
    if (file.isEmpty()) return std::nullopt;
    return file;
  }
  std::optional<QString> ChooseFolder(QWidget* parent, const QString& prompt, const QString& start) override {
    const QString folder = QFileDialog::getExistingDirectory(parent, prompt, start);
    if (folder.isEmpty()) return std::nullopt;
    return folder;
  }
  std::optional<QFont> ChooseFont(QWidget* parent, const QFont& initial) override {
    bool ok = false;
    const QFont font = QFontDialog::getFont(&ok, initial, parent);
    if (!ok) return std::nullopt;
    return font;
  }
};

}  // namespace

DialogChooser& SystemChooser() {
  static QtChooser chooser;
  return chooser;
}

QString QtFileFilter(const QString& filter) {
  const QStringList parts = filter.split('|');
  QStringList pairs;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString patterns = parts[i + 1];
    patterns.replace(';', ' ');
    patterns.replace(QLatin1String("*.*"), QLatin1String("*"));
    pairs << parts[i] + " (" + patterns.simplified() + ")";
  }
  // A filter of one lone pattern is still a filter.
  if (pairs.isEmpty() && !filter.isEmpty()) pairs << filter;
  return pairs.join(QLatin1String(";;"));
}

}  // namespace zel
