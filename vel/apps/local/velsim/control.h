// The hand of a person at the machine: lines of words that plug things in and out.
//
//   plug camera "Front camera"     words with blanks stand in quotes; \" and \\ inside them
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
    // Lines to show, each with its newline; what is wrong, without one, when it is not ok.
    std::string text;
  };

  // vanish ends the program without a word to anybody.
  Control(Simulator& simulator, std::function<void()> vanish);

  // A line that is wrong changes nothing. An empty line does nothing.
  Result run(const std::string& line);

 private:
  using Words = std::vector<std::string>;
  struct Command {
    const char* word;
    const char* takes;  // as help shows it
    std::size_t count;  // of its arguments
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
