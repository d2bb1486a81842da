#include "vel/apps/local/velproxy/internal/error_report.h"

#include <utility>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

using Kind = VelError::Kind;

// A pointer, because an operation may be called as late as the destructors of the client's own
// statics, when the main thread has destroyed its thread-local objects: a new error is made then.
thread_local VelError* threadError = nullptr;
thread_local bool hasCleaner = false;

struct Cleaner {
  ~Cleaner() { delete std::exchange(threadError, nullptr); }
};

VelError& errorOfThisThread() {
  if (!threadError) {
    threadError = new VelError;
    if (!hasCleaner) {
      hasCleaner = true;
      static thread_local const Cleaner cleaner;
    }
  }
  return *threadError;
}

}  // namespace

ErrorReport::ErrorReport(const char* method) : last_(errorOfThisThread()) {
  error_.method = method;
}

ErrorReport::~ErrorReport() {
  last_ = std::move(error_);
}

void ErrorReport::fail(VelError::Kind kind, const std::string& text) {
  if (error_.kind != Kind::kNone) {
    return;
  }
  error_.kind = kind;
  error_.text = text;
  last_ = error_;
}

void ErrorReport::failUnknownVm(const std::string& vmId) {
  fail(Kind::kUnknownVm, "the service does not know a VM \"" + vmId + "\"");
}

unsigned int ErrorReport::numberOf(VelProxy& proxy, const std::string& vmId) {
  // A subclass may know the number without an operation.
  last_ = {};
  const unsigned int number = proxy.GetVmIdInt(vmId);
  if (number == 0 && !vmId.empty()) {
    failLookUp(VelError(last_), vmId);
  }
  return number;
}

void ErrorReport::failLookUp(const VelError& lookUp, const std::string& vmId) {
  switch (lookUp.kind) {
    case Kind::kNoReply:
    case Kind::kErrorReply:
    case Kind::kBadReply:
      if (error_.kind == Kind::kNone) {
        error_ = lookUp;
        last_ = error_;
      }
      return;
    case Kind::kNoService:
      fail(Kind::kNoService, lookUp.text);
      return;
    default:
      failUnknownVm(vmId);
  }
}

LastErrorKeeper::LastErrorKeeper() : last_(errorOfThisThread()), kept_(last_) {}

LastErrorKeeper::~LastErrorKeeper() {
  last_ = std::move(kept_);
}

VelError VelProxy::lastError() {
  return errorOfThisThread();
}

}  // namespace qx
