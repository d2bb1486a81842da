#include "examples/penpad/drawing_pad.h"

#include <utility>

#include <QCoreApplication>

namespace penpad {

DrawingPad::DrawingPad(TabletCallback onTablet, QWidget* parent)
    : Paper(parent), onTablet_(std::move(onTablet)) {
  setCursor(Qt::CrossCursor);
  // A pen above the surface is told too.
  setMouseTracking(true);
  setTabletTracking(true);
}

void DrawingPad::tabletEvent(QTabletEvent* event) {
  if (event->type() == QEvent::TabletPress) {
    isDown_ = true;
  } else if (event->type() == QEvent::TabletRelease) {
    isDown_ = false;
  }
  add(sampleOf(*event, isDown_));
  onTablet_(event);
  // Otherwise Qt would make a mouse of the pen, and the pad a pen of the mouse.
  event->accept();
}

void DrawingPad::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    penOf(event);
  }
}

void DrawingPad::mouseMoveEvent(QMouseEvent* event) {
  penOf(event);
}

void DrawingPad::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    penOf(event);
  }
}

void DrawingPad::penOf(QMouseEvent* event) {
  QTabletEvent tablet = mousePen_.tabletEvent(*event);
  QCoreApplication::sendEvent(this, &tablet);
}

}  // namespace penpad
