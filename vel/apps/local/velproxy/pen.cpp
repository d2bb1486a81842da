// Pen input: tablet events as frames on a port of the client. It takes no lock and uses no bus.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include <QTabletEvent>

#include "vel/apps/local/velproxy/internal/error_report.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

// --- The packet: the values of PenPacket --------------------------------------------------------

constexpr unsigned char kMarker = 0xFF;
// Values of the Windows pointer input.
constexpr std::int32_t kPtPen = 3;                           // PT_PEN
constexpr std::int32_t kPenMaskAll = 0x1 | 0x2 | 0x4 | 0x8;  // pressure, rotation, tilt x, tilt y
constexpr int kPointerFlagNew = 0x1;                         // POINTER_FLAG_NEW
constexpr int kPointerFlagInRange = 0x2;                     // POINTER_FLAG_INRANGE
constexpr int kPointerFlagInContact = 0x4;                   // POINTER_FLAG_INCONTACT
constexpr int kPointerFlagFirstButton = 0x10;                // POINTER_FLAG_FIRSTBUTTON
constexpr int kPointerFlagPrimary = 0x2000;                  // POINTER_FLAG_PRIMARY
constexpr int kPointerFlagConfidence = 0x4000;               // POINTER_FLAG_CONFIDENCE
constexpr int kPointerFlagUpdate = 0x20000;                  // POINTER_FLAG_UPDATE

// The pressure is sent on a scale of 0 to 1024; the far end expects the rotation times 1024, too.
constexpr double kScale = 1024.0;
constexpr int kOwnPosition = -1;

constexpr int kHovering =
    kPointerFlagInRange | kPointerFlagPrimary | kPointerFlagConfidence | kPointerFlagUpdate;

// Times 1024, rounded towards zero: the low 32 bits of a 64-bit integer, at its limits beyond.
std::int32_t scaled(double value) {
  const double product = value * kScale;
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  std::int64_t whole = 0;
  if (product >= kLimit) {
    whole = std::numeric_limits<std::int64_t>::max();
  } else if (product <= -kLimit) {
    whole = std::numeric_limits<std::int64_t>::min();
  } else if (!std::isnan(product)) {
    whole = static_cast<std::int64_t>(product);
  }
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(whole));
}

int pointerFlags(int eventType, bool* down) {
  switch (eventType) {
    case QEvent::TabletPress:
      *down = true;
      return kHovering | kPointerFlagNew;
    case QEvent::TabletMove:
      return *down ? kHovering | kPointerFlagInContact | kPointerFlagFirstButton : kHovering;
    case QEvent::TabletRelease:
      *down = false;
      return kHovering;
    default:
      // The far end knows other events, such as proximity, by their number in Qt.
      return eventType;
  }
}

// --- The frame -----------------------------------------------------------------------------------

constexpr char kAnyPort[] = "space.port";
constexpr char kPenPort[] = "space.port.2";

constexpr unsigned char kMagic = 0x27;
constexpr std::uint16_t kPenData = 2000;
constexpr std::uint16_t kDeviceNumberGiven = 2101;
// Magic, device number, command and request number: the part of a message that is read.
constexpr std::size_t kLeastMessage = offsetof(PortHeader, size);
static_assert(kLeastMessage == 8, "a client delivers at least 8 bytes");

#pragma pack(push, 1)
struct Frame {
  std::uint32_t length;
  PortHeader header;
  PenPacket packet;
  unsigned char end;  // not sent, for writers that end the bytes with a NUL
};
#pragma pack(pop)

constexpr std::uint32_t kContentSize = sizeof(PortHeader) + sizeof(PenPacket);
constexpr unsigned int kFrameSize = offsetof(Frame, end);
static_assert(kContentSize == 194, "the far end reads 194 bytes after the length");
static_assert(kFrameSize == 198, "the far end reads 198 bytes");

bool isPenPort(const std::string& name) {
  return name.find(kPenPort) != std::string::npos;
}

// The name from "space.port" on; null without it.
const char* shownName(const std::string& name) {
  const std::size_t start = name.find(kAnyPort);
  return start == std::string::npos ? nullptr : name.c_str() + start;
}

}  // namespace

unsigned char* serialize(QTabletEvent* event, int flags, int x, int y) {
  // One for the process: pen events come from one thread, and each packet is copied at once.
  static PenPacket packet = {};
  if (!event) {
    return nullptr;
  }
  packet.marker = kMarker;
  packet.reserved = 0;
  // The high halves are never written, and so stay zero.
  packet.pointerType.value = kPtPen;
  packet.pointerId.value = 0;
  packet.frameId.value = 0;
  packet.pointerFlags.value = flags;
  packet.sourceDevice.value = 0;
  packet.targetWindow.value = 0;
  packet.pixelLocation.x = x == kOwnPosition ? event->x() : x;
  packet.pixelLocation.y = y == kOwnPosition ? event->y() : y;
  packet.highResolutionLocation.value = 0;
  packet.rawPixelLocation.value = 0;
  packet.rawHighResolutionLocation.value = 0;
  packet.time.value = 0;
  packet.historyCount.value = 0;
  packet.inputData.value = 0;
  packet.keyStates.value = 0;
  packet.performanceCount.value = 0;
  packet.buttonChangeType.value = 0;
  packet.penFlags.value = 0;
  packet.penMask.value = kPenMaskAll;
  packet.pressure.value = scaled(event->pressure());
  packet.rotation.value = scaled(event->rotation());
  packet.tiltX.value = event->xTilt();
  packet.tiltY.value = event->yTilt();
  return reinterpret_cast<unsigned char*>(&packet);
}

unsigned char* serialize_field(unsigned char* dst, void* src, unsigned long len,
                               unsigned long advance) {
  const auto* const from = static_cast<const unsigned char*>(src);
  // From the first byte on: fields may overlap, and a caller may count on what then comes out.
  for (unsigned long i = 0; i < len; ++i) {
    dst[i] = from[i];
  }
  return dst + (advance != 0 ? advance : len);
}

int VelProxy::SendPenData(std::string /*vmId*/, void* event, int type, int x, int y) {
  ErrorReport report;
  if (type != 0) {
    VEL_DEBUG("type: %d", type);
    report.refuse("not the type of a tablet event");
    return -1;
  }
  if (!event) {
    report.refuse("the event is null");
    return -1;
  }
  auto* const tablet = static_cast<QTabletEvent*>(event);
  const int eventType = tablet->type();
  const unsigned char* const packet = serialize(tablet, pointerFlags(eventType, &penDown_), x, y);

  // Held until the writer returns: it may announce the port anew, with another writer.
  const std::shared_ptr<const PenPort> port = penPort_;
  const std::uint8_t devId = penDevId_.load();
  if (!penPortOpened_ || !port || !port->writer || devId == 0) {
    return 0;
  }
  Frame frame = {};
  frame.length = kContentSize;
  frame.header.magic = kMagic;
  frame.header.devId = devId;
  frame.header.cmd = kPenData;
  frame.header.reqId = ++penReqId_;
  frame.header.size = kContentSize;
  std::memcpy(&frame.packet, packet, sizeof frame.packet);
  const std::uint16_t reqId = penReqId_;
  try {
    port->writer(port->name, kFrameSize, reinterpret_cast<unsigned char*>(&frame));
  } catch (...) {
    // Code that delivers tablet events is not prepared for exceptions of a writer.
    report.refuse("the writer of the port has thrown an exception");
    return -1;
  }

  VEL_DEBUG("size:%d, devId:%d,cmd: %d, reqId:%d,type:%d,pressure:%f,x:%d,y:%d, posx:%d, posy:%d",
            kContentSize, devId, kPenData, reqId, eventType, tablet->pressure(), tablet->x(),
            tablet->y(), tablet->x(), tablet->y());
  return 0;
}

void VelProxy::PortInit(const std::string& name, bool opened, PortWriter writer) {
  const ErrorReport report;
  VEL_DEBUG("name: %s, opened: %d", shownName(name), opened ? 1 : 0);
  if (!isPenPort(name)) {
    return;
  }
  penPort_ = std::make_shared<const PenPort>(PenPort{name, std::move(writer)});
  penPortOpened_ = opened;
  penReqId_ = 0;
}

void VelProxy::PortStatus(const std::string& name, bool opened) {
  const ErrorReport report;
  VEL_DEBUG("name: %s, opened: %d", shownName(name), opened ? 1 : 0);
  if (isPenPort(name)) {
    penPortOpened_ = opened;
  }
}

void VelProxy::PortData(const std::string& /*name*/, unsigned char* data, unsigned int /*length*/) {
  ErrorReport report;
  if (!data) {
    report.refuse("the data is null");
    return;
  }
  if (penDevId_.load() != 0) {
    return;
  }
  PortHeader header = {};
  std::memcpy(&header, data, kLeastMessage);
  VEL_DEBUG("magic:0x%.2x,cmd:%d,devId:%d,reqId:%d", header.magic, header.cmd, header.devId,
            header.reqId);
  if (header.cmd == kDeviceNumberGiven) {
    penDevId_.store(header.devId);
  }
}

}  // namespace qx
