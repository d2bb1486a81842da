// velctl's commands inside the process of the test, on a bus that the test scripts: without real
// processes, a test takes less than a millisecond.

#ifndef TESTS_VELCTL_IN_PROCESS_H
#define TESTS_VELCTL_IN_PROCESS_H

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/dbus/service_check.h"
#include "tests/scripted_bus/scripted_bus.h"
#include "tests/velctl/blocks.h"
#include "tests/velctl/words.h"
#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/output/output.h"

namespace velctl_tests {

using scripted::Reply;
using velctl::Form;

// The result of a command.
struct Ran {
  velctl::ExitCode status;
  std::string out;
  std::string err;
};

// A text of one line, which a newline ends.
testing::Matcher<std::string> isOneLine();

// The line that standard output has for a failure with --json, whose message is on standard error.
//
// members   between the operation and the text, each with a comma behind it
std::string errorJson(velctl::ExitCode status, const std::string& operation,
                      const std::string& members, const std::string& message);

// Whether services of the scripted bus listen at sockets of their own; false when a test begins.
extern bool isBusDirect;
// What an examination of the way to the service finds: all is well when a test begins.
extern qxbus::ServiceCheck wayToService;

// The bus can be reached, and every method of its service answers int32 0, but getVmListSize and
// getVmList, which know kVm.
class InProcessTest : public testing::Test {
 protected:
  InProcessTest();
  ~InProcessTest() override;

  Ran velctl(const std::vector<std::string>& arguments);
  Ran velctl(const std::string& line, Form form = Form::kText);

  // Without those that look up a VM.
  std::vector<std::string> requests() const;

  scripted::ScriptedBus& bus = scripted::ScriptedBus::the();
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_IN_PROCESS_H
