// What a method takes, in a small notation, and whether a call fits it.
//
//   "vm:i port:i"                 two arguments, both int32, named vm and port
//   "vm:i count:i (pipe:ay268)*"  and then count times a block of exactly 268 bytes
//
// Types: n int16, i int32, t uint64, x int64, d double, s string, ay bytes of any length, ayN
// exactly N bytes. What stands in ( )* ends the notation and follows as often as the int32 before
// it says; it may be several arguments. An empty notation takes nothing.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_SIGNATURE_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_SIGNATURE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bus/dbus/value.h"

namespace velsim {

class Signature {
 public:
  // Throws std::invalid_argument when the text is not in the notation.
  explicit Signature(std::string_view notation);

  // What is wrong with the arguments of a call, such as "argument 2 (port) must be int32, got
  // string"; empty when they fit.
  std::optional<std::string> mismatch(const qxbus::Values& arguments) const;

 private:
  struct Parameter {
    std::string name;
    std::size_t type = 0;  // index of the alternative in qxbus::Value
    std::size_t size = 0;  // of a block whose size is fixed
    bool isFixedSize = false;
  };

  static Parameter parameter(std::string_view notation);
  static std::optional<std::string> mismatch(const Parameter& parameter,
                                             const qxbus::Values& arguments, std::size_t index);

  std::vector<Parameter> once_;
  std::vector<Parameter> repeated_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_SIGNATURE_H
