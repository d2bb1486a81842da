// A thread that uses the bus without the library: completions, and the deaths of interfaces.

#include <deque>
#include <memory>
#include <thread>

#include "bus/qxbus.h"
#include "tests/chaos/allocation.h"
#include "tests/chaos/run.h"
#include "vel/protocol/names.h"

namespace chaos {
namespace {

// Longer than anything that ends a call or reports a death takes on a busy machine.
constexpr Milliseconds kPatience{20000};

// While this thread is in a function of the bus, which must not run a handler.
thread_local bool isInBus = false;

class InBus {
 public:
  InBus() { isInBus = true; }
  ~InBus() { isInBus = false; }
  InBus(const InBus&) = delete;
  InBus& operator=(const InBus&) = delete;
};

// Something that is to happen once.
struct Once {
  std::atomic<int> times{0};
  Clock::time_point due = Clock::time_point::max();

  void happened(const char* what) {
    const OutsideLibrary outside;
    if (isInBus) {
      Journal::get().fail(std::string("no handler on a caller's thread: ") + what);
    }
    if (++times > 1) {
      Journal::get().fail(std::string(what) + " exactly once: it came again");
    }
  }
};

class BusActor {
 public:
  explicit BusActor(Run& run) : run_(run), random_(run.seed * 1000 + 999) {}

  void run() {
    while (!run_.isEnding) {
      session();
      forgetOver();
    }
    // The service is dead by now: everything that is left ends with it.
    const Clock::time_point end = Clock::now() + kPatience;
    for (const std::shared_ptr<Once>& call : calls_) {
      call->due = std::min(call->due, end);
      while (call->times == 0 && Clock::now() < end) {
        std::this_thread::sleep_for(Milliseconds(5));
      }
    }
    forgetOver();
  }

 private:
  void session() {
    Journal::get().note("bus", "take an interface");
    std::shared_ptr<QXBusProxyInterface> interface;
    called(run_, "getServiceProxyInterface", kConnecting, [&interface] {
      if (QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1)) {
        interface = manager->getServiceProxyInterface(velprotocol::kServiceName,
                                                      QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
      }
    });
    if (!interface) {
      std::this_thread::sleep_for(Milliseconds(5));
      return;
    }
    const unsigned instance = run_.world.instance();
    auto death = std::make_shared<Once>();
    called(run_, "setDeathCallback", Milliseconds(1000), [&] {
      const InBus in;
      interface->setDeathCallback([death, &run = run_] {
        death->happened("the death of an interface");
        ++run.interfaceDeaths;
      });
    });
    for (std::size_t left = random_.below(200); left > 0 && !run_.isEnding; --left) {
      send(*interface);
      std::this_thread::sleep_for(Milliseconds(random_.below(4)));
      forgetOver();
    }
    if (random_.chance(15)) {
      awaitDeath(instance, *death);
    }
    Journal::get().note("bus", "release an interface");
    called(run_, "releasing an interface", Milliseconds(1000), [&interface] {
      const InBus in;
      interface.reset();
    });
  }

  // Until the instance that ran when the interface was taken has died: then its death is reported.
  void awaitDeath(unsigned instance, const Once& death) {
    Journal::get().note("bus", "await the death of instance " + std::to_string(instance));
    while (!run_.isEnding && death.times == 0 && run_.world.instance() <= instance + 1) {
      std::this_thread::sleep_for(Milliseconds(5));
    }
    if (run_.isEnding || memory().failed > 0) {
      return;
    }
    const Clock::time_point due = Clock::now() + kPatience;
    while (death.times == 0) {
      if (Clock::now() > due) {
        Journal::get().fail("the death of an interface is reported: instance " +
                            std::to_string(instance) + " has died, and no report came");
      }
      std::this_thread::sleep_for(Milliseconds(5));
    }
  }

  void send(QXBusProxyInterface& interface) {
    const int timeoutMs = random_.chance(20) ? -1 : static_cast<int>(10 + random_.below(500));
    auto completion = std::make_shared<Once>();
    if (timeoutMs >= 0) {
      completion->due = Clock::now() + Milliseconds(timeoutMs) + kPatience;
    }
    const bool isSent = called(run_, "callWithReply", Milliseconds(1000), [&] {
      const InBus in;
      const auto message = interface.makeMethodCallMessage("CheckCameraAuthStat");
      interface.callWithReply(
          message,
          [completion, &run = run_](const std::shared_ptr<QXBusMessage>& reply) {
            completion->happened("a completion");
            ++run.completions;
            if (!reply) {
              Journal::get().fail("replies are never null");
            }
          },
          timeoutMs);
    });
    if (isSent) {
      calls_.push_back(std::move(completion));
    }
  }

  void forgetOver() {
    while (!calls_.empty()) {
      const Once& oldest = *calls_.front();
      if (oldest.times == 0 && Clock::now() > oldest.due) {
        Journal::get().fail("a completion exactly once: it has not come " +
                            std::to_string(kPatience.count()) + " ms after its time-out");
      }
      if (oldest.times == 0) {
        return;
      }
      calls_.pop_front();
    }
  }

  Run& run_;
  Random random_;
  std::deque<std::shared_ptr<Once>> calls_;
};

}  // namespace

void actAsUserOfTheBus(Run& run) {
  BusActor(run).run();
}

}  // namespace chaos
