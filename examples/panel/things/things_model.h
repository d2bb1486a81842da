// The devices and printers of this machine, and what is going on with each. Knows no widgets.
//
// EVENTS    They change as the service reports it. While the service is not available they stay as
//           they were.

#ifndef EXAMPLES_PANEL_THINGS_THINGS_MODEL_H
#define EXAMPLES_PANEL_THINGS_THINGS_MODEL_H

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <QObject>

#include "examples/panel/service/service.h"
#include "examples/panel/things/thing.h"
#include "vel/client/client.h"

namespace panel {

using Things = std::map<Number, Thing>;

class ThingsModel : public QObject {
  Q_OBJECT

 public:
  // The service must outlive the model.
  explicit ThingsModel(Service& service);

  const Things& things() const { return things_; }
  // Null: it is not there, or not any more.
  const Thing* find(const Number& number) const;

  // The thing is busy until the result is there; then it has changed, or has a problem. Nothing
  // happens to one that is busy, nor while the service is not available.
  //
  // attach    takes it from another VM first; nothing happens to one that is attached there
  void attach(const Number& number, const std::string& vm);
  void detach(const Number& number);

  // Of a device; nothing happens to a printer.
  void setPolicy(const Number& number, vel::LocalPolicy policy);
  // Whether the service attaches devices of this type when they are plugged in.
  void setAutoConnect(const Number& number, bool isOn);
  // Whether the service may use the cameras of this machine: a note of this one, or its problem.
  void checkCamera(const Number& number);

 signals:
  // Things have come or gone.
  void thingsChanged();
  void thingChanged(const panel::Number& number);

 private:
  struct Lists;
  struct Outcome;
  using Operation = std::function<vel::Result<void>(const vel::Client&)>;

  static vel::Result<Lists> readLists(const vel::Client& client);
  void takeLists(const Lists& lists);
  void takeChange(const Thing& change);
  void apply(const Thing& change);
  bool isAutoConnected(const Thing& thing) const;
  // Marks it as busy. False: no operation may begin.
  bool begin(const Number& number);
  // reach: what the operation changes, which is read again behind it
  enum class Reach { kThing, kEverything };
  void run(const Number& number, Operation operation, Reach reach = Reach::kThing);
  void finish(const Number& number, const Outcome& outcome, Reach reach);

  Service& service_;
  Things things_;
  std::map<vel::DeviceType, bool> autoConnect_;
  // What events have reported during the reading, which may have been answered before.
  std::vector<Thing> changes_;
  // The busy things that an event has reported since their operation began.
  std::set<Number> reported_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_THINGS_MODEL_H
