#include "tests/velctl/schema/schema.h"

#include <cstdint>
#include <limits>
#include <vector>

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/output/json.h"

namespace velctl_tests {
namespace {

using velctl::Json;
using velctl::Kind;
using velctl::Member;
using velctl::Parameter;
using velctl::Type;

// An object with some members, and no others.
class Object {
 public:
  void add(const std::string& name, const Json& schema, bool isRequired = true) {
    const bool isNew = !properties_.contains(name);
    properties_[name] = schema;
    if (isRequired && isNew) {
      required_.push_back(name);
    }
  }

  Json schema() const {
    return {{"type", "object"},
            {"properties", properties_},
            {"required", required_},
            {"additionalProperties", false}};
  }

 private:
  Json properties_ = Json::object();
  Json required_ = Json::array();
};

Json ofType(const char* type) {
  return {{"type", type}};
}

Json orNull(const char* type) {
  return {{"type", {type, "null"}}};
}

Json digits(bool mayBeNull) {
  Json schema = mayBeNull ? orNull("string") : ofType("string");
  schema["pattern"] = "^-?[0-9]+$";
  return schema;
}

// A number and its word.
Json words(const velprotocol::Legend& legend) {
  Json all = Json::array();
  for (const velprotocol::Meaning& meaning : legend) {
    all.push_back(meaning.word);
  }
  all.push_back(nullptr);
  return {{"enum", all}};
}

void addMember(Object& object, const Member& member) {
  switch (member.type) {
    case Type::kText:
    case Type::kHex:
      object.add(member.name, orNull("string"));
      break;
    case Type::kInteger:
      object.add(member.name, orNull("integer"));
      break;
    case Type::kLong:
      object.add(member.name, digits(true));
      break;
    case Type::kBoolean:
      object.add(member.name, orNull("boolean"));
      break;
    case Type::kMeaning:
      object.add(member.name, orNull("integer"));
      object.add(member.name + "Name", member.legend ? words(*member.legend) : orNull("string"));
      break;
    case Type::kVm:
      object.add("vm", orNull("string"));
      object.add("vmNumber", ofType("integer"));
      break;
    case Type::kAny:
      object.add(member.name, Json::object());
      break;
  }
}

Json membersSchema(const std::vector<Member>& members) {
  Object object;
  for (const Member& member : members) {
    addMember(object, member);
  }
  return object.schema();
}

Json numberSchema(const Parameter& parameter) {
  return {{"type", "integer"}, {"minimum", parameter.least}, {"maximum", parameter.most}};
}

Json valueSchema(const Parameter& parameter) {
  if (parameter.isLong()) {
    return digits(false);
  }
  switch (parameter.kind) {
    case Kind::kUnsigned:
    case Kind::kSigned:
    case Kind::kDevice:
    case Kind::kPrinter:
    case Kind::kJoystick:
    case Kind::kMapping:
      return numberSchema(parameter);
    case Kind::kFlag:
      return {{"const", true}};
    case Kind::kUsbId:
      return {{"type", "string"}, {"pattern", "^[0-9a-f]{4}:[0-9a-f]{4}$"}};
    case Kind::kUsbBytes:
      return {{"type", "string"}, {"pattern", "^[0-9a-f]{16}$"}};
    case Kind::kChoice:
      return {{"enum", parameter.choices}};
    default:
      return ofType("string");
  }
}

void addParameter(Object& object, const Parameter& parameter) {
  const bool isThere = parameter.isRequired || parameter.fallback.has_value();
  if (parameter.isUnresolved) {
    return;
  }
  if (parameter.kind == Kind::kVm) {
    object.add("vm", ofType("string"), isThere);
    object.add("vmNumber", ofType("integer"), isThere);
  } else if (!parameter.isSilent) {
    const Json schema = valueSchema(parameter);
    object.add(parameter.key(),
               parameter.isRepeated ? Json{{"type", "array"}, {"items", schema}} : schema, isThere);
  }
}

Json commandSchema(const velctl::Command& command) {
  const velctl::Action& action = command.action;
  Object object;
  if (!action.method.empty()) {
    Json methods = Json::array();
    for (const std::string& method : {action.method, action.methodBySource, action.methodOfLocal}) {
      if (!method.empty()) {
        methods.push_back(method);
      }
    }
    object.add("operation", {{"enum", methods}});
  }
  for (const Parameter& parameter : command.parameters) {
    addParameter(object, parameter);
  }
  for (const Member& member : action.members) {
    addMember(object, member);
  }
  if (!action.list.empty()) {
    object.add(action.list, {{"type", "array"}, {"items", membersSchema(action.elements)}});
  }
  Json schema = object.schema();
  schema["description"] = command.summary;
  return schema;
}

Json eventSchema(const velctl::EventLine& event) {
  Object object;
  object.add("event", {{"const", event.event}});
  for (const Member& member : event.members) {
    addMember(object, member);
  }
  return object.schema();
}

Json errorSchema() {
  Json kinds = Json::array();
  Json statuses = Json::array();
  for (const velctl::ExitMeaning& meaning : velctl::kExitMeanings) {
    if (meaning.code != velctl::kExitDone) {
      kinds.push_back(meaning.name);
      statuses.push_back(int{meaning.code});
    }
  }
  Object error;
  error.add("kind", {{"enum", kinds}});
  error.add("exitStatus", {{"enum", statuses}});
  error.add("operation", ofType("string"), false);
  error.add("status", ofType("integer"), false);
  error.add("statusName", words(velprotocol::Legend("", velprotocol::kStatuses)), false);
  error.add("text", ofType("string"));
  Object object;
  object.add("error", error.schema());
  Json schema = object.schema();
  schema["description"] = "A failure of any command";
  return schema;
}

}  // namespace

std::string schemaText() {
  Json definitions = {{"error", errorSchema()}};
  for (const velctl::Command& command : velctl::commands()) {
    definitions[command.path] = commandSchema(command);
    for (const velctl::EventLine& event : command.action.events) {
      definitions["event " + event.event] = eventSchema(event);
    }
  }
  Json any = Json::array();
  for (const auto& [name, schema] : definitions.items()) {
    std::string pointer;
    for (const char c : name) {
      pointer += c == ' ' ? "%20" : std::string(1, c);
    }
    any.push_back({{"$ref", "#/$defs/" + pointer}});
  }
  const Json document = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                         {"title", "A line of the output of velctl --json"},
                         {"description",
                          "Made of the rows of velctl's commands. $defs has the lines of each "
                          "command under its words."},
                         {"anyOf", any},
                         {"$defs", definitions}};
  return document.dump(1) + '\n';
}

}  // namespace velctl_tests
