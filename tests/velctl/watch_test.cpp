// velctl watch and velctl joystick watch, which end when they are interrupted.

#include <csignal>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int kSourceId = 7;

bool says(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

qxbus::Values event(int vmNumber, int code, const qxbus::Bytes& record) {
  return {std::int32_t{vmNumber}, std::int32_t{code}, record};
}

struct Event {
  int code;
  qxbus::Bytes record;
  std::string text;
  std::string json;
};

// Every kind of event, and each code with a callback of its own.
std::vector<Event> eventsOfEveryKind() {
  std::vector<Event> events = {
      {1, printerBlock(51, -2, kVmNumber, "La\x1bser"),
       "printer 51: status -2, VM win11, \"La\\x1bser\" (code 1)",
       R"({"event":"printer","code":1,"printer":51,"status":-2,"vmNumber":101,"vm":"win11",)"
       R"("name":"La\u001bser"})"},
      {9, diagnosisBlock(kSourceId, 4097, kVmNumber, "step \n1"),
       "diagnosis 7: status 4097, VM win11, \"step \\x0a1\" (code 9)",
       R"({"event":"diagnosis","code":9,"vm":"win11","id":7,"status":4097,"text":"step \n1"})"},
      {66, bytesOf("ok\x1b"), "command answer: VM win11, 6f6b1b (code 66)",
       R"({"event":"command","code":66,"vmNumber":101,"hex":"6f6b1b","text":"ok\u001b"})"},
  };
  for (const int code : {4, 5, 6, 7, 10, 64, 65}) {
    events.push_back(
        {code, deviceBlock(12, 2, -3, 999, "cam", "no"),
         "device 12: status 2, policy -3, VM 999, \"cam\" (code " + std::to_string(code) + ")",
         R"({"event":"device","code":)" + std::to_string(code) +
             R"(,"device":12,"status":2,"policy":-3,"policyText":"no",)"
             R"("vmNumber":999,"vm":null,"name":"cam"})"});
  }
  for (const int code : {2, 3, 8, 11, 65535}) {
    events.push_back({code, newDeviceBlock(0x046d, 0x0825, code == 2, "cam", "E1"),
                      std::string("new device 046d:0825: ") +
                          (code == 2 ? "configured" : "not configured") +
                          ", result \"E1\", \"cam\" (code " + std::to_string(code) + ")",
                      R"({"event":"newDevice","code":)" + std::to_string(code) +
                          R"(,"usbId":"046d:0825","isConfigured":)" +
                          (code == 2 ? "true" : "false") + R"(,"result":"E1","name":"cam"})"});
  }
  return events;
}

TEST_F(FakeServiceTest, WatchShowsEveryKindOfEvent) {
  Process text(options("watch"));
  Process json(options("watch --json"));
  ASSERT_TRUE(comesTrue([&] { return isWatching(text) && isWatching(json); })) << text.err();

  std::string expectedText;
  std::string expectedJson;
  for (const Event& sent : eventsOfEveryKind()) {
    expectedText += sent.text + '\n';
    expectedJson += sent.json + '\n';
    service().emit(event(kVmNumber, sent.code, sent.record));
  }
  EXPECT_TRUE(comesTrue([&] {
    return text.out().size() >= expectedText.size() && json.out().size() >= expectedJson.size();
  }));

  EXPECT_EQ(text.out(), expectedText);
  EXPECT_EQ(json.out(), expectedJson);
  EXPECT_EQ(text.end(SIGINT).status, velctl::kExitOk);
  EXPECT_EQ(json.end(SIGTERM).status, velctl::kExitOk);
}

TEST_F(FakeServiceTest, WatchShowsEventsThatAreBroadcast) {
  Process watch(options("watch"));
  ASSERT_TRUE(comesTrue([&] { return isWatching(watch); }));

  service().broadcast(event(0, 10, deviceBlock(12, 1, 0, 0, "Stick", "")));

  EXPECT_TRUE(comesTrue([&] { return !watch.out().empty(); }));
  EXPECT_EQ(watch.end(SIGINT).out, "device 12: status 1, policy 0, VM -, \"Stick\" (code 10)\n");
}

TEST_F(FakeServiceTest, WatchReadsRecordsThatAreTooShortAsIfZeroesFollowed) {
  Process watch(options("watch"));
  ASSERT_TRUE(comesTrue([&] { return isWatching(watch); }));

  service().emit(event(0, 1, {51}));
  service().emit(event(0, 4, {12}));
  service().emit(event(0, 2, {0x6d}));
  service().emit({std::int32_t{0}, std::int32_t{66}});
  service().emit(event(0, 66, {}));
  // The last text has no end.
  qxbus::Bytes printer = printerBlock(52, 0, 0, "Labels");
  printer.pop_back();
  service().emit(event(0, 1, printer));

  const std::vector<std::string> expected = {
      "printer 51: status 0, VM -, \"\" (code 1)",
      "device 12: status 0, policy 0, VM -, \"\" (code 4)",
      "new device 006d:0000: not configured, result \"\", \"\" (code 2)",
      "command answer: VM -, empty (code 66)",
      "command answer: VM -, empty (code 66)",
      "printer 52: status 0, VM -, \"Labels\" (code 1)",
  };
  EXPECT_TRUE(comesTrue([&] { return linesOf(watch.out()).size() == expected.size(); }));
  EXPECT_EQ(linesOf(watch.end(SIGINT).out), expected);
}

TEST_F(FakeServiceTest, WatchLeavesOutEventsOfOtherVmsWhenSomeAreNamed) {
  service().answer("getVmList",
                   qxbus::Values{std::int32_t{2}, std::string("win11"), std::int32_t{101},
                                 std::string("debian"), std::int32_t{104}});
  Process watch(options("watch win11"));
  ASSERT_TRUE(comesTrue([&] { return isWatching(watch); }));
  EXPECT_THAT(watch.err(), EndsWith("watching win11; interrupt to end\n"));

  service().emit(event(104, 1, printerBlock(1, 0, 104, "other")));
  service().emit(event(kVmNumber, 1, printerBlock(2, 0, kVmNumber, "own")));

  EXPECT_TRUE(comesTrue([&] { return !watch.out().empty(); }));
  EXPECT_EQ(watch.end(SIGINT).out, "printer 2: status 0, VM win11, \"own\" (code 1)\n");
}

// --- Answers to commands (event 66) --------------------------------------------------------------

qxbus::Values commandAnswer(int vmNumber, const std::string& record) {
  return event(vmNumber, 66, bytesOf(record));
}

// Two VMs, of which the watch that is given arguments learns some.
class WatchedAnswersTest : public FakeServiceTest {
 protected:
  WatchedAnswersTest() {
    service().answer("getVmList",
                     qxbus::Values{std::int32_t{1}, std::string("win11"), std::int32_t{101}});
  }

  // The lines of a watch, in order, when these events are sent and then one for no VM.
  std::vector<std::string> linesOfWatch(const std::string& line,
                                        const std::vector<qxbus::Values>& events) {
    Process watch(options(line));
    EXPECT_TRUE(isWatching(watch)) << watch.err();
    for (const qxbus::Values& each : events) {
      service().emit(each);
    }
    service().emit(commandAnswer(0, "last"));
    EXPECT_TRUE(comesTrue([&] { return says(watch.out(), "VM -, 6c617374 (code 66)\n"); }));
    std::vector<std::string> lines = linesOf(watch.end(SIGINT).out);
    lines.pop_back();
    return lines;
  }
};

TEST_F(WatchedAnswersTest, AnswersForUnknownVmsAreLeftOut) {
  EXPECT_THAT(linesOfWatch("watch", {commandAnswer(104, "other"), commandAnswer(101, "own")}),
              testing::ElementsAre("command answer: VM win11, 6f776e (code 66)"));
}

TEST_F(WatchedAnswersTest, AnswersForVmsThatAreNotNamedAreLeftOut) {
  service().answer("getVmList",
                   qxbus::Values{std::int32_t{2}, std::string("win11"), std::int32_t{101},
                                 std::string("debian"), std::int32_t{104}});
  const std::vector<qxbus::Values> events = {commandAnswer(104, "other"),
                                             commandAnswer(101, "own")};
  for (const char* const line : {"watch win11", "watch --vm win11"}) {
    SCOPED_TRACE(line);
    EXPECT_THAT(linesOfWatch(line, events),
                testing::ElementsAre("command answer: VM win11, 6f776e (code 66)"));
  }
}

TEST_F(WatchedAnswersTest, BroadcastAnswersAreShownOnce) {
  Process watch(options("watch"));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  service().broadcast(commandAnswer(104, "other"));
  service().broadcast(commandAnswer(101, "own"));
  service().broadcast(commandAnswer(0, "last"));

  EXPECT_TRUE(comesTrue([&] { return says(watch.out(), "6c617374"); }));
  EXPECT_EQ(watch.end(SIGINT).out,
            "command answer: VM win11, 6f776e (code 66)\n"
            "command answer: VM -, 6c617374 (code 66)\n");
}

// --- Services that come and go -------------------------------------------------------------------

TEST_F(FakeServiceTest, WatchGoesOnWithTheNextServiceWhenOneHasDied) {
  Process watch(options("watch --json"));
  ASSERT_TRUE(comesTrue([&] { return isWatching(watch); }));

  stopService();
  startService();
  const std::string goneAndBack =
      "{\"event\":\"serviceGone\"}\n"
      "{\"event\":\"sessionEnded\",\"vm\":\"win11\",\"code\":5}\n"
      "{\"event\":\"serviceBack\",\"vms\":[\"win11\"]}\n";
  ASSERT_TRUE(comesTrue([&] { return watch.out() == goneAndBack; })) << watch.out();
  service().emit(event(kVmNumber, 1, printerBlock(51, 0, kVmNumber, "Laser")));
  service().emit(event(kVmNumber, 66, bytesOf("ok")));
  EXPECT_TRUE(comesTrue([&] { return linesOf(watch.out()).size() == 5; })) << watch.out();
  EXPECT_TRUE(says(watch.out(), "\"event\":\"printer\""));
  EXPECT_TRUE(says(watch.out(), "\"event\":\"command\""));
  EXPECT_EQ(watch.end(SIGINT).status, velctl::kExitOk);
}

TEST_F(FakeServiceTest, WatchWorksWithoutAnyVm) {
  service().answer("getVmList", qxbus::Values{std::int32_t{0}});
  Process watch(options("watch"));
  ASSERT_TRUE(comesTrue([&] { return isWatching(watch); })) << watch.err();
  EXPECT_THAT(watch.err(), EndsWith("watching this machine; interrupt to end\n"));

  service().emit(event(0, 4, deviceBlock(12, 1, 0, 0, "cam", "")));

  EXPECT_TRUE(comesTrue([&] { return !watch.out().empty(); }));
  EXPECT_EQ(watch.end(SIGINT).out, "device 12: status 1, policy 0, VM -, \"cam\" (code 4)\n");
}

TEST_F(FakeServiceTest, WatchReportsTheReasonWhenItCannotLearnTheVms) {
  service().answer("getVmList", FakeService::Error{"out of order"});

  const Finished watch = velctl("watch");

  EXPECT_EQ(watch.status, velctl::kExitNoAnswer);
  EXPECT_THAT(watch.err, HasSubstr("watch: no usable answer: out of order; "));
}

// --- Joysticks -----------------------------------------------------------------------------------

std::string subscribed(const std::string& operation) {
  return "{\"operation\":\"" + operation + "JoystickCallback\",\"status\":0}\n";
}

TEST_F(FakeServiceTest, JoystickWatchSubscribesUntilItIsInterrupted) {
  Process watch(options("joystick watch --json"));
  ASSERT_TRUE(comesTrue([&] { return watch.out() == subscribed("register"); })) << watch.err();

  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitOk);
  EXPECT_EQ(finished.out, subscribed("register") + subscribed("unregister"));
  const std::vector<std::string> requests = service().requests();
  ASSERT_EQ(requests.size(), 2u);
  const std::string id = requests[0].substr(requests[0].find('('));
  EXPECT_THAT(id, ::testing::StartsWith("(bytes[8] "));
  EXPECT_EQ(requests[0], "registerJoystickCallback" + id);
  EXPECT_EQ(requests[1], "unregisterJoystickCallback" + id);
}

TEST_F(FakeServiceTest, JoystickWatchSubscribesAgainWithTheNextService) {
  Process watch(options("joystick watch --json"));
  ASSERT_TRUE(comesTrue([&] { return watch.out() == subscribed("register"); })) << watch.err();

  stopService();
  startService();

  EXPECT_TRUE(comesTrue([&] {
    return watch.out() == subscribed("register") + subscribed("register");
  })) << watch.out();
  EXPECT_EQ(watch.end(SIGTERM).status, velctl::kExitOk);
  EXPECT_THAT(service().requests(), ::testing::SizeIs(2));
}

TEST_F(FakeServiceTest, JoystickWatchReportsThatItIsNotSubscribed) {
  service().answer("registerJoystickCallback", qxbus::Values{std::int32_t{7}});
  const Finished refused = velctl("joystick watch");
  service().answer("registerJoystickCallback", FakeService::Error{"no joysticks here"});
  const Finished failed = velctl("joystick watch");

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_THAT(refused.err, HasSubstr("registerJoystickCallback: the service answered status 7; "));
  EXPECT_EQ(failed.status, velctl::kExitNoAnswer);
  EXPECT_THAT(failed.err, HasSubstr("registerJoystickCallback: no usable answer: no joysticks "));
  EXPECT_THAT(refused.out + failed.out, IsEmpty());
}

}  // namespace
}  // namespace velctl_tests
