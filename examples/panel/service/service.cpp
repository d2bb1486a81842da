#include "examples/panel/service/service.h"

#include <algorithm>

#include "vel/client/qt.h"

namespace panel {

// The client, which waits for the bus when it is made, and its subscriptions. The thread of a
// reading changes it, and the loop between readings.
struct Service::Link {
  std::optional<vel::Client> client;
  std::optional<vel::Client> slowClient;
  std::vector<vel::Subscription> subscriptions;
};

struct Service::Readout {
  std::optional<vel::Error> failure;
  std::vector<Subscribe> toSubscribe;  // those that have not begun
  std::vector<std::string> vms;
  std::vector<Take> taken;
};

Service::Service(std::chrono::milliseconds retryInterval)
    : executor_(vel::on(*this)), link_(std::make_shared<Link>()) {
  retry_.setSingleShot(true);
  retry_.setInterval(retryInterval);
  connect(&retry_, &QTimer::timeout, this, &Service::refresh);
  subscribe([executor = executor_, onDeath = whileThereIs<vel::ServiceDeath>(
                                       this, [this](const vel::ServiceDeath&) { takeDeath(); })](
                const vel::Client& client) { return client.onServiceDeath(onDeath, executor); });
  subscribe([executor = executor_, onReturn = whileThereIs<vel::ServiceReturn>(
                                       this, [this](const vel::ServiceReturn&) { refresh(); })](
                const vel::Client& client) { return client.onServiceReturn(onReturn, executor); });
}

Service::~Service() = default;

const vel::Client& Service::client() const {
  return *link_->client;
}

const vel::Client& Service::slowClient() const {
  return *link_->slowClient;
}

bool Service::isAnswer(const vel::Error& error) {
  return error.kind() == vel::ErrorKind::kRefused || error.kind() == vel::ErrorKind::kErrorReply;
}

void Service::subscribe(Subscribe begin) {
  toSubscribe_.push_back(std::move(begin));
  refresh();
}

void Service::addReading(Reading reading) {
  readings_.push_back(std::move(reading));
  refresh();
}

// --- Reading -------------------------------------------------------------------------------------

void Service::refresh() {
  if (isReading_) {
    isReadingWanted_ = true;
  } else if (!std::exchange(isReadingPosted_, true)) {
    // Later, so that what models add one after another is read at once.
    QMetaObject::invokeMethod(this, &Service::startReading, Qt::QueuedConnection);
  }
}

void Service::startReading() {
  isReadingPosted_ = false;
  isReading_ = true;
  emit readingBegins();
  const auto subscribes = std::exchange(toSubscribe_, {});
  const auto taken = whileThereIs<vel::Result<Readout>>(
      this, [this, subscribes](const vel::Result<Readout>& readout) {
        // The error is that there was no thread.
        takeAll(readout ? *readout : Readout{readout.error(), subscribes, {}, {}});
      });
  const auto operation = [link = link_, subscribes,
                          readings = readings_]() -> vel::Result<Readout> {
    Readout readout;
    readout.toSubscribe = subscribeAll(*link, subscribes);
    readout.failure = readAll(*link->client, readings, readout);
    return readout;
  };
  vel::Task<Readout>(operation, {}, taken, executor_).detach();
}

std::vector<Service::Subscribe> Service::subscribeAll(Link& link,
                                                      const std::vector<Subscribe>& subscribes) {
  if (!link.client) {
    link.client.emplace();
  }
  // Connects it again, which it does not do by itself.
  const vel::Client apart = vel::Client::apart();
  if (!link.slowClient) {
    link.slowClient = apart;
  }
  std::vector<Subscribe> refused;
  for (const Subscribe& begin : subscribes) {
    if (vel::Result<vel::Subscription> subscription = begin(*link.client)) {
      link.subscriptions.push_back(std::move(*subscription));
    } else {
      refused.push_back(begin);
    }
  }
  return refused;
}

std::optional<vel::Error> Service::readAll(const vel::Client& client,
                                           const std::vector<Reading>& readings, Readout& readout) {
  // Notices a service that is back sooner than the library does.
  if (const vel::Result<void> connected = client.connect(); !connected) {
    return connected.error();
  }
  const auto vms = client.vms();
  if (!vms) {
    return vms.error();
  }
  for (const vel::Vm& vm : *vms) {
    readout.vms.push_back(vm.name);
    // The service reports the events of VMs that have been named to it.
    if (const auto number = client.vmNumber(vm.name); !number) {
      return number.error();
    }
  }
  std::sort(readout.vms.begin(), readout.vms.end());
  for (const Reading& reading : readings) {
    const vel::Result<Take> taken = reading(client);
    if (!taken) {
      return taken.error();
    }
    readout.taken.push_back(*taken);
  }
  return std::nullopt;
}

void Service::takeAll(const Readout& readout) {
  isReading_ = false;
  toSubscribe_.insert(toSubscribe_.begin(), readout.toSubscribe.begin(), readout.toSubscribe.end());
  const bool isWanted = std::exchange(isReadingWanted_, false);
  if (std::exchange(isReadingStale_, false)) {
    refresh();
    return;
  }
  if (readout.failure) {
    setState(State::kUnavailable, problemOf(*readout.failure));
  } else {
    if (std::exchange(vms_, readout.vms) != readout.vms) {
      emit vmsChanged();
    }
    for (const Take& take : readout.taken) {
      take();
    }
    setState(State::kReady, {});
    emit refreshed();
  }
  if (isWanted) {
    refresh();
  }
}

// --- State ---------------------------------------------------------------------------------------

void Service::setState(State state, const Problem& problem) {
  const bool isChange = state != state_ || problem.text() != problem_.text();
  state_ = state;
  problem_ = problem;
  if (state == State::kUnavailable) {
    retry_.start();
  } else {
    retry_.stop();
  }
  if (isChange) {
    emit stateChanged();
  }
}

void Service::takeDeath() {
  isReadingStale_ = isReading_;
  setState(State::kUnavailable,
           problemOf(vel::Error(vel::ErrorKind::kNoService, "", "the service has ended")));
}

}  // namespace panel
