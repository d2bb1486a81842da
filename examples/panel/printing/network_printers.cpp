#include "examples/panel/printing/network_printers.h"

namespace panel {
namespace {

using Printers = std::vector<vel::NetworkPrinter>;

// The list behind a change.
vel::Result<Printers> readBehind(const vel::Result<void>& change, const vel::Client& client) {
  return change ? client.networkPrinters() : vel::unexpected<vel::Error>(change.error());
}

}  // namespace

void NetworkPrinters::read() {
  runReading([](const vel::Client& client) { return client.networkPrinters(); },
             [this](const Printers& printers) { printers_ = printers; });
}

void NetworkPrinters::add(const std::string& address, const std::string& name) {
  run(
      [address, name](const vel::Client& client) {
        return readBehind(name.empty() ? client.addNetworkPrinter(address)
                                       : client.addNetworkPrinter(address, name),
                          client);
      },
      [this](const Printers& printers) {
        printers_ = printers;
        emit added();
      });
}

void NetworkPrinters::remove(const std::string& name) {
  run(
      [name](const vel::Client& client) {
        return readBehind(client.removeNetworkPrinter(name), client);
      },
      [this](const Printers& printers) { printers_ = printers; });
}

}  // namespace panel
