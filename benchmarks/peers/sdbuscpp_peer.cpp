// sdbus-c++ with its loop thread, as its tutorial has it.

#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <vector>

#include <sdbus-c++/sdbus-c++.h>

#include "benchmarks/peers/workload.h"

namespace {

using Arguments = std::vector<sdbus::Variant>;
using Block = std::vector<std::uint8_t>;

class SdbusCppPeer : public peers::Peer {
 public:
  explicit SdbusCppPeer(const peers::Address& address) {
    if (address.isDirect) {
      peers::fail("sdbus-c++ 1.2 has no direct connections");
    }
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.dbus.c_str(), 1);
    proxy_ = sdbus::createProxy(sdbus::createSessionBusConnection(), peers::kBusName, peers::kPath);
    proxy_->uponSignal(peers::kEvent)
        .onInterface(peers::kInterface)
        .call([this](const Arguments& arguments) { onEvent(arguments); });
    proxy_->finishRegistration();
  }

  int connectDevice() override {
    return call("connectDevice", {sdbus::Variant(std::int32_t{peers::kVm}),
                                  sdbus::Variant(std::int16_t{peers::kDevice})})
        .at(0)
        .get<std::int32_t>();
  }

  std::list<peers::Record> deviceList() override {
    const Arguments reply = call("getDeviceList", {sdbus::Variant(std::int32_t{peers::kVm})});
    std::list<peers::Record> records;
    const int count = reply.at(0).get<std::int32_t>();
    for (int i = 1; i <= count; ++i) {
      const auto block = reply.at(static_cast<std::size_t>(i)).get<Block>();
      records.push_back(peers::copyOf(block.data(), block.size()));
    }
    return records;
  }

  void events(int count, const std::function<void(const void*, std::size_t)>& onRecord) override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      onRecord_ = &onRecord;
      left_ = count;
    }
    call("doveltest",
         {sdbus::Variant(std::int32_t{0}), sdbus::Variant(static_cast<std::int16_t>(count))});
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [this] { return left_ == 0; });
  }

 private:
  Arguments call(const char* method, const Arguments& arguments) {
    Arguments reply;
    proxy_->callMethod(method)
        .onInterface(peers::kInterface)
        .withTimeout(std::chrono::milliseconds(peers::kTimeoutMs))
        .withArguments(arguments)
        .storeResultsTo(reply);
    return reply;
  }

  void onEvent(const Arguments& arguments) {
    const auto block = arguments.at(2).get<Block>();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (left_ > 0) {
      (*onRecord_)(block.data(), block.size());
      if (--left_ == 0) {
        done_.notify_one();
      }
    }
  }

  std::mutex mutex_;
  std::condition_variable done_;
  const std::function<void(const void*, std::size_t)>* onRecord_ = nullptr;
  int left_ = 0;
  std::unique_ptr<sdbus::IProxy> proxy_;
};

}  // namespace

int main(int argc, char** argv) {
  return peers::runPeer(argc, argv, [](const peers::Address& address) {
    return std::make_unique<SdbusCppPeer>(address);
  });
}
