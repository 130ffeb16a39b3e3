// Answers every dialog of a control or window with what the test put in, or
// cancels with nullopt, and keeps what the dialog was asked with.
#pragma once

#include "controls/DialogChooser.h"

#include <QColor>
#include <QFont>
#include <QString>

#include <array>
#include <functional>
#include <optional>

namespace zel::test {

struct FakeChooser : DialogChooser {
  std::optional<QColor> color;
  std::optional<QString> file, saveFile, folder;
  std::optional<QFont> font;
  std::function<void(std::array<QColor, 16>&)> touchCustom;
  QColor seenColor;
  std::array<QColor, 16> seenCustom{};
  QString seenTitle, seenFolder, seenFilter, seenPrompt, seenStart, seenSuggested;
  QFont seenFont;
  int asked = 0;

  std::optional<QColor> ChooseColor(QWidget*, const QColor& initial, std::array<QColor, 16>& custom) override {
    ++asked;
    seenColor = initial;
    seenCustom = custom;
    if (touchCustom) touchCustom(custom);
    return color;
  }
  std::optional<QString> ChooseOpenFile(QWidget*, const QString& title, const QString& start,
                                        const QString& filter) override {
    ++asked;
    seenTitle = title;
    seenFolder = start;
    seenFilter = filter;
    return file;
  }
  std::optional<QString> ChooseSaveFile(QWidget*, const QString& title, const QString& suggested,
                                        const QString& filter) override {
    ++asked;
    seenTitle = title;
    seenSuggested = suggested;
    seenFilter = filter;
    return saveFile;
  }
  std::optional<QString> ChooseFolder(QWidget*, const QString& prompt, const QString& start) override {
    ++asked;
    seenPrompt = prompt;
    seenStart = start;
    return folder;
  }
  std::optional<QFont> ChooseFont(QWidget*, const QFont& initial) override {
    ++asked;
    seenFont = initial;
    return font;
  }
};

}  // namespace zel::test
