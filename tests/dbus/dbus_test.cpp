#include "tests/dbus/dbus_test.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <ostream>

#include "bus/dbus/direct.h"
#include "bus/dbus/value.h"
#include "platform/log.h"
#include "tests/dbus/raw_peer.h"

namespace dbustest {
namespace {

// Never destroyed: threads of the bus log until the process has ended.
Record<std::string>& logLines() {
  static auto* const lines = new Record<std::string>;
  return *lines;
}
std::atomic<std::size_t> linesBeforeTest{0};

std::unique_ptr<PrivateBus>& sharedBus() {
  static auto* const bus = new std::unique_ptr<PrivateBus>;
  return *bus;
}

class Buses : public testing::Environment {
 public:
  void SetUp() override {
    if (!std::getenv("QXBUS_TEST_DIRECT")) {
      return;
    }
    directory_ = (std::filesystem::temp_directory_path() / "direct-tests.XXXXXX").string();
    if (!::mkdtemp(directory_.data())) {
      throw std::runtime_error("no temporary directory");
    }
    ::setenv("QXBUS_ADDRESS", ("direct:" + directory_ + "/").c_str(), 1);
  }

  void TearDown() override {
    sharedBus().reset();
    if (!directory_.empty()) {
      std::filesystem::remove_all(directory_);
    }
  }

 private:
  std::string directory_;
};

[[maybe_unused]] const auto* const kEnvironment = testing::AddGlobalTestEnvironment(new Buses);

bool hasServices(RawPeer& observer) {
  const DBusMessageRef reply =
      observer.call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "ListNames");
  char** names = nullptr;
  int count = 0;
  dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &names, &count,
                        DBUS_TYPE_INVALID);
  const bool has = std::any_of(names, names + count, [](const char* name) {
    return std::string(name).rfind("qx.bus.", 0) == 0;
  });
  dbus_free_string_array(names);
  return has;
}

struct Append {
  void operator()(std::int16_t value) const { message.appendInt16(value); }
  void operator()(std::int32_t value) const { message.appendInt32(value); }
  void operator()(std::uint64_t value) const { message.appendUInt64(value); }
  void operator()(std::int64_t value) const { message.appendInt64(value); }
  void operator()(double value) const { message.appendDouble(value); }
  // Messages append no unsigned integers of these widths.
  void operator()(std::uint16_t /*value*/) const { throw std::logic_error("no uint16"); }
  void operator()(std::uint32_t /*value*/) const { throw std::logic_error("no uint32"); }
  void operator()(const std::string& value) const { message.appendString(value); }
  void operator()(const qxbus::Bytes& value) const {
    message.appendBytes(value.data(), static_cast<int>(value.size()));
  }
  QXBusMessage& message;
};

}  // namespace

std::vector<std::string> loggedLines() {
  std::vector<std::string> lines = logLines().items();
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBeforeTest));
  return lines;
}

std::ptrdiff_t entriesOf(const std::string& directory) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(directory, error);
  return std::distance(begin(entries), end(entries));
}

// --- TestService ---------------------------------------------------------------------------------

struct TestService::Held {
  platform::Mutex mutex;
  std::deque<qxbus::Request> requests QX_GUARDED_BY(mutex);
};

TestService::TestService(const std::string& name, std::vector<qxbus::Method> more,
                         const std::vector<std::string>& events)
    : held_(std::make_shared<Held>()) {
  more.push_back({"echo", [](qxbus::Request request) { request.reply(request.arguments()); }});
  more.push_back({"fail", [](qxbus::Request request) {
                    request.fail(qxbus::readString(request.arguments(), 0));
                  }});
  more.push_back({"hold", [held = held_](qxbus::Request request) {
                    const platform::MutexLock lock(held->mutex);
                    held->requests.push_back(std::move(request));
                  }});
  host_ = std::make_unique<qxbus::ServiceHost>("", name, std::move(more), events);
}

TestService::~TestService() = default;

std::size_t TestService::held() const {
  const platform::MutexLock lock(held_->mutex);
  return held_->requests.size();
}

bool TestService::waitForHeld(std::size_t count) const {
  return waitUntil([&] { return held() >= count; });
}

std::shared_ptr<std::deque<qxbus::Request>> TestService::takeHeld() {
  auto taken = std::make_shared<std::deque<qxbus::Request>>();
  const platform::MutexLock lock(held_->mutex);
  taken->swap(held_->requests);
  return taken;
}

void TestService::release(const qxbus::Values& values) {
  const auto released = takeHeld();
  for (qxbus::Request& request : *released) {
    request.reply(values);
  }
}

// --- DBusTest ------------------------------------------------------------------------------------

bool DBusTest::isDirect() {
  const char* const address = std::getenv("QXBUS_ADDRESS");
  return address && qxbus::isDirectAddress(address);
}

DBusTest::DBusTest() {
  if (isDirect()) {
    if (!waitUntil([] { return !manager().isServiceRegistered("vel"); })) {
      throw std::runtime_error("the service of an earlier test is still there");
    }
  } else {
    bus().start();
    RawPeer observer(bus().address());
    if (!waitUntil([&observer] { return !hasServices(observer); })) {
      throw std::runtime_error("the services of an earlier test are still there");
    }
  }
  // A test may have taken the bus away: the manager connects again when it is asked something.
  QXBusSerivceManager* const connected = QXBusSerivceManager::initSync(-1);
  if (!connected) {
    throw std::runtime_error("no connection to the private bus");
  }
  connected->isServiceRegistered("vel");
  linesBeforeTest = logLines().size();
}

DBusTest::~DBusTest() = default;

PrivateBus& DBusTest::bus() {
  if (isDirect()) {
    throw std::logic_error("a direct connection has no bus; see NEEDS_DAEMON");
  }
  if (!sharedBus()) {
    sharedBus() = std::make_unique<PrivateBus>();
    ::setenv("QXBUS_ADDRESS", sharedBus()->address().c_str(), 1);
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
  }
  return *sharedBus();
}

std::string DBusTest::directAddress(const std::string& service) {
  return "unix:path=" + qxbus::directSocket(std::getenv("QXBUS_ADDRESS"), service);
}

ProxyRef DBusTest::proxyOf(const std::string& service) {
  ProxyRef proxy = manager().getServiceProxyInterface(service, QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
  if (!proxy) {
    throw std::runtime_error("no interface of service " + service);
  }
  return proxy;
}

QXBusEventCallback* DBusTest::lastingListener(std::function<void(MessageRef)> handler) {
  struct Listeners {
    platform::Mutex mutex;
    std::deque<QXBusEventCallback> all QX_GUARDED_BY(mutex);
  };
  static auto* const listeners = new Listeners;
  const platform::MutexLock lock(listeners->mutex);
  listeners->all.emplace_back().handler = std::move(handler);
  return &listeners->all.back();
}

std::string DBusTest::newBroadcastName() {
  static std::atomic<int> count{0};
  return "broadcast" + std::to_string(++count);
}

// --- Messages ------------------------------------------------------------------------------------

MessageRef messageTo(QXBusProxyInterface& proxy, const std::string& method,
                     const qxbus::Values& arguments) {
  MessageRef message = proxy.makeMethodCallMessage(method);
  for (const qxbus::Value& argument : arguments) {
    std::visit(Append{*message}, argument);
  }
  return message;
}

MessageRef call(QXBusProxyInterface& proxy, const std::string& method,
                const qxbus::Values& arguments, int timeoutMs) {
  return proxy.callWithReplyBlocking(messageTo(proxy, method, arguments), timeoutMs);
}

std::string bytesOf(QXBusMessage& message, int index) {
  int length = 0;
  unsigned char* const block = message.getBytes(index, &length);
  std::string bytes(block, block + length);
  ::operator delete(block);
  return bytes;
}

std::int32_t firstNumber(const MessageRef& message) {
  return message->getInt32(0);
}

std::vector<std::int32_t> firstNumbers(const Messages& messages) {
  std::vector<std::int32_t> numbers;
  for (const MessageRef& message : messages.items()) {
    numbers.push_back(firstNumber(message));
  }
  return numbers;
}

}  // namespace dbustest

void PrintTo(const std::shared_ptr<QXBusMessage>& message, std::ostream* stream) {
  *stream << (message ? message->toDebugString() : "no message");
}

// Takes the place of the real log, so that tests can read it.
extern "C" void norvoLogPrint(int /*channel*/, int level, const char* /*tag*/, const char* format,
                              ...) {
  char text[2000];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  dbustest::logLines().add((level >= 7 ? "error: " : "") + std::string(text));
}
