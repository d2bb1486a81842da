// The colours of the window.

#ifndef EXAMPLES_PENPAD_COLOURS_H
#define EXAMPLES_PENPAD_COLOURS_H

#include <QColor>

namespace penpad {

constexpr QColor kPaperColour = QColor(0xFF, 0xFE, 0xFA);
constexpr QColor kInkColour = QColor(0x1B, 0x2A, 0x6B);
constexpr QColor kRemarkColour = QColor(0xFF, 0xF3, 0xD6);
constexpr QColor kRemarkEdgeColour = QColor(0xE5, 0xC0, 0x72);
constexpr QColor kRemarkTextColour = QColor(0x6B, 0x4A, 0x00);

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_COLOURS_H
