// GDBus: blocking calls, and events from its main loop.

#include <gio/gio.h>

#include "benchmarks/peers/workload.h"

namespace {

using OnRecord = std::function<void(const void*, std::size_t)>;

void check(bool isRight, GError* error) {
  if (!isRight) {
    peers::fail(std::string("GDBus: ") + (error ? error->message : "failed"));
  }
}

struct Unref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Value = std::unique_ptr<GVariant, Unref>;

// The argument of a message with one of type av.
Value argument(GVariant* body, gsize index) {
  const Value array(g_variant_get_child_value(body, 0));
  const Value variant(g_variant_get_child_value(array.get(), index));
  return Value(g_variant_get_variant(variant.get()));
}

class GDBusPeer : public peers::Peer {
 public:
  explicit GDBusPeer(const peers::Address& address) : isDirect_(address.isDirect) {
    GError* error = nullptr;
    const int flags = G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                      (isDirect_ ? 0 : G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    bus_ = g_dbus_connection_new_for_address_sync(
        address.dbus.c_str(), static_cast<GDBusConnectionFlags>(flags), nullptr, nullptr, &error);
    check(bus_ != nullptr, error);
    g_dbus_connection_signal_subscribe(
        bus_, isDirect_ ? nullptr : peers::kBusName, peers::kInterface, peers::kEvent, peers::kPath,
        nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &GDBusPeer::onEvent, this, nullptr);
  }
  ~GDBusPeer() override { g_object_unref(bus_); }

  int connectDevice() override {
    GVariantBuilder arguments;
    g_variant_builder_init(&arguments, G_VARIANT_TYPE("av"));
    g_variant_builder_add(&arguments, "v", g_variant_new_int32(peers::kVm));
    g_variant_builder_add(&arguments, "v", g_variant_new_int16(peers::kDevice));
    const Value reply = call("connectDevice", &arguments);
    return g_variant_get_int32(argument(reply.get(), 0).get());
  }

  std::list<peers::Record> deviceList() override {
    GVariantBuilder arguments;
    g_variant_builder_init(&arguments, G_VARIANT_TYPE("av"));
    g_variant_builder_add(&arguments, "v", g_variant_new_int32(peers::kVm));
    const Value reply = call("getDeviceList", &arguments);
    const int count = g_variant_get_int32(argument(reply.get(), 0).get());
    std::list<peers::Record> records;
    for (int i = 1; i <= count; ++i) {
      const Value block = argument(reply.get(), static_cast<gsize>(i));
      gsize size = 0;
      const void* const bytes = g_variant_get_fixed_array(block.get(), &size, 1);
      records.push_back(peers::copyOf(bytes, size));
    }
    return records;
  }

  void events(int count, const OnRecord& onRecord) override {
    onRecord_ = &onRecord;
    left_ = count;
    GVariantBuilder arguments;
    g_variant_builder_init(&arguments, G_VARIANT_TYPE("av"));
    g_variant_builder_add(&arguments, "v", g_variant_new_int32(0));
    g_variant_builder_add(&arguments, "v", g_variant_new_int16(static_cast<gint16>(count)));
    call("doveltest", &arguments);
    while (left_ > 0) {
      g_main_context_iteration(nullptr, TRUE);
    }
  }

 private:
  static void onEvent(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                      const gchar* /*interface*/, const gchar* /*name*/, GVariant* body,
                      gpointer self) {
    auto* const peer = static_cast<GDBusPeer*>(self);
    const Value block = argument(body, 2);
    gsize size = 0;
    const void* const bytes = g_variant_get_fixed_array(block.get(), &size, 1);
    if (peer->left_ > 0) {
      (*peer->onRecord_)(bytes, size);
      --peer->left_;
    }
  }

  Value call(const char* method, GVariantBuilder* arguments) {
    GError* error = nullptr;
    GVariant* const reply = g_dbus_connection_call_sync(
        bus_, isDirect_ ? nullptr : peers::kBusName, peers::kPath, peers::kInterface, method,
        g_variant_new("(av)", arguments), nullptr, G_DBUS_CALL_FLAGS_NONE, peers::kTimeoutMs,
        nullptr, &error);
    check(reply != nullptr, error);
    return Value(reply);
  }

  const bool isDirect_;
  GDBusConnection* bus_ = nullptr;
  const OnRecord* onRecord_ = nullptr;
  int left_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  return peers::runPeer(argc, argv, [](const peers::Address& address) {
    return std::make_unique<GDBusPeer>(address);
  });
}
