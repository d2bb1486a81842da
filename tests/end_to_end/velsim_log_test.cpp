// What velsim writes, and how control commands are typed.

#include <csignal>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/end_to_end/end_to_end_test.h"
#include "tests/processes/terminal.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class VelsimLogTest : public EndToEndTest {
 protected:
  static bool logs(const Process& process, const std::string& text) {
    return comesTrue([&] { return process.err().find(text) != std::string::npos; });
  }
  static bool answers(const Process& process, const std::string& text) {
    return comesTrue([&] { return process.out().find(text) != std::string::npos; });
  }
  Process::Options withInput(const std::string& input) {
    Process::Options with = options({VELSIM_PATH, "--control", "-"});
    with.input = input;
    return with;
  }
};

TEST_F(VelsimLogTest, EachLineHasATime) {
  Process process(options({VELSIM_PATH}));
  ASSERT_TRUE(processes::isReady(process));
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait().status, velsim::kExitStopped);

  const std::regex lines("([0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} velsim: [^\\n]+\\n){2}");
  EXPECT_TRUE(std::regex_match(process.err(), lines)) << process.err();
}

TEST_F(VelsimLogTest, ForProgramsIsOneJsonObjectPerLine) {
  Process process(options({VELSIM_PATH, "--json"}));
  ASSERT_TRUE(logs(process, "\"text\":\"ready at "));
  EXPECT_EQ(velctl({"device", "attach", "12", "--vm", "win11"}).status, 0);
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait().status, velsim::kExitStopped);

  std::set<std::string> kinds;
  const std::regex time("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z");
  std::istringstream log(process.err());
  for (std::string line; std::getline(log, line);) {
    const nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
    ASSERT_TRUE(object.is_object()) << line;
    EXPECT_TRUE(std::regex_match(object.value("time", ""), time)) << line;
    kinds.insert(object.value("kind", ""));
  }
  EXPECT_EQ(kinds, (std::set<std::string>{"message", "request", "event"}));
}

TEST_F(VelsimLogTest, AQuietOneHasNeitherRequestsNorEvents) {
  Process process(options({VELSIM_PATH, "--quiet", "--json"}));
  ASSERT_TRUE(logs(process, "\"text\":\"ready at "));
  EXPECT_EQ(velctl({"device", "attach", "12", "--vm", "win11"}).status, 0);
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait().status, velsim::kExitStopped);

  EXPECT_THAT(process.err(), AllOf(HasSubstr("\"text\":\"stopped\""), Not(HasSubstr("\"request\"")),
                                   Not(HasSubstr("\"event\""))));
}

TEST_F(VelsimLogTest, TheEndOfControlInputIsReportedAndVelsimGoesOn) {
  Process process(withInput("plug camera \"Front camera\"\n"));

  EXPECT_TRUE(logs(process, "velsim: control input has ended; velsim goes on"));
  EXPECT_TRUE(answers(process, "plugged in 31\n"));
  EXPECT_THAT(velctl({"device", "list"}).out, HasSubstr("Front camera"));
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait().status, velsim::kExitStopped);
}

TEST_F(VelsimLogTest, QuitEndsVelsim) {
  Process process(withInput("quit\n"));

  EXPECT_EQ(process.wait().status, velsim::kExitStopped);
  EXPECT_THAT(process.err(), HasSubstr("velsim: stopped\n"));
}

TEST_F(VelsimLogTest, ATerminalShowsAPromptBehindAnswersAndTheLog) {
  processes::Terminal terminal;
  const auto shows = [&terminal](const std::string& text) {
    return comesTrue([&] { return terminal.text().find(text) != std::string::npos; });
  };
  Process::Options on =
      options({"sh", "-c", "exec \"$0\" --control - <\"$T\" >\"$T\" 2>&1", VELSIM_PATH});
  on.environment["T"] = terminal.name();
  Process process(on);

  EXPECT_TRUE(shows("type help for the list, quit to end\r\nvelsim> "));
  terminal.type("camera deny\n");
  EXPECT_TRUE(shows("cameras denied\r\nvelsim> "));
  terminal.type("camera maybe\n");
  EXPECT_TRUE(shows("velsim: control: camera: expected allow or deny, got \"maybe\"\r\nvelsim> "));
  terminal.type("quit\n");
  EXPECT_EQ(process.wait().status, velsim::kExitStopped);
}

}  // namespace
}  // namespace end_to_end
