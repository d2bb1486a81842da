// A connection that has signed in at a bus daemon.

#ifndef BUS_DBUS_BUS_CONNECTION_H
#define BUS_DBUS_BUS_CONNECTION_H

#include <memory>
#include <string>

#include "base/result.h"
#include "bus/dbus/connection.h"

namespace qxbus {

// Connects to the bus at the address and signs in. An empty address stands for busAddress().
//
// The reason of a failure names the address; busFailure() gives the same one.
base::Result<std::shared_ptr<Connection>> connectToBus(std::string address,
                                                       Connection::Handlers handlers,
                                                       Clock::time_point deadline);

// Keeps the reason of an attempt that failed, for busFailure(); empty after a success.
void setBusFailure(const std::string& reason);

}  // namespace qxbus

#endif  // BUS_DBUS_BUS_CONNECTION_H
