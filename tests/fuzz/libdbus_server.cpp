#include "tests/fuzz/libdbus_server.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <dbus/dbus.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "bus/dbus/wire/address.h"

namespace fuzz {
namespace {

void require(bool isDone, const char* what) {
  if (!isDone) {
    throw std::runtime_error(std::string("libdbus: ") + what);
  }
}

}  // namespace

// What libdbus wants to be woken for. Nothing waits: sockets of one process are ready at once.
class LibdbusServer::Watches {
 public:
  static dbus_bool_t add(DBusWatch* watch, void* data) {
    static_cast<Watches*>(data)->all_.push_back(watch);
    return TRUE;
  }
  static void remove(DBusWatch* watch, void* data) {
    auto& all = static_cast<Watches*>(data)->all_;
    all.erase(std::remove(all.begin(), all.end(), watch), all.end());
  }

  // Handles one watch that is ready. False when there is none.
  bool handleOne() {
    for (DBusWatch* const watch : all_) {
      if (dbus_watch_get_enabled(watch) == FALSE) {
        continue;
      }
      const unsigned int wanted = dbus_watch_get_flags(watch);
      pollfd ready = {dbus_watch_get_unix_fd(watch), 0, 0};
      for (const auto& [flag, event] : kFlags) {
        ready.events = static_cast<short>(ready.events | ((wanted & flag) != 0 ? event : 0));
      }
      if (::poll(&ready, 1, 0) > 0) {
        unsigned int flags = 0;
        for (const auto& [flag, event] : kFlags) {
          flags |= (ready.revents & event) != 0 ? flag : 0;
        }
        dbus_watch_handle(watch, flags);
        return true;
      }
    }
    return false;
  }

 private:
  static constexpr std::pair<unsigned int, short> kFlags[] = {{DBUS_WATCH_READABLE, POLLIN},
                                                              {DBUS_WATCH_WRITABLE, POLLOUT},
                                                              {DBUS_WATCH_HANGUP, POLLHUP},
                                                              {DBUS_WATCH_ERROR, POLLERR}};

  std::vector<DBusWatch*> all_;
};

class LibdbusServer::Impl {
 public:
  Impl() : directory_((std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string()) {
    require(::mkdtemp(directory_.data()) != nullptr, "a directory for its socket");
    const auto address = qxbus::wire::socketAddressOf(directory_ + "/socket");
    require(static_cast<bool>(address), "the address of its socket");
    address_ = *address;
    server_ = dbus_server_listen(address_.text.c_str(), nullptr);
    require(server_ != nullptr, "a server");
    const char* mechanisms[] = {"EXTERNAL", nullptr};
    dbus_server_set_auth_mechanisms(server_, mechanisms);
    dbus_server_set_new_connection_function(server_, takeConnection, this, nullptr);
    dbus_server_set_watch_functions(server_, Watches::add, Watches::remove, nullptr, &watches_,
                                    nullptr);
  }
  ~Impl() {
    dbus_server_disconnect(server_);
    dbus_server_unref(server_);
    std::filesystem::remove_all(directory_);
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  Verdict converse(const std::vector<std::string_view>& pieces) {
    const base::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    require(::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address_.socket),
                      address_.size) == 0,
            "a connection");
    require(::fcntl(socket.number(), F_SETFL, O_NONBLOCK) == 0, "a socket that does not wait");
    Verdict verdict;
    for (const std::string_view piece : pieces) {
      // A server that has closed the connection does not take it.
      [[maybe_unused]] const ssize_t sent =
          ::send(socket.number(), piece.data(), piece.size(), MSG_NOSIGNAL);
      handleAll(socket.number(), &verdict.answer);
    }
    handleAll(socket.number(), &verdict.answer);
    require(connection_ != nullptr, "it has accepted the connection");
    verdict.isAuthenticated = dbus_connection_get_is_authenticated(connection_) != FALSE;
    verdict.isConnected = dbus_connection_get_is_connected(connection_) != FALSE;
    dbus_connection_close(connection_);
    while (dbus_connection_dispatch(connection_) == DBUS_DISPATCH_DATA_REMAINS) {
    }
    dbus_connection_unref(connection_);
    connection_ = nullptr;
    return verdict;
  }

 private:
  static void takeConnection(DBusServer* /*server*/, DBusConnection* connection, void* data) {
    auto& self = *static_cast<Impl*>(data);
    self.connection_ = dbus_connection_ref(connection);
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    dbus_connection_set_watch_functions(connection, Watches::add, Watches::remove, nullptr,
                                        &self.watches_, nullptr);
  }

  void handleAll(int socket, std::string* answer) {
    while (watches_.handleOne()) {
      char bytes[1000];
      for (ssize_t size = 1; size > 0;) {
        size = ::recv(socket, bytes, sizeof bytes, 0);
        answer->append(bytes, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
      }
    }
  }

  std::string directory_;
  qxbus::wire::SocketAddress address_;
  DBusServer* server_ = nullptr;
  Watches watches_;
  DBusConnection* connection_ = nullptr;
};

LibdbusServer::LibdbusServer() : impl_(std::make_unique<Impl>()) {}
LibdbusServer::~LibdbusServer() = default;

LibdbusServer::Verdict LibdbusServer::converse(const std::vector<std::string_view>& pieces) {
  return impl_->converse(pieces);
}

}  // namespace fuzz
