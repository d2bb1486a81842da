#include "vel/apps/local/velctl/run/things.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velctl {
namespace {

template <typename Record, typename NumberOf>
vel::Result<std::vector<Thing>> named(vel::Result<std::vector<Record>> records, NumberOf numberOf) {
  if (!records) {
    return vel::unexpected<vel::Error>(records.error());
  }
  std::vector<Thing> things;
  for (const Record& record : *records) {
    things.push_back({record.name, std::uint64_t{numberOf(record)}});
  }
  return things;
}

struct Words {
  Kind kind;
  const char* noun;
  const char* listing;
  const char* method;
};

constexpr Words kWords[] = {
    {Kind::kVm, "VM", "velctl vm list", "getVmList"},
    {Kind::kDevice, "device", "velctl device list", "getDeviceList"},
    {Kind::kSource, "device", "velctl device list", "getDeviceList"},
    {Kind::kPrinter, "printer", "velctl printer list", "getPrinterList"},
    {Kind::kJoystick, "joystick", "velctl joystick list", "getJoystickDevList"},
    {Kind::kMapping, "mapping", "velctl mapping list", "getJoystickMappingList"},
};

const Words& wordsFor(Kind kind) {
  for (const Words& words : kWords) {
    if (words.kind == kind) {
      return words;
    }
  }
  return kWords[0];
}

}  // namespace

bool isThing(Kind kind) {
  return std::any_of(std::begin(kWords), std::end(kWords),
                     [kind](const Words& words) { return words.kind == kind; });
}

vel::Result<std::vector<Thing>> thingsOf(Kind kind, const vel::Client& client) {
  const auto byNumber = [](const auto& record) { return record.number.value(); };
  const auto byIndex = [](const auto& record) { return record.index.value(); };
  switch (kind) {
    case Kind::kVm:
      return named(client.vms(), byNumber);
    case Kind::kDevice:
      return named(client.localDevices(), byNumber);
    case Kind::kSource:
      return named(client.localDevices(),
                   [](const vel::Device& device) { return device.source.value(); });
    case Kind::kPrinter:
      return named(client.printers(""), byNumber);
    case Kind::kJoystick:
      return named(client.joysticks(), byIndex);
    case Kind::kMapping:
      return named(client.joystickMappings(), byIndex);
    case Kind::kNetworkPrinter:
      return named(client.networkPrinters(), [](const vel::NetworkPrinter&) { return 0U; });
    default:
      return std::vector<Thing>();
  }
}

std::string nounOf(Kind kind) {
  return wordsFor(kind).noun;
}

std::string listingOf(Kind kind) {
  return wordsFor(kind).listing;
}

std::string listMethodOf(Kind kind) {
  return wordsFor(kind).method;
}

}  // namespace velctl
