// velctl and velsim, as tests run them on a bus of their own.

#ifndef TESTS_PROCESSES_PROGRAMS_H
#define TESTS_PROCESSES_PROGRAMS_H

#include <string>
#include <vector>

#include "tests/processes/private_bus.h"
#include "tests/processes/process.h"

namespace processes {

Process::Options velctlOptions(const PrivateBus& bus, const std::vector<std::string>& arguments);
Process::Options velsimOptions(const PrivateBus& bus, const std::vector<std::string>& arguments);

// Whether velsim takes requests, which it says.
bool isReady(const Process& velsim);

// Arguments with one more.
std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last);

// Words with a blank between each two, to name a command line.
std::string joined(const std::vector<std::string>& words);

}  // namespace processes

#endif  // TESTS_PROCESSES_PROGRAMS_H
