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

// Waits until velsim has logged that it takes requests.
bool isReady(const Process& velsim);

// Arguments with one more.
std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last);

}  // namespace processes

#endif  // TESTS_PROCESSES_PROGRAMS_H
