// Behaviour of every command: it sends its request, and reports the answer, a missing answer, or a
// refusal.

#include "tests/velctl/commands.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "tests/velctl/in_process.h"
#include "vel/apps/local/velctl/command_line.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/protocol/methods.h"

namespace velctl_tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// --- Commands and sources ------------------------------------------------------------------------

bool beginsWith(const std::string& line, const std::string& words) {
  return (line + ' ').rfind(words + ' ', 0) == 0;
}

std::vector<std::string> commandNames() {
  velctl::CommandLine commandLine;
  velctl::addCommands(commandLine);
  return commandLine.commandNames();
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
      return {"reset.cpp", "session_commands.cpp"};
    case Subject::kVms:
      return {"vm.cpp", "session_commands.cpp"};
    case Subject::kPrinters:
      return {"printer.cpp", "printer_commands.cpp"};
    case Subject::kDevices:
    case Subject::kNetworkDevices:
      return {"device.cpp", "device_commands.cpp"};
    case Subject::kPolicies:
      return {"policy.cpp", "policy_commands.cpp"};
    case Subject::kCommands:
      return {"exec.cpp", "service_commands.cpp"};
    case Subject::kQuality:
      return {"quality.cpp", "service_commands.cpp"};
    case Subject::kDiagnosis:
      return {"diagnose.cpp", "service_commands.cpp"};
    case Subject::kSharedPrinters:
      return {"printer_shared.cpp", "printer_commands.cpp"};
    case Subject::kPrintQueues:
      return {"printer_queue.cpp", "printer_commands.cpp"};
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
  Ran runAs(Form form) { return velctl(command().line, form); }

  // Succeeds with the output of the row, and reports nothing.
  void expectSuccess(const Reply& reply, Form form) {
    bus.answer(command().method(), reply);

    const Ran ran = runAs(form);

    EXPECT_EQ(ran.status, velctl::kExitOk);
    EXPECT_EQ(ran.out, (form == Form::kText ? command().text : command().json) + '\n');
    EXPECT_THAT(ran.err, IsEmpty());
    EXPECT_EQ(requests(), command().requests);
  }

  // Fails without output. The error begins with the method.
  void expectFailure(velctl::ExitCode status, const testing::Matcher<std::string>& error) {
    const Ran ran = runAs(Form::kJson);

    EXPECT_EQ(ran.status, status);
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, StartsWith("velctl: " + command().method()));
    EXPECT_THAT(ran.err, error);
  }

  // Fails with a reply that is no answer, unless the library does not wait for it.
  void expectNoAnswer(const Reply& reply, const testing::Matcher<std::string>& error) {
    if (command().answer == Answer::kNotAwaited) {
      expectSuccess(reply, Form::kJson);
    } else {
      bus.answer(command().method(), reply);
      expectFailure(velctl::kExitNoAnswer, error);
    }
  }
};

TEST_P(CommandTest, SendsItsRequestAndPrintsTheAnswerAsText) {
  expectSuccess(command().reply, Form::kText);
}

TEST_P(CommandTest, SendsItsRequestAndPrintsTheAnswerAsJson) {
  expectSuccess(command().reply, Form::kJson);
}

TEST_P(CommandTest, ReportsTheReasonOfAnErrorReply) {
  expectNoAnswer(Reply::error("out of \x1b[31mtoner"),
                 EndsWith(": no usable answer: out of \\x1b[31mtoner; see the service's log\n"));
}

TEST_P(CommandTest, FailsWhenTheReplyLacksItsValue) {
  expectNoAnswer(Reply(), HasSubstr(": no usable answer: "));
}

TEST_P(CommandTest, FailsWhenTheReplyDoesNotComeInTime) {
  expectNoAnswer(Reply::error("no reply within 3000 ms", MESSAGE_TYPE_NO_REPLY),
                 EndsWith(": no usable answer: no reply within 3000 ms; see the service's log\n"));
}

TEST_P(CommandTest, FailsWithoutAService) {
  bus.setRegistered(false);

  expectFailure(velctl::kExitNoService,
                EndsWith(": no service on the bus; start velserviced, or velsim to try without "
                         "hardware\n"));
}

TEST_P(CommandTest, FailsWithoutABusAndGivesTheReason) {
  bus.setReachable(false);

  expectFailure(velctl::kExitNoBus,
                HasSubstr(": the bus cannot be reached: scripted:\\x1b[2J: refused; "));
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

TEST_P(CommandWithStatusTest, ReportsARefusalAndItsStatus) {
  const Reply refusal = Reply().int32(7);
  if (command().answer != Answer::kStatus) {
    expectSuccess(refusal, Form::kText);
    expectSuccess(refusal, Form::kJson);
    return;
  }
  bus.answer(command().method(), refusal);

  const Ran text = runAs(Form::kText);
  const Ran json = runAs(Form::kJson);

  EXPECT_EQ(text.status, velctl::kExitRefused);
  EXPECT_THAT(text.out, IsEmpty());
  EXPECT_THAT(text.err, StartsWith("velctl: " + command().method()));
  EXPECT_THAT(text.err, EndsWith(": the service answered status 7; see the service's log\n"));
  EXPECT_EQ(json.status, velctl::kExitRefused);
  EXPECT_THAT(json.out, StartsWith("{\"operation\":\"" + command().method() + "\","));
  EXPECT_THAT(json.out, EndsWith(",\"status\":7}\n"));
}

INSTANTIATE_TEST_SUITE_P(Every, CommandWithStatusTest,
                         testing::ValuesIn(commandsWhere([](const Command& command) {
                           return command.answer != Answer::kContent;
                         })),
                         nameOf);

class CommandForAVmTest : public CommandTest {};

TEST_P(CommandForAVmTest, RefusesAVmThatTheServiceDoesNotHaveAndSendsNothing) {
  std::vector<std::string> arguments = wordsOf(command().line);
  std::replace(arguments.begin(), arguments.end(), std::string(kVm), std::string("nosuch"));

  const Ran ran = velctl(arguments);

  EXPECT_EQ(ran.status, velctl::kExitUnknownVm);
  EXPECT_THAT(ran.out, IsEmpty());
  EXPECT_THAT(ran.err, HasSubstr(" for \"nosuch\": the service has no VM of this name; velctl vm "
                                 "list shows its VMs\n"));
  EXPECT_THAT(requests(), IsEmpty());
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
      {"pen replay", "tests/end_to_end/pen_replay_test.cpp"},
      {"joystick watch", "tests/velctl/watch_test.cpp"},
      {"watch", "tests/velctl/watch_test.cpp"},
  };
  const std::vector<std::string> names = commandNames();
  ASSERT_THAT(names, testing::Contains("printer shared search"));

  for (const std::string& name : names) {
    const bool hasRow =
        std::any_of(commands().begin(), commands().end(),
                    [&name](const Command& row) { return beginsWith(row.line, name); });
    EXPECT_TRUE(hasRow || testedElsewhere.count(name) != 0)
        << "velctl " << name << " needs a row in tests/velctl/*_commands.cpp";
  }
  for (const auto& [name, file] : testedElsewhere) {
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

  EXPECT_THAT(
      velctl("device connect 12 --vm win11").err,
      StartsWith("velctl: connectDevice 12 for \"win11\": the service answered status 7; "));
}

// The library returns -1 also when there is no answer.
TEST_F(InProcessTest, AStatusOfMinusOneIsARefusalAsAnyOther) {
  bus.answer("connectDevice", Reply().int32(-1));

  const Ran refused = velctl("device connect 12 --vm win11", Form::kJson);

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_EQ(refused.out, R"({"operation":"connectDevice","vm":"win11","number":101,"device":12,)"
                         R"("status":-1})"
                         "\n");
}

TEST_F(InProcessTest, AnEmptyListIsNoError) {
  struct Row {
    std::string line;
    std::string method;
    std::string json;
    std::string note;
  };
  const Row rows[] = {
      {"vm list", "getVmList", R"({"vms":[]})", "no VMs"},
      {"device list", "getDeviceList", R"({"operation":"getDeviceList","devices":[]})",
       "no devices"},
      {"printer network list", "getNetworkPrinterList",
       R"({"operation":"getNetworkPrinterList","printers":[]})", "no printers"},
      {"joystick list", "getJoystickDevList",
       R"({"operation":"getJoystickDevList","joysticks":[]})", "no joysticks"},
      {"printer shared search 10.0.0.7", "searchSharePrinter",
       R"({"operation":"searchSharePrinter","address":"10.0.0.7","printers":[]})", "no printers"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method);
    bus.answer(row.method, Reply().int32(0).int32(0));

    const Ran text = velctl(row.line);
    const Ran json = velctl(row.line, Form::kJson);

    EXPECT_EQ(text.status, velctl::kExitOk);
    EXPECT_THAT(text.out, IsEmpty());
    EXPECT_EQ(text.err, "velctl: " + row.note + "\n");
    EXPECT_EQ(json.status, velctl::kExitOk);
    EXPECT_EQ(json.out, row.json + "\n");
  }
}

TEST_F(InProcessTest, ADeviceOrPrinterThatTheServiceDoesNotHaveIsAnError) {
  bus.answer("getDeviceStatus", Reply().int32(0));
  bus.answer("getPrinterStatus", Reply().int32(0));

  const Ran device = velctl("device status 12");
  const Ran printer = velctl("printer status 51");

  EXPECT_EQ(device.status, velctl::kExitRefused);
  EXPECT_EQ(device.err,
            "velctl: getDeviceStatus 12: the service has no such device; velctl device "
            "list shows its devices\n");
  EXPECT_EQ(printer.status, velctl::kExitRefused);
  EXPECT_EQ(printer.err,
            "velctl: getPrinterStatus 51: the service has no such printer; velctl "
            "printer list shows its printers\n");
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
       "12      1       0       -   Front camera",
       R"({"operation":"getDeviceList","devices":[{"device":12,"status":1,"policy":0,)"
       R"("policyText":"","vmNumber":0,"vm":null,"name":"Front camera"}]})"},
      {"printer list", "getPrinterList", Reply().int32(2).bytes(printerBlock(51, 1, 0, "Laser")),
       "51      1       -   Laser",
       R"({"operation":"getPrinterList","vm":"","number":0,"printers":[{"printer":51,"status":1,)"
       R"("vmNumber":0,"vm":null,"name":"Laser"}]})"},
      {"vm list", "getVmList", Reply().int32(2).string("win11").int32(101), "win11  101",
       R"({"vms":[{"vm":"win11","number":101}]})"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    bus.answer(row.method, row.reply);

    const Ran text = velctl(row.line);
    const Ran json = velctl(row.line, Form::kJson);

    EXPECT_EQ(text.status, velctl::kExitNoAnswer);
    EXPECT_THAT(text.out, EndsWith(row.lastLine + '\n'));
    EXPECT_THAT(text.err,
                HasSubstr(": no usable answer: the list of the reply ends after 1 of 2 entries; "));
    EXPECT_EQ(json.status, velctl::kExitNoAnswer);
    EXPECT_EQ(json.out, row.json + '\n');
  }
}

TEST_F(InProcessTest, NamesCannotControlTheTerminal) {
  const std::string hostile =
      "a\x1b[2J\n\x7f\xc2\x9b\xff"
      "b";
  bus.answer("getVmList", Reply().int32(1).string(hostile).int32(1));
  bus.answer("getDeviceList", Reply().int32(1).bytes(deviceBlock(12, 1, 0, 0, hostile, hostile)));
  bus.answer("getPrinterList", Reply().int32(1).bytes(printerBlock(51, 1, 0, hostile)));
  bus.answer("searchAllPrinter", Reply().string(hostile));
  bus.answer("searchSharePrinter",
             Reply().int32(0).int32(1).string(hostile).string(hostile).string(hostile));
  for (const char* const line : {"vm list", "device list", "printer list", "printer queue search",
                                 "printer shared search 10.0.0.7"}) {
    SCOPED_TRACE(line);
    for (const Form form : {Form::kText, Form::kJson}) {
      const Ran shown = velctl(line, form);

      EXPECT_EQ(shown.status, velctl::kExitOk) << shown.err;
      EXPECT_THAT(shown.out, HasSubstr("[2J"));
      EXPECT_EQ(std::count_if(shown.out.begin(), shown.out.end(),
                              [](char c) { return (c < ' ' && c >= 0 && c != '\n') || c == 0x7F; }),
                0);
      EXPECT_EQ(shown.out.find("\xc2\x9b"), std::string::npos);
      EXPECT_EQ(shown.out.find('\xff'), std::string::npos);
    }
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
      {"printer network list", "getNetworkPrinterList", deviceBlock(3, 1, 0, 0, "Office", "no")},
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

      EXPECT_EQ(text.status, velctl::kExitOk) << text.err;
      EXPECT_EQ(text.out, velctl(row.line).out);
      EXPECT_EQ(json.out, velctl(row.line, Form::kJson).out);
    }
  }
}

TEST_F(InProcessTest, ANameWithoutAnEndEndsWithItsRecord) {
  Bytes printer = printerBlock(51, 1, 0, std::string(300, 'x'));
  printer.pop_back();
  bus.answer("getPrinterStatus", Reply().int32(1).bytes(printer));

  EXPECT_THAT(velctl("printer status 51").out, EndsWith("-   " + std::string(300, 'x') + '\n'));
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
      {"policy local 12 1", "setLocalPolicy(int16 12, int16 1, bytes[3] 63616d, bytes[2] 6e6f)"},
      {"policy local 12 2 --name pen",
       "setLocalPolicy(int16 12, int16 2, bytes[3] 70656e, bytes[2] 6e6f)"},
      {"policy local 12 3 --text ''",
       "setLocalPolicy(int16 12, int16 3, bytes[3] 63616d, bytes[0])"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);

    EXPECT_EQ(velctl(row.line).status, velctl::kExitOk);
    EXPECT_THAT(requests(), testing::ElementsAre("getDeviceStatus(int16 12)", row.request));
  }

  EXPECT_EQ(velctl("policy local 14 1").status, velctl::kExitRefused);
  EXPECT_THAT(requests(), testing::ElementsAre("getDeviceStatus(int16 14)"));
}

// velctl must not send back a name or a text that it has not received whole.
TEST_F(InProcessTest, ALocalPolicyIsNotMadeFromARecordThatIsTooShort) {
  Bytes record = deviceBlock(12, 1, 0, 0, "cam", "no");
  for (const std::size_t length : {296u, 679u}) {
    SCOPED_TRACE(length);
    record.resize(length);
    bus.answer("getDeviceStatus", Reply().int32(1).bytes(record));

    const Ran failed = velctl("policy local 12 1 --name pen");

    EXPECT_EQ(failed.status, velctl::kExitNoAnswer);
    EXPECT_THAT(failed.err,
                HasSubstr("getDeviceStatus 12: no usable answer: the record of the "
                          "device has " +
                          std::to_string(length) + " of 680 bytes; give --name and --text"));
    EXPECT_THAT(requests(), testing::ElementsAre("getDeviceStatus(int16 12)"));
  }

  EXPECT_EQ(velctl("policy local 12 1 --name pen --text no").status, velctl::kExitOk);
  EXPECT_THAT(requests(), testing::ElementsAre(
                              "setLocalPolicy(int16 12, int16 1, bytes[3] 70656e, bytes[2] 6e6f)"));
}

// --- VMs -----------------------------------------------------------------------------------------

TEST_F(InProcessTest, AnEmptyNameStandsForThisMachineWhichIsNumberZero) {
  bus.answer("connectVm", Reply().int32(1));

  const Ran connected = velctl("vm connect ''");

  EXPECT_EQ(connected.status, velctl::kExitRefused);
  EXPECT_THAT(connected.err,
              HasSubstr("connectVm for this machine: the service answered status 1"));
  EXPECT_THAT(requests(), testing::ElementsAre("connectVm(int32 0, int32 0, int32 0, int32 0)"));
}

TEST_F(InProcessTest, ACollaboratorIsNotAttached) {
  const Ran refused = velctl("vm connect win11 --collaborator");

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_EQ(refused.err,
            "velctl: connectVm for \"win11\": nothing was sent: the library does not "
            "attach a collaborator; leave out --collaborator\n");
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(InProcessTest, AVmWhoseLookUpFailsIsNotUnknown) {
  bus.answer("getVmListSize", Reply::error("out of order"));

  const Ran failed = velctl("device connect 12 --vm never-seen");

  EXPECT_EQ(failed.status, velctl::kExitNoAnswer);
  EXPECT_THAT(failed.err, HasSubstr("connectDevice 12 for \"never-seen\": no usable answer: out of "
                                    "order; "));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(InProcessTest, NamesOfPipesMayHave127Bytes) {
  const std::string name(127, 'x');

  EXPECT_EQ(velctl({"pipe", "create", "win11", "1," + name + "," + name}).status, velctl::kExitOk);
}

// --- Common options ------------------------------------------------------------------------------

TEST_F(InProcessTest, CommonOptionsMayStandBeforeTheCommand) {
  const std::string json = "{\"vms\":[{\"vm\":\"win11\",\"number\":101}]}\n";

  EXPECT_EQ(velctl("vm list --json").out, json);
  EXPECT_EQ(velctl("--json vm list").out, json);
  EXPECT_EQ(velctl("vm --json list").out, json);
}

TEST_F(InProcessTest, HelpAndVersionAreData) {
  const Ran help = velctl("--help");
  const Ran inner = velctl("vm connect --help");
  const Ran version = velctl("--version");

  EXPECT_EQ(help.status, velctl::kExitOk);
  EXPECT_THAT(help.out, HasSubstr("Usage: velctl [OPTIONS] SUBCOMMAND"));
  EXPECT_EQ(inner.status, velctl::kExitOk);
  EXPECT_THAT(inner.out, HasSubstr("Usage: velctl vm connect [OPTIONS] vm"));
  EXPECT_EQ(version.status, velctl::kExitOk);
  EXPECT_THAT(version.out, testing::MatchesRegex("velctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_THAT(help.err + inner.err + version.err, IsEmpty());
}

}  // namespace
}  // namespace velctl_tests
