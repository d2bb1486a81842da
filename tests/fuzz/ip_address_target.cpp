// checkIpAddr, held against the same rule in another form: parse as leniently as atoi does, and
// accept what the parsed numbers, written in the usual way, give back.
// Covers: vel/apps/local/velproxy/shared_printers.cpp

#include <cstdlib>

#include "tests/fuzz/target.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace fuzz::ip_address {
namespace {

// As atoi, but defined for any text. A number that does not fit loses its high bits, so that its
// text differs from the one that was parsed.
unsigned int lenient(const std::string& text) {
  return static_cast<unsigned int>(std::strtoll(text.c_str(), nullptr, 10));
}

bool isAddress(std::string host) {
  const std::size_t colon = host.find(':');
  if (colon != std::string::npos) {
    const std::string port = host.substr(colon + 1);
    if (lenient(port) > 65535 || std::to_string(lenient(port)) != port) {
      return false;
    }
    host.resize(colon);
  }
  std::string canonical;
  std::string rest = host;
  for (int octet = 0; octet < 4; ++octet) {
    const std::size_t dot = rest.find('.');
    if (lenient(rest.substr(0, dot)) > 255 || (dot == std::string::npos) != (octet == 3)) {
      return false;
    }
    canonical += (octet > 0 ? "." : "") + std::to_string(lenient(rest.substr(0, dot)));
    rest = octet < 3 ? rest.substr(dot + 1) : "";
  }
  return canonical == host;
}

void run(Input& input) {
  const std::string text(input.rest());
  require(qx::checkIpAddr(text) == isAddress(text), "the verdict");
}

const Registration registration("ip_address", run);

}  // namespace
}  // namespace fuzz::ip_address
