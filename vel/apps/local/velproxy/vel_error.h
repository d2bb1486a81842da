// The result of an operation of VelProxy beside its return value: why it gave a status of -1 or an
// empty list. See VelProxy::lastError().

#ifndef VEL_APPS_LOCAL_VELPROXY_VEL_ERROR_H
#define VEL_APPS_LOCAL_VELPROXY_VEL_ERROR_H

#include <string>

namespace qx {

struct VelError {
  enum class Kind {
    // No failure. The service's own status may still be one: the return value has it.
    kNone,
    // An argument was refused, and nothing was sent: an empty name, a null pointer, no IP address.
    kRefusedArgument,
    // No bus, or no service on it: nothing was sent.
    kNoService,
    // The service has no number for the VM. The request went out with 0 in its place, except that
    // of a diagnosis. GetVmIdInt sends nothing else.
    kUnknownVm,
    // The time-out has passed, or the connection was lost.
    kNoReply,
    // The service has refused the request.
    kErrorReply,
    // The reply lacks a value that the operation reads, or a list ended before its count.
    kBadReply,
  };

  Kind kind = Kind::kNone;
  // The bus method that failed or succeeded; "getVmListSize" when the request for a VM's number
  // got no usable reply. Empty for an operation that has no bus method.
  std::string method;
  // The reason, for people: no capital letter at its start and no full stop at its end. For
  // kErrorReply the words of the service, unchanged. Empty for kNone.
  std::string text;
};

// Texts of kNoService: without a service, and when the bus itself cannot be reached.
inline constexpr char kNoServiceOnTheBus[] = "no service on the bus";
inline constexpr char kBusUnreachable[] = "the bus cannot be reached";

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_VEL_ERROR_H
