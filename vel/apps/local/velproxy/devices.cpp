// Devices: lists, attaching and detaching, new devices, network devices.

#include <algorithm>
#include <cstring>

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace qx {
namespace {

using EmptyBlock = BlockList::EmptyBlock;
using velprotocol::read;
namespace device = velprotocol::device;

constexpr int kIgnoreTimeoutMs = 2000;

// Writes the name of the record's VM behind its fixed part, as far as the block reaches, without a
// NUL: the byte behind the name stays as the service sent it.
void fillVmIdText(VelProxy& proxy, const Block& block) {
  constexpr std::size_t kText = device::kVmIdText.offset;
  if (read(block, device::kStatus) != velprotocol::kAttachedStatus) {
    return;
  }
  const std::string name = proxy.GetVmIdString(read(block, device::kVm));
  if (block.size() > kText) {
    std::memcpy(block.data() + kText, name.data(), std::min(name.size(), block.size() - kText));
  }
}

}  // namespace

std::list<CommonDevice*> VelProxy::GetDeviceList(std::string vmId) {
  VEL_DEBUG("vmId: %s", vmId.c_str());
  RemoteCall call(*this);
  const BlockList devices = call.method("getDeviceList").vm(vmId).blocks();
  if (devices) {
    VEL_DEBUG("vmId: %s, list size: %d", vmId.c_str(), devices.count());
  }
  return devices.copies<CommonDevice>(EmptyBlock::kError,
                                      [this](const Block& block) { fillVmIdText(*this, block); });
}

std::list<CommonDevice*> VelProxy::GetLocalDeviceList() {
  return GetDeviceList("");
}

std::list<CommonDevice*> VelProxy::GetDeviceStatus(unsigned short devNumber) {
  RemoteCall call(*this);
  if (!call.method("getDeviceStatus")) {
    return {};
  }
  VEL_DEBUG("devNumber: %d", devNumber);
  const BlockList devices = call.int16(devNumber).blocks();
  if (devices) {
    VEL_DEBUG("devNumber: %d, list size: %d", devNumber, devices.count());
  }
  const char* const function = __func__;
  return devices.copies<CommonDevice>(EmptyBlock::kDebug, [function](const Block& block) {
    VEL_DEBUG_AT(function, __LINE__, "vmId:%d, devNumber:%d, status:%d, name:%s",
                 read(block, device::kVm), read(block, device::kNumber),
                 read(block, device::kStatus), read(block, device::kName).c_str());
  });
}

int VelProxy::FreeDeviceList(std::list<CommonDevice*> list) {
  const ErrorReport report;
  freeEach(list);
  return 0;
}

int VelProxy::ConnectDevice(std::string vmId, unsigned short devNumber) {
  VEL_DEBUG("vmId:%s, devNumber: %d", vmId.c_str(), devNumber);
  return RemoteCall(*this).method("connectDevice").vm(vmId).int16(devNumber).status();
}

int VelProxy::DisconnectDevice(std::string vmId, unsigned short devNumber) {
  VEL_DEBUG("vmId:%s, devNumber: %d", vmId.c_str(), devNumber);
  return RemoteCall(*this).method("disconnectDevice").vm(vmId).int16(devNumber).status();
}

int VelProxy::ConnectDeviceBySrcId(std::string vmId, unsigned long long srcId) {
  VEL_DEBUG("vmId:%s, srcid: %lld", vmId.c_str(), static_cast<long long>(srcId));
  return RemoteCall(*this).method("connectDeviceBySrcId").vm(vmId).uint64(srcId).status();
}

int VelProxy::DisconnectDeviceBySrcId(std::string vmId, unsigned long long srcId) {
  VEL_DEBUG("vmId:%s,src: %lld", vmId.c_str(), static_cast<long long>(srcId));
  return RemoteCall(*this).method("disconnectDeviceBySrcId").vm(vmId).uint64(srcId).status();
}

int VelProxy::RedirectDevice(std::string vmId, unsigned short first, unsigned short second) {
  return RemoteCall(*this).method("redirectDevice").vm(vmId).int16(first).int16(second).status();
}

// --- New devices ---------------------------------------------------------------------------------

int VelProxy::ConfigNewDeviceAsConnect(const std::string& vmId, unsigned long long sourceId,
                                       unsigned short type, unsigned short autoConnect,
                                       unsigned short popupCardConfig) {
  static constexpr RemoteCall::Texts kTexts = {
      VEL_ERROR_FORMAT("VelService is not available"),
      VEL_DEBUG_FORMAT("Response: %s"),
      VEL_ERROR_FORMAT("Failed to config new device as connect: %s"),
      false,
  };
  VEL_DEBUG(
      "ConfigNewDeviceAsConnect: vmId=%s, sourceId=%ld, type=%d, autoConnect=%d, "
      "popupCardConfig=%d",
      vmId.c_str(), static_cast<long>(sourceId), type, autoConnect, popupCardConfig);
  return RemoteCall(*this)
      .withTexts(kTexts)
      .method("configNewDeviceAsConnect", RemoteCall::kSlowTimeoutMs)
      .vm(vmId)
      .eightBytes(sourceId)
      .int32(int{type})
      .int32(int{autoConnect})
      .int32(int{popupCardConfig})
      .loggingReply()
      .status();
}

int VelProxy::ConfigNewDeviceAsIgnore(unsigned long long sourceId, unsigned short deviceType,
                                      unsigned short autoConnect, unsigned short popupCardConfig) {
  static constexpr RemoteCall::Texts kTexts = {
      VEL_ERROR_FORMAT("VelService is not available"),
      nullptr,
      VEL_ERROR_FORMAT("Failed to config new device as ignore: %s"),
      false,
  };
  VEL_DEBUG(
      "ConfigNewDeviceAsIgnore: sourceId=%ld, deviceType=%d, autoConnect=%d, popupCardConfig=%d",
      static_cast<long>(sourceId), deviceType, autoConnect, popupCardConfig);
  return RemoteCall(*this)
      .withTexts(kTexts)
      .method("configNewDeviceAsIgnore", kIgnoreTimeoutMs)
      .eightBytes(sourceId)
      .int32(int{deviceType})
      .int32(int{autoConnect})
      .int32(int{popupCardConfig})
      .status();
}

int VelProxy::ConfigUdisks2Command(const std::string& vmId, unsigned long long sourceId,
                                   unsigned short command) {
  VEL_DEBUG("enter");
  RemoteCall call(*this);
  if (!call.method("ConfigUdisks2Command", RemoteCall::kSlowTimeoutMs)) {
    return RemoteCall::kNoAnswer;
  }
  const unsigned int vm = call.numberOf(vmId);
  VEL_DEBUG("ConfigUdisks2Command vmId:%s, vmid:%d, sourceId:%ld, command:%d", vmId.c_str(), vm,
            static_cast<long>(sourceId), command);
  return call.int32(vm).eightBytes(sourceId).int32(int{command}).loggingReply().status();
}

// --- Network devices, USB redirection ------------------------------------------------------------

int VelProxy::SetUsbredirStatus(std::string vmId, UDevInfo info, unsigned short status) {
  return RemoteCall(*this)
      .method("setUsbredirStatus")
      .vm(vmId)
      .int16(status)
      .bytes(&info, sizeof info)
      .status();
}

int VelProxy::ConnectUsbredir(std::string /*vmId*/, UDevInfo /*info*/) {
  const ErrorReport report;
  return 0;
}

int VelProxy::DisconnectUsbredir(std::string /*vmId*/, UDevInfo /*info*/) {
  const ErrorReport report;
  return 0;
}

int VelProxy::AddNetworkDevice(int type, std::string& device) {
  return RemoteCall(*this).method("addNetworkDevice").int32(type).bytes(device).status();
}

int VelProxy::DeleteNetworkDevice(std::string& device, std::string& detail) {
  return RemoteCall(*this).method("deleteNetworkDevice").bytes(device).bytes(detail).status();
}

}  // namespace qx
