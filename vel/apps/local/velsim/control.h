// Control commands: text lines that plug devices in and out, as a user at the machine does.
//
//   plug camera "Front camera"     a word with blanks stands in quotes; \" and \\ inside quotes
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_CONTROL_H
#define VEL_APPS_LOCAL_VELSIM_CONTROL_H

#include <functional>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

class Control {
 public:
  struct Result {
    bool isOk = true;
    // Success: lines to show, each with its newline. Failure: the error, without one.
    std::string text;
  };

  // vanish ends the program at once, with no notification of its clients.
  Control(Simulator& simulator, std::function<void()> vanish);

  // A wrong line changes nothing. An empty line succeeds.
  Result run(const std::string& line);

 private:
  using Words = std::vector<std::string>;
  struct Command {
    const char* word;
    const char* arguments;  // as help and errors show them
    std::size_t count;      // of arguments
    const char* help;
    Result (Control::*run)(const Words& arguments);
  };

  static const std::vector<Command>& commands();

  Result help(const Words& arguments);
  Result list(const Words& arguments);
  Result plug(const Words& arguments);
  Result unplug(const Words& arguments);
  Result camera(const Words& arguments);
  Result vanish(const Words& arguments);

  Simulator& simulator_;
  const std::function<void()> vanish_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_CONTROL_H
