#include "tests/library/rows/rows.h"

#include <algorithm>
#include <cstring>

scripted::Bytes recordOf(std::size_t size, unsigned short number, std::size_t nameAt,
                         const std::string& name) {
  scripted::Bytes record(size, 0);
  std::memcpy(record.data(), &number, sizeof number);
  std::copy(name.begin(), name.end(), record.begin() + static_cast<std::ptrdiff_t>(nameAt));
  return record;
}

scripted::Reply textAndMore(const std::string& text) {
  return scripted::Reply().string(text).string("something else");
}

scripted::Reply twoRecords() {
  return scripted::Reply()
      .int32(2)
      .bytes(scripted::bytesOf(std::string("ab")))
      .bytes(scripted::bytesOf(std::string("cd")));
}
