// The colours of a sheet.

#ifndef EXAMPLES_PEN_CANVAS_COLOURS_H
#define EXAMPLES_PEN_CANVAS_COLOURS_H

#include <QColor>

namespace pencanvas {

// As they are on paper; a program with a palette sets its own.
struct Colours {
  QColor paper = QColor(0xFF, 0xFE, 0xFA);
  QColor ink = QColor(0x1B, 0x2A, 0x6B);
  QColor remark = QColor(0xFF, 0xF3, 0xD6);
  QColor remarkEdge = QColor(0xE5, 0xC0, 0x72);
  QColor remarkText = QColor(0x6B, 0x4A, 0x00);
};

}  // namespace pencanvas

#endif  // EXAMPLES_PEN_CANVAS_COLOURS_H
