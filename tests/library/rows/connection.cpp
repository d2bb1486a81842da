// The connection to the service.

#include "tests/library/rows/rows.h"

using scripted::debugLine;

std::vector<RemoteOperation> connectionRows() {
  return {
      RemoteOperation(
          SLOT(3, unsigned int, ResetService, ()),
          [](qx::VelProxy& proxy) { return shown(proxy.ResetService()); }, "resetService()")
          .ignoringStatus("0")
          .logsFirst({debugLine("ResetService", "enter")}),
  };
}
