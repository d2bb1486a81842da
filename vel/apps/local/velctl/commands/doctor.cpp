// velctl doctor: goes through everything that a call needs, link by link.

#include <filesystem>
#include <string>
#include <system_error>

#include "base/printable.h"
#include "base/unix_socket.h"
#include "platform/app_data_path.h"
#include "platform/log_file.h"
#include "platform/user_directories.h"
#include "vel/apps/local/velctl/checks/call_time.h"
#include "vel/apps/local/velctl/checks/way_to_service.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

using State = CheckedLink::State;

constexpr char kLinksName[] = "links";
constexpr char kPenPort[] = "--pen-port";

const std::vector<Field<CheckedLink>>& linkFields() {
  static const auto& fields = *new std::vector<Field<CheckedLink>>{
      {{"link", Type::kText}, "", [](const CheckedLink& link) -> Json { return link.name; }},
      {{"state", Type::kText},
       "",
       [](const CheckedLink& link) -> Json { return std::string(nameOf(link.state)); }},
      {{"text", Type::kText}, "", [](const CheckedLink& link) -> Json { return link.text; }},
      {{"remedy", Type::kText},
       "",
       [](const CheckedLink& link) -> Json {
         return link.remedy.empty() ? Json() : Json(link.remedy);
       }},
  };
  return fields;
}

CheckedLink wrong(const std::string& name, ExitCode code, const std::string& text,
                  const std::string& remedy) {
  return {name, State::kWrong, base::printable(text), base::printable(remedy), code};
}

CheckedLink checkCall(Invocation& invocation, const CheckedLink* broken) {
  constexpr char kName[] = "call";
  if (broken) {
    return {kName, State::kSkipped, "because of " + broken->name, ""};
  }
  vel::Result<TimedCalls> calls = TimedCalls();
  try {
    calls = timeCalls(invocation);
  } catch (const TimeOver&) {
    return wrong(kName, kExitNoReply,
                 std::string(kTimedMethod) + ": no answer within the time of --timeout",
                 "the service hangs: end it and start it; see the service's log");
  }
  if (calls) {
    return {kName, State::kOk,
            std::string(kTimedMethod) + " is answered in " + durationText(calls->median), ""};
  }
  const vel::Error& error = calls.error();
  const std::string reason = std::string(kTimedMethod) + ": " + error.text();
  const std::string logs = "see the service's log for " + std::string(kTimedMethod);
  switch (error.kind()) {
    case vel::ErrorKind::kNoThread:
      return wrong(kName, kExitFailed, reason, "end other programs of this user");
    case vel::ErrorKind::kNoBus:
      return wrong(kName, kExitNoBus, reason, "the bus has just gone; start it");
    case vel::ErrorKind::kNoService:
      return wrong(kName, kExitNoService, reason, "the service has just gone; " + logs);
    case vel::ErrorKind::kErrorReply:
    case vel::ErrorKind::kBadReply:
      return wrong(kName, kExitErrorReply, reason, logs);
    default:
      return wrong(kName, kExitNoReply, reason, "the service hangs: end it and start it; " + logs);
  }
}

std::string freeSpaceIn(const std::string& directory) {
  std::error_code error;
  const std::filesystem::space_info space = std::filesystem::space(directory, error);
  constexpr std::uintmax_t kMebibyte = 1024 * 1024;
  return error ? "" : ", " + std::to_string(space.available / kMebibyte) + " MiB free";
}

CheckedLink checkLog() {
  constexpr char kName[] = "log";
  const std::string directory = platform::logDirectory(GetAppDataPath());
  if (directory.empty()) {
    return wrong(kName, kExitFailed, "the directory of the log has no name or cannot be made",
                 "set QX_APP_DATA to a directory of this user");
  }
  if (const base::Result<void> log = platform::LogFile::check(directory); !log) {
    return wrong(kName, kExitFailed, directory + ": " + log.reason(),
                 "correct that, or set QX_APP_DATA to another directory of this user");
  }
  return {kName, State::kOk, base::printable(directory) + freeSpaceIn(directory), ""};
}

CheckedLink checkPenPort(const Values& values) {
  constexpr char kName[] = "pen-port";
  if (!values.has(kPenPort)) {
    return {kName, State::kSkipped, std::string("its path is not known; give it with ") + kPenPort,
            ""};
  }
  const std::string path = values.text(kPenPort);
  const int error = base::connectTo(base::newSocket(), path);
  if (error != 0) {
    return wrong(kName, kExitNoService,
                 path + ": the port cannot be reached: " + std::generic_category().message(error),
                 "start its listener, or velsim --pen-port to try without hardware");
  }
  return {kName, State::kOk, base::printable(path) + " accepts connections", ""};
}

Cell cellOf(const CheckedLink& link) {
  const std::string state(nameOf(link.state));
  switch (link.state) {
    case State::kOk:
      return {state + "       " + link.text, Style::kGood};
    case State::kWrong:
      return {state + "    " + link.text + "\n         " + link.remedy, Style::kBad};
    case State::kSkipped:
      break;
  }
  return {state + "  " + link.text, Style::kFaint};
}

void examine(Invocation& invocation) {
  std::vector<CheckedLink> links = linksOf(checkWay(invocation));
  links.push_back(checkCall(invocation, firstWrong(links)));
  links.push_back(checkLog());
  links.push_back(checkPenPort(invocation.values()));

  std::vector<std::pair<std::string, Cell>> lines;
  Json json = Json::object();
  json[kLinksName] = Json::array();
  for (const CheckedLink& link : links) {
    lines.emplace_back(link.name, cellOf(link));
    json[kLinksName].push_back(jsonOf(linkFields(), link));
  }
  const std::string text = fieldsText(lines, invocation.output().terminal());
  const CheckedLink* const broken = firstWrong(links);
  if (!broken) {
    invocation.output().line(text, json);
    return;
  }
  if (invocation.output().form() == Form::kText) {
    invocation.output().text(text + '\n');
  }
  throw failureOf("doctor: " + broken->name, *broken).with(json);
}

}  // namespace

std::vector<Command> doctorCommands() {
  Action action = runs("", &examine);
  action.list = kLinksName;
  action.elements = membersOf(linkFields());
  return {
      {"doctor",
       "Find out what is wrong: the way to the service, a call, the log and the pen port",
       {path(kPenPort, "Path of the pen port, a Unix stream socket, to be examined too")
            .checked(&base::pathFault)
            .silent()},
       action,
       {{"doctor", "Examine everything but the pen port"},
        {"doctor --pen-port /tmp/pen", "The pen port, too"}},
       "Each link is ok, wrong, or skipped because of an earlier one. The exit status is that of\n"
       "the first one that is wrong; 0: nothing is wrong.\n"
       "\n"
       "  address     where the bus, or the service, is to be found\n"
       "  socket      the file that the address names is a socket\n"
       "  permission  this user may connect to it\n"
       "  listener    a program listens there and accepts\n"
       "  access      it lets this user in and answers\n"
       "  service     the service is on the bus\n"
       "  user        the service runs as this user or as root\n"
       "  call        it answers\n"
       "  log         the library can write its log\n"
       "  pen-port    a program listens at the pen port"},
  };
}

}  // namespace velctl
