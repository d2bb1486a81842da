// Operations that are not built yet. Each answers its failure value and reaches nobody.

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

constexpr int kFailed = -1;
constexpr char kNoDiagnosis[] = "{\"velservice\":4097}";

}  // namespace

// Events and callbacks.
void VelProxy::HandleEvent(std::shared_ptr<QXBusMessage>) {}
int VelProxy::RegisterPrinterCallback(PrinterCallback, void*) {
  return kFailed;
}
int VelProxy::UnregisterPrinterCallback() {
  return kFailed;
}
void* VelProxy::CheckPrinterCallback() {
  return nullptr;
}
int VelProxy::RegisterDeviceCallback(DeviceCallback, void*) {
  return kFailed;
}
int VelProxy::UnregisterDeviceCallback(void*) {
  return kFailed;
}
int VelProxy::UnregisterDeviceCallback() {
  return kFailed;
}
void* VelProxy::CheckDeviceCallback() {
  return nullptr;
}
int VelProxy::RegisterCmdCallback(CmdCallback, void*) {
  return kFailed;
}
int VelProxy::DeviceBaseInfoNotify(unsigned short, CommonDevice*) {
  return kFailed;
}
int VelProxy::ConfigNewDeviceResultNotify(unsigned short, _ConfigNewDeviceResult*) {
  return kFailed;
}

// Printers.
std::list<PrinterDevice*> VelProxy::GetPrinterList(std::string) {
  return {};
}
std::list<PrinterDevice*> VelProxy::GetPrinterStatus(unsigned short) {
  return {};
}
int VelProxy::ConnectPrinter(std::string, unsigned short) {
  return kFailed;
}
int VelProxy::DisconnectPrinter(std::string, unsigned short) {
  return kFailed;
}
int VelProxy::ConfigPrinterCommand(const std::string&, unsigned long long, unsigned short) {
  return kFailed;
}
int VelProxy::AddNetworkPrinter(const char*) {
  return kFailed;
}
int VelProxy::AddNetworkPrinter(const std::string&, const std::string&, const std::string&) {
  return kFailed;
}
int VelProxy::DeleteNetworkPrinter(const std::string&) {
  return kFailed;
}
int VelProxy::RenameNetworkPrinter(std::string, std::string) {
  return kFailed;
}
std::list<CommonDevice*> VelProxy::GetNetworkPrinterList() {
  return {};
}
int VelProxy::SearchSharePrinterDevice(const std::string&, std::list<_SharePrinterDevice>&) {
  return kFailed;
}
int VelProxy::StopSearchSharePrinterDevice() {
  return kFailed;
}
int VelProxy::AddSharePrinterDevice(std::list<_SharePrinterDevice>&) {
  return kFailed;
}
int VelProxy::DeleteSharePrinterDevice(_SharePrinterDevice&) {
  return kFailed;
}
std::string VelProxy::SearchAllPrinter() {
  return {};
}
std::string VelProxy::GetPrinterDriverlList(const std::string&) {
  return {};
}
int VelProxy::AddLocalPrinter(const std::string&, const std::string&, const std::string&) {
  return kFailed;
}
int VelProxy::AutoAddPrinter(const std::string&, const std::string&, const std::string&) {
  return kFailed;
}
int VelProxy::DeletePrinter(const std::string&) {
  return kFailed;
}
int VelProxy::ChangePrinterDriver(const std::string&, const std::string&) {
  return kFailed;
}
int VelProxy::PrintTestPage(const std::string&) {
  return kFailed;
}

// Devices.
std::list<CommonDevice*> VelProxy::GetDeviceList(std::string) {
  return {};
}
std::list<CommonDevice*> VelProxy::GetDeviceStatus(unsigned short) {
  return {};
}
int VelProxy::FreeDeviceList(std::list<CommonDevice*>) {
  return kFailed;
}
int VelProxy::ConnectDevice(std::string, unsigned short) {
  return kFailed;
}
int VelProxy::DisconnectDevice(std::string, unsigned short) {
  return kFailed;
}
int VelProxy::RedirectDevice(std::string, unsigned short, unsigned short) {
  return kFailed;
}
int VelProxy::ConnectDeviceBySrcId(std::string, unsigned long long) {
  return kFailed;
}
int VelProxy::DisconnectDeviceBySrcId(std::string, unsigned long long) {
  return kFailed;
}
std::list<CommonDevice*> VelProxy::GetLocalDeviceList() {
  return {};
}
int VelProxy::SetDeviceLocalPolicy(CommonDevice*) {
  return kFailed;
}
int VelProxy::SetAutoConnect(unsigned short, int) {
  return kFailed;
}
int VelProxy::GetAutoConnect(unsigned short) {
  return 0;
}
int VelProxy::SetDevicePropertyWithVidPid(unsigned short, unsigned short, unsigned short, int) {
  return kFailed;
}
int VelProxy::GetDevicePropertyWithVidPid(unsigned short, unsigned short, unsigned short) {
  return 0;
}
int VelProxy::GetLocalDevicePropertyWithVidPid(unsigned short, unsigned short, unsigned short) {
  return 0;
}
std::list<CommonVidPidPolicy*> VelProxy::GetPolicyListByVidPid() {
  return {};
}
int VelProxy::FreePolicyList(std::list<CommonVidPidPolicy*>) {
  return kFailed;
}
std::string VelProxy::GetTurboConfigWithVidPid(unsigned short, unsigned short) {
  return {};
}
int VelProxy::SetTurboConfigWithVidPid(unsigned short, unsigned short, const std::string&) {
  return 0;
}
int VelProxy::ResetAllDeviceProperty() {
  return 0;
}
int VelProxy::RegisterConfigNewDevResultCallback(ConfigNewDevResultCallback, void*) {
  return kFailed;
}
int VelProxy::UnregisterConfigNewDevResultCallback(void*) {
  return kFailed;
}
int VelProxy::UnregisterConfigNewDevResultCallback() {
  return kFailed;
}
int VelProxy::ConfigNewDeviceAsConnect(const std::string&, unsigned long long, unsigned short,
                                       unsigned short, unsigned short) {
  return kFailed;
}
int VelProxy::ConfigNewDeviceAsIgnore(unsigned long long, unsigned short, unsigned short,
                                      unsigned short) {
  return kFailed;
}
int VelProxy::ConfigUdisks2Command(const std::string&, unsigned long long, unsigned short) {
  return kFailed;
}
int VelProxy::AddNetworkDevice(int, std::string&) {
  return kFailed;
}
int VelProxy::DeleteNetworkDevice(std::string&, std::string&) {
  return kFailed;
}
int VelProxy::SetUsbredirStatus(std::string, UDevInfo, unsigned short) {
  return kFailed;
}
int VelProxy::ConnectUsbredir(std::string, UDevInfo) {
  return 0;
}
int VelProxy::DisconnectUsbredir(std::string, UDevInfo) {
  return 0;
}

// Service commands, diagnosis, stream quality.
int VelProxy::DoVelTest(std::string, unsigned int) {
  return kFailed;
}
int VelProxy::DoVelCmd(std::string, std::string, int) {
  return kFailed;
}
std::string VelProxy::GetVelCmdHelp(std::string) {
  return "vm id [\n";
}
void VelProxy::SetBwInfo(const std::string&, unsigned long long, unsigned long long) {}
void VelProxy::SetRtcQosInfo(const std::string&, unsigned int, void*) {}
std::string VelProxy::Diagnose(const std::string&, unsigned long long, VelDiagnoseNotify*) {
  return kNoDiagnosis;
}
std::string VelProxy::DiagnoseDevice(const std::string&, unsigned short, VelDiagnoseNotify*) {
  return kNoDiagnosis;
}
int VelProxy::CheckCameraAuthStat() {
  return kFailed;
}

// Pen input.
int VelProxy::SendPenData(std::string, void*, int, int, int) {
  return kFailed;
}
void VelProxy::PortInit(const std::string&, bool, PortWriter) {}
void VelProxy::PortStatus(const std::string&, bool) {}
void VelProxy::PortData(const std::string&, unsigned char*, unsigned int) {}

// Joysticks.
std::list<JoystickDevice> VelProxy::GetJoystickDevList() {
  return {};
}
std::list<JoystickMapping> VelProxy::GetJoystickMappingList() {
  return {};
}
int VelProxy::SetJoystickMapping(unsigned short, unsigned short) {
  return kFailed;
}
int VelProxy::CalibrationJoystick(unsigned short) {
  return kFailed;
}
int VelProxy::RegisterJoystickCallback(JoystickCallback, void*) {
  return kFailed;
}
int VelProxy::UnregisterJoystickCallback(void*) {
  return kFailed;
}
int VelProxy::JoystickResultNotify(unsigned short, _JoystickResult*) {
  return kFailed;
}

}  // namespace qx
