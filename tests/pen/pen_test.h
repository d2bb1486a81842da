// Fixture and helpers of the pen's tests.

#ifndef TESTS_PEN_PEN_TEST_H
#define TESTS_PEN_PEN_TEST_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <QTabletEvent>

#include "base/text.h"
#include "tests/library/proxy_test.h"

constexpr char kPenPort[] = "client.space.port.2";
constexpr int kOwnPosition = -1;
constexpr std::size_t kPacketSize = 178;
constexpr std::size_t kFrameSize = 198;
constexpr std::size_t kPacketInFrame = 20;

// Pointer flags on the wire.
constexpr std::uint32_t kPressed = 0x26003;
constexpr std::uint32_t kDrawing = 0x26016;
constexpr std::uint32_t kHovering = 0x26002;

// The state of a pen, for a tablet event.
struct Pen {
  double x = 0;
  double y = 0;
  double pressure = 0;
  double rotation = 0;
  int xTilt = 0;
  int yTilt = 0;

  QTabletEvent event(QEvent::Type type = QEvent::TabletMove) const {
    return QTabletEvent(type, QPointF(x, y), QPointF(x + 1000, y + 2000), QTabletEvent::Stylus,
                        QTabletEvent::Pen, pressure, xTilt, yTilt, 0, rotation, 0, Qt::NoModifier,
                        1, Qt::LeftButton, Qt::LeftButton);
  }
};

inline Pen penAt(double x, double y) {
  Pen pen;
  pen.x = x;
  pen.y = y;
  return pen;
}

inline Pen penWithPressure(double pressure) {
  Pen pen;
  pen.pressure = pressure;
  return pen;
}

inline Pen penWithRotation(double rotation) {
  Pen pen;
  pen.rotation = rotation;
  return pen;
}

// Pairs of digits, with blanks anywhere.
inline Bytes fromHex(std::string digits) {
  digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
  const std::optional<std::string> bytes = base::parseHex(digits);
  EXPECT_TRUE(bytes.has_value()) << digits;
  return bytesOf(bytes.value_or(""));
}

// As far as the bytes go.
inline std::string hexAt(const Bytes& bytes, std::size_t offset, std::size_t size) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return offset < all.size() ? base::hexOf(all.substr(offset, size)) : "";
}

inline std::uint32_t numberAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i > 0; --i) {
    number = number << 8 | (offset + i - 1 < bytes.size() ? bytes[offset + i - 1] : 0u);
  }
  return number;
}

// A proxy that is never connected, and a port that records the frames.
class PenTest : public ScriptedBusTest {
 protected:
  PenTest() { forget(); }

  struct Written {
    std::string port;
    Bytes bytes;
  };

  PortWriter recorder() {
    return [this](const std::string& port, unsigned int length, unsigned char* bytes) {
      written.push_back({port, bytesOf(bytes, length)});
      return 0u;
    };
  }
  void announce(const std::string& name = kPenPort, bool opened = true) {
    proxy.PortInit(name, opened, recorder());
  }
  void deliver(const std::string& hex) {
    Bytes message = fromHex(hex);
    proxy.PortData(kPenPort, message.data(), static_cast<unsigned int>(message.size()));
  }
  // Afterwards the proxy sends frames.
  void connectPen() {
    announce();
    deliver("27 05 35 08 00 00 00 00");
    forget();
  }
  int send(const Pen& pen, QEvent::Type type = QEvent::TabletMove, int x = kOwnPosition,
           int y = kOwnPosition) {
    QTabletEvent event = pen.event(type);
    return proxy.SendPenData("win11", &event, 0, x, y);
  }
  int send(QEvent::Type type) { return send(Pen(), type); }

  Bytes lastFrame() const { return written.empty() ? Bytes() : written.back().bytes; }
  std::uint32_t lastRequest() const { return numberAt(lastFrame(), 8); }
  std::uint32_t lastFlags() const { return numberAt(lastFrame(), kPacketInFrame + 26); }

  std::vector<Written> written;
  qx::VelProxy proxy;
};

#endif  // TESTS_PEN_PEN_TEST_H
