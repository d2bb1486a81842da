// The fixture of the tests that each row of remote_operations.h passes.

#ifndef TESTS_LIBRARY_REMOTE_OPERATION_TEST_H
#define TESTS_LIBRARY_REMOTE_OPERATION_TEST_H

#include <string>
#include <utility>

#include "tests/library/proxy_test.h"
#include "tests/library/remote_operations.h"

// A proxy that overrides the numbers of VMs.
class Renumbering : public qx::VelProxy {
 public:
  static constexpr unsigned int kNumber = 4242;

  unsigned int GetVmIdInt(std::string vmId) override {
    asked.push_back(std::move(vmId));
    return kNumber;
  }

  Strings asked;
};

class RemoteOperationTest : public ProxyTest, public testing::WithParamInterface<RemoteOperation> {
 protected:
  // The service knows the VM and gives the good answer; the proxy has the VM's number already.
  RemoteOperationTest() : operation_(GetParam().sentBy(*proxy)) {
    bus.knowsVm(kVm, kVmNumber);
    proxy->GetVmIdInt(kVm);
    bus.answer(operation().method(), operation().reply());
    forget();
  }

  const RemoteOperation& operation() const { return operation_; }
  // For a test that runs the operation on another proxy.
  void expectOf(const qx::VelProxy& other) { operation_ = GetParam().sentBy(other); }
  std::string run() { return operation().runOn(*proxy); }
  Strings linesOf(scripted::Timeline::Thread thread) const {
    Strings lines;
    for (const scripted::LogLine& line : log.lines()) {
      if (line.thread == thread && line.function == operation().name()) {
        lines.push_back(line.summary());
      }
    }
    return lines;
  }

 private:
  RemoteOperation operation_;
};

inline std::string testNameOf(const testing::TestParamInfo<RemoteOperation>& row) {
  return row.param.testName();
}

#endif  // TESTS_LIBRARY_REMOTE_OPERATION_TEST_H
