// The packet of one tablet event: qx::serialize and qx::serialize_field.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "tests/pen/pen_test.h"

namespace {

constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Bytes packetOf(const Pen& pen, int flags = 0, int x = kOwnPosition, int y = kOwnPosition) {
  QTabletEvent event = pen.event();
  return bytesOf(qx::serialize(&event, flags, x, y), kPacketSize);
}

std::int32_t signedAt(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::int32_t>(numberAt(bytes, offset));
}

// --- Whole packets ------------------------------------------------------------------------------

TEST(PacketTest, HasEachValueAtItsOffset) {
  Pen pen;
  pen.x = 10.5;
  pen.y = -10.6;
  pen.pressure = 0.5;
  pen.rotation = -90;
  pen.xTilt = 60;
  pen.yTilt = -60;

  const Bytes packet = packetOf(pen, 0x12345678);

  EXPECT_EQ(packet, fromHex("FF 00"
                            "03000000 00000000"     // pointer type
                            "00000000 00000000"     // pointer id
                            "00000000 00000000"     // frame id
                            "78563412 00000000"     // pointer flags
                            "00000000 00000000"     // source device
                            "00000000 00000000"     // target window
                            "0B000000 F5FFFFFF"     // pixel location
                            "00000000 00000000"     // high-resolution location
                            "00000000 00000000"     // raw pixel location
                            "00000000 00000000"     // raw high-resolution location
                            "00000000 00000000"     // time
                            "00000000 00000000"     // history count
                            "00000000 00000000"     // input data
                            "00000000 00000000"     // key states
                            "00000000 00000000"     // performance count
                            "00000000 00000000"     // button change type
                            "00000000 00000000"     // pen flags
                            "0F000000 00000000"     // pen mask
                            "00020000 00000000"     // pressure
                            "0098FEFF 00000000"     // rotation
                            "3C000000 00000000"     // tilt x
                            "C4FFFFFF 00000000"));  // tilt y
}

TEST(PacketTest, OfAnEventOfZeroesHasOnlyItsConstants) {
  Bytes expected(kPacketSize, 0);
  expected[0] = 0xFF;
  expected[2] = 3;
  expected[138] = 15;

  EXPECT_EQ(packetOf(Pen()), expected);
}

TEST(PacketTest, CanBeReadAsAPenPacket) {
  Pen pen;
  pen.x = 10.5;
  pen.y = -10.6;
  pen.pressure = 0.5;
  pen.rotation = -90;
  pen.xTilt = 60;
  pen.yTilt = -60;
  QTabletEvent event = pen.event();

  const auto* const packet =
      reinterpret_cast<const PenPacket*>(qx::serialize(&event, 0x12345678, 70, kOwnPosition));

  EXPECT_EQ(int{packet->marker}, 0xFF);
  EXPECT_EQ(int{packet->pointerType.value}, 3);
  EXPECT_EQ(int{packet->pointerFlags.value}, 0x12345678);
  EXPECT_EQ(int{packet->pixelLocation.x}, 70);
  EXPECT_EQ(int{packet->pixelLocation.y}, -11);
  EXPECT_EQ(int{packet->penMask.value}, 15);
  EXPECT_EQ(int{packet->pressure.value}, 512);
  EXPECT_EQ(int{packet->rotation.value}, -92160);
  EXPECT_EQ(std::uint32_t{packet->rotation.high}, 0u);
  EXPECT_EQ(int{packet->tiltX.value}, 60);
  EXPECT_EQ(int{packet->tiltY.value}, -60);
}

TEST(PacketTest, IsMadeInTheSamePlaceEachTime) {
  QTabletEvent first = penAt(1, 2).event();
  QTabletEvent second = penAt(3, 4).event();

  const unsigned char* const packet = qx::serialize(&first, 0, kOwnPosition, kOwnPosition);

  EXPECT_EQ(qx::serialize(&second, 0, kOwnPosition, kOwnPosition), packet);
  EXPECT_EQ(packet[50], 3);
}

TEST(PacketTest, KeepsNoValueOfThePacketBefore) {
  Pen full;
  full.x = -1000;
  full.y = -1000;
  full.pressure = -1;
  full.rotation = -360;
  full.xTilt = -60;
  full.yTilt = -60;
  const Bytes expected = packetOf(Pen());

  packetOf(full, -1, -2, -2);

  EXPECT_EQ(packetOf(Pen()), expected);
}

TEST(PacketTest, IsWrittenExceptForItsHighHalves) {
  QTabletEvent event = Pen().event();
  unsigned char* const packet = qx::serialize(&event, 0, kOwnPosition, kOwnPosition);
  const Bytes before = bytesOf(packet, kPacketSize);
  std::fill(packet, packet + kPacketSize, static_cast<unsigned char>(0xEE));

  qx::serialize(&event, 0, kOwnPosition, kOwnPosition);

  Bytes expected = before;
  for (std::size_t slot = 2; slot < kPacketSize; slot += 8) {
    if (slot != 50) {  // Two halves that are both of use.
      std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(slot) + 4, 4,
                  static_cast<unsigned char>(0xEE));
    }
  }
  EXPECT_EQ(bytesOf(packet, kPacketSize), expected);
  // They are zero for all that follows.
  std::copy(before.begin(), before.end(), packet);
}

TEST(PacketTest, IsNullForANullEvent) {
  EXPECT_EQ(qx::serialize(nullptr, 0, 0, 0), nullptr);
}

TEST(PacketTest, TakesAnyFlags) {
  for (const int flags : {0, 1, -1, kIntMin, kIntMax}) {
    const Bytes packet = packetOf(Pen(), flags);

    EXPECT_EQ(signedAt(packet, 26), flags);
    EXPECT_EQ(numberAt(packet, 30), 0u) << flags;
  }
}

// --- Position -----------------------------------------------------------------------------------

struct Rounding {
  double position;
  int expected;
};

class RoundingTest : public testing::TestWithParam<Rounding> {};

TEST_P(RoundingTest, RoundsHalvesUpwards) {
  const double position = GetParam().position;

  const Bytes both = packetOf(penAt(position, position));

  EXPECT_EQ(signedAt(both, 50), GetParam().expected);
  EXPECT_EQ(signedAt(both, 54), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Examples, RoundingTest,
    testing::Values(Rounding{10.5, 11}, Rounding{10.4, 10}, Rounding{10.6, 11},
                    Rounding{-10.4, -10}, Rounding{-10.5, -10}, Rounding{-10.6, -11},
                    Rounding{0.0, 0}, Rounding{0.49, 0}, Rounding{0.5, 1}, Rounding{-0.0, 0},
                    Rounding{-0.5, 0}, Rounding{-0.51, -1}, Rounding{-1.0, -1}, Rounding{-1.5, -1},
                    Rounding{-1.6, -2}, Rounding{1.5, 2}, Rounding{2147483646.4, 2147483646},
                    Rounding{2147483646.5, 2147483647}, Rounding{2147483647.0, 2147483647},
                    Rounding{-2147483646.6, -2147483647}, Rounding{-2147483646.5, -2147483646},
                    Rounding{-2147483647.0, -2147483647}));

TEST(PositionTest, OnlyMinusOneStandsForTheEventsOwn) {
  for (const int given : {-2, 0, 1, 77, -1000, kIntMin, kIntMin + 1, kIntMax}) {
    const Bytes packet = packetOf(penAt(300, 400), 0, given, given);

    EXPECT_EQ(signedAt(packet, 50), given);
    EXPECT_EQ(signedAt(packet, 54), given);
  }
}

TEST(PositionTest, IsChosenForXAndYSeparately) {
  const Bytes ownX = packetOf(penAt(300, 400), 0, -1, 7);
  const Bytes ownY = packetOf(penAt(300, 400), 0, 8, -1);

  EXPECT_EQ(hexAt(ownX, 50, 8), "2c01000007000000");
  EXPECT_EQ(hexAt(ownY, 50, 8), "0800000090010000");
}

TEST(PositionTest, IsTheOneInTheWidgetNotOnTheScreen) {
  EXPECT_EQ(hexAt(packetOf(penAt(1, 2)), 50, 8), "0100000002000000");
}

TEST(PositionTest, OfAnEventAtMinusOneIsMinusOne) {
  EXPECT_EQ(hexAt(packetOf(penAt(-1, -1)), 50, 8), "ffffffffffffffff");
}

// --- Pressure and rotation ----------------------------------------------------------------------

struct Scaling {
  double value;
  std::int32_t expected;
};

class ScalingTest : public testing::TestWithParam<Scaling> {};

TEST_P(ScalingTest, Is1024TimesTheValueTowardsZero) {
  const Bytes pressed = packetOf(penWithPressure(GetParam().value));
  const Bytes turned = packetOf(penWithRotation(GetParam().value));

  EXPECT_EQ(signedAt(pressed, 146), GetParam().expected);
  EXPECT_EQ(numberAt(pressed, 150), 0u);
  EXPECT_EQ(signedAt(turned, 154), GetParam().expected);
  EXPECT_EQ(numberAt(turned, 158), 0u);
}

INSTANTIATE_TEST_SUITE_P(Examples, ScalingTest,
                         testing::Values(Scaling{0, 0}, Scaling{-0.0, 0}, Scaling{1, 1024},
                                         Scaling{0.5, 512}, Scaling{0.9999, 1023},
                                         Scaling{1 / 1024.0, 1}, Scaling{0.99 / 1024, 0},
                                         Scaling{-0.99 / 1024, 0}, Scaling{-1 / 1024.0, -1},
                                         Scaling{-0.5, -512}, Scaling{-0.9999, -1023},
                                         Scaling{-1, -1024}, Scaling{1.0001, 1024},
                                         Scaling{2, 2048}, Scaling{-90, -92160}, Scaling{90, 92160},
                                         Scaling{360, 368640}, Scaling{-360, -368640},
                                         Scaling{359.9999, 368639}, Scaling{-359.9999, -368639}));

// The low 32 bits of a 64-bit number.
INSTANTIATE_TEST_SUITE_P(Wide, ScalingTest,
                         testing::Values(Scaling{2097151, 2147482624}, Scaling{2097152, kIntMin},
                                         Scaling{-2097152, kIntMin}, Scaling{4194304, 0},
                                         Scaling{4194305, 1024}, Scaling{-4194305, -1024},
                                         Scaling{4503599627370495.0, -1024}));

// NaN is 0. A value beyond 64 bits is the largest, or the smallest, of 64 bits.
INSTANTIATE_TEST_SUITE_P(NotFinite, ScalingTest,
                         testing::Values(Scaling{std::nan(""), 0}, Scaling{-std::nan(""), 0},
                                         Scaling{kInfinity, -1}, Scaling{-kInfinity, 0},
                                         Scaling{std::numeric_limits<double>::max(), -1},
                                         Scaling{std::numeric_limits<double>::lowest(), 0},
                                         Scaling{9007199254740992.0, -1},
                                         Scaling{-9007199254740992.0, 0},
                                         Scaling{std::numeric_limits<double>::denorm_min(), 0}));

TEST(PacketTest, WritesMinusNinetyDegreesWithoutASignInTheHighHalf) {
  EXPECT_EQ(hexAt(packetOf(penWithRotation(-90)), 154, 8), "0098feff00000000");
}

TEST(PacketTest, TakesAnyTilt) {
  for (const int tilt : {0, 1, -1, 60, -60, 90, -90}) {
    Pen pen;
    pen.xTilt = tilt;
    pen.yTilt = -tilt;

    const Bytes packet = packetOf(pen);

    EXPECT_EQ(signedAt(packet, 162), tilt);
    EXPECT_EQ(numberAt(packet, 166), 0u);
    EXPECT_EQ(signedAt(packet, 170), -tilt);
    EXPECT_EQ(numberAt(packet, 174), 0u);
  }
}

// --- serialize_field ----------------------------------------------------------------------------

class FieldTest : public testing::Test {
 protected:
  std::array<unsigned char, 8> source = {1, 2, 3, 4, 5, 6, 7, 8};
  std::array<unsigned char, 12> target = {};
  const std::array<unsigned char, 12> untouched = {};
};

TEST_F(FieldTest, ContinuesBehindTheCopiedBytes) {
  EXPECT_EQ(qx::serialize_field(target.data(), source.data(), 4, 0), target.data() + 4);

  EXPECT_EQ(target, (std::array<unsigned char, 12>{1, 2, 3, 4}));
}

TEST_F(FieldTest, ContinuesBehindTheGivenAdvance) {
  EXPECT_EQ(qx::serialize_field(target.data(), source.data(), 4, 8), target.data() + 8);

  EXPECT_EQ(target, (std::array<unsigned char, 12>{1, 2, 3, 4}));
}

TEST_F(FieldTest, MayContinueInsideTheCopiedBytes) {
  EXPECT_EQ(qx::serialize_field(target.data(), source.data(), 8, 1), target.data() + 1);

  EXPECT_EQ(target, (std::array<unsigned char, 12>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_F(FieldTest, OfLengthZeroCopiesNothing) {
  EXPECT_EQ(qx::serialize_field(target.data(), source.data(), 0, 0), target.data());
  EXPECT_EQ(qx::serialize_field(target.data(), source.data(), 0, 5), target.data() + 5);
  EXPECT_EQ(qx::serialize_field(target.data(), nullptr, 0, 5), target.data() + 5);

  EXPECT_EQ(target, untouched);
}

TEST_F(FieldTest, CopiesTheFirstByteFirst) {
  // Each byte is read after the one before it has been written, so the first one runs through.
  EXPECT_EQ(qx::serialize_field(source.data() + 1, source.data(), 7, 0), source.data() + 8);

  EXPECT_EQ(source, (std::array<unsigned char, 8>{1, 1, 1, 1, 1, 1, 1, 1}));
}

TEST_F(FieldTest, DoesNotChangeTheSource) {
  const std::array<unsigned char, 8> before = source;

  qx::serialize_field(target.data(), source.data(), 8, 0);

  EXPECT_EQ(source, before);
}

}  // namespace
