// Network printers. The rows are in rows/network_printers.cpp, tests of all lists in
// hostile_blocks_test.cpp.

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

// Records its arguments in place of adding a printer.
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

TEST_F(NetworkPrintersTest, DeletingAnEmptyNameSendsIt) {
  EXPECT_EQ(proxy->DeleteNetworkPrinter(""), 6);

  EXPECT_EQ(bus.lastCall(), "deleteNetworkPrinter(string \"\")");
}

TEST_F(NetworkPrintersTest, NewNamesAreBlocksWithEveryByteAndNoEnd) {
  const std::string oldName("o\0ld", 4);
  const std::string newName("\0", 1);

  EXPECT_EQ(proxy->RenameNetworkPrinter(oldName, newName), 6);

  EXPECT_EQ(bus.lastCall(), "renameNetworkPrinter(bytes[4] 6f006c64, bytes[1] 00)");
}

}  // namespace
