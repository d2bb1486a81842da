// The manual page of velctl, from its commands.

#ifndef TESTS_VELCTL_MANUAL_MANUAL_H
#define TESTS_VELCTL_MANUAL_MANUAL_H

#include <string>

namespace velctl_manual {

// In the language of man pages.
std::string manualPage();

}  // namespace velctl_manual

#endif  // TESTS_VELCTL_MANUAL_MANUAL_H
