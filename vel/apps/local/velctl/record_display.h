// Records and events of the service, as text and as JSON.

#ifndef VEL_APPS_LOCAL_VELCTL_RECORD_DISPLAY_H
#define VEL_APPS_LOCAL_VELCTL_RECORD_DISPLAY_H

#include <string>
#include <vector>

#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/client/client.h"

namespace velctl {

// The name of a VM if it is known, otherwise the number; "-" for 0.
std::string nameOrNumber(const std::string& vm, vel::VmNumber number);

// One line each.
std::string describe(const vel::Printer& printer);
std::string describe(const vel::Device& device);
std::string describe(const vel::NewDeviceEvent& event);
std::string describe(const vel::DiagnosisEvent& event);
std::string describe(const vel::CommandEvent& event);

Json toJson(const vel::Printer& printer);
Json toJson(const vel::Device& device);
Json toJson(const vel::NewDeviceEvent& event);
Json toJson(const vel::DiagnosisEvent& event);
// Bytes whose meaning the service and its commands define.
Json toJson(const vel::CommandEvent& event);

// Writes a list that an operation has returned.
void finishPrinters(const Output& output, const Operation& operation,
                    const vel::Result<std::vector<vel::Printer>>& printers);
void finishPrinters(const Output& output, const Operation& operation,
                    const vel::Result<std::vector<vel::NetworkPrinter>>& printers);
void finishDevices(const Output& output, const Operation& operation,
                   const vel::Result<std::vector<vel::Device>>& devices);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RECORD_DISPLAY_H
