// A sheet that a stroke is drawn on, point by point.

#ifndef EXAMPLES_PENPAD_PAPER_H
#define EXAMPLES_PENPAD_PAPER_H

#include <optional>
#include <vector>

#include <QImage>
#include <QString>
#include <QTabletEvent>
#include <QWidget>

#include "pen/pen_frame.h"

namespace penpad {

// What the ink needs to know of a pen.
struct Sample {
  QPoint position;
  int pressure;  // 0 to 1024
  bool touches;  // false: above the surface
};

Sample sampleOf(const QTabletEvent& event, bool touches);
Sample sampleOf(const penframe::Packet& packet);

// Each pair of neighbouring samples that touch is joined by a line with round ends from the middle
// of one pixel to the middle of the other. It is as wide as the mean pressure of the two says, from
// 1.5 pixels at 0 to 11.5 at 1024.
class Paper : public QWidget {
 public:
  explicit Paper(QWidget* parent = nullptr);

  void add(const Sample& sample);
  void clear();
  // A remark in the middle, on top of the stroke; empty for none.
  void setRemark(const QString& remark);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void draw(const Sample& sample);

  std::vector<Sample> samples_;
  std::optional<Sample> last_;
  QImage image_;
  QString remark_;
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_PAPER_H
