// Wrong command lines, and help.

#include <algorithm>
#include <limits>
#include <regex>
#include <set>

#include "base/printable.h"
#include "base/text.h"
#include "tests/velctl/in_process.h"
#include "tests/velctl/right_lines.h"
#include "vel/apps/local/velctl/line/command_line.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using velctl::Kind;
using velctl::Parameter;

bool isPrintableText(std::string_view text) {
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    if (!base::isPrintable(character)) {
      return false;
    }
    text.remove_prefix(character.length);
  }
  return true;
}

// There is no bus: a command that tried to connect would fail with another status.
class BadUsageTest : public InProcessTest {
 protected:
  BadUsageTest() { bus.setReachable(false); }

  void expectBadUsage(const std::vector<std::string>& arguments, const std::string& error = "") {
    std::vector<std::string> words = {"--json"};
    words.insert(words.end(), arguments.begin(), arguments.end());

    const Ran refused = velctl(words);

    EXPECT_EQ(refused.status, velctl::kExitUsage) << refused.err;
    EXPECT_EQ(refused.out, errorJson(velctl::kExitUsage, "", "", refused.err));
    EXPECT_THAT(refused.err, StartsWith("velctl"));
    EXPECT_THAT(refused.err, HasSubstr(error));
    EXPECT_THAT(refused.err, isOneLine());
    EXPECT_TRUE(isPrintableText(refused.err.substr(0, refused.err.find('\n')))) << refused.err;
  }
};

TEST_F(BadUsageTest, IsReportedInOneLine) {
  struct Row {
    std::vector<std::string> arguments;
    std::string error;
  };
  const std::string longText(128, 'x');
  const std::string notUsb = "must be a USB vendor and product id, such as 046d:0825; ";
  const std::string tooLarge = "18446744073709551616";
  const std::string notSource =
      " must be a number from 0 to 18446744073709551615, decimal or 0x..., or a name; ";
  const Row rows[] = {
      {{}, "velctl: a command is missing; see velctl --help"},
      {{"foo"}, "velctl: unknown command \"foo\"; see velctl --help"},
      {{"--foo"}, "velctl: unknown option --foo; see velctl --help"},
      {{"vm"}, "velctl vm: a command is missing; see velctl vm --help"},
      {{"vm", "lst"},
       "velctl vm: unknown command \"lst\"; did you mean list?; see velctl vm --help"},
      {{"vm", "list", "win11"}, "velctl vm list: the following argument was not expected: win11; "},
      {{"vm", "list", "reset"}, "velctl vm list: the following argument was not expected: reset; "},
      {{"service", "reset", "now"},
       "velctl service reset: the following argument was not expected: now; "},
      {{"vm", "connect"}, "velctl vm connect: VM is required; see velctl vm connect --help"},
      {{"vm", "connect", "win11", "--system-type", "x"},
       "velctl vm connect: --system-type: \"x\" must be a number from -2147483648 to 2147483647, "
       "decimal or 0x...; "},
      {{"vm", "connect", "win11", "--share-mode"},
       "velctl vm connect: --share-mode: 1 required NUMBER missing; "},
      {{"vm", "focus", "win11", "--window", "-1"},
       "--window: \"-1\" must be a number from 0 to 18446744073709551615, "},
      {{"port", "set", "4294967296", "1", "--vm", "win11"},
       "PORT: \"4294967296\" must be a number from 0 to 4294967295, "},
      {{"pipe", "add", "x", "--vm", "win11"},
       "PIPE: \"x\": the handle must be a number from 0 to 18446744073709551615, decimal or 0x..."},
      {{"pipe", "add", "", "--vm", "win11"}, "the handle must be a number "},
      {{"pipe", "add", "-1", "--vm", "win11"}, "velctl pipe add: "},
      {{"pipe", "add", "0x", "--vm", "win11"}, "PIPE: \"0x\": the handle must be a number "},
      {{"pipe", "add", "7x", "--vm", "win11"}, "PIPE: \"7x\": the handle must be a number "},
      {{"pipe", "add", tooLarge, "--vm", "win11"}, "the handle must be a number "},
      {{"pipe", "add", "1", "y", "--vm", "win11"}, "PIPE: \"y\": the handle must be a number "},
      {{"pipe", "add", "1," + longText, "--vm", "win11"}, ": a name has at most 127 bytes; "},
      {{"pipe", "remove", "1,a," + longText, "--vm", "win11"}, ": a name has at most 127 bytes; "},
      {{"device", "attach", "--vm", "win11"},
       "velctl device attach: name the device as DEVICE or with --source, not both; "},
      {{"device", "attach", "12", "--source", "7", "--vm", "win11"},
       "velctl device attach: name the device as DEVICE or with --source, not both; "},
      {{"device", "detach", "--vm", "win11"},
       "velctl device detach: name the device as DEVICE or with --source, not both; "},
      {{"device", "attach", "--source", tooLarge, "--vm", "win11"},
       "--source: \"" + tooLarge + '"' + notSource},
      {{"device", "show", "-1"},
       "DEVICE: \"-1\" must be a number from 0 to 65535, decimal or 0x..., or a name; "},
      {{"network-printer", "add", ""}, "ADDRESS: must not be empty; "},
      {{"network-printer", "add", "10.0.0.7", ""}, "NAME: must not be empty; "},
      {{"network-printer", "rename", "", "b"}, "OLD-NAME: must not be empty; "},
      {{"network-printer", "rename", "a", ""}, "NEW-NAME: must not be empty; "},
      {{"policy", "set", "12", "1", "--name", longText}, " is longer than 127 bytes; "},
      {{"policy", "set", "12", "1", "--text", longText + longText}, " is longer than 255 bytes; "},
      {{"policy", "set", "12", "forbiden"},
       "POLICY: \"forbiden\" must be a number from -32768 to 32767, decimal or 0x..., or one of "
       "none, allowed, forbidden; "},
      {{"property", "get", "046d"}, "USB-ID: \"046d\" " + notUsb},
      {{"property", "get", "046d:08255"}, "USB-ID: \"046d:08255\" " + notUsb},
      {{"property", "get", "046g:0825", "--local"}, "USB-ID: \"046g:0825\" " + notUsb},
      {{"quality", "set", "1", "--vm", "win11"},
       "velctl quality set: type 1 needs a figure, and no other type has one; "},
      {{"quality", "set", "2", "3", "--vm", "win11"},
       "velctl quality set: type 1 needs a figure, and no other type has one; "},
      {{"usb", "set", "01020304050607", "1", "--vm", "win11"},
       "USB: \"01020304050607\" must be 16 hexadecimal digits; "},
      {{"device", "list", "--timeout", "soon"},
       "--timeout: \"soon\" must be a number of seconds, such as 2 or 0.5; "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(base::joined(row.arguments, " "));
    expectBadUsage(row.arguments, row.error);
  }
}

TEST_F(BadUsageTest, OnlyTheJsonFormHasItOnStandardOutput) {
  const Ran refused = velctl("vm lst");

  EXPECT_EQ(refused.status, velctl::kExitUsage);
  EXPECT_THAT(refused.out, IsEmpty());
  EXPECT_EQ(refused.err,
            "velctl vm: unknown command \"lst\"; did you mean list?; see velctl vm --help\n");
  EXPECT_EQ(velctl("vm lst --quiet").err, refused.err);
}

// --- Every parameter of every command ------------------------------------------------------------

class EveryCommandTest : public BadUsageTest,
                         public testing::WithParamInterface<const velctl::Command*> {
 protected:
  static const velctl::Command& command() { return *GetParam(); }
  static RightLine rightLine() { return rightLineOf(command()); }
  // With all arguments before an optional one.
  static RightLine lineUpTo(const Parameter& last) {
    RightLine line = rightLine();
    for (const Parameter& parameter : command().parameters) {
      if (parameter.name == last.name) {
        break;
      }
      if (!last.isOption() && !parameter.isOption()) {
        line = line.with(parameter.name, rightValueOf(parameter));
      }
    }
    return line;
  }
};

TEST_P(EveryCommandTest, HasARightLineFromWhichTheWrongOnesAreMade) {
  const velctl::ParsedLine line = velctl::parseLine(rightLine().words());

  EXPECT_EQ(line.mistake, "");
  EXPECT_EQ(line.command, &command());
}

TEST_P(EveryCommandTest, NeedsItsRequiredParameters) {
  for (const Parameter& parameter : command().parameters) {
    if (!parameter.isRequired) {
      continue;
    }
    SCOPED_TRACE(parameter.name);
    RightLine line = rightLine().without(parameter.name);
    // An argument behind it would take its place.
    for (const Parameter& other : command().parameters) {
      if (!parameter.isOption() && !other.isOption() && &other > &parameter) {
        line = line.without(other.name);
      }
    }
    expectBadUsage(line.words(), ": " + parameter.name + " is required; ");
  }
}

TEST_P(EveryCommandTest, TakesNoMoreArgumentsThanItHas) {
  RightLine line = rightLine();
  bool isRepeated = false;
  for (const Parameter& parameter : command().parameters) {
    isRepeated = isRepeated || parameter.isRepeated;
    if (!parameter.isOption()) {
      line = line.with(parameter.name, rightValueOf(parameter));
    }
  }
  if (!isRepeated) {
    std::vector<std::string> words = line.words();
    words.emplace_back("surplus");
    expectBadUsage(words);
    words.back() = "\xff\x1b[2J";
    expectBadUsage(words);
  }
}

TEST_P(EveryCommandTest, HasNoOtherOptions) {
  for (const char* const option : {"--nosuch", "--nosuch=1", "--\xff\x1b[2J"}) {
    SCOPED_TRACE(option);
    std::vector<std::string> words = rightLine().words();
    words.insert(words.begin(), option);
    expectBadUsage(words, "unknown option --");
  }
}

TEST_P(EveryCommandTest, RefusesWrongValuesOfItsParameters) {
  for (const Parameter& parameter : command().parameters) {
    for (const std::string& value : wrongValuesOf(parameter)) {
      SCOPED_TRACE(parameter.name + " = " + base::printable(value));
      expectBadUsage(lineUpTo(parameter).with(parameter.name, value).words(),
                     "velctl " + command().path + ": ");
    }
  }
}

TEST_P(EveryCommandTest, RefusesAValueOfAFlagAndAnOptionWithoutOne) {
  for (const Parameter& parameter : command().parameters) {
    if (parameter.isOption()) {
      SCOPED_TRACE(parameter.name);
      std::vector<std::string> words = rightLine().without(parameter.name).words();
      // Behind "--" it would be an argument.
      words.erase(std::remove(words.begin(), words.end(), "--"), words.end());
      words.push_back(parameter.kind == Kind::kFlag ? parameter.name + "=x" : parameter.name);
      expectBadUsage(words);
    }
  }
}

// Texts that mean something to parsers of command lines are texts all the same.
TEST_P(EveryCommandTest, TakesEveryTextAsItIs) {
  for (const Parameter& parameter : command().parameters) {
    if (parameter.kind != Kind::kText || parameter.check) {
      continue;
    }
    for (const char* const text :
         {"[a,b]",  "[]",    "{}",  "{a}",      "--",           "-",  "-x",   "--vm",
          "--json", "@file", "a=b", "=",        "%%",           "'",  "\"",   "\\",
          "a b",    " ",     "#",   "\xff\xfe", "\xE5\x89\x8D", "\n", "true", "device"}) {
      SCOPED_TRACE(parameter.name + " = " + base::printable(text));

      const velctl::ParsedLine line =
          velctl::parseLine(lineUpTo(parameter).with(parameter.name, text).words());

      EXPECT_EQ(line.mistake, "");
      const auto given = line.arguments.find(parameter.name);
      ASSERT_NE(given, line.arguments.end());
      EXPECT_EQ(given->second.front(), text);
      EXPECT_TRUE(given->second.size() == 1 || parameter.isRepeated);
    }
  }
}

std::vector<const velctl::Command*> everyCommand() {
  std::vector<const velctl::Command*> all;
  for (const velctl::Command& command : velctl::commands()) {
    all.push_back(&command);
  }
  return all;
}

std::string nameOfCommand(const testing::TestParamInfo<const velctl::Command*>& row) {
  std::string name = row.param->path;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Of, EveryCommandTest, testing::ValuesIn(everyCommand()), nameOfCommand);

TEST_F(InProcessTest, TextsReachTheServiceAsTheyAre) {
  for (const char* const text : {"[a,b]", "{}", "--", "-", "-x", "@file", "a=b", "%%", "a b"}) {
    SCOPED_TRACE(text);

    EXPECT_EQ(velctl({"queue", "remove", "--", text}).status, velctl::kExitDone);
    EXPECT_EQ(bus.lastCall(), "deletePrinter(string \"" + std::string(text) + "\")");
    EXPECT_EQ(velctl({"queue", "set-driver", "--", text, text}).status, velctl::kExitDone);
    EXPECT_EQ(bus.lastCall(),
              "changePrinterDriver(string \"" + std::string(text) + "\", string \"" + text + "\")");
  }
}

TEST_F(InProcessTest, AnEmptyValueBehindAnEqualsSignIsThatValue) {
  EXPECT_EQ(velctl("device attach --vm= 12").status, velctl::kExitDone);
  EXPECT_EQ(bus.lastCall(), "connectDevice(int32 0, int16 12)");
}

TEST_F(InProcessTest, SeveralTextsReachTheServiceAsTheyAre) {
  EXPECT_EQ(velctl({"shared-printer", "add", "10.0.0.7", "[a,b]", "[]"}).status, velctl::kExitDone);
  EXPECT_EQ(bus.lastCall(),
            "addSharePrinter(int32 1, cstring \"10.0.0.7\", cstring \"[a,b]\", "
            "cstring \"[]\")");
}

// Words of the command line are values where a value is due.
TEST_F(InProcessTest, TheNameOfACommandMayBeAValue) {
  for (const char* const text : {"device", "list", "remove", "queue", "help", "true", "win11"}) {
    SCOPED_TRACE(text);

    EXPECT_EQ(velctl({"queue", "remove", text}).status, velctl::kExitDone);
    EXPECT_EQ(bus.lastCall(), "deletePrinter(string \"" + std::string(text) + "\")");
  }
}

TEST_F(InProcessTest, AnEmptyTokenIsNotSent) {
  const Ran refused = velctl({"token", "set", "", "--json"});

  EXPECT_EQ(refused.status, velctl::kExitUsage);
  EXPECT_EQ(refused.err,
            "velctl: updateDriveToken: the token is empty; give at least one character\n");
  EXPECT_EQ(refused.out, errorJson(velctl::kExitUsage, "updateDriveToken", "", refused.err));
  EXPECT_THAT(requests(), IsEmpty());
}

// --- Near words, and those of earlier versions ---------------------------------------------------

TEST_F(BadUsageTest, AMistypedWordSuggestsTheNearOnes) {
  struct Row {
    std::vector<std::string> arguments;
    std::string error;
  };
  const Row rows[] = {
      {{"devcie", "list"}, "velctl: unknown command \"devcie\"; did you mean device?; "},
      {{"devices"}, "velctl: unknown command \"devices\"; did you mean device?; "},
      {{"device", "attch", "12"},
       "velctl device: unknown command \"attch\"; did you mean attach?; "},
      {{"device", "atach"}, "; did you mean attach?; "},
      {{"device", "connect-it"},
       "velctl device: unknown command \"connect-it\"; see velctl device "},
      {{"device", "list", "--jsno"},
       "velctl device list: unknown option --jsno; did you mean --json?; "},
      {{"--vm", "win11", "device", "list"}, "--vm must stand behind the command; "},
      {{"--bus", "", "device", "list"}, "--bus: must not be empty; "},
      {{"device", "attach", "12", "--vn", "win11"}, "unknown option --vn; did you mean --vm?; "},
      {{"xyzzy"}, "velctl: unknown command \"xyzzy\"; see velctl --help"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(base::joined(row.arguments, " "));
    expectBadUsage(row.arguments, row.error);
  }
}

TEST(NearestTest, AWordWithFewSlipsIsNear) {
  using testing::ElementsAre;
  const std::vector<std::string> words = {"list", "last", "show", "attach"};

  EXPECT_THAT(velctl::nearest("lst", words), ElementsAre("list", "last"));
  EXPECT_THAT(velctl::nearest("shwo", words), ElementsAre("show"));
  EXPECT_THAT(velctl::nearest("at", words), IsEmpty());
  EXPECT_THAT(velctl::nearest("att", words), ElementsAre("attach"));
  EXPECT_THAT(velctl::nearest("attac", words), ElementsAre("attach"));
  EXPECT_THAT(velctl::nearest("", words), IsEmpty());
  EXPECT_THAT(velctl::nearest("list", words), ElementsAre("list"));
  EXPECT_THAT(velctl::nearest(std::string(1000, 'x'), words), IsEmpty());
}

TEST_F(BadUsageTest, EveryWordWithTwoLettersSwappedSuggestsIt) {
  for (const velctl::Command& command : velctl::commands()) {
    std::vector<std::string> words = wordsOf(command.path);
    std::string& last = words.back();
    const std::string right = last;
    if (right.size() < 4 || right[1] == right[2]) {
      continue;
    }
    std::swap(last[1], last[2]);
    SCOPED_TRACE(base::joined(words, " "));
    expectBadUsage(words, right);
  }
}

TEST_F(BadUsageTest, AnEarlierSpellingNamesTheNewOne) {
  struct Row {
    const char* before;
    const char* now;
  };
  const Row rows[] = {
      {"reset", "service reset"},
      {"vm port win11 3 1", "port set"},
      {"vm token abc", "token set"},
      {"pipe create win11 7", "pipe add"},
      {"pipe destroy win11 7", "pipe remove"},
      {"device status 12", "device show"},
      {"device connect 12 --vm win11", "device attach"},
      {"device disconnect 12 --vm win11", "device detach"},
      {"device network add 3 Scanner", "network-device add"},
      {"device network remove Scanner", "network-device remove"},
      {"policy local 12 1", "policy set"},
      {"policy auto-connect get 1", "auto-connect get"},
      {"policy auto-connect set 1 1", "auto-connect set"},
      {"policy property get 046d:0825", "property get"},
      {"policy property local 046d:0825", "property get"},
      {"policy property set 046d:0825 1 1", "property set"},
      {"policy turbo get 046d:0825", "turbo get"},
      {"policy turbo set 046d:0825 a=1", "turbo set"},
      {"policy reset", "property reset"},
      {"new-device connect 1 --vm win11", "new-device attach"},
      {"new-device storage 1 1 --vm win11", "storage command"},
      {"printer status 51", "printer show"},
      {"printer connect 51 --vm win11", "printer attach"},
      {"printer disconnect 51 --vm win11", "printer detach"},
      {"printer network list", "network-printer list"},
      {"printer network add 10.0.0.7", "network-printer add"},
      {"printer network delete Office", "network-printer remove"},
      {"printer network rename a b", "network-printer rename"},
      {"printer shared search 10.0.0.7", "shared-printer search"},
      {"printer shared stop", "shared-printer stop"},
      {"printer shared add 10.0.0.7 Office ''", "shared-printer add"},
      {"printer shared delete 10.0.0.7 Office", "shared-printer remove"},
      {"printer queue search", "queue search"},
      {"printer queue drivers Laser", "queue drivers"},
      {"printer queue add a b c", "queue add"},
      {"printer queue auto-add a b c", "queue auto-add"},
      {"printer queue delete Laser", "queue remove"},
      {"printer queue driver Laser PCL", "queue set-driver"},
      {"printer queue test-page Laser", "queue test-page"},
      {"joystick mappings", "mapping list"},
      {"camera", "camera show"},
      {"usb status 0102030405060708 1 --vm win11", "usb set"},
      {"quality bandwidth 1 2 --vm win11", "bandwidth set"},
      {"quality rtc 2 --vm win11", "quality set"},
      {"diagnose source 1 --vm win11", "device diagnose"},
      {"diagnose device 12 --vm win11", "device diagnose"},
      {"exec run 7 --vm win11", "command run"},
      {"exec help", "command help"},
      {"exec test 2", "self-test run"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.before);
    expectBadUsage(wordsOf(row.before),
                   "\" is now \"" + std::string(row.now) + "\"; see velctl " + row.now + " --help");
    EXPECT_EQ(velctl::parseLine(wordsOf(std::string(row.now) + " --help")).mistake, "");
  }
}

// --- Help ----------------------------------------------------------------------------------------

TEST_F(InProcessTest, TheHelpOfVelctlNamesEveryNounAndThatOfANounItsCommands) {
  const Ran all = velctl("--help");
  EXPECT_EQ(all.status, velctl::kExitDone);
  for (const velctl::Command& command : velctl::commands()) {
    SCOPED_TRACE(command.path);
    const std::vector<std::string> words = wordsOf(command.path);
    EXPECT_THAT(all.out, HasSubstr("\n  " + words.front() + " "));
    if (words.size() > 1) {
      const Ran help = velctl(words.front() + " --help");
      EXPECT_EQ(help.status, velctl::kExitDone);
      EXPECT_THAT(help.err, IsEmpty());
      EXPECT_THAT(help.out, HasSubstr("\n  " + words.back() + " "));
    }
  }
}

TEST_F(InProcessTest, TheHelpOfACommandNamesItsParametersItsExamplesAndTheCommonOptions) {
  for (const velctl::Command& command : velctl::commands()) {
    SCOPED_TRACE(command.path);

    const Ran help = velctl(command.path + " --help");

    EXPECT_EQ(help.status, velctl::kExitDone);
    EXPECT_THAT(help.err, IsEmpty());
    EXPECT_THAT(help.out, HasSubstr("Usage: velctl " + command.path + " "));
    for (const Parameter& parameter : command.parameters) {
      EXPECT_THAT(help.out, HasSubstr("  " + parameter.name + " "));
    }
    EXPECT_FALSE(command.examples.empty());
    for (const velctl::Example& example : command.examples) {
      EXPECT_THAT(help.out, HasSubstr("\n  velctl " + example.line + "\n      "));
    }
    for (const Parameter& option : velctl::globalOptions()) {
      EXPECT_THAT(help.out, HasSubstr("\n  " + option.name + " "));
    }
  }
}

TEST_F(InProcessTest, TheCommandHelpShowsTheSame) {
  for (const velctl::Command& command : velctl::commands()) {
    const Ran help = velctl("help " + command.path);

    EXPECT_EQ(help.status, velctl::kExitDone);
    EXPECT_EQ(help.out, velctl(command.path + " --help").out);
  }
  EXPECT_EQ(velctl("help").out, velctl("--help").out);
  EXPECT_EQ(velctl("help device").out, velctl("device --help").out);
}

TEST_F(InProcessTest, TheHelpSaysWhatEachFirstWordIsFor) {
  const Ran help = velctl("--help");

  for (const velctl::Noun& noun : velctl::nouns()) {
    EXPECT_THAT(help.out, testing::ContainsRegex("\n  " + noun.name + "  +[A-Z]"));
  }
}

TEST_F(InProcessTest, TheHelpHasEveryExitStatus) {
  const Ran help = velctl("--help");
  // Long meanings have several lines.
  const std::string inOneLine = std::regex_replace(help.out, std::regex("\\s+"), " ");

  for (const velctl::ExitMeaning& each : velctl::kExitMeanings) {
    EXPECT_THAT(help.out,
                HasSubstr("\n  " + std::to_string(each.code) + ' ' + std::string(each.name) + ' '));
    EXPECT_THAT(inOneLine, HasSubstr(' ' + std::string(each.meaning) + ' '));
  }
}

}  // namespace
}  // namespace velctl_tests
