// Every exit status, from a real process, over a bus and direct, as text and in JSON.

#include <csignal>
#include <memory>
#include <set>

#include "tests/velctl/process_test.h"
#include "vel/apps/local/velctl/output/json.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Over a bus, and direct.
class ExitStatusTest : public ProcessTest, public ::testing::WithParamInterface<bool> {
 protected:
  std::string address() const {
    return GetParam() ? "direct:" + (busFolder() + "/vel") : busAddress();
  }
  std::string busFolder() const { return options("vm list").environment.at("QX_APP_DATA"); }
  std::string busAddress() const { return options("vm list").environment.at("QXBUS_ADDRESS"); }

  void startService() { service_ = std::make_unique<FakeService>(address()); }
  FakeService& service() { return *service_; }

  // With the address in place of that of the bus; script: a shell's, in which "$@" is the command.
  Process::Options command(const std::string& line, const std::string& address,
                           const std::string& script = {}) const {
    Process::Options shell = options(line);
    shell.environment["QXBUS_ADDRESS"] = address;
    if (!script.empty()) {
      std::vector<std::string> words = {"sh", "-c", script, "sh"};
      words.insert(words.end(), shell.command.begin(), shell.command.end());
      shell.command = words;
    }
    return shell;
  }

  // Ends with the status in both forms; JSON has the error, unless the output is lost.
  void expectStatus(velctl::ExitCode status, const std::string& line, const std::string& address,
                    const std::string& script = {}) {
    const bool isDone = status == velctl::kExitDone;
    const Finished text = run(command(line, address, script));
    const Finished json = run(command(line + " --json", address, script));

    EXPECT_EQ(text.status, status) << text.err;
    EXPECT_EQ(json.status, status) << json.err;
    if (status == velctl::kExitOutputLost) {
      EXPECT_THAT(json.err, HasSubstr("velctl: writing to standard output: "));
    } else if (!isDone) {
      EXPECT_THAT(text.out, IsEmpty());
      expectError(status, json);
    }
    seen_.insert(status);
  }

  static void expectError(velctl::ExitCode status, const Finished& finished) {
    const velctl::Json printed = velctl::Json::parse(finished.out, nullptr, false);
    ASSERT_TRUE(printed.is_object() && printed.contains("error")) << finished.out;
    EXPECT_EQ(printed["error"]["kind"], nameOf(status));
    EXPECT_EQ(printed["error"]["exitStatus"], int{status});
    EXPECT_EQ("velctl: " + printed["error"]["text"].get<std::string>() + '\n', finished.err);
  }

  std::set<velctl::ExitCode> seen_;

 private:
  std::unique_ptr<FakeService> service_;
};

TEST_P(ExitStatusTest, HasOneMeaningEach) {
  const std::string attach = "device attach 12 --vm win11";
  expectStatus(velctl::kExitNoService, "vm list", address());
  startService();
  expectStatus(velctl::kExitDone, attach, address());
  expectStatus(velctl::kExitNoBus, "vm list", "unix:path=" + busFolder() + "/nobody");
  expectStatus(velctl::kExitUnknown, "device attach 12 --vm nosuch", address());
  service().answer("connectDevice", qxbus::Values{std::int32_t{7}});
  expectStatus(velctl::kExitRefused, attach, address());
  service().answer("connectDevice", FakeService::Error{"out of order"});
  expectStatus(velctl::kExitErrorReply, attach, address());
  expectStatus(velctl::kExitOutputLost, "vm list", address(), "exec \"$@\" > /dev/full");
  // No thread can be created: its stack would be larger than all memory.
  expectStatus(velctl::kExitFailed, "vm list", address(),
               "ulimit -s 1000000 && ulimit -v 600000 && exec \"$@\"");
  service().answer("connectDevice", qxbus::Values{std::int32_t{0}});
  service().hold("connectDevice");
  expectStatus(velctl::kExitNoReply, attach + " --timeout 0.2", address());

  Process interrupted(command(attach + " --json", address()));
  const std::size_t seen = service().requests().size();
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() > seen; }));
  const Finished ended = interrupted.end(SIGINT);
  EXPECT_EQ(ended.status, velctl::kExitInterrupted) << ended.err;
  expectError(velctl::kExitInterrupted, ended);
  seen_.insert(velctl::kExitInterrupted);
  service().release();

  const Finished usage = run(command("device attch --json", address()));
  EXPECT_EQ(usage.status, velctl::kExitUsage);
  EXPECT_THAT(usage.out, HasSubstr(R"({"error":{"kind":"usage","exitStatus":2,)"));
  seen_.insert(velctl::kExitUsage);

  for (const velctl::ExitMeaning& each : velctl::kExitMeanings) {
    EXPECT_EQ(seen_.count(each.code), 1u) << each.name << " is not tested";
  }
}

INSTANTIATE_TEST_SUITE_P(Over, ExitStatusTest, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Direct" : "Bus"; });

}  // namespace
}  // namespace velctl_tests
