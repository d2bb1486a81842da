// Attaching VM sessions, their pipes and channels, window focus and drive tokens; the rows are in
// rows/sessions.cpp.

#include <cstring>
#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr std::size_t kPipeSize = 268;

class SessionsTest : public ProxyTest {
 protected:
  SessionsTest() {
    bus.knowsVm("win11", 7001);
    bus.knowsVm("linux9", 0x80000002);
  }
};

// --- ConnectVm ----------------------------------------------------------------------------------

using ConnectVmTest = SessionsTest;

TEST_F(ConnectVmTest, DoesNotAttachACollaborator) {
  VmInfo info;
  info.vmId = "win11";
  info.kstStreamCollaborateType = 1;

  EXPECT_EQ(proxy->ConnectVm(info), kFailed);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(log.summaries(), ElementsAre(testing::StartsWith("Debug ConnectVm: vmId:win11, "),
                                           debugLine("ConnectVm",
                                                     "don't ConnectVm when "
                                                     "VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR")));
}

TEST_F(ConnectVmTest, TestsTheServiceBeforeTheCollaborator) {
  VmInfo info;
  info.vmId = "win11";
  info.kstStreamCollaborateType = 1;
  disconnect(*proxy);

  EXPECT_EQ(proxy->ConnectVm(info), kFailed);

  EXPECT_THAT(log.summaries(),
              ElementsAre(testing::StartsWith("Debug ConnectVm: vmId:win11, "),
                          errorLine("ConnectVm", "wait velserviced restart when it death")));
}

TEST_F(ConnectVmTest, AttachesEveryOtherType) {
  bus.answer("connectVm", Reply().int32(3));
  for (const unsigned int type : {0u, 2u, 0x80000001u, std::numeric_limits<unsigned int>::max()}) {
    VmInfo info;
    info.kstStreamCollaborateType = type;

    EXPECT_EQ(proxy->ConnectVm(info), 3u) << type;
  }
}

TEST_F(ConnectVmTest, SendsNeitherTheSessionNorTheVersions) {
  bus.answer("connectVm", Reply().int32(0));
  VmInfo info;
  info.systemType = std::numeric_limits<int>::min();
  info.shareMode = std::numeric_limits<int>::max();
  info.connectParam = -1;
  proxy->ConnectVm(info);

  info.sessionId = 81;
  info.kstMajorVer = 82;
  info.kstMinorVer = 83;
  info.kstStreamCollaborateType = 84;
  proxy->ConnectVm(info);

  const char kRequest[] = "connectVm(int32 0, int32 -2147483648, int32 2147483647, int32 -1)";
  EXPECT_THAT(bus.requests(), ElementsAre(kRequest, kRequest));
}

TEST_F(ConnectVmTest, LogsANumberAbove31BitsAsItTravels) {
  bus.answer("connectVm", Reply().int32(0));
  VmInfo info;
  info.vmId = "linux9";

  proxy->ConnectVm(info);

  EXPECT_EQ(bus.lastCall(), "connectVm(int32 -2147483646, int32 0, int32 0, int32 0)");
  EXPECT_THAT(log.summaries(), Contains(debugLine("ConnectVm", "ConnectVM vmId:%s, vmid:%d",
                                                  "ConnectVM vmId:linux9, vmid:-2147483646")));
}

TEST_F(ConnectVmTest, LogsBeforeTheMessageIsMadeAndTheNumberAfter) {
  bus.answer("connectVm", Reply().int32(0));
  VmInfo info;
  info.vmId = "win11";

  proxy->ConnectVm(info);

  EXPECT_THAT(
      timeline.all(),
      ElementsAre(testing::StartsWith("Debug ConnectVm: vmId:win11, systemType:"),
                  "make connectVm()", "make getVmListSize()",
                  "call getVmListSize(string \"win11\") within 3000 ms", "return getVmListSize()",
                  "Debug GetVmIdInt: vmid[win11]~ maped to id[7001] from hulservice",
                  "Debug ConnectVm: ConnectVM vmId:win11, vmid:7001",
                  "call connectVm(int32 7001, int32 0, int32 0, int32 0) within 2000 ms",
                  "return connectVm()", "Debug ConnectVm: reply: type 2 (int32 0)"));
}

// --- DisconnectVm, StartVm ----------------------------------------------------------------------

using AsynchronousTest = SessionsTest;

TEST_F(AsynchronousTest, AnErrorReplyIsLoggedAsIfItHeldAnInteger) {
  bus.answer("disconnectVm", Reply::error("not now"));
  bus.answer("startManager", Reply().ofType(MESSAGE_TYPE_ERROR).int32(-4));
  EXPECT_EQ(proxy->DisconnectVm("win11"), 0u);
  EXPECT_EQ(proxy->StartVm("win11"), 0u);
  forget();

  EXPECT_EQ(bus.complete(), 2);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("operator()", "ret: %d", "ret: 0"),
                                           debugLine("operator()", "ret: %d", "ret: -4")));
}

TEST_F(AsynchronousTest, ALateReplyMayComeAfterTheProxyIsDestroyed) {
  bus.answer("disconnectVm", Reply().int32(6));
  {
    qx::VelProxy gone;
    gone.Init();
    gone.DisconnectVm("win11");
  }
  forget();

  EXPECT_EQ(bus.complete(), 1);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("operator()", "ret: %d", "ret: 6")));
}

TEST_F(AsynchronousTest, ALateReplyNeedsNoLock) {
  bus.answer("startManager", Reply().int32(8));
  bus.answer("resetService", Reply().int32(0));
  proxy->StartVm("win11");
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  EXPECT_EQ(bus.complete(), 1);

  EXPECT_THAT(log.summaries(), Contains(debugLine("operator()", "ret: %d", "ret: 8")));
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

// --- CreatePipe, DestroyPipe --------------------------------------------------------------------

using Pipes = std::list<_CHANNEL_HANDLE>;

_CHANNEL_HANDLE pipe(const std::string& vmId, unsigned long long handle, const std::string& name1,
                     const std::string& name2) {
  _CHANNEL_HANDLE made;
  made.vmId = vmId;
  made.handle = handle;
  name1.copy(made.name1, sizeof made.name1);
  name2.copy(made.name2, sizeof made.name2);
  return made;
}

// The expected block on the bus.
Bytes block(unsigned int number, unsigned long long handle, const std::string& name1,
            const std::string& name2) {
  Bytes bytes(kPipeSize, 0);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[i] = static_cast<unsigned char>(number >> (8 * i));
  }
  for (std::size_t i = 0; i < 8; ++i) {
    bytes[4 + i] = static_cast<unsigned char>(handle >> (8 * i));
  }
  std::copy(name1.begin(), name1.end(), bytes.begin() + 12);
  std::copy(name2.begin(), name2.end(), bytes.begin() + 140);
  return bytes;
}

// The two operations differ in name and logs only.
struct PipeOperation {
  const char* name;
  const char* method;
  unsigned int (qx::VelProxy::*run)(std::string, Pipes);
};

class PipeTest : public SessionsTest, public testing::WithParamInterface<PipeOperation> {
 protected:
  PipeTest() { bus.answer(GetParam().method, Reply().int32(0)); }

  unsigned int run(const std::string& vmId, const Pipes& pipes) {
    return (proxy.get()->*GetParam().run)(vmId, pipes);
  }
  // A name as its field in the block.
  Bytes sentName(const std::string& name) {
    run("", {pipe("", 0, name, "")});
    const Bytes sent = bus.lastBytes(2);
    EXPECT_EQ(sent.size(), kPipeSize);
    return Bytes(sent.begin() + 12, sent.begin() + 140);
  }
};

TEST_P(PipeTest, SendsOneBlockPerPipeInOrder) {
  const Pipes pipes = {pipe("win11", 0x1122334455667788, "display", "in"),
                       pipe("linux9", 0xFFEEDDCCBBAA9988, "sound", "out"),
                       pipe("", 1, "", "neither")};

  EXPECT_EQ(run("win11", pipes), 0u);

  const scripted::Call sent = bus.calls().back();
  ASSERT_EQ(sent.arguments.size(), 5u) << sent.text();
  EXPECT_EQ(scripted::show(sent.arguments[0]), "int32 7001");
  EXPECT_EQ(scripted::show(sent.arguments[1]), "int32 3");
  EXPECT_EQ(sent.bytes(2), block(7001, 0x1122334455667788, "display", "in"));
  EXPECT_EQ(sent.bytes(3), block(0x80000002, 0xFFEEDDCCBBAA9988, "sound", "out"));
  EXPECT_EQ(sent.bytes(4), block(0, 1, "", "neither"));
}

TEST_P(PipeTest, SendsOnlyTheVmAndTheCountForAnEmptyList) {
  EXPECT_EQ(run("win11", {}), 0u);

  EXPECT_EQ(bus.lastCall(), std::string(GetParam().method) + "(int32 7001, int32 0)");
}

TEST_P(PipeTest, LooksUpTheVmOfEachPipeWhileTheMessageIsBuilt) {
  run("", {pipe("win11", 0, "a", "b"), pipe("linux9", 0, "c", "d"), pipe("win11", 0, "e", "f")});

  EXPECT_THAT(bus.madeMessages(), ElementsAre(GetParam().method, "getVmListSize", "getVmListSize"));
  EXPECT_EQ(bus.calls().back().method, GetParam().method);
  EXPECT_EQ(bus.requests()[0], "getVmListSize(string \"win11\")");
  EXPECT_EQ(bus.requests()[1], "getVmListSize(string \"linux9\")");
}

TEST_P(PipeTest, SendsAPipeOfAnUnknownVmWithZero) {
  run("win11", {pipe("nobody", 5, "a", "b")});

  EXPECT_EQ(bus.lastBytes(2), block(0, 5, "a", "b"));
}

TEST_P(PipeTest, PadsANameWithZeroes) {
  for (const std::size_t length : {0u, 1u, 126u, 127u}) {
    const std::string name(length, 'n');

    Bytes expected = bytesOf(name);
    expected.resize(128, 0);
    EXPECT_EQ(sentName(name), expected) << length;
  }
}

TEST_P(PipeTest, SendsANameThatFillsItsFieldWithoutReadingOn) {
  const std::string full(128, 'f');

  EXPECT_EQ(sentName(full), bytesOf(full));
  run("", {pipe("", 0, "", full)});
  EXPECT_EQ(bus.lastBytes(2), block(0, 0, "", full));
}

TEST_P(PipeTest, SendsNoByteBehindTheNulOfAName) {
  Bytes expected = bytesOf(std::string("ab"));
  expected.resize(128, 0);

  EXPECT_EQ(sentName(std::string("ab\0rest of an older name", 24)), expected);
}

TEST_P(PipeTest, LogsAResultThatIsNotZeroAsAnErrorAndReturnsIt) {
  for (const int status : {1, -1, -77, std::numeric_limits<int>::max()}) {
    bus.answer(GetParam().method, Reply().int32(status));
    forget();

    EXPECT_EQ(run("", {}), static_cast<unsigned int>(status));

    EXPECT_EQ(log.summaries().back(),
              errorLine(GetParam().name, "ret = %d", "ret = " + std::to_string(status)));
  }
}

TEST_P(PipeTest, LogsNoErrorForZero) {
  run("win11", {pipe("win11", 0, "a", "b")});

  EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_P(PipeTest, LogsNoResultForAnErrorReply) {
  bus.answer(GetParam().method, Reply::error("no"));

  EXPECT_EQ(run("", {}), kFailed);

  EXPECT_THAT(log.errors(), ElementsAre("reply type: 3(no)"));
}

TEST_P(PipeTest, LogsTheNumberOfPipes) {
  run("win11", {pipe("", 0, "", ""), pipe("", 0, "", "")});

  const bool creates = std::string(GetParam().name) == "CreatePipe";
  EXPECT_THAT(log.summaries(),
              Contains(creates ? debugLine("CreatePipe", "vmId: %s, list size: %ld id:%d",
                                           "vmId: win11, list size: 2 id:7001")
                               : debugLine("DestroyPipe", "vmId: %s, list size: %ld",
                                           "vmId: win11, list size: 2")));
}

TEST_P(PipeTest, LooksUpNoVmWithoutAService) {
  disconnect(*proxy);

  EXPECT_EQ(run("win11", {pipe("linux9", 0, "a", "b")}), kFailed);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Both, PipeTest,
    testing::Values(PipeOperation{"CreatePipe", "createPipe", &qx::VelProxy::CreatePipe},
                    PipeOperation{"DestroyPipe", "destroyPipe", &qx::VelProxy::DestroyPipe}),
    [](const testing::TestParamInfo<PipeOperation>& row) { return row.param.name; });

// --- SetPortChannelStatus, OnFocusChanged -------------------------------------------------------

TEST_F(SessionsTest, APortKeepsAll32Bits) {
  bus.answer("setPortChannelStatus", Reply().int32(0));

  proxy->SetPortChannelStatus("linux9", 0xFFFFFFFE, std::numeric_limits<int>::max());

  EXPECT_EQ(bus.lastCall(), "setPortChannelStatus(int32 -2147483646, int32 -2, int32 2147483647)");
}

TEST_F(SessionsTest, AWindowKeepsAll64Bits) {
  bus.answer("onFocusChanged", Reply().int32(0));

  proxy->OnFocusChanged("win11", 0xFFFFFFFFFFFFFFFE, 0xFFFFFFFF);

  EXPECT_EQ(bus.lastCall(), "onFocusChanged(int32 7001, int32 -1, uint64 18446744073709551614)");
  EXPECT_EQ(log.summaries().front(),
            debugLine("OnFocusChanged", "vmId:%s, gainFocus:%d windowId:%lld",
                      "vmId:win11, gainFocus:-1 windowId:-2"));
}

TEST_F(SessionsTest, TheStatusOfAnErrorReplyIsNotLogged) {
  bus.answer("onFocusChanged", Reply::error("no"));
  bus.answer("setPortChannelStatus", Reply::error("no"));

  proxy->OnFocusChanged("", 1, 2);
  proxy->SetPortChannelStatus("", 1, 2);

  EXPECT_THAT(log.summaries(), Not(Contains(testing::HasSubstr("ret: "))));
}

// --- UpdateDriveToken ---------------------------------------------------------------------------

TEST_F(SessionsTest, ATokenKeepsEveryByte) {
  bus.answer("updateDriveToken", Reply().int32(0));
  std::string token;
  for (int byte = 0; byte < 256; ++byte) {
    token += static_cast<char>(byte);
  }

  EXPECT_EQ(proxy->UpdateDriveToken(token), 0u);

  EXPECT_EQ(bus.lastBytes(0), bytesOf(token));
  EXPECT_EQ(bus.calls().back().arguments.size(), 1u);
}

TEST_F(SessionsTest, ATokenMayBeASingleNul) {
  bus.answer("updateDriveToken", Reply().int32(0));

  EXPECT_EQ(proxy->UpdateDriveToken(std::string(1, '\0')), 0u);

  EXPECT_EQ(bus.lastCall(), "updateDriveToken(bytes[1] 00)");
}

}  // namespace
