#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_ERROR_REPORT_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_ERROR_REPORT_H

#include <cstddef>
#include <string>
#include <vector>

#include "vel/apps/local/velproxy/vel_error.h"

namespace qx {

class VelProxy;

// The account of an operation beside its return value.
struct OperationAccount {
  VelError error;
  std::vector<std::size_t> recordLengths;
};

// What lastError() and lastRecordLengths() report of one operation of VelProxy. Each operation has
// such an object from its start to its end, a remote operation that of its RemoteCall.
//
//   ErrorReport("updateDriveToken").refuse("the token is empty");
//
// The first failure counts. It becomes the thread's last error at once, so that callbacks of the
// operation can read it, and again at the end, because callbacks may have called other operations.
class ErrorReport {
 public:
  // method  the bus method; empty for an operation that has none
  explicit ErrorReport(const char* method = "");
  ~ErrorReport();

  ErrorReport(const ErrorReport&) = delete;
  ErrorReport& operator=(const ErrorReport&) = delete;

  void setMethod(const char* method) { account_.error.method = method; }
  void fail(VelError::Kind kind, const std::string& text);
  void refuse(const char* reason) { fail(VelError::Kind::kRefusedArgument, reason); }

  void failUnknownVm(const std::string& vmId);

  // A record of the list that the operation returns.
  void addRecord(std::size_t length) { account_.recordLengths.push_back(length); }

  // The service's number of a VM, from GetVmIdInt. 0 is a failure unless the name is empty.
  unsigned int numberOf(VelProxy& proxy, const std::string& vmId);

 private:
  void failLookUp(const VelError& lookUp, const std::string& vmId);

  OperationAccount account_;
  // Of the thread's last operation.
  OperationAccount& last_;
};

// Restores the account of the thread's last operation when the object ends: for code that calls
// operations without being one.
class LastErrorKeeper {
 public:
  LastErrorKeeper();
  ~LastErrorKeeper();

  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  OperationAccount& last_;
  OperationAccount kept_;
};

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_ERROR_REPORT_H
