// A bus inside the process that answers at once: an implementation of bus/qxbus.h that costs as
// little as its contract allows, so that a benchmark measures the library.
//
// It keeps no request, knows no thread but the caller's, and sends no event. Every VM has number
// 101.

#ifndef BENCHMARKS_INSTANT_BUS_H
#define BENCHMARKS_INSTANT_BUS_H

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "bus/qxbus.h"

namespace instant {

constexpr std::int32_t kVm = 101;

using Bytes = std::vector<unsigned char>;
using Argument = std::variant<std::int32_t, Bytes>;
using Arguments = std::vector<Argument>;

std::shared_ptr<QXBusMessage> messageOf(Arguments arguments);

// The reply to every call of a method from now on; a method without one gets an empty reply. Not
// while another thread calls.
void answer(const std::string& method, Arguments reply);

}  // namespace instant

#endif  // BENCHMARKS_INSTANT_BUS_H
