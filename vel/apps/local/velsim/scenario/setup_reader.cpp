#include "vel/apps/local/velsim/scenario/setup_reader.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velsim/machine/devices.h"
#include "vel/apps/local/velsim/machine/printers.h"
#include "vel/apps/local/velsim/scenario/text_sizes.h"

namespace velsim {
namespace {

// Travels as int32, in which a number below 0 is a failure. Leaves numbers for VMs that come later.
constexpr VmNumber kMostOfVmNumber = 2'000'000'000;

constexpr std::size_t kMostVms = 1000;

// All, also those that no plug has.
std::vector<std::string> typeWords() {
  std::vector<std::string> words = pluggableTypes();
  words.emplace_back(wordFor(DeviceType::kNetwork));
  return words;
}

}  // namespace

bool UniqueValues::add(const JsonNode& node, const std::string& what, Mistakes& mistakes) {
  const auto [known, isNew] = lines_.emplace(what, node.line());
  if (!isNew) {
    mistakes.add(node, what + " stands twice; first in line " + std::to_string(known->second));
  }
  return isNew;
}

Setup SetupReader::read(ObjectReader& file) {
  readVms(file.find("vms"));
  setup_.firstPluggedNumber =
      readInteger<std::uint16_t>(file.find("firstPluggedNumber"), mistakes_, 1)
          .value_or(setup_.firstPluggedNumber);
  readDevices(file.find("devices"));
  setup_.isCameraAllowed =
      readWord(file.find("cameras"), mistakes_, {"allowed", "denied"}).value_or("allowed") ==
      "allowed";
  readPrinters(file.find("printers"), false);
  readPrinters(file.find("networkPrinters"), true);
  readSharedPrinters(file.find("sharedPrinters"));
  readDrivers(file.find("drivers"));
  readPrintQueues(file.find("printQueues"));
  readMappings(file.find("joystickMappings"));
  readJoysticks(file.find("joysticks"));
  readPolicies(file.find("policies"));
  readCommands(file.find("commands"));
  readDiagnosis(file.find("diagnosis"));
  return std::move(setup_);
}

void SetupReader::addUnknown(const JsonNode& node, const std::string& noun, const std::string& name,
                             const std::vector<std::string>& names) {
  // The search for a name that is like it takes its time.
  if (!mistakes_.isFull()) {
    mistakes_.add(
        node, "no " + noun + " " + shownText(name) + "; " + suggestion(name, names, noun + "s"));
  }
}

void SetupReader::readVms(const JsonNode* node) {
  UniqueValues ids;
  UniqueValues numbers;
  for (const auto& child : readArray(node, mistakes_, kMostVms)) {
    ObjectReader object(*child, mistakes_);
    VmSetup vm;
    const JsonNode* const id = object.need("id");
    vm.id = readText(id, mistakes_, 1, kVmIdBytes).value_or("");
    const JsonNode* const number = object.need("number");
    vm.number = readInteger<VmNumber>(number, mistakes_, 1, kMostOfVmNumber).value_or(0);
    if (const JsonNode* const connection = object.find("connection")) {
      ObjectReader parameters(*connection, mistakes_);
      const auto parameter = [&](const char* name) {
        return readInteger<std::int32_t>(parameters.find(name), mistakes_).value_or(0);
      };
      vm.attachment =
          Attachment{parameter("systemType"), parameter("shareMode"), parameter("connectParam")};
    }
    vm.isStarted = readBoolean(object.find("isStarted"), mistakes_).value_or(false);
    if (!vm.id.empty()) {
      ids.add(*id, "VM " + shownText(vm.id), mistakes_);
    }
    if (vm.number != 0) {
      numbers.add(*number, "VM number " + std::to_string(vm.number), mistakes_);
    }
    setup_.vms.push_back(std::move(vm));
  }
}

void SetupReader::readDevices(const JsonNode* node) {
  for (const auto& child : readArray(node, mistakes_)) {
    ObjectReader object(*child, mistakes_);
    Device device;
    device.number = readNumber(object).value_or(0);
    const auto word = readWord(object.need("type"), mistakes_, typeWords());
    device.type = word ? *typeWithWord(*word) : DeviceType::kGeneric;
    device.name = readText(object.need("name"), mistakes_, 1, kNameBytes).value_or("");
    device.originalName = device.name;
    constexpr std::uint64_t kMostOfId = 0xFFFF;
    const JsonNode* const vid = object.find("vid");
    const JsonNode* const pid = object.find("pid");
    device.vid = static_cast<std::uint16_t>(readHexadecimal(vid, mistakes_, kMostOfId).value_or(0));
    device.pid = static_cast<std::uint16_t>(readHexadecimal(pid, mistakes_, kMostOfId).value_or(0));
    if ((vid != nullptr) != (pid != nullptr)) {
      mistakes_.add(*child, "expected both vid and pid, or neither");
    }
    device.sourceId = readSourceId(object);
    device.policy = readInteger<std::int16_t>(object.find("policy"), mistakes_).value_or(0);
    device.policyText =
        readText(object.find("policyText"), mistakes_, 0, kPolicyTextBytes).value_or("");
    const JsonNode* const networkType = object.find("networkType");
    device.networkType = readInteger<std::int32_t>(networkType, mistakes_).value_or(0);
    if (networkType && word && device.type != DeviceType::kNetwork) {
      mistakes_.add(*networkType, "only a device of the type network has one");
    }
    device.vm = readVm(object);
    const bool isIgnored = readBoolean(object.find("isIgnored"), mistakes_).value_or(false);
    if (device.vm != 0 && isIgnored) {
      mistakes_.add(*child, "expected vm or isIgnored, not both");
    }
    device.status = device.vm != 0 ? DeviceStatus::kAttached
                    : isIgnored    ? DeviceStatus::kIgnored
                                   : DeviceStatus::kAvailable;
    const JsonNode* const isMounted = object.find("isMounted");
    const bool canBeMounted = device.type == DeviceType::kStorage && device.vm == 0;
    device.isMounted = readBoolean(isMounted, mistakes_).value_or(canBeMounted);
    if (isMounted && device.isMounted && word && !canBeMounted) {
      mistakes_.add(*isMounted, "only storage that is not attached to a VM can be mounted");
    }
    complete(device);
    checkSourceId(*child, device.number, device.sourceId);
    setup_.devices.push_back(std::move(device));
  }
}

void SetupReader::readPrinters(const JsonNode* node, bool areNetwork) {
  UniqueValues names;
  for (const auto& child : readArray(node, mistakes_)) {
    ObjectReader object(*child, mistakes_);
    Printer printer;
    printer.isNetwork = areNetwork;
    printer.number = readNumber(object).value_or(0);
    const JsonNode* const name = object.need("name");
    printer.name = readText(name, mistakes_, 1, kNameBytes).value_or("");
    if (areNetwork) {
      printer.address = readText(object.need("address"), mistakes_, 1, kAddressBytes).value_or("");
      printer.extra = readText(object.find("extra"), mistakes_, 0, kLongTextBytes).value_or("");
      if (!printer.name.empty()) {
        names.add(*name, "network printer " + shownText(printer.name), mistakes_);
      }
    }
    printer.sourceId = readSourceId(object);
    printer.vm = readVm(object);
    printer.status = printer.vm != 0 ? DeviceStatus::kAttached : DeviceStatus::kAvailable;
    const auto trouble = readWord(object.find("trouble"), mistakes_, troubleWords());
    printer.trouble = trouble ? *troubleWithWord(*trouble) : PrinterTrouble::kNone;
    complete(printer);
    checkSourceId(*child, printer.number, printer.sourceId);
    setup_.printers.push_back(std::move(printer));
  }
}

std::optional<std::uint16_t> SetupReader::readNumber(ObjectReader& object) {
  const JsonNode* const node = object.need("number");
  const auto number = readInteger<std::uint16_t>(node, mistakes_, 1);
  const bool isUsable =
      number && numbers_.add(*node, "number " + std::to_string(*number), mistakes_);
  return isUsable ? number : std::nullopt;
}

std::uint64_t SetupReader::readSourceId(ObjectReader& object) {
  return readHexadecimal(object.find("sourceId"), mistakes_,
                         std::numeric_limits<std::uint64_t>::max())
      .value_or(0);
}

void SetupReader::checkSourceId(const JsonNode& node, std::uint16_t number,
                                std::uint64_t sourceId) {
  // A wrong number is reported by itself.
  if (number == 0) {
    return;
  }
  char text[32];
  std::snprintf(text, sizeof text, "source id 0x%016llx",
                static_cast<unsigned long long>(sourceId));
  sourceIds_.add(node, text, mistakes_);
}

VmNumber SetupReader::readVm(ObjectReader& object) {
  const JsonNode* const node = object.find("vm");
  const auto id = readText(node, mistakes_, 1, kVmIdBytes);
  if (!id) {
    return 0;
  }
  const auto vm = std::find_if(setup_.vms.begin(), setup_.vms.end(),
                               [&id](const VmSetup& each) { return each.id == *id; });
  if (vm == setup_.vms.end()) {
    std::vector<std::string> ids;
    if (!mistakes_.isFull()) {
      std::transform(setup_.vms.begin(), setup_.vms.end(), std::back_inserter(ids),
                     [](const VmSetup& each) { return each.id; });
    }
    addUnknown(*node, "VM", *id, ids);
    return 0;
  }
  if (!vm->attachment) {
    mistakes_.add(
        *node, "the VM " + shownText(*id) + " is not connected; give it a connection, such as {}");
  }
  return vm->number;
}

}  // namespace velsim
