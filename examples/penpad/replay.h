// Plays a recorded stroke on the pad, as if a pen drew it.

#ifndef EXAMPLES_PENPAD_REPLAY_H
#define EXAMPLES_PENPAD_REPLAY_H

#include <cstddef>
#include <functional>
#include <vector>

#include <QTimer>
#include <QWidget>

#include "pen/stroke_file.h"

namespace penpad {

class Replay {
 public:
  enum class Pace { kAsRecorded, kAtOnce };

  // onEnd is called once, from the event loop, after the last event.
  Replay(std::vector<stroke::Event> events, Pace pace, QWidget* pad, std::function<void()> onEnd);

  // Begins when the event loop runs.
  void start();

 private:
  void playNext();
  void wait();

  std::vector<stroke::Event> events_;
  Pace pace_;
  QWidget* pad_;
  std::function<void()> onEnd_;
  std::size_t next_ = 0;
  QTimer timer_;
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_REPLAY_H
