#include "examples/penpad/mouse_pen.h"

#include <algorithm>
#include <cmath>

namespace penpad {
namespace {

// The pressure at rest, and the speed at which half of it is left.
constexpr double kHardest = 0.9;
constexpr double kHalvingSpeed = 0.8;  // pixels per millisecond
constexpr double kLightest = 0.05;
// How much of the former pressure stays at each event, so that the line does not flicker.
constexpr double kInertia = 0.75;
// What a press begins with, before there is a speed.
constexpr double kFirst = 0.3;

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
    pressure_ = kFirst;
  } else if ((event.buttons() & Qt::LeftButton) == 0) {
    pressure_ = 0;
  } else {
    const QPointF way = event.localPos() - position_;
    const double ms = std::max(1.0, static_cast<double>(event.timestamp() - time_));
    const double speed = std::hypot(way.x(), way.y()) / ms;
    const double wanted = std::max(kLightest, kHardest / (1 + speed / kHalvingSpeed));
    pressure_ = kInertia * pressure_ + (1 - kInertia) * wanted;
  }
  return pressure_;
}

}  // namespace penpad
