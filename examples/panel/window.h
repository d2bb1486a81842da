// The window: VMs on the left, pages on the right, above them a question about a new device, and a
// banner while the service is not available.

#ifndef EXAMPLES_PANEL_WINDOW_H
#define EXAMPLES_PANEL_WINDOW_H

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QWidget>

#include "examples/panel/new_devices/new_device_card.h"
#include "examples/panel/new_devices/new_devices_model.h"
#include "examples/panel/pages.h"
#include "examples/panel/service/service.h"
#include "examples/panel/things/things_model.h"
#include "examples/panel/vms/vm_list.h"
#include "examples/panel/widgets/outlined_frame.h"

namespace panel {

class Window : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::Window)

 public:
  // The service must outlive the window.
  explicit Window(Service& service);

  VmList& vms() { return vms_; }
  ThingsModel& things() { return things_; }
  NewDevicesModel& newDevices() { return newDevices_; }
  NewDeviceCard& newDeviceCard() { return newDeviceCard_; }
  Pages& pages() { return pages_; }
  QWidget& content() { return content_; }
  QPushButton& retryButton() { return retryButton_; }
  bool hasBanner() const { return banner_.isVisibleTo(this); }
  QString bannerText() const { return bannerText_.text(); }

 private:
  void layOut();
  void showService();

  Service& service_;
  ThingsModel things_;
  NewDevicesModel newDevices_;
  OutlinedFrame banner_;
  QLabel bannerText_;
  QPushButton retryButton_;
  QWidget content_;
  VmList vms_;
  NewDeviceCard newDeviceCard_;
  Pages pages_;
  // What had the focus when the content was greyed.
  QPointer<QWidget> focusBefore_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WINDOW_H
