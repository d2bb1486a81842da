// The service of the comparison, on this project's own service host.
//
//   velproxy_service ADDRESS    a bus, or direct:PATH to listen at a socket itself
//
// Writes "ready" when it can be called, and ends with its input.

#include <cstdio>
#include <exception>

#include <unistd.h>

#include "benchmarks/peers/workload.h"
#include "bus/dbus/service_host.h"
#include "bus/dbus/value.h"

namespace {

void serve(const std::string& address) {
  const qxbus::Bytes record = peers::newRecord();
  qxbus::Values list = {std::int32_t{peers::kRecords}};
  list.insert(list.end(), std::size_t{peers::kRecords}, record);
  const qxbus::Values event = {std::int32_t{0}, std::int32_t{peers::kDevicePlugged}, record};
  const auto status = [](qxbus::Request request) { request.reply({std::int32_t{peers::kStatus}}); };

  qxbus::ServiceHost* sender = nullptr;
  qxbus::ServiceHost host(
      address, "vel",
      {{"connectDevice", status},
       {"getVmListSize", [](qxbus::Request request) { request.reply({std::int32_t{peers::kVm}}); }},
       {"getDeviceList", [&list](qxbus::Request request) { request.reply(list); }},
       {"doveltest",
        [&](qxbus::Request request) {
          const int count = qxbus::readUInt16(request.arguments(), 1);
          request.reply({std::int32_t{peers::kStatus}});
          for (int i = 0; i < count; ++i) {
            sender->emitEvent(peers::kEvent, event);
          }
        }}},
      {peers::kEvent});
  sender = &host;
  std::puts("ready");
  std::fflush(stdout);
  char byte = 0;
  while (::read(STDIN_FILENO, &byte, 1) > 0) {
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    peers::fail("usage: velproxy_service ADDRESS");
  }
  try {
    serve(argv[1]);
  } catch (const std::exception& error) {
    peers::fail(error.what());
  }
  return 0;
}
