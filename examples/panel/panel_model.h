// The service as the panel shows it: VMs, devices, printers, and what is going on with each. Knows
// no widgets.
//
// THREADS   That of the object, whose event loop must run. No member waits for the service: calls
//           run on threads of their own, and their results arrive in the loop.
// EVENTS    Devices and printers change as the service reports it. A service that ends, hangs or is
//           not there makes the model unavailable; it keeps what it has and looks for the service
//           until it is back.

#ifndef EXAMPLES_PANEL_PANEL_MODEL_H
#define EXAMPLES_PANEL_PANEL_MODEL_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <QObject>
#include <QTimer>

#include "examples/panel/problem.h"
#include "examples/panel/thing.h"
#include "vel/client/client.h"

namespace panel {

using Things = std::map<Number, Thing>;

class PanelModel : public QObject {
  Q_OBJECT

 public:
  enum class Service { kConnecting, kReady, kUnavailable };

  // Connects to the service of vel::Client.
  //
  // retryInterval   how often an unavailable service is looked for
  explicit PanelModel(std::chrono::milliseconds retryInterval = std::chrono::seconds(2));
  // Does not wait for calls that run.
  ~PanelModel() override;

  Service service() const { return service_; }
  // Why the service is not available.
  const Problem& problem() const { return problem_; }

  // The names of the VMs, sorted.
  const std::vector<std::string>& vms() const { return vms_; }
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

  // Reads everything again. One reading is under way at a time.
  void refresh();

 signals:
  void serviceChanged();
  void vmsChanged();
  // Things have come or gone.
  void thingsChanged();
  void thingChanged(const panel::Number& number);

 private:
  struct Link;
  struct Lists;
  struct Outcome;
  using Operation = std::function<vel::Result<void>(const vel::Client&)>;

  void open();
  static vel::Result<Lists> readLists(const vel::Client& client);
  void takeLists(const vel::Result<Lists>& lists);
  void takeChange(const Thing& change);
  void takeDeath();
  void apply(const Thing& change);
  bool isAutoConnected(const Thing& thing) const;
  // reach: what the operation changes, which is read again behind it
  enum class Reach { kThing, kEverything };
  void run(const Number& number, Operation operation, Reach reach = Reach::kThing);
  void finish(const Number& number, const Outcome& outcome, Reach reach);
  void setService(Service service, const Problem& problem);

  // A function for the loop of this object, which does nothing when the object has gone.
  template <typename Argument>
  std::function<void(const Argument&)> inLoop(void (PanelModel::*member)(const Argument&));

  const vel::Executor executor_;
  QTimer retry_;
  std::shared_ptr<Link> link_;  // null until it is open
  bool isOpening_ = false;

  Service service_ = Service::kConnecting;
  Problem problem_;
  std::vector<std::string> vms_;
  Things things_;
  std::map<vel::DeviceType, bool> autoConnect_;

  bool isReading_ = false;
  bool isReadingWanted_ = false;  // after the one that is under way
  bool isReadingStale_ = false;   // the service has ended meanwhile
  // What events have reported during the reading, which may have been answered before.
  std::vector<Thing> changes_;
  // The busy things that an event has reported since their operation began.
  std::set<Number> reported_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PANEL_MODEL_H
