// One row per remote operation of the library: what it sends, and in what it differs from the rest.
// The rows stand in remote_operations_table.cpp; remote_operations_test.cpp does with each of them
// everything that all operations have in common. To cover an operation, add its row.

#ifndef TESTS_LIBRARY_REMOTE_OPERATIONS_H
#define TESTS_LIBRARY_REMOTE_OPERATIONS_H

#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/scripted_bus/platform_doubles.h"
#include "tests/scripted_bus/scripted_bus.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

// The VM that the rows use, and its number on the bus.
constexpr char kVm[] = "win11";
constexpr unsigned int kVmNumber = 7001;
constexpr char kVmArgument[] = "int32 7001";
// What the service answers when a row does not say.
constexpr int kStatus = 5;
// In a request or a line, these stand for the address of the proxy: as 8 bytes and as a number.
constexpr char kProxyBytes[] = "<address of the proxy in bytes>";
constexpr char kProxyNumber[] = "<address of the proxy>";

// How results are compared: as texts. Unsigned statuses are shown as the int with the same bits.
std::string shown(int status);
std::string shown(unsigned int status);
std::string shown(const std::string& text);
std::string shown(const std::map<std::string, unsigned int>& numbers);

class RemoteOperation {
 public:
  using Lines = std::vector<std::string>;
  using Run = std::function<std::string(qx::VelProxy&)>;

  enum class Lock {
    kHeld,      // the call mutex is held across the call
    kReleased,  // it is taken, and released before the call
    kNone,      // it is not taken at all
  };
  enum class Mapping {  // when the vm id is turned into a number
    kAfterMessage,
    kBeforeMessage,
    kBeforeLock,
  };
  // Arguments that are refused without asking anybody.
  struct Refusal {
    std::string what;
    Run run;
    std::string result;
    Lines lines;
  };

  // name     the operation, as log lines name it
  // run      calls it and gives its shown() result. Every argument differs from every other, so
  //          that two that are exchanged are noticed; the VM, if there is one, is kVm
  // request  what is then sent: "connectDevice(int32 7001, int16 12)"
  RemoteOperation(std::string name, Run run, std::string request)
      : name_(std::move(name)), run_(std::move(run)), request_(std::move(request)) {}

  // --- What a row may add, with what holds without it ------------------------------------------

  // Tells overloads apart in the names of tests. Otherwise the operation's name.
  RemoteOperation& known(std::string as) { return set(testName_, std::move(as)); }
  // 3000
  RemoteOperation& within(int timeoutMs) { return set(timeoutMs_, timeoutMs); }
  // A good answer and the result it gives. Otherwise int32 kStatus, and that status.
  RemoteOperation& answered(scripted::Reply reply, std::string result) {
    passesStatusOn_ = false;
    set(reply_, std::move(reply));
    return set(result_, std::move(result));
  }
  // The result without a service, and after an error reply. "-1"
  RemoteOperation& failing(std::string result) {
    set(withoutService_, result);
    return set(afterError_, std::move(result));
  }
  // The result of a normal reply without arguments. "0"
  RemoteOperation& givenNothing(std::string result) { return set(ofNothing_, std::move(result)); }
  // The request is sent without waiting: the result is 0 at once, the time-out -1, and these lines
  // come with the reply: "ret: %d", from "operator()", if none are given.
  RemoteOperation& sentOnly(std::optional<Lines> completion = std::nullopt);
  // Lock::kHeld
  RemoteOperation& locking(Lock lock) { return set(lock_, lock); }
  // Mapping::kAfterMessage
  RemoteOperation& mapping(Mapping mapping) { return set(mapping_, mapping); }

  // The operation's own lines, in order. None.
  RemoteOperation& logsFirst(Lines lines) { return set(first_, std::move(lines)); }
  // ... once it has the lock, whether or not there is a service
  RemoteOperation& logsUnderLock(Lines lines) { return set(underLock_, std::move(lines)); }
  // ... once it is sure of the service, before the message is made
  RemoteOperation& logsConnected(Lines lines) { return set(connected_, std::move(lines)); }
  // ... after the message is made, and the VM mapped
  RemoteOperation& logsBeforeCall(Lines lines) { return set(beforeCall_, std::move(lines)); }
  // ... for any reply, of any type: "reply: %s"
  RemoteOperation& logsReply() { return set(logsReply_, true); }
  // ... after the good reply
  RemoteOperation& logsAfterReply(Lines lines) { return set(afterReply_, std::move(lines)); }
  // ... without a service. "wait velserviced restart when it death"
  RemoteOperation& logsWithoutService(Lines lines) {
    return set(withoutServiceLines_, std::move(lines));
  }
  // ... for a VM that the service does not know, and then nothing is sent. Otherwise it is, with 0.
  RemoteOperation& logsUnknownVm(Lines lines) { return set(unknownVm_, std::move(lines)); }
  // ... after an error reply. "reply type: %d(%s)"
  RemoteOperation& logsError(std::function<Lines(int type, const std::string& text)> lines) {
    return set(errorLines_, std::move(lines));
  }

  RemoteOperation& refusing(std::string what, Run run, std::string result, Lines lines) {
    refusals_.push_back({std::move(what), std::move(run), std::move(result), std::move(lines)});
    return *this;
  }

  // --- For the tests ---------------------------------------------------------------------------

  const std::string& name() const { return name_; }
  const std::string& testName() const { return testName_.empty() ? name_ : testName_; }
  std::string runOn(qx::VelProxy& proxy) const { return run_(proxy); }
  const std::string& request() const { return request_; }
  std::string method() const { return request_.substr(0, request_.find('(')); }
  int timeoutMs() const { return timeoutMs_; }
  bool waits() const { return waits_; }
  // How the request starts on the timeline.
  std::string requestEvent() const { return (waits_ ? "call " : "send ") + method() + "("; }
  bool hasVm() const { return request_.find(kVmArgument) != std::string::npos; }
  std::string requestForVm(unsigned int number) const;
  // Whether nothing is sent for a VM that the service does not know.
  bool needsVm() const { return unknownVm_.has_value(); }
  const scripted::Reply& reply() const { return reply_; }
  const std::string& result() const { return result_; }
  bool passesStatusOn() const { return passesStatusOn_; }
  const std::string& withoutService() const { return withoutService_; }
  const std::string& afterError() const { return afterError_; }
  const std::string& ofNothing() const { return ofNothing_; }
  Lock lock() const { return lock_; }
  Mapping mapping() const { return mapping_; }
  const Lines& first() const { return first_; }
  const Lines& underLock() const { return underLock_; }
  const Lines& connected() const { return connected_; }
  const Lines& beforeCall() const { return beforeCall_; }
  const Lines& afterReply() const { return afterReply_; }
  const Lines& completion() const { return completion_; }
  Lines replyLine(const scripted::Reply& reply) const;
  Lines withoutServiceLines() const;
  Lines unknownVmLines() const { return unknownVm_.value_or(Lines()); }
  Lines errorLines(int type, const std::string& text) const;
  const std::vector<Refusal>& refusals() const { return refusals_; }
  // This row as it is for one proxy: with its address.
  RemoteOperation sentBy(const qx::VelProxy& proxy) const;

 private:
  template <typename Field, typename Value>
  RemoteOperation& set(Field& field, Value value) {
    field = std::move(value);
    return *this;
  }

  std::string name_;
  Run run_;
  std::string request_;
  std::string testName_;
  int timeoutMs_ = 3000;
  bool waits_ = true;
  scripted::Reply reply_ = scripted::Reply().int32(kStatus);
  std::string result_ = std::to_string(kStatus);
  bool passesStatusOn_ = true;
  std::string withoutService_ = "-1";
  std::string afterError_ = "-1";
  std::string ofNothing_ = "0";
  Lock lock_ = Lock::kHeld;
  Mapping mapping_ = Mapping::kAfterMessage;
  Lines first_;
  Lines underLock_;
  Lines connected_;
  Lines beforeCall_;
  bool logsReply_ = false;
  Lines afterReply_;
  Lines completion_;
  std::optional<Lines> withoutServiceLines_;
  std::optional<Lines> unknownVm_;
  std::function<Lines(int, const std::string&)> errorLines_;
  std::vector<Refusal> refusals_;
};

// What googletest shows of a row.
void PrintTo(const RemoteOperation& operation, std::ostream* out);

// Every row.
std::vector<RemoteOperation> remoteOperations();

#endif  // TESTS_LIBRARY_REMOTE_OPERATIONS_H
