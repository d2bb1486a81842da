// libdbus, the reference: blocking calls, and events read in its own loop.

#include <dbus/dbus.h>

#include "benchmarks/peers/libdbus_arguments.h"
#include "benchmarks/peers/workload.h"

namespace {

using peers::ArrayReader;
using peers::Message;

class LibdbusPeer : public peers::Peer {
 public:
  explicit LibdbusPeer(const peers::Address& address) : isDirect_(address.isDirect) {
    DBusError error;
    dbus_error_init(&error);
    connection_ = dbus_connection_open_private(address.dbus.c_str(), &error);
    if (!connection_) {
      peers::fail(std::string("libdbus: ") + error.message);
    }
    dbus_connection_set_exit_on_disconnect(connection_, FALSE);
    if (!isDirect_) {
      if (!dbus_bus_register(connection_, &error)) {
        peers::fail(std::string("libdbus: ") + error.message);
      }
      dbus_bus_add_match(connection_,
                         "type='signal',sender='qx.bus.vel',path='/qx/bus/vel',"
                         "interface='qx.bus.vel',member='velevent'",
                         &error);
    }
  }

  ~LibdbusPeer() override {
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
  }

  int connectDevice() override {
    const Message call = newCall("connectDevice");
    peers::ArrayWriter(call.get()).int32(peers::kVm).int16(peers::kDevice);
    return ArrayReader(reply(call).get()).int32();
  }

  std::list<peers::Record> deviceList() override {
    const Message call = newCall("getDeviceList");
    peers::ArrayWriter(call.get()).int32(peers::kVm);
    const Message answer = reply(call);
    ArrayReader arguments(answer.get());
    std::list<peers::Record> records;
    for (int left = arguments.int32(); left > 0; --left) {
      const auto [bytes, size] = arguments.bytes();
      records.push_back(peers::copyOf(bytes, size));
    }
    return records;
  }

  void events(int count, const std::function<void(const void*, std::size_t)>& onRecord) override {
    const Message call = newCall("doveltest");
    peers::ArrayWriter(call.get()).int32(0).int16(static_cast<dbus_int16_t>(count));
    reply(call);
    while (count > 0) {
      dbus_connection_read_write(connection_, -1);
      while (DBusMessage* const popped = dbus_connection_pop_message(connection_)) {
        const Message message(popped);
        if (dbus_message_is_signal(popped, peers::kInterface, peers::kEvent) &&
            dbus_message_has_path(popped, peers::kPath)) {
          ArrayReader arguments(popped);
          arguments.int32();
          arguments.int32();
          const auto [bytes, size] = arguments.bytes();
          onRecord(bytes, size);
          --count;
        }
      }
    }
  }

 private:
  Message newCall(const char* method) const {
    return Message(dbus_message_new_method_call(isDirect_ ? nullptr : peers::kBusName, peers::kPath,
                                                peers::kInterface, method));
  }

  Message reply(const Message& call) {
    DBusError error;
    dbus_error_init(&error);
    Message answer(dbus_connection_send_with_reply_and_block(connection_, call.get(),
                                                             peers::kTimeoutMs, &error));
    if (!answer) {
      peers::fail(std::string("libdbus: ") + error.message);
    }
    return answer;
  }

  const bool isDirect_;
  DBusConnection* connection_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  dbus_threads_init_default();
  return peers::runPeer(argc, argv, [](const peers::Address& address) {
    return std::make_unique<LibdbusPeer>(address);
  });
}
