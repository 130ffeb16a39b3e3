#include "app/frmStartUp.h"

#include "controls/ApplyTheme.h"
#include "controls/QtText.h"
#include "controls/ctlButton.h"
#include "jobs/MainState.h"

#include <QApplication>
#include <QScreen>
#include <QVBoxLayout>

namespace zel {

frmStartUp::frmStartUp(QWidget* parent) : QWidget(parent) {
  setObjectName("frmStartUp");
  setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint);
  setWindowTitle(Q(Shared().ProductName));
  setFixedSize(420, 180);
  auto* column = new QVBoxLayout(this);
  title_ = new ctlButton(this);
  title_->SetMode(static_cast<int>(ButtonMode::FlatLabel));
  title_->SetCaption(Q("ZEL " + Shared().ProductName));
  QFont big = title_->Font();
  big.setPointSize(20);
  title_->SetFont(big);
  text_ = new ctlButton(this);
  text_->SetMode(static_cast<int>(ButtonMode::FlatLabel));
  text_->setAccessibleName(Q(Shared().ProductName));
  column->addWidget(title_, 3);
  column->addWidget(text_, 1);
  zel::ApplyTheme(this, ReadThemeSettings());
  if (const QScreen* screen = QGuiApplication::primaryScreen()) {
    move(screen->availableGeometry().center() - rect().center());
  }
}

void frmStartUp::SetText(const QString& text) {
  text_->SetCaption(text);
  // The start blocks the event loop between its steps: draw now.
  if (isVisible()) repaint();
}

QString frmStartUp::Text() const { return text_->Caption(); }

}  // namespace zel
