#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {

std::vector<Member> statusMembers() {
  return {{"status", Type::kMeaning, velprotocol::Legend("", velprotocol::kStatuses)}};
}

Action runs(const std::string& method, std::function<void(Invocation&)> run,
            std::vector<Member> members) {
  return {method, std::move(run), std::move(members), "", {}};
}

std::vector<vel::Vm> namesOfVms(const Invocation& invocation) {
  // Without the names the numbers are shown, which is no reason to fail.
  const vel::Result<std::vector<vel::Vm>> vms =
      invocation.call([](const vel::Client& client, const Values&) { return client.vms(); });
  return received(vms);
}

}  // namespace velctl
