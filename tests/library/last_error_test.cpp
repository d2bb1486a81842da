// What lastError() reports: for every remote operation of the table each kind of failure, for the
// local ones success and refusal, and whose result it is when operations run inside others.

#include <algorithm>
#include <cstring>
#include <functional>
#include <ostream>

#include "tests/library/remote_operation_test.h"

namespace qx {

void PrintTo(const VelError& error, std::ostream* out) {
  *out << "kind " << static_cast<int>(error.kind) << ", method " << error.method << ", text "
       << error.text;
}

}  // namespace qx

namespace {

using qx::VelError;
using qx::VelProxy;
using testing::AllOf;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Kind = VelError::Kind;

constexpr char kLookUp[] = "getVmListSize";

// Succeeded, as far as the library can know.
auto success(const std::string& method) {
  return AllOf(Field(&VelError::kind, Kind::kNone), Field(&VelError::method, method),
               Field(&VelError::text, ""));
}

template <typename Text>
auto failure(Kind kind, const std::string& method, const Text& text) {
  return AllOf(Field(&VelError::kind, kind), Field(&VelError::method, method),
               Field(&VelError::text, text));
}

// With a reason, which is the library's own.
auto failure(Kind kind, const std::string& method) {
  return failure(kind, method, Not(IsEmpty()));
}

// --- Every remote operation ----------------------------------------------------------------------

bool isReadAsText(const RemoteOperation& row) {
  return std::holds_alternative<std::string>(row.reply().arguments.front());
}

bool isList(const RemoteOperation& row) {
  return row.reply().arguments.size() > 1 && !isReadAsText(row);
}

class LastErrorTest : public RemoteOperationTest {
 protected:
  LastErrorTest() {
    // A failure that each test must replace.
    proxy->SetDeviceLocalPolicy(nullptr);
    forget();
  }

  std::string method() const { return operation().method(); }
  bool isLookUp() const { return method() == kLookUp; }
  VelError reportedOn(VelProxy& which) const {
    operation().runOn(which);
    return VelProxy::lastError();
  }
  VelError reported() const { return reportedOn(*proxy); }
  // The operations that do not wait never read the reply.
  VelError reportedAfter(const Reply& reply) {
    bus.answer(method(), reply);
    return reported();
  }
  void expectBadReply(const Reply& reply) {
    if (operation().waits()) {
      EXPECT_THAT(reportedAfter(reply), failure(Kind::kBadReply, method())) << reply.debugString();
    } else {
      EXPECT_THAT(reportedAfter(reply), success(method()));
    }
  }
};

class LastErrorOfAStatusTest : public LastErrorTest {};
class LastErrorOfAListTest : public LastErrorTest {};
class LastErrorOfALookUpTest : public LastErrorTest {};
class LastErrorOfARefusalTest : public LastErrorTest {};

TEST_P(LastErrorTest, ReportsSuccess) {
  EXPECT_THAT(reported(), success(method()));
}

TEST_P(LastErrorOfAStatusTest, ReportsNoFailureForAStatusOfTheService) {
  for (const int status : {-1, 0, 5}) {
    VelProxy fresh;
    fresh.Init();
    bus.answer(method(), Reply().int32(status));

    const VelError error = reportedOn(fresh);

    if (isLookUp() && status == 0) {
      EXPECT_THAT(error, failure(Kind::kUnknownVm, method()));
    } else {
      EXPECT_THAT(error, success(method()));
    }
  }
}

TEST_P(LastErrorTest, ReportsAMissingService) {
  disconnect(*proxy);

  EXPECT_THAT(reported(), failure(Kind::kNoService, method(), "no service on the bus"));
}

TEST_P(LastErrorTest, ReportsAServiceThatHasDied) {
  disconnect(*instance);
  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_THAT(reported(), failure(Kind::kNoService, method()));
}

TEST_P(LastErrorTest, ReportsAReplyThatDoesNotCome) {
  for (const int type : {MESSAGE_TYPE_NO_REPLY, MESSAGE_TYPE_DISCONNECTED}) {
    const VelError error = reportedAfter(Reply::error("nothing heard", type));

    if (operation().waits()) {
      EXPECT_THAT(error, failure(Kind::kNoReply, method(), "nothing heard"));
    } else {
      EXPECT_THAT(error, success(method()));
    }
  }
  if (operation().waits()) {
    EXPECT_THAT(reportedAfter(Reply::missing()), failure(Kind::kNoReply, method()));
  }
}

TEST_P(LastErrorTest, ReportsTheWordsOfAnErrorReplyOfAnyUnknownType) {
  for (const int type : {3, 0, 1, 4, 15, 18, 99, -9}) {
    const VelError error = reportedAfter(Reply::error("Too busy.", type));

    if (operation().waits()) {
      EXPECT_THAT(error, failure(Kind::kErrorReply, method(), "Too busy.")) << type;
    } else {
      EXPECT_THAT(error, success(method()));
    }
  }
}

TEST_P(LastErrorTest, ReportsAReplyWithoutTheValue) {
  expectBadReply(Reply());
}

TEST_P(LastErrorTest, ReportsAValueOfAnotherType) {
  const std::vector<Reply> others =
      isReadAsText(operation())
          ? std::vector<Reply>{Reply().int32(7), Reply().int16(-1), Reply().uint64(1ULL << 40)}
          : std::vector<Reply>{Reply().string("ready"), Reply().bytes({1, 2}), Reply().int16(7),
                               Reply().uint64(1ULL << 40)};
  for (const Reply& other : others) {
    expectBadReply(other);
  }
}

TEST_P(LastErrorOfAListTest, ReportsAListThatEndsBeforeItsCount) {
  Reply shorter = operation().reply();
  shorter.arguments.pop_back();
  expectBadReply(shorter);

  Reply withAGap = operation().reply();
  if (std::holds_alternative<Bytes>(withAGap.arguments.back())) {
    withAGap.arguments[1] = Bytes();
    expectBadReply(withAGap);
  }
}

TEST_P(LastErrorOfAListTest, ReportsANegativeCount) {
  // A search answers a status before the count.
  const std::size_t count = method() == "searchSharePrinter" ? 1 : 0;
  Reply negative = operation().reply();
  negative.arguments[count] = std::int32_t{-2};

  EXPECT_THAT(reportedAfter(negative), failure(Kind::kBadReply, method(), HasSubstr("-2")));
}

TEST_P(LastErrorOfALookUpTest, ReportsAVmThatTheServiceDoesNotKnowAfterAnyReply) {
  for (const Reply& reply : {operation().reply(), Reply(), Reply::error("Too busy.")}) {
    bus.answer(method(), reply);
    bus.knowsVm(kVm, 0);
    VelProxy fresh;
    fresh.Init();

    EXPECT_THAT(reportedOn(fresh), failure(Kind::kUnknownVm, method(), HasSubstr(kVm)));
  }
}

TEST_P(LastErrorOfALookUpTest, ReportsAFailedLookUpOfTheVm) {
  VelProxy fresh;
  fresh.Init();

  bus.answer(kLookUp, Reply::error("Which VM?"));
  EXPECT_THAT(reportedOn(fresh), failure(Kind::kErrorReply, kLookUp, "Which VM?"));
  bus.answer(kLookUp, Reply::error("late", MESSAGE_TYPE_NO_REPLY));
  EXPECT_THAT(reportedOn(fresh), failure(Kind::kNoReply, kLookUp, "late"));
  bus.answer(kLookUp, Reply::missing());
  EXPECT_THAT(reportedOn(fresh), failure(Kind::kNoReply, kLookUp));
  bus.answer(kLookUp, Reply());
  EXPECT_THAT(reportedOn(fresh), failure(Kind::kBadReply, kLookUp));
}

TEST_P(LastErrorOfARefusalTest, ReportsRefusedArguments) {
  for (const RemoteOperation::Refusal& refusal : operation().refusals()) {
    SCOPED_TRACE(refusal.arguments);
    run();

    refusal.run(*proxy);

    EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, method()));
  }
}

TEST_P(LastErrorTest, ReportsSuccessAfterAFailure) {
  disconnect(*proxy);
  ASSERT_EQ(reported().kind, Kind::kNoService);
  proxy->Init();

  EXPECT_THAT(reported(), success(method()));
}

auto rowsThat(bool (*applies)(const RemoteOperation&)) {
  return testing::ValuesIn(remoteOperationsThat(applies));
}

INSTANTIATE_TEST_SUITE_P(All, LastErrorTest, testing::ValuesIn(remoteOperations()), testNameOf);
INSTANTIATE_TEST_SUITE_P(All, LastErrorOfAStatusTest,
                         rowsThat([](const RemoteOperation& row) { return row.passesStatusOn(); }),
                         testNameOf);
INSTANTIATE_TEST_SUITE_P(All, LastErrorOfAListTest, rowsThat(&isList), testNameOf);
INSTANTIATE_TEST_SUITE_P(All, LastErrorOfALookUpTest,
                         rowsThat([](const RemoteOperation& row) { return row.hasVm(); }),
                         testNameOf);
INSTANTIATE_TEST_SUITE_P(All, LastErrorOfARefusalTest, rowsThat([](const RemoteOperation& row) {
                           return !row.refusals().empty();
                         }),
                         testNameOf);

// --- What the rows leave out ---------------------------------------------------------------------

class LastErrorOfTest : public ProxyTest {
 protected:
  LastErrorOfTest() {
    bus.answer("resetService", Reply().int32(0));
    bus.knowsVm(kVm, kVmNumber);
  }

  // Leaves a failure that no other operation of these tests has.
  void fail() { proxy->UpdateDriveToken(""); }
};

constexpr char kFailedMethod[] = "updateDriveToken";

TEST_F(LastErrorOfTest, ACollaboratorIsARefusedArgument) {
  VmInfo info;
  info.kstStreamCollaborateType = 1;

  proxy->ConnectVm(info);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, "connectVm"));

  disconnect(*proxy);
  proxy->ConnectVm(info);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kNoService, "connectVm"));
}

TEST_F(LastErrorOfTest, ANullDeviceIsARefusedArgument) {
  proxy->SetDeviceLocalPolicy(nullptr);

  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, "setLocalPolicy"));
}

TEST_F(LastErrorOfTest, TheEmptyNameOfAVmIsNoFailureButForADiagnosis) {
  struct Ignored : VelDiagnoseNotify {
    void DiagnoseResultNotify(std::string, unsigned long long, unsigned int, std::string) override {
    }
  } ignored;
  bus.answer("getDeviceList", Reply().int32(0));
  fail();
  EXPECT_EQ(proxy->GetVmIdInt(""), 0u);
  EXPECT_THAT(VelProxy::lastError(), success(kLookUp));
  proxy->GetLocalDeviceList();
  EXPECT_THAT(VelProxy::lastError(), success("getDeviceList"));

  proxy->Diagnose("", 1, &ignored);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, "diagnose"));
  proxy->DiagnoseDevice("", 1, &ignored);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, "diagnoseDevice"));
  proxy->Diagnose("", 1, nullptr);
}

TEST_F(LastErrorOfTest, ANumberThatIsRememberedIsASuccess) {
  proxy->GetVmIdInt(kVm);
  fail();

  EXPECT_EQ(proxy->GetVmIdInt(kVm), kVmNumber);

  EXPECT_THAT(VelProxy::lastError(), success(kLookUp));
}

TEST_F(LastErrorOfTest, AnUnknownVmOfAPipeIsReported) {
  bus.answer("createPipe", Reply().int32(0));
  _CHANNEL_HANDLE known;
  known.vmId = kVm;
  _CHANNEL_HANDLE unknown;
  unknown.vmId = "solaris10";

  proxy->CreatePipe(kVm, {known, unknown});

  EXPECT_THAT(VelProxy::lastError(),
              failure(Kind::kUnknownVm, "createPipe", HasSubstr("solaris10")));
}

TEST_F(LastErrorOfTest, AnOverriddenLookUpIsJudgedByItsNumber) {
  struct Numbering : VelProxy {
    unsigned int GetVmIdInt(std::string) override {
      if (asked) {
        asked->ResetAllDeviceProperty();
      }
      return number;
    }
    unsigned int number = 0;
    VelProxy* asked = nullptr;
  } numbering;
  numbering.Init();
  bus.answer("connectDevice", Reply().int32(0));
  bus.answer("resetAllDeviceProperty", Reply::error("no"));

  proxy->ResetAllDeviceProperty();
  ASSERT_EQ(VelProxy::lastError().kind, Kind::kErrorReply);
  numbering.ConnectDevice(kVm, 1);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kUnknownVm, "connectDevice", HasSubstr(kVm)))
      << "not the failure from before";

  numbering.asked = instance;
  numbering.number = 7;
  numbering.ConnectDevice(kVm, 1);
  EXPECT_THAT(VelProxy::lastError(), success("connectDevice"));
}

TEST_F(LastErrorOfTest, ASearchThatTheServiceRefusesNeedsNoCount) {
  bus.answer("searchSharePrinter", Reply().int32(4));
  std::list<_SharePrinterDevice> found;

  EXPECT_EQ(proxy->SearchSharePrinterDevice("10.0.0.9", found), 4);

  EXPECT_THAT(VelProxy::lastError(), success("searchSharePrinter"));
}

TEST_F(LastErrorOfTest, ASearchWithoutACountIsABadReply) {
  bus.answer("searchSharePrinter", Reply().int32(0));
  std::list<_SharePrinterDevice> found;

  EXPECT_EQ(proxy->SearchSharePrinterDevice("10.0.0.9", found), 0);

  EXPECT_THAT(VelProxy::lastError(),
              failure(Kind::kBadReply, "searchSharePrinter", "value 2 of the reply is missing"));
}

TEST_F(LastErrorOfTest, AnEmptyListIsASuccess) {
  bus.answer("getDeviceList", Reply().int32(0));
  fail();

  EXPECT_TRUE(proxy->GetDeviceList(kVm).empty());

  EXPECT_THAT(VelProxy::lastError(), success("getDeviceList"));
}

TEST_F(LastErrorOfTest, TheEndOfAListIsDescribed) {
  bus.answer("getDeviceList", Reply().int32(3).bytes(Bytes(700, 1)));

  proxy->FreeDeviceList(proxy->GetDeviceList(kVm));
  const std::list<CommonDevice*> devices = proxy->GetDeviceList(kVm);

  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kBadReply, "getDeviceList",
                                             "the list of the reply ends after 1 of 3 entries"));
  proxy->FreeDeviceList(devices);
}

TEST_F(LastErrorOfTest, AZeroThatIsAnEmptyTextCannotBeRecognised) {
  bus.answer("connectDevice", Reply().string(""));
  proxy->ConnectDevice(kVm, 1);
  EXPECT_THAT(VelProxy::lastError(), success("connectDevice"));

  bus.answer("searchAllPrinter", Reply().int32(0));
  proxy->SearchAllPrinter();
  EXPECT_THAT(VelProxy::lastError(), success("searchAllPrinter"));
}

// --- Operations without a bus method -------------------------------------------------------------

int ignoredVm(unsigned short, void*, void*) {
  return 0;
}
int ignoredPrinter(unsigned short, PrinterDevice*, void*) {
  return 0;
}
int ignoredDevice(unsigned short, CommonDevice*, void*) {
  return 0;
}
int ignoredResult(unsigned short, _ConfigNewDeviceResult*, void*) {
  return 0;
}

TEST_F(LastErrorOfTest, LocalOperationsSucceed) {
  int data = 0;
  CommonDevice device = {};
  _ConfigNewDeviceResult result = {};
  _JoystickResult joystick = {};
  const std::vector<std::function<void()>> operations = {
      [&] { proxy->Init(); },
      [&] { proxy->InitBroadcast(); },
      [&] { proxy->HandleEvent(nullptr); },
      [&] { proxy->RegisterCallback(kVm, &ignoredVm, &data); },
      [&] { proxy->UnregisterCallback(kVm); },
      [&] { proxy->RegisterPrinterCallback(&ignoredPrinter, &data); },
      [&] { proxy->CheckPrinterCallback(); },
      [&] { proxy->UnregisterPrinterCallback(); },
      [&] { proxy->RegisterDeviceCallback(&ignoredDevice, &data); },
      [&] { proxy->CheckDeviceCallback(); },
      [&] { proxy->UnregisterDeviceCallback(&data); },
      [&] { proxy->UnregisterDeviceCallback(); },
      [&] { proxy->RegisterCmdCallback(nullptr, nullptr); },
      [&] { proxy->RegisterConfigNewDevResultCallback(&ignoredResult, &data); },
      [&] { proxy->UnregisterConfigNewDevResultCallback(&data); },
      [&] { proxy->UnregisterConfigNewDevResultCallback(); },
      [&] { proxy->DeviceBaseInfoNotify(4, &device); },
      [&] { proxy->ConfigNewDeviceResultNotify(2, &result); },
      [&] { proxy->JoystickResultNotify(1, &joystick); },
      [&] { proxy->JoystickResultNotify(1, nullptr); },
      [&] { proxy->FreeDeviceList({}); },
      [&] { proxy->FreePolicyList({}); },
      [&] { proxy->GetVmIdString(1); },
      [&] { proxy->ConnectUsbredir(kVm, {}); },
      [&] { proxy->DisconnectUsbredir(kVm, {}); },
      [&] { proxy->PortInit("space.port.2", true, nullptr); },
      [&] { proxy->PortStatus("space.port.2", false); },
      [&] { proxy->ReleaseService(); },
  };
  for (std::size_t i = 0; i < operations.size(); ++i) {
    fail();

    operations[i]();

    EXPECT_THAT(VelProxy::lastError(), success("")) << "operation " << i;
  }
}

TEST_F(LastErrorOfTest, LocalOperationsRefuseNullPointers) {
  int data = 0;
  const std::vector<std::function<void()>> operations = {
      [&] { proxy->RegisterPrinterCallback(nullptr, &data); },
      [&] { proxy->RegisterPrinterCallback(&ignoredPrinter, nullptr); },
      [&] { proxy->RegisterDeviceCallback(nullptr, &data); },
      [&] { proxy->RegisterDeviceCallback(&ignoredDevice, nullptr); },
      [&] { proxy->RegisterConfigNewDevResultCallback(nullptr, &data); },
      [&] { proxy->RegisterConfigNewDevResultCallback(&ignoredResult, nullptr); },
      [&] { proxy->DeviceBaseInfoNotify(4, nullptr); },
      [&] { proxy->ConfigNewDeviceResultNotify(2, nullptr); },
      [&] { proxy->SendPenData("", nullptr, 0, 0, 0); },
      [&] { proxy->SendPenData("", nullptr, 1, 0, 0); },
      [&] { proxy->PortData("", nullptr, 0); },
  };
  for (std::size_t i = 0; i < operations.size(); ++i) {
    proxy->ResetService();

    operations[i]();

    EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, "")) << "operation " << i;
  }
}

TEST_F(LastErrorOfTest, InitReportsTheMissingPart) {
  VelProxy fresh;
  bus.setReachable(false);
  fresh.Init();
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kNoService, "", "the bus cannot be reached"));
  bus.setReachable(true);
  bus.setRegistered(false);
  fresh.Init();
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kNoService, "", "no service on the bus"));
  bus.setRegistered(true);
  bus.setRefusing(true);
  fresh.Init();
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kNoService, ""));
}

TEST_F(LastErrorOfTest, AnOperationReportsWhatWasMissingWhenTheProxyTriedToConnect) {
  VelProxy fresh;
  bus.setReachable(false);
  fresh.Init();
  fresh.ResetService();
  EXPECT_THAT(VelProxy::lastError(),
              failure(Kind::kNoService, "resetService", qx::kBusUnreachable));
  fresh.GetVmIdInt(kVm);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kNoService, kLookUp, qx::kBusUnreachable));

  bus.setReachable(true);
  fresh.Init();
  fresh.ReleaseService();
  fresh.ResetService();
  EXPECT_THAT(VelProxy::lastError(),
              failure(Kind::kNoService, "resetService", "no service on the bus"));
}

// --- Whose result it is --------------------------------------------------------------------------

TEST_F(LastErrorOfTest, AThreadWithoutAnOperationHasNoError) {
  fail();

  Background other([] { return VelProxy::lastError(); });

  EXPECT_THAT(other.result(), success(""));
}

TEST_F(LastErrorOfTest, EachThreadHasItsOwn) {
  fail();

  Background other([this] {
    disconnect(*proxy);
    proxy->GetAutoConnect(1);
    return VelProxy::lastError();
  });

  EXPECT_THAT(other.result(), failure(Kind::kNoService, "getAutoConnect"));
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, kFailedMethod));
}

TEST_F(LastErrorOfTest, GettingTheInstanceDoesNotCount) {
  disconnect(*instance);
  bus.setRegistered(false);
  fail();

  EXPECT_THAT(VelProxy::getInstance()->lastError(), failure(Kind::kRefusedArgument, kFailedMethod));
}

TEST_F(LastErrorOfTest, DestroyingAProxyDoesNotCount) {
  {
    VelProxy own;
    own.Init();
    fail();
  }

  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, kFailedMethod));
}

TEST_F(LastErrorOfTest, ConnectingAgainDoesNotCount) {
  disconnect(*instance);
  bus.setRegistered(false);

  proxy->ResetService();

  EXPECT_THAT(VelProxy::lastError(), success("resetService")) << "this object is connected";
}

TEST_F(LastErrorOfTest, TheNamesThatAListLooksUpDoNotCount) {
  Bytes attached(700, 0);
  const unsigned short status = 2;
  std::memcpy(&attached[8], &status, sizeof status);
  bus.answer("getDeviceList", Reply().int32(2).bytes(attached));

  const std::list<CommonDevice*> devices = proxy->GetDeviceList("");

  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kBadReply, "getDeviceList"));
  proxy->FreeDeviceList(devices);
}

// A callback that looks at the error, then runs another operation, which fails in another way.
struct Meddling {
  template <typename Record>
  static int called(unsigned short, Record, void* userData) {
    auto& self = *static_cast<Meddling*>(userData);
    self.seen = VelProxy::lastError();
    self.other.SetDeviceLocalPolicy(nullptr);
    ++self.calls;
    return 0;
  }

  VelProxy& other;
  VelError seen = {};
  int calls = 0;
};

TEST_F(LastErrorOfTest, TheCallbackOfACommandSeesItsFailureAndDoesNotDisturbIt) {
  Meddling meddling{*instance};
  proxy->RegisterCmdCallback(&Meddling::called<CmdResponse*>, &meddling);
  bus.answer("dovelcmd", Reply::error("Unknown command."));

  proxy->DoVelCmd(kVm, "walk", 1);

  EXPECT_EQ(meddling.calls, 1);
  EXPECT_THAT(meddling.seen, failure(Kind::kErrorReply, "dovelcmd", "Unknown command."));
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kErrorReply, "dovelcmd", "Unknown command."));
}

TEST_F(LastErrorOfTest, TheCallbacksOfANotifyDoNotDisturbIt) {
  Meddling meddling{*instance};
  CommonDevice device = {};
  _ConfigNewDeviceResult result = {};
  bus.answer("registerJoystickCallback", Reply().int32(0));
  proxy->RegisterDeviceCallback(&Meddling::called<CommonDevice*>, &meddling);
  proxy->RegisterConfigNewDevResultCallback(&Meddling::called<_ConfigNewDeviceResult*>, &meddling);
  proxy->RegisterJoystickCallback(&Meddling::called<_JoystickResult>, &meddling);

  proxy->DeviceBaseInfoNotify(4, &device);
  EXPECT_THAT(VelProxy::lastError(), success(""));
  proxy->ConfigNewDeviceResultNotify(2, &result);
  EXPECT_THAT(VelProxy::lastError(), success(""));
  proxy->JoystickResultNotify(1, nullptr);
  EXPECT_THAT(VelProxy::lastError(), success(""));

  EXPECT_EQ(meddling.calls, 3);
}

TEST_F(LastErrorOfTest, TheRestOfTheCallbacksOfAJoystickSubscriptionSucceed) {
  int first = 0;
  int second = 0;
  const JoystickCallback ignored = [](unsigned short, _JoystickResult, void*) { return 0; };
  bus.answer("registerJoystickCallback", Reply().int32(0));
  bus.answer("unregisterJoystickCallback", Reply::error("no such subscription"));
  proxy->RegisterJoystickCallback(ignored, &first);
  proxy->RegisterJoystickCallback(ignored, &second);
  fail();

  proxy->UnregisterJoystickCallback(&first);
  EXPECT_THAT(VelProxy::lastError(), success("unregisterJoystickCallback"));
  proxy->UnregisterJoystickCallback(&second);
  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kErrorReply, "unregisterJoystickCallback"));
}

TEST_F(LastErrorOfTest, EventsAndDeathsLeaveTheErrorsOfOtherThreadsAlone) {
  disconnect(*instance);
  fail();

  bus.emit("velevent", EventArguments().int32(0).int32(4).bytes(Bytes(700, 1)));
  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_THAT(VelProxy::lastError(), failure(Kind::kRefusedArgument, kFailedMethod));
}

TEST_F(LastErrorOfTest, TheAnswerToARequestThatDidNotWaitDoesNotCount) {
  bus.answer("startManager", Reply::error("no"));
  proxy->StartVm(kVm);

  EXPECT_EQ(bus.complete(), 1);

  EXPECT_THAT(VelProxy::lastError(), success("startManager"));
}

// A client may call as late as its own statics are destroyed: when the process ends, the last
// error of the main thread has been destroyed before them.
TEST(LastErrorDeathTest, IsThereUntilTheProcessEnds) {
  EXPECT_EXIT(
      {
        VelProxy::getInstance()->UpdateDriveToken("");
        struct Late {
          ~Late() {
            if (VelProxy::lastError().kind != Kind::kNone) {
              std::_Exit(1);
            }
            VelProxy::getInstance()->UpdateDriveToken("");
            std::_Exit(VelProxy::lastError().kind == Kind::kRefusedArgument ? 0 : 2);
          }
        };
        static const Late late;
        std::exit(3);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
