#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {

std::vector<Member> statusMembers() {
  return {{"status", Type::kMeaning, velprotocol::Legend("", velprotocol::kStatuses)}};
}

Action asks(const std::string& method, Call<void> call, const std::string& done,
            const std::string& activity) {
  return {method,
          [call, done, activity](Invocation& invocation) {
            invocation.finish(invocation.call(call, activity), done);
          },
          statusMembers(),
          "",
          {}};
}

Action asksWithoutStatus(const std::string& method, Call<void> call, const std::string& done,
                         const std::string& activity) {
  return {method,
          [call, done, activity](Invocation& invocation) {
            invocation.finishWithoutStatus(invocation.call(call, activity), done);
          },
          {},
          "",
          {}};
}

Action sends(const std::string& method, Call<void> call, const std::string& done) {
  return {
      method,
      [call, done](Invocation& invocation) { invocation.finishSent(invocation.call(call), done); },
      {},
      "",
      {}};
}

Action reads(const std::string& method, const std::string& member, Call<std::string> call,
             const std::string& activity) {
  return {method,
          [member, call, activity](Invocation& invocation) {
            const std::string text = invocation.valueOf(invocation.call(call, activity));
            invocation.finishWith(printableLines(text), Json{{member, jsonText(text)}});
          },
          {{member, Type::kText}},
          "",
          {}};
}

Action gets(const std::string& method, const Member& member, Call<std::int32_t> call) {
  return {method,
          [member, call](Invocation& invocation) {
            const Json value = invocation.valueOf(invocation.call(call));
            Json json = Json::object();
            addMember(json, member, value);
            invocation.finishWith(cellOf(member, value).text, json);
          },
          {member},
          "",
          {}};
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
