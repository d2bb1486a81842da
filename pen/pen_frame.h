// The far end of the pen port: reads the frames that VelProxy::SendPenData hands to the port's
// writer, and makes the message that gives the pen its device number. Knows nothing of the library:
// it is written from the table of bytes, and so can tell whether the library keeps to it.
//
// THREADS  None of its own; one object belongs to one thread.
// ERRORS   Any bytes may be given. Nothing throws but std::bad_alloc; what is not a frame gives no
//          frame and a text that names the first byte at fault.

#ifndef PEN_PEN_FRAME_H
#define PEN_PEN_FRAME_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

// Reads a packet. The bytes that always have the same value are tested for it.
//
// error      receives why there is none
std::optional<Packet> decodePacket(const unsigned char* bytes, std::size_t length,
                                   std::string* error);

// Reads a frame and the packet in it.
//
// error      receives why there is none
std::optional<Frame> decodeFrame(const unsigned char* bytes, std::size_t length,
                                 std::string* error);

// Whether the pen touches the surface: a press, or a move between a press and a release.
bool touches(const Packet& packet);

// The names of the bits, without POINTER_FLAG_ before each: "INRANGE|PRIMARY|CONFIDENCE|UPDATE".
// Bits without a name are put behind them in hexadecimal. Whatever comes from a pen on its way has
// UPDATE; a small number without it is that of another event in Qt: "event 171, enter proximity".
std::string flagsText(std::uint32_t flags);

// A frame as one line of text, without a newline.
std::string describe(const Frame& frame);

// The 8 bytes that give the pen a device number, for VelProxy::PortData.
constexpr std::size_t kMessageSize = 8;
std::array<unsigned char, kMessageSize> deviceNumberMessage(std::uint8_t devId);

// The number in such a message; 0 in any other. The magic may be anything.
std::uint8_t deviceNumberIn(const std::array<unsigned char, kMessageSize>& message);

// Frames out of a stream of bytes, in whatever portions it comes.
class FrameStream {
 public:
  void add(const unsigned char* bytes, std::size_t length);

  // The next frame, if all of it has come.
  //
  // error      empty: more bytes are needed; otherwise there is no frame and never will be, for
  //            nobody knows where the next one begins
  std::optional<Frame> next(std::string* error);

  // Whether a part of a frame has come whose rest is missing.
  bool isInFrame() const { return !bytes_.empty(); }

 private:
  std::vector<unsigned char> bytes_;
  std::string error_;
};

}  // namespace penframe

#endif  // PEN_PEN_FRAME_H
