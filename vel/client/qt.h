// Callbacks of vel::Client on the event loop of a Qt thread.
//
//   auto plugged = client.onDevice([this](const vel::DeviceEvent& event) { ... }, vel::on(*this));
//
// Needs Qt Core, 5.10 or later. Callbacks run while the loop of the thread does; those that wait
// when the thread ends are dropped.

#ifndef VEL_CLIENT_QT_H
#define VEL_CLIENT_QT_H

#include <memory>
#include <utility>

#include <QObject>
#include <QThread>

#include "vel/client/executor.h"
#include "vel/client/internal/loop_receiver.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

namespace internal {

inline Executor onLoopOf(QThread* thread) {
  return [receiver = std::make_shared<const LoopReceiver>(thread)](Action action) {
    receiver->post(std::move(action));
  };
}

}  // namespace internal

// The thread in which an object lives, such as a widget. The object itself is not used later.
inline Executor on(const QObject& object) {
  return internal::onLoopOf(object.thread());
}

inline Executor on(QThread& thread) {
  return internal::onLoopOf(&thread);
}

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_QT_H
