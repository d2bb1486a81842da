// The operations of the library, as the fault tests call them.

#ifndef TESTS_FAULTS_OPERATIONS_H
#define TESTS_FAULTS_OPERATIONS_H

#include <string>
#include <vector>

#include "tests/library/remote_operations.h"
#include "vel/protocol/notation.h"

namespace fault_tests {

// A result and its reason.
struct Outcome {
  std::string result;
  qx::VelError::Kind kind = qx::VelError::Kind::kNone;
  std::string text;
};

class Operation {
 public:
  explicit Operation(RemoteOperation row);

  const RemoteOperation& row() const { return row_; }
  const std::string& method() const { return method_; }
  int timeoutMs() const { return row_.timeoutMs(); }

  // For the answer.
  bool waits() const { return row_.waits(); }
  bool isText() const;
  bool hasList() const { return reply_.repeatedFrom() < reply_.size(); }
  bool hasBlocks() const;

  // On a proxy of its own when the operation asks the service only once for each proxy.
  Outcome runOn(qx::VelProxy& proxy) const;

 private:
  RemoteOperation row_;
  std::string method_;
  velprotocol::ArgumentList reply_;
};

const std::vector<Operation>& operations();

}  // namespace fault_tests

#endif  // TESTS_FAULTS_OPERATIONS_H
