// Mouse events as tablet events: a slow movement has a high pressure.

#ifndef EXAMPLES_PEN_CANVAS_MOUSE_PEN_H
#define EXAMPLES_PEN_CANVAS_MOUSE_PEN_H

#include <QMouseEvent>
#include <QTabletEvent>

namespace pencanvas {

class MousePen {
 public:
  // The tablet event for a press, a movement or a release of the left button. Without the button
  // the pen is above the surface.
  QTabletEvent tabletEvent(const QMouseEvent& event);

 private:
  double pressureAt(const QMouseEvent& event);

  QPointF position_;
  unsigned long time_ = 0;
  double pressure_ = 0;
};

}  // namespace pencanvas

#endif  // EXAMPLES_PEN_CANVAS_MOUSE_PEN_H
