// The place and size of a window, and of the parts of its splitters that have a name, kept from one
// run to the next.

#ifndef EXAMPLES_PANEL_DESKTOP_REMEMBERED_H
#define EXAMPLES_PANEL_DESKTOP_REMEMBERED_H

#include <QObject>
#include <QSettings>
#include <QWidget>

namespace panel {

// Applies what the settings have. Keeps it when the window closes or hides, and at its own end.
// Window and settings must outlive it.
class Remembered : public QObject {
 public:
  Remembered(QWidget& window, QSettings& settings);
  ~Remembered() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void keep();

  QWidget& window_;
  QSettings& settings_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_DESKTOP_REMEMBERED_H
