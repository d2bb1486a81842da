// Recorded strokes: what a pen did, one event per line of a text file, each a JSON object.
//
//   {"event": "press", "x": 20.5, "y": 31, "pressure": 0.25, "tiltX": 10, "ms": 8}
//
//   key         value
//   event       "enter", "press", "move", "release" or "leave"; a move may be above the surface
//   x, y        position in pixels, -32768 to 32767
//   pressure    0 to 1; 0 when it is not there
//   tiltX       whole degrees, -90 to 90; 0 when it is not there
//   tiltY       as tiltX
//   rotation    degrees, -360 to 360; 0 when it is not there
//   ms          milliseconds since the event before, 0 to 10000; 8 when it is not there
//
// event, x and y are in every line. Empty lines mean nothing.

#ifndef PEN_STROKE_FILE_H
#define PEN_STROKE_FILE_H

#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

#include <QTabletEvent>

namespace stroke {

struct Event {
  QEvent::Type type = QEvent::TabletMove;
  double x = 0;
  double y = 0;
  double pressure = 0;
  int tiltX = 0;
  int tiltY = 0;
  double rotation = 0;
  int ms = 8;

  // The event as Qt delivers it to a widget at the place global of the screen.
  QTabletEvent toTablet(const QPointF& global = QPointF()) const;
};

// What is wrong, with the names of file and line before it: "a.jsonl:3: ...".
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws FileError. There is at least one event.
std::vector<Event> read(std::istream& lines, const std::string& name);
std::vector<Event> readFile(const std::string& name);

}  // namespace stroke

#endif  // PEN_STROKE_FILE_H
