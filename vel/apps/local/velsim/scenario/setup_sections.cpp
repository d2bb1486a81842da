// The sections of a scenario besides VMs, devices and printers.

#include <algorithm>
#include <cstdio>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velsim/machine/shared_printers.h"
#include "vel/apps/local/velsim/scenario/setup_reader.h"
#include "vel/apps/local/velsim/scenario/text_sizes.h"

namespace velsim {
namespace {

constexpr std::size_t kMostWords = 100;
constexpr std::size_t kMostSteps = 1000;
constexpr std::size_t kMostDrivers = 1000;
constexpr std::size_t kMostMappings = 1000;
constexpr std::size_t kMostJoysticks = 0xFFFF;

}  // namespace

void SetupReader::readSharedPrinters(const JsonNode* node) {
  if (!node) {
    return;
  }
  ObjectReader object(*node, mistakes_);
  SharedPrinterSetup& setup = setup_.sharedPrinters;
  setup.searchTime = readDuration(object.find("searchTime"), mistakes_).value_or(setup.searchTime);
  setup.found = readSharedPrinterList(object.find("found"));
  setup.added = readSharedPrinterList(object.find("added"));
}

std::vector<SharedPrinter> SetupReader::readSharedPrinterList(const JsonNode* node) {
  std::vector<SharedPrinter> printers;
  UniqueValues names;
  for (const auto& child : readArray(node, mistakes_)) {
    ObjectReader object(*child, mistakes_);
    SharedPrinter printer;
    const JsonNode* const address = object.need("address");
    printer.address = readText(address, mistakes_, 1, kAddressBytes).value_or("");
    if (!printer.address.empty() && (!SharedPrinters::isAddress(printer.address) ||
                                     printer.address.find(':') != std::string::npos)) {
      mistakes_.add(*address, "expected an IPv4 address without a port, found " + address->shown());
    }
    const JsonNode* const name = object.need("name");
    printer.name = readText(name, mistakes_, 1, kNameBytes).value_or("");
    printer.description =
        readText(object.find("description"), mistakes_, 0, kLongTextBytes).value_or("");
    if (!printer.name.empty()) {
      names.add(*name, "printer " + shownText(printer.name) + " at " + shownText(printer.address),
                mistakes_);
    }
    printers.push_back(std::move(printer));
  }
  return printers;
}

void SetupReader::readDrivers(const JsonNode* node) {
  UniqueValues names;
  for (const auto& child : readArray(node, mistakes_, kMostDrivers)) {
    ObjectReader object(*child, mistakes_);
    PrinterDriver driver;
    const JsonNode* const name = object.need("name");
    driver.name = readText(name, mistakes_, 1, kLongTextBytes).value_or("");
    for (const auto& word : readArray(object.need("words"), mistakes_, kMostWords)) {
      driver.words.push_back(readText(word.get(), mistakes_, 0, kNameBytes).value_or(""));
    }
    if (!driver.name.empty()) {
      names.add(*name, "driver " + shownText(driver.name), mistakes_);
    }
    setup_.drivers.push_back(std::move(driver));
  }
}

void SetupReader::readPrintQueues(const JsonNode* node) {
  UniqueValues names;
  std::vector<std::string> drivers;
  for (const PrinterDriver& driver : setup_.drivers) {
    drivers.push_back(driver.name);
  }
  for (const auto& child : readArray(node, mistakes_)) {
    ObjectReader object(*child, mistakes_);
    const JsonNode* const nameNode = object.need("name");
    const std::string name = readText(nameNode, mistakes_, 1, kLongTextBytes).value_or("");
    PrintQueue queue;
    queue.uri = readText(object.need("uri"), mistakes_, 1, kLongTextBytes).value_or("");
    const JsonNode* const driver = object.need("driver");
    queue.driver = readText(driver, mistakes_, 1, kLongTextBytes).value_or("");
    if (!queue.driver.empty() &&
        std::find(drivers.begin(), drivers.end(), queue.driver) == drivers.end()) {
      addUnknown(*driver, "driver", queue.driver, drivers);
    }
    queue.testPages = readInteger<unsigned>(object.find("testPages"), mistakes_).value_or(0);
    if (!name.empty()) {
      names.add(*nameNode, "print queue " + shownText(name), mistakes_);
      setup_.printQueues.emplace(name, std::move(queue));
    }
  }
}

void SetupReader::readMappings(const JsonNode* node) {
  UniqueValues names;
  for (const auto& child : readArray(node, mistakes_, kMostMappings)) {
    const std::string name = readText(child.get(), mistakes_, 1, kNameBytes).value_or("");
    if (!name.empty()) {
      names.add(*child, "mapping " + shownText(name), mistakes_);
    }
    setup_.joysticks.mappings.push_back(name);
  }
}

void SetupReader::readJoysticks(const JsonNode* node) {
  const std::vector<std::string>& mappings = setup_.joysticks.mappings;
  constexpr std::uint64_t kMostOfId = 0xFFFF;
  for (const auto& child : readArray(node, mistakes_, kMostJoysticks)) {
    ObjectReader object(*child, mistakes_);
    Joystick joystick;
    const auto id = [&](const char* name) {
      return static_cast<std::uint16_t>(
          readHexadecimal(object.need(name), mistakes_, kMostOfId).value_or(0));
    };
    joystick.vid = id("vid");
    joystick.pid = id("pid");
    joystick.name = readText(object.need("name"), mistakes_, 1, kNameBytes).value_or("");
    const JsonNode* const mapping = object.find("mapping");
    const auto name = readText(mapping, mistakes_, 1, kNameBytes);
    const auto known = name ? std::find(mappings.begin(), mappings.end(), *name) : mappings.begin();
    if (mappings.empty() && !mapping) {
      mistakes_.add(*child, "there is no mapping for it; name one in joystickMappings");
    } else if (name && known == mappings.end()) {
      addUnknown(*mapping, "mapping", *name, mappings);
    } else {
      joystick.mapping = static_cast<std::uint16_t>(known - mappings.begin());
    }
    joystick.isCalibrated = readBoolean(object.find("isCalibrated"), mistakes_).value_or(false);
    setup_.joysticks.joysticks.push_back(std::move(joystick));
  }
}

void SetupReader::readPolicies(const JsonNode* node) {
  if (!node) {
    return;
  }
  ObjectReader object(*node, mistakes_);
  // Settings by device type, a number as in requests.
  const auto readByType = [this](const JsonNode* list, auto& settings) {
    UniqueValues types;
    using Setting = typename std::decay_t<decltype(settings)>::mapped_type;
    for (const auto& child : readArray(list, mistakes_)) {
      ObjectReader entry(*child, mistakes_);
      const JsonNode* const type = entry.need("deviceType");
      const auto number = readInteger<std::uint16_t>(type, mistakes_);
      const auto setting = readInteger<Setting>(entry.need("setting"), mistakes_);
      if (number) {
        types.add(*type, "device type " + std::to_string(*number), mistakes_);
        settings[*number] = setting.value_or(Setting{0});
      }
    }
  };
  readByType(object.find("autoConnect"), setup_.policies.autoConnects);
  readByType(object.find("popupCards"), setup_.policies.popupCards);
  readVidPidPolicies(object.find("byVidPid"));
}

void SetupReader::readVidPidPolicies(const JsonNode* node) {
  constexpr std::uint64_t kMostOfId = 0xFFFF;
  UniqueValues ids;
  for (const auto& child : readArray(node, mistakes_)) {
    ObjectReader object(*child, mistakes_);
    VidPidPolicy policy;
    const auto vid = readHexadecimal(object.need("vid"), mistakes_, kMostOfId);
    const auto pid = readHexadecimal(object.need("pid"), mistakes_, kMostOfId);
    policy.id = {static_cast<std::uint16_t>(vid.value_or(0)),
                 static_cast<std::uint16_t>(pid.value_or(0))};
    policy.deviceType =
        readInteger<std::uint16_t>(object.find("deviceType"), mistakes_).value_or(std::uint16_t{0});
    policy.builtInProperty =
        readInteger<std::int32_t>(object.find("builtInProperty"), mistakes_).value_or(0);
    policy.property = readInteger<std::int32_t>(object.find("property"), mistakes_);
    policy.turboText = readText(object.find("turbo"), mistakes_, 0, kTurboTextBytes);
    if (vid && pid) {
      char id[32];
      std::snprintf(id, sizeof id, "USB id %04x:%04x", unsigned{policy.id.vid},
                    unsigned{policy.id.pid});
      ids.add(*child, id, mistakes_);
    }
    setup_.policies.byVidPid[policy.id] = policy;
  }
}

void SetupReader::readCommands(const JsonNode* node) {
  UniqueValues words;
  for (const auto& child : readArray(node, mistakes_)) {
    ObjectReader object(*child, mistakes_);
    CommandSetup command;
    const JsonNode* const word = object.need("word");
    command.word = readText(word, mistakes_, 1, kNameBytes).value_or("");
    if (command.word.find_first_of(" \t\r\n\"\\") != std::string::npos) {
      mistakes_.add(*word, "expected one word without quotes, found " + word->shown());
    } else if (isCommand_ && isCommand_(command.word)) {
      mistakes_.add(*word, "velsim has a command " + shownText(command.word) + " of its own");
    }
    command.help = readText(object.find("help"), mistakes_, 0, kLongTextBytes).value_or("");
    if (const JsonNode* const answer = object.need("answer")) {
      command.answer = jsonOf(*answer);
    }
    if (!command.word.empty()) {
      words.add(*word, "command " + shownText(command.word), mistakes_);
    }
    setup_.commands.push_back(std::move(command));
  }
}

void SetupReader::readDiagnosis(const JsonNode* node) {
  if (!node) {
    return;
  }
  ObjectReader object(*node, mistakes_);
  DiagnosisSetup& setup = setup_.diagnosis;
  setup.stepTime = readDuration(object.find("stepTime"), mistakes_).value_or(setup.stepTime);
  if (const JsonNode* const steps = object.find("steps")) {
    setup.steps.clear();
    for (const auto& step : readArray(steps, mistakes_, kMostSteps)) {
      setup.steps.push_back(readText(step.get(), mistakes_, 0, kLongTextBytes).value_or(""));
    }
  }
  UniqueValues numbers;
  for (const auto& child : readArray(object.find("findings"), mistakes_)) {
    ObjectReader entry(*child, mistakes_);
    const JsonNode* const number = entry.need("number");
    const auto subject = readInteger<std::uint16_t>(number, mistakes_, 1);
    DiagnosisFinding finding;
    const auto status =
        readWord(entry.need("status"), mistakes_, {"fine", "running", "fault"}).value_or("fine");
    finding.status = status == "fault"     ? DiagnosisStatus::kFault
                     : status == "running" ? DiagnosisStatus::kRunning
                                           : DiagnosisStatus::kFine;
    finding.text = readText(entry.need("text"), mistakes_, 0, kLongTextBytes).value_or("");
    if (!subject) {
      continue;
    }
    if (!numbers_.has("number " + std::to_string(*subject))) {
      mistakes_.add(*number, "no device or printer has the number " + std::to_string(*subject));
    }
    numbers.add(*number, "finding for number " + std::to_string(*subject), mistakes_);
    setup.findings[*subject] = std::move(finding);
  }
}

}  // namespace velsim
