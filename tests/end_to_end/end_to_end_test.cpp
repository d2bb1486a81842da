#include "tests/end_to_end/end_to_end_test.h"

#include <csignal>

namespace end_to_end {
void EndToEndTest::TearDown() {
  if (velsim_) {
    const Finished velsim = stopVelsim(SIGTERM);
    EXPECT_EQ(velsim.status, 0) << velsim.err;
  }
}

Process::Options EndToEndTest::options(const std::vector<std::string>& command) const {
  Process::Options options;
  options.command = command;
  options.folder = folder();
  options.environment = {{"QXBUS_ADDRESS", bus_.address()},
                         {"QX_APP_DATA", folder() + "/data"},
                         {"HOME", folder()},
                         {"QX_LOG_LEVEL", ""},
                         {"DBUS_SESSION_BUS_ADDRESS", ""},
                         {"LC_ALL", "C"}};
  return options;
}

void EndToEndTest::startVelsim(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VELSIM_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  velsim_ = std::make_unique<Process>(options(command));
  ASSERT_TRUE(comesTrue([this] {
    return velsim_->err().find("velsim: ready ") != std::string::npos;
  })) << velsim_->err();
}

void EndToEndTest::killVelsim() {
  EXPECT_EQ(velsim_->end(SIGKILL).status, 128 + SIGKILL);
  velsim_.reset();
}

Finished EndToEndTest::stopVelsim(int signalNumber) {
  const Finished finished = velsim_->end(signalNumber);
  velsim_.reset();
  return finished;
}

Process::Options EndToEndTest::velctlOptions(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {VELCTL_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return options(command);
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
