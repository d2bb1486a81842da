// Reports on the quality of a stream; the rows are in rows/stream_quality.cpp.

#include <cstring>
#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class StreamQualityTest : public ProxyTest {
 protected:
  StreamQualityTest() {
    bus.knowsVm("win11", 7001);
    bus.knowsVm("linux9", 0x80000002);
    proxy->GetVmIdInt("win11");
    forget();
  }
};

// --- SetRtcQosInfo ------------------------------------------------------------------------------

TEST_F(StreamQualityTest, AFigureTravelsWithoutASign) {
  for (unsigned int figure : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    proxy->SetRtcQosInfo("win11", 1, &figure);

    EXPECT_EQ(bus.lastCall(),
              "setRtcQosInfo(int32 7001, uint64 1, uint64 " + std::to_string(figure) + ")");
  }
}

TEST_F(StreamQualityTest, NoFigureIsSentWithoutData) {
  proxy->SetRtcQosInfo("win11", 1, nullptr);

  EXPECT_THAT(bus.requests(), ElementsAre("setRtcQosInfo(int32 7001, uint64 1)"));
}

TEST_F(StreamQualityTest, TheDataOfAnotherTypeIsNotRead) {
  // Reading there would end the test.
  void* const unreadable = reinterpret_cast<void*>(1);
  for (const unsigned int type : {0u, 2u, 3u, 0x80000001u, 0xFFFFFFFFu}) {
    proxy->SetRtcQosInfo("win11", type, unreadable);

    EXPECT_EQ(bus.lastCall(), "setRtcQosInfo(int32 7001, uint64 " + std::to_string(type) + ")");
    EXPECT_EQ(bus.lastTimeoutMs(), -1);
  }
}

TEST_F(StreamQualityTest, AFigureMayStandAnywhereAndIsFourBytesLong) {
  const unsigned int figure = 0x01020304;
  // Exactly as long, so that AddressSanitizer reports a longer read.
  Bytes data(1 + sizeof figure, 0xEE);
  std::memcpy(data.data() + 1, &figure, sizeof figure);
  data.shrink_to_fit();

  proxy->SetRtcQosInfo("win11", 1, data.data() + 1);

  EXPECT_EQ(bus.lastCall(), "setRtcQosInfo(int32 7001, uint64 1, uint64 16909060)");
}

TEST_F(StreamQualityTest, AFigureIsReadBeforeTheCallReturns) {
  unsigned int figure = 12;
  proxy->SetRtcQosInfo("win11", 1, &figure);
  figure = 13;

  bus.complete();

  EXPECT_EQ(bus.lastCall(), "setRtcQosInfo(int32 7001, uint64 1, uint64 12)");
}

// --- SetBwInfo ----------------------------------------------------------------------------------

TEST_F(StreamQualityTest, BandwidthsKeepAllTheirBitsAndTheirOrder) {
  constexpr unsigned long long kMost = std::numeric_limits<unsigned long long>::max();
  proxy->SetBwInfo("linux9", kMost, 0);
  proxy->SetBwInfo("win11", 0, kMost);
  proxy->SetBwInfo("", 1, 2);

  EXPECT_THAT(bus.requests(),
              ElementsAre("getVmListSize(string \"linux9\")",
                          "setBwInfo(int32 -2147483646, uint64 18446744073709551615, uint64 0)",
                          "setBwInfo(int32 7001, uint64 0, uint64 18446744073709551615)",
                          "setBwInfo(int32 0, uint64 1, uint64 2)"));
}

// --- Both ---------------------------------------------------------------------------------------

TEST_F(StreamQualityTest, TheAnswerComesAfterTheCallHasReturned) {
  bus.answer("setBwInfo", Reply().int32(3));
  bus.answer("setRtcQosInfo", Reply().int32(-4));
  proxy->SetBwInfo("win11", 1, 2);
  proxy->SetRtcQosInfo("win11", 2, nullptr);
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("SetRtcQosInfo", "vmId:%s", "vmId:win11")));
  forget();

  EXPECT_EQ(bus.complete(), 2);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("operator()", "ret: %d", "ret: 3"),
                                           debugLine("operator()", "ret: %d", "ret: -4")));
}

TEST_F(StreamQualityTest, AnErrorReplyIsLoggedAsIfItHeldAnInteger) {
  bus.answer("setBwInfo", Reply::error("not now"));
  bus.answer("setRtcQosInfo", Reply().ofType(MESSAGE_TYPE_ERROR).int32(-4));
  proxy->SetBwInfo("win11", 1, 2);
  proxy->SetRtcQosInfo("win11", 2, nullptr);
  forget();

  EXPECT_EQ(bus.complete(), 2);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("operator()", "ret: %d", "ret: 0"),
                                           debugLine("operator()", "ret: %d", "ret: -4")));
}

TEST_F(StreamQualityTest, AnAnswerMayComeAfterTheProxyIsDestroyed) {
  bus.answer("setBwInfo", Reply().int32(6));
  bus.answer("setRtcQosInfo", Reply().int32(7));
  {
    qx::VelProxy gone;
    gone.Init();
    gone.SetBwInfo("", 1, 2);
    gone.SetRtcQosInfo("", 2, nullptr);
  }
  forget();

  EXPECT_EQ(bus.complete(), 2);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("operator()", "ret: %d", "ret: 6"),
                                           debugLine("operator()", "ret: %d", "ret: 7")));
}

TEST_F(StreamQualityTest, AnAnswerNeedsNoLock) {
  bus.answer("setBwInfo", Reply().int32(8));
  bus.answer("resetService", Reply().int32(0));
  proxy->SetBwInfo("win11", 1, 2);
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  EXPECT_EQ(bus.complete(), 1);

  EXPECT_THAT(log.summaries(), Contains(debugLine("operator()", "ret: %d", "ret: 8")));
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(StreamQualityTest, ReportsAreDroppedWithoutAService) {
  unsigned int figure = 12;
  disconnect(*proxy);

  proxy->SetBwInfo("win11", 1, 2);
  proxy->SetRtcQosInfo("win11", 1, &figure);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_EQ(bus.complete(), 0);
  EXPECT_THAT(log.summaries(),
              ElementsAre(errorLine("SetBwInfo", "wait velserviced restart when it death"),
                          debugLine("SetRtcQosInfo", "vmId:%s", "vmId:win11"),
                          errorLine("SetRtcQosInfo", "wait velserviced restart when it death")));
}

}  // namespace
