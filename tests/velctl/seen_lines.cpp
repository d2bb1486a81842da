#include "tests/velctl/seen_lines.h"

#include <regex>

namespace velctl_tests {

std::string withoutTime(const std::string& line) {
  static const std::regex text("^[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}  ");
  static const std::regex json(
      "\"time\":\"[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}[+-][0-9]{2}:"
      "[0-9]{2}\",");
  for (const std::regex& time : {text, json}) {
    if (std::regex_search(line, time)) {
      return std::regex_replace(line, time, "", std::regex_constants::format_first_only);
    }
  }
  return "no time: " + line;
}

std::vector<std::string> seenLines(const std::string& out) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  for (std::size_t end = out.find('\n'); end != std::string::npos; end = out.find('\n', begin)) {
    lines.push_back(withoutTime(out.substr(begin, end - begin)));
    begin = end + 1;
  }
  return lines;
}

}  // namespace velctl_tests
