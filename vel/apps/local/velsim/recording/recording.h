// A recording of a service: the calls of its clients, its replies and events, its ends and returns,
// in the order in which they came. docs/recordings.md describes the file, one JSON object a line.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDING_RECORDING_H
#define VEL_APPS_LOCAL_VELSIM_RECORDING_RECORDING_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "base/result.h"
#include "vel/apps/local/velsim/recording/value_json.h"

namespace velsim {

constexpr int kRecordingVersion = 1;

struct RecordedLine {
  enum class Kind {
    kCall,
    kReply,
    kError,
    kEvent,
    kGone,   // the service has gone; calls without an answer have got none
    kThere,  // the service is there again
  };

  Kind kind = Kind::kCall;
  int number = 0;                         // in the file; the header is line 1
  std::chrono::microseconds time{0};      // since the beginning
  std::uint64_t id = 0;                   // of a call, and of its reply or error
  std::chrono::microseconds duration{0};  // of a reply or an error: since the call
  std::string client;                     // of a call: the sender's name on the bus
  std::string name;                       // of a method or an event
  bool isBroadcast = false;               // of an event
  MaskableValues values;
  std::string text;  // of an error
};

// Lines without their newline.
std::string headerJson(const std::string& from, bool isWithSecrets);
std::string jsonOf(const RecordedLine& line);

// The first mistake in a line, as a failure.
base::Result<void> checkHeader(const std::string& line);
base::Result<RecordedLine> parseLine(const std::string& line);

// A call on one line, for messages: getVmListSize(string "win11").
std::string describe(const std::string& method, const MaskableValues& values);

// The values of a message as they are recorded.
MaskableValues masked(const RecordedLine& line, bool isWithSecrets);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDING_RECORDING_H
