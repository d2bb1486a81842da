// Replies to each operation of vel::Client, and events to its subscribers: any types and blocks.
// Covers: vel/client/internal/calls.h vel/client/internal/decode.h vel/client/internal/hub.h
// Covers: vel/client/internal/subscribers.h vel/client/error.h

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/utf8.h"
#include "tests/client/operations.h"
#include "tests/fuzz/messages.h"
#include "tests/fuzz/target.h"

namespace fuzz::client {
namespace {

using scripted::Bytes;
using scripted::Reply;

// --- Records, decoded a second time --------------------------------------------------------------

// A number of so many bytes, as if zeroes followed the block.
std::uint64_t numberAt(const Bytes& block, std::size_t offset, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < size && offset + i < block.size(); ++i) {
    number |= std::uint64_t{block[offset + i]} << (8 * i);
  }
  return number;
}

// Whether a text is that of a field, with something else in place of what is not UTF-8.
bool isTextAt(const std::string& text, const Bytes& block, std::size_t offset, std::size_t size) {
  const std::size_t begin = std::min(offset, block.size());
  const auto first = block.begin() + static_cast<std::ptrdiff_t>(begin);
  const auto end =
      std::find(first, first + static_cast<std::ptrdiff_t>(std::min(size, block.size() - begin)),
                static_cast<unsigned char>(0));
  const std::string sent(first, end);
  return base::isUtf8(text) && (base::isUtf8(sent) ? text == sent : text.size() > sent.size());
}

std::string nameOf(vel::VmNumber vm) {
  for (std::size_t i = 0; i < std::size(kVms); ++i) {
    if (vm.value() == static_cast<std::uint32_t>(kVms[i])) {
      return kVmNames[i];
    }
  }
  return "";
}

bool isOf(const vel::Device& device, const Bytes& block) {
  return device.number.value() == numberAt(block, 0, 2) &&
         device.isMounted == (numberAt(block, 2, 2) != 0) &&
         static_cast<std::uint16_t>(device.status) == numberAt(block, 8, 2) &&
         static_cast<std::uint16_t>(device.policy) == numberAt(block, 10, 2) &&
         device.source.value() == numberAt(block, 12, 8) &&
         device.vmNumber.value() == numberAt(block, 20, 4) &&
         device.vm == nameOf(device.vmNumber) && device.usb.vendor == numberAt(block, 24, 2) &&
         device.usb.product == numberAt(block, 26, 2) &&
         static_cast<std::uint16_t>(device.type) == numberAt(block, 28, 2) &&
         isTextAt(device.name, block, 296, 128) && isTextAt(device.policyText, block, 424, 256);
}

bool isOf(const vel::NetworkPrinter& printer, const Bytes& block) {
  return printer.number.value() == numberAt(block, 0, 2) &&
         static_cast<std::uint16_t>(printer.status) == numberAt(block, 8, 2) &&
         isTextAt(printer.name, block, 296, 128) && isTextAt(printer.address, block, 424, 256);
}

bool isOf(const vel::Printer& printer, const Bytes& block) {
  return printer.number.value() == numberAt(block, 0, 2) &&
         printer.vmNumber.value() == numberAt(block, 8, 4) &&
         printer.vm == nameOf(printer.vmNumber) &&
         static_cast<std::uint16_t>(printer.status) == numberAt(block, 12, 2) &&
         isTextAt(printer.name, block, 16, block.size());
}

bool isOf(const vel::UsbPolicy& policy, const Bytes& block) {
  const std::uint64_t isSet = numberAt(block, 6, 2);
  return policy.usb.vendor == numberAt(block, 0, 2) &&
         policy.usb.product == numberAt(block, 2, 2) &&
         policy.property.has_value() == ((isSet & 1) != 0) &&
         policy.turboConfig.has_value() == ((isSet & 2) != 0) &&
         static_cast<std::uint32_t>(policy.property.value_or(0)) ==
             (policy.property ? numberAt(block, 8, 4) : 0) &&
         (!policy.turboConfig || isTextAt(*policy.turboConfig, block, 12, 256));
}

// The library completes a joystick that is cut with the one before it.
template <typename Value>
bool isFixed(const Value& value, const Bytes& block) {
  return std::equal(
      block.begin(),
      block.begin() + static_cast<std::ptrdiff_t>(std::min(block.size(), value.bytes.size())),
      value.bytes.begin());
}
bool isOf(const vel::Joystick& joystick, const Bytes& block) {
  return isFixed(joystick, block) && base::isUtf8(joystick.name);
}
bool isOf(const vel::JoystickMapping& mapping, const Bytes& block) {
  return isFixed(mapping, block) && base::isUtf8(mapping.name);
}

// --- Lists ---------------------------------------------------------------------------------------

template <typename Value>
void checkList(const vel::Result<std::vector<Value>>& result, const Reply& reply) {
  const Records sent = sentRecords(reply);
  const auto* const part = result ? nullptr : result.error().template part<std::vector<Value>>();
  const std::vector<Value> values = result ? *result : part ? *part : std::vector<Value>();
  require(values.size() == sent.size(), "a value for each record");
  for (std::size_t i = 0; i < values.size(); ++i) {
    require(isOf(values[i], sent[i]), "the members of a value");
  }
  require(!result || isNormal(reply), "no list without a reply");
}

constexpr void (*kLists[])(const vel::Client& client, const Reply& reply) = {
    [](const vel::Client& client, const Reply& reply) { checkList(client.devices(kVm), reply); },
    [](const vel::Client& client, const Reply& reply) { checkList(client.localDevices(), reply); },
    [](const vel::Client& client, const Reply& reply) {
      checkList(client.device(vel::DeviceNumber(9)), reply);
    },
    [](const vel::Client& client, const Reply& reply) { checkList(client.policies(), reply); },
    [](const vel::Client& client, const Reply& reply) { checkList(client.printers(kVm), reply); },
    [](const vel::Client& client, const Reply& reply) {
      checkList(client.printer(vel::PrinterNumber(9)), reply);
    },
    [](const vel::Client& client, const Reply& reply) {
      checkList(client.networkPrinters(), reply);
    },
    [](const vel::Client& client, const Reply& reply) { checkList(client.joysticks(), reply); },
    [](const vel::Client& client, const Reply& reply) {
      checkList(client.joystickMappings(), reply);
    },
};

// --- All operations ------------------------------------------------------------------------------

void checkOperation(const ClientOperation& operation, const vel::Client& client,
                    const Reply& reply) {
  const Outcome outcome = operation.runOn(client);
  if (!operation.waits()) {
    scripted::ScriptedBus::the().complete();
    require(!outcome.error || outcome.error->kind() != vel::ErrorKind::kRefused,
            "no refusal without an answer: " + operation.member());
    return;
  }
  // The number of a VM that is known is not asked for.
  require(outcome.error || isNormal(reply) || operation.member() == "vmNumber",
          "no success without a reply: " + operation.member());
  if (!operation.isRefusedByStatus()) {
    return;
  }
  const std::int32_t status = valueAt<std::int32_t>(reply, 0);
  if (!outcome.error) {
    require(status == 0, "no success with another status: " + operation.member());
  } else if (outcome.error->kind() == vel::ErrorKind::kRefused) {
    require(outcome.error->status() == status && status != 0,
            "the status of a refusal: " + operation.member());
  }
}

// --- Events --------------------------------------------------------------------------------------

struct Heard {
  EventKind kind;
  std::int32_t code;
  std::uint32_t vm;
  bool isRight;
};

// Every subscription, as long as it lives.
class Subscribers {
 public:
  explicit Subscribers(const vel::Client& client) {
    subscriptions_.push_back(client.onDevice([this](const vel::DeviceEvent& event) {
      note(EventKind::kDevice, event, isOf(event.device, *block_));
    }));
    subscriptions_.push_back(client.onPrinter([this](const vel::PrinterEvent& event) {
      note(EventKind::kPrinter, event, isOf(event.printer, *block_));
    }));
    subscriptions_.push_back(client.onNewDevice([this](const vel::NewDeviceEvent& event) {
      note(EventKind::kNewDevice, event,
           event.usb.vendor == numberAt(*block_, 0, 2) &&
               event.usb.product == numberAt(*block_, 2, 2) &&
               event.source.value() == numberAt(*block_, 4, 8) &&
               event.isSuccess == (numberAt(*block_, 18, 2) != 0) &&
               isTextAt(event.name, *block_, 20, 256) &&
               isTextAt(event.result, *block_, 276, block_->size()));
    }));
    subscriptions_.push_back(client.onDiagnosis([this](const vel::DiagnosisEvent& event) {
      const bool isRight = event.id == numberAt(*block_, 0, 8) &&
                           static_cast<std::uint32_t>(event.status) == numberAt(*block_, 8, 4) &&
                           event.vmNumber.value() == numberAt(*block_, 12, 4) &&
                           event.vm == nameOf(event.vmNumber) &&
                           isTextAt(event.text, *block_, 16, block_->size());
      // The record names the VM.
      heard_.push_back({EventKind::kDiagnosis, vel::number(event.code), vm_, isRight});
    }));
    subscriptions_.push_back(client.onCommand([this](const vel::CommandEvent& event) {
      note(EventKind::kCommand, event,
           event.answer.value_or("") == std::string(block_->begin(), block_->end()));
    }));
  }

  void check(qx::VelProxy& proxy, const Reply& event) {
    const Bytes block = valueAt<Bytes>(event, 2);
    block_ = &block;
    vm_ = static_cast<std::uint32_t>(valueAt<std::int32_t>(event, 0));
    heard_.clear();
    proxy.HandleEvent(scripted::ScriptedBus::messageOf(event));
    const std::optional<EventKind> kind = kindOf(event);
    require(heard_.size() == (kind ? 1U : 0U), "one subscriber for an event");
    if (kind) {
      const Heard& heard = heard_.front();
      require(
          heard.kind == *kind && heard.code == valueAt<std::int32_t>(event, 1) && heard.vm == vm_,
          "kind, code and VM of an event");
      require(heard.isRight, "the members of an event");
    }
  }

 private:
  void note(EventKind kind, const vel::Event& event, bool isRight) {
    heard_.push_back({kind, vel::number(event.code), event.vmNumber.value(), isRight});
  }

  const Bytes* block_ = nullptr;
  std::uint32_t vm_ = 0;
  std::vector<Heard> heard_;
  std::vector<vel::Subscription> subscriptions_;
};

// --- The target ----------------------------------------------------------------------------------

// A proxy of its own that knows the VMs.
qx::VelProxy* newProxy() {
  auto* const proxy = new qx::VelProxy;
  teachVms(*proxy, {{kVmNames[0], static_cast<unsigned int>(kVms[0])},
                    {kVmNames[1], static_cast<unsigned int>(kVms[1])}});
  return proxy;
}

void run(Input& input) {
  // Replies teach a proxy further VMs, whose events would be expected then.
  static qx::VelProxy& called = *newProxy();
  static qx::VelProxy& listening = *newProxy();
  const vel::Client caller(called);
  Subscribers subscribers((vel::Client(listening)));
  scripted::ScriptedBus& bus = scripted::ScriptedBus::the();
  constexpr int kMostSteps = 8;
  for (int step = 0; step < kMostSteps && !input.isEmpty(); ++step) {
    const std::size_t choice = input.byte() | (static_cast<std::size_t>(input.byte()) & 1) << 8;
    if (choice < 64) {
      subscribers.check(listening, eventIn(input));
      continue;
    }
    const Reply reply = replyIn(input);
    bus.answerFrom([&reply](const scripted::Call& /*call*/) { return reply; });
    if (choice < 128) {
      kLists[choice % std::size(kLists)](caller, reply);
    } else {
      checkOperation(clientOperations()[choice % clientOperations().size()], caller, reply);
    }
    bus.answerFrom(nullptr);
  }
  forgetRecords();
}

const Registration registration("client", run);

}  // namespace
}  // namespace fuzz::client
