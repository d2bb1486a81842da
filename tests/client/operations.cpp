#include "tests/client/operations.h"

#include <algorithm>
#include <iterator>
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

const std::vector<ClientOperation>& clientOperations() {
  static const std::vector<ClientOperation>* const all = [] {
    auto* const made = new std::vector<ClientOperation>;
    for (const auto rows :
         {vmClientRows, deviceClientRows, policyClientRows, printerClientRows, serviceClientRows}) {
      const std::vector<ClientOperation> more = rows();
      made->insert(made->end(), more.begin(), more.end());
    }
    return made;
  }();
  return *all;
}

std::vector<ClientOperation> clientOperationsThat(
    const std::function<bool(const ClientOperation&)>& applies) {
  const std::vector<ClientOperation>& all = clientOperations();
  std::vector<ClientOperation> rows;
  std::copy_if(all.begin(), all.end(), std::back_inserter(rows), applies);
  return rows;
}
