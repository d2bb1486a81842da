// velctl shell, from a pipe and at a terminal.

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "tests/velctl/shell/shell_test.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl_tests {
namespace {

using processes::Finished;
using processes::Process;
using processes::Terminal;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class VelctlShellTest : public ShellTest {
 protected:
  Finished velctlShell(const std::string& input,
                       const std::vector<std::string>& globalOptions = {}) const {
    std::vector<std::string> command = {VELCTL_PATH};
    command.insert(command.end(), globalOptions.begin(), globalOptions.end());
    command.emplace_back("shell");
    return run(command, input);
  }
  bool isSearching() {
    return processes::comesTrue(
        [this] { return velsim().log().find("searchAllPrinter") != std::string::npos; });
  }
};

TEST_F(VelctlShellTest, RunsTheLinesOfAPipe) {
  velsim().control("plug camera \"Front camera\"");

  const Finished finished = velctlShell(
      "# a comment\n"
      "\n"
      "device attach 'Front camera' --vm win11\n"
      "velctl device detach Front\\ camera --vm \"win11\"");

  EXPECT_EQ(finished.status, velctl::kExitDone);
  EXPECT_EQ(finished.out, "device 31 attached to win11\ndevice 31 detached from win11\n");
  EXPECT_THAT(finished.err, IsEmpty()) << "no prompt";
}

TEST_F(VelctlShellTest, ACommandThatFailsDoesNotEndIt) {
  const Finished finished = velctlShell(
      "device show 999\n"
      "device nosuch\n"
      "device show 'Front\n"
      "completion fish --json\n");

  EXPECT_THAT(finished.out, HasSubstr("{\"shell\":\"fish\",\"script\":"));
  EXPECT_THAT(finished.err,
              AllOf(HasSubstr("velctl: getDeviceStatus 999: "), HasSubstr("velctl device: "),
                    HasSubstr("velctl: shell: a quotation mark is missing: '\n")));
}

TEST_F(VelctlShellTest, ItsExitStatusIsThatOfTheLastCommandThatFailed) {
  EXPECT_EQ(velctlShell("device show 999\nvm list\n").status, velctl::kExitUnknown);
  EXPECT_EQ(velctlShell("device show 999\ndevice nosuch\nvm list\n").status, velctl::kExitUsage);
  EXPECT_EQ(velctlShell("vm list\n").status, velctl::kExitDone);
  EXPECT_EQ(velctlShell("").status, velctl::kExitDone);
  EXPECT_EQ(velctlShell("exit now\n").status, velctl::kExitUsage);
}

TEST_F(VelctlShellTest, ExitEndsIt) {
  const Finished finished = velctlShell("exit\nvm list\n");

  EXPECT_EQ(finished.status, velctl::kExitDone);
  EXPECT_THAT(finished.out, IsEmpty());
}

TEST_F(VelctlShellTest, ItsGlobalOptionsAreThoseOfEachCommand) {
  velsim_testing::VelsimProcess other;
  other.control("vm add other");

  EXPECT_THAT(velctlShell("vm list\n", {"--json"}).out, HasSubstr("{\"operation\":\"getVmList\""));
  EXPECT_THAT(velctlShell("vm list\n", {"--bus", other.address()}).out, HasSubstr("other"));
}

TEST_F(VelctlShellTest, ACommandDoesNotReadTheLinesBehindIt) {
  const Finished finished = velctlShell("token set -\nvm list\n");

  EXPECT_THAT(finished.out, HasSubstr("win11"));
}

TEST_F(VelctlShellTest, EachLineIsRunAsSoonAsItCame) {
  Process::Options given = options({VELCTL_PATH, "shell"});
  given.isInputOpen = true;
  Process shell(given);

  shell.write("completion bash\n");

  EXPECT_EQ(shell.readLine(),
            "# Completion of velctl for bash: candidates come from velctl itself.");
  EXPECT_FALSE(shell.hasEnded());
}

TEST_F(VelctlShellTest, ItsEndEndsTheCommandThatRuns) {
  velsim().control("fault searchAllPrinter 1- no-answer");
  Process::Options given = options({VELCTL_PATH, "shell"});
  given.input = "queue search\n";
  Process shell(given);
  ASSERT_TRUE(isSearching());

  EXPECT_EQ(shell.end(SIGTERM).status, 128 + SIGTERM);

  EXPECT_TRUE(processes::comesTrue(
      [&shell] { return shell.err().find("interrupted") != std::string::npos; }));
}

// --- At a terminal -------------------------------------------------------------------------------

class ShellAtTerminalTest : public VelctlShellTest {
 protected:
  static constexpr char kPrompt[] = "velctl> ";

  void start() {
    terminal_ = std::make_unique<Terminal>();
    shell_ = std::make_unique<Process>(onTerminal(*terminal_, {VELCTL_PATH, "shell"}));
    seen_ = 0;
    EXPECT_TRUE(shows(kPrompt)) << terminal_->text();
  }
  // Whether the terminal shows a text behind the one that it has shown last.
  bool shows(const std::string& text) {
    const bool isThere = processes::comesTrue(
        [&] { return terminal_->text().find(text, seen_) != std::string::npos; });
    if (isThere) {
      seen_ = terminal_->text().find(text, seen_) + text.size();
    }
    return isThere;
  }
  bool prompts() { return shows(kPrompt); }
  void type(const std::string& keys) { terminal_->type(keys); }
  // Types a line, and waits for the next prompt.
  void runLine(const std::string& line) {
    type(line + "\n");
    EXPECT_TRUE(prompts()) << terminal_->text();
  }
  std::string text() { return terminal_->text(); }
  // Ctrl-D, and the exit status.
  int end() {
    type("\x04");
    return shell_->wait().status;
  }
  Process& shell() { return *shell_; }

 private:
  std::unique_ptr<Terminal> terminal_;
  std::unique_ptr<Process> shell_;
  std::size_t seen_ = 0;
};

TEST_F(ShellAtTerminalTest, RunsCommandsUntilCtrlD) {
  start();

  type("device show 12\n");
  EXPECT_TRUE(shows("Built-in camera"));
  EXPECT_TRUE(prompts());
  runLine("device show 999");

  EXPECT_EQ(end(), 0) << "its user has seen the failure";
}

TEST_F(ShellAtTerminalTest, AnEmptyLineDoesNothing) {
  start();

  runLine("");
  runLine("device show 12");

  EXPECT_THAT(text(), HasSubstr("Built-in camera"));
  EXPECT_EQ(end(), 0);
}

TEST_F(ShellAtTerminalTest, ExitEndsIt) {
  start();

  type("exit\n");

  EXPECT_EQ(shell().wait().status, 0);
}

TEST_F(ShellAtTerminalTest, TabCompletesCommandsAndNames) {
  velsim().control("plug camera \"Front camera\"");
  start();

  type("dev\tsho\tFr\t\n");
  EXPECT_TRUE(shows("name        Front camera")) << text();
  EXPECT_TRUE(prompts());
  type("device show \"Fr\t\n");
  EXPECT_TRUE(shows("name        Front camera")) << text();
  EXPECT_TRUE(prompts());
  type("velctl device show 'Fro\t\n");
  EXPECT_TRUE(shows("name        Front camera")) << text();
}

TEST_F(ShellAtTerminalTest, TabCompletesFileNamesWhereAFileIsMeant) {
  std::filesystem::create_directory(file("my strokes"));
  write("my strokes/one.jsonl", "");
  start();

  type("pen replay " + file("my").string() + "\\ s\t\t");

  EXPECT_TRUE(shows("trokes/")) << text();
  EXPECT_TRUE(shows("one.jsonl ")) << text();
}

TEST_F(ShellAtTerminalTest, TabListsSeveralCandidatesWithTheirMeaning) {
  start();

  type("device show B\t");

  EXPECT_TRUE(shows("Built-in camera  device 12\r\n")) << text();
  EXPECT_TRUE(shows("Barcode scanner  device 15\r\n")) << text();
  EXPECT_TRUE(shows("velctl> device show B")) << text();
}

TEST_F(ShellAtTerminalTest, HostileNamesNeverReachTheTerminal) {
  velsim().control("plug camera \"a\x1b]0;owned\x07\"");
  velsim().control("plug camera \"\xe2\x80\xaegnp.exe\"");
  start();

  type("device show \t");
  EXPECT_TRUE(shows("31               a\\x1b]0;owned\\x07\r\n")) << text();
  EXPECT_TRUE(shows("32               \\xe2\\x80\\xaegnp.exe\r\n")) << text();
  EXPECT_THAT(text(), AllOf(Not(HasSubstr("\x1b]0;owned")), Not(HasSubstr("\xe2\x80\xae"))));
}

TEST_F(ShellAtTerminalTest, CtrlCCancelsALine) {
  start();

  type("device show 12\x03");
  EXPECT_TRUE(shows("^C\r\n"));
  EXPECT_TRUE(prompts());
  runLine("completion fish --json");

  EXPECT_THAT(text(), Not(HasSubstr("Built-in camera")));
  EXPECT_EQ(end(), 0);
}

TEST_F(ShellAtTerminalTest, CtrlCEndsTheCommandThatRuns) {
  velsim().control("fault searchAllPrinter 1- no-answer");
  start();
  type("queue search\n");
  ASSERT_TRUE(isSearching());

  type("\x03");

  EXPECT_TRUE(shows("interrupted")) << text();
  EXPECT_TRUE(prompts());
  type("device show 12\n");
  EXPECT_TRUE(shows("Built-in camera"));
  EXPECT_TRUE(prompts());
  EXPECT_EQ(end(), 0);
}

TEST_F(ShellAtTerminalTest, LinesCanBeEditedInAnyScript) {
  velsim().control("plug camera \"\xe5\x89\x8d\xe9\x9d\xa2\"");
  start();

  // The last character is deleted again.
  type("device show \xe5\x89\x8d\xe9\x9d\xa2\xe5\x89\x8d\x7f\n");

  EXPECT_TRUE(shows("device      31")) << text();
}

TEST_F(ShellAtTerminalTest, TheHistoryIsThereInTheNextSession) {
  start();
  runLine("device show 12");
  EXPECT_EQ(end(), 0);

  start();
  type("\x1b[A\n");

  EXPECT_TRUE(shows("Built-in camera")) << text();
  EXPECT_EQ(content("velctl_history"), "device show 12\n");
  struct stat status = {};
  ASSERT_EQ(::stat(file("velctl_history").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, mode_t{0600});
}

TEST_F(ShellAtTerminalTest, TheHistoryHasNoTokens) {
  start();
  for (const char* const line :
       {"token set s3cret", "--json token set s3cret", "velctl token set s3cret", "tokn set s3cret",
        "token set 's3cret", "  token  set  s3cret"}) {
    runLine(line);
  }
  runLine("device show 12");
  // Not that of this session either.
  type("\x1b[A\x1b[A\n");
  EXPECT_TRUE(prompts());

  EXPECT_EQ(end(), 0);
  EXPECT_EQ(content("velctl_history"), "device show 12\n");
}

TEST_F(ShellAtTerminalTest, DataGoesToStandardOutputAlone) {
  Terminal terminal;
  Process::Options on =
      options({"setsid", "sh", "-c", R"(exec "$0" shell <"$TERMINAL" 2>"$TERMINAL")", VELCTL_PATH});
  on.environment["TERMINAL"] = terminal.name();
  Process shell(on);

  terminal.type("completion bash\nexit\n");

  EXPECT_EQ(shell.wait().out, run({VELCTL_PATH, "completion", "bash"}).out);
}

}  // namespace
}  // namespace velctl_tests
