// The page of the pen: a sheet to draw on, which shows pressure and tilt, and the frames that the
// library sends for it. The page is the far end of the port as well, so it needs no VM.

#ifndef EXAMPLES_PANEL_PEN_PEN_PAGE_H
#define EXAMPLES_PANEL_PEN_PEN_PAGE_H

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QWidget>

#include "examples/pen_canvas/drawing_pad.h"
#include "examples/pen_canvas/frame_table.h"
#include "examples/pen_canvas/pen_link.h"

namespace panel {

class PenPage : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::PenPage)

 public:
  PenPage();

  pencanvas::DrawingPad& pad() { return pad_; }
  pencanvas::FrameTable& frames() { return frames_; }
  QPushButton& sampleButton() { return sample_; }
  QPushButton& clearButton() { return clear_; }
  // "Pressure 40 %, tilt 12°, -5°"
  QString pen() const { return pen_.text(); }
  QString counts() const { return counts_.text(); }

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void layOut();
  void useColours();
  void send(QTabletEvent* event);
  void receive(const penframe::Frame& frame);
  void drawSample();
  void clear();
  void showCounts();

  pencanvas::PenLink link_;
  pencanvas::DrawingPad pad_;
  pencanvas::FrameTable frames_;
  QLabel pen_;
  QLabel counts_;
  QPushButton sample_;
  QPushButton clear_;
  QTableView table_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PEN_PEN_PAGE_H
