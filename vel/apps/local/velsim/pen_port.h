// The far end of the pen port, on a Unix stream socket: gives the pen of each client a device
// number, and reports the frames that it sends.

#ifndef VEL_APPS_LOCAL_VELSIM_PEN_PORT_H
#define VEL_APPS_LOCAL_VELSIM_PEN_PORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <thread>

#include "base/self_pipe.h"
#include "base/unix_socket.h"
#include "pen/pen_frame.h"

namespace velsim {

class PenPort {
 public:
  using Report = std::function<void(const std::string& line)>;

  // Calls report on the port's thread, with a line for each frame, for bytes that are no frame, and
  // for clients that connect and disconnect. Clients can connect at once. Throws
  // std::runtime_error when the port cannot be opened at the path.
  PenPort(const std::string& path, Report report);
  // Waits for a running call of report.
  ~PenPort();

  PenPort(const PenPort&) = delete;
  PenPort& operator=(const PenPort&) = delete;

 private:
  struct Client {
    base::Socket socket;
    std::uint8_t devId;
    penframe::FrameStream stream;
    std::size_t frames = 0;
  };

  void run();
  void acceptClient();
  std::uint8_t takeNumber();
  // False when the client has disconnected, or must be.
  bool serve(Client& client);
  bool reportFrames(Client& client);
  void reportClient(const Client& client, const std::string& event);

  const base::Listener listener_;
  const Report report_;
  const base::SelfPipe stop_;  // wakes the thread to end
  std::list<Client> clients_;
  std::uint8_t lastNumber_ = 0;
  bool isBackingOff_ = false;  // after a client could not be accepted
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_PEN_PORT_H
