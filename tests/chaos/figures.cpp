#include "tests/chaos/figures.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace chaos {
namespace {

long entriesOf(const std::string& directory) {
  std::error_code failure;
  const std::filesystem::directory_iterator entries(directory, failure);
  return failure ? 0 : static_cast<long>(std::distance(begin(entries), end(entries)));
}

}  // namespace

Usage usageOf(pid_t process) {
  Usage usage;
#if defined(__linux__)
  const std::string processEntry = "/proc/" + (process == 0 ? "self" : std::to_string(process));
  usage.descriptors = entriesOf(processEntry + "/fd");
  std::ifstream status(processEntry + "/status");
  for (std::string line; std::getline(status, line);) {
    std::sscanf(line.c_str(), "Threads: %ld", &usage.threads);
    std::sscanf(line.c_str(), "VmRSS: %ld", &usage.residentKiB);
  }
#else
  static_cast<void>(process);
  usage.descriptors = entriesOf("/dev/fd");
#endif
  return usage;
}

void Figures::set(const std::string& name, double value) {
  char text[64];
  std::snprintf(text, sizeof text, value == std::floor(value) ? "%.0f" : "%.3f", value);
  values_.emplace_back(name, text);
}

void Figures::set(const std::string& name, const std::string& text) {
  values_.emplace_back(name, '"' + text + '"');
}

std::string Figures::json() const {
  std::string text = "{";
  for (const auto& [name, value] : values_) {
    text += (text.size() > 1 ? ",\n  \"" : "\n  \"") + name + "\": " + value;
  }
  return text + "\n}\n";
}

bool Figures::write(const std::string& path) const {
  std::ofstream file(path);
  file << json();
  return static_cast<bool>(file.flush());
}

}  // namespace chaos
