// The sheet that takes pen and mouse.

#ifndef EXAMPLES_PENPAD_DRAWING_PAD_H
#define EXAMPLES_PENPAD_DRAWING_PAD_H

#include <functional>

#include "examples/penpad/mouse_pen.h"
#include "examples/penpad/paper.h"

namespace penpad {

// Draws the events of a tablet itself, and hands each one on. A mouse is turned into a tablet.
class DrawingPad : public Paper {
 public:
  using TabletCallback = std::function<void(QTabletEvent* event)>;

  explicit DrawingPad(TabletCallback onTablet, QWidget* parent = nullptr);

 protected:
  void tabletEvent(QTabletEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  void penOf(QMouseEvent* event);

  TabletCallback onTablet_;
  MousePen mousePen_;
  bool isDown_ = false;
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_DRAWING_PAD_H
