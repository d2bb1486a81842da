#include "bus/dbus/bus_log.h"

#include "platform/log.h"

namespace qxbus {

void logError(const std::string& text) {
  constexpr int kErrorLevel = 7;
  norvoLogPrint(0, kErrorLevel, "QXBUS", "%s", text.c_str());
}

}  // namespace qxbus
