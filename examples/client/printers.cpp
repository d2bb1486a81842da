// Lists the printers of this machine, redirects the first one into a VM, and waits for the event
// that confirms it.
//
//   printers [VM]          win11 if absent

#include <chrono>
#include <future>
#include <iostream>
#include <string>

#include "vel/client/client.h"

namespace {

constexpr std::chrono::seconds kMostForAnEvent{10};

int failed(const vel::Error& error) {
  std::cerr << error.message() << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string vm = argc > 1 ? argv[1] : "win11";
  const vel::Client client;
  const auto printers = client.printers("");
  if (!printers) {
    return failed(printers.error());
  }
  for (const vel::Printer& printer : *printers) {
    std::cout << printer.number << "  " << printer.name << "  " << vel::name(printer.status)
              << '\n';
  }
  if (printers->empty()) {
    std::cerr << "this machine has no printer\n";
    return 1;
  }

  // Before the request, so that the event cannot be missed.
  const vel::PrinterNumber first = printers->front().number;
  std::promise<vel::Printer> attached;
  bool isFirst = true;
  const vel::Subscription events = client.onPrinter([&](const vel::PrinterEvent& event) {
    if (isFirst && event.printer.number == first && event.printer.isAttached()) {
      isFirst = false;
      attached.set_value(event.printer);
    }
  });
  if (const auto result = client.attach(vm, first); !result) {
    return failed(result.error());
  }
  std::future<vel::Printer> event = attached.get_future();
  if (event.wait_for(kMostForAnEvent) != std::future_status::ready) {
    std::cerr << "no event has come\n";
    return 1;
  }
  const vel::Printer printer = event.get();
  std::cout << printer.name << " is in " << printer.vm << '\n';
}
