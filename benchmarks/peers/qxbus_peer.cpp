// The bus layer alone, as the library uses it: without the library's lock, log and checks.

#include <condition_variable>
#include <cstdlib>
#include <mutex>

#include "benchmarks/peers/workload.h"
#include "bus/qxbus.h"
#include "platform/log.h"

namespace {

using OnRecord = std::function<void(const void*, std::size_t)>;

constexpr int kRecordArgument = 2;

class QXBusPeer : public peers::Peer {
 public:
  QXBusPeer() {
    QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
    service_ = manager
                   ? manager->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1)
                   : nullptr;
    if (!service_) {
      peers::fail("bus layer: no service");
    }
    listener_->handler = [this](const std::shared_ptr<QXBusMessage>& event) { onEvent(*event); };
    service_->addEventListener(peers::kEvent, listener_, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  }

  int connectDevice() override {
    const auto request = service_->makeMethodCallMessage("connectDevice");
    request->appendInt32(peers::kVm);
    request->appendInt16(peers::kDevice);
    return reply(request)->getInt32(0);
  }

  std::list<peers::Record> deviceList() override {
    const auto request = service_->makeMethodCallMessage("getDeviceList");
    request->appendInt32(peers::kVm);
    const auto answer = reply(request);
    std::list<peers::Record> records;
    for (int at = 1; at <= answer->getInt32(0); ++at) {
      int length = 0;
      unsigned char* const block = answer->getBytes(at, &length);
      records.push_back(peers::copyOf(block, static_cast<std::size_t>(length)));
      ::operator delete(block);
    }
    return records;
  }

  void events(int count, const OnRecord& onRecord) override {
    std::unique_lock<std::mutex> lock(mutex_);
    onRecord_ = &onRecord;
    left_ = count;
    lock.unlock();
    const auto request = service_->makeMethodCallMessage("doveltest");
    request->appendInt32(0);
    request->appendInt16(static_cast<std::int16_t>(count));
    reply(request);
    lock.lock();
    done_.wait(lock, [this] { return left_ == 0; });
  }

 private:
  std::shared_ptr<QXBusMessage> reply(const std::shared_ptr<QXBusMessage>& request) {
    auto answer = service_->callWithReplyBlocking(request, peers::kTimeoutMs);
    if (answer->type() != MESSAGE_TYPE_METHOD_RETURN) {
      peers::fail("bus layer: " + answer->getString(0));
    }
    return answer;
  }

  void onEvent(QXBusMessage& event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (left_ > 0) {
      int length = 0;
      unsigned char* const block = event.getBytes(kRecordArgument, &length);
      (*onRecord_)(block, static_cast<std::size_t>(length));
      ::operator delete(block);
      if (--left_ == 0) {
        done_.notify_one();
      }
    }
  }

  std::shared_ptr<QXBusProxyInterface> service_;
  // Never freed: the bus does not say when it has done with one.
  QXBusEventCallback* const listener_ = new QXBusEventCallback;
  std::mutex mutex_;
  std::condition_variable done_;
  const OnRecord* onRecord_ = nullptr;
  int left_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const auto connect = [](const peers::Address& address) {
    const std::string bus = address.isDirect ? "direct:" + address.path : address.dbus;
    ::setenv("QXBUS_ADDRESS", bus.c_str(), 1);
    return std::make_unique<QXBusPeer>();
  };
  return peers::runPeer(argc, argv, connect, true);
}

// The log of the bus layer: lines that the comparison does not count.
extern "C" void norvoLogPrint(int /*channel*/, int /*level*/, const char* /*tag*/,
                              const char* /*format*/, ...) {}
