// What stands between the two sides of the window: the library, and the port that it writes to.

#ifndef EXAMPLES_PENPAD_PEN_LINK_H
#define EXAMPLES_PENPAD_PEN_LINK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "pen/pen_frame.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace penpad {

// A proxy of its own, which is never connected: pen input needs no bus.
class PenLink {
 public:
  using FrameCallback = std::function<void(const penframe::Frame& frame)>;

  // Opens the port. The callback receives every frame that is written to it, inside send().
  explicit PenLink(FrameCallback onFrame);
  PenLink(const PenLink&) = delete;
  PenLink& operator=(const PenLink&) = delete;

  void send(QTabletEvent* event);
  // Delivers the message with a device number, as if it had come in on the port. The library keeps
  // the first one that is not 0.
  void deliverDeviceNumber(std::uint8_t devId);
  void setPortOpen(bool open);

  // 0: the library has not been given one.
  std::uint8_t devId() const { return devId_; }
  // Why an event would not be sent; empty when it would.
  std::string obstacle() const;
  std::size_t events() const { return events_; }
  std::size_t frames() const { return frames_; }
  // What was wrong with the last frame that could not be read; empty when there was none.
  const std::string& badFrame() const { return badFrame_; }

 private:
  qx::VelProxy proxy_;
  FrameCallback onFrame_;
  bool isOpen_ = true;
  std::uint8_t devId_ = 0;
  std::size_t events_ = 0;
  std::size_t frames_ = 0;
  std::string badFrame_;
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_PEN_LINK_H
