// Connections that come and go all day, and what they leave behind.

#include "tests/dbus/dbus_test.h"

namespace {

using namespace dbustest;

std::string addressHere() {
  return "QXBUS_ADDRESS=" + std::string(std::getenv("QXBUS_ADDRESS"));
}

class ThousandLosses : public DBusTest {};

TEST_F(ThousandLosses, LeaveNoDescriptorNoThreadAndNoMemory) {
  const TestService service;
  call(*proxyOf(), "echo");
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  const std::ptrdiff_t threads = entriesOf("/proc/self/task");

  Process process(helper({BUS_PROCESS, "losses", addressHere()}));

  // Of the client: other numbers than 0 are those of a leak.
  EXPECT_EQ(process.readLine(), "0") << "descriptors";
  EXPECT_EQ(process.readLine(), "0") << "threads";
  EXPECT_LT(std::atoi(process.readLine().c_str()), 100) << "blocks of memory";
  EXPECT_EQ(process.wait().status, 0);
  // Of the service.
  EXPECT_TRUE(waitUntil([&] { return entriesOf("/proc/self/fd") <= descriptors + 3; }));
  EXPECT_TRUE(waitUntil([&] { return entriesOf("/proc/self/task") <= threads; }));
}

TEST_F(ThousandLosses, OfServicesLeaveNoDescriptorAndNoThread) {
  const auto live = [] {
    TestService service;
    EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
  };
  live();
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  const std::ptrdiff_t threads = entriesOf("/proc/self/task");

  for (int i = 0; i < 1000; ++i) {
    live();
  }

  EXPECT_TRUE(waitUntil([&] { return entriesOf("/proc/self/fd") <= descriptors; }))
      << entriesOf("/proc/self/fd") << " instead of " << descriptors;
  EXPECT_TRUE(waitUntil([&] { return entriesOf("/proc/self/task") <= threads; }))
      << entriesOf("/proc/self/task") << " instead of " << threads;
}

}  // namespace
