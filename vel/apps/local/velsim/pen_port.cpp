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
#include "base/would_block.h"

namespace velsim {
namespace {

// One for each device number.
constexpr std::size_t kMostClients = std::numeric_limits<std::uint8_t>::max();
constexpr int kAcceptBackoffMs = 500;
constexpr std::size_t kChunk = 4096;

}  // namespace

PenPort::PenPort(const std::string& path, Report report)
    : listener_(path), report_(std::move(report)) {
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
    const bool isFull = isBackingOff_ || clients_.size() == kMostClients;
    std::vector<pollfd> polled = {
        {stop_.readEnd(), POLLIN, 0},
        // poll() skips descriptors below 0: further clients wait in the socket's queue.
        {isFull ? -1 : listener_.descriptor(), POLLIN, 0},
    };
    const std::size_t firstClient = polled.size();
    for (const Client& client : clients_) {
      polled.push_back({client.socket.number(), POLLIN, 0});
    }
    const int ready = ::poll(polled.data(), static_cast<nfds_t>(polled.size()),
                             isBackingOff_ ? kAcceptBackoffMs : -1);
    isBackingOff_ = false;
    if (ready < 0) {
      continue;
    }
    if (polled[0].revents != 0) {
      return;
    }
    auto client = clients_.begin();
    for (std::size_t i = firstClient; i < polled.size(); ++i) {
      const bool isDone = polled[i].revents != 0 && !serve(*client);
      client = isDone ? clients_.erase(client) : std::next(client);
    }
    if (polled[1].revents != 0) {
      acceptClient();
    }
  }
}

void PenPort::acceptClient() {
  base::Socket socket = listener_.accept();
  if (!socket) {
    const int error = errno;
    if (!base::wouldBlock(error) && error != ECONNABORTED) {
      report_("pen port: cannot accept a client now: " + std::generic_category().message(error));
      isBackingOff_ = true;
    }
    return;
  }
  Client& client = clients_.emplace_back();
  client.socket = std::move(socket);
  client.devId = takeNumber();
  reportClient(client, "connected");
  const auto message = penframe::deviceNumberMessage(client.devId);
  // A new socket always has room for these bytes. The end of a client that has disconnected already
  // is found when its socket is read.
  base::sendSome(client.socket, message.data(), message.size());
}

// The number that has been free for the longest time, so that a new pen is not mistaken for the
// last one with its number. kMostClients leaves one free.
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
  const ssize_t count = base::receiveSome(client.socket, bytes.data(), bytes.size());
  if (count > 0) {
    client.stream.add(bytes.data(), static_cast<std::size_t>(count));
    return reportFrames(client);
  }
  if (count < 0 && base::wouldBlock(errno)) {
    return true;
  }
  reportClient(client, "disconnected after " + base::counted(client.frames, "frame") +
                           (client.stream.isInFrame() ? ", in the middle of a frame" : ""));
  return false;
}

bool PenPort::reportFrames(Client& client) {
  auto next = client.stream.next();
  for (; next && *next; next = client.stream.next()) {
    ++client.frames;
    report_(penframe::describe(**next));
  }
  if (!next) {
    reportClient(client, "closed after " + base::counted(client.frames, "frame") +
                             ": no pen frame: " + next.reason());
  }
  return static_cast<bool>(next);
}

void PenPort::reportClient(const Client& client, const std::string& event) {
  report_("pen " + std::to_string(client.devId) + ": " + event);
}

}  // namespace velsim
