#include "examples/panel/widgets/outlined_frame.h"

#include <QEvent>

namespace panel {
namespace {

// Below it an outline of the style is lost. 0 is black, 255 white.
constexpr int kLeastLightness = 16;

}  // namespace

void OutlinedFrame::changeEvent(QEvent* event) {
  QFrame::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    outline();
  }
}

void OutlinedFrame::outline() {
  const bool isBlack = palette().color(QPalette::Window).lightness() < kLeastLightness;
  setFrameShape(isBlack ? QFrame::Box : QFrame::StyledPanel);
  setFrameShadow(QFrame::Plain);
}

}  // namespace panel
