// sd-bus: blocking calls, and events processed in its own loop.

#include <cstdint>
#include <cstring>

#include <systemd/sd-bus.h>

#include "benchmarks/peers/workload.h"

namespace {

constexpr std::uint64_t kTimeoutUs = std::uint64_t{peers::kTimeoutMs} * 1000;

void check(int result, const char* what) {
  if (result < 0) {
    peers::fail(std::string("sd-bus: ") + what + ": " + std::strerror(-result));
  }
}

struct Unref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unref>;

int int32In(sd_bus_message* message) {
  std::int32_t value = 0;
  check(sd_bus_message_read(message, "v", "i", &value), "reading an int32");
  return value;
}

std::pair<const void*, std::size_t> bytesIn(sd_bus_message* message) {
  const void* bytes = nullptr;
  std::size_t size = 0;
  check(sd_bus_message_enter_container(message, 'v', "ay"), "reading a block");
  check(sd_bus_message_read_array(message, 'y', &bytes, &size), "reading a block");
  check(sd_bus_message_exit_container(message), "reading a block");
  return {bytes, size};
}

class SdBusPeer : public peers::Peer {
 public:
  explicit SdBusPeer(const peers::Address& address) : isDirect_(address.isDirect) {
    check(sd_bus_new(&bus_), "new");
    check(sd_bus_set_address(bus_, address.dbus.c_str()), "address");
    check(sd_bus_set_bus_client(bus_, isDirect_ ? 0 : 1), "client");
    check(sd_bus_start(bus_), "start");
    check(sd_bus_match_signal(bus_, nullptr, isDirect_ ? nullptr : peers::kBusName, peers::kPath,
                              peers::kInterface, peers::kEvent, &SdBusPeer::onEvent, this),
          "match");
  }
  ~SdBusPeer() override { sd_bus_flush_close_unref(bus_); }

  int connectDevice() override {
    const Message call = newCall("connectDevice");
    check(sd_bus_message_append(call.get(), "av", 2, "i", peers::kVm, "n", int{peers::kDevice}),
          "arguments");
    const Message reply = callWith(call);
    check(sd_bus_message_enter_container(reply.get(), 'a', "v"), "reply");
    return int32In(reply.get());
  }

  std::list<peers::Record> deviceList() override {
    const Message call = newCall("getDeviceList");
    check(sd_bus_message_append(call.get(), "av", 1, "i", peers::kVm), "arguments");
    const Message reply = callWith(call);
    check(sd_bus_message_enter_container(reply.get(), 'a', "v"), "reply");
    std::list<peers::Record> records;
    for (int left = int32In(reply.get()); left > 0; --left) {
      const auto [bytes, size] = bytesIn(reply.get());
      records.push_back(peers::copyOf(bytes, size));
    }
    return records;
  }

  void events(int count, const std::function<void(const void*, std::size_t)>& onRecord) override {
    onRecord_ = &onRecord;
    left_ = count;
    const Message call = newCall("doveltest");
    check(sd_bus_message_append(call.get(), "av", 2, "i", 0, "n", count), "arguments");
    callWith(call);
    while (left_ > 0) {
      const int processed = sd_bus_process(bus_, nullptr);
      check(processed, "process");
      if (processed == 0) {
        check(sd_bus_wait(bus_, UINT64_MAX), "wait");
      }
    }
  }

 private:
  static int onEvent(sd_bus_message* event, void* self, sd_bus_error* /*error*/) {
    auto* const peer = static_cast<SdBusPeer*>(self);
    check(sd_bus_message_enter_container(event, 'a', "v"), "event");
    int32In(event);
    int32In(event);
    const auto [bytes, size] = bytesIn(event);
    (*peer->onRecord_)(bytes, size);
    --peer->left_;
    return 0;
  }

  Message newCall(const char* method) {
    sd_bus_message* call = nullptr;
    check(sd_bus_message_new_method_call(bus_, &call, isDirect_ ? nullptr : peers::kBusName,
                                         peers::kPath, peers::kInterface, method),
          "new call");
    return Message(call);
  }

  Message callWith(const Message& call) {
    sd_bus_message* reply = nullptr;
    check(sd_bus_call(bus_, call.get(), kTimeoutUs, nullptr, &reply), "call");
    return Message(reply);
  }

  const bool isDirect_;
  sd_bus* bus_ = nullptr;
  const std::function<void(const void*, std::size_t)>* onRecord_ = nullptr;
  int left_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  return peers::runPeer(argc, argv, [](const peers::Address& address) {
    return std::make_unique<SdBusPeer>(address);
  });
}
