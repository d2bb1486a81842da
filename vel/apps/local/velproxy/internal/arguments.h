// Arguments of a reply: their values, as the getters of the bus give them, and a report of a bad
// reply when the argument is missing or of another type.
//
// The getters give 0 or "" for another type, so a value of 0 or "" is tried with the other getters,
// too. Another type is found when one of them gives something: a text that is not empty or a block
// where an integer is expected, an integer beyond 32 bits, an integer but 0 where a text is
// expected. What no getter gives anything for counts as the value: an empty text or a double as the
// integer 0, the integer 0 as an empty text.

#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_ARGUMENTS_H

#include <string>

#include "bus/qxbus.h"
#include "vel/apps/local/velproxy/internal/error_report.h"

namespace qx {

int integerAt(QXBusMessage& reply, int index, ErrorReport& report);
// The same for the count of a list: a negative one is a bad reply, too.
int countAt(QXBusMessage& reply, int index, ErrorReport& report);
// A block counts as a text, as it does for the bus.
std::string textAt(QXBusMessage& reply, int index, ErrorReport& report);

// Reports a list that has ended before its count.
void reportEarlyEnd(int found, int count, ErrorReport& report);

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_ARGUMENTS_H
