#include "tests/processes/programs.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <string_view>

namespace processes {
namespace {

constexpr std::string_view kTime = "00:00:00.000";

bool beginsWithTime(std::string_view line) {
  return line.size() >= kTime.size() &&
         std::equal(kTime.begin(), kTime.end(), line.begin(), [](char form, char character) {
           return form == '0' ? std::isdigit(static_cast<unsigned char>(character)) != 0
                              : form == character;
         });
}

// By hand: with std::regex it was a tenth of what tests take under a sanitizer, because they read a
// log again and again.
//
// separator  what stands behind a time, and goes with it
// next       what must follow for a time to be one
std::string withoutTimesOfLines(const std::string& text, const std::string& separator,
                                const std::string& next = "") {
  std::string rest;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t newline = text.find('\n', begin);
    const std::size_t end = newline == std::string::npos ? text.size() : newline + 1;
    std::string_view line(&text[begin], end - begin);
    if (beginsWithTime(line) && line.substr(kTime.size()).find(separator + next) == 0) {
      line.remove_prefix(kTime.size() + separator.size());
    }
    rest += line;
    begin = end;
  }
  return rest;
}

}  // namespace

Process::Options velctlOptions(const PrivateBus& bus, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VELCTL_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return bus.options(command);
}

velsim_testing::VelsimProcess::Options velsimOptions(const PrivateBus& bus,
                                                     const std::vector<std::string>& arguments) {
  velsim_testing::VelsimProcess::Options options;
  options.address = bus.address();
  options.arguments = arguments;
  options.environment = bus.options({}).environment;
  return options;
}

bool isReady(const Process& velsim) {
  return comesTrue([&] { return velsim.err().find("velsim: ready ") != std::string::npos; });
}

std::string withoutTimes(const std::string& log) {
  return withoutTimesOfLines(log, " ", "velsim: ");
}

std::string withoutWatchTimes(const std::string& out) {
  static const std::regex member(R"("time":"[-0-9]{10}T[0-9:.]{12}[-+Z0-9:]*",)");
  return std::regex_replace(withoutTimesOfLines(out, "  "), member, "");
}

Finished endedInItsMidst(const std::function<Finished(const std::string& seconds)>& run,
                         const std::function<bool(const Finished& finished)>& hasBegun) {
  constexpr int kMostSeconds = 16;
  for (int seconds = 1;; seconds *= 2) {
    Finished finished = run(std::to_string(seconds));
    if (seconds == kMostSeconds || hasBegun(finished)) {
      return finished;
    }
  }
}

std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last) {
  arguments.push_back(last);
  return arguments;
}

}  // namespace processes
