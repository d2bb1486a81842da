// The lines of a watch, without their times, which must be there.

#ifndef TESTS_VELCTL_SEEN_LINES_H
#define TESTS_VELCTL_SEEN_LINES_H

#include <string>
#include <vector>

namespace velctl_tests {

// A line without its time: "device      device attached (6): ..." or {"event":"device",...}. One
// that has none begins with "no time: ".
std::string withoutTime(const std::string& line);
// All whole lines.
std::vector<std::string> seenLines(const std::string& out);

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_SEEN_LINES_H
