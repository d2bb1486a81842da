// One row per remote operation of the library: its slot, its request, its result, and where it
// differs from other operations. The rows stand in rows/, one file per subject; to cover an
// operation, add its row. Tests of every row: remote_operations_test.cpp (requests, results, log),
// remote_operation_locks_test.cpp, protocol_test.cpp (the rows against vel/protocol/).

#ifndef TESTS_LIBRARY_REMOTE_OPERATIONS_H
#define TESTS_LIBRARY_REMOTE_OPERATIONS_H

#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/library/slots.h"
#include "tests/scripted_bus/platform_doubles.h"
#include "tests/scripted_bus/scripted_bus.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

// The VM that the rows use, and its number on the bus.
constexpr char kVm[] = "win11";
constexpr unsigned int kVmNumber = 7001;
constexpr char kVmArgument[] = "int32 7001";
// The status of the good answer, unless a row gives another answer.
constexpr int kStatus = 5;
// In a request or a line, these stand for the address of the proxy: as 8 bytes and as a number.
constexpr char kProxyBytes[] = "<address of the proxy in bytes>";
constexpr char kProxyNumber[] = "<address of the proxy>";

// Results are compared as texts. An unsigned status is shown as the int with the same bits.
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
  enum class Mapping {  // when the name of the VM is turned into a number
    kAfterMessage,
    kBeforeMessage,
    kBeforeLock,
  };
  // Arguments that the operation refuses without calling the bus.
  struct Refusal {
    std::string arguments;  // for people
    Run run;
    std::string result;
    Lines lines;
  };

  // slot     SLOT(31, int, ConnectDevice, (std::string, unsigned short))
  // run      calls the operation and returns its shown() result. Every argument differs from every
  //          other, so that exchanged ones are noticed; the VM, if there is one, is kVm
  // request  that is then sent: "connectDevice(int32 7001, int16 12)"
  RemoteOperation(const Slot& slot, Run run, std::string request)
      : slot_(slot), run_(std::move(run)), request_(std::move(request)) {}

  // --- Additions to a row, each with the value that holds without it ---------------------------

  // Distinguishes overloads in the names of tests. The operation's name.
  RemoteOperation& testedAs(std::string name) { return set(testName_, std::move(name)); }
  // The time limit. 3000
  RemoteOperation& within(int timeoutMs) { return set(timeoutMs_, timeoutMs); }
  // A good answer and the result of it. int32 kStatus, and the service's status.
  RemoteOperation& answered(scripted::Reply reply, std::string result) {
    status_ = Status::kNone;
    set(reply_, std::move(reply));
    return set(result_, std::move(result));
  }
  // The result of any status of the service. The status.
  RemoteOperation& ignoringStatus(std::string result) {
    status_ = Status::kIgnored;
    return set(result_, std::move(result));
  }
  // The result without a service, and after an error reply. "-1"
  RemoteOperation& failing(std::string result) {
    set(withoutService_, result);
    return set(afterError_, std::move(result));
  }
  // The result of a normal reply without arguments. "0"
  RemoteOperation& givenNothing(std::string result) { return set(ofNothing_, std::move(result)); }
  // The operation does not wait for the reply: the result is 0 at once, the time-out -1, and these
  // lines come with the reply. If none are given: "ret: %d", from "operator()".
  RemoteOperation& sentOnly(std::optional<Lines> completion = std::nullopt);
  // Another call, whose request has more or fewer arguments: elements of a list, optional ones.
  RemoteOperation& also(Run run) {
    variations_.push_back(std::move(run));
    return *this;
  }
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
  // ... for a VM that the service does not know, when nothing is sent. The request is sent, with 0.
  RemoteOperation& logsUnknownVm(Lines lines) { return set(unknownVm_, std::move(lines)); }
  // ... after an error reply. "reply type: %d(%s)"
  RemoteOperation& logsError(std::function<Lines(int type, const std::string& text)> lines) {
    return set(errorLines_, std::move(lines));
  }

  RemoteOperation& refusing(std::string arguments, Run run, std::string result, Lines lines) {
    refusals_.push_back(
        {std::move(arguments), std::move(run), std::move(result), std::move(lines)});
    return *this;
  }

  // --- For the tests ---------------------------------------------------------------------------

  const Slot& slot() const { return slot_; }
  std::string name() const { return slot_.operation(); }
  std::string testName() const { return testName_.empty() ? name() : testName_; }
  std::string runOn(qx::VelProxy& proxy) const { return run_(proxy); }
  const std::vector<Run>& variations() const { return variations_; }
  const std::string& request() const { return request_; }
  std::string method() const { return request_.substr(0, request_.find('(')); }
  int timeoutMs() const { return timeoutMs_; }
  bool waits() const { return waits_; }
  // The beginning of the request on the timeline.
  std::string requestEvent() const { return (waits_ ? "call " : "send ") + method() + "("; }
  bool hasVm() const { return request_.find(kVmArgument) != std::string::npos; }
  std::string requestForVm(unsigned int number) const;
  // false: the request is sent with 0 for a VM that the service does not know.
  bool needsVm() const { return unknownVm_.has_value(); }
  const scripted::Reply& reply() const { return reply_; }
  const std::string& result() const { return result_; }
  bool passesStatusOn() const { return status_ == Status::kPassedOn; }
  bool ignoresStatus() const { return status_ == Status::kIgnored; }
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
  // This row with the address of a proxy in place of the texts above.
  RemoteOperation sentBy(const qx::VelProxy& proxy) const;

 private:
  enum class Status { kPassedOn, kIgnored, kNone };

  template <typename Field, typename Value>
  RemoteOperation& set(Field& field, Value value) {
    field = std::move(value);
    return *this;
  }

  Slot slot_;
  Run run_;
  std::string request_;
  std::string testName_;
  int timeoutMs_ = 3000;
  bool waits_ = true;
  scripted::Reply reply_ = scripted::Reply().int32(kStatus);
  std::string result_ = std::to_string(kStatus);
  Status status_ = Status::kPassedOn;
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
  std::vector<Run> variations_;
};

// For googletest.
void PrintTo(const RemoteOperation& operation, std::ostream* out);

// Every row.
const std::vector<RemoteOperation>& remoteOperations();
// The rows for which a condition holds.
std::vector<RemoteOperation> remoteOperationsThat(
    const std::function<bool(const RemoteOperation&)>& applies);

#endif  // TESTS_LIBRARY_REMOTE_OPERATIONS_H
