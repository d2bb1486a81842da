#include "examples/panel/cameras/turbo_config.h"

namespace panel {

void TurboConfig::read() {
  runReading([usb = usb_](const vel::Client& client) { return client.turboConfig(usb); },
             [this](const std::string& text) { text_ = text; });
}

void TurboConfig::save(const std::string& text) {
  run(
      [usb = usb_, text](const vel::Client& client) -> vel::Result<std::string> {
        const vel::Result<void> set = client.setTurboConfig(usb, text);
        return set ? client.turboConfig(usb) : vel::unexpected<vel::Error>(set.error());
      },
      [this](const std::string& now) {
        text_ = now;
        emit saved();
      });
}

}  // namespace panel
