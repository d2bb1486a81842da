// The connection of the two sides of the window: the library, and the port that it writes to.

#ifndef EXAMPLES_PEN_CANVAS_PEN_LINK_H
#define EXAMPLES_PEN_CANVAS_PEN_LINK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "pen/pen_frame.h"
#include "vel/client/client.h"

namespace pencanvas {

// Has a proxy of its own that is never connected: pen input needs no bus.
class PenLink {
 public:
  using FrameCallback = std::function<void(const penframe::Frame& frame)>;

  // Opens the port. The callback receives each frame that is written to the port, inside send().
  explicit PenLink(FrameCallback onFrame);
  PenLink(const PenLink&) = delete;
  PenLink& operator=(const PenLink&) = delete;

  void send(QTabletEvent* event);
  // Delivers the message with a device number, as if it had arrived on the port. The library keeps
  // the first number that is not 0.
  void deliverDeviceNumber(std::uint8_t devId);
  void setPortOpen(bool open);

  // 0: the pen has none yet.
  std::uint8_t devId() const { return devId_; }
  // The reason why events are not sent; empty when they are.
  std::string obstacle() const;
  std::size_t events() const { return events_; }
  std::size_t frames() const { return frames_; }
  // The reason why the last unreadable frame could not be read; empty when every frame could.
  const std::string& badFrame() const { return badFrame_; }

 private:
  qx::VelProxy proxy_;
  vel::Client client_{proxy_};
  FrameCallback onFrame_;
  bool isOpen_ = true;
  std::uint8_t devId_ = 0;
  std::size_t events_ = 0;
  std::size_t frames_ = 0;
  std::string badFrame_;
};

}  // namespace pencanvas

#endif  // EXAMPLES_PEN_CANVAS_PEN_LINK_H
