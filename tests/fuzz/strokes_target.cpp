// Stroke files: any text, and the tablet events of those without a mistake.
// Covers: pen/stroke_file.cpp

#include <sstream>

#include "pen/stroke_file.h"
#include "tests/fuzz/target.h"

namespace fuzz::strokes {
namespace {

bool isBetween(double value, double least, double most) {
  return value >= least && value <= most;
}

void run(Input& input) {
  std::istringstream file{std::string(input.rest())};
  std::vector<stroke::Event> events;
  try {
    events = stroke::read(file, "fuzzed.jsonl");
  } catch (const stroke::FileError& error) {
    const std::string text = error.what();
    return require(text.rfind("fuzzed.jsonl:", 0) == 0, "a mistake names its file: " + text);
  }
  require(!events.empty(), "there is at least one event");
  for (const stroke::Event& event : events) {
    require(isBetween(event.x, -32768, 32767) && isBetween(event.y, -32768, 32767), "a position");
    require(isBetween(event.pressure, 0, 1), "a pressure");
    require(isBetween(event.tiltX, -90, 90) && isBetween(event.tiltY, -90, 90), "a tilt");
    require(isBetween(event.rotation, -360, 360), "a rotation");
    require(isBetween(event.ms, 0, 10000), "a time");
    const QTabletEvent tablet = event.toTablet();
    require(tablet.type() == event.type && tablet.pressure() == event.pressure, "the tablet event");
  }
}

const Registration registration("strokes", run);

}  // namespace
}  // namespace fuzz::strokes
