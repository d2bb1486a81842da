#include "tests/velctl/in_process.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <unistd.h>

#include "bus/dbus/bus_failure.h"
#include "tests/scripted_bus/platform_doubles.h"
#include "tests/scripted_bus/timeline.h"
#include "vel/apps/local/velctl/program.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/methods.h"

// The reason when a test makes the scripted bus unreachable.
std::string qxbus::busFailure() {
  return "scripted:\x1b[2J: refused";
}

namespace velctl_tests {
namespace {

// Data is written to its descriptor, as to standard output.
class DataFile {
 public:
  DataFile() : file_(std::tmpfile(), &std::fclose) {
    if (!file_) {
      throw std::runtime_error("no temporary file");
    }
  }

  int descriptor() const { return ::fileno(file_.get()); }

  std::string content() const {
    std::string text;
    char bytes[4096];
    for (;;) {
      const ssize_t count =
          ::pread(descriptor(), bytes, sizeof bytes, static_cast<off_t>(text.size()));
      if (count <= 0) {
        return text;
      }
      text.append(bytes, static_cast<std::size_t>(count));
    }
  }

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

}  // namespace

InProcessTest::InProcessTest() {
  bus.reset();
  scripted::Timeline::the().reset();
  scripted::setDataPath("");
  for (const velprotocol::Method& method : velprotocol::kMethods) {
    if (method.name != "getVmListSize") {
      bus.answer(std::string(method.name), Reply().int32(0));
    }
  }
  bus.answer("getVmList", Reply().int32(1).string(kVm).int32(kVmNumber));
  bus.knowsVm(kVm, kVmNumber);
}

InProcessTest::~InProcessTest() {
  bus.reset();
  qx::VelProxy& proxy = *qx::VelProxy::getInstance();
  // Forgets the numbers of VMs, as the end of a process does.
  proxy.onServiceDeath();
  proxy.ReleaseService();
  bus.reset();
}

Ran InProcessTest::velctl(const std::vector<std::string>& arguments) {
  const DataFile data;
  bus.clear();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const velctl::ExitCode status = velctl::runCommandLine(arguments, data.descriptor());
  // Lines of the library, which the program redirects to standard error.
  testing::internal::GetCapturedStdout();
  return {status, data.content(), testing::internal::GetCapturedStderr()};
}

Ran InProcessTest::velctl(const std::string& line, Form form) {
  std::vector<std::string> arguments = wordsOf(line);
  if (form == Form::kJson) {
    arguments.emplace_back("--json");
  }
  return velctl(arguments);
}

std::vector<std::string> InProcessTest::requests() const {
  std::vector<std::string> requests;
  for (const std::string& request : bus.requests()) {
    if (request.rfind("getVmListSize(", 0) != 0) {
      requests.push_back(request);
    }
  }
  return requests;
}

}  // namespace velctl_tests
