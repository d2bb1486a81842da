// The page for printing, as a person uses it.

#include <QTest>

#include "examples/panel/printing/printing_page.h"
#include "examples/panel/window.h"
#include "tests/panel/panel_test.h"

namespace panel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PrintingTest : public PanelTest {
 protected:
  PrintingTest() {
    window.show();
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_TRUE(isReady());
    QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
    EXPECT_TRUE(loopUntil([&] { return queues.queues().count() == 2 && !isBusy(); }));
  }

  bool isReady() {
    return loopUntil([&] { return service.isReady(); });
  }
  bool isBusy() {
    return queues.model().isBusy() || network.model().isBusy() || shared.model().isBusy();
  }
  bool ends() {
    return loopUntil([&] { return !isBusy(); });
  }
  static std::vector<std::string> textsOf(const QListWidget& list) {
    std::vector<std::string> texts;
    for (int row = 0; row < list.count(); ++row) {
      texts.push_back(list.item(row)->text().toStdString());
    }
    return texts;
  }
  static std::string problemIn(const OperationStatus& status) {
    return status.problem().toStdString();
  }
  void search(const char* address) {
    shared.address().edit().clear();
    QTest::keyClicks(&shared.address().edit(), address);
    QTest::mouseClick(&shared.search(), Qt::LeftButton);
  }
  // The service has got the request of the search, and waits for the time to move.
  bool isSearchAtTheService() {
    return loopUntil([&] {
      QCoreApplication::postEvent(&service, new QEvent(QEvent::User));
      return velsim().control("faults").find("met 1") != std::string::npos;
    });
  }

  Service service{std::chrono::milliseconds(50)};
  Window window{service};
  PrintingPage& page = window.pages().page<PrintingPage>();
  SharedPrintersBox& shared = page.shared();
  NetworkPrintersBox& network = page.network();
  PrintQueuesBox& queues = page.queues();
};

// --- Shared printers -----------------------------------------------------------------------------

TEST_F(PrintingTest, ASearchShowsItsProgressAndWhatItFinds) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  EXPECT_FALSE(shared.progress().isVisible());
  search("10.0.0.7");
  EXPECT_TRUE(shared.progress().isVisible());
  EXPECT_TRUE(shared.stop().isVisible());
  EXPECT_FALSE(shared.search().isEnabled());
  ASSERT_TRUE(isSearchAtTheService());
  EXPECT_TRUE(loopUntil([&] { return shared.progress().value() > 0; }));

  velsim().control("advance 1s");
  ASSERT_TRUE(ends());

  EXPECT_FALSE(shared.progress().isVisible());
  EXPECT_THAT(textsOf(shared.found()), ElementsAre("Reception, Ground floor", "Archive, Basement"));
  EXPECT_EQ(problemIn(shared.status()), "");
}

TEST_F(PrintingTest, MarkedOnesAreAddedAndMayBeRemoved) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  search("10.0.0.7");
  ASSERT_TRUE(isSearchAtTheService());
  velsim().control("advance 1s");
  ASSERT_TRUE(ends());

  shared.found().item(0)->setCheckState(Qt::Unchecked);
  QTest::mouseClick(&shared.add(), Qt::LeftButton);
  EXPECT_TRUE(shared.status().isBusy());
  EXPECT_TRUE(loopUntil([&] { return queues.queues().count() == 3; }));

  EXPECT_THAT(textsOf(queues.queues()), Contains("Archive, shared at 10.0.0.7"));
  QTest::mouseClick(&shared.add(), Qt::LeftButton);
  EXPECT_TRUE(ends());
  EXPECT_EQ(problemIn(shared.status()),
            "The service refused: the name is in use. See the service's log.");
  shared.found().item(1)->setCheckState(Qt::Unchecked);
  EXPECT_FALSE(shared.add().isEnabled()) << "none is marked";

  queues.queues().setCurrentRow(2);
  EXPECT_FALSE(queues.driver().isEnabled());
  QTest::mouseClick(&queues.remove(), Qt::LeftButton);
  EXPECT_TRUE(loopUntil([&] { return queues.queues().count() == 2; }));
}

TEST_F(PrintingTest, AButtonStopsTheSearch) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  search("10.0.0.7");
  ASSERT_TRUE(isSearchAtTheService());

  QTest::mouseClick(&shared.stop(), Qt::LeftButton);

  EXPECT_TRUE(ends());
  EXPECT_EQ(shared.note().toStdString(), "The search was stopped.");
  EXPECT_EQ(problemIn(shared.status()), "");
  EXPECT_TRUE(shared.search().isEnabled());
  EXPECT_FALSE(shared.stop().isVisible());
}

TEST_F(PrintingTest, ASearchIsUsedByKeyboardAlone) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  shared.address().edit().setFocus();
  QTest::keyClicks(&shared.address().edit(), "10.0.0.9");
  QTest::keyClick(&shared.address().edit(), Qt::Key_Return);
  ASSERT_TRUE(isSearchAtTheService());
  velsim().control("advance 1s");
  EXPECT_TRUE(ends());
  EXPECT_EQ(shared.note().toStdString(), "No printer is shared there.");

  velsim().control("clear-faults all");
  velsim().control("fault searchSharePrinter 1 delay 1");
  QTest::keyClick(&shared.address().edit(), Qt::Key_Return);
  ASSERT_TRUE(isSearchAtTheService());
  QTest::keyClick(&window, Qt::Key_O, Qt::AltModifier);
  EXPECT_TRUE(ends());
  EXPECT_EQ(shared.note().toStdString(), "The search was stopped.");
}

TEST_F(PrintingTest, AnAttachDoesNotWaitForASearch) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  search("10.0.0.7");
  ASSERT_TRUE(isSearchAtTheService());

  window.things().attach(kCamera, "win11");

  EXPECT_TRUE(loopUntil([&] { return isAttached(window.things(), kCamera, "win11"); }));
  EXPECT_TRUE(shared.model().isSearching());
  QTest::mouseClick(&shared.stop(), Qt::LeftButton);
  EXPECT_TRUE(ends());
}

TEST_F(PrintingTest, ASearchThatFailsSaysWhyAndWhatToDo) {
  velsim().control("fault searchSharePrinter 1 error \"the network is down\"");
  search("10.0.0.7");

  EXPECT_TRUE(ends());
  EXPECT_EQ(problemIn(shared.status()), "The network is down. See the service's log.");
  EXPECT_THAT(textsOf(shared.found()), IsEmpty());
}

TEST_F(PrintingTest, AServiceThatDiesEndsTheSearch) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  search("10.0.0.7");
  ASSERT_TRUE(isSearchAtTheService());

  velsim().kill();

  EXPECT_TRUE(ends());
  EXPECT_NE(problemIn(shared.status()), "");
  EXPECT_TRUE(loopUntil([&] { return window.hasBanner(); }));
  velsim().start();
  EXPECT_TRUE(isReady());
  velsim().control("fault searchSharePrinter 1 delay 1");
  search("10.0.0.7");
  ASSERT_TRUE(isSearchAtTheService());
  velsim().control("advance 1s");
  EXPECT_TRUE(ends());
  EXPECT_EQ(shared.found().count(), 2);
}

TEST_F(PrintingTest, AWindowMayCloseDuringASearch) {
  velsim().control("fault searchSharePrinter 1 delay 1");
  const std::size_t before = velsim().log().size();
  {
    SharedPrinterSearch other(service);
    other.start("10.0.0.7");
    ASSERT_TRUE(isSearchAtTheService());
  }

  // The service ends the search.
  EXPECT_TRUE(loopUntil([&] {
    QCoreApplication::postEvent(&service, new QEvent(QEvent::User));
    return velsim().log().find("stopSearchSharePrinter", before) != std::string::npos;
  }));
}

// --- Network printers ----------------------------------------------------------------------------

TEST_F(PrintingTest, AnAddressIsCheckedWhileItIsTyped) {
  AddressField& address = network.address();
  EXPECT_FALSE(network.add().isEnabled());
  QTest::keyClicks(&address.edit(), "10.0.0.256");
  EXPECT_EQ(address.mistake().toStdString(), "256 is more than 255.");
  EXPECT_EQ(address.edit().accessibleDescription(), address.mistake());
  EXPECT_FALSE(network.add().isEnabled());
  QTest::keyClick(&address.edit(), Qt::Key_Backspace);
  EXPECT_EQ(address.mistake().toStdString(), "");
  EXPECT_TRUE(network.add().isEnabled());
}

TEST_F(PrintingTest, ANetworkPrinterIsAddedByItsAddressAndRemoved) {
  QTest::keyClicks(&network.address().edit(), "10.0.0.6");
  QTest::keyClicks(&network.name(), "Lobby");
  QTest::mouseClick(&network.add(), Qt::LeftButton);
  EXPECT_TRUE(network.status().isBusy());
  EXPECT_TRUE(ends());
  EXPECT_THAT(textsOf(network.printers()), ElementsAre("Lobby, 10.0.0.6"));
  EXPECT_EQ(network.address().edit().text().toStdString(), "") << "for the next one";

  QTest::keyClicks(&network.address().edit(), "10.0.0.5");
  QTest::keyClick(&network.address().edit(), Qt::Key_Return);
  EXPECT_TRUE(ends());
  EXPECT_EQ(network.printers().count(), 2) << "the service chooses a name";
  QTest::keyClicks(&network.address().edit(), "10.0.0.4");
  QTest::keyClicks(&network.name(), "Lobby");
  QTest::keyClick(&network.name(), Qt::Key_Return);
  EXPECT_TRUE(ends());
  EXPECT_EQ(problemIn(network.status()),
            "The service refused: the name is in use. See the service's log.");
  EXPECT_EQ(network.address().edit().text().toStdString(), "10.0.0.4") << "to be changed";

  const QString removed = network.printers().currentItem()->text();
  QTest::mouseClick(&network.remove(), Qt::LeftButton);
  EXPECT_TRUE(ends());
  EXPECT_EQ(network.printers().count(), 1);
  EXPECT_NE(network.printers().item(0)->text(), removed);
}

// --- Print queues --------------------------------------------------------------------------------

TEST_F(PrintingTest, ADriverIsChosenForAQueue) {
  EXPECT_THAT(textsOf(queues.queues()),
              ElementsAre("office, Laser PostScript", "photo, Photo raster"));
  EXPECT_EQ(queues.driver().currentText().toStdString(), "Laser PostScript");

  queues.driver().setFocus();
  QTest::keyClick(&queues.driver(), Qt::Key_Down);
  EXPECT_TRUE(queues.status().isBusy());
  EXPECT_TRUE(ends());
  EXPECT_THAT(textsOf(queues.queues()), Contains("office, Laser raster"));
  EXPECT_TRUE(queues.driver().hasFocus());

  velsim().control("fault changePrinterDriver 1 error \"the spooler is away\"");
  QTest::keyClick(&queues.driver(), Qt::Key_Down);
  EXPECT_TRUE(ends());
  EXPECT_EQ(problemIn(queues.status()), "The spooler is away. See the service's log.");
  EXPECT_EQ(queues.driver().currentText().toStdString(), "Laser raster");
}

TEST_F(PrintingTest, ATestPageIsPrintedAndAQueueRemoved) {
  queues.queues().setCurrentRow(1);
  EXPECT_EQ(queues.driver().currentText().toStdString(), "Photo raster");
  QTest::mouseClick(&queues.testPage(), Qt::LeftButton);
  EXPECT_TRUE(ends());
  const vel::Result<std::string> printers = vel::Client().allPrinters();
  ASSERT_TRUE(printers);
  EXPECT_THAT(*printers, HasSubstr("\"testPages\":1"));

  QTest::mouseClick(&queues.remove(), Qt::LeftButton);
  EXPECT_TRUE(ends());
  EXPECT_THAT(textsOf(queues.queues()), ElementsAre("office, Laser PostScript"));
}

TEST_F(PrintingTest, AnOtherQueueMayBeChosenWhileOneWorks) {
  ASSERT_GT(queues.driver().count(), 1);
  velsim().control("fault printTestPage 1 delay 300");
  QTest::mouseClick(&queues.testPage(), Qt::LeftButton);
  ASSERT_TRUE(queues.status().isBusy());

  queues.queues().setCurrentRow(1);

  ASSERT_TRUE(queues.status().isBusy());
  EXPECT_EQ(queues.driver().currentText().toStdString(), "Photo raster");
  QTest::keyClick(&queues.driver(), Qt::Key_End);
  QTest::keyClick(&queues.driver(), Qt::Key_Home);
  EXPECT_TRUE(ends());
  EXPECT_THAT(textsOf(queues.queues()),
              ElementsAre("office, Laser PostScript", "photo, Photo raster"));
}

TEST_F(PrintingTest, TheChosenQueueIsTheSameWhenOthersHaveGone) {
  ASSERT_TRUE(vel::Client().addSharedPrinters({{"10.0.0.7", "Archive", "Basement"}}));
  queues.queues().setCurrentRow(1);
  ASSERT_TRUE(vel::Client().removePrinter("office"));

  QTest::keyClick(&window, Qt::Key_F5);
  ASSERT_TRUE(loopUntil([&] { return queues.queues().item(0)->text().startsWith("photo"); }));

  EXPECT_EQ(queues.queues().currentItem()->text().toStdString(), "photo, Photo raster");
  EXPECT_EQ(queues.queues().count(), 2);
  EXPECT_TRUE(ends());
}

// The service is looked for then, and the page reads its lists again.
TEST_F(PrintingTest, TheReasonOfAnOperationWithoutAnAnswerStays) {
  velsim().control("fault printTestPage 1 no-answer");
  bool isReadAgain = false;
  QObject::connect(&service, &Service::refreshed, [&] { isReadAgain = true; });
  QTest::mouseClick(&queues.testPage(), Qt::LeftButton);

  EXPECT_TRUE(loopUntil([&] { return isReadAgain; }));
  EXPECT_TRUE(ends());
  EXPECT_THAT(problemIn(queues.status()), HasSubstr("No reply in time."));

  QTest::mouseClick(&queues.testPage(), Qt::LeftButton);
  EXPECT_TRUE(ends());
  EXPECT_EQ(problemIn(queues.status()), "");
}

TEST_F(PrintingTest, AListThatCannotBeReadHasAReason) {
  velsim().control("fault searchAllPrinter 1 error \"the spooler is away\"");
  QTest::keyClick(&window, Qt::Key_F5);
  EXPECT_TRUE(loopUntil([&] { return !queues.status().problem().isEmpty(); }));
  EXPECT_EQ(problemIn(queues.status()), "The spooler is away. See the service's log.");
  EXPECT_EQ(queues.queues().count(), 2) << "those that were read before";

  QTest::keyClick(&window, Qt::Key_F5);
  EXPECT_TRUE(loopUntil([&] { return queues.status().problem().isEmpty(); }));
  EXPECT_TRUE(ends());
  velsim().control("fault searchAllPrinter 1 not-utf8");
  QTest::keyClick(&window, Qt::Key_F5);
  EXPECT_TRUE(loopUntil([&] { return !queues.status().problem().isEmpty(); }));
  EXPECT_EQ(problemIn(queues.status()),
            "The service answered in an unknown form. See the service's log.");
}

}  // namespace
}  // namespace panel
