// The connection to the service: whether it is there, its VMs, and operations and events for the
// models of the pages, which share it. Knows no widgets.
//
// THREADS   That of the object, whose event loop must run. No member waits for the service: calls
//           run on threads of their own, and their results arrive in the loop.
// STATE     A service that ends, hangs or is not there is unavailable, and is looked for until it
//           is back. It is ready when the VMs and what the models need have been read.

#ifndef EXAMPLES_PANEL_SERVICE_SERVICE_H
#define EXAMPLES_PANEL_SERVICE_SERVICE_H

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QObject>
#include <QPointer>
#include <QTimer>

#include "examples/panel/service/problem.h"
#include "vel/client/client.h"

namespace panel {

class Service : public QObject {
  Q_OBJECT

  using Take = std::function<void()>;

 public:
  enum class State { kConnecting, kReady, kUnavailable };

  // Connects to the service of vel::Client.
  //
  // retryInterval   how often an unavailable service is looked for
  explicit Service(std::chrono::milliseconds retryInterval = std::chrono::seconds(2));
  // Does not wait for calls that run.
  ~Service() override;

  State state() const { return state_; }
  bool isReady() const { return state_ == State::kReady; }
  // Why the service is not available.
  const Problem& problem() const { return problem_; }
  // The names of the VMs, sorted.
  const std::vector<std::string>& vms() const { return vms_; }

  // Looks for the service, and reads everything again. One reading is under way at a time.
  void refresh();
  // Also when it is about to begin.
  bool isReading() const { return isReading_ || isReadingPosted_; }

  // --- For models -------------------------------------------------------------------------------

  // Where callbacks of tasks and subscriptions run: in the loop of this object.
  const vel::Executor& executor() const { return executor_; }

  // A callback that does nothing when its owner has gone.
  template <typename Argument, typename Owner, typename Callback>
  static std::function<void(const Argument&)> whileThereIs(Owner* owner, Callback callback) {
    return [there = QPointer<Owner>(owner), callback](const Argument& argument) {
      if (there) {
        callback(argument);
      }
    };
  }

  using Subscribe = std::function<vel::Result<vel::Subscription>(const vel::Client&)>;
  // Begins a subscription on a thread of its own, which lasts as long as this object. One that
  // the service has not granted is tried again when it is read.
  void subscribe(Subscribe begin);

  // Adds what the service must have answered before it is ready.
  //
  // read   on a thread of its own
  // take   takes what has been read, in the loop; not called for what a service answered that has
  //        ended meanwhile
  template <typename Value, typename Owner>
  void addReading(Owner* owner, vel::Result<Value> (*read)(const vel::Client&),
                  void (Owner::*take)(const Value&)) {
    addReading([read, there = QPointer<Owner>(owner),
                take](const vel::Client& client) -> vel::Result<Take> {
      const vel::Result<Value> value = read(client);
      if (!value) {
        return vel::unexpected<vel::Error>(value.error());
      }
      return Take([there, take, value = *value] {
        if (there) {
          (there.data()->*take)(value);
        }
      });
    });
  }

  // Runs an operation on a thread of its own. The service must be ready. One that does not answer
  // is looked for.
  //
  // done   receives the result in the loop, unless the owner has gone
  template <typename Operation, typename Owner, typename Done>
  void start(Owner* owner, Operation operation, Done done) {
    using Outcome = vel::Client::ResultOf<Operation>;
    const auto finished =
        [self = QPointer<Service>(this),
         done = whileThereIs<Outcome>(owner, std::move(done))](const Outcome& outcome) {
          done(outcome);
          if (self && !outcome && !isAnswer(outcome.error())) {
            self->refresh();
          }
        };
    client().start(std::move(operation), finished, executor_).detach();
  }

  // The same for one that may take long: no other operation but slow ones waits for it.
  template <typename Operation, typename Owner, typename Done>
  void startSlow(Owner* owner, Operation operation, Done done) {
    start(
        owner, [operation](const vel::Client&) { return operation(vel::Client::apart()); },
        std::move(done));
  }

  // For other tasks. The service must be ready.
  const vel::Client& client() const;
  const vel::Client& slowClient() const;

  // Whether the service has answered, so that another request may be worth its time.
  static bool isAnswer(const vel::Error& error);

 signals:
  void stateChanged();
  void vmsChanged();
  void readingBegins();
  // Everything has been read, and the service is ready.
  void refreshed();

 private:
  struct Link;
  struct Readout;
  using Reading = std::function<vel::Result<Take>(const vel::Client&)>;

  void addReading(Reading reading);
  void startReading();
  // Returns those that have not begun.
  static std::vector<Subscribe> subscribeAll(Link& link, const std::vector<Subscribe>& subscribes);
  // Returns why the service is not ready.
  static std::optional<vel::Error> readAll(const vel::Client& client,
                                           const std::vector<Reading>& readings, Readout& readout);
  void takeAll(const Readout& readout);
  void takeDeath();
  void setState(State state, const Problem& problem);

  const vel::Executor executor_;
  const std::shared_ptr<Link> link_;
  QTimer retry_;
  std::vector<Subscribe> toSubscribe_;
  std::vector<Reading> readings_;

  State state_ = State::kConnecting;
  Problem problem_;
  std::vector<std::string> vms_;

  bool isReadingPosted_ = false;
  bool isReading_ = false;
  bool isReadingWanted_ = false;  // after the one that is under way
  bool isReadingStale_ = false;   // the service has ended meanwhile
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_SERVICE_SERVICE_H
