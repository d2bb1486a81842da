#include "vel/apps/local/velsim/machine/devices.h"

#include <algorithm>
#include <utility>

namespace velsim {
namespace {

bool isPluggable(DeviceType type) {
  return type != DeviceType::kNetwork && type != DeviceType::kNetworkPrinter;
}

}  // namespace

std::string wordFor(DeviceType type) {
  return std::string(nameOf(type));
}

std::optional<DeviceType> typeWithWord(const std::string& word) {
  for (const velprotocol::Meaning& row : velprotocol::kDeviceTypes) {
    if (row.word == word) {
      return static_cast<DeviceType>(row.number);
    }
  }
  return std::nullopt;
}

std::optional<DeviceType> pluggableType(const std::string& word) {
  const std::optional<DeviceType> type = typeWithWord(word);
  return type && isPluggable(*type) ? type : std::nullopt;
}

std::vector<std::string> pluggableTypes() {
  std::vector<std::string> words;
  for (const velprotocol::Meaning& row : velprotocol::kDeviceTypes) {
    if (isPluggable(static_cast<DeviceType>(row.number))) {
      words.emplace_back(row.word);
    }
  }
  return words;
}

std::uint64_t sourceIdOf(std::uint16_t vid, std::uint16_t pid, std::uint16_t number) {
  constexpr int kVidShift = 48;
  constexpr int kPidShift = 32;
  return std::uint64_t{vid} << kVidShift | std::uint64_t{pid} << kPidShift | number;
}

void complete(Device& device) {
  if (device.vid == 0 && device.pid == 0) {
    device.vid = kVendor;
    device.pid = static_cast<std::uint16_t>(device.type);
  }
  if (device.sourceId == 0) {
    device.sourceId = sourceIdOf(device.vid, device.pid, device.number);
  }
}

Devices::Devices(const Setup& setup, NumberPool& numbers, Events& events)
    : numbers_(numbers), events_(events), isCameraAllowed_(setup.isCameraAllowed) {
  for (const Device& device : setup.devices) {
    initial_[device.number] = device;
    numbers_.reserve(device.number);
  }
  devices_ = initial_;
}

std::vector<const Device*> Devices::of(VmNumber vm) const {
  std::vector<const Device*> found;
  for (const auto& [number, device] : devices_) {
    if (device.vm == 0 || device.vm == vm) {
      found.push_back(&device);
    }
  }
  return found;
}

const Device* Devices::find(std::uint16_t number) const {
  const auto known = devices_.find(number);
  return known != devices_.end() ? &known->second : nullptr;
}

const Device* Devices::findBySource(std::uint64_t sourceId) const {
  for (const auto& [number, device] : devices_) {
    if (device.sourceId == sourceId) {
      return &device;
    }
  }
  return nullptr;
}

Device* Devices::device(std::uint16_t number) {
  const auto known = devices_.find(number);
  return known != devices_.end() ? &known->second : nullptr;
}

const Device* Devices::findNetwork(const std::string& text) const {
  for (const auto& [number, device] : devices_) {
    if (device.type == DeviceType::kNetwork && device.originalName == text) {
      return &device;
    }
  }
  return nullptr;
}

const Device* Devices::plug(DeviceType type, const std::string& name) {
  const std::uint16_t number = numbers_.take();
  if (number == 0) {
    return nullptr;
  }
  Device& plugged = devices_[number];
  plugged.number = number;
  plugged.type = type;
  plugged.name = name;
  plugged.originalName = name;
  plugged.isMounted = type == DeviceType::kStorage;
  complete(plugged);
  emit(DeviceChange::kPlugged, plugged);
  if (plugged.isMounted) {
    emit(DeviceChange::kMounted, plugged);
  }
  return &plugged;
}

Status Devices::replug(std::uint16_t number) {
  const auto known = initial_.find(number);
  if (known == initial_.end()) {
    return Status::kUnknownDevice;
  }
  if (find(number)) {
    return Status::kExists;
  }
  Device& plugged = devices_[number];
  plugged = known->second;
  plugged.status = DeviceStatus::kAvailable;
  plugged.vm = 0;
  plugged.isMounted = plugged.type == DeviceType::kStorage;
  emit(DeviceChange::kPlugged, plugged);
  if (plugged.isMounted) {
    emit(DeviceChange::kMounted, plugged);
  }
  return Status::kOk;
}

Status Devices::unplug(std::uint16_t number) {
  Device* const unplugged = device(number);
  if (!unplugged) {
    return Status::kUnknownDevice;
  }
  release(*unplugged);
  setMounted(*unplugged, false);
  unplugged->status = DeviceStatus::kGone;
  emit(DeviceChange::kUnplugged, *unplugged);
  devices_.erase(number);
  numbers_.giveBack(number);
  return Status::kOk;
}

Status Devices::attach(std::uint16_t number, VmNumber vm) {
  Device* const attached = device(number);
  if (!attached) {
    return Status::kUnknownDevice;
  }
  if (attached->vm == vm) {
    return Status::kOk;
  }
  if (attached->vm != 0) {
    return Status::kBusy;
  }
  const bool isForbidden = attached->policy == static_cast<std::int16_t>(LocalPolicy::kForbidden) ||
                           (attached->type == DeviceType::kCamera && !isCameraAllowed_);
  if (isForbidden) {
    return Status::kForbidden;
  }
  setMounted(*attached, false);
  attached->status = DeviceStatus::kAttached;
  attached->vm = vm;
  emit(DeviceChange::kAttached, *attached, vm);
  return Status::kOk;
}

Status Devices::detach(std::uint16_t number, VmNumber vm) {
  Device* const detached = device(number);
  if (!detached) {
    return Status::kUnknownDevice;
  }
  if (detached->vm == 0 || detached->vm != vm) {
    return Status::kNotAttached;
  }
  release(*detached);
  return Status::kOk;
}

Status Devices::move(std::uint16_t number, VmNumber vm) {
  Device* const moved = device(number);
  if (moved && moved->vm != vm) {
    release(*moved);
  }
  return attach(number, vm);
}

void Devices::detachAll(VmNumber vm) {
  for (auto& [number, device] : devices_) {
    if (device.vm == vm) {
      release(device);
    }
  }
}

Status Devices::ignore(std::uint16_t number) {
  Device* const ignored = device(number);
  if (!ignored) {
    return Status::kUnknownDevice;
  }
  if (ignored->vm != 0) {
    return Status::kBusy;
  }
  ignored->status = DeviceStatus::kIgnored;
  emit(DeviceChange::kAltered, *ignored);
  return Status::kOk;
}

Status Devices::setPolicy(std::uint16_t number, std::int16_t policy, const std::string& name,
                          const std::string& text) {
  Device* const changed = device(number);
  if (!changed) {
    return Status::kUnknownDevice;
  }
  changed->policy = policy;
  changed->policyText = text;
  if (!name.empty()) {
    changed->name = name;
  }
  emit(DeviceChange::kAltered, *changed);
  return Status::kOk;
}

Status Devices::mount(std::uint16_t number) {
  Device* const mounted = device(number);
  if (!mounted) {
    return Status::kUnknownDevice;
  }
  if (mounted->type != DeviceType::kStorage) {
    return Status::kNotStorage;
  }
  if (mounted->vm != 0) {
    return Status::kBusy;
  }
  setMounted(*mounted, true);
  return Status::kOk;
}

Status Devices::unmount(std::uint16_t number) {
  Device* const unmounted = device(number);
  if (!unmounted) {
    return Status::kUnknownDevice;
  }
  if (unmounted->type != DeviceType::kStorage) {
    return Status::kNotStorage;
  }
  setMounted(*unmounted, false);
  return Status::kOk;
}

Status Devices::addNetwork(std::int32_t type, const std::string& text) {
  if (text.empty()) {
    return Status::kEmptyText;
  }
  if (findNetwork(text)) {
    return Status::kExists;
  }
  const Device* const added = plug(DeviceType::kNetwork, text);
  if (!added) {
    return Status::kFull;
  }
  device(added->number)->networkType = type;
  return Status::kOk;
}

Status Devices::removeNetwork(const std::string& text) {
  const Device* const removed = findNetwork(text);
  return removed ? unplug(removed->number) : Status::kUnknownDevice;
}

CameraStatus Devices::cameraStatus() const {
  const bool isThere = std::any_of(devices_.begin(), devices_.end(), [](const auto& entry) {
    return entry.second.type == DeviceType::kCamera;
  });
  if (!isThere) {
    return CameraStatus::kNone;
  }
  return isCameraAllowed_ ? CameraStatus::kAllowed : CameraStatus::kDenied;
}

void Devices::allowCamera(bool isAllowed) {
  isCameraAllowed_ = isAllowed;
  if (isAllowed) {
    return;
  }
  for (auto& [number, device] : devices_) {
    if (device.type == DeviceType::kCamera) {
      release(device);
    }
  }
}

void Devices::emitAll() {
  for (const auto& [number, device] : devices_) {
    emit(DeviceChange::kAltered, device);
  }
}

void Devices::reset() {
  std::vector<std::uint16_t> addedByClients;
  for (auto& [number, device] : devices_) {
    const auto known = initial_.find(number);
    if (known != initial_.end()) {
      restore(device, known->second);
    } else if (device.type == DeviceType::kNetwork) {
      addedByClients.push_back(number);
    } else {
      Device plain = device;
      plain.status = DeviceStatus::kAvailable;
      plain.vm = 0;
      plain.policy = 0;
      plain.policyText.clear();
      plain.name = device.originalName;
      plain.isMounted = device.type == DeviceType::kStorage;
      restore(device, plain);
    }
  }
  for (const std::uint16_t number : addedByClients) {
    unplug(number);
  }
  // Only clients remove network devices.
  for (const auto& [number, device] : initial_) {
    if (device.type == DeviceType::kNetwork && !find(number)) {
      replug(number);
      restore(devices_[number], device);
    }
  }
}

void Devices::restore(Device& device, const Device& state) {
  if (device.vm != state.vm) {
    release(device);
  }
  const bool isAttaching = device.vm != state.vm;
  const DeviceStatus status = isAttaching ? DeviceStatus::kAvailable : state.status;
  const bool isChanged = device.status != status || device.policy != state.policy ||
                         device.policyText != state.policyText || device.name != state.name;
  device.status = status;
  device.policy = state.policy;
  device.policyText = state.policyText;
  device.name = state.name;
  if (isChanged) {
    emit(DeviceChange::kAltered, device, device.vm);
  }
  setMounted(device, state.isMounted);
  if (isAttaching) {
    device.status = DeviceStatus::kAttached;
    device.vm = state.vm;
    emit(DeviceChange::kAttached, device, device.vm);
  }
}

void Devices::setMounted(Device& device, bool isMounted) {
  if (device.isMounted != isMounted) {
    device.isMounted = isMounted;
    emit(isMounted ? DeviceChange::kMounted : DeviceChange::kUnmounted, device);
  }
}

void Devices::release(Device& device) {
  if (device.vm == 0) {
    return;
  }
  const VmNumber vm = std::exchange(device.vm, 0);
  device.status = DeviceStatus::kAvailable;
  emit(DeviceChange::kDetached, device, vm);
}

void Devices::emit(DeviceChange change, const Device& device, VmNumber vm) {
  events_.add(vm, DeviceEvent{change, device});
}

}  // namespace velsim
