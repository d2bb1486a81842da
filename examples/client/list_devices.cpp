// Attaches a VM session, and lists the devices that the VM can have.
//
//   list_devices [VM]      win11 if absent

#include <iostream>
#include <string>

#include "vel/client/client.h"

namespace {

int failed(const vel::Error& error) {
  std::cerr << error.message() << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  vel::VmSession session;
  session.vm = argc > 1 ? argv[1] : "win11";
  const vel::Client client;
  if (const auto connected = client.connectVm(session); !connected) {
    return failed(connected.error());
  }

  const auto devices = client.devices(session.vm);
  if (!devices) {
    return failed(devices.error());
  }
  for (const vel::Device& device : *devices) {
    std::cout << device.number << "  " << device.name << "  " << vel::name(device.status) << '\n';
  }

  // Does not wait: the result says whether the request was sent.
  if (const auto disconnected = client.disconnectVm(session.vm); !disconnected) {
    return failed(disconnected.error());
  }
}
