// Print queues and drivers; the rows are in rows/print_queues.cpp.

#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;

class PrintQueuesTest : public ProxyTest {
 protected:
  PrintQueuesTest() {
    for (const char* const method : {"addPrinter", "autoAddPrinter", "deletePrinter",
                                     "changePrinterDriver", "printTestPage"}) {
      bus.answer(method, Reply().int32(6));
    }
    bus.answer("getPrinterDriverlList", Reply().string("drivers"));
  }
};

TEST_F(PrintQueuesTest, EmptyTextsAreSent) {
  EXPECT_EQ(proxy->GetPrinterDriverlList(""), "drivers");
  EXPECT_EQ(proxy->AddLocalPrinter("", "", ""), 6);
  EXPECT_EQ(proxy->AutoAddPrinter("", "", ""), 6);
  EXPECT_EQ(proxy->DeletePrinter(""), 6);
  EXPECT_EQ(proxy->ChangePrinterDriver("", ""), 6);
  EXPECT_EQ(proxy->PrintTestPage(""), 6);

  EXPECT_THAT(bus.requests(), ElementsAre("getPrinterDriverlList(string \"\")",
                                          "addPrinter(string \"\", string \"\", string \"\")",
                                          "autoAddPrinter(string \"\", string \"\", string \"\")",
                                          "deletePrinter(string \"\")",
                                          "changePrinterDriver(string \"\", string \"\")",
                                          "printTestPage(string \"\")"));
}

TEST_F(PrintQueuesTest, TextsKeepEveryByte) {
  const std::string a("a\0\xFF", 3);
  const std::string b("b\n\0", 3);
  const std::string c("\0c", 2);

  proxy->GetPrinterDriverlList(a);
  proxy->AddLocalPrinter(a, b, c);
  proxy->AutoAddPrinter(a, b, c);
  proxy->DeletePrinter(a);
  proxy->ChangePrinterDriver(a, b);
  proxy->PrintTestPage(a);

  const auto argument = [](const std::string& text) { return "string \"" + text + "\""; };
  const std::string all = argument(a) + ", " + argument(b) + ", " + argument(c);
  EXPECT_THAT(bus.requests(),
              ElementsAre("getPrinterDriverlList(" + argument(a) + ")", "addPrinter(" + all + ")",
                          "autoAddPrinter(" + all + ")", "deletePrinter(" + argument(a) + ")",
                          "changePrinterDriver(" + argument(a) + ", " + argument(b) + ")",
                          "printTestPage(" + argument(a) + ")"));
}

TEST_F(PrintQueuesTest, TextsAreReturnedAsTheServiceSentThem) {
  const std::string texts[] = {"", "[]\n", std::string("a\0b", 3), std::string(100000, 'p')};
  for (const std::string& text : texts) {
    bus.answer("searchAllPrinter", Reply().string(text));
    bus.answer("getPrinterDriverlList", Reply().string(text));
    forget();

    EXPECT_EQ(proxy->SearchAllPrinter(), text);
    EXPECT_EQ(proxy->GetPrinterDriverlList("P1"), text);

    const std::string logged = "result: " + std::string(text.c_str());
    EXPECT_THAT(log.summaries(),
                ElementsAre(debugLine("SearchAllPrinter", "enter"),
                            debugLine("SearchAllPrinter", "result: %s", logged),
                            debugLine("GetPrinterDriverlList", "enter"),
                            debugLine("GetPrinterDriverlList", "result: %s", logged)));
  }
}

// An empty text and a missing answer differ in the log only.
TEST_F(PrintQueuesTest, NoAnswerIsAnEmptyTextWithoutAResultInTheLog) {
  bus.answer("searchAllPrinter", Reply::error("no printers"));
  bus.answer("getPrinterDriverlList", Reply::error("no drivers"));

  EXPECT_EQ(proxy->SearchAllPrinter(), "");
  EXPECT_EQ(proxy->GetPrinterDriverlList("P1"), "");

  EXPECT_THAT(
      log.summaries(),
      ElementsAre(
          debugLine("SearchAllPrinter", "enter"),
          errorLine("SearchAllPrinter", "reply type: %d(%s)", "reply type: 3(no printers)"),
          debugLine("GetPrinterDriverlList", "enter"),
          errorLine("GetPrinterDriverlList", "reply type: %d(%s)", "reply type: 3(no drivers)")));
}

// Only an automatic addition may take the service half a minute.
TEST_F(PrintQueuesTest, OnlySlowMethodsHaveALongTimeLimit) {
  proxy->AddLocalPrinter("a", "b", "c");
  EXPECT_LT(bus.lastTimeoutMs(), 20000);

  proxy->AutoAddPrinter("a", "b", "c");
  EXPECT_GT(bus.lastTimeoutMs(), 20000);
}

}  // namespace
