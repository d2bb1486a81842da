#include "examples/panel/things/thing.h"

namespace panel {

QString Thing::kind() const {
  if (!type) {
    return tr("Printer");
  }
  switch (*type) {
    case vel::DeviceType::kStorage:
      return tr("Storage");
    case vel::DeviceType::kCamera:
      return tr("Camera");
    case vel::DeviceType::kTablet:
      return tr("Tablet");
    case vel::DeviceType::kPrinterClass:
      return tr("USB printer");
    case vel::DeviceType::kGeneric:
      return tr("USB device");
    case vel::DeviceType::kNetwork:
      return tr("Network device");
    case vel::DeviceType::kNetworkPrinter:
      return tr("Network printer");
  }
  return tr("Device");
}

QString Thing::state() const {
  switch (status) {
    case vel::DeviceStatus::kGone:
      return tr("Gone");
    case vel::DeviceStatus::kAvailable:
      return policy == vel::LocalPolicy::kForbidden ? tr("On this machine, must not be attached")
                                                    : tr("On this machine");
    case vel::DeviceStatus::kAttached:
      return vm.empty() ? tr("Attached to a VM") : tr("Attached to %1").arg(shownText(vm));
    case vel::DeviceStatus::kIgnored:
      return tr("Ignored");
    case vel::DeviceStatus::kOutOfPaper:
      return tr("Out of paper");
    case vel::DeviceStatus::kPaperJam:
      return tr("Paper jam");
    case vel::DeviceStatus::kOutOfInk:
      return tr("Out of ink");
    case vel::DeviceStatus::kOffline:
      return tr("Offline");
  }
  return tr("State %1").arg(vel::number(status));
}

QByteArray dragDataOf(const Number& number) {
  const bool isPrinter = std::holds_alternative<vel::PrinterNumber>(number);
  const auto value = std::visit([](auto each) { return each.value(); }, number);
  return (isPrinter ? "printer " : "device ") + QByteArray::number(value);
}

std::optional<Number> numberIn(const QByteArray& dragData) {
  const QList<QByteArray> words = dragData.split(' ');
  bool isNumber = false;
  const ushort value = words.back().toUShort(&isNumber);
  if (words.size() != 2 || !isNumber) {
    return std::nullopt;
  }
  return words.front() == "printer" ? Number(vel::PrinterNumber(value))
                                    : Number(vel::DeviceNumber(value));
}

Thing thingOf(const vel::Device& device) {
  Thing thing;
  thing.number = device.number;
  thing.name = shownText(device.name);
  thing.status = device.status;
  thing.type = device.type;
  thing.policy = device.policy;
  thing.fullName = device.name;
  thing.policyText = device.policyText;
  thing.usb = device.usb;
  thing.vm = device.isAttached() ? device.vm : std::string();
  return thing;
}

Thing thingOf(const vel::Printer& printer) {
  Thing thing;
  thing.number = printer.number;
  thing.name = shownText(printer.name);
  thing.status = printer.status;
  thing.vm = printer.isAttached() ? printer.vm : std::string();
  return thing;
}

}  // namespace panel
