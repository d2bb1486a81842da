// Pen input: tablet events as frames on a port of the client. It takes no lock and uses no bus.

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include <QTabletEvent>

#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

// --- The pen packet: 178 bytes, little-endian, one per tablet event ------------------------------
//
//   offset  size  value
//        0     1  marker, 0xFF
//        1     1  0
//        2  22x8  the fields of POINTER_PEN_INFO of Windows in its order, each in a slot of 8
//                 bytes: the value in the low 4 bytes, zero in the high 4. The location is the
//                 exception: x in the low 4 bytes, y in the high 4
//
// The fields that are not named below stay zero.

enum Slot : std::size_t {
  kPointerType,
  kPointerId,
  kFrameId,
  kPointerFlags,
  kSourceDevice,
  kHwndTarget,
  kPtPixelLocation,
  kPtHimetricLocation,
  kPtPixelLocationRaw,
  kPtHimetricLocationRaw,
  kDwTime,
  kHistoryCount,
  kInputData,
  kDwKeyStates,
  kPerformanceCount,
  kButtonChangeType,
  kPenFlags,
  kPenMask,
  kPressure,
  kRotation,
  kTiltX,
  kTiltY,
  kSlots
};

constexpr std::size_t kMarkerSize = 2;
constexpr std::size_t kSlotSize = 8;
constexpr std::size_t offsetOf(Slot slot) {
  return kMarkerSize + slot * kSlotSize;
}
constexpr std::size_t kLocationX = offsetOf(kPtPixelLocation);
constexpr std::size_t kLocationY = kLocationX + 4;
constexpr std::size_t kPacketSize = offsetOf(kSlots);
static_assert(offsetOf(kPointerFlags) == 26, "the far end reads the flags here");
static_assert(kLocationX == 50, "the far end reads the location here");
static_assert(offsetOf(kPressure) == 146, "the far end reads the pressure here");
static_assert(kPacketSize == 178, "the far end reads 178 bytes");

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

void put(unsigned char* to, std::int32_t value) {
  std::memcpy(to, &value, sizeof value);
}

// Times 1024, towards zero, the low 32 bits. What no 64-bit integer can hold is clamped.
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
      // Others, such as proximity, are told by their number in Qt.
      return eventType;
  }
}

// --- The frame: 198 bytes, little-endian ---------------------------------------------------------
//
//   offset  size  value
//        0     4  number of bytes that follow: 194
//        4     1  magic, 0x27
//        5     1  device number of the pen
//        6     2  command, 2000
//        8     4  request number, 1 for the first frame, 16 bits of it
//       12     4  size of header and packet: 194
//       16     4  0
//       20   178  the pen packet

constexpr char kAnyPort[] = "space.port";
constexpr char kPenPort[] = "space.port.2";

constexpr unsigned char kMagic = 0x27;
constexpr std::uint16_t kPenData = 2000;
constexpr std::uint16_t kDeviceNumberGiven = 2101;

constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kPacketOffset = kLengthSize + kHeaderSize;
constexpr std::size_t kFrameSize = kPacketOffset + kPacketSize;
constexpr std::int32_t kContentSize = kHeaderSize + kPacketSize;
static_assert(kFrameSize == 198, "a frame is 198 bytes");
static_assert(kContentSize == 194, "a frame says 194");

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
  static std::array<unsigned char, kPacketSize> packet = {};
  if (!event) {
    return nullptr;
  }
  packet[0] = kMarker;
  packet[1] = 0;
  // The high halves are never written, and so stay zero.
  for (std::size_t slot = 0; slot < kSlots; ++slot) {
    put(&packet[offsetOf(static_cast<Slot>(slot))], 0);
  }
  put(&packet[offsetOf(kPointerType)], kPtPen);
  put(&packet[offsetOf(kPointerFlags)], flags);
  put(&packet[kLocationX], x == kOwnPosition ? event->x() : x);
  put(&packet[kLocationY], y == kOwnPosition ? event->y() : y);
  put(&packet[offsetOf(kPenMask)], kPenMaskAll);
  put(&packet[offsetOf(kPressure)], scaled(event->pressure()));
  put(&packet[offsetOf(kRotation)], scaled(event->rotation()));
  put(&packet[offsetOf(kTiltX)], event->xTilt());
  put(&packet[offsetOf(kTiltY)], event->yTilt());
  return packet.data();
}

unsigned char* serialize_field(unsigned char* dst, void* src, unsigned long len,
                               unsigned long advance) {
  const auto* const from = static_cast<const unsigned char*>(src);
  // From the first byte on, so that overlapping fields come out as they always have.
  for (unsigned long i = 0; i < len; ++i) {
    dst[i] = from[i];
  }
  return dst + (advance != 0 ? advance : len);
}

int VelProxy::SendPenData(std::string /*vmId*/, void* event, int type, int x, int y) {
  if (type != 0) {
    VEL_DEBUG("type: %d", type);
    return -1;
  }
  if (!event) {
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
  const std::uint16_t reqId = ++penReqId_;
  // One byte more than is sent, for writers that end what they are given with a NUL.
  std::array<unsigned char, kFrameSize + 1> frame = {};
  put(&frame[0], kContentSize);
  frame[4] = kMagic;
  frame[5] = devId;
  std::memcpy(&frame[6], &kPenData, sizeof kPenData);
  put(&frame[8], reqId);
  put(&frame[12], kContentSize);
  std::memcpy(&frame[kPacketOffset], packet, kPacketSize);
  try {
    port->writer(port->name, kFrameSize, frame.data());
  } catch (...) {
    // The client's own, for which those who deliver tablet events to it are not prepared.
    return -1;
  }

  VEL_DEBUG("size:%d, devId:%d,cmd: %d, reqId:%d,type:%d,pressure:%f,x:%d,y:%d, posx:%d, posy:%d",
            kContentSize, devId, kPenData, reqId, eventType, tablet->pressure(), tablet->x(),
            tablet->y(), tablet->x(), tablet->y());
  return 0;
}

void VelProxy::PortInit(const std::string& name, bool opened, PortWriter writer) {
  VEL_DEBUG("name: %s, opened: %d", shownName(name), opened ? 1 : 0);
  if (!isPenPort(name)) {
    return;
  }
  penPort_ = std::make_shared<const PenPort>(PenPort{name, std::move(writer)});
  penPortOpened_ = opened;
  penReqId_ = 0;
}

void VelProxy::PortStatus(const std::string& name, bool opened) {
  VEL_DEBUG("name: %s, opened: %d", shownName(name), opened ? 1 : 0);
  if (isPenPort(name)) {
    penPortOpened_ = opened;
  }
}

void VelProxy::PortData(const std::string& /*name*/, unsigned char* data, unsigned int /*length*/) {
  if (penDevId_.load() != 0 || !data) {
    return;
  }
  std::uint16_t cmd = 0;
  std::int32_t reqId = 0;
  std::memcpy(&cmd, data + 2, sizeof cmd);
  std::memcpy(&reqId, data + 4, sizeof reqId);
  VEL_DEBUG("magic:0x%.2x,cmd:%d,devId:%d,reqId:%d", data[0], cmd, data[1], reqId);
  if (cmd == kDeviceNumberGiven) {
    penDevId_.store(data[1]);
  }
}

}  // namespace qx
