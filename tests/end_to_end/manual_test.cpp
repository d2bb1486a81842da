// The manual page of velsim beside its --help.

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using ::testing::HasSubstr;

std::set<std::string> optionsIn(const std::string& text) {
  static const std::regex pattern("--[a-z][a-z-]*");
  std::set<std::string> options;
  for (std::sregex_iterator i(text.begin(), text.end(), pattern); i != std::sregex_iterator();
       ++i) {
    options.insert(i->str());
  }
  return options;
}

// With plain hyphens.
std::string manualPage() {
  std::ifstream file(VELSIM_MANUAL);
  std::ostringstream text;
  text << file.rdbuf();
  return std::regex_replace(text.str(), std::regex(R"(\\-)"), "-");
}

class ManualTest : public EndToEndTest {
 protected:
  std::string help(const std::vector<std::string>& command = {}) const {
    std::vector<std::string> arguments = {VELSIM_PATH};
    arguments.insert(arguments.end(), command.begin(), command.end());
    arguments.emplace_back("--help");
    return run(options(arguments)).out;
  }
};

TEST_F(ManualTest, OfVelsimHasTheOptionsOfItsHelp) {
  EXPECT_EQ(optionsIn(manualPage()),
            optionsIn(help() + help({"ctl"}) + help({"record"}) + help({"replay"})));
}

TEST_F(ManualTest, OfVelsimHasEachExitStatus) {
  for (int status = velsim::kExitStopped; status <= velsim::kExitDiffers; ++status) {
    EXPECT_THAT(manualPage(), HasSubstr(".TP\n.B " + std::to_string(status) + "\n"));
  }
}

TEST_F(ManualTest, TheHelpOfVelsimFitsAScreen) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{}, {"ctl"}, {"record"}, {"replay"}}) {
    std::istringstream lines(help(command));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
      EXPECT_LE(line.size(), 100U) << line;
    }
    EXPECT_LE(count, 35);
  }
}

}  // namespace
}  // namespace end_to_end
