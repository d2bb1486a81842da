// Shells with velctl and a simulated service.

#ifndef TESTS_VELCTL_SHELL_SHELL_TEST_H
#define TESTS_VELCTL_SHELL_SHELL_TEST_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/process.h"
#include "tests/processes/programs.h"
#include "tests/processes/terminal.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace velctl_tests {

// A velsim, and a home of its own for each test.
class ShellTest : public testing::Test {
 protected:
  ShellTest() {
    std::string name = (std::filesystem::temp_directory_path() / "velctl-shell-XXXXXX").string();
    home_ = ::mkdtemp(name.data());
  }
  ~ShellTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
  }

  velsim_testing::VelsimProcess& velsim() { return velsim_; }
  std::filesystem::path file(const std::string& name) const { return home_ / name; }
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name)) << content;
  }
  std::string content(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(file(name)).rdbuf();
    return text.str();
  }

  processes::Process::Options options(const std::vector<std::string>& command) const {
    processes::Process::Options options;
    options.command = command;
    const char* const path = std::getenv("PATH");
    const std::string programs = std::filesystem::path(VELCTL_PATH).parent_path().string();
    options.environment = {
        {"QXBUS_ADDRESS", velsim_.address()},
        {"QX_APP_DATA", home_.string()},
        {"HOME", home_.string()},
        {"ZDOTDIR", home_.string()},
        {"XDG_CONFIG_HOME", home_.string()},
        {"XDG_DATA_HOME", home_.string()},
        {"INPUTRC", "/dev/null"},
        {"LC_ALL", "C.UTF-8"},
        {"TERM", "xterm"},
        {"NO_COLOR", "1"},
        {"VELCTL_COMPLETION_SECONDS", std::to_string(processes::kPatienceSeconds)},
        {"PATH", programs + (path ? ':' + std::string(path) : "")}};
    return options;
  }
  // With all three streams on a terminal, which controls the program: Ctrl-C is a signal.
  processes::Process::Options onTerminal(const processes::Terminal& terminal,
                                         const std::vector<std::string>& command) const {
    std::vector<std::string> words = {"setsid", "sh", "-c",
                                      R"(exec "$0" "$@" <"$TERMINAL" >"$TERMINAL" 2>&1)"};
    words.insert(words.end(), command.begin(), command.end());
    processes::Process::Options on = options(words);
    on.environment["TERMINAL"] = terminal.name();
    return on;
  }
  processes::Finished run(const std::vector<std::string>& command,
                          const std::string& input = "") const {
    processes::Process::Options given = options(command);
    given.input = input;
    return processes::run(given);
  }

 private:
  velsim_testing::VelsimProcess velsim_;
  std::filesystem::path home_;
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_SHELL_SHELL_TEST_H
