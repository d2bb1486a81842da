// A command with its values, while it runs: requests on its behalf, and their results.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_INVOCATION_H
#define VEL_APPS_LOCAL_VELCTL_RUN_INVOCATION_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/line/arguments.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/output/field.h"
#include "vel/apps/local/velctl/output/output.h"
#include "vel/apps/local/velctl/run/session.h"
#include "vel/apps/local/velctl/run/values.h"
#include "vel/client/client.h"

namespace velctl {

// The name of a VM for people: win11, or "win11" inside a sentence. An empty name stands for this
// machine.
std::string displayName(const std::string& vm);
std::string quotedName(const std::string& vm);

// The time limit of a bus method.
std::chrono::seconds timeLimitOf(const std::string& method);

// Why the bus or the service is not there; empty for an error of another kind.
std::string absenceIn(const vel::Error& error);

// The elements of a list, also of one that the service cut short.
template <typename Value>
std::vector<Value> received(const vel::Result<std::vector<Value>>& list) {
  if (list) {
    return *list;
  }
  const auto* const part = list.error().template part<std::vector<Value>>();
  return part ? *part : std::vector<Value>();
}

// THREADS   The main thread.
class Invocation {
 public:
  Invocation(const Command& command, const Arguments& arguments, Session& session);

  Invocation(const Invocation&) = delete;
  Invocation& operator=(const Invocation&) = delete;

  // Looks up what the arguments name, before the command runs: throws Failure when it is not there.
  void resolve();

  const Command& command() const { return command_; }
  const Values& values() const { return *values_; }
  Session& session() const { return session_; }
  const Output& output() const { return session_.output(); }

  // The request that is going on, for messages: "connectDevice 12 for \"win11\"".
  const std::string& description() const { return description_; }
  const std::string& method() const { return method_; }

  // Makes another request the one that is going on, for a command that has several.
  void setMethod(const std::string& method);
  // values: in the description, each with a blank before it.
  void setMethod(const std::string& method, const std::string& values);

  // Calls operation(const vel::Client&, const Values&) -> vel::Result and waits for the result.
  template <typename Operation>
  auto call(Operation operation, const std::string& activity = {}) const
      -> std::invoke_result_t<Operation, const vel::Client&, const Values&> {
    using Result = std::invoke_result_t<Operation, const vel::Client&, const Values&>;
    return callResult<typename Result::value_type>(std::move(operation), activity);
  }

  // What is waited for: by default the answer to the method.
  Session::Activity activityOf(const std::string& activity) const;

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

  // The JSON form: the request, then the members of the answer.
  Json answered(const Json& members) const;

  // Writes that, or the text.
  void finishWith(const std::string& text, const Json& members) const;
  // Writes the result of a request, or throws the Failure. done is the text form; "{NAME}" in it
  // stands for the value of a parameter.
  void finish(const vel::Result<void>& result, const std::string& done) const;
  // For operations that succeed with any answer of the service.
  void finishWithoutStatus(const vel::Result<void>& result, const std::string& done) const;
  // For operations that do not wait for the answer of the service. Returns when the service has
  // received the request.
  void finishSent(const vel::Result<void>& result, const std::string& done) const;
  // Writes a list, which may be empty, under a name: its elements, and their text.
  void finishList(const std::string& name, const Json& elements, const std::string& text) const;

  // The text with the values of parameters in place of "{NAME}"; "2 pipes" for one that may be
  // given several times.
  std::string filledIn(const std::string& text) const;

  [[noreturn]] void fail(const vel::Error& error) const;
  // The text of the Failure is the description and the reason.
  [[noreturn]] void fail(ExitCode code, const std::string& reason) const;
  // Where the reason for a failure may stand: "; see the service's log, ..."
  static std::string logs();

 private:
  // Compiled once for each type of result, and not for each of the many operations.
  template <typename Value>
  vel::Result<Value> callResult(
      std::function<vel::Result<Value>(const vel::Client&, const Values&)> operation,
      const std::string& activity) const {
    return session_.call(activityOf(activity),
                         [values = values_, operation = std::move(operation)](
                             const vel::Client& client) { return operation(client, *values); });
  }
  Value valueOf(const Parameter& parameter, const std::vector<std::string>& texts);
  void describe();

  const Command& command_;
  const Arguments& arguments_;
  Session& session_;
  std::shared_ptr<const Values> values_ = std::make_shared<Values>();
  std::string method_;
  std::string description_;  // method, values and VM, for messages
  std::string details_;      // of description_, behind the method
  Json request_ = Json::object();
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_INVOCATION_H
