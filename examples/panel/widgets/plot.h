// Lines over time, in the colours of the palette. The newest reading stands where the reading
// direction ends.

#ifndef EXAMPLES_PANEL_WIDGETS_PLOT_H
#define EXAMPLES_PANEL_WIDGETS_PLOT_H

#include <vector>

#include <QCoreApplication>
#include <QWidget>

namespace panel {

class Plot : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::Plot)

 public:
  struct Line {
    QString name;
    std::vector<double> values;  // oldest first
  };

  // room: for how many readings there is room.
  explicit Plot(int room);

  void setLines(std::vector<Line> lines);

  // What the axis ends with: 1, 2 or 5 times a power of ten, at least the greatest value.
  static double roundedUp(double greatest);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void drawAxes(QPainter& painter, const QRectF& area, double top) const;
  void drawLine(QPainter& painter, const QRectF& area, double top, std::size_t index) const;
  void drawName(QPainter& painter, const QRectF& area, std::size_t index) const;
  QPen penOf(std::size_t index) const;
  QPalette::ColorGroup group() const;

  const int room_;
  std::vector<Line> lines_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WIDGETS_PLOT_H
