#include "tests/chaos/world.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <stdlib.h>

#include "tests/chaos/journal.h"

namespace chaos {

const std::string kVmNames[4] = {"win11", "win10", "ubuntu", "debian"};

World::World(Bus bus) {
  std::string pattern = (std::filesystem::temp_directory_path() / "chaos-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) {
    throw std::runtime_error("no directory " + pattern);
  }
  directory_ = pattern;
  logDirectory_ = directory_ / "data";
  if (bus == Bus::kDaemon) {
    bus_ = std::make_unique<processes::PrivateBus>();
  }
  ::setenv("QX_APP_DATA", logDirectory_.c_str(), 1);
  startService();
  velsim_->exportAddress();
}

void World::end() {
  velsim_.reset();
  bus_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void World::writeScenario() const {
  const std::string i = "i" + std::to_string(instance_) + " ";
  std::ofstream file(directory_ / "scenario.json");
  file << "{ \"vms\": [";
  const unsigned first = instance_ * 100;
  unsigned number = first;
  for (const std::string& vm : kVmNames) {
    ++number;
    file << (number == first + 1 ? "" : ",") << "{\"id\":\"" << vm << "\",\"number\":" << number
         << "}";
  }
  file << "],\n\"devices\": [\n{\"number\":61,\"type\":\"camera\",\"name\":\"" << i
       << "camera\",\"sourceId\":72623859790382856},\n"
       << "{\"number\":62,\"type\":\"storage\",\"name\":\"" << i << "stick\"}],\n"
       << "\"printers\": [{\"number\":51,\"name\":\"" << i << "laser\"}],\n"
       << "\"sharedPrinters\": {\"searchTime\":\"10ms\"},\n"
       << "\"diagnosis\": {\"stepTime\":\"5ms\",\"steps\":[\"checking\"]}\n}\n";
}

void World::startService() {
  if (isServing()) {
    return;
  }
  ++instance_;
  ++restarts_;
  writeScenario();
  if (velsim_) {
    velsim_->start();
    return;
  }
  velsim_testing::VelsimProcess::Options options;
  options.scenario = (directory_ / "scenario.json").string();
  options.address = bus_ ? bus_->address() : "";
  velsim_ = std::make_unique<velsim_testing::VelsimProcess>(options);
}

void World::killService() {
  velsim_->kill();
}

void World::endService() {
  velsim_->stop();
}

void World::stopService() {
  Journal::get().stopped(velsim_->pid());
  velsim_->signal(SIGSTOP);
}

void World::continueService() {
  velsim_->signal(SIGCONT);
  Journal::get().continued(velsim_->pid());
}

std::string World::control(const std::string& line) {
  try {
    return isServing() ? velsim_->control(line) : "";
  } catch (const velsim_testing::VelsimError&) {
    // Ended by a fault meanwhile.
    return "";
  }
}

void World::killBus() {
  bus_->kill();
}

void World::startBus() {
  bus_->start();
}

void World::stopBus() {
  Journal::get().stopped(bus_->pid());
  bus_->hang();
}

void World::continueBus() {
  bus_->resume();
  Journal::get().continued(bus_->pid());
}

}  // namespace chaos
