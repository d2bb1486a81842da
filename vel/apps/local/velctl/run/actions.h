// What commands do, for the rows: one function for each shape that many commands have.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_ACTIONS_H
#define VEL_APPS_LOCAL_VELCTL_RUN_ACTIONS_H

#include <cstdint>
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

// What a request calls. A plain function: a lambda of each request costs the compiler only itself.
template <typename Value>
struct CallOf {
  using Function = vel::Result<Value> (*)(const vel::Client& client, const Values& values);
};
template <typename Value>
using Call = typename CallOf<Value>::Function;

// A request that the service answers with a status.
//
// done       the text after success: "device {DEVICE} attached to {--vm}"
// activity   what is waited for; empty: the answer
Action asks(const std::string& method, Call<void> call, const std::string& done,
            const std::string& activity = {});

// A request whose status the library does not return: any answer is a success.
Action asksWithoutStatus(const std::string& method, Call<void> call, const std::string& done,
                         const std::string& activity = {});

// A request whose answer the library does not wait for.
Action sends(const std::string& method, Call<void> call, const std::string& done);

// A text that client and service agree on; velctl does not interpret it.
Action reads(const std::string& method, const std::string& member, Call<std::string> call,
             const std::string& activity = {});

// A number.
Action gets(const std::string& method, const Member& member, Call<std::int32_t> call);

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
template <typename Record>
Action lists(const std::string& method, const std::string& name,
             const std::vector<Field<Record>>& fields, Call<std::vector<Record>> call,
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
template <typename Record>
Action shows(const std::string& method, const std::string& noun, const std::string& listing,
             const std::vector<Field<Record>>& fields, Call<std::vector<Record>> call) {
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
