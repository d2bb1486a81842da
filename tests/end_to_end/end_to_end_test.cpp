#include "tests/end_to_end/end_to_end_test.h"

#include <csignal>

namespace end_to_end {

void EndToEndTest::TearDown() {
  if (velsim_) {
    const Finished velsim = stopVelsim(SIGTERM);
    EXPECT_EQ(velsim.status, 0) << velsim.err;
  }
}

void EndToEndTest::startVelsim(const std::vector<std::string>& arguments,
                               const std::string& address) {
  velsim_.reset();
  VelsimProcess::Options wanted = processes::velsimOptions(bus_, arguments);
  if (!address.empty()) {
    wanted.address = address;
  }
  ASSERT_NO_THROW(velsim_ = std::make_unique<VelsimProcess>(wanted));
}

void EndToEndTest::killVelsim() {
  EXPECT_EQ(velsim_->kill(), 128 + SIGKILL);
  velsim_.reset();
}

Finished EndToEndTest::stopVelsim(int signalNumber) {
  velsim_->signal(signalNumber);
  Finished finished;
  finished.status = velsim_->wait();
  finished.out = velsim_->output();
  finished.err = processes::withoutTimes(velsim_->log());
  velsim_.reset();
  return finished;
}

std::string EndToEndTest::settledVelsimLog() {
  // Requests are logged one after the other.
  const std::string marker = "marker " + std::to_string(++markers_);
  call("qx.bus.vel.getVmListSize", {"string:" + marker});
  const std::string logged = "velsim: getVmListSize(vmId \"" + marker + "\")";
  EXPECT_TRUE(velsimLogs(logged));
  return velsimLog().substr(0, velsimLog().find(logged));
}

bool EndToEndTest::velsimLogs(const std::string& text) const {
  return comesTrue([&] { return velsimLog().find(text) != std::string::npos; });
}

Finished EndToEndTest::velctl(const std::vector<std::string>& arguments) const {
  return run(velctlOptions(arguments));
}

bool EndToEndTest::isWatching(const Process& watch) {
  return comesTrue([&watch] { return watch.err().find("velctl: watching ") != std::string::npos; });
}

Finished EndToEndTest::call(const std::string& method,
                            const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {"dbus-send",     "--bus=" + bus_.address(),
                                      "--print-reply", "--dest=qx.bus.vel",
                                      "/qx/bus/vel",   method};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run(options(command));
}

}  // namespace end_to_end
