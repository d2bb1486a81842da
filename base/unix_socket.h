// Unix stream sockets, for both ends: clients that connect, and listeners at a path.
//
// Sockets do not block, raise no SIGPIPE, and are closed in programs that are executed.
//
// THREADS  None of its own; one object belongs to one thread at a time.

#ifndef BASE_UNIX_SOCKET_H
#define BASE_UNIX_SOCKET_H

#include <cstddef>
#include <optional>
#include <string>

#include <sys/socket.h>
#include <sys/types.h>

#include "base/descriptor.h"

namespace base {

// The reason why no socket can have this path; empty when one can. (A check of a command line.)
std::string pathFault(const std::string& path);

using Socket = Descriptor;

// Throws std::system_error when the system has no descriptor left.
Socket newSocket();

// Connects to the listener at the path. Returns 0 or an errno value; EAGAIN: there is a listener,
// and its queue is full.
int connectTo(const Socket& socket, const std::string& path);

// The same, to any Unix address.
int connectTo(const Socket& socket, const sockaddr* address, socklen_t size);

// Who the other end was when it connected, or began to listen, as the system says.
struct Peer {
  std::optional<uid_t> user;
  std::optional<pid_t> process;  // not every system says it, nor of a process in another container
};
Peer peerOf(const Socket& socket);

// As send() and recv(), repeated when a signal interrupts them.
ssize_t sendSome(const Socket& socket, const unsigned char* bytes, std::size_t length);
ssize_t receiveSome(const Socket& socket, unsigned char* bytes, std::size_t length);

// Listens at a path for as long as it lives. Only this user can connect.
class Listener {
 public:
  // Replaces a socket without a listener, but no other file. Throws std::runtime_error when it
  // cannot listen at the path; the text begins with the path.
  explicit Listener(const std::string& path);
  // Removes the socket, unless another file has replaced it.
  ~Listener();

  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  // Becomes readable when a client waits.
  int descriptor() const { return socket_.number(); }
  // The next client. Without a descriptor when none waits, or none can be accepted: see errno.
  Socket accept() const;

 private:
  void bind();
  void removeStale() const;

  const std::string path_;
  Socket socket_;
  dev_t device_ = 0;  // these two identify the socket
  ino_t inode_ = 0;
};

}  // namespace base

#endif  // BASE_UNIX_SOCKET_H
