// Records of the service, as text and as JSON.

#ifndef VEL_APPS_LOCAL_VELCTL_RECORD_DISPLAY_H
#define VEL_APPS_LOCAL_VELCTL_RECORD_DISPLAY_H

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {

// A record of a list as a whole one: copied up to its length, with zeroes behind it. So every field
// can be read, and a text that runs to the end has an end, as in the records of events.
template <typename Record>
class WholeRecord {
 public:
  WholeRecord(const Record* received, std::size_t length)
      : record_(static_cast<Record*>(std::calloc(1, std::max(length + 1, sizeof(Record))))),
        length_(length) {
    if (!record_) {
      throw std::bad_alloc();
    }
    std::memcpy(static_cast<void*>(record_.get()), received, length);
  }

  const Record& operator*() const { return *record_; }
  const Record* operator->() const { return record_.get(); }
  // As received.
  std::size_t length() const { return length_; }

 private:
  struct Free {
    void operator()(Record* record) const { std::free(record); }
  };

  std::unique_ptr<Record, Free> record_;
  std::size_t length_;
};

// Takes over a list of the library, and frees its records. lengths belong to the same call.
template <typename Record>
std::vector<WholeRecord<Record>> wholeRecords(const std::list<Record*>& received,
                                              const std::vector<std::size_t>& lengths) {
  std::vector<WholeRecord<Record>> records;
  std::size_t index = 0;
  for (Record* const record : received) {
    records.emplace_back(record, lengths.at(index));
    std::free(record);
    ++index;
  }
  return records;
}

// Calls an operation of the library that returns a list.
//
//   callForRecords(operation, &qx::VelProxy::GetDeviceList, vmId)
template <typename Function, typename... Arguments>
auto callForRecords(Operation& operation, Function function, Arguments&&... arguments) {
  const auto received = operation.call(function, std::forward<Arguments>(arguments)...);
  return wholeRecords(received, operation.recordLengths());
}

using Printers = std::vector<WholeRecord<PrinterDevice>>;
using Devices = std::vector<WholeRecord<CommonDevice>>;

// The text of a field of fixed size.
template <std::size_t size>
std::string textIn(const char (&field)[size]) {
  return std::string(field, strnlen(field, size));
}

// Puts a text, and zeroes behind it, into a field of fixed size. Throws Failure when it is too
// long.
template <std::size_t size>
void setText(char (&field)[size], const std::string& text) {
  if (text.size() >= size) {
    throw Failure(kExitUsage, printableInQuotes(text) + " is longer than " +
                                  std::to_string(size - 1) + " bytes");
  }
  std::memset(field, 0, size);
  std::memcpy(field, text.data(), text.size());
}

// Progress of a diagnosis.
struct Progress {
  std::string vmId;
  unsigned long long id = 0;  // of the source, or the number of the device
  unsigned int status = 0;
  std::string text;
};

// The name of a VM if the library has learned it, otherwise the number; "-" for 0.
std::string vmNameOrNumber(qx::VelProxy& proxy, unsigned int number);

// One line each.
std::string describe(qx::VelProxy& proxy, const PrinterDevice& printer);
std::string describe(qx::VelProxy& proxy, const CommonDevice& device);
std::string describe(const _ConfigNewDeviceResult& result);
std::string describe(const Progress& progress);

Json toJson(qx::VelProxy& proxy, const PrinterDevice& printer);
Json toJson(qx::VelProxy& proxy, const CommonDevice& device);
Json toJson(const _ConfigNewDeviceResult& result);
Json toJson(const Progress& progress);

// Writes a list that an operation has returned.
void finishPrinters(const Output& output, const Operation& operation, const Printers& printers);
void finishDevices(const Output& output, const Operation& operation, const std::string& name,
                   const Devices& devices);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RECORD_DISPLAY_H
