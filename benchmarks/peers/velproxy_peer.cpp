// This library: qx::VelProxy as a client uses it.

#include <condition_variable>
#include <cstdlib>
#include <mutex>

#include "benchmarks/peers/workload.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

using OnRecord = std::function<void(const void*, std::size_t)>;

constexpr char kVmName[] = "win11";

class VelProxyPeer : public peers::Peer {
 public:
  VelProxyPeer() : proxy_(qx::VelProxy::getInstance()) {
    if (proxy_->GetVmIdInt(kVmName) != static_cast<unsigned int>(peers::kVm)) {
      peers::fail("velproxy: the service does not know the VM");
    }
    proxy_->RegisterDeviceCallback(&VelProxyPeer::onDevice, this);
  }

  ~VelProxyPeer() override { proxy_->UnregisterDeviceCallback(this); }

  int connectDevice() override { return proxy_->ConnectDevice(kVmName, peers::kDevice); }

  std::list<peers::Record> deviceList() override {
    std::list<peers::Record> records;
    for (CommonDevice* const device : proxy_->GetDeviceList(kVmName)) {
      records.emplace_back(device);
    }
    return records;
  }

  void events(int count, const OnRecord& onRecord) override {
    std::unique_lock<std::mutex> lock(mutex_);
    onRecord_ = &onRecord;
    left_ = count;
    lock.unlock();
    proxy_->DoVelTest("", static_cast<unsigned int>(count));
    lock.lock();
    done_.wait(lock, [this] { return left_ == 0; });
  }

 private:
  static int onDevice(unsigned short /*code*/, CommonDevice* device, void* self) {
    auto* const peer = static_cast<VelProxyPeer*>(self);
    const std::lock_guard<std::mutex> lock(peer->mutex_);
    if (peer->left_ > 0) {
      (*peer->onRecord_)(device, peers::kRecordSize);
      if (--peer->left_ == 0) {
        peer->done_.notify_one();
      }
    }
    return 0;
  }

  qx::VelProxy* proxy_;
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
    return std::make_unique<VelProxyPeer>();
  };
  return peers::runPeer(argc, argv, connect, true);
}
