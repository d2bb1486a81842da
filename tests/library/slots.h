// Slots of virtual tables. Their order is a part of the binary interface.

#ifndef TESTS_LIBRARY_SLOTS_H
#define TESTS_LIBRARY_SLOTS_H

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "vel/apps/local/velproxy/vel_proxy.h"

// The slot that a pointer to a virtual member stands for; -1: the member is not virtual. According
// to the Itanium C++ ABI: an odd offset, or (on ARM) an odd adjustment beside it.
template <typename Member>
int slotOf(Member member) {
  static_assert(std::is_member_function_pointer_v<Member>);
  std::ptrdiff_t parts[2];
  static_assert(sizeof parts == sizeof member);
  std::memcpy(parts, &member, sizeof parts);
  constexpr auto kSlotSize = static_cast<std::ptrdiff_t>(sizeof(void*));
  const bool isVirtual = (parts[0] & 1) != 0 || (parts[1] & 1) != 0;
  return isVirtual ? static_cast<int>(parts[0] / kSlotSize) : -1;
}

struct Slot {
  int expected;
  int actual;
  const char* signature;  // "ConnectDevice(std::string, unsigned short)"

  std::string operation() const { return std::string(signature, std::strcspn(signature, "(")); }
};

// Does not compile unless the class has an operation of exactly this name, result and parameters.
// NOLINTBEGIN(bugprone-macro-parentheses): result and parameters are parts of a type.
#define SLOT_OF(class_, slot, result, name, parameters)                                       \
  Slot {                                                                                      \
    slot, slotOf(static_cast<result(class_::*) parameters>(&class_::name)), #name #parameters \
  }
// NOLINTEND(bugprone-macro-parentheses)

#define SLOT(slot, result, name, parameters) SLOT_OF(qx::VelProxy, slot, result, name, parameters)

// The virtual operations of VelProxy in the order of their slots, without the destructors.
std::vector<Slot> operationsOfTheProxy();

#endif  // TESTS_LIBRARY_SLOTS_H
