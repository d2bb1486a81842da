#include "bus/dbus/introspection.h"

#include <utility>

namespace qxbus {
namespace {

constexpr char kDocumentType[] =
    "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
    "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n";

constexpr char kStandardInterfaces[] =
    "  <interface name=\"org.freedesktop.DBus.Introspectable\">\n"
    "    <method name=\"Introspect\"><arg type=\"s\" direction=\"out\"/></method>\n"
    "  </interface>\n"
    "  <interface name=\"org.freedesktop.DBus.Peer\">\n"
    "    <method name=\"Ping\"/>\n"
    "    <method name=\"GetMachineId\"><arg type=\"s\" direction=\"out\"/></method>\n"
    "  </interface>\n";

std::string methodXml(const std::string& name) {
  return "    <method name=\"" + name +
         "\">\n"
         "      <arg name=\"arguments\" type=\"av\" direction=\"in\"/>\n"
         "      <arg name=\"results\" type=\"av\" direction=\"out\"/>\n"
         "    </method>\n";
}

std::string signalXml(const std::string& name) {
  return "    <signal name=\"" + name +
         "\">\n      <arg name=\"arguments\" type=\"av\"/>\n    </signal>\n";
}

std::string node(const std::string& content) {
  return kDocumentType + ("<node>\n" + content + "</node>\n");
}

}  // namespace

Introspection::Introspection(std::string path, const std::string& interface,
                             const std::vector<std::string>& methods,
                             const std::vector<std::string>& events)
    : path_(std::move(path)) {
  std::string xml = kStandardInterfaces;
  xml += "  <interface name=\"" + interface + "\">\n";
  for (const std::string& method : methods) {
    xml += methodXml(method);
  }
  for (const std::string& event : events) {
    xml += signalXml(event);
  }
  object_ = node(xml + "  </interface>\n");
}

std::optional<std::string> Introspection::of(const std::string& path) const {
  if (path == path_) {
    return object_;
  }
  const std::string parent = path == "/" ? path : path + "/";
  if (path_.compare(0, parent.size(), parent) != 0) {
    return std::nullopt;
  }
  const std::string child = path_.substr(parent.size());
  return node("  <node name=\"" + child.substr(0, child.find('/')) + "\"/>\n");
}

}  // namespace qxbus
