// The commands that control velsim while it runs: lines at the terminal, calls of the control
// object, velsim ctl and service commands (dovelcmd) all run the commands of one table, and the
// help of each lists it.
//
//   plug camera "Front camera"     see control_words.h
//
// THREADS   Any thread may call once the table is complete. A command must not wait for another.

#ifndef VEL_APPS_LOCAL_VELSIM_CONTROL_H
#define VEL_APPS_LOCAL_VELSIM_CONTROL_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "base/result.h"
#include "vel/apps/local/velsim/control_words.h"
#include "vel/apps/local/velsim/service/command_runner.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

struct Command {
  // Lines to show, each with its newline; or the error.
  using Answer = base::Result<std::string>;

  std::string word;
  std::string arguments;  // as help and errors show them
  std::size_t least = 0;  // number of arguments
  std::size_t most = 0;
  std::string help;
  std::function<Answer(const Words& arguments)> run = nullptr;
  bool isJson = false;  // the answer is a JSON text on one line
  // Callers over the bus get their answer before: run() ends the program, or its connections.
  bool cutsConnections = false;
  // Whether run() takes the arguments, as far as the machine does not matter; null: it does.
  std::function<base::Result<void>(const Words& arguments)> check = nullptr;
};

class Control : public CommandRunner {
 public:
  using Answer = Command::Answer;

  // With the commands of machine_commands.h, vanish and help.
  //
  // vanish     ends the program at once, with no notification of its clients
  Control(Simulator& simulator, std::function<void()> vanish);

  // Adds commands to the table, before any other thread uses it.
  void add(std::vector<Command> commands);

  // A wrong line changes nothing. An empty line succeeds.
  Answer run(const std::string& line);

  // Whether the line is right, as far as the machine does not matter. Has no effect.
  base::Result<void> check(const std::string& line) const;

  // Whether no answer can be sent over the bus after this line.
  bool cutsConnections(const std::string& line) const;

  bool knows(const std::string& line) const override;
  base::Result<Json> answer(const std::string& line) override;
  std::string help() const override;

 private:
  struct Call {
    const Command* command = nullptr;  // null: an empty line
    Words arguments;
  };

  base::Result<Call> parse(const std::string& line) const;
  const Command* find(const std::string& word) const;

  std::vector<Command> commands_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_CONTROL_H
