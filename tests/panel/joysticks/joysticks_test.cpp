// Joysticks: the model by itself, and the page as a person uses it.

#include <QTest>

#include "examples/panel/joysticks/joysticks_page.h"
#include "examples/panel/window.h"
#include "tests/panel/panel_test.h"

namespace panel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr vel::JoystickIndex kFlightStick{0};
constexpr vel::JoystickIndex kRacingWheel{2};
constexpr vel::MappingIndex kFlight{1};
constexpr vel::MappingIndex kRacing{2};

class JoysticksModelTest : public PanelTest {
 protected:
  bool isRead() {
    return loopUntil([&] { return model.joysticks().size() == 3; });
  }
  const JoystickEntry& entry(vel::JoystickIndex joystick) {
    return model.joysticks().at(joystick.value());
  }
  bool ends(vel::JoystickIndex joystick) {
    return loopUntil([&] { return !entry(joystick).isBusy; });
  }
  bool isMapped(vel::JoystickIndex joystick, vel::MappingIndex mapping) {
    return loopUntil([&] { return entry(joystick).joystick.mapping == mapping; });
  }
  std::string problemOf(vel::JoystickIndex joystick) {
    return entry(joystick).problem.text().toStdString();
  }

  Service service{std::chrono::milliseconds(50)};
  JoysticksModel model{service};
};

TEST_F(JoysticksModelTest, ListsJoysticksAndMappings) {
  ASSERT_TRUE(isRead());

  EXPECT_EQ(entry(kRacingWheel).joystick.name, "Racing wheel");
  std::vector<std::string> mappings;
  for (const vel::JoystickMapping& mapping : model.mappings()) {
    mappings.push_back(mapping.name);
  }
  EXPECT_THAT(mappings, ElementsAre("Standard", "Flight", "Racing"));
}

TEST_F(JoysticksModelTest, MapsAndCalibrates) {
  ASSERT_TRUE(isRead());

  model.setMapping(kRacingWheel, kRacing);
  EXPECT_TRUE(entry(kRacingWheel).isBusy);
  EXPECT_TRUE(isMapped(kRacingWheel, kRacing));
  EXPECT_TRUE(ends(kRacingWheel)) << "the event may come before the answer";
  model.calibrate(kRacingWheel);
  EXPECT_TRUE(loopUntil([&] { return entry(kRacingWheel).joystick.isCalibrated; }));
  EXPECT_EQ(problemOf(kRacingWheel), "");
  EXPECT_FALSE(entry(kFlightStick).joystick.isCalibrated);
}

TEST_F(JoysticksModelTest, AFailureIsAProblemOfItsJoystick) {
  ASSERT_TRUE(isRead());
  velsim().control("fault setJoystickMapping 1 error \"the cable is loose\"");

  model.setMapping(kFlightStick, kFlight);

  EXPECT_TRUE(ends(kFlightStick));
  EXPECT_EQ(problemOf(kFlightStick), "The cable is loose. See the service's log.");
  EXPECT_EQ(problemOf(kRacingWheel), "");
  model.setMapping(kFlightStick, vel::MappingIndex(9));
  EXPECT_EQ(problemOf(kFlightStick), "");
  EXPECT_TRUE(ends(kFlightStick));
  EXPECT_EQ(problemOf(kFlightStick),
            "The service refused: no mapping is at this position. See the service's log.");
}

TEST_F(JoysticksModelTest, ABusyJoystickTakesNoOtherOperation) {
  ASSERT_TRUE(isRead());
  velsim().control("fault setJoystickMapping 1 delay 300");

  model.setMapping(kFlightStick, kFlight);
  model.setMapping(kFlightStick, kRacing);
  model.calibrate(kFlightStick);

  EXPECT_TRUE(isMapped(kFlightStick, kFlight));
  EXPECT_FALSE(entry(kFlightStick).joystick.isCalibrated);
}

TEST_F(JoysticksModelTest, AListThatCannotBeReadHasAReason) {
  ASSERT_TRUE(isRead());
  // Each, because the model may still be about to read on its own.
  velsim().control("fault getJoystickDevList 1- error \"the driver is missing\"");

  model.refresh();

  EXPECT_TRUE(loopUntil([&] { return !model.problem().isEmpty(); }));
  EXPECT_EQ(model.problem().text().toStdString(), "The driver is missing. See the service's log.");
  EXPECT_EQ(model.joysticks().size(), 3U) << "those that were read before";
  EXPECT_TRUE(service.isReady()) << "all else works";
  velsim().control("clear-faults all");
  model.refresh();
  EXPECT_TRUE(loopUntil([&] { return model.problem().isEmpty(); }));
}

TEST_F(JoysticksModelTest, AResultThatThisProgramAnnouncesIsFollowed) {
  ASSERT_TRUE(isRead());
  velsim().control("joystick 0 calibrated");
  vel::JoystickEvent event;
  // The subscription begins at the service, which may be after the first list.
  EXPECT_TRUE(loopUntil([&] {
    EXPECT_TRUE(vel::Client().announceJoystick(event));
    return entry(kFlightStick).joystick.isCalibrated;
  }));
}

TEST_F(JoysticksModelTest, AServiceThatDiesDuringAnOperationLeavesAProblem) {
  ASSERT_TRUE(isRead());
  velsim().control("fault calibrationJoystick 1 death-before");

  model.calibrate(kFlightStick);

  EXPECT_TRUE(ends(kFlightStick));
  EXPECT_NE(problemOf(kFlightStick), "");
  EXPECT_TRUE(loopUntil([&] { return service.state() == Service::State::kUnavailable; }));
  velsim().wait();
  velsim().start();
  EXPECT_TRUE(loopUntil([&] { return service.isReady(); }));
  model.calibrate(kFlightStick);
  EXPECT_TRUE(loopUntil([&] { return entry(kFlightStick).joystick.isCalibrated; }));
}

// --- The page ------------------------------------------------------------------------------------

class JoysticksPageTest : public PanelTest {
 protected:
  JoysticksPageTest() {
    window.show();
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_TRUE(loopUntil([&] { return service.isReady(); }));
    QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
    EXPECT_TRUE(
        loopUntil([&] { return page.cards().size() == 3 && page.cards().back()->isVisible(); }));
  }

  JoystickCard& card(vel::JoystickIndex joystick) { return *page.cards().at(joystick.value()); }
  bool ends(vel::JoystickIndex joystick) {
    return loopUntil([&] { return !card(joystick).status().isBusy(); });
  }

  Service service{std::chrono::milliseconds(50)};
  Window window{service};
  JoysticksPage& page = window.pages().page<JoysticksPage>();
};

TEST_F(JoysticksPageTest, MapsByKeyboardAndCalibratesByMouse) {
  JoystickCard& wheel = card(kRacingWheel);
  EXPECT_TRUE(wheel.isVisible());
  EXPECT_EQ(wheel.name().toStdString(), "Racing wheel");
  EXPECT_EQ(wheel.state().toStdString(), "Not calibrated");
  EXPECT_EQ(wheel.mapping().currentText().toStdString(), "Standard");

  wheel.mapping().setFocus();
  QTest::keyClick(&wheel.mapping(), Qt::Key_End);
  EXPECT_TRUE(wheel.status().isBusy());
  EXPECT_TRUE(ends(kRacingWheel));
  EXPECT_EQ(wheel.mapping().currentText().toStdString(), "Racing");
  EXPECT_TRUE(wheel.mapping().hasFocus());
  EXPECT_THAT(velsim().control("joysticks"), HasSubstr("\"mapping\":\"Racing\""));

  QTest::mouseClick(&wheel.calibrate(), Qt::LeftButton);
  EXPECT_TRUE(loopUntil([&] { return wheel.state() == "Calibrated"; }));
}

TEST_F(JoysticksPageTest, AChoiceThatFailsIsTakenBack) {
  velsim().control("fault setJoystickMapping 1 error \"the cable is loose\"");

  QTest::keyClick(&card(kFlightStick).mapping(), Qt::Key_Down);

  EXPECT_TRUE(ends(kFlightStick));
  EXPECT_EQ(card(kFlightStick).mapping().currentText().toStdString(), "Standard");
  EXPECT_EQ(card(kFlightStick).status().problem().toStdString(),
            "The cable is loose. See the service's log.");
  EXPECT_EQ(card(kFlightStick).mapping().accessibleDescription(),
            card(kFlightStick).status().problem());
}

TEST_F(JoysticksPageTest, AFailureOfTheListStandsAboveTheCards) {
  velsim().control("fault getJoystickMappingList 1- error \"the driver is missing\"");

  QTest::keyClick(&window, Qt::Key_F5);

  EXPECT_TRUE(loopUntil([&] { return !page.note().isEmpty(); }));
  EXPECT_EQ(page.note().toStdString(), "The driver is missing. See the service's log.");
  velsim().control("clear-faults all");
  QTest::keyClick(&window, Qt::Key_F5);
  EXPECT_TRUE(loopUntil([&] { return page.note().isEmpty(); }));
}

TEST_F(JoysticksPageTest, IsReadAgainWhenItIsShown) {
  velsim().control("joystick 0 Racing");

  QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
  QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);

  EXPECT_TRUE(loopUntil([&] { return card(kFlightStick).mapping().currentText() == "Racing"; }));
}

TEST_F(JoysticksPageTest, HasNamesForAScreenReader) {
  EXPECT_EQ(card(kRacingWheel).mapping().accessibleName().toStdString(), "Mapping of Racing wheel");
  EXPECT_EQ(card(kRacingWheel).calibrate().accessibleName().toStdString(),
            "Calibrate Racing wheel");
}

}  // namespace
}  // namespace panel
