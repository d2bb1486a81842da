#include "tests/dbus/odd_sockets.h"

#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "bus/dbus/transport/inbox.h"

namespace dbustest {
namespace {

sockaddr_un addressOf(const std::filesystem::path& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.string().copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

int newSocket() {
  const int made = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ::fcntl(made, F_SETFL, O_NONBLOCK);
  ::fcntl(made, F_SETFD, FD_CLOEXEC);
  return made;
}

// Whether the descriptor is readable before the end.
bool isReadable(int descriptor, const base::SelfPipe& end) {
  pollfd polled[] = {{descriptor, POLLIN, 0}, {end.readEnd(), POLLIN, 0}};
  ::poll(polled, 2, -1);
  return polled[1].revents == 0;
}

// False when the connection ends, or the end has come, before the line.
bool takeLine(int connection, const base::SelfPipe& end) {
  char character = '\0';
  while (character != '\n') {
    if (!isReadable(connection, end) || ::recv(connection, &character, 1, 0) != 1) {
      return false;
    }
  }
  return true;
}

}  // namespace

Descriptors::~Descriptors() {
  for (const int each : all_) {
    ::close(each);
  }
}

int Descriptors::add(int descriptor) {
  all_.push_back(descriptor);
  return descriptor;
}

ListeningSocket::ListeningSocket(const std::filesystem::path& path, int backlog)
    : path_(path), descriptor_(open_.add(newSocket())) {
  std::filesystem::remove(path_);
  const sockaddr_un address = addressOf(path_);
  if (::bind(descriptor_, generic(address), sizeof address) != 0 ||
      ::listen(descriptor_, backlog) != 0) {
    throw std::runtime_error("no socket listens at " + path_.string());
  }
}

ListeningSocket::~ListeningSocket() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

bool ListeningSocket::connectTo(int descriptor) const {
  const sockaddr_un address = addressOf(path_);
  return ::connect(descriptor, generic(address), sizeof address) == 0;
}

FullSocket::FullSocket(const std::filesystem::path& path) : listener_(path, 0) {
  while (listener_.connectTo(waiting_.add(newSocket()))) {
  }
}

AnsweringSocket::AnsweringSocket(const std::filesystem::path& path,
                                 std::vector<std::string> answers, Afterwards afterwards)
    : listener_(path, 100), answers_(std::move(answers)), afterwards_(afterwards) {
  thread_ = std::thread([this] { run(); });
}

AnsweringSocket::~AnsweringSocket() {
  end_.wake();
  thread_.join();
}

void AnsweringSocket::run() {
  Descriptors silent;
  while (isReadable(listener_.descriptor(), end_)) {
    const int connection = ::accept(listener_.descriptor(), nullptr, nullptr);
    ++accepted_;
    for (const std::string& answer : answers_) {
      if (!takeLine(connection, end_)) {
        break;
      }
      ::send(connection, answer.data(), answer.size(), 0);
    }
    if (afterwards_ == Afterwards::kClose) {
      takeLine(connection, end_);
      ::close(connection);
    } else {
      silent.add(connection);
    }
  }
}

bool sendAll(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void answerAll(int connection,
               const std::function<std::string(const qxbus::wire::Header& message)>& answerTo) {
  qxbus::Inbox inbox;
  for (;;) {
    const qxbus::Inbox::Space space = inbox.space();
    const ssize_t count = ::recv(connection, space.bytes, space.size, 0);
    if (count <= 0) {
      return;
    }
    inbox.filled(static_cast<std::size_t>(count));
    std::vector<qxbus::Received> messages;
    if (inbox.take(&messages) != qxbus::wire::Fault::kNone) {
      return;
    }
    for (const qxbus::Received& message : messages) {
      if (!sendAll(connection, answerTo(message.header()))) {
        return;
      }
    }
  }
}

PlayedService::PlayedService(const std::filesystem::path& path, Part part)
    : listener_(path, 100), part_(std::move(part)) {
  thread_ = std::thread([this] { run(); });
}

PlayedService::~PlayedService() {
  end_.wake();
  ::shutdown(connection_, SHUT_RDWR);
  thread_.join();
}

void PlayedService::run() {
  while (isReadable(listener_.descriptor(), end_)) {
    Descriptors accepted;
    connection_ = accepted.add(::accept(listener_.descriptor(), nullptr, nullptr));
    if (takeLine(connection_, end_) &&
        sendAll(connection_, "OK 0123456789abcdef0123456789abcdef\r\n") &&
        takeLine(connection_, end_) && isReadable(connection_, end_)) {
      part_(connection_);
    }
  }
}

}  // namespace dbustest
