// Replies of the service to each operation of the library: any types, counts and blocks.
// Covers: vel/apps/local/velproxy/internal/blocks.h vel/apps/local/velproxy/arguments.cpp
// Covers: vel/apps/local/velproxy/devices.cpp vel/apps/local/velproxy/printers.cpp
// Covers: vel/apps/local/velproxy/policies.cpp vel/apps/local/velproxy/joysticks.cpp
// Covers: vel/apps/local/velproxy/shared_printers.cpp vel/apps/local/velproxy/vm_ids.cpp
// Covers: vel/apps/local/velproxy/remote_call.cpp

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

#include "tests/fuzz/messages.h"
#include "tests/fuzz/target.h"
#include "tests/library/remote_operations.h"

namespace fuzz::replies {
namespace {

using scripted::Bytes;
using scripted::Reply;

// --- Lists of records ----------------------------------------------------------------------------

// The records of a list, each as long as the library says, and freed.
template <typename Record>
Records taken(const std::list<Record*>& list) {
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  require(lengths.size() == list.size(), "each record has a length");
  Records records;
  auto length = lengths.begin();
  for (Record* const record : list) {
    records.push_back(scripted::bytesOf(record, *length++));
    std::free(record);
  }
  return records;
}

template <typename Record>
Records taken(const std::list<Record>& list) {
  Records records;
  for (const Record& record : list) {
    records.push_back(scripted::bytesOf(record.bytes, sizeof record.bytes));
  }
  return records;
}

// A list of attached devices names the VM behind the fixed part of each record, as far as it goes.
void nameVm(Bytes* record) {
  constexpr std::size_t kText = offsetof(CommonDevice, vmIdText);
  const std::string name = kVm;
  if (record->size() <= kText || (*record)[8] != 2 || (*record)[9] != 0) {
    return;
  }
  unsigned int vm = 0;
  std::memcpy(&vm, record->data() + offsetof(CommonDevice, vmId), sizeof vm);
  if (vm == kVmNumber) {
    const std::size_t size = std::min(name.size(), record->size() - kText);
    std::copy_n(name.begin(), size, record->begin() + static_cast<std::ptrdiff_t>(kText));
  }
}

struct ListRow {
  const char* method;
  Records (*run)(qx::VelProxy& proxy);
  bool namesVms = false;
  std::size_t fixedSize = 0;  // not 0: a block is cut, or completed with the record before
};

const ListRow kLists[] = {
    {"getDeviceList", [](qx::VelProxy& proxy) { return taken(proxy.GetDeviceList(kVm)); }, true},
    {"getDeviceList", [](qx::VelProxy& proxy) { return taken(proxy.GetLocalDeviceList()); }, true},
    {"getDeviceStatus", [](qx::VelProxy& proxy) { return taken(proxy.GetDeviceStatus(9)); }},
    {"getPrinterList", [](qx::VelProxy& proxy) { return taken(proxy.GetPrinterList(kVm)); }},
    {"getPrinterStatus", [](qx::VelProxy& proxy) { return taken(proxy.GetPrinterStatus(9)); }},
    {"getNetworkPrinterList",
     [](qx::VelProxy& proxy) { return taken(proxy.GetNetworkPrinterList()); }},
    {"getPolicyListByVidPid",
     [](qx::VelProxy& proxy) { return taken(proxy.GetPolicyListByVidPid()); }},
    {"getJoystickDevList", [](qx::VelProxy& proxy) { return taken(proxy.GetJoystickDevList()); },
     false, sizeof(JoystickDevice)},
    {"getJoystickMappingList",
     [](qx::VelProxy& proxy) { return taken(proxy.GetJoystickMappingList()); }, false,
     sizeof(JoystickMapping)},
};

void checkList(const ListRow& row, qx::VelProxy& proxy, const Reply& reply) {
  Records expected = sentRecords(reply);
  Bytes previous(row.fixedSize, 0);
  for (Bytes& record : expected) {
    if (row.namesVms) {
      nameVm(&record);
    }
    if (row.fixedSize > 0) {
      std::copy_n(record.begin(), std::min(record.size(), row.fixedSize), previous.begin());
      record = previous;
    }
  }
  require(row.run(proxy) == expected, std::string("the records of ") + row.method);
}

// --- Lists of texts ------------------------------------------------------------------------------

std::string textOf(const Reply& reply, std::size_t index) {
  const Bytes block = valueAt<Bytes>(reply, index);
  return block.empty() ? valueAt<std::string>(reply, index)
                       : std::string(block.begin(), block.end());
}

// As a field of 128 bytes holds it.
std::string fieldOf(const Reply& reply, std::size_t index) {
  return std::string(textOf(reply, index).substr(0, 127).c_str());
}

void checkSharedPrinters(qx::VelProxy& proxy, const Reply& reply) {
  _SharePrinterDevice old = {};
  std::strcpy(old.name, "of an earlier search");
  std::list<_SharePrinterDevice> found = {old};
  const int status = proxy.SearchSharePrinterDevice("10.0.0.7", found);

  require(status == (isNormal(reply) ? valueAt<std::int32_t>(reply, 0) : -1), "the status");
  if (status != 0) {
    require(found.size() == 1 && std::strcmp(found.front().name, old.name) == 0,
            "a failed search leaves the list");
    return;
  }
  std::size_t index = 2;
  int count = valueAt<std::int32_t>(reply, 1);
  for (const _SharePrinterDevice& printer : found) {
    require(count-- > 0 && index + 3 <= reply.arguments.size(), "a printer for each three texts");
    require(fieldOf(reply, index) == printer.addr && fieldOf(reply, index + 1) == printer.name &&
                fieldOf(reply, index + 2) == printer.desc,
            "the texts of a printer");
    index += 3;
  }
  require(count <= 0 || index + 3 > reply.arguments.size(), "all printers");
}

void checkVms(qx::VelProxy& proxy, const Reply& reply) {
  std::map<std::string, unsigned int> expected;
  const int count = isNormal(reply) ? valueAt<std::int32_t>(reply, 0) : 0;
  for (int i = 0; i < count; ++i) {
    const std::size_t index = 1 + 2 * static_cast<std::size_t>(i);
    if (index + 2 > reply.arguments.size()) {
      break;
    }
    expected[textOf(reply, index)] =
        static_cast<unsigned int>(valueAt<std::int32_t>(reply, index + 1));
  }
  require(proxy.GetVmList() == expected, "the VMs");
}

// --- All other operations ------------------------------------------------------------------------

// Lists have rows of their own above, because the rows of these tests read records as if they were
// complete. DoVelCmd writes a line to standard output. GetVmIdInt knows the number, and sends
// nothing.
bool isCheckedAbove(const RemoteOperation& operation) {
  const auto isMethod = [&](const ListRow& row) { return operation.method() == row.method; };
  return std::any_of(std::begin(kLists), std::end(kLists), isMethod) ||
         operation.name() == "DoVelCmd" || operation.name() == "GetVmIdInt";
}

const std::vector<RemoteOperation>& otherOperations() {
  static const auto* const operations = new std::vector<RemoteOperation>(remoteOperationsThat(
      [](const RemoteOperation& operation) { return !isCheckedAbove(operation); }));
  return *operations;
}

void checkOperation(const RemoteOperation& operation, qx::VelProxy& proxy, const Reply& reply) {
  const std::string result = operation.runOn(proxy);
  if (!operation.waits()) {
    scripted::ScriptedBus::the().complete();
    require(result == operation.result(), "an operation that does not wait: " + operation.name());
  } else if (!isNormal(reply)) {
    require(result == operation.afterError(), "the result after an error of " + operation.name());
  } else if (operation.passesStatusOn()) {
    require(result == std::to_string(valueAt<std::int32_t>(reply, 0)),
            "the status of " + operation.name());
  }
  if (operation.waits()) {
    const bool hasFailed = qx::VelProxy::lastError().kind != qx::VelError::Kind::kNone;
    require(isNormal(reply) || hasFailed, "an error reply is a failure");
  }
}

// --- The target ----------------------------------------------------------------------------------

void runOne(Input& input, qx::VelProxy& proxy) {
  const std::size_t choice = input.below(std::size(kLists) + 2 + otherOperations().size());
  const Reply reply = replyIn(input);
  scripted::ScriptedBus& bus = scripted::ScriptedBus::the();
  bus.answerFrom([&reply](const scripted::Call& /*call*/) { return reply; });
  if (choice < std::size(kLists)) {
    checkList(kLists[choice], proxy, reply);
  } else if (choice == std::size(kLists)) {
    checkSharedPrinters(proxy, reply);
  } else if (choice == std::size(kLists) + 1) {
    checkVms(proxy, reply);
  } else {
    checkOperation(otherOperations()[choice - std::size(kLists) - 2], proxy, reply);
  }
  bus.answerFrom(nullptr);
}

void run(Input& input) {
  static qx::VelProxy& proxy = []() -> qx::VelProxy& {
    static auto* const own = new qx::VelProxy;
    teachVms(*own, {{kVm, kVmNumber}});
    return *own;
  }();
  constexpr int kMostReplies = 8;
  for (int i = 0; i < kMostReplies && !input.isEmpty(); ++i) {
    runOne(input, proxy);
  }
  forgetRecords();
}

const Registration registration("replies", run);

}  // namespace
}  // namespace fuzz::replies
