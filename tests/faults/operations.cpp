#include "tests/faults/operations.h"

#include <algorithm>
#include <cstdlib>
#include <list>
#include <map>
#include <set>
#include <utility>

#include "vel/protocol/methods.h"

namespace fault_tests {
namespace {

// Reads every byte of the records, which may have any length, and frees them. Shows the first two.
template <typename Record>
std::string shownAtAnyLength(const std::list<Record*>& records) {
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  std::string text;
  std::size_t next = 0;
  for (Record* const record : records) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(record);
    const std::size_t length = next < lengths.size() ? lengths[next] : 0;
    unsigned sum = 0;
    for (std::size_t i = 0; i < length; ++i) {
      sum += bytes[i];
      text += i < 2 ? std::to_string(unsigned{bytes[i]}) + "," : "";
    }
    text += sum == 0 ? "(zero);" : ";";
    std::free(record);
    ++next;
  }
  return text;
}

// The rows read their records as far as good ones go.
const std::map<std::string, RemoteOperation::Run>& listsOfRecords() {
  static const std::map<std::string, RemoteOperation::Run> runs = {
      {"getPrinterList",
       [](qx::VelProxy& proxy) { return shownAtAnyLength(proxy.GetPrinterList(kVm)); }},
      {"getPrinterStatus",
       [](qx::VelProxy& proxy) { return shownAtAnyLength(proxy.GetPrinterStatus(51)); }},
      {"getNetworkPrinterList",
       [](qx::VelProxy& proxy) { return shownAtAnyLength(proxy.GetNetworkPrinterList()); }},
      {"getDeviceList",
       [](qx::VelProxy& proxy) { return shownAtAnyLength(proxy.GetLocalDeviceList()); }},
      {"getDeviceStatus",
       [](qx::VelProxy& proxy) { return shownAtAnyLength(proxy.GetDeviceStatus(61)); }},
      {"getPolicyListByVidPid",
       [](qx::VelProxy& proxy) { return shownAtAnyLength(proxy.GetPolicyListByVidPid()); }},
  };
  return runs;
}

bool asksOnceForEachProxy(const std::string& method) {
  static const std::set<std::string> methods = {"getVmListSize", "registerJoystickCallback",
                                                "unregisterJoystickCallback"};
  return methods.count(method) > 0;
}

}  // namespace

Operation::Operation(RemoteOperation row)
    : row_(std::move(row)), method_(row_.method()), reply_(velprotocol::method(method_).reply) {}

bool Operation::isText() const {
  return reply_[0].type == velprotocol::ValueType::kString;
}

bool Operation::hasBlocks() const {
  return std::any_of(reply_.begin(), reply_.end(), [](const velprotocol::Argument& argument) {
    return argument.type == velprotocol::ValueType::kBytes;
  });
}

Outcome Operation::runOn(qx::VelProxy& proxy) const {
  Outcome outcome;
  const auto run = [&](qx::VelProxy& on) {
    const auto list = listsOfRecords().find(method_);
    outcome.result = list == listsOfRecords().end() ? row_.runOn(on) : list->second(on);
    const qx::VelError error = qx::VelProxy::lastError();
    outcome.kind = error.kind;
    outcome.text = error.text;
  };
  if (!asksOnceForEachProxy(method_)) {
    run(proxy);
    return outcome;
  }
  qx::VelProxy fresh;
  fresh.Init();
  run(fresh);
  return outcome;
}

const std::vector<Operation>& operations() {
  static const std::vector<Operation>* const all = [] {
    auto* const made = new std::vector<Operation>;
    made->reserve(remoteOperations().size());
    for (const RemoteOperation& row : remoteOperations()) {
      made->emplace_back(row);
    }
    return made;
  }();
  return *all;
}

}  // namespace fault_tests
