// velctl: the peripheral-device service on the command line.

#include <string>
#include <vector>

#include "base/standard_streams.h"
#include "vel/apps/local/velctl/data_streams.h"
#include "vel/apps/local/velctl/own_program.h"
#include "vel/apps/local/velctl/program.h"

int main(int argc, char** argv) {
  base::openClosedStandardStreams();
  if (argc > 0) {
    velctl::setOwnProgram(argv[0]);
  }
  const int data = velctl::reserveStandardOutput();
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return velctl::runCommandLine(arguments, data);
}
