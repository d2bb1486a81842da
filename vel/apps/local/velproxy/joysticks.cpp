// Joysticks: lists, mappings, calibration, results.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "vel/apps/local/velproxy/internal/client_code.h"
#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

// Records of a fixed size. A longer block is cut; a shorter block leaves the end of the previous
// record in its own, and the report notes its length.
template <typename Record>
std::list<Record> recordsOf(const BlockList& blocks, ErrorReport& report) {
  std::list<Record> records;
  Record record = {};
  blocks.forEach(BlockList::EmptyBlock::kError, [&](const Block& block) {
    std::memcpy(&record, block.data(), std::min(block.size(), sizeof record));
    records.push_back(record);
    report.addRecord(block.size());
  });
  return records;
}

template <typename Record>
std::list<Record> listOf(VelProxy& proxy, const char* method,
                         const char* function = __builtin_FUNCTION()) {
  RemoteCall call(proxy, Reconnect::kYes, function);
  VEL_DEBUG_AT(function, __LINE__, "");
  const BlockList joysticks = call.method(method).blocks();
  if (joysticks) {
    VEL_DEBUG_AT(function, __LINE__, "joystick list size: %d", joysticks.count());
  }
  return recordsOf<Record>(joysticks, call.report());
}

}  // namespace

std::list<JoystickDevice> VelProxy::GetJoystickDevList() {
  return listOf<JoystickDevice>(*this, "getJoystickDevList");
}

std::list<JoystickMapping> VelProxy::GetJoystickMappingList() {
  return listOf<JoystickMapping>(*this, "getJoystickMappingList");
}

int VelProxy::SetJoystickMapping(unsigned short devIndex, unsigned short mappingIndex) {
  VEL_DEBUG("enter devIndex[%d], mappingIndex[%d]", devIndex, mappingIndex);
  RemoteCall call(*this);
  if (!call.method("setJoystickMapping")) {
    return RemoteCall::kNoAnswer;
  }
  VEL_DEBUG("SetJoystickMapping devIndex:%d, mappingIndex:%d", devIndex, mappingIndex);
  return call.int16(devIndex).int16(mappingIndex).loggingReply().status();
}

int VelProxy::CalibrationJoystick(unsigned short devIndex) {
  VEL_DEBUG("enter devIndex[%d]", devIndex);
  RemoteCall call(*this);
  if (!call.method("calibrationJoystick")) {
    return RemoteCall::kNoAnswer;
  }
  VEL_DEBUG("CalibrationJoystick devIndex:%d", devIndex);
  return call.int16(devIndex).loggingReply().status();
}

int VelProxy::RegisterJoystickCallback(JoystickCallback callback, void* userData) {
  static constexpr char kMethod[] = "registerJoystickCallback";
  VEL_DEBUG("enter, cb[%p] userData[%p]", reinterpret_cast<void*>(callback), userData);
  if (!callback || !userData) {
    VEL_ERROR("callback or userData is NULL");
    ErrorReport(kMethod).refuse("the callback or its user data is null");
    return RemoteCall::kNoAnswer;
  }
  // The address of this object identifies the subscriber.
  const auto objId = reinterpret_cast<std::uintptr_t>(this);
  std::optional<int> result;
  {
    RemoteCall call(*this);
    if (!call.method(kMethod)) {
      return RemoteCall::kNoAnswer;
    }
    VEL_DEBUG("registerJoystickCallback objId:%ld", static_cast<long>(objId));
    result = call.eightBytes(objId).loggingReply().answer();
  }
  if (result) {
    const platform::MutexLock lock(callbackMutex_);
    joystickCallbacks_[userData] = callback;
  }
  return result.value_or(RemoteCall::kNoAnswer);
}

int VelProxy::UnregisterJoystickCallback(void* userData) {
  static constexpr char kMethod[] = "unregisterJoystickCallback";
  {
    const platform::MutexLock lock(callbackMutex_);
    joystickCallbacks_.erase(userData);
  }
  VEL_DEBUG("end userData[%p]", userData);
  {
    const platform::MutexLock lock(callbackMutex_);
    if (!joystickCallbacks_.empty()) {
      const ErrorReport report(kMethod);
      return 0;
    }
  }
  const auto objId = reinterpret_cast<std::uintptr_t>(this);
  RemoteCall call(*this);
  if (!call.method(kMethod)) {
    return RemoteCall::kNoAnswer;
  }
  VEL_DEBUG("unregisterJoystickCallback objId:%ld", static_cast<long>(objId));
  return call.eightBytes(objId).loggingReply().status();
}

int VelProxy::JoystickResultNotify(unsigned short cmd, _JoystickResult* result) {
  const ErrorReport report;
  const _JoystickResult none = {};
  const platform::MutexLock lock(callbackMutex_);
  callEach(joystickCallbacks_, cmd, result ? std::as_const(*result) : none,
           [cmd, function = __func__](void* userData) {
             VEL_DEBUG_AT(function, __LINE__, "userdata:%p,cmd[%d]", userData, cmd);
           });
  return 0;
}

}  // namespace qx
