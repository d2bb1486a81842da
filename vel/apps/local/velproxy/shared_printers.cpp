// Printers that other machines share.

#include <algorithm>
#include <cstring>

#include "vel/apps/local/velproxy/internal/arguments.h"
#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

constexpr int kAddressRefused = 1;
constexpr unsigned int kMostOctet = 255;
constexpr unsigned int kMostPort = 65535;

// Whether the text is a decimal number without sign, blank or leading zero, at most `most`.
bool isNumber(const std::string& text, unsigned int most) {
  if (text.empty() || (text[0] == '0' && text.size() > 1)) {
    return false;
  }
  unsigned int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') {
      return false;
    }
    value = value * 10 + static_cast<unsigned int>(c - '0');
    if (value > most) {
      return false;
    }
  }
  return true;
}

// Copies a text, cut so that the last byte of the field stays NUL.
template <std::size_t size>
void setField(char (&field)[size], const std::string& text) {
  std::memcpy(field, text.data(), strnlen(text.c_str(), size - 1));
}

}  // namespace

bool checkIpAddr(std::string ip) {
  const std::size_t colon = ip.find(':');
  if (colon != std::string::npos && !isNumber(ip.substr(colon + 1), kMostPort)) {
    return false;
  }
  std::string rest = ip.substr(0, colon);
  for (int octet = 0; octet < 3; ++octet) {
    const std::size_t dot = rest.find('.');
    if (dot == std::string::npos || !isNumber(rest.substr(0, dot), kMostOctet)) {
      return false;
    }
    rest.erase(0, dot + 1);
  }
  return isNumber(rest, kMostOctet);
}

int VelProxy::SearchSharePrinterDevice(const std::string& ipaddr,
                                       std::list<_SharePrinterDevice>& list) {
  VEL_DEBUG("enter ipaddr: %s", ipaddr.c_str());
  static constexpr char kMethod[] = "searchSharePrinter";
  if (!checkIpAddr(ipaddr)) {
    ErrorReport(kMethod).refuse("not an IP address");
    return kAddressRefused;
  }
  RemoteCall call(*this);
  const std::shared_ptr<QXBusMessage> reply =
      call.method(kMethod, RemoteCall::kSlowTimeoutMs).string(ipaddr).reply();
  if (!reply) {
    return RemoteCall::kNoAnswer;
  }
  const int result = integerAt(*reply, 0, call.report());
  if (result != 0) {
    return result;
  }
  const int count = countAt(*reply, 1, call.report());
  const int whole = (reply->argCount() - 2) / 3;
  const int present = std::min(count, whole);
  list.clear();
  for (int j = 0; j < present; ++j) {
    _SharePrinterDevice found = {};
    setField(found.addr, textAt(*reply, 2 + 3 * j, call.report()));
    setField(found.name, textAt(*reply, 3 + 3 * j, call.report()));
    setField(found.desc, textAt(*reply, 4 + 3 * j, call.report()));
    list.push_back(found);
    VEL_DEBUG("[%d] addr:%s name:%s desc:%s", static_cast<int>(list.size()), found.addr, found.name,
              found.desc);
  }
  if (present < count) {
    reportEarlyEnd(present, count, call.report());
  }
  return 0;
}

int VelProxy::StopSearchSharePrinterDevice() {
  VEL_DEBUG("enter");
  return RemoteCall(*this).method("stopSearchSharePrinter").status();
}

int VelProxy::AddSharePrinterDevice(std::list<_SharePrinterDevice>& list) {
  VEL_DEBUG("enter");
  static constexpr char kMethod[] = "addSharePrinter";
  const int count = static_cast<int>(list.size());
  RemoteCall call(*this);
  if (!call.connected(kMethod)) {
    return RemoteCall::kNoAnswer;
  }
  VEL_DEBUG("size: %d", count);
  call.method(kMethod).int32(count);
  for (const _SharePrinterDevice& device : list) {
    call.cString(device.addr).cString(device.name).cString(device.desc);
  }
  return call.status();
}

int VelProxy::DeleteSharePrinterDevice(_SharePrinterDevice& device) {
  VEL_DEBUG("enter");
  return RemoteCall(*this)
      .method("deleteSharePrinter")
      .cString(device.addr)
      .cString(device.name)
      .status();
}

}  // namespace qx
