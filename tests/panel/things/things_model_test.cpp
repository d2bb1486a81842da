// Devices and printers, what happens to them, and to the service meanwhile.

#include "examples/panel/things/things_model.h"

#include <algorithm>
#include <iterator>

#include "tests/panel/panel_test.h"

namespace panel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::chrono::milliseconds kRetryInterval{50};

class ThingsModelTest : public PanelTest {
 protected:
  bool isReady() {
    return loopUntil([&] { return service.isReady(); });
  }
  bool becomesUnavailable() {
    return loopUntil([&] { return service.state() == Service::State::kUnavailable; });
  }
  // Runs the loop until the operation has ended.
  bool ends(const Number& number) {
    return loopUntil([&] { return isIdle(model, number); });
  }
  std::string problemOf(const Number& number) {
    const Thing* const thing = model.find(number);
    return thing ? thing->problem.text().toStdString() : "it is gone";
  }
  std::string stateOf(const Number& number) {
    const Thing* const thing = model.find(number);
    return thing ? thing->state().toStdString() : "it is gone";
  }

  Service service{kRetryInterval};
  ThingsModel model{service};
};

TEST_F(ThingsModelTest, ListsVmsDevicesAndPrinters) {
  EXPECT_EQ(service.state(), Service::State::kConnecting);

  ASSERT_TRUE(isReady());

  EXPECT_THAT(service.vms(), ElementsAre("debian", "ubuntu", "win10", "win11"));
  std::vector<std::string> shown;
  std::transform(model.things().begin(), model.things().end(), std::back_inserter(shown),
                 [](const Things::value_type& each) {
                   const Thing& thing = each.second;
                   return (thing.kind() + ": " + thing.name + ", " + thing.state()).toStdString();
                 });
  EXPECT_THAT(shown, ElementsAre("Storage: Memory stick, On this machine",
                                 "Camera: Built-in camera, On this machine",
                                 "Tablet: Drawing tablet, On this machine",
                                 "USB printer: Label printer, On this machine",
                                 "USB device: Barcode scanner, On this machine",
                                 "Printer: Office laser, On this machine",
                                 "Printer: Photo printer, On this machine"));
}

// --- Operations ----------------------------------------------------------------------------------

TEST_F(ThingsModelTest, AttachesAndDetaches) {
  ASSERT_TRUE(isReady());
  for (const Number& number : {kCamera, kLaser}) {
    model.attach(number, "win11");
    EXPECT_TRUE(model.find(number)->isBusy);
    EXPECT_TRUE(ends(number));
    EXPECT_EQ(stateOf(number), "Attached to win11");
    EXPECT_EQ(problemOf(number), "");
  }
  EXPECT_THAT(simulated("Built-in camera"), HasSubstr("in vm 101"));
  EXPECT_THAT(simulated("Office laser"), HasSubstr("in vm 101"));

  for (const Number& number : {kCamera, kLaser}) {
    model.detach(number);
    EXPECT_TRUE(ends(number));
    EXPECT_EQ(stateOf(number), "On this machine");
  }
  EXPECT_THAT(simulated("Built-in camera"), testing::Not(HasSubstr("in vm 101")));
}

TEST_F(ThingsModelTest, TakesAThingFromAnotherVm) {
  ASSERT_TRUE(isReady());
  for (const Number& number : {kCamera, kLaser}) {
    for (const char* const vm : {"ubuntu", "win11", "win11"}) {
      const std::string attached = std::string("Attached to ") + vm;
      model.attach(number, vm);
      EXPECT_TRUE(ends(number));
      // The event of the detachment may come after the result, and that of the attachment after it.
      EXPECT_TRUE(loopUntil([&] { return stateOf(number) == attached; })) << stateOf(number);
      EXPECT_EQ(problemOf(number), "");
    }
  }
}

TEST_F(ThingsModelTest, AThingThatIsTakenAndNotAttachedHasAProblem) {
  ASSERT_TRUE(isReady());
  model.attach(kCamera, "ubuntu");
  ASSERT_TRUE(ends(kCamera));
  velsim().control("fault connectDevice 1 error \"the cable is loose\"");

  model.attach(kCamera, "win11");

  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "On this machine");
  EXPECT_EQ(problemOf(kCamera), "The cable is loose. See the service's log.");
}

TEST_F(ThingsModelTest, SetsThePolicyOfADevice) {
  ASSERT_TRUE(isReady());

  model.setPolicy(kCamera, vel::LocalPolicy::kForbidden);
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "On this machine, must not be attached");
  EXPECT_EQ(model.find(kCamera)->name.toStdString(), "Built-in camera");
  model.attach(kCamera, "win11");
  EXPECT_TRUE(ends(kCamera));
  EXPECT_THAT(problemOf(kCamera), HasSubstr("Change its policy"));

  model.setPolicy(kCamera, vel::LocalPolicy::kNone);
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(model.find(kCamera)->policy, vel::LocalPolicy::kNone);
  EXPECT_EQ(problemOf(kCamera), "");
  model.setPolicy(kLaser, vel::LocalPolicy::kForbidden);
  EXPECT_FALSE(model.find(kLaser)->isBusy) << "a printer has no policy";
}

TEST_F(ThingsModelTest, AutoConnectHoldsForAllDevicesOfAType) {
  ASSERT_TRUE(isReady());
  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
  ASSERT_TRUE(loopUntil([&] { return model.find(plugged) != nullptr; }));
  EXPECT_FALSE(model.find(plugged)->isAutoConnected);

  model.setAutoConnect(kCamera, true);

  EXPECT_TRUE(loopUntil([&] { return model.find(plugged)->isAutoConnected; }));
  EXPECT_TRUE(model.find(kCamera)->isAutoConnected);
  EXPECT_FALSE(model.find(kStick)->isAutoConnected);
  const vel::Result<std::int32_t> setting = vel::Client().autoConnect(vel::DeviceType::kCamera);
  EXPECT_TRUE(setting && *setting == 1);
  model.setAutoConnect(kCamera, false);
  EXPECT_TRUE(loopUntil([&] { return !model.find(plugged)->isAutoConnected; }));
  unplug(plugged);
}

TEST_F(ThingsModelTest, AutoConnectIsKnownBeforeTheFirstDeviceOfAType) {
  const Number tablet = vel::DeviceNumber(13);
  ASSERT_TRUE(isReady());
  ASSERT_EQ(model.find(tablet)->type, vel::DeviceType::kTablet);
  unplug(std::get<vel::DeviceNumber>(tablet));
  ASSERT_TRUE(vel::Client().setAutoConnect(vel::DeviceType::kTablet, 1));
  bool isRead = false;
  QObject::connect(&service, &Service::refreshed, [&] { isRead = true; });
  service.refresh();
  ASSERT_TRUE(loopUntil([&] { return isRead && !model.find(tablet); }));

  const vel::DeviceNumber plugged = plug("tablet \"Sketch pad\"");

  ASSERT_TRUE(loopUntil([&] { return model.find(plugged) != nullptr; }));
  EXPECT_TRUE(model.find(plugged)->isAutoConnected);
  // The next test begins with a new machine.
  velsim().kill();
}

TEST_F(ThingsModelTest, IsThereAlsoWhenTheServiceRefusesToSayWhatItConnects) {
  velsim().control("fault getAutoConnect 1- error \"not here\"");
  service.refresh();

  ASSERT_TRUE(isReady());

  EXPECT_FALSE(model.find(kCamera)->isAutoConnected);
}

TEST_F(ThingsModelTest, KnowsTheResultWithoutAnEvent) {
  ASSERT_TRUE(isReady());
  // The library drops an event without a record.
  velsim().control("fault events * empty-blocks");

  model.attach(kCamera, "win11");

  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "Attached to win11");
}

TEST_F(ThingsModelTest, ARefusalHasItsReasonAndWhatToDo) {
  ASSERT_TRUE(isReady());
  // The library drops an event without a record, so the model does not know.
  velsim().control("fault events * empty-blocks");
  velsim().control("attach 12 \"ubuntu\"");

  model.attach(kCamera, "win11");

  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(problemOf(kCamera),
            "The service refused: the device is attached, to another VM or at all. Detach it from "
            "the other VM first.");
  EXPECT_EQ(stateOf(kCamera), "Attached to ubuntu");

  model.detach(kCamera);
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(problemOf(kCamera), "");
}

TEST_F(ThingsModelTest, AnErrorReplyIsAProblemOfItsThing) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 error \"the cable is loose\"");

  model.attach(kStick, "win11");

  EXPECT_TRUE(ends(kStick));
  EXPECT_EQ(problemOf(kStick), "The cable is loose. See the service's log.");
  EXPECT_EQ(stateOf(kStick), "On this machine");
  EXPECT_TRUE(service.isReady());
}

TEST_F(ThingsModelTest, WhatTheServiceHasDoneWithoutAnAnswerIsShown) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 no-answer");

  model.attach(kStick, "win11");

  EXPECT_TRUE(ends(kStick));
  EXPECT_THAT(problemOf(kStick), HasSubstr("No reply in time. Try again"));
  EXPECT_TRUE(loopUntil([&] { return isAttached(model, kStick, "win11"); }));
}

TEST_F(ThingsModelTest, ABusyThingTakesNoOtherOperation) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 delay 300");

  model.attach(kCamera, "win11");
  model.attach(kCamera, "ubuntu");
  model.detach(kCamera);

  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "Attached to win11");
  EXPECT_EQ(problemOf(kCamera), "");
}

TEST_F(ThingsModelTest, ADeviceThatIsUnpluggedDuringItsOperationIsGone) {
  ASSERT_TRUE(isReady());
  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
  ASSERT_TRUE(loopUntil([&] { return model.find(plugged) != nullptr; }));
  velsim().control("fault connectDevice 1 delay 500");

  model.attach(plugged, "win11");
  unplug(plugged);

  EXPECT_TRUE(loopUntil([&] { return model.find(plugged) == nullptr; }));
  service.refresh();
  int readings = 0;
  QObject::connect(&model, &ThingsModel::thingsChanged, [&] { ++readings; });
  EXPECT_TRUE(loopUntil([&] { return readings > 0; }));
  EXPECT_EQ(model.find(plugged), nullptr);
}

// --- Events --------------------------------------------------------------------------------------

TEST_F(ThingsModelTest, FollowsWhatIsPluggedAndAttachedElsewhere) {
  ASSERT_TRUE(isReady());

  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
  EXPECT_TRUE(loopUntil([&] { return model.find(plugged) != nullptr; }));
  velsim().control("attach " + std::to_string(plugged.value()) + " \"win10\"");
  EXPECT_TRUE(loopUntil([&] { return isAttached(model, plugged, "win10"); }));
  velsim().control("attach 21 \"debian\"");
  EXPECT_TRUE(loopUntil([&] { return isAttached(model, kLaser, "debian"); }));
  velsim().control("detach " + std::to_string(plugged.value()));
  EXPECT_TRUE(loopUntil([&] { return !model.find(plugged)->isAttached(); }));
  velsim().control("trouble 22 paper-jam");
  EXPECT_TRUE(loopUntil([&] { return stateOf(vel::PrinterNumber(22)) == "Paper jam"; }));
  // A reset does not help it.
  velsim().control("trouble 22 none");
  unplug(plugged);
  EXPECT_TRUE(loopUntil([&] { return model.find(plugged) == nullptr; }));
  velsim().control("unplug 21");
  EXPECT_TRUE(loopUntil([&] { return model.find(kLaser) == nullptr; }));
  velsim().control("replug 21");
}

// The list of devices has been answered when the device comes, and arrives behind the event.
TEST_F(ThingsModelTest, AListDoesNotUndoWhatAnEventHasReportedMeanwhile) {
  ASSERT_TRUE(isReady());
  velsim().control("fault getPrinterList 1 delay 1000");
  int changes = 0;
  QObject::connect(&model, &ThingsModel::thingsChanged, [&] { ++changes; });

  service.refresh();
  ASSERT_TRUE(loopUntil([&] {
    QCoreApplication::postEvent(&model, new QEvent(QEvent::User));
    return velsim().control("faults").find("met 1") != std::string::npos;
  }));
  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");

  EXPECT_TRUE(loopUntil([&] { return changes == 2; }));
  EXPECT_NE(model.find(plugged), nullptr);
}

// --- The service ---------------------------------------------------------------------------------

TEST_F(ThingsModelTest, ADeathIsShownAndTheNextServiceIsFound) {
  ASSERT_TRUE(isReady());
  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
  ASSERT_TRUE(loopUntil([&] { return model.find(plugged) != nullptr; }));

  velsim().kill();

  ASSERT_TRUE(becomesUnavailable());
  // A request that was under way has another reason at first.
  EXPECT_TRUE(loopUntil([&] {
    return service.problem().text().contains(
        "Start velserviced, or velsim to try without hardware.");
  }));
  EXPECT_NE(model.find(plugged), nullptr) << "what was there is still shown";
  model.attach(kCamera, "win11");
  EXPECT_FALSE(model.find(kCamera)->isBusy);

  velsim().start();

  ASSERT_TRUE(isReady());
  EXPECT_EQ(service.problem().text(), "");
  EXPECT_EQ(model.find(plugged), nullptr) << "the new service does not have it";
  const vel::DeviceNumber next = plug("camera \"Front camera\"");
  EXPECT_TRUE(loopUntil([&] { return model.find(next) != nullptr; }));
  velsim().control("attach 12 \"ubuntu\"");
  EXPECT_TRUE(loopUntil([&] { return isAttached(model, kCamera, "ubuntu"); }));
}

TEST_F(ThingsModelTest, AServiceThatDiesDuringAnOperationLeavesAProblem) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 death-before");

  model.attach(kCamera, "win11");

  EXPECT_TRUE(becomesUnavailable());
  EXPECT_TRUE(ends(kCamera));
  EXPECT_NE(problemOf(kCamera), "");
  velsim().wait();
  velsim().start();
  EXPECT_TRUE(isReady());
}

TEST_F(ThingsModelTest, AServiceThatHangsIsUnavailableUntilItGoesOn) {
  ASSERT_TRUE(isReady());
  {
    const Hanging hanging(velsim());
    service.refresh();
    ASSERT_TRUE(becomesUnavailable());
    EXPECT_THAT(service.problem().text().toStdString(), HasSubstr("end it and start it"));
  }
  EXPECT_TRUE(isReady());
}

TEST_F(ThingsModelTest, AServiceThatStartsLaterIsFound) {
  velsim().kill();
  Service late(kRetryInterval);
  const ThingsModel things(late);
  EXPECT_TRUE(loopUntil([&] { return late.state() == Service::State::kUnavailable; }));
  EXPECT_TRUE(things.things().empty());

  velsim().start();

  EXPECT_TRUE(loopUntil([&] { return late.isReady(); }));
  EXPECT_NE(things.find(kCamera), nullptr);
}

TEST_F(ThingsModelTest, MayGoWhileItsCallsRun) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 delay 300");
  {
    Service other(kRetryInterval);
    ThingsModel things(other);
    Service soonGone(kRetryInterval);
    const ThingsModel itsThings(soonGone);
    ASSERT_TRUE(loopUntil([&] { return other.isReady(); }));
    things.attach(kCamera, "win11");
  }
  // The call goes on, and its result finds no one.
  EXPECT_TRUE(loopUntil([&] { return isAttached(model, kCamera, "win11"); }));
}

}  // namespace
}  // namespace panel
