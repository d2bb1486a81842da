// What all commands have in common: each sends its one request, and reports the answer, its
// absence, or a refusal.

#include "tests/velctl/commands.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <set>

#include "tests/velctl/velctl_test.h"
#include "vel/protocol/methods.h"

namespace velctl_tests {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

template <typename Base>
class WithCommand : public Base, public ::testing::WithParamInterface<Command> {
 protected:
  const Command& command() const { return this->GetParam(); }
  Finished runAsText() const { return this->velctl(command().arguments); }
  Finished runAsJson() const { return this->velctl(with(command().arguments, "--json")); }
};

class CommandTest : public WithCommand<VelctlTest> {};

TEST_P(CommandTest, SendsItsRequestAndReportsTheAnswer) {
  service().answer(command().method(), command().reply);

  const Finished text = runAsText();
  const std::vector<std::string> requests = service().requests();
  const Finished json = runAsJson();

  EXPECT_EQ(text.status, velctl::kExitOk) << text.err;
  EXPECT_EQ(text.out, command().text + '\n');
  EXPECT_EQ(requests, command().requests);
  EXPECT_EQ(json.status, velctl::kExitOk) << json.err;
  EXPECT_EQ(json.out, command().json + '\n');
}

// Those that have a status.
class CommandWithStatusTest : public WithCommand<VelctlTest> {};

TEST_P(CommandWithStatusTest, TellsARefusalAndItsStatus) {
  service().answer(command().method(), qxbus::Values{std::int32_t{7}});

  const Finished text = runAsText();
  const Finished json = runAsJson();

  if (command().answer == Answer::kStatus) {
    EXPECT_EQ(text.status, velctl::kExitRefused);
    EXPECT_THAT(text.out, IsEmpty());
    EXPECT_THAT(text.err, HasSubstr("velctl: " + command().method()));
    EXPECT_THAT(text.err, EndsWith(": the service answered status 7; its documentation or its log "
                                   "says why\n"));
    EXPECT_EQ(json.status, velctl::kExitRefused);
    EXPECT_THAT(json.out, StartsWith("{\"operation\":\"" + command().method() + "\","));
    EXPECT_THAT(json.out, EndsWith(",\"status\":7}\n"));
  } else {
    EXPECT_EQ(text.status, velctl::kExitOk);
    EXPECT_EQ(text.out, command().text + '\n');
    EXPECT_EQ(json.out, command().json + '\n');
  }
}

TEST_P(CommandTest, TellsTheReasonWhyThereIsNoAnswer) {
  service().answer(command().method(), ScriptedService::Error{"out of \x1b[31mtoner"});

  const Finished json = runAsJson();

  if (command().answer == Answer::kUntold) {
    EXPECT_EQ(json.status, velctl::kExitOk);
    EXPECT_EQ(json.out, command().json + '\n');
  } else {
    EXPECT_EQ(json.status, velctl::kExitNoAnswer);
    EXPECT_THAT(json.out, IsEmpty());
    EXPECT_THAT(json.err, HasSubstr("velctl: " + command().method()));
    EXPECT_THAT(json.err, HasSubstr(": no usable answer: out of \\x1b[31mtoner; more may be in "));
  }
}

TEST_F(VelctlAloneTest, EveryCommandSaysThatThereIsNoService) {
  for (const Command& command : commands()) {
    SCOPED_TRACE(command.name);

    const Finished json = velctl(with(command.arguments, "--json"));

    EXPECT_EQ(json.status, velctl::kExitNoService);
    EXPECT_THAT(json.out, IsEmpty());
    EXPECT_THAT(json.err, HasSubstr("velctl: " + command.method()));
    EXPECT_THAT(json.err, HasSubstr(": no service on the bus; start velserviced, or velsim to try "
                                    "without hardware\n"));
  }
}

std::string nameOf(const ::testing::TestParamInfo<Command>& row) {
  return row.param.name;
}

std::vector<Command> withStatus() {
  std::vector<Command> some;
  std::copy_if(commands().begin(), commands().end(), std::back_inserter(some),
               [](const Command& command) { return command.answer != Answer::kContent; });
  return some;
}

INSTANTIATE_TEST_SUITE_P(Every, CommandWithStatusTest, ::testing::ValuesIn(withStatus()), nameOf);
INSTANTIATE_TEST_SUITE_P(Every, CommandTest, ::testing::ValuesIn(commands()), nameOf);

TEST(CommandsTest, EveryMethodOfTheServiceHasACommandThatIsTested) {
  // The look-up of a VM, before most commands, and the subscription of joystick watch, which does
  // not end by itself.
  std::set<std::string> tested = {"getVmListSize", "registerJoystickCallback",
                                  "unregisterJoystickCallback"};
  for (const Command& command : commands()) {
    tested.insert(command.method());
  }

  for (const velprotocol::Method& method : velprotocol::kMethods) {
    EXPECT_EQ(tested.count(std::string(method.name)), 1u)
        << method.name << " needs a command in vel/apps/local/velctl/commands/, and a row in "
        << "tests/velctl/*_commands.cpp";
  }
  for (const std::string& method : tested) {
    EXPECT_NE(velprotocol::find(method), nullptr)
        << method << " is sent by a command, but has no row in vel/protocol/methods.h";
  }
}

TEST_F(VelctlTest, AVmThatTheServiceDoesNotHaveIsAnErrorAndNothingIsSent) {
  std::size_t count = 0;
  for (const Command& command : commands()) {
    SCOPED_TRACE(command.name);
    std::vector<std::string> arguments = command.arguments;
    std::replace(arguments.begin(), arguments.end(), std::string(kVm), std::string("nosuch"));
    if (arguments == command.arguments) {
      continue;
    }
    ++count;

    const Finished refused = velctl(arguments);

    EXPECT_EQ(refused.status, velctl::kExitUnknownVm);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, HasSubstr(" for \"nosuch\": the service has no VM of this name;"));
  }
  EXPECT_EQ(service().requests(), std::vector<std::string>(count, "getVmList(int32 0)"));
}

TEST_F(VelctlTest, WhatTheUserIsToldNamesTheDeviceAndTheVm) {
  service().answer("connectDevice", qxbus::Values{std::int32_t{7}});

  const Finished refused = velctl({"device", "connect", "12", "--vm", "win11"});

  EXPECT_THAT(refused.err,
              HasSubstr("velctl: connectDevice 12 for \"win11\": the service answered status 7; "));
}

// The library returns -1 also when there is no answer.
TEST_F(VelctlTest, AStatusOfMinusOneIsARefusalAsAnyOther) {
  service().answer("connectDevice", qxbus::Values{std::int32_t{-1}});

  const Finished refused = velctl({"device", "connect", "12", "--vm", "win11", "--json"});

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_EQ(refused.out, R"({"operation":"connectDevice","vm":"win11","number":101,"device":12,)"
                         R"("status":-1})"
                         "\n");
}

TEST_F(VelctlTest, AnEmptyListIsNoError) {
  struct Row {
    std::vector<std::string> arguments;
    std::string method;
    std::string json;
    std::string note;
  };
  const Row rows[] = {
      {{"vm", "list"}, "getVmList", R"({"vms":[]})", "no VMs"},
      {{"device", "list"},
       "getDeviceList",
       R"({"operation":"getDeviceList","devices":[]})",
       "no devices"},
      {{"printer", "network", "list"},
       "getNetworkPrinterList",
       R"({"operation":"getNetworkPrinterList","printers":[]})",
       "no printers"},
      {{"joystick", "list"},
       "getJoystickDevList",
       R"({"operation":"getJoystickDevList","joysticks":[]})",
       "no joysticks"},
      {{"printer", "shared", "search", "10.0.0.7"},
       "searchSharePrinter",
       R"({"operation":"searchSharePrinter","address":"10.0.0.7","printers":[]})",
       "no printers"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method);
    service().answer(row.method, qxbus::Values{std::int32_t{0}, std::int32_t{0}});

    const Finished text = velctl(row.arguments);
    const Finished json = velctl(with(row.arguments, "--json"));

    EXPECT_EQ(text.status, velctl::kExitOk);
    EXPECT_THAT(text.out, IsEmpty());
    EXPECT_THAT(text.err, HasSubstr("velctl: " + row.note + "\n"));
    EXPECT_EQ(json.status, velctl::kExitOk);
    EXPECT_EQ(json.out, row.json + "\n");
  }
}

TEST_F(VelctlTest, ADeviceOrPrinterThatTheServiceDoesNotHaveIsAnError) {
  const Finished device = velctl({"device", "status", "12"});
  const Finished printer = velctl({"printer", "status", "51"});

  EXPECT_EQ(device.status, velctl::kExitRefused);
  EXPECT_THAT(device.err, HasSubstr("getDeviceStatus 12: the service answered that it has none; "
                                    "velctl device list shows those it has\n"));
  EXPECT_EQ(printer.status, velctl::kExitRefused);
  EXPECT_THAT(printer.err, HasSubstr("getPrinterStatus 51: the service answered that it has none; "
                                     "velctl printer list shows those it has\n"));
}

// The first empty record ends the list, and the library logs that as an error.
TEST_F(VelctlTest, AListThatEndsEarlyIsShownAsFarAsItGoes) {
  service().answer(
      "getDeviceList",
      qxbus::Values{std::int32_t{2}, deviceBlock(12, 1, 0, 0, "Front camera", ""), qxbus::Bytes()});

  const Finished list = velctl({"device", "list"});

  EXPECT_EQ(list.status, velctl::kExitOk) << list.err;
  EXPECT_THAT(list.out, EndsWith("\n12      1       0       -   Front camera\n"));
}

TEST_F(VelctlTest, NamesCannotControlTheTerminal) {
  const std::string hostile =
      "a\x1b[2J\n\x7f\xc2\x9b\xff"
      "b";
  service().answer("getVmList", qxbus::Values{std::int32_t{1}, bytesOf(hostile), std::int32_t{1}});
  service().answer("getDeviceList",
                   qxbus::Values{std::int32_t{1}, deviceBlock(12, 1, 0, 0, hostile, hostile)});
  service().answer("getPrinterList",
                   qxbus::Values{std::int32_t{1}, printerBlock(51, 1, 0, hostile)});
  service().answer("searchAllPrinter", qxbus::Values{bytesOf(hostile)});
  service().answer("searchSharePrinter",
                   qxbus::Values{std::int32_t{0}, std::int32_t{1}, bytesOf(hostile),
                                 bytesOf(hostile), bytesOf(hostile)});
  const std::vector<std::string> given[] = {{"vm", "list"},
                                            {"device", "list"},
                                            {"printer", "list"},
                                            {"printer", "queue", "search"},
                                            {"printer", "shared", "search", "10.0.0.7"}};
  for (const std::vector<std::string>& arguments : given) {
    SCOPED_TRACE(arguments.front());
    for (const bool isJson : {false, true}) {
      const Finished shown = velctl(isJson ? with(arguments, "--json") : arguments);

      EXPECT_EQ(shown.status, velctl::kExitOk) << shown.err;
      EXPECT_THAT(shown.out, HasSubstr(isJson ? "a\\u001b[2J\\n" : "a\\x1b[2J"));
      EXPECT_EQ(
          std::count_if(shown.out.begin(), shown.out.end(),
                        [](char c) { return (c >= 0 && c < 0x20 && c != '\n') || c == 0x7f; }),
          0);
      EXPECT_EQ(shown.out.find("\xc2\x9b"), std::string::npos);
      EXPECT_EQ(shown.out.find('\xff'), std::string::npos);
    }
  }
}

TEST_F(VelctlTest, ALocalPolicyKeepsTheNameAndTheTextThatAreNotGiven) {
  service().answer("getDeviceStatus",
                   qxbus::Values{std::int32_t{2}, deviceBlock(13, 1, 0, 0, "xx", "yy"),
                                 deviceBlock(12, 1, 0, 0, "cam", "no")});

  EXPECT_EQ(velctl({"policy", "local", "12", "1"}).status, velctl::kExitOk);
  EXPECT_EQ(velctl({"policy", "local", "12", "2", "--name", "pen"}).status, velctl::kExitOk);
  EXPECT_EQ(velctl({"policy", "local", "12", "3", "--text", ""}).status, velctl::kExitOk);
  EXPECT_EQ(velctl({"policy", "local", "14", "1"}).status, velctl::kExitRefused);

  EXPECT_EQ(service().requests(),
            (std::vector<std::string>{
                "getDeviceStatus(int16 12)",
                "setLocalPolicy(int16 12, int16 1, bytes[3] 63 61 6d, bytes[2] 6e 6f)",
                "getDeviceStatus(int16 12)",
                "setLocalPolicy(int16 12, int16 2, bytes[3] 70 65 6e, bytes[2] 6e 6f)",
                "getDeviceStatus(int16 12)",
                "setLocalPolicy(int16 12, int16 3, bytes[3] 63 61 6d, bytes[0])",
                "getDeviceStatus(int16 14)",
            }));
}

TEST_F(VelctlTest, ReadsATurboConfigurationFromStandardInput) {
  Process::Options set = options({"policy", "turbo", "set", "046d:0825", "-"});
  set.input = "a=1\n\n";

  EXPECT_EQ(run(set).out, "turbo configuration of 046d:0825 has 3 bytes\n");

  EXPECT_EQ(service().requests(),
            (std::vector<std::string>{"setTurboConfigWithVidPid(int32 0, int16 1133, int16 2085, "
                                      "bytes[3] 61 3d 31)"}));
}

}  // namespace
}  // namespace velctl_tests
