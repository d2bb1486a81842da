// The window: on the left the input, on the right the same stroke from the frames alone, below the
// frames.

#ifndef EXAMPLES_PENPAD_WINDOW_H
#define EXAMPLES_PENPAD_WINDOW_H

#include <QCheckBox>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QWidget>

#include "examples/pen_canvas/drawing_pad.h"
#include "examples/pen_canvas/frame_table.h"
#include "examples/pen_canvas/pen_link.h"

namespace penpad {

using pencanvas::DrawingPad;
using pencanvas::FrameTable;
using pencanvas::Paper;
using pencanvas::PenLink;

class Window : public QWidget {
 public:
  Window();

  DrawingPad& drawn() { return drawn_; }
  Paper& redrawn() { return redrawn_; }
  FrameTable& frames() { return frames_; }
  QPushButton& deviceButton() { return deviceButton_; }
  QSpinBox& deviceNumber() { return deviceNumber_; }
  QCheckBox& portOpen() { return portOpen_; }
  QPushButton& clearButton() { return clearButton_; }
  // The text of the line between strokes and table.
  QString status() const { return status_.text(); }

  // An image of the window. Its texts "Drawn" and "Redrawn" are the places of the two sheets:
  // "x y width height".
  QImage picture();

 protected:
  // Receives the proximity events of a pen, which go to no widget.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void send(QTabletEvent* event);
  void receive(const penframe::Frame& frame);
  void deliverDeviceNumber();
  void clear();
  void showStatus();
  QWidget* captioned(const QString& caption, const QString& text, Paper* paper);
  void layOut();

  PenLink link_;
  DrawingPad drawn_;
  Paper redrawn_;
  FrameTable frames_;
  QTableView table_;
  QLabel lamp_;
  QLabel status_;
  QSpinBox deviceNumber_;
  QPushButton deviceButton_;
  QCheckBox portOpen_;
  QPushButton clearButton_;
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_WINDOW_H
