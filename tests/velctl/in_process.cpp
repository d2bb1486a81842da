#include "tests/velctl/in_process.h"

#include <algorithm>
#include <string_view>

#include <nlohmann/json.hpp>

#include "bus/dbus/bus_failure.h"
#include "tests/processes/temporary_file.h"
#include "tests/scripted_bus/platform_doubles.h"
#include "tests/scripted_bus/timeline.h"
#include "vel/apps/local/velctl/program.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/methods.h"

// The reason when a test makes the scripted bus unreachable.
std::string qxbus::busFailure() {
  return "scripted:\x1b[2J: refused";
}

bool qxbus::isBusDirect() {
  return velctl_tests::isBusDirect;
}

qxbus::ServiceCheck qxbus::checkService(const std::string& /*service*/,
                                        const std::string& /*address*/,
                                        std::chrono::milliseconds /*limit*/) {
  ServiceCheck check = velctl_tests::wayToService;
  check.isDirect = velctl_tests::isBusDirect;
  return check;
}

namespace velctl_tests {

bool isBusDirect = false;
qxbus::ServiceCheck wayToService;

testing::Matcher<std::string> isOneLine() {
  return testing::ResultOf(
      "the newlines",
      [](const std::string& text) {
        const auto count = std::count(text.begin(), text.end(), '\n');
        return count == 1 && text.back() == '\n';
      },
      true);
}

std::string errorJson(velctl::ExitCode status, const std::string& operation,
                      const std::string& members, const std::string& message) {
  constexpr std::string_view kBegin = "velctl: ";
  const bool isPlain = message.rfind(kBegin, 0) == 0;
  const std::string text = message.substr(isPlain ? kBegin.size() : 0);
  return R"({"error":{"kind":")" + std::string(nameOf(status)) + R"(","exitStatus":)" +
         std::to_string(status) + (operation.empty() ? "" : R"(,"operation":")" + operation + '"') +
         ',' + members + R"("text":)" + nlohmann::json(text.substr(0, text.find('\n'))).dump() +
         "}}\n";
}

InProcessTest::InProcessTest() {
  bus.reset();
  isBusDirect = false;
  wayToService = {};
  wayToService.address = {"scripted:\x1b[2J", qxbus::BusAddress::Source::kSessionVariable};
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
  const processes::TemporaryFile data;
  bus.clear();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const velctl::ExitCode status = velctl::runCommandLine(arguments, data.descriptor());
  // Lines of the library, which the program drops.
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
