#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_REMOTE_CALL_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_REMOTE_CALL_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "bus/qxbus.h"
#include "platform/mutex.h"
#include "vel/apps/local/velproxy/internal/blocks.h"
#include "vel/apps/local/velproxy/internal/error_report.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {

// One request to the service and its reply, so that an operation states only its method, its
// arguments and how it reads the answer. This part takes no lock: see RemoteCall.
//
// method() tests the connection and makes the message, each argument is appended where it stands,
// and a reading (status, answer, reply, sendOnly) makes the call. Without a connection the rest
// does nothing and the reading gives its failure value.
class Request {
 public:
  static constexpr int kUsualTimeoutMs = 3000;
  // For methods that keep the service busy for seconds.
  static constexpr int kSlowTimeoutMs = 10000;
  static constexpr int kNoTimeout = -1;
  static constexpr int kNoAnswer = -1;
  // Of operations whose status is unsigned.
  static constexpr unsigned int kNoAnswerUnsigned = 0xFFFFFFFF;

  // The log lines of a request: formats, with the common prefix.
  struct Texts {
    const char* notConnected;
    const char* reply;
    const char* failure;
    bool failureNamesType;
  };

  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  // Before method(): other log lines than the usual.
  Request& withTexts(const Texts& texts);

  // Whether there is a connection. The first call logs an error when there is none.
  bool connected(const char* method);

  Request& method(const char* name, int timeoutMs = kUsualTimeoutMs);
  explicit operator bool() const { return message_ != nullptr; }

  // The service's number of a VM, which may need a request of its own. 0 without a connection.
  unsigned int numberOf(const std::string& vmId) {
    return message_ ? report_.numberOf(proxy_, vmId) : 0;
  }

  Request& vm(const std::string& vmId) { return int32(numberOf(vmId)); }
  // The bits stay the same: 65535 travels as -1.
  Request& int16(unsigned short value);
  Request& int32(int value);
  Request& int32(unsigned int value);
  Request& uint64(unsigned long long value);
  Request& string(const std::string& value);
  // A field of a record.
  template <std::size_t size>
  Request& cString(const char (&field)[size]) {
    return cString(textIn(field));
  }
  Request& bytes(const void* data, std::size_t length);
  Request& bytes(const std::string& value) { return bytes(value.data(), value.size()); }
  // The 8 bytes of a number in memory order.
  Request& eightBytes(unsigned long long value) { return bytes(&value, sizeof value); }
  // Logs the reply, of whatever type.
  Request& loggingReply();

  // Makes the call. The reply if it is a normal one, otherwise null.
  std::shared_ptr<QXBusMessage> reply();
  // Makes the call. The integer of a normal reply.
  std::optional<int> answer();
  // Makes the call. The integer of a normal reply, otherwise the failure value.
  int status(int failure = kNoAnswer) { return answer().value_or(failure); }
  // Makes the call. The text of a normal reply.
  std::optional<std::string> text();
  // Makes the call. The blocks of a normal reply.
  BlockList blocks() { return BlockList(reply(), report_, function_, line_); }
  // Sends the request; its answer is only logged. 0, or -1 without a connection.
  int sendOnly();

  ErrorReport& report() { return report_; }

 protected:
  enum class Failures { kLogged, kSilent };

  // Log lines name the function and line.
  Request(VelProxy& proxy, Failures failures, const char* function, int line);
  ~Request() = default;

  void takeConnection();
  void dropConnection();

 private:
  Request& cString(const std::string& value);
  void reportFailure(int type, const std::string& reason);

  ErrorReport report_;
  VelProxy& proxy_;
  Failures failures_;
  const Texts* texts_;
  const char* function_;
  int line_;
  bool hasTakenConnection_ = false;
  bool isTested_ = false;  // connected() has been called
  bool logsReply_ = false;
  int timeoutMs_ = kUsualTimeoutMs;
  std::shared_ptr<QXBusProxyInterface> interface_;
  std::shared_ptr<QXBusMessage> message_;
};

// How often this thread has called VelProxy::getInstance(), each time an attempt to connect while
// there is no connection.
unsigned int attemptsToConnect();

// Whether a call begins with such an attempt.
enum class Reconnect {
  kYes,
  kNo,  // the operation has made the attempt already
};

// A request that holds the call mutex for as long as this object exists: one request at a time.
//
//   return RemoteCall(*this).method("connectDevice").vm(vmId).int16(devNumber).status();
class QX_SCOPED_LOCK RemoteCall : public Request {
 public:
  explicit RemoteCall(VelProxy& proxy, Reconnect reconnect = Reconnect::kYes,
                      const char* function = __builtin_FUNCTION(), int line = __builtin_LINE())
      QX_ACQUIRE(proxy.callMutex_);
  ~RemoteCall() QX_RELEASE();

 private:
  platform::MutexLock lock_;
};

// A request that holds the call mutex only while it takes the connection: no other call waits for
// its reply.
class UnlockedCall : public Request {
 public:
  explicit UnlockedCall(VelProxy& proxy, Reconnect reconnect = Reconnect::kYes,
                        const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());
  // underLock  runs before the connection is taken
  UnlockedCall(VelProxy& proxy, const std::function<void()>& underLock,
               const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());
};

// A request inside another one, which may hold the call mutex: it takes no lock and logs no
// failure.
class LookUp : public Request {
 public:
  explicit LookUp(VelProxy& proxy, const char* function = __builtin_FUNCTION(),
                  int line = __builtin_LINE());
};

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_REMOTE_CALL_H
