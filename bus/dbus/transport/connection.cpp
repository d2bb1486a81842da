#include "bus/dbus/transport/connection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <new>
#include <unordered_map>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "base/memory.h"
#include "base/would_block.h"
#include "bus/dbus/transport/dial.h"

namespace qxbus {
namespace {

constexpr char kConnectionGone[] = "the connection to the bus is gone";
constexpr char kFaulty[] = "the reply is malformed: the connection is given up";
// Short enough to take no memory.
constexpr char kNoMemory[] = "no memory";
constexpr char kTooLarge[] = "the message is larger than D-Bus allows";
// A connection that is closing ends when no byte of what was sent has gone out for this long.
constexpr std::chrono::seconds kCloseIdleTime{2};
// An end that takes a byte now and then would keep the rest in memory for as long as it likes.
constexpr std::chrono::seconds kCloseTime{10};
// What came before a connection could not send any more is read for this long.
constexpr std::chrono::seconds kReadTime{1};
// The other end may leave this much unread. More, and it is taken for dead.
constexpr std::size_t kMostUnsent = std::size_t{256} * 1024 * 1024;
// Reads in one turn: a peer that never stops sending must not keep a caller past its deadline, or
// other connections waiting.
constexpr int kMostReads = 16;

bool isReply(const wire::Header& header) {
  return header.type == wire::MessageType::kMethodReturn ||
         header.type == wire::MessageType::kError;
}

const unsigned char* bytesOf(const char* text) {
  return reinterpret_cast<const unsigned char*>(text);
}

}  // namespace

Clock::time_point deadlineAfter(int milliseconds) {
  return milliseconds < 0 ? Clock::time_point::max()
                          : Clock::now() + std::chrono::milliseconds(milliseconds);
}

// What the loop and the callers share. It lives until the loop has seen the end of the socket.
class Connection::Core : public Loop::Source {
 public:
  // isLast: nothing else is in the loop, which ends with the connection.
  Core(std::shared_ptr<Loop> loop, bool isLast, base::Socket socket, Inbox inbox, Handlers handlers)
      : loop_(std::move(loop)),
        isLast_(isLast),
        socket_(std::move(socket)),
        descriptor_(socket_.number()),
        hasBacklog_(!inbox.rest().empty()),
        inbox_(std::move(inbox)),
        handlers_(std::move(handlers)) {}

  // A connection that cannot send is as good as gone, before the thread that reads finds its end.
  bool isOpen() const { return isOpen_ && !isBroken_; }

  std::uint32_t newSerial() {
    const std::uint32_t serial = ++lastSerial_;
    return serial != 0 ? serial : ++lastSerial_;
  }

  // Bytes that go out with the next message, or with the loop's next turn.
  void hold(std::string_view bytes) {
    const platform::MutexLock lock(outMutex_);
    unsent_ += bytes;
    hasUnsent_ = !unsent_.empty();
  }

  bool send(std::string_view bytes);
  bool drain(Clock::time_point deadline);
  void requestClose();

  // A call, before it is sent. Its reply finds it from then on.
  struct Pending {
    Clock::time_point deadline;
    std::string destination;
    // One of the two: a thread that waits, or a function to run.
    Loop::Wait* wait = nullptr;
    Outcome* outcome = nullptr;
    std::function<void(Outcome)> done;
  };
  // False when the connection is gone.
  bool expect(std::uint32_t serial, Pending* call);
  // The call, unless its reply has been found.
  std::optional<Pending> forget(std::uint32_t serial);

  // --- Loop::Source --------------------------------------------------------------------------

  int descriptor() const override { return descriptor_; }
  short events() const override {
    return static_cast<short>(hasUnsent_ ? POLLIN | POLLOUT : POLLIN);
  }
  void onReady(short events) override;
  Clock::time_point due() const override {
    if (hasBacklog_ || isTaken_) {
      return Clock::time_point::min();
    }
    const platform::MutexLock lock(callMutex_);
    return std::min(nextDeadline_, closeDeadline_);
  }
  void onTime() override;
  void abandon() override { end(); }

 private:
  // Calls that are over. They are finished in any case, also without memory for what else is read.
  class Finished {
   public:
    explicit Finished(Loop& loop) : loop_(loop) {}
    ~Finished() { finishAll(); }
    Finished(const Finished&) = delete;
    Finished& operator=(const Finished&) = delete;

    void reserve(std::size_t count) { calls_.reserve(count); }
    // There must be room for it. Returns the call, with an outcome to be replaced.
    std::pair<Pending, Outcome>& add(Pending call) {
      return calls_.emplace_back(std::move(call),
                                 Outcome{Outcome::Kind::kDisconnected, {}, kNoMemory});
    }
    void finishAll() {
      for (auto& [call, outcome] : calls_) {
        finish(loop_, &call, std::move(outcome));
      }
      calls_.clear();
    }

   private:
    Loop& loop_;
    std::vector<std::pair<Pending, Outcome>> calls_;
  };

  static void finish(Loop& loop, Pending* call, Outcome outcome) {
    if (call->wait) {
      *call->outcome = std::move(outcome);
      loop.finish(call->wait);
    } else {
      call->done(std::move(outcome));
    }
  }

  bool keep(std::string_view bytes) QX_REQUIRES(outMutex_);
  bool flush() QX_REQUIRES(outMutex_);
  void extendCloseDeadline();
  void breakOff(int error) QX_REQUIRES(outMutex_);
  void read();
  void takeMessages();
  // Whether a message is of no interest.
  bool isDropped(const wire::Header& header);
  Interest interestIn(const wire::Header& header) const {
    return handlers_.interestIn ? handlers_.interestIn(header) : Interest::kChecked;
  }
  // The call that a reply is for.
  std::optional<Pending> takeAnswered(const wire::Header& reply);
  void sort(std::vector<Received>* read);
  void end();

  const std::shared_ptr<Loop> loop_;
  const bool isLast_;
  base::Socket socket_;
  std::atomic<int> descriptor_;
  std::atomic<bool> isOpen_{true};
  std::atomic<bool> isBroken_{false};
  // The program has closed the descriptor, whose number may be another's by now.
  std::atomic<bool> isTaken_{false};
  std::atomic<bool> isClosing_{false};
  std::atomic<bool> hasUnsent_{false};
  std::atomic<std::uint32_t> lastSerial_{0};
  // Messages came with the end of the authentication: no poll reports them.
  std::atomic<bool> hasBacklog_;

  // Used by the thread that reads.
  Inbox inbox_;
  Handlers handlers_;

  platform::Mutex outMutex_;
  // The first flushed_ bytes have been sent. They go when they are half of all, so that a long
  // backlog does not move with every write.
  std::string unsent_ QX_GUARDED_BY(outMutex_);
  std::size_t flushed_ QX_GUARDED_BY(outMutex_) = 0;

  mutable platform::Mutex callMutex_;
  std::unordered_map<std::uint32_t, Pending> pending_ QX_GUARDED_BY(callMutex_);
  Clock::time_point nextDeadline_ QX_GUARDED_BY(callMutex_) = Clock::time_point::max();
  Clock::time_point closeDeadline_ QX_GUARDED_BY(callMutex_) = Clock::time_point::max();
  Clock::time_point lastCloseDeadline_ QX_GUARDED_BY(callMutex_) = Clock::time_point::max();
};

bool Connection::Core::send(std::string_view bytes) {
  const platform::MutexLock lock(outMutex_);
  if (!isOpen()) {
    return false;
  }
  if (unsent_.empty()) {
    const ssize_t sent = base::sendSome(socket_, bytesOf(bytes.data()), bytes.size());
    if (sent < 0 && !base::wouldBlock(errno)) {
      breakOff(errno);
      return false;
    }
    bytes.remove_prefix(sent > 0 ? static_cast<std::size_t>(sent) : 0);
    if (bytes.empty()) {
      return true;
    }
    if (!keep(bytes)) {
      return false;
    }
  } else if (!keep(bytes) || !flush()) {
    return false;
  }
  hasUnsent_ = !unsent_.empty();
  if (unsent_.size() - flushed_ > kMostUnsent) {
    ::shutdown(socket_.number(), SHUT_RDWR);
    return false;
  }
  if (hasUnsent_) {
    loop_->wake();
  }
  return true;
}

// False when there is no memory for bytes behind which others would make no sense.
bool Connection::Core::keep(std::string_view bytes) {
  try {
    unsent_ += bytes;
    return true;
  } catch (const std::bad_alloc&) {
    breakOff(ENOMEM);
    return false;
  }
}

// The thread that reads finds the end, and what came before it.
void Connection::Core::breakOff(int error) {
  isBroken_ = true;
  if (error == EBADF) {
    isTaken_ = true;
  } else {
    ::shutdown(socket_.number(), SHUT_WR);
    // Another end that takes nothing more may still not end the connection.
    const platform::MutexLock closing(callMutex_);
    closeDeadline_ = std::min(closeDeadline_, Clock::now() + kReadTime);
  }
  loop_->wake();
  unsent_.clear();
  flushed_ = 0;
  hasUnsent_ = false;
}

// Sends what has been left, as far as the socket takes it. False when the socket is broken.
bool Connection::Core::flush() {
  while (flushed_ < unsent_.size()) {
    const ssize_t sent =
        base::sendSome(socket_, bytesOf(unsent_.data() + flushed_), unsent_.size() - flushed_);
    if (sent < 0) {
      if (base::wouldBlock(errno)) {
        break;
      }
      breakOff(errno);
      return false;
    }
    flushed_ += static_cast<std::size_t>(sent);
    extendCloseDeadline();
  }
  if (flushed_ == unsent_.size()) {
    // Gives the memory back, which may be that of a very large message.
    std::string().swap(unsent_);
    flushed_ = 0;
  } else if (flushed_ >= unsent_.size() - flushed_) {
    unsent_.erase(0, flushed_);
    flushed_ = 0;
  }
  hasUnsent_ = !unsent_.empty();
  return true;
}

void Connection::Core::extendCloseDeadline() {
  if (isClosing_) {
    const platform::MutexLock lock(callMutex_);
    closeDeadline_ = std::min(Clock::now() + kCloseIdleTime, lastCloseDeadline_);
  }
}

bool Connection::Core::drain(Clock::time_point deadline) {
  // The thread that reads sends as well, and may close the socket: it is asked for again.
  constexpr int kPauseMs = 10;
  for (;;) {
    pollfd waiting = {-1, POLLOUT, 0};
    {
      const platform::MutexLock lock(outMutex_);
      if (!isOpen() || !flush()) {
        return false;
      }
      if (!hasUnsent_) {
        return true;
      }
      waiting.fd = socket_.number();
    }
    if (Clock::now() >= deadline) {
      return false;
    }
    ::poll(&waiting, 1, kPauseMs);
  }
}

void Connection::Core::requestClose() {
  {
    const platform::MutexLock lock(callMutex_);
    const Clock::time_point now = Clock::now();
    // First: the thread that sends the last bytes meanwhile ends the connection then.
    isClosing_ = true;
    closeDeadline_ = hasUnsent_ ? now + kCloseIdleTime : Clock::time_point::min();
    lastCloseDeadline_ = now + kCloseTime;
  }
  loop_->wake();
}

bool Connection::Core::expect(std::uint32_t serial, Pending* call) {
  bool isNext = false;
  {
    const platform::MutexLock lock(callMutex_);
    if (!isOpen_) {
      return false;
    }
    // A caller that waits keeps the time itself.
    if (!call->wait && call->deadline < nextDeadline_) {
      nextDeadline_ = call->deadline;
      isNext = true;
    }
    pending_.emplace(serial, std::move(*call));
  }
  if (isNext) {
    loop_->wake();
  }
  return true;
}

std::optional<Connection::Core::Pending> Connection::Core::forget(std::uint32_t serial) {
  const platform::MutexLock lock(callMutex_);
  const auto call = pending_.find(serial);
  if (call == pending_.end()) {
    return std::nullopt;
  }
  Pending forgotten = std::move(call->second);
  pending_.erase(call);
  return forgotten;
}

void Connection::Core::onReady(short events) {
  if ((events & POLLNVAL) != 0) {
    isTaken_ = true;
  }
  if (isTaken_) {
    end();
    return;
  }
  if ((events & POLLOUT) != 0) {
    const platform::MutexLock lock(outMutex_);
    flush();
  }
  if ((events & (POLLIN | POLLHUP | POLLERR)) != 0) {
    read();
  }
  if (isClosing_ && !hasUnsent_) {
    end();
  }
}

void Connection::Core::onTime() {
  if (hasBacklog_.exchange(false)) {
    takeMessages();
  }
  if (isClosing_) {
    // A poll reports the room in a socket only when there is much of it.
    const platform::MutexLock lock(outMutex_);
    flush();
  }
  const Clock::time_point now = Clock::now();
  Finished finished(*loop_);
  bool isOver = false;
  {
    const platform::MutexLock lock(callMutex_);
    isOver = closeDeadline_ <= now || (isClosing_ && !hasUnsent_);
    if (nextDeadline_ <= now) {
      finished.reserve(pending_.size());
    }
    nextDeadline_ = Clock::time_point::max();
    for (auto call = pending_.begin(); call != pending_.end();) {
      if (!call->second.wait && call->second.deadline <= now) {
        auto& over = finished.add(std::move(call->second));
        call = pending_.erase(call);
        over.second = Outcome::noReply();
      } else {
        nextDeadline_ =
            call->second.wait ? nextDeadline_ : std::min(nextDeadline_, call->second.deadline);
        ++call;
      }
    }
  }
  finished.finishAll();
  if ((isOver || isTaken_) && isOpen_) {
    end();
  }
}

void Connection::Core::read() {
  for (int reads = 0; reads < kMostReads; ++reads) {
    const Inbox::Space space = inbox_.space();
    const ssize_t count =
        base::receiveSome(socket_, reinterpret_cast<unsigned char*>(space.bytes), space.size);
    if (count <= 0) {
      if (count == 0 || !base::wouldBlock(errno)) {
        end();
      }
      return;
    }
    inbox_.filled(static_cast<std::size_t>(count));
    takeMessages();
    // A read that the socket could not fill has emptied it.
    if (!isOpen_ || static_cast<std::size_t>(count) < space.size) {
      return;
    }
  }
}

void Connection::Core::takeMessages() {
  std::vector<Received> received;
  const wire::Fault fault = inbox_.take(&received);
  sort(&received);
  if (fault != wire::Fault::kNone) {
    end();
  }
  wire::Message large;
  if (isOpen_ && inbox_.beginsLarge(&large) && isDropped(large.header)) {
    inbox_.skipLarge();
  }
}

bool Connection::Core::isDropped(const wire::Header& header) {
  if (!isReply(header)) {
    return interestIn(header) == Interest::kNone;
  }
  const platform::MutexLock lock(callMutex_);
  const auto call = pending_.find(header.replySerial);
  return call == pending_.end() || !Outcome::isFrom(header, call->second.destination);
}

std::optional<Connection::Core::Pending> Connection::Core::takeAnswered(const wire::Header& reply) {
  const platform::MutexLock lock(callMutex_);
  const auto call = pending_.find(reply.replySerial);
  // A reply that no call waits for any more came too late. A serial can be guessed by anybody on
  // the bus, so the sender must be the callee, or the daemon in its place.
  if (call == pending_.end() || !Outcome::isFrom(reply, call->second.destination)) {
    return std::nullopt;
  }
  Pending answered = std::move(call->second);
  pending_.erase(call);
  return answered;
}

// Finishes the calls whose replies have come, and hands on the rest.
void Connection::Core::sort(std::vector<Received>* read) {
  Finished finished(*loop_);
  finished.reserve(read->size());
  std::vector<Received> messages;
  bool isFaulty = false;
  std::size_t events = 0;
  for (Received& received : *read) {
    const wire::Header& header = received.header();
    std::optional<Pending> answered;
    Interest interest = Interest::kChecked;
    if (isReply(header)) {
      answered = takeAnswered(header);
      interest = answered ? Interest::kChecked : Interest::kNone;
    } else {
      interest = interestIn(header);
    }
    if (interest == Interest::kNone) {
      continue;
    }
    isFaulty =
        interest == Interest::kChecked && wire::checkBody(received.message) != wire::Fault::kNone;
    if (answered) {
      auto& [call, outcome] = finished.add(std::move(*answered));
      outcome = isFaulty ? Outcome::disconnected(kFaulty)
                         : Outcome::replied(std::move(received), call.destination);
    } else if (!isFaulty) {
      events += header.type == wire::MessageType::kSignal ? 1 : 0;
      messages.push_back(std::move(received));
    }
    if (isFaulty) {
      break;
    }
  }
  // Events first: a caller may look for what came before its reply.
  if (!messages.empty()) {
    handlers_.onMessages(std::move(messages));
  }
  loop_->letEventsGather(events);
  finished.finishAll();
  if (isFaulty) {
    end();
  }
}

void Connection::Core::end() {
  if (!isOpen_.exchange(false)) {
    return;
  }
  {
    const platform::MutexLock lock(outMutex_);
    descriptor_ = -1;
    if (isTaken_) {
      socket_.release();
    }
    socket_ = base::Socket();
    unsent_.clear();
    flushed_ = 0;
    hasUnsent_ = false;
  }
  std::unordered_map<std::uint32_t, Pending> abandoned;
  {
    const platform::MutexLock lock(callMutex_);
    abandoned.swap(pending_);
  }
  for (auto& [serial, call] : abandoned) {
    finish(*loop_, &call,
           base::onceThereIsMemory([] { return Outcome::disconnected(kConnectionGone); }));
  }
  if (handlers_.onLost) {
    base::onceThereIsMemory(handlers_.onLost);
  }
  // What the handlers hold may in turn hold this connection.
  handlers_ = {};
  if (isLast_) {
    loop_->stop();
  }
}

// --- Connection ----------------------------------------------------------------------------------

Connection::Connection(std::shared_ptr<Loop> loop, std::shared_ptr<Core> core,
                       const base::Peer& peer)
    : loop_(std::move(loop)), core_(std::move(core)), peer_(peer) {}

Connection::~Connection() {
  core_->requestClose();
}

base::Result<std::shared_ptr<Connection>> Connection::open(const std::string& address,
                                                           Handlers handlers,
                                                           Clock::time_point deadline,
                                                           DialAttempts* attempts) {
  base::Result<Dialed> dialed = dial(address, deadline, attempts);
  if (!dialed) {
    return dialed.failed();
  }
  base::Result<std::shared_ptr<Loop>> loop = Loop::start("qxbus-io");
  if (!loop) {
    return loop.failed();
  }
  try {
    const base::Peer peer = base::peerOf(dialed->socket);
    auto core = std::make_shared<Core>(*loop, true, std::move(dialed->socket),
                                       std::move(dialed->inbox), std::move(handlers));
    core->hold(dialed->lastWords);
    std::shared_ptr<Connection> connection(new Connection(*loop, core, peer));
    (*loop)->add(std::move(core));
    return connection;
  } catch (const std::bad_alloc&) {
    (*loop)->stop();
    throw;
  }
}

std::shared_ptr<Connection> Connection::adopt(std::shared_ptr<Loop> loop, base::Socket socket,
                                              Inbox inbox, Handlers handlers) {
  const base::Peer peer = base::peerOf(socket);
  auto core =
      std::make_shared<Core>(loop, false, std::move(socket), std::move(inbox), std::move(handlers));
  std::shared_ptr<Connection> connection(new Connection(loop, core, peer));
  loop->add(std::move(core));
  return connection;
}

bool Connection::isOpen() const {
  return core_->isOpen();
}

bool Connection::send(wire::MessageWriter* message) {
  return message->finish(core_->newSerial()) == wire::Fault::kNone && core_->send(message->bytes());
}

bool Connection::flush(Clock::time_point deadline) {
  return core_->drain(deadline);
}

void Connection::start(wire::MessageWriter* message, const std::string& destination, Call* call) {
  call->serial_ = core_->newSerial();
  const auto fail = [call](const char* reason) {
    call->isOver_ = true;
    call->outcome_ = Outcome::disconnected(reason);
  };
  if (message->finish(call->serial_) != wire::Fault::kNone) {
    fail(kTooLarge);
    return;
  }
  Core::Pending pending = {Clock::time_point::max(), destination, &call->wait_, &call->outcome_,
                           nullptr};
  if (!core_->expect(call->serial_, &pending)) {
    fail(kConnectionGone);
    return;
  }
  call->isOver_ = false;
  if (!core_->send(message->bytes()) && core_->forget(call->serial_)) {
    fail(kConnectionGone);
  }
}

Outcome Connection::await(Call* call, Clock::time_point deadline) {
  if (call->isOver_) {
    return std::move(call->outcome_);
  }
  if (!loop_->runUntilFinished(&call->wait_, deadline) && !handedOver(call)) {
    return Outcome::noReply();
  }
  call->isOver_ = true;
  return std::move(call->outcome_);
}

void Connection::abandon(Call* call) {
  if (!call->isOver_) {
    handedOver(call);
  }
}

// Ends a call. Whether its reply had been found, and was being handed over: then waits for it.
bool Connection::handedOver(Call* call) {
  call->isOver_ = true;
  if (core_->forget(call->serial_)) {
    return false;
  }
  loop_->runUntilFinished(&call->wait_, Clock::time_point::max());
  return true;
}

Outcome Connection::call(wire::MessageWriter* message, const std::string& destination,
                         Clock::time_point deadline) {
  Call call;
  start(message, destination, &call);
  return await(&call, deadline);
}

void Connection::call(wire::MessageWriter* message, const std::string& destination,
                      Clock::time_point deadline, std::function<void(Outcome)> done) {
  const std::uint32_t serial = core_->newSerial();
  if (message->finish(serial) != wire::Fault::kNone) {
    done(Outcome::disconnected(kTooLarge));
    return;
  }
  Core::Pending call = {deadline, destination, nullptr, nullptr, std::move(done)};
  if (!core_->expect(serial, &call)) {
    call.done(Outcome::disconnected(kConnectionGone));
    return;
  }
  if (!core_->send(message->bytes())) {
    if (std::optional<Core::Pending> unsent = core_->forget(serial)) {
      unsent->done(Outcome::disconnected(kConnectionGone));
    }
  }
}

}  // namespace qxbus
