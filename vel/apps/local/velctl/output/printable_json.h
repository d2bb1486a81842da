// JSON that a terminal may show.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_PRINTABLE_JSON_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_PRINTABLE_JSON_H

#include <string>
#include <string_view>

namespace velctl {

// The same JSON value with an escape such as \u200d in place of each character that is not
// printable, so that a program reads the text as it is and a terminal shows nothing that it obeys.
// The text is JSON, and UTF-8.
std::string printableJson(std::string_view json);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_PRINTABLE_JSON_H
