#include "examples/pen_canvas/pen_link.h"

#include <utility>

namespace pencanvas {
namespace {

// A port is the pen's when its name contains "space.port.2".
constexpr char kPortName[] = "canvas.space.port.2";

}  // namespace

PenLink::PenLink(FrameCallback onFrame) : onFrame_(std::move(onFrame)) {
  const auto write = [this](const std::string&, unsigned int length, unsigned char* bytes) {
    ++frames_;
    const base::Result<penframe::Frame> frame = penframe::decodeFrame(bytes, length);
    if (frame) {
      onFrame_(*frame);
    } else {
      badFrame_ = frame.reason();
    }
    return length;
  };
  client_.openPort(kPortName, isOpen_, write);
}

void PenLink::send(QTabletEvent* event) {
  ++events_;
  static_cast<void>(client_.sendPen(*event));
}

void PenLink::deliverDeviceNumber(std::uint8_t devId) {
  const auto message = penframe::deviceNumberMessage(devId);
  static_cast<void>(client_.receivePortData(kPortName, {message.begin(), message.end()}));
  if (devId_ == 0) {
    devId_ = devId;
  }
}

void PenLink::setPortOpen(bool open) {
  isOpen_ = open;
  client_.setPortOpen(kPortName, open);
}

std::string PenLink::obstacle() const {
  if (devId_ == 0) {
    return "the far end has not given the pen a device number";
  }
  return isOpen_ ? "" : "the port is closed";
}

}  // namespace pencanvas
