// The table of frames against the reader in pen/, which holds a copy of its own.

#include "vel/protocol/frames.h"

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pen/pen_frame.h"

namespace velprotocol {
namespace {

using Bytes = std::vector<unsigned char>;

template <typename Value, typename Given>
void put(Bytes& frame, std::size_t offset, const NumberField<Value>& field, Given given) {
  const auto value = static_cast<Value>(given);
  std::memcpy(&frame[offset + field.offset], &value, sizeof value);
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

TEST(FramesTest, TheReaderFindsEachFieldInItsPlace) {
  std::string error;

  const std::optional<penframe::Frame> read =
      penframe::decodeFrame(frame().data(), frame().size(), &error);

  ASSERT_TRUE(read) << error;
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
