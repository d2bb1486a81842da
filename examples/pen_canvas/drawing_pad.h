// The sheet that receives the input of pen and mouse.

#ifndef EXAMPLES_PEN_CANVAS_DRAWING_PAD_H
#define EXAMPLES_PEN_CANVAS_DRAWING_PAD_H

#include <functional>

#include "examples/pen_canvas/mouse_pen.h"
#include "examples/pen_canvas/paper.h"

namespace pencanvas {

// Draws tablet events and passes each one on. Mouse events become tablet events.
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
  void sendAsTablet(QMouseEvent* event);

  TabletCallback onTablet_;
  MousePen mousePen_;
  bool isDown_ = false;
};

}  // namespace pencanvas

#endif  // EXAMPLES_PEN_CANVAS_DRAWING_PAD_H
