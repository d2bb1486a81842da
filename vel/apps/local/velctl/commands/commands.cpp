#include "vel/apps/local/velctl/commands/commands.h"

#include <iterator>

namespace velctl {
namespace {

using Commands = std::vector<Command>();

constexpr Commands* kCommands[] = {
    &statusCommands,  &doctorCommands,         &waitCommands,      &watchCommands,
    &vmCommands,      &deviceCommands,         &newDeviceCommands, &policyCommands,
    &printerCommands, &sharedPrinterCommands,  &queueCommands,     &joystickCommands,
    &penCommands,     &serviceCommandCommands, &serviceCommands,   &velctlCommands,
};

}  // namespace

// In the order of the help.
const std::vector<Noun>& nouns() {
  static const auto& all = *new std::vector<Noun>{
      {"status", ""},
      {"doctor", ""},
      {"watch", ""},
      {"wait", "Wait until the service, a device or a printer is there"},
      {"vm", "VM sessions"},
      {"device", "Devices of this machine and of the network"},
      {"printer", "Printers, and their redirection into VMs"},
      {"joystick", "Joysticks and their mappings"},
      {"mapping", "Mappings of the buttons and axes of joysticks"},
      {"camera", "The camera of this machine"},
      {"network-printer", "Printers that are reached over the network"},
      {"shared-printer", "Printers that other machines share"},
      {"queue", "Print queues of this machine and their drivers"},
      {"network-device", "Devices that a client adds"},
      {"new-device", "What the user has chosen for a newly plugged-in device"},
      {"storage", "Storage devices"},
      {"usb", "USB devices that a client redirects through its own channel"},
      {"policy", "Policies for devices"},
      {"auto-connect", "Automatic attachment of devices by their type"},
      {"property", "Properties by USB vendor and product id"},
      {"turbo", "Turbo configurations by USB vendor and product id"},
      {"port", "Port channels of VM sessions"},
      {"pipe", "Data pipes of VM sessions"},
      {"token", "Tokens for redirected drives"},
      {"bandwidth", "Reports on the bandwidth of the stream"},
      {"quality", "Reports on the quality of the stream"},
      {"pen", "Pen input on a pen port; needs no service"},
      {"command", "Commands of the service"},
      {"self-test", "Self-tests of the service"},
      {"service", "The service itself"},
      {"shell", ""},
      {"completion", ""},
      {"help", ""},
  };
  return all;
}

const std::vector<Command>& commands() {
  static const auto& all = *[] {
    auto* const rows = new std::vector<Command>;
    for (Commands* const some : kCommands) {
      std::vector<Command> more = some();
      std::move(more.begin(), more.end(), std::back_inserter(*rows));
    }
    return rows;
  }();
  return all;
}

}  // namespace velctl
