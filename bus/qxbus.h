// The library's message bus: four classes, declared here and defined by the implementation that is
// linked in (bus/dbus/ for D-Bus, tests/scripted_bus/ for tests).
//
// An implementation defines each class's nested Impl and all members below. Nothing else may differ
// between implementations: names, order of the virtual operations and parameter types are part of
// the binary interface that the library is compiled against.
//
// THREADS   Every operation may be called from any thread. Handlers (events, completions, deaths)
//           run on threads of the bus layer, never on the caller's.
// MEMORY    Messages and interfaces are shared. A listener belongs to its creator; the bus layer
//           never frees one.
// ERRORS    Nothing throws. A call that fails still yields a message, whose type() is not
//           MESSAGE_TYPE_METHOD_RETURN and whose argument 0 is a readable string.
// WAITING   Events that wait for their handlers take at most 256 MB of memory. Further events are
//           dropped until there is room, and the log gives their number. Replies are never dropped:
//           one waits for each call.
// SIZE      A bus may end the connection of a sender whose message is larger than it allows (over
//           D-Bus: max_message_size of the bus daemon). To the sender that is the loss of the bus.
// FORK      A child of fork() has none of the threads: until it calls exec it must not use the bus.

#ifndef BUS_QXBUS_H
#define BUS_QXBUS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

// The users that a service, or the sender of an event, may run as.
enum QXBusSecurityFlags : int {
  QXBUS_SECURITY_ANY_USER = 0,
  // The calling user or root. A service of another user counts as absent.
  QXBUS_SECURITY_SAME_USER_OR_ROOT = 1,
};

// The kind of a message. Numbers up to 4 are those of D-Bus; the bus layer itself makes the others,
// in place of a reply that has not come. Every value but MESSAGE_TYPE_METHOD_RETURN is a failure of
// the call, and argument 0 is a text for people that gives the reason.
enum QXBusMessageType : int {
  MESSAGE_TYPE_INVALID = 0,
  MESSAGE_TYPE_METHOD_CALL = 1,
  MESSAGE_TYPE_METHOD_RETURN = 2,
  MESSAGE_TYPE_ERROR = 3,  // the peer's error reply
  MESSAGE_TYPE_SIGNAL = 4,
  MESSAGE_TYPE_NO_REPLY = 16,      // no reply in time
  MESSAGE_TYPE_DISCONNECTED = 17,  // the request could not be sent, or the connection was lost
};

// One method call, reply or event: a list of typed positional arguments.
//
// An append adds one argument at the end; a get reads the argument at a zero-based index. Getters
// are total: a wrong type or index gives 0, "" or null with *length 0. An integer is read from an
// integer argument of any type that holds it: 0 when it does not fit; signed and unsigned of one
// width read the same bits.
class QXBusMessage {
 public:
  struct Impl;
  explicit QXBusMessage(std::unique_ptr<Impl> impl);
  virtual ~QXBusMessage();

  virtual void appendInt16(std::int16_t value);
  virtual void appendInt32(std::int32_t value);
  virtual void appendUInt64(std::uint64_t value);
  virtual void appendInt64(std::int64_t value);
  virtual void appendDouble(double value);
  virtual void appendString(std::string value);
  virtual void appendCString(const char* value);
  virtual void appendBytes(const void* data, int length);
  virtual std::int16_t getInt16(int index);
  virtual std::uint16_t getUInt16(int index);
  virtual std::int32_t getInt32(int index);
  virtual std::uint32_t getUInt32(int index);
  virtual std::int64_t getInt64(int index);
  virtual std::uint64_t getUInt64(int index);
  virtual std::string getString(int index);
  // A copy from ::operator new that the caller gives to ::operator delete; null when *length < 1.
  virtual unsigned char* getBytes(int index, int* length);
  virtual int argCount();

  int type();
  // The whole message on one line, for logs.
  std::string toDebugString();

  // For the implementation's own use.
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

// A listener for events: set handler, then pass the object to an addEventListener.
//
// Events are dispatched over a snapshot of the listeners. A listener that is removed may still be
// running, or be called once more, for the event that is being dispatched. So it must not be freed
// when removeEventListener or the destructor of its interface returns.
class QXBusEventCallback {
 public:
  virtual ~QXBusEventCallback();
  std::function<void(std::shared_ptr<QXBusMessage>)> handler;
};

// A handle on one running instance of a service. It never reaches a later instance.
class QXBusProxyInterface {
 public:
  struct Impl;
  explicit QXBusProxyInterface(std::unique_ptr<Impl> impl);
  ~QXBusProxyInterface();

  std::shared_ptr<QXBusMessage> makeMethodCallMessage(std::string method);
  // Waits for the reply, at most timeoutMs milliseconds; -1 waits without limit.
  std::shared_ptr<QXBusMessage> callWithReplyBlocking(std::shared_ptr<QXBusMessage> message,
                                                      int timeoutMs);
  // Returns at once; done runs exactly once, later, with the reply.
  void callWithReply(std::shared_ptr<QXBusMessage> message,
                     std::function<void(std::shared_ptr<QXBusMessage>)> done, int timeoutMs);
  // Called at most once per interface, when this instance of the service is gone. A death that
  // came first is delivered when the callback is set.
  void setDeathCallback(std::function<void()> callback);
  // Every registration counts: a listener that was added twice is called twice.
  void addEventListener(std::string name, QXBusEventCallback* listener, QXBusSecurityFlags flags);
  // Undoes all registrations of this listener under this name, however many; no effect without one.
  void removeEventListener(std::string name, QXBusEventCallback* listener);

  // For the implementation's own use.
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

// The process's connection to the bus. ("Serivce" is the name's own spelling.)
class QXBusSerivceManager {
 public:
  struct Impl;
  explicit QXBusSerivceManager(std::unique_ptr<Impl> impl);
  ~QXBusSerivceManager();

  // The one manager; null when the bus cannot be reached and never could be before.
  static QXBusSerivceManager* initSync(int wait);
  bool isServiceRegistered(const std::string& name);
  // Empty when the service is not there or the flags refuse it.
  std::shared_ptr<QXBusProxyInterface> getServiceProxyInterface(std::string name,
                                                                QXBusSecurityFlags flags, int mode);
  // Listens to broadcast events of every sender. Every registration counts: a listener that was
  // added twice is called twice. It stays registered until the process ends.
  //
  // The user of a sender that has left the bus before its event is dispatched is unknown: such an
  // event reaches only listeners with QXBUS_SECURITY_ANY_USER.
  void addEventListener(const std::string& name, QXBusEventCallback* listener,
                        QXBusSecurityFlags flags);

  // For the implementation's own use.
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

#endif  // BUS_QXBUS_H
