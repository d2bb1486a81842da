// Behaviour of every command: it sends its request, and reports the answer, a missing answer, or a
// refusal.

#include "tests/velctl/commands.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>

#include "tests/velctl/in_process.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/protocol/methods.h"

namespace velctl_tests {
namespace {

namespace fs = std::filesystem;

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// --- Commands and sources ------------------------------------------------------------------------

bool beginsWith(const std::string& line, const std::string& words) {
  return (line + ' ').rfind(words + ' ', 0) == 0;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const velctl::Command& command : velctl::commands()) {
    names.push_back(command.path);
  }
  return names;
}

bool isCommand(const std::string& line) {
  const std::vector<std::string> names = commandNames();
  return std::any_of(names.begin(), names.end(),
                     [&line](const std::string& name) { return beginsWith(line, name); });
}

// The sources of the commands of a subject, and of their rows.
struct Sources {
  const char* command;
  const char* row;
};

Sources sourcesOf(velprotocol::Subject subject) {
  using velprotocol::Subject;
  switch (subject) {
    case Subject::kService:
      return {"service.cpp", "service_commands.cpp"};
    case Subject::kVms:
      return {"vm.cpp", "session_commands.cpp"};
    case Subject::kPrinters:
      return {"printer.cpp", "printer_commands.cpp"};
    case Subject::kNetworkDevices:
      return {"new_device.cpp", "device_commands.cpp"};
    case Subject::kDevices:
      return {"device.cpp", "device_commands.cpp"};
    case Subject::kPolicies:
      return {"policy.cpp", "policy_commands.cpp"};
    case Subject::kCommands:
      return {"command.cpp", "waiting_commands.cpp"};
    case Subject::kQuality:
      return {"service.cpp", "service_commands.cpp"};
    case Subject::kDiagnosis:
      return {"diagnose.cpp", "waiting_commands.cpp"};
    case Subject::kSharedPrinters:
      return {"printer_shared.cpp", "waiting_commands.cpp"};
    case Subject::kPrintQueues:
      return {"queue.cpp", "printer_commands.cpp"};
    case Subject::kNewDevices:
      return {"new_device.cpp", "device_commands.cpp"};
    case Subject::kJoysticks:
      return {"joystick.cpp", "service_commands.cpp"};
  }
  return {"", ""};
}

// --- Every command -------------------------------------------------------------------------------

class CommandTest : public InProcessTest, public testing::WithParamInterface<Command> {
 protected:
  void SetUp() override {
    const velprotocol::Method* const method = velprotocol::find(command().method());
    ASSERT_NE(method, nullptr) << command().name << " sends " << command().method()
                               << ", which has no row in vel/protocol/methods.h";
    ASSERT_TRUE(isCommand(command().line))
        << "velctl has no command for " << method->name << " (velctl " << command().line
        << "): add it, for example in vel/apps/local/velctl/commands/"
        << sourcesOf(method->subject).command;
  }

  static const Command& command() { return GetParam(); }
  Ran runAs(Form form, const std::string& more = {}) { return velctl(command().line + more, form); }

  // Succeeds with the output of the row, and reports nothing.
  void expectSuccess(const Reply& reply, Form form) {
    bus.answer(command().method(), reply);

    const Ran ran = runAs(form);

    EXPECT_EQ(ran.status, velctl::kExitDone);
    EXPECT_EQ(ran.out, (form == Form::kText ? command().text : command().json) + '\n');
    EXPECT_THAT(ran.err, IsEmpty());
    EXPECT_EQ(requests(), command().requests);
  }

  // Fails without data, and with one message, which begins with the method. JSON has the error as
  // an object.
  void expectFailure(velctl::ExitCode status, const testing::Matcher<std::string>& message,
                     const std::string& members = {}) {
    for (const Form form : {Form::kText, Form::kJson}) {
      const Ran ran = runAs(form);

      EXPECT_EQ(ran.status, status);
      EXPECT_THAT(ran.err, StartsWith("velctl: " + command().method()));
      EXPECT_THAT(ran.err, message);
      EXPECT_THAT(ran.err, isOneLine());
      EXPECT_EQ(ran.out,
                form == Form::kText ? "" : errorJson(status, command().method(), members, ran.err));
    }
    EXPECT_THAT(runAs(Form::kText, " --quiet").err, message);
  }

  // Fails with a reply that is no answer, unless the library does not wait for it.
  void expectNoAnswer(const Reply& reply, velctl::ExitCode status,
                      const testing::Matcher<std::string>& message) {
    if (command().answer == Answer::kNotAwaited) {
      expectSuccess(reply, Form::kJson);
    } else {
      bus.answer(command().method(), reply);
      expectFailure(status, message);
    }
  }
};

TEST_P(CommandTest, SendsItsRequestAndPrintsTheAnswerAsText) {
  expectSuccess(command().reply, Form::kText);
}

TEST_P(CommandTest, SendsItsRequestAndPrintsTheAnswerAsJson) {
  expectSuccess(command().reply, Form::kJson);
}

TEST_P(CommandTest, PrintsNoMoreThanDataWhenItIsQuiet) {
  bus.answer(command().method(), command().reply);

  const Ran text = runAs(Form::kText, " --quiet");
  const Ran json = runAs(Form::kJson, " --quiet");

  EXPECT_EQ(text.status, velctl::kExitDone);
  EXPECT_EQ(text.out, command().hasData ? command().text + '\n' : "");
  EXPECT_EQ(json.out, command().json + '\n');
  EXPECT_THAT(text.err + json.err, IsEmpty());
}

TEST_P(CommandTest, ReportsTheReasonOfAnErrorReply) {
  expectNoAnswer(Reply::error("out of \x1b[31mtoner"), velctl::kExitErrorReply,
                 EndsWith(": no usable answer: out of \\x1b[31mtoner; see the service's log\n"));
}

TEST_P(CommandTest, FailsWhenTheReplyLacksItsValue) {
  expectNoAnswer(Reply(), velctl::kExitErrorReply, HasSubstr(": no usable answer: "));
}

TEST_P(CommandTest, FailsWhenTheReplyDoesNotComeInTime) {
  expectNoAnswer(Reply::error("no reply within 3000 ms", MESSAGE_TYPE_NO_REPLY),
                 velctl::kExitNoReply,
                 EndsWith(": no reply within 3000 ms; see the service's log\n"));
}

TEST_P(CommandTest, FailsWithoutAService) {
  bus.setRegistered(false);

  expectFailure(velctl::kExitNoService,
                EndsWith(": no service on the bus; start velserviced, or velsim to try without "
                         "hardware\n"));
}

TEST_P(CommandTest, FailsWithoutABusAndGivesTheReason) {
  bus.setReachable(false);

  expectFailure(
      velctl::kExitNoBus,
      EndsWith(": the bus cannot be reached: scripted:\\x1b[2J: refused; start it, or set "
               "QXBUS_ADDRESS to the address of another\n"));
}

template <typename Predicate>
std::vector<Command> commandsWhere(Predicate predicate) {
  std::vector<Command> some;
  std::copy_if(commands().begin(), commands().end(), std::back_inserter(some), predicate);
  return some;
}

std::string nameOf(const testing::TestParamInfo<Command>& row) {
  return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(Every, CommandTest, testing::ValuesIn(commands()), nameOf);

// Commands whose answer is an integer that is shown as text.
class CommandWithStatusTest : public CommandTest {};

TEST_P(CommandWithStatusTest, ReportsARefusalAndTheMeaningOfItsStatus) {
  const Reply refusal = Reply().int32(7);
  if (command().answer != Answer::kStatus) {
    expectSuccess(refusal, Form::kText);
    expectSuccess(refusal, Form::kJson);
    return;
  }
  bus.answer(command().method(), refusal);

  expectFailure(velctl::kExitRefused,
                EndsWith(": the service refused with status busy (7): the device is attached, to "
                         "another VM or at all\n"),
                R"("status":7,"statusName":"busy",)");
}

TEST_P(CommandWithStatusTest, ReportsARefusalWhoseStatusHasNoMeaning) {
  if (command().answer != Answer::kStatus) {
    return;
  }
  bus.answer(command().method(), Reply().int32(-1));

  // The library returns -1 also when there is no answer.
  expectFailure(velctl::kExitRefused,
                EndsWith(": the service refused with status -1, to which it gives the meaning; see "
                         "the service's log\n"),
                R"("status":-1,"statusName":null,)");
}

INSTANTIATE_TEST_SUITE_P(Every, CommandWithStatusTest,
                         testing::ValuesIn(commandsWhere([](const Command& command) {
                           return command.answer != Answer::kContent;
                         })),
                         nameOf);

class CommandForAVmTest : public CommandTest {
 protected:
  // The line of the row with another VM.
  static std::vector<std::string> wordsWithVm(const std::string& vm) {
    std::vector<std::string> words = wordsOf(command().line);
    std::replace(words.begin(), words.end(), std::string(kVm), vm);
    return words;
  }
};

TEST_P(CommandForAVmTest, FailsForAVmThatTheServiceDoesNotHaveAndSendsNothing) {
  const Ran ran = velctl(wordsWithVm("nosuch"));

  EXPECT_EQ(ran.status, velctl::kExitUnknown);
  EXPECT_THAT(ran.out, IsEmpty());
  EXPECT_THAT(ran.err, HasSubstr(" for \"nosuch\": the service has no VM of this name; velctl vm "
                                 "list shows its VMs\n"));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_P(CommandForAVmTest, TakesTheNumberOfTheVmAsItsName) {
  bus.answer(command().method(), command().reply);
  std::vector<std::string> words = wordsWithVm(std::to_string(kVmNumber));
  words.emplace_back("--json");

  const Ran ran = velctl(words);

  EXPECT_EQ(ran.status, velctl::kExitDone) << ran.err;
  EXPECT_EQ(ran.out, command().json + '\n');
  // The look-up comes first.
  std::vector<std::string> expected = command().requests;
  expected.insert(expected.begin(), kConfirmation);
  EXPECT_EQ(requests(), expected);
}

bool namesAVm(const Command& command) {
  const std::vector<std::string> words = wordsOf(command.line);
  return std::find(words.begin(), words.end(), kVm) != words.end();
}

INSTANTIATE_TEST_SUITE_P(Every, CommandForAVmTest, testing::ValuesIn(commandsWhere(namesAVm)),
                         nameOf);

// --- Rows ----------------------------------------------------------------------------------------

TEST(CommandsTest, EveryCommandOfVelctlHasTests) {
  // Commands that send no request, or several, or do not end by themselves.
  const std::map<std::string, std::string> testedElsewhere = {
      {"status", "tests/velctl/status_test.cpp"},
      {"doctor", "tests/velctl/doctor_test.cpp"},
      {"wait service", "tests/velctl/wait_test.cpp"},
      {"wait device", "tests/velctl/wait_test.cpp"},
      {"wait printer", "tests/velctl/wait_test.cpp"},
      {"shell", "tests/velctl/shell/velctl_shell_test.cpp"},
      {"help", "tests/velctl/bad_usage_test.cpp"},
      {"completion", "tests/velctl/shell/completion_test.cpp"},
      {"pen replay", "tests/end_to_end/pen_replay_test.cpp"},
      {"joystick watch", "tests/velctl/watch_test.cpp"},
      {"watch", "tests/velctl/watch_test.cpp"},
      {"shell", "tests/velctl/shell/velctl_shell_test.cpp"},
      {"completion", "tests/velctl/shell/other_shells_test.cpp"},
      {"help", "tests/velctl/shell/velctl_help_test.cpp"},
  };
  const std::vector<std::string> names = commandNames();
  ASSERT_THAT(names, testing::Contains("device attach"));

  for (const std::string& name : names) {
    const bool hasRow =
        std::any_of(commands().begin(), commands().end(),
                    [&name](const Command& row) { return beginsWith(row.line, name); });
    EXPECT_TRUE(hasRow || testedElsewhere.count(name) != 0)
        << "velctl " << name << " needs a row in tests/velctl/*_commands.cpp";
  }
  for (const auto& [name, file] : testedElsewhere) {
    EXPECT_TRUE(fs::exists(fs::path(REPOSITORY) / file)) << file;
    EXPECT_THAT(names, testing::Contains(name)) << "velctl has no such command";
  }
}

TEST(CommandsTest, EveryMethodOfTheServiceHasACommandThatIsTested) {
  // The look-up of a VM, before most commands, and the subscription of joystick watch, which does
  // not end by itself.
  std::set<std::string> tested = {"getVmListSize", "registerJoystickCallback",
                                  "unregisterJoystickCallback"};
  for (const Command& command : commands()) {
    tested.insert(command.method());
  }

  for (const velprotocol::Method& method : velprotocol::kMethods) {
    const Sources sources = sourcesOf(method.subject);
    EXPECT_TRUE(
        fs::exists(fs::path(REPOSITORY) / "vel/apps/local/velctl/commands" / sources.command));
    EXPECT_TRUE(fs::exists(fs::path(REPOSITORY) / "tests/velctl" / sources.row));
    EXPECT_EQ(tested.count(std::string(method.name)), 1u)
        << method.name << " needs a command, for example in vel/apps/local/velctl/commands/"
        << sources.command << ", and a row in tests/velctl/" << sources.row;
  }
  for (const std::string& method : tested) {
    EXPECT_NE(velprotocol::find(method), nullptr)
        << method << " is sent by a command, but has no row in vel/protocol/methods.h";
  }
}

// --- Single commands -----------------------------------------------------------------------------

TEST_F(InProcessTest, AMessageNamesTheDeviceAndTheVm) {
  bus.answer("connectDevice", Reply().int32(7));

  EXPECT_THAT(velctl("device attach 12 --vm win11").err,
              StartsWith("velctl: connectDevice 12 for \"win11\": the service refused with status "
                         "busy (7): "));
}

// The request that has failed, not the one of the command's other form.
TEST_F(InProcessTest, AnErrorNamesTheRequestThatWasSent) {
  bus.answer("connectDeviceBySrcId", Reply().int32(6));

  const Ran refused = velctl("device attach --source 7 --vm win11", Form::kJson);

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_THAT(refused.err, StartsWith("velctl: connectDeviceBySrcId 7 for \"win11\": "));
  EXPECT_EQ(refused.out, errorJson(velctl::kExitRefused, "connectDeviceBySrcId",
                                   R"("status":6,"statusName":"unknown-device",)", refused.err));
}

TEST_F(InProcessTest, AnEmptyListIsNoError) {
  struct Row {
    std::string line;
    std::string method;
    std::string json;
    std::string note;
  };
  const Row rows[] = {
      {"vm list", "getVmList", R"({"operation":"getVmList","vms":[]})", "no VMs"},
      {"device list", "getDeviceList", R"({"operation":"getDeviceList","devices":[]})",
       "no devices"},
      {"network-printer list", "getNetworkPrinterList",
       R"({"operation":"getNetworkPrinterList","printers":[]})", "no printers"},
      {"joystick list", "getJoystickDevList",
       R"({"operation":"getJoystickDevList","joysticks":[]})", "no joysticks"},
      {"mapping list", "getJoystickMappingList",
       R"({"operation":"getJoystickMappingList","mappings":[]})", "no mappings"},
      {"policy list", "getPolicyListByVidPid",
       R"({"operation":"getPolicyListByVidPid","policies":[]})", "no policies"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method);
    bus.answer(row.method, Reply().int32(0).int32(0));

    const Ran text = velctl(row.line);
    const Ran quiet = velctl(row.line + " --quiet");
    const Ran json = velctl(row.line, Form::kJson);

    EXPECT_EQ(text.status, velctl::kExitDone);
    EXPECT_THAT(text.out, IsEmpty());
    EXPECT_EQ(text.err, "velctl: " + row.note + "\n");
    EXPECT_EQ(quiet.status, velctl::kExitDone);
    EXPECT_THAT(quiet.out + quiet.err, IsEmpty());
    EXPECT_EQ(json.status, velctl::kExitDone);
    EXPECT_EQ(json.out, row.json + "\n");
  }
}

TEST_F(InProcessTest, ADeviceOrPrinterThatTheServiceDoesNotHaveIsUnknown) {
  bus.answer("getDeviceStatus", Reply().int32(0));
  bus.answer("getPrinterStatus", Reply().int32(0));

  const Ran device = velctl("device show 12", Form::kJson);
  const Ran printer = velctl("printer show 51", Form::kJson);
  bus.answer("getNetworkPrinterList", Reply().int32(0));
  const Ran network = velctl("network-printer show Office");

  EXPECT_EQ(device.status, velctl::kExitUnknown);
  EXPECT_EQ(device.err,
            "velctl: getDeviceStatus 12: the service has no such device; velctl device "
            "list shows them\n");
  EXPECT_EQ(device.out, errorJson(velctl::kExitUnknown, "getDeviceStatus", "", device.err));
  EXPECT_EQ(printer.status, velctl::kExitUnknown);
  EXPECT_EQ(printer.err,
            "velctl: getPrinterStatus 51: the service has no such printer; velctl "
            "printer list shows them\n");
  EXPECT_EQ(printer.out, errorJson(velctl::kExitUnknown, "getPrinterStatus", "", printer.err));
  EXPECT_EQ(network.status, velctl::kExitUnknown);
  EXPECT_EQ(network.err,
            "velctl: getNetworkPrinterList: the service has no such network printer; velctl "
            "network-printer list shows them\n");
}

TEST_F(InProcessTest, AListThatEndsBeforeItsCountIsShownAndFails) {
  struct Row {
    std::string line;
    std::string method;
    Reply reply;
    std::string lastLine;
    std::string json;
  };
  const Row rows[] = {
      {"device list", "getDeviceList",
       Reply().int32(2).bytes(deviceBlock(12, 1, 0, 0, "Front camera", "")).bytes({}),
       "12      available (1)  none (0)  -   Front camera",
       R"({"operation":"getDeviceList","devices":[{"device":12,"status":1,)"
       R"("statusName":"available","policy":0,"policyName":"none","policyText":"","vm":null,)"
       R"("vmNumber":0,"name":"Front camera","source":"0","usbId":"0000:0000","type":0,)"
       R"("typeName":null,"isMounted":false}]})"},
      {"printer list", "getPrinterList", Reply().int32(2).bytes(printerBlock(51, 1, 0, "Laser")),
       "51      available (1)  -   Laser",
       R"({"operation":"getPrinterList","vm":"","vmNumber":0,"printers":[{"printer":51,)"
       R"("status":1,"statusName":"available","vm":null,"vmNumber":0,"name":"Laser"}]})"},
      {"vm list", "getVmList", Reply().int32(2).string("win11").int32(101), "win11  101",
       R"({"operation":"getVmList","vms":[{"vm":"win11","vmNumber":101}]})"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    bus.answer(row.method, row.reply);

    const Ran text = velctl(row.line);
    const Ran json = velctl(row.line, Form::kJson);

    EXPECT_EQ(text.status, velctl::kExitErrorReply);
    EXPECT_THAT(text.out, EndsWith(row.lastLine + '\n'));
    EXPECT_THAT(text.err,
                HasSubstr(": no usable answer: the list of the reply ends after 1 of 2 entries; "));
    EXPECT_EQ(json.status, velctl::kExitErrorReply);
    EXPECT_EQ(json.out,
              row.json + '\n' + errorJson(velctl::kExitErrorReply, row.method, "", json.err));
  }
}

// --- Records of any length -----------------------------------------------------------------------

Bytes beginningOf(const Bytes& record, std::size_t length) {
  return Bytes(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(length));
}

// Lengths from 1 on, and around the ends of the fields.
std::vector<std::size_t> lengthsUpTo(std::size_t longest) {
  std::vector<std::size_t> lengths;
  for (std::size_t length = 1; length <= longest; ++length) {
    const bool isAtTheEndOfAName = length >= 295 && length <= 300;
    const bool isAtTheEndOfAText = length >= 423 && length <= 427;
    if (length <= 30 || isAtTheEndOfAName || isAtTheEndOfAText || length + 1 >= longest) {
      lengths.push_back(length);
    }
  }
  return lengths;
}

// AddressSanitizer sees every byte that is read after the end of a record.
TEST_F(InProcessTest, ARecordOfAnyLengthIsShownAsIfZeroesFollowed) {
  struct Row {
    std::string line;
    std::string method;
    Bytes record;
  };
  const Row rows[] = {
      {"device list", "getDeviceList", deviceBlock(12, 2, -3, 999, "cam", "no")},
      {"printer list", "getPrinterList", printerBlock(51, -2, 999, "Laser")},
      {"network-printer list", "getNetworkPrinterList", deviceBlock(3, 1, 0, 0, "Office", "no")},
  };
  for (const Row& row : rows) {
    for (const std::size_t length : lengthsUpTo(row.record.size())) {
      SCOPED_TRACE(row.line + " with a record of " + std::to_string(length) + " bytes");
      Bytes whole = beginningOf(row.record, length);
      bus.answer(row.method, Reply().int32(1).bytes(whole));
      const Ran text = velctl(row.line);
      const Ran json = velctl(row.line, Form::kJson);
      whole.resize(row.record.size() + 1);
      bus.answer(row.method, Reply().int32(1).bytes(whole));

      EXPECT_EQ(text.status, velctl::kExitDone) << text.err;
      EXPECT_EQ(text.out, velctl(row.line).out);
      EXPECT_EQ(json.out, velctl(row.line, Form::kJson).out);
    }
  }
}

TEST_F(InProcessTest, ANameWithoutAnEndEndsWithItsRecord) {
  Bytes printer = printerBlock(51, 1, 0, std::string(300, 'x'));
  printer.pop_back();
  bus.answer("getPrinterStatus", Reply().int32(1).bytes(printer));

  EXPECT_THAT(velctl("printer show 51").out,
              EndsWith("\nname     " + std::string(300, 'x') + '\n'));
}

TEST_F(InProcessTest, ALocalPolicyKeepsTheNameAndTheTextThatAreNotGiven) {
  bus.answer("getDeviceStatus", Reply()
                                    .int32(2)
                                    .bytes(deviceBlock(13, 1, 0, 0, "xx", "yy"))
                                    .bytes(deviceBlock(12, 1, 0, 0, "cam", "no")));
  struct Row {
    std::string line;
    std::string request;
  };
  const Row rows[] = {
      {"policy set 12 1", "setLocalPolicy(int16 12, int16 1, bytes[3] 63616d, bytes[2] 6e6f)"},
      {"policy set 12 2 --name pen",
       "setLocalPolicy(int16 12, int16 2, bytes[3] 70656e, bytes[2] 6e6f)"},
      {"policy set 12 3 --text ''", "setLocalPolicy(int16 12, int16 3, bytes[3] 63616d, bytes[0])"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);

    EXPECT_EQ(velctl(row.line).status, velctl::kExitDone);
    EXPECT_THAT(requests(), testing::ElementsAre("getDeviceStatus(int16 12)", row.request));
  }

  EXPECT_EQ(velctl("policy set 14 1").status, velctl::kExitUnknown);
  EXPECT_THAT(requests(), testing::ElementsAre("getDeviceStatus(int16 14)"));
}

// velctl must not send back a name or a text that it has not received whole.
TEST_F(InProcessTest, ALocalPolicyIsNotMadeFromARecordThatIsTooShort) {
  Bytes record = deviceBlock(12, 1, 0, 0, "cam", "no");
  for (const std::size_t length : {296u, 679u}) {
    SCOPED_TRACE(length);
    record.resize(length);
    bus.answer("getDeviceStatus", Reply().int32(1).bytes(record));

    const Ran failed = velctl("policy set 12 1 --name pen");

    EXPECT_EQ(failed.status, velctl::kExitErrorReply);
    EXPECT_THAT(failed.err,
                HasSubstr("getDeviceStatus 12: no usable answer: the record of the "
                          "device has " +
                          std::to_string(length) + " of 680 bytes; give --name and --text"));
    EXPECT_THAT(requests(), testing::ElementsAre("getDeviceStatus(int16 12)"));
  }

  EXPECT_EQ(velctl("policy set 12 1 --name pen --text no").status, velctl::kExitDone);
  EXPECT_THAT(requests(), testing::ElementsAre(
                              "setLocalPolicy(int16 12, int16 1, bytes[3] 70656e, bytes[2] 6e6f)"));
}

// --- VMs -----------------------------------------------------------------------------------------

TEST_F(InProcessTest, AnEmptyNameStandsForThisMachineWhichIsNumberZero) {
  bus.answer("connectVm", Reply().int32(1));

  const Ran connected = velctl("vm connect ''");

  EXPECT_EQ(connected.status, velctl::kExitRefused);
  EXPECT_THAT(
      connected.err,
      HasSubstr("connectVm for this machine: the service refused with status unknown-vm (1): "));
  EXPECT_THAT(requests(), testing::ElementsAre("connectVm(int32 0, int32 0, int32 0, int32 0)"));
}

TEST_F(InProcessTest, ACollaboratorIsNotAttached) {
  const Ran refused = velctl("vm connect win11 --collaborator");

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_EQ(refused.err,
            "velctl: connectVm for \"win11\": nothing was sent: a collaborator does not attach the "
            "session; see velctl vm connect --help\n");
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(InProcessTest, AVmWhoseLookUpFailsIsNotUnknown) {
  bus.answer("getVmListSize", Reply::error("out of order"));

  const Ran failed = velctl("device attach 12 --vm never-seen");

  EXPECT_EQ(failed.status, velctl::kExitErrorReply);
  EXPECT_THAT(failed.err, HasSubstr("connectDevice 12 for \"never-seen\": no usable answer: out of "
                                    "order; "));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(InProcessTest, NamesOfPipesMayHave127Bytes) {
  const std::string name(127, 'x');

  EXPECT_EQ(velctl({"pipe", "add", "--vm", "win11", "1," + name + "," + name}).status,
            velctl::kExitDone);
}

// --- Common options ------------------------------------------------------------------------------

TEST_F(InProcessTest, CommonOptionsMayStandBeforeTheCommand) {
  const std::string json = R"({"operation":"getVmList","vms":[{"vm":"win11","vmNumber":101}]})"
                           "\n";

  EXPECT_EQ(velctl("vm list --json").out, json);
  EXPECT_EQ(velctl("--json vm list").out, json);
  EXPECT_EQ(velctl("vm --json list").out, json);
}

TEST_F(InProcessTest, HelpAndVersionAreData) {
  const Ran help = velctl("--help");
  const Ran inner = velctl("vm connect --help");
  const Ran version = velctl("--version");

  EXPECT_EQ(help.status, velctl::kExitDone);
  EXPECT_THAT(help.out, HasSubstr("Usage: velctl [OPTIONS] SUBCOMMAND"));
  EXPECT_EQ(inner.status, velctl::kExitDone);
  EXPECT_THAT(inner.out, HasSubstr("Usage: velctl vm connect [OPTIONS] VM\n"));
  EXPECT_EQ(version.status, velctl::kExitDone);
  EXPECT_THAT(version.out, testing::MatchesRegex("velctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_THAT(help.err + inner.err + version.err, IsEmpty());
}

}  // namespace
}  // namespace velctl_tests
