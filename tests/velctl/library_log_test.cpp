// The log of the library as users of velctl see it.

#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// Without a folder for its files, the log goes to standard error, with texts of the service.
TEST_F(FakeServiceTest, ErrorsThatTheLibraryLogsCannotControlTheTerminal) {
  service().answer("connectDevice", FakeService::Error{"out of \x1b[2Jtoner"});
  Process::Options withoutFiles = options("device attach 12 --vm win11");
  withoutFiles.environment["QX_APP_DATA"] = "/dev/null/none";

  const Finished failed = run(withoutFiles);

  EXPECT_EQ(failed.status, velctl::kExitErrorReply);
  EXPECT_THAT(failed.err, HasSubstr("reply type: 3(out of \\x1b[2Jtoner)"));
  EXPECT_THAT(failed.err, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace velctl_tests
