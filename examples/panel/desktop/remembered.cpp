#include "examples/panel/desktop/remembered.h"

#include <QEvent>
#include <QSplitter>

namespace panel {
namespace {

constexpr char kGeometry[] = "window/geometry";
constexpr char kSplitter[] = "window/%1";

}  // namespace

Remembered::Remembered(QWidget& window, QSettings& settings)
    : window_(window), settings_(settings) {
  // Qt moves a window that would lie beside the screens, and refuses bytes of another program.
  window_.restoreGeometry(settings_.value(kGeometry).toByteArray());
  for (QSplitter* const splitter : window_.findChildren<QSplitter*>()) {
    if (!splitter->objectName().isEmpty()) {
      splitter->restoreState(
          settings_.value(QString(kSplitter).arg(splitter->objectName())).toByteArray());
    }
  }
  window_.installEventFilter(this);
}

Remembered::~Remembered() {
  keep();
}

bool Remembered::eventFilter(QObject* watched, QEvent* event) {
  if (watched == &window_ && (event->type() == QEvent::Close ||
                              (event->type() == QEvent::Hide && !event->spontaneous()))) {
    keep();
  }
  return QObject::eventFilter(watched, event);
}

void Remembered::keep() {
  settings_.setValue(kGeometry, window_.saveGeometry());
  for (const QSplitter* const splitter : window_.findChildren<QSplitter*>()) {
    if (!splitter->objectName().isEmpty()) {
      settings_.setValue(QString(kSplitter).arg(splitter->objectName()), splitter->saveState());
    }
  }
}

}  // namespace panel
