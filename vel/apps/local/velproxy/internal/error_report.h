#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_ERROR_REPORT_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_ERROR_REPORT_H

#include <string>

#include "vel/apps/local/velproxy/vel_error.h"

namespace qx {

class VelProxy;

// What lastError() reports of one operation of VelProxy. Each operation has such an object from its
// start to its end, a remote operation that of its RemoteCall.
//
//   ErrorReport("updateDriveToken").refuse("the token is empty");
//
// The first failure counts. It is the thread's last error at once, for the callbacks that the
// operation calls, and again at the end of the operation, whatever those callbacks have called.
class ErrorReport {
 public:
  // method  the bus method; empty for an operation that has none
  explicit ErrorReport(const char* method = "");
  ~ErrorReport();

  ErrorReport(const ErrorReport&) = delete;
  ErrorReport& operator=(const ErrorReport&) = delete;

  void setMethod(const char* method) { error_.method = method; }
  void fail(VelError::Kind kind, const std::string& text);
  void refuse(const char* reason) { fail(VelError::Kind::kRefusedArgument, reason); }

  void failUnknownVm(const std::string& vmId);

  // The service's number of a VM, from GetVmIdInt. 0 is a failure unless the name is empty.
  unsigned int numberOf(VelProxy& proxy, const std::string& vmId);

 private:
  void failLookUp(const VelError& lookUp, const std::string& vmId);

  VelError error_;
  // Where the thread's last error is.
  VelError& last_;
};

// Undoes what happens to the thread's last error while the object exists: for code that calls
// operations without being one.
class LastErrorKeeper {
 public:
  LastErrorKeeper();
  ~LastErrorKeeper();

  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  VelError& last_;
  VelError kept_;
};

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_ERROR_REPORT_H
