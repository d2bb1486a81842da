// Events of the service, in any order, while callbacks come and go.
// Covers: vel/apps/local/velproxy/events.cpp vel/apps/local/velproxy/internal/blocks.h

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <vector>

#include "tests/fuzz/messages.h"
#include "tests/fuzz/target.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace fuzz::events {
namespace {

using scripted::Bytes;

// --- Callbacks -----------------------------------------------------------------------------------

using Kind = EventKind;

struct Call {
  Kind kind;
  unsigned short code;
  const void* userData;

  bool operator==(const Call& other) const {
    return kind == other.kind && code == other.code && userData == other.userData;
  }
};

struct World {
  const Bytes* block = nullptr;  // of the event that is being handled
  bool throwsExceptions = false;
  std::vector<Call> calls;
  std::string mistake;  // exceptions of a callback do not reach the target
};
World& world() {
  static auto* const one = new World;
  return *one;
}

// Each has a user datum of its own; their order is that of the calls.
int userData[3];

void note(bool holds, const char* what) {
  if (!holds && world().mistake.empty()) {
    world().mistake = what;
  }
}

void called(Kind kind, unsigned short code, const void* user) {
  world().calls.push_back({kind, code, user});
  if (world().throwsExceptions) {
    throw std::runtime_error("a callback that throws");
  }
}

// Reads a record as a client does: as a whole, then its text up to the NUL.
template <typename Record>
void readRecord(const Record* record, std::size_t textOffset) {
  const Bytes& block = *world().block;
  unsigned char expected[sizeof(Record)] = {};
  std::copy_n(block.begin(), std::min(block.size(), sizeof expected), expected);
  note(std::memcmp(record, expected, sizeof expected) == 0,
       "the record has the bytes of the block");
  const char* const text = reinterpret_cast<const char*>(record) + textOffset;
  const std::size_t sent = block.size() > textOffset ? block.size() - textOffset : 0;
  const std::size_t length =
      sent > 0 ? strnlen(reinterpret_cast<const char*>(block.data()) + textOffset, sent) : 0;
  note(std::strlen(text) == length &&
           (length == 0 || std::memcmp(text, block.data() + textOffset, length) == 0),
       "the text has the bytes of the block");
}

int printerCalled(unsigned short code, PrinterDevice* printer, void* user) {
  readRecord(printer, offsetof(PrinterDevice, name));
  called(Kind::kPrinter, code, user);
  return 0;
}

int deviceCalled(unsigned short code, CommonDevice* device, void* user) {
  readRecord(device, offsetof(CommonDevice, vmIdText));
  called(Kind::kDevice, code, user);
  return 0;
}

int newDeviceCalled(unsigned short code, _ConfigNewDeviceResult* result, void* user) {
  readRecord(result, offsetof(_ConfigNewDeviceResult, code));
  called(Kind::kNewDevice, code, user);
  return 0;
}

// The length of this record is only in the event.
int commandCalled(unsigned short code, CmdResponse* response, void* user) {
  const Bytes& block = *world().block;
  note((response == nullptr) == block.empty(), "there is a record when the event has one");
  note(block.empty() || std::memcmp(response, block.data(), block.size()) == 0,
       "the record has the bytes of the block");
  note(qx::VelProxy::currentEvent() != nullptr, "the event is there for its callbacks");
  called(Kind::kCommand, code, user);
  return 0;
}

class Diagnosis : public VelDiagnoseNotify {
 public:
  void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                            std::string result) override {
    const Bytes& block = *world().block;
    struct {
      unsigned long long id;
      unsigned int status;
      int vm;
    } sent = {};
    std::memcpy(&sent, block.data(), sizeof sent);
    const std::string rest(block.begin() + sizeof sent, block.end());
    note(id == sent.id && status == sent.status, "the numbers of the diagnosis");
    note(result == rest.substr(0, rest.find('\0')), "the text of the diagnosis");
    note(vmId == (sent.vm == kVms[0]   ? kVmNames[0]
                  : sent.vm == kVms[1] ? kVmNames[1]
                                       : ""),
         "the VM of the diagnosis");
    called(Kind::kDiagnosis, 9, nullptr);
  }
};
Diagnosis diagnosis;

// --- What is registered --------------------------------------------------------------------------

struct Registered {
  bool printer = false;
  bool devices[3] = {};
  bool newDevices[3] = {};
  bool command = false;
  bool diagnosis = false;
};

// Toggles one registration.
void change(qx::VelProxy& proxy, Registered& registered, std::size_t choice) {
  const std::size_t slot = choice % std::size(userData);
  switch (choice % 5) {
    case 0:
      registered.printer = !registered.printer;
      registered.printer ? proxy.RegisterPrinterCallback(printerCalled, userData)
                         : proxy.UnregisterPrinterCallback();
      break;
    case 1:
      registered.devices[slot] = !registered.devices[slot];
      registered.devices[slot] ? proxy.RegisterDeviceCallback(deviceCalled, userData + slot)
                               : proxy.UnregisterDeviceCallback(userData + slot);
      break;
    case 2:
      registered.newDevices[slot] = !registered.newDevices[slot];
      registered.newDevices[slot]
          ? proxy.RegisterConfigNewDevResultCallback(newDeviceCalled, userData + slot)
          : proxy.UnregisterConfigNewDevResultCallback(userData + slot);
      break;
    case 3:
      registered.command = !registered.command;
      proxy.RegisterCmdCallback(registered.command ? commandCalled : nullptr, userData);
      break;
    default:
      registered.diagnosis = !registered.diagnosis;
      // Without a VM it ends before its request, with the object stored.
      proxy.Diagnose("", 0, registered.diagnosis ? &diagnosis : nullptr);
  }
}

// Only what an input registered before: registering takes a good part of the time.
void unregisterAll(qx::VelProxy& proxy, Registered* registered) {
  if (registered->printer) {
    proxy.UnregisterPrinterCallback();
  }
  if (registered->command) {
    proxy.RegisterCmdCallback(nullptr, nullptr);
  }
  if (registered->diagnosis) {
    proxy.Diagnose("", 0, nullptr);
  }
  const auto isThere = [](bool is) { return is; };
  if (std::any_of(registered->devices, std::end(registered->devices), isThere)) {
    proxy.UnregisterDeviceCallback();
  }
  if (std::any_of(registered->newDevices, std::end(registered->newDevices), isThere)) {
    proxy.UnregisterConfigNewDevResultCallback();
  }
  *registered = Registered();
}

// --- The calls that an event should make, worked out from the event alone ------------------------

std::vector<Call> expectedCalls(const scripted::Reply& event, const Registered& registered) {
  const auto code = static_cast<unsigned short>(valueAt<std::int32_t>(event, 1));
  const std::optional<Kind> kind = kindOf(event);
  std::vector<Call> calls;
  if ((kind == Kind::kPrinter && registered.printer) ||
      (kind == Kind::kCommand && registered.command)) {
    calls.push_back({*kind, code, userData});
  } else if (kind == Kind::kDiagnosis && registered.diagnosis) {
    calls.push_back({*kind, code, nullptr});
  } else if (kind == Kind::kDevice || kind == Kind::kNewDevice) {
    for (std::size_t i = 0; i < std::size(userData); ++i) {
      if (kind == Kind::kDevice ? registered.devices[i] : registered.newDevices[i]) {
        calls.push_back({*kind, code, userData + i});
      }
    }
  }
  return calls;
}

// --- The target ----------------------------------------------------------------------------------

void handle(qx::VelProxy& proxy, const scripted::Reply& event, bool isBroadcast,
            const Registered& registered) {
  const Bytes block = valueAt<Bytes>(event, 2);
  world().block = &block;
  world().calls.clear();
  const auto message = scripted::ScriptedBus::messageOf(event);
  if (isBroadcast) {
    qx::VelProxy::BroadcastCallback(message);
  } else {
    proxy.HandleEvent(message);
  }
  require(world().mistake.empty(), world().mistake);
  require(world().calls == expectedCalls(event, registered), "the callbacks of an event");
  require(qx::VelProxy::currentEvent() == nullptr, "no event is left behind");
}

void run(Input& input) {
  // Broadcasts go to the instance of the process.
  static qx::VelProxy& proxy = []() -> qx::VelProxy& {
    qx::VelProxy& instance = *qx::VelProxy::getInstance();
    teachVms(instance, {{kVmNames[0], static_cast<unsigned int>(kVms[0])},
                        {kVmNames[1], static_cast<unsigned int>(kVms[1])}});
    return instance;
  }();
  static Registered registered;
  unregisterAll(proxy, &registered);
  world() = World();
  for (unsigned int choices = input.number<std::uint16_t>(), i = 0; i < 15; ++i) {
    if ((choices >> i & 1) != 0) {
      change(proxy, registered, i);
    }
  }
  constexpr int kMostSteps = 50;
  for (int step = 0; step < kMostSteps && !input.isEmpty(); ++step) {
    const std::uint8_t action = input.byte();
    world().throwsExceptions = (action & 0x40) != 0;
    if ((action & 0x30) == 0x30) {
      change(proxy, registered, action & 0x0F);
    } else {
      handle(proxy, eventIn(input), (action & 0x80) != 0, registered);
    }
  }
  proxy.HandleEvent(nullptr);
  forgetRecords();
}

const Registration registration("events", run);

}  // namespace
}  // namespace fuzz::events
