#include "vel/apps/local/velproxy/internal/arguments.h"

#include "vel/apps/local/velproxy/internal/blocks.h"

namespace qx {
namespace {

bool isNonZeroInteger(QXBusMessage& reply, int index) {
  return reply.getInt64(index) != 0 || reply.getUInt64(index) != 0 || reply.getInt32(index) != 0 ||
         reply.getUInt32(index) != 0 || reply.getInt16(index) != 0 || reply.getUInt16(index) != 0;
}

void reportBadReply(const std::string& text, ErrorReport& report) {
  report.fail(VelError::Kind::kBadReply, text);
}

// Texts for people count from 1.
std::string ordinal(int index) {
  return "value " + std::to_string(index + 1) + " of the reply";
}

bool exists(QXBusMessage& reply, int index, ErrorReport& report) {
  const bool does = reply.argCount() > index;
  if (!does) {
    reportBadReply(ordinal(index) + " is missing", report);
  }
  return does;
}

}  // namespace

int integerAt(QXBusMessage& reply, int index, ErrorReport& report) {
  const int value = reply.getInt32(index);
  if (value == 0 && exists(reply, index, report) &&
      (!reply.getString(index).empty() || !Block(reply, index).empty() ||
       isNonZeroInteger(reply, index))) {
    reportBadReply(ordinal(index) + " is not an integer of 32 bits", report);
  }
  return value;
}

int countAt(QXBusMessage& reply, int index, ErrorReport& report) {
  const int count = integerAt(reply, index, report);
  if (count < 0) {
    reportBadReply("the reply announces a list of " + std::to_string(count) + " entries", report);
  }
  return count;
}

std::string textAt(QXBusMessage& reply, int index, ErrorReport& report) {
  std::string text = reply.getString(index);
  if (text.empty() && exists(reply, index, report) && isNonZeroInteger(reply, index)) {
    reportBadReply(ordinal(index) + " is not a text", report);
  }
  return text;
}

void reportEarlyEnd(int found, int count, ErrorReport& report) {
  reportBadReply("the list of the reply ends after " + std::to_string(found) + " of " +
                     std::to_string(count) + " entries",
                 report);
}

}  // namespace qx
