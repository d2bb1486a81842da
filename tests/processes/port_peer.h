// One end of a port in the hands of a test. It waits for what must come, with much patience.

#ifndef TESTS_PROCESSES_PORT_PEER_H
#define TESTS_PROCESSES_PORT_PEER_H

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <string>
#include <utility>

#include <poll.h>

#include "base/unix_socket.h"
#include "tests/processes/process.h"

namespace processes {

class PortPeer {
 public:
  // The client's end.
  static PortPeer connectedTo(const std::string& path) {
    PortPeer peer(base::newSocket());
    peer.isThere_ = comesTrue([&] { return base::connectTo(peer.socket_, path) == 0; });
    return peer;
  }
  // The far end.
  //
  // isGivenUp   whether to wait no longer
  static PortPeer acceptedFrom(
      const base::Listener& listener,
      const std::function<bool()>& isGivenUp = [] { return false; }) {
    base::Socket socket;
    comesTrue([&] {
      // First: what connects just before it is given up is accepted.
      const bool isLast = isGivenUp();
      socket = listener.accept();
      return socket || isLast;
    });
    PortPeer peer(std::move(socket));
    peer.isThere_ = static_cast<bool>(peer.socket_);
    return peer;
  }

  // Whether the other end has connected.
  explicit operator bool() const { return isThere_; }

  bool write(const std::string& bytes) {
    const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t written = 0;
    while (written < bytes.size()) {
      const ssize_t count = base::sendSome(socket_, from + written, bytes.size() - written);
      if (count < 0 && (errno != EAGAIN || !isReady(POLLOUT))) {
        return false;
      }
      written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
  }

  // So many bytes; fewer when the port is closed before.
  std::string read(std::size_t count) {
    std::string bytes;
    while (bytes.size() < count && isReady(POLLIN)) {
      std::array<unsigned char, 4096> portion = {};
      const ssize_t got = base::receiveSome(socket_, portion.data(),
                                            std::min(count - bytes.size(), portion.size()));
      if (got <= 0) {
        break;
      }
      bytes.append(reinterpret_cast<const char*>(portion.data()), static_cast<std::size_t>(got));
    }
    return bytes;
  }
  // Everything until the port is closed.
  std::string readAll() { return read(std::string::npos); }

  void close() { socket_ = base::Socket(); }

 private:
  explicit PortPeer(base::Socket socket) : socket_(std::move(socket)) {}

  bool isReady(short event) {
    pollfd polled = {socket_.number(), event, 0};
    return ::poll(&polled, 1, kPatienceSeconds * 1000) > 0;
  }

  base::Socket socket_;
  bool isThere_ = false;
};

}  // namespace processes

#endif  // TESTS_PROCESSES_PORT_PEER_H
