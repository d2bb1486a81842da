#include "tests/velsim/scenario/random_scenarios.h"

#include <set>
#include <vector>

#include <nlohmann/json.hpp>

namespace velsim {
namespace {

using nlohmann::json;

const char* const kTypes[] = {"storage", "camera", "tablet", "printer-class", "generic", "network"};
const char* const kTroubles[] = {"none", "out-of-paper", "paper-jam", "out-of-ink", "offline"};
const char* const kTimes[] = {"1s", "1.5s", "250ms", "2min", "0s"};

class Generator {
 public:
  explicit Generator(Random& random) : random_(random) {}

  json scenario() {
    json file = {{"title", text(40)}};
    file["vms"] = list(5, [this](std::size_t i) { return vm(i); });
    if (random_.chance(30)) {
      file["firstPluggedNumber"] = 1 + random_.below(65535);
    }
    file["devices"] = list(8, [this](std::size_t) { return device(); });
    file["cameras"] = random_.chance(50) ? "allowed" : "denied";
    file["printers"] = list(4, [this](std::size_t) { return printer(); });
    file["networkPrinters"] = list(3, [this](std::size_t i) {
      json entry = printer();
      entry["name"] = "net " + std::to_string(i) + text(20);
      entry["address"] = "10.0.0." + std::to_string(i);
      return entry;
    });
    file["sharedPrinters"] = {{"searchTime", random_.oneOf(kTimes)},
                              {"found", list(3, [this](std::size_t i) { return shared(i); })},
                              {"added", list(3, [this](std::size_t i) { return shared(i); })}};
    file["drivers"] = list(3, [this](std::size_t i) {
      return json{{"name", "driver " + std::to_string(i)},
                  {"words", list(3, [this](std::size_t) { return text(5); })}};
    });
    const std::size_t drivers = file["drivers"].size();
    if (drivers > 0) {
      file["printQueues"] = list(3, [&](std::size_t i) {
        return json{{"name", "queue " + std::to_string(i)},
                    {"uri", "usb://" + text(9)},
                    {"driver", "driver " + std::to_string(random_.below(drivers))}};
      });
    }
    file["joystickMappings"] = {"Standard", "Flight " + text(9)};
    file["joysticks"] = list(4, [this](std::size_t) {
      return json{{"vid", random_.below(65536)}, {"pid", "0x0a"}, {"name", name()}};
    });
    file["commands"] = list(2, [this](std::size_t i) {
      return json{{"word", "custom" + std::to_string(i)}, {"answer", any(3)}};
    });
    file["diagnosis"] = {{"stepTime", random_.below(5000)},
                         {"steps", list(4, [this](std::size_t) { return text(30); })}};
    file["timeline"] = list(4, [this](std::size_t) {
      return json{{"after", random_.oneOf(kTimes)}, {"do", line()}};
    });
    // Every section may be absent, but for those that others refer to.
    for (const char* const section : {"devices", "printers", "networkPrinters", "sharedPrinters",
                                      "printQueues", "joysticks", "commands", "timeline"}) {
      if (random_.chance(50)) {
        file.erase(section);
      }
    }
    return file;
  }

  // Any value, nested so deep at most.
  json any(std::size_t depth) {
    switch (random_.below(depth == 0 ? 6 : 8)) {
      case 0:
        return nullptr;
      case 1:
        return random_.chance(50);
      case 2:
        return random_.next();
      case 3:
        return -static_cast<std::int64_t>(random_.below(1'000'000));
      case 4:
        return 0.25 * static_cast<double>(random_.below(1000));
      case 5:
        return text(300);
      case 6:
        return list(3, [this, depth](std::size_t) { return any(depth - 1); });
      default:
        return {{text(8), any(depth - 1)}};
    }
  }

  // Valid, but of a machine that may lack the device.
  std::string line() {
    const std::string device = std::to_string(1 + random_.below(40));
    const std::string vm = "vm" + std::to_string(random_.below(6));
    const std::string lines[] = {
        "plug " + std::string(kTypes[random_.below(5)]) + " 'Plugged in'",
        "plug printer",
        "unplug " + device,
        "replug " + device,
        "attach " + device + " " + vm,
        "detach " + device,
        "mount " + device,
        "unmount " + device,
        "trouble " + device + " " + random_.oneOf(kTroubles),
        "camera " + std::string(random_.chance(50) ? "allow" : "deny"),
        "vm add " + vm,
        "vm remove " + vm,
        "vm connect " + vm,
        "vm disconnect " + vm,
        "diagnosis " + vm + " " + device + " fault 'a text'",
        "answer " + vm + " '{}'",
        "joystick " + std::to_string(random_.below(5)) + " calibrated",
        "joystick 0 Standard",
        "list",
        "devices",
        "printers",
        "joysticks",
    };
    return random_.oneOf(lines);
  }

 private:
  template <typename Make>
  json list(std::size_t most, const Make& make) {
    json made = json::array();
    const std::size_t count = random_.below(most + 1);
    for (std::size_t i = 0; i < count; ++i) {
      made.push_back(make(i));
    }
    return made;
  }

  std::string text(std::size_t most) {
    static const std::vector<std::string> characters = {
        "a", "Z", "7", " ", "\"", "\\", "'", "/", "\n", "\x1b", "\u00e4", "\u20ac", "\U0001F5A8"};
    std::string made;
    for (std::size_t count = random_.below(most + 1); count > 0; --count) {
      made += random_.oneOf(characters);
    }
    return made;
  }
  std::string name() { return "n" + text(30); }

  json vm(std::size_t index) {
    json vm = {{"id", "vm" + std::to_string(index)}, {"number", index + 1}};
    if (random_.chance(50)) {
      vm["connection"] = {{"systemType", random_.below(100)}};
      connected_.push_back(vm["id"]);
    }
    vm["isStarted"] = random_.chance(50);
    return vm;
  }

  std::uint64_t number() {
    // Small ones are those that control lines name.
    for (;;) {
      const std::uint64_t number = 1 + random_.below(random_.chance(70) ? 40 : 65535);
      if (numbers_.insert(number).second) {
        return number;
      }
    }
  }

  void attachAtTimes(json& entry) {
    if (!connected_.empty() && random_.chance(30)) {
      entry["vm"] = random_.oneOf(connected_);
    }
  }

  json device() {
    const std::string type = random_.oneOf(kTypes);
    json device = {{"number", number()}, {"type", type}, {"name", name()}};
    attachAtTimes(device);
    if (random_.chance(30)) {
      device["policy"] = static_cast<int>(random_.below(65536)) - 32768;
      device["policyText"] = text(60);
    }
    if (device.count("vm") == 0 && random_.chance(20)) {
      device["isIgnored"] = true;
    }
    if (type == "storage" && random_.chance(50)) {
      device["isMounted"] = false;
    }
    if (type == "network") {
      device["networkType"] = random_.below(1000);
    }
    return device;
  }

  json printer() {
    json printer = {{"number", number()}, {"name", name()}, {"trouble", random_.oneOf(kTroubles)}};
    attachAtTimes(printer);
    return printer;
  }

  json shared(std::size_t index) {
    return {{"address", "10.0.0." + std::to_string(index)}, {"name", name()}};
  }

  Random& random_;
  std::set<std::uint64_t> numbers_;
  std::vector<std::string> connected_;
};

// A random value somewhere in a tree.
json& placeIn(json& tree, Random& random) {
  json* place = &tree;
  while (place->is_structured() && !place->empty() && random.chance(85)) {
    auto child = place->begin();
    std::advance(child, static_cast<std::ptrdiff_t>(random.below(place->size())));
    place = &*child;
  }
  return *place;
}

}  // namespace

std::string randomScenario(Random& random) {
  return Generator(random).scenario().dump(random.chance(50) ? 2 : -1);
}

std::string brokenScenario(Random& random, const std::string& scenario) {
  if (random.chance(40)) {
    std::string text = scenario;
    for (std::size_t count = 1 + random.below(4); count > 0 && !text.empty(); --count) {
      const std::size_t at = random.below(text.size());
      if (random.chance(20)) {
        text.resize(at);
      } else {
        text[at] = static_cast<char>(random.below(256));
      }
    }
    return text;
  }
  json tree = json::parse(scenario);
  Generator generator(random);
  for (std::size_t count = 1 + random.below(5); count > 0; --count) {
    json& place = placeIn(tree, random);
    const std::size_t change = random.below(4);
    if (change == 0 && place.is_object() && !place.empty()) {
      place.erase(place.begin());
    } else if (change == 1 && place.is_object()) {
      place["nam"] = generator.any(2);
    } else if (change == 2) {
      place = json(placeIn(tree, random));
    } else {
      place = generator.any(2);
    }
  }
  return tree.dump();
}

std::string randomLine(Random& random) {
  return Generator(random).line();
}

}  // namespace velsim
