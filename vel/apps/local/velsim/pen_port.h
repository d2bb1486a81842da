// The far end of the pen port, at a Unix stream socket: gives the pen of each client a device
// number, and tells of the frames that come.

#ifndef VEL_APPS_LOCAL_VELSIM_PEN_PORT_H
#define VEL_APPS_LOCAL_VELSIM_PEN_PORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <thread>

#include "base/self_pipe.h"
#include "pen/pen_frame.h"
#include "pen/port_socket.h"

namespace velsim {

class PenPort {
 public:
  using Tell = std::function<void(const std::string& line)>;

  // tell is called on the thread of the port, with a line for each frame, for what is none, and
  // for clients that come and go. Clients can connect at once. Throws std::runtime_error when the
  // port cannot be opened at the path.
  PenPort(const std::string& path, Tell tell);
  // Waits for a call of tell that is running.
  ~PenPort();

  PenPort(const PenPort&) = delete;
  PenPort& operator=(const PenPort&) = delete;

 private:
  struct Client {
    penport::Socket socket;
    std::uint8_t devId;
    penframe::FrameStream stream;
    std::size_t frames = 0;
  };

  void run();
  void admit();
  std::uint8_t takeNumber();
  // False when there is nothing more to come.
  bool serve(Client& client);
  bool tellFrames(Client& client);
  void tellOf(const Client& client, const std::string& what);

  const penport::Listener listener_;
  const Tell tell_;
  const base::SelfPipe stop_;  // wakes the thread to end
  std::list<Client> clients_;
  std::uint8_t lastNumber_ = 0;
  bool isResting_ = false;  // the system cannot give us another client now
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_PEN_PORT_H
