// The far end of the pen port: reads the frames that VelProxy::SendPenData hands to the port's
// writer, and makes the message that gives the pen its device number. The decoder includes nothing
// of the library and has a table of offsets of its own, so that it can check the library's frames.
//
// THREADS  None of its own; one object belongs to one thread.
// ERRORS   Any bytes may be given. Nothing throws but std::bad_alloc; the reason of a failure names
//          the first field with a wrong value.

#ifndef PEN_PEN_FRAME_H
#define PEN_PEN_FRAME_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"

namespace penframe {

constexpr std::size_t kPacketSize = 178;
constexpr std::size_t kFrameSize = 198;

// Pointer flags of Windows that a pen packet can carry: the POINTER_FLAG_ values of these names.
constexpr std::uint32_t kFlagNew = 0x1;
constexpr std::uint32_t kFlagInRange = 0x2;
constexpr std::uint32_t kFlagInContact = 0x4;
constexpr std::uint32_t kFlagFirstButton = 0x10;
constexpr std::uint32_t kFlagPrimary = 0x2000;
constexpr std::uint32_t kFlagConfidence = 0x4000;
constexpr std::uint32_t kFlagUpdate = 0x20000;

// One tablet event.
struct Packet {
  std::uint32_t flags = 0;    // see flagsText
  std::int32_t x = 0;         // pixels
  std::int32_t y = 0;         // pixels
  std::int32_t pressure = 0;  // 0 to 1024
  std::int32_t rotation = 0;  // degrees times 1024
  std::int32_t tiltX = 0;     // degrees
  std::int32_t tiltY = 0;     // degrees
};

struct Frame {
  std::uint8_t devId = 0;
  std::uint32_t reqId = 0;
  Packet packet;
};

// Reads a packet. Fails when a field that has the same value in every packet has another one.
base::Result<Packet> decodePacket(const unsigned char* bytes, std::size_t length);

// Reads a frame and the packet in it.
base::Result<Frame> decodeFrame(const unsigned char* bytes, std::size_t length);

// Whether the pen touches the surface: a press, or a move between a press and a release.
bool touches(const Packet& packet);

// The names of the bits, without POINTER_FLAG_ before each: "INRANGE|PRIMARY|CONFIDENCE|UPDATE".
// Bits without a name follow in hexadecimal. The flags of a press, move or release have UPDATE; a
// small number is that of another event in Qt: "event 171, enter proximity".
std::string flagsText(std::uint32_t flags);

// A frame as one line of text, without a newline.
std::string describe(const Frame& frame);

// The 8 bytes that give the pen a device number, for VelProxy::PortData.
constexpr std::size_t kMessageSize = 8;
std::array<unsigned char, kMessageSize> deviceNumberMessage(std::uint8_t devId);

// The number in such a message; 0 in any other. The magic is not tested.
std::uint8_t deviceNumberIn(const std::array<unsigned char, kMessageSize>& message);

// Frames in a stream of bytes, which may arrive in portions of any size.
class FrameStream {
 public:
  void add(const unsigned char* bytes, std::size_t length);

  // The next frame; nullopt while a part of it is missing. A failure is final, because the begin of
  // the frame after a bad one is unknown: every further call fails with the same reason.
  base::Result<std::optional<Frame>> next();

  // Whether a part of a frame has arrived and the rest is missing.
  bool isInFrame() const { return !bytes_.empty(); }

 private:
  base::Failed end(const std::string& reason);

  std::vector<unsigned char> bytes_;
  std::string error_;
};

}  // namespace penframe

#endif  // PEN_PEN_FRAME_H
