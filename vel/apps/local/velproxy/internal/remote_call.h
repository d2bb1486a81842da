#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_REMOTE_CALL_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_REMOTE_CALL_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "bus/qxbus.h"
#include "vel/apps/local/velproxy/internal/blocks.h"
#include "vel/apps/local/velproxy/internal/error_report.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {

// One request to the service and its reply: what every remote operation does, so that an operation
// states only its method, its arguments and how it reads the answer.
//
//   return RemoteCall(*this).method("connectDevice").vm(vmId).int16(devNumber).status();
//
// The constructor connects again if the service was away and takes
// the call mutex, method() tests the connection and makes the message, each argument is appended
// where it stands, and a reading (status, answer, reply, sendOnly) makes the call. Without a
// connection the rest does nothing and the reading gives its failure value.
class RemoteCall {
 public:
  enum class Lock {
    kHeld,      // the call mutex is held until this object is gone: one request at a time
    kReleased,  // ... only while the connection is taken: the call holds nobody up
    kLookUp,    // none, and failures are not logged: for the look-up inside another call
  };

  static constexpr int kUsualTimeoutMs = 3000;
  // Where the service works for a while before it answers.
  static constexpr int kPatientTimeoutMs = 10000;
  static constexpr int kNoTimeout = -1;
  static constexpr int kNoAnswer = -1;

  // What a call says in the log. Formats, with the common prefix.
  struct Texts {
    const char* notConnected;
    const char* reply;
    const char* failure;
    bool failureNamesType;
  };

  // Log lines name the function that constructs the object.
  explicit RemoteCall(VelProxy& proxy, Lock lock = Lock::kHeld,
                      const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

  RemoteCall(const RemoteCall&) = delete;
  RemoteCall& operator=(const RemoteCall&) = delete;

  // Before method(): other texts than the usual.
  RemoteCall& saying(const Texts& texts);

  // Whether there is a service to call. The first question logs an error if there is none, and ends
  // the lock of Lock::kReleased.
  bool connected(const char* method);

  RemoteCall& method(const char* name, int timeoutMs = kUsualTimeoutMs);
  explicit operator bool() const { return message_ != nullptr; }

  // The service's number of a VM; may itself ask the service. 0 without a connection.
  unsigned int numberOf(const std::string& vmId) {
    return message_ ? report_.numberOf(proxy_, vmId) : 0;
  }

  RemoteCall& vm(const std::string& vmId) { return int32(numberOf(vmId)); }
  // Keeps the bits: 65535 travels as -1.
  RemoteCall& int16(unsigned short value);
  RemoteCall& int32(int value);
  RemoteCall& int32(unsigned int value);
  RemoteCall& uint64(unsigned long long value);
  RemoteCall& string(const std::string& value);
  // A field of a record.
  template <std::size_t size>
  RemoteCall& cString(const char (&field)[size]) {
    return cString(textIn(field));
  }
  RemoteCall& bytes(const void* data, std::size_t length);
  RemoteCall& bytes(const std::string& value) { return bytes(value.data(), value.size()); }
  // The 8 bytes of a number, as they lie in memory.
  RemoteCall& eightBytes(unsigned long long value) { return bytes(&value, sizeof value); }
  // Logs the reply, whatever it is.
  RemoteCall& loggingReply();

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

 private:
  RemoteCall& cString(const std::string& value);
  void reportFailure(int type, const std::string& reason);

  ErrorReport report_;
  VelProxy& proxy_;
  const Texts* texts_;
  const char* function_;
  int line_;
  Lock policy_;
  bool asked_ = false;  // whether connected() has looked
  bool logsReply_ = false;
  int timeoutMs_ = kUsualTimeoutMs;
  // Declared before what must be gone when it is released.
  std::unique_lock<std::mutex> lock_;
  std::shared_ptr<QXBusProxyInterface> interface_;
  std::shared_ptr<QXBusMessage> message_;
};

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_REMOTE_CALL_H
