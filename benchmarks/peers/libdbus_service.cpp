// The service of the comparison, on libdbus: answers the methods that peers call, and sends events.
//
//   libdbus_service ADDRESS    a bus, or direct:PATH to listen at a socket itself
//
// Writes "ready" when it can be called, and ends with its input.

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include <dbus/dbus.h>
#include <unistd.h>

#include "benchmarks/peers/libdbus_arguments.h"
#include "benchmarks/peers/workload.h"

namespace {

using peers::ArrayReader;
using peers::ArrayWriter;
using peers::Message;

class Service {
 public:
  DBusHandlerResult handle(DBusConnection* connection, DBusMessage* call) {
    if (dbus_message_get_type(call) != DBUS_MESSAGE_TYPE_METHOD_CALL) {
      return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    const char* const member = dbus_message_get_member(call);
    const Message reply(dbus_message_new_method_return(call));
    int events = 0;
    if (std::strcmp(member, "getDeviceList") == 0) {
      ArrayWriter list(reply.get());
      list.int32(peers::kRecords);
      for (int i = 0; i < peers::kRecords; ++i) {
        list.bytes(record_.data(), record_.size());
      }
    } else if (std::strcmp(member, "getVmListSize") == 0) {
      ArrayWriter(reply.get()).int32(peers::kVm);
    } else {
      if (std::strcmp(member, "doveltest") == 0) {
        ArrayReader arguments(call);
        arguments.int32();
        events = arguments.int16();
      }
      ArrayWriter(reply.get()).int32(peers::kStatus);
    }
    dbus_connection_send(connection, reply.get(), nullptr);
    for (; events > 0; --events) {
      const Message event(dbus_message_new_signal(peers::kPath, peers::kInterface, peers::kEvent));
      ArrayWriter(event.get())
          .int32(0)
          .int32(peers::kDevicePlugged)
          .bytes(record_.data(), record_.size());
      dbus_connection_send(connection, event.get(), nullptr);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
  }

 private:
  std::vector<unsigned char> record_ = peers::newRecord();
};

DBusHandlerResult filter(DBusConnection* connection, DBusMessage* message, void* service) {
  return static_cast<Service*>(service)->handle(connection, message);
}

void serve(DBusConnection* connection) {
  while (dbus_connection_read_write_dispatch(connection, -1)) {
  }
}

// Each client has a thread of its own.
void onClient(DBusServer* /*server*/, DBusConnection* client, void* service) {
  dbus_connection_ref(client);
  dbus_connection_set_exit_on_disconnect(client, FALSE);
  dbus_connection_add_filter(client, filter, service, nullptr);
  std::thread([client] {
    serve(client);
    dbus_connection_unref(client);
  }).detach();
}

void endWithInput() {
  std::thread([] {
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
    ::_exit(0);
  }).detach();
}

void reportReady() {
  std::puts("ready");
  std::fflush(stdout);
}

// libdbus leaves the polling of a server to its owner: the descriptor becomes readable for each
// client.
DBusWatch* serverWatch = nullptr;

dbus_bool_t addWatch(DBusWatch* watch, void* /*data*/) {
  serverWatch = watch;
  return TRUE;
}

void removeWatch(DBusWatch* /*watch*/, void* /*data*/) {}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    peers::fail("usage: libdbus_service ADDRESS");
  }
  dbus_threads_init_default();
  const peers::Address address = peers::parseAddress(argv[1]);
  Service service;
  DBusError error;
  dbus_error_init(&error);
  endWithInput();
  if (address.isDirect) {
    DBusServer* const server = dbus_server_listen(address.dbus.c_str(), &error);
    if (!server) {
      peers::fail(error.message);
    }
    dbus_server_set_new_connection_function(server, onClient, &service, nullptr);
    dbus_server_set_watch_functions(server, addWatch, removeWatch, nullptr, nullptr, nullptr);
    reportReady();
    for (;;) {
      fd_set readable;
      FD_ZERO(&readable);
      const int descriptor = dbus_watch_get_unix_fd(serverWatch);
      FD_SET(descriptor, &readable);
      ::select(descriptor + 1, &readable, nullptr, nullptr, nullptr);
      dbus_watch_handle(serverWatch, DBUS_WATCH_READABLE);
    }
  }
  DBusConnection* const connection = dbus_connection_open_private(address.dbus.c_str(), &error);
  if (!connection || !dbus_bus_register(connection, &error)) {
    peers::fail(error.message);
  }
  dbus_connection_set_exit_on_disconnect(connection, FALSE);
  dbus_connection_add_filter(connection, filter, &service, nullptr);
  dbus_bus_request_name(connection, peers::kBusName, 0, &error);
  reportReady();
  serve(connection);
  return 0;
}
