// The card that asks what to do with a device that has been plugged in. One device at a time; the
// others wait.

#ifndef EXAMPLES_PANEL_NEW_DEVICES_NEW_DEVICE_CARD_H
#define EXAMPLES_PANEL_NEW_DEVICES_NEW_DEVICE_CARD_H

#include <optional>

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "examples/panel/new_devices/new_devices_model.h"
#include "examples/panel/vms/vm_list.h"
#include "examples/panel/widgets/outlined_frame.h"

namespace panel {

class NewDeviceCard : public OutlinedFrame {
  Q_DECLARE_TR_FUNCTIONS(panel::NewDeviceCard)

 public:
  // Model and list must outlive the card. The chosen VM is where the device is attached to.
  NewDeviceCard(NewDevicesModel& model, VmList& vms);

  QPushButton& attachButton() { return attach_; }
  QPushButton& ignoreButton() { return ignore_; }
  QPushButton& alwaysButton() { return always_; }
  QString question() const { return question_.text(); }
  // Empty: there is none.
  QString problem() const { return problem_.text(); }

 private:
  void layOut();
  void ask(const NewDevice& device, std::size_t others);
  void showFront();

  NewDevicesModel& model_;
  VmList& vms_;
  std::optional<vel::DeviceNumber> asked_;
  QLabel question_;
  QLabel others_;
  QLabel problem_;
  QPushButton attach_;
  QPushButton always_;
  QPushButton ignore_;
  QProgressBar progress_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_NEW_DEVICES_NEW_DEVICE_CARD_H
