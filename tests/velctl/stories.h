// Tasks of a user with velctl and velsim, step by step.

#ifndef TESTS_VELCTL_STORIES_H
#define TESTS_VELCTL_STORIES_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/output/output.h"

namespace velctl_tests {

using velctl::Form;

// A command and its result.
struct Step {
  // The request that velsim must have received. Empty: the command is a control command of velsim.
  std::string method;
  std::string command;  // without "velctl"; words with blanks, and empty ones, in single quotes
  Form form = Form::kText;
  velctl::ExitCode status = velctl::kExitDone;
  std::string out;  // standard output
  std::string err;  // a part of standard error
  // Applied to standard output before the comparison.
  std::function<std::string(const std::string& out)> normalize;
};

struct Story {
  std::string name;
  std::vector<Step> steps;
};

void PrintTo(const Story& story, std::ostream* stream);

// --- Steps ---------------------------------------------------------------------------------------

// The command prints that, and a newline.
Step shows(const std::string& method, const std::string& command, const std::string& text);

// With --json, it prints {"operation":METHOD,MEMBERS}.
Step showsJson(const std::string& method, const std::string& command, const std::string& members);

// This line is among those that the command prints.
Step showsLine(const std::string& method, const std::string& command, const std::string& line);

// They print these lines in any order.
Step showsInAnyOrder(const std::string& method, const std::string& command,
                     const std::string& text);
Step showsJsonInAnyOrder(const std::string& method, const std::string& command,
                         const std::string& lines);

// velsim answers with a status other than 0.
Step refuses(const std::string& method, const std::string& command, int status);
// The same with --json.
Step refusesInJson(const std::string& method, const std::string& command, int status);

// The command ends with an exit status, prints nothing, and reports the error.
Step fails(const std::string& method, const std::string& command, velctl::ExitCode status,
           const std::string& err);

// The command succeeds, prints nothing, and writes a note.
Step notes(const std::string& method, const std::string& command, const std::string& note);

// The state of velsim, which its own commands show: "devices", "vms" and so on.
Step knows(const std::string& word, const std::string& answer);

// A control command of velsim and its answer.
Step controls(const std::string& line, const std::string& printed);

// --- JSON of records -----------------------------------------------------------------------------

// vm is empty for none. type is the last digit of velsim's product id as well.
std::string deviceMembers(int number, int status, int policy, const std::string& policyText,
                          const std::string& vm, int vmNumber, const std::string& name, int type);
std::string deviceJson(int number, int status, int policy, const std::string& policyText,
                       const std::string& vm, int vmNumber, const std::string& name, int type);
std::string printerMembers(int number, int status, const std::string& vm, int vmNumber,
                           const std::string& name);
std::string printerJson(int number, int status, const std::string& vm, int vmNumber,
                        const std::string& name);

constexpr char kForWin11[] = R"("vm":"win11","vmNumber":101,)";
constexpr char kForWin10[] = R"("vm":"win10","vmNumber":102,)";
// The end of the JSON form of a request that has succeeded.
constexpr char kOk[] = R"("status":0,"statusName":"ok")";

// --- Stories -------------------------------------------------------------------------------------

std::vector<Story> sessionStories();
std::vector<Story> deviceStories();
std::vector<Story> policyStories();
std::vector<Story> printerStories();
std::vector<Story> serviceStories();

const std::vector<Story>& stories();

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_STORIES_H
