// One operation of the service on behalf of a command.

#ifndef VEL_APPS_LOCAL_VELCTL_OPERATION_H
#define VEL_APPS_LOCAL_VELCTL_OPERATION_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/client/client.h"

namespace velctl {

// The name of a VM for people: win11, or "win11" inside a sentence. An empty name stands for this
// machine.
std::string displayName(const std::string& vmId);
std::string quotedName(const std::string& vmId);

// The time limit of a bus method.
std::chrono::seconds timeLimitOf(const std::string& method);

// The elements of a list, also of one that the service cut short.
template <typename Value>
std::vector<Value> received(const vel::Result<std::vector<Value>>& list) {
  if (list) {
    return *list;
  }
  const auto* const part = list.error().template part<std::vector<Value>>();
  return part ? *part : std::vector<Value>();
}

// An element of a list in both forms.
struct Shown {
  Json json;
  Table::Row row;
};

// THREADS   One thread at a time.
class Operation {
 public:
  // method is the bus method, for messages.
  explicit Operation(const std::string& method);

  // For an operation on a VM. Throws Failure when the service cannot give its number.
  Operation(const std::string& method, const std::string& vmId);

  // details is an object with the further arguments, as the JSON form has them. Messages show the
  // values.
  Operation(const std::string& method, const Json& details);
  Operation(const std::string& method, const std::string& vmId, const Json& details);

  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  const vel::Client& client() const { return client_; }
  // The service's number of the VM; 0 for this machine, and without a VM.
  vel::VmNumber number() const { return number_; }

  // Calls a slow operation of the client: shows the elapsed time and the time limit of the method.
  template <typename Function>
  auto slowly(const std::string& activity, Function function) const {
    return withElapsedTime(activity, timeLimitOf(method_), function);
  }

  // Throws the Failure for an error.
  template <typename Value>
  void check(const vel::Result<Value>& result) const {
    if (!result) {
      fail(result.error());
    }
  }

  // The value. Throws the Failure for an error.
  template <typename Value>
  Value valueOf(vel::Result<Value> result) const {
    check(result);
    return *std::move(result);
  }

  // The JSON form of the answer: the request, then members.
  Json answered(const Json& members) const;

  // Writes that, or the text.
  void finishWith(const Output& output, const std::string& text, const Json& members) const;

  // Writes a list, which may be empty, under a name: show gives both forms of an element. A list
  // that the service cut short is written as far as it goes before this throws.
  template <typename Value, typename Show>
  void finishList(const Output& output, const std::string& name, Table::Row headings,
                  const vel::Result<std::vector<Value>>& list, Show show) const {
    Json elements = Json::array();
    Table table(std::move(headings));
    for (const Value& value : received(list)) {
      Shown shown = show(value);
      elements.push_back(std::move(shown.json));
      table.add(std::move(shown.row));
    }
    finishList(output, name, elements, table.text(), list);
  }

  // The same with the elements and their text.
  template <typename Value>
  void finishList(const Output& output, const std::string& name, const Json& elements,
                  const std::string& rows, const vel::Result<std::vector<Value>>& list) const {
    if (elements.empty()) {
      check(list);
    }
    writeList(output, name, elements, rows);
    check(list);
  }

  // Writes the result of a request, or throws the Failure. done is the text form, such as
  // "connected".
  void finish(const Output& output, const vel::Result<void>& result, const std::string& done) const;

  // For operations that do not wait for the answer of the service. Returns when the service has
  // received the request.
  void finishSent(const Output& output, const vel::Result<void>& result,
                  const std::string& done) const;

  // Throws the Failure for a request that the service has not fulfilled.
  [[noreturn]] void failRefused(const std::string& reason) const;
  // Throws the Failure for a request without a usable answer.
  [[noreturn]] void failWithoutAnswer(const std::string& reason) const;

 private:
  [[noreturn]] void fail(const vel::Error& error) const;
  void writeList(const Output& output, const std::string& name, const Json& elements,
                 const std::string& rows) const;

  vel::Client client_;
  std::string method_;
  std::string description_;  // method, details and VM, for messages
  std::string prefix_;       // of the text form
  Json request_;             // the beginning of the JSON form
  vel::VmNumber number_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OPERATION_H
