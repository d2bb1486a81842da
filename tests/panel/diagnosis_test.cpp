// Diagnoses of a device, step by step, in their window.

#include <QTest>

#include "examples/panel/diagnosis/diagnosis_dialog.h"
#include "tests/panel/panel_test.h"

namespace panel {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class DiagnosisTest : public PanelTest {
 protected:
  DiagnosisTest() { EXPECT_TRUE(isReady()); }
  // A reset does not end a diagnosis, and events do not say of which one they are.
  ~DiagnosisTest() override { velsim().kill(); }

  bool isReady() {
    return loopUntil([&] { return service.isReady(); });
  }
  void open(const std::string& vm = "win11",
            std::chrono::milliseconds patience = std::chrono::hours(1)) {
    dialog = std::make_unique<DiagnosisDialog>(service, std::get<vel::DeviceNumber>(kCamera), vm,
                                               "Built-in camera", nullptr, patience);
    dialog->show();
  }
  std::vector<std::string> steps() {
    std::vector<std::string> texts;
    for (int row = 0; row < dialog->steps().count(); ++row) {
      texts.push_back(dialog->steps().item(row)->text().toStdString());
    }
    return texts;
  }
  bool hasSteps(std::size_t count) {
    return loopUntil([&] { return steps().size() == count; });
  }
  bool ends() {
    return loopUntil([&] { return !dialog->status().isBusy(); });
  }
  std::string finding() { return dialog->finding().toStdString(); }
  std::string problem() { return dialog->status().problem().toStdString(); }

  Service service{std::chrono::milliseconds(50)};
  std::unique_ptr<DiagnosisDialog> dialog;
};

TEST_F(DiagnosisTest, ShowsItsProgressAsItArrives) {
  open();
  EXPECT_TRUE(dialog->status().isBusy());

  ASSERT_TRUE(hasSteps(1));
  EXPECT_THAT(steps(), ElementsAre("checking the device"));
  velsim().control("advance 100ms");
  ASSERT_TRUE(hasSteps(2));
  EXPECT_EQ(finding(), "");
  EXPECT_TRUE(dialog->status().isBusy());
  EXPECT_FALSE(dialog->again().isEnabled());
  velsim().control("advance 100ms");
  ASSERT_TRUE(ends());

  EXPECT_THAT(steps(),
              ElementsAre("checking the device", "checking the session", "VM not connected"));
  EXPECT_EQ(finding(), "The service has found trouble: VM not connected.");
  EXPECT_EQ(problem(), "");
}

TEST_F(DiagnosisTest, MayBeRepeatedWhenTheCauseIsGone) {
  open();
  ASSERT_TRUE(hasSteps(1));
  velsim().control("advance 200ms");
  ASSERT_TRUE(ends());
  velsim().control("vm connect \"win11\"");
  velsim().control("attach 12 \"win11\"");

  QTest::mouseClick(&dialog->again(), Qt::LeftButton);
  ASSERT_TRUE(hasSteps(1));
  velsim().control("advance 200ms");

  ASSERT_TRUE(ends());
  EXPECT_EQ(finding(), "The service has found no trouble.");
}

TEST_F(DiagnosisTest, MayBeClosedEarly) {
  open();
  ASSERT_TRUE(hasSteps(1));

  dialog.reset();

  // What comes later finds no one, and another diagnosis is not disturbed: the events of the first
  // must have come before it begins.
  bool hasEnded = false;
  const vel::Subscription steps = service.slowClient().onDiagnosis(
      [&](const vel::DiagnosisEvent& event) {
        hasEnded = hasEnded || event.status != vel::DiagnosisStatus::kRunning;
      },
      service.executor());
  velsim().control("advance 200ms");
  ASSERT_TRUE(loopUntil([&] { return hasEnded; }));
  open();
  ASSERT_TRUE(hasSteps(1));
  velsim().control("advance 200ms");
  EXPECT_TRUE(ends());
}

TEST_F(DiagnosisTest, TheReturnKeyClosesIt) {
  open();
  ASSERT_TRUE(hasSteps(1));

  QTest::keyClick(dialog.get(), Qt::Key_Return);

  EXPECT_FALSE(dialog->isVisible());
}

TEST_F(DiagnosisTest, OthersOfTheServiceAreNotShown) {
  open();
  ASSERT_TRUE(hasSteps(1));

  velsim().control("diagnosis \"win11\" 11 fault \"of another device\"");
  velsim().control("diagnosis \"ubuntu\" 12 fault \"of another VM\"");
  velsim().control("diagnosis \"win11\" 12 running \"of this one\"");

  ASSERT_TRUE(hasSteps(2));
  EXPECT_EQ(steps().back(), "of this one");
}

TEST_F(DiagnosisTest, ARefusalHasItsReasonAndWhatToDo) {
  velsim().control("fault diagnoseDevice 1 error \"the probe is missing\"");
  open();
  EXPECT_TRUE(ends());
  EXPECT_EQ(problem(), "The probe is missing. See the service's log.");
  EXPECT_THAT(steps(), IsEmpty());
  EXPECT_EQ(finding(), "");

  velsim().control("unplug 12");
  QTest::mouseClick(&dialog->again(), Qt::LeftButton);
  EXPECT_TRUE(ends());
  EXPECT_EQ(problem(),
            "The service refused: no device has this number, source id or text. Check that it is "
            "plugged in.");
  velsim().control("replug 12");
}

TEST_F(DiagnosisTest, WithoutAVmThereIsNone) {
  open("");

  EXPECT_EQ(problem(), "The device is in no VM. Attach it to a VM, or choose one.");
  EXPECT_FALSE(dialog->status().isBusy());
}

TEST_F(DiagnosisTest, AServiceThatGoesSilentEndsIt) {
  open("win11", std::chrono::milliseconds(100));
  ASSERT_TRUE(hasSteps(1));

  EXPECT_TRUE(ends());

  EXPECT_EQ(problem(),
            "The service has not come to a result. Diagnose again, or see the service's log.");
}

TEST_F(DiagnosisTest, AServiceThatDiesEndsIt) {
  open();
  ASSERT_TRUE(hasSteps(1));

  velsim().kill();
  EXPECT_TRUE(ends());
  // The second when a call has noticed it before the event.
  EXPECT_THAT(problem(), AnyOf(HasSubstr("Start velserviced, or velsim to try without hardware."),
                               HasSubstr(" is gone. Try again;")));

  velsim().start();
  ASSERT_TRUE(isReady());
  QTest::mouseClick(&dialog->again(), Qt::LeftButton);
  ASSERT_TRUE(hasSteps(1));
  velsim().control("advance 200ms");
  EXPECT_TRUE(ends());
  EXPECT_NE(finding(), "");
}

TEST_F(DiagnosisTest, OtherOperationsDoNotWaitForIt) {
  velsim().control("fault diagnoseDevice 1 delay 4000");
  open();
  // The fault has met it.
  ASSERT_TRUE(loopUntil([&] {
    QCoreApplication::postEvent(&service, new QEvent(QEvent::User));
    return velsim().control("faults").find("met 1") != std::string::npos;
  }));

  bool isRead = false;
  service.start(
      &service, [](const vel::Client& client) { return client.localDevices(); },
      [&](const auto& devices) { isRead = devices.has_value() && dialog->status().isBusy(); });

  EXPECT_TRUE(loopUntil([&] { return isRead; }));
  velsim().control("advance 200ms");
  EXPECT_TRUE(ends());
}

}  // namespace
}  // namespace panel
