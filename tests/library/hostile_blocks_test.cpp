// Records that a service should not send: empty, cut short, without a NUL, announced and missing.
// The bus allocates each block in its exact size, so that AddressSanitizer reports every byte that
// is read or written outside a block.

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <ostream>
#include <thread>

#include "tests/library/blocks.h"
#include "tests/library/diagnosis.h"
#include "tests/library/proxy_test.h"
#include "tests/under_sanitizer.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Whether an allocation has this size. Without a sanitizer it may be somewhat larger.
testing::AssertionResult isAsLongAs(const void* allocation, std::size_t size) {
  const std::size_t usable = malloc_usable_size(const_cast<void*>(allocation));
  const std::size_t most = kUnderSanitizer ? size : size + 64;
  if (usable < size || usable > most) {
    return testing::AssertionFailure() << usable << " bytes instead of " << size;
  }
  return testing::AssertionSuccess();
}

template <typename Value>
void putIfItFits(Bytes& block, std::size_t offset, Value value) {
  if (offset + sizeof value <= block.size()) {
    put(block, offset, value);
  }
}

template <typename Value>
Value valueIn(const Bytes& block, std::size_t offset) {
  Value value = {};
  std::memcpy(&value, block.data() + offset, sizeof value);
  return value;
}

// The text in a field, up to its NUL or the field's end.
std::string textIn(const Bytes& block, std::size_t offset, std::size_t fieldSize) {
  const std::size_t most = std::min(fieldSize, block.size() - offset);
  const std::string field(block.begin() + static_cast<std::ptrdiff_t>(offset),
                          block.begin() + static_cast<std::ptrdiff_t>(offset + most));
  return field.substr(0, field.find('\0'));
}

// A block without a single NUL.
Bytes unendedBlock(std::size_t size) {
  return Bytes(size, 'x');
}

// --- Lists --------------------------------------------------------------------------------------

// An operation that returns a list of records.
struct PointerList {
  using Run = std::vector<void*> (*)(qx::VelProxy& proxy);

  PointerList(const char* operation, const char* busMethod, Run call)
      : name(operation), function(operation), method(busMethod), run(call) {}

  // The line with the size of the list, without the size itself.
  PointerList& logsSizeBehind(const char* format, const char* message) {
    sizeFormat = format;
    sizeMessage = message;
    return *this;
  }
  // The operation in the log, when it is another one.
  PointerList& loggedAs(const char* operation) {
    function = operation;
    return *this;
  }
  PointerList& logsEmptyBlocksAsErrors() {
    isEmptyBlockAnError = true;
    return *this;
  }
  PointerList& writesNamesOfVms() {
    namesVms = true;
    return *this;
  }

  const char* name;
  const char* function;
  const char* method;
  Run run;
  const char* sizeFormat = "";
  const char* sizeMessage = "";
  bool isEmptyBlockAnError = false;
  bool namesVms = false;
};

void PrintTo(const PointerList& operation, std::ostream* out) {
  *out << operation.name;
}

template <typename Record>
std::vector<void*> recordsOf(const std::list<Record*>& list) {
  return std::vector<void*>(list.begin(), list.end());
}

class HostileListTest : public ProxyTest, public testing::WithParamInterface<PointerList> {
 protected:
  HostileListTest() {
    bus.knowsVm("win11", 7);
    proxy->GetVmIdInt("win11");
    forget();
  }
  ~HostileListTest() override { freeRecords(); }

  // The records are freed with the test, or by the next run.
  const std::vector<void*>& run(const Reply& reply) {
    freeRecords();
    forget();
    bus.answer(GetParam().method, reply);
    records_ = GetParam().run(*proxy);
    return records_;
  }

  static std::string sizeLine(int size) {
    return debugLine(GetParam().function, GetParam().sizeFormat,
                     GetParam().sizeMessage + std::to_string(size));
  }
  static std::string emptyBlockLine(int announced) {
    const std::string message = "buf: " + pointer(nullptr) + ", size: " + std::to_string(announced);
    return GetParam().isEmptyBlockAnError
               ? errorLine(GetParam().function, "buf: %p, size: %d", message)
               : debugLine(GetParam().function, "buf: %p, size: %d", message);
  }

 private:
  void freeRecords() {
    for (void* const record : records_) {
      std::free(record);
    }
    records_.clear();
  }

  std::vector<void*> records_;
};

TEST_P(HostileListTest, EachRecordIsExactlyAsLongAsItsBlock) {
  const std::size_t sizes[] = {1, 5000, 2, 9, 10, 300, 17, 680, 681, 3};
  Reply reply;
  reply.int32(static_cast<int>(std::size(sizes)));
  for (const std::size_t size : sizes) {
    reply.bytes(unendedBlock(size));
  }

  const std::vector<void*>& records = run(reply);
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();

  EXPECT_THAT(lengths, testing::ElementsAreArray(sizes));
  ASSERT_EQ(records.size(), std::size(sizes));
  for (std::size_t i = 0; i < std::size(sizes); ++i) {
    EXPECT_TRUE(isAsLongAs(records[i], sizes[i]));
    EXPECT_EQ(bytesOf(records[i], sizes[i]), unendedBlock(sizes[i]));
  }
  EXPECT_THAT(log.summaries(), Not(Contains(testing::HasSubstr("buf: "))));
}

// Every length up to one with room for all fields, with a VM's name to be written at 680.
TEST_P(HostileListTest, ABlockMayEndAnywhere) {
  constexpr std::size_t kVmId = offsetof(CommonDevice, vmId);
  constexpr std::size_t kText = offsetof(CommonDevice, vmIdText);
  constexpr std::size_t kLongest = kText + 12;
  const std::string name = "win11";
  Reply reply;
  reply.int32(kLongest);
  std::vector<Bytes> expected;
  for (std::size_t size = 1; size <= kLongest; ++size) {
    Bytes block = unendedBlock(size);
    putIfItFits(block, offsetof(CommonDevice, status), static_cast<unsigned short>(2));
    putIfItFits(block, kVmId, 7u);
    reply.bytes(block);
    if (GetParam().namesVms && size > kText) {
      const auto fits = static_cast<std::ptrdiff_t>(std::min(name.size(), size - kText));
      std::copy(name.begin(), name.begin() + fits, block.begin() + kText);
    }
    expected.push_back(block);
  }

  const std::vector<void*>& records = run(reply);

  ASSERT_EQ(records.size(), kLongest);
  for (std::size_t i = 0; i < kLongest; ++i) {
    EXPECT_TRUE(isAsLongAs(records[i], i + 1));
    EXPECT_EQ(bytesOf(records[i], i + 1), expected[i]) << "of length " << i + 1;
  }
}

TEST_P(HostileListTest, TheLengthsOfTheRecordsBelongToTheLastOperationOfTheThread) {
  run(Reply().int32(3).bytes(unendedBlock(296)).bytes(unendedBlock(700)).bytes({}));

  EXPECT_THAT(qx::VelProxy::lastRecordLengths(), ElementsAre(296, 700));
  std::thread([] { EXPECT_THAT(qx::VelProxy::lastRecordLengths(), IsEmpty()); }).join();

  proxy->GetAutoConnect(1);
  EXPECT_THAT(qx::VelProxy::lastRecordLengths(), IsEmpty());
}

TEST_P(HostileListTest, AnEmptyBlockEndsTheListAtAnyPlace) {
  const Bytes block = unendedBlock(700);
  EXPECT_EQ(run(Reply().int32(3).bytes({}).bytes(block).bytes(block)).size(), 0u);
  EXPECT_EQ(log.summaries().back(), emptyBlockLine(3));

  EXPECT_EQ(run(Reply().int32(3).bytes(block).bytes({}).bytes(block)).size(), 1u);
  EXPECT_EQ(log.summaries().back(), emptyBlockLine(3));

  EXPECT_EQ(run(Reply().int32(3).bytes(block).bytes(block).bytes({})).size(), 2u);
  EXPECT_EQ(log.summaries().back(), emptyBlockLine(3));
}

TEST_P(HostileListTest, AnArgumentThatIsNoBlockEndsTheList) {
  const Bytes block = unendedBlock(700);

  EXPECT_EQ(run(Reply().int32(2).bytes(block).string("a device")).size(), 1u);
  EXPECT_EQ(log.summaries().back(), emptyBlockLine(2));

  EXPECT_EQ(run(Reply().int32(2).int32(700).bytes(block)).size(), 0u);
  EXPECT_EQ(log.summaries().back(), emptyBlockLine(2));
}

TEST_P(HostileListTest, ACountLargerThanTheArgumentsEndsAtTheLastOne) {
  for (const int count : {3, 1000, std::numeric_limits<int>::max()}) {
    const std::vector<void*>& records =
        run(Reply().int32(count).bytes(unendedBlock(20)).bytes(unendedBlock(30)));

    EXPECT_EQ(records.size(), 2u);
    EXPECT_THAT(log.summaries(), Contains(sizeLine(count)));
    EXPECT_EQ(log.summaries().back(), emptyBlockLine(count));
  }
}

TEST_P(HostileListTest, ACountBelow1IsAnEmptyListAndNoMore) {
  for (const int count : {0, -1, -2, std::numeric_limits<int>::min()}) {
    EXPECT_THAT(run(Reply().int32(count).bytes(unendedBlock(20))), IsEmpty());

    EXPECT_EQ(log.summaries().back(), sizeLine(count));
  }
}

TEST_P(HostileListTest, BlocksBeyondTheCountAreNotRead) {
  EXPECT_EQ(run(Reply().int32(1).bytes(unendedBlock(20)).bytes({})).size(), 1u);

  EXPECT_THAT(log.summaries(), Contains(sizeLine(1)));
  EXPECT_THAT(log.summaries(), Not(Contains(emptyBlockLine(1))));
}

TEST_P(HostileListTest, ACountOfAnotherTypeIs0) {
  EXPECT_THAT(run(Reply().string("1").bytes(unendedBlock(20))), IsEmpty());
  EXPECT_EQ(log.summaries().back(), sizeLine(0));

  EXPECT_THAT(run(Reply().bytes(unendedBlock(20)).bytes(unendedBlock(20))), IsEmpty());
  EXPECT_EQ(log.summaries().back(), sizeLine(0));
}

INSTANTIATE_TEST_SUITE_P(
    All, HostileListTest,
    testing::Values(
        PointerList("GetPrinterList", "getPrinterList",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetPrinterList("win11")); })
            .logsSizeBehind("vmId: %s, list size: %d", "vmId: win11, list size: "),
        PointerList("GetPrinterStatus", "getPrinterStatus",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetPrinterStatus(9)); })
            .logsSizeBehind("devNumber: %d, list size: %d", "devNumber: 9, list size: "),
        PointerList("GetDeviceList", "getDeviceList",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetDeviceList("win11")); })
            .logsSizeBehind("vmId: %s, list size: %d", "vmId: win11, list size: ")
            .logsEmptyBlocksAsErrors()
            .writesNamesOfVms(),
        PointerList("GetLocalDeviceList", "getDeviceList",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetLocalDeviceList()); })
            .loggedAs("GetDeviceList")
            .logsSizeBehind("vmId: %s, list size: %d", "vmId: , list size: ")
            .logsEmptyBlocksAsErrors()
            .writesNamesOfVms(),
        PointerList("GetDeviceStatus", "getDeviceStatus",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetDeviceStatus(9)); })
            .logsSizeBehind("devNumber: %d, list size: %d", "devNumber: 9, list size: "),
        PointerList("GetNetworkPrinterList", "getNetworkPrinterList",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetNetworkPrinterList()); })
            .logsSizeBehind("list size: %d", "list size: "),
        PointerList("GetPolicyListByVidPid", "getPolicyListByVidPid",
                    [](qx::VelProxy& proxy) { return recordsOf(proxy.GetPolicyListByVidPid()); })
            .logsSizeBehind("list size: %d", "list size: ")),
    [](const testing::TestParamInfo<PointerList>& row) { return row.param.name; });

using DeviceStatusTest = ProxyTest;

// GetDeviceStatus logs 0 or an empty text for fields that the block does not reach.
TEST_F(DeviceStatusTest, AStatusLogsOnlyFieldsOfTheBlock) {
  const struct {
    std::size_t size;
    std::string logged;
  } rows[] = {
      {1, "vmId:0, devNumber:0, status:0, name:"},
      {2, "vmId:0, devNumber:30840, status:0, name:"},
      {9, "vmId:0, devNumber:30840, status:0, name:"},
      {10, "vmId:0, devNumber:30840, status:30840, name:"},
      {23, "vmId:0, devNumber:30840, status:30840, name:"},
      {24, "vmId:2021161080, devNumber:30840, status:30840, name:"},
      {296, "vmId:2021161080, devNumber:30840, status:30840, name:"},
      {297, "vmId:2021161080, devNumber:30840, status:30840, name:x"},
      {423, "vmId:2021161080, devNumber:30840, status:30840, name:" + std::string(127, 'x')},
      {424, "vmId:2021161080, devNumber:30840, status:30840, name:" + std::string(128, 'x')},
      {700, "vmId:2021161080, devNumber:30840, status:30840, name:" + std::string(128, 'x')},
  };
  for (const auto& [size, logged] : rows) {
    bus.answer("getDeviceStatus", Reply().int32(1).bytes(unendedBlock(size)));

    proxy->FreeDeviceList(proxy->GetDeviceStatus(9));

    EXPECT_EQ(log.summaries().back(),
              debugLine("GetDeviceStatus", "vmId:%d, devNumber:%d, status:%d, name:%s", logged))
        << size;
  }
}

// --- Events -------------------------------------------------------------------------------------

// Keeps the record of its callback, in the length that the test expects at least.
struct Taker {
  template <typename Record>
  static int called(unsigned short code, Record* record, void* userData) {
    auto& self = *static_cast<Taker*>(userData);
    self.codes.push_back(code);
    self.isInPlace = record == scripted::ScriptedBus::the().lastBlock();
    if (malloc_usable_size(record) >= self.length) {
      self.record = bytesOf(record, self.length);
    }
    return 0;
  }

  std::size_t length = 0;
  bool isInPlace = false;
  std::vector<unsigned short> codes;
  Bytes record;
};

// A kind of record that reaches callbacks: fixed fields, then a text that runs to its end.
struct RecordKind {
  using Logged = std::string (*)(const Bytes& record, const qx::VelProxy& proxy);

  RecordKind(const char* kind, int eventCode) : name(kind), code(eventCode) {}

  // sizeof the type.
  RecordKind& ofSize(std::size_t bytes) {
    size = bytes;
    return *this;
  }
  // The last offset is that of the text.
  RecordKind& withFieldsEndingAt(std::vector<std::size_t> offsets) {
    ends = std::move(offsets);
    textOffset = ends.back();
    return *this;
  }
  // The line of HandleEvent for a record.
  RecordKind& loggedBy(Logged line) {
    logged = line;
    return *this;
  }

  const char* name;
  int code;
  std::size_t size = 0;
  std::size_t textOffset = 0;
  std::vector<std::size_t> ends;
  Logged logged = nullptr;
};

void PrintTo(const RecordKind& kind, std::ostream* out) {
  *out << kind.name;
}

std::string shortValue(const Bytes& record, std::size_t offset) {
  return std::to_string(valueIn<unsigned short>(record, offset));
}

std::string intValue(const Bytes& record, std::size_t offset) {
  return std::to_string(valueIn<int>(record, offset));
}

std::string hexValue(const Bytes& record, std::size_t offset) {
  char text[8];
  std::snprintf(text, sizeof text, "%.4x", valueIn<unsigned short>(record, offset));
  return text;
}

std::string printerLogged(const Bytes& record, const qx::VelProxy&) {
  return debugLine("HandleEvent", "devNum:%d, vmId: %d, status:%d, name:%s",
                   "devNum:" + shortValue(record, 0) + ", vmId: " + intValue(record, 8) +
                       ", status:" + intValue(record, 12) +
                       ", name:" + textIn(record, 16, std::string::npos));
}

std::string deviceInfoLogged(const Bytes& record, const qx::VelProxy& proxy) {
  return debugLine("HandleEvent", "devNum:%d, vmId: %d, status:%d, name:%s this:%p cmd[%d]",
                   "devNum:" + shortValue(record, 0) + ", vmId: " + intValue(record, 20) +
                       ", status:" + shortValue(record, 8) + ", name:" + textIn(record, 296, 128) +
                       " this:" + pointer(&proxy) + " cmd[4]");
}

std::string deviceStateLogged(const Bytes& record, const qx::VelProxy&) {
  return debugLine(
      "HandleEvent", "cmd: %d, status: %d, name:%s\n",
      "cmd: 5, status: " + shortValue(record, 8) + ", name:" + textIn(record, 296, 128) + "\n");
}

std::string resultLogged(const Bytes& record, const qx::VelProxy&) {
  return debugLine("HandleEvent", "cmd: %d, vidpid[0x%.4x0x%.4x], code: %s, name:%s\n",
                   "cmd: 65544, vidpid[0x" + hexValue(record, 0) + "0x" + hexValue(record, 2) +
                       "], code: " + textIn(record, 276, std::string::npos) +
                       ", name:" + textIn(record, 20, 256) + "\n");
}

class HostileEventTest : public ProxyTest {
 protected:
  HostileEventTest() {
    bus.knowsVm("win11", 7);
    proxy->GetVmIdInt("win11");
    proxy->RegisterPrinterCallback(&Taker::called<PrinterDevice>, &taker);
    proxy->RegisterDeviceCallback(&Taker::called<CommonDevice>, &taker);
    proxy->RegisterConfigNewDevResultCallback(&Taker::called<_ConfigNewDeviceResult>, &taker);
    proxy->RegisterCmdCallback(&Taker::called<CmdResponse>, &taker);
    proxy->Diagnose("", 0, &diagnosis);
    // So that only the proxy listens.
    disconnect(*instance);
  }

  void emit(int code, const Bytes& record) {
    log.clear();
    taker.codes.clear();
    taker.record.clear();
    bus.emit("velevent", EventArguments().int32(7).int32(code).bytes(record));
  }

  Taker taker;
  DiagnosisRecorder diagnosis;
};

class HostileRecordTest : public HostileEventTest, public testing::WithParamInterface<RecordKind> {
 protected:
  // The record that a callback should receive in place of a block that it cannot read as it is: one
  // that can be copied as a whole, with a NUL behind its text.
  static Bytes padded(Bytes block) {
    block.resize(std::max(block.size() + 1, GetParam().size), 0);
    return block;
  }
  void expectToBeHandedOn(const Bytes& block, const Bytes& expected, bool isInPlace) {
    taker.length = expected.size();

    emit(GetParam().code, block);

    EXPECT_EQ(taker.isInPlace, isInPlace);
    EXPECT_THAT(taker.codes, ElementsAre(static_cast<unsigned short>(GetParam().code)));
    EXPECT_EQ(taker.record, expected);
    EXPECT_THAT(log.summaries(), Contains(GetParam().logged(expected, *proxy)));
    EXPECT_EQ(log.summaries().back(), debugLine("HandleEvent", "end"));
  }
};

TEST_P(HostileRecordTest, AShortRecordIsPaddedWithZeroes) {
  std::vector<std::size_t> sizes = {1};
  for (const std::size_t end : GetParam().ends) {
    sizes.insert(sizes.end(), {end - 1, end, end + 1});
  }
  for (const std::size_t size : sizes) {
    SCOPED_TRACE(size);
    expectToBeHandedOn(unendedBlock(size), padded(unendedBlock(size)), false);
  }
}

TEST_P(HostileRecordTest, ARecordOfFixedFieldsOnlyGetsAnEmptyText) {
  const Bytes zeroes(GetParam().textOffset, 0);

  expectToBeHandedOn(zeroes, padded(zeroes), false);
}

TEST_P(HostileRecordTest, ATextWithoutANulGetsOne) {
  for (const std::size_t length : {1u, 2u, 40u, 3000u}) {
    SCOPED_TRACE(length);
    const Bytes block = unendedBlock(GetParam().textOffset + length);

    expectToBeHandedOn(block, padded(block), false);
  }
}

// The compiler rounds the sizes of these types up, and a callback may copy a record as a whole.
TEST_P(HostileRecordTest, ATextOfOneNulIsPaddedToTheSizeOfTheType) {
  for (std::size_t size = GetParam().textOffset + 1; size < GetParam().size; ++size) {
    SCOPED_TRACE(size);
    Bytes block = unendedBlock(size);
    block[GetParam().textOffset] = 0;
    Bytes expected = block;
    expected.resize(GetParam().size, 0);

    expectToBeHandedOn(block, expected, false);
  }
}

TEST_P(HostileRecordTest, AWholeRecordIsPassedOnInPlace) {
  const std::size_t least = GetParam().size - GetParam().textOffset;
  for (const std::size_t length : {least, least + 1, std::size_t{40}, std::size_t{3000}}) {
    for (const std::size_t end : {std::size_t{0}, length / 2, length - 1}) {
      SCOPED_TRACE(length);
      Bytes block = unendedBlock(GetParam().textOffset + length);
      block[GetParam().textOffset + end] = 0;

      expectToBeHandedOn(block, block, true);
    }
  }
}

TEST_P(HostileRecordTest, AnEmptyRecordReachesNoCallback) {
  emit(GetParam().code, {});

  EXPECT_THAT(taker.codes, IsEmpty());
  EXPECT_THAT(log.summaries(), Not(Contains(debugLine("HandleEvent", "end"))));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, HostileRecordTest,
    testing::Values(RecordKind("Printer", 1)
                        .ofSize(sizeof(PrinterDevice))
                        .withFieldsEndingAt({2, 8, 12, 16})
                        .loggedBy(&printerLogged),
                    RecordKind("DeviceInfo", 4)
                        .ofSize(sizeof(CommonDevice))
                        .withFieldsEndingAt({2, 8, 10, 12, 20, 24, 296, 424, 680})
                        .loggedBy(&deviceInfoLogged),
                    RecordKind("DeviceState", 5)
                        .ofSize(sizeof(CommonDevice))
                        .withFieldsEndingAt({2, 8, 10, 12, 20, 24, 296, 424, 680})
                        .loggedBy(&deviceStateLogged),
                    // A code above 65535, which belongs to no other kind.
                    RecordKind("NewDeviceResult", 65536 + 8)
                        .ofSize(sizeof(_ConfigNewDeviceResult))
                        .withFieldsEndingAt({2, 4, 18, 20, 276})
                        .loggedBy(&resultLogged)),
    [](const testing::TestParamInfo<RecordKind>& row) { return row.param.name; });

// As a client does that keeps a record. AddressSanitizer reports a read beyond the block.
template <typename Record>
int copyRecord(unsigned short, Record* record, void* userData) {
  const Record copy = *record;
  *static_cast<Bytes*>(userData) = bytesOf(&copy, sizeof copy);
  return 0;
}

TEST_F(HostileEventTest, ACallbackMayCopyItsRecordAsAWhole) {
  Bytes copy;
  proxy->RegisterPrinterCallback(&copyRecord<PrinterDevice>, &copy);
  proxy->RegisterDeviceCallback(&copyRecord<CommonDevice>, &copy);
  proxy->RegisterConfigNewDevResultCallback(&copyRecord<_ConfigNewDeviceResult>, &copy);
  const struct {
    int code;
    std::size_t size;  // up to a text of no characters and its NUL
  } rows[] = {{1, 17}, {4, 681}, {5, 681}, {65536 + 8, 277}};
  for (const auto& [code, size] : rows) {
    Bytes block = unendedBlock(size);
    block.back() = 0;

    emit(code, block);

    ASSERT_GE(copy.size(), size);
    EXPECT_EQ(Bytes(copy.begin(), copy.begin() + static_cast<std::ptrdiff_t>(size)), block);
  }
}

// A full field has no NUL of its own, and must not run on into the next field.
TEST_F(HostileEventTest, ANameThatFillsItsFieldIsLoggedUpToItsEnd) {
  Bytes device(700, 0);
  std::fill(device.begin() + 296, device.begin() + 424, 'n');
  std::fill(device.begin() + 424, device.begin() + 680, 'p');
  taker.length = device.size();
  const std::string name = std::string(128, 'n');

  emit(4, device);
  EXPECT_THAT(log.summaries(), Contains(deviceInfoLogged(device, *proxy)));
  EXPECT_THAT(log.summariesOf("DeviceBaseInfoNotify"),
              ElementsAre(testing::HasSubstr(", name:" + name + " cmd[4]")));
  emit(5, device);
  EXPECT_THAT(log.summaries(), Contains(deviceStateLogged(device, *proxy)));

  Bytes result(300, 0);
  std::fill(result.begin() + 20, result.begin() + 276, 'n');
  result[276] = 'c';
  taker.length = result.size();
  emit(65544, result);
  EXPECT_THAT(log.summaries(), Contains(resultLogged(result, *proxy)));
  EXPECT_THAT(log.summariesOf("ConfigNewDeviceResultNotify"),
              ElementsAre(testing::HasSubstr(",name:" + name + name + ", code:c, ")));
}

TEST_F(HostileEventTest, ADirectiveInANameIsLoggedAsText) {
  const std::string name = "%n%s%1$n%99999d";
  Bytes device(700, 0);
  std::copy(name.begin(), name.end(), device.begin() + 296);
  taker.length = device.size();

  emit(4, device);

  EXPECT_THAT(log.summariesOf("DeviceBaseInfoNotify"),
              ElementsAre(testing::HasSubstr(", name:" + name + " cmd[4]")));
}

TEST_F(HostileEventTest, ADiagnosisNeedsItsFixedFields) {
  for (std::size_t size = 0; size < 16; ++size) {
    SCOPED_TRACE(size);

    emit(9, unendedBlock(size));

    EXPECT_THAT(diagnosis.reports, IsEmpty());
    EXPECT_THAT(
        log.summaries(),
        ElementsAre(debugLine("HandleEvent", "enter"),
                    StartsWith("Debug HandleEvent: cmd response callback this["),
                    debugLine("HandleEvent", "cb exec end"), debugLine("HandleEvent", "end")));
  }
}

TEST_F(HostileEventTest, ADiagnosisTextEndsWithItsNulOrTheBlock) {
  const auto textOf = [this](const Bytes& block) {
    diagnosis.reports.clear();
    emit(9, block);
    const std::string fixed = ",8680820740569200760,2021161080,";
    EXPECT_THAT(diagnosis.reports, ElementsAre(StartsWith(fixed)));
    return diagnosis.reports.empty() ? "none" : diagnosis.reports.front().substr(fixed.size());
  };
  Bytes block = unendedBlock(16);
  EXPECT_EQ(textOf(block), "");
  EXPECT_EQ(textOf(unendedBlock(17)), "x");
  EXPECT_EQ(textOf(unendedBlock(5000)), std::string(4984, 'x'));

  block.push_back(0);
  EXPECT_EQ(textOf(block), "");
  block.push_back('y');
  EXPECT_EQ(textOf(block), "");
  block[16] = 'z';
  block.push_back(0);
  EXPECT_EQ(textOf(block), "zy");
}

TEST_F(HostileEventTest, ACommandsRecordIsPassedOnInPlaceUnread) {
  for (const std::size_t size : {1u, 2u, 3u, 700u}) {
    taker.length = size;

    emit(66, unendedBlock(size));

    EXPECT_THAT(taker.codes, ElementsAre(66));
    EXPECT_TRUE(taker.isInPlace);
    EXPECT_EQ(taker.record, unendedBlock(size));
  }
}

TEST_F(HostileEventTest, ARecordOfAnotherTypeIsNoRecord) {
  for (const int code : {1, 2, 4, 5, 9}) {
    bus.emit("velevent", EventArguments().int32(7).int32(code).string(std::string(700, 'x')));
    bus.emit("velevent", EventArguments().int32(7).int32(code).int32(700));
  }

  EXPECT_THAT(taker.codes, IsEmpty());
  EXPECT_THAT(diagnosis.reports, IsEmpty());
}

}  // namespace
