// Random events, a million without a sanitizer, against an encoder that shares nothing with the
// library's.

#include <cstdint>
#include <cstring>
#include <random>

#include "tests/pen/pen_test.h"
#include "tests/under_sanitizer.h"

namespace {

constexpr int kEvents = kUnderSanitizer ? 100'000 : 1'000'000;

// Halves are rounded upwards.
std::int64_t rounded(double value) {
  return static_cast<std::int64_t>(std::floor(value + 0.5));
}

void putLittleEndian(Bytes* packet, std::size_t offset, std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  for (std::size_t i = 0; i < 4; ++i) {
    (*packet)[offset + i] = static_cast<unsigned char>(bits >> (8 * i) & 0xFF);
  }
}

std::int64_t times1024(double value) {
  return static_cast<std::int64_t>(std::trunc(std::ldexp(value, 10)));
}

void encode(Bytes* packet, const Pen& pen, int flags, int x, int y) {
  std::fill(packet->begin(), packet->end(), static_cast<unsigned char>(0));
  (*packet)[0] = 0xFF;
  (*packet)[2] = 3;
  putLittleEndian(packet, 26, flags);
  putLittleEndian(packet, 50, x == -1 ? rounded(pen.x) : x);
  putLittleEndian(packet, 54, y == -1 ? rounded(pen.y) : y);
  (*packet)[138] = 15;
  putLittleEndian(packet, 146, times1024(pen.pressure));
  putLittleEndian(packet, 154, times1024(pen.rotation));
  putLittleEndian(packet, 162, pen.xTilt);
  putLittleEndian(packet, 170, pen.yTilt);
}

class RandomPen {
 public:
  Pen pen() {
    Pen pen;
    pen.x = position();
    pen.y = position();
    pen.pressure = real(-2, 2);
    pen.rotation = real(-360, 360);
    pen.xTilt = integer(-90, 90);
    pen.yTilt = integer(-90, 90);
    return pen;
  }
  int flags() { return static_cast<int>(engine_()); }
  // -1, the event's own position, in half of the cases.
  int givenPosition() { return engine_() % 2 == 0 ? -1 : static_cast<int>(engine_()); }

 private:
  // A quarter of the positions are halves, where ways of rounding differ.
  double position() {
    const double limit = engine_() % 2 == 0 ? 100 : 1e9;
    const double value = real(-limit, limit);
    return engine_() % 4 == 0 ? std::floor(value) + 0.5 : value;
  }
  double real(double least, double most) {
    return std::uniform_real_distribution<double>(least, most)(engine_);
  }
  int integer(int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(engine_);
  }

  std::mt19937 engine_{20240229};
};

TEST(RandomPacketsTest, AreThoseOfAnotherEncoder) {
  RandomPen random;
  Bytes expected(kPacketSize);
  for (int i = 0; i < kEvents; ++i) {
    const Pen pen = random.pen();
    const int flags = random.flags();
    const int x = random.givenPosition();
    const int y = random.givenPosition();
    QTabletEvent event = pen.event();

    const unsigned char* const packet = qx::serialize(&event, flags, x, y);

    encode(&expected, pen, flags, x, y);
    ASSERT_EQ(std::memcmp(packet, expected.data(), kPacketSize), 0)
        << "event " << i << " at " << pen.x << ", " << pen.y << " is\n"
        << hexAt(bytesOf(packet, kPacketSize), 0, kPacketSize) << "\nand should be\n"
        << hexAt(expected, 0, kPacketSize);
  }
}

}  // namespace
