// The printers of this machine. The rows are in rows/printers.cpp, tests of all lists in
// hostile_blocks_test.cpp.

#include <cstdlib>
#include <cstring>
#include <limits>

#include "tests/library/blocks.h"
#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// A printer's record, as long as its name.
Bytes printer(unsigned short number, int vm, int status, const std::string& name) {
  Bytes block(offsetof(PrinterDevice, name) + name.size() + 1, 0);
  put(block, 0, number);
  put(block, 8, vm);
  put(block, 12, status);
  std::memcpy(block.data() + offsetof(PrinterDevice, name), name.data(), name.size());
  return block;
}

// A list that frees its records.
class Printers {
 public:
  explicit Printers(std::list<PrinterDevice*> list) : list_(list.begin(), list.end()) {}
  Printers(const Printers&) = delete;
  Printers& operator=(const Printers&) = delete;
  ~Printers() {
    for (PrinterDevice* const record : list_) {
      std::free(record);
    }
  }

  std::size_t size() const { return list_.size(); }
  const PrinterDevice& operator[](std::size_t index) const { return *list_.at(index); }

 private:
  std::vector<PrinterDevice*> list_;
};

class PrintersTest : public ProxyTest {
 protected:
  PrintersTest() {
    bus.knowsVm("win11", 7001);
    bus.knowsVm("linux9", 0x80000002);
  }
};

// --- GetPrinterList, GetPrinterStatus -----------------------------------------------------------

TEST_F(PrintersTest, AListGivesThePrintersInTheOrderOfTheReply) {
  bus.answer("getPrinterList", Reply()
                                   .int32(3)
                                   .bytes(printer(9, 7001, 1, "Laser"))
                                   .bytes(printer(65535, -1, -3, ""))
                                   .bytes(printer(0, 0, 2, "A printer with a longer name")));

  const Printers printers(proxy->GetPrinterList("win11"));

  ASSERT_EQ(printers.size(), 3u);
  EXPECT_EQ(printers[0].devNum, 9);
  EXPECT_EQ(printers[0].vmId, 7001);
  EXPECT_EQ(printers[0].status, 1);
  EXPECT_STREQ(printers[0].name, "Laser");
  EXPECT_EQ(printers[1].devNum, 65535);
  EXPECT_EQ(printers[1].vmId, -1);
  EXPECT_EQ(printers[1].status, -3);
  EXPECT_STREQ(printers[1].name, "");
  EXPECT_EQ(printers[2].devNum, 0);
  EXPECT_STREQ(printers[2].name, "A printer with a longer name");
  EXPECT_EQ(log.summaries().back(),
            debugLine("GetPrinterList", "vmId: %s, list size: %d", "vmId: win11, list size: 3"));
}

TEST_F(PrintersTest, AListStopsAtTheFirstEmptyBlockAndLogsTheAnnouncedCount) {
  bus.answer("getPrinterList", Reply()
                                   .int32(3)
                                   .bytes(printer(9, 0, 0, "Laser"))
                                   .bytes({})
                                   .bytes(printer(10, 0, 0, "Labels")));

  const Printers printers(proxy->GetPrinterList(""));

  ASSERT_EQ(printers.size(), 1u);
  EXPECT_STREQ(printers[0].name, "Laser");
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("GetPrinterList", "vmId: %s", "vmId: "),
                                           debugLine("GetPrinterList", "vmId: %s, list size: %d",
                                                     "vmId: , list size: 3"),
                                           debugLine("GetPrinterList", "buf: %p, size: %d",
                                                     "buf: " + pointer(nullptr) + ", size: 3")));
}

TEST_F(PrintersTest, AStatusStopsAtTheFirstEmptyBlockAndLogsTheAnnouncedCount) {
  bus.answer("getPrinterStatus",
             Reply().int32(2).bytes(printer(9, 0, 0, "Laser")).bytes({}).string("unread"));

  const Printers printers(proxy->GetPrinterStatus(9));

  ASSERT_EQ(printers.size(), 1u);
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("GetPrinterStatus", "devNumber:%d", "devNumber:9"),
                          debugLine("GetPrinterStatus", "devNumber: %d", "devNumber: 9"),
                          debugLine("GetPrinterStatus", "devNumber: %d, list size: %d",
                                    "devNumber: 9, list size: 2"),
                          debugLine("GetPrinterStatus", "buf: %p, size: %d",
                                    "buf: " + pointer(nullptr) + ", size: 2")));
}

TEST_F(PrintersTest, AStatusMayHoldSeveralPrinters) {
  bus.answer(
      "getPrinterStatus",
      Reply().int32(2).bytes(printer(9, 0, 0, "Laser")).bytes(printer(9, 0, 0, "Its other tray")));

  const Printers printers(proxy->GetPrinterStatus(9));

  ASSERT_EQ(printers.size(), 2u);
  EXPECT_STREQ(printers[0].name, "Laser");
  EXPECT_STREQ(printers[1].name, "Its other tray");
}

TEST_F(PrintersTest, ARecordStaysUnchanged) {
  // As a device it would be attached to a VM.
  Bytes block(720, 0xAB);
  put(block, 8, static_cast<unsigned short>(2));
  put(block, 20, 7001u);
  bus.answer("getPrinterList", Reply().int32(1).bytes(block));

  const Printers printers(proxy->GetPrinterList("win11"));

  ASSERT_EQ(printers.size(), 1u);
  EXPECT_EQ(bytesOf(&printers[0], block.size()), block);
}

TEST_F(PrintersTest, AListOutlivesTheProxyAndTheNextList) {
  bus.answerOnce("getPrinterList", Reply().int32(1).bytes(printer(9, 0, 0, "Laser")));
  bus.answerOnce("getPrinterList", Reply().int32(1).bytes(printer(10, 0, 0, "Label")));
  auto gone = std::make_unique<qx::VelProxy>();
  gone->Init();

  const Printers first(gone->GetPrinterList(""));
  const Printers second(gone->GetPrinterList(""));
  gone.reset();

  ASSERT_EQ(first.size(), 1u);
  ASSERT_EQ(second.size(), 1u);
  EXPECT_STREQ(first[0].name, "Laser");
  EXPECT_STREQ(second[0].name, "Label");
}

TEST_F(PrintersTest, AListIsRequestedWithAllBitsOfTheVm) {
  Printers(proxy->GetPrinterList("linux9"));
  EXPECT_EQ(bus.lastCall(), "getPrinterList(int32 -2147483646)");

  Printers(proxy->GetPrinterList(""));
  EXPECT_EQ(bus.lastCall(), "getPrinterList(int32 0)");
}

TEST_F(PrintersTest, ANumberKeepsItsBitsOnTheBusAndItsValueInTheLog) {
  bus.answer("getPrinterStatus", Reply().int32(0));
  bus.answer("connectPrinter", Reply().int32(0));
  bus.answer("disconnectPrinter", Reply().int32(0));
  const struct {
    unsigned short number;
    const char* sent;
  } rows[] = {{0, "0"}, {1, "1"}, {32767, "32767"}, {32768, "-32768"}, {65535, "-1"}};
  for (const auto& [number, sent] : rows) {
    const std::string argument = "int16 " + std::string(sent) + ")";
    const std::string value = std::to_string(number);

    EXPECT_THAT(proxy->GetPrinterStatus(number), IsEmpty());
    EXPECT_EQ(bus.lastCall(), "getPrinterStatus(" + argument);
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("GetPrinterStatus", "devNumber:%d", "devNumber:" + value)));
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("GetPrinterStatus", "devNumber: %d", "devNumber: " + value)));
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("GetPrinterStatus", "devNumber: %d, list size: %d",
                                   "devNumber: " + value + ", list size: 0")));

    EXPECT_EQ(proxy->ConnectPrinter("", number), 0);
    EXPECT_EQ(bus.lastCall(), "connectPrinter(int32 0, " + argument);
    EXPECT_THAT(log.summaries(), Contains(debugLine("ConnectPrinter", "vmId:%s, devNumber:%d",
                                                    "vmId:, devNumber:" + value)));

    EXPECT_EQ(proxy->DisconnectPrinter("", number), 0);
    EXPECT_EQ(bus.lastCall(), "disconnectPrinter(int32 0, " + argument);
    EXPECT_THAT(log.summaries(), Contains(debugLine("DisconnectPrinter", "vmId:%s, devNumber:%d",
                                                    "vmId:, devNumber:" + value)));
  }
}

// --- ConnectPrinter, DisconnectPrinter ----------------------------------------------------------

TEST_F(PrintersTest, ConnectingAndDisconnectingRunSideBySide) {
  bus.answer("connectPrinter", Reply().int32(3));
  bus.answer("disconnectPrinter", Reply().int32(4));
  Gate first = timeline.hold("call connectPrinter(");
  Gate second = timeline.hold("call disconnectPrinter(");

  Background connecting([this] { return proxy->ConnectPrinter("", 9); });
  Background disconnecting([this] { return proxy->DisconnectPrinter("", 10); });

  EXPECT_TRUE(first.isReached());
  EXPECT_TRUE(second.isReached());
  EXPECT_EQ(timeline.count("return "), 0) << "both are under way";
  second.open();
  EXPECT_EQ(disconnecting.result(), 4);
  first.open();
  EXPECT_EQ(connecting.result(), 3);
}

TEST_F(PrintersTest, ConnectingKeepsTheServiceThatItStartedWith) {
  bus.answer("connectPrinter", Reply().int32(3));
  Gate gate = timeline.hold("call connectPrinter(");
  Background connecting([this] { return proxy->ConnectPrinter("", 9); });
  ASSERT_TRUE(gate.isReached());

  proxy->ReleaseService();

  EXPECT_EQ(timeline.count("interface destroyed"), 0);
  gate.open();
  EXPECT_EQ(connecting.result(), 3);
  EXPECT_TRUE(timeline.waitFor("interface destroyed"));
}

// --- ConfigPrinterCommand -----------------------------------------------------------------------

TEST_F(PrintersTest, ACommandSucceedsWithAnyIntegerOfTheService) {
  for (const Reply& reply :
       {Reply().int32(0), Reply().int32(-1), Reply().int32(77),
        Reply().int32(std::numeric_limits<int>::min()), Reply().string("no"), Reply()}) {
    bus.answer("ConfigPrinterCommand", reply);

    EXPECT_EQ(proxy->ConfigPrinterCommand("", 1, 2), 0);

    EXPECT_EQ(log.summaries().back(),
              debugLine("ConfigPrinterCommand", "reply: %s", "reply: " + reply.debugString()));
  }
}

TEST_F(PrintersTest, ACommandFailsAfterAnyOtherReplyEvenWithAGoodInteger) {
  bus.answer("ConfigPrinterCommand", Reply().int32(0).ofType(MESSAGE_TYPE_ERROR));

  EXPECT_EQ(proxy->ConfigPrinterCommand("", 1, 2), -1);

  EXPECT_EQ(log.summaries().back(),
            errorLine("ConfigPrinterCommand", "reply type: %d(%s)", "reply type: 3()"));
}

TEST_F(PrintersTest, ACommandAndItsSourceKeepAllTheirBits) {
  bus.answer("ConfigPrinterCommand", Reply().int32(0));

  proxy->ConfigPrinterCommand("linux9", 0xFFFFFFFFFFFFFFFE, 65535);

  EXPECT_EQ(bus.lastCall(),
            "ConfigPrinterCommand(int32 -2147483646, bytes[8] feffffffffffffff, int32 65535)");
  EXPECT_THAT(
      log.summaries(),
      Contains(debugLine(
          "ConfigPrinterCommand", "ConfigPrinterCommand vmId:%s, vmid:%d, sourceId:%ld, command:%d",
          "ConfigPrinterCommand vmId:linux9, vmid:-2147483646, sourceId:-2, command:65535")));
}

}  // namespace
