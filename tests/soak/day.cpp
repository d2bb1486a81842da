#include "tests/soak/day.h"

#include <cstdio>

namespace soak {
namespace {

std::string entry(int seconds, const std::string& line) {
  return ",\n{\"after\":\"" + std::to_string(seconds) + "s\",\"do\":\"" + line + "\"}";
}

// In four steps of ten seconds, and twenty of rest.
std::string minute(int number, int sessions) {
  const std::string device = "'Hot " + std::to_string(number % 50) + "'";
  const std::string vm = vmName(number % sessions);
  const std::string attached = std::to_string(kDevices - number % 50);
  return entry(10, "plug camera " + device) + entry(10, "attach " + attached + " " + vm) +
         entry(10, "detach " + attached) +
         entry(10, "trouble 501 " + std::string(number % 2 == 0 ? "out-of-paper" : "none")) +
         entry(20, "unplug " + device);
}

}  // namespace

std::string vmName(int session) {
  char name[16];
  std::snprintf(name, sizeof name, "vm%04d", session);
  return name;
}

std::string scenario(int sessions, int hours) {
  std::string text = "{\"vms\":[";
  for (int session = 0; session < sessions; ++session) {
    text += (session == 0 ? "" : ",\n") + std::string("{\"id\":\"") + vmName(session) +
            "\",\"number\":" + std::to_string(1000 + session) + "}";
  }
  text += "],\n\"firstPluggedNumber\":1000,\n\"devices\":[";
  for (int device = 1; device <= kDevices; ++device) {
    text += (device == 1 ? "" : ",\n") + std::string("{\"number\":") + std::to_string(device) +
            ",\"type\":\"" + (device % 2 == 0 ? "camera" : "storage") + "\",\"name\":\"Device " +
            std::to_string(device) + "\"}";
  }
  text += "],\n\"printers\":[{\"number\":501,\"name\":\"Laser\"}],\n\"timeline\":[";
  std::string timeline;
  for (int at = 0; at < hours * kMinutesPerHour; ++at) {
    timeline += minute(at, sessions);
  }
  // Without the comma before the first entry.
  return text + timeline.substr(1) + "]}\n";
}

}  // namespace soak
