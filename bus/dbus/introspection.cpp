#include "bus/dbus/introspection.h"

#include <set>

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

std::string argumentXml(const std::string& name, const std::string& type, const char* direction) {
  return type.empty() ? ""
                      : "      <arg name=\"" + name + "\" type=\"" + type + "\" direction=\"" +
                            direction + "\"/>\n";
}

std::string methodXml(const Introspection::Method& method) {
  return "    <method name=\"" + method.name + "\">\n" +
         argumentXml("arguments", method.takes, "in") +
         argumentXml("results", method.gives, "out") + "    </method>\n";
}

std::string signalXml(const std::string& name) {
  return "    <signal name=\"" + name +
         "\">\n      <arg name=\"arguments\" type=\"av\"/>\n    </signal>\n";
}

std::string node(const std::string& content) {
  return kDocumentType + ("<node>\n" + content + "</node>\n");
}

}  // namespace

void Introspection::add(const Object& object) {
  std::string xml = kStandardInterfaces;
  xml += "  <interface name=\"" + object.interface + "\">\n";
  for (const Method& method : object.methods) {
    xml += methodXml(method);
  }
  for (const std::string& event : object.events) {
    xml += signalXml(event);
  }
  objects_[object.path] = xml + "  </interface>\n";
}

std::optional<std::string> Introspection::of(const std::string& path) const {
  const std::string parent = path == "/" ? path : path + "/";
  std::set<std::string> children;
  for (const auto& [object, interfaces] : objects_) {
    if (object.compare(0, parent.size(), parent) == 0) {
      const std::string child = object.substr(parent.size());
      children.insert(child.substr(0, child.find('/')));
    }
  }
  const auto object = objects_.find(path);
  if (object == objects_.end() && children.empty()) {
    return std::nullopt;
  }
  std::string content = object == objects_.end() ? "" : object->second;
  for (const std::string& child : children) {
    content += "  <node name=\"" + child + "\"/>\n";
  }
  return node(content);
}

}  // namespace qxbus
