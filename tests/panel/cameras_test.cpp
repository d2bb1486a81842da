// What the menu of a camera's card has of its own.

#include "tests/panel/window_test.h"

namespace panel {
namespace {

class CameraTest : public WindowTest {
 protected:
  CameraTest() {
    EXPECT_TRUE(isReady());
    // A reset leaves it.
    EXPECT_TRUE(vel::Client().setTurboConfig(usb(), "fps=30"));
  }

  vel::UsbId usb() { return model.find(kCamera)->usb; }
  static std::string configOf(vel::UsbId usb) {
    const vel::Result<std::string> config = vel::Client().turboConfig(usb);
    return config ? *config : config.error().message();
  }
  void open() {
    card(kCamera).more().configureTurbo().trigger();
    ASSERT_NE(page.turbo(), nullptr);
    EXPECT_FALSE(page.turbo()->edit().isEnabled()) << "the text is not there yet";
    EXPECT_TRUE(page.turbo()->status().isBusy());
    EXPECT_TRUE(endsInDialog());
  }
  bool endsInDialog() {
    return loopUntil([&] { return !page.turbo()->status().isBusy(); });
  }
  std::string problem() { return page.turbo()->status().problem().toStdString(); }
};

TEST_F(CameraTest, OnlyCamerasHaveATurboConfiguration) {
  EXPECT_TRUE(card(kCamera).more().configureTurbo().isVisible());
  EXPECT_FALSE(card(kStick).more().configureTurbo().isVisible());
}

TEST_F(CameraTest, ItsTurboConfigurationIsShownAndChanged) {
  open();
  EXPECT_EQ(page.turbo()->windowTitle().toStdString(), "Turbo configuration of Built-in camera");
  EXPECT_EQ(page.turbo()->edit().text().toStdString(), "fps=30");

  EXPECT_EQ(page.turbo()->focusWidget(), &page.turbo()->edit());
  page.turbo()->edit().selectAll();
  QTest::keyClicks(&page.turbo()->edit(), "fps=60");
  QTest::keyClick(&page.turbo()->edit(), Qt::Key_Return);

  EXPECT_TRUE(loopUntil([&] { return !page.turbo()->isVisible(); }));
  EXPECT_EQ(configOf(usb()), "fps=60");
}

TEST_F(CameraTest, AFailureKeepsTheDialogAndWhatWasTyped) {
  open();
  velsim().control("fault setTurboConfigWithVidPid 1 error \"the disk is full\"");
  QTest::keyClicks(&page.turbo()->edit(), ",hd");
  QTest::mouseClick(&page.turbo()->save(), Qt::LeftButton);

  EXPECT_TRUE(endsInDialog());
  EXPECT_EQ(problem(), "The disk is full. See the service's log.");
  EXPECT_TRUE(page.turbo()->isVisible());
  EXPECT_EQ(page.turbo()->edit().text().toStdString(), "fps=30,hd");
  QTest::mouseClick(&page.turbo()->save(), Qt::LeftButton);
  EXPECT_TRUE(loopUntil([&] { return !page.turbo()->isVisible(); }));
  EXPECT_EQ(configOf(usb()), "fps=30,hd");
}

TEST_F(CameraTest, AConfigurationOfSeveralLinesIsShownAndNotDamaged) {
  ASSERT_TRUE(vel::Client().setTurboConfig(usb(), "fps=30\nhd=1\n"));
  open();

  EXPECT_FALSE(page.turbo()->save().isEnabled());
  EXPECT_TRUE(page.turbo()->edit().isReadOnly());
  EXPECT_EQ(problem(),
            "The text is more than a line: it would be damaged here. "
            "Change it with velctl turbo set.");
}

TEST_F(CameraTest, AServiceThatIsAwayTakesNoConfiguration) {
  velsim().control("fault getTurboConfigWithVidPid 1 error \"the disk is full\"");
  open();
  velsim().kill();
  ASSERT_TRUE(becomesUnavailable());
  EXPECT_FALSE(page.turbo()->save().isEnabled());

  velsim().start();

  EXPECT_TRUE(loopUntil([&] { return page.turbo()->save().isEnabled(); })) << "read again";
  velsim().kill();
  ASSERT_TRUE(becomesUnavailable());
  EXPECT_FALSE(page.turbo()->save().isEnabled());
  EXPECT_EQ(problem(), service.problem().text().toStdString());
}

TEST_F(CameraTest, AConfigurationThatCannotBeReadIsNotSaved) {
  velsim().control("fault getTurboConfigWithVidPid 1- error \"the disk is full\"");
  open();

  EXPECT_EQ(problem(), "The disk is full. See the service's log.");
  EXPECT_FALSE(page.turbo()->save().isEnabled());
}

}  // namespace
}  // namespace panel
