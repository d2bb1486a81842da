// A bus that gives the replies of a test and records the requests: an implementation of bus/qxbus.h
// that is linked in place of the real one.
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
//   interface destroyed                           with its last reference
//   make connectDevice()                          a message, which need not be sent
//   call connectDevice(int32 7, int16 12) within 3000 ms       waits for the reply
//   send disconnectVm(int32 7) within -1 ms                    does not wait
//   return connectDevice()                        the call returns its reply
//   read connectDevice(0)                         an argument of the reply is read; not recorded,
//                                                 only for when() and hold()
//   death                                         a death callback is about to run; not recorded,
//                                                 only for when() and hold()
//
// An action of Timeline::when runs before the bus does its part of the event: at `call` a test can
// still script the reply, at `isServiceRegistered` it can still stop the service.
//
// THREADS   Listeners, completions and death callbacks run on threads of the bus. emit() waits for
//           the listeners, complete() for the completions, waitForDeaths() for the death callbacks.

#ifndef TESTS_SCRIPTED_BUS_SCRIPTED_BUS_H
#define TESTS_SCRIPTED_BUS_SCRIPTED_BUS_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "bus/qxbus.h"
#include "platform/mutex.h"

namespace scripted {

using Bytes = std::vector<unsigned char>;

// A string from appendCString.
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

// A message of the service: a reply, a normal one by default, or the arguments of an event.
class Reply {
 public:
  Reply() = default;
  static Reply error(const std::string& text, int type = MESSAGE_TYPE_ERROR);
  // A null message, which no bus should return.
  static Reply missing();

  Reply& int16(std::int16_t value);
  Reply& int32(std::int32_t value);
  Reply& uint64(std::uint64_t value);
  Reply& string(const std::string& value);
  Reply& bytes(const Bytes& value);
  Reply& ofType(int type);

  // The result of toDebugString() of the message.
  std::string debugString() const;

  int type = MESSAGE_TYPE_METHOD_RETURN;
  std::vector<Argument> arguments;
  bool isMissing = false;
};
using EventArguments = Reply;

// One request, as it was sent.
struct Call {
  std::string method;
  std::vector<Argument> arguments;
  int timeoutMs;
  bool waits;  // false: callWithReply
  std::thread::id thread;
  int interface;  // counts the interfaces since the bus was made, from 1

  // The request as text: "connectDevice(int32 7, int16 12)"
  std::string text() const;
  // The block at an index; empty for an argument of another type.
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

  // Bus and service are there; no script, no records, no listeners. Waits for deaths.
  void reset();
  // Forgets the calls so far.
  void clear();

  // --- The state of bus and service ------------------------------------------------------------

  // false: initSync returns null.
  void setReachable(bool reachable);
  // false: isServiceRegistered returns false, and getServiceProxyInterface returns null.
  void setRegistered(bool registered);
  // true: getServiceProxyInterface returns null, although the service is registered.
  void setRefusing(bool refusing);
  // true: removeEventListener frees the listener, as a bus may.
  void setFreeing(bool freeing);

  // --- The replies of the service --------------------------------------------------------------

  // The reply to each call of a method from now on. A call without a scripted reply gets an error
  // reply that names the method.
  void answer(const std::string& method, const Reply& reply);
  // The replies to the next calls, in order, before that of answer().
  void answerOnce(const std::string& method, const Reply& reply);
  // Lets a service answer every call, in place of the replies above.
  void answerFrom(std::function<Reply(const Call& call)> service);
  // The number that getVmListSize returns for a name, and 0 for unknown names. An answer() comes
  // first.
  void knowsVm(const std::string& vmId, unsigned int number);

  // --- Events, completions, deaths -------------------------------------------------------------

  // Sends an event to every listener of that name, on a thread of the bus, and waits for them. The
  // name alone selects listeners, of interfaces and of the manager. Rethrows an exception that
  // leaves a listener, where a bus would end the process.
  void emit(const std::string& event, const EventArguments& arguments);
  // The message of an event, for a test that calls a listener itself.
  static std::shared_ptr<QXBusMessage> messageOf(const EventArguments& arguments);
  // Completes the calls that did not wait, on a thread of the bus, waits for the completions and
  // returns their number.
  int complete();
  // The service is gone: not registered, and every interface so far stays dead. Each death callback
  // runs on a thread of its own.
  void serviceDies();
  void waitForDeaths();

  // --- Records ---------------------------------------------------------------------------------

  std::vector<Call> calls() const;
  // As texts.
  std::vector<std::string> requests() const;
  // The last request; empty when there was none.
  std::string lastCall() const;
  int lastTimeoutMs() const;
  Bytes lastBytes(std::size_t index) const;
  // The address of the block that was read last, which may have been freed.
  const void* lastBlock() const;
  // The methods of all messages, in the order they were made.
  std::vector<std::string> madeMessages() const;

  // The present listeners, in the order of registration.
  std::vector<Listening> interfaceListeners() const;
  std::vector<Listening> broadcastListeners() const;
  // The number of interfaces with a reference.
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

  void startDeath(std::function<void()> callback) QX_REQUIRES(mutex_);
  Reply replyTo(const Call& call);
  void record(const Call& call);

  mutable platform::Mutex mutex_;
  bool isReachable_ QX_GUARDED_BY(mutex_) = true;
  bool isRegistered_ QX_GUARDED_BY(mutex_) = true;
  bool isRefusing_ QX_GUARDED_BY(mutex_) = false;
  bool isFreeing_ QX_GUARDED_BY(mutex_) = false;
  std::function<Reply(const Call&)> service_ QX_GUARDED_BY(mutex_);
  std::map<std::string, Reply> answers_ QX_GUARDED_BY(mutex_);
  std::map<std::string, std::deque<Reply>> nextAnswers_ QX_GUARDED_BY(mutex_);
  std::map<std::string, unsigned int> vms_ QX_GUARDED_BY(mutex_);
  std::vector<Call> calls_ QX_GUARDED_BY(mutex_);
  std::vector<std::string> made_ QX_GUARDED_BY(mutex_);
  const void* lastBlock_ QX_GUARDED_BY(mutex_) = nullptr;
  std::map<int, Interface> interfaces_ QX_GUARDED_BY(mutex_);
  int interfaceCount_ QX_GUARDED_BY(mutex_) = 0;
  std::vector<Listening> broadcastListeners_ QX_GUARDED_BY(mutex_);
  std::vector<Pending> pending_ QX_GUARDED_BY(mutex_);
  std::vector<std::thread> deaths_ QX_GUARDED_BY(mutex_);
};

}  // namespace scripted

#endif  // TESTS_SCRIPTED_BUS_SCRIPTED_BUS_H
