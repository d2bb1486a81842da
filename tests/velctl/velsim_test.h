// velctl as a process against velsim, over each kind of connection.

#ifndef TESTS_VELCTL_VELSIM_TEST_H
#define TESTS_VELCTL_VELSIM_TEST_H

#include <memory>
#include <string>

#include "tests/velctl/process_test.h"

namespace velctl_tests {

class VelsimTest : public ProcessTest {
 protected:
  void SetUp() override {
    ASSERT_NO_THROW(velsim_ = std::make_unique<velsim_testing::VelsimProcess>(
                        processes::velsimOptions(bus(), {})));
  }

  void TearDown() override { EXPECT_EQ(velsim_->stop(), 0) << velsim_->log(); }

  std::size_t logSize() const { return velsim_->log().size(); }
  // Waits until velsim has logged a request that begins with this text, after the first seen bytes
  // of its log.
  bool isAsked(const std::string& request, std::size_t seen = 0) const {
    return comesTrue(
        [&] { return velsim_->log().find("velsim: " + request, seen) != std::string::npos; });
  }

  // A control command of velsim, and its answer.
  std::string type(const std::string& line) { return velsim_->control(line); }

 private:
  std::unique_ptr<velsim_testing::VelsimProcess> velsim_;
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_VELSIM_TEST_H
