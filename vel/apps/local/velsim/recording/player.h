// What a recorded service answers: finds the recorded call that a request repeats, and gives what
// followed it.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDING_PLAYER_H
#define VEL_APPS_LOCAL_VELSIM_RECORDING_PLAYER_H

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/recording/recording.h"

namespace velsim {

enum class ReplayOrder {
  kStrict,  // requests come in the order of the recording
  kMatch,   // a request repeats the first recorded call with its method and arguments that no other
            // has repeated
};

class Player {
 public:
  // The answer to a call, an event, or an end or return of the service.
  struct Step {
    std::chrono::microseconds after;  // the request
    const RecordedLine* line;
  };
  struct Taken {
    const RecordedLine* call = nullptr;  // null: the request differs from the recording
    std::vector<Step> steps;             // in their order
    std::string difference;              // "FILE:LINE: expected A, got B"
  };

  // file: its name, for messages.
  Player(std::string file, std::vector<RecordedLine> lines, ReplayOrder order);

  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  Taken take(const std::string& method, const qxbus::Values& arguments);
  // Recorded calls that no request has repeated.
  std::size_t rest() const;

 private:
  struct Call {
    const RecordedLine* line;
    std::vector<Step> steps;
    bool isTaken = false;
  };

  Call* find(const std::string& method, const qxbus::Values& arguments);
  std::string differenceFrom(const std::string& method, const qxbus::Values& arguments) const;

  const std::string file_;
  const std::vector<RecordedLine> lines_;
  const ReplayOrder order_;
  std::vector<Call> calls_;
  // Events from before the first call: there was no request that they could follow.
  std::vector<Step> opening_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDING_PLAYER_H
