// Print queues of this machine and their drivers.

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

// For methods that search the network, or install a driver.
constexpr int kSearchTimeoutMs = 30000;

// Makes the call and logs its text.
std::string found(Request& call, const char* function = __builtin_FUNCTION()) {
  const std::optional<std::string> result = call.text();
  if (result) {
    VEL_DEBUG_AT(function, __LINE__, "result: %s", result->c_str());
  }
  return result.value_or("");
}

}  // namespace

std::string VelProxy::SearchAllPrinter() {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  return found(call.method("searchAllPrinter", kSearchTimeoutMs));
}

std::string VelProxy::GetPrinterDriverlList(const std::string& printer) {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  return found(call.method("getPrinterDriverlList", kSearchTimeoutMs).string(printer));
}

int VelProxy::AddLocalPrinter(const std::string& first, const std::string& second,
                              const std::string& third) {
  VEL_DEBUG("enter");
  return RemoteCall(*this).method("addPrinter").string(first).string(second).string(third).status();
}

int VelProxy::AutoAddPrinter(const std::string& first, const std::string& second,
                             const std::string& third) {
  VEL_DEBUG("enter");
  return RemoteCall(*this)
      .method("autoAddPrinter", kSearchTimeoutMs)
      .string(first)
      .string(second)
      .string(third)
      .status();
}

int VelProxy::DeletePrinter(const std::string& printer) {
  VEL_DEBUG("enter");
  return RemoteCall(*this).method("deletePrinter").string(printer).status();
}

int VelProxy::ChangePrinterDriver(const std::string& printer, const std::string& driver) {
  VEL_DEBUG("enter");
  return RemoteCall(*this).method("changePrinterDriver").string(printer).string(driver).status();
}

int VelProxy::PrintTestPage(const std::string& printer) {
  VEL_DEBUG("enter");
  return RemoteCall(*this)
      .method("printTestPage", RemoteCall::kSlowTimeoutMs)
      .string(printer)
      .status();
}

}  // namespace qx
