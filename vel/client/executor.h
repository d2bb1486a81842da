// Where callbacks of vel::Client run.
//
//   client.onDevice(show);                        on the thread of the bus that brings the event
//   client.onDevice(show, vel::on(guiThread));    where guiThread runs what is posted to it
//
// vel/client/qt.h has on() for Qt's event loops.

#ifndef VEL_CLIENT_EXECUTOR_H
#define VEL_CLIENT_EXECUTOR_H

#include <functional>
#include <utility>

#include "vel/client/expected.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

using Action = std::function<void()>;

// Takes an action and returns, without waiting for the action; runs it later, once or never. Any
// thread may call. Empty: callbacks run at once, on the thread that brings the event.
using Executor = std::function<void(Action)>;

// An executor that hands actions to a function, such as the one that posts to your event loop.
inline Executor on(Executor post) {
  return post;
}

// The same for an object with a member function post, which must live for as long as callbacks may
// come.
template <typename Loop>
auto on(Loop& loop) -> decltype(loop.post(Action()), Executor()) {
  return [&loop](Action action) { loop.post(std::move(action)); };
}

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_EXECUTOR_H
