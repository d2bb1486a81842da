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

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include "vel/client/executor.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

namespace internal {

inline Executor onLoopOf(QThread* thread) {
  const std::shared_ptr<QObject> receiver(new QObject, [](QObject* ended) {
    // An event of the object may be what is being handled. Without a loop, nothing would delete it.
    if (ended->thread() == QThread::currentThread() && ended->thread()->loopLevel() == 0) {
      delete ended;
    } else {
      ended->deleteLater();
    }
  });
  receiver->moveToThread(thread);
  return [receiver](Action action) {
    QMetaObject::invokeMethod(receiver.get(), std::move(action), Qt::QueuedConnection);
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
