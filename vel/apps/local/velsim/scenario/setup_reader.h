// The machine that a scenario states, from its JSON.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_SETUP_READER_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_SETUP_READER_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/scenario/json_node.h"
#include "vel/apps/local/velsim/scenario/json_reader.h"

namespace velsim {

// Values that may stand once, with the lines where they stand.
class UniqueValues {
 public:
  // False, and a mistake, when the value stood before. what: such as "number 12".
  bool add(const JsonNode& node, const std::string& what, Mistakes& mistakes);
  bool has(const std::string& what) const { return lines_.count(what) != 0; }

 private:
  std::map<std::string, int> lines_;
};

// One member function for each section; those that refer to another section read it before.
class SetupReader {
 public:
  // isCommand: whether the name of a command is taken; may be null.
  SetupReader(Mistakes& mistakes, std::function<bool(const std::string& word)> isCommand)
      : mistakes_(mistakes), isCommand_(std::move(isCommand)) {}

  Setup read(ObjectReader& file);

 private:
  // A name that stands in no section. noun: such as "driver".
  void addUnknown(const JsonNode& node, const std::string& noun, const std::string& name,
                  const std::vector<std::string>& names);

  // setup_reader.cpp
  void readVms(const JsonNode* node);
  void readDevices(const JsonNode* node);
  void readPrinters(const JsonNode* node, bool areNetwork);
  std::optional<std::uint16_t> readNumber(ObjectReader& object);
  std::uint64_t readSourceId(ObjectReader& object);
  VmNumber readVm(ObjectReader& object);
  void checkSourceId(const JsonNode& node, std::uint16_t number, std::uint64_t sourceId);

  // setup_sections.cpp
  void readSharedPrinters(const JsonNode* node);
  std::vector<SharedPrinter> readSharedPrinterList(const JsonNode* node);
  void readDrivers(const JsonNode* node);
  void readPrintQueues(const JsonNode* node);
  void readMappings(const JsonNode* node);
  void readJoysticks(const JsonNode* node);
  void readPolicies(const JsonNode* node);
  void readVidPidPolicies(const JsonNode* node);
  void readCommands(const JsonNode* node);
  void readDiagnosis(const JsonNode* node);

  Mistakes& mistakes_;
  const std::function<bool(const std::string& word)> isCommand_;
  Setup setup_;
  UniqueValues numbers_;
  UniqueValues sourceIds_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_SETUP_READER_H
