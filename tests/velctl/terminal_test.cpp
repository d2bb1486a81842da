// The progress line of a command that takes long, on a terminal.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "base/text.h"
#include "tests/processes/terminal.h"
#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

using processes::Terminal;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class TerminalTest : public FakeServiceTest {
 protected:
  TerminalTest() {
    service().answer("searchAllPrinter", qxbus::Values{std::string("found")});
    service().hold("searchAllPrinter");
  }

  // velctl with standard error on the terminal, or with another redirection by a shell.
  Process::Options onTerminal(const Terminal& terminal, const std::vector<std::string>& arguments,
                              const std::string& redirection = "2>\"$TERMINAL\"") const {
    Process::Options on = options(arguments);
    on.command.insert(on.command.begin(), {"sh", "-c", "exec \"$0\" \"$@\" " + redirection});
    on.environment["TERMINAL"] = terminal.name();
    return on;
  }

  static bool shows(Terminal& terminal, const std::string& text) {
    return comesTrue([&] { return terminal.text().find(text) != std::string::npos; });
  }
  static bool showsLast(Terminal& terminal, const std::string& end) {
    return comesTrue([&] {
      const std::string& text = terminal.text();
      return text.size() >= end.size() &&
             text.compare(text.size() - end.size(), end.size(), end) == 0;
    });
  }

  Terminal& terminal() { return terminal_; }

 private:
  Terminal terminal_;
};

TEST_F(TerminalTest, ALongCommandShowsTheElapsedTimeAndThenRemovesTheLine) {
  Process search(onTerminal(terminal(), {"queue", "search"}));

  EXPECT_TRUE(shows(terminal(), "velctl: searching for printers, 2 s of at most 30"))
      << terminal().text();
  service().release();

  const Finished finished = search.wait();
  EXPECT_EQ(finished.status, velctl::kExitDone);
  EXPECT_EQ(finished.out, "found\n");
  EXPECT_TRUE(shows(terminal(), "velctl: searching for printers, 1 s of at most 30\r"));
  // Later seconds may have needed more.
  const std::size_t columns =
      std::string("velctl: searching for printers, 1 s of at most 30").size();
  EXPECT_TRUE(showsLast(terminal(), std::string(columns, ' ') + '\r')) << terminal().text();
}

TEST_F(TerminalTest, ALongCommandEndsAtOnceWhenInterruptedAndRemovesTheLine) {
  Process search(onTerminal(terminal(), {"queue", "search"}));
  ASSERT_TRUE(shows(terminal(), ", 1 s of at most 30")) << terminal().text();

  // The service still holds the request.
  const Finished finished = search.end(SIGINT);

  EXPECT_EQ(finished.status, 128 + SIGINT);
  EXPECT_THAT(finished.out, IsEmpty());
  EXPECT_TRUE(showsLast(terminal(), " \rvelctl: searchAllPrinter: interrupted\r\n"))
      << terminal().text();
}

TEST_F(TerminalTest, TheLineIsCutToTheWidthOfTheTerminal) {
  Process::Options narrow = onTerminal(terminal(), {"queue", "search"});
  narrow.environment["COLUMNS"] = "30";
  Process search(narrow);

  // One column stays free: a whole line would begin another.
  EXPECT_TRUE(shows(terminal(), "velctl: searching for printe\xE2\x80\xA6")) << terminal().text();
  service().release();

  EXPECT_EQ(search.wait().status, velctl::kExitDone);
  EXPECT_TRUE(showsLast(terminal(), '\r' + std::string(29, ' ') + '\r')) << terminal().text();
}

TEST_F(TerminalTest, AWatchThatWaitsForTheServiceShowsThat) {
  stopService();
  Process watch(onTerminal(terminal(), {"watch"}));

  EXPECT_TRUE(shows(terminal(), "velctl: waiting for the service, 2 s")) << terminal().text();
  startService();

  EXPECT_TRUE(shows(terminal(), " \rvelctl: watching win11; interrupt to end\r\n"))
      << terminal().text();
  EXPECT_EQ(watch.end(SIGINT).status, velctl::kExitDone);
}

// Each has a terminal of its own, and they wait at the same time.
TEST_F(TerminalTest, EveryCommandThatTakesLongShowsThatAndCanBeInterrupted) {
  struct Row {
    std::string method;
    std::vector<std::string> arguments;
    std::string shown;
  };
  const std::string answer = "waiting for the answer to the command";
  const Row rows[] = {
      {"searchSharePrinter",
       {"shared-printer", "search", "10.0.0.7"},
       "searching for shared printers, 1 s of at most 10"},
      {"getPrinterDriverlList",
       {"queue", "drivers", "a"},
       "looking for drivers, 1 s of at most 30"},
      {"autoAddPrinter",
       {"queue", "auto-add", "a", "b", "c"},
       "adding the printer, 1 s of at most 30"},
      {"printTestPage",
       {"queue", "test-page", "a"},
       "waiting for the test page, 1 s of at most 10"},
      {"ConfigPrinterCommand",
       {"printer", "command", "1", "1", "--vm", "win11"},
       answer + ", 1 s of at most 10"},
      {"configNewDeviceAsConnect",
       {"new-device", "attach", "1", "--vm", "win11"},
       "attaching the device, 1 s of at most 10"},
      {"ConfigUdisks2Command",
       {"storage", "command", "1", "1", "--vm", "win11"},
       answer + ", 1 s of at most 10"},
      {"diagnose",
       {"device", "diagnose", "--source", "1", "--vm", "win11"},
       "diagnosing, 1 s of at most 10"},
      {"diagnoseDevice",
       {"device", "diagnose", "1", "--vm", "win11"},
       "diagnosing, 1 s of at most 10"},
      {"none: the device is not there", {"wait", "device", "none"}, "waiting for the device, 1 s"},
      {"none: the service has accepted it",
       {"command", "run", "1", "--wait", "600"},
       answer + ", 1 s of at most 600"},
  };
  std::vector<std::unique_ptr<Terminal>> terminals;
  std::vector<std::unique_ptr<Process>> processes;
  for (const Row& row : rows) {
    service().hold(row.method);
    terminals.push_back(std::make_unique<Terminal>());
    processes.push_back(std::make_unique<Process>(onTerminal(*terminals.back(), row.arguments)));
  }

  for (std::size_t i = 0; i < processes.size(); ++i) {
    SCOPED_TRACE(base::joined(rows[i].arguments, " "));
    EXPECT_TRUE(shows(*terminals[i], "velctl: " + rows[i].shown)) << terminals[i]->text();
    const Finished finished = processes[i]->end(SIGINT);
    EXPECT_EQ(finished.status, velctl::kExitInterrupted);
    EXPECT_THAT(finished.out, IsEmpty());
    EXPECT_TRUE(shows(*terminals[i], " \rvelctl: ")) << terminals[i]->text();
    EXPECT_TRUE(shows(*terminals[i], ": interrupted")) << terminals[i]->text();
  }
}

TEST_F(TerminalTest, ALongCommandEndsAtOnceWhenInterruptedWithoutATerminal) {
  Process search(options("queue search"));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; }));

  const Finished finished = search.end(SIGINT);

  EXPECT_EQ(finished.status, 128 + SIGINT);
  EXPECT_THAT(finished.out, IsEmpty());
}

TEST_F(TerminalTest, OnlyATerminalShowsTheElapsedTime) {
  Process watched(onTerminal(terminal(), {"queue", "search"}));
  Process unwatched(options("queue search"));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 2; }));
  // Both have been waiting for as long.
  ASSERT_TRUE(shows(terminal(), ", 2 s of at most 30"));
  service().release();

  EXPECT_EQ(watched.wait().status, velctl::kExitDone);
  const Finished finished = unwatched.wait();
  EXPECT_EQ(finished.out, "found\n");
  EXPECT_THAT(finished.err, Not(HasSubstr("searching for printers")));
}

TEST_F(TerminalTest, ProgressOfADiagnosisHasALineOfItsOwn) {
  service().answer("diagnose", qxbus::Values{std::string("well")});
  service().hold("diagnose");
  Process diagnose(onTerminal(
      terminal(), {"device", "diagnose", "--source", "7", "--vm", "win11", "--follow", "0"},
      ">\"$TERMINAL\" 2>&1"));
  ASSERT_TRUE(shows(terminal(), "velctl: diagnosing, 1 s of at most 10"));

  service().emit({std::int32_t{0}, std::int32_t{9}, diagnosisBlock(7, 1, kVmNumber, "looking")});

  EXPECT_TRUE(shows(terminal(), " \rrunning (1): looking\r\n")) << terminal().text();
  service().release();
  EXPECT_TRUE(shows(terminal(), "well\r\n"));
  EXPECT_EQ(diagnose.wait().status, velctl::kExitDone);
}

// A table as wide as the terminal: names are cut, numbers and their meanings are not.
TEST_F(TerminalTest, ATableFitsTheTerminal) {
  service().answer(
      "getDeviceList",
      qxbus::Values{std::int32_t{2},
                    deviceBlock(12, 2, 1, 0, "前面摄像头 with a wide and long name", ""),
                    deviceBlock(7, 1, 0, 0, "Tablet", "")});
  struct Row {
    const char* columns;
    std::string shown;
  };
  const std::string wide =
      "NUMBER  STATUS         POLICY       VM  NAME\r\n"
      "12      attached (2)   allowed (1)  -   前面摄像头 with a wide and long name\r\n"
      "7       available (1)  none (0)     -   Tablet\r\n";
  const std::string narrow =
      "NUMBER  STATUS         POLICY       VM  NAME\r\n"
      "12      attached (2)   allowed (1)  -   前面摄像头 wit…\r\n"
      "7       available (1)  none (0)     -   Tablet\r\n";
  const std::string narrowest =
      "NUMBER  STATUS         POLICY       VM  NAME\r\n"
      "12      attached (2)   allowed (1)  -   前面摄…\r\n"
      "7       available (1)  none (0)     -   Tablet\r\n";
  for (const Row& row : {Row{"120", wide}, Row{"55", narrow}, Row{"40", narrowest}}) {
    SCOPED_TRACE(row.columns);
    Terminal own;
    Process::Options list = onTerminal(own, {"device", "list"}, ">\"$TERMINAL\"");
    list.environment["COLUMNS"] = row.columns;
    list.environment["NO_COLOR"] = "1";

    EXPECT_EQ(processes::run(list).status, velctl::kExitDone);

    EXPECT_TRUE(shows(own, "Tablet\r\n"));
    EXPECT_EQ(own.text(), row.shown);
  }
}

}  // namespace
}  // namespace velctl_tests
