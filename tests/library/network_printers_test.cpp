// Network printers. What these have in common with all operations stands in
// remote_operations_rest.cpp.

#include <malloc.h>

#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NetworkPrintersTest : public ProxyTest {
 protected:
  NetworkPrintersTest() {
    bus.answer("addNetworkPrinter", Reply().int32(6));
    bus.answer("deleteNetworkPrinter", Reply().int32(6));
    bus.answer("renameNetworkPrinter", Reply().int32(6));
  }
};

// --- AddNetworkPrinter --------------------------------------------------------------------------

// Adds nothing, and records what it was asked for.
class Adding : public qx::VelProxy {
 public:
  using qx::VelProxy::AddNetworkPrinter;
  int AddNetworkPrinter(const std::string& printerAddr, const std::string& printerName,
                        const std::string& printerExtra) override {
    asked.push_back({printerAddr, printerName, printerExtra});
    return -43;
  }

  std::vector<Strings> asked;
};

using OverriddenAddTest = ProxyTestOf<Adding>;

TEST_F(OverriddenAddTest, AnAddressAloneIsAddedThroughTheVirtualForm) {
  disconnect(*instance);

  EXPECT_EQ(proxy->AddNetworkPrinter("10.0.0.5"), -43);
  EXPECT_EQ(proxy->AddNetworkPrinter(""), -43);

  EXPECT_THAT(proxy->asked, ElementsAre(Strings{"10.0.0.5", "defaultPrinter", ""},
                                        Strings{"", "defaultPrinter", ""}));
  EXPECT_THAT(timeline.all(), IsEmpty()) << "nothing of its own";
}

TEST_F(NetworkPrintersTest, APrinterMayBeAddedWithoutTheThirdText) {
  EXPECT_EQ(proxy->AddNetworkPrinter("a", "p", ""), 6);

  EXPECT_EQ(bus.lastCall(), "addNetworkPrinter(string \"a\", string \"p\", string \"\")");
}

TEST_F(NetworkPrintersTest, AnAddedPrinterKeepsEveryByteOfItsTexts) {
  const std::string address("a\0d", 3);
  const std::string name("n\xFF", 2);
  const std::string extra("\0", 1);

  EXPECT_EQ(proxy->AddNetworkPrinter(address, name, extra), 6);

  EXPECT_EQ(bus.lastCall(), "addNetworkPrinter(string \"" + address + "\", string \"" + name +
                                "\", string \"" + extra + "\")");
}

// --- DeleteNetworkPrinter, RenameNetworkPrinter -------------------------------------------------

TEST_F(NetworkPrintersTest, AnEmptyNameIsSentToBeDeleted) {
  EXPECT_EQ(proxy->DeleteNetworkPrinter(""), 6);

  EXPECT_EQ(bus.lastCall(), "deleteNetworkPrinter(string \"\")");
}

TEST_F(NetworkPrintersTest, NewNamesAreBlocksWithEveryByteAndNoEnd) {
  const std::string oldName("o\0ld", 4);
  const std::string newName("\0", 1);

  EXPECT_EQ(proxy->RenameNetworkPrinter(oldName, newName), 6);

  EXPECT_EQ(bus.lastCall(), "renameNetworkPrinter(bytes[4] 6f006c64, bytes[1] 00)");
}

// --- GetNetworkPrinterList ----------------------------------------------------------------------

// The block that a client has got, which must be of this size.
Bytes blockAt(CommonDevice* printer, std::size_t size) {
  // Memory that is not much too long either.
  const std::size_t usable = malloc_usable_size(printer);
  EXPECT_GE(usable, size);
  EXPECT_LT(usable, size + 32);
  return usable >= size ? bytesOf(printer, size) : Bytes();
}

// A block that would be a device of status 2, so that any change to it shows.
Bytes attached(std::size_t size) {
  Bytes block(size, '#');
  for (std::size_t i = 8; i < 10 && i < size; ++i) {
    block[i] = i == 8 ? 2 : 0;
  }
  return block;
}

TEST_F(NetworkPrintersTest, AListGivesEachBlockExactlyAndUntouched) {
  const Bytes blocks[] = {attached(400), attached(500), attached(1), attached(720)};
  Reply reply = Reply().int32(4);
  for (const Bytes& block : blocks) {
    reply.bytes(block);
  }
  bus.answer("getNetworkPrinterList", reply);

  const std::list<CommonDevice*> printers = proxy->GetNetworkPrinterList();

  ASSERT_EQ(printers.size(), 4u);
  std::size_t i = 0;
  for (CommonDevice* const printer : printers) {
    EXPECT_EQ(blockAt(printer, blocks[i].size()), blocks[i]);
    ++i;
  }
  EXPECT_EQ(proxy->FreeDeviceList(printers), 0);
}

TEST_F(NetworkPrintersTest, AListStopsAtTheFirstEmptyBlock) {
  bus.answer("getNetworkPrinterList",
             Reply().int32(3).bytes(Bytes(5, 0x01)).bytes({}).bytes(Bytes(5, 0x03)));

  const std::list<CommonDevice*> printers = proxy->GetNetworkPrinterList();

  ASSERT_EQ(printers.size(), 1u);
  EXPECT_EQ(blockAt(printers.front(), 5), Bytes(5, 0x01));
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("GetNetworkPrinterList", "enter"),
                          debugLine("GetNetworkPrinterList", "list size: %d", "list size: 3"),
                          debugLine("GetNetworkPrinterList", "buf: %p, size: %d",
                                    "buf: " + pointer(nullptr) + ", size: 3")));
  proxy->FreeDeviceList(printers);
}

TEST_F(NetworkPrintersTest, AListIsEmptyForACountOfZeroOrLess) {
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    bus.answer("getNetworkPrinterList", Reply().int32(count).bytes(Bytes(5, 0x01)));
    forget();

    EXPECT_THAT(proxy->GetNetworkPrinterList(), IsEmpty());

    EXPECT_THAT(log.summaries(), ElementsAre(debugLine("GetNetworkPrinterList", "enter"),
                                             debugLine("GetNetworkPrinterList", "list size: %d",
                                                       "list size: " + std::to_string(count))));
  }
}

TEST_F(NetworkPrintersTest, AListEndsWithTheReply) {
  bus.answer("getNetworkPrinterList",
             Reply().int32(std::numeric_limits<int>::max()).bytes(Bytes(5, 0x01)));

  const std::list<CommonDevice*> printers = proxy->GetNetworkPrinterList();

  EXPECT_EQ(printers.size(), 1u);
  EXPECT_EQ(log.summaries().back(), debugLine("GetNetworkPrinterList", "buf: %p, size: %d",
                                              "buf: " + pointer(nullptr) + ", size: 2147483647"));
  proxy->FreeDeviceList(printers);
}

}  // namespace
