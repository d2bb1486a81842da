// A frame whose outline is seen with every palette: styles derive it from the background, and a
// black one, as of a palette of high contrast, has no darker colour.

#ifndef EXAMPLES_PANEL_WIDGETS_OUTLINED_FRAME_H
#define EXAMPLES_PANEL_WIDGETS_OUTLINED_FRAME_H

#include <QFrame>

namespace panel {

class OutlinedFrame : public QFrame {
 public:
  OutlinedFrame() { outline(); }

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void outline();
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WIDGETS_OUTLINED_FRAME_H
