// What a user does with velctl and sees of velsim, step by step: one story per thing to do.

#ifndef TESTS_VELCTL_STORIES_H
#define TESTS_VELCTL_STORIES_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl_tests {

enum class Form { kText, kJson };

// A command, and what is seen of it.
struct Step {
  // That the command is for; velsim must have been asked it. Empty: this is a line for velsim, from
  // the person at the machine.
  std::string method;
  std::string command;  // without "velctl"; words with blanks, and empty ones, in single quotes
  Form form = Form::kText;
  velctl::ExitCode status = velctl::kExitOk;
  // What standard output must be.
  std::string out;
  // What standard error must contain.
  std::string err;
  // What is compared, in place of standard output as it is.
  std::function<std::string(const std::string& out)> seen;
};

struct Story {
  std::string name;
  std::vector<Step> steps;
};

void PrintTo(const Story& story, std::ostream* stream);

// The words of a command.
std::vector<std::string> wordsOf(const std::string& command);

// --- Steps ---------------------------------------------------------------------------------------

// The command prints that, and a newline.
Step shows(const std::string& method, const std::string& command, const std::string& text);

// With --json, it prints {"operation":METHOD,MEMBERS}.
Step tells(const std::string& method, const std::string& command, const std::string& members);

// They print these lines in any order.
Step showsInAnyOrder(const std::string& method, const std::string& command,
                     const std::string& text);
Step tellsInAnyOrder(const std::string& method, const std::string& command,
                     const std::string& lines);

// velsim answers a status that is not 0.
Step refuses(const std::string& method, const std::string& command, int status);
// The same with --json, whose members end before the status.
Step refusesInJson(const std::string& method, const std::string& command, int status,
                   const std::string& members);

// The command ends with an exit status, prints nothing, and says that on standard error.
Step fails(const std::string& method, const std::string& command, velctl::ExitCode status,
           const std::string& err);

// The command prints nothing, and says that on standard error.
Step notes(const std::string& method, const std::string& command, const std::string& note);

// What velsim knows of something, which a command of its own tells: "devices", "vms" and so on.
Step knows(const std::string& word, const std::string& answer);

// The person at the machine types a line, and velsim prints that.
Step types(const std::string& line, const std::string& printed);

// --- JSON of records, and what it is for ---------------------------------------------------------

// An empty vm is a VM whose name velctl has not learned, or none.
std::string deviceJson(int number, int status, int policy, const std::string& policyText,
                       int vmNumber, const std::string& vm, const std::string& name);
std::string printerJson(int number, int status, int vmNumber, const std::string& vm,
                        const std::string& name);

constexpr char kForWin11[] = R"("vm":"win11","number":101,)";
constexpr char kForWin10[] = R"("vm":"win10","number":102,)";

// --- Stories -------------------------------------------------------------------------------------

std::vector<Story> sessionStories();
std::vector<Story> deviceStories();
std::vector<Story> policyStories();
std::vector<Story> printerStories();
std::vector<Story> serviceStories();

const std::vector<Story>& stories();

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_STORIES_H
