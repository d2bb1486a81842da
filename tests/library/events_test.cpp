// Events of the service, and the callbacks that receive them. hostile_blocks_test.cpp tests hostile
// records, new_devices_test.cpp the registration for results of new devices.

#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <ostream>
#include <stdexcept>

#include "tests/library/blocks.h"
#include "tests/library/diagnosis.h"
#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// --- Records ------------------------------------------------------------------------------------

Bytes printerBlock() {
  Bytes block(40, 0);
  put(block, 0, static_cast<unsigned short>(65535));
  put(block, 8, -7);
  put(block, 12, -3);
  put(block, 16, "Laser");
  return block;
}

Bytes deviceBlock() {
  Bytes block(720, 0);
  put(block, 0, static_cast<unsigned short>(65535));
  put(block, 8, static_cast<unsigned short>(65534));
  put(block, 20, 0x80000002);
  put(block, 296, "Front camera");
  return block;
}

Bytes resultBlock() {
  Bytes block(300, 0);
  put(block, 0, static_cast<unsigned short>(0x46D));
  put(block, 2, static_cast<unsigned short>(0xC));
  put(block, 20, "Stick");
  put(block, 276, "DONE");
  return block;
}

// Recorded as "18364758544493064720,4294967294".
constexpr unsigned long long kDiagnosed = 0xFEDCBA9876543210;
constexpr unsigned int kDiagnosedState = 0xFFFFFFFE;

EventArguments event(int vm, int code) {
  return EventArguments().int32(vm).int32(code);
}

// --- Listeners ----------------------------------------------------------------------------------

// Records its calls, and runs an action of the test in each: pass `this` as user data. Each call is
// an event on the timeline: "called(4)".
struct RecordListener {
  template <typename Record>
  static int called(unsigned short code, Record* record, void* userData) {
    auto& self = *static_cast<RecordListener*>(userData);
    self.codes.push_back(code);
    self.bytes.push_back(record ? bytesOf(record, self.size) : Bytes());
    scripted::Timeline::the().record("called(" + std::to_string(code) + ")");
    if (self.action) {
      self.action();
    }
    return -1;
  }
  static int calledInstead(unsigned short code, CommonDevice*, void* userData) {
    static_cast<RecordListener*>(userData)->otherCodes.push_back(code);
    return 0;
  }

  std::function<void()> action;
  // The number of bytes of each record that are kept.
  std::size_t size = 0;
  std::vector<unsigned short> codes;
  std::vector<Bytes> bytes;
  std::vector<unsigned short> otherCodes;
};

constexpr PrinterCallback kPrinterCalled = &RecordListener::called<PrinterDevice>;
constexpr DeviceCallback kDeviceCalled = &RecordListener::called<CommonDevice>;
constexpr CmdCallback kCmdCalled = &RecordListener::called<CmdResponse>;
constexpr ConfigNewDevResultCallback kResultCalled =
    &RecordListener::called<_ConfigNewDeviceResult>;

template <typename Callback>
std::string pointerTo(Callback callback) {
  return pointer(reinterpret_cast<void*>(callback));
}

// Only the proxy listens, so that every event and log line is its own.
template <typename Proxy>
class EventsTestOf : public ProxyTestOf<Proxy> {
 protected:
  EventsTestOf() {
    this->bus.knowsVm("win11", 7);
    this->bus.knowsVm("linux9", 0x80000002);
    this->proxy->GetVmIdInt("win11");
    this->proxy->GetVmIdInt("linux9");
    this->disconnect(*this->instance);
  }

  void emit(const EventArguments& arguments) { this->bus.emit("velevent", arguments); }
  void listenToAll() {
    this->proxy->RegisterPrinterCallback(kPrinterCalled, &printer);
    this->proxy->RegisterDeviceCallback(kDeviceCalled, &device);
    this->proxy->RegisterCmdCallback(kCmdCalled, &cmd);
    this->proxy->RegisterConfigNewDevResultCallback(kResultCalled, &newDevice);
    // Without a name the diagnosis ends with "no desktop connected", after storing the object.
    this->proxy->Diagnose("", 0, &diagnosis);
    this->disconnect(*this->instance);
  }
  int calls() const {
    return static_cast<int>(printer.codes.size() + device.codes.size() + cmd.codes.size() +
                            newDevice.codes.size() + diagnosis.reports.size());
  }

  RecordListener printer;
  RecordListener device;
  RecordListener cmd;
  RecordListener newDevice;
  DiagnosisRecorder diagnosis;
};

using EventsTest = EventsTestOf<qx::VelProxy>;

// --- Registering --------------------------------------------------------------------------------

TEST_F(EventsTest, RegisteringAPrinterCallbackLogsNothing) {
  EXPECT_EQ(proxy->CheckPrinterCallback(), nullptr);

  EXPECT_EQ(proxy->RegisterPrinterCallback(kPrinterCalled, &printer), 0);
  EXPECT_EQ(proxy->CheckPrinterCallback(), &printer);

  EXPECT_EQ(proxy->RegisterPrinterCallback(kPrinterCalled, &device), 0);
  EXPECT_EQ(proxy->CheckPrinterCallback(), &device);

  EXPECT_EQ(proxy->UnregisterPrinterCallback(), 0);
  EXPECT_EQ(proxy->CheckPrinterCallback(), nullptr);
  EXPECT_EQ(proxy->UnregisterPrinterCallback(), 0);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(EventsTest, APrinterCallbackIsRefusedUnlessBothAreGiven) {
  proxy->RegisterPrinterCallback(kPrinterCalled, &printer);

  EXPECT_EQ(proxy->RegisterPrinterCallback(kPrinterCalled, nullptr), -1);
  EXPECT_EQ(proxy->RegisterPrinterCallback(nullptr, &device), -1);
  EXPECT_EQ(proxy->RegisterPrinterCallback(nullptr, nullptr), -1);

  const std::string refusal = errorLine("RegisterPrinterCallback", "callback or userData is NULL");
  EXPECT_THAT(log.summaries(), ElementsAre(refusal, refusal, refusal));
  EXPECT_EQ(proxy->CheckPrinterCallback(), &printer) << "the one before stays";
  emit(event(0, 1).bytes(printerBlock()));
  EXPECT_THAT(printer.codes, ElementsAre(1));
}

TEST_F(EventsTest, RegisteringADeviceCallbackLogsBeforeAndAfter) {
  Strings checks;
  const auto check = [&] { checks.push_back(pointer(proxy->CheckDeviceCallback())); };
  timeline.when("Debug RegisterDeviceCallback: ", check);

  EXPECT_EQ(proxy->RegisterDeviceCallback(kDeviceCalled, &device), 0);

  const std::string values =
      "cb[" + pointerTo(kDeviceCalled) + "] userData[" + pointer(&device) + "]";
  EXPECT_THAT(
      log.summaries(),
      ElementsAre(
          debugLine("RegisterDeviceCallback", "enter, cb[%p] userData[%p]", "enter, " + values),
          debugLine("RegisterDeviceCallback", "end, cb[%p] userData[%p]", "end, " + values)));
  EXPECT_EQ(timeline.all().size(), 2u) << "neither a connection nor a call";
  EXPECT_THAT(checks, ElementsAre(pointer(nullptr), pointer(&device)));
}

TEST_F(EventsTest, ADeviceCallbackIsRefusedUnlessBothAreGiven) {
  EXPECT_EQ(proxy->RegisterDeviceCallback(kDeviceCalled, nullptr), -1);
  EXPECT_EQ(proxy->RegisterDeviceCallback(nullptr, &device), -1);
  EXPECT_EQ(proxy->RegisterDeviceCallback(nullptr, nullptr), -1);

  const std::string refusal = errorLine("RegisterDeviceCallback", "callback or userData is NULL");
  EXPECT_THAT(log.summaries(), ElementsAre(refusal, refusal, refusal));
  EXPECT_EQ(proxy->CheckDeviceCallback(), nullptr);
}

TEST_F(EventsTest, ALaterDeviceCallbackTakesThePlaceOfTheEarlier) {
  proxy->RegisterDeviceCallback(kDeviceCalled, &device);
  proxy->RegisterDeviceCallback(&RecordListener::calledInstead, &device);

  emit(event(0, 4).bytes(deviceBlock()));

  EXPECT_THAT(device.codes, IsEmpty());
  EXPECT_THAT(device.otherCodes, ElementsAre(4));
}

TEST_F(EventsTest, UnregisteringADeviceCallbackLogsBeforeAndAfter) {
  RecordListener other;
  proxy->RegisterDeviceCallback(kDeviceCalled, &device);
  proxy->RegisterDeviceCallback(kDeviceCalled, &other);
  forget();

  EXPECT_EQ(proxy->UnregisterDeviceCallback(&device), 0);
  EXPECT_EQ(proxy->UnregisterDeviceCallback(&printer), 0) << "was never there";
  EXPECT_EQ(proxy->UnregisterDeviceCallback(nullptr), 0);

  const auto enter = [](const void* userData) {
    return debugLine("UnregisterDeviceCallback", "userData[%p] enter",
                     "userData[" + pointer(userData) + "] enter");
  };
  const auto end = [](const void* userData) {
    return debugLine("UnregisterDeviceCallback", "userData[%p] end",
                     "userData[" + pointer(userData) + "] end");
  };
  EXPECT_THAT(log.summaries(), ElementsAre(enter(&device), end(&device), enter(&printer),
                                           end(&printer), enter(nullptr), end(nullptr)));
  EXPECT_EQ(timeline.all().size(), 6u) << "neither a connection nor a call";
  emit(event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, IsEmpty());
  EXPECT_THAT(other.codes, ElementsAre(4));
}

TEST_F(EventsTest, UnregisteringAllDeviceCallbacksLogsBeforeAndAfter) {
  RecordListener other;
  proxy->RegisterDeviceCallback(kDeviceCalled, &device);
  proxy->RegisterDeviceCallback(kDeviceCalled, &other);
  forget();

  EXPECT_EQ(proxy->UnregisterDeviceCallback(), 0);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("UnregisterDeviceCallback", "enter"),
                                           debugLine("UnregisterDeviceCallback", "end")));
  emit(event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, IsEmpty());
  EXPECT_THAT(other.codes, IsEmpty());
}

TEST_F(EventsTest, CheckingGivesTheSmallestUserDataOfTheDevices) {
  RecordListener three[3];
  EXPECT_EQ(proxy->CheckDeviceCallback(), nullptr);

  proxy->RegisterDeviceCallback(kDeviceCalled, &three[1]);
  EXPECT_EQ(proxy->CheckDeviceCallback(), &three[1]);
  proxy->RegisterDeviceCallback(kDeviceCalled, &three[2]);
  EXPECT_EQ(proxy->CheckDeviceCallback(), &three[1]);
  proxy->RegisterDeviceCallback(kDeviceCalled, &three[0]);
  EXPECT_EQ(proxy->CheckDeviceCallback(), &three[0]);

  proxy->UnregisterDeviceCallback(&three[0]);
  EXPECT_EQ(proxy->CheckDeviceCallback(), &three[1]);
  proxy->UnregisterDeviceCallback();
  EXPECT_EQ(proxy->CheckDeviceCallback(), nullptr);
}

TEST_F(EventsTest, CheckingLogsNothing) {
  proxy->CheckPrinterCallback();
  proxy->CheckDeviceCallback();

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(EventsTest, ACommandCallbackMayBeNullAndItsRegistrationLogsNothing) {
  EXPECT_EQ(proxy->RegisterCmdCallback(kCmdCalled, nullptr), 0);
  EXPECT_EQ(proxy->RegisterCmdCallback(kCmdCalled, &cmd), 0);
  EXPECT_EQ(proxy->RegisterCmdCallback(nullptr, &cmd), 0);
  EXPECT_THAT(timeline.all(), IsEmpty());

  emit(event(0, 66).bytes({1}));

  EXPECT_THAT(cmd.codes, IsEmpty());
}

// --- Which events are this proxy's --------------------------------------------------------------

TEST_F(EventsTest, AnEventOfAVmThatWasNeverLookedUpIsDroppedWithoutALogLine) {
  listenToAll();

  for (const int vm : {8, -1, std::numeric_limits<int>::min()}) {
    for (const int code : {1, 2, 4, 5, 9, 66, 1000}) {
      emit(event(vm, code).bytes(deviceBlock()));
      emit(event(vm, code));
    }
  }

  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(calls(), 0);
  EXPECT_THAT(bus.calls(), IsEmpty());
}

TEST_F(EventsTest, AnEventOfNoVmOrOfAKnownOneIsHandled) {
  listenToAll();

  emit(event(0, 4).bytes(deviceBlock()));
  emit(event(7, 6).bytes(deviceBlock()));
  emit(event(static_cast<int>(0x80000002), 7).bytes(deviceBlock()));

  EXPECT_THAT(device.codes, ElementsAre(4, 6, 7));
  EXPECT_THAT(bus.calls(), IsEmpty()) << "the numbers are known already";
}

TEST_F(EventsTest, AnEventOfAVmThatWasForgottenIsDropped) {
  listenToAll();
  bus.serviceDies();
  bus.setRegistered(true);
  bus.waitForDeaths();
  proxy->Init();
  disconnect(*instance);

  emit(event(7, 4).bytes(deviceBlock()));

  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_THAT(device.codes, IsEmpty());
  emit(event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, ElementsAre(4)) << "the callback has stayed";
}

TEST_F(EventsTest, CallbacksOutliveTheService) {
  listenToAll();
  bus.serviceDies();
  bus.setRegistered(true);
  bus.waitForDeaths();
  proxy->Init();
  disconnect(*instance);

  emit(event(0, 1).bytes(printerBlock()));
  emit(event(0, 2).bytes(resultBlock()));
  emit(event(0, 4).bytes(deviceBlock()));
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 0, "text")));
  emit(event(0, 66).bytes({1}));

  EXPECT_THAT(printer.codes, ElementsAre(1));
  EXPECT_THAT(newDevice.codes, ElementsAre(2));
  EXPECT_THAT(device.codes, ElementsAre(4));
  EXPECT_THAT(diagnosis.reports, ElementsAre(",18364758544493064720,4294967294,text"));
  EXPECT_THAT(cmd.codes, ElementsAre(66));
}

TEST_F(EventsTest, AMissingEventIsHarmless) {
  proxy->HandleEvent(nullptr);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

// Numbers of another type read as 0.
TEST_F(EventsTest, AnEventOfOtherTypesIsANewDeviceResultOfCode0) {
  listenToAll();

  emit(EventArguments().string("seven").string("one").bytes(resultBlock()));
  emit(EventArguments());

  EXPECT_EQ(log.summaries()[1],
            debugLine("HandleEvent", "cmd: %d, vidpid[0x%.4x0x%.4x], code: %s, name:%s\n",
                      "cmd: 0, vidpid[0x046d0x000c], code: DONE, name:Stick\n"));
  EXPECT_THAT(newDevice.codes, ElementsAre(0));
  EXPECT_EQ(timeline.count("Debug HandleEvent: enter"), 2);
}

// --- Code 1 -------------------------------------------------------------------------------------

constexpr char kPrinterFormat[] = "devNum:%d, vmId: %d, status:%d, name:%s";
constexpr char kPrinterMessage[] = "devNum:65535, vmId: -7, status:-3, name:Laser";

TEST_F(EventsTest, APrinterEventGoesToThePrinterCallback) {
  listenToAll();
  printer.size = 40;

  emit(event(7, 1).bytes(printerBlock()));

  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("HandleEvent", "enter"),
                          debugLine("HandleEvent", "printer callback: %p",
                                    "printer callback: " + pointerTo(kPrinterCalled)),
                          debugLine("HandleEvent", kPrinterFormat, kPrinterMessage),
                          debugLine("HandleEvent", "end")));
  EXPECT_THAT(printer.codes, ElementsAre(1));
  EXPECT_THAT(printer.bytes, ElementsAre(printerBlock()));
  EXPECT_EQ(calls(), 1);
  EXPECT_THAT(timeline.all(),
              ElementsAre("Debug HandleEvent: enter",
                          "Debug HandleEvent: printer callback: " + pointerTo(kPrinterCalled),
                          "Debug HandleEvent: " + std::string(kPrinterMessage), "called(1)",
                          "Debug HandleEvent: end"));
}

TEST_F(EventsTest, APrinterEventWithoutACallbackIsOnlyLogged) {
  emit(event(0, 1).bytes(printerBlock()));

  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("HandleEvent", "enter"),
                          debugLine("HandleEvent", "printer callback: %p",
                                    "printer callback: " + pointer(nullptr)),
                          debugLine("HandleEvent", kPrinterFormat, kPrinterMessage),
                          debugLine("HandleEvent", "end")));
}

TEST_F(EventsTest, APrinterEventReachesNoCallbackAfterUnregistering) {
  listenToAll();
  proxy->UnregisterPrinterCallback();

  emit(event(0, 1).bytes(printerBlock()));

  EXPECT_EQ(calls(), 0);
}

TEST_F(EventsTest, APrinterEventWithoutARecordLogsTheCallbackAndStops) {
  listenToAll();

  emit(event(0, 1));
  emit(event(0, 1).bytes({}));
  emit(event(0, 1).string("Laser"));

  const std::string enter = debugLine("HandleEvent", "enter");
  const std::string callback = debugLine("HandleEvent", "printer callback: %p",
                                         "printer callback: " + pointerTo(kPrinterCalled));
  EXPECT_THAT(log.summaries(), ElementsAre(enter, callback, enter, callback, enter, callback));
  EXPECT_EQ(calls(), 0);
}

// --- Codes 4, 6, 7, 10 and 5, 64, 65 ------------------------------------------------------------

constexpr char kNotifyFormat[] = "userdata:%p,devNum:%d, vmId: %d, status:%d, name:%s cmd[%d]";
constexpr char kDeviceValues[] = "devNum:65535, vmId: -2147483646, status:65534, name:Front camera";

class DeviceEventTest : public EventsTest, public testing::WithParamInterface<int> {
 protected:
  static std::string code() { return std::to_string(GetParam()); }
  // The line of HandleEvent for the record.
  std::string line() const {
    const bool isState = GetParam() == 5 || GetParam() == 64 || GetParam() == 65;
    return isState
               ? debugLine("HandleEvent", "cmd: %d, status: %d, name:%s\n",
                           "cmd: " + code() + ", status: 65534, name:Front camera\n")
               : debugLine("HandleEvent", "devNum:%d, vmId: %d, status:%d, name:%s this:%p cmd[%d]",
                           kDeviceValues + std::string(" this:") + pointer(proxy.get()) + " cmd[" +
                               code() + "]");
  }
  std::string notifyLine(const void* userData) const {
    return debugLine(
        "DeviceBaseInfoNotify", kNotifyFormat,
        "userdata:" + pointer(userData) + "," + kDeviceValues + " cmd[" + code() + "]");
  }
};

TEST_P(DeviceEventTest, GoesToTheDeviceCallback) {
  listenToAll();
  device.size = 720;

  emit(event(0, GetParam()).bytes(deviceBlock()));

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("HandleEvent", "enter"), line(),
                                           notifyLine(&device), debugLine("HandleEvent", "end")));
  EXPECT_THAT(device.codes, ElementsAre(GetParam()));
  EXPECT_THAT(device.bytes, ElementsAre(deviceBlock()));
  EXPECT_EQ(calls(), 1);
  ASSERT_EQ(timeline.all().size(), 5u);
  EXPECT_EQ(timeline.all()[2], "called(" + code() + ")") << "between the two log lines";
}

TEST_P(DeviceEventTest, GoesToEachDeviceCallbackInAscendingOrder) {
  RecordListener three[3];
  Strings order;
  for (const std::size_t i : {2u, 0u, 1u}) {
    three[i].action = [&order, i] { order.push_back(std::to_string(i)); };
    proxy->RegisterDeviceCallback(kDeviceCalled, &three[i]);
  }
  log.clear();

  emit(event(0, GetParam()).bytes(deviceBlock()));

  EXPECT_THAT(order, ElementsAre("0", "1", "2"));
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("HandleEvent", "enter"), line(),
                                           notifyLine(&three[0]), notifyLine(&three[1]),
                                           notifyLine(&three[2]), debugLine("HandleEvent", "end")));
}

TEST_P(DeviceEventTest, WithoutACallbackIsOnlyLogged) {
  emit(event(0, GetParam()).bytes(deviceBlock()));

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("HandleEvent", "enter"), line(),
                                           debugLine("HandleEvent", "end")));
}

TEST_P(DeviceEventTest, WithoutARecordStopsAtOnce) {
  listenToAll();

  emit(event(0, GetParam()));
  emit(event(0, GetParam()).bytes({}));
  emit(event(0, GetParam()).int32(1));

  const std::string enter = debugLine("HandleEvent", "enter");
  EXPECT_THAT(log.summaries(), ElementsAre(enter, enter, enter));
  EXPECT_EQ(calls(), 0);
}

INSTANTIATE_TEST_SUITE_P(Code, DeviceEventTest, testing::Values(4, 5, 6, 7, 10, 64, 65),
                         testing::PrintToStringParamName());

TEST_F(EventsTest, TheDeviceNotifyMayBeCalledDirectly) {
  proxy->RegisterDeviceCallback(kDeviceCalled, &device);
  Bytes block = deviceBlock();
  log.clear();

  EXPECT_EQ(proxy->DeviceBaseInfoNotify(65535, reinterpret_cast<CommonDevice*>(block.data())), 0)
      << "not what the callback returns";
  EXPECT_EQ(proxy->DeviceBaseInfoNotify(4, nullptr), -1);

  EXPECT_THAT(device.codes, ElementsAre(65535));
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("DeviceBaseInfoNotify", kNotifyFormat,
                                                     "userdata:" + pointer(&device) + "," +
                                                         kDeviceValues + " cmd[65535]")));
}

TEST_F(EventsTest, TheDeviceNotifyWithoutACallbackGives0) {
  Bytes block = deviceBlock();

  EXPECT_EQ(proxy->DeviceBaseInfoNotify(4, reinterpret_cast<CommonDevice*>(block.data())), 0);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

// --- Codes 2, 3, 8 and all others ---------------------------------------------------------------

class OtherEventTest : public EventsTest, public testing::WithParamInterface<int> {};

TEST_P(OtherEventTest, GoesToTheNewDeviceCallbackWithItsLow16Bits) {
  listenToAll();
  newDevice.size = 300;
  const int narrowed = GetParam() & 0xFFFF;

  emit(event(0, GetParam()).bytes(resultBlock()));

  EXPECT_THAT(
      log.summaries(),
      ElementsAre(debugLine("HandleEvent", "enter"),
                  debugLine("HandleEvent", "cmd: %d, vidpid[0x%.4x0x%.4x], code: %s, name:%s\n",
                            "cmd: " + std::to_string(GetParam()) +
                                ", vidpid[0x046d0x000c], code: DONE, name:Stick\n"),
                  debugLine("ConfigNewDeviceResultNotify",
                            "userdata:%p,name:%s, code:%s, isSuccess: %d, vid:0x%.4x, pid:%.4x "
                            "cmd[%d]",
                            "userdata:" + pointer(&newDevice) +
                                ",name:Stick, code:DONE, isSuccess: 0, vid:0x046d, pid:000c cmd[" +
                                std::to_string(narrowed) + "]"),
                  debugLine("HandleEvent", "end")));
  EXPECT_THAT(newDevice.codes, ElementsAre(narrowed));
  EXPECT_THAT(newDevice.bytes, ElementsAre(resultBlock()));
  EXPECT_EQ(calls(), 1);
}

TEST_P(OtherEventTest, WithoutARecordStopsAtOnce) {
  listenToAll();

  emit(event(0, GetParam()));
  emit(event(0, GetParam()).bytes({}));

  const std::string enter = debugLine("HandleEvent", "enter");
  EXPECT_THAT(log.summaries(), ElementsAre(enter, enter));
  EXPECT_EQ(calls(), 0);
}

// Codes above 65535 whose low bits are those of another event are not that event.
INSTANTIATE_TEST_SUITE_P(Codes, OtherEventTest,
                         testing::Values(2, 3, 8, 0, 11, 12, 63, 67, 100, 32768, 65535, 65536,
                                         65536 + 1, 65536 + 4, 65536 + 5, 65536 + 9, 65536 + 66, -1,
                                         -65536 + 1, std::numeric_limits<int>::max(),
                                         std::numeric_limits<int>::min()),
                         [](const testing::TestParamInfo<int>& row) {
                           const std::string digits = std::to_string(row.param);
                           return row.param < 0 ? "Minus" + digits.substr(1) : digits;
                         });

// --- Code 9 -------------------------------------------------------------------------------------

// The lines of codes 9 and 66, with or without a record and a callback.
Strings responseLines(const qx::VelProxy& proxy) {
  return {debugLine("HandleEvent", "enter"),
          debugLine("HandleEvent", "cmd response callback this[%p] ",
                    "cmd response callback this[" + pointer(&proxy) + "] "),
          debugLine("HandleEvent", "cb exec end"), debugLine("HandleEvent", "end")};
}

TEST_F(EventsTest, ADiagnosisEventGoesToTheNotifyObject) {
  listenToAll();

  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 0x80000002, "{\"usb\":0}")));

  EXPECT_EQ(log.summaries(), responseLines(*proxy));
  EXPECT_THAT(diagnosis.reports, ElementsAre("linux9,18364758544493064720,4294967294,{\"usb\":0}"));
  EXPECT_EQ(calls(), 1);
  EXPECT_EQ(timeline.all()[2], "called(9)") << "between the two log lines";
}

TEST_F(EventsTest, ADiagnosisOfAnUnknownVmHasAnEmptyName) {
  listenToAll();

  emit(event(7, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 8, "text")));
  emit(event(7, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 0, "")));

  EXPECT_THAT(diagnosis.reports, ElementsAre(",18364758544493064720,4294967294,text",
                                             ",18364758544493064720,4294967294,"));
  EXPECT_THAT(bus.calls(), IsEmpty());
}

TEST_F(EventsTest, ADiagnosisEventWithoutAnObjectIsOnlyLogged) {
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text")));

  EXPECT_EQ(log.summaries(), responseLines(*proxy));
}

TEST_F(EventsTest, ADiagnosisEventWithoutARecordIsOnlyLogged) {
  listenToAll();

  emit(event(0, 9));

  EXPECT_EQ(log.summaries(), responseLines(*proxy));
  EXPECT_EQ(calls(), 0);
}

TEST_F(EventsTest, EitherDiagnosisSetsTheObjectAndNullEndsIt) {
  DiagnosisRecorder first;
  DiagnosisRecorder second;
  bus.answer("diagnose", Reply().string("{}"));
  bus.answer("diagnoseDevice", Reply().string("{}"));

  EXPECT_EQ(proxy->Diagnose("win11", 1, &first), "{}");
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "one")));
  EXPECT_EQ(proxy->DiagnoseDevice("win11", 1, &second), "{}");
  disconnect(*instance);
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "two")));
  proxy->Diagnose("win11", 1, nullptr);
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "three")));
  proxy->Diagnose("", 1, &first);
  proxy->DiagnoseDevice("win11", 1, nullptr);
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "four")));

  EXPECT_THAT(first.reports, ElementsAre("win11,18364758544493064720,4294967294,one"));
  EXPECT_THAT(second.reports, ElementsAre("win11,18364758544493064720,4294967294,two"));
}

// --- Code 66 ------------------------------------------------------------------------------------

TEST_F(EventsTest, ACommandEventGoesToTheCommandCallback) {
  listenToAll();
  cmd.size = 3;

  emit(event(0, 66).bytes({1, 0, 255}));

  EXPECT_EQ(log.summaries(), responseLines(*proxy));
  EXPECT_THAT(cmd.codes, ElementsAre(66));
  EXPECT_THAT(cmd.bytes, ElementsAre(Bytes{1, 0, 255}));
  EXPECT_EQ(calls(), 1);
  EXPECT_EQ(timeline.all()[2], "called(66)") << "between the two log lines";
}

TEST_F(EventsTest, ACommandEventWithoutARecordGivesANullPointer) {
  listenToAll();
  cmd.size = 1;

  emit(event(0, 66));
  emit(event(0, 66).bytes({}));

  EXPECT_THAT(cmd.codes, ElementsAre(66, 66));
  EXPECT_THAT(cmd.bytes, ElementsAre(Bytes(), Bytes()));
}

TEST_F(EventsTest, ACommandEventWithoutACallbackIsOnlyLogged) {
  emit(event(0, 66).bytes({1}));

  EXPECT_EQ(log.summaries(), responseLines(*proxy));
}

// --- Virtual dispatch ---------------------------------------------------------------------------

class ProxyOfItsOwnNotices : public qx::VelProxy {
 public:
  std::string GetVmIdString(unsigned int id) override {
    namesAskedFor.push_back(id);
    return id == 55 ? "its own" : "";
  }
  int DeviceBaseInfoNotify(unsigned short cmd, CommonDevice* device) override {
    notified.push_back("device " + std::to_string(cmd) + " " + device->name);
    return -1;
  }
  int ConfigNewDeviceResultNotify(unsigned short cmd, _ConfigNewDeviceResult* result) override {
    notified.push_back("result " + std::to_string(cmd) + " " + result->name);
    return -1;
  }

  std::vector<unsigned int> namesAskedFor;
  Strings notified;
};

using OverriddenEventsTest = EventsTestOf<ProxyOfItsOwnNotices>;

TEST_F(OverriddenEventsTest, TheVirtualLookUpDecidesWhichEventsAreItsOwn) {
  emit(event(7, 1000));
  emit(event(55, 1000));
  emit(event(0, 1000));

  EXPECT_EQ(timeline.count("Debug HandleEvent: enter"), 2);
  EXPECT_THAT(proxy->namesAskedFor, ElementsAre(7u, 55u, 0u));
}

TEST_F(OverriddenEventsTest, ADiagnosisAsksTheVirtualLookUp) {
  listenToAll();

  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 55, "text")));

  EXPECT_THAT(diagnosis.reports, ElementsAre("its own,18364758544493064720,4294967294,text"));
}

TEST_F(OverriddenEventsTest, DeviceEventsGoToTheVirtualNotify) {
  listenToAll();

  for (const int code : {4, 5, 6, 7, 10, 64, 65}) {
    emit(event(0, code).bytes(deviceBlock()));
  }
  emit(event(0, 4));

  EXPECT_THAT(proxy->notified,
              ElementsAre("device 4 Front camera", "device 5 Front camera", "device 6 Front camera",
                          "device 7 Front camera", "device 10 Front camera",
                          "device 64 Front camera", "device 65 Front camera"));
  EXPECT_EQ(calls(), 0);
  EXPECT_EQ(timeline.count("Debug HandleEvent: end"), 7) << "whatever the notify returns";
}

TEST_F(OverriddenEventsTest, OtherEventsGoToTheVirtualNotify) {
  listenToAll();

  for (const int code : {2, 3, 8, 65537}) {
    emit(event(0, code).bytes(resultBlock()));
  }
  emit(event(0, 2));

  EXPECT_THAT(proxy->notified,
              ElementsAre("result 2 Stick", "result 3 Stick", "result 8 Stick", "result 1 Stick"));
  EXPECT_EQ(calls(), 0);
}

// --- Exceptions ---------------------------------------------------------------------------------

// An exception on a thread of the bus would end the process.
class ThrowingProxy : public qx::VelProxy {
 public:
  std::string GetVmIdString(unsigned int id) override {
    if (id == 55) {
      throw std::runtime_error("no name for 55");
    }
    return qx::VelProxy::GetVmIdString(id);
  }
  int DeviceBaseInfoNotify(unsigned short cmd, CommonDevice* notified) override {
    if (cmd == 10) {
      throw 10;
    }
    return qx::VelProxy::DeviceBaseInfoNotify(cmd, notified);
  }
};

using ThrowingEventsTest = EventsTestOf<ThrowingProxy>;

TEST_F(ThrowingEventsTest, AnExceptionOfTheProxyStaysInside) {
  listenToAll();

  EXPECT_NO_THROW(emit(event(55, 4).bytes(deviceBlock())));
  EXPECT_NO_THROW(emit(event(0, 10).bytes(deviceBlock())));
  EXPECT_NO_THROW(emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 55, "text"))));

  EXPECT_EQ(calls(), 0);
  emit(event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, ElementsAre(4)) << "the next event is handled";
}

TEST_F(ThrowingEventsTest, AnExceptionOfACallbackStaysInside) {
  listenToAll();
  const auto fail = [] { throw std::runtime_error("full"); };
  printer.action = newDevice.action = device.action = diagnosis.action = cmd.action = fail;

  EXPECT_NO_THROW(emit(event(0, 1).bytes(printerBlock())));
  EXPECT_NO_THROW(emit(event(0, 2).bytes(resultBlock())));
  EXPECT_NO_THROW(emit(event(0, 4).bytes(deviceBlock())));
  EXPECT_NO_THROW(emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text"))));
  EXPECT_NO_THROW(emit(event(0, 66).bytes({1})));

  EXPECT_EQ(calls(), 5);
  EXPECT_THAT(log.errors(),
              testing::ElementsAreArray(Strings(5, "a callback has thrown an exception")));
  device.action = nullptr;
  emit(event(0, 4).bytes(deviceBlock()));
  EXPECT_EQ(calls(), 6) << "the next event is handled";
}

TEST_F(EventsTest, AnExceptionStaysInsideABroadcastAsWell) {
  device.action = [] { throw std::runtime_error("full"); };
  instance->RegisterDeviceCallback(kDeviceCalled, &device);

  EXPECT_NO_THROW(bus.emit("mountedEvent", event(0, 4).bytes(deviceBlock())));

  EXPECT_THAT(device.codes, testing::Not(IsEmpty()));
  instance->UnregisterDeviceCallback();
}

// --- Broadcasts ---------------------------------------------------------------------------------

// Every successful connection adds a listener for broadcasts, and none is ever removed.
TEST(BroadcastTest, ReachesCallbacksTwiceAfterTwoConnections) {
  auto& bus = scripted::ScriptedBus::the();
  qx::VelProxy* const instance = qx::VelProxy::getInstance();
  instance->ReleaseService();
  bus.reset();
  RecordListener device;
  ASSERT_EQ(instance->Init(), 0u);
  instance->RegisterDeviceCallback(kDeviceCalled, &device);
  bus.emit("mountedEvent", event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, ElementsAre(4)) << "once after the first";
  device.codes.clear();

  instance->ReleaseService();
  ASSERT_EQ(instance->Init(), 0u);
  bus.emit("mountedEvent", event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, ElementsAre(4, 4));

  device.codes.clear();
  bus.emit("velevent", event(0, 4).bytes(deviceBlock()));
  EXPECT_THAT(device.codes, ElementsAre(4)) << "an event of the service comes once";
  instance->UnregisterDeviceCallback();
  instance->ReleaseService();
  bus.reset();
}

TEST_F(EventsTest, ABroadcastReachesTheInstanceOnly) {
  RecordListener others;
  instance->RegisterDeviceCallback(kDeviceCalled, &others);
  proxy->RegisterDeviceCallback(kDeviceCalled, &device);
  ASSERT_EQ(bus.broadcastListeners().size(), 2u) << "instance and proxy";

  bus.emit("mountedEvent", event(0, 4).bytes(deviceBlock()));

  EXPECT_THAT(device.codes, IsEmpty());
  EXPECT_THAT(others.codes, ElementsAre(4, 4));
  instance->UnregisterDeviceCallback();
}

TEST_F(EventsTest, ABroadcastIsHandledWithTheVmsThatTheInstanceKnows) {
  // Another test may have looked them up.
  instance->onServiceDeath();
  disconnect(*instance);
  RecordListener others;
  instance->RegisterDeviceCallback(kDeviceCalled, &others);

  bus.emit("mountedEvent", event(7, 4).bytes(deviceBlock()));
  EXPECT_THAT(others.codes, IsEmpty()) << "only the proxy has asked about VM 7";

  instance->GetVmIdInt("win11");
  bus.emit("mountedEvent", event(7, 4).bytes(deviceBlock()));
  EXPECT_THAT(others.codes, testing::Not(IsEmpty()));
  instance->UnregisterDeviceCallback();
}

// --- Inside a callback --------------------------------------------------------------------------

TEST_F(EventsTest, ACallbackMayCallRemoteOperations) {
  listenToAll();
  bus.answer("connectDevice", Reply().int32(0));
  const auto attach = [this] { EXPECT_EQ(proxy->ConnectDevice("win11", 12), 0); };
  printer.action = device.action = cmd.action = newDevice.action = diagnosis.action = attach;

  emit(event(0, 1).bytes(printerBlock()));
  emit(event(0, 4).bytes(deviceBlock()));
  emit(event(0, 66).bytes({1}));
  emit(event(0, 2).bytes(resultBlock()));
  emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text")));

  EXPECT_EQ(calls(), 5);
  EXPECT_EQ(timeline.count("return connectDevice()"), 5);
}

TEST_F(EventsTest, ACallbackMayCheckForCallbacks) {
  listenToAll();
  std::vector<void*> seen;
  const auto check = [&] {
    seen.push_back(proxy->CheckPrinterCallback());
    seen.push_back(proxy->CheckDeviceCallback());
  };
  printer.action = device.action = newDevice.action = check;

  emit(event(0, 1).bytes(printerBlock()));
  emit(event(0, 4).bytes(deviceBlock()));
  emit(event(0, 2).bytes(resultBlock()));

  EXPECT_THAT(seen, ElementsAre(&printer, &device, &printer, &device, &printer, &device));
}

TEST_F(EventsTest, TheCommandCallbackAndTheNotifyObjectMayBeReplacedInsideTheirCalls) {
  listenToAll();
  RecordListener other;
  cmd.action = [&] { proxy->RegisterCmdCallback(kCmdCalled, &other); };
  diagnosis.action = [&] { proxy->Diagnose("", 0, nullptr); };

  for (int times = 0; times < 2; ++times) {
    emit(event(0, 66).bytes({1}));
    emit(event(0, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text")));
  }

  EXPECT_THAT(cmd.codes, ElementsAre(66));
  EXPECT_THAT(other.codes, ElementsAre(66));
  EXPECT_EQ(diagnosis.reports.size(), 1u);
}

// --- The mutexes --------------------------------------------------------------------------------

TEST_F(EventsTest, AnEventDoesNotWaitForACall) {
  listenToAll();
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  Background events([this] {
    emit(event(7, 1).bytes(printerBlock()));
    emit(event(7, 4).bytes(deviceBlock()));
    emit(event(7, 66).bytes({1}));
    emit(event(7, 2).bytes(resultBlock()));
    emit(event(7, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text")));
    return calls();
  });

  ASSERT_TRUE(events.isDone());
  EXPECT_EQ(events.result(), 5);
  EXPECT_EQ(timeline.count("return "), 0) << "the call is still under way";
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(EventsTest, ACallDoesNotWaitForACallback) {
  listenToAll();
  bus.answer("connectDevice", Reply().int32(0));
  bus.answer("dovelcmd", Reply::error("no"));
  Gate gate = timeline.hold("called(4)");
  Background events([this] {
    emit(event(0, 4).bytes(deviceBlock()));
    return true;
  });
  ASSERT_TRUE(gate.isReached());

  testing::internal::CaptureStdout();
  Background call([this] {
    const bool registered = proxy->RegisterCmdCallback(kCmdCalled, &cmd) == 0;
    const bool checked = proxy->CheckDeviceCallback() && proxy->CheckPrinterCallback();
    return registered && checked && proxy->ConnectDevice("win11", 12) == 0 &&
           proxy->DoVelCmd("win11", "status", 65536 + 40) == -1;
  });

  ASSERT_TRUE(call.isDone());
  EXPECT_EQ(timeline.count("Debug DeviceBaseInfoNotify"), 0) << "the callback still runs";
  testing::internal::GetCapturedStdout();
  EXPECT_TRUE(call.result());
  EXPECT_THAT(cmd.codes, ElementsAre(40));
  gate.open();
  EXPECT_TRUE(events.isDone());
}

// An event for a kind of callback.
struct CallbackRow {
  CallbackRow(const char* kind, int eventCode) : name(kind), code(eventCode) {}
  CallbackRow& with(Bytes eventRecord) {
    record = std::move(eventRecord);
    return *this;
  }
  // On the timeline, when the callback begins.
  std::string called() const { return "called(" + std::to_string(code) + ")"; }

  const char* name;
  int code;
  Bytes record;
};

void PrintTo(const CallbackRow& row, std::ostream* out) {
  *out << row.name;
}

class CallbackMutexTest : public EventsTest, public testing::WithParamInterface<CallbackRow> {};

TEST_P(CallbackMutexTest, IsHeldWhileTheCallbackRuns) {
  listenToAll();
  RecordListener other;
  Gate gate = timeline.hold(GetParam().called());
  Background running([this] {
    emit(event(0, GetParam().code).bytes(GetParam().record));
    return true;
  });
  ASSERT_TRUE(gate.isReached());

  std::vector<std::unique_ptr<Background<bool>>> waiting;
  const auto start = [&](const std::string& name, std::function<void()> call) {
    waiting.push_back(std::make_unique<Background<bool>>([this, name, call = std::move(call)] {
      call();
      timeline.record("done: " + name);
      return true;
    }));
  };
  start("RegisterCallback", [&] { proxy->RegisterCallback("win11", nullptr, nullptr); });
  start("UnregisterCallback", [&] { proxy->UnregisterCallback("win11"); });
  start("RegisterPrinterCallback", [&] { proxy->RegisterPrinterCallback(kPrinterCalled, &other); });
  start("UnregisterPrinterCallback", [&] { proxy->UnregisterPrinterCallback(); });
  start("RegisterDeviceCallback", [&] { proxy->RegisterDeviceCallback(kDeviceCalled, &other); });
  start("UnregisterDeviceCallback of one", [&] { proxy->UnregisterDeviceCallback(&other); });
  start("UnregisterDeviceCallback of all", [&] { proxy->UnregisterDeviceCallback(); });
  start("another event", [this] { emit(event(0, 1).bytes(printerBlock())); });

  EXPECT_FALSE(timeline.happensSoon("done: "));
  EXPECT_THAT(timeline.startingWith("done: "), IsEmpty());
  gate.open();
  for (const auto& call : waiting) {
    EXPECT_TRUE(call->isDone());
  }
  EXPECT_TRUE(running.isDone());
}

INSTANTIATE_TEST_SUITE_P(
    Callbacks, CallbackMutexTest,
    testing::Values(
        CallbackRow("Printer", 1).with(printerBlock()),
        CallbackRow("Device", 4).with(deviceBlock()),
        CallbackRow("NewDevice", 2).with(resultBlock()), CallbackRow("Command", 66).with(Bytes{1}),
        CallbackRow("Diagnosis", 9).with(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text"))),
    [](const testing::TestParamInfo<CallbackRow>& row) { return row.param.name; });

TEST_F(EventsTest, RegisteringLogsBeforeItWaits) {
  listenToAll();
  Gate gate = timeline.hold("called(4)");
  Background events([this] {
    emit(event(0, 4).bytes(deviceBlock()));
    return true;
  });
  ASSERT_TRUE(gate.isReached());

  Background registering([this] { return proxy->RegisterDeviceCallback(kDeviceCalled, &printer); });
  Background unregistering([this] { return proxy->UnregisterDeviceCallback(&cmd); });
  Background unregisteringAll([this] { return proxy->UnregisterDeviceCallback(); });
  Background registeringVm([this] { return proxy->RegisterCallback("win11", nullptr, nullptr); });
  Background unregisteringVm([this] { return proxy->UnregisterCallback("win11"); });

  EXPECT_TRUE(timeline.waitFor("Debug RegisterDeviceCallback: enter"));
  EXPECT_TRUE(timeline.waitFor("Debug UnregisterDeviceCallback: userData"));
  EXPECT_TRUE(timeline.waitFor("Debug UnregisterDeviceCallback: enter"));
  EXPECT_TRUE(timeline.waitFor("Debug RegisterCallback: registerCallback"));
  EXPECT_TRUE(timeline.waitFor("Debug UnregisterCallback: "));
  EXPECT_FALSE(timeline.happensSoon("Debug RegisterDeviceCallback: end"));
  EXPECT_EQ(timeline.count("Debug RegisterCallback: end"), 0);
  EXPECT_EQ(timeline.count("Debug UnregisterDeviceCallback: end"), 0);
  EXPECT_EQ(timeline.count("Debug UnregisterDeviceCallback: userData"), 1);
  gate.open();
  EXPECT_TRUE(timeline.waitFor("Debug RegisterDeviceCallback: end"));
  EXPECT_TRUE(timeline.waitFor("Debug RegisterCallback: end"));
  EXPECT_TRUE(timeline.waitFor("Debug UnregisterDeviceCallback: end"));
  EXPECT_TRUE(timeline.waitFor("Debug UnregisterDeviceCallback: userData", 2));
}

// --- Many threads -------------------------------------------------------------------------------

constexpr int kRounds = 30;

// A registration whose callback must not run after its end.
struct ShortRegistration {
  template <typename Record>
  static int called(unsigned short, Record*, void* userData) {
    auto& self = *static_cast<ShortRegistration*>(userData);
    ++self.calls;
    if (self.hasEnded) {
      ++self.callsTooLate;
    }
    return 0;
  }

  std::atomic<bool> hasEnded{false};
  std::atomic<int> calls{0};
  std::atomic<int> callsTooLate{0};
};

struct CountingNotify : VelDiagnoseNotify {
  void DiagnoseResultNotify(std::string vmId, unsigned long long, unsigned int,
                            std::string result) override {
    correct += vmId == "win11" && result == "text" ? 1 : 0;
    ++calls;
  }

  std::atomic<int> calls{0};
  std::atomic<int> correct{0};
};

TEST_F(EventsTest, ManyThreadsMayRegisterWhileFourBringEvents) {
  ShortRegistration staying;
  ShortRegistration others;
  ShortRegistration printers;
  CountingNotify first;
  CountingNotify second;
  std::atomic<int> callsTooLate{0};
  proxy->RegisterDeviceCallback(&ShortRegistration::called<CommonDevice>, &staying);
  std::vector<std::unique_ptr<Background<int>>> threads;
  const auto start = [&threads](std::function<void(int)> round) {
    threads.push_back(std::make_unique<Background<int>>([round = std::move(round)] {
      for (int i = 0; i < kRounds; ++i) {
        round(i);
      }
      return 0;
    }));
  };

  for (int i = 0; i < 4; ++i) {
    start([this](int) {
      emit(event(7, 1).bytes(printerBlock()));
      emit(event(7, 4).bytes(deviceBlock()));
      emit(event(7, 65).bytes(deviceBlock()));
      emit(event(7, 2).bytes(resultBlock()));
      emit(event(7, 66).bytes({1}));
      emit(event(7, 9).bytes(diagnosisBlock(kDiagnosed, kDiagnosedState, 7, "text")));
    });
  }
  start([&](int) {
    ShortRegistration own;
    proxy->RegisterDeviceCallback(&ShortRegistration::called<CommonDevice>, &own);
    proxy->RegisterConfigNewDevResultCallback(&ShortRegistration::called<_ConfigNewDeviceResult>,
                                              &own);
    proxy->UnregisterDeviceCallback(&own);
    proxy->UnregisterConfigNewDevResultCallback(&own);
    own.hasEnded = true;
    std::this_thread::yield();
    callsTooLate += own.callsTooLate;
  });
  start([&](int) {
    printers.hasEnded = false;
    proxy->RegisterPrinterCallback(&ShortRegistration::called<PrinterDevice>, &printers);
    proxy->CheckPrinterCallback();
    proxy->CheckDeviceCallback();
    proxy->UnregisterPrinterCallback();
    printers.hasEnded = true;
    std::this_thread::yield();
  });
  start([&](int i) {
    proxy->RegisterCmdCallback(&ShortRegistration::called<CmdResponse>, &others);
    proxy->Diagnose("", 0, i % 2 == 0 ? &first : &second);
    proxy->RegisterCmdCallback(nullptr, nullptr);
    proxy->DiagnoseDevice("", 0, nullptr);
    proxy->RegisterConfigNewDevResultCallback(&ShortRegistration::called<_ConfigNewDeviceResult>,
                                              &others);
    proxy->UnregisterConfigNewDevResultCallback();
  });
  for (const auto& thread : threads) {
    ASSERT_TRUE(thread->isDone());
  }

  EXPECT_EQ(staying.calls, 4 * kRounds * 2) << "two device events in each round";
  EXPECT_EQ(callsTooLate, 0);
  EXPECT_EQ(printers.callsTooLate, 0);
  EXPECT_EQ(first.correct + second.correct, first.calls + second.calls);
}

// A pair is a callback and its own user data, never those of two registrations.
struct Pair {
  static int calledFirst(unsigned short, CmdResponse*, void* userData) {
    wrong += userData == &firstData ? 0 : 1;
    return ++calls;
  }
  static int calledSecond(unsigned short, CmdResponse*, void* userData) {
    wrong += userData == &secondData ? 0 : 1;
    return ++calls;
  }

  static inline int firstData = 1;
  static inline int secondData = 2;
  static inline std::atomic<int> calls{0};
  static inline std::atomic<int> wrong{0};
};

TEST_F(EventsTest, ACommandNeverSeesHalfARegistration) {
  Pair::calls = 0;
  Pair::wrong = 0;
  bus.answer("dovelcmd", Reply::error("no"));
  proxy->RegisterCmdCallback(&Pair::calledFirst, &Pair::firstData);
  std::atomic<bool> isOver{false};
  testing::internal::CaptureStdout();

  Background registering([&] {
    while (!isOver) {
      proxy->RegisterCmdCallback(&Pair::calledSecond, &Pair::secondData);
      proxy->RegisterCmdCallback(&Pair::calledFirst, &Pair::firstData);
    }
    return true;
  });
  Background events([this] {
    for (int i = 0; i < kRounds; ++i) {
      emit(event(0, 66).bytes({1}));
    }
    return true;
  });
  for (int i = 0; i < 2 * kRounds; ++i) {
    EXPECT_EQ(proxy->DoVelCmd("win11", "status", i), -1);
  }
  EXPECT_TRUE(events.isDone());
  isOver = true;

  EXPECT_TRUE(registering.isDone());
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(Pair::calls, 3 * kRounds);
  EXPECT_EQ(Pair::wrong, 0);
}

}  // namespace
