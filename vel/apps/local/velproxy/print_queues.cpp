// Print queues of this machine and their drivers.

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

// The service searches or installs meanwhile.
constexpr int kLongTimeoutMs = 30000;
constexpr int kTestPageTimeoutMs = 10000;

}  // namespace

std::string VelProxy::SearchAllPrinter() {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  const std::optional<std::string> result = call.method("searchAllPrinter", kLongTimeoutMs).text();
  if (result) {
    VEL_DEBUG("result: %s", result->c_str());
  }
  return result.value_or("");
}

std::string VelProxy::GetPrinterDriverlList(const std::string& printer) {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  const std::optional<std::string> result =
      call.method("getPrinterDriverlList", kLongTimeoutMs).string(printer).text();
  if (result) {
    VEL_DEBUG("result: %s", result->c_str());
  }
  return result.value_or("");
}

int VelProxy::AddLocalPrinter(const std::string& first, const std::string& second,
                              const std::string& third) {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  return call.method("addPrinter").string(first).string(second).string(third).status();
}

int VelProxy::AutoAddPrinter(const std::string& first, const std::string& second,
                             const std::string& third) {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  call.method("autoAddPrinter", kLongTimeoutMs);
  return call.string(first).string(second).string(third).status();
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
  return RemoteCall(*this).method("printTestPage", kTestPageTimeoutMs).string(printer).status();
}

}  // namespace qx
