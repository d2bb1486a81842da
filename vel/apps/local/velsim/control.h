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

#include "base/result.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

class Control {
 public:
  // Lines to show, each with its newline; or the error.
  using Answer = base::Result<std::string>;

  // vanish ends the program at once, with no notification of its clients.
  Control(Simulator& simulator, std::function<void()> vanish);

  // A wrong line changes nothing. An empty line succeeds.
  Answer run(const std::string& line);

 private:
  using Words = std::vector<std::string>;
  struct Command {
    const char* word;
    const char* arguments;  // as help and errors show them
    std::size_t count;      // of arguments
    const char* help;
    Answer (Control::*run)(const Words& arguments);
  };

  static const std::vector<Command>& commands();

  Answer help(const Words& arguments);
  Answer list(const Words& arguments);
  Answer plug(const Words& arguments);
  Answer unplug(const Words& arguments);
  Answer camera(const Words& arguments);
  Answer vanish(const Words& arguments);

  Simulator& simulator_;
  const std::function<void()> vanish_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_CONTROL_H
