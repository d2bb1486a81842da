// Rows of velctl vm, pipe and reset.

#include <cstdint>

#include "tests/velctl/commands.h"

namespace velctl_tests {
namespace {

const qxbus::Values kDone = {std::int32_t{0}};
// Sent to be sure that the request before it has arrived.
constexpr char kConfirmation[] = "getVmList(int32 0)";

}  // namespace

std::vector<Command> sessionCommands() {
  return {
      {"VmList",
       {"vm", "list"},
       {"getVmList(int32 0)"},
       Answer::kContent,
       {std::int32_t{2}, std::string("win11"), std::int32_t{101}, std::string("debian"),
        std::int32_t{104}},
       "debian  104\nwin11   101",
       R"({"vms":[{"vm":"debian","number":104},{"vm":"win11","number":101}]})"},
      {"VmConnect",
       {"vm", "connect", "win11", "--system-type", "10", "--share-mode", "2", "--connect-param=3"},
       {"connectVm(int32 101, int32 10, int32 2, int32 3)"},
       Answer::kStatus,
       kDone,
       "win11: connected",
       R"({"operation":"connectVm","vm":"win11","number":101,"status":0})"},
      {"VmStart",
       {"vm", "start", "win11"},
       {"startManager(int32 101)", kConfirmation},
       Answer::kUntold,
       kDone,
       "win11: start requested",
       R"({"operation":"startManager","vm":"win11","number":101,"status":0})"},
      {"VmDisconnect",
       {"vm", "disconnect", "win11"},
       {"disconnectVm(int32 101)", kConfirmation},
       Answer::kUntold,
       kDone,
       "win11: disconnect requested",
       R"({"operation":"disconnectVm","vm":"win11","number":101,"status":0})"},
      {"VmFocus",
       {"vm", "focus", "win11", "--window", "7"},
       {"onFocusChanged(int32 101, int32 1, uint64 7)"},
       Answer::kStatus,
       kDone,
       "win11: focus gained",
       R"({"operation":"onFocusChanged","vm":"win11","number":101,"status":0})"},
      {"VmPort",
       {"vm", "port", "win11", "3", "-1"},
       {"setPortChannelStatus(int32 101, int32 3, int32 -1)"},
       Answer::kStatus,
       kDone,
       "win11: port 3 has status -1",
       R"({"operation":"setPortChannelStatus","vm":"win11","number":101,"status":0})"},
      {"VmToken",
       {"vm", "token", "abc"},
       {"updateDriveToken(bytes[3] 61 62 63)"},
       Answer::kStatus,
       kDone,
       "drive token handed over",
       R"({"operation":"updateDriveToken","status":0})"},
      {"PipeCreate",
       {"pipe", "create", "win11", "7"},
       {"createPipe(int32 101, int32 1, bytes[268] 65 00 00 00 07 00 00 00 00 00 00 00 00 00 00 "
        "00 ...)"},
       Answer::kStatus,
       kDone,
       "win11: 1 pipe created",
       R"({"operation":"createPipe","vm":"win11","number":101,"status":0})"},
      {"PipeDestroy",
       {"pipe", "destroy", "win11", "7"},
       {"destroyPipe(int32 101, int32 1, bytes[268] 65 00 00 00 07 00 00 00 00 00 00 00 00 00 00 "
        "00 ...)"},
       Answer::kStatus,
       kDone,
       "win11: 1 pipe destroyed",
       R"({"operation":"destroyPipe","vm":"win11","number":101,"status":0})"},
      {"Reset",
       {"reset"},
       {"resetService()"},
       Answer::kIgnored,
       kDone,
       "the service has been reset",
       R"({"operation":"resetService","status":0})"},
  };
}

}  // namespace velctl_tests
