// The frames of the pen port, which do not travel on the bus.
//
// The structures of the client library and pen/pen_frame.cpp each have these places on their own:
// the one writes frames, the other reads them, and a mistake in one shows in the other. The tests
// compare both with these tables.

#ifndef VEL_PROTOCOL_FRAMES_H
#define VEL_PROTOCOL_FRAMES_H

#include <cstdint>

#include "vel/protocol/layout.h"

namespace velprotocol {

// Part of the name of the port.
inline constexpr char kPenPort[] = "space.port.2";
constexpr std::uint8_t kPortMagic = 0x27;

enum class PortCommand : std::uint16_t {
  kPenData = 2000,       // from the client: a pen frame
  kDeviceNumber = 2101,  // to the client: a message that gives the pen its device number
};

namespace port_header {
inline constexpr NumberField<std::uint8_t> kMagic{"magic", 0, FixedBy::kClient, "0x27"};
inline constexpr NumberField<std::uint8_t> kDevId{"devId", 1, FixedBy::kClient,
                                                  "device number of the pen"};
inline constexpr NumberField<std::uint16_t> kCommand{"cmd", 2, FixedBy::kClient, "command"};
inline constexpr NumberField<std::uint32_t> kReqId{
    "reqId", 4, FixedBy::kClient, "number of the request: 1 for the first frame, 16 bits of it"};
inline constexpr NumberField<std::uint32_t> kSize{"size", 8, FixedBy::kClient,
                                                  "bytes of header and packet: 194"};
inline constexpr ReservedField kReserved{12, 4, FixedBy::kClient};
inline constexpr Field kFields[] = {kMagic, kDevId, kCommand, kReqId, kSize, kReserved};
inline constexpr Layout kLayout{"PortHeader", "PortHeader", BlockSize::kExact,
                                "The header of a frame.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 16, "PortHeader has a wrong layout");
}  // namespace port_header

// The fields of POINTER_PEN_INFO of Windows in its order, each in a slot of 8 bytes: a value in the
// low half and zero in the high half, or the two coordinates of a location.
namespace pen_packet {
inline constexpr NumberField<std::uint8_t> kMarker{"marker", 0, FixedBy::kClient, "0xFF"};
inline constexpr ReservedField kReserved{1, 1, FixedBy::kClient};
inline constexpr NumberField<std::uint64_t> kPointerType{"pointerType", 2, FixedBy::kClient,
                                                         "3: pen"};
inline constexpr NumberField<std::uint64_t> kPointerId{"pointerId", 10, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kFrameId{"frameId", 18, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kPointerFlags{"pointerFlags", 26, FixedBy::kClient,
                                                          "POINTER_FLAG_ bits"};
inline constexpr NumberField<std::uint64_t> kSourceDevice{"sourceDevice", 34, FixedBy::kClient,
                                                          "0"};
inline constexpr NumberField<std::uint64_t> kTargetWindow{"targetWindow", 42, FixedBy::kClient,
                                                          "0"};
inline constexpr NumberField<std::int32_t> kX{"x", 50, FixedBy::kClient, "pixels"};
inline constexpr NumberField<std::int32_t> kY{"y", 54, FixedBy::kClient, "pixels"};
inline constexpr NumberField<std::uint64_t> kHighResolutionLocation{"highResolutionLocation", 58,
                                                                    FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kRawPixelLocation{"rawPixelLocation", 66,
                                                              FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kRawHighResolutionLocation{"rawHighResolutionLocation",
                                                                       74, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kTime{"time", 82, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kHistoryCount{"historyCount", 90, FixedBy::kClient,
                                                          "0"};
inline constexpr NumberField<std::uint64_t> kInputData{"inputData", 98, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kKeyStates{"keyStates", 106, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kPerformanceCount{"performanceCount", 114,
                                                              FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kButtonChangeType{"buttonChangeType", 122,
                                                              FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kPenFlags{"penFlags", 130, FixedBy::kClient, "0"};
inline constexpr NumberField<std::uint64_t> kPenMask{
    "penMask", 138, FixedBy::kClient, "15: pressure, rotation, tilt x and tilt y are valid"};
inline constexpr NumberField<std::uint64_t> kPressure{"pressure", 146, FixedBy::kClient,
                                                      "0 to 1024"};
inline constexpr NumberField<std::uint64_t> kRotation{"rotation", 154, FixedBy::kClient,
                                                      "degrees times 1024, 32 bits, signed"};
inline constexpr NumberField<std::uint64_t> kTiltX{"tiltX", 162, FixedBy::kClient,
                                                   "degrees, 32 bits, signed"};
inline constexpr NumberField<std::uint64_t> kTiltY{"tiltY", 170, FixedBy::kClient,
                                                   "degrees, 32 bits, signed"};
inline constexpr Field kFields[] = {kMarker,
                                    kReserved,
                                    kPointerType,
                                    kPointerId,
                                    kFrameId,
                                    kPointerFlags,
                                    kSourceDevice,
                                    kTargetWindow,
                                    kX,
                                    kY,
                                    kHighResolutionLocation,
                                    kRawPixelLocation,
                                    kRawHighResolutionLocation,
                                    kTime,
                                    kHistoryCount,
                                    kInputData,
                                    kKeyStates,
                                    kPerformanceCount,
                                    kButtonChangeType,
                                    kPenFlags,
                                    kPenMask,
                                    kPressure,
                                    kRotation,
                                    kTiltX,
                                    kTiltY};
inline constexpr Layout kLayout{"PenPacket", "PenPacket", BlockSize::kExact, "One tablet event.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 178, "PenPacket has a wrong layout");
}  // namespace pen_packet

// From the client: the length of the rest, a header, a packet.
namespace pen_frame {
inline constexpr NumberField<std::uint32_t> kLength{"length", 0, FixedBy::kClient,
                                                    "bytes that follow: 194"};
inline constexpr BytesField kHeader{"header", 4, port_header::kLayout.size(), FixedBy::kClient,
                                    "PortHeader with cmd 2000"};
inline constexpr BytesField kPacket{"packet", 20, pen_packet::kLayout.size(), FixedBy::kClient,
                                    "PenPacket"};
inline constexpr Field kFields[] = {kLength, kHeader, kPacket};
inline constexpr Layout kLayout{"PenFrame", "", BlockSize::kExact,
                                "From the client: one tablet event on its way.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 198, "PenFrame has a wrong layout");
}  // namespace pen_frame

// To the client. It begins as a header does.
namespace device_number_message {
inline constexpr NumberField<std::uint8_t> kMagic{"magic", 0, FixedBy::kClient,
                                                  "0x27; the client library accepts any"};
inline constexpr NumberField<std::uint8_t> kDevId{"devId", 1, FixedBy::kClient,
                                                  "device number of the pen, not 0"};
inline constexpr NumberField<std::uint16_t> kCommand{"cmd", 2, FixedBy::kClient, "2101"};
inline constexpr NumberField<std::uint32_t> kReqId{"reqId", 4, FixedBy::kClient, "any number"};
inline constexpr Field kFields[] = {kMagic, kDevId, kCommand, kReqId};
inline constexpr Layout kLayout{"DeviceNumberMessage", "", BlockSize::kExact,
                                "To the client: the device number of the pen. The client library "
                                "takes the first and drops what follows.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 8, "DeviceNumberMessage has a wrong layout");
}  // namespace device_number_message

inline constexpr const Layout* kFrames[] = {
    &pen_frame::kLayout,
    &port_header::kLayout,
    &pen_packet::kLayout,
    &device_number_message::kLayout,
};

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_FRAMES_H
