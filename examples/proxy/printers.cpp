// Lists the printers of this machine, redirects the first one into a VM, and waits for the event
// that confirms it.
//
//   printers [VM]          win11 if absent

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <list>
#include <string>
#include <vector>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

constexpr int kAttached = 2;
constexpr std::chrono::seconds kMostForAnEvent{10};

struct Wanted {
  unsigned short number = 0;
  bool hasCome = false;
  std::promise<std::string> name;
};

// Runs on a thread of the bus. Every field of the record may be read until the function returns.
int handle(unsigned short /*code*/, PrinterDevice* printer, void* userData) {
  Wanted& wanted = *static_cast<Wanted*>(userData);
  if (printer->devNum == wanted.number && printer->status == kAttached && !wanted.hasCome) {
    wanted.hasCome = true;
    wanted.name.set_value(printer->name);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string vm = argc > 1 ? argv[1] : "win11";
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  Wanted wanted;
  const std::list<PrinterDevice*> printers = proxy->GetPrinterList("");
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  const qx::VelError error = qx::VelProxy::lastError();
  std::size_t index = 0;
  for (PrinterDevice* const printer : printers) {
    // The name runs to the end of the record, whose length the service chooses.
    const std::size_t length = lengths[index++];
    if (length > offsetof(PrinterDevice, name)) {
      const auto most = static_cast<int>(length - offsetof(PrinterDevice, name));
      std::printf("%d  %.*s  %d\n", printer->devNum, most, printer->name, printer->status);
      wanted.number = wanted.number == 0 ? printer->devNum : wanted.number;
    }
    std::free(printer);
  }
  if (wanted.number == 0) {
    std::fprintf(stderr, "no printer %s\n", error.text.c_str());
    return 1;
  }

  // Before the request, so that the event cannot be missed.
  proxy->RegisterPrinterCallback(&handle, &wanted);
  const int status = proxy->ConnectPrinter(vm, wanted.number);
  std::future<std::string> name = wanted.name.get_future();
  const bool isAttached =
      status == 0 && name.wait_for(kMostForAnEvent) == std::future_status::ready;
  proxy->UnregisterPrinterCallback();
  if (!isAttached) {
    std::fprintf(stderr, "not redirected: status %d\n", status);
    return 1;
  }
  std::printf("%s is in %s\n", name.get().c_str(), vm.c_str());
}
