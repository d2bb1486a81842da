// The rows of all remote operations by subject: one function per source file in this folder, which
// has the name that the index at the top of vel_proxy.h gives to the subject.

#ifndef TESTS_LIBRARY_ROWS_ROWS_H
#define TESTS_LIBRARY_ROWS_ROWS_H

#include <cstddef>
#include <cstdlib>
#include <list>
#include <string>
#include <vector>

#include "tests/library/remote_operations.h"

std::vector<RemoteOperation> connectionRows();
std::vector<RemoteOperation> vmIdRows();
std::vector<RemoteOperation> sessionRows();
std::vector<RemoteOperation> printerRows();
std::vector<RemoteOperation> networkPrinterRows();
std::vector<RemoteOperation> sharedPrinterRows();
std::vector<RemoteOperation> printQueueRows();
std::vector<RemoteOperation> deviceRows();
std::vector<RemoteOperation> newDeviceRows();
std::vector<RemoteOperation> networkDeviceRows();
std::vector<RemoteOperation> policyRows();
std::vector<RemoteOperation> diagnosticRows();
std::vector<RemoteOperation> streamQualityRows();
std::vector<RemoteOperation> joystickRows();

// --- Arguments and answers of several subjects ---------------------------------------------------

constexpr unsigned long long kSourceId = 0x0102030405060708;

// A record of a printer or a device: its number at 0, its name at an offset, and zeroes.
scripted::Bytes recordOf(std::size_t size, unsigned short number, std::size_t nameAt,
                         const std::string& name);

// A text, and behind it another one that is not read.
scripted::Reply textAndMore(const std::string& text);

// A list of two records of two bytes each: "ab" and "cd".
scripted::Reply twoRecords();

// Such a list: "ab;cd;".
template <typename Record>
std::string shownRecords(const std::list<Record>& records) {
  std::string text;
  for (const Record& record : records) {
    text.append(reinterpret_cast<const char*>(record.bytes), 2);
    text += ";";
  }
  return text;
}

template <typename Record>
std::string shownRecordsAndFreed(const std::list<Record*>& records) {
  std::string text;
  for (Record* const record : records) {
    text.append(reinterpret_cast<const char*>(record), 2);
    text += ";";
    std::free(record);
  }
  return text;
}

#endif  // TESTS_LIBRARY_ROWS_ROWS_H
