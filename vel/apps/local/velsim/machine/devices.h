// The devices of the simulated machine.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICES_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICES_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/device.h"
#include "vel/apps/local/velsim/machine/events.h"
#include "vel/apps/local/velsim/machine/number_pool.h"
#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/status.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

using velprotocol::CameraStatus;

// "storage", and so on.
std::string wordFor(DeviceType type);
std::optional<DeviceType> typeWithWord(const std::string& word);
// The type with this word; empty for an unknown word, and for types that have no plug.
std::optional<DeviceType> pluggableType(const std::string& word);
std::vector<std::string> pluggableTypes();

// Of the simulated devices and printers.
inline constexpr std::uint16_t kVendor = 0x7E57;

// Vendor id, product id, two zero bytes and number.
std::uint64_t sourceIdOf(std::uint16_t vid, std::uint16_t pid, std::uint16_t number);

// A device without USB ids gets those of the simulated vendor, and each without a source id its
// own.
void complete(Device& device);

// Every change adds the events that clients expect.
class Devices {
 public:
  // With the devices of the setup, which are complete.
  Devices(const Setup& setup, NumberPool& numbers, Events& events);

  const std::map<std::uint16_t, Device>& all() const { return devices_; }
  // The devices that are attached to the VM, or to none.
  std::vector<const Device*> of(VmNumber vm) const;
  // Null when there is no such device.
  const Device* find(std::uint16_t number) const;
  const Device* findBySource(std::uint64_t sourceId) const;
  const Device* findNetwork(const std::string& text) const;

  // Storage is mounted at once. Null when all numbers are in use.
  const Device* plug(DeviceType type, const std::string& name);
  // Plugs in a device of the setup that was unplugged. kExists when it is plugged in.
  Status replug(std::uint16_t number);
  // Detaches the device first.
  Status unplug(std::uint16_t number);

  // Attaching to the same VM again succeeds. Storage is unmounted first.
  Status attach(std::uint16_t number, VmNumber vm);
  Status detach(std::uint16_t number, VmNumber vm);
  // Attaches the device, and detaches it from another VM first.
  Status move(std::uint16_t number, VmNumber vm);
  void detachAll(VmNumber vm);

  Status ignore(std::uint16_t number);
  // An empty name leaves the name unchanged.
  Status setPolicy(std::uint16_t number, std::int16_t policy, const std::string& name,
                   const std::string& text);
  // Mounting a mounted device succeeds, and so does unmounting an unmounted one.
  Status mount(std::uint16_t number);
  Status unmount(std::uint16_t number);

  // Network devices are identified by text.
  Status addNetwork(std::int32_t type, const std::string& text);
  Status removeNetwork(const std::string& text);

  CameraStatus cameraStatus() const;
  // Denying detaches the cameras.
  void allowCamera(bool isAllowed);

  // Reports every device as changed.
  void emitAll();

  // Undoes all changes by clients. Plugged-in devices stay, and unplugged ones stay away.
  void reset();

 private:
  Device* device(std::uint16_t number);
  // Returns a device to a state, with the events of the changes.
  void restore(Device& device, const Device& state);
  void setMounted(Device& device, bool isMounted);
  void release(Device& device);
  void emit(DeviceChange change, const Device& device, VmNumber vm = 0);

  NumberPool& numbers_;
  Events& events_;
  std::map<std::uint16_t, Device> initial_;  // those of the setup
  std::map<std::uint16_t, Device> devices_;
  bool isCameraAllowed_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICES_H
