// The decoder of frames.

#include <random>

#include "pen/pen_frame.h"
#include "tests/pen/pen_test.h"

namespace {

using penframe::Frame;
using penframe::FrameStream;
using penframe::Packet;

// Made by hand: device 5, request 258, a moving pen at 320, -200.
Bytes aFrame() {
  Bytes frame(kFrameSize, 0);
  const auto put = [&frame](std::size_t offset, const std::string& hex) {
    const Bytes bytes = fromHex(hex);
    std::copy(bytes.begin(), bytes.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset));
  };
  put(0, "C2 00 00 00 27 05 D0 07 02 01 00 00 C2 00 00 00");
  put(20, "FF 00 03");
  put(20 + 26, "16 60 02 00");
  put(20 + 50, "40 01 00 00 38 FF FF FF");
  put(20 + 138, "0F");
  put(20 + 146, "00 02 00 00");
  put(20 + 154, "00 98 FE FF");
  put(20 + 162, "0C 00 00 00");
  put(20 + 170, "F9 FF FF FF");
  return frame;
}

base::Result<Frame> decode(const Bytes& bytes) {
  return penframe::decodeFrame(bytes.data(), bytes.size());
}

// Empty when there is none.
std::string errorOf(const Bytes& bytes) {
  return decode(bytes).reason();
}

// --- Frames -------------------------------------------------------------------------------------

TEST(PenFrameTest, ReadsEveryField) {
  const base::Result<Frame> frame = decode(aFrame());

  ASSERT_TRUE(frame) << frame.reason();
  EXPECT_EQ(frame->devId, 5);
  EXPECT_EQ(frame->reqId, 258u);
  EXPECT_EQ(frame->packet.flags, kDrawing);
  EXPECT_EQ(frame->packet.x, 320);
  EXPECT_EQ(frame->packet.y, -200);
  EXPECT_EQ(frame->packet.pressure, 512);
  EXPECT_EQ(frame->packet.rotation, -90 * 1024);
  EXPECT_EQ(frame->packet.tiltX, 12);
  EXPECT_EQ(frame->packet.tiltY, -7);
}

TEST(PenFrameTest, ReadsAPacketByItself) {
  const Bytes frame = aFrame();

  const base::Result<Packet> packet =
      penframe::decodePacket(frame.data() + kPacketInFrame, kPacketSize);

  ASSERT_TRUE(packet) << packet.reason();
  EXPECT_EQ(packet->x, 320);
}

TEST(PenFrameTest, AcceptsNoOtherLength) {
  Bytes frame = aFrame();
  frame.resize(2 * kFrameSize, 0);
  for (std::size_t length = 0; length <= frame.size(); ++length) {
    // A block of its own, so that a sanitizer sees a read beyond its end.
    const Bytes block(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(length));

    EXPECT_EQ(errorOf(block).empty(), length == kFrameSize) << length;
    EXPECT_FALSE(penframe::decodePacket(block.data(), length)) << length;
  }
  EXPECT_EQ(errorOf(Bytes(197, 0)), "a frame has 198 bytes, not 197");
  EXPECT_EQ(errorOf(Bytes()), "a frame has 198 bytes, not 0");
}

TEST(PenFrameTest, RefusesANullPointer) {
  EXPECT_EQ(penframe::decodeFrame(nullptr, kFrameSize).reason(), "a frame has 198 bytes, not 0");
  EXPECT_EQ(penframe::decodePacket(nullptr, kPacketSize).reason(), "a packet has 178 bytes, not 0");
}

// Whether a byte varies between frames; every other has one value.
bool isFree(std::size_t offset) {
  const auto in = [offset](std::size_t first, std::size_t size) {
    return offset >= first && offset < first + size;
  };
  return offset == 5 || in(8, 2) || in(20 + 26, 4) || in(20 + 50, 8) || in(20 + 146, 4) ||
         in(20 + 154, 4) || in(20 + 162, 4) || in(20 + 170, 4);
}

TEST(PenFrameTest, AcceptsAnotherValueOnlyInFieldsThatVary) {
  for (std::size_t offset = 0; offset < kFrameSize; ++offset) {
    for (const int bit : {0, 3, 7}) {
      Bytes frame = aFrame();
      frame[offset] = static_cast<unsigned char>(frame[offset] ^ (1 << bit));

      EXPECT_EQ(errorOf(frame).empty(), isFree(offset)) << "bit " << bit << " of " << offset;
    }
  }
}

struct Fault {
  std::size_t offset;
  int value;
  const char* error;
};

class FaultTest : public testing::TestWithParam<Fault> {};

TEST_P(FaultTest, IsReported) {
  Bytes frame = aFrame();
  frame[GetParam().offset] = static_cast<unsigned char>(GetParam().value);

  EXPECT_EQ(errorOf(frame), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultTest,
    testing::Values(
        Fault{0, 0xC6, "length at offset 0 of the frame is 0xc6, not 0xc2"},
        Fault{3, 0xFF, "length at offset 0 of the frame is 0xff0000c2, not 0xc2"},
        Fault{4, 0x28, "magic at offset 4 of the frame is 0x28, not 0x27"},
        Fault{6, 0xD1, "cmd at offset 6 of the frame is 0x7d1, not 0x7d0"},
        Fault{10, 0x01, "high half of reqId at offset 10 of the frame is 0x1, not 0x0"},
        Fault{12, 0x10, "size at offset 12 of the frame is 0x10, not 0xc2"},
        Fault{19, 0x01, "reserved at offset 16 of the frame is 0x1000000, not 0x0"},
        Fault{20, 0x00, "marker at offset 0 of the packet is 0x0, not 0xff"},
        Fault{22, 0x02, "pointerType at offset 2 of the packet is 0x2, not 0x3"},
        Fault{109, 0x80, "dwTime at offset 82 of the packet is 0x8000000000000000, not 0x0"},
        Fault{178, 0xFF, "high half of rotation at offset 158 of the packet is 0xff, not 0x0"}));

TEST(PenFrameTest, SurvivesAnyBytes) {
  std::mt19937 random(4711);
  for (int i = 0; i < 20000; ++i) {
    Bytes frame = aFrame();
    const std::size_t changes = random() % 4;
    for (std::size_t change = 0; change < changes; ++change) {
      frame[random() % kFrameSize] = static_cast<unsigned char>(random());
    }
    frame.resize(random() % 8 == 0 ? random() % 300 : kFrameSize);

    const base::Result<Frame> decoded = decode(frame);

    ASSERT_EQ(static_cast<bool>(decoded), decoded.reason().empty());
    ASSERT_TRUE(!decoded || !penframe::describe(*decoded).empty());
  }
}

class PenFrameOfTheLibraryTest : public PenTest {};

TEST_F(PenFrameOfTheLibraryTest, DescribesTheEventOfThePen) {
  connectPen();
  Pen pen;
  pen.x = -5;
  pen.y = 6;
  pen.pressure = 1;
  pen.rotation = 359.5;
  pen.xTilt = -60;
  pen.yTilt = 60;

  send(pen, QEvent::TabletPress);

  const base::Result<Frame> frame = decode(lastFrame());
  ASSERT_TRUE(frame) << frame.reason();
  EXPECT_EQ(penframe::describe(*frame),
            "frame 1  device 5  x -5  y 6  pressure 1024/1024  rotation 359.5  tilt -60 60  "
            "NEW|INRANGE|PRIMARY|CONFIDENCE|UPDATE");
}

TEST_F(PenFrameOfTheLibraryTest, GivesTheLibraryADeviceNumber) {
  announce();
  for (const int number : {0, 7}) {
    auto message = penframe::deviceNumberMessage(static_cast<std::uint8_t>(number));
    proxy.PortData(kPenPort, message.data(), static_cast<unsigned int>(message.size()));
  }

  send(QEvent::TabletMove);

  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(lastFrame()[5], 7);
}

TEST(PenFrameTest, FindsTheDeviceNumberInAMessage) {
  struct Row {
    const char* message;
    int number;
  };
  const Row rows[] = {
      {"27 05 35 08 00 00 00 00", 5}, {"27 FF 35 08 00 00 00 00", 255},
      {"27 00 35 08 00 00 00 00", 0}, {"00 05 35 08 FF FF FF FF", 5},
      {"27 05 34 08 00 00 00 00", 0}, {"27 05 36 08 00 00 00 00", 0},
      {"27 05 35 09 00 00 00 00", 0}, {"35 08 05 00 00 00 00 00", 0},
  };
  for (const Row& row : rows) {
    const Bytes bytes = fromHex(row.message);
    std::array<unsigned char, penframe::kMessageSize> message = {};
    std::copy(bytes.begin(), bytes.end(), message.begin());

    EXPECT_EQ(penframe::deviceNumberIn(message), row.number) << row.message;
  }
}

// --- Flags --------------------------------------------------------------------------------------

TEST(PenFrameTest, NamesTheFlags) {
  EXPECT_EQ(penframe::flagsText(kPressed), "NEW|INRANGE|PRIMARY|CONFIDENCE|UPDATE");
  EXPECT_EQ(penframe::flagsText(kDrawing),
            "INRANGE|INCONTACT|FIRSTBUTTON|PRIMARY|CONFIDENCE|UPDATE");
  EXPECT_EQ(penframe::flagsText(kHovering), "INRANGE|PRIMARY|CONFIDENCE|UPDATE");
}

TEST(PenFrameTest, ShowsFlagsWithoutANameInHexadecimal) {
  EXPECT_EQ(penframe::flagsText(0x80020008), "UPDATE|0x80000008");
  EXPECT_EQ(penframe::flagsText(0x80000000), "0x80000000");
  EXPECT_EQ(penframe::flagsText(0x7FE1F7),
            "NEW|INRANGE|INCONTACT|FIRSTBUTTON|SECONDBUTTON|THIRDBUTTON|FOURTHBUTTON|FIFTHBUTTON|"
            "PRIMARY|CONFIDENCE|CANCELED|DOWN|UPDATE|UP|WHEEL|HWHEEL|CAPTURECHANGED|HASTRANSFORM");
}

TEST(PenFrameTest, NamesOtherEventsByTheirNumber) {
  EXPECT_EQ(penframe::flagsText(QEvent::TabletEnterProximity), "event 171, enter proximity");
  EXPECT_EQ(penframe::flagsText(QEvent::TabletLeaveProximity), "event 172, leave proximity");
  EXPECT_EQ(penframe::flagsText(QEvent::TabletTrackingChange), "event 219, tracking change");
  EXPECT_EQ(penframe::flagsText(0), "event 0");
  EXPECT_EQ(penframe::flagsText(QEvent::MaxUser), "event 65535");
}

TEST(PenFrameTest, DecidesWhetherThePenTouches) {
  const auto touches = [](std::uint32_t flags) {
    Packet packet;
    packet.flags = flags;
    return penframe::touches(packet);
  };

  EXPECT_TRUE(touches(kPressed));
  EXPECT_TRUE(touches(kDrawing));
  EXPECT_FALSE(touches(kHovering));
  // Their numbers have some of the same bits.
  EXPECT_FALSE(touches(QEvent::TabletEnterProximity));
  EXPECT_FALSE(touches(QEvent::TabletLeaveProximity));
}

// --- Streams ------------------------------------------------------------------------------------

struct Received {
  std::vector<std::uint32_t> requests;
  std::string error;
};

// The request numbers of the frames in a stream that arrives in portions, up to the first failure.
Received received(const Bytes& stream, std::size_t portion) {
  Received result;
  FrameStream frames;
  for (std::size_t start = 0; start < stream.size(); start += portion) {
    frames.add(stream.data() + start, std::min(portion, stream.size() - start));
    auto next = frames.next();
    for (; next && *next; next = frames.next()) {
      result.requests.push_back((*next)->reqId);
    }
    result.error = next.reason();
  }
  return result;
}

// Whether all of a frame has arrived.
bool hasFrame(FrameStream& frames) {
  const auto next = frames.next();
  EXPECT_TRUE(next) << next.reason();
  return next && next->has_value();
}

Bytes streamOf(int frames) {
  Bytes stream;
  for (int i = 0; i < frames; ++i) {
    Bytes frame = aFrame();
    frame[8] = static_cast<unsigned char>(i);
    frame[9] = 0;
    stream.insert(stream.end(), frame.begin(), frame.end());
  }
  return stream;
}

TEST(FrameStreamTest, FindsTheFramesInPortionsOfAnySize) {
  const Bytes stream = streamOf(4);
  for (std::size_t portion = 1; portion <= stream.size(); ++portion) {
    const Received frames = received(stream, portion);

    EXPECT_THAT(frames.requests, testing::ElementsAre(0u, 1u, 2u, 3u)) << portion;
    EXPECT_EQ(frames.error, "");
  }
}

TEST(FrameStreamTest, WaitsForTheRestOfAFrame) {
  const Bytes frame = aFrame();
  FrameStream frames;

  EXPECT_FALSE(hasFrame(frames));
  EXPECT_FALSE(frames.isInFrame());
  frames.add(frame.data(), kFrameSize - 1);
  EXPECT_FALSE(hasFrame(frames));
  EXPECT_TRUE(frames.isInFrame());

  frames.add(frame.data() + kFrameSize - 1, 1);
  EXPECT_TRUE(hasFrame(frames));
  EXPECT_FALSE(frames.isInFrame());
}

TEST(FrameStreamTest, RefusesAWrongLengthAtOnce) {
  const struct {
    const char* start;
    const char* length;
  } rows[] = {{"00 00 00 00", "0x0"},
              {"C1 00 00 00", "0xc1"},
              {"C3 00 00 00", "0xc3"},
              {"FF FF FF FF", "0xffffffff"}};
  for (const auto& [start, length] : rows) {
    FrameStream frames;
    const Bytes bytes = fromHex(start);
    frames.add(bytes.data(), bytes.size());

    EXPECT_EQ(frames.next().reason(),
              "length at offset 0 of the frame is " + std::string(length) + ", not 0xc2");
  }
}

TEST(FrameStreamTest, IsInNoFrameAfterABadOne) {
  FrameStream frames;
  Bytes bad = streamOf(1);
  bad[4] = 0x28;
  frames.add(bad.data(), bad.size());
  const std::string reason = frames.next().reason();
  const Bytes good = streamOf(1);

  frames.add(good.data(), good.size());

  EXPECT_EQ(frames.next().reason(), reason);
  EXPECT_FALSE(frames.isInFrame());
}

TEST(FrameStreamTest, FailsForEverAfterABadFrame) {
  Bytes stream = streamOf(3);
  stream[kFrameSize + 4] = 0x28;

  const Received frames = received(stream, 50);

  EXPECT_THAT(frames.requests, testing::ElementsAre(0u));
  EXPECT_EQ(frames.error, "magic at offset 4 of the frame is 0x28, not 0x27");
}

}  // namespace
