#include "vel/apps/local/velsim/recorder.h"

#include <stdexcept>
#include <utility>

#include "base/thread.h"
#include "vel/protocol/methods.h"
#include "vel/protocol/names.h"

namespace velsim {
namespace {

// A service at a socket does not announce its return.
constexpr std::chrono::milliseconds kRetryInterval{100};

MaskableValues recorded(const qxbus::Values& values) {
  return MaskableValues(values.begin(), values.end());
}

}  // namespace

Recorder::Recorder(std::string service, std::string clients, RecordingWriter& writer, Log& log,
                   std::function<void(ExitCode)> fail)
    : service_(std::move(service)),
      clients_(std::move(clients)),
      writer_(writer),
      log_(log),
      fail_(std::move(fail)) {
  const bool isOpen = open();
  if (!isOpen) {
    log_.write("waiting for a service at " + service_);
  }
  base::Result<std::thread> thread = base::startThread("velsim record", [this] { run(); });
  if (!thread) {
    close();
    throw std::runtime_error(thread.reason());
  }
  thread_ = std::move(*thread);
}

Recorder::~Recorder() {
  {
    const platform::MutexLock lock(mutex_);
    isStopping_ = true;
  }
  changed_.notifyAll();
  thread_.join();
  close();
}

void Recorder::run() {
  for (;;) {
    bool isOpen = client_ != nullptr;
    {
      platform::MutexLock lock(mutex_);
      const Clock::time_point deadline =
          isOpen ? Clock::time_point::max() : Clock::now() + kRetryInterval;
      while (!isStopping_ && !hasFailed_ && !(isOpen && isGone_) &&
             changed_.waitUntil(lock, deadline)) {
      }
      if (isStopping_ || hasFailed_) {
        return;
      }
    }
    if (isOpen) {
      RecordedLine gone;
      gone.kind = RecordedLine::Kind::kGone;
      append(gone);
      close();
      log_.write("the service has gone");
    } else if (open()) {
      log_.write("the service is there");
    }
  }
}

bool Recorder::open() {
  {
    const platform::MutexLock lock(mutex_);
    isGone_ = false;
  }
  qxbus::ServiceClient::Handlers handlers;
  handlers.onEvent = [this](const std::string& name, bool isBroadcast,
                            const qxbus::Values& values) { onEvent(name, isBroadcast, values); };
  handlers.onGone = [this] {
    const platform::MutexLock lock(mutex_);
    isGone_ = true;
    changed_.notifyAll();
  };
  auto attached =
      qxbus::ServiceClient::attach(service_, velprotocol::kServiceName, std::move(handlers));
  if (!attached) {
    return false;
  }
  client_ = std::move(*attached);
  if (writer_.count() > 0) {
    RecordedLine there;
    there.kind = RecordedLine::Kind::kThere;
    append(there);
  }
  std::vector<qxbus::Method> methods;
  const auto handler = [this](qxbus::Request request) { onRequest(std::move(request)); };
  for (const velprotocol::Method& method : velprotocol::kMethods) {
    methods.push_back({std::string(method.name), handler});
  }
  methods.push_back({qxbus::kAnyMethod, handler});
  try {
    auto host = std::make_unique<qxbus::ServiceHost>(
        clients_, velprotocol::kServiceName, std::move(methods),
        std::vector<std::string>{velprotocol::kServiceEvent});
    host->setLostCallback([this] { fail(kExitBusLost, "the bus closed the connection"); });
    log_.write("ready at " + host->place() + ", recording the service at " + service_);
    const platform::MutexLock lock(hostMutex_);
    host_ = std::move(host);
  } catch (const std::runtime_error& error) {
    client_.reset();
    fail(kExitNotServing, std::string("cannot take the place of the service: ") + error.what());
    return false;
  }
  return true;
}

void Recorder::close() {
  std::unique_ptr<qxbus::ServiceHost> host;
  {
    const platform::MutexLock lock(hostMutex_);
    host.swap(host_);
  }
  host.reset();
  client_.reset();
  std::map<std::uint64_t, Asked> unanswered;
  {
    const platform::MutexLock lock(mutex_);
    unanswered.swap(asked_);
  }
  // They end with the connection, as calls of a service that has died.
  for (auto& [id, asked] : unanswered) {
    asked.request.drop();
  }
}

void Recorder::onRequest(qxbus::Request request) {
  RecordedLine call;
  call.kind = RecordedLine::Kind::kCall;
  call.client = request.sender();
  call.name = request.method();
  call.values = recorded(request.arguments());
  const std::string method = request.method();
  const qxbus::Values arguments = request.arguments();
  {
    const platform::MutexLock lock(mutex_);
    call.id = ++lastId_;
    asked_.emplace(call.id, Asked{std::move(request), writer_.now()});
  }
  const std::uint64_t id = call.id;
  append(std::move(call));
  client_->call(method, arguments,
                [this, id](const qxbus::ServiceReply& reply) { onAnswer(id, reply); });
}

void Recorder::onAnswer(std::uint64_t id, const qxbus::ServiceReply& reply) {
  if (reply.kind == qxbus::ServiceReply::Kind::kDisconnected) {
    return;  // the end of the service is the answer
  }
  platform::MutexLock lock(mutex_);
  const auto found = asked_.find(id);
  if (found == asked_.end()) {
    return;
  }
  Asked asked = std::move(found->second);
  asked_.erase(found);
  lock.unlock();
  const bool isError = reply.kind == qxbus::ServiceReply::Kind::kError;
  RecordedLine line;
  line.kind = isError ? RecordedLine::Kind::kError : RecordedLine::Kind::kReply;
  line.id = id;
  line.name = asked.request.method();
  line.duration = writer_.now() - asked.time;
  line.values = recorded(reply.values);
  line.text = reply.text;
  append(std::move(line));
  if (isError) {
    asked.request.fail(reply.text);
  } else {
    asked.request.reply(reply.values);
  }
}

void Recorder::onEvent(const std::string& name, bool isBroadcast, const qxbus::Values& values) {
  RecordedLine event;
  event.kind = RecordedLine::Kind::kEvent;
  event.name = name;
  event.isBroadcast = isBroadcast;
  event.values = recorded(values);
  append(std::move(event));
  const platform::MutexLock lock(hostMutex_);
  if (!host_) {
    return;
  }
  if (isBroadcast) {
    host_->broadcast(name, values);
  } else {
    host_->emitEvent(name, values);
  }
}

void Recorder::append(RecordedLine line) {
  if (const auto written = writer_.append(std::move(line)); !written) {
    fail(kExitNotWritten, written.reason());
  }
}

void Recorder::fail(ExitCode status, const std::string& reason) {
  {
    const platform::MutexLock lock(mutex_);
    if (std::exchange(hasFailed_, true)) {
      return;
    }
    changed_.notifyAll();
  }
  log_.write(reason);
  fail_(status);
}

}  // namespace velsim
