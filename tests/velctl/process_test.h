// velctl as a process, as a user runs it. Each test has a folder, a bus and a service of its own,
// so that tests can run beside each other.

#ifndef TESTS_VELCTL_PROCESS_TEST_H
#define TESTS_VELCTL_PROCESS_TEST_H

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/programs.h"
#include "tests/velctl/fake_service.h"
#include "tests/velctl/words.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl_tests {

using processes::comesTrue;
using processes::Finished;
using processes::Process;
using processes::with;

// Without a service.
class ProcessTest : public ::testing::Test {
 protected:
  Process::Options options(const std::vector<std::string>& arguments) const {
    return processes::velctlOptions(bus_, arguments);
  }
  Process::Options options(const std::string& line) const { return options(wordsOf(line)); }
  Finished velctl(const std::vector<std::string>& arguments) const {
    return run(options(arguments));
  }
  Finished velctl(const std::string& line) const { return velctl(wordsOf(line)); }
  processes::PrivateBus& bus() { return bus_; }

  // Whether standard error has this text, within a time that is long enough.
  static bool notes(const Process& process, const std::string& text) {
    return comesTrue([&] { return process.err().find(text) != std::string::npos; });
  }
  static bool isWatching(const Process& watch) { return notes(watch, "velctl: watching "); }

 private:
  processes::PrivateBus bus_;
};

class FakeServiceTest : public ProcessTest {
 protected:
  FakeServiceTest() { startService(); }

  void startService() { service_ = std::make_unique<FakeService>(bus().address()); }
  void stopService() { service_.reset(); }
  FakeService& service() { return *service_; }

 private:
  std::unique_ptr<FakeService> service_;
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_PROCESS_TEST_H
