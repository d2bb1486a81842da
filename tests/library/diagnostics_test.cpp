// Service commands, diagnoses and the camera; the rows are in rows/diagnostics.cpp.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>

#include "tests/library/diagnosis.h"
#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr char kNoDiagnosis[] = "{\"velservice\":4097}";

class DiagnosticsTest : public ProxyTest {
 protected:
  DiagnosticsTest() {
    bus.knowsVm("win11", 7001);
    bus.knowsVm("linux9", 0x80000002);
  }
};

// --- DoVelTest ----------------------------------------------------------------------------------

TEST_F(DiagnosticsTest, ATestSendsTheLow16BitsOfItsFlagAndLogsAllOfThem) {
  bus.answer("doveltest", Reply().int32(0));
  const struct {
    unsigned int flag;
    const char* sent;
  } rows[] = {{0, "0"},          {1, "1"},          {0x7FFF, "32767"}, {0x8000, "-32768"},
              {0xFFFF, "-1"},    {0x10000, "0"},    {0x12345, "9029"}, {0x8000FFFE, "-2"},
              {0x80000000, "0"}, {0xFFFFFFFF, "-1"}};
  for (const auto& [flag, sent] : rows) {
    EXPECT_EQ(proxy->DoVelTest("win11", flag), 0);

    EXPECT_EQ(bus.lastCall(), "doveltest(int32 0, int16 " + std::string(sent) + ")");
    EXPECT_EQ(log.summaries().back(), debugLine("DoVelTest", "vmId:%s, flag: %ld",
                                                "vmId:win11, flag: " + std::to_string(flag)));
  }
}

TEST_F(DiagnosticsTest, ATestNeverLooksItsVmUp) {
  bus.answer("doveltest", Reply().int32(0));

  proxy->DoVelTest("win11", 1);
  proxy->DoVelTest("nobody", 1);
  proxy->DoVelTest("", 1);

  EXPECT_THAT(bus.requests(),
              testing::AllOf(testing::SizeIs(3), testing::Each("doveltest(int32 0, int16 1)")));
}

// --- DoVelCmd -----------------------------------------------------------------------------------

// Records the calls of a command callback: pass `this` as user data.
struct CommandListener {
  static int called(unsigned short code, CmdResponse* response, void* userData) {
    auto& self = *static_cast<CommandListener*>(userData);
    self.codes.push_back(code);
    self.responses.push_back(response);
    self.threads.push_back(std::this_thread::get_id());
    scripted::Timeline::the().record("command callback");
    if (self.meanwhile) {
      self.meanwhile();
    }
    return 77;
  }

  std::vector<unsigned short> codes;
  std::vector<CmdResponse*> responses;
  std::vector<std::thread::id> threads;
  std::function<void()> meanwhile;
};

class CommandTest : public DiagnosticsTest {
 protected:
  // The text that a function writes to standard output.
  static std::string writtenBy(const std::function<void()>& function) {
    testing::internal::CaptureStdout();
    function();
    return testing::internal::GetCapturedStdout();
  }

  // Its callbacks run on the thread of the test.
  CommandListener listener;
};

TEST_F(CommandTest, WritesALineToStandardOutput) {
  bus.answer("dovelcmd", Reply().int32(0));

  EXPECT_EQ(writtenBy([this] { proxy->DoVelCmd("win11", "list usb", 3); }),
            "vmId:win11, args: list usb \n");
  EXPECT_EQ(writtenBy([this] { proxy->DoVelCmd("", "", 3); }), "vmId:, args:  \n");
}

TEST_F(CommandTest, WritesItsLineAlsoWhenItFails) {
  EXPECT_EQ(writtenBy([this] { proxy->DoVelCmd("win11", "refused", 3); }),
            "vmId:win11, args: refused \n");

  disconnect(*proxy);
  EXPECT_EQ(writtenBy([this] { proxy->DoVelCmd("win11", "unheard", 3); }),
            "vmId:win11, args: unheard \n");
}

TEST_F(CommandTest, WritesItsLineAfterLoggingIt) {
  bus.answer("dovelcmd", Reply().int32(0));
  timeline.when("Debug DoVelCmd: vmId:win11, args: x", [] { std::printf("logged, "); });
  timeline.when("make dovelcmd()", [] { std::printf("made\n"); });

  EXPECT_EQ(writtenBy([this] { proxy->DoVelCmd("win11", "x", 3); }),
            "logged, vmId:win11, args: x \nmade\n");
}

TEST_F(CommandTest, WritesItsLineOnceItHasTheLock) {
  bus.answer("resetService", Reply().int32(0));
  bus.answer("dovelcmd", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background earlier([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);
  testing::internal::CaptureStdout();

  Background later([this] { return proxy->DoVelCmd("win11", "x", 3); });

  ASSERT_TRUE(timeline.waitFor(later.id(), "getServiceProxyInterface("));
  EXPECT_FALSE(timeline.happensSoon(later.id(), "Debug DoVelCmd"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(writtenBy([&] {
              gate.open();
              EXPECT_EQ(later.result(), 0);
            }),
            "vmId:win11, args: x \n");
}

TEST_F(CommandTest, SendsEveryByteOfItsArgumentsAndWritesThemToTheirEnd) {
  bus.answer("dovelcmd", Reply().int32(0));
  const std::string args("set a\0 b\xFF\n", 11);

  EXPECT_EQ(writtenBy([&] { proxy->DoVelCmd("linux9", args, std::numeric_limits<int>::min()); }),
            "vmId:linux9, args: set a \n");

  EXPECT_EQ(bus.lastCall(),
            "dovelcmd(int32 -2147483646, string \"" + args + "\", int32 -2147483648)");
  EXPECT_THAT(log.summaries(),
              Contains(debugLine("DoVelCmd", "vmId:%s, args: %s", "vmId:linux9, args: set a")));
}

TEST_F(CommandTest, ReportsAnErrorReplyToTheCallback) {
  EXPECT_EQ(proxy->RegisterCmdCallback(&CommandListener::called, &listener), 0);
  for (const int type : {3, 0, 1, 4, -1}) {
    listener = {};
    bus.answer("dovelcmd", Reply::error("busy", type));
    forget();

    EXPECT_EQ(proxy->DoVelCmd("win11", "x", 3), -1);

    EXPECT_THAT(listener.codes, ElementsAre(3));
    EXPECT_THAT(listener.responses, ElementsAre(nullptr));
    EXPECT_THAT(
        log.summariesOf("DoVelCmd"),
        ElementsAre(debugLine("DoVelCmd", "vmId:%s, args: %s", "vmId:win11, args: x"),
                    errorLine("DoVelCmd", "reply type: %d(%s)",
                              "reply type: " + std::to_string(type) + "(busy)"),
                    debugLine("DoVelCmd", "do cmd response callback this[%p]",
                              "do cmd response callback this[" + pointer(proxy.get()) + "]")));
    EXPECT_EQ(timeline.all().back(), "command callback");
  }
}

TEST_F(CommandTest, PassesTheLow16BitsOfTheCommandToTheCallback) {
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  const struct {
    int command;
    unsigned short code;
  } rows[] = {{0, 0},          {65535, 65535}, {65536, 0},
              {70000, 4464},   {-1, 65535},    {std::numeric_limits<int>::min(), 0},
              {-70000, 61072}, {66, 66}};
  for (const auto& [command, code] : rows) {
    listener = {};

    EXPECT_EQ(proxy->DoVelCmd("win11", "x", command), -1);

    EXPECT_EQ(bus.lastCall(),
              "dovelcmd(int32 7001, string \"x\", int32 " + std::to_string(command) + ")");
    EXPECT_THAT(listener.codes, ElementsAre(code));
  }
}

TEST_F(CommandTest, DoesNotCallTheCallbackAfterANormalReply) {
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  for (const int status : {0, 1, -1, std::numeric_limits<int>::min()}) {
    bus.answer("dovelcmd", Reply().int32(status));

    EXPECT_EQ(proxy->DoVelCmd("win11", "x", 3), status);
  }
  EXPECT_THAT(listener.codes, IsEmpty());
  EXPECT_THAT(log.summaries(), Not(Contains(testing::HasSubstr("do cmd response"))));
}

TEST_F(CommandTest, DoesNotCallTheCallbackWithoutAService) {
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  disconnect(*proxy);

  EXPECT_EQ(proxy->DoVelCmd("win11", "x", 3), -1);

  EXPECT_THAT(listener.codes, IsEmpty());
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("DoVelCmd", "vmId:%s, args: %s", "vmId:win11, args: x"),
                          errorLine("DoVelCmd", "wait velserviced restart when it death")));
}

TEST_F(CommandTest, DoesNotCallACallbackThatWasUnregistered) {
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  proxy->RegisterCmdCallback(nullptr, &listener);

  EXPECT_EQ(proxy->DoVelCmd("win11", "x", 3), -1);

  EXPECT_THAT(listener.codes, IsEmpty());
  EXPECT_THAT(log.summaries(), Not(Contains(testing::HasSubstr("do cmd response"))));
  EXPECT_THAT(log.errors(), ElementsAre("reply type: 3(no answer was scripted for dovelcmd)"));
}

TEST_F(CommandTest, CallsTheLatestCallbackWithItsOwnUserData) {
  CommandListener later;
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  proxy->RegisterCmdCallback(&CommandListener::called, &later);

  proxy->DoVelCmd("win11", "x", 3);

  EXPECT_THAT(listener.codes, IsEmpty());
  EXPECT_THAT(later.codes, ElementsAre(3));
}

TEST_F(CommandTest, CallsTheCallbackThatIsRegisteredWhenTheReplyComes) {
  CommandListener later;
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  timeline.when("call dovelcmd(",
                [&] { proxy->RegisterCmdCallback(&CommandListener::called, &later); });

  EXPECT_EQ(proxy->DoVelCmd("win11", "x", 3), -1);

  EXPECT_THAT(listener.codes, IsEmpty());
  EXPECT_THAT(later.codes, ElementsAre(3));
}

TEST_F(CommandTest, CallsTheCallbackOnTheCallersThread) {
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);

  Background caller([this] { return proxy->DoVelCmd("win11", "x", 3); });

  EXPECT_EQ(caller.result(), -1);
  EXPECT_THAT(listener.threads, ElementsAre(caller.id()));
}

TEST_F(CommandTest, HoldsTheLockDuringTheCallback) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate;
  listener.meanwhile = gate.pass();
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);
  Background command([this] { return proxy->DoVelCmd("win11", "x", 3); });
  ASSERT_TRUE(gate.isReached());

  Background other([this] { return proxy->ResetService(); });

  ASSERT_TRUE(timeline.waitFor(other.id(), "Debug ResetService: enter"));
  EXPECT_FALSE(timeline.happensSoon(other.id(), "make "));
  gate.open();
  EXPECT_EQ(command.result(), -1);
  EXPECT_EQ(other.result(), 0u);
}

TEST_F(CommandTest, TheCallbackMayUnregisterItself) {
  listener.meanwhile = [this] { proxy->RegisterCmdCallback(nullptr, nullptr); };
  proxy->RegisterCmdCallback(&CommandListener::called, &listener);

  EXPECT_EQ(proxy->DoVelCmd("win11", "x", 3), -1);
  EXPECT_EQ(proxy->DoVelCmd("win11", "x", 4), -1);

  EXPECT_THAT(listener.codes, ElementsAre(3));
}

// --- GetVelCmdHelp ------------------------------------------------------------------------------

TEST_F(DiagnosticsTest, TheHelpStandsBetweenBracketsWithEveryByte) {
  const std::string texts[] = {
      "", "a", "line\n", "]\n", std::string("a\0b", 3), std::string(100000, 'h')};
  for (const std::string& text : texts) {
    bus.answer("getvelcmdhelp", Reply().string(text));

    EXPECT_EQ(proxy->GetVelCmdHelp("win11"), "vm id [\n" + text + "]\n");
  }
}

TEST_F(DiagnosticsTest, TheHelpStaysOpenWithoutAnAnswer) {
  bus.answer("getvelcmdhelp", Reply::error("]"));
  EXPECT_EQ(proxy->GetVelCmdHelp("win11"), "vm id [\n");

  disconnect(*proxy);
  EXPECT_EQ(proxy->GetVelCmdHelp("win11"), "vm id [\n");
}

// --- Diagnose, DiagnoseDevice -------------------------------------------------------------------

// The two operations differ in name, argument, logs and lock only.
struct DiagnosisOperation {
  const char* name;
  const char* method;
  std::string (*run)(qx::VelProxy&, const std::string&, VelDiagnoseNotify*);
};

class DiagnosisTest : public DiagnosticsTest,
                      public testing::WithParamInterface<DiagnosisOperation> {
 protected:
  DiagnosisTest() { bus.answer(GetParam().method, Reply().string("fine")); }
  // Destroyed after the proxy, whose events may still reach it.
  ~DiagnosisTest() override { proxy->Diagnose("", 0, nullptr); }

  std::string run(const std::string& vmId, VelDiagnoseNotify* notify) {
    return GetParam().run(*proxy, vmId, notify);
  }
  void report(unsigned long long id, unsigned int status, const std::string& text) {
    bus.emit("velevent",
             EventArguments().int32(0).int32(9).bytes(diagnosisBlock(id, status, 7001, text)));
  }

  DiagnosisRecorder listener;
};

TEST_P(DiagnosisTest, WithoutListenerIsRefusedUnlogged) {
  disconnect(*instance);

  EXPECT_EQ(run("win11", nullptr), kNoDiagnosis);

  EXPECT_EQ(qx::VelProxy::lastError().text, "there is no object to notify");
  EXPECT_THAT(timeline.all(), IsEmpty());
  EXPECT_THAT(bus.madeMessages(), IsEmpty());
}

TEST_P(DiagnosisTest, WithoutListenerEndsTheReportsOfAnEarlierOne) {
  run("win11", &listener);
  report(5, 1, "before");

  EXPECT_EQ(run("win11", nullptr), kNoDiagnosis);

  report(5, 2, "after");
  EXPECT_THAT(listener.reports, ElementsAre("win11,5,1,before"));
}

TEST_P(DiagnosisTest, AnEmptyNameIsNoDesktop) {
  EXPECT_EQ(run("", &listener), kNoDiagnosis);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(log.errors(), ElementsAre("no desktop connected"));
}

TEST_P(DiagnosisTest, OfAnUnknownVmIsNotMadeButItsListenerStays) {
  DiagnosisRecorder earlier;
  run("win11", &earlier);
  forget();

  EXPECT_EQ(run("nobody", &listener), kNoDiagnosis);

  EXPECT_THAT(bus.requests(), ElementsAre("getVmListSize(string \"nobody\")"));
  EXPECT_THAT(log.errors(), ElementsAre("no desktop connected"));
  report(6, 3, "still at it");
  EXPECT_THAT(earlier.reports, IsEmpty());
  EXPECT_THAT(listener.reports, ElementsAre("win11,6,3,still at it"));
}

TEST_P(DiagnosisTest, ReportsGoToTheListenerWhileItWaitsAndAfterwards) {
  proxy->GetVmIdInt("win11");
  Gate gate = timeline.hold("call " + std::string(GetParam().method) + "(");
  Background waiting([this] { return run("win11", &listener); });
  ASSERT_TRUE(gate.isReached());

  report(1, 10, "begun");
  gate.open();
  EXPECT_EQ(waiting.result(), "fine");
  report(2, 20, "ended");

  EXPECT_THAT(listener.reports, ElementsAre("win11,1,10,begun", "win11,2,20,ended"));
}

TEST_P(DiagnosisTest, ReportsGoToTheListenerAlreadyWhileItsVmIsLookedUp) {
  DiagnosisRecorder earlier;
  run("win11", &earlier);
  Gate gate = timeline.hold("call getVmListSize(string \"linux9\")");
  Background waiting([this] { return run("linux9", &listener); });
  ASSERT_TRUE(gate.isReached());

  report(1, 10, "begun");

  gate.open();
  EXPECT_EQ(waiting.result(), "fine");
  EXPECT_THAT(earlier.reports, IsEmpty());
  EXPECT_THAT(listener.reports, ElementsAre("win11,1,10,begun"));
}

TEST_P(DiagnosisTest, ConnectsAgainAlsoWhenTheLookUpDoesNot) {
  class Numbering : public qx::VelProxy {
   public:
    unsigned int GetVmIdInt(std::string /*vmId*/) override { return 7001; }
  };
  Numbering numbering;
  numbering.Init();
  disconnect(*instance);

  GetParam().run(numbering, "win11", &listener);

  EXPECT_EQ(timeline.count(kReconnects), 1);
  const Strings events = timeline.all();
  const auto connection = std::find(events.begin(), events.end(), kReconnects);
  const auto message =
      std::find(events.begin(), events.end(), "make " + std::string(GetParam().method) + "()");
  EXPECT_LT(connection, message);
  EXPECT_NE(message, events.end());
}

TEST_P(DiagnosisTest, TriesToConnectOnceWhileTheServiceIsAway) {
  run("win11", &listener);
  disconnect(*instance);
  bus.setRegistered(false);

  run("win11", &listener);

  EXPECT_EQ(timeline.count(kReconnects), 1);
  EXPECT_THAT(log.errors(), testing::Contains("retry to get qxbus interface failed").Times(1));
}

TEST_P(DiagnosisTest, ReportsGoOnAfterAFailure) {
  bus.answer(GetParam().method, Reply::error("busy"));
  EXPECT_EQ(run("win11", &listener), kNoDiagnosis);

  report(1, 10, "begun");

  EXPECT_THAT(listener.reports, testing::SizeIs(1));
}

TEST_P(DiagnosisTest, PassesAnyTextOn) {
  const std::string texts[] = {"", "{}", std::string("a\0b", 3), kNoDiagnosis,
                               std::string(100000, 'd')};
  for (const std::string& text : texts) {
    bus.answer(GetParam().method, Reply().string(text));

    EXPECT_EQ(run("win11", &listener), text);
  }
}

TEST_P(DiagnosisTest, SendsAllBitsOfTheVm) {
  run("linux9", &listener);

  EXPECT_EQ(scripted::show(bus.calls().back().arguments.front()), "int32 -2147483646");
}

INSTANTIATE_TEST_SUITE_P(
    Both, DiagnosisTest,
    testing::Values(DiagnosisOperation{"Diagnose", "diagnose",
                                       [](qx::VelProxy& proxy, const std::string& vmId,
                                          VelDiagnoseNotify* notify) {
                                         return proxy.Diagnose(vmId, 5, notify);
                                       }},
                    DiagnosisOperation{"DiagnoseDevice", "diagnoseDevice",
                                       [](qx::VelProxy& proxy, const std::string& vmId,
                                          VelDiagnoseNotify* notify) {
                                         return proxy.DiagnoseDevice(vmId, 5, notify);
                                       }}),
    [](const testing::TestParamInfo<DiagnosisOperation>& row) { return row.param.name; });

TEST_F(DiagnosticsTest, ASourceTravelsAsEightBytesTheLowestFirst) {
  bus.answer("diagnose", Reply().string("fine"));
  DiagnosisRecorder listener;
  const struct {
    unsigned long long source;
    const char* sent;
    const char* logged;
  } rows[] = {{0, "0000000000000000", "0"},
              {0x0102030405060708, "0807060504030201", "72623859790382856"},
              {0x8000000000000000, "0000000000000080", "-9223372036854775808"},
              {0xFFFFFFFFFFFFFFFF, "ffffffffffffffff", "-1"}};
  for (const auto& [source, sent, logged] : rows) {
    forget();

    EXPECT_EQ(proxy->Diagnose("win11", source, &listener), "fine");

    EXPECT_EQ(bus.lastCall(), "diagnose(int32 7001, bytes[8] " + std::string(sent) + ")");
    EXPECT_EQ(log.summaries().front(),
              debugLine("Diagnose", "diagnose: vmid[%s] sourceId:%lld",
                        "diagnose: vmid[win11] sourceId:" + std::string(logged)));
  }
}

TEST_F(DiagnosticsTest, ADeviceTravelsWithoutASign) {
  bus.answer("diagnoseDevice", Reply().string("fine"));
  DiagnosisRecorder listener;
  constexpr unsigned short kNumbers[] = {0, 1, 32767, 32768, 65535};
  for (const unsigned short number : kNumbers) {
    forget();

    EXPECT_EQ(proxy->DiagnoseDevice("win11", number, &listener), "fine");

    EXPECT_EQ(bus.lastCall(), "diagnoseDevice(int32 7001, int32 " + std::to_string(number) + ")");
    EXPECT_EQ(log.summaries().front(),
              debugLine("DiagnoseDevice", "DiagnoseDevice: vmid[%s] devNumber:%d",
                        "DiagnoseDevice: vmid[win11] devNumber:" + std::to_string(number)));
  }
}

// One request waits for its reply while the other is sent.
TEST_F(DiagnosticsTest, TwoDiagnosesOfSourcesRunSideBySide) {
  bus.answerOnce("diagnose", Reply().string("first"));
  bus.answerOnce("diagnose", Reply().string("second"));
  DiagnosisRecorder earlier;
  DiagnosisRecorder later;
  Gate first = timeline.hold("call diagnose(int32 7001, bytes[8] 01");
  Gate second = timeline.hold("call diagnose(int32 7001, bytes[8] 02");
  Background one([&] { return proxy->Diagnose("win11", 1, &earlier); });
  ASSERT_TRUE(first.isReached());

  Background two([&] { return proxy->Diagnose("win11", 2, &later); });

  EXPECT_TRUE(second.isReached());
  bus.emit("velevent",
           EventArguments().int32(0).int32(9).bytes(diagnosisBlock(1, 2, 7001, "of one")));
  first.open();
  EXPECT_EQ(one.result(), "first");
  second.open();
  EXPECT_EQ(two.result(), "second");
  EXPECT_THAT(earlier.reports, IsEmpty());
  EXPECT_THAT(later.reports, testing::SizeIs(1)) << "the later listener receives every diagnosis";
}

TEST_F(DiagnosticsTest, ADiagnosisKeepsTheServiceThatItStartedWith) {
  bus.answer("diagnose", Reply().string("fine"));
  DiagnosisRecorder listener;
  Gate gate = timeline.hold("call diagnose(");
  Background diagnosing([&] { return proxy->Diagnose("win11", 1, &listener); });
  ASSERT_TRUE(gate.isReached());

  proxy->ReleaseService();

  EXPECT_EQ(timeline.count("interface destroyed"), 0);
  gate.open();
  EXPECT_EQ(diagnosing.result(), "fine");
  EXPECT_TRUE(timeline.waitFor("interface destroyed"));
}

// --- CheckCameraAuthStat ------------------------------------------------------------------------

TEST_F(DiagnosticsTest, TheCamerasStateIsPassedOnAndLogged) {
  for (const int state : {0, 1, -1, -77, std::numeric_limits<int>::min()}) {
    bus.answer("CheckCameraAuthStat", Reply().int32(state));
    forget();

    EXPECT_EQ(proxy->CheckCameraAuthStat(), state);

    EXPECT_THAT(log.summaries(),
                ElementsAre(debugLine("CheckCameraAuthStat", "CheckCameraAuthStat result: %d",
                                      "CheckCameraAuthStat result: " + std::to_string(state))));
  }
}

}  // namespace
