// Keeps a VM session while the service dies and comes back. Ends when standard input does: Ctrl-D.
//
//   service_restart [VM]   win11 if absent

#include <cstdio>
#include <string>
#include <vector>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

void connect(const std::string& vm) {
  VmInfo session;
  session.vmId = vm;
  const unsigned int status = qx::VelProxy::getInstance()->ConnectVm(session);
  if (status == 0) {
    std::printf("connected: %s\n", vm.c_str());
  } else {
    const qx::VelError error = qx::VelProxy::lastError();
    std::printf("connectVm: status %d %s\n", static_cast<int>(status), error.text.c_str());
  }
  std::fflush(stdout);
}

// Runs on a thread of the bus. The registration stays when the service dies.
void serviceChanged(qx::ServiceState state, const std::vector<std::string>& /*vmIds*/,
                    void* userData) {
  const std::string& vm = *static_cast<const std::string*>(userData);
  if (state == qx::ServiceState::kGone) {
    std::printf("the session has ended: %s\n", vm.c_str());
    std::fflush(stdout);
    return;
  }
  // The new service has other numbers for VMs: ConnectVm asks for this one, and so its events
  // arrive again. What the old service kept, such as the session, is asked for again here.
  connect(vm);
}

int deviceChanged(unsigned short code, CommonDevice* device, void* /*userData*/) {
  std::printf("device event %d: %.128s\n", code, device->name);
  std::fflush(stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Lives as long as the process: the end of a registration does not wait for a callback.
  static std::string vm = argc > 1 ? argv[1] : "win11";
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  proxy->RegisterServiceCallback(&serviceChanged, &vm);
  proxy->RegisterDeviceCallback(&deviceChanged, &vm);

  connect(vm);
  while (std::getchar() != EOF) {
  }
  proxy->UnregisterDeviceCallback(&vm);
  proxy->RegisterServiceCallback(nullptr, &vm);
}
