// Fixtures with a folder, a bus daemon and processes of their own, so that tests can run in
// parallel.

#ifndef TESTS_END_TO_END_END_TO_END_TEST_H
#define TESTS_END_TO_END_END_TO_END_TEST_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/port_peer.h"
#include "tests/processes/programs.h"

namespace end_to_end {

using processes::comesTrue;
using processes::Finished;
using processes::kPatienceSeconds;
using processes::PortPeer;
using processes::Process;
using velsim_testing::VelsimProcess;

class EndToEndTest : public ::testing::Test {
 protected:
  // A velsim that still runs must end with status 0 on SIGTERM.
  void TearDown() override;

  // At the bus of the test unless another address is given.
  void startVelsim(const std::vector<std::string>& arguments = {}, const std::string& address = "");
  void killVelsim();
  // Ends velsim and returns its status and output.
  Finished stopVelsim(int signalNumber);
  // The log of velsim since its start. A request is logged at about the time of its answer.
  // Without the times.
  std::string velsimLog() const { return velsim_ ? processes::withoutTimes(velsim_->log()) : ""; }
  // The same with every answered request, for tests that a line is missing.
  std::string settledVelsimLog();
  // Waits for the text.
  bool velsimLogs(const std::string& text) const;

  Process::Options velctlOptions(const std::vector<std::string>& arguments) const {
    return processes::velctlOptions(bus_, arguments);
  }
  Finished velctl(const std::vector<std::string>& arguments) const;
  // Waits until a velctl watch receives events.
  static bool isWatching(const Process& watch);

  // A call with an ordinary D-Bus tool, whose arguments are like "int32:101".
  Finished call(const std::string& method, const std::vector<std::string>& arguments) const;

  Process::Options options(const std::vector<std::string>& command) const {
    return bus_.options(command);
  }
  // With no bus set and none running, as on a machine with nothing set up.
  Process::Options onABareMachine(Process::Options options) const {
    options.environment["QXBUS_ADDRESS"] = "";
    options.environment["DBUS_SESSION_BUS_ADDRESS"] = "";
    options.environment["XDG_RUNTIME_DIR"] = folder() + "/runtime";
    std::filesystem::create_directory(folder() + "/runtime");
    return options;
  }
  std::string folder() const { return bus_.directory().string(); }
  processes::PrivateBus& bus() { return bus_; }
  VelsimProcess* velsim() const { return velsim_.get(); }

 private:
  processes::PrivateBus bus_;
  std::unique_ptr<VelsimProcess> velsim_;
  int markers_ = 0;
};

class EndToEndTestWithService : public EndToEndTest {
 protected:
  void SetUp() override { startVelsim(); }
};

}  // namespace end_to_end

#endif  // TESTS_END_TO_END_END_TO_END_TEST_H
