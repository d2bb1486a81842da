// velctl printer, network-printer: printers, and their redirection into VMs.

#include <algorithm>
#include <cstdint>
#include <string>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

vel::Result<void> addNetworkPrinter(const vel::Client& client, const Values& values) {
  return values.has("NAME") ? client.addNetworkPrinter(values.text("ADDRESS"), values.text("NAME"),
                                                       values.text("EXTRA"))
                            : client.addNetworkPrinter(values.text("ADDRESS"));
}

vel::Result<std::vector<vel::NetworkPrinter>> networkPrinterNamed(const vel::Client& client,
                                                                  const Values& values) {
  vel::Result<std::vector<vel::NetworkPrinter>> printers = client.networkPrinters();
  if (printers) {
    const std::string name = values.text("NAME");
    const auto isOther = [&name](const vel::NetworkPrinter& printer) {
      return printer.name != name;
    };
    printers->erase(std::remove_if(printers->begin(), printers->end(), isOther), printers->end());
  }
  return printers;
}

std::vector<Command> redirection() {
  return {
      {"printer list",
       "List the printers that can be redirected into a VM",
       {vmOption().orElse("")},
       lists("getPrinterList", "printers", printerFields(),
             [](const vel::Client& client, const Values& values) {
               return client.printers(values.vm());
             }),
       {{"printer list --vm win11", "The printers of win11"}}},
      {"printer show",
       "Show one printer in full",
       {printerArgument()},
       shows("getPrinterStatus", "printer", "velctl printer list", printerFields(),
             [](const vel::Client& client, const Values& values) {
               return client.printer(values.printer());
             }),
       {{"printer show 51", "The printer with the number 51"}},
       "",
       "printer status"},
      {"printer attach",
       "Redirect a printer into a VM",
       {printerArgument(), vmOption().required()},
       asks(
           "connectPrinter",
           [](const vel::Client& client, const Values& values) {
             return client.attach(values.vm(), values.printer());
           },
           "printer {PRINTER} attached to {--vm}"),
       {{"printer attach 51 --vm win11", "Redirect the printer with the number 51"}},
       "",
       "printer connect"},
      {"printer detach",
       "Take a printer back from a VM",
       {printerArgument(), vmOption().required()},
       asks(
           "disconnectPrinter",
           [](const vel::Client& client, const Values& values) {
             return client.detach(values.vm(), values.printer());
           },
           "printer {PRINTER} detached from {--vm}"),
       {{"printer detach 51 --vm win11", "Take it back"}},
       "",
       "printer disconnect"},
      {"printer command",
       "Run a command for a printer; the service does not report the result (takes up to 10 s)",
       {sourceArgument(), number<std::uint16_t>("COMMAND", "Of velsim 1: attach, 2: detach"),
        vmOption().required()},
       asksWithoutStatus(
           "ConfigPrinterCommand",
           [](const vel::Client& client, const Values& values) {
             return client.commandPrinter(values.vm(), values.source(),
                                          values.number<std::uint16_t>("COMMAND"));
           },
           "command {COMMAND} given to the printer of source {SOURCE}",
           "waiting for the answer to the command"),
       {{"printer command 'Label printer' 1 --vm win11", "Attach the printer with this source"}}},
  };
}

std::vector<Command> networkPrinters() {
  return {
      {"network-printer list",
       "List the network printers",
       {},
       lists("getNetworkPrinterList", "printers", networkPrinterFields(),
             [](const vel::Client& client, const Values&) { return client.networkPrinters(); }),
       {{"network-printer list", "With their addresses"}},
       "",
       "printer network list"},
      {"network-printer show",
       "Show one network printer in full",
       {thing(Kind::kNetworkPrinter, "NAME", "Name of the printer").silent()},
       shows("getNetworkPrinterList", "network printer", "velctl network-printer list",
             networkPrinterFields(), &networkPrinterNamed),
       {{"network-printer show Office", "The printer with the name Office"}}},
      {"network-printer add",
       "Add a network printer",
       {text("ADDRESS", "Address of the printer").notEmpty(),
        text("NAME", "Name of the printer (default: the library's)").optional().notEmpty(),
        text("EXTRA", "Further text for the service").optional()},
       asks("addNetworkPrinter", &addNetworkPrinter, "{ADDRESS} added"),
       {{"network-printer add 10.0.0.7 Office", "A printer that is called Office"}},
       "",
       "printer network add"},
      {"network-printer remove",
       "Remove a network printer",
       {thing(Kind::kNetworkPrinter, "NAME", "Name of the printer")},
       asks(
           "deleteNetworkPrinter",
           [](const vel::Client& client, const Values& values) {
             return client.removeNetworkPrinter(values.text("NAME"));
           },
           "{NAME} removed"),
       {{"network-printer remove Office", "Remove the printer Office"}},
       "",
       "printer network delete"},
      {"network-printer rename",
       "Rename a network printer",
       {thing(Kind::kNetworkPrinter, "OLD-NAME", "Present name of the printer").notEmpty(),
        text("NEW-NAME", "New name of the printer").notEmpty()},
       asks(
           "renameNetworkPrinter",
           [](const vel::Client& client, const Values& values) {
             return client.renameNetworkPrinter(values.text("OLD-NAME"), values.text("NEW-NAME"));
           },
           "{OLD-NAME} is now {NEW-NAME}"),
       {{"network-printer rename Office Reception", "Give the printer another name"}},
       "",
       "printer network rename"},
  };
}

}  // namespace

std::vector<Command> printerCommands() {
  std::vector<Command> commands = redirection();
  const std::vector<Command> more = networkPrinters();
  commands.insert(commands.end(), more.begin(), more.end());
  return commands;
}

}  // namespace velctl
