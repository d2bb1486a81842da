// Recorded strokes: the events of a pen, one per line of a text file, each a JSON object.
//
//   {"event": "press", "x": 20.5, "y": 31, "pressure": 0.25, "tiltX": 10, "ms": 8}
//
//   key         value
//   event       "enter", "press", "move", "release" or "leave"; a move may be above the surface
//   x, y        position in pixels, -32768 to 32767
//   pressure    0 to 1; 0 when absent
//   tiltX       whole degrees, -90 to 90; 0 when absent
//   tiltY       as tiltX
//   rotation    degrees, -360 to 360; 0 when absent
//   ms          milliseconds since the event before, 0 to 10000; 8 when absent
//
// event, x and y are required in every line. Empty lines are skipped.

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

  // The event as Qt delivers it to a widget; global is its position on the screen.
  QTabletEvent toTablet(const QPointF& global = QPointF()) const;
};

// The text begins with file and line: "a.jsonl:3: ...".
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws FileError. There is at least one event.
std::vector<Event> read(std::istream& lines, const std::string& name);
std::vector<Event> readFile(const std::string& name);

}  // namespace stroke

#endif  // PEN_STROKE_FILE_H
