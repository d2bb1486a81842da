// Whether the arguments of a call are those that a method takes.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_SIGNATURE_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_SIGNATURE_H

#include <optional>
#include <string>
#include <string_view>

#include "bus/dbus/value.h"
#include "vel/protocol/notation.h"

namespace velsim {

class Signature {
 public:
  // In the notation of vel/protocol/notation.h. Throws std::invalid_argument for another text.
  explicit Signature(std::string_view notation) : arguments_(notation) {}

  // The first argument that does not fit and the reason, such as "argument 2 (port) must be int32,
  // got string"; empty when all fit.
  std::optional<std::string> mismatch(const qxbus::Values& arguments) const;

 private:
  velprotocol::ArgumentList arguments_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_SIGNATURE_H
