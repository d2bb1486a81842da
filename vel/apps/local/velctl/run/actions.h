// What commands do, for the rows: one function for each shape that many commands have.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_ACTIONS_H
#define VEL_APPS_LOCAL_VELCTL_RUN_ACTIONS_H

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/invocation.h"

namespace velctl {

// The members of the answer to a request that has a status.
std::vector<Member> statusMembers();

// A request that the service answers with a status.
//
// call       (const vel::Client&, const Values&) -> vel::Result<void>
// done       the text after success: "device {DEVICE} attached to {--vm}"
// activity   what is waited for; empty: the answer
template <typename Call>
Action asks(const std::string& method, Call call, const std::string& done,
            const std::string& activity = {}) {
  return {method,
          [call, done, activity](Invocation& invocation) {
            invocation.finish(invocation.call(call, activity), done);
          },
          statusMembers(),
          "",
          {}};
}

// A request whose status the library does not return: any answer is a success.
template <typename Call>
Action asksWithoutStatus(const std::string& method, Call call, const std::string& done,
                         const std::string& activity = {}) {
  return {method,
          [call, done, activity](Invocation& invocation) {
            invocation.finishWithoutStatus(invocation.call(call, activity), done);
          },
          {},
          "",
          {}};
}

// A request whose answer the library does not wait for.
template <typename Call>
Action sends(const std::string& method, Call call, const std::string& done) {
  return {
      method,
      [call, done](Invocation& invocation) { invocation.finishSent(invocation.call(call), done); },
      {},
      "",
      {}};
}

// A text that client and service agree on; velctl does not interpret it.
template <typename Call>
Action reads(const std::string& method, const std::string& member, Call call,
             const std::string& activity = {}) {
  return {method,
          [member, call, activity](Invocation& invocation) {
            const std::string text = invocation.valueOf(invocation.call(call, activity));
            invocation.finishWith(printableLines(text), Json{{member, jsonText(text)}});
          },
          {{member, Type::kText}},
          "",
          {}};
}

// A number.
template <typename Call>
Action gets(const std::string& method, const Member& member, Call call) {
  return {method,
          [member, call](Invocation& invocation) {
            const Json value = invocation.valueOf(invocation.call(call));
            Json json = Json::object();
            addMember(json, member, value);
            invocation.finishWith(cellOf(member, value).text, json);
          },
          {member},
          "",
          {}};
}

// Gives the records of a list the names of their VMs where this process has not learned them.
template <typename Record>
void nameVms(const Invocation& invocation, std::vector<Record>* records);

// Writes records as a table, or in JSON under a name. A list that the service cut short is written
// as far as it goes before this throws.
template <typename Record>
void finishRecords(const Invocation& invocation, const std::string& name,
                   const std::vector<Field<Record>>& fields,
                   const vel::Result<std::vector<Record>>& result) {
  std::vector<Record> records = received(result);
  if (records.empty()) {
    invocation.check(result);
  }
  nameVms(invocation, &records);
  Table table(headingsOf(fields));
  Json elements = Json::array();
  for (const Record& record : records) {
    table.add(rowOf(fields, record));
    elements.push_back(jsonOf(fields, record));
  }
  invocation.finishList(name, elements, table.text(invocation.output().terminal()));
  invocation.check(result);
}

// A list of records.
//
// call       (const vel::Client&, const Values&) -> vel::Result<std::vector<Record>>
template <typename Record, typename Call>
Action lists(const std::string& method, const std::string& name,
             const std::vector<Field<Record>>& fields, Call call,
             const std::string& activity = {}) {
  return {method,
          [name, fields, call, activity](Invocation& invocation) {
            finishRecords(invocation, name, fields, invocation.call(call, activity));
          },
          {},
          name,
          membersOf(fields)};
}

// Writes every member of one thing.
template <typename Record>
void finishThing(const Invocation& invocation, const std::vector<Field<Record>>& fields,
                 const Record& record) {
  invocation.finishWith(fieldsText(namedCellsOf(fields, record), invocation.output().terminal()),
                        jsonOf(fields, record));
}

// One thing in full: the first record that the service has of it, which is the only one.
//
// noun, listing  for the message when there is none: "device", "velctl device list"
template <typename Record, typename Call>
Action shows(const std::string& method, const std::string& noun, const std::string& listing,
             const std::vector<Field<Record>>& fields, Call call) {
  return {method,
          [noun, listing, fields, call](Invocation& invocation) {
            std::vector<Record> records = invocation.valueOf(invocation.call(call));
            if (records.empty()) {
              invocation.fail(kExitUnknown,
                              "the service has no such " + noun + "; " + listing + " shows them");
            }
            nameVms(invocation, &records);
            for (const Record& record : records) {
              finishThing(invocation, fields, record);
            }
          },
          membersOf(fields),
          "",
          {}};
}

// Whatever no other shape fits.
Action runs(const std::string& method, std::function<void(Invocation&)> run,
            std::vector<Member> members = {});

// --- Details of the above ------------------------------------------------------------------------

template <typename Record, typename = void>
struct HasVm : std::false_type {};
template <typename Record>
struct HasVm<Record, std::void_t<decltype(std::declval<Record>().vmNumber)>> : std::true_type {};

// The VMs that the service names; none when it does not.
std::vector<vel::Vm> namesOfVms(const Invocation& invocation);

template <typename Record>
void nameVms(const Invocation& invocation, std::vector<Record>* records) {
  if constexpr (HasVm<Record>::value) {
    const auto isUnnamed = [](const Record& record) {
      return record.vm.empty() && record.vmNumber != vel::VmNumber();
    };
    if (std::none_of(records->begin(), records->end(), isUnnamed)) {
      return;
    }
    const std::vector<vel::Vm> vms = namesOfVms(invocation);
    for (Record& record : *records) {
      for (const vel::Vm& vm : vms) {
        if (isUnnamed(record) && vm.number == record.vmNumber) {
          record.vm = vm.name;
        }
      }
    }
  }
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_ACTIONS_H
