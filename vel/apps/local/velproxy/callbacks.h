// The functions and the interface through which VelProxy calls its client. A client includes
// vel_proxy.h, which includes this header.
//
// The first argument of a callback is the code of the event, the last the pointer given on
// registration; the library ignores the result. The record belongs to the library and is gone when
// the callback returns.

#ifndef VEL_APPS_LOCAL_VELPROXY_CALLBACKS_H
#define VEL_APPS_LOCAL_VELPROXY_CALLBACKS_H

#include <functional>
#include <string>
#include <vector>

#include "vel/apps/local/velproxy/records.h"

// Code 5 and null data: the service has died, and the session of the VM with it. The registration
// ends with this call.
using VmCallback = int (*)(unsigned short code, void* data, void* userData);
using PrinterCallback = int (*)(unsigned short code, PrinterDevice* printer, void* userData);
using DeviceCallback = int (*)(unsigned short code, CommonDevice* device, void* userData);
// A null response: the service sent no record, or the command failed.
using CmdCallback = int (*)(unsigned short code, CmdResponse* response, void* userData);
using ConfigNewDevResultCallback = int (*)(unsigned short code, _ConfigNewDeviceResult* result,
                                           void* userData);
using JoystickCallback = int (*)(unsigned short code, _JoystickResult result, void* userData);

namespace qx {

enum class ServiceState {
  // The service has died.
  kGone,
  // A service is there again.
  kBack,
};

// vmIds: the VMs whose numbers the library had learned from the service that has died, in ascending
// order. Their sessions have ended.
using ServiceCallback = void (*)(ServiceState state, const std::vector<std::string>& vmIds,
                                 void* userData);

}  // namespace qx

// Writes bytes to a port of the client. The library ignores the result, and the bytes are gone when
// the function returns.
using PortWriter =
    std::function<unsigned int(const std::string& portName, unsigned int length, unsigned char*)>;

// Receives the progress of Diagnose and DiagnoseDevice. The client implements and owns the object.
// It must live until another one, or null, has taken its place and a call that was running at that
// moment has returned.
class VelDiagnoseNotify {
 public:
  virtual ~VelDiagnoseNotify() = default;
  // Runs on a thread of the bus. id is the source id, or the device number, of the diagnosis.
  virtual void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                                    std::string result) = 0;
};

#endif  // VEL_APPS_LOCAL_VELPROXY_CALLBACKS_H
