// A private message bus for a test: a dbus-daemon in a new directory, removed with the object.
//
//   PrivateBus bus;
//   setenv("QXBUS_ADDRESS", bus.address().c_str(), 1);
//
// THREADS   Use it from one thread.
// ERRORS    std::runtime_error when the bus cannot be started.

#ifndef TESTS_PROCESSES_PRIVATE_BUS_H
#define TESTS_PROCESSES_PRIVATE_BUS_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/processes/process.h"

namespace processes {

class PrivateBus {
 public:
  // Makes the directory and starts the bus.
  PrivateBus();
  ~PrivateBus();

  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  // The same before and after a restart.
  std::string address() const { return "unix:path=" + socket().string(); }
  pid_t pid() const { return daemon_->pid(); }
  bool isRunning() const { return daemon_ != nullptr; }

  // An empty directory of files *.service, read when the bus starts. The files of a test may stand
  // beside it.
  std::filesystem::path serviceDirectory() const { return directory_ / "services"; }
  const std::filesystem::path& directory() const { return directory_; }

  // Options to run a program on this bus, with its files in directory().
  Process::Options options(const std::vector<std::string>& command) const;

  // Returns when clients can connect. No effect on a bus that runs.
  void start();

  // SIGKILL; every connection breaks.
  void kill() { daemon_.reset(); }

  // A bus that hangs takes connections and messages, and answers nothing.
  void hang() const;
  void resume() const;

 private:
  std::filesystem::path socket() const { return directory_ / "bus"; }
  std::string configuration() const;

  std::filesystem::path directory_;
  std::unique_ptr<Process> daemon_;
};

}  // namespace processes

#endif  // TESTS_PROCESSES_PRIVATE_BUS_H
