#include "tests/client/operations.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <variant>

namespace {

RemoteOperation rowOfTheLibrary(const std::string& testName) {
  const std::vector<RemoteOperation> rows =
      remoteOperationsThat([&](const RemoteOperation& row) { return row.testName() == testName; });
  if (rows.size() != 1) {
    throw std::logic_error("the library has no row " + testName);
  }
  return rows.front();
}

}  // namespace

ClientOperation::ClientOperation(std::string member, const std::string& row, Run run, int)
    : member_(std::move(member)),
      inLibrary_(rowOfTheLibrary(row)),
      run_(std::move(run)),
      testName_(row),
      status_(inLibrary_.ignoresStatus() ? Status::kIgnored : Status::kDecides) {}

bool ClientOperation::isReadAsText() const {
  return !reply_.arguments.empty() && std::holds_alternative<std::string>(reply_.arguments.front());
}

bool ClientOperation::isList() const {
  return reply_.arguments.size() > 1;
}

void PrintTo(const ClientOperation& operation, std::ostream* out) {
  *out << operation.testName();
}

std::vector<ClientOperation> clientOperations() {
  std::vector<ClientOperation> all;
  for (const auto rows :
       {vmClientRows, deviceClientRows, policyClientRows, printerClientRows, serviceClientRows}) {
    const std::vector<ClientOperation> more = rows();
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

std::vector<ClientOperation> clientOperationsThat(
    const std::function<bool(const ClientOperation&)>& applies) {
  std::vector<ClientOperation> rows = clientOperations();
  rows.erase(std::remove_if(rows.begin(), rows.end(), std::not_fn(applies)), rows.end());
  return rows;
}
