// velctl watch: prints events until interrupted.

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/command_answers.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"

namespace velctl {
namespace {

constexpr unsigned short kDiagnosis = 9;
constexpr unsigned short kCommandAnswer = 66;
constexpr std::chrono::seconds kPauseBetweenAttempts{2};

// An event in both forms: its record is gone when the callback returns.
struct Event {
  std::string text;
  Json json;
  std::optional<std::string> endedVm;
};

std::string withCode(const std::string& text, unsigned short code) {
  return text + " (code " + std::to_string(code) + ")";
}

// Makes events of what the callbacks are given.
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
    add(kCommandAnswer,
        "command answer: VM " + shownVm(proxy_, answer.vmNumber) + ", " +
            (answer.record ? hex(*answer.record) : "empty"),
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

  // A registration ends with the session. Not inside the callback, which runs under a lock of the
  // library; this waits until that has dropped the old registrations.
  void registerAgain() { feed_.proxy().RegisterCallback(vmId_, &WatchedVm::onEvent, this); }

  // The library drops events of VMs whose numbers it has not learned, which it forgets when the
  // service dies.
  void learnNumber() const { feed_.proxy().GetVmIdInt(vmId_); }

 private:
  static int onEvent(unsigned short code, void*, void* self) {
    const auto* const watched = static_cast<WatchedVm*>(self);
    const std::string& vmId = watched->vmId_;
    watched->feed_.inbox().add({withCode((vmId.empty() ? "this machine" : printable(vmId)) +
                                             ": session ended, the service has died",
                                         code),
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
    // Without a VM this asks nothing of the service. It leaves an error in the log.
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

std::unique_ptr<CommandAnswers> listenToCommands(Feed& feed) {
  return std::make_unique<CommandAnswers>(
      [&feed](const CommandAnswer& answer) { feed.onCommandAnswer(answer); });
}

// Without any, the name of this machine is as good as another for being told of the service's
// death.
std::set<std::string> vmsToWatch(const Operation& operation,
                                 const std::vector<std::string>& named) {
  if (!named.empty()) {
    return {named.begin(), named.end()};
  }
  std::set<std::string> vms;
  for (const auto& [vmId, number] : operation->GetVmList()) {
    vms.insert(vmId);
  }
  operation.check();
  return vms.empty() ? std::set<std::string>{""} : vms;
}

void watch(const Output& output, const std::vector<std::string>& named) {
  // Never destroyed, nor the feed: events of diagnoses and commands may come as late as the end of
  // the process.
  static Inbox<Event>& inbox = *new Inbox<Event>;
  const Interruption interruption([] { inbox.stop(); });
  const Operation operation("watch");
  for (const std::string& vmId : named) {
    const Operation known("watch", vmId);
  }
  static Feed& feed = *new Feed(*operation.operator->(), inbox);
  std::list<WatchedVm> watched;
  std::string names;
  for (const std::string& vmId : vmsToWatch(operation, named)) {
    watched.emplace_back(feed, vmId).learnNumber();
    names += (names.empty() ? "" : ", ") + (vmId.empty() ? "this machine" : printable(vmId));
  }
  const WatchedMachine watchedMachine(feed);
  std::unique_ptr<CommandAnswers> commands = listenToCommands(feed);
  Output::note("watching " + names + "; interrupt to end");

  // The library tells of the death of a service that it is connected to, and connects again only
  // when it is used.
  bool isConnected = true;
  while (!inbox.isStopped()) {
    const std::optional<Event> event =
        inbox.next(isConnected ? Inbox<Event>::Patience() : kPauseBetweenAttempts);
    bool isNewService = !isConnected;
    if (event) {
      output.line(event->text, event->json);
      for (WatchedVm& vm : watched) {
        if (vm.vmId() == event->endedVm) {
          vm.registerAgain();
          // All of them end, one after the other.
          isNewService = isNewService || &vm == &watched.front();
        }
      }
    }
    if (isNewService) {
      isConnected = operation->Init() == 0;
    }
    if (isNewService && isConnected) {
      for (const WatchedVm& vm : watched) {
        vm.learnNumber();
      }
      commands = listenToCommands(feed);
    }
  }
}

}  // namespace

void addWatchCommand(CommandLine& commandLine) {
  const auto named = std::make_shared<std::vector<std::string>>();
  const ParserCommand command = commandLine.command(
      "watch", "Print events of all kinds until interrupted (which gives exit status 0)",
      [named](const Output& output) { watch(output, *named); });
  command.addOption("vm", *named, "Leave out events of other VMs (default: all that there are)");
}

}  // namespace velctl
