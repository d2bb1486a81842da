// Keeps a VM session while the service dies and comes back. Ends when standard input does: Ctrl-D.
//
//   service_restart [VM]   win11 if absent

#include <iostream>
#include <limits>
#include <string>

#include "vel/client/client.h"

namespace {

void connect(const vel::Client& client, const std::string& vm) {
  vel::VmSession session;
  session.vm = vm;
  if (const auto connected = client.connectVm(session); !connected) {
    std::cout << connected.error().message() << std::endl;
  } else {
    std::cout << "connected: " << vm << std::endl;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string vm = argc > 1 ? argv[1] : "win11";
  const vel::Client client;

  // The death ends the session. A subscription stays, also one to the devices of the VM.
  const vel::Subscription ends = client.onSessionEnd(vm, [](const vel::SessionEnd& end) {
    std::cout << "the session has ended: " << end.vm << std::endl;
  });
  // The Client has named the VM to the new service: events arrive again. What the old service kept,
  // such as the session, is asked for again here.
  const vel::Subscription returns =
      client.onServiceReturn([&client, &vm](const vel::ServiceReturn& back) {
        for (const vel::Error& failure : back.failures) {
          std::cout << failure.message() << std::endl;
        }
        connect(client, vm);
      });
  const vel::Subscription devices = client.onDevice([](const vel::DeviceEvent& event) {
    std::cout << vel::name(event.code) << ": " << event.device.name << std::endl;
  });

  connect(client, vm);
  std::cin.ignore(std::numeric_limits<std::streamsize>::max());
}
