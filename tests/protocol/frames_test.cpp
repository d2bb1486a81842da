// The tables of frames against the structures that the client library writes, and against the
// reader in pen/: each of the three has the places on its own.

#include "vel/protocol/frames.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pen/pen_frame.h"
#include "tests/protocol/same_place.h"
#include "vel/apps/local/velproxy/records.h"
#include "vel/protocol/access.h"

namespace velprotocol {
namespace {

using Bytes = std::vector<unsigned char>;

template <typename Value, typename Given>
void put(Bytes& frame, std::size_t offset, const NumberField<Value>& field, Given given) {
  NumberField<Value> moved = field;
  moved.offset += offset;
  write(frame, moved, static_cast<Value>(given));
}

// As the table describes it.
Bytes frame() {
  Bytes frame(pen_frame::kLayout.size());
  const std::size_t header = pen_frame::kHeader.offset;
  const std::size_t packet = pen_frame::kPacket.offset;
  put(frame, 0, pen_frame::kLength, frame.size() - pen_frame::kLength.size);
  put(frame, header, port_header::kMagic, kPortMagic);
  put(frame, header, port_header::kDevId, 7);
  put(frame, header, port_header::kCommand, PortCommand::kPenData);
  put(frame, header, port_header::kReqId, 259);
  put(frame, header, port_header::kSize, frame.size() - pen_frame::kLength.size);
  put(frame, packet, pen_packet::kMarker, 0xFF);
  put(frame, packet, pen_packet::kPointerType, 3);
  put(frame, packet, pen_packet::kPointerFlags, 0x26016);
  put(frame, packet, pen_packet::kX, -5);
  put(frame, packet, pen_packet::kY, 6);
  put(frame, packet, pen_packet::kPenMask, 15);
  put(frame, packet, pen_packet::kPressure, 512);
  put(frame, packet, pen_packet::kRotation, 92160);
  put(frame, packet, pen_packet::kTiltX, 8);
  put(frame, packet, pen_packet::kTiltY, 9);
  return frame;
}

TEST(FramesTest, APenPacketHasItsFieldsWhereTheClientWritesThem) {
  EXPECT_SAME_PLACE(pen_packet::kMarker, PenPacket, marker);
  EXPECT_SAME_PLACE(pen_packet::kReserved, PenPacket, reserved);
  EXPECT_SAME_PLACE(pen_packet::kPointerType, PenPacket, pointerType);
  EXPECT_SAME_PLACE(pen_packet::kPointerId, PenPacket, pointerId);
  EXPECT_SAME_PLACE(pen_packet::kFrameId, PenPacket, frameId);
  EXPECT_SAME_PLACE(pen_packet::kPointerFlags, PenPacket, pointerFlags);
  EXPECT_SAME_PLACE(pen_packet::kSourceDevice, PenPacket, sourceDevice);
  EXPECT_SAME_PLACE(pen_packet::kTargetWindow, PenPacket, targetWindow);
  EXPECT_SAME_PLACE(pen_packet::kHighResolutionLocation, PenPacket, highResolutionLocation);
  EXPECT_SAME_PLACE(pen_packet::kRawPixelLocation, PenPacket, rawPixelLocation);
  EXPECT_SAME_PLACE(pen_packet::kRawHighResolutionLocation, PenPacket, rawHighResolutionLocation);
  EXPECT_SAME_PLACE(pen_packet::kTime, PenPacket, time);
  EXPECT_SAME_PLACE(pen_packet::kHistoryCount, PenPacket, historyCount);
  EXPECT_SAME_PLACE(pen_packet::kInputData, PenPacket, inputData);
  EXPECT_SAME_PLACE(pen_packet::kKeyStates, PenPacket, keyStates);
  EXPECT_SAME_PLACE(pen_packet::kPerformanceCount, PenPacket, performanceCount);
  EXPECT_SAME_PLACE(pen_packet::kButtonChangeType, PenPacket, buttonChangeType);
  EXPECT_SAME_PLACE(pen_packet::kPenFlags, PenPacket, penFlags);
  EXPECT_SAME_PLACE(pen_packet::kPenMask, PenPacket, penMask);
  EXPECT_SAME_PLACE(pen_packet::kPressure, PenPacket, pressure);
  EXPECT_SAME_PLACE(pen_packet::kRotation, PenPacket, rotation);
  EXPECT_SAME_PLACE(pen_packet::kTiltX, PenPacket, tiltX);
  EXPECT_SAME_PLACE(pen_packet::kTiltY, PenPacket, tiltY);
  EXPECT_SAME_OFFSET(pen_packet::kX, PenPacket, pixelLocation.x);
  EXPECT_SAME_OFFSET(pen_packet::kY, PenPacket, pixelLocation.y);
  EXPECT_EQ(pen_packet::kLayout.size(), sizeof(PenPacket));
}

TEST(FramesTest, APortHeaderHasItsFieldsWhereTheClientWritesThem) {
  EXPECT_SAME_PLACE(port_header::kMagic, PortHeader, magic);
  EXPECT_SAME_PLACE(port_header::kDevId, PortHeader, devId);
  EXPECT_SAME_PLACE(port_header::kCommand, PortHeader, cmd);
  EXPECT_SAME_PLACE(port_header::kReqId, PortHeader, reqId);
  EXPECT_SAME_PLACE(port_header::kSize, PortHeader, size);
  EXPECT_SAME_PLACE(port_header::kReserved, PortHeader, reserved);
  EXPECT_EQ(port_header::kLayout.size(), sizeof(PortHeader));
}

// It begins as a header does.
TEST(FramesTest, ADeviceNumberMessageHasItsFieldsWhereTheClientReadsThem) {
  EXPECT_SAME_PLACE(device_number_message::kMagic, PortHeader, magic);
  EXPECT_SAME_PLACE(device_number_message::kDevId, PortHeader, devId);
  EXPECT_SAME_PLACE(device_number_message::kCommand, PortHeader, cmd);
  EXPECT_SAME_PLACE(device_number_message::kReqId, PortHeader, reqId);
}

TEST(FramesTest, TheReaderFindsEachFieldInItsPlace) {
  const auto read = penframe::decodeFrame(frame().data(), frame().size());

  ASSERT_TRUE(read) << read.reason();
  EXPECT_EQ(read->devId, 7);
  EXPECT_EQ(read->reqId, 259u);
  EXPECT_EQ(read->packet.flags, 0x26016u);
  EXPECT_EQ(read->packet.x, -5);
  EXPECT_EQ(read->packet.y, 6);
  EXPECT_EQ(read->packet.pressure, 512);
  EXPECT_EQ(read->packet.rotation, 92160);
  EXPECT_EQ(read->packet.tiltX, 8);
  EXPECT_EQ(read->packet.tiltY, 9);
}

TEST(FramesTest, TheReaderMakesTheMessageThatTheTableDescribes) {
  Bytes message(device_number_message::kLayout.size());
  put(message, 0, device_number_message::kMagic, kPortMagic);
  put(message, 0, device_number_message::kDevId, 5);
  put(message, 0, device_number_message::kCommand, PortCommand::kDeviceNumber);

  const auto made = penframe::deviceNumberMessage(5);

  EXPECT_EQ(Bytes(made.begin(), made.end()), message);
}

}  // namespace
}  // namespace velprotocol
