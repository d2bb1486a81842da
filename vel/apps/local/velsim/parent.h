// The program that has started velsim, for instance a test, at the other end of a socket:
//
//   ready                             from velsim, when it takes requests
//   plug camera "Front camera"        to velsim: control commands, one after the other
//    plugged in 31                    from velsim: the lines of an answer, each after a blank,
//   ok                                then "ok", or only "error " and the reason
//
// velsim stops when the other end is closed, as it is when the program ends in any way.

#ifndef VEL_APPS_LOCAL_VELSIM_PARENT_H
#define VEL_APPS_LOCAL_VELSIM_PARENT_H

#include <functional>
#include <optional>
#include <string>

#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/line_reader.h"
#include "vel/apps/local/velsim/line_writer.h"

namespace velsim {

class Parent {
 public:
  // Reports readiness, and takes commands from now on. Calls run with each, and onClosed when the
  // socket is closed, both on a thread of its own.
  Parent(int socket, std::function<Control::Answer(const std::string& line)> run,
         std::function<void()> onClosed);

  Parent(const Parent&) = delete;
  Parent& operator=(const Parent&) = delete;

 private:
  void answer(const std::string& line);

  const std::function<Control::Answer(const std::string& line)> run_;
  LineWriter answers_;
  std::optional<LineReader> reader_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_PARENT_H
