#include "vel/apps/local/velproxy/internal/error_report.h"

#include <new>
#include <utility>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

using Kind = VelError::Kind;

// A place and a pointer that survive the thread's other thread-local objects: destructors of the
// client's statics may still call operations, which then make a new account. It takes no memory,
// because destructors use it.
alignas(OperationAccount) thread_local unsigned char placeOfAccount[sizeof(OperationAccount)];
thread_local OperationAccount* threadAccount = nullptr;
thread_local bool hasCleaner = false;

struct Cleaner {
  ~Cleaner() { std::exchange(threadAccount, nullptr)->~OperationAccount(); }
};

OperationAccount& accountOfThisThread() {
  if (!threadAccount) {
    threadAccount = new (placeOfAccount) OperationAccount;
    if (!hasCleaner) {
      hasCleaner = true;
      static thread_local const Cleaner cleaner;
    }
  }
  return *threadAccount;
}

}  // namespace

ErrorReport::ErrorReport(const char* method) : last_(accountOfThisThread()) {
  account_.error.method = method;
}

ErrorReport::~ErrorReport() {
  last_ = std::move(account_);
}

void ErrorReport::fail(VelError::Kind kind, const std::string& text) {
  VelError& error = account_.error;
  if (error.kind != Kind::kNone) {
    return;
  }
  error.kind = kind;
  error.text = text;
  last_.error = error;
}

void ErrorReport::failUnknownVm(const std::string& vmId) {
  fail(Kind::kUnknownVm, "the service does not know a VM \"" + vmId + "\"");
}

unsigned int ErrorReport::numberOf(VelProxy& proxy, const std::string& vmId) {
  // An override of GetVmIdInt need not be or call an operation.
  last_.error = {};
  const unsigned int number = proxy.GetVmIdInt(vmId);
  if (number == 0 && !vmId.empty()) {
    failLookUp(VelError(last_.error), vmId);
  }
  return number;
}

void ErrorReport::failLookUp(const VelError& lookUp, const std::string& vmId) {
  switch (lookUp.kind) {
    case Kind::kNoReply:
    case Kind::kErrorReply:
    case Kind::kBadReply:
      if (account_.error.kind == Kind::kNone) {
        account_.error = lookUp;
        last_.error = lookUp;
      }
      return;
    case Kind::kNoService:
      fail(Kind::kNoService, lookUp.text);
      return;
    default:
      failUnknownVm(vmId);
  }
}

LastErrorKeeper::LastErrorKeeper()
    : last_(accountOfThisThread()), kept_(std::exchange(last_, {})) {}

LastErrorKeeper::~LastErrorKeeper() {
  last_ = std::move(kept_);
}

VelError VelProxy::lastError() {
  return accountOfThisThread().error;
}

std::vector<std::size_t> VelProxy::lastRecordLengths() {
  return accountOfThisThread().recordLengths;
}

}  // namespace qx
