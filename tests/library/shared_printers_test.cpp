// Addresses of machines that share printers, and those printers; the rows are in
// rows/shared_printers.cpp.

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>
#include <random>

#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// --- checkIpAddr --------------------------------------------------------------------------------

TEST(CheckIpAddrTest, AcceptsCanonicalAddressesWithOrWithoutAPort) {
  const char* const accepted[] = {
      "0.0.0.0",         "1.2.3.4",
      "9.10.99.100",     "127.0.0.1",
      "199.200.249.250", "255.255.255.255",
      "1.2.3.4:0",       "1.2.3.4:9",
      "1.2.3.4:80",      "1.2.3.4:9999",
      "1.2.3.4:10000",   "1.2.3.4:65535",
      "0.0.0.0:0",       "255.255.255.255:65535",
  };
  for (const char* const address : accepted) {
    EXPECT_TRUE(qx::checkIpAddr(address)) << address;
  }
}

TEST(CheckIpAddrTest, RefusesEverythingElse) {
  const char* const refused[] = {
      "",
      " ",
      ".",
      "...",
      ":",
      ":80",
      "1",
      "1.2.3",
      "1.2.3.",
      "1.2.3.:80",
      ".1.2.3",
      "1..2.3",
      "1.2..3",
      "1.2.3.4.",
      "1.2.3.4.5",
      "1.2.3.4.:80",
      "256.1.1.1",
      "1.256.1.1",
      "1.1.256.1",
      "255.255.255.256",
      "1.2.3.1000",
      "01.2.3.4",
      "1.2.3.04",
      "1.2.3.00",
      "00.0.0.0",
      " 1.2.3.4",
      "1.2.3.4 ",
      "1. 2.3.4",
      "1.2.3 .4",
      "1.2.3.4\n",
      "\t1.2.3.4",
      "-1.2.3.4",
      "1.2.3.-4",
      "1.2.3.-0",
      "+1.2.3.4",
      "1.2.3.+4",
      "0x1.2.3.4",
      "1.2.3.4e0",
      "1.2.3.a",
      "a.b.c.d",
      "1,2,3,4",
      "1.2.3.4/24",
      "1.2.3.4:",
      "1.2.3.4: ",
      "1.2.3.4: 80",
      "1.2.3.4:80 ",
      "1.2.3.4 :80",
      "1.2.3.4:080",
      "1.2.3.4:00",
      "1.2.3.4:+80",
      "1.2.3.4:-80",
      "1.2.3.4:-0",
      "1.2.3.4:65536",
      "1.2.3.4:99999",
      "1.2.3.4:100000",
      "1.2.3.4:http",
      "1.2.3.4:1:2",
      "1.2.3.4::80",
      "1:2.3.4.5",
      "printer.local",
      "localhost",
      "::1",
      "::ffff:1.2.3.4",
      "[::1]:80",
      "fe80::1",
  };
  for (const char* const address : refused) {
    EXPECT_FALSE(qx::checkIpAddr(address)) << address;
  }
}

TEST(CheckIpAddrTest, RefusesNulBytes) {
  for (const std::string& address :
       {std::string("1.2.3.4\0", 8), std::string("1.2.3.4:80\0", 11), std::string("\0", 1),
        std::string("1.2.3\0.4", 8), std::string("1.2.3.4\0:80", 11),
        std::string("1.2.3.4:80\0x", 12)}) {
    EXPECT_FALSE(qx::checkIpAddr(address)) << address;
  }
}

TEST(CheckIpAddrTest, AcceptsEveryOctetAndPort) {
  for (int number = 0; number <= 70000; ++number) {
    const std::string text = std::to_string(number);

    ASSERT_EQ(qx::checkIpAddr("1.2.3.4:" + text), number <= 65535) << number;
    if (number <= 1000) {
      ASSERT_EQ(qx::checkIpAddr(text + ".2.3.4"), number <= 255) << number;
      ASSERT_EQ(qx::checkIpAddr("1." + text + ".3.4"), number <= 255) << number;
      ASSERT_EQ(qx::checkIpAddr("1.2." + text + ".4"), number <= 255) << number;
      ASSERT_EQ(qx::checkIpAddr("1.2.3." + text), number <= 255) << number;
    }
  }
}

TEST(CheckIpAddrTest, RefusesNumbersThatWouldOverflow) {
  // Numbers whose low 8, 16, 32 or 64 bits are 0 to 255, then very long numbers.
  Strings numbers = {"257",
                     "65537",
                     "65792",
                     "2147483647",
                     "2147483648",
                     "4294967295",
                     "4294967296",
                     "4294967297",
                     "4294967551",
                     "-4294967295",
                     "9223372036854775808",
                     "18446744073709551615",
                     "18446744073709551617"};
  for (const std::size_t length : {20u, 100u, 1000000u}) {
    numbers.push_back(std::string(length, '9'));
    numbers.push_back("1" + std::string(length, '0'));
    numbers.push_back(std::string(length, '0') + "1");
    numbers.push_back("-" + std::string(length, '9'));
  }
  for (const std::string& number : numbers) {
    const std::string shown = number.substr(0, 25);
    EXPECT_FALSE(qx::checkIpAddr(number + ".2.3.4")) << shown;
    EXPECT_FALSE(qx::checkIpAddr("1." + number + ".3.4")) << shown;
    EXPECT_FALSE(qx::checkIpAddr("1.2.3." + number)) << shown;
    // 257 is a valid port.
    EXPECT_EQ(qx::checkIpAddr("1.2.3.4:" + number), number == "257") << shown;
  }
}

// The same test by another method: read four numbers and a port as strtol would, write them again,
// and compare. Numbers stop growing long before they overflow.
std::int64_t readNumber(const std::string& text) {
  constexpr std::int64_t kHuge = 1000000000000;
  std::size_t i = 0;
  while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) {
    ++i;
  }
  const bool isNegative = i < text.size() && text[i] == '-';
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
    ++i;
  }
  std::int64_t value = 0;
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
    value = std::min(value * 10 + (text[i] - '0'), kHuge);
  }
  return isNegative ? -value : value;
}

bool isSameWhenWrittenAgain(const std::string& address) {
  std::string host = address;
  const std::size_t colon = address.find(':');
  if (colon != std::string::npos) {
    host.resize(colon);
    const std::string port = address.substr(colon + 1);
    const auto number = static_cast<std::uint32_t>(readNumber(port));
    if (number > 65535 || std::to_string(number) != port) {
      return false;
    }
  }
  std::string written;
  std::string rest = host;
  for (int octet = 0; octet < 4; ++octet) {
    const std::size_t dot = rest.find('.');
    const auto number = static_cast<std::uint32_t>(readNumber(rest.substr(0, dot)));
    if (number > 255 || (dot != std::string::npos) != (octet < 3)) {
      return false;
    }
    written += (octet > 0 ? "." : "") + std::to_string(number);
    rest = dot != std::string::npos ? rest.substr(dot + 1) : "";
  }
  return written == host;
}

class RandomAddresses {
 public:
  // Characters of addresses, and characters that a reader of numbers may skip.
  std::string anything() {
    std::string text;
    for (std::size_t length = below(24); length > 0; --length) {
      text += character();
    }
    return text;
  }

  // An address, with numbers near their limits, or almost one.
  std::string address() {
    std::string text = number(300);
    for (int octet = 1; octet < 4; ++octet) {
      text += "." + number(300);
    }
    return below(2) == 0 ? text : text + ":" + number(70000);
  }

  std::string mutated() {
    std::string text = address();
    for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
      const std::size_t at = below(text.size() + 1);
      switch (below(4)) {
        case 0:
          text.insert(at, 1, character());
          break;
        case 1:
          text.erase(at, 1);
          break;
        case 2:
          text.replace(at, 1, 1, character());
          break;
        default:
          text.insert(at, text.substr(below(text.size() + 1), below(6)));
      }
    }
    return text;
  }

 private:
  std::size_t below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
  }
  char character() {
    constexpr char kCharacters[] = "0123456789012345...:::+- \t\naxX\0";
    return kCharacters[below(sizeof kCharacters)];
  }
  std::string number(std::size_t limit) {
    return std::to_string(below(4) == 0 ? below(10) : below(limit));
  }

  std::mt19937 random_{20240229};
};

TEST(CheckIpAddrTest, AgreesWithWritingTheNumbersAgain) {
  RandomAddresses random;
  int accepted = 0;
  int refused = 0;
  for (int i = 0; i < 40000; ++i) {
    for (const std::string& text : {random.anything(), random.address(), random.mutated()}) {
      const bool expected = isSameWhenWrittenAgain(text);

      ASSERT_EQ(qx::checkIpAddr(text), expected) << testing::PrintToString(text);
      ++(expected ? accepted : refused);
    }
  }
  EXPECT_GT(accepted, 10000);
  EXPECT_GT(refused, 10000);
}

// --- SearchSharePrinterDevice -------------------------------------------------------------------

using SharedPrinters = std::list<_SharePrinterDevice>;

_SharePrinterDevice shared(const std::string& addr, const std::string& name,
                           const std::string& desc) {
  _SharePrinterDevice printer = {};
  addr.copy(printer.addr, sizeof printer.addr);
  name.copy(printer.name, sizeof printer.name);
  desc.copy(printer.desc, sizeof printer.desc);
  return printer;
}

// All 384 bytes of each.
std::vector<Bytes> bytesOfEach(const SharedPrinters& printers) {
  std::vector<Bytes> all;
  for (const _SharePrinterDevice& printer : printers) {
    all.push_back(bytesOf(&printer, sizeof printer));
  }
  return all;
}

class SharedPrintersTest : public ProxyTest {
 protected:
  // The list after a search, which was not empty before.
  int search(const Reply& reply) {
    bus.answer("searchSharePrinter", reply);
    list = {shared("9.9.9.9", "old", "older")};
    forget();
    return proxy->SearchSharePrinterDevice("10.0.0.9", list);
  }
  bool isUntouched() const {
    return bytesOfEach(list) == bytesOfEach({shared("9.9.9.9", "old", "older")});
  }
  // A text as it stands in each of the three fields.
  void expectField(const std::string& text, const std::string& expected) {
    ASSERT_EQ(search(Reply().int32(0).int32(1).string(text).string(text).string(text)), 0);
    EXPECT_EQ(bytesOfEach(list), bytesOfEach({shared(expected, expected, expected)}))
        << text.size();
  }

  SharedPrinters list;
};

TEST_F(SharedPrintersTest, ASearchReplacesTheListWithItsResults) {
  const Reply reply = Reply()
                          .int32(0)
                          .int32(2)
                          .string("10.0.0.7")
                          .string("P1")
                          .string("Office")
                          .string("10.0.0.8")
                          .string("P2")
                          .string("");

  EXPECT_EQ(search(reply), 0);

  EXPECT_EQ(bytesOfEach(list),
            bytesOfEach({shared("10.0.0.7", "P1", "Office"), shared("10.0.0.8", "P2", "")}));
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("SearchSharePrinterDevice", "enter ipaddr: %s",
                                    "enter ipaddr: 10.0.0.9"),
                          debugLine("SearchSharePrinterDevice", "[%d] addr:%s name:%s desc:%s",
                                    "[1] addr:10.0.0.7 name:P1 desc:Office"),
                          debugLine("SearchSharePrinterDevice", "[%d] addr:%s name:%s desc:%s",
                                    "[2] addr:10.0.0.8 name:P2 desc:")));
}

TEST_F(SharedPrintersTest, ASearchThatFindsNothingEmptiesTheList) {
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(search(Reply().int32(0).int32(count).string("a").string("n").string("d")), 0);

    EXPECT_THAT(list, IsEmpty()) << count;
    EXPECT_EQ(log.lines().size(), 1u) << count;
  }
}

TEST_F(SharedPrintersTest, AResultThatIsNotZeroLeavesTheListAlone) {
  for (const int result : {5, 1, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(search(Reply().int32(result).int32(1).string("a").string("n").string("d")), result);

    EXPECT_TRUE(isUntouched()) << result;
    EXPECT_EQ(log.lines().size(), 1u) << result;
  }
}

TEST_F(SharedPrintersTest, NoAnswerLeavesTheListAlone) {
  EXPECT_EQ(search(Reply().int32(0).int32(0).ofType(MESSAGE_TYPE_ERROR)), -1);
  EXPECT_TRUE(isUntouched());

  disconnect(*proxy);
  EXPECT_EQ(proxy->SearchSharePrinterDevice("10.0.0.9", list), -1);
  EXPECT_TRUE(isUntouched());
}

TEST_F(SharedPrintersTest, ARefusedAddressLeavesTheListAloneAndLogsNoRefusal) {
  search(Reply().int32(5));
  disconnect(*instance);
  for (const std::string address : {"printer.local", "", "10.0.0.9 ", "10.0.0.9:65536", "::1"}) {
    forget();

    EXPECT_EQ(proxy->SearchSharePrinterDevice(address, list), 1);

    EXPECT_TRUE(isUntouched());
    EXPECT_THAT(log.summaries(),
                ElementsAre(debugLine("SearchSharePrinterDevice", "enter ipaddr: %s",
                                      "enter ipaddr: " + address)));
    EXPECT_EQ(timeline.all().size(), 1u) << "neither a connection nor a call";
  }
}

TEST_F(SharedPrintersTest, AFoundTextIsCutAt127Characters) {
  for (const std::size_t length : {1u, 126u, 127u, 128u, 200u, 100000u}) {
    const std::string text(length, 'x');

    expectField(text, text.substr(0, 127));
  }
}

TEST_F(SharedPrintersTest, AFoundTextEndsAtItsFirstNul) {
  expectField(std::string("ab\0rest", 7), "ab");
}

TEST_F(SharedPrintersTest, EachCutTextIsLoggedAsItStandsInTheList) {
  const std::string text(200, 'x');

  search(Reply().int32(0).int32(1).string("a").string(text).string("d"));

  EXPECT_EQ(log.summaries().back(),
            debugLine("SearchSharePrinterDevice", "[%d] addr:%s name:%s desc:%s",
                      "[1] addr:a name:" + text.substr(0, 127) + " desc:d"));
}

TEST_F(SharedPrintersTest, ASearchFindsNoMoreThanAnnounced) {
  EXPECT_EQ(search(Reply().int32(0).int32(1).string("a").string("n").string("d").string("b")), 0);

  EXPECT_EQ(bytesOfEach(list), bytesOfEach({shared("a", "n", "d")}));
}

TEST_F(SharedPrintersTest, ASearchEndsWithTheReply) {
  const int most = std::numeric_limits<int>::max();
  EXPECT_EQ(search(Reply().int32(0).int32(most).string("a").string("n").string("d")), 0);
  EXPECT_EQ(bytesOfEach(list), bytesOfEach({shared("a", "n", "d")}));

  EXPECT_EQ(search(Reply().int32(0).int32(most)), 0);
  EXPECT_THAT(list, IsEmpty());
}

TEST_F(SharedPrintersTest, APrinterThatIsCutOffIsNotFound) {
  EXPECT_EQ(search(Reply().int32(0).int32(1).string("a").string("n")), 0);
  EXPECT_THAT(list, IsEmpty());
  EXPECT_EQ(log.lines().size(), 1u);

  for (const Reply& rest : {Reply().string("b"), Reply().string("b").string("m")}) {
    Reply reply = Reply().int32(0).int32(2).string("a").string("n").string("d");
    reply.arguments.insert(reply.arguments.end(), rest.arguments.begin(), rest.arguments.end());

    EXPECT_EQ(search(reply), 0);

    EXPECT_EQ(bytesOfEach(list), bytesOfEach({shared("a", "n", "d")}));
    EXPECT_EQ(log.lines().size(), 2u);
  }
}

TEST_F(SharedPrintersTest, ASearchSendsTheAddressWithItsPort) {
  bus.answer("searchSharePrinter", Reply().int32(0).int32(0));

  EXPECT_EQ(proxy->SearchSharePrinterDevice("255.255.255.255:65535", list), 0);

  EXPECT_EQ(bus.lastCall(), "searchSharePrinter(string \"255.255.255.255:65535\")");
}

// --- StopSearchSharePrinterDevice ---------------------------------------------------------------

TEST_F(SharedPrintersTest, AStopIsSentOnceTheSearchHasReturned) {
  bus.answer("searchSharePrinter", Reply().int32(0).int32(0));
  bus.answer("stopSearchSharePrinter", Reply().int32(4));
  Gate gate = timeline.hold("call searchSharePrinter(");
  Background searching([this] { return proxy->SearchSharePrinterDevice("10.0.0.9", list); });
  ASSERT_TRUE(gate.isReached());

  Background stopping([this] { return proxy->StopSearchSharePrinterDevice(); });

  ASSERT_TRUE(timeline.waitFor(stopping.id(), "Debug StopSearchSharePrinterDevice: enter"));
  EXPECT_FALSE(timeline.happensSoon(stopping.id(), "make "));
  gate.open();
  EXPECT_EQ(searching.result(), 0);
  EXPECT_EQ(stopping.result(), 4);
  EXPECT_THAT(bus.requests(),
              ElementsAre("searchSharePrinter(string \"10.0.0.9\")", "stopSearchSharePrinter()"));
}

// --- AddSharePrinterDevice, DeleteSharePrinterDevice --------------------------------------------

TEST_F(SharedPrintersTest, AddingNothingSendsOnlyTheCount) {
  bus.answer("addSharePrinter", Reply().int32(4));

  EXPECT_EQ(proxy->AddSharePrinterDevice(list), 4);

  EXPECT_EQ(bus.lastCall(), "addSharePrinter(int32 0)");
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("AddSharePrinterDevice", "enter"),
                          debugLine("AddSharePrinterDevice", "size: %d", "size: 0")));
}

TEST_F(SharedPrintersTest, AddingLeavesTheListAsItWas) {
  bus.answer("addSharePrinter", Reply().int32(4));
  list = {shared("10.0.0.7", "P1", "Office"), shared("10.0.0.8", "P2", "")};
  const std::vector<Bytes> before = bytesOfEach(list);

  EXPECT_EQ(proxy->AddSharePrinterDevice(list), 4);

  EXPECT_EQ(bytesOfEach(list), before);
}

TEST_F(SharedPrintersTest, AddingSendsManyInOrder) {
  bus.answer("addSharePrinter", Reply().int32(4));
  std::string expected = "addSharePrinter(int32 300";
  for (int i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i);
    list.push_back(shared("a" + number, "n" + number, "d" + number));
    expected +=
        ", cstring \"a" + number + "\", cstring \"n" + number + "\", cstring \"d" + number + "\"";
  }

  EXPECT_EQ(proxy->AddSharePrinterDevice(list), 4);

  EXPECT_EQ(bus.lastCall(), expected + ")");
  EXPECT_EQ(log.summaries().back(), debugLine("AddSharePrinterDevice", "size: %d", "size: 300"));
}

TEST_F(SharedPrintersTest, TextsThatFillTheirFieldsAreReadNoFurther) {
  bus.answer("addSharePrinter", Reply().int32(0));
  bus.answer("deleteSharePrinter", Reply().int32(0));
  const std::string addr(128, 'a');
  const std::string name(128, 'n');
  const std::string desc(128, 'd');
  list = {shared(addr, name, desc)};

  proxy->AddSharePrinterDevice(list);
  EXPECT_EQ(bus.lastCall(), "addSharePrinter(int32 1, cstring \"" + addr + "\", cstring \"" + name +
                                "\", cstring \"" + desc + "\")");

  proxy->DeleteSharePrinterDevice(list.front());
  EXPECT_EQ(bus.lastCall(),
            "deleteSharePrinter(cstring \"" + addr + "\", cstring \"" + name + "\")");
}

TEST_F(SharedPrintersTest, DeletingSendsAddressAndNameOnly) {
  bus.answer("deleteSharePrinter", Reply().int32(-4));
  _SharePrinterDevice printer = shared("10.0.0.7", "P1", "Office");
  const Bytes before = bytesOf(&printer, sizeof printer);

  EXPECT_EQ(proxy->DeleteSharePrinterDevice(printer), -4);

  EXPECT_EQ(bus.lastCall(), "deleteSharePrinter(cstring \"10.0.0.7\", cstring \"P1\")");
  EXPECT_EQ(bytesOf(&printer, sizeof printer), before);
}

}  // namespace
