#include "tests/scripted_bus/scripted_bus.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <future>
#include <new>
#include <type_traits>

#include "tests/scripted_bus/timeline.h"

using scripted::Argument;
using scripted::Bytes;
using scripted::Call;
using scripted::CString;
using scripted::Reply;
using scripted::ScriptedBus;
using scripted::Timeline;

struct QXBusMessage::Impl {
  int type;
  std::string method;  // also of the request that this replies to; empty for an event
  std::vector<Argument> arguments;
};

struct QXBusProxyInterface::Impl {
  int number;
};

struct QXBusSerivceManager::Impl {};

namespace {

std::shared_ptr<QXBusMessage> messageOf(int type, const std::string& method,
                                        const std::vector<Argument>& arguments) {
  return std::make_shared<QXBusMessage>(
      std::make_unique<QXBusMessage::Impl>(QXBusMessage::Impl{type, method, arguments}));
}

std::shared_ptr<QXBusMessage> messageOf(const Reply& reply, const std::string& method) {
  return reply.isMissing ? nullptr : messageOf(reply.type, method, reply.arguments);
}

std::string inQuotes(const std::string& text) {
  return "\"" + text + "\"";
}

void triggerReading(const std::string& method, int index) {
  if (!method.empty()) {
    Timeline::the().trigger("read " + method + "(" + std::to_string(index) + ")");
  }
}

template <typename Value>
const Value* valueAt(const std::vector<Argument>& arguments, int index) {
  const bool exists = index >= 0 && static_cast<std::size_t>(index) < arguments.size();
  return exists ? std::get_if<Value>(&arguments[static_cast<std::size_t>(index)]) : nullptr;
}

template <typename Value>
Value numberAt(const QXBusMessage::Impl& message, int index) {
  triggerReading(message.method, index);
  const Value* const value = valueAt<Value>(message.arguments, index);
  return value ? *value : Value{};
}

}  // namespace

// ------------------------------------------------------------------------------------------------

namespace scripted {

std::string Call::text() const {
  return method + show(arguments);
}

Bytes Call::bytes(std::size_t index) const {
  const Bytes* const block = valueAt<Bytes>(arguments, static_cast<int>(index));
  return block ? *block : Bytes();
}

ScriptedBus& ScriptedBus::the() {
  static auto* const bus = new ScriptedBus;
  return *bus;
}

void ScriptedBus::reset() {
  waitForDeaths();
  const platform::MutexLock lock(mutex_);
  isReachable_ = true;
  isRegistered_ = true;
  isRefusing_ = false;
  isFreeing_ = false;
  service_ = nullptr;
  answers_.clear();
  nextAnswers_.clear();
  vms_.clear();
  calls_.clear();
  made_.clear();
  broadcastListeners_.clear();
  pending_.clear();
}

void ScriptedBus::clear() {
  const platform::MutexLock lock(mutex_);
  calls_.clear();
  made_.clear();
}

void ScriptedBus::setReachable(bool reachable) {
  const platform::MutexLock lock(mutex_);
  isReachable_ = reachable;
}

void ScriptedBus::setRegistered(bool registered) {
  const platform::MutexLock lock(mutex_);
  isRegistered_ = registered;
}

void ScriptedBus::setRefusing(bool refusing) {
  const platform::MutexLock lock(mutex_);
  isRefusing_ = refusing;
}

void ScriptedBus::setFreeing(bool freeing) {
  const platform::MutexLock lock(mutex_);
  isFreeing_ = freeing;
}

void ScriptedBus::answerFrom(std::function<Reply(const Call& call)> service) {
  const platform::MutexLock lock(mutex_);
  service_ = std::move(service);
}

void ScriptedBus::answer(const std::string& method, const Reply& reply) {
  const platform::MutexLock lock(mutex_);
  answers_[method] = reply;
}

void ScriptedBus::answerOnce(const std::string& method, const Reply& reply) {
  const platform::MutexLock lock(mutex_);
  nextAnswers_[method].push_back(reply);
}

void ScriptedBus::knowsVm(const std::string& vmId, unsigned int number) {
  const platform::MutexLock lock(mutex_);
  vms_[vmId] = number;
}

void ScriptedBus::emit(const std::string& event, const EventArguments& arguments) {
  std::vector<Listening> listeners;
  {
    const platform::MutexLock lock(mutex_);
    for (const auto& [number, interface] : interfaces_) {
      listeners.insert(listeners.end(), interface.listeners.begin(), interface.listeners.end());
    }
    listeners.insert(listeners.end(), broadcastListeners_.begin(), broadcastListeners_.end());
  }
  const std::shared_ptr<QXBusMessage> message = messageOf(arguments);
  std::packaged_task<void()> handling([&] {
    for (const Listening& listening : listeners) {
      if (listening.event == event && listening.listener->handler) {
        listening.listener->handler(message);
      }
    }
  });
  std::thread(std::ref(handling)).join();
  handling.get_future().get();
}

std::shared_ptr<QXBusMessage> ScriptedBus::messageOf(const EventArguments& arguments) {
  return ::messageOf(MESSAGE_TYPE_SIGNAL, "", arguments.arguments);
}

int ScriptedBus::complete() {
  std::vector<Pending> pending;
  {
    const platform::MutexLock lock(mutex_);
    pending.swap(pending_);
  }
  std::thread([&pending] {
    for (const Pending& call : pending) {
      call.done(::messageOf(call.reply, call.method));
    }
  }).join();
  return static_cast<int>(pending.size());
}

void ScriptedBus::serviceDies() {
  const platform::MutexLock lock(mutex_);
  isRegistered_ = false;
  for (auto& [number, interface] : interfaces_) {
    interface.isAlive = false;
    if (interface.deathCallback) {
      startDeath(std::exchange(interface.deathCallback, nullptr));
    }
  }
}

void ScriptedBus::startDeath(std::function<void()> callback) {
  deaths_.emplace_back([callback = std::move(callback)] {
    Timeline::the().trigger("death");
    callback();
  });
}

void ScriptedBus::waitForDeaths() {
  for (;;) {
    std::vector<std::thread> deaths;
    {
      const platform::MutexLock lock(mutex_);
      deaths.swap(deaths_);
    }
    if (deaths.empty()) {
      return;
    }
    for (std::thread& death : deaths) {
      death.join();
    }
  }
}

std::vector<Call> ScriptedBus::calls() const {
  const platform::MutexLock lock(mutex_);
  return calls_;
}

std::vector<std::string> ScriptedBus::requests() const {
  std::vector<std::string> texts;
  for (const Call& call : calls()) {
    texts.push_back(call.text());
  }
  return texts;
}

std::string ScriptedBus::lastCall() const {
  const platform::MutexLock lock(mutex_);
  return calls_.empty() ? "" : calls_.back().text();
}

int ScriptedBus::lastTimeoutMs() const {
  const platform::MutexLock lock(mutex_);
  return calls_.empty() ? 0 : calls_.back().timeoutMs;
}

const void* ScriptedBus::lastBlock() const {
  const platform::MutexLock lock(mutex_);
  return lastBlock_;
}

Bytes ScriptedBus::lastBytes(std::size_t index) const {
  const platform::MutexLock lock(mutex_);
  return calls_.empty() ? Bytes() : calls_.back().bytes(index);
}

std::vector<std::string> ScriptedBus::madeMessages() const {
  const platform::MutexLock lock(mutex_);
  return made_;
}

std::vector<Listening> ScriptedBus::interfaceListeners() const {
  const platform::MutexLock lock(mutex_);
  std::vector<Listening> listeners;
  for (const auto& [number, interface] : interfaces_) {
    listeners.insert(listeners.end(), interface.listeners.begin(), interface.listeners.end());
  }
  return listeners;
}

std::vector<Listening> ScriptedBus::broadcastListeners() const {
  const platform::MutexLock lock(mutex_);
  return broadcastListeners_;
}

int ScriptedBus::liveInterfaces() const {
  const platform::MutexLock lock(mutex_);
  return static_cast<int>(interfaces_.size());
}

void ScriptedBus::record(const Call& call) {
  {
    const platform::MutexLock lock(mutex_);
    calls_.push_back(call);
  }
  Timeline::the().record((call.waits ? "call " : "send ") + call.text() + " within " +
                         std::to_string(call.timeoutMs) + " ms");
}

Reply ScriptedBus::replyTo(const Call& call) {
  platform::MutexLock lock(mutex_);
  if (!interfaces_[call.interface].isAlive) {
    return Reply::error("the service is gone");
  }
  if (service_) {
    const std::function<Reply(const Call&)> service = service_;
    lock.unlock();
    return service(call);
  }
  const auto next = nextAnswers_.find(call.method);
  if (next != nextAnswers_.end() && !next->second.empty()) {
    const Reply reply = next->second.front();
    next->second.pop_front();
    return reply;
  }
  const auto usual = answers_.find(call.method);
  if (usual != answers_.end()) {
    return usual->second;
  }
  if (call.method == "getVmListSize") {
    const auto* const vmId = valueAt<std::string>(call.arguments, 0);
    const auto vm = vmId ? vms_.find(*vmId) : vms_.end();
    return Reply().int32(vm != vms_.end() ? static_cast<std::int32_t>(vm->second) : 0);
  }
  return Reply::error("no answer was scripted for " + call.method);
}

}  // namespace scripted

// ------------------------------------------------------------------------------------------------

QXBusMessage::QXBusMessage(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusMessage::~QXBusMessage() = default;

void QXBusMessage::appendInt16(std::int16_t value) {
  impl_->arguments.emplace_back(value);
}

void QXBusMessage::appendInt32(std::int32_t value) {
  impl_->arguments.emplace_back(value);
}

void QXBusMessage::appendUInt64(std::uint64_t value) {
  impl_->arguments.emplace_back(value);
}

void QXBusMessage::appendInt64(std::int64_t value) {
  impl_->arguments.emplace_back(value);
}

void QXBusMessage::appendDouble(double value) {
  impl_->arguments.emplace_back(value);
}

void QXBusMessage::appendString(std::string value) {
  impl_->arguments.emplace_back(std::move(value));
}

void QXBusMessage::appendCString(const char* value) {
  impl_->arguments.emplace_back(CString{value ? value : ""});
}

void QXBusMessage::appendBytes(const void* data, int length) {
  impl_->arguments.emplace_back(
      scripted::bytesOf(data, length > 0 ? static_cast<std::size_t>(length) : 0));
}

std::int16_t QXBusMessage::getInt16(int index) {
  return numberAt<std::int16_t>(*impl_, index);
}

std::uint16_t QXBusMessage::getUInt16(int index) {
  return static_cast<std::uint16_t>(getInt16(index));
}

std::int32_t QXBusMessage::getInt32(int index) {
  return numberAt<std::int32_t>(*impl_, index);
}

std::uint32_t QXBusMessage::getUInt32(int index) {
  return static_cast<std::uint32_t>(getInt32(index));
}

std::int64_t QXBusMessage::getInt64(int index) {
  return numberAt<std::int64_t>(*impl_, index);
}

std::uint64_t QXBusMessage::getUInt64(int index) {
  return numberAt<std::uint64_t>(*impl_, index);
}

std::string QXBusMessage::getString(int index) {
  triggerReading(impl_->method, index);
  if (const Bytes* const block = valueAt<Bytes>(impl_->arguments, index)) {
    return std::string(block->begin(), block->end());
  }
  const std::string* const text = valueAt<std::string>(impl_->arguments, index);
  return text ? *text : std::string();
}

// The copy is exactly as long as the block, so that AddressSanitizer reports every read beyond it.
unsigned char* QXBusMessage::getBytes(int index, int* length) {
  triggerReading(impl_->method, index);
  const Bytes* const block = valueAt<Bytes>(impl_->arguments, index);
  *length = block ? static_cast<int>(block->size()) : 0;
  if (*length < 1) {
    return nullptr;
  }
  auto* const copy = static_cast<unsigned char*>(::operator new(block->size()));
  std::memcpy(copy, block->data(), block->size());
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  bus.lastBlock_ = copy;
  return copy;
}

int QXBusMessage::argCount() {
  return static_cast<int>(impl_->arguments.size());
}

int QXBusMessage::type() {
  return impl_->type;
}

std::string QXBusMessage::toDebugString() {
  Reply same;
  same.type = impl_->type;
  same.arguments = impl_->arguments;
  return same.debugString();
}

// ------------------------------------------------------------------------------------------------

QXBusEventCallback::~QXBusEventCallback() = default;

QXBusProxyInterface::QXBusProxyInterface(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

QXBusProxyInterface::~QXBusProxyInterface() {
  Timeline::the().record("interface destroyed");
  ScriptedBus& bus = ScriptedBus::the();
  ScriptedBus::Interface gone;
  const platform::MutexLock lock(bus.mutex_);
  gone = std::exchange(bus.interfaces_[impl_->number], {});
  bus.interfaces_.erase(impl_->number);
}

std::shared_ptr<QXBusMessage> QXBusProxyInterface::makeMethodCallMessage(std::string method) {
  ScriptedBus& bus = ScriptedBus::the();
  {
    const platform::MutexLock lock(bus.mutex_);
    bus.made_.push_back(method);
  }
  Timeline::the().record("make " + method + "()");
  return messageOf(MESSAGE_TYPE_METHOD_CALL, method, {});
}

std::shared_ptr<QXBusMessage> QXBusProxyInterface::callWithReplyBlocking(
    std::shared_ptr<QXBusMessage> message, int timeoutMs) {
  const QXBusMessage::Impl& asked = message->impl();
  const Call call{asked.method, asked.arguments, timeoutMs, true, std::this_thread::get_id(),
                  impl_->number};
  ScriptedBus& bus = ScriptedBus::the();
  bus.record(call);
  const Reply reply = bus.replyTo(call);
  Timeline::the().record("return " + call.method + "()");
  return messageOf(reply, call.method);
}

void QXBusProxyInterface::callWithReply(std::shared_ptr<QXBusMessage> message,
                                        std::function<void(std::shared_ptr<QXBusMessage>)> done,
                                        int timeoutMs) {
  const QXBusMessage::Impl& asked = message->impl();
  const Call call{asked.method, asked.arguments, timeoutMs, false, std::this_thread::get_id(),
                  impl_->number};
  ScriptedBus& bus = ScriptedBus::the();
  bus.record(call);
  const Reply reply = bus.replyTo(call);
  const platform::MutexLock lock(bus.mutex_);
  bus.pending_.push_back({std::move(done), call.method, reply});
}

void QXBusProxyInterface::setDeathCallback(std::function<void()> callback) {
  Timeline::the().record("setDeathCallback()");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  ScriptedBus::Interface& interface = bus.interfaces_[impl_->number];
  if (interface.isAlive) {
    interface.deathCallback = std::move(callback);
  } else {
    bus.startDeath(std::move(callback));
  }
}

void QXBusProxyInterface::addEventListener(std::string name, QXBusEventCallback* listener,
                                           QXBusSecurityFlags flags) {
  Timeline::the().record("interface addEventListener(" + inQuotes(name) + ", " +
                         std::to_string(flags) + ")");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  bus.interfaces_[impl_->number].listeners.push_back({name, listener, flags});
}

void QXBusProxyInterface::removeEventListener(std::string name, QXBusEventCallback* listener) {
  Timeline::the().record("interface removeEventListener(" + inQuotes(name) + ")");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  auto& listeners = bus.interfaces_[impl_->number].listeners;
  listeners.erase(std::remove_if(listeners.begin(), listeners.end(),
                                 [&](const scripted::Listening& listening) {
                                   return listening.event == name && listening.listener == listener;
                                 }),
                  listeners.end());
  if (bus.isFreeing_) {
    delete listener;
  }
}

// ------------------------------------------------------------------------------------------------

QXBusSerivceManager::QXBusSerivceManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusSerivceManager::~QXBusSerivceManager() = default;

QXBusSerivceManager* QXBusSerivceManager::initSync(int wait) {
  static auto* const manager = new QXBusSerivceManager(std::make_unique<Impl>());
  Timeline::the().record("initSync(" + std::to_string(wait) + ")");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  return bus.isReachable_ ? manager : nullptr;
}

bool QXBusSerivceManager::isServiceRegistered(const std::string& name) {
  Timeline::the().record("isServiceRegistered(" + inQuotes(name) + ")");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  return bus.isRegistered_;
}

std::shared_ptr<QXBusProxyInterface> QXBusSerivceManager::getServiceProxyInterface(
    std::string name, QXBusSecurityFlags flags, int mode) {
  Timeline::the().record("getServiceProxyInterface(" + inQuotes(name) + ", " +
                         std::to_string(flags) + ", " + std::to_string(mode) + ")");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  if (!bus.isRegistered_ || bus.isRefusing_) {
    return nullptr;
  }
  const int number = ++bus.interfaceCount_;
  bus.interfaces_[number];
  return std::make_shared<QXBusProxyInterface>(
      std::make_unique<QXBusProxyInterface::Impl>(QXBusProxyInterface::Impl{number}));
}

void QXBusSerivceManager::addEventListener(const std::string& name, QXBusEventCallback* listener,
                                           QXBusSecurityFlags flags) {
  Timeline::the().record("manager addEventListener(" + inQuotes(name) + ", " +
                         std::to_string(flags) + ")");
  ScriptedBus& bus = ScriptedBus::the();
  const platform::MutexLock lock(bus.mutex_);
  bus.broadcastListeners_.push_back({name, listener, flags});
}
