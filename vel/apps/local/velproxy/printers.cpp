// Printers of this machine and of the network.

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

using EmptyBlock = BlockList::EmptyBlock;

}  // namespace

std::list<PrinterDevice*> VelProxy::GetPrinterList(std::string vmId) {
  VEL_DEBUG("vmId: %s", vmId.c_str());
  RemoteCall call(*this);
  const BlockList printers = call.method("getPrinterList").vm(vmId).blocks();
  if (printers) {
    VEL_DEBUG("vmId: %s, list size: %d", vmId.c_str(), printers.count());
  }
  return printers.copies<PrinterDevice>(EmptyBlock::kDebug);
}

std::list<PrinterDevice*> VelProxy::GetPrinterStatus(unsigned short devNumber) {
  RemoteCall call(*this);
  VEL_DEBUG("devNumber:%d", devNumber);
  if (!call.method("getPrinterStatus")) {
    return {};
  }
  VEL_DEBUG("devNumber: %d", devNumber);
  const BlockList printers = call.int16(devNumber).blocks();
  if (printers) {
    VEL_DEBUG("devNumber: %d, list size: %d", devNumber, printers.count());
  }
  return printers.copies<PrinterDevice>(EmptyBlock::kDebug);
}

int VelProxy::ConnectPrinter(std::string vmId, unsigned short devNumber) {
  VEL_DEBUG("vmId:%s, devNumber:%d", vmId.c_str(), devNumber);
  UnlockedCall call(*this);
  return call.method("connectPrinter").vm(vmId).int16(devNumber).status();
}

int VelProxy::DisconnectPrinter(std::string vmId, unsigned short devNumber) {
  VEL_DEBUG("vmId:%s, devNumber:%d", vmId.c_str(), devNumber);
  UnlockedCall call(*this);
  return call.method("disconnectPrinter").vm(vmId).int16(devNumber).status();
}

int VelProxy::ConfigPrinterCommand(const std::string& vmId, unsigned long long sourceId,
                                   unsigned short command) {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  if (!call.method("ConfigPrinterCommand", RemoteCall::kSlowTimeoutMs)) {
    return RemoteCall::kNoAnswer;
  }
  const unsigned int vm = call.numberOf(vmId);
  VEL_DEBUG("ConfigPrinterCommand vmId:%s, vmid:%d, sourceId:%ld, command:%d", vmId.c_str(), vm,
            static_cast<long>(sourceId), command);
  call.int32(vm).eightBytes(sourceId).int32(int{command});
  return call.loggingReply().answer() ? 0 : RemoteCall::kNoAnswer;
}

int VelProxy::AddNetworkPrinter(const char* printerAddr) {
  return AddNetworkPrinter(std::string(printerAddr ? printerAddr : ""), "defaultPrinter", "");
}

int VelProxy::AddNetworkPrinter(const std::string& printerAddr, const std::string& printerName,
                                const std::string& printerExtra) {
  static constexpr char kMethod[] = "addNetworkPrinter";
  if (printerAddr.empty() || printerName.empty()) {
    VEL_ERROR("printer name or printer addr is NULL");
    ErrorReport(kMethod).refuse("the address or the name of the printer is empty");
    return RemoteCall::kNoAnswer;
  }
  VEL_DEBUG("printerAddr: %s, printerName: %s", printerAddr.c_str(), printerName.c_str());
  return RemoteCall(*this)
      .method(kMethod)
      .string(printerAddr)
      .string(printerName)
      .string(printerExtra)
      .status();
}

int VelProxy::DeleteNetworkPrinter(const std::string& printerName) {
  VEL_DEBUG("printerName: %s", printerName.c_str());
  return RemoteCall(*this).method("deleteNetworkPrinter").string(printerName).status();
}

int VelProxy::RenameNetworkPrinter(std::string oldName, std::string newName) {
  static constexpr char kMethod[] = "renameNetworkPrinter";
  if (oldName.empty() || newName.empty()) {
    VEL_ERROR("printer oldName or printer newName is NULL");
    ErrorReport(kMethod).refuse("the old or the new name of the printer is empty");
    return RemoteCall::kNoAnswer;
  }
  VEL_DEBUG("oldName: %s, newName: %s", oldName.c_str(), newName.c_str());
  return RemoteCall(*this).method(kMethod).bytes(oldName).bytes(newName).status();
}

std::list<CommonDevice*> VelProxy::GetNetworkPrinterList() {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  const BlockList printers = call.method("getNetworkPrinterList").blocks();
  if (printers) {
    VEL_DEBUG("list size: %d", printers.count());
  }
  return printers.copies<CommonDevice>(EmptyBlock::kDebug);
}

}  // namespace qx
