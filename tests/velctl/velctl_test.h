// velctl as a user runs it, against a service that the test scripts. Each test has a folder, a bus
// and a service of its own, so that they can run beside each other.

#ifndef TESTS_VELCTL_VELCTL_TEST_H
#define TESTS_VELCTL_VELCTL_TEST_H

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/programs.h"
#include "tests/velctl/scripted_service.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl_tests {

using processes::comesTrue;
using processes::Finished;
using processes::joined;
using processes::Process;
using processes::with;

class VelctlAloneTest : public ::testing::Test {
 protected:
  Process::Options options(const std::vector<std::string>& arguments) const {
    return processes::velctlOptions(bus_, arguments);
  }
  Finished velctl(const std::vector<std::string>& arguments) const {
    return run(options(arguments));
  }
  processes::PrivateBus& bus() { return bus_; }

 private:
  processes::PrivateBus bus_;
};

class VelctlTest : public VelctlAloneTest {
 protected:
  VelctlTest() { startService(); }

  void startService() { service_ = std::make_unique<ScriptedService>(bus().address()); }
  void stopService() { service_.reset(); }
  ScriptedService& service() { return *service_; }

 private:
  std::unique_ptr<ScriptedService> service_;
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_VELCTL_TEST_H
