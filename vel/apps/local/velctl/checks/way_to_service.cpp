#include "vel/apps/local/velctl/checks/way_to_service.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include <unistd.h>

#include "base/printable.h"
#include "vel/apps/local/velctl/checks/process_facts.h"
#include "vel/client/advice.h"
#include "vel/protocol/names.h"

namespace velctl {
namespace {

using qxbus::BusAddress;
using qxbus::BusLink;
using qxbus::CheckedSocket;
using qxbus::ServiceCheck;
using State = CheckedLink::State;

// As long as the library waits for a bus.
constexpr std::chrono::milliseconds kCheckLimit{2000};

constexpr std::string_view kStartService = vel::remedyFor(vel::ErrorKind::kNoService);

struct LinkName {
  BusLink link;
  const char* name;
};

constexpr LinkName kLinks[] = {
    {BusLink::kAddress, "address"},       {BusLink::kSocket, "socket"},
    {BusLink::kPermission, "permission"}, {BusLink::kConnection, "listener"},
    {BusLink::kAuthentication, "access"}, {BusLink::kService, "service"},
    {BusLink::kServiceUser, "user"},
};

std::string modeText(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned int>(mode));
  return text;
}

std::string ownership(const qxbus::FileFacts& file) {
  return "belongs to user " + userText(file.user) + " and has mode " + modeText(file.mode);
}

// The place of the address that led furthest, or is in use. Null without one.
const CheckedSocket* decisiveSocket(const ServiceCheck& check) {
  const auto last = check.sockets.rbegin();
  if (last == check.sockets.rend() || !last->broken) {
    return last == check.sockets.rend() ? nullptr : &*last;
  }
  return &*std::max_element(
      check.sockets.begin(), check.sockets.end(),
      [](const CheckedSocket& a, const CheckedSocket& b) { return a.broken < b.broken; });
}

std::string nameOfSocket(const CheckedSocket* socket) {
  if (!socket) {
    return {};
  }
  return base::printable(socket->path.empty() ? socket->place : socket->path);
}

std::string foundText(const ServiceCheck& check, BusLink link) {
  const CheckedSocket* const socket = decisiveSocket(check);
  switch (link) {
    case BusLink::kAddress:
      return addressText(check);
    case BusLink::kSocket:
      return nameOfSocket(socket);
    case BusLink::kPermission:
      return socket && socket->file && socket->file->path == socket->path
                 ? nameOfSocket(socket) + " " + ownership(*socket->file)
                 : "user " + userText(::geteuid()) + " may connect";
    case BusLink::kConnection:
      return "a program listens and accepts";
    case BusLink::kAuthentication:
      return "user " + userText(::geteuid()) + " is let in";
    case BusLink::kService:
      return check.process ? "process " + std::to_string(*check.process) : "it is there";
    case BusLink::kServiceUser:
      return check.user ? userText(*check.user) : "";
  }
  return {};
}

std::string wrongText(const ServiceCheck& check) {
  const CheckedSocket* const socket = decisiveSocket(check);
  if (check.broken == BusLink::kService) {
    return "no service on the bus: " + base::printable(check.reason);
  }
  if (check.broken == BusLink::kServiceUser) {
    return "the service is refused: " + base::printable(check.reason);
  }
  if (check.broken == BusLink::kPermission && socket && socket->file) {
    return base::printable(check.reason) + "; " + base::printable(socket->file->path) + ' ' +
           ownership(*socket->file);
  }
  // Of a file that is no socket the system says no more than "Connection refused".
  return base::printable(check.broken == BusLink::kSocket && socket && socket->file
                             ? socket->path + ": " + socket->reason
                             : check.reason);
}

// Where the user can change the address.
std::string otherAddress(const ServiceCheck& check) {
  return check.address.source == BusAddress::Source::kOwnVariable
             ? "correct QXBUS_ADDRESS or --bus"
             : "set QXBUS_ADDRESS to the address of a bus";
}

std::string remedyOf(const ServiceCheck& check) {
  const CheckedSocket* const socket = decisiveSocket(check);
  const std::string start(check.isDirect ? kStartService : "start the bus");
  const std::string whose = check.isDirect ? "the service" : "the bus";
  switch (*check.broken) {
    case BusLink::kAddress:
      return "a valid address is unix:path=/run/user/1000/bus, or direct:; " + otherAddress(check);
    case BusLink::kSocket:
      return socket && socket->file ? "remove the file if it is of no use, and " + start + ", or " +
                                          otherAddress(check)
                                    : start + ", or " + otherAddress(check);
    case BusLink::kPermission:
      return "run velctl as the user of " + whose + ", or let user " + userText(::geteuid()) +
             (socket && socket->file && socket->file->path != socket->path
                  ? " enter the directory (chmod, chown)"
                  : " write to the socket (chmod, chown)");
    case BusLink::kConnection:
      return "the program that listened there has ended or hangs; " +
             (check.isDirect ? start : "end it if it hangs, and " + start);
    case BusLink::kAuthentication:
      return whose + " refuses this user, or hangs; run velctl as the user of " + whose +
             ", or end it and start it again";
    case BusLink::kService:
      return std::string(kStartService);
    case BusLink::kServiceUser:
      return "end that service, and start one as user " + userText(::geteuid()) + " or as root";
  }
  return {};
}

}  // namespace

std::string_view nameOf(State state) {
  return state == State::kOk ? "ok" : state == State::kWrong ? "wrong" : "skipped";
}

Failure failureOf(const std::string& command, const CheckedLink& link) {
  return Failure(link.code, command + ": " + link.text + "; " + link.remedy);
}

qxbus::ServiceCheck checkWay(const Invocation& invocation) {
  return invocation.valueOf(invocation.session().await(
      {"examining the way to the service", std::chrono::ceil<std::chrono::seconds>(kCheckLimit)},
      [bus = invocation.session().bus()] {
        return vel::Result<qxbus::ServiceCheck>(
            qxbus::checkService(velprotocol::kServiceName, bus, kCheckLimit));
      }));
}

std::string_view nameOf(BusAddress::Source source) {
  switch (source) {
    case BusAddress::Source::kGiven:
      return "--bus";
    case BusAddress::Source::kOwnVariable:
      return "QXBUS_ADDRESS";
    case BusAddress::Source::kSessionVariable:
      return "DBUS_SESSION_BUS_ADDRESS";
    case BusAddress::Source::kSessionSocket:
      return "session bus";
    case BusAddress::Source::kDefault:
      break;
  }
  return "default";
}

std::string addressText(const ServiceCheck& check) {
  std::string text = base::printable(check.address.text);
  switch (check.address.source) {
    case BusAddress::Source::kSessionSocket:
      return text + ", the usual place of a session bus";
    case BusAddress::Source::kDefault:
      return text + ", as no variable names a bus, and there is no session bus";
    default:
      return text + ", from " + std::string(nameOf(check.address.source));
  }
}

std::string userText(uid_t user) {
  const std::string number = std::to_string(user);
  const auto name = userNameOf(user);
  return name ? base::printable(*name) + " (" + number + ")" : number;
}

std::vector<CheckedLink> linksOf(const ServiceCheck& check) {
  std::vector<CheckedLink> links;
  const char* broken = nullptr;
  for (const LinkName& each : kLinks) {
    if (broken) {
      links.push_back({each.name, State::kSkipped, std::string("because of ") + broken, ""});
    } else if (check.broken == each.link) {
      broken = each.name;
      // Without a bus in between, all of it is the way to the service.
      const bool isBus = each.link < BusLink::kService && !check.isDirect;
      links.push_back({each.name, State::kWrong, wrongText(check), remedyOf(check),
                       isBus ? kExitNoBus : kExitNoService});
    } else {
      links.push_back({each.name, State::kOk, foundText(check, each.link), ""});
    }
  }
  return links;
}

const CheckedLink* firstWrong(const std::vector<CheckedLink>& links) {
  const auto wrong = std::find_if(links.begin(), links.end(), [](const CheckedLink& link) {
    return link.state == State::kWrong;
  });
  return wrong == links.end() ? nullptr : &*wrong;
}

}  // namespace velctl
