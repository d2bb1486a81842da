// A simulated day: a machine with many VMs, and what happens to it.

#ifndef TESTS_SOAK_DAY_H
#define TESTS_SOAK_DAY_H

#include <string>

namespace soak {

constexpr int kMinutesPerHour = 60;
// Devices that are always there, with the numbers from 1 on.
constexpr int kDevices = 400;

std::string vmName(int session);

// A scenario with so many VMs, and each minute on its time line: a device comes and goes, another
// program attaches and detaches one, a printer has trouble or none.
std::string scenario(int sessions, int hours);

}  // namespace soak

#endif  // TESTS_SOAK_DAY_H
