#include "examples/pen_canvas/mouse_pen.h"

#include <algorithm>
#include <cmath>

namespace pencanvas {
namespace {

// The pressure at rest, and the speed that halves it.
constexpr double kPressureAtRest = 0.9;
constexpr double kHalvingSpeed = 0.8;  // pixels per millisecond
constexpr double kLeastPressure = 0.05;
// Share of the pressure of the event before, so that the line does not flicker.
constexpr double kInertia = 0.75;
// The pressure of a press, which has no speed yet.
constexpr double kFirstPressure = 0.3;

QEvent::Type typeFor(QEvent::Type mouse) {
  switch (mouse) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
      return QEvent::TabletPress;
    case QEvent::MouseButtonRelease:
      return QEvent::TabletRelease;
    default:
      return QEvent::TabletMove;
  }
}

}  // namespace

QTabletEvent MousePen::tabletEvent(const QMouseEvent& event) {
  const double pressure = pressureAt(event);
  position_ = event.localPos();
  time_ = event.timestamp();
  return QTabletEvent(typeFor(event.type()), event.localPos(), event.globalPos(),
                      QTabletEvent::Stylus, QTabletEvent::Pen, pressure, 0, 0, 0, 0, 0,
                      event.modifiers(), 0, event.button(), event.buttons());
}

double MousePen::pressureAt(const QMouseEvent& event) {
  if (typeFor(event.type()) == QEvent::TabletPress) {
    pressure_ = kFirstPressure;
  } else if ((event.buttons() & Qt::LeftButton) == 0) {
    pressure_ = 0;
  } else {
    const QPointF way = event.localPos() - position_;
    const double ms = std::max(1.0, static_cast<double>(event.timestamp() - time_));
    const double speed = std::hypot(way.x(), way.y()) / ms;
    const double target = std::max(kLeastPressure, kPressureAtRest / (1 + speed / kHalvingSpeed));
    pressure_ = kInertia * pressure_ + (1 - kInertia) * target;
  }
  return pressure_;
}

}  // namespace pencanvas
