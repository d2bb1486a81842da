// The names under which the service and its events are found on the bus.

#ifndef VEL_PROTOCOL_NAMES_H
#define VEL_PROTOCOL_NAMES_H

namespace velprotocol {

inline constexpr char kServiceName[] = "vel";
// Events of the service itself.
inline constexpr char kServiceEvent[] = "velevent";
// Broadcast events, which concern more than the service's clients.
inline constexpr char kBroadcastEvent[] = "mountedEvent";

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_NAMES_H
