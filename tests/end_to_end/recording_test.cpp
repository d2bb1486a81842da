// A service that is recorded, and its recording in its place.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;

constexpr char kHeader[] = R"({"velsim":"recording","version":1})";

// Lines that velctl vm list is answered from: at 0 ms, and after so many milliseconds.
std::string vmListAfter(int milliseconds) {
  return std::string(kHeader) +
         "\n"
         R"({"time":0,"kind":"call","id":1,"client":"c","method":"getVmList","values":[{"i":0}]})"
         "\n"
         R"({"time":)" +
         std::to_string(milliseconds) +
         R"(,"kind":"reply","id":1,"duration":0,"method":"getVmList","values":[{"i":1},{"s":"lab"},{"i":7}]})"
         "\n";
}

class RecordingTest : public EndToEndTest {
 protected:
  std::string file() const { return folder() + "/r.jsonl"; }
  void write(const std::string& text) const { std::ofstream(file()) << text; }
  std::vector<nlohmann::json> recorded() const {
    std::ifstream lines(file());
    std::vector<nlohmann::json> all;
    for (std::string line; std::getline(lines, line);) {
      all.push_back(nlohmann::json::parse(line, nullptr, false));
      EXPECT_TRUE(all.back().is_object()) << line;
    }
    return all;
  }
  std::string content() const {
    std::ostringstream text;
    text << std::ifstream(file()).rdbuf();
    return text.str();
  }
  // How many lines are of a kind.
  std::size_t count(const std::string& kind) const {
    std::size_t found = 0;
    for (const nlohmann::json& line : recorded()) {
      found += line.value("kind", "") == kind ? 1 : 0;
    }
    return found;
  }

  // How many answers to a method there are. The recorder may still be writing.
  int answersTo(const std::string& method) const {
    int found = 0;
    std::istringstream lines(content());
    for (std::string line; std::getline(lines, line);) {
      const bool isReply = line.find("\"kind\":\"reply\"") != std::string::npos;
      found += isReply && line.find("\"method\":\"" + method + "\",") != std::string::npos ? 1 : 0;
    }
    return found;
  }

  VelsimProcess::Options recorderOf(const VelsimProcess& service,
                                    const std::string& address = "") const {
    VelsimProcess::Options options;
    options.address = address;
    options.arguments = {"record", file(), "--service", service.address()};
    return options;
  }
  VelsimProcess::Options replayer(const std::vector<std::string>& arguments) const {
    VelsimProcess::Options options;
    options.arguments = {"replay", file()};
    options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
    return options;
  }
  Process::Options velctlOptionsAt(const VelsimProcess& at,
                                   const std::vector<std::string>& arguments) const {
    Process::Options options = velctlOptions(arguments);
    options.environment["QXBUS_ADDRESS"] = at.address();
    return options;
  }
  Finished velctlAt(const VelsimProcess& at, const std::vector<std::string>& arguments) const {
    return run(velctlOptionsAt(at, arguments));
  }
  // velsim record as any program; its service is away.
  Finished recordTo(const std::string& path) const {
    return run(options({VELSIM_PATH, "record", path, "--service", "direct:" + folder() + "/none",
                        "--bus", "direct:" + folder() + "/clients"}));
  }
};

// --- Between the service and its clients ---------------------------------------------------------

// Clients are at a bus daemon, or directly at the recorder.
class RecorderTest : public RecordingTest, public ::testing::WithParamInterface<bool> {
 protected:
  // Empty: a socket of the recorder's.
  std::string clientAddress() { return GetParam() ? bus().address() : ""; }
};

TEST_P(RecorderTest, PassesCallsErrorsAndEventsOnAndWritesThem) {
  VelsimProcess service;
  VelsimProcess recorder(recorderOf(service, clientAddress()));
  Process watch(velctlOptionsAt(recorder, {"watch"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  EXPECT_EQ(velctlAt(recorder, {"device", "attach", "12", "--vm", "win11"}).status, 0);
  service.control("plug storage Stick");

  EXPECT_TRUE(comesTrue([&] {
    const std::string seen = watch.out();
    return seen.find("device plugged in (4): 31 \"Stick\"") != std::string::npos &&
           seen.find(" (64): 31 \"Stick\"") != std::string::npos;
  })) << watch.out();
  watch.end(SIGINT);
  EXPECT_EQ(recorder.stop(), 0);
  EXPECT_EQ(recorded().at(0).value("velsim", ""), "recording");
  EXPECT_THAT(content(), HasSubstr(R"("decoded":{"vm":101,"device":12})"));
  EXPECT_THAT(content(), HasSubstr(R"("event":"device attached")"));
  EXPECT_THAT(content(), HasSubstr(R"("name":"mountedEvent","broadcast":true)"));
  EXPECT_EQ(count("call"), count("reply"));
}

TEST_P(RecorderTest, TheDeathOfTheServiceIsADeathToItsClientsAndItsReturnAReturn) {
  VelsimProcess service;
  VelsimProcess recorder(recorderOf(service, clientAddress()));
  Process watch(velctlOptionsAt(recorder, {"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  const std::string diedAndReturned =
      "service     the service is gone, and with it the sessions of win11\n"
      "service     the service is there, with the VMs win11\n";

  service.kill();
  EXPECT_TRUE(comesTrue([&] { return recorder.log().find("has gone") != std::string::npos; }));
  EXPECT_EQ(velctlAt(recorder, {"vm", "list"}).status, velctl::kExitNoService);
  service.start();

  EXPECT_TRUE(comesTrue([&] { return velctlAt(recorder, {"vm", "list"}).status == 0; }));
  EXPECT_EQ(velctlAt(recorder, {"printer", "list"}).status, 0);
  EXPECT_TRUE(comesTrue([&] {
    return processes::withoutWatchTimes(watch.out()) == diedAndReturned;
  })) << watch.out();
  // watch asks for the VMs after its line, too; without that answer the recording would lack it.
  EXPECT_TRUE(comesTrue([&] { return answersTo("getVmList") >= 3; })) << content();
  EXPECT_EQ(processes::withoutWatchTimes(watch.end(SIGINT).out), diedAndReturned);
  EXPECT_EQ(recorder.stop(), 0) << recorder.log();
  EXPECT_EQ(count("gone"), 1u);
  EXPECT_EQ(count("there"), 1u);

  // The recording dies and returns as well.
  VelsimProcess replay(replayer({"--speed", "10"}));
  Process again(velctlOptionsAt(replay, {"watch", "win11"}));
  EXPECT_TRUE(comesTrue([&] {
    return processes::withoutWatchTimes(again.out()) == diedAndReturned;
  })) << again.out()
      << again.err();
  // The answers about VMs may all be watch's, which goes on asking.
  EXPECT_TRUE(comesTrue([&] { return velctlAt(replay, {"printer", "list"}).status == 0; }));
  again.end(SIGINT);
}

TEST_P(RecorderTest, ACallThatTheServiceNeverAnswersEndsWithTheService) {
  VelsimProcess service;
  VelsimProcess recorder(recorderOf(service, clientAddress()));
  processes::hang(service.pid());
  Process call(velctlOptionsAt(recorder, {"device", "list"}));
  ASSERT_TRUE(comesTrue([&] { return count("call") > 0; }));

  service.kill();

  // Which of the two depends on what velctl sees first: the end of the call, or of the service.
  EXPECT_THAT(call.wait().status, AnyOf(velctl::kExitNoService, velctl::kExitNoReply))
      << call.err();
  EXPECT_EQ(recorder.stop(), 0);
  EXPECT_EQ(count("reply"), 0u);
  EXPECT_EQ(count("error"), 0u);
}

INSTANTIATE_TEST_SUITE_P(Over, RecorderTest, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Daemon" : "Direct"; });

TEST_F(RecordingTest, AServiceAtADaemonIsRecordedToo) {
  startVelsim();
  VelsimProcess::Options options;
  options.arguments = {"record", file(), "--service", bus().address()};
  VelsimProcess recorder(options);
  Process watch(velctlOptionsAt(recorder, {"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  EXPECT_EQ(velctlAt(recorder, {"vm", "list"}).status, 0);
  killVelsim();

  EXPECT_TRUE(comesTrue([&] { return recorder.log().find("has gone") != std::string::npos; }));
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  EXPECT_TRUE(comesTrue([&] { return velctlAt(recorder, {"vm", "list"}).status == 0; }));
  EXPECT_TRUE(
      comesTrue([&] { return watch.out().find("the service is gone") != std::string::npos; }));
  watch.end(SIGINT);
  EXPECT_EQ(recorder.stop(), 0) << recorder.log();
}

TEST_F(RecordingTest, BeginsBeforeTheServiceIsThere) {
  VelsimProcess service;
  service.stop();
  VelsimProcess recorder(recorderOf(service));
  // The log is written by a thread of its own.
  EXPECT_TRUE(comesTrue([&] {
    return recorder.log().find("waiting for a service at " + service.address()) !=
           std::string::npos;
  })) << recorder.log();
  EXPECT_EQ(velctlAt(recorder, {"vm", "list"}).status, velctl::kExitNoService);

  service.start();

  EXPECT_TRUE(comesTrue([&] { return velctlAt(recorder, {"vm", "list"}).status == 0; }));
}

TEST_F(RecordingTest, WritesNoTokenUnlessAskedTo) {
  const VelsimProcess service;
  VelsimProcess::Options options = recorderOf(service);
  for (const bool isWithSecrets : {false, true}) {
    fs::remove(file());
    if (isWithSecrets) {
      options.arguments.emplace_back("--with-secrets");
    }
    VelsimProcess recorder(options);

    EXPECT_EQ(velctlAt(recorder, {"token", "set", "tok"}).status, 0);

    EXPECT_EQ(recorder.stop(), 0);
    EXPECT_EQ(content().find("746f6b") != std::string::npos, isWithSecrets) << content();
    EXPECT_EQ(content().find(R"("values":[{"masked":"ay"}])") == std::string::npos, isWithSecrets);
  }
}

TEST_F(RecordingTest, NothingIsLostHoweverTheRecorderEnds) {
  const VelsimProcess service;
  for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
    fs::remove(file());
    VelsimProcess recorder(recorderOf(service));
    EXPECT_EQ(velctlAt(recorder, {"vm", "list"}).status, 0);

    recorder.signal(signal);

    EXPECT_EQ(recorder.wait(), signal == SIGKILL ? 128 + SIGKILL : velsim::kExitStopped);
    EXPECT_EQ(count("call"), 1u);
    EXPECT_EQ(count("reply"), 1u);
  }
}

// --- Files that cannot be written ----------------------------------------------------------------

TEST_F(RecordingTest, AFileThatCannotBeMadeEndsTheRecorder) {
  write("precious");

  const Finished nowhere = recordTo(folder() + "/nosuch/r.jsonl");
  const Finished taken = recordTo(file());

  EXPECT_EQ(nowhere.status, velsim::kExitNotWritten);
  EXPECT_THAT(nowhere.err, HasSubstr("/nosuch/r.jsonl: No such file or directory"));
  EXPECT_EQ(taken.status, velsim::kExitNotWritten);
  EXPECT_THAT(taken.err, HasSubstr("velsim: will not overwrite " + file()));
  EXPECT_EQ(content(), "precious");
}

TEST_F(RecordingTest, AFileThatCannotGrowEndsTheRecorder) {
  const VelsimProcess service;
  const std::string address = "direct:" + folder() + "/clients";
  Process recorder(options({"sh", "-c", "ulimit -f 8; exec \"$0\" \"$@\"", VELSIM_PATH, "record",
                            file(), "--service", service.address(), "--bus", address}));
  ASSERT_TRUE(processes::isReady(recorder)) << recorder.err();
  Process::Options call = velctlOptions({"device", "list"});
  call.environment["QXBUS_ADDRESS"] = address;

  EXPECT_TRUE(comesTrue([&] {
    run(call);
    return recorder.hasEnded();
  }));

  const Finished ended = recorder.wait();
  EXPECT_EQ(ended.status, velsim::kExitNotWritten);
  EXPECT_THAT(ended.err, HasSubstr("velsim: cannot write " + file() + ": File too large\n"));
}

// --- In place of the service ---------------------------------------------------------------------

TEST_F(RecordingTest, ADifferentRequestIsReportedAndIsTheExitStatus) {
  write(vmListAfter(0));
  for (const char* const order : {"match", "strict"}) {
    VelsimProcess replay(replayer({"--order", order}));

    const Finished differs = velctlAt(replay, {"device", "attach", "12", "--vm", "win11"});
    EXPECT_EQ(velctlAt(replay, {"vm", "list"}).out, "NAME  NUMBER\nlab   7\n");

    EXPECT_NE(differs.status, 0);
    EXPECT_EQ(replay.stop(), velsim::kExitDiffers);
    EXPECT_THAT(replay.log(), HasSubstr("velsim: " + file() +
                                        ":2: expected getVmList(int32 0), got getVmListSize("
                                        "string \"win11\")\n"));
  }
}

TEST_F(RecordingTest, RequestsThatDoNotComeAreCounted) {
  write(vmListAfter(0));
  VelsimProcess replay(replayer({}));

  EXPECT_EQ(replay.stop(), velsim::kExitStopped);

  EXPECT_THAT(replay.log(), HasSubstr("stopped, 1 recorded request did not come\n"));
}

TEST_F(RecordingTest, AnswersTakeTheRecordedTimeAPartOfItOrNone) {
  struct Row {
    int recordedMs;
    const char* speed;
    int leastMs;
  };
  // velctl would give up after three seconds.
  const Row rows[] = {{400, "1", 400}, {4000, "10", 400}, {3600000, "max", 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.speed);
    write(vmListAfter(row.recordedMs));
    const VelsimProcess replay(replayer({"--speed", row.speed}));

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(velctlAt(replay, {"vm", "list"}).out, "NAME  NUMBER\nlab   7\n");

    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(row.leastMs));
  }
}

TEST_F(RecordingTest, ARecordingWithMistakesIsNotReplayed) {
  write(vmListAfter(0) + "{\"time\":1,\"kind\":\"call\"}\n{\"time\":2,\"ki");

  const Finished failed = run(options({VELSIM_PATH, "replay", file()}));

  EXPECT_EQ(failed.status, velsim::kExitScenario);
  EXPECT_THAT(failed.err, AllOf(HasSubstr("velsim: " + file() + ":4: id: is missing\n"),
                                HasSubstr("velsim: " + file() + ":5: is no JSON object, or ends")));
}

TEST_F(RecordingTest, WrongOptionsAreRefused) {
  struct Row {
    std::vector<std::string> arguments;
    const char* error;
  };
  const Row rows[] = {
      {{"replay", "r", "--speed", "fast"}, "\"fast\" is neither a number above 0 nor max"},
      {{"replay", "r", "--speed", "0"}, "\"0\" is neither a number above 0 nor max"},
      {{"replay", "r", "--order", "any"}, "--order"},
      {{"replay"}, "FILE"},
      {{"record", "r"}, "--service"},
  };
  for (const Row& row : rows) {
    std::vector<std::string> command = {VELSIM_PATH};
    command.insert(command.end(), row.arguments.begin(), row.arguments.end());

    const Finished failed = run(options(command));

    EXPECT_EQ(failed.status, velsim::kExitUsage);
    EXPECT_THAT(failed.err, HasSubstr(row.error));
    EXPECT_THAT(failed.err, HasSubstr("; see velsim --help"));
  }
}

}  // namespace
}  // namespace end_to_end
