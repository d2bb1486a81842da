// How vel::Client calls an operation of VelProxy and turns what it returns into a result.

#ifndef VEL_CLIENT_INTERNAL_CALLS_H
#define VEL_CLIENT_INTERNAL_CALLS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/utf8.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/client/error.h"
#include "vel/client/internal/decode.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// Of the operation that this thread has just called.
inline Result<void> outcome() {
  qx::VelError error = qx::VelProxy::lastError();
  return error.kind == qx::VelError::Kind::kNone ? Result<void>() : failed(std::move(error));
}

// The same, with what the operation has returned.
template <typename Value>
Result<Value> outcome(Value value) {
  qx::VelError error = qx::VelProxy::lastError();
  if (error.kind != qx::VelError::Kind::kNone) {
    return failed(std::move(error));
  }
  return value;
}

// Calls the operation unless a check has failed before.
template <typename Operation>
std::invoke_result_t<Operation> afterCheck(const Result<void>& check, const Operation& operation) {
  if (!check) {
    return unexpected<Error>(check.error());
  }
  return operation();
}

// The operation has returned the service's status, of which 0 is success.
template <typename Status>
Result<void> statusOutcome(Status status) {
  qx::VelError error = qx::VelProxy::lastError();
  if (error.kind != qx::VelError::Kind::kNone) {
    return failed(std::move(error));
  }
  if (status != 0) {
    return unexpected<Error>(
        Error::refused(std::move(error.method), static_cast<std::int32_t>(status)));
  }
  return {};
}

inline Result<std::string> textOutcome(std::string text) {
  return outcome(base::replacedUtf8(std::move(text)));
}

// The operation has returned a list, which may have ended before its count.
template <typename Value>
Result<std::vector<Value>> listOutcome(qx::VelError error, std::vector<Value> values) {
  if (error.kind == qx::VelError::Kind::kNone) {
    return values;
  }
  const Error failure = errorOf(std::move(error));
  return unexpected<Error>(values.empty() ? failure : failure.with(std::move(values)));
}

struct FreeRecord {
  void operator()(void* record) const { std::free(record); }
};

// The operation has returned records, which are freed here.
template <typename Value, typename Record>
Result<std::vector<Value>> recordsOutcome(qx::VelProxy& proxy, const std::list<Record*>& received) {
  qx::VelError error = qx::VelProxy::lastError();
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  std::vector<std::unique_ptr<void, FreeRecord>> records;
  records.reserve(received.size());
  for (Record* const record : received) {
    records.emplace_back(record);
  }
  VmNames vms(proxy);
  std::vector<Value> values(records.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    decode(vms, Block(records[i].get(), i < lengths.size() ? lengths[i] : 0), values[i]);
  }
  return listOutcome(std::move(error), std::move(values));
}

// The same for records of a fixed size, which the list holds itself.
template <typename Value, typename Record>
Result<std::vector<Value>> fixedRecordsOutcome(qx::VelProxy& proxy,
                                               const std::list<Record>& received) {
  qx::VelError error = qx::VelProxy::lastError();
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  VmNames vms(proxy);
  std::vector<Value> values;
  values.reserve(received.size());
  for (const Record& record : received) {
    const std::size_t length = values.size() < lengths.size() ? lengths[values.size()] : 0;
    Value& value = values.emplace_back();
    decode(vms, Block(record.bytes, std::min(length, sizeof record.bytes)), value);
    value.index = decltype(value.index)(static_cast<std::uint16_t>(values.size() - 1));
  }
  return listOutcome(std::move(error), std::move(values));
}

inline Result<std::vector<Vm>> vmsOutcome(const std::map<std::string, unsigned int>& received) {
  qx::VelError error = qx::VelProxy::lastError();
  std::vector<Vm> vms;
  vms.reserve(received.size());
  for (const auto& [name, number] : received) {
    vms.push_back({base::replacedUtf8(name), VmNumber(number)});
  }
  return listOutcome(std::move(error), std::move(vms));
}

inline unexpected<Error> refusedArgument(const char* method, std::string text) {
  return unexpected<Error>(Error(ErrorKind::kRefusedArgument, method, std::move(text)));
}

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_CALLS_H
