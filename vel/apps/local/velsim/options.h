// The command line of velsim.

#ifndef VEL_APPS_LOCAL_VELSIM_OPTIONS_H
#define VEL_APPS_LOCAL_VELSIM_OPTIONS_H

#include <string>

namespace velsim {

// Stands for standard input.
constexpr char kStandardInput[] = "-";

struct Options {
  std::string address;   // of the bus; empty: the one of the environment
  std::string control;   // where commands come from; empty: standard input when it is a terminal
  std::string penPort;   // path of a socket; empty: none
  int parent = -1;       // socket to the program that has started velsim; negative: none
  std::string scenario;  // path of a file; empty: the built-in scenario
  bool isPrintingScenario = false;
  bool isStepped = false;  // the time stands still until commands move it
  bool isQuiet = false;
  bool isJson = false;  // the log
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_OPTIONS_H
