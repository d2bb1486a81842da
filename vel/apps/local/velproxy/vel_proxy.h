// VelProxy drives the peripheral-device service of this machine: its printers, USB devices,
// storage, cameras, pens and joysticks, for use in remote virtual machines (VMs). This is the one
// header a client includes; it includes the records and the callback types.
//
// THREADS    Any thread may call, except that serialize, SendPenData, PortInit and PortStatus
//            belong to one thread (a GUI's). The bus runs callbacks, DiagnoseResultNotify among
//            them, on threads of its own; DeviceBaseInfoNotify, ConfigNewDeviceResultNotify and
//            JoystickResultNotify run them on the thread that calls. One callback runs at a time,
//            because the callback mutex is held.
// CALLBACKS  A callback may call remote operations. It must not register or unregister anything but
//            the command callback, and must not call HandleEvent, BroadcastCallback, onServiceDeath
//            or one of the three notify operations above: each waits for the callback mutex, and so
//            never returns. Unregistering waits until no callback runs. Other rules hold for the
//            command callback, in particular when a command fails: see RegisterCmdCallback.
// BLOCKING   An operation that names a bus method waits for the answer, at most the time in its
//            comment (3000 ms if it gives none). Three waits may come before: for calls of other
//            threads, because calls are made one at a time; for connecting while the service is
//            away, where an attempt ends after 2 s without an answer of the bus, and threads that
//            waited for it share its failure; for the number of a VM that is used for the first
//            time, up to 3000 ms (GetVmIdInt). Operations that do not wait for the answer have the
//            same three waits.
//            Without a bus method, getInstance and Init wait for connecting, ReleaseService waits
//            for a call that runs, operations that register, unregister or notify wait for a
//            callback that runs, and so does HandleEvent; BroadcastCallback waits for connecting
//            and for a callback, onServiceDeath for the service. RegisterCmdCallback and all others
//            do not wait.
// MEMORY     Records that a returned list points to are malloc'ed, each exactly as long as the
//            service sent it, and yours: FreeDeviceList, FreePolicyList or free. A record may be
//            shorter than its type: lastRecordLengths() has the lengths.
// ERRORS     When memory runs out, an operation may end in std::bad_alloc, a destructor may not.
//            Nothing else throws. Statuses are the service's own, passed on unchanged; -1
//            (0xFFFFFFFF) also stands for "no answer": no service, an error reply, or the time has
//            passed. Lists are empty and texts "" then, unless the operation says otherwise.
//            lastError() gives the reason; the log has it, too.
// VM IDS     vmId is the client's name of a VM. On the bus travels the service's number for it; an
//            empty name, and one that the service does not know, travels as 0.
// BUS        int16, int32, uint64, string and bytes are the argument types of bus/qxbus.h. `vm` is
//            the number of vmId as int32. A uint16 that travels as int16 keeps its bits.
// UNLOADING  Never unload the library: threads of the bus may run its code until the process ends.
//            On ELF systems CMake links a shared library that contains it with -z nodelete.
//
// The order of the virtual operations is the binary interface: add at the end only. So the
// operations on one subject do not all stand together:
//
//   connection        getInstance, Init, InitBroadcast, ReleaseService, ResetService,
//                     BroadcastCallback, HandleEvent, onServiceDeath, RegisterServiceCallback,
//                     CheckServiceCallback
//   errors, records   lastError, lastRecordLengths, currentEvent
//   sessions          ConnectVm, DisconnectVm, StartVm, CreatePipe, DestroyPipe,
//                     SetPortChannelStatus, OnFocusChanged, UpdateDriveToken, RegisterCallback,
//                     UnregisterCallback
//   vm ids            GetVmList, GetVmIdInt, GetVmIdString
//   printers          GetPrinterList, GetPrinterStatus, ConnectPrinter, DisconnectPrinter,
//                     ConfigPrinterCommand, RegisterPrinterCallback, UnregisterPrinterCallback,
//                     CheckPrinterCallback
//   network printers  AddNetworkPrinter, DeleteNetworkPrinter, RenameNetworkPrinter,
//                     GetNetworkPrinterList
//   shared printers   SearchSharePrinterDevice, StopSearchSharePrinterDevice,
//                     AddSharePrinterDevice, DeleteSharePrinterDevice, checkIpAddr
//   print queues      SearchAllPrinter, GetPrinterDriverlList, AddLocalPrinter, AutoAddPrinter,
//                     DeletePrinter, ChangePrinterDriver, PrintTestPage
//   devices           GetDeviceList, GetLocalDeviceList, GetDeviceStatus, FreeDeviceList,
//                     ConnectDevice, DisconnectDevice, ConnectDeviceBySrcId,
//                     DisconnectDeviceBySrcId, RedirectDevice, RegisterDeviceCallback,
//                     UnregisterDeviceCallback, CheckDeviceCallback, DeviceBaseInfoNotify
//   new devices       ConfigNewDeviceAsConnect, ConfigNewDeviceAsIgnore, ConfigUdisks2Command,
//                     RegisterConfigNewDevResultCallback, UnregisterConfigNewDevResultCallback,
//                     ConfigNewDeviceResultNotify
//   network devices   AddNetworkDevice, DeleteNetworkDevice, SetUsbredirStatus, ConnectUsbredir,
//                     DisconnectUsbredir
//   policies          SetDeviceLocalPolicy, SetAutoConnect, GetAutoConnect,
//                     SetDevicePropertyWithVidPid, GetDevicePropertyWithVidPid,
//                     GetLocalDevicePropertyWithVidPid, GetPolicyListByVidPid, FreePolicyList,
//                     GetTurboConfigWithVidPid, SetTurboConfigWithVidPid, ResetAllDeviceProperty
//   diagnostics       Diagnose, DiagnoseDevice, CheckCameraAuthStat, DoVelTest, DoVelCmd,
//                     GetVelCmdHelp, RegisterCmdCallback
//   stream quality    SetBwInfo, SetRtcQosInfo
//   pen input         SendPenData, PortInit, PortStatus, PortData, serialize, serialize_field
//   joysticks         GetJoystickDevList, GetJoystickMappingList, SetJoystickMapping,
//                     CalibrationJoystick, RegisterJoystickCallback, UnregisterJoystickCallback,
//                     JoystickResultNotify

#ifndef VEL_APPS_LOCAL_VELPROXY_VEL_PROXY_H
#define VEL_APPS_LOCAL_VELPROXY_VEL_PROXY_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bus/qxbus.h"
#include "platform/mutex.h"
#include "vel/apps/local/velproxy/callbacks.h"
#include "vel/apps/local/velproxy/records.h"
#include "vel/apps/local/velproxy/vel_error.h"

class QTabletEvent;

namespace qx {

class Block;
class Lifetime;
class RemoteCall;
class Request;
class UnlockedCall;

// Makes the PenPacket of a tablet event: 178 bytes in a buffer of the process, which the next call
// overwrites.
//
// flags      PenPacket::pointerFlags
// x, y       position in pixels; -1 stands for the event's own x or y
// returns    the address of the PenPacket; null when event is null
unsigned char* serialize(QTabletEvent* event, int flags, int x, int y);

// Copies len bytes, the first one first.
//
// returns    dst + advance; dst + len when advance is 0
unsigned char* serialize_field(unsigned char* dst, void* src, unsigned long len,
                               unsigned long advance);

// Whether a text is an IPv4 address in dotted decimal form, without leading zeroes or blanks, with
// or without a port: 10.0.0.7, 10.0.0.7:631.
bool checkIpAddr(std::string ip);

class VelProxy {
 public:
  // Disconnected. Clients use getInstance(); an object of your own connects with Init().
  VelProxy();
  VelProxy(const VelProxy&) = delete;
  VelProxy& operator=(const VelProxy&) = delete;

  // The one instance, made on first use and never destroyed; never null. Tries to connect first
  // while there is no connection.
  static VelProxy* getInstance();

  // Why the last operation on this thread failed; kNone when it succeeded. Each operation of any
  // VelProxy sets it, also one without a bus method; getInstance() and destructors do not. Of
  // several failures of one operation the first counts. Operations that run inside another one, in
  // its callbacks for instance, do not count once that one has returned. An operation that does
  // not wait succeeds when the bus has its request.
  //
  // A reply is a bad one as far as the bus shows the types of its values: an empty text or a double
  // where an integer belongs still reads as 0, the integer 0 where a text belongs as "".
  static VelError lastError();

  // The lengths of the records in the list that the last operation on this thread returned, in the
  // order of the list. The service chooses them, and each record is allocated exactly as long: read
  // no field behind that length. Joysticks and their mappings have a fixed size instead, whose rest
  // is not the service's. Empty when the operation returned no list of records.
  static std::vector<std::size_t> lastRecordLengths();

  // The event whose callbacks this thread runs, as it came from the bus; null at other times. It
  // shows what callbacks do not receive: the number of the VM (argument 0), the code with all its
  // bits (argument 1) and the length of the record (argument 2).
  static std::shared_ptr<QXBusMessage> currentEvent();

  // Hands a broadcast event to the instance. Public because the bus calls it.
  static void BroadcastCallback(std::shared_ptr<QXBusMessage> message);

  // Releases the service. No other operation of the object may be running.
  //
  // Waits for callbacks of this object that run on other threads of the bus, then nothing of the
  // object is used any more: events on their way are dropped, and when the service has died before,
  // the callbacks that have not run yet do not run. Of the callbacks only that for code 5, which
  // RegisterCallback registers, may destroy the object. A subclass has lost its part before this
  // wait, so one that overrides an operation which the bus calls (HandleEvent, onServiceDeath and
  // the operations they call) must not be destroyed while the bus may call it.
  virtual ~VelProxy();

  // --- Connection ------------------------------------------------------------------------------

  // Connects to the service; getInstance() and so every remote operation does it for you.
  //
  // returns    0: connected, or was connected before; 0xFFFFFFFF: no bus or no service
  virtual unsigned int Init();

  // Asks the service to reset.
  //
  // returns    0: the service answered, with any number; 0xFFFFFFFF: no answer
  // bus        resetService() -> int32, ignored
  virtual unsigned int ResetService();

  // Releases the connection to the service. The next getInstance() connects again.
  virtual void ReleaseService();

  // Passes an event of the service to the callbacks that it concerns. Called by the bus.
  virtual void HandleEvent(std::shared_ptr<QXBusMessage> event);

  // Adds a listener for broadcast events. Init() adds one each time it connects, and none is ever
  // removed: a broadcast event is handled once per listener.
  //
  // returns    0
  virtual unsigned int InitBroadcast();

  // --- VM sessions -----------------------------------------------------------------------------

  // Attaches the service to a VM session. Waits at most 2000 ms.
  //
  // returns    the service's status; -1: no answer, or the type of the client is
  //            VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR, and nothing was sent
  // bus        connectVm(vm, int32 systemType, int32 shareMode, int32 connectParam) -> int32 status
  virtual unsigned int ConnectVm(VmInfo info);

  // Detaches the service from a VM session, without waiting for the answer: the service's status is
  // only logged.
  //
  // returns    0: handed to the bus; -1: no service
  // bus        disconnectVm(vm) -> int32 status
  virtual unsigned int DisconnectVm(std::string vmId);

  // Opens data pipes for a VM session. Each pipe names a VM of its own.
  //
  // returns    the service's status; -1: no answer
  // bus        createPipe(vm, int32 count, count x bytes of 268) -> int32 status
  virtual unsigned int CreatePipe(std::string vmId, std::list<_CHANNEL_HANDLE> handles);

  // Closes data pipes, described as for CreatePipe.
  //
  // returns    the service's status; -1: no answer
  // bus        destroyPipe(vm, int32 count, count x bytes of 268) -> int32 status
  virtual unsigned int DestroyPipe(std::string vmId, std::list<_CHANNEL_HANDLE> handles);

  // Registers a callback for the death of the service, which ends the session of a VM (code 5).
  // There is one per VM; a later one takes the place of the earlier. Code 5 ends the registration,
  // also one that was made between the death and code 5: register again once the callback has
  // returned, and not before.
  //
  // callback   null is registered, and never called
  // returns    0
  virtual int RegisterCallback(std::string vmId, VmCallback callback, void* userData);

  // returns    0, also when there was nothing to remove
  virtual int UnregisterCallback(std::string vmId);

  // Starts a VM session, without waiting for the answer: the service's status is only logged.
  //
  // returns    0: handed to the bus; -1: no service
  // bus        startManager(vm) -> int32 status
  virtual unsigned int StartVm(std::string vmId);

  // --- Printers --------------------------------------------------------------------------------

  // Registers the callback for printer events (code 1). There is one; a later one takes the place
  // of the earlier.
  //
  // returns    0; -1: callback or userData is null, and nothing has changed
  virtual int RegisterPrinterCallback(PrinterCallback callback, void* userData);

  // returns    0
  virtual int UnregisterPrinterCallback();

  // returns    the user data of the printer callback; null when there is none
  virtual void* CheckPrinterCallback();

  // Reports that a port channel of a VM has changed its state.
  //
  // returns    the service's status; -1: no answer
  // bus        setPortChannelStatus(vm, int32 port, int32 status) -> int32 status
  virtual unsigned int SetPortChannelStatus(std::string vmId, unsigned int port, int status);

  // The VM sessions that the service knows, with its number for each.
  //
  // bus        getVmList(int32 0) -> int32 count, count x (string vmId, int32 number)
  virtual std::map<std::string, unsigned int> GetVmList();

  // The printers of a VM. Free each record with free().
  //
  // returns    the printers; those before the first empty record if there is one
  // bus        getPrinterList(vm) -> int32 count, count x bytes
  virtual std::list<PrinterDevice*> GetPrinterList(std::string vmId);

  // The records that the service has of a printer, normally one. Free each record with free().
  //
  // devNumber  PrinterDevice::devNum
  // bus        getPrinterStatus(int16 printer) -> int32 count, count x bytes
  virtual std::list<PrinterDevice*> GetPrinterStatus(unsigned short devNumber);

  // Redirects a printer into a VM. Other operations do not wait for this call.
  //
  // returns    the service's status; -1: no answer
  // bus        connectPrinter(vm, int16 printer) -> int32 status
  virtual int ConnectPrinter(std::string vmId, unsigned short devNumber);

  // Takes a printer back from a VM. Other operations do not wait for this call.
  //
  // returns    the service's status; -1: no answer
  // bus        disconnectPrinter(vm, int16 printer) -> int32 status
  virtual int DisconnectPrinter(std::string vmId, unsigned short devNumber);

  // Adds a network printer under the name "defaultPrinter": the next form with that name.
  //
  // printerAddr  its address; null counts as empty
  virtual int AddNetworkPrinter(const char* printerAddr);

  // Adds a network printer.
  //
  // printerExtra  passed on unread; may be empty
  // returns       the service's status; -1: no answer, or an empty address or name
  // bus           addNetworkPrinter(string addr, string name, string extra) -> int32 status
  virtual int AddNetworkPrinter(const std::string& printerAddr, const std::string& printerName,
                                const std::string& printerExtra);

  // returns    the service's status; -1: no answer
  // bus        deleteNetworkPrinter(string name) -> int32 status
  virtual int DeleteNetworkPrinter(const std::string& printerName);

  // returns    the service's status; -1: no answer, or an empty name
  // bus        renameNetworkPrinter(bytes oldName, bytes newName) -> int32 status
  virtual int RenameNetworkPrinter(std::string oldName, std::string newName);

  // The network printers. Free the records with FreeDeviceList.
  //
  // bus        getNetworkPrinterList() -> int32 count, count x bytes
  virtual std::list<CommonDevice*> GetNetworkPrinterList();

  // --- Devices ---------------------------------------------------------------------------------

  // The devices of a VM. Free the records with FreeDeviceList.
  //
  // returns    the devices; those before the first empty record if there is one
  // bus        getDeviceList(vm) -> int32 count, count x bytes
  virtual std::list<CommonDevice*> GetDeviceList(std::string vmId);

  // The records that the service has of a device, normally one, unchanged. Free the records with
  // FreeDeviceList.
  //
  // devNumber  CommonDevice::devNumber
  // bus        getDeviceStatus(int16 device) -> int32 count, count x bytes
  virtual std::list<CommonDevice*> GetDeviceStatus(unsigned short devNumber);

  // Frees every record of a list. The caller's list still holds the pointers: clear it.
  //
  // returns    0
  virtual int FreeDeviceList(std::list<CommonDevice*> list);

  // Attaches one device of this machine to a VM.
  //
  // devNumber  CommonDevice::devNumber
  // returns    the service's status; -1: no answer
  // bus        connectDevice(vm, int16 device) -> int32 status
  virtual int ConnectDevice(std::string vmId, unsigned short devNumber);

  // Takes a device back from a VM.
  //
  // returns    the service's status; -1: no answer
  // bus        disconnectDevice(vm, int16 device) -> int32 status
  virtual int DisconnectDevice(std::string vmId, unsigned short devNumber);

  // Registers a callback for device events (codes 4, 5, 6, 7, 10, 64, 65). There is one per
  // userData; a later one takes the place of the earlier.
  //
  // returns    0; -1: callback or userData is null, and nothing has changed
  virtual int RegisterDeviceCallback(DeviceCallback callback, void* userData);

  // returns    0, also when there was nothing to remove
  virtual int UnregisterDeviceCallback(void* userData);

  // Removes every device callback.
  //
  // returns    0
  virtual int UnregisterDeviceCallback();

  // returns    the smallest user data of the device callbacks; null when there is none
  virtual void* CheckDeviceCallback();

  // Registers the callback for answers to service commands (code 66). There is one; null ends the
  // registration. This operation does not wait for a callback that runs: the earlier one may still
  // use its userData afterwards.
  //
  // When a command fails, DoVelCmd calls the callback on its own thread, with the call mutex held
  // in place of the callback mutex. A callback that then calls a remote operation never returns,
  // and one that registers or unregisters anything but itself may never return.
  //
  // returns    0
  virtual int RegisterCmdCallback(CmdCallback callback, void* userData);

  // Reports that a window of a VM has gained or lost the focus. Waits at most 500 ms.
  //
  // returns    the service's status; -1: no answer
  // bus        onFocusChanged(vm, int32 gainFocus, uint64 windowId) -> int32 status
  virtual unsigned int OnFocusChanged(std::string vmId, unsigned long long windowId,
                                      unsigned int gainFocus);

  // Hands a drive-access token to the service.
  //
  // returns    the service's status; -1: no answer, or an empty token
  // bus        updateDriveToken(bytes token) -> int32 status
  virtual unsigned int UpdateDriveToken(std::string token);

  // Reports the state of a USB device that the client redirects through a USB channel of its own.
  //
  // returns    the service's status; -1: no answer
  // bus        setUsbredirStatus(vm, int16 status, bytes of 8 info) -> int32 status
  virtual int SetUsbredirStatus(std::string vmId, UDevInfo info, unsigned short status);

  // Does nothing.
  //
  // returns    0
  virtual int ConnectUsbredir(std::string vmId, UDevInfo info);

  // Waits until the service is back, at most about 1000 s, connects the instance again, and calls
  // every callback of RegisterCallback with code 5. Called by the bus, on a thread of its own.
  virtual void onServiceDeath();

  // --- Pen input -------------------------------------------------------------------------------

  // Writes a tablet event to the pen port, as a frame (see PortHeader). Nothing is written, and the
  // result is 0, while the port is closed or the pen has no device number yet.
  //
  // vmId       not used
  // event      a QTabletEvent
  // type       0: a tablet event; no other type is known
  // x, y       the position to send, in pixels; -1 stands for the event's own x or y
  // returns    0; -1: type is not 0, event is null, or the port's writer has thrown an exception
  virtual int SendPenData(std::string vmId, void* event, int type, int x, int y);

  // Announces a port of the client. Only one whose name contains "space.port.2" is the pen's.
  //
  // writer     receives the frames of the pen; may call PortInit itself
  virtual void PortInit(const std::string& name, bool opened, PortWriter writer);

  // Reports that a port has been opened or closed.
  virtual void PortStatus(const std::string& name, bool opened);

  // Takes a message that arrived on a port, from any thread. The first one with command 2101 and a
  // device number other than 0 gives the pen its device number, for the life of the proxy.
  //
  // data       the first 8 bytes of a PortHeader, at least
  // length     not used: shorter data is read beyond its end
  virtual void PortData(const std::string& name, unsigned char* data, unsigned int length);

  // --- Devices of this machine, VM ids ---------------------------------------------------------

  // The devices of this machine: GetDeviceList("").
  virtual std::list<CommonDevice*> GetLocalDeviceList();

  // Sets a device's local policy from devNumber, policy, name and policyText of its record.
  //
  // device     readable up to the end of policyText; a record of a list is as long as the service
  //            sent it, which may be less
  // returns    the service's status; -1: no answer, or device is null
  // bus        setLocalPolicy(int16 device, int16 policy, bytes name, bytes policyText)
  //            -> int32 status
  virtual int SetDeviceLocalPolicy(CommonDevice* device);

  // The service's number for a VM. A number other than 0 is remembered until the service dies.
  // While the service is connected, this operation does not wait for calls of other threads.
  //
  // returns    the number; 0: vmId is empty or not known to the service, or no answer
  // bus        getVmListSize(string vmId) -> int32 number
  virtual unsigned int GetVmIdInt(std::string vmId);

  // The name of a VM whose number GetVmIdInt has learned. Never asks the service.
  //
  // returns    the name; "": not known
  virtual std::string GetVmIdString(unsigned int id);

  // Adds a device that is reached over the network. device is only read.
  //
  // returns    the service's status; -1: no answer
  // bus        addNetworkDevice(int32 type, bytes device) -> int32 status
  virtual int AddNetworkDevice(int type, std::string& device);

  // Removes a device that is reached over the network. Both texts are only read.
  //
  // returns    the service's status; -1: no answer
  // bus        deleteNetworkDevice(bytes device, bytes detail) -> int32 status
  virtual int DeleteNetworkDevice(std::string& device, std::string& detail);

  // Redirects a device in a way that the service defines by two numbers.
  //
  // returns    the service's status; -1: no answer
  // bus        redirectDevice(vm, int16 first, int16 second) -> int32 status
  virtual int RedirectDevice(std::string vmId, unsigned short first, unsigned short second);

  // Sets whether the service attaches devices of a type by itself.
  //
  // autoConnect  only its low 16 bits travel
  // returns      the service's status; -1: no answer
  // bus          setAutoConnect(int32 0, int16 deviceType, int16 autoConnect) -> int32 status
  virtual int SetAutoConnect(unsigned short deviceType, int autoConnect);

  // returns    the setting; 0: no answer, as for a setting of 0
  // bus        getAutoConnect(int32 0, int16 deviceType) -> int32 setting
  virtual int GetAutoConnect(unsigned short deviceType);

  // Attaches a device to a VM by the id of its source.
  //
  // returns    the service's status; -1: no answer
  // bus        connectDeviceBySrcId(vm, uint64 srcId) -> int32 status
  virtual int ConnectDeviceBySrcId(std::string vmId, unsigned long long srcId);

  // Takes a device back from a VM by the id of its source.
  //
  // returns    the service's status; -1: no answer
  // bus        disconnectDeviceBySrcId(vm, uint64 srcId) -> int32 status
  virtual int DisconnectDeviceBySrcId(std::string vmId, unsigned long long srcId);

  // --- Service commands ------------------------------------------------------------------------

  // Runs a numbered self-test of the service.
  //
  // vmId       only logged
  // flag       number of the test; only its low 16 bits travel
  // returns    the service's status; -1: no answer
  // bus        doveltest(int32 0, int16 flag) -> int32 status
  virtual int DoVelTest(std::string vmId, unsigned int flag);

  // Sends a command to the service, which may answer later to the callback of RegisterCmdCallback.
  // Writes a line to standard output.
  //
  // returns    the service's status; -1: no answer. Unless there is no service, the callback has
  //            then been called with (cmdId & 0xFFFF, null)
  // bus        dovelcmd(vm, string args, int32 cmdId) -> int32 status
  virtual int DoVelCmd(std::string vmId, std::string args, int cmdId);

  // The service's help on its commands.
  //
  // returns    "vm id [\n", the text, "]\n"; no answer: only "vm id [\n"
  // bus        getvelcmdhelp(vm) -> string text
  virtual std::string GetVelCmdHelp(std::string vmId);

  // --- Stream quality --------------------------------------------------------------------------

  // Reports two bandwidth figures, without waiting for the answer: the service's status is only
  // logged.
  //
  // bus        setBwInfo(vm, uint64 first, uint64 second) -> int32 status
  virtual void SetBwInfo(const std::string& vmId, unsigned long long first,
                         unsigned long long second);

  // Reports a figure on the quality of real-time communication, without waiting for the answer.
  //
  // data       for type 1 an unsigned int; otherwise not read. May be null
  // bus        setRtcQosInfo(vm, uint64 type [, uint64 figure]) -> int32 status
  virtual void SetRtcQosInfo(const std::string& vmId, unsigned int type, void* data);

  // --- Diagnosis -------------------------------------------------------------------------------

  // Diagnoses the redirection of one source. Waits at most 10000 ms; other operations do not wait
  // for this call.
  //
  // notify     receives the progress of every diagnosis from now on. Null ends that, and then
  //            nothing is sent
  // returns    the service's text; {"velservice":4097}: no answer, an unknown VM, or a null notify
  // bus        diagnose(vm, bytes of 8 sourceId) -> string text
  virtual std::string Diagnose(const std::string& vmId, unsigned long long sourceId,
                               VelDiagnoseNotify* notify);

  // Diagnoses one device, as Diagnose does, but other operations wait for this call. Waits at most
  // 10000 ms.
  //
  // bus        diagnoseDevice(vm, int32 device) -> string text
  virtual std::string DiagnoseDevice(const std::string& vmId, unsigned short devNumber,
                                     VelDiagnoseNotify* notify);

  // The camera authorisation of the service.
  //
  // returns    the state, in the service's numbers; -1: no answer
  // bus        CheckCameraAuthStat() -> int32
  virtual int CheckCameraAuthStat();

  // --- Policies and properties by USB vendor and product id ------------------------------------

  // returns    the service's status; -1: no answer
  // bus        setDevicePropertyWithVidPid(int32 0, int16 vid, int16 pid, int32 deviceType,
  //            int32 value) -> int32 status
  virtual int SetDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                          unsigned short deviceType, int value);

  // deviceType  not sent; the service expects pid a second time in its place
  // returns     the property; 0: no answer, as for a property of 0
  // bus         getDevicePropertyWithVidPid(int32 0, int16 vid, int16 pid, int32 pid) -> int32
  virtual int GetDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                          unsigned short deviceType);

  // As GetDevicePropertyWithVidPid, for the property on this machine.
  //
  // bus        getLocalDevicePropertyWithVidPid(int32 0, int16 vid, int16 pid, int32 pid) -> int32
  virtual int GetLocalDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                               unsigned short deviceType);

  // The policies of the service. Free the records with FreePolicyList.
  //
  // bus        getPolicyListByVidPid(int32 0) -> int32 count, count x bytes
  virtual std::list<CommonVidPidPolicy*> GetPolicyListByVidPid();

  // Frees every record of a list. The caller's list still holds the pointers: clear it.
  //
  // returns    0
  virtual int FreePolicyList(std::list<CommonVidPidPolicy*> list);

  // returns    the text; "": no answer
  // bus        getTurboConfigWithVidPid(int32 0, int16 vid, int16 pid) -> string text
  virtual std::string GetTurboConfigWithVidPid(unsigned short vid, unsigned short pid);

  // returns    the service's status; 0 also when there is no answer
  // bus        setTurboConfigWithVidPid(int32 0, int16 vid, int16 pid, bytes config)
  //            -> int32 status
  virtual int SetTurboConfigWithVidPid(unsigned short vid, unsigned short pid,
                                       const std::string& config);

  // returns    the service's status; 0 also when there is no answer
  // bus        resetAllDeviceProperty(int32 0) -> int32 status
  virtual int ResetAllDeviceProperty();

  // --- Printers that other machines share ------------------------------------------------------

  // Searches for the printers that the machine at an address shares. Waits at most 10000 ms.
  //
  // ipaddr     an address that checkIpAddr accepts
  // list       receives the printers in place of its elements when the result is 0; otherwise
  //            unchanged
  // returns    the service's status; -1: no answer; 1: also a refused address, and nothing was sent
  // bus        searchSharePrinter(string ipaddr) -> int32 status [, int32 count,
  //            count x (string addr, string name, string desc)]
  virtual int SearchSharePrinterDevice(const std::string& ipaddr,
                                       std::list<_SharePrinterDevice>& list);

  // Stops a search. As calls are made one at a time, this call waits until a search of the same
  // process has returned.
  //
  // returns    the service's status; -1: no answer
  // bus        stopSearchSharePrinter() -> int32 status
  virtual int StopSearchSharePrinterDevice();

  // returns    the service's status; -1: no answer
  // bus        addSharePrinter(int32 count, count x (string addr, string name, string desc))
  //            -> int32 status
  virtual int AddSharePrinterDevice(std::list<_SharePrinterDevice>& list);

  // Removes the shared printer with this address and name.
  //
  // returns    the service's status; -1: no answer
  // bus        deleteSharePrinter(string addr, string name) -> int32 status
  virtual int DeleteSharePrinterDevice(_SharePrinterDevice& device);

  // --- Print queues of this machine: the service gives the texts their meaning -------------------

  // All printers the service can see. Waits at most 30000 ms.
  //
  // bus        searchAllPrinter() -> string text
  virtual std::string SearchAllPrinter();

  // The drivers for a printer. Waits at most 30000 ms.
  //
  // bus        getPrinterDriverlList(string printer) -> string text
  virtual std::string GetPrinterDriverlList(const std::string& printer);

  // returns    the service's status; -1: no answer
  // bus        addPrinter(string first, string second, string third) -> int32 status
  virtual int AddLocalPrinter(const std::string& first, const std::string& second,
                              const std::string& third);

  // Adds a printer automatically. Waits at most 30000 ms.
  //
  // returns    the service's status; -1: no answer
  // bus        autoAddPrinter(string first, string second, string third) -> int32 status
  virtual int AutoAddPrinter(const std::string& first, const std::string& second,
                             const std::string& third);

  // returns    the service's status; -1: no answer
  // bus        deletePrinter(string printer) -> int32 status
  virtual int DeletePrinter(const std::string& printer);

  // returns    the service's status; -1: no answer
  // bus        changePrinterDriver(string printer, string driver) -> int32 status
  virtual int ChangePrinterDriver(const std::string& printer, const std::string& driver);

  // Waits at most 10000 ms.
  //
  // returns    the service's status; -1: no answer
  // bus        printTestPage(string printer) -> int32 status
  virtual int PrintTestPage(const std::string& printer);

  // --- Configuration of new devices ------------------------------------------------------------

  // Registers a callback for results of configurations: codes 2, 3, 8 and all that no other kind of
  // callback receives. There is one per userData; a later one takes the place of the earlier.
  //
  // returns    0; -1: callback or userData is null, and nothing has changed
  virtual int RegisterConfigNewDevResultCallback(ConfigNewDevResultCallback callback,
                                                 void* userData);

  // returns    0, also when there was nothing to remove
  virtual int UnregisterConfigNewDevResultCallback(void* userData);

  // Removes every such callback.
  //
  // returns    0
  virtual int UnregisterConfigNewDevResultCallback();

  // Attaches a new device to a VM, as the user chose on its card. Waits at most 10000 ms.
  //
  // returns    the service's status; -1: no answer
  // bus        configNewDeviceAsConnect(vm, bytes of 8 sourceId, int32 type, int32 autoConnect,
  //            int32 popupCardConfig) -> int32 status
  virtual int ConfigNewDeviceAsConnect(const std::string& vmId, unsigned long long sourceId,
                                       unsigned short type, unsigned short autoConnect,
                                       unsigned short popupCardConfig);

  // Ignores a new device, as the user chose on its card. Waits at most 2000 ms.
  //
  // returns    the service's status; -1: no answer
  // bus        configNewDeviceAsIgnore(bytes of 8 sourceId, int32 deviceType, int32 autoConnect,
  //            int32 popupCardConfig) -> int32 status
  virtual int ConfigNewDeviceAsIgnore(unsigned long long sourceId, unsigned short deviceType,
                                      unsigned short autoConnect, unsigned short popupCardConfig);

  // Sends a command for a storage device. Waits at most 10000 ms.
  //
  // returns    the service's status; -1: no answer
  // bus        ConfigUdisks2Command(vm, bytes of 8 sourceId, int32 command) -> int32 status
  virtual int ConfigUdisks2Command(const std::string& vmId, unsigned long long sourceId,
                                   unsigned short command);

  // Sends a command for a printer. Waits at most 10000 ms.
  //
  // returns    0: the service answered, with any number; -1: no answer
  // bus        ConfigPrinterCommand(vm, bytes of 8 sourceId, int32 command) -> int32, ignored
  virtual int ConfigPrinterCommand(const std::string& vmId, unsigned long long sourceId,
                                   unsigned short command);

  // Calls every device callback with a record, in ascending order of user data.
  //
  // returns    0; -1: device is null
  virtual int DeviceBaseInfoNotify(unsigned short cmd, CommonDevice* device);

  // Calls every callback for results of configurations, in ascending order of user data.
  //
  // returns    0; -1: result is null
  virtual int ConfigNewDeviceResultNotify(unsigned short cmd, _ConfigNewDeviceResult* result);

  // --- Joysticks -------------------------------------------------------------------------------

  // bus        getJoystickDevList() -> int32 count, count x bytes of 138
  virtual std::list<JoystickDevice> GetJoystickDevList();

  // bus        getJoystickMappingList() -> int32 count, count x bytes of 130
  virtual std::list<JoystickMapping> GetJoystickMappingList();

  // Chooses a mapping for a joystick; both are positions in the two lists.
  //
  // returns    the service's status; -1: no answer
  // bus        setJoystickMapping(int16 devIndex, int16 mappingIndex) -> int32 status
  virtual int SetJoystickMapping(unsigned short devIndex, unsigned short mappingIndex);

  // returns    the service's status; -1: no answer
  // bus        calibrationJoystick(int16 devIndex) -> int32 status
  virtual int CalibrationJoystick(unsigned short devIndex);

  // Subscribes to joystick results. There is one callback per userData; a later one takes the place
  // of the earlier. The library does not renew the subscription after a death of the service:
  // register again.
  //
  // returns    the service's status, any of which registers the callback; -1: also no answer, or
  //            callback or userData is null, and nothing has changed
  // bus        registerJoystickCallback(bytes of 8 address of this object) -> int32 status
  virtual int RegisterJoystickCallback(JoystickCallback callback, void* userData);

  // Removes a callback, and ends the subscription when no callback is left. Race: a callback that
  // another thread registers between this check and the request loses its subscription.
  //
  // returns    0: others remain; otherwise the service's status, -1: no answer
  // bus        unregisterJoystickCallback(bytes of 8 address of this object) -> int32 status
  virtual int UnregisterJoystickCallback(void* userData);

  // Calls every joystick callback with a copy of a result, in ascending order of user data.
  //
  // result     null stands for a result of zeroes
  // returns    0
  virtual int JoystickResultNotify(unsigned short cmd, _JoystickResult* result);

  // --- Not virtual -----------------------------------------------------------------------------

  // Does nothing.
  //
  // returns    0
  int DisconnectUsbredir(std::string vmId, UDevInfo info);

  // Registers a callback for the death of the service and for its return. There is one per
  // userData; a later one takes the place of the earlier, and null ends the registration. It stays
  // when the service dies.
  //
  // The callback runs on a thread of the bus, without a lock: it may call and register. kGone comes
  // at once, before the callbacks of RegisterCallback, and kBack after them, when the object can
  // register them again. There is no kBack after a service that stays away for longer than
  // onServiceDeath waits. The callback must not destroy the object.
  //
  // This operation does not wait for a callback that runs: the earlier one may still use its
  // userData afterwards.
  void RegisterServiceCallback(ServiceCallback callback, void* userData);

  // returns    whether a callback is registered with this user data
  bool CheckServiceCallback(void* userData) const;

 private:
  friend class RemoteCall;
  friend class Request;
  friend class UnlockedCall;

  struct VmRegistration {
    VmCallback callback;
    void* userData;
  };
  struct CmdRegistration {
    CmdCallback callback = nullptr;
    void* userData = nullptr;
  };
  struct PenPort {
    std::string name;
    PortWriter writer;
  };

  std::shared_ptr<QXBusProxyInterface> currentInterface() const;
  bool isServiceRegistered() const;
  // The last steps of Init. An exception leaves listeners that are of no use.
  unsigned int listenTo(QXBusProxyInterface& interface) QX_REQUIRES(callMutex_);
  std::vector<std::string> forgetVmIds();
  // Calls the callbacks of the service's state, in ascending order of user data.
  void serviceChanged(ServiceState state, const std::vector<std::string>& vmIds);
  // The last step of a death: calls the callbacks of RegisterCallback.
  void endSessions(const std::shared_ptr<Lifetime>& lifetime, int polls);
  CmdRegistration cmdRegistration() const;
  // Updates the copies of the callback tables that are read without the callback mutex.
  void callbacksChanged() QX_REQUIRES(callbackMutex_);

  // One per kind of event of HandleEvent. False: the event has no record, so no callback is called.
  bool handlePrinterEvent(const Block& block);
  bool handleDeviceInfo(int code, const Block& block);
  bool handleDeviceState(int code, const Block& block);
  bool handleNewDeviceResult(int code, const Block& block);
  bool handleDiagnosis(const Block& block);
  bool handleCmdResponse(const Block& block);

  // Written under the call mutex, with the atomic functions for shared_ptr: Init and GetVmIdInt
  // read it without.
  std::shared_ptr<QXBusProxyInterface> interface_;
  std::atomic<QXBusSerivceManager*> serviceManager_{nullptr};
  std::map<std::string, VmRegistration> vmCallbacks_ QX_GUARDED_BY(callbackMutex_);
  std::map<unsigned int, std::string> vmIds_ QX_GUARDED_BY(vmIdMutex_);
  PrinterCallback printerCallback_ QX_GUARDED_BY(callbackMutex_) = nullptr;
  // Written under the callback mutex. CheckPrinterCallback reads it without: a callback may ask.
  std::atomic<void*> printerUserData_{nullptr};
  std::map<void*, DeviceCallback> deviceCallbacks_ QX_GUARDED_BY(callbackMutex_);
  // Null until the pen's port is announced. Shared with the frame that is being written.
  std::shared_ptr<const PenPort> penPort_;
  bool penPortOpened_ = false;
  std::uint16_t penReqId_ = 0;
  // 0: not known. Ports may be read on a thread of their own.
  std::atomic<std::uint8_t> penDevId_{0};
  bool penDown_ = false;
  CmdRegistration cmdRegistration_ QX_GUARDED_BY(cmdMutex_);
  QXBusEventCallback* eventListener_ QX_GUARDED_BY(callMutex_) = nullptr;
  // Held while callbacks run. A callback may call remote operations, so it comes first.
  platform::Mutex callbackMutex_ QX_ACQUIRED_BEFORE(callMutex_);
  // Comes last: held for a look at the table only.
  platform::Mutex vmIdMutex_ QX_ACQUIRED_AFTER(callMutex_);
  // Held across a call.
  platform::Mutex callMutex_;
  std::atomic<VelDiagnoseNotify*> diagnoseNotify_{nullptr};
  std::map<void*, ConfigNewDevResultCallback> newDeviceCallbacks_ QX_GUARDED_BY(callbackMutex_);
  std::map<void*, JoystickCallback> joystickCallbacks_ QX_GUARDED_BY(callbackMutex_);

  // Not the callback mutex: DoVelCmd reads the command callback under the call mutex.
  mutable platform::Mutex cmdMutex_ QX_ACQUIRED_AFTER(callbackMutex_, callMutex_);
  // Counts the services whose numbers have been forgotten.
  unsigned int vmIdGeneration_ QX_GUARDED_BY(vmIdMutex_) = 0;
  // The smallest user data of the device callbacks, or null; whether there are per-VM callbacks.
  std::atomic<void*> firstDeviceUserData_{nullptr};
  std::atomic<bool> hasVmCallbacks_{false};
  // Counts the attempts to connect that failed, and keeps the reason of the last.
  std::atomic<unsigned int> failedInits_{0};
  // Why there is no connection, for the operations that need one.
  std::atomic<const char*> failedInitReason_{kNoServiceOnTheBus};
  // Never held while a callback runs.
  mutable platform::Mutex serviceMutex_;
  std::map<void*, ServiceCallback> serviceCallbacks_ QX_GUARDED_BY(serviceMutex_);
  // Shared with the threads of the bus that work for this object.
  const std::shared_ptr<Lifetime> lifetime_;
};

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_VEL_PROXY_H
