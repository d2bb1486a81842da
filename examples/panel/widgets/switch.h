// A switch: on and off side by side, with a text. To a keyboard and a screen reader it is a check
// box, but a click does not change it: the program does, when what was asked for is done.

#ifndef EXAMPLES_PANEL_WIDGETS_SWITCH_H
#define EXAMPLES_PANEL_WIDGETS_SWITCH_H

#include <QCheckBox>

namespace panel {

class Switch : public QCheckBox {
 public:
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void nextCheckState() override {}
  bool hitButton(const QPoint& point) const override { return rect().contains(point); }
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  QSize track() const;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WIDGETS_SWITCH_H
