#include "pen/pen_frame.h"

#include <cstdio>

namespace penframe {
namespace {

// All numbers are little-endian. A number of 8 bytes has its value in the first four.
//
//   offset  size  value
//        0     4  number of bytes that follow: 194
//        4     1  magic: 0x27
//        5     1  device number
//        6     2  command: 2000
//        8     4  request number, of which 16 bits are used
//       12     4  size of header and packet: 194
//       16     4  0
//       20   178  the packet, as below
constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kDevId = 5;
constexpr std::size_t kReqId = 8;
constexpr std::size_t kPacket = 20;
constexpr std::uint32_t kContentSize = 194;

// The message with the device number has the first 8 bytes of a header, and no length before them.
constexpr std::size_t kMessageDevId = 1;
constexpr std::size_t kMessageCommand = 2;
constexpr unsigned int kDeviceNumberGiven = 2101;

// Offsets in the packet.
constexpr std::size_t kFlags = 26;
constexpr std::size_t kX = 50;
constexpr std::size_t kY = 54;
constexpr std::size_t kPressure = 146;
constexpr std::size_t kRotation = 154;
constexpr std::size_t kTiltX = 162;
constexpr std::size_t kTiltY = 170;

// A field that has the same value in every frame.
struct FixedField {
  std::size_t offset;
  std::size_t size;
  std::uint64_t value;
  const char* name;
};

constexpr FixedField kFixedInFrame[] = {
    {0, 4, kContentSize, "length"},   {4, 1, 0x27, "magic"},         {6, 2, 2000, "cmd"},
    {10, 2, 0, "high half of reqId"}, {12, 4, kContentSize, "size"}, {16, 4, 0, "reserved"},
};

// The names are those of the fields of POINTER_PEN_INFO and POINTER_INFO of Windows.
constexpr FixedField kFixedInPacket[] = {
    {0, 1, 0xFF, "marker"},
    {1, 1, 0, "reserved"},
    {2, 8, 3, "pointerType"},
    {10, 8, 0, "pointerId"},
    {18, 8, 0, "frameId"},
    {30, 4, 0, "high half of pointerFlags"},
    {34, 8, 0, "sourceDevice"},
    {42, 8, 0, "hwndTarget"},
    {58, 8, 0, "ptHimetricLocation"},
    {66, 8, 0, "ptPixelLocationRaw"},
    {74, 8, 0, "ptHimetricLocationRaw"},
    {82, 8, 0, "dwTime"},
    {90, 8, 0, "historyCount"},
    {98, 8, 0, "InputData"},
    {106, 8, 0, "dwKeyStates"},
    {114, 8, 0, "PerformanceCount"},
    {122, 8, 0, "ButtonChangeType"},
    {130, 8, 0, "penFlags"},
    {138, 8, 15, "penMask"},
    {150, 4, 0, "high half of pressure"},
    {158, 4, 0, "high half of rotation"},
    {166, 4, 0, "high half of tiltX"},
    {174, 4, 0, "high half of tiltY"},
};

struct NamedBit {
  std::uint32_t bit;
  const char* name;
};

constexpr NamedBit kFlagNames[] = {
    {0x1, "NEW"},
    {0x2, "INRANGE"},
    {0x4, "INCONTACT"},
    {0x10, "FIRSTBUTTON"},
    {0x20, "SECONDBUTTON"},
    {0x40, "THIRDBUTTON"},
    {0x80, "FOURTHBUTTON"},
    {0x100, "FIFTHBUTTON"},
    {0x2000, "PRIMARY"},
    {0x4000, "CONFIDENCE"},
    {0x8000, "CANCELED"},
    {0x10000, "DOWN"},
    {0x20000, "UPDATE"},
    {0x40000, "UP"},
    {0x80000, "WHEEL"},
    {0x100000, "HWHEEL"},
    {0x200000, "CAPTURECHANGED"},
    {0x400000, "HASTRANSFORM"},
};

// Numbers of events in Qt, of which this is the largest.
constexpr std::uint32_t kLastEvent = 0xFFFF;
constexpr NamedBit kEventNames[] = {
    {171, "enter proximity"},
    {172, "leave proximity"},
    {219, "tracking change"},
};

std::uint64_t readUnsigned(const unsigned char* bytes, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = size; i > 0; --i) {
    value = value << 8 | bytes[i - 1];
  }
  return value;
}

std::uint32_t readUnsigned32(const unsigned char* bytes) {
  return static_cast<std::uint32_t>(readUnsigned(bytes, 4));
}

std::int32_t readSigned32(const unsigned char* bytes) {
  return static_cast<std::int32_t>(readUnsigned32(bytes));
}

std::string shownHex(std::uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

base::Failed wrongLength(const char* whole, std::size_t expected, std::size_t length) {
  return {std::string("a ") + whole + " has " + std::to_string(expected) + " bytes, not " +
          std::to_string(length)};
}

std::string wrongValue(const FixedField& field, const char* whole, std::uint64_t value) {
  return std::string(field.name) + " at offset " + std::to_string(field.offset) + " of the " +
         whole + " is " + shownHex(value) + ", not " + shownHex(field.value);
}

template <std::size_t kCount>
base::Result<void> checkFields(const unsigned char* bytes, const FixedField (&fields)[kCount],
                               const char* whole) {
  for (const FixedField& field : fields) {
    const std::uint64_t value = readUnsigned(bytes + field.offset, field.size);
    if (value != field.value) {
      return base::Failed{wrongValue(field, whole, value)};
    }
  }
  return {};
}

}  // namespace

base::Result<Packet> decodePacket(const unsigned char* bytes, std::size_t length) {
  if (length != kPacketSize || !bytes) {
    return wrongLength("packet", kPacketSize, bytes ? length : 0);
  }
  const base::Result<void> checked = checkFields(bytes, kFixedInPacket, "packet");
  if (!checked) {
    return checked.failed();
  }
  Packet packet;
  packet.flags = readUnsigned32(bytes + kFlags);
  packet.x = readSigned32(bytes + kX);
  packet.y = readSigned32(bytes + kY);
  packet.pressure = readSigned32(bytes + kPressure);
  packet.rotation = readSigned32(bytes + kRotation);
  packet.tiltX = readSigned32(bytes + kTiltX);
  packet.tiltY = readSigned32(bytes + kTiltY);
  return packet;
}

base::Result<Frame> decodeFrame(const unsigned char* bytes, std::size_t length) {
  if (length != kFrameSize || !bytes) {
    return wrongLength("frame", kFrameSize, bytes ? length : 0);
  }
  const base::Result<void> checked = checkFields(bytes, kFixedInFrame, "frame");
  if (!checked) {
    return checked.failed();
  }
  const base::Result<Packet> packet = decodePacket(bytes + kPacket, kPacketSize);
  if (!packet) {
    return packet.failed();
  }
  Frame frame;
  frame.devId = bytes[kDevId];
  frame.reqId = readUnsigned32(bytes + kReqId);
  frame.packet = *packet;
  return frame;
}

bool touches(const Packet& packet) {
  return (packet.flags & kFlagUpdate) != 0 && (packet.flags & (kFlagNew | kFlagInContact)) != 0;
}

std::string flagsText(std::uint32_t flags) {
  if (flags <= kLastEvent) {
    std::string text = "event " + std::to_string(flags);
    for (const NamedBit& event : kEventNames) {
      text += event.bit == flags ? std::string(", ") + event.name : "";
    }
    return text;
  }
  std::string text;
  std::uint32_t rest = flags;
  for (const NamedBit& flag : kFlagNames) {
    if ((rest & flag.bit) != 0) {
      text += (text.empty() ? "" : "|") + std::string(flag.name);
      rest &= ~flag.bit;
    }
  }
  if (rest != 0) {
    text += (text.empty() ? "" : "|") + shownHex(rest);
  }
  return text;
}

std::string describe(const Frame& frame) {
  const Packet& packet = frame.packet;
  char numbers[160];
  std::snprintf(numbers, sizeof numbers,
                "  x %d  y %d  pressure %d/1024  rotation %.1f  tilt %d %d", packet.x, packet.y,
                packet.pressure, packet.rotation / 1024.0, packet.tiltX, packet.tiltY);
  return "frame " + std::to_string(frame.reqId) + "  device " + std::to_string(frame.devId) +
         numbers + "  " + flagsText(packet.flags);
}

std::array<unsigned char, kMessageSize> deviceNumberMessage(std::uint8_t devId) {
  // Magic, device number, command, request number 0.
  return {0x27, devId, kDeviceNumberGiven & 0xFF, kDeviceNumberGiven >> 8, 0, 0, 0, 0};
}

std::uint8_t deviceNumberIn(const std::array<unsigned char, kMessageSize>& message) {
  const bool isGiven = readUnsigned(&message[kMessageCommand], 2) == kDeviceNumberGiven;
  return isGiven ? message[kMessageDevId] : std::uint8_t{0};
}

void FrameStream::add(const unsigned char* bytes, std::size_t length) {
  if (error_.empty()) {
    bytes_.insert(bytes_.end(), bytes, bytes + length);
  }
}

base::Result<std::optional<Frame>> FrameStream::next() {
  if (!error_.empty()) {
    return base::Failed{error_};
  }
  if (bytes_.size() < kLengthSize) {
    return std::optional<Frame>();
  }
  // Checked before the frame is complete: no sender may announce a frame of four gigabytes.
  const std::uint32_t length = readUnsigned32(bytes_.data());
  if (length != kContentSize) {
    return end(wrongValue(kFixedInFrame[0], "frame", length));
  }
  if (bytes_.size() < kFrameSize) {
    return std::optional<Frame>();
  }
  const base::Result<Frame> frame = decodeFrame(bytes_.data(), kFrameSize);
  if (!frame) {
    return end(frame.reason());
  }
  bytes_.erase(bytes_.begin(), bytes_.begin() + kFrameSize);
  return std::optional<Frame>(*frame);
}

base::Failed FrameStream::end(const std::string& reason) {
  error_ = reason;
  bytes_.clear();
  return base::Failed{reason};
}

}  // namespace penframe
