// velctl watch: prints events.

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "vel/apps/local/velctl/command_answers.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"
#include "vel/protocol/events.h"

namespace velctl {
namespace {

constexpr auto kDiagnosis = static_cast<unsigned short>(velprotocol::EventCode::kDiagnosis);
constexpr auto kCommandAnswer = static_cast<unsigned short>(velprotocol::EventCode::kCommandAnswer);
constexpr std::chrono::seconds kReconnectInterval{2};

struct Vms {
  std::vector<std::string> vmIds;
};

// An event in both forms: its record ends with the callback.
struct Event {
  std::string text;
  Json json;
  std::optional<std::string> endedVm;
};

std::string withCode(const std::string& text, unsigned short code) {
  return text + " (code " + std::to_string(code) + ")";
}

// Turns the arguments of callbacks into events.
class Feed : public VelDiagnoseNotify {
 public:
  Feed(qx::VelProxy& proxy, Inbox<Event>& inbox) : proxy_(proxy), inbox_(inbox) {}

  qx::VelProxy& proxy() const { return proxy_; }
  Inbox<Event>& inbox() { return inbox_; }

  void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                            std::string result) override {
    const Progress progress = {std::move(vmId), id, status, std::move(result)};
    add(kDiagnosis, describe(progress), "diagnosis", toJson(progress));
  }

  static int onPrinter(unsigned short code, PrinterDevice* printer, void* self) {
    Feed& feed = *static_cast<Feed*>(self);
    return feed.add(code, describe(feed.proxy_, *printer), "printer",
                    toJson(feed.proxy_, *printer));
  }

  static int onDevice(unsigned short code, CommonDevice* device, void* self) {
    Feed& feed = *static_cast<Feed*>(self);
    return feed.add(code, describe(feed.proxy_, *device), "device", toJson(feed.proxy_, *device));
  }

  static int onNewDevice(unsigned short code, _ConfigNewDeviceResult* result, void* self) {
    return static_cast<Feed*>(self)->add(code, describe(*result), "newDevice", toJson(*result));
  }

  void onCommandAnswer(const CommandAnswer& answer) {
    // The library drops events of VMs whose numbers it has not learned.
    if (answer.vmNumber != 0 && proxy_.GetVmIdString(answer.vmNumber).empty()) {
      return;
    }
    add(kCommandAnswer,
        "command answer: VM " + vmNameOrNumber(proxy_, answer.vmNumber) + ", " +
            (answer.record ? base::hexOf(*answer.record) : "empty"),
        "command", toJson(answer));
  }

 private:
  int add(unsigned short code, const std::string& text, const char* kind, const Json& record) {
    Json json = {{"event", kind}, {"code", code}};
    json.update(record);
    inbox_.add({withCode(text, code), json, std::nullopt});
    return 0;
  }

  qx::VelProxy& proxy_;
  Inbox<Event>& inbox_;
};

// Registered while it lives.
class WatchedVm {
 public:
  WatchedVm(Feed& feed, std::string vmId) : feed_(feed), vmId_(std::move(vmId)) { registerAgain(); }

  ~WatchedVm() { feed_.proxy().UnregisterCallback(vmId_); }

  WatchedVm(const WatchedVm&) = delete;
  WatchedVm& operator=(const WatchedVm&) = delete;

  const std::string& vmId() const { return vmId_; }

  // A registration ends with the session. Call this outside the callback: it waits until the
  // library has dropped the old registrations.
  void registerAgain() { feed_.proxy().RegisterCallback(vmId_, &WatchedVm::onEvent, this); }

  // The library drops events of VMs whose numbers it has not learned, which it forgets when the
  // service dies.
  void learnNumber() const { feed_.proxy().GetVmIdInt(vmId_); }

 private:
  static int onEvent(unsigned short code, void*, void* self) {
    const auto* const watched = static_cast<WatchedVm*>(self);
    const std::string& vmId = watched->vmId_;
    watched->feed_.inbox().addAlways(
        {withCode(displayName(vmId) + ": session ended, the service has died", code),
         {{"event", "sessionEnded"}, {"vm", jsonText(vmId)}, {"code", code}},
         vmId});
    return 0;
  }

  Feed& feed_;
  std::string vmId_;
};

// Registered for printers, devices, new devices and diagnoses while it lives.
class WatchedMachine {
 public:
  explicit WatchedMachine(Feed& feed) : feed_(feed) {
    feed.proxy().RegisterPrinterCallback(&Feed::onPrinter, &feed);
    feed.proxy().RegisterDeviceCallback(&Feed::onDevice, &feed);
    feed.proxy().RegisterConfigNewDevResultCallback(&Feed::onNewDevice, &feed);
    // Without a VM this sends no request. It leaves an error in the log.
    feed.proxy().Diagnose("", 0, &feed);
  }

  ~WatchedMachine() {
    feed_.proxy().Diagnose("", 0, nullptr);
    feed_.proxy().UnregisterConfigNewDevResultCallback(&feed_);
    feed_.proxy().UnregisterDeviceCallback(&feed_);
    feed_.proxy().UnregisterPrinterCallback();
  }

  WatchedMachine(const WatchedMachine&) = delete;
  WatchedMachine& operator=(const WatchedMachine&) = delete;

 private:
  Feed& feed_;
};

// The VMs to watch: those named, otherwise all of the service. Without any, the name of this
// machine serves as well for the notification of the service's death.
std::set<std::string> vmsToWatch(Operation& operation, const std::vector<std::string>& named) {
  if (!named.empty()) {
    return {named.begin(), named.end()};
  }
  std::set<std::string> vms;
  for (const auto& [vmId, number] : operation.call(&qx::VelProxy::GetVmList)) {
    vms.insert(vmId);
  }
  operation.check();
  return vms.empty() ? std::set<std::string>{""} : vms;
}

std::string namesOf(const std::list<WatchedVm>& watched) {
  std::vector<std::string> names;
  for (const WatchedVm& vm : watched) {
    names.push_back(displayName(vm.vmId()));
  }
  return base::joined(names);
}

// The connection of a watch to the service. The library notifies of the death of a service that it
// is connected to, and connects again only when it is used.
class Connection {
 public:
  Connection(qx::VelProxy& proxy, std::list<WatchedVm>& watched, CommandAnswers& commands)
      : proxy_(proxy), watched_(watched), commands_(commands) {}

  bool isUp() const { return isUp_; }

  // After the notification that the session of a VM has ended. All of them end, one after the
  // other, so the first one stands for the service.
  void endSession(const std::string& vmId) {
    for (WatchedVm& vm : watched_) {
      if (vm.vmId() == vmId) {
        vm.registerAgain();
        isUp_ = isUp_ && &vm != &watched_.front();
      }
    }
  }

  void restore() {
    isUp_ = proxy_.Init() == 0;
    if (isUp_) {
      for (const WatchedVm& vm : watched_) {
        vm.learnNumber();
      }
      commands_.followService();
    }
  }

 private:
  qx::VelProxy& proxy_;
  std::list<WatchedVm>& watched_;
  CommandAnswers& commands_;
  bool isUp_ = true;
};

// Writes events until the watch is stopped.
void writeEvents(const Output& output, Inbox<Event>& inbox, Connection& connection) {
  for (;;) {
    const auto deadline = connection.isUp() ? Inbox<Event>::Clock::time_point::max()
                                            : Inbox<Event>::Clock::now() + kReconnectInterval;
    const std::optional<Event> event = inbox.next(deadline);
    if (!event && inbox.isStopped()) {
      return;
    }
    if (event) {
      Output::noteDropped(inbox.droppedBefore(), "event");
      output.line(event->text, event->json);
      if (event->endedVm) {
        connection.endSession(*event->endedVm);
      }
    }
    if (!connection.isUp() && !inbox.isStopped()) {
      connection.restore();
    }
  }
}

void watch(const Output& output, const Vms& named) {
  // Never destroyed, nor the feed: events of diagnoses may come as late as the end of the process.
  static Inbox<Event>& inbox = *new Inbox<Event>;
  Operation operation("watch");
  for (const std::string& vmId : named.vmIds) {
    const Operation known("watch", vmId);
  }
  static Feed& feed = *new Feed(operation.proxy(), inbox);
  std::list<WatchedVm> watched;
  for (const std::string& vmId : vmsToWatch(operation, named.vmIds)) {
    watched.emplace_back(feed, vmId).learnNumber();
  }
  const WatchedMachine watchedMachine(feed);
  CommandAnswers commands([](const CommandAnswer& answer) { feed.onCommandAnswer(answer); });

  // Until here a signal ends the process, as it does while any other command waits for an answer.
  const Interruption interruption([] { inbox.stop(); });
  Output::note("watching " + namesOf(watched) + "; interrupt to end");
  Connection connection(operation.proxy(), watched, commands);
  try {
    writeEvents(output, inbox, connection);
  } catch (const Interrupted&) {
    // The event in hand is lost as well.
    Output::noteDropped(inbox.remaining() + 1, "event");
  }
}

}  // namespace

void addWatchCommand(CommandLine& commandLine) {
  const auto named = std::make_shared<Vms>();
  const ParserCommand command =
      commandLine.command("watch", "Print events of all kinds until interrupted (exit status 0)",
                          [named](const Output& output) { watch(output, *named); });
  command.addOption("vm,--vm", named->vmIds,
                    "Names of VMs; events of other VMs are left out (default: all VMs)");
}

}  // namespace velctl
