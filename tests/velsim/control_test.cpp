#include "vel/apps/local/velsim/control.h"

#include "base/printable.h"
#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;

class ControlTest : public SimulatedServiceTest {
 protected:
  std::string run(const std::string& line) {
    const Control::Answer answer = control.run(line);
    EXPECT_TRUE(answer) << answer.reason();
    return answer ? *answer : "";
  }
  const Device* newest() { return &machine().devices.all().rbegin()->second; }

  int vanished = 0;
  Control control{simulator, [this] { ++vanished; }};
};

TEST_F(ControlTest, PlugsInADeviceOfEachType) {
  const std::pair<const char*, DeviceType> types[] = {{"storage", DeviceType::kStorage},
                                                      {"camera", DeviceType::kCamera},
                                                      {"tablet", DeviceType::kTablet},
                                                      {"printer-class", DeviceType::kPrinterClass},
                                                      {"generic", DeviceType::kGeneric}};
  for (const auto& [word, type] : types) {
    const std::string answer = run(std::string("plug ") + word + " \"Front camera\"");

    EXPECT_EQ(newest()->type, type);
    EXPECT_EQ(newest()->name, "Front camera");
    EXPECT_EQ(answer, "plugged in " + std::to_string(newest()->number) + "\n");
    EXPECT_THAT(takeEventCodes(), ::testing::Contains(Pair(4, 0)));
  }
}

TEST_F(ControlTest, PlugsInAPrinter) {
  const std::string answer = run("plug printer Plotter");

  EXPECT_EQ(machine().printers.all().rbegin()->second.name, "Plotter");
  EXPECT_EQ(answer, "plugged in 31\n");
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(1, 0)));
}

TEST_F(ControlTest, UnplugsDevicesAndPrinters) {
  EXPECT_EQ(run("unplug 12"), "unplugged 12\n");
  EXPECT_EQ(run("unplug 21"), "unplugged 21\n");

  EXPECT_EQ(machine().devices.find(kCamera), nullptr);
  EXPECT_EQ(machine().printers.find(kLaser), nullptr);
}

TEST_F(ControlTest, AllowsAndDeniesCameras) {
  run("camera deny");
  EXPECT_EQ(machine().devices.cameraStatus(), CameraStatus::kDenied);
  run("camera allow");
  EXPECT_EQ(machine().devices.cameraStatus(), CameraStatus::kAllowed);
}

TEST_F(ControlTest, ListsDevicesAndPrinters) {
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  call("configNewDeviceAsIgnore", {block8(kStickSource), int32(1), int32(0), int32(0)});
  call("addNetworkPrinter", {"10.0.0.5", "Hall", ""});

  const std::string shown = run("list");

  EXPECT_THAT(shown, HasSubstr("   11  storage          ignored         0x7e5700010000000b  "
                               "Memory stick\n"));
  EXPECT_THAT(shown, HasSubstr("   12  camera           in vm 101       0x7e5700020000000c  "
                               "Built-in camera\n"));
  EXPECT_THAT(shown, HasSubstr("   21  printer          available       0x7e57010000000015  "
                               "Office laser\n"));
  EXPECT_THAT(shown, HasSubstr("   31  network-printer  available       0x7e5701010000001f  "
                               "Hall\n"));
}

TEST_F(ControlTest, HelpNamesEveryCommand) {
  const std::string help = run("help");

  for (const char* const word : {"plug ", "unplug ", "camera ", "list ", "vanish ", "help "}) {
    EXPECT_TRUE(help.find(std::string("\n") + word) != std::string::npos ||
                help.compare(0, std::string(word).size(), word) == 0)
        << word;
  }
  EXPECT_THAT(help, HasSubstr("storage, camera, tablet, printer-class, generic or printer"));
}

TEST_F(ControlTest, ADeviceHasANameAlsoWithoutOne) {
  run("plug camera");

  EXPECT_EQ(newest()->name, "New camera");
}

TEST_F(ControlTest, AddsVms) {
  EXPECT_EQ(run("vm add \"new one\""), "added VM 105\n");

  EXPECT_EQ(call("getVmListSize", {"new one"}), qxbus::Values{int32(105)});
  EXPECT_EQ(call("connectDevice", {int32(105), int16(kCamera)}), statusValues(Status::kOk));
}

TEST_F(ControlTest, RemovesAVmWithItsSession) {
  call("connectVm", {int32(kWin11), int32(1), int32(1), int32(0)});
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  call("onFocusChanged", {int32(kWin11), int32(1), uint64(5)});
  takeEvents();

  EXPECT_EQ(run("vm remove win11"), "removed VM 101\n");

  EXPECT_EQ(call("getVmListSize", {"win11"}), qxbus::Values{int32(0)});
  EXPECT_EQ(call("connectDevice", {int32(kWin11), int16(kTablet)}),
            statusValues(Status::kUnknownVm));
  EXPECT_FALSE(machine().vms.focus());
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(7, 101)));
}

TEST_F(ControlTest, NeverGivesTheNumberOfARemovedVmAgain) {
  run("vm remove debian");
  run("vm add newer");
  run("vm remove newer");

  EXPECT_EQ(run("vm add debian"), "added VM 106\n");
}

TEST_F(ControlTest, AnswersQueriesInJson) {
  EXPECT_EQ(run("usb"), "{\"usb\":[]}\n");
}

TEST_F(ControlTest, AWordInSingleQuotesIsOneWordAndAnApostropheALetter) {
  run("plug camera 'Front \"camera\"'");
  EXPECT_EQ(newest()->name, "Front \"camera\"");

  run("plug camera O'Brien");
  EXPECT_EQ(newest()->name, "O'Brien");
}

TEST_F(ControlTest, DevicesAndPrintersMayBeNamed) {
  EXPECT_EQ(run("unplug 'Memory stick'"), "unplugged 11\n");
  EXPECT_EQ(run("unplug 'Photo printer'"), "unplugged 22\n");
}

TEST_F(ControlTest, AnUnpluggedDeviceComesBack) {
  run("unplug 11");
  run("unplug 21");
  takeEvents();

  EXPECT_EQ(run("replug 11"), "plugged in 11\n");
  EXPECT_EQ(run("replug 21"), "plugged in 21\n");

  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(4, 0), Pair(64, 0), Pair(1, 0)));
}

TEST_F(ControlTest, AttachesAndDetachesFromTheOtherSide) {
  EXPECT_EQ(run("attach 'Built-in camera' win11"), "attached 12 to VM 101\n");
  EXPECT_EQ(run("attach 21 103"), "attached 21 to VM 103\n");
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(6, 101), Pair(1, 103)));

  EXPECT_EQ(run("detach 12"), "detached 12\n");
  EXPECT_EQ(run("detach 21"), "detached 21\n");
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(7, 101), Pair(1, 103)));
}

TEST_F(ControlTest, MountsAndUnmounts) {
  EXPECT_EQ(run("unmount 11"), "unmounted 11\n");
  EXPECT_EQ(run("mount 11"), "mounted 11\n");

  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(65, 0), Pair(64, 0)));
}

TEST_F(ControlTest, TroubleOfAPrinterIsInItsStatusAlsoWhileItIsAttached) {
  run("attach 21 win11");
  takeEvents();

  EXPECT_EQ(run("trouble 21 out-of-paper"), "trouble of printer 21: out-of-paper\n");
  EXPECT_EQ(run("trouble 21 none"), "trouble of printer 21: none\n");

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(read(events[0].record, printer::kStatus), 4);
  EXPECT_EQ(read(events[0].record, printer::kVm), 101);
  EXPECT_EQ(read(events[1].record, printer::kStatus), 2);
}

TEST_F(ControlTest, TheEndOfASessionReleasesItsDevices) {
  run("vm connect win11");
  run("attach 12 win11");
  takeEvents();

  EXPECT_EQ(run("vm disconnect win11"), "disconnected VM 101\n");

  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(7, 101)));
}

TEST_F(ControlTest, ReportsDiagnosesAndAnswers) {
  run("diagnosis win11 0x7e5700020000000c fault 'lens covered'");
  run("answer 0 '{\"id\":1}'");

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(read(events[0].record, diagnosis::kId), kCameraSource);
  EXPECT_EQ(read(events[0].record, diagnosis::kStatus), 2u);
  EXPECT_EQ(read(events[0].record, diagnosis::kText), "lens covered");
  EXPECT_EQ(events[0].vm, kWin11);
  EXPECT_EQ(read(events[1].record, command_answer::kText), "{\"id\":1}");
  EXPECT_EQ(events[1].vm, 0u);
}

TEST_F(ControlTest, ChangesJoysticks) {
  EXPECT_EQ(run("joystick 1 Racing"), "mapping Racing\n");
  EXPECT_EQ(run("joystick 1 calibrated"), "calibrated\n");

  EXPECT_EQ(machine().joysticks.all()[1].mapping, 2);
  EXPECT_TRUE(machine().joysticks.all()[1].isCalibrated);
}

TEST_F(ControlTest, CheckingALineDoesNotRunIt) {
  EXPECT_TRUE(control.check("plug camera x"));
  EXPECT_TRUE(control.check("unplug 12"));
  EXPECT_TRUE(control.check("vanish"));
  EXPECT_FALSE(control.check("plug scanner x"));
  EXPECT_FALSE(control.check("unplug"));

  EXPECT_NE(machine().devices.find(kCamera), nullptr);
  EXPECT_EQ(vanished, 0);
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(ControlTest, WordsBecomeALineThatHasTheSameWords) {
  const Words words = {"plug", "camera", "a \"b\" \\c", "", "x\ty", "plain"};

  const base::Result<Words> again = wordsIn(lineOf(words));

  ASSERT_TRUE(again);
  EXPECT_EQ(*again, words);
  EXPECT_EQ(lineOf({"plug", "Front camera"}), "plug \"Front camera\"");
}

TEST_F(ControlTest, VanishesOnlyOnTheExactCommand) {
  EXPECT_FALSE(control.run("vanish now"));
  EXPECT_EQ(vanished, 0);

  run("vanish");
  EXPECT_EQ(vanished, 1);
}

TEST_F(ControlTest, AnEmptyLineSucceedsWithoutEffect) {
  EXPECT_EQ(run(""), "");
  EXPECT_EQ(run(" \t\r"), "");
}

TEST_F(ControlTest, WordsMayBeQuoted) {
  run("  plug\tcamera  \"a \\\"b\\\" \\\\c\"  \r");
  EXPECT_EQ(newest()->name, "a \"b\" \\c");

  run("plug camera a\" b\"c");
  EXPECT_EQ(newest()->name, "a bc");
}

struct Wrong {
  const char* line;
  const char* error;
};

void PrintTo(const Wrong& wrong, std::ostream* stream) {
  // Results files are XML, which not every byte can be in.
  *stream << base::printable(wrong.line);
}

class WrongLineTest : public ControlTest, public ::testing::WithParamInterface<Wrong> {};

TEST_P(WrongLineTest, IsRefusedWithAnErrorAndChangesNothing) {
  const std::string before = run("list");

  const Control::Answer answer = control.run(GetParam().line);

  EXPECT_FALSE(answer);
  EXPECT_EQ(answer.reason(), GetParam().error);
  EXPECT_EQ(run("list"), before);
  EXPECT_THAT(takeEvents(), IsEmpty());
  EXPECT_EQ(vanished, 0);
}

constexpr char kBadName[] = "plug: the name must have 1 to 127 bytes of UTF-8";

const Wrong kWrong[] = {
    {"plugin camera x", "unknown command \"plugin\"; type help for the list"},
    {"\"\"", "unknown command \"\"; type help for the list"},
    {"plug", "usage: plug TYPE [\"NAME\"]"},
    {"plug camera Front camera", "usage: plug TYPE [\"NAME\"]"},
    {"vm", "usage: vm ACTION \"NAME\""},
    {"vm add", "usage: vm ACTION \"NAME\""},
    {"vm rename win11", "vm: expected add, remove, connect or disconnect, got \"rename\""},
    {"vm add win11", "vm: there is a VM \"win11\" already"},
    {"vm add \"\"", "vm: the name must have 1 to 127 bytes of UTF-8"},
    {"vm remove nosuch", "vm: there is no VM \"nosuch\"; type vms for the list"},
    {"plug scanner x",
     "plug: unknown type \"scanner\"; the types are storage, camera, tablet, printer-class, "
     "generic, printer"},
    {"plug network x",
     "plug: unknown type \"network\"; the types are storage, camera, tablet, printer-class, "
     "generic, printer"},
    {"plug camera \"x", "unclosed quote: plug camera \"x"},
    {"plug camera \"x\\", "unclosed quote: plug camera \"x\\"},
    {"plug camera \"\"", kBadName},
    {"plug camera \xFF", kBadName},
    {"plug camera 'x", "unclosed quote: plug camera 'x"},
    {"unplug", "usage: unplug DEVICE"},
    {"unplug camera",
     "unplug: no device or printer \"camera\" is plugged in; type list for those that are"},
    {"unplug 65548",
     "unplug: no device or printer \"65548\" is plugged in; type list for those that are"},
    {"replug stick", "replug: expected a number from 1 to 65535, got \"stick\""},
    {"replug 12", "replug: exists"},
    {"replug 99", "replug: unknown-printer"},
    {"vm eject win11", "vm: expected add, remove, connect or disconnect, got \"eject\""},
    {"vm remove nosuch", "vm: there is no VM \"nosuch\"; type vms for the list"},
    {"vm remove 101", "vm: a VM is removed by its name, got \"101\""},
    {"vm disconnect win11", "vm: not-connected"},
    {"attach 12", "usage: attach DEVICE \"VM\""},
    {"attach 99 win11",
     "attach: no device or printer 99 is plugged in; type list for those that are"},
    {"attach 12 nosuch", "attach: there is no VM \"nosuch\"; type vms for the list"},
    {"detach 12", "detach: not-attached"},
    {"mount 12", "mount: not-storage"},
    {"mount 21", "mount: not-storage"},
    {"unmount 12", "unmount: not-storage"},
    {"trouble 21 no-paper",
     "trouble: expected one of none, out-of-paper, paper-jam, out-of-ink, offline, got "
     "\"no-paper\""},
    {"trouble 12 offline", "trouble: unknown-printer"},
    {"diagnosis win11 12 fine", "usage: diagnosis \"VM\" ID STATUS \"TEXT\""},
    {"diagnosis win11 twelve fine x",
     "diagnosis: expected a device number or source id, such as 12 or 0x7e57, got \"twelve\""},
    {"diagnosis win11 12 good x", "diagnosis: expected running, fine or fault, got \"good\""},
    {"diagnosis nosuch 12 fine x", "diagnosis: there is no VM \"nosuch\"; type vms for the list"},
    {"answer nosuch x", "answer: there is no VM \"nosuch\"; type vms for the list"},
    {"joystick first Flight", "joystick: expected a position from 0 to 65535, got \"first\""},
    {"joystick 9 calibrated", "joystick: unknown-joystick"},
    {"joystick 0 Fligth",
     "joystick: expected calibrated, or one of Standard, Flight, Racing, got \"Fligth\""},
    {"unplug 99", "unplug: no device or printer 99 is plugged in; type list for those that are"},
    {"camera", "usage: camera allow|deny"},
    {"camera maybe", "camera: expected allow or deny, got \"maybe\""},
    {"list all", "list takes no arguments"},
    {"vanish now", "vanish takes no arguments"},
    {"help me", "help takes no arguments"},
};

INSTANTIATE_TEST_SUITE_P(All, WrongLineTest, ::testing::ValuesIn(kWrong));

TEST_F(ControlTest, ANameMayBeAsLongAsItsField) {
  run("plug camera " + std::string(127, 'n'));

  EXPECT_EQ(control.run("plug camera " + std::string(128, 'n')).reason(), kBadName);
}

TEST_F(ControlTest, ANetworkPrinterCannotBeUnplugged) {
  call("addNetworkPrinter", {"10.0.0.5", "Hall", ""});

  EXPECT_THAT(control.run("unplug 31").reason(),
              StartsWith("unplug: no device or printer 31 is plugged in"));
}

TEST_F(ControlTest, CannotPlugInWhenAllNumbersAreInUse) {
  while (machine().numbers.take() != 0) {
  }

  EXPECT_EQ(control.run("plug camera x").reason(), "plug: all device numbers are in use");
  EXPECT_EQ(control.run("plug printer x").reason(), "plug: all device numbers are in use");
}

}  // namespace
}  // namespace velsim
