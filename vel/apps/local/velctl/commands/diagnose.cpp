// velctl device diagnose: has the service diagnose a redirection.

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/events.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

// In the report of dropped items.
constexpr char kProgress[] = "progress report";
constexpr char kActivity[] = "diagnosing";

velprotocol::Legend diagnosisStatuses() {
  return {"", velprotocol::kDiagnosisStatuses};
}

// Progress; nullopt stands for the end of the request. A request that has been given up may still
// use it.
struct DiagnosisArrivals {
  Inbox<std::optional<SeenEvent>> inbox;
  // The last: its callback uses the inbox.
  vel::Subscription subscription;
};

class Diagnosis {
 public:
  explicit Diagnosis(Invocation& invocation)
      : invocation_(invocation), isBySource_(invocation.values().has("--source")) {}

  Diagnosis(const Diagnosis&) = delete;
  Diagnosis& operator=(const Diagnosis&) = delete;

  void run() {
    const Values& values = invocation_.values();
    const auto arrivals = arrivals_;
    const Background<std::string> request(vel::Task<std::string>(
        [arrivals, values, isBySource = isBySource_] {
          const vel::Client client;
          subscribe(client, values, isBySource, arrivals);
          return isBySource ? client.diagnose(values.vm(), values.source("--source"))
                            : client.diagnose(values.vm(), values.device());
        },
        {}, [arrivals](const auto&) { arrivals->inbox.addAlways(std::nullopt); }, {}));
    writeWhileWaiting();
    const std::string text = invocation_.valueOf(request.task().get());
    invocation_.finishWith(printableLines(text), Json{{"text", jsonText(text)}});
    if (!wasFinal_) {
      writeWhileFollowing();
    }
    if (finalStatus() && !wasFinal_) {
      invocation_.fail(kExitNoReply, "no progress with status " +
                                         numberWithMeaning(diagnosisStatuses(), *finalStatus()) +
                                         " within " + values.text("--follow") +
                                         " s of the answer; --follow waits longer");
    }
  }

 private:
  // Progress comes while the request still waits for its answer.
  static void subscribe(const vel::Client& client, const Values& values, bool isBySource,
                        const std::shared_ptr<DiagnosisArrivals>& arrivals) {
    const std::uint64_t subject =
        isBySource ? values.source("--source").value() : values.device().value();
    arrivals->subscription =
        client.onDiagnosis([inbox = &arrivals->inbox, subject](const vel::DiagnosisEvent& event) {
          // The service sends the progress of every client's diagnoses.
          if (event.id == subject) {
            inbox->add(SeenEvent{std::chrono::system_clock::now(), event});
          }
        });
  }

  std::optional<std::int64_t> finalStatus() const {
    return invocation_.values().optionalNumber<std::int64_t>("--until");
  }

  void write(const SeenEvent& seen) {
    const auto& progress = std::get<vel::DiagnosisEvent>(seen.event);
    invocation_.output().line(numberWithMeaning(diagnosisStatuses(), vel::number(progress.status)) +
                                  ": " + printableLines(progress.text),
                              jsonOf(seen));
    wasFinal_ = wasFinal_ || vel::number(progress.status) == finalStatus();
  }

  void writeWhileWaiting() {
    const Session::Activity activity = invocation_.activityOf(kActivity);
    Progress line(activity.text, activity.limit, invocation_.output().isQuiet());
    while (const auto seen = *invocation_.session().next(arrivals_->inbox, line)) {
      Output::noteDropped(arrivals_->inbox.droppedBefore(), kProgress);
      write(*seen);
    }
    Output::noteDropped(arrivals_->inbox.droppedBefore(), kProgress);
  }

  // Writes progress until some of it is final, or the time has passed.
  void writeWhileFollowing() {
    const std::chrono::milliseconds limit = invocation_.values().duration("--follow");
    const Session::Clock::time_point deadline = Session::Clock::now() + limit;
    Progress line("waiting for progress of the diagnosis",
                  std::chrono::ceil<std::chrono::seconds>(limit), invocation_.output().isQuiet());
    while (!wasFinal_) {
      const auto next = invocation_.session().next(arrivals_->inbox, line, deadline);
      if (!next) {
        break;
      }
      Output::noteDropped(arrivals_->inbox.droppedBefore(), kProgress);
      write(**next);
    }
    if (!wasFinal_) {
      Output::noteDropped(arrivals_->inbox.remaining(), kProgress);
    }
  }

  Invocation& invocation_;
  const bool isBySource_;
  const std::shared_ptr<DiagnosisArrivals> arrivals_ = std::make_shared<DiagnosisArrivals>();
  bool wasFinal_ = false;
};

std::string diagnosisRule(const Arguments& arguments) {
  const auto vm = arguments.find("--vm");
  const bool isOnThisMachine = vm != arguments.end() && vm->second.front().empty();
  return isOnThisMachine ? "--vm: name a VM; there is no diagnosis on this machine"
                         : onlyOneDevice(arguments);
}

}  // namespace

Command diagnoseCommand() {
  Action action =
      runs("diagnoseDevice", [](Invocation& invocation) { Diagnosis(invocation).run(); },
           {{"text", Type::kText}});
  action.events = {diagnosisLine()};
  action.methodBySource = "diagnose";
  return {"device diagnose",
          "Diagnose the redirection of a device, and show the progress (takes up to 10 s)",
          {deviceArgument().optional(), sourceOption(), vmOption().required(),
           seconds("--follow", "1", "Seconds to wait for progress after the answer"),
           number<std::uint32_t>("--until",
                                 "Status of the progress that ends the command, which "
                                 "fails without such progress")
               .withWords(diagnosisStatuses())
               .silent()},
          action,
          {{"device diagnose 12 --vm win11", "Diagnose, and show what comes within a second"},
           {"device diagnose 12 --vm win11 --follow 60 --until fine",
            "Wait until the service finds no trouble any longer"}},
          "",
          "diagnose device, diagnose source",
          &diagnosisRule};
}

}  // namespace velctl
