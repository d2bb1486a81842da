// The records of the service: their members, in the order in which they are shown.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_RECORDS_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_RECORDS_H

#include <string>
#include <vector>

#include "vel/apps/local/velctl/output/field.h"
#include "vel/client/client.h"

namespace velctl {

// 046d:0825
std::string toText(vel::UsbId id);

const std::vector<Field<vel::Vm>>& vmFields();
const std::vector<Field<vel::Device>>& deviceFields();
const std::vector<Field<vel::Printer>>& printerFields();
const std::vector<Field<vel::NetworkPrinter>>& networkPrinterFields();
const std::vector<Field<vel::SharedPrinter>>& sharedPrinterFields();
const std::vector<Field<vel::UsbPolicy>>& usbPolicyFields();
const std::vector<Field<vel::Joystick>>& joystickFields();
const std::vector<Field<vel::JoystickMapping>>& mappingFields();

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_RECORDS_H
