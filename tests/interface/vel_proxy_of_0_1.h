// qx::VelProxy and the records that the test uses, as version 0.1 declared them. It stays as it is:
// programs that were compiled with these declarations are on users' machines.

#ifndef TESTS_INTERFACE_VEL_PROXY_OF_0_1_H
#define TESTS_INTERFACE_VEL_PROXY_OF_0_1_H

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

class QXBusMessage;
class VelDiagnoseNotify;
struct VmInfo;
struct UDevInfo {
  unsigned char bytes[8];
};
struct CommonVidPidPolicy;
struct CmdResponse;

struct _CHANNEL_HANDLE {
  std::string vmId;
  unsigned long long handle = 0;
  char name1[128] = {};
  char name2[128] = {};
};

struct PrinterDevice {
  unsigned short devNum;
  unsigned char reserved[6];
  int vmId;
  int status;
  char name[1];
};

struct _SharePrinterDevice {
  char name[128];
  char addr[128];
  char desc[128];
};

struct CommonDevice {
  unsigned short devNumber;
  unsigned char reserved1[6];
  unsigned short status;
  short policy;
  unsigned char reserved2[8];
  unsigned int vmId;
  unsigned char reserved3[272];
  char name[128];
  char policyText[256];
  char vmIdText[1];
};

struct _ConfigNewDeviceResult;

struct JoystickDevice {
  unsigned char bytes[138];
};

struct JoystickMapping {
  unsigned char bytes[130];
};

struct _JoystickResult {
  unsigned char bytes[146];
};

using VmCallback = int (*)(unsigned short code, void* data, void* userData);
using PrinterCallback = int (*)(unsigned short code, PrinterDevice* printer, void* userData);
using DeviceCallback = int (*)(unsigned short code, CommonDevice* device, void* userData);
using CmdCallback = int (*)(unsigned short code, CmdResponse* response, void* userData);
using ConfigNewDevResultCallback = int (*)(unsigned short code, _ConfigNewDeviceResult* result,
                                           void* userData);
using JoystickCallback = int (*)(unsigned short code, _JoystickResult result, void* userData);
using PortWriter =
    std::function<unsigned int(const std::string& portName, unsigned int length, unsigned char*)>;

namespace qx {

bool checkIpAddr(std::string ip);

class VelProxy {
 public:
  VelProxy();
  static VelProxy* getInstance();

  virtual ~VelProxy();
  virtual unsigned int Init();
  virtual unsigned int ResetService();
  virtual void ReleaseService();
  virtual void HandleEvent(std::shared_ptr<QXBusMessage>);
  virtual unsigned int InitBroadcast();
  virtual unsigned int ConnectVm(VmInfo);
  virtual unsigned int DisconnectVm(std::string);
  virtual unsigned int CreatePipe(std::string, std::list<_CHANNEL_HANDLE>);
  virtual unsigned int DestroyPipe(std::string, std::list<_CHANNEL_HANDLE>);
  virtual int RegisterCallback(std::string, VmCallback, void*);
  virtual int UnregisterCallback(std::string);
  virtual unsigned int StartVm(std::string);
  virtual int RegisterPrinterCallback(PrinterCallback, void*);
  virtual int UnregisterPrinterCallback();
  virtual void* CheckPrinterCallback();
  virtual unsigned int SetPortChannelStatus(std::string, unsigned int, int);
  virtual std::map<std::string, unsigned int> GetVmList();
  virtual std::list<PrinterDevice*> GetPrinterList(std::string);
  virtual std::list<PrinterDevice*> GetPrinterStatus(unsigned short);
  virtual int ConnectPrinter(std::string, unsigned short);
  virtual int DisconnectPrinter(std::string, unsigned short);
  virtual int AddNetworkPrinter(const char*);
  virtual int AddNetworkPrinter(const std::string&, const std::string&, const std::string&);
  virtual int DeleteNetworkPrinter(const std::string&);
  virtual int RenameNetworkPrinter(std::string, std::string);
  virtual std::list<CommonDevice*> GetNetworkPrinterList();
  virtual std::list<CommonDevice*> GetDeviceList(std::string);
  virtual std::list<CommonDevice*> GetDeviceStatus(unsigned short);
  virtual int FreeDeviceList(std::list<CommonDevice*>);
  virtual int ConnectDevice(std::string, unsigned short);
  virtual int DisconnectDevice(std::string, unsigned short);
  virtual int RegisterDeviceCallback(DeviceCallback, void*);
  virtual int UnregisterDeviceCallback(void*);
  virtual int UnregisterDeviceCallback();
  virtual void* CheckDeviceCallback();
  virtual int RegisterCmdCallback(CmdCallback, void*);
  virtual unsigned int OnFocusChanged(std::string, unsigned long long, unsigned int);
  virtual unsigned int UpdateDriveToken(std::string);
  virtual int SetUsbredirStatus(std::string, UDevInfo, unsigned short);
  virtual int ConnectUsbredir(std::string, UDevInfo);
  virtual void onServiceDeath();
  virtual int SendPenData(std::string, void*, int, int, int);
  virtual void PortInit(const std::string&, bool, PortWriter);
  virtual void PortStatus(const std::string&, bool);
  virtual void PortData(const std::string&, unsigned char*, unsigned int);
  virtual std::list<CommonDevice*> GetLocalDeviceList();
  virtual int SetDeviceLocalPolicy(CommonDevice*);
  virtual unsigned int GetVmIdInt(std::string);
  virtual std::string GetVmIdString(unsigned int);
  virtual int AddNetworkDevice(int, std::string&);
  virtual int DeleteNetworkDevice(std::string&, std::string&);
  virtual int RedirectDevice(std::string, unsigned short, unsigned short);
  virtual int SetAutoConnect(unsigned short, int);
  virtual int GetAutoConnect(unsigned short);
  virtual int ConnectDeviceBySrcId(std::string, unsigned long long);
  virtual int DisconnectDeviceBySrcId(std::string, unsigned long long);
  virtual int DoVelTest(std::string, unsigned int);
  virtual int DoVelCmd(std::string, std::string, int);
  virtual std::string GetVelCmdHelp(std::string);
  virtual void SetBwInfo(const std::string&, unsigned long long, unsigned long long);
  virtual void SetRtcQosInfo(const std::string&, unsigned int, void*);
  virtual std::string Diagnose(const std::string&, unsigned long long, VelDiagnoseNotify*);
  virtual std::string DiagnoseDevice(const std::string&, unsigned short, VelDiagnoseNotify*);
  virtual int CheckCameraAuthStat();
  virtual int SetDevicePropertyWithVidPid(unsigned short, unsigned short, unsigned short, int);
  virtual int GetDevicePropertyWithVidPid(unsigned short, unsigned short, unsigned short);
  virtual int GetLocalDevicePropertyWithVidPid(unsigned short, unsigned short, unsigned short);
  virtual std::list<CommonVidPidPolicy*> GetPolicyListByVidPid();
  virtual int FreePolicyList(std::list<CommonVidPidPolicy*>);
  virtual std::string GetTurboConfigWithVidPid(unsigned short, unsigned short);
  virtual int SetTurboConfigWithVidPid(unsigned short, unsigned short, const std::string&);
  virtual int ResetAllDeviceProperty();
  virtual int SearchSharePrinterDevice(const std::string&, std::list<_SharePrinterDevice>&);
  virtual int StopSearchSharePrinterDevice();
  virtual int AddSharePrinterDevice(std::list<_SharePrinterDevice>&);
  virtual int DeleteSharePrinterDevice(_SharePrinterDevice&);
  virtual std::string SearchAllPrinter();
  virtual std::string GetPrinterDriverlList(const std::string&);
  virtual int AddLocalPrinter(const std::string&, const std::string&, const std::string&);
  virtual int AutoAddPrinter(const std::string&, const std::string&, const std::string&);
  virtual int DeletePrinter(const std::string&);
  virtual int ChangePrinterDriver(const std::string&, const std::string&);
  virtual int PrintTestPage(const std::string&);
  virtual int RegisterConfigNewDevResultCallback(ConfigNewDevResultCallback, void*);
  virtual int UnregisterConfigNewDevResultCallback(void*);
  virtual int UnregisterConfigNewDevResultCallback();
  virtual int ConfigNewDeviceAsConnect(const std::string&, unsigned long long, unsigned short,
                                       unsigned short, unsigned short);
  virtual int ConfigNewDeviceAsIgnore(unsigned long long, unsigned short, unsigned short,
                                      unsigned short);
  virtual int ConfigUdisks2Command(const std::string&, unsigned long long, unsigned short);
  virtual int ConfigPrinterCommand(const std::string&, unsigned long long, unsigned short);
  virtual int DeviceBaseInfoNotify(unsigned short, CommonDevice*);
  virtual int ConfigNewDeviceResultNotify(unsigned short, _ConfigNewDeviceResult*);
  virtual std::list<JoystickDevice> GetJoystickDevList();
  virtual std::list<JoystickMapping> GetJoystickMappingList();
  virtual int SetJoystickMapping(unsigned short, unsigned short);
  virtual int CalibrationJoystick(unsigned short);
  virtual int RegisterJoystickCallback(JoystickCallback, void*);
  virtual int UnregisterJoystickCallback(void*);
  virtual int JoystickResultNotify(unsigned short, _JoystickResult*);

 private:
  alignas(8) unsigned char inside_[632];
};

}  // namespace qx

#endif  // TESTS_INTERFACE_VEL_PROXY_OF_0_1_H
