// Times of events, and how long something has lasted.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_TIME_FORMS_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_TIME_FORMS_H

#include <chrono>
#include <string>

namespace velctl {

// In local time: "14:03:07.250".
std::string clockTime(std::chrono::system_clock::time_point time);

// In ISO 8601, with the difference to UTC: "2026-11-22T14:03:07.250+01:00".
std::string isoTime(std::chrono::system_clock::time_point time);

// In its two largest units, of which the second is left out when it is 0: "1 d 3 h".
std::string ageText(std::chrono::seconds age);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_TIME_FORMS_H
