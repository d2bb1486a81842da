#include "bus/dbus/transport/acceptor.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include "base/text.h"
#include "base/would_block.h"
#include "bus/dbus/wire/authentication.h"

namespace qxbus {
namespace {

// In one turn of the loop.
constexpr int kMostAccepts = 16;

// As many digits as a D-Bus server's guid has.
std::string newGuid() {
  constexpr int kBytes = 16;
  std::random_device random;
  std::string guid;
  for (int i = 0; i < kBytes; ++i) {
    base::appendHex(&guid, static_cast<unsigned char>(random()));
  }
  return guid;
}

std::optional<std::uint32_t> admitted(const base::Socket& socket) {
  const std::optional<uid_t> user = base::peerOf(socket).user;
  const bool isAdmitted = user && (*user == ::geteuid() || *user == 0);
  return isAdmitted ? std::optional<std::uint32_t>(*user) : std::nullopt;
}

}  // namespace

class Acceptor::Core : public Loop::Source, public std::enable_shared_from_this<Core> {
 public:
  Core(std::shared_ptr<Loop> loop, const std::string& path, OnClient onClient,
       Clock::duration handshakeTime)
      : loop_(std::move(loop)),
        handshakeTime_(handshakeTime),
        listener_(std::in_place, path),
        descriptor_(listener_->descriptor()),
        onClient_(std::move(onClient)) {}

  void stop() {
    descriptor_ = -1;
    loop_->wake();
    const platform::MutexLock lock(mutex_);
    listener_.reset();
    onClient_ = nullptr;
  }

  int descriptor() const override { return descriptor_; }
  short events() const override {
    return restEnd_ == Clock::time_point::max() ? short{POLLIN} : short{0};
  }
  void onReady(short events) override;
  Clock::time_point due() const override { return restEnd_; }
  void onTime() override { restEnd_ = Clock::time_point::max(); }

  void admit(base::Socket socket, Inbox inbox) {
    OnClient onClient;
    {
      const platform::MutexLock lock(mutex_);
      onClient = onClient_;
    }
    if (onClient) {
      onClient(std::move(socket), std::move(inbox));
    }
  }

 private:
  // For one more.
  void makeRoom();

  const std::shared_ptr<Loop> loop_;
  const Clock::duration handshakeTime_;
  const std::string guid_ = newGuid();
  platform::Mutex mutex_;
  std::optional<base::Listener> listener_ QX_GUARDED_BY(mutex_);
  std::atomic<int> descriptor_;
  OnClient onClient_ QX_GUARDED_BY(mutex_);
  // Used by the thread that reads. Some may have ended.
  std::vector<std::weak_ptr<Handshake>> handshakes_;
  // A client that cannot be accepted stays in the queue, and a poll would report it for ever.
  Clock::time_point restEnd_ = Clock::time_point::max();
};

// A client that has not authenticated yet.
class Acceptor::Handshake : public Loop::Source {
 public:
  Handshake(std::shared_ptr<Core> acceptor, base::Socket socket, const std::string& guid,
            Clock::time_point end)
      : acceptor_(std::move(acceptor)),
        socket_(std::move(socket)),
        descriptor_(socket_.number()),
        server_(admitted(socket_), guid),
        end_(end) {}

  int descriptor() const override { return descriptor_; }
  short events() const override { return POLLIN; }
  Clock::time_point due() const override { return end_; }
  void onTime() override { close(); }
  void abandon() override { close(); }

  void onReady(short /*events*/) override {
    const Inbox::Space space = inbox_.space();
    const ssize_t count =
        isOver()
            ? 0
            : base::receiveSome(socket_, reinterpret_cast<unsigned char*>(space.bytes), space.size);
    if (count < 0 && base::wouldBlock(errno)) {
      return;
    }
    if (count <= 0) {
      close();
      return;
    }
    inbox_.filled(static_cast<std::size_t>(count));
    inbox_.drop(server_.receive(inbox_.rest()));
    const std::string output = server_.takeOutput();
    // A line or two always fits into the buffer of a socket that is read.
    const ssize_t sent = base::sendSome(
        socket_, reinterpret_cast<const unsigned char*>(output.data()), output.size());
    if (sent != static_cast<ssize_t>(output.size()) ||
        server_.state() == wire::AuthenticationState::kFailed) {
      close();
    } else if (server_.state() == wire::AuthenticationState::kDone) {
      descriptor_ = -1;
      acceptor_->admit(std::move(socket_), std::move(inbox_));
    }
  }

  bool isOver() const { return descriptor_ < 0; }
  // It has shown who it is, and has still to begin.
  bool isAdmitted() const { return server_.isAdmitted(); }
  void close() {
    descriptor_ = -1;
    socket_ = base::Socket();
  }

 private:
  const std::shared_ptr<Core> acceptor_;
  base::Socket socket_;
  std::atomic<int> descriptor_;
  Inbox inbox_;
  wire::ServerAuthentication server_;
  const Clock::time_point end_;
};

void Acceptor::Core::onReady(short events) {
  if ((events & POLLNVAL) != 0) {
    // The program has closed it.
    descriptor_ = -1;
    return;
  }
  // Those that wait come in the next turn: a client that connects all the time must not keep the
  // thread from those who are at it.
  for (int accepts = 0; accepts < kMostAccepts; ++accepts) {
    base::Socket client;
    int error = 0;
    {
      const platform::MutexLock lock(mutex_);
      if (!listener_) {
        return;
      }
      client = listener_->accept();
      error = errno;
    }
    if (!client) {
      // The client may have gone again.
      if (!base::wouldBlock(error) && error != ECONNABORTED) {
        restEnd_ = Clock::now() + kRest;
      }
      return;
    }
    makeRoom();
    auto handshake = std::make_shared<Handshake>(shared_from_this(), std::move(client), guid_,
                                                 Clock::now() + handshakeTime_);
    handshakes_.push_back(handshake);
    loop_->add(std::move(handshake));
  }
}

void Acceptor::Core::makeRoom() {
  // Holds none of them longer than this: each holds this object. Those that are over have left the
  // loop, which alone kept them.
  std::vector<std::shared_ptr<Handshake>> going;
  for (const std::weak_ptr<Handshake>& weak : handshakes_) {
    if (std::shared_ptr<Handshake> handshake = weak.lock()) {
      going.push_back(std::move(handshake));
    }
  }
  if (going.size() >= kMostHandshakes) {
    const auto silent = std::find_if(
        going.begin(), going.end(), [](const auto& handshake) { return !handshake->isAdmitted(); });
    const auto closed = silent != going.end() ? silent : going.begin();
    (*closed)->close();
    going.erase(closed);
  }
  handshakes_.assign(going.begin(), going.end());
}

base::Result<std::unique_ptr<Acceptor>> Acceptor::listen(std::shared_ptr<Loop> loop,
                                                         const std::string& path, OnClient onClient,
                                                         Clock::duration handshakeTime) {
  try {
    auto core = std::make_shared<Core>(loop, path, std::move(onClient), handshakeTime);
    loop->add(core);
    return std::unique_ptr<Acceptor>(new Acceptor(std::move(core)));
  } catch (const std::exception& error) {
    return base::Failed{error.what()};
  }
}

Acceptor::~Acceptor() {
  core_->stop();
}

}  // namespace qxbus
