// The devices of the simulated machine.
//
// Built in:
//   number  type           name              USB id     source id
//       11  storage        Memory stick      7e57:0001  0x7e5700010000000b
//       12  camera         Built-in camera   7e57:0002  0x7e5700020000000c
//       13  tablet         Drawing tablet    7e57:0003  0x7e5700030000000d
//       14  printer-class  Label printer     7e57:0004  0x7e5700040000000e
//       15  generic        Barcode scanner   7e57:0005  0x7e5700050000000f
// A source id consists of vendor id, product id, two zero bytes and number.
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
#include "vel/apps/local/velsim/machine/status.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

// Whether the service may use the camera.
enum class CameraStatus : std::int32_t { kAllowed = 0, kDenied = 1, kNone = 2 };

// "storage", and so on.
const char* wordFor(DeviceType type);
// The type with this word; empty for an unknown word, and for types that have no plug.
std::optional<DeviceType> pluggableType(const std::string& word);
std::vector<std::string> pluggableTypes();

std::uint64_t sourceIdOf(std::uint16_t vid, std::uint16_t pid, std::uint16_t number);

// Every change adds the events that clients expect.
class Devices {
 public:
  // With the built-in devices.
  Devices(NumberPool& numbers, Events& events);

  const std::map<std::uint16_t, Device>& all() const { return devices_; }
  // The devices that are attached to the VM, or to none.
  std::vector<const Device*> of(VmNumber vm) const;
  // Null when there is no such device.
  const Device* find(std::uint16_t number) const;
  const Device* findBySource(std::uint64_t sourceId) const;
  const Device* findNetwork(const std::string& text) const;

  // Storage is mounted at once. Null when all numbers are in use.
  const Device* plug(DeviceType type, const std::string& name);
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

  // Undoes all changes by clients. Plugged-in devices stay.
  void reset();

 private:
  Device* device(std::uint16_t number);
  Device& add(std::uint16_t number, DeviceType type, const std::string& name);
  void setMounted(Device& device, bool isMounted);
  void release(Device& device);
  void emit(DeviceChange change, const Device& device, VmNumber vm = 0);

  NumberPool& numbers_;
  Events& events_;
  std::map<std::uint16_t, Device> devices_;
  bool isCameraAllowed_ = true;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICES_H
