// velctl as a process beside a velsim, through a bus and without one: what status, doctor and wait
// have in common.

#ifndef TESTS_VELCTL_STATE_TEST_H
#define TESTS_VELCTL_STATE_TEST_H

#include <csignal>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/processes/programs.h"
#include "tests/velctl/words.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl_tests {

using Json = nlohmann::json;
using processes::comesTrue;
using processes::Finished;
using processes::Process;

enum class Way { kBus, kDirect };

inline std::string nameOfWay(const testing::TestParamInfo<Way>& info) {
  return info.param == Way::kBus ? "OverABus" : "Direct";
}

inline constexpr char kStranger[] = "65534";

// The command as another user; it needs root.
inline std::vector<std::string> asAStranger(const std::vector<std::string>& command) {
  std::vector<std::string> all = {"setpriv", std::string("--reuid=") + kStranger, "--clear-groups"};
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

// Whether it works here, and the stranger can run programs of the build.
inline bool canBeAStranger() {
  Process::Options options;
  options.command = asAStranger({VELCTL_PATH, "--version"});
  return ::geteuid() == 0 && processes::run(options).status == 0;
}

class StateTest : public testing::TestWithParam<Way> {
 protected:
  bool isDirect() const { return GetParam() == Way::kDirect; }
  std::string pathIn(const std::string& name) const { return (bus_.directory() / name).string(); }
  // Where the service, or the bus, listens.
  std::string socket() const { return isDirect() ? pathIn("vel") : pathIn("bus"); }
  std::string addressOf(const std::string& path) const {
    return (isDirect() ? "direct:" : "unix:path=") + path;
  }
  std::string address() const { return addressOf(socket()); }
  processes::PrivateBus& bus() { return bus_; }

  Process::Options options(const std::vector<std::string>& arguments) const {
    Process::Options options = processes::velctlOptions(bus_, arguments);
    options.environment["QXBUS_ADDRESS"] = address();
    return options;
  }
  Process::Options options(const std::string& line) const { return options(wordsOf(line)); }
  Finished velctl(const std::string& line,
                  const std::map<std::string, std::string>& environment = {}) const {
    Process::Options with = options(line);
    for (const auto& [name, value] : environment) {
      with.environment[name] = value;
    }
    return processes::run(with);
  }
  // The object on its standard output.
  static Json jsonOf(const Finished& finished) { return Json::parse(finished.out, nullptr, false); }

  velsim_testing::VelsimProcess& startVelsim(const std::vector<std::string>& arguments = {}) {
    velsim_testing::VelsimProcess::Options options = processes::velsimOptions(bus_, arguments);
    options.address = address();
    velsim_ = std::make_unique<velsim_testing::VelsimProcess>(options);
    return *velsim_;
  }
  velsim_testing::VelsimProcess& velsim() { return *velsim_; }
  // It takes requests, and answers none until it is killed.
  void hangVelsim() {
    processes::hang(velsim_->pid());
    isHanging_ = true;
  }

  void TearDown() override {
    if (isHanging_) {
      velsim_->kill();
    }
  }

 private:
  processes::PrivateBus bus_;
  std::unique_ptr<velsim_testing::VelsimProcess> velsim_;
  bool isHanging_ = false;
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_STATE_TEST_H
