// Records of the service, as text and as JSON.
//
// A record from a list is as long as the service sent it, and the library does not tell how long
// that is. These functions read the fixed part of a record and, of a printer, the name behind it up
// to its NUL or kMostName bytes. They rely on the service, which runs as the same user or as root,
// to send that much. Records of events are complete in any case: the library sees to that.

#ifndef VEL_APPS_LOCAL_VELCTL_RECORDS_H
#define VEL_APPS_LOCAL_VELCTL_RECORDS_H

#include <cstdlib>
#include <cstring>
#include <list>
#include <string>
#include <utility>

#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/apps/local/velctl/text.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {

constexpr std::size_t kMostName = 256;

// Frees the records that a list of the library points to.
template <typename Record>
class OwnedRecords {
 public:
  explicit OwnedRecords(std::list<Record*> records) : records_(std::move(records)) {}
  ~OwnedRecords() {
    for (Record* const record : records_) {
      std::free(record);
    }
  }

  OwnedRecords(const OwnedRecords&) = delete;
  OwnedRecords& operator=(const OwnedRecords&) = delete;

  std::size_t size() const { return records_.size(); }
  auto begin() const { return records_.begin(); }
  auto end() const { return records_.end(); }

 private:
  std::list<Record*> records_;
};

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
    throw Failure(kExitUsage,
                  inQuotes(text) + " is longer than " + std::to_string(size - 1) + " bytes");
  }
  std::memset(field, 0, size);
  std::memcpy(field, text.data(), text.size());
}

// What the service tells of a diagnosis while it goes on.
struct Progress {
  std::string vmId;
  unsigned long long id = 0;  // of the source, or the number of the device
  unsigned int status = 0;
  std::string text;
};

// A VM's name as far as the library has learned it, otherwise its number; - for none.
std::string shownVm(qx::VelProxy& proxy, unsigned int number);

// One line each.
std::string describe(qx::VelProxy& proxy, const PrinterDevice& printer);
std::string describe(qx::VelProxy& proxy, const CommonDevice& device);
std::string describe(const _ConfigNewDeviceResult& result);
std::string describe(const Progress& progress);

Json toJson(qx::VelProxy& proxy, const PrinterDevice& printer);
Json toJson(qx::VelProxy& proxy, const CommonDevice& device);
Json toJson(const _ConfigNewDeviceResult& result);
Json toJson(const Progress& progress);

// Reports a list that an operation has returned.
void finishPrinters(const Output& output, const Operation& operation,
                    const OwnedRecords<PrinterDevice>& printers);
void finishDevices(const Output& output, const Operation& operation, const std::string& name,
                   const OwnedRecords<CommonDevice>& devices);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RECORDS_H
