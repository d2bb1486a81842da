// The records of VelProxy. A client includes vel_proxy.h, which includes this header.
//
// Multi-byte values are little-endian, texts end at the first NUL. Bytes named reserved have a
// meaning for the service alone. An address of a field of a packed record may be odd: copy the
// value instead of pointing at it.

#ifndef VEL_APPS_LOCAL_VELPROXY_RECORDS_H
#define VEL_APPS_LOCAL_VELPROXY_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>

// --- VM sessions ---------------------------------------------------------------------------------

// VmInfo::kstStreamCollaborateType of a client that takes part in the session of another client.
constexpr unsigned int VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR = 1;

// A VM session, as ConnectVm announces it.
struct VmInfo {
  std::string vmId;
  int systemType = 0;    // operating system of the session, in the service's numbers
  int shareMode = 0;     // sharing mode, in the service's numbers
  int connectParam = 0;  // further parameter for the service
  // The library logs the fields from here on and does not send them.
  unsigned int sessionId = 0;
  unsigned int kstMajorVer = 0;  // version of the streaming protocol
  unsigned int kstMinorVer = 0;
  // ConnectVm refuses VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR: the other client attaches the
  // session.
  unsigned int kstStreamCollaborateType = 0;
};

// A data pipe of a session. On the bus it is a block of 268 bytes:
//   offset  size  value
//        0     4  number of vmId
//        4     8  handle
//       12   128  name1, zero-padded
//      140   128  name2, zero-padded
struct _CHANNEL_HANDLE {
  std::string vmId;
  unsigned long long handle = 0;
  char name1[128] = {};
  char name2[128] = {};
};

// --- Printers ------------------------------------------------------------------------------------

// A printer of this machine. The service chooses the length of the block: name runs to its end.
struct PrinterDevice {
  unsigned short devNum;  // the service's number of the printer
  unsigned char reserved[6];
  int vmId;    // number of the VM that the printer belongs to
  int status;  // redirection status, in the service's numbers
  char name[1];
};
static_assert(offsetof(PrinterDevice, devNum) == 0, "PrinterDevice is a wire format");
static_assert(offsetof(PrinterDevice, vmId) == 8, "PrinterDevice is a wire format");
static_assert(offsetof(PrinterDevice, status) == 12, "PrinterDevice is a wire format");
static_assert(offsetof(PrinterDevice, name) == 16, "PrinterDevice is a wire format");

// A printer that another machine shares. The library ends each text with a NUL.
struct _SharePrinterDevice {
  char name[128];
  char addr[128];
  char desc[128];
};
static_assert(sizeof(_SharePrinterDevice) == 384, "a shared printer is 384 bytes");
static_assert(offsetof(_SharePrinterDevice, name) == 0, "name comes first");
static_assert(offsetof(_SharePrinterDevice, addr) == 128, "the address follows the name");
static_assert(offsetof(_SharePrinterDevice, desc) == 256, "the description comes last");

// --- Devices -------------------------------------------------------------------------------------

// A device of this machine, or a network printer. The service chooses the length of the block:
// vmIdText runs to its end.
struct CommonDevice {
  unsigned short devNumber;  // the service's number of the device, key of every device operation
  unsigned char reserved1[6];
  unsigned short status;  // in the service's numbers; 2: attached to the VM in vmId
  short policy;           // local policy, see SetDeviceLocalPolicy
  unsigned char reserved2[8];
  unsigned int vmId;  // number of the VM that the device is attached to
  unsigned char reserved3[272];
  char name[128];
  char policyText[256];  // belongs to policy
  // Name of the VM in vmId. GetDeviceList writes it where status is 2, as far as the block reaches
  // and without a NUL of its own.
  char vmIdText[1];
};
static_assert(offsetof(CommonDevice, devNumber) == 0, "CommonDevice is a wire format");
static_assert(offsetof(CommonDevice, status) == 8, "CommonDevice is a wire format");
static_assert(offsetof(CommonDevice, policy) == 10, "CommonDevice is a wire format");
static_assert(offsetof(CommonDevice, vmId) == 20, "CommonDevice is a wire format");
static_assert(offsetof(CommonDevice, name) == 296, "CommonDevice is a wire format");
static_assert(offsetof(CommonDevice, policyText) == 424, "CommonDevice is a wire format");
static_assert(offsetof(CommonDevice, vmIdText) == 680, "CommonDevice is a wire format");

// A USB device, as the client's own USB channel identifies it. The library sends the bytes unread.
struct UDevInfo {
  unsigned char bytes[8];
};
static_assert(sizeof(UDevInfo) == 8, "UDevInfo is 8 bytes on the bus");

// A policy for a USB vendor and product id. The library passes it on unread.
struct CommonVidPidPolicy;

// Result of configuring a new device. code runs to the end of the block.
struct _ConfigNewDeviceResult {
  unsigned short vid;  // USB vendor id
  unsigned short pid;  // USB product id
  unsigned char reserved[14];
  unsigned short isSuccess;  // not 0: configured
  char name[256];
  char code[1];  // result, as a text of the service
};
static_assert(offsetof(_ConfigNewDeviceResult, vid) == 0, "a result is a wire format");
static_assert(offsetof(_ConfigNewDeviceResult, pid) == 2, "a result is a wire format");
static_assert(offsetof(_ConfigNewDeviceResult, isSuccess) == 18, "a result is a wire format");
static_assert(offsetof(_ConfigNewDeviceResult, name) == 20, "a result is a wire format");
static_assert(offsetof(_ConfigNewDeviceResult, code) == 276, "a result is a wire format");

// --- Service commands ----------------------------------------------------------------------------

// The service's answer to a command. The library passes it on unread.
struct CmdResponse;

// --- Joysticks -----------------------------------------------------------------------------------

// The library passes the three joystick records on unread.
struct JoystickDevice {
  unsigned char bytes[138];
};
static_assert(sizeof(JoystickDevice) == 138, "one joystick is 138 bytes on the bus");

struct JoystickMapping {
  unsigned char bytes[130];
};
static_assert(sizeof(JoystickMapping) == 130, "one mapping is 130 bytes on the bus");

struct _JoystickResult {
  unsigned char bytes[146];
};
static_assert(sizeof(_JoystickResult) == 146, "one joystick result is 146 bytes");

// --- Pen input -----------------------------------------------------------------------------------

#pragma pack(push, 1)

// A tablet event on its way to the far end, as serialize makes it: the fields of POINTER_PEN_INFO
// of Windows in its order, each in a slot of 8 bytes. A field that says nothing is 0.
struct PenPacket {
  struct Slot {
    std::int32_t value;
    std::uint32_t high;  // 0
  };
  struct Location {
    std::int32_t x;
    std::int32_t y;
  };

  std::uint8_t marker;  // 0xFF
  std::uint8_t reserved;
  Slot pointerType;  // 3: pen
  Slot pointerId;
  Slot frameId;
  Slot pointerFlags;  // Windows pointer flags; of an event that has none, its number in Qt
  Slot sourceDevice;
  Slot targetWindow;
  Location pixelLocation;
  Slot highResolutionLocation;
  Slot rawPixelLocation;
  Slot rawHighResolutionLocation;
  Slot time;
  Slot historyCount;
  Slot inputData;
  Slot keyStates;
  Slot performanceCount;
  Slot buttonChangeType;
  Slot penFlags;
  Slot penMask;   // 15: pressure, rotation and both tilts are present
  Slot pressure;  // 0 to 1024
  Slot rotation;  // degrees times 1024
  Slot tiltX;     // degrees
  Slot tiltY;     // degrees
};
static_assert(offsetof(PenPacket, marker) == 0, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, reserved) == 1, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, pointerType) == 2, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, pointerFlags) == 26, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, pixelLocation) == 50, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, penMask) == 138, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, pressure) == 146, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, rotation) == 154, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, tiltX) == 162, "PenPacket is a wire format");
static_assert(offsetof(PenPacket, tiltY) == 170, "PenPacket is a wire format");
static_assert(sizeof(PenPacket) == 178, "PenPacket is a wire format");

// The header of every message on a port. A frame of SendPenData is 198 bytes:
//   offset  size  value
//        0     4  number of bytes that follow: 194
//        4    16  PortHeader
//       20   178  PenPacket
struct PortHeader {
  std::uint8_t magic;      // 0x27
  std::uint8_t devId;      // device number of the pen
  std::uint16_t cmd;       // 2000: pen data; 2101, incoming: devId is the number of the pen
  std::uint32_t reqId;     // 1 for the first frame after PortInit, 0 after 65535
  std::uint32_t size;      // of header and packet: 194
  std::uint32_t reserved;  // 0
};
static_assert(offsetof(PortHeader, magic) == 0, "PortHeader is a wire format");
static_assert(offsetof(PortHeader, devId) == 1, "PortHeader is a wire format");
static_assert(offsetof(PortHeader, cmd) == 2, "PortHeader is a wire format");
static_assert(offsetof(PortHeader, reqId) == 4, "PortHeader is a wire format");
static_assert(offsetof(PortHeader, size) == 8, "PortHeader is a wire format");
static_assert(offsetof(PortHeader, reserved) == 12, "PortHeader is a wire format");
static_assert(sizeof(PortHeader) == 16, "PortHeader is a wire format");

#pragma pack(pop)

#endif  // VEL_APPS_LOCAL_VELPROXY_RECORDS_H
