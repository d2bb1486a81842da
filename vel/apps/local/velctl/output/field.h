// The members of answers, and of the records in them: one table gives the text form, the JSON form
// and the schema.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_FIELD_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_FIELD_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/output/json.h"
#include "vel/apps/local/velctl/output/table.h"
#include "vel/protocol/meanings.h"

namespace velctl {

enum class Type {
  kText,
  kInteger,
  kLong,  // 64 bits: a text in JSON
  kBoolean,
  kMeaning,  // an integer; a second member NAMEName has its word, or null
  kVm,       // two members: vm, a name or null, and vmNumber
  kHex,
  kAny,
};

struct Member {
  std::string name;
  Type type = Type::kText;
  // Of kMeaning.
  std::optional<velprotocol::Legend> legend = {};
};

// A line of the JSON form that reports an event.
struct EventLine {
  std::string event;
  std::vector<Member> members;
};

// A member of a record, and its place in a table of such records.
template <typename Record>
struct Field {
  Member member;
  // Empty: the table has no such column.
  std::string heading;
  // Texts as the service has sent them. Of kVm: the object {"vm": name, "vmNumber": number}.
  Json (*value)(const Record& record);
};

// "attached (2)"; "9" for a number without a meaning.
std::string numberWithMeaning(const velprotocol::Legend& legend, std::int64_t number);

// Adds a value to a JSON object, under the name of its member.
void addMember(Json& json, const Member& member, const Json& value);

// The text form of a value.
Cell cellOf(const Member& member, const Json& value);

template <typename Record>
std::vector<Member> membersOf(const std::vector<Field<Record>>& fields) {
  std::vector<Member> members;
  for (const Field<Record>& field : fields) {
    members.push_back(field.member);
  }
  return members;
}

template <typename Record>
Json jsonOf(const std::vector<Field<Record>>& fields, const Record& record) {
  Json json = Json::object();
  for (const Field<Record>& field : fields) {
    addMember(json, field.member, field.value(record));
  }
  return json;
}

// Only the columns of the table.
template <typename Record>
std::vector<std::string> headingsOf(const std::vector<Field<Record>>& fields) {
  std::vector<std::string> headings;
  for (const Field<Record>& field : fields) {
    if (!field.heading.empty()) {
      headings.push_back(field.heading);
    }
  }
  return headings;
}

template <typename Record>
Table::Row rowOf(const std::vector<Field<Record>>& fields, const Record& record) {
  Table::Row row;
  for (const Field<Record>& field : fields) {
    if (!field.heading.empty()) {
      row.push_back(cellOf(field.member, field.value(record)));
    }
  }
  return row;
}

// Every member with its name, for fieldsText().
template <typename Record>
std::vector<std::pair<std::string, Cell>> namedCellsOf(const std::vector<Field<Record>>& fields,
                                                       const Record& record) {
  std::vector<std::pair<std::string, Cell>> cells;
  for (const Field<Record>& field : fields) {
    cells.emplace_back(field.member.name, cellOf(field.member, field.value(record)));
  }
  return cells;
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_FIELD_H
