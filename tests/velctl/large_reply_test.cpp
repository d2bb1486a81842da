// A service that answers with a hundred megabytes.

#include "tests/velctl/fake_service.h"
#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

// The operation has the longest time limit, because a sanitizer takes seconds for so much.
TEST_F(ProcessTest, AReplyOf100MegabytesIsABadReplyAndTheNextCallWorks) {
  const std::string address = "direct:" + (bus().directory() / "vel").string();
  FakeService service(address);
  service.answer("autoAddPrinter", qxbus::Values{std::string(std::size_t{100} * 1024 * 1024, 'x')});
  Process::Options add = options("queue auto-add attic usb://4 photo");
  add.environment["QXBUS_ADDRESS"] = address;

  const Finished bad = run(add);
  service.answer("autoAddPrinter", qxbus::Values{std::int32_t{0}});
  const Finished good = run(add);

  EXPECT_EQ(bad.status, velctl::kExitErrorReply) << bad.err;
  EXPECT_LT(bad.err.size(), 1000u);
  EXPECT_EQ(good.status, velctl::kExitDone) << good.err;
}

}  // namespace
}  // namespace velctl_tests
