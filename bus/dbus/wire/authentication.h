// Authentication of a D-Bus client, before the first message, with the mechanism EXTERNAL: the
// client states its user id, and the server compares the id with that of the socket's other end.
//
//   client                            server
//   NUL, AUTH EXTERNAL 31303030       OK 1234deadbeef...        31303030 is "1000", a user id
//   BEGIN, then messages
//
// Either side takes the bytes that were received and returns the bytes to send:
//
//   ClientAuthentication client(::geteuid());
//   for (;;) {
//     send(client.takeOutput());
//     if (client.state() != AuthenticationState::kPending) { break; }
//     append(&received, receive());
//     received.erase(0, client.receive(received));
//   }
//
// File descriptors are never negotiated.

#ifndef BUS_DBUS_WIRE_AUTHENTICATION_H
#define BUS_DBUS_WIRE_AUTHENTICATION_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qxbus::wire {

enum class AuthenticationState {
  kPending,
  kDone,    // messages follow, in both directions
  kFailed,  // the connection is of no use
};

// The common part of both sides.
class Authentication {
 public:
  Authentication(const Authentication&) = delete;
  Authentication& operator=(const Authentication&) = delete;

  AuthenticationState state() const { return state_; }
  // The reason of a failure, for people.
  const std::string& reason() const { return reason_; }

  // Reads the lines that are complete.
  //
  // returns    the number of bytes that were used. The caller passes the rest again, with more
  // bytes
  //            behind; once the state is kDone, the rest belongs to the first message
  std::size_t receive(std::string_view bytes);

  // The bytes to send, also in the states kDone and kFailed; empty when there are none.
  std::string takeOutput();

 protected:
  Authentication() = default;
  ~Authentication() = default;

  // A line without its end.
  virtual void handle(std::string_view line) = 0;

  void send(std::string_view line);
  void finish() { state_ = AuthenticationState::kDone; }
  void fail(const std::string& reason);

 private:
  AuthenticationState state_ = AuthenticationState::kPending;
  std::string reason_;
  std::string output_;
  int lines_ = 0;
};

class ClientAuthentication final : public Authentication {
 public:
  // user       the effective user id of this process
  explicit ClientAuthentication(std::uint32_t user);

  // Of the server, when the state is kDone.
  const std::string& guid() const { return guid_; }

 private:
  void handle(std::string_view line) override;

  std::string guid_;
};

class ServerAuthentication final : public Authentication {
 public:
  // user       the user id of the socket's other end, as the system reports it; nullopt: a user
  //            that the server does not admit
  // guid       of this server: 32 hexadecimal digits
  ServerAuthentication(std::optional<std::uint32_t> user, std::string guid);

  // The client is who it says, and has only to begin.
  bool isAdmitted() const { return expected_ == Expected::kBegin; }

 private:
  enum class Expected { kAuth, kData, kBegin };

  void handle(std::string_view line) override;
  void handleAuth(std::string_view arguments);
  // identity   in hexadecimal digits; empty: the user of the socket's other end
  void admit(std::string_view identity);
  void reject();

  std::optional<std::uint32_t> user_;
  std::string guid_;
  Expected expected_ = Expected::kAuth;
  bool hasGreeted_ = false;  // the NUL was received
  int rejections_ = 0;
};

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_AUTHENTICATION_H
