#include "base/unix_socket.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace base {
namespace {

// Against SIGPIPE: each system has this flag or SO_NOSIGPIPE.
#ifdef MSG_NOSIGNAL
constexpr int kNoSignal = MSG_NOSIGNAL;
#else
constexpr int kNoSignal = 0;
#endif

constexpr std::size_t kLongestPath = sizeof(sockaddr_un::sun_path) - 1;

std::string messageOf(int error) {
  return std::generic_category().message(error);
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

void prepare(int descriptor) {
  ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
#ifdef SO_NOSIGPIPE
  const int on = 1;
  ::setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
}

// Closed on exec from the beginning, where the system can do that.
int acceptOnce(int listener) {
#ifdef SOCK_CLOEXEC
  return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
#else
  return ::accept(listener, nullptr, nullptr);
#endif
}

template <typename Call>
auto retriedWhenInterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

}  // namespace

std::string pathFault(const std::string& path) {
  if (path.empty()) {
    return "the path of the socket is empty";
  }
  if (path.size() > kLongestPath) {
    return path + ": the path of a socket has at most " + std::to_string(kLongestPath) +
           " bytes, not " + std::to_string(path.size());
  }
  return "";
}

Socket newSocket() {
#ifdef SOCK_CLOEXEC
  constexpr int kType = SOCK_STREAM | SOCK_CLOEXEC;
#else
  constexpr int kType = SOCK_STREAM;
#endif
  Socket socket(::socket(AF_UNIX, kType, 0));
  if (!socket) {
    throw std::system_error(errno, std::generic_category(), "no socket");
  }
  prepare(socket.number());
  return socket;
}

int connectTo(const Socket& socket, const std::string& path) {
  if (!pathFault(path).empty()) {
    return ENAMETOOLONG;
  }
  const sockaddr_un address = addressOf(path);
  return connectTo(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int connectTo(const Socket& socket, const sockaddr* address, socklen_t size) {
  const int result =
      retriedWhenInterrupted([&] { return ::connect(socket.number(), address, size); });
  return result == 0 ? 0 : errno;
}

Peer peerOf(const Socket& socket) {
  Peer peer;
#ifdef SO_PEERCRED
  struct ucred credentials = {};
  socklen_t size = sizeof credentials;
  if (::getsockopt(socket.number(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
    return peer;
  }
  peer.user = credentials.uid;
  pid_t process = credentials.pid;
#else
  uid_t user = 0;
  gid_t group = 0;
  if (::getpeereid(socket.number(), &user, &group) != 0) {
    return peer;
  }
  peer.user = user;
  pid_t process = 0;
#ifdef LOCAL_PEERPID
  socklen_t size = sizeof process;
  if (::getsockopt(socket.number(), SOL_LOCAL, LOCAL_PEERPID, &process, &size) != 0) {
    process = 0;
  }
#endif
#endif
  if (process > 0) {
    peer.process = process;
  }
  return peer;
}

ssize_t sendSome(const Socket& socket, const unsigned char* bytes, std::size_t length) {
  return retriedWhenInterrupted([&] { return ::send(socket.number(), bytes, length, kNoSignal); });
}

ssize_t receiveSome(const Socket& socket, unsigned char* bytes, std::size_t length) {
  return retriedWhenInterrupted([&] { return ::recv(socket.number(), bytes, length, 0); });
}

Listener::Listener(const std::string& path) : path_(path), socket_(newSocket()) {
  const std::string fault = pathFault(path);
  if (!fault.empty()) {
    throw std::runtime_error(fault);
  }
  bind();
  struct stat file = {};
  // Before clients can connect: every user who may open the file may send.
  const bool isListening = ::lstat(path_.c_str(), &file) == 0 &&
                           ::chmod(path_.c_str(), S_IRUSR | S_IWUSR) == 0 &&
                           ::listen(socket_.number(), SOMAXCONN) == 0;
  if (!isListening) {
    const int error = errno;
    ::unlink(path_.c_str());
    throw std::runtime_error(path_ + ": " + messageOf(error));
  }
  device_ = file.st_dev;
  inode_ = file.st_ino;
}

Listener::~Listener() {
  struct stat file = {};
  if (::lstat(path_.c_str(), &file) == 0 && file.st_dev == device_ && file.st_ino == inode_) {
    ::unlink(path_.c_str());
  }
}

void Listener::bind() {
  const sockaddr_un address = addressOf(path_);
  const auto bindOnce = [&] {
    return ::bind(socket_.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
                   0
               ? 0
               : errno;
  };
  int error = bindOnce();
  if (error == EADDRINUSE) {
    removeStale();
    error = bindOnce();
  }
  if (error != 0) {
    throw std::runtime_error(path_ + ": " + messageOf(error));
  }
}

void Listener::removeStale() const {
  struct stat file = {};
  if (::lstat(path_.c_str(), &file) != 0) {
    return;
  }
  if (!S_ISSOCK(file.st_mode)) {
    throw std::runtime_error(
        path_ + ": the file there is not a socket; choose another path, or remove the file");
  }
  const int error = connectTo(newSocket(), path_);
  if (error == 0 || error == EAGAIN) {
    throw std::runtime_error(path_ + ": another program listens there; choose another path");
  }
  // After any other error, such as missing permissions, there may still be a listener.
  if (error != ECONNREFUSED) {
    throw std::runtime_error(path_ + ": there is a socket already (" + messageOf(error) +
                             "); choose another path");
  }
  ::unlink(path_.c_str());
}

Socket Listener::accept() const {
  Socket client(retriedWhenInterrupted([&] { return acceptOnce(socket_.number()); }));
  if (client) {
    prepare(client.number());
  }
  return client;
}

}  // namespace base
