// One operation of the library on behalf of a command.

#ifndef VEL_APPS_LOCAL_VELCTL_OPERATION_H
#define VEL_APPS_LOCAL_VELCTL_OPERATION_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {

// The name of a VM for people: win11, or "win11" inside a sentence. An empty name stands for this
// machine.
std::string displayName(const std::string& vmId);
std::string quotedName(const std::string& vmId);

// The time limit of a bus method.
std::chrono::seconds timeLimitOf(const std::string& method);

// THREADS   One thread at a time.
class Operation {
 public:
  // Connects. method is the bus method, for messages. Throws Failure when there is no bus or no
  // service.
  explicit Operation(const std::string& method);

  // For an operation on a VM. Throws Failure also when the service does not know it: the library
  // would send 0 in its place, which the service takes for this machine.
  Operation(const std::string& method, const std::string& vmId);

  // details is an object with the further arguments, as the JSON form has them. Messages show the
  // values.
  Operation(const std::string& method, const Json& details);
  Operation(const std::string& method, const std::string& vmId, const Json& details);

  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // Calls an operation of the library, and keeps its error.
  //
  //   operation.call(&qx::VelProxy::ConnectDevice, vmId, number);
  template <typename Function, typename... Arguments>
  auto call(Function function, Arguments&&... arguments) {
    using Result = std::invoke_result_t<Function, qx::VelProxy&, Arguments...>;
    if constexpr (std::is_void_v<Result>) {
      std::invoke(function, *proxy_, std::forward<Arguments>(arguments)...);
      keepError();
    } else {
      Result result = std::invoke(function, *proxy_, std::forward<Arguments>(arguments)...);
      keepError();
      return result;
    }
  }

  // The same for a slow operation: shows the elapsed time and the time limit of the bus method.
  template <typename Function, typename... Arguments>
  auto callSlowly(const std::string& activity, Function function, Arguments&&... arguments) {
    const ElapsedTime elapsed(activity, timeLimitOf(method_));
    return call(function, std::forward<Arguments>(arguments)...);
  }

  qx::VelProxy& proxy() const { return *proxy_; }
  // The service's number of the VM; 0 for this machine, and without a VM.
  unsigned int number() const { return number_; }
  // Of the records in the list that the last call returned.
  const std::vector<std::size_t>& recordLengths() const { return recordLengths_; }

  // Throws the Failure when the last call got no usable answer. The return value does not show it
  // when an empty list, an empty text or a 0 is an answer as well.
  void check() const;

  // The JSON form of the answer: the request, then members. Throws as check().
  Json answered(const Json& members) const;

  // Writes that, or the text.
  void finishWith(const Output& output, const std::string& text, const Json& members) const;

  // Writes a list, which may be empty: elements is an array with that name, rows is its text. A
  // list that the service cut short is written as far as it goes before this throws.
  void finishList(const Output& output, const std::string& name, const Json& elements,
                  const std::string& rows) const;

  // Writes the result of a request with a status, as the library returns it. Throws Failure when it
  // is not 0. done is the text form, such as "connected".
  void finish(const Output& output, int status, const std::string& done) const;
  void finish(const Output& output, unsigned int status, const std::string& done) const {
    finish(output, static_cast<int>(status), done);
  }

  // For operations that do not wait for the answer of the service. Returns when the service has
  // received the request.
  void finishSent(const Output& output, unsigned int status, const std::string& done);

  // Throws the Failure for a request that the service has not fulfilled.
  [[noreturn]] void failRefused(const std::string& reason) const;
  // Throws the Failure for a request without a usable answer.
  [[noreturn]] void failWithoutAnswer(const std::string& reason) const;

 private:
  void keepError();
  void connect();
  void findVm();
  // The beginning of the JSON form.
  Json request() const;
  [[noreturn]] void failUnknownVm() const;
  [[noreturn]] void failDisconnected() const;

  std::string method_;
  std::string description_;  // method, details and VM, for messages
  std::string vmId_;
  bool hasVm_ = false;
  Json details_ = Json::object();
  unsigned int number_ = 0;
  qx::VelProxy* proxy_ = nullptr;
  qx::VelError error_;
  std::vector<std::size_t> recordLengths_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OPERATION_H
