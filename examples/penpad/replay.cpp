#include "examples/penpad/replay.h"

#include <utility>

#include <QCoreApplication>

namespace penpad {

Replay::Replay(std::vector<stroke::Event> events, Pace pace, QWidget* pad,
               std::function<void()> onEnd)
    : events_(std::move(events)), pace_(pace), pad_(pad), onEnd_(std::move(onEnd)) {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, [this] { playNext(); });
}

void Replay::start() {
  wait();
}

void Replay::playNext() {
  if (next_ == events_.size()) {
    onEnd_();
    return;
  }
  const stroke::Event& event = events_[next_++];
  QTabletEvent tablet = event.toTablet(pad_->mapToGlobal(QPoint(0, 0)) + QPointF(event.x, event.y));
  const bool isProximity =
      event.type == QEvent::TabletEnterProximity || event.type == QEvent::TabletLeaveProximity;
  // As Qt does: proximity events go to the application.
  QObject* const receiver =
      isProximity ? QCoreApplication::instance() : static_cast<QObject*>(pad_);
  QCoreApplication::sendEvent(receiver, &tablet);
  wait();
}

void Replay::wait() {
  const bool hasPause = pace_ == Pace::kAsRecorded && next_ < events_.size();
  timer_.start(hasPause ? events_[next_].ms : 0);
}

}  // namespace penpad
