#include "examples/penpad/pen_link.h"

#include <array>
#include <utility>

namespace penpad {
namespace {

// A port is the pen's when its name contains "space.port.2".
constexpr char kPortName[] = "penpad.space.port.2";
constexpr int kTabletInput = 0;
constexpr int kOwnPosition = -1;

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
  proxy_.PortInit(kPortName, isOpen_, write);
}

void PenLink::send(QTabletEvent* event) {
  ++events_;
  proxy_.SendPenData("", event, kTabletInput, kOwnPosition, kOwnPosition);
}

void PenLink::deliverDeviceNumber(std::uint8_t devId) {
  std::array<unsigned char, 8> message = penframe::deviceNumberMessage(devId);
  proxy_.PortData(kPortName, message.data(), static_cast<unsigned int>(message.size()));
  if (devId_ == 0) {
    devId_ = devId;
  }
}

void PenLink::setPortOpen(bool open) {
  isOpen_ = open;
  proxy_.PortStatus(kPortName, open);
}

std::string PenLink::obstacle() const {
  if (devId_ == 0) {
    return "the far end has not given the pen a device number";
  }
  return isOpen_ ? "" : "the port is closed";
}

}  // namespace penpad
