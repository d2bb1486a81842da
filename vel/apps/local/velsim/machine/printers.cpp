#include "vel/apps/local/velsim/machine/printers.h"

#include <utility>

#include "vel/apps/local/velsim/machine/devices.h"

namespace velsim {
namespace {

constexpr std::uint16_t kVendor = 0x7E57;
constexpr std::uint16_t kLocalPid = 0x0100;
constexpr std::uint16_t kNetworkPid = 0x0101;

constexpr std::pair<std::uint16_t, const char*> kBuiltIn[] = {{21, "Office laser"},
                                                              {22, "Photo printer"}};

}  // namespace

Printers::Printers(NumberPool& numbers, Events& events) : numbers_(numbers), events_(events) {
  for (const auto& [number, name] : kBuiltIn) {
    add(number, name, false);
  }
}

std::vector<const Printer*> Printers::of(VmNumber vm) const {
  std::vector<const Printer*> found;
  for (const auto& [number, printer] : printers_) {
    if (printer.vm == 0 || printer.vm == vm) {
      found.push_back(&printer);
    }
  }
  return found;
}

std::vector<const Printer*> Printers::network() const {
  std::vector<const Printer*> found;
  for (const auto& [number, printer] : printers_) {
    if (printer.isNetwork) {
      found.push_back(&printer);
    }
  }
  return found;
}

const Printer* Printers::find(std::uint16_t number) const {
  const auto known = printers_.find(number);
  return known != printers_.end() ? &known->second : nullptr;
}

const Printer* Printers::findBySource(std::uint64_t sourceId) const {
  for (const auto& [number, printer] : printers_) {
    if (printer.sourceId == sourceId) {
      return &printer;
    }
  }
  return nullptr;
}

Printer* Printers::printer(std::uint16_t number) {
  const auto known = printers_.find(number);
  return known != printers_.end() ? &known->second : nullptr;
}

Printer* Printers::networkPrinter(const std::string& name) {
  for (auto& [number, printer] : printers_) {
    if (printer.isNetwork && printer.name == name) {
      return &printer;
    }
  }
  return nullptr;
}

Printer& Printers::add(std::uint16_t number, const std::string& name, bool isNetwork) {
  Printer& added = printers_[number];
  added.number = number;
  added.sourceId = sourceIdOf(kVendor, isNetwork ? kNetworkPid : kLocalPid, number);
  added.name = name;
  added.isNetwork = isNetwork;
  return added;
}

const Printer* Printers::plug(const std::string& name) {
  const std::uint16_t number = numbers_.take();
  if (number == 0) {
    return nullptr;
  }
  const Printer& plugged = add(number, name, false);
  emit(plugged);
  return &plugged;
}

Status Printers::unplug(std::uint16_t number) {
  Printer* const unplugged = printer(number);
  if (!unplugged || unplugged->isNetwork) {
    return Status::kUnknownPrinter;
  }
  remove(*unplugged);
  return Status::kOk;
}

Status Printers::attach(std::uint16_t number, VmNumber vm) {
  Printer* const attached = printer(number);
  if (!attached) {
    return Status::kUnknownPrinter;
  }
  if (attached->vm == vm) {
    return Status::kOk;
  }
  if (attached->vm != 0) {
    return Status::kBusy;
  }
  attached->status = DeviceStatus::kAttached;
  attached->vm = vm;
  emit(*attached, vm);
  return Status::kOk;
}

Status Printers::detach(std::uint16_t number, VmNumber vm) {
  Printer* const detached = printer(number);
  if (!detached) {
    return Status::kUnknownPrinter;
  }
  if (detached->vm == 0 || detached->vm != vm) {
    return Status::kNotAttached;
  }
  release(*detached);
  return Status::kOk;
}

void Printers::detachAll(VmNumber vm) {
  for (auto& [number, printer] : printers_) {
    if (printer.vm == vm) {
      release(printer);
    }
  }
}

Status Printers::addNetwork(const std::string& address, const std::string& name,
                            const std::string& extra) {
  if (address.empty() || name.empty()) {
    return Status::kEmptyText;
  }
  if (networkPrinter(name)) {
    return Status::kExists;
  }
  const std::uint16_t number = numbers_.take();
  if (number == 0) {
    return Status::kFull;
  }
  Printer& added = add(number, name, true);
  added.address = address;
  added.extra = extra;
  emit(added);
  return Status::kOk;
}

Status Printers::removeNetwork(const std::string& name) {
  Printer* const removed = networkPrinter(name);
  if (!removed) {
    return Status::kUnknownPrinter;
  }
  remove(*removed);
  return Status::kOk;
}

Status Printers::renameNetwork(const std::string& from, const std::string& to) {
  if (to.empty()) {
    return Status::kEmptyText;
  }
  Printer* const renamed = networkPrinter(from);
  if (!renamed) {
    return Status::kUnknownPrinter;
  }
  if (from == to) {
    return Status::kOk;
  }
  if (networkPrinter(to)) {
    return Status::kExists;
  }
  renamed->name = to;
  emit(*renamed, renamed->vm);
  return Status::kOk;
}

void Printers::emitAll() {
  for (const auto& [number, printer] : printers_) {
    emit(printer);
  }
}

void Printers::reset() {
  std::vector<std::uint16_t> addedByClients;
  for (auto& [number, printer] : printers_) {
    if (printer.isNetwork) {
      addedByClients.push_back(number);
    } else {
      release(printer);
    }
  }
  for (const std::uint16_t number : addedByClients) {
    remove(*printer(number));
  }
}

void Printers::remove(Printer& printer) {
  release(printer);
  printer.status = DeviceStatus::kGone;
  emit(printer);
  const std::uint16_t number = printer.number;
  printers_.erase(number);
  numbers_.giveBack(number);
}

void Printers::release(Printer& printer) {
  if (printer.vm == 0) {
    return;
  }
  const VmNumber vm = std::exchange(printer.vm, 0);
  printer.status = DeviceStatus::kAvailable;
  emit(printer, vm);
}

void Printers::emit(const Printer& printer, VmNumber vm) {
  events_.add(vm, PrinterEvent{printer});
}

}  // namespace velsim
