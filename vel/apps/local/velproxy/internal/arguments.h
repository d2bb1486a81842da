// Arguments of a reply: their values, as the getters of the bus return them, and a report of a bad
// reply when an argument is missing or has the wrong type.
//
// A getter of the bus returns 0 or "" for the wrong type. After such a value the other getters are
// tried, and one that returns anything else shows a wrong type:
//
//   integer expected   a text or a block that is not empty, an integer beyond 32 bits
//   text expected      an integer other than 0
//
// An empty text, an empty block or a double in place of an integer, and the integer 0 or a double
// in place of a text, cannot be recognised.

#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_ARGUMENTS_H

#include <string>

#include "bus/qxbus.h"
#include "vel/apps/local/velproxy/internal/error_report.h"

namespace qx {

int integerAt(QXBusMessage& reply, int index, ErrorReport& report);
// The count of a list. A negative count is a bad reply, too.
int countAt(QXBusMessage& reply, int index, ErrorReport& report);
// A block counts as a text, as it does for the bus.
std::string textAt(QXBusMessage& reply, int index, ErrorReport& report);

// Reports a list that has ended before its count.
void reportEarlyEnd(int found, int count, ErrorReport& report);

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_ARGUMENTS_H
