// The icon in the tray of the desktop: how many things are attached, a menu, and notifications.
// Harmless on a desktop without a tray.

#ifndef EXAMPLES_PANEL_DESKTOP_TRAY_H
#define EXAMPLES_PANEL_DESKTOP_TRAY_H

#include <QCoreApplication>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include "examples/panel/desktop/notifications.h"
#include "examples/panel/window.h"

namespace panel {

class Tray : public QObject {
  Q_DECLARE_TR_FUNCTIONS(panel::Tray)

 public:
  // Both must outlive the tray. Where there is a tray, the program goes on when the window is
  // closed.
  Tray(Window& window, const Service& service);

  QSystemTrayIcon& icon() { return icon_; }
  QMenu& menu() { return menu_; }
  // "2 of 7 attached".
  QString counts() const { return counts_->text(); }
  // The last notification.
  QString notification() const { return notification_; }

  // The icon with a number, in the colours of a palette, for usual and for fine screens.
  static QIcon iconFor(int attached, const QPalette& palette);

 private:
  void showCounts();
  void showWindow();
  void toggleWindow();

  Window& window_;
  const Service& service_;
  QMenu menu_;
  QAction* const counts_;
  QSystemTrayIcon icon_;
  int shownCount_ = -1;
  QString notification_;
  Notifications notifications_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_DESKTOP_TRAY_H
