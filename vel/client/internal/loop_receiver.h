// Actions for the event loop of a Qt thread.

#ifndef VEL_CLIENT_INTERNAL_LOOP_RECEIVER_H
#define VEL_CLIENT_INTERNAL_LOOP_RECEIVER_H

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include "platform/mutex.h"
#include "vel/client/executor.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// An object in a thread, whose events call actions. The actions wait in a queue of its own and not
// in the events: its mutex is what ThreadSanitizer sees, to which that of Qt's queue is invisible
// where Qt was built without.
class LoopObject final : public QObject {
 public:
  void post(Action action) {
    auto event = std::make_unique<QEvent>(QEvent::User);
    {
      const platform::MutexLock lock(mutex_);
      waiting_.push_back(std::move(action));
      ++unfinished_;
    }
    QCoreApplication::postEvent(this, event.release());
  }

  // Whether no action waits or runs.
  bool isIdle() const {
    const platform::MutexLock lock(mutex_);
    return unfinished_ == 0;
  }

 protected:
  bool event(QEvent* event) override {
    // Behind the mutex, as the event's sender was.
    const bool isAction = !isIdle() && event->type() == QEvent::User;
    if (!isAction) {
      return QObject::event(event);
    }
    const Unfinished unfinished(*this);
    next()();
    return true;
  }

 private:
  // Ends behind the action and what it has captured.
  class Unfinished {
   public:
    explicit Unfinished(LoopObject& object) : object_(object) {}
    ~Unfinished() {
      const platform::MutexLock lock(object_.mutex_);
      --object_.unfinished_;
    }
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;

   private:
    LoopObject& object_;
  };

  Action next() {
    const platform::MutexLock lock(mutex_);
    Action action = std::move(waiting_.front());
    waiting_.pop_front();
    return action;
  }

  mutable platform::Mutex mutex_;
  std::deque<Action> waiting_ QX_GUARDED_BY(mutex_);
  std::size_t unfinished_ QX_GUARDED_BY(mutex_) = 0;
};

// Where actions are posted to, which ends the object.
class LoopReceiver {
 public:
  explicit LoopReceiver(QThread* thread) { object_->moveToThread(thread); }
  // An object takes along what waits for it, and an event of it may be what is being handled.
  // Deleted later, it goes behind what waits; without a loop it would stay.
  ~LoopReceiver() {
    const bool isIdle = object_->isIdle();
    const QThread* thread = object_->thread();
    if (isIdle && thread == QThread::currentThread() && thread->loopLevel() == 0) {
      delete object_;
    } else {
      object_->deleteLater();
    }
  }
  LoopReceiver(const LoopReceiver&) = delete;
  LoopReceiver& operator=(const LoopReceiver&) = delete;

  void post(Action action) const { object_->post(std::move(action)); }

 private:
  LoopObject* const object_ = new LoopObject;
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_LOOP_RECEIVER_H
