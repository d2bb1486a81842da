// velctl watch and velctl joystick watch, against a service that the test scripts.

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/processes/output_pipe.h"
#include "tests/velctl/process_test.h"
#include "tests/velctl/seen_lines.h"

namespace velctl_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr int kSourceId = 7;

qxbus::Values event(int vmNumber, int code, const qxbus::Bytes& record) {
  return {std::int32_t{vmNumber}, std::int32_t{code}, record};
}

qxbus::Values printerEvent(int number, const std::string& name) {
  return event(0, 1, printerBlock(number, 1, 0, name));
}

qxbus::Values deviceEvent(int code, int number, const std::string& name, int vmNumber = 0) {
  return event(vmNumber, code, deviceBlock(number, 1, 0, vmNumber, name, ""));
}

std::string printerLine(int number, const std::string& name) {
  return "printer     printer changed (1): " + std::to_string(number) + " \"" + name +
         "\", available (1)";
}

std::string deviceLine(const std::string& what, int number, const std::string& name) {
  return "device      " + what + ": " + std::to_string(number) + " \"" + name +
         "\", available (1), policy none (0)";
}

class ScriptedWatchTest : public FakeServiceTest {
 protected:
  // Waits for so many lines.
  static std::vector<std::string> linesOf(const Process& watch, std::size_t count) {
    comesTrue([&] { return seenLines(watch.out()).size() >= count; });
    return seenLines(watch.out());
  }
  void knowTwoVms() {
    service().answer("getVmList",
                     qxbus::Values{std::int32_t{2}, std::string("win11"), std::int32_t{101},
                                   std::string("debian"), std::int32_t{104}});
  }
};

// --- Events --------------------------------------------------------------------------------------

struct Event {
  qxbus::Values sent;
  std::string text;
  std::string json;
};

// Every kind of event, and each code with a callback of its own.
std::vector<Event> eventsOfEveryKind() {
  std::vector<Event> events = {
      {event(kVmNumber, 1, printerBlock(51, -2, kVmNumber, "La\x1bser")),
       R"(printer     printer changed (1): 51 "La\x1bser", -2, VM win11)",
       R"({"event":"printer","code":1,"codeName":"printer changed","vm":"win11","vmNumber":101,)"
       R"("printer":51,"status":-2,"statusName":null,"name":"La\u001bser"})"},
      {event(kVmNumber, 9, diagnosisBlock(kSourceId, 2, kVmNumber, "step \n1")),
       R"(diagnosis   diagnosis (9): id 7, fault (2), VM win11: step \x0a1)",
       R"({"event":"diagnosis","code":9,"codeName":"diagnosis","vm":"win11","vmNumber":101,)"
       R"("id":"7","device":null,"name":null,"status":2,"statusName":"fault","text":"step \n1"})"},
      {event(kVmNumber, 66, bytesOf("ok\x1b")),
       "command     answer to a command (66): bytes 6f6b1b, VM win11",
       R"({"event":"command","code":66,"codeName":"answer to a command","vm":"win11",)"
       R"("vmNumber":101,"hex":"6f6b1b","text":"ok\u001b"})"},
      {event(0, 66, bytesOf(std::string("fine\0", 5))),
       "command     answer to a command (66): fine",
       R"({"event":"command","code":66,"codeName":"answer to a command","vm":null,"vmNumber":0,)"
       R"("hex":"66696e6500","text":"fine"})"},
  };
  struct Named {
    int code;
    std::string name;
  };
  for (const Named& row :
       {Named{4, "device plugged in"}, Named{5, "device unplugged"}, Named{6, "device attached"},
        Named{7, "device detached"}, Named{10, "device changed"}, Named{64, "storage mounted"},
        Named{65, "storage unmounted"}}) {
    const std::string code = std::to_string(row.code);
    events.push_back({event(kVmNumber, row.code, deviceBlock(12, 2, -3, 999, "cam", "no")),
                      "device      " + row.name + " (" + code +
                          R"(): 12 "cam", attached (2), policy -3, VM 999)",
                      R"({"event":"device","code":)" + code + R"(,"codeName":")" + row.name +
                          R"(","vm":null,"vmNumber":999,"device":12,"status":2,)"
                          R"("statusName":"attached","policy":-3,"policyName":null,)"
                          R"("policyText":"no","name":"cam","source":"0","usbId":"0000:0000",)"
                          R"("type":0,"typeName":null,"isMounted":false})"});
  }
  for (const Named& row :
       {Named{2, "result of attaching a new device"}, Named{3, "result of ignoring a new device"},
        Named{8, "result of a storage command"}, Named{11, ""}, Named{65535, ""}}) {
    const bool isSuccess = row.code == 2;
    const std::string code = std::to_string(row.code);
    events.push_back(
        {event(kVmNumber, row.code, newDeviceBlock(0x046d, 0x0825, isSuccess, "cam", "E1")),
         "new-device  " + (row.name.empty() ? "event" : row.name) + " (" + code +
             R"(): 046d:0825 "cam", )" + (isSuccess ? "succeeded" : "failed") +
             R"(, result "E1", VM win11)",
         R"({"event":"new-device","code":)" + code + R"(,"codeName":)" +
             (row.name.empty() ? "null" : '"' + row.name + '"') +
             R"(,"vm":"win11","vmNumber":101,"source":"0","usbId":"046d:0825","name":"cam",)"
             R"("isSuccess":)" +
             (isSuccess ? "true" : "false") + R"(,"result":"E1"})"});
  }
  return events;
}

TEST_F(ScriptedWatchTest, EveryKindOfEventIsShown) {
  Process text(options("watch"));
  Process json(options("watch --json"));
  ASSERT_TRUE(isWatching(text) && isWatching(json)) << text.err();

  std::vector<std::string> texts;
  std::vector<std::string> jsons;
  for (const Event& sent : eventsOfEveryKind()) {
    texts.push_back(sent.text);
    jsons.push_back(sent.json);
    service().emit(sent.sent);
  }

  EXPECT_THAT(linesOf(text, texts.size()), ElementsAreArray(texts));
  EXPECT_THAT(linesOf(json, jsons.size()), ElementsAreArray(jsons));
  EXPECT_EQ(text.end(SIGINT).status, velctl::kExitDone);
  EXPECT_EQ(json.end(SIGTERM).status, velctl::kExitDone);
}

TEST_F(ScriptedWatchTest, RecordsThatAreTooShortAreReadAsIfZeroesFollowed) {
  Process watch(options("watch"));
  ASSERT_TRUE(isWatching(watch));

  service().emit(event(0, 1, {51}));
  service().emit(event(0, 4, {12}));
  service().emit(event(0, 2, {0x6d}));
  service().emit({std::int32_t{0}, std::int32_t{66}});
  service().emit(event(0, 66, {}));
  // The last text has no end.
  qxbus::Bytes printer = printerBlock(52, 0, 0, "Labels");
  printer.pop_back();
  service().emit(event(0, 1, printer));

  EXPECT_THAT(linesOf(watch, 6),
              ElementsAre("printer     printer changed (1): 51 \"\", gone (0)",
                          "device      device plugged in (4): 12 \"\", gone (0), policy none (0)",
                          "new-device  result of attaching a new device (2): 006d:0000 \"\", "
                          "failed, result \"\"",
                          "command     answer to a command (66): empty",
                          "command     answer to a command (66): empty",
                          "printer     printer changed (1): 52 \"Labels\", gone (0)"));
}

TEST_F(ScriptedWatchTest, ADiagnosisHasTheNameOfItsDevice) {
  service().answer("getDeviceList",
                   qxbus::Values{std::int32_t{1}, deviceBlock(12, 1, 0, 0, "Front camera", "")});
  Process watch(options("watch"));
  ASSERT_TRUE(isWatching(watch));

  service().emit(event(kVmNumber, 9, diagnosisBlock(12, 1, kVmNumber, "looking")));

  EXPECT_THAT(linesOf(watch, 1),
              ElementsAre("diagnosis   diagnosis (9): 12 \"Front camera\", running (1), VM win11: "
                          "looking"));
}

// The library listens for broadcasts once more with each connection.
TEST_F(ScriptedWatchTest, ABroadcastEventIsShownOnceAfterEachRestartOfTheService) {
  Process watch(options("watch --kind device --kind command"));
  ASSERT_TRUE(isWatching(watch));
  std::size_t count = 0;
  for (int restarts = 0; restarts < 3; ++restarts) {
    service().broadcast(deviceEvent(10, restarts, "Stick"));
    service().broadcast(event(kVmNumber, 66, bytesOf("own")));
    service().broadcast(event(104, 66, bytesOf("of an unknown VM")));
    service().emit(deviceEvent(4, restarts, "last"));
    count += 3;
    const std::vector<std::string> lines = linesOf(watch, count);
    ASSERT_EQ(lines.size(), count);
    EXPECT_THAT(
        std::vector<std::string>(lines.end() - 3, lines.end()),
        ::testing::UnorderedElementsAre(deviceLine("device changed (10)", restarts, "Stick"),
                                        "command     answer to a command (66): own, VM win11",
                                        deviceLine("device plugged in (4)", restarts, "last")));
    const std::size_t noted = watch.err().size();
    stopService();
    startService();
    ASSERT_TRUE(comesTrue([&] {
      return watch.err().find("the service is there, with the VMs win11", noted) !=
             std::string::npos;
    })) << watch.err();
  }
}

// --- Filters and limits --------------------------------------------------------------------------

TEST_F(ScriptedWatchTest, OnlyEventsOfNamedVmsAreShown) {
  knowTwoVms();
  for (const char* const line :
       {"watch win11", "watch --vm win11", "watch --vm 101", "watch win11 --vm win11"}) {
    SCOPED_TRACE(line);
    Process watch(options(line));
    ASSERT_TRUE(notes(watch, "velctl: watching win11; interrupt to end\n")) << watch.err();

    service().emit(event(104, 1, printerBlock(1, 1, 104, "other")));
    service().emit(printerEvent(2, "of no VM"));
    service().emit(event(kVmNumber, 1, printerBlock(3, 1, kVmNumber, "own")));

    EXPECT_THAT(linesOf(watch, 1), ElementsAre(printerLine(3, "own") + ", VM win11"));
  }
}

TEST_F(ScriptedWatchTest, EventsOfThisMachineAndOfSeveralVmsAreShownTogether) {
  knowTwoVms();
  Process watch(options("watch --vm win11 --vm ''"));
  ASSERT_TRUE(notes(watch, "velctl: watching win11, this machine; interrupt to end\n"))
      << watch.err();

  service().emit(event(104, 1, printerBlock(1, 1, 104, "other")));
  service().emit(printerEvent(2, "local"));
  service().emit(event(kVmNumber, 1, printerBlock(3, 1, kVmNumber, "own")));

  EXPECT_THAT(linesOf(watch, 2),
              ElementsAre(printerLine(2, "local"), printerLine(3, "own") + ", VM win11"));
}

TEST_F(ScriptedWatchTest, AVmThatTheServiceDoesNotHaveIsAMistake) {
  const Finished watch = velctl("watch win11 --vm nosuch --vm 7");

  EXPECT_EQ(watch.status, velctl::kExitUnknown);
  EXPECT_EQ(watch.err,
            "velctl: watch: the service has no VM \"nosuch\", \"7\"; velctl vm list "
            "shows its VMs\n");
}

TEST_F(ScriptedWatchTest, OnlyEventsOfNamedKindsAreShown) {
  Process watch(options("watch --kind printer --kind command"));
  ASSERT_TRUE(isWatching(watch));

  service().emit(deviceEvent(4, 12, "cam"));
  service().emit(printerEvent(51, "Laser"));
  service().emit(event(0, 66, bytesOf("ok")));

  EXPECT_THAT(linesOf(watch, 2),
              ElementsAre(printerLine(51, "Laser"), "command     answer to a command (66): ok"));
}

TEST_F(ScriptedWatchTest, OnlyEventsOfANamedDeviceAreShown) {
  for (const std::string device : {"12", "Front camera"}) {
    SCOPED_TRACE(device);
    Process watch(options({"watch", "--device", device}));
    ASSERT_TRUE(isWatching(watch));

    service().emit(deviceEvent(4, 13, "Stick"));
    service().emit(printerEvent(12, "Laser"));
    service().emit(deviceEvent(4, 12, "Front camera"));
    service().emit(event(0, 9, diagnosisBlock(13, 1, 0, "other")));
    service().emit(event(0, 9, diagnosisBlock(12, 0, 0, "own")));

    EXPECT_THAT(linesOf(watch, 2),
                ElementsAre(deviceLine("device plugged in (4)", 12, "Front camera"),
                            "diagnosis   diagnosis (9): 12 \"Front camera\", fine (0): own"));
  }
}

TEST_F(ScriptedWatchTest, EndsAfterAsManyEventsAsAreWanted) {
  struct Row {
    const char* line;
    std::size_t count;
  };
  for (const Row& row : {Row{"watch --once --kind printer", 1}, Row{"watch --limit 2", 2}}) {
    SCOPED_TRACE(row.line);
    Process watch(options(row.line));
    ASSERT_TRUE(isWatching(watch));

    for (int number = 1; number <= 3; ++number) {
      service().emit(printerEvent(number, "Laser"));
    }

    const Finished finished = watch.wait();
    EXPECT_EQ(finished.status, velctl::kExitDone);
    EXPECT_EQ(seenLines(finished.out).size(), row.count);
  }
}

TEST_F(ScriptedWatchTest, AnInterruptBeforeTheWantedEventsIsNoSuccess) {
  Process watch(options("watch --once --json"));
  ASSERT_TRUE(isWatching(watch));

  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitInterrupted);
  EXPECT_THAT(finished.out, HasSubstr(R"({"error":{"kind":"interrupted","exitStatus":130,)"));
}

TEST_F(ScriptedWatchTest, ATimeoutEndsItAndIsAFailureOnlyBeforeTheWantedEvents) {
  const Finished watch = velctl("watch --timeout 0.2");
  EXPECT_EQ(watch.status, velctl::kExitDone) << watch.err;

  const Finished once = velctl("watch --once --timeout 0.2");
  EXPECT_EQ(once.status, velctl::kExitNoReply);
  EXPECT_THAT(once.err, EndsWith("velctl: watch: not done within the time of --timeout\n"));
}

TEST_F(ScriptedWatchTest, RefusesWrongChoices) {
  struct Row {
    const char* line;
    const char* mistake;
  };
  for (const Row& row : {Row{"watch --once --limit 2", "give --once or --limit, not both"},
                         Row{"watch --limit 0", "--limit: \"0\" must be a number from 1 to "},
                         Row{"watch --kind noise", "--kind: \"noise\" must be one of device, "},
                         Row{"watch --exec ''", "--exec: must not be empty"}}) {
    const Finished refused = velctl(row.line);
    EXPECT_EQ(refused.status, velctl::kExitUsage);
    EXPECT_THAT(refused.err, HasSubstr(row.mistake));
  }
}

// --- Services that come and go -------------------------------------------------------------------

TEST_F(ScriptedWatchTest, GoesOnWithTheNextServiceWhenOneHasDied) {
  Process text(options("watch"));
  Process watch(options("watch --json"));
  ASSERT_TRUE(isWatching(text) && isWatching(watch));

  stopService();
  EXPECT_THAT(linesOf(watch, 1),
              ElementsAre(R"({"event":"service","state":"gone","vms":["win11"],"reason":null})"));
  startService();
  EXPECT_THAT(linesOf(text, 2),
              ElementsAre("service     the service is gone, and with it the sessions of win11",
                          "service     the service is there, with the VMs win11"));
  EXPECT_THAT(linesOf(watch, 2).back(),
              R"({"event":"service","state":"back","vms":["win11"],"reason":null})");
  service().emit(event(kVmNumber, 1, printerBlock(51, 0, kVmNumber, "Laser")));
  service().emit(event(kVmNumber, 66, bytesOf("ok")));

  const std::vector<std::string> lines = linesOf(watch, 4);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_THAT(lines[2], StartsWith(R"({"event":"printer",)"));
  EXPECT_THAT(lines[3], StartsWith(R"({"event":"command",)"));
  EXPECT_EQ(watch.end(SIGINT).status, velctl::kExitDone);
}

TEST_F(ScriptedWatchTest, MayBeginBeforeTheService) {
  stopService();
  Process watch(options("watch win11"));
  EXPECT_THAT(linesOf(watch, 1),
              ElementsAre("service     the service is not there: no service on the bus"));

  startService();

  EXPECT_THAT(linesOf(watch, 2).back(), "service     the service is there");
  ASSERT_TRUE(isWatching(watch));
  service().emit(event(kVmNumber, 1, printerBlock(51, 1, kVmNumber, "Laser")));
  EXPECT_THAT(linesOf(watch, 3).back(), printerLine(51, "Laser") + ", VM win11");
}

TEST_F(ScriptedWatchTest, MayBeginBeforeTheBus) {
  stopService();
  bus().kill();
  Process watch(options("watch --json"));
  const std::vector<std::string> lines = linesOf(watch, 1);
  ASSERT_EQ(lines.size(), 1u) << watch.err();
  EXPECT_THAT(lines[0], StartsWith(R"({"event":"service","state":"absent","vms":[],)"
                                   R"("reason":"the bus cannot be reached: )"));

  bus().start();
  startService();

  ASSERT_TRUE(isWatching(watch)) << watch.err();
  service().emit(printerEvent(51, "Laser"));
  EXPECT_THAT(linesOf(watch, 3).back(), HasSubstr(R"("printer":51)"));
}

TEST_F(ScriptedWatchTest, CanBeInterruptedWhileItWaitsForTheService) {
  stopService();
  for (const int signalNumber : {SIGINT, SIGTERM}) {
    Process watch(options("watch"));
    ASSERT_EQ(linesOf(watch, 1).size(), 1u);
    EXPECT_EQ(watch.end(signalNumber).status, velctl::kExitDone);
  }
}

TEST_F(ScriptedWatchTest, ARestartIsAnEventToWaitForOnlyWhenItsKindIsNamed) {
  Process any(options("watch --once"));
  Process service(options("watch --once --kind service"));
  ASSERT_TRUE(isWatching(any) && isWatching(service));

  stopService();
  startService();

  EXPECT_EQ(service.wait().status, velctl::kExitDone);
  EXPECT_THAT(seenLines(service.out()), ElementsAre(StartsWith("service     the service is gone")));
  ASSERT_EQ(linesOf(any, 2).size(), 2u);
  this->service().emit(printerEvent(51, "Laser"));
  EXPECT_EQ(any.wait().status, velctl::kExitDone);
}

TEST_F(ScriptedWatchTest, OtherKindsAloneLeaveTheServiceToMessages) {
  Process watch(options("watch --kind printer"));
  ASSERT_TRUE(isWatching(watch));

  stopService();

  EXPECT_TRUE(notes(watch, "velctl: the service is gone, and with it the sessions of win11\n"));
  EXPECT_THAT(watch.out(), IsEmpty());
}

TEST_F(ScriptedWatchTest, WorksWithoutAnyVm) {
  service().answer("getVmList", qxbus::Values{std::int32_t{0}});
  Process watch(options("watch"));
  ASSERT_TRUE(notes(watch, "watching this machine; interrupt to end\n")) << watch.err();

  service().emit(deviceEvent(4, 12, "cam"));

  EXPECT_THAT(linesOf(watch, 1), ElementsAre(deviceLine("device plugged in (4)", 12, "cam")));
}

TEST_F(ScriptedWatchTest, ReportsTheReasonWhenItCannotLearnTheVms) {
  service().answer("getVmList", FakeService::Error{"out of order"});

  const Finished watch = velctl("watch");

  EXPECT_EQ(watch.status, velctl::kExitErrorReply);
  EXPECT_THAT(watch.err, HasSubstr("watch: no usable answer: out of order; "));
}

// --- Closed pipes --------------------------------------------------------------------------------

TEST_F(ScriptedWatchTest, AClosedPipeEndsItWithoutAnEvent) {
  for (const char* const line : {"watch", "watch --exec cat"}) {
    processes::OutputPipe output;
    Process::Options into = options(line);
    into.out = output.writeEnd();
    Process watch(into);
    ASSERT_TRUE(isWatching(watch)) << watch.err();

    output.closeReadEnd();

    const Finished finished = watch.wait();
    EXPECT_EQ(finished.status, velctl::kExitDone);
    EXPECT_THAT(finished.err, EndsWith("; interrupt to end\n"));
  }
}

TEST_F(ScriptedWatchTest, AClosedPipeEndsItBehindAnEventThatItCannotWrite) {
  processes::OutputPipe output;
  Process::Options into = options("watch");
  into.out = output.writeEnd();
  Process watch(into);
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  output.fill();
  service().emit(printerEvent(51, "Laser"));

  output.closeReadEnd();

  EXPECT_EQ(watch.wait().status, velctl::kExitDone);
}

TEST_F(ScriptedWatchTest, AnOutputThatCannotBeWrittenIsAFailure) {
  Process::Options closed = options("watch");
  closed.isOutClosed = true;
  Process watch(closed);
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  service().emit(printerEvent(51, "Laser"));

  EXPECT_EQ(watch.wait().status, velctl::kExitOutputLost);
}

// --- Joysticks -----------------------------------------------------------------------------------

std::string subscribed(const std::string& operation) {
  return "{\"operation\":\"" + operation +
         "JoystickCallback\",\"status\":0,\"statusName\":\"ok\"}\n";
}

class ScriptedJoystickTest : public FakeServiceTest {
 protected:
  // The subscription ends in the service, as the one that began.
  void expectEndOfSubscription() {
    const std::vector<std::string> requests = service().requests();
    ASSERT_EQ(requests.size(), 2u);
    const std::string id = requests[0].substr(requests[0].find('('));
    EXPECT_THAT(id, StartsWith("(bytes[8] "));
    EXPECT_EQ(requests[0], "registerJoystickCallback" + id);
    EXPECT_EQ(requests[1], "unregisterJoystickCallback" + id);
  }
};

TEST_F(ScriptedJoystickTest, SubscribesUntilItIsInterrupted) {
  Process watch(options("joystick watch --json"));
  ASSERT_TRUE(comesTrue([&] { return watch.out() == subscribed("register"); })) << watch.err();

  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone);
  EXPECT_EQ(finished.out, subscribed("register") + subscribed("unregister"));
  expectEndOfSubscription();
}

TEST_F(ScriptedJoystickTest, ATimeoutEndsTheSubscription) {
  const Finished watch = processes::endedInItsMidst(
      [this](const std::string& seconds) {
        // Without the requests of a watch that was too short.
        stopService();
        startService();
        return velctl("joystick watch --json --timeout " + seconds);
      },
      [](const Finished& finished) { return finished.out.find(subscribed("register")) == 0; });

  EXPECT_EQ(watch.status, velctl::kExitDone) << watch.err;
  EXPECT_EQ(watch.out, subscribed("register") + subscribed("unregister"));
  expectEndOfSubscription();
}

TEST_F(ScriptedJoystickTest, AClosedPipeEndsTheSubscription) {
  processes::OutputPipe output;
  Process::Options into = options("joystick watch");
  into.out = output.writeEnd();
  Process watch(into);
  ASSERT_TRUE(comesTrue([&] { return output.read().find("subscribed") != std::string::npos; }));

  output.closeReadEnd();

  EXPECT_EQ(watch.wait().status, velctl::kExitDone) << watch.err();
  expectEndOfSubscription();
}

TEST_F(ScriptedJoystickTest, SubscribesAgainWithTheNextService) {
  Process watch(options("joystick watch --json"));
  ASSERT_TRUE(comesTrue([&] { return watch.out() == subscribed("register"); })) << watch.err();

  stopService();
  startService();

  EXPECT_TRUE(comesTrue([&] {
    return watch.out() == subscribed("register") + subscribed("register");
  })) << watch.out();
  EXPECT_EQ(watch.end(SIGTERM).status, velctl::kExitDone);
  EXPECT_THAT(service().requests(), ::testing::SizeIs(2));
}

TEST_F(ScriptedJoystickTest, ReportsThatItIsNotSubscribed) {
  service().answer("registerJoystickCallback", qxbus::Values{std::int32_t{7}});
  const Finished refused = velctl("joystick watch");
  service().answer("registerJoystickCallback", FakeService::Error{"no joysticks here"});
  const Finished failed = velctl("joystick watch");

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_THAT(refused.err,
              HasSubstr("registerJoystickCallback: the service refused with status busy (7)"));
  EXPECT_EQ(failed.status, velctl::kExitErrorReply);
  EXPECT_THAT(failed.err, HasSubstr("registerJoystickCallback: no usable answer: no joysticks "));
  EXPECT_THAT(refused.out + failed.out, IsEmpty());
}

}  // namespace
}  // namespace velctl_tests
