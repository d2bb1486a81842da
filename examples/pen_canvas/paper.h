// A sheet on which strokes are drawn, sample by sample.

#ifndef EXAMPLES_PEN_CANVAS_PAPER_H
#define EXAMPLES_PEN_CANVAS_PAPER_H

#include <optional>
#include <vector>

#include <QImage>
#include <QString>
#include <QTabletEvent>
#include <QWidget>

#include "examples/pen_canvas/colours.h"
#include "pen/pen_frame.h"

namespace pencanvas {

// The state of a pen, as far as it changes the ink.
struct Sample {
  QPoint position;
  int pressure;  // 0 to 1024
  bool touches;  // false: above the surface
  // Degrees from the vertical, to the right and towards the user.
  int tiltX = 0;
  int tiltY = 0;
};

Sample sampleOf(const QTabletEvent& event, bool touches);
Sample sampleOf(const penframe::Packet& packet);

// A line with round ends joins the middle of one pixel to that of the next, where both samples
// touch. The mean pressure of the two gives its width: 1.5 pixels at 0, 11.5 at 1024.
class Paper : public QWidget {
 public:
  explicit Paper(QWidget* parent = nullptr);

  void add(const Sample& sample);
  void clear();
  void setColours(const Colours& colours);
  // Whether the sheet shows the pen at its last sample: a ring that grows with the pressure, and a
  // line to the side to which the pen leans.
  void setShowsPen(bool showsPen);
  // A text in the middle, on top of the strokes; empty: none.
  void setRemark(const QString& remark);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void draw(const Sample& sample);
  void redraw();
  void drawPen(QPainter& painter) const;
  void drawRemark(QPainter& painter) const;

  Colours colours_;
  bool showsPen_ = false;
  std::vector<Sample> samples_;
  std::optional<Sample> last_;
  QImage image_;
  QString remark_;
};

}  // namespace pencanvas

#endif  // EXAMPLES_PEN_CANVAS_PAPER_H
