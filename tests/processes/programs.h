// velctl and velsim, as tests run them on a bus of their own.

#ifndef TESTS_PROCESSES_PROGRAMS_H
#define TESTS_PROCESSES_PROGRAMS_H

#include <functional>
#include <string>
#include <vector>

#include "tests/processes/private_bus.h"
#include "tests/processes/process.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace processes {

Process::Options velctlOptions(const PrivateBus& bus, const std::vector<std::string>& arguments);
velsim_testing::VelsimProcess::Options velsimOptions(const PrivateBus& bus,
                                                     const std::vector<std::string>& arguments);

// Waits until a velsim has logged that it takes requests: one that a test runs as any program,
// because it needs other descriptors or another way to its address than VelsimProcess gives it.
bool isReady(const Process& velsim);

// A log of velsim without the times of its lines.
std::string withoutTimes(const std::string& log);

// The output of velctl watch without the times of its lines, in either form.
std::string withoutWatchTimes(const std::string& out);

// Runs a command with a --timeout of 1, 2, 4 ... 16 seconds, until --timeout ends it after it has
// begun: a busy machine may take seconds to start a program.
//
// run       with this value of --timeout
//
// hasBegun  looks at what run has given, and at what the command has done
Finished endedInItsMidst(const std::function<Finished(const std::string& seconds)>& run,
                         const std::function<bool(const Finished& finished)>& hasBegun);

// Arguments with one more.
std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last);

}  // namespace processes

#endif  // TESTS_PROCESSES_PROGRAMS_H
