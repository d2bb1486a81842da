// A bus that answers what a test has said and records what it was asked: an implementation of
// bus/qxbus.h that is linked in place of the real one.
//
//   bus.knowsVm("win11", 7);
//   bus.answer("connectDevice", Reply().int32(0));
//   proxy.ConnectDevice("win11", 12);
//   EXPECT_EQ(bus.lastCall(), "connectDevice(int32 7, int16 12)");
//
// Its events on the timeline (see timeline.h):
//   initSync(-1)
//   isServiceRegistered("vel")
//   getServiceProxyInterface("vel", 1, 1)
//   interface addEventListener("velevent", 1)     interface removeEventListener("velevent")
//   manager addEventListener("mountedEvent", 1)
//   setDeathCallback()
//   interface destroyed                           its last reference is gone
//   make connectDevice()                          a message, whether or not it is ever sent
//   call connectDevice(int32 7, int16 12) within 3000 ms       waits for the reply
//   send disconnectVm(int32 7) within -1 ms                    does not wait
//   return connectDevice()                        the reply is handed over
//   read connectDevice(0)                         an argument of the reply is read; not recorded,
//                                                 only for when() and hold()
//   death                                         a death callback is about to run; not recorded,
//                                                 only for when() and hold()
//
// An action that Timeline::when runs at one of these events comes before the bus does its part: at
// `call` the reply can still be scripted, at `isServiceRegistered` the service can still be
// stopped.
//
// THREADS   Listeners, completions and deaths run on threads of the bus: the first two while emit()
//           and complete() wait for them, the deaths until waitForDeaths().

#ifndef TESTS_SCRIPTED_BUS_SCRIPTED_BUS_H
#define TESTS_SCRIPTED_BUS_SCRIPTED_BUS_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "bus/qxbus.h"

namespace scripted {

using Bytes = std::vector<unsigned char>;

// A string that was appended as a character array.
struct CString {
  std::string text;
};

using Argument = std::variant<std::int16_t, std::int32_t, std::uint64_t, std::int64_t, double,
                              std::string, CString, Bytes>;

// "int32 7", "string \"win11\"", "cstring \"win11\"", "bytes[2] 0aff"
std::string show(const Argument& argument);
std::string show(const std::vector<Argument>& arguments);
Bytes bytesOf(const void* data, std::size_t length);
Bytes bytesOf(const std::string& text);

// What a service sends: a normal reply unless it says otherwise, or the arguments of an event.
class Reply {
 public:
  Reply() = default;
  static Reply error(const std::string& text, int type = MESSAGE_TYPE_ERROR);
  // No message at all, which a bus should never give.
  static Reply missing();

  Reply& int16(std::int16_t value);
  Reply& int32(std::int32_t value);
  Reply& uint64(std::uint64_t value);
  Reply& string(const std::string& value);
  Reply& bytes(const Bytes& value);
  Reply& ofType(int type);

  // What toDebugString() of the message gives.
  std::string debugString() const;

  int type = MESSAGE_TYPE_METHOD_RETURN;
  std::vector<Argument> arguments;
  bool isMissing = false;
};
using EventArguments = Reply;

// One request, as it was when it was sent.
struct Call {
  std::string method;
  std::vector<Argument> arguments;
  int timeoutMs;
  bool waits;  // false: callWithReply
  std::thread::id thread;
  int interface;  // counts the interfaces since the bus was made, from 1

  // The request as text: "connectDevice(int32 7, int16 12)"
  std::string text() const;
  // The block at an index; empty if that is none.
  Bytes bytes(std::size_t index) const;
};

struct Listening {
  std::string event;
  QXBusEventCallback* listener;
  int flags;
};

class ScriptedBus {
 public:
  // Never destroyed, because the process-wide instance never is.
  static ScriptedBus& the();

  // Bus and service are there, nothing is scripted or recorded, nobody listens. Waits for deaths.
  void reset();
  // Forgets the calls so far.
  void clear();

  // --- What is there ---------------------------------------------------------------------------

  // false: initSync gives null.
  void setReachable(bool reachable);
  // false: isServiceRegistered says so, and no interface is given.
  void setRegistered(bool registered);
  // true: getServiceProxyInterface gives none, although the service is registered.
  void setRefusing(bool refusing);
  // true: removeEventListener frees the listener, as a bus may.
  void setFreeing(bool freeing);

  // --- What the service answers ----------------------------------------------------------------

  // The answer to each call of a method, until another one is said. Without one a call gets an
  // error reply that says so.
  void answer(const std::string& method, const Reply& reply);
  // The answers to the next calls, before that one.
  void answerOnce(const std::string& method, const Reply& reply);
  // Lets a service answer every call, in place of the answers above.
  void answerFrom(std::function<Reply(const Call& call)> service);
  // What getVmListSize answers for a name: 0 for the names not known. An answer() goes before it.
  void knowsVm(const std::string& vmId, unsigned int number);

  // --- What the bus does by itself -------------------------------------------------------------

  // Hands an event to every listener of that name, on a thread of the bus, and waits for them.
  // Listeners of interfaces and of the manager are told apart by the event's name only. An
  // exception that leaves a listener, where a bus would end the process, comes out of here.
  void emit(const std::string& event, const EventArguments& arguments);
  // Hands their replies to the calls that did not wait, on a thread of the bus, and waits for that.
  // Returns how many there were.
  int complete();
  // The service is gone: not registered, and every interface so far is dead for ever. Each one's
  // death callback runs on a thread of its own.
  void serviceDies();
  void waitForDeaths();

  // --- What was asked of it --------------------------------------------------------------------

  std::vector<Call> calls() const;
  // As texts.
  std::vector<std::string> requests() const;
  // The last request; an empty text and no more when there was none.
  std::string lastCall() const;
  int lastTimeoutMs() const;
  Bytes lastBytes(std::size_t index) const;
  // Where the block lay that was read last. It may be gone.
  const void* lastBlock() const;
  // The methods of all messages, in the order they were made.
  std::vector<std::string> madeMessages() const;

  // Who listens now, in the order of registration.
  std::vector<Listening> interfaceListeners() const;
  std::vector<Listening> broadcastListeners() const;
  // How many interfaces are referenced.
  int liveInterfaces() const;

 private:
  friend class ::QXBusMessage;
  friend class ::QXBusProxyInterface;
  friend class ::QXBusSerivceManager;

  struct Interface {
    bool isAlive = true;
    std::function<void()> deathCallback;
    std::vector<Listening> listeners;
  };
  struct Pending {
    std::function<void(std::shared_ptr<QXBusMessage>)> done;
    std::string method;
    Reply reply;
  };

  // Needs mutex_.
  void startDeath(std::function<void()> callback);
  Reply replyTo(const Call& call);
  void record(const Call& call);

  mutable std::mutex mutex_;
  bool isReachable_ = true;
  bool isRegistered_ = true;
  bool isRefusing_ = false;
  bool isFreeing_ = false;
  std::function<Reply(const Call&)> service_;
  std::map<std::string, Reply> answers_;
  std::map<std::string, std::deque<Reply>> nextAnswers_;
  std::map<std::string, unsigned int> vms_;
  std::vector<Call> calls_;
  std::vector<std::string> made_;
  const void* lastBlock_ = nullptr;
  std::map<int, Interface> interfaces_;
  int interfaceCount_ = 0;
  std::vector<Listening> broadcastListeners_;
  std::vector<Pending> pending_;
  std::vector<std::thread> deaths_;
};

}  // namespace scripted

#endif  // TESTS_SCRIPTED_BUS_SCRIPTED_BUS_H
