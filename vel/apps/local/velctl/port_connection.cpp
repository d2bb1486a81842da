#include "vel/apps/local/velctl/port_connection.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "vel/apps/local/velctl/failure.h"

namespace velctl {
namespace {

constexpr std::chrono::milliseconds kPauseBetweenAttempts{20};

// For poll(), which waits a little longer rather than a little less.
int millisecondsUntil(PortConnection::Clock::time_point end) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(end - PortConnection::Clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

bool isLater(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

std::string secondsOf(std::chrono::seconds time) {
  return std::to_string(time.count()) + " s";
}

}  // namespace

PortConnection::PortConnection(std::string path, std::chrono::seconds patience,
                               std::function<void(Message& message)> onMessage)
    : path_(std::move(path)),
      patience_(patience),
      onMessage_(std::move(onMessage)),
      socket_(penport::newSocket()) {
  int ends[2] = {-1, -1};
  if (::pipe(ends) != 0) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  stopReader_ = penport::Socket(ends[0]);
  stopWriter_ = penport::Socket(ends[1]);
  for (const int end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
}

void PortConnection::connect() {
  const Clock::time_point end = Clock::now() + patience_;
  int error = penport::connectTo(socket_, path_);
  while (isLater(error) && Clock::now() < end) {
    poll(0, Clock::now() + kPauseBetweenAttempts);
    error = penport::connectTo(socket_, path_);
  }
  if (error != 0) {
    throw Failure(kExitNoService,
                  path_ +
                      ": the port cannot be reached: " + std::generic_category().message(error) +
                      "; start what listens there, or velsim --pen-port to try without hardware");
  }
}

bool PortConnection::waitFor(const std::function<bool()>& condition, Clock::time_point end) {
  bool isTime = false;
  while (!condition()) {
    if (isTime) {
      return false;
    }
    // Looked at before the socket is, so that what has arrived in time counts.
    isTime = Clock::now() >= end;
    poll(POLLIN, end);
    receive();
  }
  return true;
}

void PortConnection::receive() {
  for (;;) {
    const ssize_t count =
        penport::receiveSome(socket_, &message_[received_], message_.size() - received_);
    if (count < 0 && isLater(errno)) {
      return;
    }
    if (count <= 0) {
      failClosed();
    }
    received_ += static_cast<std::size_t>(count);
    if (received_ == message_.size()) {
      received_ = 0;
      onMessage_(message_);
    }
  }
}

void PortConnection::add(const unsigned char* bytes, std::size_t length) {
  unsent_.insert(unsent_.end(), bytes, bytes + length);
}

void PortConnection::flush() {
  const Clock::time_point end = Clock::now() + patience_;
  while (!sendSome()) {
    if (Clock::now() >= end) {
      throw Failure(kExitNoAnswer, path_ + ": the port has taken nothing for " +
                                       secondsOf(patience_) + "; --wait waits longer");
    }
    poll(POLLOUT, end);
  }
}

bool PortConnection::flushNow() noexcept {
  try {
    return sendSome();
  } catch (const Failure&) {
    return false;
  }
}

bool PortConnection::sendSome() {
  while (!unsent_.empty()) {
    const ssize_t count = penport::sendSome(socket_, unsent_.data(), unsent_.size());
    if (count < 0 && isLater(errno)) {
      return false;
    }
    if (count < 0) {
      failClosed();
    }
    unsent_.erase(unsent_.begin(), unsent_.begin() + count);
  }
  return true;
}

void PortConnection::interrupt() const noexcept {
  // Never read, so that it ends all waits; the pipe has room for the one byte.
  [[maybe_unused]] const ssize_t written = ::write(stopWriter_.descriptor(), "", 1);
}

void PortConnection::poll(short events, Clock::time_point end) const {
  // Without events even a socket that nobody is connected to would end the wait.
  pollfd polled[] = {{stopReader_.descriptor(), POLLIN, 0},
                     {events == 0 ? -1 : socket_.descriptor(), events, 0}};
  ::poll(polled, std::size(polled), millisecondsUntil(end));
  if (polled[0].revents != 0) {
    throw Interrupted();
  }
}

void PortConnection::failClosed() const {
  throw Failure(kExitNoAnswer, path_ + ": the far end has closed the port");
}

}  // namespace velctl
