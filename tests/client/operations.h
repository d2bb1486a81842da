// One row per way to send a request through vel::Client: the call, the row of tests/library/rows/
// that has its request, and the value that it returns. The rows stand in rows/; to cover an
// operation, add its row. operations_test.cpp runs every row.

#ifndef TESTS_CLIENT_OPERATIONS_H
#define TESTS_CLIENT_OPERATIONS_H

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/client/values.h"
#include "tests/library/remote_operations.h"
#include "vel/client/client.h"

// What an operation returns.
struct Outcome {
  std::optional<vel::Error> error;
  std::string value;  // shown
  std::shared_ptr<vel::Subscription> subscription;
};

inline Outcome outcomeOf(const vel::Result<void>& result) {
  return result ? Outcome() : Outcome{result.error(), {}, {}};
}
inline Outcome outcomeOf(vel::Result<vel::Subscription> result) {
  return result ? Outcome{{}, {}, std::make_shared<vel::Subscription>(std::move(*result))}
                : Outcome{result.error(), {}, {}};
}
template <typename Value>
Outcome outcomeOf(const vel::Result<Value>& result) {
  return result ? Outcome{{}, shown(*result), {}} : Outcome{result.error(), {}, {}};
}

class ClientOperation {
 public:
  using Run = std::function<Outcome(const vel::Client&)>;

  // What the integer of a normal reply is for the result.
  enum class Status {
    kDecides,  // 0: success, otherwise the service has refused
    kIgnored,
    kNone,  // there is none, or it is the value
  };
  // Arguments that are refused: nothing is sent.
  struct Refusal {
    std::string arguments;  // for people
    Run run;
  };

  // member   of vel::Client
  // row      testName() of the library's row
  // call     with the arguments of that row
  template <typename Call>
  ClientOperation(std::string member, const std::string& row, Call call)
      : ClientOperation(std::move(member), row, runOf(call), 0) {}

  // --- Additions to a row ------------------------------------------------------------------------

  // Where two rows have the same row of the library.
  ClientOperation& testedAs(std::string name) {
    testName_ = std::move(name);
    return *this;
  }
  // The request, where the arguments differ from those of the library's row.
  ClientOperation& sending(std::string request) {
    request_ = std::move(request);
    return *this;
  }
  // A good reply and its value. Without it: status 0, and no value.
  ClientOperation& answered(scripted::Reply reply, std::string value) {
    reply_ = std::move(reply);
    value_ = std::move(value);
    status_ = Status::kNone;
    return *this;
  }
  // Such a reply begins with a status.
  ClientOperation& withStatus() {
    status_ = Status::kDecides;
    return *this;
  }
  template <typename Call>
  ClientOperation& refusing(std::string arguments, Call call) {
    refusals_.push_back({std::move(arguments), runOf(call)});
    return *this;
  }

  // --- For the tests -----------------------------------------------------------------------------

  const std::string& member() const { return member_; }
  const std::string& testName() const { return testName_; }
  const RemoteOperation& inLibrary() const { return inLibrary_; }
  Outcome runOn(const vel::Client& client) const { return run_(client); }
  // proxy     whose address the request may contain
  std::string requestOf(const qx::VelProxy& proxy) const {
    return request_.value_or(inLibrary_.sentBy(proxy).request());
  }
  std::string method() const { return inLibrary_.method(); }
  bool waits() const { return inLibrary_.waits(); }
  bool hasVm() const {
    return request_.value_or(inLibrary_.request()).find(kVmArgument) != std::string::npos;
  }
  const scripted::Reply& reply() const { return reply_; }
  const std::string& value() const { return value_; }
  bool isRefusedByStatus() const { return waits() && status_ == Status::kDecides; }
  bool isReadAsText() const;
  bool isList() const;
  const std::vector<Refusal>& refusals() const { return refusals_; }

 private:
  ClientOperation(std::string member, const std::string& row, Run run, int);

  template <typename Call>
  static Run runOf(Call call) {
    return [call](const vel::Client& client) { return outcomeOf(call(client)); };
  }

  std::string member_;
  RemoteOperation inLibrary_;
  Run run_;
  std::string testName_;
  std::optional<std::string> request_;
  scripted::Reply reply_ = scripted::Reply().int32(0);
  std::string value_;
  Status status_;
  std::vector<Refusal> refusals_;
};

// For googletest.
void PrintTo(const ClientOperation& operation, std::ostream* out);

// Every row.
const std::vector<ClientOperation>& clientOperations();
std::vector<ClientOperation> clientOperationsThat(
    const std::function<bool(const ClientOperation&)>& applies);

// The rows of rows/.
std::vector<ClientOperation> vmClientRows();
std::vector<ClientOperation> deviceClientRows();
std::vector<ClientOperation> policyClientRows();
std::vector<ClientOperation> printerClientRows();
std::vector<ClientOperation> serviceClientRows();

// A block of zeroes with the size of a record.
inline scripted::Bytes emptyRecord(const velprotocol::Layout& layout) {
  return scripted::Bytes(layout.size(), 0);
}

#endif  // TESTS_CLIENT_OPERATIONS_H
