// The turbo configuration of a camera: a text whose meaning is the service's. Knows no widgets.

#ifndef EXAMPLES_PANEL_CAMERAS_TURBO_CONFIG_H
#define EXAMPLES_PANEL_CAMERAS_TURBO_CONFIG_H

#include <optional>
#include <string>

#include "examples/panel/service/work_model.h"

namespace panel {

class TurboConfig : public WorkModel {
  Q_OBJECT

 public:
  // The service must outlive the object.
  TurboConfig(Service& service, vel::UsbId usb) : WorkModel(service), usb_(usb) {}

  // As the service has it; none: not read yet.
  const std::optional<std::string>& text() const { return text_; }
  void save(const std::string& text);

 signals:
  // The service has taken the text.
  void saved();

 protected:
  void read() override;

 private:
  const vel::UsbId usb_;
  std::optional<std::string> text_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_CAMERAS_TURBO_CONFIG_H
