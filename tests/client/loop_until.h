// Waiting in the event loop of Qt.

#ifndef TESTS_CLIENT_LOOP_UNTIL_H
#define TESTS_CLIENT_LOOP_UNTIL_H

#include <functional>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

// Runs the loop of this thread until a condition holds; false when it takes too long. The condition
// must follow from an event of the loop.
inline bool loopUntil(const std::function<bool()>& condition) {
  constexpr int kPatienceMs = 240000;
  QTimer patience;
  patience.setSingleShot(true);
  patience.start(kPatienceMs);
  while (!condition() && patience.isActive()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return condition();
}

#endif  // TESTS_CLIENT_LOOP_UNTIL_H
