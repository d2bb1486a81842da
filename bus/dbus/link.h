// A connection that leads to services: through a bus daemon, or straight to the one service that
// listens at a socket. It knows the users of the peers there; a bus that has been started again
// gives the same unique names to other peers, so none of this outlives the connection.
//
// A direct connection has no names. Its other end is the owner of every name, under kPeerName, for
// as long as the connection lasts, and sends everything that comes.
//
// THREADS   Any thread may call.

#ifndef BUS_DBUS_LINK_H
#define BUS_DBUS_LINK_H

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "base/result.h"
#include "bus/dbus/transport/connection.h"
#include "platform/mutex.h"

namespace qxbus {

// How long the bus daemon may take to reply to a client: callers hold locks meanwhile.
inline constexpr int kBusTimeoutMs = 2000;

inline constexpr char kDaemonName[] = "org.freedesktop.DBus";
inline constexpr char kDaemonPath[] = "/org/freedesktop/DBus";
// The other end of a direct connection, where a bus would have a unique name.
inline constexpr char kPeerName[] = ":direct";

class Link : public std::enable_shared_from_this<Link> {
 public:
  // Makes the handlers of the connection. Messages may come before connect() has returned.
  using MakeHandlers = std::function<Connection::Handlers(const std::weak_ptr<Link>& link)>;

  // Connects to the bus at the address, signs in, and asks for the signals that the rule matches;
  // at a direct address, connects to the service, which sends all of its signals. An empty address
  // stands for busAddress(), an empty rule for no signals.
  //
  // The reason of a failure names the address; busFailure() gives the same one.
  //
  // attempts   as for dial()
  static base::Result<std::shared_ptr<Link>> connect(std::string address,
                                                     const std::string& service,
                                                     const std::string& rule,
                                                     const MakeHandlers& makeHandlers,
                                                     Clock::time_point deadline,
                                                     DialAttempts* attempts = nullptr);
  // For a client that only calls: it takes no message but replies.
  static Connection::Handlers repliesOnly(const std::weak_ptr<Link>& link);

  bool isDirect() const { return isDirect_; }
  bool isOpen() const;
  // Whether the link leads to a bus, or to a service that answers by the deadline: one that has
  // ended closes its connections a moment later.
  bool isAlive(Clock::time_point deadline) const;
  // Null before the first message can come.
  std::shared_ptr<Connection> connection() const;

  // Who has sent a message.
  std::string_view senderOf(const wire::Header& header) const {
    return isDirect_ ? kPeerName : header.sender;
  }
  // How a message to an owner is addressed.
  std::string destinationOf(const std::string& owner) const { return isDirect_ ? "" : owner; }

  // --- The bus daemon --------------------------------------------------------------------------

  struct Owner {
    std::string name;  // unique; empty when there is none
    std::optional<uid_t> user;
  };
  // Asks for the signals that the rules match, then for the owner of a name and its user, all at
  // once. The signals come from before the owner was asked for. The user is that of a later owner
  // when the name has changed hands meanwhile, which a rule should report.
  //
  // standing   empty; gets the rules that the daemon has been sent and has not refused, also when
  //            this function ends in an exception. Another handle may have the same ones, and must
  //            not lose them to a removeMatch() of what was never added.
  // returns    a failure when the daemon refuses a rule or does not answer
  base::Result<Owner> find(const std::string& busName, std::vector<std::string> rules,
                           std::vector<std::string>* standing, Clock::time_point deadline) const;
  // The same without signals. Without an answer the name has no owner.
  Owner ownerOf(const std::string& busName, Clock::time_point deadline) const;
  // Does not wait.
  void removeMatch(const std::string& rule) const;
  base::Result<void> requestName(const std::string& busName, Clock::time_point deadline) const;
  void releaseName(const std::string& busName, Clock::time_point deadline) const;

  // --- Users -----------------------------------------------------------------------------------

  // The user of a unique or a well-known name; nullopt when it has no owner, or there is no answer.
  std::optional<uid_t> userOf(const std::string& name, Clock::time_point deadline) const;
  // The process, likewise. Not every system says it.
  std::optional<pid_t> processOf(const std::string& name, Clock::time_point deadline) const;
  // The user of a unique name, if it has been asked for.
  std::optional<uid_t> knownUser(std::string_view uniqueName) const;
  void remember(std::string_view uniqueName, uid_t user);
  // Asks for it without waiting. answer runs once, on the thread that reads or on this one.
  void identify(const std::string& uniqueName, Clock::time_point deadline,
                std::function<void(std::optional<uid_t>)> answer);

  // Whether a peer runs as this user or as root. The log names the peer as `what` when it does not.
  bool isTrusted(const std::string& uniqueName, const std::string& what,
                 Clock::time_point deadline);
  // Logs, once per sender, that its broadcast events are refused: any peer may broadcast as often
  // as it likes.
  void logRefusedSender(std::string_view sender, const std::string& reason);

 private:
  explicit Link(bool isDirect) : isDirect_(isDirect) {}
  Owner directOwner() const;

  static base::Result<std::shared_ptr<Link>> attempt(
      std::string address, const std::string& service, const std::string& rule,
      const MakeHandlers& makeHandlers, Clock::time_point deadline, DialAttempts* attempts);
  base::Result<void> open(const std::string& address, const std::string& rule,
                          const MakeHandlers& makeHandlers, const std::weak_ptr<Link>& self,
                          Clock::time_point deadline, DialAttempts* attempts);

  const bool isDirect_;

  mutable platform::Mutex mutex_;
  std::shared_ptr<Connection> connection_ QX_GUARDED_BY(mutex_);
  std::map<std::string, uid_t, std::less<>> users_ QX_GUARDED_BY(mutex_);  // by unique name
  std::set<std::string, std::less<>> refusedSenders_ QX_GUARDED_BY(mutex_);
};

// What busFailure() returns from now on.
void setBusFailure(const std::string& reason);

// Whether a user is this one or root.
bool isTrustedUser(uid_t user);
// Why a peer is refused; empty when it runs as this user or as root. An unknown user is a reason.
std::string refusalOf(std::optional<uid_t> user);

}  // namespace qxbus

#endif  // BUS_DBUS_LINK_H
