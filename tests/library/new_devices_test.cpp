// Configuration of new devices and its results. The rows are in rows/new_devices.cpp; the events
// that are results, in events_test.cpp.

#include <cstring>
#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// --- ConfigNewDeviceAsConnect, ConfigNewDeviceAsIgnore, ConfigUdisks2Command --------------------

class NewDevicesTest : public ProxyTest {
 protected:
  NewDevicesTest() { bus.knowsVm("linux9", 0x80000002); }
};

TEST_F(NewDevicesTest, AttachingKeepsAllBits) {
  bus.answer("configNewDeviceAsConnect", Reply().int32(0));

  EXPECT_EQ(proxy->ConfigNewDeviceAsConnect("linux9", 0xFFFFFFFFFFFFFFFE, 65535, 32768, 65534), 0);

  EXPECT_EQ(bus.lastCall(),
            "configNewDeviceAsConnect(int32 -2147483646, bytes[8] feffffffffffffff, int32 65535, "
            "int32 32768, int32 65534)");
  EXPECT_EQ(log.summaries().front(),
            debugLine("ConfigNewDeviceAsConnect",
                      "ConfigNewDeviceAsConnect: vmId=%s, sourceId=%ld, type=%d, autoConnect=%d, "
                      "popupCardConfig=%d",
                      "ConfigNewDeviceAsConnect: vmId=linux9, sourceId=-2, type=65535, "
                      "autoConnect=32768, popupCardConfig=65534"));
}

TEST_F(NewDevicesTest, IgnoringKeepsAllBitsAndConcernsNoVm) {
  bus.answer("configNewDeviceAsIgnore", Reply().int32(0));

  EXPECT_EQ(proxy->ConfigNewDeviceAsIgnore(0xFFFFFFFFFFFFFFFE, 65535, 32768, 65534), 0);

  EXPECT_THAT(bus.requests(), ElementsAre("configNewDeviceAsIgnore(bytes[8] feffffffffffffff, "
                                          "int32 65535, int32 32768, int32 65534)"));
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("ConfigNewDeviceAsIgnore",
                                    "ConfigNewDeviceAsIgnore: sourceId=%ld, deviceType=%d, "
                                    "autoConnect=%d, popupCardConfig=%d",
                                    "ConfigNewDeviceAsIgnore: sourceId=-2, deviceType=65535, "
                                    "autoConnect=32768, popupCardConfig=65534")));
}

TEST_F(NewDevicesTest, AStorageCommandKeepsAllBits) {
  bus.answer("ConfigUdisks2Command", Reply().int32(0));

  EXPECT_EQ(proxy->ConfigUdisks2Command("linux9", 0xFFFFFFFFFFFFFFFE, 65535), 0);

  EXPECT_EQ(bus.lastCall(),
            "ConfigUdisks2Command(int32 -2147483646, bytes[8] feffffffffffffff, int32 65535)");
  EXPECT_THAT(
      log.summaries(),
      Contains(debugLine(
          "ConfigUdisks2Command", "ConfigUdisks2Command vmId:%s, vmid:%d, sourceId:%ld, command:%d",
          "ConfigUdisks2Command vmId:linux9, vmid:-2147483646, sourceId:-2, command:65535")));
}

TEST_F(NewDevicesTest, AnErrorWithoutATextIsLoggedWithAnEmptyOne) {
  bus.answer("configNewDeviceAsConnect", Reply().int32(0).ofType(MESSAGE_TYPE_ERROR));
  bus.answer("configNewDeviceAsIgnore", Reply().int32(0).ofType(MESSAGE_TYPE_ERROR));

  EXPECT_EQ(proxy->ConfigNewDeviceAsConnect("", 1, 2, 3, 4), -1);
  EXPECT_EQ(proxy->ConfigNewDeviceAsIgnore(1, 2, 3, 4), -1);

  EXPECT_THAT(log.errors(), ElementsAre("Failed to config new device as connect: ",
                                        "Failed to config new device as ignore: "));
}

// --- Registering --------------------------------------------------------------------------------

// A result event whose bytes a test may choose.
Bytes chosenResult() {
  Bytes block(300, 0);
  const unsigned short vidAndPid[] = {0x46D, 0xC};
  std::memcpy(block.data(), vidAndPid, sizeof vidAndPid);
  const unsigned short isSuccess = 65535;
  std::memcpy(block.data() + 18, &isSuccess, sizeof isSuccess);
  std::memcpy(block.data() + 20, "Stick", 5);
  std::memcpy(block.data() + 276, "DONE", 4);
  return block;
}

// Records its calls: pass `this` as user data.
struct ResultListener {
  static int called(unsigned short code, _ConfigNewDeviceResult* result, void* userData) {
    auto& self = *static_cast<ResultListener*>(userData);
    self.codes.push_back(code);
    self.results.push_back(result);
    scripted::Timeline::the().record("called " + pointer(userData));
    return -1;
  }
  static int calledInstead(unsigned short code, _ConfigNewDeviceResult*, void* userData) {
    static_cast<ResultListener*>(userData)->otherCodes.push_back(code);
    return 0;
  }

  std::vector<unsigned short> codes;
  std::vector<_ConfigNewDeviceResult*> results;
  std::vector<unsigned short> otherCodes;
};

std::string pointerTo(ConfigNewDevResultCallback callback) {
  return pointer(reinterpret_cast<void*>(callback));
}

class NewDeviceCallbacksTest : public ProxyTest {
 protected:
  // In ascending order.
  ResultListener listeners[3];
  Bytes block = chosenResult();
  _ConfigNewDeviceResult* const result = reinterpret_cast<_ConfigNewDeviceResult*>(block.data());
};

TEST_F(NewDeviceCallbacksTest, RegisteringLogsAndSendsNothing) {
  disconnect(*instance);

  EXPECT_EQ(proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]), 0);

  EXPECT_THAT(
      log.summaries(),
      ElementsAre(debugLine("RegisterConfigNewDevResultCallback", "enter, cb[%p] userData[%p]",
                            "enter, cb[" + pointerTo(&ResultListener::called) + "] userData[" +
                                pointer(&listeners[0]) + "]")));
  EXPECT_EQ(timeline.all().size(), 1u) << "neither a connection nor a call";
}

TEST_F(NewDeviceCallbacksTest, RegisteringRefusesNull) {
  EXPECT_EQ(proxy->RegisterConfigNewDevResultCallback(nullptr, &listeners[0]), -1);
  EXPECT_EQ(proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, nullptr), -1);
  EXPECT_EQ(proxy->RegisterConfigNewDevResultCallback(nullptr, nullptr), -1);

  const std::string refusal =
      errorLine("RegisterConfigNewDevResultCallback", "callback or userData is NULL");
  EXPECT_THAT(log.summaries(), ElementsAre(refusal, refusal, refusal));
  log.clear();
  EXPECT_EQ(proxy->ConfigNewDeviceResultNotify(2, result), 0);
  EXPECT_THAT(log.summaries(), IsEmpty()) << "nothing is registered";
}

TEST_F(NewDeviceCallbacksTest, ARefusalKeepsTheEarlierCallback) {
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);

  EXPECT_EQ(proxy->RegisterConfigNewDevResultCallback(nullptr, &listeners[0]), -1);

  proxy->ConfigNewDeviceResultNotify(2, result);
  EXPECT_THAT(listeners[0].codes, ElementsAre(2));
}

TEST_F(NewDeviceCallbacksTest, ALaterCallbackTakesThePlaceOfTheEarlier) {
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::calledInstead, &listeners[0]);

  proxy->ConfigNewDeviceResultNotify(2, result);

  EXPECT_THAT(listeners[0].codes, IsEmpty());
  EXPECT_THAT(listeners[0].otherCodes, ElementsAre(2));
}

TEST_F(NewDeviceCallbacksTest, RegisteringLogsWhenTheCallbackIsStored) {
  int calls = 0;
  timeline.when("Debug RegisterConfigNewDevResultCallback: enter", [&] {
    proxy->ConfigNewDeviceResultNotify(2, result);
    ++calls;
  });

  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);

  EXPECT_EQ(calls, 1);
  EXPECT_THAT(listeners[0].codes, ElementsAre(2));
}

TEST_F(NewDeviceCallbacksTest, UnregisteringRemovesOneAndLogsAfterwards) {
  for (ResultListener& listener : listeners) {
    proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listener);
  }
  disconnect(*instance);
  timeline.when("Debug UnregisterConfigNewDevResultCallback: end",
                [&] { proxy->ConfigNewDeviceResultNotify(2, result); });

  EXPECT_EQ(proxy->UnregisterConfigNewDevResultCallback(&listeners[1]), 0);

  EXPECT_EQ(log.summaries().front(),
            debugLine("UnregisterConfigNewDevResultCallback", "end userData[%p]",
                      "end userData[" + pointer(&listeners[1]) + "]"));
  EXPECT_THAT(listeners[0].codes, ElementsAre(2));
  EXPECT_THAT(listeners[1].codes, IsEmpty());
  EXPECT_THAT(listeners[2].codes, ElementsAre(2));
  EXPECT_EQ(timeline.count("GetAppDataPath()"), 0);
}

TEST_F(NewDeviceCallbacksTest, UnregisteringAnUnknownCallbackOnlyLogs) {
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);
  forget();

  EXPECT_EQ(proxy->UnregisterConfigNewDevResultCallback(&listeners[1]), 0);
  EXPECT_EQ(proxy->UnregisterConfigNewDevResultCallback(nullptr), 0);

  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("UnregisterConfigNewDevResultCallback", "end userData[%p]",
                                    "end userData[" + pointer(&listeners[1]) + "]"),
                          debugLine("UnregisterConfigNewDevResultCallback", "end userData[%p]",
                                    "end userData[" + pointer(nullptr) + "]")));
  proxy->ConfigNewDeviceResultNotify(2, result);
  EXPECT_THAT(listeners[0].codes, ElementsAre(2));
}

TEST_F(NewDeviceCallbacksTest, UnregisteringAllLogsNothing) {
  for (ResultListener& listener : listeners) {
    proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listener);
  }
  disconnect(*instance);

  EXPECT_EQ(proxy->UnregisterConfigNewDevResultCallback(), 0);

  EXPECT_THAT(timeline.all(), IsEmpty());
  proxy->ConfigNewDeviceResultNotify(2, result);
  for (const ResultListener& listener : listeners) {
    EXPECT_THAT(listener.codes, IsEmpty());
  }
}

// --- ConfigNewDeviceResultNotify ----------------------------------------------------------------

TEST_F(NewDeviceCallbacksTest, AResultGoesToEachInAscendingOrderAndIsLoggedAfterEach) {
  for (const std::size_t i : {1u, 2u, 0u}) {
    proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[i]);
  }
  forget();

  EXPECT_EQ(proxy->ConfigNewDeviceResultNotify(65535, result), 0) << "not what callbacks return";

  const char kFormat[] =
      "userdata:%p,name:%s, code:%s, isSuccess: %d, vid:0x%.4x, pid:%.4x cmd[%d]";
  Strings steps;
  Strings lines;
  for (const ResultListener& listener : listeners) {
    EXPECT_THAT(listener.codes, ElementsAre(65535));
    EXPECT_THAT(listener.results, ElementsAre(result)) << "not a copy";
    const std::string message =
        "userdata:" + pointer(&listener) +
        ",name:Stick, code:DONE, isSuccess: 65535, vid:0x046d, pid:000c cmd[65535]";
    steps.push_back("called " + pointer(&listener));
    steps.push_back("Debug ConfigNewDeviceResultNotify: " + message);
    lines.push_back(debugLine("ConfigNewDeviceResultNotify", kFormat, message));
  }
  EXPECT_EQ(timeline.all(), steps);
  EXPECT_EQ(log.summaries(), lines);
}

TEST_F(NewDeviceCallbacksTest, AResultWithoutACallbackIsDropped) {
  EXPECT_EQ(proxy->ConfigNewDeviceResultNotify(2, result), 0);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(NewDeviceCallbacksTest, AMissingResultIsRefused) {
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);

  EXPECT_EQ(proxy->ConfigNewDeviceResultNotify(2, nullptr), -1);

  EXPECT_THAT(listeners[0].codes, IsEmpty());
}

TEST_F(NewDeviceCallbacksTest, ANameThatFillsItsFieldIsLoggedUpToItsEnd) {
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);
  std::memset(block.data() + 20, 'n', 256);
  forget();

  proxy->ConfigNewDeviceResultNotify(2, result);

  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_THAT(log.lines().front().message(),
              testing::HasSubstr(",name:" + std::string(256, 'n') + ", code:DONE, "));
}

// --- The mutex ----------------------------------------------------------------------------------

TEST_F(NewDeviceCallbacksTest, RegisteringWaitsForACallbackAndNotForACall) {
  bus.answer("resetService", Reply().int32(0));
  Gate call = timeline.hold("call resetService(");
  Background reset([this] { return proxy->ResetService(); });
  ASSERT_TRUE(call.isReached());
  proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[0]);
  Gate callback = timeline.hold("called ");
  Background notify([this] { return proxy->ConfigNewDeviceResultNotify(2, result); });
  ASSERT_TRUE(callback.isReached());

  Background registering([this] {
    proxy->RegisterConfigNewDevResultCallback(&ResultListener::called, &listeners[1]);
    return timeline.record("registered");
  });
  Background unregistering([this] {
    proxy->UnregisterConfigNewDevResultCallback(&listeners[2]);
    return timeline.record("unregistered one");
  });
  Background unregisteringAll([this] {
    proxy->UnregisterConfigNewDevResultCallback();
    return timeline.record("unregistered all");
  });

  EXPECT_FALSE(timeline.happensSoon("registered"));
  EXPECT_EQ(timeline.count("unregistered one"), 0);
  EXPECT_EQ(timeline.count("unregistered all"), 0);
  callback.open();
  EXPECT_TRUE(timeline.waitFor("registered"));
  EXPECT_TRUE(timeline.waitFor("unregistered one"));
  EXPECT_TRUE(timeline.waitFor("unregistered all"));
  EXPECT_EQ(timeline.count("return "), 0) << "the call is still under way";
  call.open();
  EXPECT_EQ(notify.result(), 0);
  EXPECT_EQ(reset.result(), 0u);
}

}  // namespace
