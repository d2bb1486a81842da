// What the tests of the pen stand on.

#ifndef TESTS_PEN_PEN_TEST_H
#define TESTS_PEN_PEN_TEST_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <QTabletEvent>

#include "tests/library/proxy_test.h"

constexpr char kPenPort[] = "client.space.port.2";
constexpr int kOwnPosition = -1;
constexpr std::size_t kPacketSize = 178;
constexpr std::size_t kFrameSize = 198;
constexpr std::size_t kPacketInFrame = 20;

// What the far end reads.
constexpr std::uint32_t kPressed = 0x26003;
constexpr std::uint32_t kDrawing = 0x26016;
constexpr std::uint32_t kHovering = 0x26002;

// A tablet event at a place, with all that a pen can say of itself.
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

inline Bytes fromHex(const std::string& text) {
  Bytes bytes;
  std::string digits;
  for (const char c : text) {
    if (c != ' ') {
      digits += c;
    }
    if (digits.size() == 2) {
      bytes.push_back(static_cast<unsigned char>(std::stoi(digits, nullptr, 16)));
      digits.clear();
    }
  }
  return bytes;
}

inline std::string toHex(const Bytes& bytes, std::size_t offset, std::size_t size) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = offset; i < offset + size && i < bytes.size(); ++i) {
    text += text.empty() ? "" : " ";
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

inline std::uint32_t numberAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i > 0; --i) {
    number = number << 8 | (offset + i - 1 < bytes.size() ? bytes[offset + i - 1] : 0u);
  }
  return number;
}

// A proxy that is never connected, and a port that keeps what is written to it.
class PenTest : public BusTest {
 protected:
  PenTest() { forget(); }

  // Writers in tests read this.
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
  // From now on frames are sent.
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
