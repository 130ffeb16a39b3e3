// The start-up screen: the product's name and what the start is doing, shown
// while the tools are found (and unpacked) before the main window exists.
#pragma once

#include <QWidget>

namespace zel {

class ctlButton;

class frmStartUp : public QWidget {
  Q_OBJECT

 public:
  explicit frmStartUp(QWidget* parent = nullptr);
  void SetText(const QString& text);
  QString Text() const;

 private:
  ctlButton* title_ = nullptr;
  ctlButton* text_ = nullptr;
};

}  // namespace zel
