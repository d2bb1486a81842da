#include "vel/apps/local/velsim/pen_port.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include "base/result.h"
#include "base/text.h"
#include "base/thread.h"

namespace velsim {
namespace {

// As many as there are device numbers.
constexpr std::size_t kMostClients = std::numeric_limits<std::uint8_t>::max();
constexpr int kRestMs = 500;
constexpr std::size_t kChunk = 4096;

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

PenPort::PenPort(const std::string& path, Tell tell) : listener_(path), tell_(std::move(tell)) {
  if (!stop_.isOpen()) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  base::Result<std::thread> thread = base::startThread("velsim pen port", [this] { run(); });
  if (!thread) {
    throw std::runtime_error(thread.reason());
  }
  thread_ = std::move(*thread);
}

PenPort::~PenPort() {
  stop_.wake();
  thread_.join();
}

void PenPort::run() {
  for (;;) {
    const bool isFull = isResting_ || clients_.size() == kMostClients;
    std::vector<pollfd> polled = {
        {stop_.readEnd(), POLLIN, 0},
        // Nothing is awaited from a descriptor below 0: clients that come wait in line.
        {isFull ? -1 : listener_.descriptor(), POLLIN, 0},
    };
    const std::size_t firstClient = polled.size();
    for (const Client& client : clients_) {
      polled.push_back({client.socket.descriptor(), POLLIN, 0});
    }
    const int ready =
        ::poll(polled.data(), static_cast<nfds_t>(polled.size()), isResting_ ? kRestMs : -1);
    isResting_ = false;
    if (ready < 0) {
      continue;
    }
    if (polled[0].revents != 0) {
      return;
    }
    auto client = clients_.begin();
    for (std::size_t i = firstClient; i < polled.size(); ++i) {
      const bool isOver = polled[i].revents != 0 && !serve(*client);
      client = isOver ? clients_.erase(client) : std::next(client);
    }
    if (polled[1].revents != 0) {
      admit();
    }
  }
}

void PenPort::admit() {
  penport::Socket socket = listener_.accept();
  if (!socket) {
    const int error = errno;
    if (!wouldBlock(error) && error != ECONNABORTED) {
      tell_("pen port: a client cannot be taken yet: " + std::generic_category().message(error));
      isResting_ = true;
    }
    return;
  }
  Client& client = clients_.emplace_back();
  client.socket = std::move(socket);
  client.devId = takeNumber();
  tellOf(client, "connected");
  const auto message = penframe::deviceNumberMessage(client.devId);
  // The first bytes on a socket always have room in it. A client that has gone already is noticed
  // like any other.
  penport::sendSome(client.socket, message.data(), message.size());
}

// The number that has been free for the longest time, so that nobody mistakes a new pen for the one
// that had it. There is one.
std::uint8_t PenPort::takeNumber() {
  const auto isTaken = [this](std::uint8_t number) {
    return std::any_of(clients_.begin(), clients_.end(),
                       [number](const Client& client) { return client.devId == number; });
  };
  do {
    ++lastNumber_;
  } while (lastNumber_ == 0 || isTaken(lastNumber_));
  return lastNumber_;
}

bool PenPort::serve(Client& client) {
  std::array<unsigned char, kChunk> bytes = {};
  const ssize_t count = penport::receiveSome(client.socket, bytes.data(), bytes.size());
  if (count > 0) {
    client.stream.add(bytes.data(), static_cast<std::size_t>(count));
    return tellFrames(client);
  }
  if (count < 0 && wouldBlock(errno)) {
    return true;
  }
  tellOf(client, "gone after " + base::counted(client.frames, "frame") +
                     (client.stream.isInFrame() ? ", in the middle of another" : ""));
  return false;
}

bool PenPort::tellFrames(Client& client) {
  std::string error;
  while (const std::optional<penframe::Frame> frame = client.stream.next(&error)) {
    ++client.frames;
    tell_(penframe::describe(*frame));
  }
  if (!error.empty()) {
    tellOf(client, "closed after " + base::counted(client.frames, "frame") +
                       ", for this is none: " + error);
  }
  return error.empty();
}

void PenPort::tellOf(const Client& client, const std::string& what) {
  tell_("pen " + std::to_string(client.devId) + ": " + what);
}

}  // namespace velsim
