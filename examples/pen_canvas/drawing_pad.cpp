#include "examples/pen_canvas/drawing_pad.h"

#include <utility>

#include <QCoreApplication>

namespace pencanvas {

DrawingPad::DrawingPad(TabletCallback onTablet, QWidget* parent)
    : Paper(parent), onTablet_(std::move(onTablet)) {
  setCursor(Qt::CrossCursor);
  // Moves above the surface are events, too.
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
  // Unless it is accepted, Qt sends a mouse event as well, which the pad would draw again.
  event->accept();
}

void DrawingPad::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    sendAsTablet(event);
  }
}

void DrawingPad::mouseMoveEvent(QMouseEvent* event) {
  sendAsTablet(event);
}

void DrawingPad::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    sendAsTablet(event);
  }
}

void DrawingPad::sendAsTablet(QMouseEvent* event) {
  QTabletEvent tablet = mousePen_.tabletEvent(*event);
  QCoreApplication::sendEvent(this, &tablet);
}

}  // namespace pencanvas
