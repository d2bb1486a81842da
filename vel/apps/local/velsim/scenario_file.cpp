#include "vel/apps/local/velsim/scenario_file.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace velsim {

std::optional<Scenario> parseScenario(const std::string& text, Mistakes& mistakes) {
  return readScenario(text, {}, mistakes);
}

std::optional<Scenario> loadScenario(const std::string& path, Mistakes& mistakes) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  std::string text;
  if (file) {
    // One byte more than a scenario may have, which the parser refuses.
    text.resize(kMostJsonBytes + 1);
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  }
  if (!file || std::ferror(file.get()) != 0) {
    mistakes.add(1, "", "cannot read it: " + std::generic_category().message(errno));
    return std::nullopt;
  }
  return parseScenario(text, mistakes);
}

}  // namespace velsim
