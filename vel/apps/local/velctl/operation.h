// One operation of the library on behalf of a command.

#ifndef VEL_APPS_LOCAL_VELCTL_OPERATION_H
#define VEL_APPS_LOCAL_VELCTL_OPERATION_H

#include <string>

#include "vel/apps/local/velctl/library_errors.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {

// The name of a VM as a message shows it. Empty stands for this machine.
std::string shown(const std::string& vmId);

// THREADS  The one that constructs it.
class Operation {
 public:
  // Connects. method is the bus method, for messages. Throws Failure when there is no bus or no
  // service.
  explicit Operation(const std::string& method);

  // For an operation on a VM. Throws Failure also when the service does not know it: the library
  // would send 0 in its place, and the service could not tell it from this machine.
  Operation(const std::string& method, const std::string& vmId);

  // details is an object: what else the operation is about, as the JSON form has it. Messages show
  // the values.
  Operation(const std::string& method, const Json& details);
  Operation(const std::string& method, const std::string& vmId, const Json& details);

  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  qx::VelProxy* operator->() const { return proxy_; }
  // The service's number of the VM; 0 for this machine, and without a VM.
  unsigned int number() const { return number_; }

  // Throws the Failure when there was no usable answer, also where the library's value does not
  // tell: an empty list, an empty text, or a 0.
  void check() const;

  // The JSON form of what the service answered: members, behind what the operation was about.
  // Throws as check().
  Json answered(const Json& members) const;

  // Reports that, or text.
  void finishWith(const Output& output, const std::string& text, const Json& members) const;

  // The same for a list, which may be empty: elements is an array with that name, rows their text.
  void finishList(const Output& output, const std::string& name, const Json& elements,
                  const std::string& rows) const;

  // Throws the Failure for what the service has answered instead of doing its part.
  [[noreturn]] void failRefused(const std::string& answered) const;

  // Reports that the service has done its part; throws Failure when the status, as the library
  // returns it, says otherwise. done is the text form, such as "connected".
  void finish(const Output& output, int status, const std::string& done) const;
  void finish(const Output& output, unsigned int status, const std::string& done) const {
    finish(output, static_cast<int>(status), done);
  }

  // For operations that the library sends without telling what became of them. Returns when the
  // service has had the request.
  void finishSent(const Output& output, unsigned int status, const std::string& done) const;

  // Throws the Failure for an operation without a usable answer.
  [[noreturn]] void failWithoutAnswer() const;

 private:
  void connect();
  void findVm();
  // What the JSON form begins with.
  Json json() const;
  [[noreturn]] void failDisconnected() const;

  LibraryErrors errors_;
  std::string method_;
  std::string what_;  // method, details and VM, for errors
  std::string vmId_;
  bool hasVm_ = false;
  Json details_ = Json::object();
  unsigned int number_ = 0;
  qx::VelProxy* proxy_ = nullptr;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OPERATION_H
