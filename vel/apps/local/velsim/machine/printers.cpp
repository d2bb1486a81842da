#include "vel/apps/local/velsim/machine/printers.h"

#include <utility>

#include "vel/apps/local/velsim/machine/devices.h"

namespace velsim {
namespace {

constexpr std::uint16_t kLocalPid = 0x0100;
constexpr std::uint16_t kNetworkPid = 0x0101;

constexpr PrinterTrouble kTroubles[] = {PrinterTrouble::kNone, PrinterTrouble::kOutOfPaper,
                                        PrinterTrouble::kPaperJam, PrinterTrouble::kOutOfInk,
                                        PrinterTrouble::kOffline};

}  // namespace

std::string wordFor(PrinterTrouble trouble) {
  return trouble == PrinterTrouble::kNone
             ? "none"
             : std::string(velprotocol::wordIn(velprotocol::kDeviceStatuses, trouble));
}

std::optional<PrinterTrouble> troubleWithWord(const std::string& word) {
  for (const PrinterTrouble trouble : kTroubles) {
    if (word == wordFor(trouble)) {
      return trouble;
    }
  }
  return std::nullopt;
}

std::vector<std::string> troubleWords() {
  std::vector<std::string> words;
  for (const PrinterTrouble trouble : kTroubles) {
    words.push_back(wordFor(trouble));
  }
  return words;
}

void complete(Printer& printer) {
  if (printer.sourceId == 0) {
    printer.sourceId =
        sourceIdOf(kVendor, printer.isNetwork ? kNetworkPid : kLocalPid, printer.number);
  }
}

Printers::Printers(const Setup& setup, NumberPool& numbers, Events& events)
    : numbers_(numbers), events_(events) {
  for (const Printer& printer : setup.printers) {
    initial_[printer.number] = printer;
    numbers_.reserve(printer.number);
  }
  printers_ = initial_;
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
  added.name = name;
  added.isNetwork = isNetwork;
  complete(added);
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

Status Printers::replug(std::uint16_t number) {
  const auto known = initial_.find(number);
  if (known == initial_.end()) {
    return Status::kUnknownPrinter;
  }
  if (find(number)) {
    return Status::kExists;
  }
  Printer& plugged = printers_[number];
  plugged = known->second;
  plugged.status = DeviceStatus::kAvailable;
  plugged.vm = 0;
  emit(plugged);
  return Status::kOk;
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

Status Printers::setTrouble(std::uint16_t number, PrinterTrouble trouble) {
  Printer* const changed = printer(number);
  if (!changed) {
    return Status::kUnknownPrinter;
  }
  if (changed->trouble != trouble) {
    changed->trouble = trouble;
    emit(*changed, changed->vm);
  }
  return Status::kOk;
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
    const auto known = initial_.find(number);
    if (known != initial_.end()) {
      restore(printer, known->second);
    } else if (printer.isNetwork) {
      addedByClients.push_back(number);
    } else {
      release(printer);
    }
  }
  for (const std::uint16_t number : addedByClients) {
    remove(*printer(number));
  }
  // Only clients remove network printers.
  for (const auto& [number, printer] : initial_) {
    if (printer.isNetwork && !find(number)) {
      replug(number);
      restore(printers_[number], printer);
    }
  }
}

void Printers::restore(Printer& printer, const Printer& state) {
  if (printer.vm != state.vm) {
    release(printer);
  }
  if (printer.name != state.name) {
    printer.name = state.name;
    emit(printer, printer.vm);
  }
  if (printer.vm != state.vm) {
    printer.status = DeviceStatus::kAttached;
    printer.vm = state.vm;
    emit(printer, printer.vm);
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
