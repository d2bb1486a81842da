// The end of a program of tests that has Qt's loop.

#ifndef TESTS_CLIENT_END_OF_LOOP_H
#define TESTS_CLIENT_END_OF_LOOP_H

#include <QEventLoop>
#include <QTimer>

// Runs the loop for a moment: tasks that tests have left behind end, and what they were the last to
// use is deleted by the loop, which tests that only process events never enter.
inline void runLoopToItsEnd() {
  constexpr int kMomentMs = 1000;
  QEventLoop loop;
  QTimer::singleShot(kMomentMs, &loop, &QEventLoop::quit);
  loop.exec();
}

#endif  // TESTS_CLIENT_END_OF_LOOP_H
