// The pen port: names, messages and tablet events in any order, and any bytes at the far end.
// Covers: vel/apps/local/velproxy/pen.cpp pen/pen_frame.cpp

#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include <QTabletEvent>

#include "pen/pen_frame.h"
#include "tests/fuzz/messages.h"
#include "tests/fuzz/target.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace fuzz::pen_packets {
namespace {

// The state of the port as its header describes it.
struct Port {
  bool isKnown = false;
  bool isOpen = false;
  unsigned int device = 0;
  std::uint16_t lastRequest = 0;
  bool isDown = false;
};

std::vector<std::vector<unsigned char>>& frames() {
  static auto* const all = new std::vector<std::vector<unsigned char>>;
  return *all;
}

unsigned int writeFrame(const std::string& /*name*/, unsigned int length, unsigned char* data) {
  frames().emplace_back(data, data + length);
  return length;
}

std::string nameIn(Input& input) {
  const char* const names[] = {"space.port.2", "a.space.port.2b", "space.port.1", "port", ""};
  const std::size_t choice = input.byte();
  return choice < std::size(names) ? names[choice] : std::string(input.piece());
}

bool isPenPort(const std::string& name) {
  return name.find("space.port.2") != std::string::npos;
}

// What a field of 32 bits holds of a number times 1024.
std::int32_t scaled(double number) {
  const double product = number * 1024;
  const double kBeyond = std::ldexp(1, 63);
  const std::int64_t whole = std::isnan(product)   ? 0
                             : product >= kBeyond  ? INT64_MAX
                             : product <= -kBeyond ? INT64_MIN
                                                   : static_cast<std::int64_t>(product);
  std::int32_t low = 0;
  std::memcpy(&low, &whole, sizeof low);
  return low;
}

unsigned int flagsOf(int type, Port* port) {
  constexpr unsigned int kHovering = 0x26002;
  switch (type) {
    case QEvent::TabletPress:
      port->isDown = true;
      return kHovering | penframe::kFlagNew;
    case QEvent::TabletMove:
      return kHovering | (port->isDown ? penframe::kFlagInContact | penframe::kFlagFirstButton : 0);
    case QEvent::TabletRelease:
      port->isDown = false;
      return kHovering;
    default:
      return static_cast<unsigned int>(type);
  }
}

void sendEvent(Input& input, qx::VelProxy& proxy, Port* port) {
  constexpr QEvent::Type kTypes[] = {QEvent::TabletPress, QEvent::TabletMove, QEvent::TabletRelease,
                                     QEvent::TabletEnterProximity, QEvent::TabletLeaveProximity};
  const std::size_t choice = input.byte();
  const QEvent::Type type =
      choice < std::size(kTypes) ? kTypes[choice] : static_cast<QEvent::Type>(choice);
  // Qt rounds positions to int, which larger ones do not fit.
  const double left = input.number<std::int16_t>() / 8.0;
  const double top = input.number<std::int16_t>() / 8.0;
  const double pressure = input.number<double>();
  const double rotation = input.number<double>();
  const int tiltX = input.number<int>();
  const int tiltY = input.number<int>();
  const int x = input.flag() ? -1 : input.number<int>();
  const int y = input.flag() ? -1 : input.number<int>();
  QTabletEvent event(type, QPointF(left, top), QPointF(), QTabletEvent::Stylus, QTabletEvent::Pen,
                     pressure, tiltX, tiltY, 0, rotation, 0, Qt::NoModifier, 1, Qt::NoButton,
                     Qt::NoButton);
  frames().clear();
  const int sentType = input.below(16) == 0 ? 1 : 0;
  const int result = proxy.SendPenData("win11", &event, sentType, x, y);

  require(result == (sentType == 0 ? 0 : -1), "the result");
  if (sentType != 0) {
    return require(frames().empty(), "no frame for another type of event");
  }
  const unsigned int flags = flagsOf(type, port);
  if (!port->isKnown || !port->isOpen || port->device == 0) {
    return require(frames().empty(), "no frame before the port and the device are known");
  }
  require(frames().size() == 1 && frames().front().size() == penframe::kFrameSize, "one frame");
  const auto frame = penframe::decodeFrame(frames().front().data(), frames().front().size());
  require(frame && frame->devId == port->device && frame->reqId == ++port->lastRequest,
          "the frame is right: " + (frame ? "" : frame.reason()));
  const penframe::Packet& packet = frame->packet;
  require(packet.flags == flags, "the flags");
  require(packet.x == (x == -1 ? event.x() : x) && packet.y == (y == -1 ? event.y() : y),
          "the position");
  require(packet.pressure == scaled(pressure) && packet.rotation == scaled(rotation),
          "pressure and rotation");
  require(packet.tiltX == tiltX && packet.tiltY == tiltY, "the tilt");
}

void receive(Input& input, qx::VelProxy& proxy, Port* port) {
  // A client delivers whole messages, of 8 bytes at least; the length is not tested.
  std::vector<unsigned char> message(8 + input.below(16));
  const std::string_view bytes = input.take(message.size());
  std::copy(bytes.begin(), bytes.end(), message.begin());
  if (input.flag()) {
    const auto right = penframe::deviceNumberMessage(message[1]);
    std::copy(right.begin(), right.end(), message.begin());
  }
  proxy.PortData("space.port.2", message.data(), static_cast<unsigned int>(message.size()));
  const bool isDeviceNumber = message[2] == 2101 % 256 && message[3] == 2101 / 256;
  if (isDeviceNumber && port->device == 0) {
    port->device = message[1];
  }
}

// The far end, which gets what the network brings.
void readStream(Input& input) {
  penframe::FrameStream stream;
  bool isOver = false;
  while (!input.isEmpty()) {
    const std::string_view piece = input.piece();
    stream.add(reinterpret_cast<const unsigned char*>(piece.data()), piece.size());
    for (;;) {
      const auto frame = stream.next();
      require(frame || !frame.reason().empty(), "a failure has a reason");
      require(!isOver || !frame, "a failure is final");
      isOver = isOver || !frame;
      if (!frame || !*frame) {
        break;
      }
      require(!penframe::describe(**frame).empty(), "a frame can be described");
    }
  }
}

void run(Input& input) {
  if (input.below(4) == 0) {
    return readStream(input);
  }
  scripted::RecordedLog::the().setKeeping(false);
  qx::VelProxy proxy;
  Port port;
  constexpr int kMostSteps = 30;
  for (int step = 0; step < kMostSteps && !input.isEmpty(); ++step) {
    switch (input.below(5)) {
      case 0: {
        const std::string name = nameIn(input);
        const bool isOpen = input.flag();
        proxy.PortInit(name, isOpen, writeFrame);
        if (isPenPort(name)) {
          port.isKnown = true;
          port.isOpen = isOpen;
          port.lastRequest = 0;
        }
        break;
      }
      case 1: {
        const std::string name = nameIn(input);
        const bool isOpen = input.flag();
        proxy.PortStatus(name, isOpen);
        port.isOpen = isPenPort(name) ? isOpen : port.isOpen;
        break;
      }
      case 2:
        receive(input, proxy, &port);
        break;
      default:
        sendEvent(input, proxy, &port);
    }
  }
  forgetRecords();
}

const Registration registration("pen_packets", run);

}  // namespace
}  // namespace fuzz::pen_packets
